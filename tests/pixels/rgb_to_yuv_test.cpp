#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

#include "mp4lib.h"
#include "pixels/pixel_reference.h"
#include "pixels/pixel_test_support.h"
#include "pixels/simd.h"
#include "pixels/tables.h"
#include "support/library_state.h"

namespace mp4lib::test {
namespace {

struct Colour {
  std::uint8_t red, green, blue;
};

// A 2 x 2 RGB24 picture of one colour (bytes blue, green, red).
std::vector<std::uint8_t> solidRgb24(Colour c, int width = 2, int height = 2) {
  std::vector<std::uint8_t> picture;
  for (int i = 0; i < width * height; ++i) picture.insert(picture.end(), {c.blue, c.green, c.red});
  return picture;
}

struct Sample {
  int y, u, v;
};

// Every RGB24 path on a solid 2 x 2 picture must give the same Y, U and V.
void expectRgb24Colour(Colour colour, Sample expected) {
  const std::vector<std::uint8_t> picture = solidRgb24(colour);
  {
    EncoderPictureScope scope(2, 2, false);
    ShortFrame frame(2, 2, -1);
    rgb24_yuv420(picture.data(), frame.y.data(), frame.u.data(), frame.v.data(), 2, 2, 0);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(frame.y[i], expected.y) << "encoder Y " << i;
    EXPECT_EQ(frame.u[0], expected.u) << "encoder U";
    EXPECT_EQ(frame.v[0], expected.v) << "encoder V";
  }
  ShortFrame frame(2, 2, -1);
  EXPECT_EQ(convertRGB2YUV420(2, 2, picture.data(), frame.y.data(), frame.u.data(), frame.v.data(), 0), 1);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(frame.y[i], expected.y) << "picture Y " << i;
  EXPECT_EQ(frame.u[0], expected.u) << "picture U";
  EXPECT_EQ(frame.v[0], expected.v) << "picture V";
}

TEST(RgbToYuv, BlackIsZeroWithCentredChroma) { expectRgb24Colour({0, 0, 0}, {0, 128, 128}); }
TEST(RgbToYuv, MidGreyStaysGrey) { expectRgb24Colour({128, 128, 128}, {128, 128, 128}); }
// Odd blue and red lose their half in the integer shift: U and V are 127.
TEST(RgbToYuv, WhiteGives255And127And127) { expectRgb24Colour({255, 255, 255}, {255, 127, 127}); }
TEST(RgbToYuv, PureRed) { expectRgb24Colour({255, 0, 0}, {76, 85, 255}); }
TEST(RgbToYuv, PureGreen) { expectRgb24Colour({0, 255, 0}, {149, 43, 21}); }
TEST(RgbToYuv, PureBlue) { expectRgb24Colour({0, 0, 255}, {29, 255, 107}); }

TEST(RgbToYuv, Rgb16WhiteThroughEncoderAndPicture) {
  const std::vector<std::uint16_t> picture(4, 0xFFFF);
  {
    EncoderPictureScope scope(2, 2, false);
    ShortFrame frame(2, 2, -1);
    rgb16_yuv420(picture.data(), frame.y.data(), frame.u.data(), frame.v.data(), 2, 2, 0);
    EXPECT_EQ(frame.y[0], 250);
    EXPECT_EQ(frame.u[0], 126);
    EXPECT_EQ(frame.v[0], 126);
  }
  ShortFrame frame(2, 2, -1);
  EXPECT_EQ(convertRGB162YUV420(2, 2, picture.data(), frame.y.data(), frame.u.data(), frame.v.data(), 0), 1);
  EXPECT_EQ(frame.y[3], 250);
  EXPECT_EQ(frame.u[0], 126);
  EXPECT_EQ(frame.v[0], 126);
}

// Found by tests/pixels/rgb16_luma_groupings.py: the colours whose Y differs
// between (B + G) + R and (R + G) + B in single precision.
struct GroupingCase {
  std::uint16_t word;
  int blueFirst, redFirst;
};
constexpr std::array<GroupingCase, 17> kGroupingCases{{{0x3247, 63, 62},  {0x3845, 26, 25},   {0x4147, 49, 48},
                                                       {0x648E, 126, 125}, {0x690A, 59, 58},  {0x708A, 52, 51},
                                                       {0x828E, 98, 97},  {0x8A0E, 91, 90},   {0x984D, 62, 61},
                                                       {0x990E, 77, 76},  {0xC0D1, 87, 86},   {0xCA94, 125, 124},
                                                       {0xD214, 118, 117}, {0xE114, 104, 103}, {0xE894, 97, 96},
                                                       {0xE955, 112, 111}, {0xEE9C, 217, 216}}};

TEST(RgbToYuv, TheSeventeenColoursKeepTheirOwnLumaGrouping) {
  for (const GroupingCase& c : kGroupingCases) {
    const std::vector<std::uint16_t> picture(4, c.word);
    {
      EncoderPictureScope scope(2, 2, false);
      ShortFrame frame(2, 2, -1);
      rgb16_yuv420(picture.data(), frame.y.data(), frame.u.data(), frame.v.data(), 2, 2, 0);
      EXPECT_EQ(frame.y[0], c.blueFirst) << std::hex << c.word;
    }
    ShortFrame frame(2, 2, -1);
    convertRGB162YUV420(2, 2, picture.data(), frame.y.data(), frame.u.data(), frame.v.data(), 0);
    EXPECT_EQ(frame.y[0], c.redFirst) << std::hex << c.word;
  }
}

TEST(RgbToYuv, OnlySeventeenColoursDifferBetweenTheGroupings) {
  // All 65,536 words, one picture of 256 x 256, through both converters.
  std::vector<std::uint16_t> picture(65536);
  for (unsigned p = 0; p < 65536; ++p) picture[p] = static_cast<std::uint16_t>(p);
  EncoderPictureScope scope(256, 256, false);
  ShortFrame encoder(256, 256, -1), free(256, 256, -1);
  rgb16_yuv420(picture.data(), encoder.y.data(), encoder.u.data(), encoder.v.data(), 256, 256, 0);
  convertRGB162YUV420(256, 256, picture.data(), free.y.data(), free.u.data(), free.v.data(), 0);
  std::vector<unsigned> differing;
  for (unsigned p = 0; p < 65536; ++p) {
    if (encoder.y[p] != free.y[p]) differing.push_back(p);
  }
  ASSERT_EQ(differing.size(), kGroupingCases.size());
  for (std::size_t i = 0; i < differing.size(); ++i) EXPECT_EQ(differing[i], kGroupingCases[i].word);
}

TEST(RgbToYuv, EveryRgb16WordMatchesThePlainReference) {
  std::vector<std::uint16_t> picture(65536);
  for (unsigned p = 0; p < 65536; ++p) picture[p] = static_cast<std::uint16_t>(p);
  EncoderPictureScope scope(256, 256, false);
  ShortFrame encoder(256, 256, -1), free(256, 256, -1);
  rgb16_yuv420(picture.data(), encoder.y.data(), encoder.u.data(), encoder.v.data(), 256, 256, 0);
  convertRGB162YUV420(256, 256, picture.data(), free.y.data(), free.u.data(), free.v.data(), 0);
  int mismatches = 0;
  for (unsigned p = 0; p < 65536; ++p) {
    const PlainYuv lookup = plainRgb16Lookup(p);
    const PlainYuv equations =
        plainPixel(static_cast<int>((p >> 8) & 0xF8), static_cast<int>((p >> 3) & 0xFC), static_cast<int>((p << 3) & 0xF8), true);
    mismatches += encoder.y[p] != lookup.y;
    mismatches += free.y[p] != equations.y;
  }
  EXPECT_EQ(mismatches, 0);
  // Chroma of every block, against the reference pictures.
  ShortFrame plainEncoder(256, 256, -1), plainFree(256, 256, -1);
  plainEncoderRgb16(picture.data(), 256, 256, 256, 256, false, plainEncoder.y.data(), plainEncoder.u.data(),
                    plainEncoder.v.data());
  plainPictureRgb16(256, 256, picture.data(), plainFree.y.data(), plainFree.u.data(), plainFree.v.data(), false);
  EXPECT_EQ(encoder.u.all(), plainEncoder.u.all());
  EXPECT_EQ(encoder.v.all(), plainEncoder.v.all());
  EXPECT_EQ(free.u.all(), plainFree.u.all());
  EXPECT_EQ(free.v.all(), plainFree.v.all());
}

TEST(RgbToYuv, ChromaIsTheTruncatedMeanOfTheFourPixels) {
  // Green and blue columns: U of the pixels 43, 255, 43, 255 -> 596 / 4 = 149,
  // while the mean colour (0, 127, 127) would give U 148.
  const std::vector<std::uint8_t> picture = {0, 255, 0, 255, 0, 0, 0, 255, 0, 255, 0, 0};
  EncoderPictureScope scope(2, 2, false);
  ShortFrame frame(2, 2, -1);
  rgb24_yuv420(picture.data(), frame.y.data(), frame.u.data(), frame.v.data(), 2, 2, 0);
  EXPECT_EQ(frame.u[0], 149);
  EXPECT_EQ(frame.v[0], 64);  // (21 + 107 + 21 + 107) / 4
  EXPECT_EQ(frame.y[0], 149);
  EXPECT_EQ(frame.y[1], 29);
}

TEST(RgbToYuv, Rgb16EncoderBuildsItsTablesOnDemand) {
  pixels::releaseLookupTables(library().lookupTables);
  const std::vector<std::uint16_t> picture(4, 0xF800);
  EncoderPictureScope scope(2, 2, false);
  ShortFrame frame(2, 2, -1);
  rgb16_yuv420(picture.data(), frame.y.data(), frame.u.data(), frame.v.data(), 2, 2, 0);
  EXPECT_EQ(frame.y[0], 74);
  EXPECT_EQ(frame.u[0], 86);
  EXPECT_EQ(frame.v[0], 252);
  pixels::releaseLookupTables(library().lookupTables);
}

TEST(RgbToYuv, ResizeFromTwiceTheCodedSizeTakesEverySecondPixel) {
  const int width = 12, height = 8;
  const std::vector<std::uint8_t> picture = randomBytes(3 * width * height, 7);
  EncoderPictureScope scope(width / 2, height / 2, true);
  ShortFrame frame(width / 2, height / 2, -1);
  rgb24_yuv420(picture.data(), frame.y.data(), frame.u.data(), frame.v.data(), width, height, 0);
  for (int row = 0; row < height / 2; ++row) {
    for (int column = 0; column < width / 2; ++column) {
      const std::uint8_t* p = picture.data() + 3 * ((2 * row) * width + 2 * column);
      EXPECT_EQ(frame.y[row * (width / 2) + column], plainPixel(p[2], p[1], p[0], false).y) << row << "," << column;
    }
  }
  // Chroma of output block (0, 0) is the mean over source pixels (0,0),
  // (2,0), (0,2) and (2,2).
  int sumU = 0;
  for (int at : {0, 2, 2 * width, 2 * width + 2}) sumU += plainPixel(picture[3 * at + 2], picture[3 * at + 1], picture[3 * at], false).u;
  EXPECT_EQ(frame.u[0], sumU >> 2);
}

TEST(RgbToYuv, ResizeFromTwiceTheCodedSizeRgb16) {
  const int width = 8, height = 4;
  const std::vector<std::uint16_t> picture = randomWords(width * height, 8);
  EncoderPictureScope scope(width / 2, height / 2, true);
  ShortFrame frame(width / 2, height / 2, -1);
  rgb16_yuv420(picture.data(), frame.y.data(), frame.u.data(), frame.v.data(), width, height, 0);
  for (int row = 0; row < height / 2; ++row) {
    for (int column = 0; column < width / 2; ++column) {
      EXPECT_EQ(frame.y[row * (width / 2) + column], plainRgb16Lookup(picture[2 * row * width + 2 * column]).y);
    }
  }
}

TEST(RgbToYuv, PictureConverterRefusesWidth175WithoutWriting) {
  const std::vector<std::uint8_t> picture(3 * 175 * 4, 200);
  ExactBuffer<std::int16_t> y(175 * 4, 0, -7), u(87 * 2, 0, -7), v(87 * 2, 0, -7);
  EXPECT_EQ(convertRGB2YUV420(175, 4, picture.data(), y.data(), u.data(), v.data(), 0), 1);
  for (std::int16_t s : y.all()) ASSERT_EQ(s, -7);
  for (std::int16_t s : u.all()) ASSERT_EQ(s, -7);
  for (std::int16_t s : v.all()) ASSERT_EQ(s, -7);
  const std::vector<std::uint16_t> words(175 * 4, 0xFFFF);
  EXPECT_EQ(convertRGB162YUV420(175, 4, words.data(), y.data(), u.data(), v.data(), 0), 1);
  EXPECT_EQ(convertRGB162YUV420(4, 3, words.data(), y.data(), u.data(), v.data(), 0), 1);
  for (std::int16_t s : y.all()) ASSERT_EQ(s, -7);
}

TEST(RgbToYuv, EmptyPictureWritesNothing) {
  EXPECT_EQ(convertRGB2YUV420(0, 0, nullptr, nullptr, nullptr, nullptr, 0), 1);
  EXPECT_EQ(convertRGB162YUV420(-2, 4, nullptr, nullptr, nullptr, nullptr, 1), 1);
}

TEST(RgbToYuv, FlipPutsTheFirstRowLast) {
  // 2 x 4: the first row pair red, the second black.
  std::vector<std::uint8_t> picture = solidRgb24({255, 0, 0}, 2, 2);
  const std::vector<std::uint8_t> black = solidRgb24({0, 0, 0}, 2, 2);
  picture.insert(picture.end(), black.begin(), black.end());
  picture[0] = 255;  // first pixel magenta-ish: blue 255, red 255
  ShortFrame frame(2, 4, -1);
  EXPECT_EQ(convertRGB2YUV420(2, 4, picture.data(), frame.y.data(), frame.u.data(), frame.v.data(), 1), 1);
  // Source row 0 (blue+red, red) is now Y row 3; source row 1 is Y row 2.
  EXPECT_EQ(frame.y[6], plainPixel(255, 0, 255, false).y);
  EXPECT_EQ(frame.y[7], 76);
  EXPECT_EQ(frame.y[4], 76);
  EXPECT_EQ(frame.y[0], 0);
  // The red pair's chroma is in the last chroma row.
  const int sumU = plainPixel(255, 0, 255, false).u + 3 * 85;
  EXPECT_EQ(frame.u[1], sumU / 4);
  EXPECT_EQ(frame.u[0], 128);
  EXPECT_EQ(frame.v[0], 128);
}

// Random pictures of many sizes against the plain reference, for both
// encoder paths and both free-standing converters.
class RandomRgbPictures : public ::testing::TestWithParam<bool> {
 protected:
  void SetUp() override { platform::allowVectorInstructionsForTesting(GetParam()); }
  void TearDown() override { platform::allowVectorInstructionsForTesting(true); }
};

TEST_P(RandomRgbPictures, EncoderDirectPathMatchesReference) {
  std::uint32_t seed = 100;
  for (int height : {0, 1, 2, 3, 4, 6, 9}) {
    for (int width : {0, 1, 2, 3, 5, 8, 14, 17, 30, 33, 64, 71}) {
      EncoderPictureScope scope(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), false);
      const std::vector<std::uint8_t> rgb24 = randomBytes(3 * width * height, ++seed);
      const std::vector<std::uint16_t> rgb16 = randomWords(width * height, ++seed);
      ShortFrame got(width, height, -3), want(width, height, -3);
      rgb24_yuv420(rgb24.data(), got.y.data(), got.u.data(), got.v.data(), width, height, 0);
      plainEncoderRgb24(rgb24.data(), width, height, width, height, false, want.y.data(), want.u.data(), want.v.data());
      EXPECT_EQ(got.y.all(), want.y.all()) << width << "x" << height;
      EXPECT_EQ(got.u.all(), want.u.all()) << width << "x" << height;
      EXPECT_EQ(got.v.all(), want.v.all()) << width << "x" << height;
      ShortFrame got16(width, height, -3), want16(width, height, -3);
      rgb16_yuv420(rgb16.data(), got16.y.data(), got16.u.data(), got16.v.data(), width, height, 0);
      plainEncoderRgb16(rgb16.data(), width, height, width, height, false, want16.y.data(), want16.u.data(),
                        want16.v.data());
      EXPECT_EQ(got16.y.all(), want16.y.all()) << width << "x" << height;
      EXPECT_EQ(got16.u.all(), want16.u.all()) << width << "x" << height;
    }
  }
}

TEST_P(RandomRgbPictures, EncoderResizePathMatchesReference) {
  std::uint32_t seed = 200;
  const int sizes[][4] = {{16, 12, 8, 6}, {8, 6, 16, 12}, {176, 144, 128, 96}, {30, 20, 176, 144},
                          {7, 5, 4, 2},   {1, 1, 2, 2},   {3, 2, 10, 4},       {20, 16, 20, 16},
                          {33, 17, 12, 10}, {4, 4, 3, 3}, {5, 3, 2, 1}, {400, 8, 300, 6}, {150, 4, 302, 4}};
  for (const auto& s : sizes) {
    const int width = s[0], height = s[1], codedWidth = s[2], codedHeight = s[3];
    EncoderPictureScope scope(static_cast<std::uint32_t>(codedWidth), static_cast<std::uint32_t>(codedHeight), true);
    const std::vector<std::uint8_t> rgb24 = randomBytes(3 * width * height, ++seed);
    const std::vector<std::uint16_t> rgb16 = randomWords(width * height, ++seed);
    ShortFrame got(codedWidth, codedHeight, -3), want(codedWidth, codedHeight, -3);
    rgb24_yuv420(rgb24.data(), got.y.data(), got.u.data(), got.v.data(), width, height, 0);
    plainEncoderRgb24(rgb24.data(), width, height, codedWidth, codedHeight, true, want.y.data(), want.u.data(),
                      want.v.data());
    EXPECT_EQ(got.y.all(), want.y.all()) << width << "x" << height << " to " << codedWidth << "x" << codedHeight;
    EXPECT_EQ(got.u.all(), want.u.all());
    EXPECT_EQ(got.v.all(), want.v.all());
    ShortFrame got16(codedWidth, codedHeight, -3), want16(codedWidth, codedHeight, -3);
    rgb16_yuv420(rgb16.data(), got16.y.data(), got16.u.data(), got16.v.data(), width, height, 0);
    plainEncoderRgb16(rgb16.data(), width, height, codedWidth, codedHeight, true, want16.y.data(), want16.u.data(),
                      want16.v.data());
    EXPECT_EQ(got16.y.all(), want16.y.all());
    EXPECT_EQ(got16.v.all(), want16.v.all());
  }
}

TEST_P(RandomRgbPictures, PictureConvertersMatchReference) {
  std::uint32_t seed = 300;
  for (int flip : {0, 1}) {
    for (int height : {0, 2, 4, 6, 10}) {
      for (int width : {2, 4, 6, 10, 16, 18, 34, 62, 66}) {
        for (std::size_t offset : {0, 1}) {
          ExactBuffer<std::uint8_t> rgb24(3 * width * height, offset, 0);
          const std::vector<std::uint8_t> bytes = randomBytes(3 * width * height, ++seed);
          std::copy(bytes.begin(), bytes.end(), rgb24.data());
          ExactBuffer<std::uint16_t> rgb16(width * height, offset, 0);
          const std::vector<std::uint16_t> words = randomWords(width * height, ++seed);
          std::copy(words.begin(), words.end(), rgb16.data());
          ShortFrame got(width, height, -3), want(width, height, -3);
          EXPECT_EQ(convertRGB2YUV420(width, height, rgb24.data(), got.y.data(), got.u.data(), got.v.data(), flip), 1);
          plainPictureRgb24(width, height, rgb24.data(), want.y.data(), want.u.data(), want.v.data(), flip != 0);
          EXPECT_EQ(got.y.all(), want.y.all()) << width << "x" << height << " flip " << flip;
          EXPECT_EQ(got.u.all(), want.u.all());
          EXPECT_EQ(got.v.all(), want.v.all());
          ShortFrame got16(width, height, -3), want16(width, height, -3);
          EXPECT_EQ(convertRGB162YUV420(width, height, rgb16.data(), got16.y.data(), got16.u.data(), got16.v.data(), flip), 1);
          plainPictureRgb16(width, height, rgb16.data(), want16.y.data(), want16.u.data(), want16.v.data(), flip != 0);
          EXPECT_EQ(got16.y.all(), want16.y.all()) << width << "x" << height << " flip " << flip;
          EXPECT_EQ(got16.u.all(), want16.u.all());
          EXPECT_EQ(got16.v.all(), want16.v.all());
        }
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(VectorsOnAndOff, RandomRgbPictures, ::testing::Bool());

}  // namespace
}  // namespace mp4lib::test

namespace mp4lib::test {
namespace {

// Every one of the 16.7 million RGB24 colours, one 256 x 256 picture per
// red value, Y of each pixel against the plain reference. Chroma is a mean of
// four and checked by the random pictures.
TEST(RgbToYuv, EveryRgb24ColourHasTheReferenceLuma) {
  std::vector<std::uint8_t> picture(3 * 65536);
  ShortFrame frame(256, 256, -1);
  int mismatches = 0;
  for (int red = 0; red < 256; ++red) {
    for (int p = 0; p < 65536; ++p) {
      picture[3 * p] = static_cast<std::uint8_t>(p & 0xFF);  // blue
      picture[3 * p + 1] = static_cast<std::uint8_t>(p >> 8);  // green
      picture[3 * p + 2] = static_cast<std::uint8_t>(red);
    }
    convertRGB2YUV420(256, 256, picture.data(), frame.y.data(), frame.u.data(), frame.v.data(), 0);
    for (int p = 0; p < 65536; ++p) {
      if (frame.y[p] != plainPixel(red, p >> 8, p & 0xFF, false).y && ++mismatches < 5) {
        ADD_FAILURE() << "red " << red << " green " << (p >> 8) << " blue " << (p & 0xFF);
      }
    }
  }
  EXPECT_EQ(mismatches, 0);
}

}  // namespace
}  // namespace mp4lib::test
