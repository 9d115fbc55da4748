// SSE2 versions of the row routines (every x86-64 processor has SSE2).
//
// RGB to YUV works on four 2 x 2 blocks at a time, with the even and the odd
// pixels of each row in separate vectors of four 32-bit lanes: the products,
// sums and truncations are the same single-precision operations in the same
// order as the scalar equations, so the results are identical. YUV to RGB
// uses 16 x 16 -> 32-bit multiply-adds, which are exact.
#include "pixels/simd.h"

#if defined(MP4LIB_PIXELS_SSE2)

#include <emmintrin.h>

#include <cstring>

#include "pixels/tables.h"

namespace mp4lib::pixels::simd {

namespace {

// ---- RGB to YUV --------------------------------------------------------------

// The coefficients exactly as the tables use them (entry 1 is 1 x k).
struct Coefficients {
  __m128 redToY, greenToY, blueToY, redToU, greenToU, greenToV, blueToV;
};

Coefficients loadCoefficients() {
  const CoefficientTables& k = coefficientTables();
  return {_mm_set1_ps(k.redToY[1]),  _mm_set1_ps(k.greenToY[1]), _mm_set1_ps(k.blueToY[1]),
          _mm_set1_ps(k.redToU[1]),  _mm_set1_ps(k.greenToU[1]), _mm_set1_ps(k.greenToV[1]),
          _mm_set1_ps(k.blueToV[1])};
}

// Four pixels as 32-bit components 0..255.
struct Pixels4 {
  __m128i red, green, blue;
};

struct Yuv4 {
  __m128i y, u, v;
};

enum class LumaOrder { BlueFirst, RedFirst };

template <LumaOrder Order>
Yuv4 convert4(const Coefficients& k, const Pixels4& p) {
  const __m128 red = _mm_cvtepi32_ps(p.red);
  const __m128 green = _mm_cvtepi32_ps(p.green);
  const __m128 blue = _mm_cvtepi32_ps(p.blue);
  const __m128 yRed = _mm_mul_ps(red, k.redToY);
  const __m128 yGreen = _mm_mul_ps(green, k.greenToY);
  const __m128 yBlue = _mm_mul_ps(blue, k.blueToY);
  const __m128 luma = Order == LumaOrder::BlueFirst ? _mm_add_ps(_mm_add_ps(yBlue, yGreen), yRed)
                                                    : _mm_add_ps(_mm_add_ps(yRed, yGreen), yBlue);
  const __m128 centre = _mm_set1_ps(128.0f);
  const __m128 halfBlue = _mm_cvtepi32_ps(_mm_srai_epi32(p.blue, 1));
  const __m128 blueDiff = _mm_add_ps(
      _mm_sub_ps(halfBlue, _mm_add_ps(_mm_mul_ps(green, k.greenToU), _mm_mul_ps(red, k.redToU))), centre);
  const __m128 halfRed = _mm_cvtepi32_ps(_mm_srai_epi32(p.red, 1));
  const __m128 redDiff =
      _mm_add_ps(_mm_sub_ps(_mm_sub_ps(halfRed, _mm_mul_ps(green, k.greenToV)), _mm_mul_ps(blue, k.blueToV)), centre);
  return {_mm_cvttps_epi32(luma), _mm_cvttps_epi32(blueDiff), _mm_cvttps_epi32(redDiff)};
}

// Stores eight Y values (even and odd pixels interleaved) as 16-bit samples.
void storeLuma8(std::int16_t* destination, const Yuv4& even, const Yuv4& odd) {
  const __m128i first = _mm_unpacklo_epi32(even.y, odd.y);
  const __m128i second = _mm_unpackhi_epi32(even.y, odd.y);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(destination), _mm_packs_epi32(first, second));
}

// Four chroma samples: the sum of the four pixels of each block >> 2.
void storeChroma4(std::int16_t* destination, __m128i a, __m128i b, __m128i c, __m128i d) {
  const __m128i mean = _mm_srai_epi32(_mm_add_epi32(_mm_add_epi32(a, b), _mm_add_epi32(c, d)), 2);
  _mm_storel_epi64(reinterpret_cast<__m128i*>(destination), _mm_packs_epi32(mean, mean));
}

// Four blocks from the even and odd pixels of both rows.
template <LumaOrder Order>
void storeBlocks4(const Coefficients& k, const Pixels4 pixels[4], const YuvRowPair& out, std::int32_t i) {
  const Yuv4 topEven = convert4<Order>(k, pixels[0]);
  const Yuv4 topOdd = convert4<Order>(k, pixels[1]);
  const Yuv4 bottomEven = convert4<Order>(k, pixels[2]);
  const Yuv4 bottomOdd = convert4<Order>(k, pixels[3]);
  storeLuma8(out.yTop + 2 * i, topEven, topOdd);
  storeLuma8(out.yBottom + 2 * i, bottomEven, bottomOdd);
  storeChroma4(out.u + i, topEven.u, topOdd.u, bottomEven.u, bottomOdd.u);
  storeChroma4(out.v + i, topEven.v, topOdd.v, bottomEven.v, bottomOdd.v);
}

// Components of pixels held in the low 24 bits of 32-bit lanes (blue,
// green, red from the lowest byte up).
Pixels4 rgb24Components(__m128i lanes) {
  const __m128i byteMask = _mm_set1_epi32(0xFF);
  return {_mm_and_si128(_mm_srli_epi32(lanes, 16), byteMask), _mm_and_si128(_mm_srli_epi32(lanes, 8), byteMask),
          _mm_and_si128(lanes, byteMask)};
}

// Lanes 0 and 2 of a and of b, in that order.
__m128i evenLanes(__m128i a, __m128i b) {
  return _mm_unpacklo_epi64(_mm_shuffle_epi32(a, _MM_SHUFFLE(3, 1, 2, 0)), _mm_shuffle_epi32(b, _MM_SHUFFLE(3, 1, 2, 0)));
}

// The even pixels (0, 2, 4, 6) and the odd ones (1, 3, 5, 7) of eight RGB24
// pixels, reading exactly their 24 bytes. Each 64-bit lane gets one pixel
// pair: the even pixel in bits 0-23, the odd one in bits 24-47.
void rgb24Pixels8(const std::uint8_t* row, Pixels4& even, Pixels4& odd) {
  const __m128i pairs01 = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(row));
  const __m128i pairs23 = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(row + 6));
  const __m128i pairs45 = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(row + 12));
  const __m128i pairs67 = _mm_srli_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(row + 16)), 16);
  const __m128i first = _mm_unpacklo_epi64(pairs01, pairs23);
  const __m128i second = _mm_unpacklo_epi64(pairs45, pairs67);
  even = rgb24Components(evenLanes(first, second));
  odd = rgb24Components(evenLanes(_mm_srli_epi64(first, 24), _mm_srli_epi64(second, 24)));
}

