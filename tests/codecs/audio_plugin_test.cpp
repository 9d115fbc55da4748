#include "codecs/audio_plugin.h"

#include <gtest/gtest.h>

#include "codecs/plugin_registry.h"
#include "support/library_state.h"
#include "support/plugin_folder.h"
#include "support/test_plugin.h"

namespace mp4lib::codecs {
namespace {

class AudioPlugin : public ::testing::Test {
 protected:
  void SetUp() override {
    folder.addPlugin("codectest_amr");
    folder.addPlugin("codectest_aac");
    discoverCodecPluginsBeside(test::plugins(), folder.moduleFileInside().c_str());
    ASSERT_EQ(test::plugins().count, 2);
  }
  void TearDown() override {
    test::plugins().active = ActivePlugins{};
    unloadCodecPlugins(test::plugins());
    discoverCodecPluginsBeside(test::plugins(), nullptr);
  }
  test::PluginFolder folder;
};

TEST(PcmBlock, SixteenBitMonoEightKilohertzTwentyMs) { EXPECT_EQ(pcmBytesPerBlock(16, 20, 8000, 1), 320u); }

TEST(PcmBlock, TruncatesTheQuotient) { EXPECT_EQ(pcmBytesPerBlock(8, 1, 11025, 1), 11u); }

// The block size the encoder and the wave input use is the recorder's
// business (tested with initEncoder); the registry opens the plug-in.
TEST_F(AudioPlugin, EncodingCallsInitEncodeWithTheOption) {
  CodecPlugin* amr = findCodecPluginByType(test::plugins(), MP4LIB_CODEC_TYPE_AMR);
  TestPluginControl* control = test::controlOf(amr);
  control->initEncodeResult = 0x301;
  control->callCount = 0;
  EXPECT_EQ(openAudioCodecPlugin(test::plugins(), MP4LIB_CODEC_TYPE_AMR, true, 7, {}), 0x301u);
  EXPECT_EQ(test::plugins().active.audioEncoder, amr);
  ASSERT_EQ(control->callCount, 1);
  EXPECT_EQ(control->calls[0].entry, TP_INIT_ENCODE);
  EXPECT_EQ(control->calls[0].args[0], 7u);
  EXPECT_EQ(control->calls[0].args[1], 0u);
}

TEST_F(AudioPlugin, UnknownTypeFailsAndClearsTheActivePlugin) {
  test::plugins().active.audioDecoder = findCodecPluginByType(test::plugins(), MP4LIB_CODEC_TYPE_AMR);
  EXPECT_EQ(openAudioCodecPlugin(test::plugins(), MP4LIB_CODEC_TYPE_G723, false, 0, {}), 0u);
  EXPECT_EQ(test::plugins().active.audioDecoder, nullptr);
  EXPECT_EQ(openAudioCodecPlugin(test::plugins(), MP4LIB_CODEC_TYPE_G723, true, 0, {}), 0u);
  EXPECT_EQ(test::plugins().active.audioEncoder, nullptr);
}

TEST_F(AudioPlugin, DecodingOtherCodecsGetsNoConfig) {
  CodecPlugin* amr = findCodecPluginByType(test::plugins(), MP4LIB_CODEC_TYPE_AMR);
  TestPluginControl* control = test::controlOf(amr);
  control->callCount = 0;
  EXPECT_EQ(openAudioCodecPlugin(test::plugins(), MP4LIB_CODEC_TYPE_AMR, false, 0, {}), 1u);
  EXPECT_EQ(test::plugins().active.audioDecoder, amr);
  ASSERT_EQ(control->callCount, 1);
  EXPECT_EQ(control->calls[0].entry, TP_INIT_DECODE);
  EXPECT_EQ(control->calls[0].args[0], 0u);
  EXPECT_EQ(control->calls[0].args[1], 0u);
}

TEST_F(AudioPlugin, DecodingMpeg4AudioGetsTheTrackConfiguration) {
  static const std::uint8_t config[2] = {0x15, 0x88};
  const AudioDecoderConfig trackConfig{1, config, 2};

  static AudioDecoderConfig seen;
  TestPluginControl* control = test::controlOf(findCodecPluginByType(test::plugins(), MP4LIB_CODEC_TYPE_AAC));
  control->initDecodeHook = [](Mp4Word a, Mp4Word) -> Mp4Word {
    seen = *reinterpret_cast<const AudioDecoderConfig*>(a);
    return seen.configSize == 2 && seen.config[0] == 0x15 && seen.config[1] == 0x88 ? 5 : 0;
  };
  EXPECT_EQ(openAudioCodecPlugin(test::plugins(), MP4LIB_CODEC_TYPE_AAC, false, 0, trackConfig), 5u);
  EXPECT_EQ(seen.flag, 1u);
}

}  // namespace
}  // namespace mp4lib::codecs
