#include "recording/encoder_setup.h"

#include <gtest/gtest.h>

#include <cstring>

#include "codecs/plugin_registry.h"
#include "recording/encode_path.h"
#include "support/library_state.h"
#include "container/recorded_movie.h"
#include "mp4lib.h"
#include "support/recording.h"
#include "support/test_plugin.h"

namespace mp4lib::test {
namespace {


class EncoderTest : public RecordingTest {
 protected:
  EncoderContext* init(EncoderParams params) {
    EncoderContext* context = nullptr;
    return initEncoder(&params, &context) == 1 ? context : nullptr;
  }
};

TEST_F(EncoderTest, RefusedWhileADecoderIsActiveAndTouchesNothing) {
  test::recorder().context.width = 77;
  test::player().open.store(true);
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 0);
  EncoderContext* context = reinterpret_cast<EncoderContext*>(0x1234);
  EXPECT_EQ(initEncoder(&params, &context), 0u);
  EXPECT_EQ(context, reinterpret_cast<EncoderContext*>(0x1234));
  EXPECT_EQ(test::recorder().context.width, 77u);
  EXPECT_EQ(countCalls(control(MP4LIB_CODEC_TYPE_H263), TP_INIT_ENCODE), 0);
  EXPECT_FALSE(test::recorder().active.load());
}

TEST_F(EncoderTest, RefusedWithTenThousandFreeBytesOrFewer) {
  testFreeBytes = 10000;
  EXPECT_EQ(init(videoParams(MP4LIB_CODEC_TYPE_H263, 0)), nullptr);
  EXPECT_FALSE(test::recorder().active.load());
  EXPECT_EQ(test::recorder().context.freeBytes, 10000u);
  testFreeBytes = 10001;
  EXPECT_NE(init(videoParams(MP4LIB_CODEC_TYPE_H263, 0)), nullptr);
}

TEST_F(EncoderTest, OnlyTheLowWordOfTheFreeBytesCounts) {
  testFreeBytes = (5ull << 32) + 9000;  // 20 GiB, but a low word of 9000
  EXPECT_EQ(init(videoParams(MP4LIB_CODEC_TYPE_H263, 0)), nullptr);
  EXPECT_EQ(test::recorder().context.freeBytes, (5ull << 32) + 9000);
  EXPECT_EQ(test::recorder().context.totalBytes, 64ull << 30);
}

TEST_F(EncoderTest, FillsTheContextAndTheFrameBuffer) {
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 1);
  addAudio(params, MP4LIB_CODEC_TYPE_AMR, 60);
  EncoderContext* context = init(params);
  ASSERT_EQ(context, &test::recorder().context);
  EXPECT_TRUE(test::recorder().active.load());
  EXPECT_EQ(context->flags, 12u);
  EXPECT_EQ(context->width, 176u);  // from the plug-in's initEncode
  EXPECT_EQ(context->codedHeight, 144u);
  EXPECT_EQ(context->headerWordA, 0xA1u);
  EXPECT_EQ(context->videoCodecType, MP4LIB_CODEC_TYPE_H263);
  EXPECT_EQ(context->audioCodecType, MP4LIB_CODEC_TYPE_AMR);
  EXPECT_EQ(context->audioBits, 16);
  EXPECT_EQ(context->audioSampleRate, 8000u);
  EXPECT_EQ(context->audioChannels, 1);
  EXPECT_EQ(context->audioBlockMs, 60u);
  EXPECT_EQ(context->pcmBytesPerBlock, 960u);  // 16 x 60 x 8000 x 1 / 8000
  EXPECT_EQ(test::recorder().captureBlockBytes.load(), 960u);  // the wave input's buffers
  EXPECT_EQ(context->videoPlugin, codecs::findCodecPluginByType(test::plugins(), MP4LIB_CODEC_TYPE_H263));
  EXPECT_EQ(context->audioPlugin, codecs::findCodecPluginByType(test::plugins(), MP4LIB_CODEC_TYPE_AMR));
  EXPECT_EQ(test::plugins().active.videoEncoder, context->videoPlugin);
  EXPECT_EQ(test::plugins().active.audioEncoder, context->audioPlugin);
  EXPECT_EQ(context->frameSampleCount, 38016u);  // 176 x 144 x 3 / 2
  EXPECT_EQ(context->planeY, context->frameBuffer);
  EXPECT_EQ(context->planeU, context->frameBuffer + 25344);
  EXPECT_EQ(context->planeV, context->frameBuffer + 25344 + 6336);
  EXPECT_EQ(context->outputFile, nullptr);
  EXPECT_TRUE(test::recorder().timing.firstFrame);

