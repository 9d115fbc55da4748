#include <gtest/gtest.h>

#include <map>
#include <thread>
#include <vector>

#include "playback/sample_queues.h"
#include "mp4lib.h"
#include "support/library_state.h"
#include "playback/decoder_fixture.h"

namespace mp4lib::test {
namespace {

using StreamDecoding = DecoderTest;

MovieLayout videoOnly(std::size_t frames, std::vector<std::pair<std::uint32_t, std::uint32_t>> timing = {}) {
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(frames, {0}))};
  if (!timing.empty()) layout.tracks[0].timing = std::move(timing);
  return layout;
}

TEST_F(StreamDecoding, VideoOnlyFileHasNoAudioAndEndsOnceItsFramesAreRead) {
  ASSERT_EQ(open(videoOnly(3)), 1);
  EXPECT_EQ(isStreamEnd(), 0);
  std::vector<std::uint8_t> pcm(100);
  std::uint32_t length = 100;
  EXPECT_EQ(decodeAudio(pcm.data(), &length), 0u);
  EXPECT_EQ(isStreamEnd(), 1);
  EXPECT_EQ(getVideoObjSize(), 3);
  EXPECT_EQ(getAudioObjSize(), 0);
}

TEST_F(StreamDecoding, StreamEndsWhileFramesStillWait) {
  ASSERT_EQ(open(videoOnly(20)), 1);
  std::uint32_t time = 0;
  for (int call = 1; call <= 4; ++call) {
    ASSERT_NE(decodeVideo(nullptr, &time), 0u);
    EXPECT_EQ(isStreamEnd(), 0) << call;
    EXPECT_EQ(getVideoObjSize(), 15);
  }
  ASSERT_NE(decodeVideo(nullptr, &time), 0u);  // reads sample 19, the last
  EXPECT_EQ(isStreamEnd(), 1);
  EXPECT_EQ(getVideoObjSize(), 15);
  for (int call = 0; call < 15; ++call) ASSERT_NE(decodeVideo(nullptr, &time), 0u);
  EXPECT_EQ(getVideoObjSize(), 0);
  EXPECT_EQ(decodeVideo(nullptr, &time), 0u);
}

TEST_F(StreamDecoding, FramesComeInFileOrderToThePlugin) {
  ASSERT_EQ(open(videoOnly(20)), 1);
  TestPluginControl* h263 = control(MP4LIB_CODEC_TYPE_H263);
  h263->callCount = 0;
  std::vector<std::uint8_t> yuv(176 * 144 * 3 / 2);
  std::uint32_t time = 0;
  for (int i = 0; i < 20; ++i) ASSERT_NE(decodeVideo(yuv.data(), &time), 0u);
  std::vector<int> order;
  for (int i = 0; i < h263->callCount; ++i) {
    if (h263->calls[i].entry != TP_DECODE) continue;
    order.push_back(h263->calls[i].data[1]);
    EXPECT_EQ(h263->calls[i].args[2], reinterpret_cast<Mp4Word>(yuv.data()));
    EXPECT_NE(h263->calls[i].args[3], 0u);
    EXPECT_EQ(h263->calls[i].dataLength, 20u);
  }
  ASSERT_EQ(order.size(), 20u);
  for (int i = 0; i < 20; ++i) EXPECT_EQ(order[i], i);
}

TEST_F(StreamDecoding, PluginResultIsPassedOnAndTheSlotIsConsumedEitherWay) {
  ASSERT_EQ(open(videoOnly(3)), 1);
  control(MP4LIB_CODEC_TYPE_H263)->decodeResult = 0x200;
  std::uint32_t time = 0;
  EXPECT_EQ(decodeVideo(nullptr, &time), 0x200u);
  EXPECT_EQ(getVideoObjSize(), 2);
}

std::map<int, std::pair<std::uint32_t, std::uint32_t>> timesOfAll(std::size_t frames) {
  std::map<int, std::pair<std::uint32_t, std::uint32_t>> times;
  for (std::size_t i = 0; i < frames; ++i) {
    std::uint32_t time = 0xDEAD;
    std::uint32_t duration = 0xDEAD;
    EXPECT_NE(decodeVideoEx(nullptr, &time, &duration), 0u);
    times[static_cast<int>(i)] = {time, duration};
  }
  return times;
}

