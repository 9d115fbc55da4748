// Wave-in capture: five buffers of one encoder audio block each go round
// between the input device and the application, which hands each full one
// to processWaveIn; its bytes become a block of the wave block list for the
// audio encoder.
#pragma once

#include <cstdint>

#include "devices/audio_devices.h"

namespace mp4lib::devices {

// openWaveIn / openWaveInEx with buffers of `bufferBytes` each. Returns 1,
// also when the device did not open (its buffers then never come back).
std::int32_t openCapture(AudioDevices& devices, std::uint32_t bufferBytes, std::uint32_t instance,
                         platform::WaveWindow window, std::uint32_t bits, std::uint32_t rate, std::uint16_t channels,
                         Mp4WaveInHandle* handleOut);

// processWaveIn: copies a full buffer to the block list and gives it back
// to the device. The device's result; 5 (invalid handle) for a header that
// is not one of the open device's buffers, 33 (still playing) for one the
// device has not finished.
std::uint32_t takeCapturedBuffer(AudioDevices& devices, WaveHeader* header);

// closeWaveIn: 1, or 0 when the device refused to reset or stop.
std::int32_t closeCapture(AudioDevices& devices);

}  // namespace mp4lib::devices
