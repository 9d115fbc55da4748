#include "recording/encode_path.h"

#include "codecs/plugin_result.h"
#include "container/recorded_tables.h"
#include "recording/sample_store.h"

namespace mp4lib::recording {

namespace {

constexpr std::uint32_t kNow = 0xFFFFFFFFu;  // timestamp meaning "take the clock"

CodecPlugin* encoder(Recorder& recorder, CodecPlugin* plugin) {
  if (!recorder.active.load()) return nullptr;
  return plugin != nullptr && plugin->encode != nullptr ? plugin : nullptr;
}

// The time of this frame, ms. The first frame also fixes the first
// timestamp: the caller's, or 0 when the caller asks for the clock.
std::uint32_t frameTime(EncodeTiming& timing, std::uint32_t ts) {
  if (timing.firstFrame) {
    timing.startClock = platform::timeGetTimeMs();
    timing.firstTimestamp = ts == kNow ? 0 : ts;
  }
  return ts == kNow ? platform::timeGetTimeMs() : ts;
}

// With timestamps deciding durations every frame after the first closes the
// previous one with an entry of the time between them; the last frame's
// entry is added when the file is closed.
container::RecordedTrack* trackNeedingEntry(Recorder& recorder) {
  if (!timestampsDecideDurations(recorder) || recorder.timing.firstFrame) return nullptr;
  return videoRecordingTrack(recorder);
}

// Room for this frame's entry and for the one added at close.
bool reserveTiming(Recorder& recorder) {
  container::RecordedTrack* track = trackNeedingEntry(recorder);
  return track == nullptr || container::reserveTimeEntries(*track, 2);
}

void recordFrameTime(Recorder& recorder, std::uint32_t t) {
  EncodeTiming& timing = recorder.timing;
  if (container::RecordedTrack* track = trackNeedingEntry(recorder)) {
    std::uint32_t delta = t - timing.lastTimestamp;
    if (delta != 0) container::spreadTimeToSampleDelta(track->stts, track->sttsCount, &delta);
    container::appendTimeEntry(*track, 1, delta);
  }
  timing.lastTimestamp = t;
  timing.firstFrame = false;
}

Mp4Word address(const void* pointer) { return reinterpret_cast<Mp4Word>(pointer); }

}  // namespace

Mp4Word encodeFrame(Recorder& recorder, platform::CriticalSection& writeLock, const std::int16_t* frame,
                    Mp4Word arg, std::uint8_t* out, std::uint32_t* outSize, bool store, std::uint32_t ts) {
  CodecPlugin* plugin = encoder(recorder, recorder.context.videoPlugin);
  if (plugin == nullptr || frame == nullptr || out == nullptr || outSize == nullptr) return 0;
  if (store && !readyToStore(recorder, SampleKind::kVideo)) return 0;
  if (!reserveTiming(recorder)) return 0;
  const std::uint32_t t = frameTime(recorder.timing, ts);
  const Mp4Word result = plugin->encode(address(frame), arg, address(out), address(outSize), ts);
  if (codecs::pluginFailed(result)) return result;
  if (store) storeSample(recorder, writeLock, SampleKind::kVideo, out, *outSize, ts, WriteFailure::kIgnore, false);
  recordFrameTime(recorder, t);
  return result;
}

Mp4Word encodeAudio(Recorder& recorder, const std::uint8_t* pcm, std::uint32_t length, std::uint8_t* out,
                    std::uint32_t* outSize) {
  CodecPlugin* plugin = encoder(recorder, recorder.context.audioPlugin);
  if (plugin == nullptr || out == nullptr || outSize == nullptr || (pcm == nullptr && length > 0)) return 0;
  return plugin->encode(address(pcm), length, address(out), address(outSize), 0);
}

Mp4Word reconstructedPicture(Recorder& recorder, std::uint8_t** y, std::uint8_t** u, std::uint8_t** v,
                             std::uint32_t* pitch, std::uint32_t* chromaPitch) {
  if (!recorder.active.load()) return 0;
  CodecPlugin* plugin = recorder.context.videoPlugin;
  if (plugin == nullptr || plugin->getReconYUV == nullptr) return 0;
  return plugin->getReconYUV(address(y), address(u), address(v), address(pitch), address(chromaPitch));
}

}  // namespace mp4lib::recording
