// Reads bits most significant first; past the end every bit reads as 0.
#pragma once

#include <cstddef>
#include <cstdint>

namespace mp4lib::plugin {

class BitReader {
 public:
  BitReader(const std::uint8_t* bytes, std::size_t length) : bytes_(bytes), length_(length) {}

  std::uint32_t read(int count) {
    std::uint32_t value = 0;
    for (int i = 0; i < count; ++i) value = (value << 1) | readBit();
    return value;
  }
  bool exhausted() const { return position_ >= length_ * 8; }

 private:
  std::uint32_t readBit() {
    if (exhausted()) {
      ++position_;
      return 0;
    }
    const std::uint32_t bit = (bytes_[position_ / 8] >> (7 - position_ % 8)) & 1u;
    ++position_;
    return bit;
  }

  const std::uint8_t* bytes_;
  std::size_t length_;
  std::size_t position_ = 0;
};

}  // namespace mp4lib::plugin
