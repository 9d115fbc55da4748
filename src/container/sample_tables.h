// The sample index: a track's "stsz", "stts", "stsc" and "stco" tables turned
// into one flat array of sample entries (file offset and size of each access
// unit), and the conversions between entries and times.
//
// Whichever of the sample-to-chunk box and the chunk-offset box arrives last
// completes the entry array. Tracks of constant sample size get one entry
// per chunk; others one entry per sample.
#pragma once

#include <cstdint>

#include "frame/movie_context.h"

namespace mp4lib::reader {

// Fills the entries from the chunk offsets and the sample-to-chunk runs and
// marks the tables complete. Never writes outside the entries allocated,
// whatever the runs name.
void completeSampleEntries(frame::TrackRecord& track);

// The run of the time table last found by entryForTime. One for all tracks;
// the playback-state reset sets it to 0.
std::int32_t cachedTimeRun();
void setCachedTimeRun(std::int32_t run);

// Entry shown at `timeMs` on a track of several time runs. A negative time
// gives entry 0 and false; a time past the end gives the first sample of the
// last run. With a media time scale below 1000 every time maps to entry 0.
bool entryForTime(const frame::TrackRecord& track, std::int32_t timeMs, std::int32_t* entry);

// Time of an entry on a track of several time runs, in ms (truncated), and
// the index of the run that holds it. An entry beyond the table is timed in
// the last run.
struct EntryTime {
  std::uint32_t ms;
  std::int32_t run;
};
EntryTime timeOfEntry(const frame::TrackRecord& track, std::int32_t entry);

}  // namespace mp4lib::reader
