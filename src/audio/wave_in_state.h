// Size of one capture buffer of the wave input, in bytes: one audio block of
// the encoder (bits x ms x rate x channels / 8000), set when the audio
// encoder is opened.
#pragma once

#include <cstdint>

namespace mp4lib::audio {

std::uint32_t waveInBufferSize();
void setWaveInBufferSize(std::uint32_t bytes);

}  // namespace mp4lib::audio
