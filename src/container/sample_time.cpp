// Time to entry and entry to time on tracks of several "stts" runs.
// Single-run tracks take the frame-duration shortcut of their callers.
#include "container/numeric.h"
#include "container/sample_tables.h"

namespace mp4lib::container {

bool entryForTime(const TrackRecord& track, std::int32_t timeMs, std::int32_t* entry, std::int32_t& cachedRun) {
  if (timeMs < 0 || track.timeRunCount < 1 || track.timeRuns == nullptr) {
    *entry = 0;
    cachedRun = 0;
    return timeMs >= 0;
  }
  const TimeRun* runs = track.timeRuns;
  const std::int32_t count = track.timeRunCount;
  // Media units; a time scale below 1000 units per second makes this 0.
  std::int64_t target = std::int64_t{timeMs} * track.timeScalePerMs;
  std::int64_t base = 0;  // samples before the run
  std::int32_t run = cachedRun;
  if (run >= 0 && run < count && target >= runs[run].startTime) {
    base = runs[run].startSample;
    target -= runs[run].startTime;
  } else {
    run = 0;
  }
  for (; run < count; ++run) {
    const std::int64_t length = std::int64_t{runs[run].sampleCount} * runs[run].delta;
    if (target < length) {
      cachedRun = run;
      *entry = static_cast<std::int32_t>(base + target / runs[run].delta);
      return true;
    }
    base += runs[run].sampleCount;
    target -= length;
  }
  cachedRun = count - 1;
  *entry = static_cast<std::int32_t>(base - runs[count - 1].sampleCount);
  return true;
}

EntryTime timeOfEntry(const TrackRecord& track, std::int32_t entry) {
  const std::int32_t count = track.timeRunCount;
  if (count < 1 || track.timeRuns == nullptr) return {0, 0};
  const TimeRun* runs = track.timeRuns;
  const std::int64_t n = entry;
  std::int32_t run = (entry >= 0 && entry < count) ? entry : 0;
  // Runs whose start samples do not rise (empty runs, wrapped totals) could
  // send the walk back and forth; it never needs more steps than runs.
  for (std::int32_t steps = 0; run >= 0 && run < count && steps <= count; ++steps) {
    const std::int64_t start = runs[run].startSample;
    if (n >= start && n < start + runs[run].sampleCount) break;
    run += n > start ? 1 : -1;
  }
  if (run < 0) run = 0;
  if (run >= count) run = count - 1;
  if (track.mediaTimeScale == 0) return {0, run};
  const TimeRun& held = runs[run];
  const float units = static_cast<float>(held.startTime) +
                      static_cast<float>(n - std::int64_t{held.startSample}) * static_cast<float>(held.delta);
  const float msPerUnit = 1000.0f / static_cast<float>(track.mediaTimeScale);
  return {wrapToUint32(units * msPerUnit), run};
}

}  // namespace mp4lib::container
