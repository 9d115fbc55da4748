#include "container/codec_table.h"

#include <gtest/gtest.h>

#include "mp4lib_plugin.h"

namespace mp4lib::container {
namespace {

TEST(CodecTypes, VideoIdentifiers) {
  EXPECT_EQ(videoCodecTypeForId(13), 0u);
  EXPECT_EQ(videoCodecTypeForId(4), 1u);
  EXPECT_EQ(videoCodecTypeForId(70), 2u);
  EXPECT_EQ(videoCodecTypeForId(1), 3u);
  EXPECT_EQ(videoCodecTypeForId(2), 4u);
  EXPECT_EQ(videoCodecTypeForId(33), 5u);
  EXPECT_EQ(videoCodecTypeForId(10), 1u);  // unlisted: H.263's type
  EXPECT_EQ(videoCodecTypeForId(-1), 1u);
}

TEST(CodecTypes, AudioIdentifiers) {
  EXPECT_EQ(audioCodecTypeForId(49), 0x10101010u);
  EXPECT_EQ(audioCodecTypeForId(8), 0x10101012u);
  EXPECT_EQ(audioCodecTypeForId(7), 0x10101013u);
  EXPECT_EQ(audioCodecTypeForId(63), 0x10101014u);
  EXPECT_EQ(audioCodecTypeForId(36), 0x10101015u);
  EXPECT_EQ(audioCodecTypeForId(37), 0x10101015u);
  EXPECT_EQ(audioCodecTypeForId(69), 0x10101011u);  // unlisted: G.723's type
  EXPECT_EQ(audioCodecTypeForId(50), 0x10101011u);
}

}  // namespace
}  // namespace mp4lib::container
