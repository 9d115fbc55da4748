#include <gtest/gtest.h>

#include <cstring>

#include "codecs/plugin_registry.h"
#include "support/library_state.h"
#include "mp4lib.h"
#include "playback/decoder_fixture.h"
#include "playback/decoder_setup.h"

namespace mp4lib::test {
namespace {

MovieLayout videoAndAmr(std::size_t frames = 30, std::size_t audioFrames = 50) {
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(frames, {0})), amrLayout(audioFrames)};
  layout.duration = 2000;
  return layout;
}

std::uint32_t bigEndianAt(const std::uint8_t* p) {
  return (std::uint32_t{p[0]} << 24) | (std::uint32_t{p[1]} << 16) | (std::uint32_t{p[2]} << 8) | p[3];
}

using Decoder = DecoderTest;

TEST_F(Decoder, OpensAMovieAndReportsIt) {
  ASSERT_EQ(open(videoAndAmr()), 1);
  ASSERT_NE(params, nullptr);
  EXPECT_TRUE(test::player().open.load());
  EXPECT_EQ(params->mode, 3u);
  EXPECT_EQ(params->formatVersion, 1u);
  EXPECT_EQ(params->formatRevision, 5u);
  EXPECT_EQ(params->streamFlags, 12u);
  EXPECT_EQ(params->videoEnabled, 1);
  EXPECT_EQ(params->audioEnabled, 1);
  EXPECT_EQ(params->width, 176u);
  EXPECT_EQ(params->height, 144u);
  EXPECT_EQ(params->decodedWidth, 176u);
  EXPECT_EQ(params->decodedHeight, 144u);
  EXPECT_EQ(params->pictureSizeCode, 1u);
  EXPECT_EQ(params->frameCount, 30u);
  EXPECT_EQ(params->frameRate, 15.0);  // 1000 / 2000 x 30
  EXPECT_EQ(params->videoCodecCode, MP4LIB_CODEC_TYPE_H263);
  EXPECT_EQ(params->audioCodecCode, MP4LIB_CODEC_TYPE_AMR);
  EXPECT_EQ(params->sampleRate, 8000u);
  EXPECT_EQ(params->bitsPerSample, 16u);
  EXPECT_EQ(params->channels, 1u);
  EXPECT_EQ(params->audioFrameMs, 20u);
  EXPECT_EQ(params->audioFrameMsFloat, 20.0f);
  EXPECT_EQ(params->audioFrameCount, 50u);
  EXPECT_EQ(params->lumaSize, 176u * 144u);
  EXPECT_EQ(params->rgb24Size, 176u * 144u * 3u);
  EXPECT_EQ(params->decodedLumaSize, 176u * 144u);
  EXPECT_EQ(params->decodedChromaSize, 176u * 144u / 4u);
  EXPECT_NE(params->rgbBuffer, nullptr);
  EXPECT_NE(params->inputFile, nullptr);
  EXPECT_EQ(params->videoPlugin, codecs::findCodecPluginByType(test::plugins(), MP4LIB_CODEC_TYPE_H263));
  EXPECT_EQ(params->audioPlugin, codecs::findCodecPluginByType(test::plugins(), MP4LIB_CODEC_TYPE_AMR));
  EXPECT_EQ(test::plugins().active.videoDecoder, params->videoPlugin);
  EXPECT_EQ(test::plugins().active.audioDecoder, params->audioPlugin);
  EXPECT_EQ(test::player().movie.tracks[0].frameDurationMs, 1000.0f * 1000.0f / 15000.0f);
}

TEST_F(Decoder, Getters) {
  ASSERT_EQ(open(videoAndAmr()), 1);
  std::uint32_t value = 0;
  EXPECT_EQ(getMovieDuration(&value), 1);
  EXPECT_EQ(value, 2000u);
  EXPECT_EQ(getVideoDuration(&value), 1);
  EXPECT_EQ(value, 2000u);
  EXPECT_EQ(getAudioDuration(&value), 1);
  EXPECT_EQ(value, 20u);  // one audio sample, not the track
  EXPECT_EQ(getVideoFrameNum(&value), 1);
  EXPECT_EQ(value, 30u);
  EXPECT_EQ(getAudioFrameNum(&value), 1);
  EXPECT_EQ(value, 50u);
}

