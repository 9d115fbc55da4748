// Growing the recorder's per-track tables: the sample table by 16,384
// entries and the timing table by 100 entries at a time. Growth is checked:
// a table that cannot grow stays as it was and the caller refuses the
// sample.
#pragma once

#include <cstdint>

#include "container/recorded_movie.h"

namespace mp4lib::container {

constexpr std::int32_t kSampleTableGrowth = 16384;  // entries
constexpr std::int32_t kTimeTableGrowth = 100;      // entries
// Entries a recorded table may hold: keeps every box size of the movie
// tree within 32 bits (the largest track box is about 16 bytes per entry).
constexpr std::int32_t kMaxTableEntries = 1 << 26;

// Makes room for `more` further samples. False when the table is at its
// limit or memory ran out.
bool reserveSamples(RecordedTrack& track, std::int32_t more);
// Makes room for `more` further timing entries.
bool reserveTimeEntries(RecordedTrack& track, std::int32_t more);

// Appends a sample; room must have been reserved.
void appendSample(RecordedTrack& track, std::uint32_t offset, std::uint32_t size);
// Appends a timing entry {count, delta}; room must have been reserved.
void appendTimeEntry(RecordedTrack& track, std::uint32_t count, std::uint32_t delta);

// Spreads a new delta over the run of zero-delta entries at the end of the
// table: with k such entries each gets delta / (k + 1) (unsigned) and
// *delta keeps the rest for the new entry. 33, 0, 0 with 100 become
// 33, 33, 33 and 34 remains.
void spreadTimeToSampleDelta(TimeToSampleEntry* entries, std::int32_t count, std::uint32_t* delta);

}  // namespace mp4lib::container
