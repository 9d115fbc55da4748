// YUV 4:2:0 (three 8-bit planes) to packed RGB, and RGB resizing, for the
// player's RGB decoding functions.
#pragma once

#include <cstdint>

namespace mp4lib::pixels {

// RGB16 from three byte planes with the method chosen by setYUV2RGBMethod.
// `pitch` is the luma row pitch in samples (chroma: pitch / 2); `reserved`
// is ignored. Returns 1.
std::int32_t transferYUV2RGB16(std::uint32_t pitch, std::uint32_t reserved, std::int32_t width, std::int32_t height,
                               const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v, std::uint8_t* rgb);

// Resizes a packed RGB24 / RGB16 picture; mode 0 nearest, 1 bilinear.
void resizeRGB24(const std::uint8_t* source, std::uint8_t* destination, std::int32_t sourceWidth,
                 std::int32_t sourceHeight, std::int32_t destinationWidth, std::int32_t destinationHeight,
                 std::int32_t mode);
void resizeRGB16(const std::uint8_t* source, std::uint8_t* destination, std::int32_t sourceWidth,
                 std::int32_t sourceHeight, std::int32_t destinationWidth, std::int32_t destinationHeight,
                 std::int32_t mode);

}  // namespace mp4lib::pixels
