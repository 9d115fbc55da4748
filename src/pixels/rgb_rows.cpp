#include "pixels/rgb_rows.h"

#include "pixels/colour_equations.h"
#include "pixels/simd.h"

namespace mp4lib::pixels {

namespace {

// Y, U and V of one pixel before chroma averaging.
struct Yuv {
  int y;
  int u;
  int v;
};

template <typename LumaFn>
Yuv convertPixel(const CoefficientTables& k, Rgb c, LumaFn luma) {
  return {luma(k, c), blueDifference(k, c), redDifference(k, c)};
}

// Stores the four Y values of block i and its averaged U and V.
void storeBlock(const YuvRowPair& out, std::int32_t i, Yuv a, Yuv b, Yuv c, Yuv d) {
  out.yTop[2 * i] = static_cast<std::int16_t>(a.y);
  out.yTop[2 * i + 1] = static_cast<std::int16_t>(b.y);
  out.yBottom[2 * i] = static_cast<std::int16_t>(c.y);
  out.yBottom[2 * i + 1] = static_cast<std::int16_t>(d.y);
  out.u[i] = static_cast<std::int16_t>((a.u + b.u + c.u + d.u) >> 2);
  out.v[i] = static_cast<std::int16_t>((a.v + b.v + c.v + d.v) >> 2);
}

YuvRowPair advanced(const YuvRowPair& out, std::int32_t pairs) {
  return {out.yTop + 2 * pairs, out.yBottom + 2 * pairs, out.u + pairs, out.v + pairs};
}

}  // namespace

void rgb24RowPairReference(const std::uint8_t* top, const std::uint8_t* bottom, std::int32_t pairs,
                           const YuvRowPair& out) {
  const CoefficientTables& k = coefficientTables();
  for (std::int32_t i = 0; i < pairs; ++i) {
    const std::uint8_t* t = top + 6 * i;
    const std::uint8_t* b = bottom + 6 * i;
    storeBlock(out, i, convertPixel(k, rgb24Pixel(t), lumaBlueFirst), convertPixel(k, rgb24Pixel(t + 3), lumaBlueFirst),
               convertPixel(k, rgb24Pixel(b), lumaBlueFirst), convertPixel(k, rgb24Pixel(b + 3), lumaBlueFirst));
  }
}

void rgb16RowPairReference(const std::uint16_t* top, const std::uint16_t* bottom, std::int32_t pairs,
                           const YuvRowPair& out) {
  const CoefficientTables& k = coefficientTables();
  for (std::int32_t i = 0; i < pairs; ++i) {
    storeBlock(out, i, convertPixel(k, rgb16Pixel(top[2 * i]), lumaRedFirst),
               convertPixel(k, rgb16Pixel(top[2 * i + 1]), lumaRedFirst),
               convertPixel(k, rgb16Pixel(bottom[2 * i]), lumaRedFirst),
               convertPixel(k, rgb16Pixel(bottom[2 * i + 1]), lumaRedFirst));
  }
}

void rgb16LookupRowPair(const std::uint16_t* top, const std::uint16_t* bottom, std::int32_t pairs,
                        const LookupTables& tables, const YuvRowPair& out) {
  const auto pixel = [&tables](std::uint16_t word) -> Yuv { return {tables.y[word], tables.u[word], tables.v[word]}; };
  for (std::int32_t i = 0; i < pairs; ++i) {
    storeBlock(out, i, pixel(top[2 * i]), pixel(top[2 * i + 1]), pixel(bottom[2 * i]), pixel(bottom[2 * i + 1]));
  }
}

void rgb24RowPair(const std::uint8_t* top, const std::uint8_t* bottom, std::int32_t pairs, const YuvRowPair& out) {
  const std::int32_t done = simd::enabled() ? simd::rgb24RowPairs(top, bottom, pairs, out) : 0;
  rgb24RowPairReference(top + 6 * done, bottom + 6 * done, pairs - done, advanced(out, done));
}

void rgb16RowPair(const std::uint16_t* top, const std::uint16_t* bottom, std::int32_t pairs, const YuvRowPair& out) {
  const std::int32_t done = simd::enabled() ? simd::rgb16RowPairs(top, bottom, pairs, out) : 0;
  rgb16RowPairReference(top + 2 * done, bottom + 2 * done, pairs - done, advanced(out, done));
}

}  // namespace mp4lib::pixels
