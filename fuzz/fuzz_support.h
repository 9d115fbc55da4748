// Small helpers shared by the whole-API fuzz targets.
#pragma once

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace mp4lib::fuzz {

// A broken promise of the library is a finding like a crash: say which one
// and stop, so that the fuzzer keeps the input.
inline void require(bool holds, const char* promise) {
  if (holds) return;
  std::fprintf(stderr, "broken promise: %s\n", promise);
  std::abort();
}

// A heap block of exactly `bytes` (also for 0 bytes, whose pointer is valid
// but owns nothing), so the address checker sees any access past its end.
class ExactBuffer {
 public:
  explicit ExactBuffer(std::uint64_t bytes) : bytes_(bytes), data_(new std::uint8_t[bytes]()) {}
  std::uint8_t* data() { return data_.get(); }
  std::uint32_t size() const { return static_cast<std::uint32_t>(bytes_); }

 private:
  std::uint64_t bytes_;
  std::unique_ptr<std::uint8_t[]> data_;
};

// A file name of this process's own in the temporary folder.
inline std::string scratchPath(const char* stem, int serial = 0) {
  const char* folder = std::getenv("TMPDIR");
  std::string path = (folder != nullptr && *folder != '\0') ? folder : "/tmp";
  return path + "/" + stem + "-" + std::to_string(getpid()) + "-" + std::to_string(serial) + ".3gp";
}

// The library takes wide paths; ours are plain ASCII.
inline std::wstring widePath(const std::string& path) { return std::wstring(path.begin(), path.end()); }

inline bool writeWholeFile(const std::string& path, const std::uint8_t* data, std::size_t size) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) return false;
  const bool written = size == 0 || std::fwrite(data, 1, size, file) == size;
  return std::fclose(file) == 0 && written;
}

}  // namespace mp4lib::fuzz
