#include "recording/encode_path.h"

#include <gtest/gtest.h>

#include <vector>

#include "devices/wave_block_list.h"
#include "codecs/plugin_registry.h"
#include "support/library_state.h"
#include "container/recorded_movie.h"
#include "container/recorded_tables.h"
#include "mp4lib.h"
#include "support/recording.h"
#include "support/test_plugin.h"
#include "container/buffered_file.h"

namespace mp4lib::test {
namespace {


std::vector<std::uint32_t> deltasOf(const container::RecordedTrack& track) {
  std::vector<std::uint32_t> deltas;
  for (int i = 0; i < track.sttsCount; ++i) {
    EXPECT_EQ(track.stts[i].sampleCount, 1u);
    deltas.push_back(track.stts[i].delta);
  }
  return deltas;
}

TEST(SpreadTimeToSampleDelta, SharesANewDeltaWithTheTrailingZeros) {
  TimeToSampleEntry entries[3] = {{1, 33, {0, 0}}, {1, 0, {0, 0}}, {1, 0, {0, 0}}};
  std::uint32_t delta = 100;
  container::spreadTimeToSampleDelta(entries, 3, &delta);
  EXPECT_EQ(entries[0].delta, 33u);
  EXPECT_EQ(entries[1].delta, 33u);
  EXPECT_EQ(entries[2].delta, 33u);
  EXPECT_EQ(delta, 34u);
}

TEST(SpreadTimeToSampleDelta, LeavesTablesWithoutTrailingZerosAlone) {
  TimeToSampleEntry entries[2] = {{1, 0, {0, 0}}, {1, 40, {0, 0}}};
  std::uint32_t delta = 100;
  container::spreadTimeToSampleDelta(entries, 2, &delta);
  EXPECT_EQ(entries[0].delta, 0u);
  EXPECT_EQ(entries[1].delta, 40u);
  EXPECT_EQ(delta, 100u);
  container::spreadTimeToSampleDelta(entries, 0, &delta);
  container::spreadTimeToSampleDelta(nullptr, 2, &delta);
  EXPECT_EQ(delta, 100u);
}

class EncodePath : public RecordingTest {
 protected:
  std::uint32_t encodeAt(std::uint32_t ts) {
    std::uint32_t size = static_cast<std::uint32_t>(out.size());
    return static_cast<std::uint32_t>(encode_video(blankFrame(), 0, out.data(), &size, ts));
  }
  container::RecordedTrack& videoTrack() { return test::recorder().movie.tracks[0]; }
  std::vector<std::uint8_t> out = std::vector<std::uint8_t>(100000);
};

TEST_F(EncodePath, TwoFramesAtOneTimeThenOne66msLaterGet33Each) {
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 1), "t.3gp"), nullptr);
  ASSERT_EQ(encodeAt(500), 1u);
  ASSERT_EQ(encodeAt(500), 1u);
  EXPECT_EQ(deltasOf(videoTrack()), (std::vector<std::uint32_t>{0}));
  ASSERT_EQ(encodeAt(566), 1u);
  EXPECT_EQ(deltasOf(videoTrack()), (std::vector<std::uint32_t>{33, 33}));
  EXPECT_EQ(test::recorder().timing.firstTimestamp, 500u);
  EXPECT_EQ(test::recorder().timing.lastTimestamp, 566u);
}

TEST_F(EncodePath, NowFollowsTheClock) {
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 1), "now.3gp"), nullptr);
  testClockMs = 1000;
  ASSERT_EQ(encodeAt(0xFFFFFFFF), 1u);
  testClockMs = 1040;
  ASSERT_EQ(encodeAt(0xFFFFFFFF), 1u);
  testClockMs = 1100;
  ASSERT_EQ(encodeAt(0xFFFFFFFF), 1u);
  EXPECT_EQ(deltasOf(videoTrack()), (std::vector<std::uint32_t>{40, 60}));
  // The first timestamp of a clock-timed recording is 0, not the clock.
  EXPECT_EQ(test::recorder().timing.firstTimestamp, 0u);
  EXPECT_EQ(test::recorder().timing.startClock, 1000u);
  EXPECT_EQ(test::recorder().timing.lastTimestamp, 1100u);
  // The plug-in sees the caller's timestamp, not the clock.
  const TestPluginControl* plugin = control(MP4LIB_CODEC_TYPE_H263);
  EXPECT_EQ(plugin->calls[plugin->callCount - 1].args[4], 0xFFFFFFFFu);
}

