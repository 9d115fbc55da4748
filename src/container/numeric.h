// Float-to-integer conversions that truncate toward zero like a C cast, but
// give a defined answer where the cast would not: NaN becomes 0 and values
// out of range stop at the nearest end of the range.
#pragma once

#include <cstdint>

namespace mp4lib::frame {

inline std::int32_t truncateToInt32(double value) {
  if (!(value == value)) return 0;
  if (value >= 2147483647.0) return INT32_MAX;
  if (value <= -2147483648.0) return INT32_MIN;
  return static_cast<std::int32_t>(value);
}

inline std::uint32_t truncateToUint32(double value) {
  if (!(value > 0.0)) return 0;
  if (value >= 4294967295.0) return UINT32_MAX;
  return static_cast<std::uint32_t>(value);
}

inline std::uint64_t truncateToUint64(double value) {
  if (!(value > 0.0)) return 0;
  if (value >= 18446744073709551615.0) return UINT64_MAX;
  return static_cast<std::uint64_t>(value);
}

}  // namespace mp4lib::frame
