// decodeAudio, decodeVideo, decodeVideoEx, decode_getyuv and the queue
// getters.
#include "codecs/stream_decoding.h"

#include <cstdlib>

#include "codecs/plugin_calls.h"
#include "codecs/plugin_registry.h"
#include "codecs/sample_queues.h"
#include "mp4lib.h"
#include "reader/decoder_context.h"
#include "reader/numeric.h"
#include "reader/sample_index.h"

namespace mp4lib::codecs {

namespace {

std::uint32_t runDurationMs(const frame::TrackRecord& track, std::int32_t run) {
  if (track.timeRuns == nullptr || run < 0 || run >= track.timeRunCount) return 0;
  return static_cast<std::uint32_t>(
      reader::divideOrZero(std::int64_t{track.timeRuns[run].delta} * 1000, track.mediaTimeScale));
}

void stepRunCursor(const frame::TrackRecord& track) {
  RunCursor& cursor = videoRunCursor();
  if (track.timeRuns == nullptr || cursor.run < 0 || cursor.run >= track.timeRunCount) return;
  if (++cursor.taken == track.timeRuns[cursor.run].sampleCount) {
    cursor.taken = 0;
    ++cursor.run;
  }
}

void putTime(std::uint32_t* out, std::uint32_t value) {
  if (out != nullptr) *out = value;
}

}  // namespace

Mp4Word decodeQueuedVideo(std::uint8_t* picture, std::uint32_t* timeMs, std::uint32_t* durationMs) {
  if (!reader::decoderOpen()) return 0;
  if (!streamEnded()) readAhead();
  QueuedSample sample{};
  if (!takeVideoSample(&sample)) return 0;
  std::uint32_t pictureBytes = 0;  // what the plug-in reports is not used
  const Mp4Word result = decodeVideoUnits(sample.data, sample.size, reinterpret_cast<Mp4Word>(picture),
                                          reinterpret_cast<Mp4Word>(&pictureBytes));
  std::free(sample.data);

  const frame::TrackRecord* track = reader::videoTrack();
  if (track == nullptr) return result;
  // Only the low byte of the sample number is used, so the time wraps after
  // sample 255: sample 256 is timed as sample 0. Kept as it always was.
  const std::uint32_t n = sample.index & 0xFF;
  if (track->timeRunCount == 1) {
    putTime(timeMs, reader::truncateToU32(static_cast<float>(n) * track->frameDurationMs));
    putTime(durationMs, reader::truncateToU32(track->frameDurationMs));
  } else if (takeFirstFrameFlag()) {
    putTime(timeMs, 0);
    putTime(durationMs, runDurationMs(*track, 0));
  } else {
    const reader::EntryTime time = reader::timeOfEntry(*track, static_cast<std::int32_t>(n));
    putTime(timeMs, time.ms);
    putTime(durationMs, runDurationMs(*track, time.run));
    stepRunCursor(*track);
  }
  return result;
}

}  // namespace mp4lib::codecs

using namespace mp4lib;

extern "C" MP4LIB_API Mp4Word decodeAudio(uint8_t* pcm, uint32_t* pcmLength) {
  if (!codecs::streamEnded()) codecs::readAhead();
  codecs::QueuedSample sample{};
  if (!codecs::takeAudioSample(&sample)) return 0;
  const Mp4Word result = codecs::decodeAudioUnit(sample.data, sample.size, pcm, pcmLength, nullptr);
  std::free(sample.data);
  return result;
}

extern "C" MP4LIB_API Mp4Word decodeVideo(uint8_t* yuv, uint32_t* timeMs) {
  return codecs::decodeQueuedVideo(yuv, timeMs, nullptr);
}

extern "C" MP4LIB_API Mp4Word decodeVideoEx(uint8_t* yuv, uint32_t* timeMs, uint32_t* durationMs) {
  return codecs::decodeQueuedVideo(yuv, timeMs, durationMs);
}

extern "C" MP4LIB_API Mp4Word decode_getyuv(uint8_t** y, uint8_t** u, uint8_t** v, uint32_t* pitch,
                                            uint32_t* chromaPitch) {
  const CodecPlugin* plugin = codecs::activePlugins().videoDecoder;
  if (plugin == nullptr || plugin->module == nullptr || plugin->getDecodeYUV == nullptr) return 0;
  return plugin->getDecodeYUV(reinterpret_cast<Mp4Word>(y), reinterpret_cast<Mp4Word>(u), reinterpret_cast<Mp4Word>(v),
                              reinterpret_cast<Mp4Word>(pitch), reinterpret_cast<Mp4Word>(chromaPitch));
}

extern "C" MP4LIB_API int32_t getVideoObjSize(void) { return codecs::videoQueued(); }
extern "C" MP4LIB_API int32_t getAudioObjSize(void) { return codecs::audioQueued(); }
extern "C" MP4LIB_API int32_t isStreamEnd(void) { return codecs::streamEnded() ? 1 : 0; }
