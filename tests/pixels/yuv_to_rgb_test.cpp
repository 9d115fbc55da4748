#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "mp4lib.h"
#include "pixels/pixel_reference.h"
#include "pixels/pixel_test_support.h"
#include "pixels/simd.h"
#include "pixels/yuv_to_rgb.h"
#include "support/library_state.h"

namespace mp4lib::test {
namespace {

// RGB16 as the player makes it: by the method setYUV2RGBMethod chose.
std::int32_t transferYUV2RGB16(std::uint32_t pitch, std::uint32_t /*reserved*/, std::int32_t width,
                               std::int32_t height, const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v,
                               std::uint8_t* rgb) {
  return pixels::yuvToRgb16(library().rgb16Method.load(), pitch, width, height, y, u, v, rgb);
}

// Restores the default RGB16 method after each test.
class YuvToRgb : public ::testing::Test {
 protected:
  void TearDown() override { setYUV2RGBMethod(0); }
};

std::uint16_t wordAt(const std::vector<std::uint8_t>& rgb, int pixel) {
  return static_cast<std::uint16_t>(rgb[2 * pixel] | (rgb[2 * pixel + 1] << 8));
}

// A uniform 2 x 2 (or width x height) picture.
struct Uniform {
  Uniform(int width, int height, std::uint8_t luma, std::uint8_t u, std::uint8_t v)
      : y(width * height, luma), u(width / 2 * (height / 2), u), v(width / 2 * (height / 2), v) {}
  std::vector<std::uint8_t> y, u, v;
};

TEST_F(YuvToRgb, Rgb24HandComputedPixel) {
  // Y 120, U 100, V 180: U' -28, V' 52.
  // red (35760 + 21268) >> 8 = 222, green (35760 + 2800 - 10816) >> 8 = 108,
  // blue (35760 - 14476) >> 8 = 83.
  Uniform picture(2, 2, 120, 100, 180);
  std::vector<std::uint8_t> rgb(12, 0);
  EXPECT_EQ(transferByteYUV2RGBEx(2, 0, 2, 2, picture.y.data(), picture.u.data(), picture.v.data(), rgb.data()), 1);
  for (int p = 0; p < 4; ++p) {
    EXPECT_EQ(rgb[3 * p], 83);
    EXPECT_EQ(rgb[3 * p + 1], 108);
    EXPECT_EQ(rgb[3 * p + 2], 222);
  }
}

TEST_F(YuvToRgb, Rgb24FullLumaClampsFrom296) {
  Uniform picture(2, 2, 255, 128, 128);
  std::vector<std::uint8_t> rgb(12, 0);
  transferByteYUV2RGBEx(2, 0, 2, 2, picture.y.data(), picture.u.data(), picture.v.data(), rgb.data());
  for (std::uint8_t b : rgb) EXPECT_EQ(b, 255);
}

TEST_F(YuvToRgb, ZeroLumaIsBlackInEveryConverter) {
  Uniform picture(2, 2, 0, 128, 128);
  std::vector<std::uint8_t> rgb24(12, 0xAA);
  transferByteYUV2RGBEx(2, 0, 2, 2, picture.y.data(), picture.u.data(), picture.v.data(), rgb24.data());
  for (std::uint8_t b : rgb24) EXPECT_EQ(b, 0);
  for (int method : {0, 1, 2}) {
    setYUV2RGBMethod(method);
    std::vector<std::uint8_t> rgb16(8, 0xAA);
    EXPECT_EQ(transferYUV2RGB16(2, 0, 2, 2, picture.y.data(), picture.u.data(), picture.v.data(), rgb16.data()), 1);
    for (std::uint8_t b : rgb16) EXPECT_EQ(b, 0) << "method " << method;
  }
}

TEST_F(YuvToRgb, DirectMethodHandComputedPixel) {
  // L = 88 x 9576 = 842688; high (842688 + 682396) >> 16 = 23;
  // green (842688 - 167336 + 187208) >> 15 = 26; low (842688 - 464548) >> 16 = 5.
  Uniform picture(2, 2, 120, 100, 180);
  std::vector<std::uint8_t> rgb(8, 0);
  transferYUV2RGB16(2, 0, 2, 2, picture.y.data(), picture.u.data(), picture.v.data(), rgb.data());
  for (int p = 0; p < 4; ++p) EXPECT_EQ(wordAt(rgb, p), 0xBB45) << p;
}

TEST_F(YuvToRgb, MethodSevenBehavesAsDirect) {
  Uniform picture(2, 2, 120, 100, 180);
  std::vector<std::uint8_t> rgb(8, 0);
  setYUV2RGBMethod(7);
  transferYUV2RGB16(2, 0, 2, 2, picture.y.data(), picture.u.data(), picture.v.data(), rgb.data());
  for (int p = 0; p < 4; ++p) EXPECT_EQ(wordAt(rgb, p), 0xBB45) << p;
}

TEST_F(YuvToRgb, DiffusionCarriesRunOnAcrossBlocksAndRows) {
  // Per pixel before carries: low 39, green 52, high 189 (luma offset 48,
  // U with 13123 into low, V with 16591 into high). Carries are the low four
  // bits of the clamped sums and start at 0.
  //   pixel 1: 39, 52, 189 -> 0xB9A4, carries 7, 4, 13
  //   pixel 2: 46, 56, 202 -> 0xC9C5, carries 14, 8, 10
  //   pixel 3: 53, 60, 199 -> 0xC1E6, carries 5, 12, 7
  //   pixel 4: 44, 64, 196 -> 0xC205, carries 12, 0, 4
  //   pixel 5 (next row pair): 51, 52, 193 -> 0xC1A6
  Uniform picture(2, 4, 120, 100, 180);
  std::vector<std::uint8_t> rgb(16, 0);
  setYUV2RGBMethod(1);
  transferYUV2RGB16(2, 0, 2, 4, picture.y.data(), picture.u.data(), picture.v.data(), rgb.data());
  EXPECT_EQ(wordAt(rgb, 0), 0xB9A4);
  EXPECT_EQ(wordAt(rgb, 1), 0xC9C5);
  EXPECT_EQ(wordAt(rgb, 2), 0xC1E6);
  EXPECT_EQ(wordAt(rgb, 3), 0xC205);
  EXPECT_EQ(wordAt(rgb, 4), 0xC1A6);
  // A new picture starts with zero carries again.
  transferYUV2RGB16(2, 0, 2, 4, picture.y.data(), picture.u.data(), picture.v.data(), rgb.data());
  EXPECT_EQ(wordAt(rgb, 0), 0xB9A4);
}

TEST_F(YuvToRgb, AdditiveMethodHandComputed) {
  // low = Y - 136 + U + carry, green = Y - 136 + 128 + carry, high = Y - 136 + V + carry:
  //   84, 112, 164 -> 0xA38A; 88, 112, 168 -> 0xAB8B; 92, 112, 172 -> 0xAB8B; 96, 112, 176 -> 0xB38C.
  Uniform picture(2, 2, 120, 100, 180);
  std::vector<std::uint8_t> rgb(8, 0);
  setYUV2RGBMethod(2);
  transferYUV2RGB16(2, 0, 2, 2, picture.y.data(), picture.u.data(), picture.v.data(), rgb.data());
  EXPECT_EQ(wordAt(rgb, 0), 0xA38A);
  EXPECT_EQ(wordAt(rgb, 1), 0xAB8B);
  EXPECT_EQ(wordAt(rgb, 2), 0xAB8B);
  EXPECT_EQ(wordAt(rgb, 3), 0xB38C);
}

TEST_F(YuvToRgb, MethodsKeepTheirOwnChromaPairing) {
  // U' = 100 - 128 only (V' = 0): direct puts U into the low field, diffused
  // as well, but direct's green takes 6686 x U' where diffused takes 3218 x U'.
  // Direct: L = 88 x 9576 = 842688; green (842688 + 187208) >> 15 = 31.
  // Diffused: L = 72 x 9576 = 689472; green8 (689472 + 90104) >> 13 = 95.
  Uniform picture(2, 2, 120, 100, 128);
  std::vector<std::uint8_t> rgb(8, 0);
  transferYUV2RGB16(2, 0, 2, 2, picture.y.data(), picture.u.data(), picture.v.data(), rgb.data());
  EXPECT_EQ((wordAt(rgb, 0) >> 5) & 63, 31);
  setYUV2RGBMethod(1);
  transferYUV2RGB16(2, 0, 2, 2, picture.y.data(), picture.u.data(), picture.v.data(), rgb.data());
  EXPECT_EQ((wordAt(rgb, 0) >> 5) & 63, 95 >> 2);
}

TEST_F(YuvToRgb, HeightBelowTwoWritesNothing) {
  Uniform picture(4, 2, 120, 100, 180);
  for (int height : {0, 1}) {
    std::vector<std::uint8_t> rgb24(12, 0xAA), rgb16(8, 0xAA);
    EXPECT_EQ(transferByteYUV2RGBEx(4, 0, 4, height, picture.y.data(), picture.u.data(), picture.v.data(), rgb24.data()), 1);
    for (int method : {0, 1, 2}) {
      setYUV2RGBMethod(method);
      EXPECT_EQ(transferYUV2RGB16(4, 0, 4, height, picture.y.data(), picture.u.data(), picture.v.data(), rgb16.data()), 1);
    }
    for (std::uint8_t b : rgb24) EXPECT_EQ(b, 0xAA);
    for (std::uint8_t b : rgb16) EXPECT_EQ(b, 0xAA);
  }
}

TEST_F(YuvToRgb, OddWidthAndHeightLeaveTheLastColumnAndRow) {
  // 3 x 3 picture with pitch 4: the third column and third row stay as they were.
  std::vector<std::uint8_t> y(4 * 3, 120), u(2 * 2, 100), v(2 * 2, 180);
  std::vector<std::uint8_t> rgb(27, 0xAA);
  transferByteYUV2RGBEx(4, 0, 3, 3, y.data(), u.data(), v.data(), rgb.data());
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      const bool converted = row < 2 && column < 2;
      EXPECT_EQ(rgb[3 * (row * 3 + column)], converted ? 83 : 0xAA) << row << "," << column;
    }
  }
}