TEST_F(StreamDecoding, SampleNumbersWrapAfter255WithOneRun) {
  ASSERT_EQ(open(videoOnly(301)), 1);  // 66.666664 ms frames
  const auto times = timesOfAll(301);
  EXPECT_EQ(times.at(0).first, 0u);
  EXPECT_EQ(times.at(3).first, 200u);
  EXPECT_EQ(times.at(255).first, 17000u);  // 255 x 66.666664 rounds to 17000.0 in single precision
  EXPECT_EQ(times.at(256).first, 0u);      // timed as sample 0
  EXPECT_EQ(times.at(300).first, 2933u);   // timed as sample 44
  EXPECT_EQ(times.at(300).second, 66u);
}

TEST_F(StreamDecoding, SampleNumbersWrapAfter255WithSeveralRuns) {
  ASSERT_EQ(open(videoOnly(301, {{100, 1000}, {201, 2000}})), 1);
  const auto times = timesOfAll(301);
  EXPECT_EQ(times.at(0).first, 0u);  // the first frame after a reset
  EXPECT_EQ(times.at(0).second, 66u);
  EXPECT_EQ(times.at(3).first, 200u);
  EXPECT_EQ(times.at(150).first, 13333u);  // (100 x 1000 + 50 x 2000) / 15
  EXPECT_EQ(times.at(150).second, 133u);
  EXPECT_EQ(times.at(256).first, 0u);
  EXPECT_EQ(times.at(256).second, 66u);
  EXPECT_EQ(times.at(300).first, 2933u);
}

TEST_F(StreamDecoding, RunCursorFollowsTheSamplesTaken) {
  ASSERT_EQ(open(videoOnly(10, {{3, 1000}, {7, 2000}})), 1);
  std::uint32_t time = 0;
  for (int i = 0; i < 4; ++i) decodeVideo(nullptr, &time);
  // The first frame is timed by the first-frame rule; three more were walked.
  EXPECT_EQ(test::player().queues.runCursor.run, 1);
  EXPECT_EQ(test::player().queues.runCursor.taken, 0u);
  decodeVideo(nullptr, &time);
  EXPECT_EQ(test::player().queues.runCursor.taken, 1u);
}

TEST_F(StreamDecoding, AudioAndVideoQueuesFillTogether) {
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(30, {0})), amrLayout(50)};
  ASSERT_EQ(open(layout), 1);
  std::vector<std::uint8_t> pcm(4096);
  std::uint32_t length = 4096;
  ASSERT_EQ(decodeAudio(pcm.data(), &length), 1u);
  EXPECT_EQ(length, 32u);
  EXPECT_EQ(pcm[0], 0x3C);
  EXPECT_EQ(pcm[1], 1);  // sample 0's bytes
  EXPECT_EQ(getAudioObjSize(), 7);
  EXPECT_EQ(getVideoObjSize(), 16);
  const TestPluginControl* amr = control(MP4LIB_CODEC_TYPE_AMR);
  const TestPluginCall& call = amr->calls[amr->callCount - 1];
  EXPECT_EQ(call.entry, TP_DECODE);
  EXPECT_EQ(call.args[1], 32u);
  EXPECT_EQ(call.args[4], 0u);
  length = 4096;
  ASSERT_EQ(decodeAudio(pcm.data(), &length), 1u);
  EXPECT_EQ(pcm[1], 2);  // sample 1
}

TEST_F(StreamDecoding, ResetDropsTheQueues) {
  ASSERT_EQ(open(videoOnly(20)), 1);
  std::uint32_t time = 0;
  decodeVideo(nullptr, &time);
  decodeVideo(nullptr, &time);
  playback::resetPlaybackState(test::player());
  EXPECT_EQ(getVideoObjSize(), 0);
  EXPECT_EQ(isStreamEnd(), 0);
  TestPluginControl* h263 = control(MP4LIB_CODEC_TYPE_H263);
  h263->callCount = 0;
  decodeVideo(nullptr, &time);
  EXPECT_EQ(h263->calls[h263->callCount - 1].data[1], 0);  // from the start again
  EXPECT_EQ(time, 0u);
}

