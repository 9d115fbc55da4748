// Float-to-integer truncation that is defined for every input. Timing is
// computed in single precision and truncated; a file can make the value
// infinite or NaN (a time scale of 0), which a plain conversion would turn
// into undefined behaviour.
#pragma once

#include <cstdint>

namespace mp4lib::reader {

// Truncates toward zero through a 64-bit integer, so that a small negative
// value wraps as it does on the library's targets; NaN and values beyond
// the 64-bit range give 0.
inline std::int64_t truncateToInt64(double value) {
  constexpr double kLimit = 9.2e18;
  if (!(value > -kLimit && value < kLimit)) return 0;
  return static_cast<std::int64_t>(value);
}

inline std::uint32_t truncateToU32(double value) { return static_cast<std::uint32_t>(truncateToInt64(value)); }
inline std::int32_t truncateToI32(double value) { return static_cast<std::int32_t>(truncateToInt64(value)); }

// Signed 64-bit quotient; 0 instead of a division by zero.
inline std::int64_t divideOrZero(std::int64_t numerator, std::int64_t denominator) {
  return denominator == 0 ? 0 : numerator / denominator;
}

}  // namespace mp4lib::reader
