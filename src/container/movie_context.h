// The one movie record of the library, with up to five tracks. The recorder
// prepares it in createEncodeFile, the player in initDecoder; because there
// is only one, recording and playback exclude each other.
#pragma once

#include <cstdint>

#include "frame/sample_records.h"
#include "mp4lib_plugin.h"

namespace mp4lib::frame {

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

struct TrackRecord {
  // Samples, as recorded or as read.
  std::int32_t sampleCount;          // entries in `samples` (reader: chunks when the size is constant)
  std::int32_t stszSampleCount;      // reader: sample count of "stsz"
  std::uint32_t constantSampleSize;  // reader: "stsz" sample size, 0 = sizes listed
  std::int32_t sampleCapacity;       // entries allocated
  std::uint32_t totalSampleBytes;    // writer: bytes of all samples
  SampleEntry* samples;

  // Time.
  std::uint32_t mediaTimeScale;  // units per second
  std::int32_t timeScalePerMs;   // reader: mediaTimeScale / 1000
  float frameDurationMs;         // ms per sample when every sample lasts the same
  float samplesPerFrame;         // writer: audio samples per codec frame
  std::uint32_t mediaDuration;   // media units
  std::uint64_t trackDuration;   // movie units (ms)

  // Track header.
  std::uint32_t creationTime;
  std::uint32_t trackId;
  std::uint32_t width;  // pixels
  std::uint32_t height;

  CodecDescriptor* codec;
  std::uint32_t dsiLength;  // writer: decoder-specific information for "esds"
  std::uint8_t* dsi;

  // Reader: raw tables while the sample entries are being completed.
  std::uint8_t tablesComplete;
  std::uint8_t constantSize;
  std::int32_t stscRunCount;
  SampleToChunkRun* stscRuns;
  std::int32_t timeRunCount;
  TimeRun* timeRuns;
  std::int32_t chunkCount;
  std::uint32_t* chunkOffsets;

  // Writer: timing table, in ms until the file is closed.
  std::int32_t sttsCapacity;
  std::int32_t sttsCount;
  TimeToSampleEntry* stts;

  // Reader: from "esds".
  std::uint8_t esdsObjectType;
  std::uint8_t esdsStreamType;
  std::uint32_t esdsBufferSize;
  std::uint32_t esdsMaxBitRate;
  std::uint32_t esdsAverageBitRate;
};

struct MovieContext {
  std::uint32_t creationTime;
  std::uint32_t streamCount;  // the writer sets 2; the reader copies the track count
  std::uint32_t timeScale;    // kMovieTimeScale
  TrackRecord tracks[kMaxTracks];
  std::int32_t trackCount;
  std::uint32_t videoPresent;
  std::int32_t videoTrackIndex;
  std::int32_t audioTrackIndex;
  std::uint32_t duration;  // movie units
  std::uint8_t moovSeen;
  std::uint8_t mdatSeen;
  std::uint8_t countedName;
  std::uint64_t mdatPayloadSize;
  std::uint64_t mdatOffset;    // writer: offset of the "mdat" box; reader: of its payload
  std::uint64_t readPosition;  // reader
};

MovieContext& movieContext();

// Frees every table, codec descriptor and extra data of every track slot and
// sets the track count to 0. Safe on a zeroed or half-built record.
void freeTrackRecords(MovieContext& movie);

// Frees the tracks, then zeroes the record and sets the movie time scale.
void resetMovieContext(MovieContext& movie);

}  // namespace mp4lib::frame
