// Durations and frame counts of the open movie.
#include "frame/movie_context.h"
#include "mp4lib.h"
#include "reader/decoder_context.h"
#include "reader/numeric.h"

using namespace mp4lib;

extern "C" MP4LIB_API int32_t getMovieDuration(uint32_t* ms) {
  if (!reader::decoderOpen() || ms == nullptr) return 1;
  const frame::MovieContext& movie = frame::movieContext();
  const float seconds = static_cast<float>(movie.duration) / static_cast<float>(movie.timeScale);
  *ms = reader::truncateToU32(seconds * 1000.0f);
  return 1;
}

extern "C" MP4LIB_API int32_t getVideoDuration(uint32_t* ms) {
  const frame::TrackRecord* track = reader::videoTrack();
  if (track == nullptr) return 0;
  // Track header duration (movie units) to ms.
  const auto duration = static_cast<std::int64_t>(track->trackDuration);
  if (ms != nullptr) *ms = static_cast<uint32_t>(reader::divideOrZero(duration * 1000, frame::movieContext().timeScale));
  return 1;
}

extern "C" MP4LIB_API int32_t getAudioDuration(uint32_t* ms) {
  if (reader::audioTrack() == nullptr) return 0;
  // One audio sample's duration, not the track's.
  if (ms != nullptr) *ms = reader::movieParams().audioFrameMs;
  return 1;
}

extern "C" MP4LIB_API int32_t getVideoFrameNum(uint32_t* count) {
  const frame::TrackRecord* track = reader::videoTrack();
  if (track == nullptr) return 0;
  if (count != nullptr) *count = static_cast<uint32_t>(track->sampleCount);
  return 1;
}

extern "C" MP4LIB_API int32_t getAudioFrameNum(uint32_t* count) {
  const frame::TrackRecord* track = reader::audioTrack();
  if (track == nullptr) return 0;
  if (count != nullptr) *count = static_cast<uint32_t>(track->sampleCount);
  return 1;
}
