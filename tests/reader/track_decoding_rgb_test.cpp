#include <gtest/gtest.h>

#include <vector>

#include "mp4lib.h"
#include "reader/decoder_fixture.h"
#include "reader/rgb_fixture.h"

namespace mp4lib::test {
namespace {

class TrackDecodingRgb : public DecoderTest {
 protected:
  void SetUp() override {
    DecoderTest::SetUp();
    setYUV2RGBMethod(0);
  }

  // 16 x 16 coded; the display size and flags from a vendor block when given.
  void openMovie(std::uint32_t displayWidth = 0, std::uint32_t displayHeight = 0, std::uint32_t flags = 0) {
    MovieLayout layout;
    layout.tracks = {videoLayout(markedFrames(4, {0}), "s263", kSide, kSide)};
    if (displayWidth != 0) {
      layout.withVendor = true;
      layout.vendor.words[4] = displayWidth;
      layout.vendor.words[5] = displayHeight;
      layout.vendor.words[7] = flags;
      layout.vendor.videoCodecTypeInHostOrder(MP4LIB_CODEC_TYPE_H263);
    }
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
  std::uint32_t size = 0;
  std::uint32_t time = 0;
  std::uint32_t duration = 0;
};

std::vector<std::uint8_t> head(const std::vector<std::uint8_t>& bytes, std::size_t n) {
  return std::vector<std::uint8_t>(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(n));
}

TEST_F(TrackDecodingRgb, Rgb24AtTheDisplaySize) {
  openMovie();
  ASSERT_EQ(decode_RGB24_video_track(1, rgb.data(), &size, &time), 1);
  EXPECT_EQ(size, 16u * 16u * 3u);
  EXPECT_EQ(rgb, expected24(1));
  EXPECT_EQ(time, 66u);
  // The entry was decoded without a picture buffer.
  for (int i = 0; i < h263->callCount; ++i) {
    if (h263->calls[i].entry == TP_DECODE) {
      EXPECT_EQ(h263->calls[i].args[2], 0u);
    }
  }
}

TEST_F(TrackDecodingRgb, Rgb16AtTheDisplaySize) {
  openMovie();
  ASSERT_EQ(decode_RGB16_video_trackEx(2, rgb.data(), &size, &time, &duration), 1);
  EXPECT_EQ(size, 16u * 16u * 2u);
  EXPECT_EQ(head(rgb, 512), expected16(1));
  EXPECT_EQ(rgb[512], 0xAB);
  EXPECT_EQ(time, 133u);
  EXPECT_EQ(duration, 66u);
}

TEST_F(TrackDecodingRgb, ResizeFlagScalesToTheDisplaySize) {
  openMovie(8, 8, 12 | 1);
  ASSERT_EQ(decode_RGB24_video_trackEx(0, rgb.data(), &size, &time, &duration), 1);
  EXPECT_EQ(size, 8u * 8u * 3u);
  EXPECT_EQ(head(rgb, 192), expected24(2));
  EXPECT_EQ(rgb[192], 0xAB);
  ASSERT_EQ(decode_RGB16_video_track(0, rgb.data(), &size, &time), 1);
  EXPECT_EQ(size, 8u * 8u * 2u);
  EXPECT_EQ(head(rgb, 128), expected16(2));
}

TEST_F(TrackDecodingRgb, DifferentSizesWithoutTheFlagAreScaledToo) {
  openMovie(8, 8, 12);
  ASSERT_EQ(decode_RGB24_video_track(0, rgb.data(), &size, &time), 1);
  EXPECT_EQ(size, 8u * 8u * 3u);
  EXPECT_EQ(head(rgb, 192), expected24(2));
}

TEST_F(TrackDecodingRgb, TargetSize) {
  openMovie();
  ASSERT_EQ(decode_RGB24_video_trackEx2(3, rgb.data(), &size, 16, 16, &time, &duration), 1);
  EXPECT_EQ(size, 16u * 16u * 3u);
  EXPECT_EQ(rgb, expected24(1));
  std::fill(rgb.begin(), rgb.end(), 0xAB);
  ASSERT_EQ(decode_RGB24_video_trackEx2(3, rgb.data(), &size, 8, 8, &time, &duration), 1);
  EXPECT_EQ(size, 8u * 8u * 3u);
  EXPECT_EQ(head(rgb, 192), expected24(2));
  EXPECT_EQ(rgb[192], 0xAB);
  ASSERT_EQ(decode_RGB16_video_trackEx2(3, rgb.data(), &size, 8, 8, &time, &duration), 1);
  EXPECT_EQ(size, 8u * 8u * 2u);
  EXPECT_EQ(head(rgb, 128), expected16(2));
  EXPECT_EQ(time, 200u);
  EXPECT_EQ(duration, 66u);
  EXPECT_EQ(decode_RGB24_video_trackEx2(3, rgb.data(), &size, 0, 8, &time, &duration), 0);
}

TEST_F(TrackDecodingRgb, EntryEqualToTheFrameCountIsRefusedWithoutReading) {
  openMovie();
  h263->callCount = 0;
  EXPECT_EQ(decode_RGB24_video_track(4, rgb.data(), &size, &time), 0);
  EXPECT_EQ(decode_RGB16_video_trackEx(4, rgb.data(), &size, &time, &duration), 0);
  EXPECT_EQ(decode_RGB24_video_trackEx2(4, rgb.data(), &size, 8, 8, &time, &duration), 0);
  EXPECT_EQ(decode_RGB16_video_track(-1, rgb.data(), &size, &time), 0);
  EXPECT_EQ(h263->callCount, 0);
  EXPECT_EQ(rgb[0], 0xAB);
}

TEST_F(TrackDecodingRgb, NoPictureNoConversion) {
  openMovie();
  h263->planeY = nullptr;
  EXPECT_EQ(decode_RGB24_video_track(0, rgb.data(), &size, &time), 0);
  EXPECT_EQ(rgb[0], 0xAB);
}

}  // namespace
}  // namespace mp4lib::test
