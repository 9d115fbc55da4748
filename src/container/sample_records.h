// Per-sample records shared by the recorder and the reader.
#pragma once

#include <cstdint>

// One stored sample (access unit) of a track.
struct SampleEntry {
  std::uint32_t flags;   // key-frame mark on the writer side; 0 from the reader
  std::uint32_t offset;  // file offset, bytes
  std::uint32_t size;    // bytes
  std::uint32_t spare;
};

// One run of the recorder's timing table: `sampleCount` samples of `delta`
// each (ms while recording, media units once the file is closed).
struct TimeToSampleEntry {
  std::uint32_t sampleCount;
  std::uint32_t delta;
  std::uint32_t spare[2];
};
