// The vector row routines against the scalar references they stand in for,
// on random rows of many lengths and unaligned addresses.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "pixels/pixel_test_support.h"
#include "pixels/rgb_rows.h"
#include "pixels/simd.h"
#include "pixels/yuv_rgb_rows.h"

namespace mp4lib::test {
namespace {

using pixels::RgbRowPairOut;
using pixels::YuvRowPair;
using pixels::YuvRowPairIn;

const int kPairCounts[] = {0, 1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 100, 321};

struct ShortRows {
  explicit ShortRows(int pairs)
      : yTop(2 * pairs, 1, -9), yBottom(2 * pairs, 1, -9), u(pairs, 1, -9), v(pairs, 1, -9) {}
  YuvRowPair out() { return {yTop.data(), yBottom.data(), u.data(), v.data()}; }
  ExactBuffer<std::int16_t> yTop, yBottom, u, v;
};

void expectSameRows(ShortRows& a, ShortRows& b, int pairs) {
  EXPECT_EQ(a.yTop.all(), b.yTop.all()) << pairs;
  EXPECT_EQ(a.yBottom.all(), b.yBottom.all()) << pairs;
  EXPECT_EQ(a.u.all(), b.u.all()) << pairs;
  EXPECT_EQ(a.v.all(), b.v.all()) << pairs;
}

TEST(VectorRows, ReportsItsInstructionSet) {
  const std::string set = pixels::simd::instructionSet();
  EXPECT_TRUE(set == "sse2" || set == "none") << set;
}

TEST(VectorRows, Rgb24ToYuvMatchesReference) {
  std::uint32_t seed = 1;
  for (int pairs : kPairCounts) {
    for (std::size_t offset : {0, 1, 3}) {
      ExactBuffer<std::uint8_t> top(6 * pairs, offset, 0), bottom(6 * pairs, offset, 0);
      const auto a = randomBytes(6 * pairs, ++seed), b = randomBytes(6 * pairs, ++seed);
      std::copy(a.begin(), a.end(), top.data());
      std::copy(b.begin(), b.end(), bottom.data());
      ShortRows fast(pairs), plain(pairs);
      pixels::rgb24RowPair(top.data(), bottom.data(), pairs, fast.out());
      pixels::rgb24RowPairReference(top.data(), bottom.data(), pairs, plain.out());
      expectSameRows(fast, plain, pairs);
    }
  }
}

TEST(VectorRows, Rgb24ToYuvExtremeColours) {
  // Rows made of the corners of the colour cube and the values around 128.
  const std::uint8_t values[] = {0, 1, 2, 127, 128, 129, 253, 254, 255};
  std::vector<std::uint8_t> row;
  for (std::uint8_t r : values) {
    for (std::uint8_t g : values) {
      for (std::uint8_t b : values) row.insert(row.end(), {b, g, r});
    }
  }
  const int pairs = static_cast<int>(row.size() / 6);
  std::vector<std::uint8_t> reversed(row.rbegin(), row.rend());
  ShortRows fast(pairs), plain(pairs);
  pixels::rgb24RowPair(row.data(), reversed.data(), pairs, fast.out());
  pixels::rgb24RowPairReference(row.data(), reversed.data(), pairs, plain.out());
  expectSameRows(fast, plain, pairs);
}

TEST(VectorRows, Rgb16ToYuvMatchesReferenceForEveryWord) {
  // All 65,536 words once in the top row and reversed in the bottom row.
  const int pairs = 32768;
  std::vector<std::uint16_t> top(65536), bottom(65536);
  for (unsigned p = 0; p < 65536; ++p) {
    top[p] = static_cast<std::uint16_t>(p);
    bottom[p] = static_cast<std::uint16_t>(65535 - p);
  }
  ShortRows fast(pairs), plain(pairs);
  pixels::rgb16RowPair(top.data(), bottom.data(), pairs, fast.out());
  pixels::rgb16RowPairReference(top.data(), bottom.data(), pairs, plain.out());
  expectSameRows(fast, plain, pairs);
}

TEST(VectorRows, Rgb16ToYuvMatchesReferenceOnShortRows) {
  std::uint32_t seed = 50;
  for (int pairs : kPairCounts) {
    for (std::size_t offset : {0, 1, 3}) {
      ExactBuffer<std::uint16_t> top(2 * pairs, offset, 0), bottom(2 * pairs, offset, 0);
      const auto a = randomWords(2 * pairs, ++seed), b = randomWords(2 * pairs, ++seed);
      std::copy(a.begin(), a.end(), top.data());
      std::copy(b.begin(), b.end(), bottom.data());
      ShortRows fast(pairs), plain(pairs);
      pixels::rgb16RowPair(top.data(), bottom.data(), pairs, fast.out());
      pixels::rgb16RowPairReference(top.data(), bottom.data(), pairs, plain.out());
      expectSameRows(fast, plain, pairs);
    }
  }
}

TEST(VectorRows, YuvToRgbMatchesReference) {
  std::uint32_t seed = 80;
  for (int pairs : kPairCounts) {
    for (std::size_t offset : {0, 1, 3}) {
      ExactBuffer<std::uint8_t> yTop(2 * pairs, offset, 0), yBottom(2 * pairs, offset, 0), u(pairs, offset, 0),
          v(pairs, offset, 0);
      for (auto* plane : {&yTop, &yBottom, &u, &v}) {
        const auto bytes = randomBytes(plane->all().size() - offset, ++seed);
        std::copy(bytes.begin(), bytes.end(), plane->data());
      }
      const YuvRowPairIn in{yTop.data(), yBottom.data(), u.data(), v.data()};
      for (int bytesPerPixel : {3, 2}) {
        const std::size_t rowBytes = static_cast<std::size_t>(2 * pairs * bytesPerPixel);
        ExactBuffer<std::uint8_t> fastTop(rowBytes, offset, 0x77), fastBottom(rowBytes, offset, 0x77);
        ExactBuffer<std::uint8_t> plainTop(rowBytes, offset, 0x77), plainBottom(rowBytes, offset, 0x77);
        const RgbRowPairOut fast{fastTop.data(), fastBottom.data()}, plain{plainTop.data(), plainBottom.data()};
        if (bytesPerPixel == 3) {
          const std::int32_t done = pixels::simd::yuvToRgb24RowPairs(in, pairs, fast);
          ASSERT_LE(done, pairs);
          pixels::yuvToRgb24RowPairReference({in.yTop + 2 * done, in.yBottom + 2 * done, in.u + done, in.v + done},
                                             pairs - done, {fast.top + 6 * done, fast.bottom + 6 * done});
          pixels::yuvToRgb24RowPairReference(in, pairs, plain);
        } else {
          const std::int32_t done = pixels::simd::yuvToRgb16DirectRowPairs(in, pairs, fast);
          ASSERT_LE(done, pairs);
          pixels::yuvToRgb16DirectRowPairReference({in.yTop + 2 * done, in.yBottom + 2 * done, in.u + done, in.v + done},
                                                   pairs - done, {fast.top + 4 * done, fast.bottom + 4 * done});
          pixels::yuvToRgb16DirectRowPairReference(in, pairs, plain);
        }
        EXPECT_EQ(fastTop.all(), plainTop.all()) << pairs << " bytes " << bytesPerPixel;
        EXPECT_EQ(fastBottom.all(), plainBottom.all()) << pairs << " bytes " << bytesPerPixel;
      }
    }
  }
}

TEST(VectorRows, YuvToRgbEveryLumaWithEveryChromaCorner) {
  // 256 luma values against U and V at 0, 1, 127, 128, 129, 254, 255.
  const std::uint8_t chroma[] = {0, 1, 127, 128, 129, 254, 255};
  for (std::uint8_t cu : chroma) {
    for (std::uint8_t cv : chroma) {
      const int pairs = 128;
      std::vector<std::uint8_t> yTop(256), yBottom(256), u(pairs, cu), v(pairs, cv);
      for (int i = 0; i < 256; ++i) {
        yTop[i] = static_cast<std::uint8_t>(i);
        yBottom[i] = static_cast<std::uint8_t>(255 - i);
      }
      const YuvRowPairIn in{yTop.data(), yBottom.data(), u.data(), v.data()};
      for (int bytesPerPixel : {3, 2}) {
        std::vector<std::uint8_t> fastTop(256 * bytesPerPixel), fastBottom(fastTop.size());
        std::vector<std::uint8_t> plainTop(fastTop.size()), plainBottom(fastTop.size());
        const RgbRowPairOut fast{fastTop.data(), fastBottom.data()}, plain{plainTop.data(), plainBottom.data()};
        if (bytesPerPixel == 3) {
          const std::int32_t done = pixels::simd::yuvToRgb24RowPairs(in, pairs, fast);
          pixels::yuvToRgb24RowPairReference({in.yTop + 2 * done, in.yBottom + 2 * done, in.u + done, in.v + done},
                                             pairs - done, {fast.top + 6 * done, fast.bottom + 6 * done});
          pixels::yuvToRgb24RowPairReference(in, pairs, plain);
        } else {
          const std::int32_t done = pixels::simd::yuvToRgb16DirectRowPairs(in, pairs, fast);
          pixels::yuvToRgb16DirectRowPairReference({in.yTop + 2 * done, in.yBottom + 2 * done, in.u + done, in.v + done},
                                                   pairs - done, {fast.top + 4 * done, fast.bottom + 4 * done});
          pixels::yuvToRgb16DirectRowPairReference(in, pairs, plain);
        }
        EXPECT_EQ(fastTop, plainTop) << int(cu) << "," << int(cv);
        EXPECT_EQ(fastBottom, plainBottom) << int(cu) << "," << int(cv);
      }
    }
  }
}

}  // namespace
}  // namespace mp4lib::test
