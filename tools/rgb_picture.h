// A picture the tool composes itself (the contact sheet): three bytes per
// pixel, red first, rows top first, as writePng takes them.
#pragma once

#include <cstdint>
#include <vector>

namespace mp4lib::tool {

struct Rgb {
  std::uint8_t red;
  std::uint8_t green;
  std::uint8_t blue;
};

// A rectangle in pixels; parts outside a picture are cut off when drawing.
struct Area {
  std::int64_t x;
  std::int64_t y;
  std::int64_t width;
  std::int64_t height;
};

// The part two areas share (empty: width or height 0).
Area overlap(const Area& a, const Area& b);

class RgbPicture {
 public:
  RgbPicture(std::uint32_t width, std::uint32_t height, Rgb background);

  std::uint32_t width() const { return width_; }
  std::uint32_t height() const { return height_; }
  const std::vector<std::uint8_t>& bytes() const { return bytes_; }
  Area whole() const { return {0, 0, width_, height_}; }

  Rgb at(std::uint32_t x, std::uint32_t y) const;
  // Paints the part of `area` inside `clip` and inside the picture.
  void fill(const Area& area, const Area& clip, Rgb colour);
  // Copies a picture of blue, green, red bytes (as the library decodes) with
  // its upper left corner at (x, y); parts outside are cut off.
  void placeBgr(const std::uint8_t* bgr, std::uint32_t width, std::uint32_t height, std::int64_t x, std::int64_t y);

 private:
  std::uint8_t* pixel(std::int64_t x, std::int64_t y) { return bytes_.data() + (y * width_ + x) * 3; }

  std::uint32_t width_;
  std::uint32_t height_;
  std::vector<std::uint8_t> bytes_;
};

}  // namespace mp4lib::tool
