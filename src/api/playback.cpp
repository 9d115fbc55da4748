// Playback: opening and closing a movie, its durations and frame counts,
// and the state of the read-ahead queues.
#include "api/library_state.h"
#include "container/numeric.h"
#include "mp4lib.h"
#include "playback/decoder_setup.h"

using namespace mp4lib;

extern "C" MP4LIB_API int32_t initDecoder(const wchar_t* path, MovieParams** params) {
  api::LibraryState& state = api::libraryState();
  if (state.recorder.active.load()) {
    api::noteFailure(state.lastFailure, MP4LIB_FAILURE_BUSY, "a recording is open; finalizeEncoder ends it");
    return 0;
  }
  finalizeDecoder();  // one movie at a time
  playback::Playback playback = api::playbackOf(state);
  playback::OpenReport report;
  const std::int32_t opened = playback::openPlayer(playback, path, &report);
  api::noteOpenFailure(state.lastFailure, report);
  if (opened == 0) return 0;
  if (params != nullptr) *params = &state.player.params;
  return 1;
}

extern "C" MP4LIB_API void finalizeDecoder(void) {
  api::LibraryState& state = api::libraryState();
  playback::closePlayer(state.player, state.plugins);
}

extern "C" MP4LIB_API int32_t getMovieDuration(uint32_t* ms) {
  const playback::Player& player = api::libraryState().player;
  if (!player.open.load() || ms == nullptr) return 1;
  const float seconds = static_cast<float>(player.movie.duration) / static_cast<float>(player.movie.timeScale);
  *ms = container::wrapToUint32(seconds * 1000.0f);
  return 1;
}

extern "C" MP4LIB_API int32_t getVideoDuration(uint32_t* ms) {
  playback::Player& player = api::libraryState().player;
  const container::TrackRecord* track = playback::videoTrack(player);
  if (track == nullptr) return 0;
  // Track header duration (movie units) to ms.
  const auto duration = static_cast<std::int64_t>(track->trackDuration);
  if (ms != nullptr) *ms = static_cast<uint32_t>(container::divideOrZero(duration * 1000, player.movie.timeScale));
  return 1;
}

extern "C" MP4LIB_API int32_t getAudioDuration(uint32_t* ms) {
  playback::Player& player = api::libraryState().player;
  if (playback::audioTrack(player) == nullptr) return 0;
  // One audio sample's duration, not the track's.
  if (ms != nullptr) *ms = player.params.audioFrameMs;
  return 1;
}

extern "C" MP4LIB_API int32_t getVideoFrameNum(uint32_t* count) {
  const container::TrackRecord* track = playback::videoTrack(api::libraryState().player);
  if (track == nullptr) return 0;
  if (count != nullptr) *count = static_cast<uint32_t>(track->sampleCount);
  return 1;
}

extern "C" MP4LIB_API int32_t getAudioFrameNum(uint32_t* count) {
  const container::TrackRecord* track = playback::audioTrack(api::libraryState().player);
  if (track == nullptr) return 0;
  if (count != nullptr) *count = static_cast<uint32_t>(track->sampleCount);
  return 1;
}

extern "C" MP4LIB_API int32_t getVideoObjSize(void) { return api::libraryState().player.queues.video.count; }
extern "C" MP4LIB_API int32_t getAudioObjSize(void) { return api::libraryState().player.queues.audio.count; }
extern "C" MP4LIB_API int32_t isStreamEnd(void) { return api::libraryState().player.queues.ended.load() ? 1 : 0; }
