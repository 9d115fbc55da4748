#include "playback/queue_decoding.h"

#include <cstdio>

#include "codecs/plugin_calls.h"
#include "container/numeric.h"
#include "container/sample_tables.h"
#include "platform/memory.h"

namespace mp4lib::playback {

namespace {

// Bytes of an entry that the file holds: a sample reaching past the end of
// the file is cut short rather than read from outside it.
std::uint32_t bytesInFile(const Player& player, const SampleEntry& entry) {
  if (std::int64_t{entry.offset} >= player.fileLength) return 0;
  const std::int64_t room = player.fileLength - entry.offset;
  return room < entry.size ? static_cast<std::uint32_t>(room) : entry.size;
}

bool readOneSample(Playback& playback, const container::TrackRecord* track, bool* pending, std::int32_t* next,
                   SampleRing& ring, bool video) {
  if (!*pending || track == nullptr) return false;
  if (*next >= track->sampleCount) {
    *pending = false;
    return false;
  }
  Player& player = playback.player;
  const SampleEntry& entry = track->samples[*next];
  const std::uint32_t size = bytesInFile(player, entry);
  auto* data = static_cast<std::uint8_t*>(platform::allocateZeroed(size > 0 ? size : 1, 1));
  if (data == nullptr) return false;
  if (size > 0) {
    platform::Lock lock(playback.readLock);
    container::seekInput(player.input, entry.offset, SEEK_SET);
    container::readBlock(player.input, data, size);
  }
  ring.slots[(ring.head + ring.count) % ring.capacity] = {size, video ? static_cast<std::uint32_t>(*next) : 0u, data};
  ++ring.count;
  if (++*next >= track->sampleCount) *pending = false;
  return true;
}

std::uint32_t runDurationMs(const container::TrackRecord& track, std::int32_t run) {
  if (track.timeRuns == nullptr || run < 0 || run >= track.timeRunCount) return 0;
  const std::int64_t ms = container::divideOrZero(std::int64_t{track.timeRuns[run].delta} * 1000, track.mediaTimeScale);
  return static_cast<std::uint32_t>(ms);
}

void stepRunCursor(RunCursor& cursor, const container::TrackRecord& track) {
  if (track.timeRuns == nullptr || cursor.run < 0 || cursor.run >= track.timeRunCount) return;
  if (++cursor.taken == track.timeRuns[cursor.run].sampleCount) {
    cursor.taken = 0;
    ++cursor.run;
  }
}

void putTime(std::uint32_t* out, std::uint32_t value) {
  if (out != nullptr) *out = value;
}

// The time of the video sample numbered n (its low 8 bits), and its duration.
void reportQueuedVideoTime(Player& player, const container::TrackRecord& track, std::uint32_t n,
                           std::uint32_t* timeMs, std::uint32_t* durationMs) {
  if (track.timeRunCount == 1) {
    putTime(timeMs, container::wrapToUint32(static_cast<float>(n) * track.frameDurationMs));
    putTime(durationMs, container::wrapToUint32(track.frameDurationMs));
  } else if (takeFirstFrameFlag(player.queues)) {
    putTime(timeMs, 0);
    putTime(durationMs, runDurationMs(track, 0));
  } else {
    const container::EntryTime time = container::timeOfEntry(track, static_cast<std::int32_t>(n));
    putTime(timeMs, time.ms);
    putTime(durationMs, runDurationMs(track, time.run));
    stepRunCursor(player.queues.runCursor, track);
  }
}

}  // namespace

void readAhead(Playback& playback) {
  Player& player = playback.player;
  SampleQueues& queues = player.queues;
  if (queues.ended.load() || !player.open.load()) return;
  if (queues.audio.count == kAudioSlots && queues.video.count == kVideoSlots) return;
  ReadAheadCursor& cursor = queues.cursor;
  while (queues.audio.count < kAudioSlots &&
         readOneSample(playback, audioTrack(player), &cursor.audioPending, &cursor.nextAudio, queues.audio, false)) {
  }
  while (queues.video.count < kVideoSlots &&
         readOneSample(playback, videoTrack(player), &cursor.videoPending, &cursor.nextVideo, queues.video, true)) {
  }
  if (!cursor.audioPending && !cursor.videoPending) queues.ended.store(true);
}

Mp4Word decodeQueuedAudio(Playback& playback, std::uint8_t* pcm, std::uint32_t* pcmLength) {
  SampleQueues& queues = playback.player.queues;
  if (!queues.ended.load()) readAhead(playback);
  QueuedSample sample{};
  if (!takeSample(queues.audio, &sample)) return 0;
  const Mp4Word result =
      codecs::decodeAudioUnit(playback.plugins.active.audioDecoder, sample.data, sample.size, pcm, pcmLength, nullptr);
  platform::release(sample.data);
  return result;
}

Mp4Word decodeQueuedVideo(Playback& playback, std::uint8_t* picture, std::uint32_t* timeMs,
                          std::uint32_t* durationMs) {
  Player& player = playback.player;
  if (!player.open.load()) return 0;
  if (!player.queues.ended.load()) readAhead(playback);
  QueuedSample sample{};
  if (!takeSample(player.queues.video, &sample)) return 0;
  std::uint32_t pictureBytes = 0;  // what the plug-in reports is not used
  const Mp4Word result =
      codecs::decodeVideoUnits(playback.plugins.active.videoDecoder, sample.data, sample.size,
                               reinterpret_cast<Mp4Word>(picture), reinterpret_cast<Mp4Word>(&pictureBytes));
  platform::release(sample.data);

  const container::TrackRecord* track = videoTrack(player);
  if (track == nullptr) return result;
  // Only the low byte of the sample number is used, so the time wraps after
  // sample 255: sample 256 is timed as sample 0. Kept as it always was.
  reportQueuedVideoTime(player, *track, sample.index & 0xFF, timeMs, durationMs);
  return result;
}

}  // namespace mp4lib::playback