  const TestPluginControl* video = control(MP4LIB_CODEC_TYPE_H263);
  ASSERT_EQ(countCalls(video, TP_INIT_ENCODE), 1);
  EXPECT_EQ(video->calls[video->callCount - 1].args[1], reinterpret_cast<Mp4Word>(context));
}

TEST_F(EncoderTest, AudioOnlyHasNoFrameBuffer) {
  EncoderContext* context = init(audioParams(MP4LIB_CODEC_TYPE_AMR, 20));
  ASSERT_NE(context, nullptr);
  EXPECT_EQ(context->videoPlugin, nullptr);
  EXPECT_EQ(context->frameSampleCount, 0u);
  EXPECT_EQ(context->frameBuffer, nullptr);
  EXPECT_EQ(context->planeU, nullptr);
}

TEST_F(EncoderTest, UnknownVideoCodecTypeFails) {
  EXPECT_EQ(init(videoParams(MP4LIB_CODEC_TYPE_VIDEO_33, 0)), nullptr);
  EXPECT_FALSE(test::recorder().active.load());
  EXPECT_EQ(test::plugins().active.videoEncoder, nullptr);
}

// The AMR plug-in is loaded, but it is no video plug-in; nor is H.263 a
// sound codec. Neither is asked to start.
TEST_F(EncoderTest, ACodecTypeOfTheOtherCategoryFindsNoPlugIn) {
  EXPECT_EQ(init(videoParams(MP4LIB_CODEC_TYPE_AMR, 0)), nullptr);
  EXPECT_EQ(countCalls(control(MP4LIB_CODEC_TYPE_AMR), TP_INIT_ENCODE), 0);
  EXPECT_EQ(init(audioParams(MP4LIB_CODEC_TYPE_H263, 20)), nullptr);
  EXPECT_EQ(countCalls(control(MP4LIB_CODEC_TYPE_H263), TP_INIT_ENCODE), 0);
  EXPECT_FALSE(test::recorder().active.load());
}

TEST_F(EncoderTest, AFailingVideoPlugInsValueIsReturned) {
  control(MP4LIB_CODEC_TYPE_H263)->initEncodeResult = 0x300;
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 0);
  EncoderContext* context = nullptr;
  EXPECT_EQ(initEncoder(&params, &context), 0x300u);
  EXPECT_EQ(context, nullptr);
  EXPECT_FALSE(test::recorder().active.load());
}

TEST_F(EncoderTest, AFailingAudioPlugInReleasesTheVideoPlugIn) {
  control(MP4LIB_CODEC_TYPE_AMR)->initEncodeResult = 0x100;
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 0);
  addAudio(params, MP4LIB_CODEC_TYPE_AMR, 20);
  EncoderContext* context = nullptr;
  EXPECT_EQ(initEncoder(&params, &context), 0x100u);
  EXPECT_FALSE(test::recorder().active.load());
  EXPECT_EQ(countCalls(control(MP4LIB_CODEC_TYPE_H263), TP_FINALIZE_ENCODE), 1);
  EXPECT_EQ(test::plugins().active.videoEncoder, nullptr);
  EXPECT_EQ(test::plugins().active.audioEncoder, nullptr);
}

TEST_F(EncoderTest, MissingAudioPlugInFails) {
  EXPECT_EQ(init(audioParams(MP4LIB_CODEC_TYPE_AAC, 20)), nullptr);
  EXPECT_FALSE(test::recorder().active.load());
}

