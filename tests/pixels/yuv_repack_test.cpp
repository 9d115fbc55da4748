#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "mp4lib.h"
#include "pixels/pixel_reference.h"
#include "pixels/pixel_test_support.h"

namespace mp4lib::test {
namespace {

TEST(YuvRepack, PackedPairGivesItsLumaAndChroma) {
  // Two rows of one pixel pair each: U Y0 V Y1.
  const std::vector<std::uint8_t> packed = {0x10, 0x20, 0x30, 0x40, 0x50, 0x60, 0x70, 0x80};
  EncoderPictureScope scope(2, 2, false);
  ShortFrame frame(2, 2, -1);
  yuv422_yuv420(packed.data(), frame.y.data(), frame.u.data(), frame.v.data(), 2, 2);
  EXPECT_EQ(frame.y[0], 0x20);
  EXPECT_EQ(frame.y[1], 0x40);
  EXPECT_EQ(frame.y[2], 0x60);
  EXPECT_EQ(frame.y[3], 0x80);
  // The bottom row's chroma (0x50, 0x70) is skipped, not averaged.
  EXPECT_EQ(frame.u[0], 0x10);
  EXPECT_EQ(frame.v[0], 0x30);
}

TEST(YuvRepack, DirectPathTakesTheEvenRowsChroma) {
  // Planar 4:2:2, 4 x 4: even chroma rows 10 + k, odd rows 200 + k.
  const int width = 4, height = 4;
  std::vector<std::uint8_t> y(width * height), u(2 * height), v(2 * height);
  for (int i = 0; i < width * height; ++i) y[i] = static_cast<std::uint8_t>(i);
  for (int row = 0; row < height; ++row) {
    for (int k = 0; k < 2; ++k) {
      u[row * 2 + k] = static_cast<std::uint8_t>((row % 2 == 0 ? 10 : 200) + k + row);
      v[row * 2 + k] = static_cast<std::uint8_t>((row % 2 == 0 ? 60 : 250) + k + row);
    }
  }
  EncoderPictureScope scope(width, height, false);
  ShortFrame frame(width, height, -1);
  byte_yuv422_yuv420_planner_s3(y.data(), u.data(), v.data(), frame.y.data(), frame.u.data(), frame.v.data(), width,
                                height);
  EXPECT_EQ(frame.u[0], 10);
  EXPECT_EQ(frame.u[1], 11);
  EXPECT_EQ(frame.u[2], 12);  // row 2
  EXPECT_EQ(frame.u[3], 13);
  EXPECT_EQ(frame.v[3], 63);
  for (int i = 0; i < width * height; ++i) EXPECT_EQ(frame.y[i], i);
}

TEST(YuvRepack, ResizeAtTheSameSizeAveragesTheRowPairsChroma) {
  // Step 32,768: x = 2i is even, so chroma = (top + bottom) >> 1.
  const int width = 4, height = 2;
  const std::vector<std::uint8_t> packed = {10, 1, 20, 2, 11, 3, 21, 4,  // row 0: U 10, 11; V 20, 21
                                            15, 5, 40, 6, 14, 7, 50, 8};  // row 1: U 15, 14; V 40, 50
  EncoderPictureScope scope(width, height, true);
  ShortFrame frame(width, height, -1);
  yuv422_yuv420(packed.data(), frame.y.data(), frame.u.data(), frame.v.data(), width, height);
  EXPECT_EQ(frame.u[0], (10 + 15) >> 1);
  EXPECT_EQ(frame.u[1], (11 + 14) >> 1);
  EXPECT_EQ(frame.v[0], (20 + 40) >> 1);
  EXPECT_EQ(frame.v[1], (21 + 50) >> 1);
  const int luma[] = {1, 2, 3, 4, 5, 6, 7, 8};
  for (int i = 0; i < 8; ++i) EXPECT_EQ(frame.y[i], luma[i]);
}

TEST(YuvRepack, ResizeTakesTheNeighbourPixelNotTheNextStep) {
  // 8 -> 4 across: x = (2i x 65536) >> 15 = 4i, and the second pixel of the
  // pair is x + 1 (the RGB converters would take 4i + 2).
  const int width = 8, height = 2;
  std::vector<std::uint8_t> y(width * height), u(width / 2 * height / 2, 128), v(u.size(), 128);
  for (int i = 0; i < width * height; ++i) y[i] = static_cast<std::uint8_t>(i * 3);
  EncoderPictureScope scope(4, 2, true);
  ShortFrame frame(4, 2, -1);
  byte_yuv420_yuv420_planner_s3(y.data(), u.data(), v.data(), frame.y.data(), frame.u.data(), frame.v.data(), width,
                                height);
  EXPECT_EQ(frame.y[0], 0);
  EXPECT_EQ(frame.y[1], 3);
  EXPECT_EQ(frame.y[2], 12);
  EXPECT_EQ(frame.y[3], 15);
  EXPECT_EQ(frame.y[4], 24);  // bottom row: source row 1
}

TEST(YuvRepack, HeightBelowTwoWritesNothing) {
  const std::vector<std::uint8_t> source(64, 9);
  const std::vector<std::int16_t> shorts(64, 9);
  for (bool resize : {false, true}) {
    EncoderPictureScope scope(4, resize ? 1 : 4, resize);
    ExactBuffer<std::int16_t> y(16, 0, -1), u(4, 0, -1), v(4, 0, -1);
    const int height = resize ? 4 : 1;
    yuv422_yuv420(source.data(), y.data(), u.data(), v.data(), 4, height);
    byte_yuv422_yuv420_planner(source.data(), y.data(), u.data(), v.data(), 4, height);
    byte_yuv420_yuv420_planner(source.data(), y.data(), u.data(), v.data(), 4, height);
    short_yuv420_yuv420_planner(shorts.data(), y.data(), u.data(), v.data(), 4, height);
    for (std::int16_t s : y.all()) ASSERT_EQ(s, -1) << "resize " << resize;
    for (std::int16_t s : u.all()) ASSERT_EQ(s, -1);
  }
}

TEST(YuvRepack, ShortSamplesAreCopiedUnchanged) {
  const int width = 4, height = 2;
  std::vector<std::int16_t> source = {-5, 300, 7, 8, 9, 10, 11, -32768, /*U*/ 1000, -1, /*V*/ 77, 78};
  EncoderPictureScope scope(width, height, false);
  ShortFrame frame(width, height, 0);
  short_yuv420_yuv420_planner(source.data(), frame.y.data(), frame.u.data(), frame.v.data(), width, height);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(frame.y[i], source[i]);
  EXPECT_EQ(frame.u[0], 1000);
  EXPECT_EQ(frame.u[1], -1);
  EXPECT_EQ(frame.v[0], 77);
  EXPECT_EQ(frame.v[1], 78);
}

// The one-buffer forms find U and V where their layouts put them.
TEST(YuvRepack, OneBufferFormsMatchTheirThreePlaneForms) {
  const int width = 6, height = 4;
  const std::vector<std::uint8_t> planar422 = randomBytes(width * height * 2, 11);
  const std::vector<std::uint8_t> planar420 = randomBytes(width * height * 3 / 2, 12);
  for (bool resize : {false, true}) {
    EncoderPictureScope scope(resize ? 10 : width, resize ? 6 : height, resize);
    const int cw = resize ? 10 : width, ch = resize ? 6 : height;
    ShortFrame a(cw, ch, -1), b(cw, ch, -1);
    byte_yuv422_yuv420_planner(planar422.data(), a.y.data(), a.u.data(), a.v.data(), width, height);
    byte_yuv422_yuv420_planner_s3(planar422.data(), planar422.data() + 24, planar422.data() + 36, b.y.data(),
                                  b.u.data(), b.v.data(), width, height);
    EXPECT_EQ(a.y.all(), b.y.all());
    EXPECT_EQ(a.u.all(), b.u.all());
    EXPECT_EQ(a.v.all(), b.v.all());
    ShortFrame c(cw, ch, -1), d(cw, ch, -1);
    byte_yuv420_yuv420_planner(planar420.data(), c.y.data(), c.u.data(), c.v.data(), width, height);
    byte_yuv420_yuv420_planner_s3(planar420.data(), planar420.data() + 24, planar420.data() + 30, d.y.data(),
                                  d.u.data(), d.v.data(), width, height);
    EXPECT_EQ(c.y.all(), d.y.all());
    EXPECT_EQ(c.u.all(), d.u.all());
    EXPECT_EQ(c.v.all(), d.v.all());
  }
}

// Random pictures of many sizes, each source in an exactly sized buffer,
// against the plain reference, in both paths.
TEST(YuvRepack, RandomPicturesMatchReference) {
  std::uint32_t seed = 500;
  struct Size {
    int width, height, codedWidth, codedHeight;
    bool resize;
  };
  std::vector<Size> sizes;
  for (int h : {0, 1, 2, 3, 4, 7, 10}) {
    for (int w : {0, 1, 2, 3, 6, 9, 16, 31}) sizes.push_back({w, h, w, h, false});
  }
  const int resized[][4] = {{16, 12, 8, 6},  {8, 6, 16, 12}, {4, 4, 8, 8},   {6, 4, 14, 10}, {5, 3, 12, 8},
                            {2, 2, 2, 2},    {3, 5, 7, 9},   {20, 16, 20, 16}, {31, 17, 12, 10}, {2, 3, 6, 6}};
  for (const auto& r : resized) sizes.push_back({r[0], r[1], r[2], r[3], true});
  for (const Size& s : sizes) {
    const int w = s.width, h = s.height;
    EncoderPictureScope scope(static_cast<std::uint32_t>(s.codedWidth), static_cast<std::uint32_t>(s.codedHeight),
                              s.resize);
    const std::size_t lumaSize = static_cast<std::size_t>(w) * h;
    const std::size_t chroma422 = static_cast<std::size_t>(w / 2) * h;
    const std::size_t chroma420 = static_cast<std::size_t>(w / 2) * (h / 2);
    for (std::size_t offset : {0, 3}) {
      ExactBuffer<std::uint8_t> packed(2 * lumaSize, offset, 0), y(lumaSize, offset, 0);
      ExactBuffer<std::uint8_t> u422(chroma422, offset, 0), v422(chroma422, offset, 0);
      ExactBuffer<std::uint8_t> u420(chroma420, offset, 0), v420(chroma420, offset, 0);
      ExactBuffer<std::int16_t> y16(lumaSize, 0, 0), u16(chroma420, 0, 0), v16(chroma420, 0, 0);
      for (auto* buffer : {&packed, &y, &u422, &v422, &u420, &v420}) {
        const std::size_t count = buffer->all().size() - offset;
        const std::vector<std::uint8_t> bytes = randomBytes(count, ++seed);
        std::copy(bytes.begin(), bytes.end(), buffer->data());
      }
      for (auto* buffer : {&y16, &u16, &v16}) {
        const std::vector<std::uint16_t> words = randomWords(buffer->all().size(), ++seed);
        for (std::size_t i = 0; i < words.size(); ++i) (*buffer)[i] = static_cast<std::int16_t>(words[i]);
      }
      const auto check = [&](const char* name, auto convert, const PlainYuvSource& source) {
        ShortFrame got(s.codedWidth, s.codedHeight, -3), want(s.codedWidth, s.codedHeight, -3);
        convert(got);
        plainRepack(source, w, h, s.codedWidth, s.codedHeight, s.resize, want.y.data(), want.u.data(), want.v.data());
        EXPECT_EQ(got.y.all(), want.y.all()) << name << " " << w << "x" << h << " -> " << s.codedWidth << "x"
                                             << s.codedHeight;
        EXPECT_EQ(got.u.all(), want.u.all()) << name << " " << w << "x" << h;
        EXPECT_EQ(got.v.all(), want.v.all()) << name << " " << w << "x" << h;
      };
      check(
          "packed",
          [&](ShortFrame& f) { yuv422_yuv420(packed.data(), f.y.data(), f.u.data(), f.v.data(), w, h); },
          {RepackSource::Packed422, packed.data(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr});
      check(
          "planar422",
          [&](ShortFrame& f) {
            byte_yuv422_yuv420_planner_s3(y.data(), u422.data(), v422.data(), f.y.data(), f.u.data(), f.v.data(), w, h);
          },
          {RepackSource::Planar422, nullptr, y.data(), u422.data(), v422.data(), nullptr, nullptr, nullptr});
      check(
          "planar420",
          [&](ShortFrame& f) {
            byte_yuv420_yuv420_planner_s3(y.data(), u420.data(), v420.data(), f.y.data(), f.u.data(), f.v.data(), w, h);
          },
          {RepackSource::Planar420, nullptr, y.data(), u420.data(), v420.data(), nullptr, nullptr, nullptr});
      // The one-buffer short form: Y, U and V one after the other.
      std::vector<std::int16_t> joined(y16.all());
      joined.insert(joined.end(), u16.all().begin(), u16.all().end());
      joined.insert(joined.end(), v16.all().begin(), v16.all().end());
      const std::size_t quarter = lumaSize / 4;
      if (quarter == chroma420) {  // the one-buffer layout puts V lumaSize / 4 after U
        check(
            "short420",
            [&](ShortFrame& f) { short_yuv420_yuv420_planner(joined.data(), f.y.data(), f.u.data(), f.v.data(), w, h); },
            {RepackSource::Planar420, nullptr, nullptr, nullptr, nullptr, joined.data(), joined.data() + lumaSize,
             joined.data() + lumaSize + quarter});
      }
    }
  }
}

}  // namespace
}  // namespace mp4lib::test
