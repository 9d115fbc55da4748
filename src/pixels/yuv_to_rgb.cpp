// YUV 4:2:0 byte planes to packed RGB24 or RGB16 for display, and luma
// samples to grey RGB24. Integer arithmetic only.
#include "pixels/yuv_to_rgb.h"

#include <cstddef>

#include "pixels/simd.h"
#include "pixels/yuv_rgb_rows.h"

namespace mp4lib::pixels {

namespace {

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

std::int32_t yuvToRgb24(std::uint32_t pitch, std::int32_t width, std::int32_t height, const std::uint8_t* y,
                        const std::uint8_t* u, const std::uint8_t* v, std::uint8_t* rgb) {
  return convertRowPairs(pitch, width, height, y, u, v, rgb, 3, yuvToRgb24RowPair);
}

std::int32_t yuvToRgb16(std::int32_t method, std::uint32_t pitch, std::int32_t width, std::int32_t height,
                        const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v, std::uint8_t* rgb) {
  // The carries start at zero for every picture.
  DitherCarries carries;
  switch (method) {
    case kRgb16Diffused:
      return convertRowPairs(pitch, width, height, y, u, v, rgb, 2,
                             [&carries](const YuvRowPairIn& in, std::int32_t pairs, const RgbRowPairOut& out) {
                               yuvToRgb16DiffusedRowPair(in, pairs, out, carries);
                             });
    case kRgb16Additive:
      return convertRowPairs(pitch, width, height, y, u, v, rgb, 2,
                             [&carries](const YuvRowPairIn& in, std::int32_t pairs, const RgbRowPairOut& out) {
                               yuvToRgb16AdditiveRowPair(in, pairs, out, carries);
                             });
    default:
      return convertRowPairs(pitch, width, height, y, u, v, rgb, 2, yuvToRgb16DirectRowPair);
  }
}

// Grey: the low byte of each sample, unclamped, three times.
std::int32_t lumaToGreyRgb24(std::uint32_t pitch, std::int32_t width, std::int32_t height,
                             const std::int16_t* samples, std::uint8_t* rgb) {
  for (std::ptrdiff_t row = 0; row < height; ++row) {
    const std::int16_t* source = samples + row * static_cast<std::ptrdiff_t>(pitch);
    for (std::int32_t x = 0; x < width; ++x) {
      const auto grey = static_cast<std::uint8_t>(source[x] & 0xFF);
      rgb[0] = grey;
      rgb[1] = grey;
      rgb[2] = grey;
      rgb += 3;
    }
  }
  return 1;
}

}  // namespace mp4lib::pixels