TEST_F(EncoderTest, ImpossibleFrameSizeFailsCleanly) {
  control(MP4LIB_CODEC_TYPE_H263)->initEncodeHook = [](Mp4Word, Mp4Word b) -> Mp4Word {
    auto* context = reinterpret_cast<EncoderContext*>(b);
    context->codedWidth = 0xFFFFFFF0u;
    context->codedHeight = 0xFFFFFFF0u;
    return 1;
  };
  EXPECT_EQ(init(videoParams(MP4LIB_CODEC_TYPE_H263, 0)), nullptr);
  EXPECT_FALSE(test::recorder().active.load());
  EXPECT_EQ(test::recorder().context.frameBuffer, nullptr);
  EXPECT_EQ(countCalls(control(MP4LIB_CODEC_TYPE_H263), TP_FINALIZE_ENCODE), 1);
}

TEST_F(EncoderTest, NullArgumentsAndASecondContextAreRefused) {
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 0);
  EncoderContext* context = nullptr;
  EXPECT_EQ(initEncoder(nullptr, &context), 0u);
  EXPECT_EQ(initEncoder(&params, nullptr), 0u);
  ASSERT_EQ(initEncoder(&params, &context), 1u);
  EncoderContext* second = nullptr;
  EXPECT_EQ(initEncoder(&params, &second), 0u);
  EXPECT_EQ(second, nullptr);
  EXPECT_TRUE(test::recorder().active.load());
}

TEST_F(EncoderTest, CreateEncodeFilePreparesVideoAndAudioTracks) {
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 0);
  addAudio(params, MP4LIB_CODEC_TYPE_AMR, 60);
  EncoderContext* context = init(params);
  ASSERT_NE(context, nullptr);
  ASSERT_EQ(createEncodeFile(pathOf("movie.avi").wstring().c_str()), 1);
  EXPECT_EQ(context->containerMode, 3u);  // 3GP whatever the extension
  EXPECT_NE(context->outputFile, nullptr);
  const container::RecordedMovie& movie = test::recorder().movie;
  EXPECT_EQ(movie.trackCount, 2);
  EXPECT_EQ(movie.streamCount, 2u);
  EXPECT_EQ(movie.timeScale, 1000u);
  EXPECT_EQ(movie.videoPresent, 1u);
  EXPECT_EQ(movie.videoTrackIndex, 0);
  EXPECT_EQ(movie.audioTrackIndex, 1);

  const container::RecordedTrack& video = movie.tracks[0];
  EXPECT_EQ(video.trackId, 1u);
  EXPECT_EQ(video.mediaTimeScale, 15000u);
  EXPECT_EQ(video.sampleCapacity, 16384);
  EXPECT_EQ(video.sampleCount, 0);
  EXPECT_EQ(video.width, 176u);
  EXPECT_EQ(video.height, 144u);
  EXPECT_EQ(video.sttsCount, 1);
  EXPECT_FLOAT_EQ(video.frameDurationMs, 1000.0f / 15.0f);
  ASSERT_NE(video.codec, nullptr);
  EXPECT_STREQ(video.codec->compressorName, "Kelvane Video Codec");
  EXPECT_EQ(video.codec->kind, 0);
  EXPECT_EQ(video.codec->codecId, 4);
  EXPECT_EQ(video.codec->codecTag, MP4LIB_TAG_S263);
  EXPECT_EQ(video.codec->bitsPerSample, 24u);
  EXPECT_EQ(video.codec->width, 176u);
  EXPECT_EQ(video.codec->sampleRate, 0u);

  const container::RecordedTrack& audio = movie.tracks[1];
  EXPECT_EQ(audio.trackId, 2u);
  EXPECT_EQ(audio.mediaTimeScale, 1000u);
  EXPECT_EQ(audio.sampleCapacity, 16384);
  ASSERT_EQ(audio.sttsCount, 1);
  EXPECT_EQ(audio.stts[0].sampleCount, 0u);
  EXPECT_EQ(audio.stts[0].delta, 60u);
  ASSERT_NE(audio.codec, nullptr);
  EXPECT_STREQ(audio.codec->compressorName, "Kelvane Audio Codec");
  EXPECT_EQ(audio.codec->kind, 1);
  EXPECT_EQ(audio.codec->codecId, 63);
  EXPECT_EQ(audio.codec->codecTag, MP4LIB_TAG_SAMR);
  EXPECT_EQ(audio.codec->bitsPerSample, 16u);
  EXPECT_EQ(audio.codec->sampleRate, 8000u);
  EXPECT_EQ(audio.codec->channels, 1u);
  EXPECT_EQ(audio.codec->amrModeSet, 0x0080);
  EXPECT_EQ(audio.codec->amrModeChangePeriod, 0);
  EXPECT_EQ(audio.codec->amrFramesPerSample, 3);  // 60 ms / 20 ms
}

