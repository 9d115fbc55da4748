// What closeEncodeFile settles: durations, time scales and timing tables.
#include <gtest/gtest.h>

#include <vector>

#include "devices/wave_block_list.h"
#include "container/recorded_movie.h"
#include "mp4lib.h"
#include "support/file_bytes.h"
#include "support/recording.h"
#include "support/library_state.h"

namespace mp4lib::test {
namespace {


class Finalise : public RecordingTest {
 protected:
  void encodeAt(std::uint32_t ts, bool store = true) {
    std::uint32_t size = static_cast<std::uint32_t>(out.size());
    ASSERT_EQ(encodeVideo(blankFrame(), 0, out.data(), &size, store ? 1 : 0, ts), 1);
  }
  void storeAudioBlocks(int count) {
    const std::vector<std::uint8_t> block(32, 5);
    for (int k = 0; k < count; ++k) ASSERT_EQ(writeEncodeData(block.data(), 32, 1, 0), 1);
  }
  std::vector<std::uint32_t> deltas(const container::RecordedTrack& track) {
    std::vector<std::uint32_t> values;
    for (int i = 0; i < track.sttsCount; ++i) values.push_back(track.stts[i].delta);
    return values;
  }
  std::vector<std::uint8_t> out = std::vector<std::uint8_t>(1000);
};

TEST_F(Finalise, FifteenFramesPerSecondForThirtyFrames) {
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 0), "cfr.3gp"), nullptr);
  for (int k = 0; k < 30; ++k) encodeAt(0xFFFFFFFF);
  ASSERT_EQ(closeEncodeFile(), 1);
  const container::RecordedTrack& video = test::recorder().movie.tracks[0];
  EXPECT_EQ(video.trackDuration, 2000u);
  EXPECT_EQ(video.mediaTimeScale, 15000u);
  EXPECT_EQ(video.mediaDuration, 30000u);
  ASSERT_EQ(video.sttsCount, 1);
  EXPECT_EQ(video.stts[0].sampleCount, 30u);
  EXPECT_EQ(video.stts[0].delta, 1000u);
  EXPECT_EQ(test::recorder().movie.duration, 2000u);
  EXPECT_EQ(test::recorder().movie.mdatPayloadSize, 3000u);
}

TEST_F(Finalise, ConstantRateWithoutFramesHasAnEmptyEntry) {
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 0), "none.3gp"), nullptr);
  ASSERT_EQ(closeEncodeFile(), 1);
  const container::RecordedTrack& video = test::recorder().movie.tracks[0];
  EXPECT_EQ(video.trackDuration, 0u);
  EXPECT_EQ(video.stts[0].sampleCount, 0u);
  EXPECT_EQ(video.stts[0].delta, 0u);
}

TEST_F(Finalise, TimestampsAreSettledInMediaUnits) {
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 1), "ts.3gp"), nullptr);
  for (std::uint32_t ts : {0u, 40u, 40u, 100u}) encodeAt(ts);
  EXPECT_EQ(deltas(test::recorder().movie.tracks[0]), (std::vector<std::uint32_t>{40, 30, 30}));
  ASSERT_EQ(closeEncodeFile(), 1);
  const container::RecordedTrack& video = test::recorder().movie.tracks[0];
  EXPECT_EQ(deltas(video), (std::vector<std::uint32_t>{600, 450, 450, 495}));
  EXPECT_EQ(video.trackDuration, 133u);
  EXPECT_EQ(video.mediaDuration, 1995u);
  EXPECT_EQ(test::recorder().movie.duration, 133u);
}

TEST_F(Finalise, AZeroDeltaLeftAtTheEndDoublesTheLastDuration) {
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 1), "zero.3gp"), nullptr);
  for (std::uint32_t ts : {0u, 50u, 50u}) encodeAt(ts);
  EXPECT_EQ(deltas(test::recorder().movie.tracks[0]), (std::vector<std::uint32_t>{50, 0}));
  ASSERT_EQ(closeEncodeFile(), 1);
  const container::RecordedTrack& video = test::recorder().movie.tracks[0];
  // d = 33 + 33 x 1 = 66, half of it to the zero entry: 50, 33, 33 ms.
  EXPECT_EQ(deltas(video), (std::vector<std::uint32_t>{750, 495, 495}));
  EXPECT_EQ(video.trackDuration, 116u);  // 50 + 66
  EXPECT_EQ(video.mediaDuration, 1740u);
}

