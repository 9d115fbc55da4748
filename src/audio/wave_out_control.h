// What seeking needs from the wave-out device.
#pragma once

#include <cstdint>

namespace mp4lib::audio {

// True while the wave-out device is open.
bool waveOutIsOpen();

// Stops the device for a seek: waveOutReset, then every queued header is
// waited for, unprepared and released, and the wave-out queue is emptied.
// False (and nothing released) when the reset fails.
bool resetWaveOutForSeek();

// The audio entry that playback through the device decodes next.
std::int32_t waveOutAudioEntry();
void setWaveOutAudioEntry(std::int32_t entry);

// Tests may stand in for the device; null goes back to the real one.
struct WaveOutStandIn {
  bool (*isOpen)();
  bool (*resetForSeek)();
};
void setWaveOutStandInForTesting(const WaveOutStandIn* standIn);

}  // namespace mp4lib::audio
