// Converting the video plug-in's decoded picture to packed RGB, for the RGB
// forms of track decoding and of queue-driven decoding.
#pragma once

#include <cstdint>

#include "playback/track_decoding.h"

namespace mp4lib::playback {

enum class RgbFormat { kRgb24, kRgb16 };

// Bytes per pixel of a format.
std::uint32_t rgbPixelBytes(RgbFormat format);

// Converts the planes at width x height into `rgb` (packed rows); RGB16 by
// `rgb16Method`.
void convertPlanes(const DecodedPlanes& planes, RgbFormat format, std::int32_t rgb16Method, std::int32_t width,
                   std::int32_t height, std::uint8_t* rgb);

// Scales a packed RGB picture bilinearly.
void scaleRgb(RgbFormat format, const std::uint8_t* source, std::int32_t sourceWidth, std::int32_t sourceHeight,
              std::uint8_t* destination, std::int32_t width, std::int32_t height);

}  // namespace mp4lib::playback
