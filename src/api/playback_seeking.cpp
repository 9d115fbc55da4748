// Playback: seeking, and converting between video entries and times.
#include "api/library_state.h"
#include "devices/wave_out.h"
#include "mp4lib.h"
#include "playback/seeking.h"

using namespace mp4lib;

extern "C" MP4LIB_API int32_t seek(int32_t timeMs, int32_t* usedMs, int32_t* videoEntry, int32_t* audioEntry) {
  api::LibraryState& state = api::libraryState();
  if (!state.player.open.load()) return 0;
  playback::Playback playback = api::playbackOf(state);
  std::int32_t result = 1;
  std::int32_t target = timeMs;
  std::int32_t audio = 0;
  if (playback::audioTrack(state.player) != nullptr) {
    std::uint32_t offset = 0;
    result = playback::placeAudio(playback, timeMs, &audio, &offset, &target);
    if (result != 0) {
      // A playing device gives back every queued buffer before playback moves.
      if (devices::outputOpen(state.devices) && !devices::resetOutputAndDrain(state.devices)) return 0;
      state.devices.playbackEntry.store(audio);
    }
  }
  const std::int32_t video = playback::seekVideoEntry(state.player, target);
  if (usedMs != nullptr) *usedMs = target;
  if (videoEntry != nullptr) *videoEntry = video;
  if (audioEntry != nullptr) *audioEntry = audio;
  return result;
}

extern "C" MP4LIB_API int32_t setAudioEntryByTime(int32_t timeMs, int32_t* entry, uint32_t* offset,
                                                  int32_t* adjustedMs) {
  playback::Playback playback = api::playbackOf(api::libraryState());
  return playback::placeAudio(playback, timeMs, entry, offset, adjustedMs);
}

extern "C" MP4LIB_API int32_t getVideoEntryByTime(int32_t timeMs, int32_t* entry) {
  return playback::videoEntryAt(api::libraryState().player, timeMs, entry);
}

extern "C" MP4LIB_API int32_t getVideoTimeByEntry(int32_t entry, uint32_t* timeMs) {
  return playback::videoTimeOf(api::libraryState().player, entry, timeMs);
}