TEST_F(Decoder, GettersWithoutAMovie) {
  std::uint32_t value = 12345;
  EXPECT_EQ(getMovieDuration(&value), 1);
  EXPECT_EQ(value, 12345u);
  EXPECT_EQ(getVideoDuration(&value), 0);
  EXPECT_EQ(getAudioDuration(&value), 0);
  EXPECT_EQ(getVideoFrameNum(&value), 0);
  EXPECT_EQ(getAudioFrameNum(&value), 0);
  EXPECT_EQ(value, 12345u);
}

TEST_F(Decoder, AudioOnlyMovieHasNoVideoGetters) {
  MovieLayout layout;
  layout.tracks = {amrLayout(10)};
  layout.duration = 200;
  ASSERT_EQ(open(layout), 1);
  std::uint32_t value = 7;
  EXPECT_EQ(getVideoFrameNum(&value), 0);
  EXPECT_EQ(getVideoDuration(&value), 0);
  EXPECT_EQ(getAudioFrameNum(&value), 1);
  EXPECT_EQ(value, 10u);
  EXPECT_EQ(params->streamFlags, 8u);
  EXPECT_EQ(params->videoPlugin, nullptr);
}

TEST_F(Decoder, RefusedWhileAnEncoderIsOpen) {
  test::recorder().active.store(true);
  const std::int32_t result = open(videoAndAmr());
  test::recorder().active.store(false);
  EXPECT_EQ(result, 0);
  EXPECT_FALSE(test::player().open.load());
  EXPECT_EQ(countEntry(control(MP4LIB_CODEC_TYPE_H263), TP_INIT_DECODE), 0);
  EXPECT_EQ(test::player().movie.trackCount, 0);
}

TEST_F(Decoder, MissingFileIsRefused) {
  EXPECT_EQ(initDecoder(L"/nonexistent/folder/movie.3gp", &params), 0);
  EXPECT_FALSE(test::player().open.load());
}

TEST_F(Decoder, FirstTrackWithoutSamplesIsRefusedEvenIfALaterOneHasSome) {
  MovieLayout layout = videoAndAmr();
  layout.tracks[0].samples.clear();
  layout.tracks[0].timing = {};
  EXPECT_EQ(open(layout), 0);
  EXPECT_FALSE(test::player().open.load());
  EXPECT_EQ(test::player().movie.trackCount, 0);  // tables freed
}

TEST_F(Decoder, UnreadableHeaderIsRefused) {
  EXPECT_EQ(open(concat({ftyp(), box("mdat", {})})), 0);
  EXPECT_EQ(open(Bytes{1, 2, 3}), 0);
}

TEST_F(Decoder, PictureSizeCodes) {
  EXPECT_EQ(playback::pictureSizeCode(320, 240), 7u);
  EXPECT_EQ(playback::pictureSizeCode(640, 480), 0u);
  EXPECT_EQ(playback::pictureSizeCode(176, 144), 1u);
  EXPECT_EQ(playback::pictureSizeCode(352, 288), 2u);
  EXPECT_EQ(playback::pictureSizeCode(352, 240), 3u);
  EXPECT_EQ(playback::pictureSizeCode(720, 480), 5u);
  EXPECT_EQ(playback::pictureSizeCode(160, 120), 8u);
  EXPECT_EQ(playback::pictureSizeCode(128, 96), 9u);
  EXPECT_EQ(playback::pictureSizeCode(704, 576), 10u);
  EXPECT_EQ(playback::pictureSizeCode(1408, 1152), 11u);
  EXPECT_EQ(playback::pictureSizeCode(144, 176), 0u);

  MovieLayout qvga;
  qvga.tracks = {videoLayout(markedFrames(3, {0}), "s263", 320, 240)};
  ASSERT_EQ(open(qvga), 1);
  EXPECT_EQ(params->pictureSizeCode, 7u);
  finalizeDecoder();
  MovieLayout vga;
  vga.tracks = {videoLayout(markedFrames(3, {0}), "s263", 640, 480)};
  ASSERT_EQ(open(vga), 1);
  EXPECT_EQ(params->pictureSizeCode, 0u);
  EXPECT_EQ(params->width, 640u);
}

TEST_F(Decoder, SampleDescriptionSizeWinsOverTheTrackHeader) {
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(3, {0}), "s263", 352, 288)};
  layout.tracks[0].width = 176;
  layout.tracks[0].height = 144;
  ASSERT_EQ(open(layout), 1);
  EXPECT_EQ(params->width, 352u);
  EXPECT_EQ(params->height, 288u);
  EXPECT_EQ(params->pictureSizeCode, 2u);
  EXPECT_EQ(params->decodedWidth, 352u);
}

