// Whole RGB pictures to short planar YUV 4:2:0 at their own size.
#pragma once

#include <cstdint>

namespace mp4lib::pixels {

// RGB24 (blue, green, red) and RGB16 (5-6-5, Y summed red first) pictures;
// flip nonzero turns the picture upside down. Returns 1, also for an odd
// width or height, for which nothing is written.
std::int32_t rgb24PictureToYuv420(std::int32_t width, std::int32_t height, const std::uint8_t* rgb, std::int16_t* y,
                                  std::int16_t* u, std::int16_t* v, std::int32_t flip);
std::int32_t rgb16PictureToYuv420(std::int32_t width, std::int32_t height, const std::uint16_t* rgb, std::int16_t* y,
                                  std::int16_t* u, std::int16_t* v, std::int32_t flip);

}  // namespace mp4lib::pixels
