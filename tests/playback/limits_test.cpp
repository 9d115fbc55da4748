// The limits of initDecoder: sizes an application allocates from, and
// samples the library reads whole, are refused when a file asks for more.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "container/bytes.h"
#include "container/movie_builder.h"
#include "mp4lib.h"
#include "playback/decoder_fixture.h"

namespace mp4lib::test {
namespace {

class Limits : public DecoderTest {
 protected:
  // A movie with one video track and the vendor box, whose word `index`
  // holds `value`.
  std::int32_t openWithVendorWord(int index, std::uint32_t value) {
    MovieLayout layout;
    layout.tracks = {videoLayout(markedFrames(3, {0}))};
    layout.withVendor = true;
    layout.vendor.words[4] = 176;
    layout.vendor.words[5] = 144;
    layout.vendor.words[7] = MP4LIB_RECORD_VIDEO;
    layout.vendor.videoCodecTypeInHostOrder(MP4LIB_CODEC_TYPE_H263);
    layout.vendor.words[index] = value;
    return open(layout);
  }
};

TEST_F(Limits, ADisplaySizeOfBillionsOfRowsIsRefused) {
  // The vendor box's picture size, 5222 x 1,954,115,697, is what the
  // application would size its RGB buffer from.
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(3, {0})), amrLayout(10)};
  layout.withVendor = true;
  layout.vendor.words[4] = 5222;
  layout.vendor.words[5] = 1954115697;
  layout.vendor.words[7] = MP4LIB_RECORD_AUDIO;  // even with the video off
  layout.vendor.audioCodecType = MP4LIB_CODEC_TYPE_AMR;
  layout.vendor.audioBits = 16;
  layout.vendor.audioRate = 8000;
  layout.vendor.audioChannels = 1;
  EXPECT_EQ(open(layout), 0);
  EXPECT_EQ(mp4libLastFailure(nullptr, 0), MP4LIB_FAILURE_PICTURE_TOO_LARGE);
}

TEST_F(Limits, PictureSidesUpTo8192Pixels) {
  EXPECT_EQ(openWithVendorWord(4, 8192), 1);
  finalizeDecoder();
  EXPECT_EQ(openWithVendorWord(4, 8193), 0);
  EXPECT_EQ(mp4libLastFailure(nullptr, 0), MP4LIB_FAILURE_PICTURE_TOO_LARGE);
  EXPECT_EQ(openWithVendorWord(5, 8193), 0);
}

TEST_F(Limits, ASampleDescriptionOfMoreThan8192PixelsIsRefused) {
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(3, {0}), "s263", 8200, 144)};
  EXPECT_EQ(open(layout), 0);
  EXPECT_EQ(mp4libLastFailure(nullptr, 0), MP4LIB_FAILURE_PICTURE_TOO_LARGE);
}

TEST_F(Limits, SoundFormatsBeyondTheLimits) {
  MovieLayout layout;
  layout.tracks = {pcmLayout(makeSamples(4, 320), 160, 8)};
  EXPECT_EQ(open(layout), 1);  // eight channels play
  finalizeDecoder();
  layout.tracks = {pcmLayout(makeSamples(4, 320), 160, 9)};
  EXPECT_EQ(open(layout), 0);
  EXPECT_EQ(mp4libLastFailure(nullptr, 0), MP4LIB_FAILURE_SIZE_TOO_LARGE);
}

// A sample of 64 MiB + 1 byte that lies in the file would be read whole; one
// of 64 MiB plays. The file is made long without writing it (sparse).
TEST_F(Limits, SamplesOfMoreThan64MiBInTheFileAreRefused) {
  for (const std::uint32_t size : {64u << 20, (64u << 20) + 1}) {
    MovieLayout layout;
    layout.tracks = {videoLayout(markedFrames(2, {0}))};
    Bytes bytes = buildMovie(layout).bytes;
    const Bytes small = test::stsz(0, 2, {20, 20});
    const Bytes large = test::stsz(0, 2, {20, size});
    const auto at = std::search(bytes.begin(), bytes.end(), small.begin(), small.end());
    ASSERT_NE(at, bytes.end());
    std::copy(large.begin(), large.end(), at);
    movie = std::make_unique<TempFile>(bytes, "long.3gp");
    std::filesystem::resize_file(movie->path(), std::uintmax_t{size} + 4096);
    const std::int32_t opened = initDecoder(movie->widePath().c_str(), &params);
    if (size == (64u << 20)) {
      EXPECT_EQ(opened, 1);
    } else {
      EXPECT_EQ(opened, 0);
      EXPECT_EQ(mp4libLastFailure(nullptr, 0), MP4LIB_FAILURE_SIZE_TOO_LARGE);
    }
    finalizeDecoder();
  }
}

}  // namespace
}  // namespace mp4lib::test
