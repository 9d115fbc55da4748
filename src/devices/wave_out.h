// Wave-out playback: decoded PCM blocks wait on the wave block list while
// the output plays them; the application hands each finished one to
// processWaveOut, which releases the oldest block.
#pragma once

#include <cstdint>

#include "devices/audio_devices.h"

namespace mp4lib::devices {

// At most this many PCM blocks are queued on the output at once.
constexpr std::uint32_t kMaxQueuedBlocks = 8;

// How long one queued block is waited for after a reset before it is given
// up (ms of the library clock). A given-up block is unlinked but not freed:
// a device that never returns it may still read it.
constexpr std::uint32_t kDoneWaitMs = 2000;

// Full volume on the left (low word), nothing on the right (high word).
constexpr std::uint32_t kOpenVolume = 0x0000FFFFu;

// openWaveOut / openWaveOutEx: 1, or 0 when the device did not open
// (*handleOut receives the handle either way).
std::int32_t openOutput(AudioDevices& devices, std::uint32_t instance, platform::WaveWindow window,
                        std::uint32_t bits, std::uint32_t rate, std::uint16_t channels, Mp4WaveOutHandle* handleOut);

// True while the output is open.
bool outputOpen(const AudioDevices& devices);

// waveOutReset, then every queued block is waited for, unprepared and
// released. False (nothing released) when the reset fails.
bool resetOutputAndDrain(AudioDevices& devices);

// Queues one PCM block on the output: appended to the block list, prepared
// and written. Results of prepare and write are not examined.
void playBlock(AudioDevices& devices, const std::uint8_t* pcm, std::uint32_t bytes);

// processWaveOut: releases the oldest block when `header` is it and the
// device has finished with it; anything else is ignored.
void releaseFinishedBlock(AudioDevices& devices, Mp4WaveOutHandle handle, WaveHeader* header);

// closeWaveOut: 1, or 0 when the device refused to reset or close.
std::int32_t closeOutput(AudioDevices& devices);

}  // namespace mp4lib::devices
