// Placing playback at a time. Audio leads a seek: it is placed first, down
// to a byte inside an entry, and video follows to the time audio actually
// lands on.
#include "playback/seeking.h"

#include "container/numeric.h"
#include "container/sample_tables.h"

namespace mp4lib::playback {

namespace {

// One AMR frame at the highest rate (12.2 kbit/s), bytes.
constexpr std::uint32_t kAmrFrameBytes = 32;

struct AudioPlace {
  std::int32_t entry = 0;
  std::uint32_t offset = 0;  // bytes into the entry
  std::int64_t adjustedMs = 0;
};

// Files of format version 1 up to revision 4 keep audio time in ms.
bool oldFormat(const Player& player) {
  const MovieParams& params = player.params;
  return params.formatVersion == 1 && params.formatRevision <= 4;
}

std::uint32_t firstDelta(const container::TrackRecord& track) {
  return track.timeRunCount > 0 && track.timeRuns != nullptr ? track.timeRuns[0].delta : 0;
}

// One entry per sample: the entry is the sample under the time. Times past
// the end give the entry count.
AudioPlace placeInSamples(const Player& player, const container::TrackRecord& track, std::int64_t units) {
  AudioPlace place;
  const std::uint32_t delta = firstDelta(track);
  std::uint64_t entry = delta == 0 ? 0 : static_cast<std::uint64_t>(units) / delta;
  if (entry > static_cast<std::uint64_t>(track.sampleCount)) entry = static_cast<std::uint64_t>(track.sampleCount);
  place.entry = static_cast<std::int32_t>(entry);
  const std::int64_t span = std::int64_t{delta} * place.entry;
  place.adjustedMs = oldFormat(player) ? span : container::divideOrZero(span * 1000, track.mediaTimeScale);
  return place;
}

std::uint32_t samplesPerChunk(const container::TrackRecord& track, std::int32_t chunk, std::int32_t* run) {
  if (track.stscRunCount < 1 || track.stscRuns == nullptr) return 0;
  while (*run + 1 < track.stscRunCount &&
         std::int64_t{chunk} + 1 >= std::int64_t{track.stscRuns[*run + 1].firstChunk}) {
    ++*run;
  }
  return track.stscRuns[*run].samplesPerChunk;
}

// One entry per chunk: whole chunks are walked off the time, then the byte
// offset inside the chunk is taken in proportion. AMR offsets go down to a
// whole frame at the highest rate. The time is not adjusted.
AudioPlace placeInChunks(Playback& playback, const container::TrackRecord& track, std::int32_t timeMs,
                         std::int64_t units) {
  AudioPlace place;
  place.adjustedMs = timeMs;
  const std::uint64_t delta = firstDelta(track);
  std::uint64_t left = static_cast<std::uint64_t>(units);
  std::int32_t run = 0;
  std::int32_t chunk = 0;
  std::uint64_t chunkUnits = 0;
  for (; chunk < track.sampleCount; ++chunk) {
    chunkUnits = delta * samplesPerChunk(track, chunk, &run);
    if (left < chunkUnits) break;
    left -= chunkUnits;
  }
  place.entry = chunk;
  if (chunk >= track.sampleCount) return place;  // past the end: no byte of any chunk
  place.offset = static_cast<std::uint32_t>(std::uint64_t{track.samples[chunk].size} * left / chunkUnits);
  const CodecPlugin* plugin = playback.plugins.active.audioDecoder;
  if (plugin != nullptr && plugin->codecType == MP4LIB_CODEC_TYPE_AMR) place.offset -= place.offset % kAmrFrameBytes;
  return place;
}

// The next audio read starts at the place.
void recordAudioPlace(Player& player, const container::TrackRecord& track, const AudioPlace& place) {
  PlaybackState& state = player.playback;
  const bool inside = place.entry >= 0 && place.entry < track.sampleCount;
  const std::uint32_t size = inside ? track.samples[place.entry].size : 0;
  state.audioEntry = place.entry;
  state.audioEntrySize = size;
  state.audioConsumed = place.offset;
  state.audioLeft = size - place.offset;
}

}  // namespace

std::int32_t placeAudio(Playback& playback, std::int32_t timeMs, std::int32_t* entry, std::uint32_t* offset,
                        std::int32_t* adjustedMs) {
  Player& player = playback.player;
  const container::TrackRecord* track = audioTrack(player);
  AudioPlace place;
  std::int32_t result = 0;
  if (track != nullptr && timeMs >= 0) {
    const std::int64_t units = oldFormat(player) ? timeMs : std::int64_t{track->mediaTimeScale} * timeMs / 1000;
    place = track->constantSize ? placeInChunks(playback, *track, timeMs, units)
                                : placeInSamples(player, *track, units);
    recordAudioPlace(player, *track, place);
    result = 1;
  }
  if (entry != nullptr) *entry = place.entry;
  if (offset != nullptr) *offset = place.offset;
  if (adjustedMs != nullptr) *adjustedMs = static_cast<std::int32_t>(place.adjustedMs);
  return result;
}

std::int32_t videoEntryAt(Player& player, std::int32_t timeMs, std::int32_t* entry) {
  const container::TrackRecord* track = videoTrack(player);
  if (track == nullptr) return 0;
  std::int32_t found = 0;
  if (track->timeRunCount == 1) {
    found = container::wrapToInt32(static_cast<float>(timeMs) / track->frameDurationMs);
    if (found > track->sampleCount - 1) found = track->sampleCount - 1;
  } else {
    container::entryForTime(*track, timeMs, &found, player.playback.cachedTimeRun);
  }
  if (entry != nullptr) *entry = found;
  return 1;
}

std::int32_t videoTimeOf(Player& player, std::int32_t entry, std::uint32_t* timeMs) {
  const container::TrackRecord* track = videoTrack(player);
  if (track == nullptr) return 0;
  std::uint32_t time = 0;
  if (track->timeRunCount == 1) {
    time = container::wrapToUint32(static_cast<float>(entry) * track->frameDurationMs);
  } else if (entry != 0) {
    time = container::timeOfEntry(*track, entry).ms;
  }
  if (timeMs != nullptr) *timeMs = time;
  return 1;
}

std::int32_t seekVideoEntry(Player& player, std::int32_t targetMs) {
  const container::TrackRecord* track = videoTrack(player);
  if (track == nullptr) return 0;
  std::int32_t video = 0;
  videoEntryAt(player, targetMs, &video);
  if (video > track->sampleCount) video = track->sampleCount - 1;
  return video;
}

}  // namespace mp4lib::playback
