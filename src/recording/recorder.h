// The recording side of the library: the encoder context from initEncoder
// to finalizeEncoder, the movie being recorded and the file it goes to.
// There is one recorder; the library's state record holds it.
#pragma once

#include <atomic>
#include <cstdint>

#include "codecs/plugin_registry.h"
#include "container/buffered_file.h"
#include "container/recorded_movie.h"
#include "mp4lib_plugin.h"

namespace mp4lib::recording {

// Free bytes the current volume must have beyond this for initEncoder
// (only the low 32 bits of the free-byte count are compared).
constexpr std::uint32_t kMinFreeDiskBytes = 10000;

// Container modes of EncoderContext.containerMode.
constexpr std::uint32_t kContainerRawStream = 1;
constexpr std::uint32_t kContainer3gpOld = 2;
constexpr std::uint32_t kContainer3gp = 3;

inline bool is3gpMode(std::uint32_t mode) { return mode == kContainer3gpOld || mode == kContainer3gp; }

// First and last frame time, ms, as the encode path recorded them.
struct EncodeTiming {
  bool firstFrame;
  std::uint32_t firstTimestamp;
  std::uint32_t lastTimestamp;
  std::uint32_t startClock;  // clock at the first frame; kept, never read
};

struct Recorder {
  std::atomic<bool> active{false};  // from initEncoder to finalizeEncoder
  EncoderContext context{};         // its address goes to the application and the video plug-in
  EncodeTiming timing{};
  container::RecordedMovie movie{};
  container::BufferedFile file{};
  container::FileBuffers buffers;
  // PCM bytes of one capture buffer: one audio block of the last audio
  // encoder opened. It outlives the encoder context, as the wave input does.
  std::atomic<std::uint32_t> captureBlockBytes{0};
};

// The video or audio track of the recording, or null when the recording
// has none (no encoder context, no such flag, or no file prepared).
container::RecordedTrack* videoRecordingTrack(Recorder& recorder);
container::RecordedTrack* audioRecordingTrack(Recorder& recorder);

// True when the video track keeps per-frame timestamps (timing mode 1);
// otherwise every frame lasts 1 / frame rate.
bool timestampsDecideDurations(const Recorder& recorder);

}  // namespace mp4lib::recording
