// A movie of four 16 x 16 H.263 frames whose decoded picture is the known
// test picture, for the RGB decoding tests of both decoding APIs.
#pragma once

#include <cstdint>
#include <vector>

#include "mp4lib.h"
#include "playback/decoder_fixture.h"
#include "playback/rgb_fixture.h"

namespace mp4lib::test {

class RgbDecodingTest : public DecoderTest {
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

}  // namespace mp4lib::test
