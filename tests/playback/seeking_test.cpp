#include <gtest/gtest.h>

#include "devices/fake_wave_devices.h"
#include "mp4lib.h"
#include "playback/decoder_fixture.h"
#include "support/library_state.h"

namespace mp4lib::test {
namespace {

class Seeking : public DecoderTest {
 protected:
  void TearDown() override {
    closeWaveOut();
    test::devices().playbackEntry.store(0);
    DecoderTest::TearDown();
  }
};

// 30 frames of 66.67 ms (6667 units at 100 kHz).
TrackLayout framesOf6667() {
  TrackLayout track = videoLayout(markedFrames(30, {0}));
  track.timeScale = 100000;
  track.timing = {{30, 6667}};
  track.mediaDuration = 30 * 6667;
  track.trackDuration = 2000;
  return track;
}

TEST_F(Seeking, SingleRunVideoEntryByTime) {
  MovieLayout layout;
  layout.tracks = {framesOf6667()};
  ASSERT_EQ(open(layout), 1);
  std::int32_t entry = -1;
  ASSERT_EQ(getVideoEntryByTime(1000, &entry), 1);
  EXPECT_EQ(entry, 14);
  ASSERT_EQ(getVideoEntryByTime(100000, &entry), 1);
  EXPECT_EQ(entry, 29);
  std::uint32_t time = 0;
  ASSERT_EQ(getVideoTimeByEntry(14, &time), 1);
  EXPECT_EQ(time, 933u);  // 14 x 66.67
}

TEST_F(Seeking, SeveralRunsVideoEntryAndTime) {
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(12, {0}))};
  layout.tracks[0].timing = {{5, 1000}, {7, 2000}};  // 15000 per second
  ASSERT_EQ(open(layout), 1);
  std::int32_t entry = -1;
  ASSERT_EQ(getVideoEntryByTime(400, &entry), 1);  // 6000 units: run 1, sample 5
  EXPECT_EQ(entry, 5);
  ASSERT_EQ(getVideoEntryByTime(100000, &entry), 1);
  EXPECT_EQ(entry, 5);  // first sample of the last run
  std::uint32_t time = 99;
  ASSERT_EQ(getVideoTimeByEntry(0, &time), 1);
  EXPECT_EQ(time, 0u);
  ASSERT_EQ(getVideoTimeByEntry(7, &time), 1);
  EXPECT_EQ(time, 600u);
}

TEST_F(Seeking, WithoutVideoTheVideoConversionsFail) {
  MovieLayout layout;
  layout.tracks = {amrLayout(10)};
  ASSERT_EQ(open(layout), 1);
  std::int32_t entry = -7;
  std::uint32_t time = 7;
  EXPECT_EQ(getVideoEntryByTime(100, &entry), 0);
  EXPECT_EQ(getVideoTimeByEntry(1, &time), 0);
  EXPECT_EQ(entry, -7);
  EXPECT_EQ(time, 7u);
}

TEST_F(Seeking, SeekToZero) {
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(30, {0})), amrLayout(50)};
  ASSERT_EQ(open(layout), 1);
  std::int32_t used = -1, video = -1, audio = -1;
  ASSERT_EQ(seek(0, &used, &video, &audio), 1);
  EXPECT_EQ(used, 0);
  EXPECT_EQ(video, 0);
  EXPECT_EQ(audio, 0);
  std::int32_t entry = -1, adjusted = -1;
  std::uint32_t offset = 99;
  ASSERT_EQ(setAudioEntryByTime(0, &entry, &offset, &adjusted), 1);
  EXPECT_EQ(entry, 0);
  EXPECT_EQ(offset, 0u);
  EXPECT_EQ(adjusted, 0);
}

