// Windows wave devices: winmm, with the application's window receiving
// MM_WIM_DATA / MM_WOM_DONE (CALLBACK_WINDOW). The library's headers share
// WAVEHDR's layout and are handed to winmm as they are.
#include <windows.h>
#include <mmsystem.h>

#include <cstddef>

#include "platform/wave_device.h"

namespace mp4lib::platform {

static_assert(sizeof(WaveHeader) == sizeof(WAVEHDR), "wave header layout");
static_assert(offsetof(WaveHeader, data) == offsetof(WAVEHDR, lpData), "wave header layout");
static_assert(offsetof(WaveHeader, bufferLength) == offsetof(WAVEHDR, dwBufferLength), "wave header layout");
static_assert(offsetof(WaveHeader, bytesRecorded) == offsetof(WAVEHDR, dwBytesRecorded), "wave header layout");
static_assert(offsetof(WaveHeader, user) == offsetof(WAVEHDR, dwUser), "wave header layout");
static_assert(offsetof(WaveHeader, flags) == offsetof(WAVEHDR, dwFlags), "wave header layout");
static_assert(offsetof(WaveHeader, loops) == offsetof(WAVEHDR, dwLoops), "wave header layout");
static_assert(offsetof(WaveHeader, next) == offsetof(WAVEHDR, lpNext), "wave header layout");
static_assert(offsetof(WaveHeader, reserved) == offsetof(WAVEHDR, reserved), "wave header layout");
static_assert(kWaveMapper == static_cast<std::uint32_t>(WAVE_MAPPER), "WAVE_MAPPER");
static_assert(kCallbackWindow == CALLBACK_WINDOW, "CALLBACK_WINDOW");
static_assert(kWaveHeaderDone == WHDR_DONE, "WHDR_DONE");
static_assert(MP4LIB_WIM_DATA == MM_WIM_DATA && MP4LIB_WOM_DONE == MM_WOM_DONE, "message numbers");

namespace {

WAVEHDR* asSystem(WaveHeader* header) { return reinterpret_cast<WAVEHDR*>(header); }
HWAVEIN input(WaveHandle handle) { return static_cast<HWAVEIN>(handle); }
HWAVEOUT output(WaveHandle handle) { return static_cast<HWAVEOUT>(handle); }

WAVEFORMATEX systemFormat(const Mp4WaveFormat& format) {
  WAVEFORMATEX out{};
  out.wFormatTag = format.formatTag;
  out.nChannels = format.channels;
  out.nSamplesPerSec = format.samplesPerSec;
  out.nAvgBytesPerSec = format.avgBytesPerSec;
  out.nBlockAlign = format.blockAlign;
  out.wBitsPerSample = format.bitsPerSample;
  out.cbSize = format.extraSize;
  return out;
}

class Winmm final : public WaveDevices {
 public:
  std::uint32_t waveInOpen(WaveHandle* handle, std::uint32_t device, const Mp4WaveFormat& format, WaveWindow window,
                           std::uint32_t instance, std::uint32_t flags) override {
    WAVEFORMATEX wanted = systemFormat(format);
    HWAVEIN opened = nullptr;
    const MMRESULT result = ::waveInOpen(&opened, static_cast<UINT>(device), &wanted,
                                         reinterpret_cast<DWORD_PTR>(window), instance, flags);
    if (handle != nullptr) *handle = opened;
    return result;
  }
  std::uint32_t waveInPrepareHeader(WaveHandle handle, WaveHeader* header, std::uint32_t size) override {
    return ::waveInPrepareHeader(input(handle), asSystem(header), size);
  }
  std::uint32_t waveInAddBuffer(WaveHandle handle, WaveHeader* header, std::uint32_t size) override {
    return ::waveInAddBuffer(input(handle), asSystem(header), size);
  }
  std::uint32_t waveInStart(WaveHandle handle) override { return ::waveInStart(input(handle)); }
  std::uint32_t waveInStop(WaveHandle handle) override { return ::waveInStop(input(handle)); }
  std::uint32_t waveInReset(WaveHandle handle) override { return ::waveInReset(input(handle)); }
  std::uint32_t waveInUnprepareHeader(WaveHandle handle, WaveHeader* header, std::uint32_t size) override {
    return ::waveInUnprepareHeader(input(handle), asSystem(header), size);
  }
  std::uint32_t waveInClose(WaveHandle handle) override { return ::waveInClose(input(handle)); }

  std::uint32_t waveOutOpen(WaveHandle* handle, std::uint32_t device, const Mp4WaveFormat& format, WaveWindow window,
                            std::uint32_t instance, std::uint32_t flags) override {
    WAVEFORMATEX wanted = systemFormat(format);
    HWAVEOUT opened = nullptr;
    const MMRESULT result = ::waveOutOpen(&opened, static_cast<UINT>(device), &wanted,
                                          reinterpret_cast<DWORD_PTR>(window), instance, flags);
    if (handle != nullptr) *handle = opened;
    return result;
  }
  std::uint32_t waveOutSetVolume(WaveHandle handle, std::uint32_t volume) override {
    return ::waveOutSetVolume(output(handle), volume);
  }
  std::uint32_t waveOutPrepareHeader(WaveHandle handle, WaveHeader* header, std::uint32_t size) override {
    return ::waveOutPrepareHeader(output(handle), asSystem(header), size);
  }
  std::uint32_t waveOutWrite(WaveHandle handle, WaveHeader* header, std::uint32_t size) override {
    return ::waveOutWrite(output(handle), asSystem(header), size);
  }
  std::uint32_t waveOutUnprepareHeader(WaveHandle handle, WaveHeader* header, std::uint32_t size) override {
    return ::waveOutUnprepareHeader(output(handle), asSystem(header), size);
  }
  std::uint32_t waveOutReset(WaveHandle handle) override { return ::waveOutReset(output(handle)); }
  std::uint32_t waveOutClose(WaveHandle handle) override { return ::waveOutClose(output(handle)); }
};

}  // namespace

WaveDevices& systemWaveDevices() {
  static Winmm devices;
  return devices;
}

std::uint32_t loadHeaderFlags(const WaveHeader* header) {
  // A compare-exchange that never changes the word reads it with a full fence.
  auto* word = reinterpret_cast<volatile LONG*>(const_cast<std::uint32_t*>(&header->flags));
  return static_cast<std::uint32_t>(InterlockedCompareExchange(word, 0, 0));
}

void storeHeaderFlags(WaveHeader* header, std::uint32_t flags) {
  InterlockedExchange(reinterpret_cast<volatile LONG*>(&header->flags), static_cast<LONG>(flags));
}

}  // namespace mp4lib::platform