TEST_F(Decoder, VideoPluginGetsTheRebuiltVendorRecordAndTheParameterBlock) {
  static std::uint8_t seen[64];
  static Mp4Word seenParams;
  control(MP4LIB_CODEC_TYPE_H263)->initDecodeHook = [](Mp4Word a, Mp4Word b) -> Mp4Word {
    std::memcpy(seen, reinterpret_cast<const void*>(a), sizeof seen);
    seenParams = b;
    return 1;
  };
  ASSERT_EQ(open(videoAndAmr()), 1);
  EXPECT_EQ(seenParams, reinterpret_cast<Mp4Word>(params));
  EXPECT_EQ(std::memcmp(seen, "WMVH", 4), 0);
  EXPECT_EQ(bigEndianAt(seen + 4), 0x00010005u);
  EXPECT_EQ(bigEndianAt(seen + 8), 1u);    // picture size code
  EXPECT_EQ(bigEndianAt(seen + 16), 176u);
  EXPECT_EQ(bigEndianAt(seen + 20), 144u);
  EXPECT_EQ(bigEndianAt(seen + 24), 30u);  // frame count
  EXPECT_EQ(bigEndianAt(seen + 28), 12u);  // flags
  EXPECT_EQ(bigEndianAt(seen + 32), 15u);  // frame rate
  EXPECT_EQ(bigEndianAt(seen + 44), MP4LIB_CODEC_TYPE_H263);
  std::uint32_t audioCode = 0;
  std::memcpy(&audioCode, seen + 48, 4);
  EXPECT_EQ(audioCode, MP4LIB_CODEC_TYPE_AMR);
  // The audio plug-in of a codec other than MPEG-4 audio gets (0, 0).
  const TestPluginControl* amr = control(MP4LIB_CODEC_TYPE_AMR);
  ASSERT_EQ(countEntry(amr, TP_INIT_DECODE), 1);
  for (int i = 0; i < amr->callCount; ++i) {
    if (amr->calls[i].entry != TP_INIT_DECODE) continue;
    EXPECT_EQ(amr->calls[i].args[0], 0u);
    EXPECT_EQ(amr->calls[i].args[1], 0u);
  }
}

TEST_F(Decoder, Mpeg4StreamHeaderComesFromTheDecoderConfiguration) {
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(3, {0}), "mp4v")};
  layout.tracks[0].entry = videoEntry("mp4v", 176, 144, esds(0x20, 0x11, 1, 2, 3, {0, 0, 1, 0xB0, 0x08}));
  ASSERT_EQ(open(layout), 1);
  const TestPluginControl* mp4v = control(MP4LIB_CODEC_TYPE_MPEG4V);
  ASSERT_EQ(countEntry(mp4v, TP_DECODE_FRAME_HEADER), 1);
  const TestPluginCall& call = mp4v->calls[mp4v->callCount - 1];
  EXPECT_EQ(call.entry, TP_DECODE_FRAME_HEADER);
  EXPECT_EQ(call.dataLength, 5u);
  EXPECT_EQ(call.data[3], 0xB0);
}

TEST_F(Decoder, Mpeg4StreamHeaderIsTheFirstSampleWithoutAConfiguration) {
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(3, {0}, 33), "mp4v")};
  ASSERT_EQ(open(layout), 1);
  const TestPluginControl* mp4v = control(MP4LIB_CODEC_TYPE_MPEG4V);
  ASSERT_EQ(countEntry(mp4v, TP_DECODE_FRAME_HEADER), 1);
  const TestPluginCall& call = mp4v->calls[mp4v->callCount - 1];
  EXPECT_EQ(call.dataLength, 33u);
  EXPECT_EQ(call.data[0], 'K');
  EXPECT_EQ(call.data[1], 0);
}

TEST_F(Decoder, H263GetsNoStreamHeader) {
  ASSERT_EQ(open(videoAndAmr()), 1);
  EXPECT_EQ(countEntry(control(MP4LIB_CODEC_TYPE_H263), TP_DECODE_FRAME_HEADER), 0);
}

TEST_F(Decoder, NoVideoPluginRefusesTheMovie) {
  usePlugins({"codectest_amr"});
  EXPECT_EQ(open(videoAndAmr()), 0);
  EXPECT_FALSE(test::player().open.load());
  EXPECT_EQ(test::player().movie.trackCount, 0);
}

