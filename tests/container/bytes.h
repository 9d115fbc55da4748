// A small byte writer for hand-made test files: every value is spelled out
// big-endian as boxes store it, and boxes get their size in front.
#pragma once

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <vector>

namespace mp4lib::test {

using Bytes = std::vector<std::uint8_t>;

class ByteWriter {
 public:
  ByteWriter& u8(std::uint32_t v);
  ByteWriter& u16(std::uint32_t v);
  ByteWriter& u24(std::uint32_t v);
  ByteWriter& u32(std::uint32_t v);
  ByteWriter& u64(std::uint64_t v);
  ByteWriter& le32(std::uint32_t v);
  ByteWriter& text(const std::string& s);  // the characters, no terminator
  ByteWriter& zeros(std::size_t n);
  ByteWriter& raw(const Bytes& b);
  const Bytes& bytes() const { return bytes_; }
  operator Bytes() const { return bytes_; }

 private:
  Bytes bytes_;
};

Bytes concat(std::initializer_list<Bytes> parts);
Bytes concat(const std::vector<Bytes>& parts);

// size (32 bits) + type + payload.
Bytes box(const std::string& type, const Bytes& payload);
// size 1 + type + 64-bit size + payload.
Bytes largeBox(const std::string& type, const Bytes& payload);
// size 0 (runs to the end of its parent) + type + payload.
Bytes openBox(const std::string& type, const Bytes& payload);
// box with version and flags in front of the payload.
Bytes fullBox(const std::string& type, std::uint32_t versionAndFlags, const Bytes& payload);

// A file in a scratch folder, removed when the object goes.
class TempFile {
 public:
  explicit TempFile(const Bytes& contents, const std::string& name = "movie.3gp");
  ~TempFile();
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;
  const std::filesystem::path& path() const { return path_; }
  std::wstring widePath() const { return path_.wstring(); }
  void rewrite(const Bytes& contents);

 private:
  std::filesystem::path folder_;
  std::filesystem::path path_;
};

}  // namespace mp4lib::test
