#include "container/bytes.h"

#include <atomic>
#include <chrono>
#include <fstream>

namespace fs = std::filesystem;

namespace mp4lib::test {

ByteWriter& ByteWriter::u8(std::uint32_t v) {
  bytes_.push_back(static_cast<std::uint8_t>(v));
  return *this;
}
ByteWriter& ByteWriter::u16(std::uint32_t v) { return u8(v >> 8).u8(v); }
ByteWriter& ByteWriter::u24(std::uint32_t v) { return u8(v >> 16).u16(v); }
ByteWriter& ByteWriter::u32(std::uint32_t v) { return u16(v >> 16).u16(v); }
ByteWriter& ByteWriter::u64(std::uint64_t v) {
  return u32(static_cast<std::uint32_t>(v >> 32)).u32(static_cast<std::uint32_t>(v));
}
ByteWriter& ByteWriter::le32(std::uint32_t v) { return u8(v).u8(v >> 8).u8(v >> 16).u8(v >> 24); }
ByteWriter& ByteWriter::text(const std::string& s) {
  for (char c : s) u8(static_cast<std::uint8_t>(c));
  return *this;
}
ByteWriter& ByteWriter::zeros(std::size_t n) {
  bytes_.insert(bytes_.end(), n, 0);
  return *this;
}
ByteWriter& ByteWriter::raw(const Bytes& b) {
  bytes_.insert(bytes_.end(), b.begin(), b.end());
  return *this;
}

Bytes concat(std::initializer_list<Bytes> parts) { return concat(std::vector<Bytes>(parts)); }

Bytes concat(const std::vector<Bytes>& parts) {
  Bytes all;
  for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

Bytes box(const std::string& type, const Bytes& payload) {
  return ByteWriter().u32(static_cast<std::uint32_t>(payload.size() + 8)).text(type).raw(payload);
}

Bytes largeBox(const std::string& type, const Bytes& payload) {
  return ByteWriter().u32(1).text(type).u64(payload.size() + 16).raw(payload);
}

Bytes openBox(const std::string& type, const Bytes& payload) { return ByteWriter().u32(0).text(type).raw(payload); }

Bytes fullBox(const std::string& type, std::uint32_t versionAndFlags, const Bytes& payload) {
  return box(type, ByteWriter().u32(versionAndFlags).raw(payload));
}

TempFile::TempFile(const Bytes& contents, const std::string& name) {
  static std::atomic<int> serial{0};
  const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
  folder_ = fs::temp_directory_path() / ("mp4lib-movie-" + std::to_string(stamp) + "-" + std::to_string(serial++));
  fs::create_directories(folder_);
  path_ = folder_ / name;
  rewrite(contents);
}

TempFile::~TempFile() {
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
}

void TempFile::rewrite(const Bytes& contents) {
  std::ofstream out(path_, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(contents.data()), static_cast<std::streamsize>(contents.size()));
}

}  // namespace mp4lib::test
