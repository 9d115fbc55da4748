// Resizing of packed RGB24 and RGB16 pictures to the player's output size,
// by nearest sample or bilinear with 16.16 fixed-point source positions.
#include <cstddef>
#include <cstdint>

#include "pixels/yuv_to_rgb.h"

namespace mp4lib::pixels {

namespace {

// Source position of a destination pixel, integer part and 16-bit fraction.
struct Position {
  std::int32_t whole;
  std::int32_t fraction;
};

// Steps are (source << 16) / destination, so position k x step stays below
// source << 16 and every whole part is a valid source index. Positions
// start at 0 (no half-pixel centring).
class Axis {
 public:
  Axis(std::int32_t source, std::int32_t destination)
      : step_((static_cast<std::int64_t>(source) << 16) / destination), last_(source - 1) {}
  Position at(std::int32_t k) const {
    const std::int64_t position = k * step_;
    return {static_cast<std::int32_t>(position >> 16), static_cast<std::int32_t>(position & 0xFFFF)};
  }
  // The neighbour after `whole`, held at the last source sample.
  std::int32_t next(std::int32_t whole) const { return whole < last_ ? whole + 1 : last_; }

 private:
  std::int64_t step_;
  std::int32_t last_;
};

// Two-stage truncating blend: across on both rows, then down.
int blend(int topLeft, int topRight, int bottomLeft, int bottomRight, Position x, Position y) {
  const int top = (topRight * x.fraction + topLeft * (65536 - x.fraction)) >> 16;
  const int bottom = (bottomRight * x.fraction + bottomLeft * (65536 - x.fraction)) >> 16;
  return (bottom * y.fraction + top * (65536 - y.fraction)) >> 16;
}

// A pixel format as the resizer sees it: how many bytes a pixel takes and
// how to blend four of them into a destination pixel.
struct Rgb24Format {
  static constexpr std::ptrdiff_t kBytes = 3;
  static void copy(const std::uint8_t* source, std::uint8_t* destination) {
    destination[0] = source[0];
    destination[1] = source[1];
    destination[2] = source[2];
  }
  static void blend4(const std::uint8_t* a, const std::uint8_t* b, const std::uint8_t* c, const std::uint8_t* d,
                     Position x, Position y, std::uint8_t* destination) {
    for (int channel = 0; channel < 3; ++channel) {
      destination[channel] = static_cast<std::uint8_t>(blend(a[channel], b[channel], c[channel], d[channel], x, y));
    }
  }
};

// RGB16 words, little-endian; the 5-, 6- and 5-bit fields blend apart.
struct Rgb16Format {
  static constexpr std::ptrdiff_t kBytes = 2;
  static int word(const std::uint8_t* p) { return p[0] | (p[1] << 8); }
  static void copy(const std::uint8_t* source, std::uint8_t* destination) {
    destination[0] = source[0];
    destination[1] = source[1];
  }
  static int field(int word, int shift, int mask) { return (word >> shift) & mask; }
  static void blend4(const std::uint8_t* a, const std::uint8_t* b, const std::uint8_t* c, const std::uint8_t* d,
                     Position x, Position y, std::uint8_t* destination) {
    const int wa = word(a), wb = word(b), wc = word(c), wd = word(d);
    // Blue in bits 0-4, green in 5-10, red in 11-15.
    static constexpr int kShift[3] = {0, 5, 11};
    static constexpr int kMask[3] = {31, 63, 31};
    int packed = 0;
    for (int f = 0; f < 3; ++f) {
      const int shift = kShift[f], mask = kMask[f];
      packed |= blend(field(wa, shift, mask), field(wb, shift, mask), field(wc, shift, mask), field(wd, shift, mask),
                      x, y)
                << shift;
    }
    destination[0] = static_cast<std::uint8_t>(packed);
    destination[1] = static_cast<std::uint8_t>(packed >> 8);
  }
};

template <typename Format>
void resize(const std::uint8_t* source, std::uint8_t* destination, std::int32_t sourceWidth,
            std::int32_t sourceHeight, std::int32_t destinationWidth, std::int32_t destinationHeight,
            std::int32_t mode) {
  if (sourceWidth < 1 || sourceHeight < 1 || destinationWidth < 1 || destinationHeight < 1) return;
  const Axis across(sourceWidth, destinationWidth);
  const Axis down(sourceHeight, destinationHeight);
  const std::ptrdiff_t sourcePitch = Format::kBytes * sourceWidth;
  const auto pixel = [&](std::int32_t column, std::int32_t row) {
    return source + row * sourcePitch + column * Format::kBytes;
  };
  for (std::int32_t j = 0; j < destinationHeight; ++j) {
    const Position y = down.at(j);
    for (std::int32_t i = 0; i < destinationWidth; ++i, destination += Format::kBytes) {
      const Position x = across.at(i);
      if (mode != 1) {
        Format::copy(pixel(x.whole, y.whole), destination);
        continue;
      }
      const std::int32_t x1 = across.next(x.whole);
      const std::int32_t y1 = down.next(y.whole);
      Format::blend4(pixel(x.whole, y.whole), pixel(x1, y.whole), pixel(x.whole, y1), pixel(x1, y1), x, y,
                     destination);
    }
  }
}

}  // namespace

void resizeRGB24(const std::uint8_t* source, std::uint8_t* destination, std::int32_t sourceWidth,
                 std::int32_t sourceHeight, std::int32_t destinationWidth, std::int32_t destinationHeight,
                 std::int32_t mode) {
  resize<Rgb24Format>(source, destination, sourceWidth, sourceHeight, destinationWidth, destinationHeight, mode);
}

void resizeRGB16(const std::uint8_t* source, std::uint8_t* destination, std::int32_t sourceWidth,
                 std::int32_t sourceHeight, std::int32_t destinationWidth, std::int32_t destinationHeight,
                 std::int32_t mode) {
  resize<Rgb16Format>(source, destination, sourceWidth, sourceHeight, destinationWidth, destinationHeight, mode);
}

}  // namespace mp4lib::pixels