TEST_F(StreamDecoding, SamplesReachingPastTheFileAreCutShort) {
  const Bytes track = trak(tkhd(1, 100, 176, 144), mdhd(1000, 100), hdlr("", "vide", {0}),
                           {stsd({videoEntry("s263", 176, 144)}), stts({{3, 50}}), stsz(0, 3, {4, 0xFFFFFFF0, 4}),
                            stsc({{1, 1, 1}}), stco({40, 44, 900000})});
  ASSERT_EQ(open(concat({ftyp(), box("mdat", Bytes(30, 'K')), box("moov", concat({mvhd(1000, 100), track}))})), 1);
  TestPluginControl* h263 = control(MP4LIB_CODEC_TYPE_H263);
  h263->callCount = 0;
  std::uint32_t time = 0;
  for (int i = 0; i < 3; ++i) EXPECT_NE(decodeVideo(nullptr, &time), 0u);
  std::vector<std::uint32_t> lengths;
  for (int i = 0; i < h263->callCount; ++i) {
    if (h263->calls[i].entry == TP_DECODE) lengths.push_back(h263->calls[i].dataLength);
  }
  const std::uint32_t fileLength = static_cast<std::uint32_t>(test::player().fileLength);
  EXPECT_EQ(lengths, (std::vector<std::uint32_t>{4, fileLength - 44, 0}));
  EXPECT_EQ(isStreamEnd(), 1);
}

TEST_F(StreamDecoding, NothingWithoutAMovie) {
  std::uint32_t time = 0;
  EXPECT_EQ(decodeVideo(nullptr, &time), 0u);
  EXPECT_EQ(decodeVideoEx(nullptr, &time, &time), 0u);
  EXPECT_EQ(decodeAudio(nullptr, nullptr), 0u);
  EXPECT_EQ(getVideoObjSize(), 0);
  EXPECT_EQ(decode_getyuv(nullptr, nullptr, nullptr, nullptr, nullptr), 0u);
}

TEST_F(StreamDecoding, FinalizeFreesWhatIsQueued) {
  ASSERT_EQ(open(videoOnly(20)), 1);
  std::uint32_t time = 0;
  decodeVideo(nullptr, &time);
  ASSERT_EQ(getVideoObjSize(), 15);
  finalizeDecoder();  // the leak checker sees anything left behind
  EXPECT_EQ(getVideoObjSize(), 0);
}

TEST_F(StreamDecoding, DecodedPlanesComeFromTheVideoPlugin) {
  ASSERT_EQ(open(videoOnly(2)), 1);
  TestPluginControl* h263 = control(MP4LIB_CODEC_TYPE_H263);
  std::uint8_t y[4] = {1}, u[1] = {2}, v[1] = {3};
  h263->planeY = y;
  h263->planeU = u;
  h263->planeV = v;
  h263->pitch = 2;
  std::uint8_t* planes[3] = {};
  std::uint32_t pitch = 0, chroma = 0;
  EXPECT_EQ(decode_getyuv(&planes[0], &planes[1], &planes[2], &pitch, &chroma), 1u);
  EXPECT_EQ(planes[0], y);
  EXPECT_EQ(planes[2], v);
  EXPECT_EQ(pitch, 2u);
  EXPECT_EQ(chroma, 1u);
  h263->planeY = nullptr;
  EXPECT_EQ(decode_getyuv(&planes[0], &planes[1], &planes[2], &pitch, &chroma), 0u);
}

TEST_F(StreamDecoding, QueueAndTrackDecodingShareTheFileFromTwoThreads) {
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(200, {0})), amrLayout(300)};
  ASSERT_EQ(open(layout), 1);
  std::vector<std::uint8_t> expected(built.bytes.begin() + built.sampleOffsets[1][0],
                                     built.bytes.begin() + built.sampleOffsets[1][0] + 32);
  int videoFrames = 0;
  std::thread video([&videoFrames] {
    std::uint32_t time = 0;
    while (decodeVideo(nullptr, &time) != 0) ++videoFrames;
  });
  // Track decoding of audio on this thread: every read must see its own bytes.
  std::vector<std::uint8_t> pcm(4096);
  int matching = 0;
  for (int round = 0; round < 300; ++round) {
    std::uint32_t length = 4096, time = 0, left = 0;
    ASSERT_EQ(decode_audio_track(0, pcm.data(), &length, &time, &left), 1u);
    matching += std::equal(expected.begin(), expected.end(), pcm.begin()) ? 1 : 0;
  }
  video.join();
  EXPECT_EQ(videoFrames, 200);
  EXPECT_EQ(matching, 300);
}

}  // namespace
}  // namespace mp4lib::test
