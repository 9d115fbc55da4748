#include "platform/wave_device.h"

#include <atomic>

namespace mp4lib::platform {

// Each platform's files define the system's devices.
WaveDevices& systemWaveDevices();

namespace {

std::atomic<WaveDevices*> replacement{nullptr};

}  // namespace

WaveDevices& waveDevices() {
  WaveDevices* devices = replacement.load();
  return devices != nullptr ? *devices : systemWaveDevices();
}

void setWaveDevicesForTesting(WaveDevices* devices) { replacement.store(devices); }

}  // namespace mp4lib::platform
