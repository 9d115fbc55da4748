// The RGB to YUV colour equations for one pixel, in single precision with
// the products taken from the coefficient tables. The grouping of every sum
// is part of the result and must not be rearranged: each function below is
// the reference that any faster row routine has to reproduce bit for bit.
#pragma once

#include <cstdint>

#include "pixels/tables.h"

namespace mp4lib::pixels {

// 8-bit components of one pixel.
struct Rgb {
  int red;
  int green;
  int blue;
};

// RGB24 pixels are stored blue, green, red.
inline Rgb rgb24Pixel(const std::uint8_t* pixel) { return {pixel[2], pixel[1], pixel[0]}; }

// A 5-6-5 word widened to 8-bit components; the low bits stay zero.
inline Rgb rgb16Pixel(std::uint16_t word) {
  return {(word >> 8) & 0xF8, (word >> 3) & 0xFC, (word << 3) & 0xF8};
}

// Y with blue and green added first: the encoder converters and RGB24.
inline int lumaBlueFirst(const CoefficientTables& k, Rgb c) {
  return static_cast<int>((k.blueToY[c.blue] + k.greenToY[c.green]) + k.redToY[c.red]);
}

// Y with red and green added first: only the free-standing RGB16 converter.
// For 17 of the 65,536 RGB16 colours this is one off the other grouping.
inline int lumaRedFirst(const CoefficientTables& k, Rgb c) {
  return static_cast<int>((k.redToY[c.red] + k.greenToY[c.green]) + k.blueToY[c.blue]);
}

// U: half of blue by an integer shift, so an odd blue loses its half.
inline int blueDifference(const CoefficientTables& k, Rgb c) {
  return static_cast<int>((static_cast<float>(c.blue >> 1) - (k.greenToU[c.green] + k.redToU[c.red])) + 128.0f);
}

// V: half of red by an integer shift, then the two terms taken off in turn.
inline int redDifference(const CoefficientTables& k, Rgb c) {
  return static_cast<int>(((static_cast<float>(c.red >> 1) - k.greenToV[c.green]) - k.blueToV[c.blue]) + 128.0f);
}

}  // namespace mp4lib::pixels