// Widens 5-6-5 words in 32-bit lanes; the low bits stay zero.
Pixels4 rgb16Pixels(__m128i words) {
  return {_mm_and_si128(_mm_srli_epi32(words, 8), _mm_set1_epi32(0xF8)),
          _mm_and_si128(_mm_srli_epi32(words, 3), _mm_set1_epi32(0xFC)),
          _mm_and_si128(_mm_slli_epi32(words, 3), _mm_set1_epi32(0xF8))};
}

// ---- YUV to RGB ----------------------------------------------------------------

// Eight luma bytes and the four chroma bytes under them, as 16-bit lanes;
// each chroma sample is doubled so it lines up with its two pixels.
__m128i loadLuma8(const std::uint8_t* luma) {
  return _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(luma)), _mm_setzero_si128());
}

__m128i loadCentredChroma4(const std::uint8_t* chroma) {
  std::int32_t four;
  std::memcpy(&four, chroma, 4);
  const __m128i samples = _mm_unpacklo_epi8(_mm_cvtsi32_si128(four), _mm_setzero_si128());
  return _mm_sub_epi16(_mm_unpacklo_epi16(samples, samples), _mm_set1_epi16(128));
}

// a x ka + b x kb for the low four and the high four lanes, in 32 bits.
struct Wide8 {
  __m128i low, high;
};

