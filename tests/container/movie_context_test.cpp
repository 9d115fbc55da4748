#include "container/recorded_movie.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace mp4lib::container {
namespace {

TEST(MovieContext, ResetFreesTablesAndSetsTheTimeScale) {
  MovieContext movie{};
  movie.trackCount = 2;
  movie.duration = 77;
  TrackRecord& track = movie.tracks[1];
  track.codec = static_cast<CodecDescriptor*>(std::calloc(1, sizeof(CodecDescriptor)));
  track.codec->extraData = static_cast<std::uint8_t*>(std::malloc(10));
  track.samples = static_cast<SampleEntry*>(std::calloc(4, sizeof(SampleEntry)));
  track.stscRuns = static_cast<SampleToChunkRun*>(std::calloc(4, sizeof(SampleToChunkRun)));
  track.timeRuns = static_cast<TimeRun*>(std::calloc(4, sizeof(TimeRun)));
  track.chunkOffsets = static_cast<std::uint32_t*>(std::calloc(4, sizeof(std::uint32_t)));
  resetMovieContext(movie);  // the leak checker catches anything left behind
  EXPECT_EQ(movie.trackCount, 0);
  EXPECT_EQ(movie.duration, 0u);
  EXPECT_EQ(movie.timeScale, 1000u);
  EXPECT_EQ(movie.tracks[1].codec, nullptr);
  EXPECT_EQ(movie.tracks[1].samples, nullptr);
}

TEST(RecordedMovie, ResetFreesTablesAndSetsTheTimeScale) {
  RecordedMovie movie{};
  movie.trackCount = 2;
  movie.duration = 77;
  RecordedTrack& track = movie.tracks[1];
  track.codec = static_cast<CodecDescriptor*>(std::calloc(1, sizeof(CodecDescriptor)));
  track.codec->extraData = static_cast<std::uint8_t*>(std::malloc(10));
  track.samples = static_cast<SampleEntry*>(std::calloc(4, sizeof(SampleEntry)));
  track.stts = static_cast<TimeToSampleEntry*>(std::calloc(4, sizeof(TimeToSampleEntry)));
  track.dsi = static_cast<std::uint8_t*>(std::malloc(3));
  resetRecordedMovie(movie);  // the leak checker catches anything left behind
  EXPECT_EQ(movie.trackCount, 0);
  EXPECT_EQ(movie.duration, 0u);
  EXPECT_EQ(movie.timeScale, 1000u);
  EXPECT_EQ(movie.tracks[1].codec, nullptr);
  EXPECT_EQ(movie.tracks[1].stts, nullptr);
}

TEST(MovieContext, FreeingAZeroedRecordIsHarmless) {
  MovieContext movie{};
  movie.trackCount = 5;
  freeTrackRecords(movie);
  EXPECT_EQ(movie.trackCount, 0);
}

}  // namespace
}  // namespace mp4lib::container
