#include "codecs/plugin_calls.h"

#include <gtest/gtest.h>

#include <vector>

#include "codecs/plugin_registry.h"
#include "support/plugin_folder.h"
#include "support/test_plugin.h"
#include "support/library_state.h"

namespace mp4lib::codecs {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(FindStartCodeUnit, FailsWithoutLeadingStartCode) {
  const Bytes bytes = {0x00, 0x00, 0x02, 0xB6, 1, 2, 3, 4, 5};
  std::uint32_t length = 99;
  std::uint8_t code = 0;
  EXPECT_FALSE(findStartCodeUnit(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &length, &code));
  EXPECT_EQ(length, 0u);
}

TEST(FindStartCodeUnit, FailsOnInputsTooShortForAStartCodeByte) {
  const Bytes bytes = {0x00, 0x00, 0x01};
  std::uint32_t length = 99;
  std::uint8_t code = 0;
  EXPECT_FALSE(findStartCodeUnit(bytes.data(), 3, &length, &code));
  EXPECT_FALSE(findStartCodeUnit(bytes.data(), 0, &length, &code));
  EXPECT_EQ(length, 0u);
}

TEST(FindStartCodeUnit, SevenBytesAreOneUnit) {
  // Even with a start code in its tail: the search needs length - 3 > 4.
  const Bytes bytes = {0x00, 0x00, 0x01, 0xB0, 0x00, 0x00, 0x01};
  std::uint32_t length = 0;
  std::uint8_t code = 0;
  ASSERT_TRUE(findStartCodeUnit(bytes.data(), 7, &length, &code));
  EXPECT_EQ(length, 7u);
  EXPECT_EQ(code, 0xB0);
}

TEST(FindStartCodeUnit, FindsNextStartCode) {
  const Bytes bytes = {0x00, 0x00, 0x01, 0xB6, 0xAA, 0xBB, 0x00, 0x00, 0x01, 0xB6, 0xCC, 0xDD, 0xEE};
  std::uint32_t length = 0;
  std::uint8_t code = 0;
  ASSERT_TRUE(findStartCodeUnit(bytes.data(), 13, &length, &code));
  EXPECT_EQ(length, 6u);
  EXPECT_EQ(code, 0xB6);
}

TEST(FindStartCodeUnit, MissesStartCodeAfterOddRunOfZeros) {
  // 00 00 00 01 at index 5: the zero at 5 steps to 7, which is followed by
  // 01 B6, not 00 01, so the start code at 6 is never seen.
  const Bytes bytes = {0x00, 0x00, 0x01, 0xB6, 0xAA, 0x00, 0x00, 0x00, 0x01, 0xB6, 0xCC, 0xDD, 0xEE};
  std::uint32_t length = 0;
  std::uint8_t code = 0;
  ASSERT_TRUE(findStartCodeUnit(bytes.data(), 13, &length, &code));
  EXPECT_EQ(length, 13u);
}

// Feeds frames to a test plug-in installed as the active video decoder.
class VideoUnits : public ::testing::Test {
 protected:
  void install(const char* stem) {
    folder.addPlugin(stem);
    discoverCodecPluginsBeside(test::plugins(), folder.moduleFileInside().c_str());
    ASSERT_EQ(test::plugins().count, 1);
    test::plugins().active.videoDecoder = codecPluginAt(test::plugins(), 0);
    control = test::controlOf(codecPluginAt(test::plugins(), 0));
    control->callCount = 0;
  }
  void TearDown() override {
    test::plugins().active = ActivePlugins{};
    unloadCodecPlugins(test::plugins());
    discoverCodecPluginsBeside(test::plugins(), nullptr);
  }
  std::vector<TestPluginCall> decodeCalls() const {
    std::vector<TestPluginCall> calls;
    for (int i = 0; i < control->callCount; ++i) {
      if (control->calls[i].entry == TP_DECODE) calls.push_back(control->calls[i]);
    }
    return calls;
  }
  test::PluginFolder folder;
  TestPluginControl* control = nullptr;
};

TEST_F(VideoUnits, NoActiveDecoderFails) {
  const Bytes frame = {0x00, 0x00, 0x01, 0xB6, 1, 2, 3, 4};
  EXPECT_EQ(decodeVideoUnits(test::plugins().active.videoDecoder, frame.data(), 8, 0, 0), 0u);
  EXPECT_EQ(decodeVideoFrameHeader(test::plugins().active.videoDecoder, frame.data(), 8, 0), 0u);
}

TEST_F(VideoUnits, OtherCodecsGetTheWholeFrame) {
  install("codectest_h263");
  control->decodeResult = 0x1234;
  const Bytes frame = {'K', 1, 2, 3, 0x00, 0x00, 0x01, 0xB6, 9, 9};
  EXPECT_EQ(decodeVideoUnits(test::plugins().active.videoDecoder, frame.data(), 10, 7, 8), 0x1234u);
  const auto calls = decodeCalls();
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].args[0], reinterpret_cast<Mp4Word>(frame.data()));
  EXPECT_EQ(calls[0].args[1], 10u);
  EXPECT_EQ(calls[0].args[2], 7u);
  EXPECT_EQ(calls[0].args[3], 8u);
  EXPECT_EQ(calls[0].args[4], 0u);
  EXPECT_EQ(decodeVideoFrameHeader(test::plugins().active.videoDecoder, frame.data(), 10, 0), static_cast<Mp4Word>(MP4LIB_FRAME_KEY));
}