Wide8 multiplyAdd(__m128i a, __m128i b, std::int16_t ka, std::int16_t kb) {
  const __m128i k = _mm_setr_epi16(ka, kb, ka, kb, ka, kb, ka, kb);
  return {_mm_madd_epi16(_mm_unpacklo_epi16(a, b), k), _mm_madd_epi16(_mm_unpackhi_epi16(a, b), k)};
}

Wide8 add(Wide8 a, Wide8 b) { return {_mm_add_epi32(a.low, b.low), _mm_add_epi32(a.high, b.high)}; }

template <int Shift>
__m128i shiftAndNarrow(Wide8 value) {
  return _mm_packs_epi32(_mm_srai_epi32(value.low, Shift), _mm_srai_epi32(value.high, Shift));
}

// Four RGB24 pixels held as 32-bit lanes (blue, green, red, 0), squeezed to
// 12 bytes: pairs of lanes joined to 6 bytes, then the two halves joined.
void storeRgb24x4(std::uint8_t* destination, __m128i pixels) {
  const __m128i low24 = _mm_set_epi32(0, 0xFFFFFF, 0, 0xFFFFFF);
  const __m128i joined = _mm_or_si128(_mm_and_si128(pixels, low24), _mm_srli_epi64(_mm_andnot_si128(low24, pixels), 8));
  const __m128i lane0 = _mm_set_epi32(0, 0, -1, -1);
  const __m128i packed = _mm_or_si128(_mm_and_si128(joined, lane0), _mm_srli_si128(_mm_andnot_si128(lane0, joined), 2));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(destination), packed);
  const std::int32_t last = _mm_cvtsi128_si32(_mm_srli_si128(packed, 8));
  std::memcpy(destination + 8, &last, 4);
}

// Eight RGB24 pixels from their channel bytes.
void storeRgb24x8(std::uint8_t* destination, __m128i blue, __m128i green, __m128i red) {
  const __m128i blueGreen = _mm_unpacklo_epi8(blue, green);
  const __m128i redZero = _mm_unpacklo_epi8(red, _mm_setzero_si128());
  storeRgb24x4(destination, _mm_unpacklo_epi16(blueGreen, redZero));
  storeRgb24x4(destination + 12, _mm_unpackhi_epi16(blueGreen, redZero));
}

// Eight pixels of one row to RGB24 (channel values clamped by the
// saturating pack).
void rgb24Row8(const std::uint8_t* luma, __m128i uCentred, __m128i vCentred, std::uint8_t* destination) {
  const __m128i y = loadLuma8(luma);
  const __m128i zero = _mm_setzero_si128();
  const __m128i blue = shiftAndNarrow<8>(multiplyAdd(y, uCentred, 298, 517));
  const __m128i green =
      shiftAndNarrow<8>(add(multiplyAdd(y, uCentred, 298, -100), multiplyAdd(vCentred, zero, -208, 0)));
  const __m128i red = shiftAndNarrow<8>(multiplyAdd(y, vCentred, 298, 409));
  storeRgb24x8(destination, _mm_packus_epi16(blue, zero), _mm_packus_epi16(green, zero), _mm_packus_epi16(red, zero));
}

__m128i clamp16(__m128i value, std::int16_t maximum) {
  return _mm_min_epi16(_mm_max_epi16(value, _mm_setzero_si128()), _mm_set1_epi16(maximum));
}