TEST_F(Decoder, VideoPluginRefusalRefusesTheMovie) {
  control(MP4LIB_CODEC_TYPE_H263)->initDecodeResult = 0x100;  // low byte 0: refused
  EXPECT_EQ(open(videoAndAmr()), 0);
  EXPECT_FALSE(test::player().open.load());
  EXPECT_EQ(countEntry(control(MP4LIB_CODEC_TYPE_H263), TP_FINALIZE_DECODE), 0);
  EXPECT_EQ(countEntry(control(MP4LIB_CODEC_TYPE_AMR), TP_INIT_DECODE), 0);
}

TEST_F(Decoder, AudioPluginRefusalRefusesTheMovieAndStopsTheVideoPlugin) {
  control(MP4LIB_CODEC_TYPE_AMR)->initDecodeResult = 0;
  EXPECT_EQ(open(videoAndAmr()), 0);
  EXPECT_FALSE(test::player().open.load());
  EXPECT_EQ(countEntry(control(MP4LIB_CODEC_TYPE_H263), TP_FINALIZE_DECODE), 1);
  EXPECT_EQ(countEntry(control(MP4LIB_CODEC_TYPE_AMR), TP_FINALIZE_DECODE), 0);
}

TEST_F(Decoder, FinalizeStopsBothPluginsOnce) {
  ASSERT_EQ(open(videoAndAmr()), 1);
  finalizeDecoder();
  finalizeDecoder();
  EXPECT_FALSE(test::player().open.load());
  EXPECT_EQ(countEntry(control(MP4LIB_CODEC_TYPE_H263), TP_FINALIZE_DECODE), 1);
  EXPECT_EQ(countEntry(control(MP4LIB_CODEC_TYPE_AMR), TP_FINALIZE_DECODE), 1);
  EXPECT_EQ(test::player().movie.trackCount, 0);
}

TEST_F(Decoder, OpeningAgainClosesTheFirstMovie) {
  ASSERT_EQ(open(videoAndAmr()), 1);
  ASSERT_EQ(open(videoAndAmr(12, 8)), 1);
  EXPECT_EQ(params->frameCount, 12u);
  EXPECT_EQ(countEntry(control(MP4LIB_CODEC_TYPE_H263), TP_FINALIZE_DECODE), 1);
}

TEST_F(Decoder, LaterTracksOfAKindReplaceEarlierOnes) {
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(3, {0})), videoLayout(markedFrames(7, {0}))};
  ASSERT_EQ(open(layout), 1);
  EXPECT_EQ(params->frameCount, 7u);
  EXPECT_EQ(test::player().movie.videoTrackIndex, 1);
}

TEST_F(Decoder, AbsurdPictureSizeIsRefused) {
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(3, {0}), "s263", 65535, 65535)};
  EXPECT_EQ(open(layout), 0);
  EXPECT_EQ(countEntry(control(MP4LIB_CODEC_TYPE_H263), TP_INIT_DECODE), 0);
}

TEST_F(Decoder, TimeScaleOfZeroIsRefused) {
  MovieLayout layout = videoAndAmr();
  layout.tracks[0].timeScale = 0;
  EXPECT_EQ(open(layout), 0);
  MovieLayout movieScale = videoAndAmr();
  movieScale.timeScale = 0;
  EXPECT_EQ(open(movieScale), 0);
}

TEST_F(Decoder, FileNameDoesNotMatter) {
  EXPECT_EQ(open(buildMovie(videoAndAmr()).bytes, "movie.avi"), 1);
  finalizeDecoder();
  EXPECT_EQ(open(buildMovie(videoAndAmr()).bytes, "movie"), 1);
}

// ---- Files with the vendor block ------------------------------------------------

MovieLayout recordedMovie(std::uint32_t videoType, const std::string& tag) {
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(5, {0}), tag, 176, 144), amrLayout(10)};
  layout.withVendor = true;
  layout.vendor.words[2] = 1;
  layout.vendor.words[3] = 0xA1;
  layout.vendor.words[4] = 160;  // picture size (the coded size is in the sample description)
  layout.vendor.words[5] = 120;
  layout.vendor.words[6] = 99;
  layout.vendor.words[7] = 12;
  layout.vendor.words[8] = 25;
  layout.vendor.videoCodecTypeInHostOrder(videoType);
  layout.vendor.audioCodecType = MP4LIB_CODEC_TYPE_AMR;
  layout.vendor.audioBits = 16;
  layout.vendor.audioRate = 8000;
  layout.vendor.audioChannels = 1;
  layout.duration = 333;
  return layout;
}

std::uint32_t swapped(std::uint32_t value) {
  return (value >> 24) | ((value >> 8) & 0xFF00) | ((value << 8) & 0xFF0000) | (value << 24);
}