TEST_F(EncodePath, TheFirstFrameRecordsNoDurationAndAFailedOneKeepsItFirst) {
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 1), "first.3gp"), nullptr);
  TestPluginControl* plugin = control(MP4LIB_CODEC_TYPE_H263);
  plugin->encodeResult = 0x200;
  EXPECT_EQ(encodeAt(100), 0x200u);  // the failing value, unchanged
  EXPECT_TRUE(test::recorder().timing.firstFrame);
  plugin->encodeResult = 1;
  ASSERT_EQ(encodeAt(200), 1u);
  EXPECT_FALSE(test::recorder().timing.firstFrame);
  EXPECT_EQ(test::recorder().timing.firstTimestamp, 200u);
  EXPECT_EQ(videoTrack().sttsCount, 0);
}

TEST_F(EncodePath, ConstantRateKeepsOnlyTheLastTimestamp) {
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 0), "c.3gp"), nullptr);
  ASSERT_EQ(encodeAt(10), 1u);
  ASSERT_EQ(encodeAt(90), 1u);
  EXPECT_EQ(videoTrack().sttsCount, 1);
  EXPECT_EQ(videoTrack().stts[0].delta, 0u);
  EXPECT_EQ(test::recorder().timing.lastTimestamp, 90u);
}

TEST_F(EncodePath, TimingTableGrowsPastItsFirstHundredEntries) {
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 1), "long.3gp"), nullptr);
  for (std::uint32_t k = 0; k < 250; ++k) ASSERT_EQ(encodeAt(k * 40), 1u);
  ASSERT_EQ(videoTrack().sttsCount, 249);
  EXPECT_GE(videoTrack().sttsCapacity, 250);
  for (int i = 0; i < 249; ++i) ASSERT_EQ(videoTrack().stts[i].delta, 40u);
}

TEST_F(EncodePath, EncodeVideoStoresTheSample) {
  EncoderContext* context = startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 0), "store.3gp");
  ASSERT_NE(context, nullptr);
  std::uint32_t size = static_cast<std::uint32_t>(out.size());
  ASSERT_EQ(encodeVideo(blankFrame(), 5, out.data(), &size, 1, 0), 1);
  EXPECT_EQ(size, 100u);
  size = static_cast<std::uint32_t>(out.size());
  ASSERT_EQ(encodeVideo(blankFrame(), 5, out.data(), &size, 0, 33), 1);  // not stored
  ASSERT_EQ(videoTrack().sampleCount, 1);
  EXPECT_EQ(videoTrack().samples[0].offset, 104u);
  EXPECT_EQ(videoTrack().samples[0].size, 100u);
  EXPECT_EQ(videoTrack().totalSampleBytes, 100u);
  EXPECT_EQ(context->encodedBytes, 100u);
  const TestPluginControl* plugin = control(MP4LIB_CODEC_TYPE_H263);
  EXPECT_EQ(plugin->calls[plugin->callCount - 1].args[1], 5u);
}

TEST_F(EncodePath, AFailingPlugInStoresAndTimesNothing) {
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 1), "fail.3gp"), nullptr);
  ASSERT_EQ(encodeAt(0), 1u);
  control(MP4LIB_CODEC_TYPE_H263)->encodeResult = 0x100;
  std::uint32_t size = static_cast<std::uint32_t>(out.size());
  EXPECT_EQ(encodeVideo(blankFrame(), 0, out.data(), &size, 1, 40), 0x100);
  EXPECT_EQ(videoTrack().sampleCount, 0);
  EXPECT_EQ(videoTrack().sttsCount, 0);
  EXPECT_EQ(test::recorder().timing.lastTimestamp, 0u);
}