TEST_F(Finalise, ClockTimedRecordingsMeasureFromZero) {
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 1), "clock.3gp"), nullptr);
  testClockMs = 1000;
  encodeAt(0xFFFFFFFF);
  testClockMs = 1040;
  encodeAt(0xFFFFFFFF);
  ASSERT_EQ(closeEncodeFile(), 1);
  const container::RecordedTrack& video = test::recorder().movie.tracks[0];
  EXPECT_EQ(deltas(video), (std::vector<std::uint32_t>{600, 495}));
  EXPECT_EQ(video.trackDuration, 1073u);  // 1040 - 0 + 33
}

TEST_F(Finalise, AmrFiftyBlocksOfTwentyMilliseconds) {
  ASSERT_NE(startRecording(audioParams(MP4LIB_CODEC_TYPE_AMR, 20), "amr.3gp"), nullptr);
  storeAudioBlocks(50);
  ASSERT_EQ(closeEncodeFile(), 1);
  const container::RecordedTrack& amr = test::recorder().movie.tracks[0];
  EXPECT_EQ(amr.mediaTimeScale, 8000u);
  ASSERT_EQ(amr.sttsCount, 1);
  EXPECT_EQ(amr.stts[0].sampleCount, 50u);
  EXPECT_EQ(amr.stts[0].delta, 160u);
  EXPECT_EQ(amr.mediaDuration, 8000u);
  EXPECT_EQ(amr.trackDuration, 1000u);
  EXPECT_EQ(amr.frameDurationMs, 20.0f);
  EXPECT_EQ(amr.samplesPerFrame, 160.0f);
  EXPECT_EQ(test::recorder().movie.duration, 1000u);
}

TEST_F(Finalise, OtherAudioKeepsMillisecondUnits) {
  ASSERT_NE(startRecording(audioParams(MP4LIB_CODEC_TYPE_G723, 30), "g723.3gp"), nullptr);
  storeAudioBlocks(7);
  ASSERT_EQ(closeEncodeFile(), 1);
  const container::RecordedTrack& g723 = test::recorder().movie.tracks[0];
  EXPECT_EQ(g723.mediaTimeScale, 1000u);
  EXPECT_EQ(g723.stts[0].delta, 30u);
  EXPECT_EQ(g723.mediaDuration, 210u);
  EXPECT_EQ(g723.trackDuration, 210u);
}

TEST_F(Finalise, TheMovieLastsAsLongAsItsLongestTrack) {
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 0);
  addAudio(params, MP4LIB_CODEC_TYPE_AMR, 20);
  ASSERT_NE(startRecording(params, "long.3gp"), nullptr);
  for (int k = 0; k < 3; ++k) encodeAt(0);  // 200 ms of video
  storeAudioBlocks(25);                     // 500 ms of audio
  ASSERT_EQ(closeEncodeFile(), 1);
  EXPECT_EQ(test::recorder().movie.duration, 500u);
  EXPECT_EQ(test::recorder().movie.mdatPayloadSize, 300u + 25u * 32u);
}

TEST_F(Finalise, AnEmptyTrackIsLeftOutOfTheMovie) {
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 0);
  addAudio(params, MP4LIB_CODEC_TYPE_AMR, 20);
  ASSERT_NE(startRecording(params, "noaudio.3gp"), nullptr);
  encodeAt(0);
  encodeAt(0);
  ASSERT_EQ(closeEncodeFile(), 1);
  const Bytes file = readFileBytes(pathOf("noaudio.3gp"));
  const std::size_t moov = 104 + 200;
  ASSERT_GT(file.size(), moov + 116);
  EXPECT_EQ(readU32(file, moov + 4), 0x6D6F6F76u);  // "moov"
  // moov = 116 + one video trak (100 + 73 + 64 + 117 + 24 + 28 + 24 + 56).
  EXPECT_EQ(readU32(file, moov), 602u);
  EXPECT_EQ(file.size(), moov + 602);
  EXPECT_EQ(readU32(file, moov + 8 + 24), 133u);  // mvhd duration: 2 frames at 15 fps
  EXPECT_EQ(readU32(file, moov + 8 + 104), 2u);   // next track id
  EXPECT_EQ(readU32(file, 96), 208u);             // mdat size
}

TEST_F(Finalise, ClosingWithoutAFileReportsIt) {
  EXPECT_EQ(closeEncodeFile(), 0);
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 0), "twice.3gp"), nullptr);
  EXPECT_EQ(closeEncodeFile(), 1);
  EXPECT_EQ(closeEncodeFile(), 0);
}

}  // namespace
}  // namespace mp4lib::test
