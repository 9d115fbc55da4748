// POSIX wave devices: the header flag access every backend shares, and,
// when the library is built without ALSA, no device at all: every open
// fails as a missing device does (MMSYSERR_BADDEVICEID) and every other call
// reports an invalid handle.
#include "platform/wave_device.h"

namespace mp4lib::platform {

#if !defined(MP4LIB_WITH_ALSA)
namespace {

class NoWaveDevices final : public WaveDevices {
 public:
  std::uint32_t waveInOpen(WaveHandle* handle, std::uint32_t, const Mp4WaveFormat&, WaveWindow, std::uint32_t,
                           std::uint32_t) override {
    if (handle != nullptr) *handle = nullptr;
    return kWaveBadDevice;
  }
  std::uint32_t waveInPrepareHeader(WaveHandle, WaveHeader*, std::uint32_t) override { return kWaveInvalidHandle; }
  std::uint32_t waveInAddBuffer(WaveHandle, WaveHeader*, std::uint32_t) override { return kWaveInvalidHandle; }
  std::uint32_t waveInStart(WaveHandle) override { return kWaveInvalidHandle; }
  std::uint32_t waveInStop(WaveHandle) override { return kWaveInvalidHandle; }
  std::uint32_t waveInReset(WaveHandle) override { return kWaveInvalidHandle; }
  std::uint32_t waveInUnprepareHeader(WaveHandle, WaveHeader*, std::uint32_t) override { return kWaveInvalidHandle; }
  std::uint32_t waveInClose(WaveHandle) override { return kWaveInvalidHandle; }

  std::uint32_t waveOutOpen(WaveHandle* handle, std::uint32_t, const Mp4WaveFormat&, WaveWindow, std::uint32_t,
                            std::uint32_t) override {
    if (handle != nullptr) *handle = nullptr;
    return kWaveBadDevice;
  }
  std::uint32_t waveOutSetVolume(WaveHandle, std::uint32_t) override { return kWaveInvalidHandle; }
  std::uint32_t waveOutPrepareHeader(WaveHandle, WaveHeader*, std::uint32_t) override { return kWaveInvalidHandle; }
  std::uint32_t waveOutWrite(WaveHandle, WaveHeader*, std::uint32_t) override { return kWaveInvalidHandle; }
  std::uint32_t waveOutUnprepareHeader(WaveHandle, WaveHeader*, std::uint32_t) override { return kWaveInvalidHandle; }
  std::uint32_t waveOutReset(WaveHandle) override { return kWaveInvalidHandle; }
  std::uint32_t waveOutClose(WaveHandle) override { return kWaveInvalidHandle; }
};

}  // namespace

WaveDevices& systemWaveDevices() {
  static NoWaveDevices devices;
  return devices;
}
#endif

std::uint32_t loadHeaderFlags(const WaveHeader* header) { return __atomic_load_n(&header->flags, __ATOMIC_ACQUIRE); }

void storeHeaderFlags(WaveHeader* header, std::uint32_t flags) {
  __atomic_store_n(&header->flags, flags, __ATOMIC_RELEASE);
}

}  // namespace mp4lib::platform
