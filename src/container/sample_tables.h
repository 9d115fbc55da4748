// The sample index: a track's "stsz", "stts", "stsc" and "stco" tables turned
// into one flat array of sample entries (file offset and size of each access
// unit), and the conversions between entries and times.
//
// Whichever of the sample-to-chunk box and the chunk-offset box arrives last
// completes the entry array. Tracks of constant sample size get one entry
// per chunk; others one entry per sample.
#pragma once

#include <cstdint>

#include "container/movie_context.h"

namespace mp4lib::container {

// Fills the entries from the chunk offsets and the sample-to-chunk runs and
// marks the tables complete. Never writes outside the entries allocated,
// whatever the runs name.
void completeSampleEntries(TrackRecord& track);

// Entry shown at `timeMs` on a track of several time runs. A negative time
// gives entry 0 and false; a time past the end gives the first sample of the
// last run. With a media time scale below 1000 every time maps to entry 0.
// `cachedRun` is where the search starts (when the time lies in or after
// that run) and receives the run found; the player keeps one for all
// tracks.
bool entryForTime(const TrackRecord& track, std::int32_t timeMs, std::int32_t* entry, std::int32_t& cachedRun);

// Time of an entry on a track of several time runs, in ms (truncated), and
// the index of the run that holds it. An entry beyond the table is timed in
// the last run.
struct EntryTime {
  std::uint32_t ms;
  std::int32_t run;
};
EntryTime timeOfEntry(const TrackRecord& track, std::int32_t entry);

}  // namespace mp4lib::container
