#include "container/recorded_tables.h"

#include <cstring>

#include "platform/memory.h"

namespace mp4lib::container {

namespace {

// Grows `table` (of `capacity` entries) in steps of `step` until `needed`
// entries fit; the new entries are zeroed.
template <typename Entry>
bool growTable(Entry*& table, std::int32_t& capacity, std::int64_t needed, std::int32_t step) {
  if (needed <= capacity && table != nullptr) return true;
  if (needed > kMaxTableEntries) return false;
  std::int64_t grown = capacity > 0 ? capacity : 0;
  while (grown < needed) grown += step;
  if (grown > kMaxTableEntries) grown = kMaxTableEntries;
  auto* larger = static_cast<Entry*>(platform::reallocate(table, static_cast<std::size_t>(grown) * sizeof(Entry)));
  if (larger == nullptr) return false;
  const std::int64_t old = table != nullptr && capacity > 0 ? capacity : 0;
  std::memset(larger + old, 0, static_cast<std::size_t>(grown - old) * sizeof(Entry));
  table = larger;
  capacity = static_cast<std::int32_t>(grown);
  return true;
}

std::int64_t countOf(std::int32_t count) { return count > 0 ? count : 0; }

}  // namespace

bool reserveSamples(RecordedTrack& track, std::int32_t more) {
  return growTable(track.samples, track.sampleCapacity, countOf(track.sampleCount) + more, kSampleTableGrowth);
}

bool reserveTimeEntries(RecordedTrack& track, std::int32_t more) {
  return growTable(track.stts, track.sttsCapacity, countOf(track.sttsCount) + more, kTimeTableGrowth);
}

void appendSample(RecordedTrack& track, std::uint32_t offset, std::uint32_t size) {
  SampleEntry& entry = track.samples[track.sampleCount++];
  entry = SampleEntry{};
  entry.offset = offset;
  entry.size = size;
  track.totalSampleBytes += size;
}

void appendTimeEntry(RecordedTrack& track, std::uint32_t count, std::uint32_t delta) {
  TimeToSampleEntry& entry = track.stts[track.sttsCount++];
  entry = TimeToSampleEntry{};
  entry.sampleCount = count;
  entry.delta = delta;
}

void spreadTimeToSampleDelta(TimeToSampleEntry* entries, std::int32_t count, std::uint32_t* delta) {
  if (entries == nullptr || delta == nullptr) return;
  std::int32_t first = count;
  while (first > 0 && entries[first - 1].delta == 0) --first;
  const std::uint32_t zeros = static_cast<std::uint32_t>(count - first);
  if (zeros == 0) return;
  const std::uint32_t share = *delta / (zeros + 1);
  for (std::int32_t i = first; i < count; ++i) {
    entries[i].delta = share;
    *delta -= share;
  }
}

}  // namespace mp4lib::container