TEST_F(EncodePath, WriteEncodeDataRecordsOffsetsSizesAndTheByteCounter) {
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 0);
  addAudio(params, MP4LIB_CODEC_TYPE_AMR, 20);
  EncoderContext* context = startRecording(params, "data.3gp");
  ASSERT_NE(context, nullptr);
  const std::vector<std::uint8_t> bytes(300, 7);
  ASSERT_EQ(writeEncodeData(bytes.data(), 300, 0, 0), 1);
  ASSERT_EQ(writeEncodeData(bytes.data(), 32, 1, 0), 1);
  ASSERT_EQ(writeEncodeData(bytes.data(), 32, 1, 0), 1);
  const container::RecordedTrack& audio = test::recorder().movie.tracks[1];
  EXPECT_EQ(videoTrack().samples[0].offset, 104u);
  ASSERT_EQ(audio.sampleCount, 2);
  EXPECT_EQ(audio.samples[0].offset, 404u);
  EXPECT_EQ(audio.samples[1].offset, 436u);
  EXPECT_EQ(audio.totalSampleBytes, 64u);
  EXPECT_EQ(audio.stts[0].sampleCount, 2u);  // one more block each time
  EXPECT_EQ(context->encodedBytes, 364u);
}

TEST_F(EncodePath, WriteEncodeDataOfAnUnknownTypeWritesNothing) {
  EncoderContext* context = startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 0), "type2.3gp");
  ASSERT_NE(context, nullptr);
  const std::uint8_t bytes[8] = {};
  const std::uint64_t before = test::recorder().file.tell(test::recorder().file);
  EXPECT_EQ(writeEncodeData(bytes, 8, 2, 0), 0);
  EXPECT_EQ(test::recorder().file.tell(test::recorder().file), before);
  EXPECT_EQ(context->encodedBytes, 0u);
  EXPECT_EQ(writeEncodeData(bytes, 8, 1, 0), 0);  // no audio track in this recording
  EXPECT_EQ(writeEncodeData(nullptr, 8, 0, 0), 0);
  EXPECT_EQ(videoTrack().sampleCount, 0);
}

std::size_t shortWrite(const void*, std::size_t length, std::FILE*) { return length / 2; }

TEST_F(EncodePath, AFailedWriteRecordsNothingForWriteEncodeDataButDoesForEncodeVideo) {
  EncoderContext* context = startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 0), "short.3gp");
  ASSERT_NE(context, nullptr);
  platform::setFileWriteForTesting(shortWrite);
  const std::vector<std::uint8_t> large(70000, 1);  // goes straight to the file
  EXPECT_EQ(writeEncodeData(large.data(), 70000, 0, 0), 0);
  EXPECT_EQ(videoTrack().sampleCount, 0);
  EXPECT_EQ(context->encodedBytes, 0u);
  control(MP4LIB_CODEC_TYPE_H263)->videoOutputSize = 70000;
  std::uint32_t size = static_cast<std::uint32_t>(out.size());
  EXPECT_EQ(encodeVideo(blankFrame(), 0, out.data(), &size, 1, 0), 1);
  EXPECT_EQ(videoTrack().sampleCount, 1);
  EXPECT_EQ(context->encodedBytes, 70000u);
  platform::setFileWriteForTesting(nullptr);
}

TEST_F(EncodePath, SampleTableGrowsPastSixteenThousandEntries) {
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 0), "many.3gp"), nullptr);
  const std::uint8_t byte = 0x42;
  for (int k = 0; k < 16385; ++k) ASSERT_EQ(writeEncodeData(&byte, 1, 0, 0), 1);
  EXPECT_EQ(videoTrack().sampleCount, 16385);
  EXPECT_EQ(videoTrack().sampleCapacity, 32768);
  EXPECT_EQ(videoTrack().samples[16384].offset, 104u + 16384u);
}

