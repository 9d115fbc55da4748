// The PCM format both wave devices are opened with.
#pragma once

#include <cstdint>

#include "mp4lib.h"

namespace mp4lib::devices {

// PCM (tag 1): block align = (bits >> 3) x channels kept to 16 bits (bytes
// per frame of all channels), average rate = block align x rate (bytes per
// second), no extra bytes. Only the low 16 bits of `bits` count.
Mp4WaveFormat pcmWaveFormat(std::uint32_t bits, std::uint32_t rate, std::uint16_t channels);

}  // namespace mp4lib::devices