TEST_F(YuvToRgb, GreyTakesTheLowByteUnclamped) {
  const std::vector<std::int16_t> samples = {300, -1, 255, 0, /* skipped: */ 77, 0, 44, 1, 2, 99};
  std::vector<std::uint8_t> rgb(3 * 6, 0xAA);
  // 3 x 2 with pitch 5: row 1 starts at sample 5.
  EXPECT_EQ(transferY2RGB(5, 0, 3, 2, samples.data(), rgb.data()), 1);
  const std::uint8_t expected[] = {44, 255, 255, 0, 44, 1};
  for (int p = 0; p < 6; ++p) {
    for (int c = 0; c < 3; ++c) EXPECT_EQ(rgb[3 * p + c], expected[p]) << p;
  }
  std::vector<std::uint8_t> untouched(3, 0xAA);
  EXPECT_EQ(transferY2RGB(5, 0, 1, 0, samples.data(), untouched.data()), 1);
  EXPECT_EQ(untouched[0], 0xAA);
}

// Random pictures of many sizes and pitches, each plane exactly sized.
class RandomYuvPictures : public ::testing::TestWithParam<bool> {
 protected:
  void SetUp() override { platform::allowVectorInstructionsForTesting(GetParam()); }
  void TearDown() override {
    platform::allowVectorInstructionsForTesting(true);
    setYUV2RGBMethod(0);
  }
};

