// Helpers shared by the pixel tests: random pictures, buffers of exactly the
// size a converter may touch (AddressSanitizer reports one byte beyond), and
// the encoder context fields that the encoder converters read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "support/library_state.h"
#include "mp4lib.h"

namespace mp4lib::test {

// Deterministic bytes.
inline std::vector<std::uint8_t> randomBytes(std::size_t count, std::uint32_t seed) {
  std::mt19937 generator(seed);
  std::vector<std::uint8_t> bytes(count);
  for (auto& b : bytes) b = static_cast<std::uint8_t>(generator() >> 24);
  return bytes;
}

inline std::vector<std::uint16_t> randomWords(std::size_t count, std::uint32_t seed) {
  std::mt19937 generator(seed);
  std::vector<std::uint16_t> words(count);
  for (auto& w : words) w = static_cast<std::uint16_t>(generator() >> 16);
  return words;
}

// A block of exactly `offset + count` elements whose usable part starts
// `offset` elements in, so pointers can be made unaligned while the end is
// still the end of the allocation.
template <typename T>
class ExactBuffer {
 public:
  ExactBuffer(std::size_t count, std::size_t offset, T fill) : storage_(offset + count, fill), offset_(offset) {}
  T* data() { return storage_.data() + offset_; }
  const T* data() const { return storage_.data() + offset_; }
  T& operator[](std::size_t i) { return data()[i]; }
  const std::vector<T>& all() const { return storage_; }

 private:
  std::vector<T> storage_;
  std::size_t offset_;
};

// Sets the coded size and resize flag for the duration of a test.
class EncoderPictureScope {
 public:
  EncoderPictureScope(std::uint32_t codedWidth, std::uint32_t codedHeight, bool resize)
      : saved_(test::recorder().context) {
    EncoderContext& context = test::recorder().context;
    context.codedWidth = codedWidth;
    context.codedHeight = codedHeight;
    context.conversionFlags = resize ? MP4LIB_CONVERT_RESIZE : 0u;
  }
  ~EncoderPictureScope() { test::recorder().context = saved_; }
  EncoderPictureScope(const EncoderPictureScope&) = delete;
  EncoderPictureScope& operator=(const EncoderPictureScope&) = delete;

 private:
  EncoderContext saved_;
};

// A short planar frame kept as three exactly sized planes.
struct ShortFrame {
  ShortFrame(int width, int height, std::int16_t fill)
      : y(static_cast<std::size_t>(width) * height, 0, fill),
        u(static_cast<std::size_t>(width / 2) * (height / 2), 0, fill),
        v(static_cast<std::size_t>(width / 2) * (height / 2), 0, fill) {}
  ExactBuffer<std::int16_t> y, u, v;
};

}  // namespace mp4lib::test
