// The RGB forms of video track decoding.
#pragma once

#include <cstdint>

#include "playback/rgb_output.h"

namespace mp4lib::playback {

// Entry `entry` at the display size. The plug-in's picture has the decoded
// size; when asked to resize, or when the two sizes differ (converting at
// the display size would read outside the plug-in's planes), the picture
// goes through the RGB buffer and is scaled to the display size. *size =
// display width x height x bytes per pixel. 1, or 0.
std::int32_t decodeAtDisplaySize(Playback& playback, std::int32_t entry, RgbFormat format, std::uint8_t* rgb,
                                 std::uint32_t* size, std::uint32_t* timeMs, std::uint32_t* durationMs);

// Entry `entry` at a size of the caller's: converted straight when it is the
// decoded size, else through a temporary and scaled. *size = target width x
// height x bytes per pixel. 1, or 0.
std::int32_t decodeAtTargetSize(Playback& playback, std::int32_t entry, RgbFormat format, std::uint8_t* rgb,
                                std::uint32_t* size, std::int32_t targetWidth, std::int32_t targetHeight,
                                std::uint32_t* timeMs, std::uint32_t* durationMs);

}  // namespace mp4lib::playback
