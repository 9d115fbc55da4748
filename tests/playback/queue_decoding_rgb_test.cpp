#include <gtest/gtest.h>

#include <vector>

#include "mp4lib.h"
#include "playback/rgb_decoding_fixture.h"

namespace mp4lib::test {
namespace {

using StreamDecodingRgb = RgbDecodingTest;

TEST_F(StreamDecodingRgb, WithoutTheFlagStraightIntoTheCallersBufferAtTheCodedSize) {
  openMovie(8, 8, 12);
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
  openMovie(8, 8, 13);
  ASSERT_EQ(decodeRGB24VideoEx(rgb.data(), &time, &duration), 1u);
  EXPECT_EQ(std::vector<std::uint8_t>(rgb.begin(), rgb.begin() + 192), expected24(2));
  EXPECT_EQ(rgb[192], 0xAB);
  ASSERT_EQ(decodeRGB16Video(rgb.data(), &time), 1u);
  EXPECT_EQ(std::vector<std::uint8_t>(rgb.begin(), rgb.begin() + 128), expected16(2));
}

TEST_F(StreamDecodingRgb, FailedDecodeConvertsNothing) {
  openMovie(8, 8, 12);
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
