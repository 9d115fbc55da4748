// Four-character codes: box types, brands, handler types and sample entry
// tags. A code is the number whose big-endian bytes are its four characters
// in file order, the value MP4LIB_FOURCC gives, so the writer writes it and
// the reader reads it as any other big-endian word.
#pragma once

#include <cstdint>

namespace mp4lib::container {

constexpr std::uint32_t fourcc(const char (&name)[5]) {
  return (std::uint32_t{static_cast<std::uint8_t>(name[0])} << 24) |
         (std::uint32_t{static_cast<std::uint8_t>(name[1])} << 16) |
         (std::uint32_t{static_cast<std::uint8_t>(name[2])} << 8) | std::uint32_t{static_cast<std::uint8_t>(name[3])};
}

// Character i (0 = first in the file) of a code.
constexpr std::uint8_t fourccChar(std::uint32_t code, int i) { return static_cast<std::uint8_t>(code >> (24 - 8 * i)); }

}  // namespace mp4lib::container
