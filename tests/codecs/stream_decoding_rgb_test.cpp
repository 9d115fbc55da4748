#include <gtest/gtest.h>

#include <vector>

#include "mp4lib.h"
#include "reader/decoder_fixture.h"
#include "reader/rgb_fixture.h"

namespace mp4lib::test {
namespace {

class StreamDecodingRgb : public DecoderTest {
 protected:
  void SetUp() override {
    DecoderTest::SetUp();
    setYUV2RGBMethod(0);
  }
  void openMovie(std::uint32_t flags) {
    MovieLayout layout;
    layout.tracks = {videoLayout(markedFrames(4, {0}), "s263", kSide, kSide)};
    layout.withVendor = true;
    layout.vendor.words[4] = 8;
    layout.vendor.words[5] = 8;
    layout.vendor.words[7] = flags;
    layout.vendor.videoCodecTypeInHostOrder(MP4LIB_CODEC_TYPE_H263);
    ASSERT_EQ(open(layout), 1);
    h263 = control(MP4LIB_CODEC_TYPE_H263);
    picture.lend(h263);
  }
  void TearDown() override {
    if (h263 != nullptr) h263->planeY = h263->planeU = h263->planeV = nullptr;
    DecoderTest::TearDown();
  }
  TestPluginControl* h263 = nullptr;
  TestPicture picture;
  std::vector<std::uint8_t> rgb = std::vector<std::uint8_t>(kSide * kSide * 3, 0xAB);
  std::uint32_t time = 0;
  std::uint32_t duration = 0;
};

TEST_F(StreamDecodingRgb, WithoutTheFlagStraightIntoTheCallersBufferAtTheCodedSize) {
  openMovie(12);
  ASSERT_EQ(decodeRGB24Video(rgb.data(), &time), 1u);
  EXPECT_EQ(rgb, expected24(1));
  ASSERT_EQ(decodeRGB16VideoEx(rgb.data(), &time, &duration), 1u);
  EXPECT_EQ(std::vector<std::uint8_t>(rgb.begin(), rgb.begin() + 512), expected16(1));
  EXPECT_EQ(time, 66u);
  EXPECT_EQ(duration, 66u);
  // The plug-in got no picture buffer.
  for (int i = 0; i < h263->callCount; ++i) {
    if (h263->calls[i].entry == TP_DECODE) {
      EXPECT_EQ(h263->calls[i].args[2], 0u);
    }
  }
}

TEST_F(StreamDecodingRgb, WithTheFlagResizedToTheOutputSize) {
  openMovie(13);
  ASSERT_EQ(decodeRGB24VideoEx(rgb.data(), &time, &duration), 1u);
  EXPECT_EQ(std::vector<std::uint8_t>(rgb.begin(), rgb.begin() + 192), expected24(2));
  EXPECT_EQ(rgb[192], 0xAB);
  ASSERT_EQ(decodeRGB16Video(rgb.data(), &time), 1u);
  EXPECT_EQ(std::vector<std::uint8_t>(rgb.begin(), rgb.begin() + 128), expected16(2));
}

TEST_F(StreamDecodingRgb, FailedDecodeConvertsNothing) {
  openMovie(12);
  h263->decodeResult = 0x100;
  EXPECT_EQ(decodeRGB24Video(rgb.data(), &time), 0x100u);
  EXPECT_EQ(rgb[0], 0xAB);
  EXPECT_EQ(countEntry(h263, TP_GET_DECODE_YUV), 0);
}

TEST_F(StreamDecodingRgb, NothingQueuedNothingConverted) {
  EXPECT_EQ(decodeRGB24Video(rgb.data(), &time), 0u);
  EXPECT_EQ(decodeRGB16VideoEx(rgb.data(), &time, &duration), 0u);
  EXPECT_EQ(rgb[0], 0xAB);
}

}  // namespace
}  // namespace mp4lib::test