TEST_F(EncodePath, AFullSampleTableRefusesTheSample) {
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 0), "full.3gp"), nullptr);
  container::RecordedTrack& track = videoTrack();
  const std::int32_t capacity = track.sampleCapacity;
  // Pretend the table is at its limit; it is not touched when it cannot grow.
  track.sampleCount = container::kMaxTableEntries;
  track.sampleCapacity = container::kMaxTableEntries;
  const std::uint8_t byte = 1;
  EXPECT_EQ(writeEncodeData(&byte, 1, 0, 0), 0);
  std::uint32_t size = static_cast<std::uint32_t>(out.size());
  EXPECT_EQ(encodeVideo(blankFrame(), 0, out.data(), &size, 1, 0), 0);
  EXPECT_EQ(countCalls(control(MP4LIB_CODEC_TYPE_H263), TP_ENCODE), 0);
  EXPECT_EQ(test::recorder().file.tell(test::recorder().file), 104u);
  track.sampleCount = 0;
  track.sampleCapacity = capacity;
}

TEST_F(EncodePath, EncodeAudioPassesItsArgumentsThrough) {
  ASSERT_NE(startRecording(audioParams(MP4LIB_CODEC_TYPE_AMR, 20), "a.3gp"), nullptr);
  const std::vector<std::uint8_t> pcm(320, 3);
  std::uint32_t size = 1000;
  EXPECT_EQ(encode_audio(pcm.data(), 320, out.data(), &size), 1u);
  EXPECT_EQ(size, 320u);
  const TestPluginControl* plugin = control(MP4LIB_CODEC_TYPE_AMR);
  const TestPluginCall& call = plugin->calls[plugin->callCount - 1];
  EXPECT_EQ(call.entry, TP_ENCODE);
  EXPECT_EQ(call.args[0], reinterpret_cast<Mp4Word>(pcm.data()));
  EXPECT_EQ(call.args[1], 320u);
  EXPECT_EQ(call.args[2], reinterpret_cast<Mp4Word>(out.data()));
  EXPECT_EQ(call.args[3], reinterpret_cast<Mp4Word>(&size));
  EXPECT_EQ(call.args[4], 0u);
}

void queueBlock(std::uint32_t bytes, std::uint8_t fill) {
  devices::WaveBlock* block = devices::newWaveBlock(bytes);
  ASSERT_NE(block, nullptr);
  for (std::uint32_t i = 0; i < bytes; ++i) block->header.data[i] = fill;
  block->header.bytesRecorded = bytes;
  devices::appendWaveBlock(test::devices().blocks, block);
}

TEST_F(EncodePath, EncodeWaveInAudioDrainsTheCapturedBlocksInOrder) {
  EncoderContext* context = startRecording(audioParams(MP4LIB_CODEC_TYPE_AMR, 20), "w.3gp");
  ASSERT_NE(context, nullptr);
  std::uint32_t size = 1000;
  EXPECT_EQ(encodeWaveInAudio(out.data(), &size, 1), 0);  // nothing captured yet
  queueBlock(320, 0x11);
  queueBlock(320, 0x22);
  queueBlock(0, 0);
  size = 1000;
  ASSERT_EQ(encodeWaveInAudio(out.data(), &size, 0), 1);  // encoded, not stored
  EXPECT_EQ(size, 320u);
  EXPECT_EQ(out[0], 0x11);
  EXPECT_EQ(devices::waveBlockCount(test::devices().blocks), 2u);
  size = 1000;
  ASSERT_EQ(encodeWaveInAudio(out.data(), &size, 1), 1);
  EXPECT_EQ(out[0], 0x22);
  size = 1000;
  EXPECT_EQ(encodeWaveInAudio(out.data(), &size, 1), 0);  // an empty block encodes to nothing
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(devices::waveBlockCount(test::devices().blocks), 0u);
  const container::RecordedTrack& track = test::recorder().movie.tracks[0];
  ASSERT_EQ(track.sampleCount, 1);
  EXPECT_EQ(track.samples[0].offset, 104u);
  EXPECT_EQ(track.stts[0].sampleCount, 1u);
  EXPECT_EQ(context->encodedBytes, 320u);
  EXPECT_EQ(encodeWaveInAudio(nullptr, &size, 1), 0);
  EXPECT_EQ(encodeWaveInAudio(out.data(), nullptr, 1), 0);
}

