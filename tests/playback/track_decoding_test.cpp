#include <gtest/gtest.h>

#include <cstring>
#include <utility>
#include <vector>

#include "mp4lib.h"
#include "playback/decoder_fixture.h"

namespace mp4lib::test {
namespace {

// (sample number, whether a picture buffer was passed) of each video decode.
using Decodes = std::vector<std::pair<int, bool>>;

Decodes videoDecodes(const TestPluginControl* control) {
  Decodes decodes;
  for (int i = 0; i < control->callCount; ++i) {
    const TestPluginCall& call = control->calls[i];
    if (call.entry == TP_DECODE) decodes.emplace_back(call.data[1], call.args[2] != 0);
  }
  return decodes;
}

std::vector<int> headerLooks(const TestPluginControl* control) {
  std::vector<int> looks;
  for (int i = 0; i < control->callCount; ++i) {
    if (control->calls[i].entry == TP_DECODE_FRAME_HEADER) looks.push_back(control->calls[i].data[1]);
  }
  return looks;
}

class TrackDecoding : public DecoderTest {
 protected:
  void openFrames(std::size_t count, std::initializer_list<std::size_t> keys,
                  std::vector<std::pair<std::uint32_t, std::uint32_t>> timing = {}) {
    MovieLayout layout;
    layout.tracks = {videoLayout(markedFrames(count, keys))};
    if (!timing.empty()) layout.tracks[0].timing = std::move(timing);
    ASSERT_EQ(open(layout), 1);
    h263 = control(MP4LIB_CODEC_TYPE_H263);
    h263->callCount = 0;
  }
  TestPluginControl* h263 = nullptr;
  std::vector<std::uint8_t> yuv = std::vector<std::uint8_t>(176 * 144 * 3 / 2);
  std::uint32_t size = 0;
  std::uint32_t time = 0;
  std::uint32_t duration = 0;
};

TEST_F(TrackDecoding, EntriesInOrderAreReadOnceAndNeverSearched) {
  openFrames(12, {0, 7});
  for (int entry = 0; entry < 3; ++entry) ASSERT_EQ(decode_video_track(entry, yuv.data(), &size, &time), 1);
  EXPECT_EQ(videoDecodes(h263), (Decodes{{0, true}, {1, true}, {2, true}}));
  EXPECT_EQ(headerLooks(h263), (std::vector<int>{0, 1, 2}));
}

TEST_F(TrackDecoding, JumpForwardDecodesFromTheKeyFrameBefore) {
  openFrames(12, {0, 7});
  for (int entry = 0; entry < 3; ++entry) decode_video_track(entry, yuv.data(), &size, &time);
  h263->callCount = 0;
  ASSERT_EQ(decode_video_track(10, yuv.data(), &size, &time), 1);
  EXPECT_EQ(headerLooks(h263), (std::vector<int>{10, 9, 8, 7}));
  EXPECT_EQ(videoDecodes(h263), (Decodes{{7, false}, {8, false}, {9, false}, {10, true}}));
  // The picture buffer and size slot go to the plug-in with the entry itself.
  const TestPluginCall& last = h263->calls[h263->callCount - 1];
  EXPECT_EQ(last.args[2], reinterpret_cast<Mp4Word>(yuv.data()));
  EXPECT_EQ(last.args[3], reinterpret_cast<Mp4Word>(&size));
}

TEST_F(TrackDecoding, JumpForwardWithoutKeyFrameGoesOnFromTheLastEntry) {
  openFrames(12, {0});
  decode_video_track(2, nullptr, &size, &time);  // from 0: entries 0 and 1 first
  EXPECT_EQ(videoDecodes(h263), (Decodes{{0, false}, {1, false}, {2, false}}));
  h263->callCount = 0;
  decode_video_track(5, nullptr, &size, &time);
  EXPECT_EQ(headerLooks(h263), (std::vector<int>{5, 4, 3}));
  EXPECT_EQ(videoDecodes(h263), (Decodes{{3, false}, {4, false}, {5, false}}));
}

TEST_F(TrackDecoding, KeyFrameIsDecodedDirectly) {
  openFrames(12, {0, 7});
  decode_video_track(7, yuv.data(), &size, &time);
  EXPECT_EQ(headerLooks(h263), (std::vector<int>{7}));
  EXPECT_EQ(videoDecodes(h263), (Decodes{{7, true}}));
}

TEST_F(TrackDecoding, GoingBackStartsAfterTheRememberedKeyFrameOrSearches) {
  openFrames(12, {0, 7});
  decode_video_track(10, yuv.data(), &size, &time);  // key frame 7 remembered
  h263->callCount = 0;
  decode_video_track(9, yuv.data(), &size, &time);
  EXPECT_EQ(headerLooks(h263), (std::vector<int>{9}));
  EXPECT_EQ(videoDecodes(h263), (Decodes{{8, false}, {9, true}}));
  h263->callCount = 0;
  decode_video_track(5, yuv.data(), &size, &time);
  EXPECT_EQ(headerLooks(h263), (std::vector<int>{5, 4, 3, 2, 1, 0}));
  EXPECT_EQ(videoDecodes(h263), (Decodes{{0, false}, {1, false}, {2, false}, {3, false}, {4, false}, {5, true}}));
}

TEST_F(TrackDecoding, SameEntryTwiceDecodesOnceAndCopiesThePicture) {
  openFrames(12, {0});
  std::vector<std::uint8_t> y(200 * 144), u(100 * 72), v(100 * 72);
  for (std::size_t i = 0; i < y.size(); ++i) y[i] = static_cast<std::uint8_t>(i % 200);
  for (std::size_t i = 0; i < u.size(); ++i) u[i] = static_cast<std::uint8_t>(100 + i % 100);
  for (std::size_t i = 0; i < v.size(); ++i) v[i] = static_cast<std::uint8_t>(200 - i % 100);
  h263->planeY = y.data();
  h263->planeU = u.data();
  h263->planeV = v.data();
  h263->pitch = 200;  // rows wider than the picture
  ASSERT_EQ(decode_video_track(0, yuv.data(), &size, &time), 1);
  EXPECT_EQ(countEntry(h263, TP_GET_DECODE_YUV), 0);
  ASSERT_EQ(decode_video_track(0, yuv.data(), &size, &time), 1);
  EXPECT_EQ(countEntry(h263, TP_DECODE), 1);
  EXPECT_EQ(countEntry(h263, TP_GET_DECODE_YUV), 1);
  EXPECT_EQ(yuv[0], 0);
  EXPECT_EQ(yuv[175], 175);
  EXPECT_EQ(yuv[176], 0);  // next row: the pitch is skipped
  const std::size_t uStart = 176 * 144;
  EXPECT_EQ(yuv[uStart], 100);
  EXPECT_EQ(yuv[uStart + 87], 187);
  EXPECT_EQ(yuv[uStart + 88], 100);
  const std::size_t vStart = uStart + 88 * 72;
  EXPECT_EQ(yuv[vStart], 200);
  EXPECT_EQ(yuv[vStart + 1], 199);
  h263->planeY = h263->planeU = h263->planeV = nullptr;
}

TEST_F(TrackDecoding, SingleRunTimesAndDurations) {
  openFrames(12, {0});
  ASSERT_EQ(decode_video_trackEx(10, nullptr, &size, &time, &duration), 1);
  EXPECT_EQ(time, 666u);  // 10 x 66.666664 ms
  EXPECT_EQ(duration, 66u);
}

TEST_F(TrackDecoding, SeveralRunsTimesAndDurations) {
  openFrames(12, {0}, {{5, 1000}, {7, 2000}});
  ASSERT_EQ(decode_video_trackEx(0, nullptr, &size, &time, &duration), 1);
  EXPECT_EQ(time, 0u);
  EXPECT_EQ(duration, 66u);
  ASSERT_EQ(decode_video_trackEx(7, nullptr, &size, &time, &duration), 1);
  EXPECT_EQ(time, 600u);  // (5 x 1000 + 2 x 2000) units at 15000 per second
  EXPECT_EQ(duration, 133u);
}

TEST_F(TrackDecoding, EntriesOutsideTheTrackAreRefused) {
  openFrames(12, {0});
  EXPECT_EQ(decode_video_track(-1, yuv.data(), &size, &time), 0);
  EXPECT_EQ(decode_video_track(12, yuv.data(), &size, &time), 0);
  EXPECT_EQ(h263->callCount, 0);
}

TEST_F(TrackDecoding, SampleOutsideTheFileIsRefused) {
  const Bytes track = trak(tkhd(1, 100, 176, 144), mdhd(1000, 100), hdlr("", "vide", {0}),
                           {stsd({videoEntry("s263", 176, 144)}), stts({{2, 50}}), stsz(0, 2, {10, 0xFFFFFFF0}),
                            stsc({{1, 1, 1}}), stco({100000, 40})});
  ASSERT_EQ(open(concat({ftyp(), box("mdat", Bytes(30, 'K')), box("moov", concat({mvhd(1000, 100), track}))})), 1);
  EXPECT_EQ(decode_video_track(0, yuv.data(), &size, &time), 0);
  EXPECT_EQ(decode_video_track(1, yuv.data(), &size, &time), 0);
  EXPECT_EQ(countEntry(control(MP4LIB_CODEC_TYPE_H263), TP_DECODE), 0);
}

TEST_F(TrackDecoding, NothingWithoutAMovie) {
  EXPECT_EQ(decode_video_track(0, yuv.data(), &size, &time), 0);
  std::uint32_t left = 0;
  EXPECT_EQ(decode_audio_track(0, yuv.data(), &size, &time, &left), 0u);
}

// ---- Audio ----------------------------------------------------------------------

class AudioTrackDecoding : public DecoderTest {
 protected:
  void openPcm(std::vector<Bytes> samples) {
    MovieLayout layout;
    layout.tracks = {pcmLayout(std::move(samples), 1024)};
    ASSERT_EQ(open(layout), 1);
  }
  std::vector<std::uint8_t> pcm = std::vector<std::uint8_t>(65536);
  std::uint32_t length = 0;
  std::uint32_t time = 0;
  std::uint32_t left = 0;
};

TEST_F(AudioTrackDecoding, LongEntryComesInSlicesOf2048Bytes) {
  const std::vector<Bytes> samples = makeSamples(2, 5000);
  openPcm(samples);
  const std::uint32_t expectedLeft[] = {2952, 904, 0};
  const std::uint32_t expectedLength[] = {2048, 2048, 904};
  std::size_t consumed = 0;
  for (int call = 0; call < 3; ++call) {
    length = static_cast<std::uint32_t>(pcm.size());
    ASSERT_EQ(decode_audio_track(0, pcm.data(), &length, &time, &left), 1u) << call;
    EXPECT_EQ(length, expectedLength[call]);
    EXPECT_EQ(left, expectedLeft[call]);
    EXPECT_EQ(time, 0u);
    EXPECT_TRUE(std::equal(pcm.begin(), pcm.begin() + length, samples[0].begin() + consumed)) << call;
    consumed += length;
  }
  length = static_cast<std::uint32_t>(pcm.size());
  ASSERT_EQ(decode_audio_track(1, pcm.data(), &length, &time, &left), 1u);
  EXPECT_EQ(length, 2048u);
  EXPECT_EQ(time, 128u);  // 1024 x 1 x 1000 / 8000
}

TEST_F(AudioTrackDecoding, ShortEntryIsReadWhole) {
  const std::vector<Bytes> samples = makeSamples(3, 300);
  openPcm(samples);
  length = static_cast<std::uint32_t>(pcm.size());
  ASSERT_EQ(decode_audio_track(2, pcm.data(), &length, &time, &left), 1u);
  EXPECT_EQ(length, 300u);
  EXPECT_EQ(left, 0u);
  EXPECT_EQ(time, 256u);
  EXPECT_TRUE(std::equal(pcm.begin(), pcm.begin() + 300, samples[2].begin()));
}

TEST_F(AudioTrackDecoding, EntriesOutsideTheTrackAreRefused) {
  openPcm(makeSamples(3, 300));
  EXPECT_EQ(decode_audio_track(-1, pcm.data(), &length, &time, &left), 0u);
  EXPECT_EQ(decode_audio_track(3, pcm.data(), &length, &time, &left), 0u);
}

TEST_F(AudioTrackDecoding, Mpeg4AudioCarriesWhatThePluginLeft) {
  MovieLayout layout;
  TrackLayout track;
  track.video = false;
  track.entry = soundEntry("mp4a", 0, 2, 16, 44100, esds(0x40, 0x15, 0, 1, 1, {0x12, 0x10}));
  track.samples = makeSamples(2, 10, [](std::size_t i) -> std::uint8_t { return static_cast<std::uint8_t>(0xA0 + i); });
  track.timing = {{2, 1024}};
  track.timeScale = 44100;
  layout.tracks = {track};
  ASSERT_EQ(open(layout), 1);
  TestPluginControl* aac = control(MP4LIB_CODEC_TYPE_AAC);
  aac->decodeHook = [](Mp4Word, Mp4Word, Mp4Word, Mp4Word d, Mp4Word e) -> Mp4Word {
    *reinterpret_cast<std::uint32_t*>(d) = 0;
    if (e != 0) *reinterpret_cast<std::uint32_t*>(e) = 3;  // the last three bytes wait
    return 1;
  };
  aac->callCount = 0;
  length = 4096;
  ASSERT_EQ(decode_audio_track(0, pcm.data(), &length, &time, &left), 1u);
  length = 4096;
  ASSERT_EQ(decode_audio_track(1, pcm.data(), &length, &time, &left), 1u);
  ASSERT_EQ(aac->callCount, 2);
  EXPECT_EQ(aac->calls[0].dataLength, 10u);
  EXPECT_NE(aac->calls[0].args[4], 0u);
  EXPECT_EQ(aac->calls[1].dataLength, 13u);
  // Sample 0's bytes 7..9, then sample 1.
  EXPECT_EQ(aac->calls[1].data[0], 7);
  EXPECT_EQ(aac->calls[1].data[2], 9);
  EXPECT_EQ(aac->calls[1].data[3], 0xA1);
  EXPECT_EQ(time, 23u);  // 1024 x 1000 / 44100
}

TEST_F(AudioTrackDecoding, OtherCodecsGetNoLeftoverSlot) {
  openPcm(makeSamples(1, 10));
  TestPluginControl* pcmPlugin = control(MP4LIB_CODEC_TYPE_PCM);
  pcmPlugin->callCount = 0;
  length = 100;
  decode_audio_track(0, pcm.data(), &length, &time, &left);
  ASSERT_EQ(pcmPlugin->callCount, 1);
  EXPECT_EQ(pcmPlugin->calls[0].args[4], 0u);
  EXPECT_EQ(pcmPlugin->calls[0].args[3], reinterpret_cast<Mp4Word>(&length));
}

}  // namespace
}  // namespace mp4lib::test
