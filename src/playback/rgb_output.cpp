#include "reader/rgb_output.h"

#include "mp4lib.h"
#include "pixels/yuv_to_rgb.h"

namespace mp4lib::reader {

namespace {

constexpr std::int32_t kBilinear = 1;

}  // namespace

std::uint32_t rgbPixelBytes(RgbFormat format) { return format == RgbFormat::kRgb24 ? 3 : 2; }

void convertPlanes(const DecodedPlanes& planes, RgbFormat format, std::int32_t width, std::int32_t height,
                   std::uint8_t* rgb) {
  if (format == RgbFormat::kRgb24) {
    transferByteYUV2RGBEx(planes.pitch, planes.chromaPitch, width, height, planes.y, planes.u, planes.v, rgb);
  } else {
    pixels::transferYUV2RGB16(planes.pitch, planes.chromaPitch, width, height, planes.y, planes.u, planes.v, rgb);
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

}  // namespace mp4lib::reader
