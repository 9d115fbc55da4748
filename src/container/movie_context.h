// A movie as the reader finds it: the movie header, up to five tracks with
// their sample tables, and where the media data lies.
#pragma once

#include <cstdint>

#include "container/sample_records.h"
#include "mp4lib_plugin.h"

namespace mp4lib::container {

constexpr int kMaxTracks = 5;
constexpr std::uint32_t kMovieTimeScale = 1000;  // movie time is in ms

// One "stsc" run: chunks from firstChunk (1-based) on hold samplesPerChunk
// samples each.
struct SampleToChunkRun {
  std::uint32_t firstChunk;
  std::uint32_t samplesPerChunk;
  std::uint32_t descriptionIndex;
};

// One "stts" run as read, with the totals of the runs before it.
struct TimeRun {
  std::uint32_t sampleCount;
  std::uint32_t delta;        // media units per sample
  std::uint32_t startTime;    // media units before this run
  std::uint32_t startSample;  // samples before this run
};

// One track: its header values, its codec description and its sample index,
// one entry per sample (per chunk when every sample has the same size).
struct TrackRecord {
  std::int32_t sampleCount;          // entries in `samples`
  std::int32_t stszSampleCount;      // sample count of "stsz"
  std::uint32_t constantSampleSize;  // "stsz" sample size, 0 = sizes listed
  std::int32_t sampleCapacity;       // entries allocated
  SampleEntry* samples;

  // Time.
  std::uint32_t mediaTimeScale;  // units per second
  std::int32_t timeScalePerMs;   // mediaTimeScale / 1000
  float frameDurationMs;         // ms per sample when the time table has one run
  std::uint32_t mediaDuration;   // media units
  std::uint64_t trackDuration;   // movie units (ms)

  // Track header.
  std::uint32_t creationTime;
  std::uint32_t trackId;
  std::uint32_t width;  // pixels
  std::uint32_t height;

  CodecDescriptor* codec;

  // The raw tables while the sample entries are being completed.
  std::uint8_t tablesComplete;
  std::uint8_t constantSize;
  std::int32_t stscRunCount;
  SampleToChunkRun* stscRuns;
  std::int32_t timeRunCount;
  TimeRun* timeRuns;
  std::int32_t chunkCount;
  std::uint32_t* chunkOffsets;

  // From "esds".
  std::uint8_t esdsObjectType;
  std::uint8_t esdsStreamType;
  std::uint32_t esdsBufferSize;
  std::uint32_t esdsMaxBitRate;
  std::uint32_t esdsAverageBitRate;
};

struct MovieContext {
  std::uint32_t creationTime;
  std::uint32_t streamCount;  // the track count, once parsed
  std::uint32_t timeScale;    // movie units per second
  TrackRecord tracks[kMaxTracks];
  std::int32_t trackCount;
  std::int32_t videoTrackIndex;  // the tracks chosen for playback; -1 none
  std::int32_t audioTrackIndex;
  std::uint32_t duration;  // movie units
  std::uint8_t moovSeen;
  std::uint8_t mdatSeen;
  std::uint8_t countedName;
  std::uint64_t mdatPayloadSize;  // bytes
  std::uint64_t mdatOffset;       // offset of the "mdat" payload
  std::uint64_t readPosition;
};

// Frees every table, codec descriptor and extra data of every track slot and
// sets the track count to 0. Safe on a zeroed or half-built record.
void freeTrackRecords(MovieContext& movie);

// Frees the tracks, then zeroes the record and sets the movie time scale.
void resetMovieContext(MovieContext& movie);

}  // namespace mp4lib::container
