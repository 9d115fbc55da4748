#include "codecs/audio_plugin.h"

#include <gtest/gtest.h>

#include "audio/wave_in_state.h"
#include "codecs/plugin_registry.h"
#include "frame/encoder_context.h"
#include "frame/movie_context.h"
#include "support/plugin_folder.h"
#include "support/test_plugin.h"

namespace mp4lib::codecs {
namespace {

class AudioPlugin : public ::testing::Test {
 protected:
  void SetUp() override {
    folder.addPlugin("codectest_amr");
    folder.addPlugin("codectest_aac");
    discoverCodecPluginsBeside(folder.moduleFileInside().c_str());
    ASSERT_EQ(codecPluginCount(), 2);
  }
  void TearDown() override {
    activePlugins() = ActivePlugins{};
    frame::encoderContext() = EncoderContext{};
    frame::resetMovieContext(frame::movieContext());
    unloadCodecPlugins();
    discoverCodecPluginsBeside(nullptr);
  }
  test::PluginFolder folder;
};

TEST(PcmBlock, SixteenBitMonoEightKilohertzTwentyMs) { EXPECT_EQ(pcmBytesPerBlock(16, 20, 8000, 1), 320u); }

TEST(PcmBlock, TruncatesTheQuotient) { EXPECT_EQ(pcmBytesPerBlock(8, 1, 11025, 1), 11u); }

TEST_F(AudioPlugin, EncodingSetsBlockSizeAndCallsInitEncode) {
  EncoderContext& context = frame::encoderContext();
  context.audioBits = 16;
  context.audioBlockMs = 60;
  context.audioSampleRate = 8000;
  context.audioChannels = 1;
  CodecPlugin* amr = findCodecPluginByType(MP4LIB_CODEC_TYPE_AMR);
  TestPluginControl* control = test::controlOf(amr);
  control->initEncodeResult = 0x301;
  control->callCount = 0;
  EXPECT_EQ(openAudioCodecPlugin(MP4LIB_CODEC_TYPE_AMR, 8000, 1, true, 7), 0x301u);
  EXPECT_EQ(activePlugins().audioEncoder, amr);
  EXPECT_EQ(audio::waveInBufferSize(), 960u);
  EXPECT_EQ(context.pcmBytesPerBlock, 960u);
  ASSERT_EQ(control->callCount, 1);
  EXPECT_EQ(control->calls[0].entry, TP_INIT_ENCODE);
  EXPECT_EQ(control->calls[0].args[0], 7u);
  EXPECT_EQ(control->calls[0].args[1], 0u);
}

TEST_F(AudioPlugin, UnknownTypeFailsAndClearsTheActivePlugin) {
  activePlugins().audioDecoder = findCodecPluginByType(MP4LIB_CODEC_TYPE_AMR);
  EXPECT_EQ(openAudioCodecPlugin(MP4LIB_CODEC_TYPE_G723, 8000, 1, false, 0), 0u);
  EXPECT_EQ(activePlugins().audioDecoder, nullptr);
  EXPECT_EQ(openAudioCodecPlugin(MP4LIB_CODEC_TYPE_G723, 8000, 1, true, 0), 0u);
  EXPECT_EQ(activePlugins().audioEncoder, nullptr);
}

TEST_F(AudioPlugin, DecodingOtherCodecsGetsNoConfig) {
  CodecPlugin* amr = findCodecPluginByType(MP4LIB_CODEC_TYPE_AMR);
  TestPluginControl* control = test::controlOf(amr);
  control->callCount = 0;
  EXPECT_EQ(openAudioCodecPlugin(MP4LIB_CODEC_TYPE_AMR, 8000, 1, false, 0), 1u);
  EXPECT_EQ(activePlugins().audioDecoder, amr);
  ASSERT_EQ(control->callCount, 1);
  EXPECT_EQ(control->calls[0].entry, TP_INIT_DECODE);
  EXPECT_EQ(control->calls[0].args[0], 0u);
  EXPECT_EQ(control->calls[0].args[1], 0u);
}

TEST_F(AudioPlugin, DecodingMpeg4AudioGetsTheTrackConfiguration) {
  static std::uint8_t config[2] = {0x15, 0x88};
  frame::MovieContext& movie = frame::movieContext();
  movie.audioTrackIndex = 1;
  movie.tracks[1].codec = static_cast<CodecDescriptor*>(std::calloc(1, sizeof(CodecDescriptor)));
  movie.tracks[1].codec->extraData = static_cast<std::uint8_t*>(std::malloc(2));
  movie.tracks[1].codec->extraData[0] = config[0];
  movie.tracks[1].codec->extraData[1] = config[1];
  movie.tracks[1].codec->extraDataSize = 2;

  static AudioDecoderConfig seen;
  TestPluginControl* control = test::controlOf(findCodecPluginByType(MP4LIB_CODEC_TYPE_AAC));
  control->initDecodeHook = [](Mp4Word a, Mp4Word) -> Mp4Word {
    seen = *reinterpret_cast<const AudioDecoderConfig*>(a);
    return seen.configSize == 2 && seen.config[0] == 0x15 && seen.config[1] == 0x88 ? 5 : 0;
  };
  EXPECT_EQ(openAudioCodecPlugin(MP4LIB_CODEC_TYPE_AAC, 44100, 2, false, 0), 5u);
  EXPECT_EQ(seen.flag, 1u);
}

}  // namespace
}  // namespace mp4lib::codecs
