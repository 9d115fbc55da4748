// YUV 4:2:0 (three 8-bit planes) to packed RGB, and RGB resizing, for the
// player's RGB decoding functions.
#pragma once

#include <cstdint>

namespace mp4lib::pixels {

// The RGB16 methods. Any value other than these two converts directly.
constexpr std::int32_t kRgb16Diffused = 1;
constexpr std::int32_t kRgb16Additive = 2;

// Byte planar 4:2:0 to packed RGB24 (blue, green, red) or RGB16 by the
// given method. `pitch` is the luma row pitch in samples (chroma: pitch /
// 2). An odd last column or row is left unwritten, and below two rows
// nothing is written. Returns 1.
std::int32_t yuvToRgb24(std::uint32_t pitch, std::int32_t width, std::int32_t height, const std::uint8_t* y,
                        const std::uint8_t* u, const std::uint8_t* v, std::uint8_t* rgb);
std::int32_t yuvToRgb16(std::int32_t method, std::uint32_t pitch, std::int32_t width, std::int32_t height,
                        const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v, std::uint8_t* rgb);

// Grey RGB24 from 16-bit luma samples, rows `pitch` samples apart: the low
// byte of each sample (not clamped) three times. Returns 1.
std::int32_t lumaToGreyRgb24(std::uint32_t pitch, std::int32_t width, std::int32_t height,
                             const std::int16_t* samples, std::uint8_t* rgb);

// Resizes a packed RGB24 / RGB16 picture; mode 0 nearest, 1 bilinear.
void resizeRGB24(const std::uint8_t* source, std::uint8_t* destination, std::int32_t sourceWidth,
                 std::int32_t sourceHeight, std::int32_t destinationWidth, std::int32_t destinationHeight,
                 std::int32_t mode);
void resizeRGB16(const std::uint8_t* source, std::uint8_t* destination, std::int32_t sourceWidth,
                 std::int32_t sourceHeight, std::int32_t destinationWidth, std::int32_t destinationHeight,
                 std::int32_t mode);

}  // namespace mp4lib::pixels
