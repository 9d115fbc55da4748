#include "playback/rgb_output.h"

#include "pixels/yuv_to_rgb.h"

namespace mp4lib::playback {

namespace {

constexpr std::int32_t kBilinear = 1;

}  // namespace

std::uint32_t rgbPixelBytes(RgbFormat format) { return format == RgbFormat::kRgb24 ? 3 : 2; }

void convertPlanes(const DecodedPlanes& planes, RgbFormat format, std::int32_t rgb16Method, std::int32_t width,
                   std::int32_t height, std::uint8_t* rgb) {
  if (format == RgbFormat::kRgb24) {
    pixels::yuvToRgb24(planes.pitch, width, height, planes.y, planes.u, planes.v, rgb);
  } else {
    pixels::yuvToRgb16(rgb16Method, planes.pitch, width, height, planes.y, planes.u, planes.v, rgb);
  }
}

void scaleRgb(RgbFormat format, const std::uint8_t* source, std::int32_t sourceWidth, std::int32_t sourceHeight,
              std::uint8_t* destination, std::int32_t width, std::int32_t height) {
  if (format == RgbFormat::kRgb24) {
    pixels::resizeRGB24(source, destination, sourceWidth, sourceHeight, width, height, kBilinear);
  } else {
    pixels::resizeRGB16(source, destination, sourceWidth, sourceHeight, width, height, kBilinear);
  }
}

}  // namespace mp4lib::playback
