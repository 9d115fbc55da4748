#include "pixels/yuv_rgb_rows.h"

namespace mp4lib::pixels {

namespace {

int clampTo(int value, int maximum) { return value < 0 ? 0 : (value > maximum ? maximum : value); }

// RGB16 words are stored little-endian whatever the machine.
void storeWord(std::uint8_t* destination, int word) {
  destination[0] = static_cast<std::uint8_t>(word);
  destination[1] = static_cast<std::uint8_t>(word >> 8);
}

// 5-6-5 from three 8-bit channels: high in bits 11-15, low in bits 0-4.
int packFromBytes(int high, int green, int low) { return ((high & 0xF8) << 8) | ((green & 0xFC) << 3) | (low >> 3); }

// RGB24: 298, 409, 100, 208 and 517 over 256, luma used as it stands (no
// offset of 16), no rounding term.
void rgb24Pixel(int luma, int uCentred, int vCentred, std::uint8_t* destination) {
  const int scaled = 298 * luma;
  destination[0] = static_cast<std::uint8_t>(clampTo((scaled + 517 * uCentred) >> 8, 255));
  destination[1] = static_cast<std::uint8_t>(clampTo((scaled - 100 * uCentred - 208 * vCentred) >> 8, 255));
  destination[2] = static_cast<std::uint8_t>(clampTo((scaled + 409 * vCentred) >> 8, 255));
}

// RGB16 direct: coefficients over 8192, luma offset 32. V drives the high
// field and green takes 3218 x V and 6686 x U, the reverse of the diffused
// method's pairing.
int rgb16DirectWord(int luma, int uCentred, int vCentred) {
  const int scaled = (luma - 32) * 9576;
  const int high = clampTo((scaled + 13123 * vCentred) >> 16, 31);
  const int green = clampTo((scaled - 3218 * vCentred - 6686 * uCentred) >> 15, 63);
  const int low = clampTo((scaled + 16591 * uCentred) >> 16, 31);
  return (high << 11) | (green << 5) | low;
}

// RGB16 with error diffusion: luma offset 48, U drives the low field with
// 13123 and V the high field with 16591. The low four bits of every
// channel carry on to the next pixel, a stronger diffusion than the bits
// the packing drops, on purpose.
int rgb16DiffusedWord(int luma, int uCentred, int vCentred, DitherCarries& carries) {
  const int scaled = (luma - 48) * 9576;
  const int low = clampTo(carries.low + ((scaled + 13123 * uCentred) >> 13), 255);
  const int green = clampTo(carries.green + ((scaled - 3218 * uCentred - 6686 * vCentred) >> 13), 255);
  const int high = clampTo(carries.high + ((scaled + 16591 * vCentred) >> 13), 255);
  carries = {low & 15, green & 15, high & 15};
  return packFromBytes(high, green, low);
}

// RGB16 by adding raw chroma to luma, with the same carries.
int rgb16AdditiveWord(int luma, int u, int v, DitherCarries& carries) {
  const int base = luma - 136;
  const int low = clampTo(base + u + carries.low, 255);
  const int green = clampTo(base + 128 + carries.green, 255);
  const int high = clampTo(base + v + carries.high, 255);
  carries = {low & 15, green & 15, high & 15};
  return packFromBytes(high, green, low);
}

// Calls pixel(luma, u, v, destination) for the four pixels of every block
// in the order top-left, top-right, bottom-left, bottom-right.
template <int BytesPerPixel, typename PixelFn>
void forEachPixel(const YuvRowPairIn& in, std::int32_t pairs, const RgbRowPairOut& out, PixelFn pixel) {
  for (std::int32_t i = 0; i < pairs; ++i) {
    const int u = in.u[i];
    const int v = in.v[i];
    pixel(in.yTop[2 * i], u, v, out.top + 2 * i * BytesPerPixel);
    pixel(in.yTop[2 * i + 1], u, v, out.top + (2 * i + 1) * BytesPerPixel);
    pixel(in.yBottom[2 * i], u, v, out.bottom + 2 * i * BytesPerPixel);
    pixel(in.yBottom[2 * i + 1], u, v, out.bottom + (2 * i + 1) * BytesPerPixel);
  }
}

}  // namespace

void yuvToRgb24RowPairReference(const YuvRowPairIn& in, std::int32_t pairs, const RgbRowPairOut& out) {
  forEachPixel<3>(in, pairs, out, [](int luma, int u, int v, std::uint8_t* destination) {
    rgb24Pixel(luma, u - 128, v - 128, destination);
  });
}

void yuvToRgb16DirectRowPairReference(const YuvRowPairIn& in, std::int32_t pairs, const RgbRowPairOut& out) {
  forEachPixel<2>(in, pairs, out, [](int luma, int u, int v, std::uint8_t* destination) {
    storeWord(destination, rgb16DirectWord(luma, u - 128, v - 128));
  });
}

void yuvToRgb16DiffusedRowPair(const YuvRowPairIn& in, std::int32_t pairs, const RgbRowPairOut& out,
                               DitherCarries& carries) {
  forEachPixel<2>(in, pairs, out, [&carries](int luma, int u, int v, std::uint8_t* destination) {
    storeWord(destination, rgb16DiffusedWord(luma, u - 128, v - 128, carries));
  });
}

void yuvToRgb16AdditiveRowPair(const YuvRowPairIn& in, std::int32_t pairs, const RgbRowPairOut& out,
                               DitherCarries& carries) {
  forEachPixel<2>(in, pairs, out, [&carries](int luma, int u, int v, std::uint8_t* destination) {
    storeWord(destination, rgb16AdditiveWord(luma, u, v, carries));
  });
}

}  // namespace mp4lib::pixels