TEST_F(Seeking, AmrChunksRoundTheOffsetDownToAWholeFrame) {
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(30, {0})), amrLayout(50, 5)};  // 160 bytes, 800 units a chunk
  ASSERT_EQ(open(layout), 1);
  std::int32_t entry = -1, adjusted = -1;
  std::uint32_t offset = 0;
  ASSERT_EQ(setAudioEntryByTime(250, &entry, &offset, &adjusted), 1);
  EXPECT_EQ(entry, 2);
  EXPECT_EQ(offset, 64u);  // 160 x 400 / 800 = 80, down to a multiple of 32
  EXPECT_EQ(adjusted, 250);

  std::int32_t used = -1, video = -1, audio = -1;
  ASSERT_EQ(seek(250, &used, &video, &audio), 1);
  EXPECT_EQ(used, 250);
  EXPECT_EQ(audio, 2);
  EXPECT_EQ(video, 3);  // 250 / 66.67
  EXPECT_EQ(test::devices().playbackEntry.load(), 2);

  // The next read of that chunk starts at the offset.
  std::vector<std::uint8_t> pcm(4096);
  std::uint32_t length = 4096, time = 0, left = 99;
  ASSERT_EQ(decode_audio_track(2, pcm.data(), &length, &time, &left), 1u);
  EXPECT_EQ(length, 96u);
  EXPECT_EQ(left, 0u);
  EXPECT_EQ(pcm[0], built.bytes[built.chunkOffsets[1][2] + 64]);
}

TEST_F(Seeking, ChunkPlacingWithoutAmrKeepsTheExactOffset) {
  MovieLayout layout;
  TrackLayout pcm;
  pcm.video = false;
  pcm.entry = soundEntry("sowt", 0, 1, 16, 8000);
  pcm.samples = makeSamples(30, 2);
  pcm.constantSize = 2;
  pcm.chunkSamples = {10, 10, 10};
  pcm.timing = {{30, 1}};
  pcm.timeScale = 1000;
  layout.tracks = {pcm};
  ASSERT_EQ(open(layout), 1);
  std::int32_t entry = -1, adjusted = -1;
  std::uint32_t offset = 0;
  ASSERT_EQ(setAudioEntryByTime(13, &entry, &offset, &adjusted), 1);
  EXPECT_EQ(entry, 1);
  EXPECT_EQ(offset, 6u);  // 20 x 3 / 10
  EXPECT_EQ(adjusted, 13);
  ASSERT_EQ(setAudioEntryByTime(30, &entry, &offset, &adjusted), 1);
  EXPECT_EQ(entry, 3);  // past the end
  EXPECT_EQ(offset, 0u);
}

TEST_F(Seeking, SampleAudioSnapsToTheSampleAndAdjustsTheTime) {
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(30, {0})), amrLayout(50)};
  ASSERT_EQ(open(layout), 1);
  std::int32_t entry = -1, adjusted = -1;
  std::uint32_t offset = 9;
  ASSERT_EQ(setAudioEntryByTime(250, &entry, &offset, &adjusted), 1);
  EXPECT_EQ(entry, 12);
  EXPECT_EQ(offset, 0u);
  EXPECT_EQ(adjusted, 240);
  std::int32_t used = -1, video = -1, audio = -1;
  ASSERT_EQ(seek(250, &used, &video, &audio), 1);
  EXPECT_EQ(used, 240);
  EXPECT_EQ(video, 3);
  EXPECT_EQ(audio, 12);
}

TEST_F(Seeking, OldFilesKeepAudioTimeInMilliseconds) {
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(30, {0})), amrLayout(50)};
  layout.tracks[1].timing = {{50, 20}};  // ms, as such files store it
  layout.withVendor = true;
  layout.vendor.words[1] = 0x00010004;
  layout.vendor.words[4] = 176;
  layout.vendor.words[5] = 144;
  layout.vendor.words[7] = 12;
  layout.vendor.videoCodecTypeInHostOrder(MP4LIB_CODEC_TYPE_H263);
  layout.vendor.audioCodecType = MP4LIB_CODEC_TYPE_AMR;
  ASSERT_EQ(open(layout), 1);
  EXPECT_EQ(params->audioFrameMs, 20u);  // 20 x 1000 / 1000 (the movie's scale)
  std::int32_t entry = -1, adjusted = -1;
  std::uint32_t offset = 0;
  ASSERT_EQ(setAudioEntryByTime(250, &entry, &offset, &adjusted), 1);
  EXPECT_EQ(entry, 12);
  EXPECT_EQ(adjusted, 240);
  std::vector<std::uint8_t> pcm(4096);
  std::uint32_t length = 4096, time = 0, left = 0;
  ASSERT_EQ(decode_audio_track(3, pcm.data(), &length, &time, &left), 1u);
  EXPECT_EQ(time, 60u);
}

