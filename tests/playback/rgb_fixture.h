// Pictures for the RGB decoding tests: a known 16 x 16 picture in the test
// plug-in's planes, and its RGB values worked out from the conversion rules
// (U = V = 128, so only luma matters).
#pragma once

#include <cstdint>
#include <vector>

#include "plugin/test_plugin_control.h"

namespace mp4lib::test {

constexpr int kSide = 16;
constexpr std::uint32_t kPitch = 20;  // rows wider than the picture

struct TestPicture {
  std::vector<std::uint8_t> y = std::vector<std::uint8_t>(kPitch * kSide, 0xEE);
  std::vector<std::uint8_t> u = std::vector<std::uint8_t>(kPitch / 2 * kSide / 2, 128);
  std::vector<std::uint8_t> v = std::vector<std::uint8_t>(kPitch / 2 * kSide / 2, 128);

  TestPicture() {
    for (int row = 0; row < kSide; ++row) {
      for (int column = 0; column < kSide; ++column) y[row * kPitch + column] = luma(column, row);
    }
  }
  static std::uint8_t luma(int x, int y) { return static_cast<std::uint8_t>(16 + 8 * x + y); }

  void lend(TestPluginControl* control) {
    control->planeY = y.data();
    control->planeU = u.data();
    control->planeV = v.data();
    control->pitch = kPitch;
  }
};

inline int clampTo(int value, int high) { return value < 0 ? 0 : (value > high ? high : value); }

// RGB24: 298 x Y >> 8 for every channel.
inline std::uint8_t grey24(std::uint8_t y) { return static_cast<std::uint8_t>(clampTo((298 * y) >> 8, 255)); }

// RGB16 method 0: L = (Y - 32) x 9576; 5 bits from L >> 16, 6 from L >> 15.
inline std::uint16_t grey16(std::uint8_t y) {
  const int l = (y - 32) * 9576;
  const int five = clampTo(l >> 16, 31);
  const int six = clampTo(l >> 15, 63);
  return static_cast<std::uint16_t>((five << 11) | (six << 5) | five);
}

// The converted test picture, every `step`-th pixel (2: what scaling to half
// the size keeps, since all fractions are 0).
inline std::vector<std::uint8_t> expected24(int step) {
  std::vector<std::uint8_t> rgb;
  for (int row = 0; row < kSide; row += step) {
    for (int column = 0; column < kSide; column += step) {
      const std::uint8_t value = grey24(TestPicture::luma(column, row));
      rgb.insert(rgb.end(), {value, value, value});
    }
  }
  return rgb;
}

inline std::vector<std::uint8_t> expected16(int step) {
  std::vector<std::uint8_t> rgb;
  for (int row = 0; row < kSide; row += step) {
    for (int column = 0; column < kSide; column += step) {
      const std::uint16_t word = grey16(TestPicture::luma(column, row));
      rgb.push_back(static_cast<std::uint8_t>(word));
      rgb.push_back(static_cast<std::uint8_t>(word >> 8));
    }
  }
  return rgb;
}

}  // namespace mp4lib::test
