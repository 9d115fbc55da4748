// The wave devices as the operating system offers them: winmm on Windows,
// and on POSIX a backend that runs the device itself and posts the same
// messages to the application's Mp4WaveTarget. Calls, arguments and results
// follow winmm (0 = no error); the audio subsystem is written against this
// interface only. A double may stand in for the system's devices.
#pragma once

#include <cstdint>

#include "mp4lib.h"

namespace mp4lib::platform {

// A wave buffer header in WAVEHDR layout: pointer-sized data, user, next and
// reserved fields, 32-bit counts and flags (32 bytes on 32-bit targets).
struct WaveHeader {
  std::uint8_t* data;
  std::uint32_t bufferLength;   // bytes
  std::uint32_t bytesRecorded;  // bytes
  std::uintptr_t user;
  std::uint32_t flags;
  std::uint32_t loops;
  WaveHeader* next;
  std::uintptr_t reserved;
};

// The size passed with every header call: the header's own size (32 bytes on
// 32-bit systems, 48 on 64-bit ones).
constexpr std::uint32_t kWaveHeaderSize = sizeof(WaveHeader);

// winmm's values.
constexpr std::uint32_t kWaveMapper = 0xFFFFFFFFu;  // the default device
constexpr std::uint32_t kCallbackWindow = 0x10000u;
constexpr std::uint32_t kWaveHeaderDone = 0x1u;      // WHDR_DONE
constexpr std::uint32_t kWaveHeaderPrepared = 0x2u;  // WHDR_PREPARED
constexpr std::uint32_t kWaveHeaderInQueue = 0x10u;  // WHDR_INQUEUE
constexpr std::uint32_t kWaveNoError = 0;             // MMSYSERR_NOERROR
constexpr std::uint32_t kWaveBadDevice = 2;           // MMSYSERR_BADDEVICEID
constexpr std::uint32_t kWaveInvalidHandle = 5;       // MMSYSERR_INVALHANDLE
constexpr std::uint32_t kWaveInvalidParameter = 11;   // MMSYSERR_INVALPARAM
constexpr std::uint32_t kWaveStillPlaying = 33;       // WAVERR_STILLPLAYING

// An open device as the system names it (HWAVEIN / HWAVEOUT, or the POSIX
// backend's own record); null when none.
using WaveHandle = void*;
// The application's window: an HWND, or an Mp4WaveTarget* on POSIX.
using WaveWindow = void*;

class WaveDevices {
 public:
  virtual ~WaveDevices() = default;

  virtual std::uint32_t waveInOpen(WaveHandle* handle, std::uint32_t device, const Mp4WaveFormat& format,
                                   WaveWindow window, std::uint32_t instance, std::uint32_t flags) = 0;
  virtual std::uint32_t waveInPrepareHeader(WaveHandle handle, WaveHeader* header, std::uint32_t size) = 0;
  virtual std::uint32_t waveInAddBuffer(WaveHandle handle, WaveHeader* header, std::uint32_t size) = 0;
  virtual std::uint32_t waveInStart(WaveHandle handle) = 0;
  virtual std::uint32_t waveInStop(WaveHandle handle) = 0;
  virtual std::uint32_t waveInReset(WaveHandle handle) = 0;
  virtual std::uint32_t waveInUnprepareHeader(WaveHandle handle, WaveHeader* header, std::uint32_t size) = 0;
  virtual std::uint32_t waveInClose(WaveHandle handle) = 0;

  virtual std::uint32_t waveOutOpen(WaveHandle* handle, std::uint32_t device, const Mp4WaveFormat& format,
                                    WaveWindow window, std::uint32_t instance, std::uint32_t flags) = 0;
  // volume: left channel in the low 16 bits, right in the high 16 bits.
  virtual std::uint32_t waveOutSetVolume(WaveHandle handle, std::uint32_t volume) = 0;
  virtual std::uint32_t waveOutPrepareHeader(WaveHandle handle, WaveHeader* header, std::uint32_t size) = 0;
  virtual std::uint32_t waveOutWrite(WaveHandle handle, WaveHeader* header, std::uint32_t size) = 0;
  virtual std::uint32_t waveOutUnprepareHeader(WaveHandle handle, WaveHeader* header, std::uint32_t size) = 0;
  virtual std::uint32_t waveOutReset(WaveHandle handle) = 0;
  virtual std::uint32_t waveOutClose(WaveHandle handle) = 0;
};

// The devices in use: the system's, unless a double stands in.
WaveDevices& waveDevices();
// Puts a double in place; null goes back to the system's devices.
void setWaveDevicesForTesting(WaveDevices* devices);

// The flags word of a header that a device thread may change under us
// (read and written atomically, acquire / release).
std::uint32_t loadHeaderFlags(const WaveHeader* header);
void storeHeaderFlags(WaveHeader* header, std::uint32_t flags);

}  // namespace mp4lib::platform
