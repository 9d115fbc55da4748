#include "playback/player.h"

#include <cstdio>

#include "platform/memory.h"

namespace mp4lib::playback {

namespace {

container::TrackRecord* enabledTrack(Player& player, bool enabled, std::int32_t index) {
  if (!player.open.load() || !enabled || index < 0 || index >= container::kMaxTracks) return nullptr;
  return &player.movie.tracks[index];
}

void finalizePlugin(CodecPlugin* plugin) {
  if (plugin != nullptr && plugin->module != nullptr && plugin->finalizeDecode != nullptr) plugin->finalizeDecode(0);
}

}  // namespace

container::TrackRecord* videoTrack(Player& player) {
  return enabledTrack(player, player.playback.videoEnabled, player.movie.videoTrackIndex);
}

container::TrackRecord* audioTrack(Player& player) {
  return enabledTrack(player, player.playback.audioEnabled, player.movie.audioTrackIndex);
}

std::uint32_t audioTimeScale(const Player& player) {
  if (player.params.formatVersion == 1 && player.params.formatRevision < 5) return player.movie.timeScale;
  const std::int32_t index = player.movie.audioTrackIndex;
  if (index < 0 || index >= container::kMaxTracks) return 0;
  return player.movie.tracks[index].mediaTimeScale;
}

void resetPlaybackState(Player& player) {
  PlaybackState& state = player.playback;
  state.lastVideoEntry = -1;
  state.lastKeyEntry = 0;
  state.audioEntry = -1;
  state.audioEntrySize = 0;
  state.audioConsumed = 0;
  state.audioLeft = 0;
  state.audioCarry = 0;
  state.cachedTimeRun = 0;
  resetSampleQueues(player.queues, state.audioEnabled, state.videoEnabled);
}

bool entryInsideFile(const Player& player, const SampleEntry& entry) {
  return std::int64_t{entry.offset} + entry.size <= player.fileLength;
}

bool readEntry(Player& player, const SampleEntry& entry, std::uint8_t** buffer, std::uint32_t* capacity) {
  if (!entryInsideFile(player, entry) || entry.size == 0) return false;
  if (*capacity < entry.size) {
    auto* grown = static_cast<std::uint8_t*>(platform::reallocate(*buffer, entry.size));
    if (grown == nullptr) return false;
    *buffer = grown;
    *capacity = entry.size;
  }
  container::seekInput(player.input, entry.offset, SEEK_SET);
  return container::readBlock(player.input, *buffer, entry.size) != 0;
}

void releasePlayer(Player& player) {
  freeSampleQueues(player.queues);
  container::closeInput(player.input);
  container::freeTrackRecords(player.movie);
  MovieParams& params = player.params;
  params.inputFile = nullptr;
  platform::release(params.rgbBuffer);
  params.rgbBuffer = nullptr;
  platform::release(player.sampleBuffer);
  platform::release(player.scratchBuffer);
  player.sampleBuffer = nullptr;
  player.scratchBuffer = nullptr;
  player.sampleCapacity = 0;
  player.scratchCapacity = 0;
  player.playback.videoEnabled = false;
  player.playback.audioEnabled = false;
}

void closePlayer(Player& player, codecs::PluginRegistry& plugins) {
  if (!player.open.load()) return;
  releasePlayer(player);
  finalizePlugin(plugins.active.videoDecoder);
  finalizePlugin(plugins.active.audioDecoder);
  player.open.store(false);
}

}  // namespace mp4lib::playback
