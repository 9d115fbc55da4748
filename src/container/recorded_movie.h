// A movie as the recorder keeps it until the file is closed: up to two
// tracks, each with its samples (file offset and size) and its timing table.
#pragma once

#include <cstdint>

#include "container/movie_context.h"
#include "container/sample_records.h"
#include "mp4lib_plugin.h"

namespace mp4lib::container {

struct RecordedTrack {
  std::int32_t sampleCount;       // entries in `samples`
  std::int32_t sampleCapacity;    // entries allocated
  std::uint32_t totalSampleBytes;
  SampleEntry* samples;

  // Timing table: in ms until the file is closed, then in media units.
  std::int32_t sttsCapacity;
  std::int32_t sttsCount;
  TimeToSampleEntry* stts;

  std::uint32_t mediaTimeScale;  // units per second
  float frameDurationMs;         // video at a constant rate; audio frames (AMR: 20)
  float samplesPerFrame;         // audio samples per codec frame (AMR: 160)
  std::uint32_t mediaDuration;   // media units
  std::uint64_t trackDuration;   // movie units (ms)

  std::uint32_t creationTime;
  std::uint32_t trackId;
  std::uint32_t width;  // picture size, pixels (the coded size is the codec's)
  std::uint32_t height;

  CodecDescriptor* codec;
  std::uint32_t dsiLength;  // decoder-specific information for "esds"
  std::uint8_t* dsi;
};

struct RecordedMovie {
  std::uint32_t creationTime;
  std::uint32_t streamCount;  // 2
  std::uint32_t timeScale;    // kMovieTimeScale
  RecordedTrack tracks[kMaxTracks];
  std::int32_t trackCount;
  std::uint32_t videoPresent;
  std::int32_t videoTrackIndex;
  std::int32_t audioTrackIndex;
  std::uint32_t duration;         // movie units
  std::uint64_t mdatPayloadSize;  // bytes
  std::uint64_t mdatOffset;       // offset of the "mdat" box
};

// Frees every track's tables, codec descriptor and extra data and sets the
// track count to 0. Safe on a zeroed or half-built record.
void freeRecordedTracks(RecordedMovie& movie);

// Frees the tracks, then zeroes the record and sets the movie time scale.
void resetRecordedMovie(RecordedMovie& movie);

}  // namespace mp4lib::container
