// Movies recorded by the library play back with every sample where it was
// written, of the size it was written, at the time it was recorded.
#include <gtest/gtest.h>

#include <vector>

#include "codecs/plugin_registry.h"
#include "container/recorded_movie.h"
#include "mp4lib.h"
#include "support/recording.h"
#include "support/test_plugin.h"
#include "support/library_state.h"

namespace mp4lib::test {
namespace {

// File layout: "ftyp" (24) and the vendor header box (72), then the "mdat"
// header (8): the first sample lies at 104 and each next one right after the
// one stored before it.
constexpr std::uint32_t kFirstSample = 104;

struct Stored {
  bool video;
  std::uint32_t size;
};

class RoundTrip : public RecordingTest {
 protected:
  void TearDown() override {
    finalizeDecoder();
    RecordingTest::TearDown();
  }

  void play(const std::string& name) {
    closeEncodeFile();
    finalizeEncoder();
    ASSERT_EQ(initDecoder(pathOf(name).wstring().c_str(), &params), 1);
  }

  MovieParams* params = nullptr;
};

TEST_F(RoundTrip, H263AndAmrPlayBackAsRecorded) {
  EncoderParams recording = videoParams(MP4LIB_CODEC_TYPE_H263, 0);
  addAudio(recording, MP4LIB_CODEC_TYPE_AMR, 20);
  ASSERT_NE(startRecording(recording, "both.3gp"), nullptr);
  std::vector<Stored> stored;
  std::vector<std::uint8_t> out(1000);
  for (int k = 0; k < 15; ++k) {
    std::uint32_t size = static_cast<std::uint32_t>(out.size());
    ASSERT_EQ(encodeVideo(blankFrame(), 0, out.data(), &size, 1, 0xFFFFFFFF), 1);
    stored.push_back({true, size});
    for (int a = 0; a < 2; ++a) {
      std::vector<std::uint8_t> pcm(32 + k + a, static_cast<std::uint8_t>(0x3C + a));
      std::uint32_t coded = static_cast<std::uint32_t>(out.size());
      ASSERT_NE(encode_audio(pcm.data(), static_cast<std::uint32_t>(pcm.size()), out.data(), &coded), 0u);
      ASSERT_EQ(writeEncodeData(out.data(), coded, 1, 0xFFFFFFFF), 1);
      stored.push_back({false, coded});
    }
  }
  play("both.3gp");

  // Where every sample went, in the order stored.
  std::vector<std::uint32_t> videoOffsets, videoSizes, audioOffsets, audioSizes;
  std::uint32_t at = kFirstSample;
  for (const Stored& sample : stored) {
    (sample.video ? videoOffsets : audioOffsets).push_back(at);
    (sample.video ? videoSizes : audioSizes).push_back(sample.size);
    at += sample.size;
  }
  const container::MovieContext& movie = test::player().movie;
  const container::TrackRecord& video = movie.tracks[movie.videoTrackIndex];
  const container::TrackRecord& audio = movie.tracks[movie.audioTrackIndex];
  ASSERT_EQ(video.sampleCount, 15);
  ASSERT_EQ(audio.sampleCount, 30);
  for (int i = 0; i < 15; ++i) {
    EXPECT_EQ(video.samples[i].offset, videoOffsets[i]) << i;
    EXPECT_EQ(video.samples[i].size, videoSizes[i]) << i;
    std::uint32_t time = 0;
    ASSERT_EQ(getVideoTimeByEntry(i, &time), 1);
    EXPECT_EQ(time, static_cast<std::uint32_t>(static_cast<float>(i) * (1000.0f / 15.0f))) << i;
  }
  for (int i = 0; i < 30; ++i) {
    EXPECT_EQ(audio.samples[i].offset, audioOffsets[i]) << i;
    EXPECT_EQ(audio.samples[i].size, audioSizes[i]) << i;
  }

  // The vendor block's codec word reads back byte-swapped, and the H.263
  // plug-in is bound all the same.
  EXPECT_EQ(params->videoCodecCode, 0x01000000u);
  EXPECT_EQ(params->videoPlugin->codecType, MP4LIB_CODEC_TYPE_H263);
  EXPECT_EQ(params->audioPlugin->codecType, MP4LIB_CODEC_TYPE_AMR);
  EXPECT_EQ(params->width, 176u);
  EXPECT_EQ(params->decodedWidth, 176u);
  EXPECT_EQ(params->frameRate, 15.0);
  std::uint32_t ms = 0;
  ASSERT_EQ(getVideoDuration(&ms), 1);
  EXPECT_EQ(ms, 1000u);  // 15 frames at 15 fps
  ASSERT_EQ(getAudioDuration(&ms), 1);
  EXPECT_EQ(ms, 20u);
  ASSERT_EQ(getAudioFrameNum(&ms), 1);
  EXPECT_EQ(ms, 30u);

  // Decoding hands the recorded frames to the plug-in: frame 12 after a key
  // frame at 10 ('K' every tenth frame).
  TestPluginControl* h263 = control(MP4LIB_CODEC_TYPE_H263);
  h263->callCount = 0;
  std::uint32_t size = 0, time = 0;
  ASSERT_EQ(decode_video_track(12, nullptr, &size, &time), 1);
  std::vector<int> decoded;
  for (int i = 0; i < h263->callCount; ++i) {
    if (h263->calls[i].entry == TP_DECODE) decoded.push_back(h263->calls[i].data[1]);
  }
  EXPECT_EQ(decoded, (std::vector<int>{10, 11, 12}));
  EXPECT_EQ(time, 800u);
}

TEST_F(RoundTrip, RecordingsOfEveryVideoCodecTypeFindTheirPlugin) {
  for (const char* stem : {"codectest_video70", "codectest_mpeg1v", "codectest_video2", "codectest_video33"}) {
    folder.addPlugin(stem);
  }
  codecs::unloadCodecPlugins(test::plugins());
  codecs::discoverCodecPluginsBeside(test::plugins(), folder.moduleFileInside().c_str());
  for (std::uint32_t type = 0; type <= 5; ++type) {
    const std::string name = "video" + std::to_string(type) + ".3gp";
    ASSERT_NE(startRecording(videoParams(type, 0), name), nullptr) << type;
    std::vector<std::uint8_t> out(1000);
    for (int k = 0; k < 3; ++k) {
      std::uint32_t size = static_cast<std::uint32_t>(out.size());
      ASSERT_EQ(encodeVideo(blankFrame(), 0, out.data(), &size, 1, 0xFFFFFFFF), 1);
    }
    play(name);
    ASSERT_NE(params->videoPlugin, nullptr) << type;
    EXPECT_EQ(params->videoPlugin->codecType, type);
    const std::uint32_t swapped = type << 24;
    EXPECT_EQ(params->videoCodecCode, swapped);
    std::uint32_t frames = 0;
    ASSERT_EQ(getVideoFrameNum(&frames), 1);
    EXPECT_EQ(frames, 3u);
    finalizeDecoder();
  }
}

}  // namespace
}  // namespace mp4lib::test