TEST_F(Seeking, NegativeTimeFailsButStillPlacesVideo) {
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(30, {0})), amrLayout(50)};
  ASSERT_EQ(open(layout), 1);
  std::int32_t entry = -1, adjusted = -1;
  std::uint32_t offset = 9;
  EXPECT_EQ(setAudioEntryByTime(-5, &entry, &offset, &adjusted), 0);
  EXPECT_EQ(entry, 0);
  EXPECT_EQ(offset, 0u);
  std::int32_t used = -1, video = -1, audio = -1;
  EXPECT_EQ(seek(-5, &used, &video, &audio), 0);
  EXPECT_EQ(used, 0);
  EXPECT_EQ(video, 0);
  EXPECT_EQ(audio, 0);
}

TEST_F(Seeking, WithoutAudioTheRequestedTimeStands) {
  MovieLayout layout;
  layout.tracks = {framesOf6667()};
  ASSERT_EQ(open(layout), 1);
  std::int32_t used = -1, video = -1, audio = -1;
  ASSERT_EQ(seek(1234, &used, &video, &audio), 1);
  EXPECT_EQ(used, 1234);
  EXPECT_EQ(video, 18);
  EXPECT_EQ(audio, 0);
  EXPECT_EQ(seek(50, nullptr, nullptr, nullptr), 1);
}

TEST_F(Seeking, NothingWithoutAMovie) {
  std::int32_t used = -1;
  EXPECT_EQ(seek(10, &used, nullptr, nullptr), 0);
  EXPECT_EQ(used, -1);
  std::int32_t entry = -1;
  EXPECT_EQ(setAudioEntryByTime(10, &entry, nullptr, nullptr), 0);
}

// The wave-out device of these tests is a double that plays at once.
constexpr std::uint32_t kResetRefused = 1;  // MMSYSERR_ERROR

TEST_F(Seeking, PlayingDeviceThatCannotBeResetAbortsTheSeek) {
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(30, {0})), amrLayout(50)};
  ASSERT_EQ(open(layout), 1);
  FakeWaveDevices device;
  ASSERT_EQ(openWaveOut(0, nullptr, 16, 8000, 1), 1);
  device.outResetResult = kResetRefused;
  std::int32_t used = -1, video = -1, audio = -1;
  EXPECT_EQ(seek(500, &used, &video, &audio), 0);
  EXPECT_EQ(used, -1);
  EXPECT_EQ(video, -1);
  EXPECT_EQ(audio, -1);
  EXPECT_EQ(test::devices().playbackEntry.load(), 0);
  device.outResetResult = 0;
  closeWaveOut();
}

TEST_F(Seeking, PlayingDeviceIsResetAndTakesTheNewPosition) {
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(30, {0})), amrLayout(50)};
  ASSERT_EQ(open(layout), 1);
  FakeWaveDevices device;
  ASSERT_EQ(openWaveOut(0, nullptr, 16, 8000, 1), 1);
  std::int32_t audio = -1;
  EXPECT_EQ(seek(500, nullptr, nullptr, &audio), 1);
  EXPECT_EQ(device.callsNamed("waveOutReset").size(), 1u);
  EXPECT_EQ(audio, 25);
  EXPECT_EQ(test::devices().playbackEntry.load(), 25);
  closeWaveOut();
}

}  // namespace
}  // namespace mp4lib::test
