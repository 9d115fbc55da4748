// YUV 4:2:0 byte planes to packed RGB24 or RGB16 for display, and luma
// samples to grey RGB24. Integer arithmetic only.
#include "pixels/yuv_to_rgb.h"

#include <atomic>
#include <cstddef>

#include "mp4lib.h"
#include "pixels/simd.h"
#include "pixels/yuv_rgb_rows.h"

namespace mp4lib::pixels {

namespace {

// RGB16 method: 1 error diffusion, 2 additive, anything else direct.
std::atomic<std::int32_t> rgb16Method{0};

// Walks the picture in row pairs. Luma rows are `pitch` samples apart and
// chroma rows (width >> 1) + ((pitch - width) >> 1) samples, which is
// pitch / 2 for the usual even sizes; destination rows are packed. An odd
// last column or row is not converted, and below two rows nothing is.
template <typename RowPairFn>
std::int32_t convertRowPairs(std::uint32_t pitch, std::int32_t width, std::int32_t height, const std::uint8_t* y,
                             const std::uint8_t* u, const std::uint8_t* v, std::uint8_t* rgb,
                             std::ptrdiff_t bytesPerPixel, RowPairFn rowPair) {
  if (height < 2 || width < 2) return 1;
  const std::int32_t pairs = width >> 1;
  const std::ptrdiff_t lumaPitch = static_cast<std::ptrdiff_t>(pitch);
  const std::ptrdiff_t chromaPitch =
      pairs + static_cast<std::ptrdiff_t>((static_cast<std::int64_t>(pitch) - width) >> 1);
  const std::ptrdiff_t rgbPitch = bytesPerPixel * width;
  for (std::ptrdiff_t j = 0; j < (height >> 1); ++j) {
    const std::uint8_t* yTop = y + 2 * j * lumaPitch;
    std::uint8_t* rgbTop = rgb + 2 * j * rgbPitch;
    rowPair(YuvRowPairIn{yTop, yTop + lumaPitch, u + j * chromaPitch, v + j * chromaPitch}, pairs,
            RgbRowPairOut{rgbTop, rgbTop + rgbPitch});
  }
  return 1;
}

YuvRowPairIn advancedIn(const YuvRowPairIn& in, std::int32_t pairs) {
  return {in.yTop + 2 * pairs, in.yBottom + 2 * pairs, in.u + pairs, in.v + pairs};
}

RgbRowPairOut advancedOut(const RgbRowPairOut& out, std::int32_t pairs, std::int32_t bytesPerPixel) {
  return {out.top + 2 * pairs * bytesPerPixel, out.bottom + 2 * pairs * bytesPerPixel};
}

void yuvToRgb24RowPair(const YuvRowPairIn& in, std::int32_t pairs, const RgbRowPairOut& out) {
  const std::int32_t done = simd::enabled() ? simd::yuvToRgb24RowPairs(in, pairs, out) : 0;
  yuvToRgb24RowPairReference(advancedIn(in, done), pairs - done, advancedOut(out, done, 3));
}

void yuvToRgb16DirectRowPair(const YuvRowPairIn& in, std::int32_t pairs, const RgbRowPairOut& out) {
  const std::int32_t done = simd::enabled() ? simd::yuvToRgb16DirectRowPairs(in, pairs, out) : 0;
  yuvToRgb16DirectRowPairReference(advancedIn(in, done), pairs - done, advancedOut(out, done, 2));
}

}  // namespace

std::int32_t transferYUV2RGB16(std::uint32_t pitch, std::uint32_t /*reserved*/, std::int32_t width,
                               std::int32_t height, const std::uint8_t* y, const std::uint8_t* u,
                               const std::uint8_t* v, std::uint8_t* rgb) {
  // The carries start at zero for every picture.
  DitherCarries carries;
  switch (rgb16Method.load(std::memory_order_relaxed)) {
    case 1:
      return convertRowPairs(pitch, width, height, y, u, v, rgb, 2,
                             [&carries](const YuvRowPairIn& in, std::int32_t pairs, const RgbRowPairOut& out) {
                               yuvToRgb16DiffusedRowPair(in, pairs, out, carries);
                             });
    case 2:
      return convertRowPairs(pitch, width, height, y, u, v, rgb, 2,
                             [&carries](const YuvRowPairIn& in, std::int32_t pairs, const RgbRowPairOut& out) {
                               yuvToRgb16AdditiveRowPair(in, pairs, out, carries);
                             });
    default:
      return convertRowPairs(pitch, width, height, y, u, v, rgb, 2, yuvToRgb16DirectRowPair);
  }
}

}  // namespace mp4lib::pixels

extern "C" MP4LIB_API int32_t transferByteYUV2RGBEx(uint32_t pitch, uint32_t /*reserved*/, int32_t width,
                                                    int32_t height, const uint8_t* y, const uint8_t* u,
                                                    const uint8_t* v, uint8_t* rgb) {
  return mp4lib::pixels::convertRowPairs(pitch, width, height, y, u, v, rgb, 3, mp4lib::pixels::yuvToRgb24RowPair);
}

extern "C" MP4LIB_API void setYUV2RGBMethod(int32_t method) {
  mp4lib::pixels::rgb16Method.store(method, std::memory_order_relaxed);
}

// Grey: the low byte of each sample, unclamped, three times. Rows of the
// source are `pitch` samples apart.
extern "C" MP4LIB_API int32_t transferY2RGB(uint32_t pitch, uint32_t /*reserved*/, int32_t width, int32_t height,
                                            const int16_t* samples, uint8_t* rgb) {
  for (ptrdiff_t row = 0; row < height; ++row) {
    const int16_t* source = samples + row * static_cast<ptrdiff_t>(pitch);
    for (int32_t x = 0; x < width; ++x) {
      const auto grey = static_cast<uint8_t>(source[x] & 0xFF);
      rgb[0] = grey;
      rgb[1] = grey;
      rgb[2] = grey;
      rgb += 3;
    }
  }
  return 1;
}
