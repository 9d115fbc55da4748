// A deliberately plain second implementation of the pixel converters, written
// pixel by pixel from the description of each algorithm and sharing no code
// with the library. The tests compare the library against it on random
// pictures; the hand-checked constants in the tests pin the reference down.
#pragma once

#include <cstdint>
#include <vector>

namespace mp4lib::test {

// Y, U, V of one pixel by the colour equations (single precision, every
// intermediate forced through a float). redFirst selects the other Y grouping.
struct PlainYuv {
  int y, u, v;
};
PlainYuv plainPixel(int red, int green, int blue, bool redFirst);
// The RGB16 lookup value of a 5-6-5 word: equations, then clamped to 0..255.
PlainYuv plainRgb16Lookup(unsigned word);

// Encoder conversion into a frame of codedWidth x codedHeight (Y then U then
// V, 16-bit), with or without the resize flag. `frame` is written only where
// the converter writes, so callers prefill it to see what was left alone.
void plainEncoderRgb24(const std::uint8_t* rgb, int width, int height, unsigned codedWidth, unsigned codedHeight,
                       bool resize, std::int16_t* y, std::int16_t* u, std::int16_t* v);
void plainEncoderRgb16(const std::uint16_t* rgb, int width, int height, unsigned codedWidth, unsigned codedHeight,
                       bool resize, std::int16_t* y, std::int16_t* u, std::int16_t* v);

// Free-standing converters: full-size U and V planes first, then 2 x 2 means.
int plainPictureRgb24(int width, int height, const std::uint8_t* rgb, std::int16_t* y, std::int16_t* u,
                      std::int16_t* v, bool flip);
int plainPictureRgb16(int width, int height, const std::uint16_t* rgb, std::int16_t* y, std::int16_t* u,
                      std::int16_t* v, bool flip);

// Source picture of a repacker as a function of (row, column).
enum class RepackSource { Packed422, Planar422, Planar420 };
struct PlainYuvSource {
  RepackSource kind;
  const std::uint8_t* packed;  // Packed422
  const std::uint8_t* y;       // planar byte sources
  const std::uint8_t* u;
  const std::uint8_t* v;
  const std::int16_t* y16;  // short 4:2:0 when set (kind Planar420)
  const std::int16_t* u16;
  const std::int16_t* v16;
};
void plainRepack(const PlainYuvSource& source, int width, int height, unsigned codedWidth, unsigned codedHeight,
                 bool resize, std::int16_t* y, std::int16_t* u, std::int16_t* v);

// YUV 4:2:0 to RGB. method: -1 for RGB24, otherwise the RGB16 method.
void plainYuvToRgb(int method, unsigned pitch, int width, int height, const std::uint8_t* y, const std::uint8_t* u,
                   const std::uint8_t* v, std::uint8_t* rgb);

void plainResize(int bytesPerPixel, const std::uint8_t* source, std::uint8_t* destination, int sourceWidth,
                 int sourceHeight, int destinationWidth, int destinationHeight, int mode);

}  // namespace mp4lib::test
