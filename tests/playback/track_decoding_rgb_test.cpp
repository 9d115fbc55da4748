#include <gtest/gtest.h>

#include <vector>

#include "mp4lib.h"
#include "playback/rgb_decoding_fixture.h"

namespace mp4lib::test {
namespace {

using TrackDecodingRgb = RgbDecodingTest;

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
