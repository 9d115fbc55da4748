// The audio devices side of the library: one wave input, one wave output,
// the wave block list between them and the codecs, and the application's
// window that both report to. The library's state record holds one.
#pragma once

#include <atomic>
#include <cstdint>

#include "devices/wave_block_list.h"
#include "mp4lib.h"
#include "platform/platform.h"
#include "platform/wave_device.h"

namespace mp4lib::devices {

constexpr int kCaptureBuffers = 5;

// Decoded PCM of one playback call, before it is copied into its block.
constexpr std::uint32_t kStagingBytes = MP4LIB_AUDIO_DECODE_MIN_OUTPUT;

struct CaptureDevice {
  platform::WaveHandle handle = nullptr;
  bool deviceOpen = false;   // waveInOpen succeeded and no close since
  bool buffersHeld = false;  // the five data blocks are allocated
  WaveHeader headers[kCaptureBuffers] = {};
};

struct AudioDevices {
  WaveBlockList blocks;

  CaptureDevice capture;
  platform::CriticalSection captureLock;

  std::atomic<platform::WaveHandle> output{nullptr};  // null while closed
  platform::CriticalSection outputLock;

  // The application's window and instance value given to the last open of
  // either device; resetting playback reopens the output with them.
  std::atomic<std::uint32_t> callbackInstance{0};
  std::atomic<platform::WaveWindow> callbackWindow{nullptr};

  // The audio entry that playback through the output decodes next.
  std::atomic<std::int32_t> playbackEntry{0};
  std::uint8_t staging[kStagingBytes] = {};
};

}  // namespace mp4lib::devices