TEST_F(EncoderTest, TimestampedVideoStartsWithAnEmptyTimingTable) {
  ASSERT_NE(init(videoParams(MP4LIB_CODEC_TYPE_H263, 1)), nullptr);
  ASSERT_EQ(createEncodeFile(pathOf("movie.3gp").wstring().c_str()), 1);
  EXPECT_EQ(test::recorder().movie.tracks[0].sttsCount, 0);
  EXPECT_GE(test::recorder().movie.tracks[0].sttsCapacity, 100);
}

TEST_F(EncoderTest, AudioOnlyTakesTheFirstSlotAndTrackIdOne) {
  ASSERT_NE(init(audioParams(MP4LIB_CODEC_TYPE_AMR, 10)), nullptr);
  ASSERT_EQ(createEncodeFile(pathOf("audio.3gp").wstring().c_str()), 1);
  const container::RecordedMovie& movie = test::recorder().movie;
  EXPECT_EQ(movie.trackCount, 1);
  EXPECT_EQ(movie.videoPresent, 0u);
  EXPECT_EQ(movie.audioTrackIndex, 0);
  EXPECT_EQ(movie.tracks[0].trackId, 1u);
  EXPECT_EQ(movie.tracks[0].codec->amrFramesPerSample, 0);  // 10 ms / 20 ms
  EXPECT_EQ(movie.tracks[1].codec, nullptr);
}

TEST_F(EncoderTest, FrameRateOf15GivesTimeScale15000AndOf29_97Gives29970) {
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 0);
  params.frameRate = 29.97;
  ASSERT_NE(init(params), nullptr);
  ASSERT_EQ(createEncodeFile(pathOf("ntsc.3gp").wstring().c_str()), 1);
  EXPECT_EQ(test::recorder().movie.tracks[0].mediaTimeScale, 29970u);
}

TEST_F(EncoderTest, AFileThatCannotBeOpenedStillPreparesTheMovie) {
  ASSERT_NE(init(videoParams(MP4LIB_CODEC_TYPE_H263, 0)), nullptr);
  EXPECT_EQ(createEncodeFile(pathOf("no/such/folder/x.3gp").wstring().c_str()), 0);
  EXPECT_EQ(test::recorder().context.outputFile, nullptr);
  EXPECT_EQ(test::recorder().movie.trackCount, 1);
  EXPECT_EQ(writeVideoFileHeader(0, 0), 0);
  const std::uint8_t sample[4] = {1, 2, 3, 4};
  EXPECT_EQ(writeEncodeData(sample, 4, 0, 0), 0);
  EXPECT_EQ(getEncodeFilePos(), 0);
  EXPECT_EQ(closeEncodeFile(), 0);
  EXPECT_EQ(createEncodeFile(nullptr), 0);
}

