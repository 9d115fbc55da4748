#include "rgb_picture.h"

#include <algorithm>

namespace mp4lib::tool {

Area overlap(const Area& a, const Area& b) {
  const std::int64_t left = std::max(a.x, b.x);
  const std::int64_t top = std::max(a.y, b.y);
  const std::int64_t right = std::min(a.x + a.width, b.x + b.width);
  const std::int64_t bottom = std::min(a.y + a.height, b.y + b.height);
  return {left, top, std::max<std::int64_t>(0, right - left), std::max<std::int64_t>(0, bottom - top)};
}

RgbPicture::RgbPicture(std::uint32_t width, std::uint32_t height, Rgb background)
    : width_(width), height_(height), bytes_(static_cast<std::size_t>(width) * height * 3) {
  fill(whole(), whole(), background);
}

Rgb RgbPicture::at(std::uint32_t x, std::uint32_t y) const {
  const std::uint8_t* p = bytes_.data() + (static_cast<std::size_t>(y) * width_ + x) * 3;
  return {p[0], p[1], p[2]};
}

void RgbPicture::fill(const Area& area, const Area& clip, Rgb colour) {
  const Area inside = overlap(overlap(area, clip), whole());
  for (std::int64_t y = inside.y; y < inside.y + inside.height; ++y) {
    std::uint8_t* p = pixel(inside.x, y);
    for (std::int64_t x = 0; x < inside.width; ++x, p += 3) {
      p[0] = colour.red;
      p[1] = colour.green;
      p[2] = colour.blue;
    }
  }
}

void RgbPicture::placeBgr(const std::uint8_t* bgr, std::uint32_t width, std::uint32_t height, std::int64_t x,
                          std::int64_t y) {
  const Area inside = overlap({x, y, width, height}, whole());
  for (std::int64_t row = inside.y; row < inside.y + inside.height; ++row) {
    const std::uint8_t* from = bgr + ((row - y) * width + (inside.x - x)) * 3;
    std::uint8_t* to = pixel(inside.x, row);
    for (std::int64_t column = 0; column < inside.width; ++column, from += 3, to += 3) {
      to[0] = from[2];
      to[1] = from[1];
      to[2] = from[0];
    }
  }
}

}  // namespace mp4lib::tool