TEST_P(RandomYuvPictures, EveryConverterMatchesReference) {
  std::uint32_t seed = 900;
  for (int height : {0, 1, 2, 3, 4, 7, 10}) {
    for (int width : {0, 1, 2, 3, 4, 5, 8, 15, 16, 17, 31, 32, 33, 48, 63, 64, 65, 100}) {
      for (int extra : {0, 2, 7}) {
        const unsigned pitch = static_cast<unsigned>(width + extra);
        const int chromaPitch = (width >> 1) + ((static_cast<int>(pitch) - width) >> 1);
        // Exactly the bytes the layout reaches: the last row ends at its width.
        const std::size_t lumaBytes = height > 0 ? (height - 1) * pitch + width : 0;
        const std::size_t chromaBytes = height > 1 ? (height / 2 - 1) * chromaPitch + width / 2 : 0;
        for (std::size_t offset : {0, 1}) {
          ExactBuffer<std::uint8_t> y(lumaBytes, offset, 0), u(chromaBytes, offset, 0), v(chromaBytes, offset, 0);
          for (auto* plane : {&y, &u, &v}) {
            const std::vector<std::uint8_t> bytes = randomBytes(plane->all().size() - offset, ++seed);
            std::copy(bytes.begin(), bytes.end(), plane->data());
          }
          for (int method : {-1, 0, 1, 2}) {
            const int bytes = method < 0 ? 3 : 2;
            ExactBuffer<std::uint8_t> got(bytes * width * height, offset, 0x5A);
            std::vector<std::uint8_t> want(bytes * width * height, 0x5A);
            if (method < 0) {
              transferByteYUV2RGBEx(pitch, 0, width, height, y.data(), u.data(), v.data(), got.data());
            } else {
              setYUV2RGBMethod(method);
              transferYUV2RGB16(pitch, 0, width, height, y.data(), u.data(), v.data(), got.data());
            }
            plainYuvToRgb(method, pitch, width, height, y.data(), u.data(), v.data(), want.data());
            const std::vector<std::uint8_t> gotBytes(got.data(), got.data() + want.size());
            EXPECT_EQ(gotBytes, want) << "method " << method << " " << width << "x" << height << " pitch " << pitch;
          }
        }
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(VectorsOnAndOff, RandomYuvPictures, ::testing::Bool());

TEST(RgbResize, SameSizeBilinearReproducesTheSource) {
  for (int bytes : {2, 3}) {
    const int width = 13, height = 7;
    const std::vector<std::uint8_t> source = randomBytes(bytes * width * height, 41 + bytes);
    std::vector<std::uint8_t> destination(source.size(), 0);
    if (bytes == 3) {
      pixels::resizeRGB24(source.data(), destination.data(), width, height, width, height, 1);
    } else {
      pixels::resizeRGB16(source.data(), destination.data(), width, height, width, height, 1);
    }
    EXPECT_EQ(destination, source) << bytes;
  }
}

TEST(RgbResize, BilinearAndNearestHandComputed) {
  // Two pixels 0 and 100 stretched to four: positions 0, 0.5, 1, 1.5; the
  // neighbour of the last source pixel is itself.
  const std::vector<std::uint8_t> source = {0, 0, 0, 100, 100, 100};
  std::vector<std::uint8_t> destination(12, 0);
  pixels::resizeRGB24(source.data(), destination.data(), 2, 1, 4, 1, 1);
  const std::uint8_t bilinear[] = {0, 50, 100, 100};
  for (int p = 0; p < 4; ++p) EXPECT_EQ(destination[3 * p], bilinear[p]) << p;
  pixels::resizeRGB24(source.data(), destination.data(), 2, 1, 4, 1, 0);
  const std::uint8_t nearest[] = {0, 0, 100, 100};
  for (int p = 0; p < 4; ++p) EXPECT_EQ(destination[3 * p + 2], nearest[p]) << p;
}

TEST(RgbResize, Rgb16FieldsBlendApart) {
  // 0x0000 and 0xFFFF halfway: blue (31 x 32768) >> 16 = 15, green 31, red 15.
  const std::vector<std::uint8_t> source = {0x00, 0x00, 0xFF, 0xFF};
  std::vector<std::uint8_t> destination(8, 0);
  pixels::resizeRGB16(source.data(), destination.data(), 2, 1, 4, 1, 1);
  EXPECT_EQ(destination[2] | (destination[3] << 8), (15 << 11) | (31 << 5) | 15);
  EXPECT_EQ(destination[4] | (destination[5] << 8), 0xFFFF);
}

TEST(RgbResize, RandomResizesMatchReference) {
  std::uint32_t seed = 1300;
  const int sizes[][4] = {{176, 144, 320, 240}, {17, 9, 5, 3}, {5, 3, 17, 9}, {1, 1, 4, 4}, {4, 4, 1, 1},
                          {33, 20, 33, 41},     {64, 48, 31, 23}, {2, 2, 3, 3}};
  for (const auto& s : sizes) {
    for (int bytes : {2, 3}) {
      for (int mode : {0, 1, 2}) {
        const std::vector<std::uint8_t> source = randomBytes(bytes * s[0] * s[1], ++seed);
        ExactBuffer<std::uint8_t> got(bytes * s[2] * s[3], 1, 0);
        std::vector<std::uint8_t> want(bytes * s[2] * s[3], 0);
        (bytes == 3 ? pixels::resizeRGB24 : pixels::resizeRGB16)(source.data(), got.data(), s[0], s[1], s[2], s[3],
                                                                 mode);
        plainResize(bytes, source.data(), want.data(), s[0], s[1], s[2], s[3], mode);
        EXPECT_EQ(std::vector<std::uint8_t>(got.data(), got.data() + want.size()), want)
            << s[0] << "x" << s[1] << " -> " << s[2] << "x" << s[3] << " bytes " << bytes << " mode " << mode;
      }
    }
  }
}

TEST(RgbResize, EmptySizesWriteNothing) {
  std::vector<std::uint8_t> destination(12, 0xAA);
  const std::vector<std::uint8_t> source(12, 1);
  pixels::resizeRGB24(source.data(), destination.data(), 2, 2, 0, 2, 1);
  pixels::resizeRGB24(source.data(), destination.data(), 0, 2, 2, 2, 1);
  pixels::resizeRGB16(source.data(), destination.data(), 2, 2, 2, -1, 1);
  for (std::uint8_t b : destination) EXPECT_EQ(b, 0xAA);
}

}  // namespace
}  // namespace mp4lib::test
