// Live sound through the wave devices. The device announces each finished
// buffer as a message; this thread answers it with processWaveIn or
// processWaveOut, as an application's window procedure would.
#include "live_audio.h"

#include <cstdio>

#include "wave_window.h"

namespace mp4lib::tool {

namespace {

// How long a device may stay silent before the tool gives up, ms.
constexpr std::uint32_t kDeviceTimeoutMs = 5000;
// Buffers queued on the output at once (the library holds no more).
constexpr int kQueuedBlocks = 8;

}  // namespace

bool recordFromInputDevice(Recorder& recorder, const Codecs& codecs, double frameRate, std::uint64_t totalMs) {
  support::WaveMessageWindow window;
  Mp4WaveInHandle handle = nullptr;
  openWaveInEx(0, window.window(), 16, 8000, 1, &handle);
  if (handle == nullptr) {
    std::fprintf(stderr, "mp4lib: cannot open the default input device for 8000 Hz 16-bit mono capture\n");
    return false;
  }
  std::uint64_t capturedMs = 0;
  std::uint32_t frame = 0;
  bool ok = true;
  while (ok && capturedMs < totalMs) {
    support::WaveMessage message;
    if (!window.next(&message, kDeviceTimeoutMs)) {
      std::fprintf(stderr, "mp4lib: the default input device delivered no sound for %u ms\n", kDeviceTimeoutMs);
      ok = false;
      break;
    }
    if (message.id != MP4LIB_WIM_DATA) continue;
    processWaveIn(0, message.header);
    while (capturedMs < totalMs && recorder.capturedBlock()) capturedMs += codecs.audioBlockMs;
    // Pictures follow the sound: each one whose time has been captured.
    while (ok && codecs.video && frameTimeMs(frame, frameRate) < capturedMs) {
      ok = recorder.videoFrame(frame, static_cast<std::uint32_t>(frameTimeMs(frame, frameRate)));
      ++frame;
    }
    if (!ok) std::fprintf(stderr, "mp4lib: encoding failed (the codec plug-in refused a frame or the disk is full)\n");
  }
  if (closeWaveIn() != 1) std::fprintf(stderr, "mp4lib: the default input device did not stop cleanly\n");
  recorder.dropCapturedBlocks();
  return ok;
}

std::int64_t playThroughOutputDevice(const MovieParams& movie, const PlayOptions& options) {
  support::WaveMessageWindow window;
  Mp4WaveOutHandle handle = nullptr;
  const auto channels = static_cast<std::uint16_t>(movie.channels ? movie.channels : 1);
  if (openWaveOutEx(0, window.window(), movie.bitsPerSample, movie.sampleRate, channels, &handle) != 1) {
    std::fprintf(stderr, "mp4lib: cannot open the default output device for %u Hz %u-bit %u-channel sound\n",
                 movie.sampleRate, movie.bitsPerSample, channels);
    return -1;
  }
  std::int64_t played = 0;
  int queued = 0;
  bool decoding = true;
  for (;;) {
    while (decoding && queued < kQueuedBlocks) {
      if ((decodeAudioAndPlayEx() & 0xFF) == 0) {
        decoding = false;
      } else {
        ++queued;
      }
    }
    if (queued == 0) break;
    support::WaveMessage message;
    if (!window.next(&message, kDeviceTimeoutMs)) {
      std::fprintf(stderr, "mp4lib: the default output device gave no buffer back for %u ms while playing %s\n",
                   kDeviceTimeoutMs, options.input.c_str());
      closeWaveOut();
      return -1;
    }
    if (message.id != MP4LIB_WOM_DONE) continue;
    processWaveOut(handle, message.header);
    --queued;
    ++played;
  }
  if (closeWaveOut() != 1) std::fprintf(stderr, "mp4lib: the default output device did not close cleanly\n");
  return played;
}

}  // namespace mp4lib::tool
