// Builds without vector instructions: every row goes to the scalar routines.
#include "pixels/simd.h"

#if !defined(MP4LIB_PIXELS_SSE2)

namespace mp4lib::pixels::simd {

std::int32_t rgb24RowPairs(const std::uint8_t*, const std::uint8_t*, std::int32_t, const YuvRowPair&) { return 0; }

std::int32_t rgb16RowPairs(const std::uint16_t*, const std::uint16_t*, std::int32_t, const YuvRowPair&) { return 0; }

std::int32_t yuvToRgb24RowPairs(const YuvRowPairIn&, std::int32_t, const RgbRowPairOut&) { return 0; }

std::int32_t yuvToRgb16DirectRowPairs(const YuvRowPairIn&, std::int32_t, const RgbRowPairOut&) { return 0; }

}  // namespace mp4lib::pixels::simd

#endif
