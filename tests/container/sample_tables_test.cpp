#include "container/sample_tables.h"

#include <gtest/gtest.h>

#include <vector>

#include "container/movie_builder.h"
#include "container/parsed_movie.h"

namespace mp4lib::container {
namespace {

using test::box;
using test::ByteWriter;
using test::Bytes;
using test::concat;
using test::ParsedMovie;

// A file whose one video track has the given sample table boxes.
Bytes fileWithTables(const std::vector<Bytes>& tables) {
  std::vector<Bytes> stbl = {test::stsd({test::videoEntry("s263", 176, 144)})};
  stbl.insert(stbl.end(), tables.begin(), tables.end());
  const Bytes track = test::trak(test::tkhd(1, 1000, 176, 144), test::mdhd(1000, 1000), test::hdlr("", "vide", {0}), stbl);
  return concat({test::ftyp(), box("mdat", Bytes(8, 0)), box("moov", concat({test::mvhd(1000, 1000), track}))});
}

std::vector<std::uint32_t> offsetsOf(const container::TrackRecord& track) {
  std::vector<std::uint32_t> offsets;
  for (int i = 0; i < track.sampleCount; ++i) offsets.push_back(track.samples[i].offset);
  return offsets;
}

std::vector<std::uint32_t> sizesOf(const container::TrackRecord& track) {
  std::vector<std::uint32_t> sizes;
  for (int i = 0; i < track.sampleCount; ++i) sizes.push_back(track.samples[i].size);
  return sizes;
}

using Offsets = std::vector<std::uint32_t>;

TEST(SampleIndex, ConstantSizeTrackHasOneEntryPerChunk) {
  for (bool stscLast : {false, true}) {
    const Bytes sizes = test::stsz(320, 15, {});
    const Bytes runs = test::stsc({{1, 5, 1}});
    const Bytes chunks = test::stco({1000, 3000, 5000});
    ParsedMovie parsed(fileWithTables(stscLast ? std::vector<Bytes>{sizes, chunks, runs}
                                                : std::vector<Bytes>{sizes, runs, chunks}));
    ASSERT_EQ(parsed.status, 0);
    const container::TrackRecord& t = parsed.track(0);
    EXPECT_EQ(t.constantSize, 1);
    EXPECT_EQ(t.constantSampleSize, 320u);
    EXPECT_EQ(t.stszSampleCount, 15);
    EXPECT_EQ(t.sampleCount, 3);
    EXPECT_EQ(t.tablesComplete, 1);
    EXPECT_EQ(offsetsOf(t), (Offsets{1000, 3000, 5000}));
    EXPECT_EQ(sizesOf(t), (Offsets{1600, 1600, 1600}));
  }
}

TEST(SampleIndex, ConstantSizeRunsSizeTheirChunks) {
  ParsedMovie parsed(fileWithTables({test::stsz(32, 14, {}), test::stsc({{1, 5, 1}, {3, 2, 1}}), test::stco({10, 20, 30, 40})}));
  EXPECT_EQ(sizesOf(parsed.track(0)), (Offsets{160, 160, 64, 64}));
}

// 10 samples in 4 chunks: two chunks of 2 samples, then a last run of two
// chunks of 3.
std::vector<Bytes> severalPerChunk(bool stscLast) {
  const Bytes sizes = test::stsz(0, 10, {10, 20, 30, 40, 50, 60, 70, 80, 90, 100});
  const Bytes runs = test::stsc({{1, 2, 1}, {3, 3, 1}});
  const Bytes chunks = test::stco({1000, 2000, 3000, 4000});
  return stscLast ? std::vector<Bytes>{sizes, chunks, runs} : std::vector<Bytes>{sizes, runs, chunks};
}

TEST(SampleIndex, LastRunIsExpandedForItsFirstChunkOnly) {
  ParsedMovie parsed(fileWithTables(severalPerChunk(false)));
  ASSERT_EQ(parsed.status, 0);
  const container::TrackRecord& t = parsed.track(0);
  EXPECT_EQ(t.sampleCount, 10);
  EXPECT_EQ(t.tablesComplete, 1);
  // Chunk 4 (samples 7 to 9) is left at offset 0.
  EXPECT_EQ(offsetsOf(t), (Offsets{1000, 1010, 2000, 2030, 3000, 3050, 3110, 0, 0, 0}));
  EXPECT_EQ(sizesOf(t), (Offsets{10, 20, 30, 40, 50, 60, 70, 80, 90, 100}));
}

TEST(SampleIndex, ChunkOffsetsBeforeSampleToChunkBuildTheSameEntries) {
  ParsedMovie first(fileWithTables(severalPerChunk(false)));
  ParsedMovie last(fileWithTables(severalPerChunk(true)));
  EXPECT_EQ(offsetsOf(first.track(0)), offsetsOf(last.track(0)));
  EXPECT_EQ(sizesOf(first.track(0)), sizesOf(last.track(0)));
  EXPECT_EQ(last.track(0).tablesComplete, 1);
}

TEST(SampleIndex, OneSamplePerChunkReadsOffsetsStraight) {
  for (bool stscLast : {false, true}) {
    const Bytes sizes = test::stsz(0, 3, {5, 6, 7});
    const Bytes runs = test::stsc({{1, 1, 1}});
    const Bytes chunks = test::stco({500, 400, 300});
    ParsedMovie parsed(fileWithTables(stscLast ? std::vector<Bytes>{sizes, chunks, runs}
                                                : std::vector<Bytes>{sizes, runs, chunks}));
    EXPECT_EQ(offsetsOf(parsed.track(0)), (Offsets{500, 400, 300}));
    EXPECT_EQ(parsed.track(0).chunkOffsets, nullptr);  // placed, not kept
  }
}

TEST(SampleIndex, EqualCountsStepTheRunAfterEveryChunk) {
  // Runs that give more samples than chunks stop at the entry count.
  ParsedMovie oneRun(fileWithTables({test::stsz(0, 4, {10, 20, 30, 40}), test::stsc({{1, 2, 1}}), test::stco({100, 200, 300, 400})}));
  EXPECT_EQ(offsetsOf(oneRun.track(0)), (Offsets{100, 110, 200, 230}));
  ParsedMovie twoRuns(fileWithTables({test::stsz(0, 4, {10, 20, 30, 40}), test::stsc({{1, 2, 1}, {2, 1, 1}}),
                                      test::stco({100, 200, 300, 400})}));
  EXPECT_EQ(offsetsOf(twoRuns.track(0)), (Offsets{100, 110, 200, 300}));
}

TEST(SampleIndex, WithoutSampleToChunkTheEntriesWait) {
  ParsedMovie parsed(fileWithTables({test::stsz(0, 2, {5, 6}), test::stco({500, 600})}));
  EXPECT_EQ(parsed.track(0).tablesComplete, 0);
  EXPECT_EQ(offsetsOf(parsed.track(0)), (Offsets{0, 0}));
}

TEST(SampleIndex, SixtyFourBitChunkOffsetsGiveNoOffsets) {
  ParsedMovie parsed(fileWithTables({test::stsz(0, 2, {5, 6}), test::stsc({{1, 1, 1}}), test::co64({1ull << 33, 9})}));
  ASSERT_EQ(parsed.status, 0);
  EXPECT_EQ(offsetsOf(parsed.track(0)), (Offsets{0, 0}));
  EXPECT_EQ(sizesOf(parsed.track(0)), (Offsets{5, 6}));
}

TEST(SampleIndex, DecodingTimesKeepRunningTotalsAndNoNegativeDelta) {
  ParsedMovie parsed(fileWithTables({test::stts({{3, 10}, {2, static_cast<std::uint32_t>(-5)}, {4, 7}})}));
  const container::TrackRecord& t = parsed.track(0);
  ASSERT_EQ(t.timeRunCount, 3);
  EXPECT_EQ(t.timeRuns[1].delta, 0u);
  EXPECT_EQ(t.timeRuns[0].startTime, 0u);
  EXPECT_EQ(t.timeRuns[1].startTime, 30u);
  EXPECT_EQ(t.timeRuns[2].startTime, 30u);
  EXPECT_EQ(t.timeRuns[2].startSample, 5u);
  EXPECT_EQ(t.timeRuns[2].delta, 7u);
}

// ---- Malformed tables ---------------------------------------------------------

TEST(SampleIndexSafety, SizeCountBeyondTheBoxIsRefused) {
  const Bytes lying = test::fullBox("stsz", 0, ByteWriter().u32(0).u32(1000000).u32(1).u32(2));
  EXPECT_EQ(ParsedMovie(fileWithTables({lying})).status, -1);
  const Bytes negative = test::fullBox("stsz", 0, ByteWriter().u32(0).u32(0x80000000u));
  EXPECT_EQ(ParsedMovie(fileWithTables({negative})).status, -1);
}

TEST(SampleIndexSafety, SizeTableClaimingTheRestOfTheFileIsRefused) {
  // The box says it is huge; the file ends long before the count's bytes.
  const Bytes table = ByteWriter().u32(0x7FFFFFF0).text("stsz").u32(0).u32(0).u32(0x01000000).u32(7);
  const Bytes track = ByteWriter().u32(0x7FFFFFF0).text("trak").raw(table);
  EXPECT_EQ(ParsedMovie(concat({test::ftyp(), box("mdat", Bytes(8, 0)), ByteWriter().u32(0x7FFFFFF0).text("moov").raw(track)})).status, -1);
}

TEST(SampleIndexSafety, ChunkOffsetsBeforeSampleSizesAreRefused) {
  EXPECT_EQ(ParsedMovie(fileWithTables({test::stsc({{1, 1, 1}}), test::stco({1, 2}), test::stsz(0, 2, {1, 2})})).status, -1);
  EXPECT_EQ(ParsedMovie(fileWithTables({test::stco({1, 2}), test::stsz(0, 50, std::vector<std::uint32_t>(50, 1))})).status, -1);
  EXPECT_EQ(ParsedMovie(fileWithTables({test::stco({1, 2}), test::stsz(320, 50, {})})).status, -1);
}

TEST(SampleIndexSafety, SecondSizeTableIsRefused) {
  EXPECT_EQ(ParsedMovie(fileWithTables({test::stsz(0, 2, {1, 2}), test::stsz(0, 9, std::vector<std::uint32_t>(9, 1))})).status, -1);
}

TEST(SampleIndexSafety, ChunkCountBeyondTheBoxIsRefused) {
  const Bytes lying = test::fullBox("stco", 0, ByteWriter().u32(5000).u32(1));
  EXPECT_EQ(ParsedMovie(fileWithTables({test::stsz(0, 1, {1}), lying})).status, -1);
}

TEST(SampleIndexSafety, SecondChunkOffsetTableIsPassedOver) {
  ParsedMovie parsed(fileWithTables({test::stsz(0, 2, {5, 6}), test::stsc({{1, 1, 1}}), test::stco({10, 20}),
                                     test::stco({1, 2, 3, 4, 5, 6, 7, 8})}));
  ASSERT_EQ(parsed.status, 0);
  EXPECT_EQ(offsetsOf(parsed.track(0)), (Offsets{10, 20}));
}

TEST(SampleIndexSafety, TimeAndChunkRunCountsBeyondTheBoxLeaveNoTable) {
  const Bytes times = test::fullBox("stts", 0, ByteWriter().u32(100000).u32(1).u32(1));
  const Bytes runs = test::fullBox("stsc", 0, ByteWriter().u32(100000).u32(1).u32(1).u32(1));
  ParsedMovie parsed(fileWithTables({times, test::stsz(0, 1, {4}), runs, test::stco({8})}));
  ASSERT_EQ(parsed.status, 0);
  EXPECT_EQ(parsed.track(0).timeRunCount, 0);
  EXPECT_EQ(parsed.track(0).stscRunCount, 0);
  EXPECT_EQ(parsed.track(0).tablesComplete, 0);
}

TEST(SampleIndexSafety, RunsNamingChunksPastTheEndStayInside) {
  ParsedMovie parsed(fileWithTables({test::stsz(0, 6, std::vector<std::uint32_t>(6, 10)), test::stsc({{1, 2, 1}, {9, 3, 1}}),
                                     test::stco({100, 200})}));
  EXPECT_EQ(offsetsOf(parsed.track(0)), (Offsets{100, 110, 200, 210, 0, 0}));
}

TEST(SampleIndexSafety, RunsOutOfOrderStayInside) {
  ParsedMovie parsed(fileWithTables({test::stsz(0, 6, std::vector<std::uint32_t>(6, 10)),
                                     test::stsc({{0, 2, 1}, {2, 1, 1}, {1, 4, 1}}), test::stco({100, 200, 300})}));
  EXPECT_EQ(offsetsOf(parsed.track(0)), (Offsets{100, 110, 100, 110, 120, 130}));
}

TEST(SampleIndexSafety, HugeSamplesPerChunkWrapsTheSizeButWritesNothingOutside) {
  ParsedMovie parsed(fileWithTables({test::stsz(0xFFFFFFFF, 3, {}), test::stsc({{1, 0xFFFFFFFF, 1}}), test::stco({1, 2})}));
  EXPECT_EQ(sizesOf(parsed.track(0)), (Offsets{1, 1}));
  ParsedMovie many(fileWithTables({test::stsz(0, 3, {1, 2, 3}), test::stsc({{1, 0xFFFFFFFF, 1}, {2, 0xFFFFFFFF, 1}}),
                                   test::stco({50, 60})}));
  EXPECT_EQ(offsetsOf(many.track(0)), (Offsets{50, 51, 53}));
}

// ---- Time and entries -----------------------------------------------------------

struct TimedTrack {
  explicit TimedTrack(std::vector<container::TimeRun> runs, std::uint32_t timeScale = 1000) : table(std::move(runs)) {
    std::uint32_t time = 0;
    std::uint32_t sample = 0;
    for (container::TimeRun& run : table) {
      run.startTime = time;
      run.startSample = sample;
      time += run.sampleCount * run.delta;
      sample += run.sampleCount;
    }
    track.timeRuns = table.data();
    track.timeRunCount = static_cast<std::int32_t>(table.size());
    track.mediaTimeScale = timeScale;
    track.timeScalePerMs = static_cast<std::int32_t>(timeScale / 1000);
  }
  std::vector<container::TimeRun> table;
  container::TrackRecord track{};
};

// Where the time-to-entry search starts and ends, as the player keeps it.
std::int32_t cachedRun = 0;

std::int32_t entryAt(const container::TrackRecord& track, std::int32_t ms) {
  std::int32_t entry = -99;
  EXPECT_TRUE(entryForTime(track, ms, &entry, cachedRun));
  return entry;
}

TEST(SampleTime, TimeToEntry) {
  TimedTrack timed({{10, 100, 0, 0}, {5, 300, 0, 0}});
  cachedRun = 0;
  EXPECT_EQ(entryAt(timed.track, 0), 0);
  EXPECT_EQ(entryAt(timed.track, 999), 9);
  EXPECT_EQ(entryAt(timed.track, 1000), 10);
  EXPECT_EQ(cachedRun, 1);
  EXPECT_EQ(entryAt(timed.track, 1299), 10);
  EXPECT_EQ(entryAt(timed.track, 1300), 11);
  // Before the cached run: from the start again.
  EXPECT_EQ(entryAt(timed.track, 500), 5);
  EXPECT_EQ(cachedRun, 0);
}

TEST(SampleTime, TimePastTheEndGivesTheFirstSampleOfTheLastRun) {
  TimedTrack timed({{10, 100, 0, 0}, {5, 300, 0, 0}});
  cachedRun = 0;
  EXPECT_EQ(entryAt(timed.track, 5000), 10);
  EXPECT_EQ(cachedRun, 1);
}

TEST(SampleTime, NegativeTimeGivesEntryZeroAndFails) {
  TimedTrack timed({{10, 100, 0, 0}, {5, 300, 0, 0}});
  std::int32_t entry = -99;
  EXPECT_FALSE(entryForTime(timed.track, -1, &entry, cachedRun));
  EXPECT_EQ(entry, 0);
}

TEST(SampleTime, TimeScaleBelowAThousandMapsEveryTimeToEntryZero) {
  TimedTrack timed({{10, 1, 0, 0}, {5, 3, 0, 0}}, 600);
  EXPECT_EQ(entryAt(timed.track, 5000), 0);
}

TEST(SampleTime, EntryToTimeAddsTheEarlierRuns) {
  TimedTrack timed({{10, 100, 0, 0}, {5, 300, 0, 0}}, 2000);
  const EntryTime inSecond = timeOfEntry(timed.track, 12);
  EXPECT_EQ(inSecond.ms, 800u);  // (1000 + 2 x 300) units at 2000 per second
  EXPECT_EQ(inSecond.run, 1);
  EXPECT_EQ(timeOfEntry(timed.track, 3).ms, 150u);
  EXPECT_EQ(timeOfEntry(timed.track, 3).run, 0);
  // Beyond the table: timed on in the last run.
  EXPECT_EQ(timeOfEntry(timed.track, 20).ms, 2000u);
  EXPECT_EQ(timeOfEntry(timed.track, 20).run, 1);
}

TEST(SampleTime, EmptyRunsDoNotTrapTheWalk) {
  TimedTrack timed({{3, 10, 0, 0}, {0, 10, 0, 0}, {2, 10, 0, 0}});
  EXPECT_EQ(timeOfEntry(timed.track, 3).ms, 30u);
  EXPECT_EQ(timeOfEntry(timed.track, 4).ms, 40u);
}

TEST(SampleTime, NoTimeTable) {
  container::TrackRecord track{};
  std::int32_t entry = -1;
  EXPECT_TRUE(entryForTime(track, 100, &entry, cachedRun));
  EXPECT_EQ(entry, 0);
  EXPECT_EQ(timeOfEntry(track, 7).ms, 0u);
}

}  // namespace
}  // namespace mp4lib::container
