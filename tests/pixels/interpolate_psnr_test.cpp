#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "mp4lib.h"
#include "pixels/pixel_test_support.h"

namespace mp4lib::test {
namespace {

TEST(InterpolateYuv, FourByFourFromTwoByTwo) {
  // Source luma rows are 3 bytes apart; the third byte of each row is the
  // one read past the row's two samples.
  const std::vector<std::uint8_t> y = {10, 20, 30, 40, 60, 80};
  const std::vector<std::uint8_t> u = {100, 120};  // chroma rows pitch / 2 = 1 apart
  const std::vector<std::uint8_t> v = {200, 50};
  ExactBuffer<std::uint8_t> out(24, 0, 0xEE);
  interpolateYUV(y.data(), u.data(), v.data(), out.data(), 4, 4, 3);
  const std::uint8_t expected[24] = {10, 15, 20, 25,  // row 0 across
                                     25, 32, 40, 47,  // row 1: means of rows 0 and 2
                                     40, 50, 60, 70,  // row 2 across
                                     40, 50, 60, 70,  // row 3: copy of row 2
                                     100, 110, 100, 110,  // U: row 0 across, row 1 its copy
                                     200, 125, 200, 125};
  for (int i = 0; i < 24; ++i) EXPECT_EQ(out[i], expected[i]) << i;
}

TEST(InterpolateYuv, LargerPictureMeansAndCopies) {
  // 8 x 8 output: odd luma rows 1, 3, 5 are means, row 7 copies row 6;
  // chroma (4 x 4) rows 1 is a mean, row 3 copies row 2.
  const int width = 8, height = 8, pitch = 5;
  const std::vector<std::uint8_t> y = randomBytes(pitch * 4, 3), u = randomBytes(3 * 2, 4), v = randomBytes(3 * 2, 5);
  // Chroma rows are pitch / 2 = 2 apart, and 2 samples + 1 are read.
  ExactBuffer<std::uint8_t> out(width * height * 3 / 2, 0, 0);
  interpolateYUV(y.data(), u.data(), v.data(), out.data(), width, height, pitch);
  const auto at = [&](int row, int column) { return static_cast<int>(out[row * width + column]); };
  for (int r = 0; r < 4; ++r) {
    for (int k = 0; k < 4; ++k) {
      EXPECT_EQ(at(2 * r, 2 * k), y[r * pitch + k]);
      EXPECT_EQ(at(2 * r, 2 * k + 1), (y[r * pitch + k] + y[r * pitch + k + 1]) >> 1);
    }
  }
  for (int column = 0; column < width; ++column) {
    for (int r : {1, 3, 5}) EXPECT_EQ(at(r, column), (at(r - 1, column) + at(r + 1, column)) >> 1);
    EXPECT_EQ(at(7, column), at(6, column));
  }
  const std::uint8_t* chromaU = out.data() + 64;
  for (int k = 0; k < 2; ++k) {
    EXPECT_EQ(chromaU[2 * k], u[k]);
    EXPECT_EQ(chromaU[2 * k + 1], (u[k] + u[k + 1]) >> 1);
    EXPECT_EQ(chromaU[2 * 4 + 2 * k], u[2 + k]);  // chroma row 2 from source chroma row 1
  }
  for (int column = 0; column < 4; ++column) {
    EXPECT_EQ(chromaU[4 + column], (chromaU[column] + chromaU[8 + column]) >> 1);
    EXPECT_EQ(chromaU[12 + column], chromaU[8 + column]);
  }
}

TEST(InterpolateYuv, OutputHeightTwoCopiesRowZeroIntoRowOne) {
  const std::vector<std::uint8_t> y = {10, 30, 50};
  const std::vector<std::uint8_t> u = {1}, v = {2};
  ExactBuffer<std::uint8_t> out(4 * 2 + 2 + 2, 0, 0xEE);
  interpolateYUV(y.data(), u.data(), v.data(), out.data(), 4, 2, 3);
  const std::uint8_t luma[8] = {10, 20, 30, 40, 10, 20, 30, 40};
  for (int i = 0; i < 8; ++i) EXPECT_EQ(out[i], luma[i]) << i;
  // Chroma has one row and height / 4 = 0 source rows: nothing to spread, and
  // no row above the only row to copy from.
  for (int i = 8; i < 12; ++i) EXPECT_EQ(out[i], 0xEE) << i;
}

TEST(InterpolateYuv, OutputWidthTwoStillCopiesChromaRows) {
  // Width 2, height 4: luma 2 x 4, chroma 1 x 2 each. Width / 4 = 0 chroma
  // samples across, so chroma row 0 keeps what was there and row 1 copies it.
  const std::vector<std::uint8_t> y = {10, 20, 30, 40};  // pitch 2: rows {10, 20*}, {30, 40*}
  const std::vector<std::uint8_t> u = {1, 1}, v = {2, 2};
  ExactBuffer<std::uint8_t> out(8 + 2 + 2, 0, 0);
  out[8] = 0x11;   // U row 0
  out[9] = 0x22;   // U row 1
  out[10] = 0x33;  // V row 0
  out[11] = 0x44;  // V row 1
  interpolateYUV(y.data(), u.data(), v.data(), out.data(), 2, 4, 2);
  const std::uint8_t luma[8] = {10, 15, 20, 25, 30, 35, 30, 35};
  for (int i = 0; i < 8; ++i) EXPECT_EQ(out[i], luma[i]) << i;
  EXPECT_EQ(out[8], 0x11);
  EXPECT_EQ(out[9], 0x11);
  EXPECT_EQ(out[10], 0x33);
  EXPECT_EQ(out[11], 0x33);
}

TEST(InterpolateYuv, HeightOneOrEmptyWritesNothing) {
  const std::vector<std::uint8_t> y(8, 5), u(8, 5), v(8, 5);
  ExactBuffer<std::uint8_t> out(8, 0, 0xEE);
  interpolateYUV(y.data(), u.data(), v.data(), out.data(), 4, 1, 4);
  interpolateYUV(y.data(), u.data(), v.data(), out.data(), 0, 4, 4);
  for (std::uint8_t b : out.all()) EXPECT_EQ(b, 0xEE);
}

TEST(Psnr, OneSampleOffByOneInTwoByTwo) {
  // n = 6, mse = 1/6: 10 x log10(65025 x 6) = 55.9123 dB.
  std::vector<std::int16_t> a(6, 100), b(6, 100);
  b[4] = 101;
  const float expected = static_cast<float>(10.0 * std::log10(static_cast<double>(65025.0f / (1.0f / 6.0f))));
  EXPECT_EQ(getYUV420PSNR(a.data(), b.data(), 2, 2), expected);
  EXPECT_NEAR(getYUV420PSNR(a.data(), b.data(), 2, 2), 55.9123f, 1e-3f);
  EXPECT_EQ(getYUV420PSNREx(a.data(), a.data() + 4, a.data() + 5, b.data(), b.data() + 4, b.data() + 5, 2, 2),
            expected);
}

TEST(Psnr, IdenticalPicturesArePositiveInfinity) {
  const std::vector<std::int16_t> a(24, 7);
  EXPECT_EQ(getYUV420PSNR(a.data(), a.data(), 4, 4), std::numeric_limits<float>::infinity());
  EXPECT_EQ(getYUV420PSNREx(a.data(), a.data() + 16, a.data() + 20, a.data(), a.data() + 16, a.data() + 20, 4, 4),
            std::numeric_limits<float>::infinity());
}

TEST(Psnr, EmptyPictureIsNotANumber) {
  EXPECT_TRUE(std::isnan(getYUV420PSNR(nullptr, nullptr, 0, 0)));
  EXPECT_TRUE(std::isnan(getYUV420PSNREx(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 4)));
}

TEST(Psnr, SumOfTwoToThe31OrMoreIsNotANumber) {
  // One difference of 65535: 4,294,836,225 read as a signed 32-bit sum.
  std::vector<std::int16_t> a(6, 0), b(6, 0);
  a[0] = 32767;
  b[0] = -32768;
  EXPECT_TRUE(std::isnan(getYUV420PSNR(a.data(), b.data(), 2, 2)));
  // Two differences of 32767 add up to 2,147,352,578, just below 2^31.
  b[0] = 0;
  a[1] = 32767;
  const float expected =
      static_cast<float>(10.0 * std::log10(static_cast<double>(65025.0f / (2147352578.0f / 6.0f))));
  EXPECT_EQ(getYUV420PSNR(a.data(), b.data(), 2, 2), expected);
  EXPECT_LT(expected, 0.0f);
}

TEST(Psnr, SmallExPictureHasNoChroma) {
  // 1 x 2: n = 2 < 4, only luma counted, divided by (2 x 3) >> 1 = 3.
  const std::vector<std::int16_t> a = {5, 6}, b = {5, 7};
  const float expected = static_cast<float>(10.0 * std::log10(static_cast<double>(65025.0f / (1.0f / 3.0f))));
  EXPECT_EQ(getYUV420PSNREx(a.data(), nullptr, nullptr, b.data(), nullptr, nullptr, 1, 2), expected);
  EXPECT_NEAR(expected, 52.902f, 1e-3f);
}

TEST(Psnr, OneBufferAndThreePlaneFormsAgree) {
  const std::vector<std::uint16_t> wa = randomWords(6 * 4 * 3 / 2, 21), wb = randomWords(6 * 4 * 3 / 2, 22);
  std::vector<std::int16_t> a(wa.size()), b(wb.size());
  for (std::size_t i = 0; i < a.size(); ++i) {
    a[i] = static_cast<std::int16_t>(wa[i] & 0xFF);
    b[i] = static_cast<std::int16_t>(wb[i] & 0xFF);
  }
  std::uint32_t sum = 0;
  for (std::size_t i = 0; i < a.size(); ++i) sum += static_cast<std::uint32_t>((a[i] - b[i]) * (a[i] - b[i]));
  const float expected = static_cast<float>(
      10.0 * std::log10(static_cast<double>(65025.0f / (static_cast<float>(sum) / static_cast<float>(36)))));
  EXPECT_EQ(getYUV420PSNR(a.data(), b.data(), 6, 4), expected);
  EXPECT_EQ(getYUV420PSNREx(a.data(), a.data() + 24, a.data() + 30, b.data(), b.data() + 24, b.data() + 30, 6, 4),
            expected);
}

}  // namespace
}  // namespace mp4lib::test