TEST_F(EncodePath, AFailingAudioPlugInStillUsesUpTheBlock) {
  ASSERT_NE(startRecording(audioParams(MP4LIB_CODEC_TYPE_AMR, 20), "af.3gp"), nullptr);
  control(MP4LIB_CODEC_TYPE_AMR)->encodeResult = 0;
  queueBlock(320, 1);
  std::uint32_t size = 1000;
  EXPECT_EQ(encodeWaveInAudio(out.data(), &size, 1), 0);
  EXPECT_EQ(devices::waveBlockCount(test::devices().blocks), 0u);
  EXPECT_EQ(test::recorder().movie.tracks[0].sampleCount, 0);
}

TEST_F(EncodePath, ReconstructedPictureComesFromTheVideoPlugIn) {
  std::uint8_t* y = nullptr;
  std::uint32_t pitch = 0;
  EXPECT_EQ(encode_getReconYUV(&y, nullptr, nullptr, &pitch, nullptr), 0u);  // no encoder yet
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 0), "r.3gp"), nullptr);
  TestPluginControl* plugin = control(MP4LIB_CODEC_TYPE_H263);
  EXPECT_EQ(encode_getReconYUV(&y, nullptr, nullptr, &pitch, nullptr), 0u);  // no picture yet
  static std::uint8_t plane[16];
  plugin->planeY = plane;
  plugin->pitch = 176;
  EXPECT_EQ(encode_getReconYUV(&y, nullptr, nullptr, &pitch, nullptr), 1u);
  EXPECT_EQ(y, plane);
  EXPECT_EQ(pitch, 176u);
  EXPECT_EQ(countCalls(plugin, TP_GET_RECON_YUV), 2);
}

TEST_F(EncodePath, EveryEntryPointRefusesWithoutAnEncoder) {
  std::uint32_t size = 1000;
  const std::uint8_t bytes[4] = {};
  EXPECT_EQ(encode_video(blankFrame(), 0, out.data(), &size, 0), 0u);
  EXPECT_EQ(encodeVideo(blankFrame(), 0, out.data(), &size, 1, 0), 0);
  EXPECT_EQ(encode_audio(bytes, 4, out.data(), &size), 0u);
  queueBlock(4, 1);
  EXPECT_EQ(encodeWaveInAudio(out.data(), &size, 1), 0);
  EXPECT_EQ(writeEncodeData(bytes, 4, 0, 0), 0);
  EXPECT_EQ(writeEncodeData(bytes, 4, 1, 0), 0);
  EXPECT_EQ(writeVideoFileHeader(0, 0), 0);
  EXPECT_EQ(closeEncodeFile(), 0);
  EXPECT_EQ(getEncodeFilePos(), 0);
  finalizeEncoder();
}

TEST_F(EncodePath, NullBuffersAreRefusedBeforeThePlugInSeesThem) {
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 0), "null.3gp"), nullptr);
  std::uint32_t size = 1000;
  EXPECT_EQ(encode_video(nullptr, 0, out.data(), &size, 0), 0u);
  EXPECT_EQ(encode_video(blankFrame(), 0, nullptr, &size, 0), 0u);
  EXPECT_EQ(encode_video(blankFrame(), 0, out.data(), nullptr, 0), 0u);
  EXPECT_EQ(encodeVideo(nullptr, 0, out.data(), &size, 1, 0), 0);
  EXPECT_EQ(encode_audio(nullptr, 0, out.data(), &size), 0u);  // no audio plug-in either
  EXPECT_EQ(countCalls(control(MP4LIB_CODEC_TYPE_H263), TP_ENCODE), 0);
}

TEST_F(EncodePath, StoringWithoutAFileIsRefusedButEncodingWorks) {
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 1);
  EncoderContext* context = nullptr;
  ASSERT_EQ(initEncoder(&params, &context), 1u);
  std::uint32_t size = 1000;
  EXPECT_EQ(encodeVideo(blankFrame(), 0, out.data(), &size, 1, 0), 0);
  EXPECT_EQ(encode_video(blankFrame(), 0, out.data(), &size, 0), 1u);
  EXPECT_EQ(encode_video(blankFrame(), 0, out.data(), &size, 40), 1u);
  EXPECT_EQ(test::recorder().movie.tracks[0].stts, nullptr);
}

}  // namespace
}  // namespace mp4lib::test
