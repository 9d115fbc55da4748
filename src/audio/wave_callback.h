// The application's window and instance value given to the last open of
// either wave device; resetting playback reopens the output with them.
#pragma once

#include <cstdint>

#include "platform/wave_device.h"

namespace mp4lib::audio {

void rememberCallback(std::uint32_t instance, platform::WaveWindow window);
std::uint32_t callbackInstance();
platform::WaveWindow callbackWindow();

}  // namespace mp4lib::audio