TEST_F(VideoUnits, Mpeg4FrameWithoutStartCodeIsAcceptedAndNotDecoded) {
  install("codectest_mp4v");
  const Bytes frame = {0x12, 0x00, 0x00, 0x01, 0xB6, 1, 2, 3};
  EXPECT_EQ(decodeVideoUnits(test::plugins().active.videoDecoder, frame.data(), 8, 0, 0), 1u);
  EXPECT_TRUE(decodeCalls().empty());
}

TEST_F(VideoUnits, Mpeg4FrameIsFedUnitByUnit) {
  install("codectest_mp4v");
  control->decodeResult = 0;  // per-unit results are ignored
  const Bytes frame = {0x00, 0x00, 0x01, 0xB0, 0xAA, 0xBB, 0x00, 0x00, 0x01, 0xB6, 0xCC, 0xDD, 0xEE};
  EXPECT_EQ(decodeVideoUnits(test::plugins().active.videoDecoder, frame.data(), 13, 5, 6), 1u);
  const auto calls = decodeCalls();
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_EQ(calls[0].args[0], reinterpret_cast<Mp4Word>(frame.data()));
  EXPECT_EQ(calls[0].args[1], 6u);
  EXPECT_EQ(calls[0].args[4], 0xB0u);
  EXPECT_EQ(calls[1].args[0], reinterpret_cast<Mp4Word>(frame.data() + 6));
  EXPECT_EQ(calls[1].args[1], 7u);
  EXPECT_EQ(calls[1].args[2], 5u);
  EXPECT_EQ(calls[1].args[3], 6u);
  EXPECT_EQ(calls[1].args[4], 0xB6u);
}

TEST_F(VideoUnits, Mpeg4StartCodeAfterOddZerosStaysInOneUnit) {
  install("codectest_mp4v");
  const Bytes frame = {0x00, 0x00, 0x01, 0xB6, 0xAA, 0x00, 0x00, 0x00, 0x01, 0xB6, 0xCC, 0xDD, 0xEE};
  EXPECT_EQ(decodeVideoUnits(test::plugins().active.videoDecoder, frame.data(), 13, 0, 0), 1u);
  const auto calls = decodeCalls();
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].args[1], 13u);
}

TEST_F(VideoUnits, Mpeg4FrameHeaderComesFromTheVopUnit) {
  install("codectest_mp4v");
  const Bytes frame = {0x00, 0x00, 0x01, 0xB0, 0x11, 0x22, 0x00, 0x00, 0x01, 0xB6, 0x33, 0x44, 0x55};
  control->frameHeaderHook = [](Mp4Word unit, Mp4Word length, Mp4Word) -> Mp4Word {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(unit);
    return length == 7 && bytes[3] == 0xB6 ? MP4LIB_FRAME_KEY : MP4LIB_FRAME_NONE;
  };
  EXPECT_EQ(decodeVideoFrameHeader(test::plugins().active.videoDecoder, frame.data(), 13, 0), static_cast<Mp4Word>(MP4LIB_FRAME_KEY));
}

TEST_F(VideoUnits, Mpeg4FrameHeaderWithoutVopUnitIsZero) {
  install("codectest_mp4v");
  const Bytes frame = {0x00, 0x00, 0x01, 0xB0, 0x11, 0x22, 0x00, 0x00, 0x01, 0xB5, 0x33, 0x44, 0x55};
  EXPECT_EQ(decodeVideoFrameHeader(test::plugins().active.videoDecoder, frame.data(), 13, 0), 0u);
  EXPECT_EQ(test::countCalls(control, TP_DECODE_FRAME_HEADER), 0);
}

TEST(AudioUnit, NoActiveDecoderFails) {
  std::uint8_t in[4] = {1, 2, 3, 4}, out[4] = {};
  std::uint32_t outLength = 4;
  EXPECT_EQ(decodeAudioUnit(test::plugins().active.audioDecoder, in, 4, out, &outLength, nullptr), 0u);
}

}  // namespace
}  // namespace mp4lib::codecs