// Eight pixels of one row to RGB16, direct method (luma offset 32, V into
// the high field, green from 3218 x V' and 6686 x U').
void rgb16DirectRow8(const std::uint8_t* luma, __m128i uCentred, __m128i vCentred, std::uint8_t* destination) {
  const __m128i y = _mm_sub_epi16(loadLuma8(luma), _mm_set1_epi16(32));
  const __m128i zero = _mm_setzero_si128();
  const __m128i high = clamp16(shiftAndNarrow<16>(multiplyAdd(y, vCentred, 9576, 13123)), 31);
  const __m128i green = clamp16(
      shiftAndNarrow<15>(add(multiplyAdd(y, vCentred, 9576, -3218), multiplyAdd(uCentred, zero, -6686, 0))), 63);
  const __m128i low = clamp16(shiftAndNarrow<16>(multiplyAdd(y, uCentred, 9576, 16591)), 31);
  const __m128i word = _mm_or_si128(_mm_or_si128(_mm_slli_epi16(high, 11), _mm_slli_epi16(green, 5)), low);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(destination), word);
}

}  // namespace

std::int32_t rgb24RowPairs(const std::uint8_t* top, const std::uint8_t* bottom, std::int32_t pairs,
                           const YuvRowPair& out) {
  const Coefficients k = loadCoefficients();
  const std::int32_t done = pairs & ~3;
  for (std::int32_t i = 0; i < done; i += 4) {
    Pixels4 pixels[4];
    rgb24Pixels8(top + 6 * i, pixels[0], pixels[1]);
    rgb24Pixels8(bottom + 6 * i, pixels[2], pixels[3]);
    storeBlocks4<LumaOrder::BlueFirst>(k, pixels, out, i);
  }
  return done;
}

std::int32_t rgb16RowPairs(const std::uint16_t* top, const std::uint16_t* bottom, std::int32_t pairs,
                           const YuvRowPair& out) {
  const Coefficients k = loadCoefficients();
  const __m128i lowWord = _mm_set1_epi32(0xFFFF);
  const std::int32_t done = pairs & ~3;
  for (std::int32_t i = 0; i < done; i += 4) {
    const __m128i t = _mm_loadu_si128(reinterpret_cast<const __m128i*>(top + 2 * i));
    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bottom + 2 * i));
    const Pixels4 pixels[4] = {rgb16Pixels(_mm_and_si128(t, lowWord)), rgb16Pixels(_mm_srli_epi32(t, 16)),
                               rgb16Pixels(_mm_and_si128(b, lowWord)), rgb16Pixels(_mm_srli_epi32(b, 16))};
    storeBlocks4<LumaOrder::RedFirst>(k, pixels, out, i);
  }
  return done;
}

std::int32_t yuvToRgb24RowPairs(const YuvRowPairIn& in, std::int32_t pairs, const RgbRowPairOut& out) {
  const std::int32_t done = pairs & ~3;
  for (std::int32_t i = 0; i < done; i += 4) {
    const __m128i u = loadCentredChroma4(in.u + i);
    const __m128i v = loadCentredChroma4(in.v + i);
    rgb24Row8(in.yTop + 2 * i, u, v, out.top + 6 * i);
    rgb24Row8(in.yBottom + 2 * i, u, v, out.bottom + 6 * i);
  }
  return done;
}

std::int32_t yuvToRgb16DirectRowPairs(const YuvRowPairIn& in, std::int32_t pairs, const RgbRowPairOut& out) {
  const std::int32_t done = pairs & ~3;
  for (std::int32_t i = 0; i < done; i += 4) {
    const __m128i u = loadCentredChroma4(in.u + i);
    const __m128i v = loadCentredChroma4(in.v + i);
    rgb16DirectRow8(in.yTop + 2 * i, u, v, out.top + 4 * i);
    rgb16DirectRow8(in.yBottom + 2 * i, u, v, out.bottom + 4 * i);
  }
  return done;
}

}  // namespace mp4lib::pixels::simd

#endif
