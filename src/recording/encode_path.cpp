#include "frame/encode_path.h"

#include "audio/wave_block_list.h"
#include "codecs/plugin_registry.h"
#include "frame/encoder.h"
#include "frame/encoder_context.h"
#include "frame/library.h"
#include "frame/sample_store.h"
#include "frame/track_tables.h"
#include "mp4lib.h"
#include "platform/platform.h"

namespace mp4lib::frame {

namespace {

constexpr std::uint32_t kNow = 0xFFFFFFFFu;  // timestamp meaning "take the clock"

EncodeTiming timing{};

bool lowByteFailed(Mp4Word result) { return (result & 0xFF) == 0; }

CodecPlugin* videoEncoder() {
  if (!encoderActive()) return nullptr;
  CodecPlugin* plugin = encoderContext().videoPlugin;
  return plugin != nullptr && plugin->encode != nullptr ? plugin : nullptr;
}

CodecPlugin* audioEncoder() {
  if (!encoderActive()) return nullptr;
  CodecPlugin* plugin = encoderContext().audioPlugin;
  return plugin != nullptr && plugin->encode != nullptr ? plugin : nullptr;
}

// The time of this frame, ms. The first frame also fixes the first
// timestamp: the caller's, or 0 when the caller asks for the clock.
std::uint32_t frameTime(std::uint32_t ts) {
  if (timing.firstFrame) {
    timing.startClock = platform::timeGetTimeMs();
    timing.firstTimestamp = ts == kNow ? 0 : ts;
  }
  return ts == kNow ? platform::timeGetTimeMs() : ts;
}

// With timestamps deciding durations every frame after the first closes the
// previous one with an entry of the time between them; the last frame's
// entry is added when the file is closed.
bool timingNeedsEntry() { return timestampsDecideDurations() && !timing.firstFrame && videoRecordingTrack(); }

// Room for this frame's entry and for the one added at close.
bool reserveTiming() { return !timingNeedsEntry() || reserveTimeEntries(*videoRecordingTrack(), 2); }

void recordFrameTime(std::uint32_t t) {
  if (timingNeedsEntry()) {
    TrackRecord& track = *videoRecordingTrack();
    std::uint32_t delta = t - timing.lastTimestamp;
    if (delta != 0) spreadTimeToSampleDelta(track.stts, track.sttsCount, &delta);
    appendTimeEntry(track, 1, delta);
  }
  timing.lastTimestamp = t;
  timing.firstFrame = false;
}

// The encode step of encode_video and encodeVideo: the plug-in's result,
// with the sample stored first when `store` is set. Nothing is timed or
// stored when the plug-in fails, or when the tables cannot take the frame.
Mp4Word encodeFrame(const std::int16_t* frame, Mp4Word arg, std::uint8_t* out, std::uint32_t* outSize, bool store,
                    std::uint32_t ts) {
  CodecPlugin* plugin = videoEncoder();
  if (plugin == nullptr || frame == nullptr || out == nullptr || outSize == nullptr) return 0;
  if (store && !readyToStore(SampleKind::kVideo)) return 0;
  if (!reserveTiming()) return 0;
  const std::uint32_t t = frameTime(ts);
  const Mp4Word result = plugin->encode(reinterpret_cast<Mp4Word>(frame), arg, reinterpret_cast<Mp4Word>(out),
                                        reinterpret_cast<Mp4Word>(outSize), ts);
  if (lowByteFailed(result)) return result;
  if (store) storeSample(SampleKind::kVideo, out, *outSize, ts, WriteFailure::kIgnore, false);
  recordFrameTime(t);
  return result;
}

}  // namespace

void startEncodeTiming() { timing = EncodeTiming{true, 0, 0, 0}; }

const EncodeTiming& encodeTiming() { return timing; }

}  // namespace mp4lib::frame

using namespace mp4lib;

extern "C" MP4LIB_API Mp4Word encode_video(const int16_t* frame, Mp4Word arg, uint8_t* out, uint32_t* outSize,
                                           uint32_t ts) {
  return frame::encodeFrame(frame, arg, out, outSize, false, ts);
}

extern "C" MP4LIB_API int32_t encodeVideo(const int16_t* frame, Mp4Word arg, uint8_t* out, uint32_t* outSize,
                                          uint8_t store, uint32_t ts) {
  const Mp4Word result = frame::encodeFrame(frame, arg, out, outSize, store != 0, ts);
  // A failing plug-in's value is passed on; its low byte is 0.
  return frame::lowByteFailed(result) ? static_cast<int32_t>(static_cast<uint32_t>(result)) : 1;
}

extern "C" MP4LIB_API Mp4Word encode_audio(const uint8_t* pcm, uint32_t length, uint8_t* out, uint32_t* outSize) {
  CodecPlugin* plugin = frame::audioEncoder();
  if (plugin == nullptr || out == nullptr || outSize == nullptr || (pcm == nullptr && length > 0)) return 0;
  return plugin->encode(reinterpret_cast<Mp4Word>(pcm), length, reinterpret_cast<Mp4Word>(out),
                        reinterpret_cast<Mp4Word>(outSize), 0);
}

extern "C" MP4LIB_API int32_t encodeWaveInAudio(uint8_t* out, uint32_t* outSize, uint8_t store) {
  if (out == nullptr || outSize == nullptr) return 0;
  audio::WaveBlock* block = audio::waveBlockHead();
  if (block == nullptr) return 0;
  // Room in the table first, so that a block is never taken and then lost.
  if (store != 0 && !frame::readyToStore(frame::SampleKind::kAudio)) return 0;
  const uint32_t t = platform::timeGetTimeMs();
  uint32_t produced = *outSize;  // the caller's capacity, as for encode_audio
  const Mp4Word result = encode_audio(block->header.data, block->header.bytesRecorded, out, &produced);
  const bool got = !frame::lowByteFailed(result) && produced >= 1;
  *outSize = got ? produced : 0;
  audio::removeWaveBlockHead();
  if (store == 0 || !got) return got ? 1 : 0;
  frame::storeSample(frame::SampleKind::kAudio, out, produced, t, frame::WriteFailure::kIgnore, false);
  return 1;
}

extern "C" MP4LIB_API int32_t writeEncodeData(const uint8_t* data, uint32_t size, uint32_t type, uint32_t ts) {
  if (type > 1 || (data == nullptr && size > 0)) return 0;
  const auto kind = type == 0 ? frame::SampleKind::kVideo : frame::SampleKind::kAudio;
  if (!frame::readyToStore(kind)) return 0;
  return frame::storeSample(kind, data, size, ts, frame::WriteFailure::kRefuse, true) ? 1 : 0;
}

extern "C" MP4LIB_API Mp4Word encode_getReconYUV(uint8_t** y, uint8_t** u, uint8_t** v, uint32_t* pitch,
                                                 uint32_t* chromaPitch) {
  if (!frame::encoderActive()) return 0;
  CodecPlugin* plugin = frame::encoderContext().videoPlugin;
  if (plugin == nullptr || plugin->getReconYUV == nullptr) return 0;
  return plugin->getReconYUV(reinterpret_cast<Mp4Word>(y), reinterpret_cast<Mp4Word>(u), reinterpret_cast<Mp4Word>(v),
                             reinterpret_cast<Mp4Word>(pitch), reinterpret_cast<Mp4Word>(chromaPitch));
}
