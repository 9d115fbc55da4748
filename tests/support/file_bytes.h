// Reading files back and building expected bytes by hand in tests.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace mp4lib::test {

using Bytes = std::vector<std::uint8_t>;

inline Bytes readFileBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Appends big-endian fields, strings and runs of bytes.
class ByteBuilder {
 public:
  ByteBuilder& u8(std::uint32_t v) {
    bytes_.push_back(static_cast<std::uint8_t>(v));
    return *this;
  }
  ByteBuilder& u16(std::uint32_t v) { return u8(v >> 8).u8(v); }
  ByteBuilder& u24(std::uint32_t v) { return u8(v >> 16).u8(v >> 8).u8(v); }
  ByteBuilder& u32(std::uint32_t v) { return u8(v >> 24).u8(v >> 16).u8(v >> 8).u8(v); }
  ByteBuilder& le16(std::uint32_t v) { return u8(v).u8(v >> 8); }
  ByteBuilder& le32(std::uint32_t v) { return u8(v).u8(v >> 8).u8(v >> 16).u8(v >> 24); }
  ByteBuilder& text(const std::string& s) {
    for (char c : s) u8(static_cast<std::uint8_t>(c));
    return *this;
  }
  ByteBuilder& zeros(std::size_t n) {
    bytes_.insert(bytes_.end(), n, 0);
    return *this;
  }
  ByteBuilder& append(const Bytes& more) {
    bytes_.insert(bytes_.end(), more.begin(), more.end());
    return *this;
  }
  const Bytes& bytes() const { return bytes_; }
  std::size_t size() const { return bytes_.size(); }

 private:
  Bytes bytes_;
};

inline std::uint32_t readU32(const Bytes& bytes, std::size_t at) {
  return (std::uint32_t{bytes[at]} << 24) | (std::uint32_t{bytes[at + 1]} << 16) | (std::uint32_t{bytes[at + 2]} << 8) |
         std::uint32_t{bytes[at + 3]};
}

}  // namespace mp4lib::test