TEST_F(EncoderTest, CreateEncodeFileNeedsAnEncoderAndNoOpenFile) {
  EXPECT_EQ(createEncodeFile(pathOf("a.3gp").wstring().c_str()), 0);
  EXPECT_FALSE(std::filesystem::exists(pathOf("a.3gp")));
  ASSERT_NE(init(videoParams(MP4LIB_CODEC_TYPE_H263, 0)), nullptr);
  ASSERT_EQ(createEncodeFile(pathOf("a.3gp").wstring().c_str()), 1);
  EXPECT_EQ(createEncodeFile(pathOf("b.3gp").wstring().c_str()), 0);
  EXPECT_FALSE(std::filesystem::exists(pathOf("b.3gp")));
  ASSERT_EQ(closeEncodeFile(), 1);
  EXPECT_EQ(createEncodeFile(pathOf("b.3gp").wstring().c_str()), 1);  // a second file after closing
}

TEST_F(EncoderTest, FilePositionCountsOnlyWhatReachedTheFile) {
  EXPECT_EQ(getEncodeFilePos(), 0);
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 0), "pos.3gp"), nullptr);
  EXPECT_EQ(getEncodeFilePos(), 0);  // 104 header bytes are still buffered
  std::vector<std::uint8_t> sample(70000, 9);
  ASSERT_EQ(writeEncodeData(sample.data(), 70000, 0, 0), 1);
  EXPECT_EQ(getEncodeFilePos(), 70104);
}

TEST_F(EncoderTest, FinalizeReleasesEverythingButLeavesTheFileToClose) {
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 0);
  addAudio(params, MP4LIB_CODEC_TYPE_AMR, 20);
  EncoderContext* context = startRecording(params, "fin.3gp");
  ASSERT_NE(context, nullptr);
  finalizeEncoder();
  EXPECT_FALSE(test::recorder().active.load());
  EXPECT_EQ(countCalls(control(MP4LIB_CODEC_TYPE_H263), TP_FINALIZE_ENCODE), 1);
  EXPECT_EQ(countCalls(control(MP4LIB_CODEC_TYPE_AMR), TP_FINALIZE_ENCODE), 1);
  const TestPluginControl* video = control(MP4LIB_CODEC_TYPE_H263);
  EXPECT_EQ(video->calls[video->callCount - 1].args[0], 0u);
  EXPECT_EQ(context->videoPlugin, nullptr);
  EXPECT_EQ(context->audioPlugin, nullptr);
  EXPECT_EQ(context->frameBuffer, nullptr);
  EXPECT_EQ(context->planeV, nullptr);
  EXPECT_EQ(test::recorder().movie.trackCount, 0);
  EXPECT_EQ(test::recorder().movie.tracks[0].samples, nullptr);
  EXPECT_NE(context->outputFile, nullptr);
  finalizeEncoder();  // a second time does nothing
  EXPECT_EQ(countCalls(control(MP4LIB_CODEC_TYPE_H263), TP_FINALIZE_ENCODE), 1);
  EXPECT_EQ(closeEncodeFile(), 1);
  EXPECT_EQ(context->outputFile, nullptr);
}

TEST_F(EncoderTest, AFileLeftOpenMustBeClosedBeforeANewContext) {
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 0), "open.3gp"), nullptr);
  finalizeEncoder();
  EXPECT_EQ(init(videoParams(MP4LIB_CODEC_TYPE_H263, 0)), nullptr);
  EXPECT_NE(test::recorder().context.outputFile, nullptr);
  ASSERT_EQ(closeEncodeFile(), 1);
  EXPECT_NE(init(videoParams(MP4LIB_CODEC_TYPE_H263, 0)), nullptr);
}

TEST_F(EncoderTest, ANewContextAfterFinalizeStartsAfresh) {
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 1), "one.3gp"), nullptr);
  ASSERT_EQ(closeEncodeFile(), 1);
  finalizeEncoder();
  EncoderContext* context = init(audioParams(MP4LIB_CODEC_TYPE_G723, 30));
  ASSERT_NE(context, nullptr);
  EXPECT_EQ(context->videoPlugin, nullptr);
  EXPECT_EQ(context->width, 0u);
}

}  // namespace
}  // namespace mp4lib::test
