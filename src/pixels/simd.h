// Vector versions of the hottest row routines. Each handles a leading part
// of a row and returns how many 2 x 2 blocks it converted; the caller does
// the rest with the scalar reference, so every output sample is the one the
// reference gives. x86-64 always has SSE2, so the choice is made when
// compiling; other targets (32-bit ARM among them) use the scalar routines.
#pragma once

#include <cstdint>

#include "pixels/rgb_rows.h"
#include "pixels/yuv_rgb_rows.h"

#if defined(__SSE2__)
#define MP4LIB_PIXELS_SSE2 1
#endif

namespace mp4lib::pixels::simd {

// "sse2" or "none".
const char* instructionSet();

// True when this build has them and the platform allows them (they can be
// switched off there to compare them with the references).
bool enabled();

// RGB24 / RGB16 (equations, red-first luma) row pairs to short planar.
std::int32_t rgb24RowPairs(const std::uint8_t* top, const std::uint8_t* bottom, std::int32_t pairs,
                           const YuvRowPair& out);
std::int32_t rgb16RowPairs(const std::uint16_t* top, const std::uint16_t* bottom, std::int32_t pairs,
                           const YuvRowPair& out);

// A pair of luma rows with their chroma row to RGB24, or to RGB16 by the
// direct method.
std::int32_t yuvToRgb24RowPairs(const YuvRowPairIn& in, std::int32_t pairs, const RgbRowPairOut& out);
std::int32_t yuvToRgb16DirectRowPairs(const YuvRowPairIn& in, std::int32_t pairs, const RgbRowPairOut& out);

}  // namespace mp4lib::pixels::simd
