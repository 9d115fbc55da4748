// Float-to-integer conversions that truncate toward zero like a C cast but
// give an answer for every input, and a division that cannot trap. Times and
// rates are computed in floating point from values that a file, a plug-in or
// the application chose, so infinities, NaN and zero divisors do reach here.
#pragma once

#include <cstdint>

namespace mp4lib::container {

// Saturating: NaN becomes 0 and values out of range stop at the nearest end
// of the range.
inline std::int32_t saturateToInt32(double value) {
  if (!(value == value)) return 0;
  if (value >= 2147483647.0) return INT32_MAX;
  if (value <= -2147483648.0) return INT32_MIN;
  return static_cast<std::int32_t>(value);
}

inline std::uint32_t saturateToUint32(double value) {
  if (!(value > 0.0)) return 0;
  if (value >= 4294967295.0) return UINT32_MAX;
  return static_cast<std::uint32_t>(value);
}

inline std::uint64_t saturateToUint64(double value) {
  if (!(value > 0.0)) return 0;
  if (value >= 18446744073709551615.0) return UINT64_MAX;
  return static_cast<std::uint64_t>(value);
}

// Truncates through a 64-bit integer; NaN and values beyond the 64-bit range
// give 0.
inline std::int64_t truncateToInt64(double value) {
  constexpr double kLimit = 9.2e18;
  if (!(value > -kLimit && value < kLimit)) return 0;
  return static_cast<std::int64_t>(value);
}

// Wrapping: the low 32 bits of truncateToInt64, so a small negative value
// wraps as a plain cast does on the library's targets.
inline std::uint32_t wrapToUint32(double value) { return static_cast<std::uint32_t>(truncateToInt64(value)); }
inline std::int32_t wrapToInt32(double value) { return static_cast<std::int32_t>(truncateToInt64(value)); }

// Signed 64-bit quotient; 0 instead of a division by zero.
inline std::int64_t divideOrZero(std::int64_t numerator, std::int64_t denominator) {
  return denominator == 0 ? 0 : numerator / denominator;
}

}  // namespace mp4lib::container
