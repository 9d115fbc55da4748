#include "test_source.h"

#include <cmath>

namespace mp4lib::tool {

namespace {

constexpr std::uint16_t kBars[8] = {0xFFFF, 0xFFE0, 0x07FF, 0x07E0, 0xF81F, 0xF800, 0x001F, 0x0000};

}  // namespace

std::vector<std::uint16_t> testPicture(std::uint32_t width, std::uint32_t height, std::uint32_t frame) {
  std::vector<std::uint16_t> picture(static_cast<std::size_t>(width) * height);
  const std::uint32_t shift = frame * 2;  // bars slide 2 pixels per frame
  const std::uint32_t box = height / 4;
  const std::uint32_t span = width > box ? width - box : 1;
  const std::uint32_t travel = frame * 3 % (2 * span);
  const std::uint32_t boxX = travel < span ? travel : 2 * span - travel;
  const std::uint32_t boxY = height / 2 - box / 2;
  for (std::uint32_t y = 0; y < height; ++y) {
    for (std::uint32_t x = 0; x < width; ++x) {
      std::uint16_t pixel = kBars[((x + shift) * 8 / width) % 8];
      if (x >= boxX && x < boxX + box && y >= boxY && y < boxY + box) pixel = 0x8410;  // grey square
      picture[static_cast<std::size_t>(y) * width + x] = pixel;
    }
  }
  return picture;
}

std::vector<std::uint8_t> testTone(std::uint32_t sampleRate, std::uint64_t first, std::uint32_t count) {
  std::vector<std::uint8_t> pcm(static_cast<std::size_t>(count) * 2);
  for (std::uint32_t i = 0; i < count; ++i) {
    const double t = static_cast<double>(first + i) / sampleRate;
    const auto sample = static_cast<std::int16_t>(std::lround(10000.0 * std::sin(2.0 * 3.14159265358979323846 * 440.0 * t)));
    pcm[2 * i] = static_cast<std::uint8_t>(static_cast<std::uint16_t>(sample) & 0xFF);
    pcm[2 * i + 1] = static_cast<std::uint8_t>(static_cast<std::uint16_t>(sample) >> 8);
  }
  return pcm;
}

}  // namespace mp4lib::tool
