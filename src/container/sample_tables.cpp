// Handlers of the four sample tables and the completion of the entry array.
#include "container/sample_tables.h"

#include <algorithm>

#include "container/box_handlers.h"
#include "container/box_table.h"
#include "platform/memory.h"

namespace mp4lib::container {

namespace {

constexpr std::int64_t kFullBoxHeader = 4;  // version and flags, bytes

// Where a table's values start (after version, flags and the count field)
// and how many bytes are there for them.
std::int64_t tableRoom(const ParseContext& context, std::int64_t offset, std::int64_t size, std::int64_t fields) {
  const std::int64_t start = offset + kFullBoxHeader + fields;
  return bytesAvailable(context, start, offset + size);
}

std::int32_t entryLimit(const TrackRecord& track) {
  return std::max(0, std::min(track.sampleCount, track.sampleCapacity));
}

SampleEntry* allocateEntries(std::int32_t count) {
  return static_cast<SampleEntry*>(platform::allocateZeroed(static_cast<std::size_t>(std::max(count, 1)), sizeof(SampleEntry)));
}

// Chunks [first, last] (1-based, inclusive) of a run, cut to the chunks
// that exist; empty when the run names none of them.
struct ChunkRange {
  std::int64_t first;
  std::int64_t last;
};

ChunkRange chunksOfRun(const TrackRecord& track, std::int32_t run) {
  const std::int64_t first = track.stscRuns[run].firstChunk;
  const std::int64_t next =
      run + 1 < track.stscRunCount ? std::int64_t{track.stscRuns[run + 1].firstChunk} : std::int64_t{track.chunkCount} + 1;
  return {std::max<std::int64_t>(first, 1), std::min<std::int64_t>(next - 1, track.chunkCount)};
}

// Constant-size track: one entry per chunk, sized samples-per-chunk times
// the constant size.
void fillChunkEntries(TrackRecord& track) {
  const std::int32_t count = std::min(entryLimit(track), track.chunkCount);
  for (std::int32_t i = 0; i < count; ++i) track.samples[i].offset = track.chunkOffsets[i];
  for (std::int32_t run = 0; run < track.stscRunCount; ++run) {
    const ChunkRange chunks = chunksOfRun(track, run);
    const std::uint32_t size = track.stscRuns[run].samplesPerChunk * track.constantSampleSize;
    for (std::int64_t chunk = chunks.first; chunk <= chunks.last && chunk <= count; ++chunk) {
      track.samples[chunk - 1].size = size;
    }
  }
}

// Places the samples of one chunk from entry *next on: the first at the
// chunk's offset, each further one right after the one before it.
void placeChunk(TrackRecord& track, std::int32_t chunkIndex, std::uint32_t samplesPerChunk, std::int32_t* next) {
  const std::int32_t limit = entryLimit(track);
  for (std::uint32_t k = 0; k < samplesPerChunk && *next < limit; ++k, ++*next) {
    SampleEntry& entry = track.samples[*next];
    if (k == 0) {
      entry.offset = track.chunkOffsets[chunkIndex];
    } else {
      const SampleEntry& before = track.samples[*next - 1];
      entry.offset = before.offset + before.size;
    }
  }
}

// Variable-size track whose chunks hold several samples. Every run but the
// last is expanded chunk by chunk; the last run only for its first chunk, so
// later chunks of a long last run leave their samples at offset 0. Files
// are read this way on purpose; keep it.
void expandChunks(TrackRecord& track) {
  std::int32_t next = 0;
  const std::int32_t limit = entryLimit(track);
  for (std::int32_t run = 0; run + 1 < track.stscRunCount && next < limit; ++run) {
    const ChunkRange chunks = chunksOfRun(track, run);
    for (std::int64_t chunk = chunks.first; chunk <= chunks.last && next < limit; ++chunk) {
      placeChunk(track, static_cast<std::int32_t>(chunk - 1), track.stscRuns[run].samplesPerChunk, &next);
    }
  }
  const SampleToChunkRun& last = track.stscRuns[track.stscRunCount - 1];
  if (last.firstChunk >= 1 && last.firstChunk <= static_cast<std::uint32_t>(track.chunkCount)) {
    placeChunk(track, static_cast<std::int32_t>(last.firstChunk - 1), last.samplesPerChunk, &next);
  }
}

// Variable-size track with as many chunks as samples: offsets go straight
// into the entries, the run stepping on after every chunk.
void placeChunkPerSample(TrackRecord& track) {
  const std::int32_t limit = entryLimit(track);
  std::int32_t next = 0;
  std::int32_t run = 0;
  for (std::int32_t chunk = 0; chunk < track.chunkCount && next < limit; ++chunk) {
    const std::uint32_t perChunk = track.stscRunCount > 0 ? track.stscRuns[run].samplesPerChunk : 1;
    placeChunk(track, chunk, std::max<std::uint32_t>(perChunk, 1), &next);
    if (run + 1 < track.stscRunCount) ++run;
  }
  for (; next < limit; ++next) {
    if (next == 0) continue;
    const SampleEntry& before = track.samples[next - 1];
    track.samples[next].offset = before.offset + before.size;
  }
}

void dropChunkOffsets(TrackRecord& track) {
  platform::release(track.chunkOffsets);
  track.chunkOffsets = nullptr;
}

}  // namespace

void completeSampleEntries(TrackRecord& track) {
  if (track.samples == nullptr || track.chunkOffsets == nullptr) return;
  if (track.constantSize) {
    fillChunkEntries(track);
    dropChunkOffsets(track);
  } else if (track.sampleCount != track.chunkCount) {
    if (track.stscRunCount > 0) expandChunks(track);  // the chunk offsets stay with the track
  } else {
    placeChunkPerSample(track);
    dropChunkOffsets(track);
  }
  track.tablesComplete = 1;
}

std::int32_t readSampleSizes(ParseContext& context, std::uint32_t, std::int64_t offset, std::int64_t size) {
  TrackRecord* track = currentTrack(context);
  if (track == nullptr) return 0;
  // Sizes must come before chunk offsets (and come once): entries already
  // laid out from chunk offsets cannot take a size table afterwards.
  if (track->samples != nullptr || track->chunkOffsets != nullptr || track->tablesComplete) return -1;
  InputFile& in = context.in;
  skipInput(in, kFullBoxHeader);
  track->constantSampleSize = readBE32(in);
  const auto count = static_cast<std::int32_t>(readBE32(in));
  track->stszSampleCount = count;
  if (track->constantSampleSize != 0) {
    track->constantSize = 1;
    return 0;
  }
  track->constantSize = 0;
  // A count the box cannot hold is refused before anything is allocated.
  if (count < 0 || std::int64_t{count} * 4 > tableRoom(context, offset, size, 8)) return -1;
  track->samples = allocateEntries(count);
  if (track->samples == nullptr) return -1;
  track->sampleCount = count;
  track->sampleCapacity += count;
  for (std::int32_t i = 0; i < count; ++i) track->samples[i].size = readBE32(in);
  return 0;
}

std::int32_t readDecodingTimes(ParseContext& context, std::uint32_t, std::int64_t offset, std::int64_t size) {
  TrackRecord* track = currentTrack(context);
  if (track == nullptr) return 0;
  InputFile& in = context.in;
  skipInput(in, kFullBoxHeader);
  const auto count = static_cast<std::int32_t>(readBE32(in));
  // A count the box cannot hold leaves the track without a time table.
  if (count < 1 || std::int64_t{count} * 8 > tableRoom(context, offset, size, 4)) return 0;
  auto* runs = static_cast<TimeRun*>(platform::allocate(static_cast<std::size_t>(count) * sizeof(TimeRun)));
  if (runs == nullptr) return -1;  // out of memory: the movie is not opened
  platform::release(track->timeRuns);
  track->timeRuns = runs;
  track->timeRunCount = count;
  std::uint32_t time = 0;    // media units before the run
  std::uint32_t sample = 0;  // samples before the run
  for (std::int32_t i = 0; i < count; ++i) {
    const std::uint32_t samples = readBE32(in);
    const auto delta = static_cast<std::int32_t>(readBE32(in));
    runs[i] = {samples, delta < 0 ? 0u : static_cast<std::uint32_t>(delta), time, sample};
    time += samples * runs[i].delta;
    sample += samples;
  }
  return 0;
}

std::int32_t readSampleToChunk(ParseContext& context, std::uint32_t, std::int64_t offset, std::int64_t size) {
  TrackRecord* track = currentTrack(context);
  if (track == nullptr) return 0;
  InputFile& in = context.in;
  skipInput(in, kFullBoxHeader);
  const auto count = static_cast<std::int32_t>(readBE32(in));
  if (count < 1 || std::int64_t{count} * 12 > tableRoom(context, offset, size, 4)) return 0;
  auto* runs = static_cast<SampleToChunkRun*>(
      platform::allocate(static_cast<std::size_t>(count) * sizeof(SampleToChunkRun)));
  if (runs == nullptr) return -1;  // out of memory: the movie is not opened
  platform::release(track->stscRuns);
  track->stscRuns = runs;
  track->stscRunCount = count;
  for (std::int32_t i = 0; i < count; ++i) {
    runs[i].firstChunk = readBE32(in);
    runs[i].samplesPerChunk = readBE32(in);
    runs[i].descriptionIndex = readBE32(in);
  }
  if (track->chunkOffsets != nullptr && !track->tablesComplete) completeSampleEntries(*track);
  return 0;
}

std::int32_t readChunkOffsets(ParseContext& context, std::uint32_t type, std::int64_t offset, std::int64_t size) {
  TrackRecord* track = currentTrack(context);
  if (track == nullptr) return 0;
  InputFile& in = context.in;
  skipInput(in, kFullBoxHeader);
  const auto count = static_cast<std::int32_t>(readBE32(in));
  const bool wide = type == fourcc("co64");
  if (count < 0 || std::int64_t{count} * (wide ? 8 : 4) > tableRoom(context, offset, size, 4)) return -1;
  // A second chunk-offset box in one track is passed over.
  if (track->chunkOffsets != nullptr || track->tablesComplete) return 0;
  if (track->samples == nullptr) {
    track->samples = allocateEntries(count);
    if (track->samples == nullptr) return -1;
    track->sampleCapacity += count;
    if (track->constantSize) track->sampleCount = count;
  }
  if (wide) {
    // 64-bit chunk offsets are read past: such tracks get no offsets.
    skipInput(in, std::int64_t{count} * 8);
    return 0;
  }
  if (type != fourcc("stco")) return -1;
  track->chunkOffsets =
      static_cast<std::uint32_t*>(platform::allocate(static_cast<std::size_t>(std::max(count, 1)) * sizeof(std::uint32_t)));
  if (track->chunkOffsets == nullptr) return -1;
  track->chunkCount = count;
  for (std::int32_t i = 0; i < count; ++i) track->chunkOffsets[i] = readBE32(in);
  // Without the sample-to-chunk runs the entries wait for them.
  if (track->stscRunCount > 0) completeSampleEntries(*track);
  return 0;
}

}  // namespace mp4lib::container