TEST_F(Decoder, RecordingsOfEveryVideoCodecTypeFindTheirPlugin) {
  usePlugins({"codectest_mp4v", "codectest_h263", "codectest_video70", "codectest_mpeg1v", "codectest_video2",
              "codectest_video33", "codectest_amr"});
  for (std::uint32_t type = 0; type <= 5; ++type) {
    const MovieLayout layout = recordedMovie(type, type == 0 ? "mp4v" : "s263");
    ASSERT_EQ(open(layout), 1) << type;
    EXPECT_EQ(params->videoCodecCode, swapped(type)) << type;  // as read
    ASSERT_NE(params->videoPlugin, nullptr);
    EXPECT_EQ(params->videoPlugin->codecType, type);
    EXPECT_EQ(test::plugins().active.videoDecoder->codecType, type);
    finalizeDecoder();
  }
}

TEST_F(Decoder, VendorBlockValuesStand) {
  static std::uint8_t seen[64];
  control(MP4LIB_CODEC_TYPE_H263)->initDecodeHook = [](Mp4Word a, Mp4Word) -> Mp4Word {
    std::memcpy(seen, reinterpret_cast<const void*>(a), sizeof seen);
    return 1;
  };
  const MovieLayout layout = recordedMovie(1, "s263");
  ASSERT_EQ(open(layout), 1);
  EXPECT_EQ(params->formatVersion, 1u);
  EXPECT_EQ(params->formatRevision, 5u);
  EXPECT_EQ(params->width, 160u);
  EXPECT_EQ(params->height, 120u);
  EXPECT_EQ(params->decodedWidth, 176u);
  EXPECT_EQ(params->decodedHeight, 144u);
  EXPECT_EQ(params->pictureSizeCode, 1u);
  EXPECT_EQ(params->vendorWord3, 0xA1u);
  EXPECT_EQ(params->frameCount, 5u);  // from the track, not the block's 99
  EXPECT_EQ(params->frameRate, 25.0);
  EXPECT_EQ(params->streamFlags, 12u);
  EXPECT_EQ(params->audioCodecCode, MP4LIB_CODEC_TYPE_AMR);
  // The plug-in gets the block as stored in the file.
  EXPECT_EQ(std::memcmp(seen, built.bytes.data() + 24 + 8, 64), 0);
}

TEST_F(Decoder, UnknownVendorCodeFallsBackToTheSampleDescription) {
  MovieLayout layout = recordedMovie(1, "s263");
  layout.vendor.words[11] = 0x12345678;
  ASSERT_EQ(open(layout), 1);
  EXPECT_EQ(params->videoCodecCode, 0x12345678u);
  EXPECT_EQ(params->videoPlugin->codecType, MP4LIB_CODEC_TYPE_H263);
}

TEST_F(Decoder, VendorFlagsWithoutVideoLeaveVideoOff) {
  MovieLayout layout = recordedMovie(1, "s263");
  layout.vendor.words[7] = 8;
  ASSERT_EQ(open(layout), 1);
  EXPECT_EQ(params->videoEnabled, 0);
  EXPECT_EQ(params->audioEnabled, 1);
  EXPECT_EQ(countEntry(control(MP4LIB_CODEC_TYPE_H263), TP_INIT_DECODE), 0);
}

TEST(VideoPluginChoice, CodeAsReadThenSwappedThenFromTheDescription) {
  PluginFolder folder;
  folder.addPlugin("codectest_h263");
  folder.addPlugin("codectest_mp4v");
  codecs::discoverCodecPluginsBeside(test::plugins(), folder.moduleFileInside().c_str());
  CodecPlugin* h263 = codecs::findCodecPluginByType(test::plugins(), MP4LIB_CODEC_TYPE_H263);
  CodecPlugin* mp4v = codecs::findCodecPluginByType(test::plugins(), MP4LIB_CODEC_TYPE_MPEG4V);
  EXPECT_EQ(playback::chooseVideoPlugin(test::plugins(), 1, 0), h263);
  EXPECT_EQ(playback::chooseVideoPlugin(test::plugins(), 0x01000000, 0), h263);
  EXPECT_EQ(playback::chooseVideoPlugin(test::plugins(), 0x77, 0), mp4v);
  EXPECT_EQ(playback::chooseVideoPlugin(test::plugins(), 0x77, 0x88), nullptr);
  codecs::unloadCodecPlugins(test::plugins());
  codecs::discoverCodecPluginsBeside(test::plugins(), nullptr);
}

}  // namespace
}  // namespace mp4lib::test
