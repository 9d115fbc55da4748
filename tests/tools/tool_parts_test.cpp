// The tool's parts that need no movie: PNG files (read back with stb's
// reader, written by libpng or stb's writer), time stamps, the bitmap font,
// the contact sheet's grid and times, the progress line's text and the
// command-line reader. Built for every target, so the cross builds' stb
// writer is tested too.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "arguments.h"
#include "bitmap_font.h"
#include "contact_sheet.h"
#include "image_files.h"
#include "media_time.h"
#include "progress_line.h"
#include "rgb_picture.h"

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_PNG
#include <stb_image.h>

namespace mp4lib::tool {
namespace {

namespace fs = std::filesystem;

class ScratchFile {
 public:
  explicit ScratchFile(const std::string& name) {
    const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
    path_ = fs::temp_directory_path() / ("mp4lib-tool-parts-" + std::to_string(stamp) + "-" + name);
  }
  ~ScratchFile() {
    std::error_code ignored;
    fs::remove(path_, ignored);
  }
  std::string path() const { return path_.string(); }

 private:
  fs::path path_;
};

struct DecodedPng {
  int width = 0;
  int height = 0;
  int channels = 0;
  std::vector<std::uint8_t> rgb;
};

DecodedPng readPng(const std::string& path) {
  DecodedPng png;
  if (stbi_uc* pixels = stbi_load(path.c_str(), &png.width, &png.height, &png.channels, 3)) {
    png.rgb.assign(pixels, pixels + static_cast<std::size_t>(png.width) * png.height * 3);
    stbi_image_free(pixels);
  }
  return png;
}

// ---- PNG ---------------------------------------------------------------------

TEST(PngFile, ReadsBackWithEveryPixelAsWritten) {
  // Odd sizes and every byte value in each channel.
  const std::uint32_t width = 37, height = 23;
  std::vector<std::uint8_t> rgb(width * height * 3);
  for (std::size_t i = 0; i < rgb.size(); ++i) rgb[i] = static_cast<std::uint8_t>(i * 7 + i / 111);
  const ScratchFile file("round-trip.png");
  ASSERT_TRUE(writePng(file.path(), width, height, rgb));
  const DecodedPng png = readPng(file.path());
  EXPECT_EQ(png.width, 37);
  EXPECT_EQ(png.height, 23);
  EXPECT_EQ(png.channels, 3);  // RGB, no alpha
  EXPECT_EQ(png.rgb, rgb);
}

TEST(PngFile, CompressesAFlatPicture) {
  // A CIF picture of one colour is 304,128 bytes raw; deflate makes a few
  // thousand bytes of it at most (stb about 3,500), a stored zlib stream
  // more than raw.
  const std::uint32_t width = 352, height = 288;
  const std::vector<std::uint8_t> rgb(width * height * 3, 0x80);
  const ScratchFile file("flat.png");
  ASSERT_TRUE(writePng(file.path(), width, height, rgb));
  EXPECT_LT(fs::file_size(file.path()), 304128u / 50);
  EXPECT_EQ(readPng(file.path()).rgb, rgb);
}

TEST(PngFile, RefusesAShortPictureAndAMissingFolder) {
  const ScratchFile file("short.png");
  EXPECT_FALSE(writePng(file.path(), 4, 4, std::vector<std::uint8_t>(4 * 4 * 3 - 1)));
  EXPECT_FALSE(writePng(file.path(), 0, 4, std::vector<std::uint8_t>(48)));
  const std::string inMissingFolder = (fs::temp_directory_path() / "mp4lib-no-such-folder" / "x.png").string();
  EXPECT_FALSE(writePng(inMissingFolder, 4, 4, std::vector<std::uint8_t>(4 * 4 * 3)));
}

// ---- Time stamps -----------------------------------------------------------

TEST(MediaTime, ShowsMinutesSecondsAndCutTenths) {
  EXPECT_EQ(formatMediaTime(0), "00:00.0");
  EXPECT_EQ(formatMediaTime(99), "00:00.0");
  EXPECT_EQ(formatMediaTime(999), "00:00.9");
  EXPECT_EQ(formatMediaTime(1000), "00:01.0");
  EXPECT_EQ(formatMediaTime(61250), "01:01.2");
  EXPECT_EQ(formatMediaTime(3599999), "59:59.9");
  EXPECT_EQ(formatMediaTime(3600000), "60:00.0");
  EXPECT_EQ(formatMediaTime(4294967295u), "71582:47.2");
}

// ---- Bitmap font -----------------------------------------------------------

int inkPixels(const std::uint8_t* rows) {
  int count = 0;
  for (int row = 0; row < kGlyphHeight; ++row) {
    for (int bit = 0; bit < 8; ++bit) count += (rows[row] >> bit) & 1;
  }
  return count;
}

TEST(BitmapFont, HasTwelveDistinctGlyphsFiveWide) {
  const std::string characters = "0123456789:.";
  for (char c : characters) {
    const std::uint8_t* rows = glyphRows(c);
    ASSERT_NE(rows, nullptr) << c;
    EXPECT_GT(inkPixels(rows), 0) << c;
    for (int row = 0; row < kGlyphHeight; ++row) EXPECT_LT(rows[row], 1 << kGlyphWidth) << c;
    const std::vector<std::uint8_t> glyph(rows, rows + kGlyphHeight);
    for (char other : characters) {
      if (other == c) continue;
      EXPECT_NE(glyph, std::vector<std::uint8_t>(glyphRows(other), glyphRows(other) + kGlyphHeight)) << c << other;
    }
  }
  EXPECT_EQ(glyphRows('a'), nullptr);
  EXPECT_EQ(glyphRows(' '), nullptr);
}

TEST(BitmapFont, MeasuresAndDrawsOnlyInsideTheClip) {
  EXPECT_EQ(textWidth(""), 0);
  EXPECT_EQ(textWidth("0"), 5);
  EXPECT_EQ(textWidth("00:00.0"), 41);  // 7 glyphs of 5 and 6 blank columns
  RgbPicture picture(20, 20, {0, 0, 0});
  // "8" is 17 pixels: three bars of 3 and four pairs of sides.
  drawText(picture, 2, 2, "8", {255, 255, 255}, picture.whole());
  int white = 0;
  for (std::uint32_t y = 0; y < 20; ++y) {
    for (std::uint32_t x = 0; x < 20; ++x) {
      if (picture.at(x, y).red == 255) {
        ++white;
        EXPECT_TRUE(x >= 2 && x < 7 && y >= 2 && y < 9) << x << "," << y;
      }
    }
  }
  EXPECT_EQ(white, 17);
  // Clipped to the upper left 4 x 4 pixels, only rows 2 and 3 of the glyph
  // are inside: of its top bar (x 3..5 on row 2) x 3, of its sides (x 2 and
  // 6 on row 3) x 2.
  RgbPicture clipped(20, 20, {0, 0, 0});
  drawText(clipped, 2, 2, "8", {255, 255, 255}, {0, 0, 4, 4});
  int inside = 0;
  for (std::uint32_t y = 0; y < 20; ++y) {
    for (std::uint32_t x = 0; x < 20; ++x) inside += clipped.at(x, y).red == 255;
  }
  EXPECT_EQ(inside, 2);
}

// ---- Contact sheet -----------------------------------------------------------

TEST(ContactSheet, LaysFramesOutInRowsWithGaps) {
  const SheetLayout layout = layoutSheet(5, 3, 88, 176, 144);
  EXPECT_EQ(layout.columns, 3u);
  EXPECT_EQ(layout.rows, 2u);
  EXPECT_EQ(layout.frameHeight, 72u);  // 88 x 144 / 176
  EXPECT_EQ(layout.width(), 3u * 88 + 4 * 4);
  EXPECT_EQ(layout.height(), 2u * 72 + 3 * 4);
  const Area fifth = layout.cell(4);  // second row, second column
  EXPECT_EQ(fifth.x, 4 + 92);
  EXPECT_EQ(fifth.y, 4 + 76);
  EXPECT_EQ(fifth.width, 88);
  EXPECT_EQ(fifth.height, 72);
}

TEST(ContactSheet, NeverHasMoreColumnsThanFramesAndRoundsTheHeight) {
  EXPECT_EQ(layoutSheet(2, 4, 160, 176, 144).columns, 2u);
  EXPECT_EQ(layoutSheet(2, 4, 160, 176, 144).rows, 1u);
  EXPECT_EQ(layoutSheet(12, 4, 160, 352, 288).frameHeight, 131u);  // 130.9
  EXPECT_EQ(layoutSheet(12, 4, 100, 352, 288).frameHeight, 82u);   // 81.8
  EXPECT_EQ(layoutSheet(1, 1, 16, 4000, 2).frameHeight, 1u);        // never 0
}

TEST(ContactSheet, TakesTheMiddleOfEqualParts) {
  EXPECT_EQ(sheetTimesMs(10000, 4), (std::vector<std::uint32_t>{1250, 3750, 6250, 8750}));
  EXPECT_EQ(sheetTimesMs(2000, 5), (std::vector<std::uint32_t>{200, 600, 1000, 1400, 1800}));
  EXPECT_EQ(sheetTimesMs(1000, 3), (std::vector<std::uint32_t>{166, 500, 833}));
  EXPECT_EQ(sheetTimesMs(0, 2), (std::vector<std::uint32_t>{0, 0}));
  // No overflow for the longest duration the library reports.
  EXPECT_EQ(sheetTimesMs(4294967295u, 2), (std::vector<std::uint32_t>{1073741823u, 3221225471u}));
}

TEST(ContactSheet, StampsTheTimeInTheLowerLeftCornerOnly) {
  RgbPicture sheet(96, 80, {32, 32, 32});
  const Area cell{4, 4, 88, 72};
  stampTime(sheet, cell, 200);  // "00:00.2"
  // The box: text 41 wide and 7 high with 2 pixels around, at the cell's
  // lower left corner: x 4..48, y 65..75.
  int white = 0;
  for (std::uint32_t y = 0; y < 80; ++y) {
    for (std::uint32_t x = 0; x < 96; ++x) {
      const Rgb pixel = sheet.at(x, y);
      const bool inBox = x >= 4 && x < 49 && y >= 65 && y < 76;
      if (!inBox) {
        EXPECT_EQ(pixel.red, 32) << x << "," << y;
      } else {
        EXPECT_TRUE(pixel.red == 0 || pixel.red == 255) << x << "," << y;
        white += pixel.red == 255;
      }
    }
  }
  // Ink counted from the glyph pictures: 0 has 19 pixels, ':' 8, '.' 4, 2 14.
  EXPECT_EQ(white, 4 * 19 + 8 + 4 + 14);
}

TEST(ContactSheet, CutsTheStampAtANarrowCell) {
  RgbPicture sheet(40, 30, {32, 32, 32});
  stampTime(sheet, {2, 2, 20, 20}, 0);
  for (std::uint32_t y = 0; y < 30; ++y) {
    for (std::uint32_t x = 0; x < 40; ++x) {
      const bool outsideTheCell = x >= 22 || y >= 22 || x < 2 || y < 2;
      if (outsideTheCell) {
        EXPECT_EQ(sheet.at(x, y).red, 32) << x << "," << y;
      }
    }
  }
  EXPECT_EQ(sheet.at(2, 21).red, 0);  // the box's lower left pixel
}

TEST(RgbPicture, PlacesBlueGreenRedAsRedGreenBlue) {
  RgbPicture picture(4, 3, {9, 9, 9});
  const std::uint8_t bgr[2 * 2 * 3] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  picture.placeBgr(bgr, 2, 2, 3, 2);  // only the upper left pixel lands inside
  EXPECT_EQ(picture.at(3, 2).red, 3);
  EXPECT_EQ(picture.at(3, 2).green, 2);
  EXPECT_EQ(picture.at(3, 2).blue, 1);
  EXPECT_EQ(picture.at(2, 2).red, 9);
  EXPECT_EQ(picture.at(3, 1).red, 9);
}

// ---- Progress line -----------------------------------------------------------

TEST(ProgressText, ShowsFramesMediaTimeAndSpeed) {
  EXPECT_EQ(progressText("play", 45, 150, 3000, 10000, 240), "play: 45/150 frames  00:03.0/00:10.0  12.5x real time");
  EXPECT_EQ(progressText("record", 7, 0, 466, 0, 466), "record: 7 frames  00:00.4  1.0x real time");
  // No video, no totals, no time passed yet.
  EXPECT_EQ(progressText("play", 0, 0, 1500, 0, 0), "play: 00:01.5");
  EXPECT_EQ(progressText("record", 1, 30, 0, 2000, 15), "record: 1/30 frames  00:00.0/00:02.0");
}

// ---- Command line ------------------------------------------------------------

// The value of the first option of `words`, read by `read`; false when it
// was refused.
template <typename Read>
bool firstValue(const std::vector<std::string>& words, Read read) {
  Arguments arguments("test", words);
  return arguments.next() && read(arguments);
}

TEST(Arguments, TakesWholeNumbersInRangeOnly) {
  std::uint32_t value = 0;
  const auto whole = [&](Arguments& a) { return a.wholeNumber(1, 64, &value); };
  EXPECT_TRUE(firstValue({"--n", "12"}, whole));
  EXPECT_EQ(value, 12u);
  EXPECT_TRUE(firstValue({"--n", "64"}, whole));
  for (const char* bad : {"0", "65", "12a", "-1", "+3", "", " 5", "1.0", "99999999999999999999"}) {
    EXPECT_FALSE(firstValue({"--n", bad}, whole)) << bad;
  }
  EXPECT_FALSE(firstValue({"--n"}, whole));  // no value
}

TEST(Arguments, TakesNumbersAboveTheLeastOnly) {
  double value = 0;
  const auto number = [&](Arguments& a) { return a.number(0, 120, &value); };
  EXPECT_TRUE(firstValue({"--fps", "29.97"}, number));
  EXPECT_DOUBLE_EQ(value, 29.97);
  EXPECT_TRUE(firstValue({"--fps", "1e1"}, number));
  EXPECT_DOUBLE_EQ(value, 10.0);
  for (const char* bad : {"0", "-5", "120.5", "fast", "15fps", "nan", "inf", ""}) {
    EXPECT_FALSE(firstValue({"--fps", bad}, number)) << bad;
  }
}

TEST(Arguments, TakesAPictureSize) {
  std::uint32_t width = 0, height = 0;
  const auto size = [&](Arguments& a) { return a.size(&width, &height); };
  EXPECT_TRUE(firstValue({"--size", "352x288"}, size));
  EXPECT_EQ(width, 352u);
  EXPECT_EQ(height, 288u);
  for (const char* bad : {"352", "352x", "x288", "0x288", "352x0", "352X288", "4097x2", "-2x2"}) {
    EXPECT_FALSE(firstValue({"--size", bad}, size)) << bad;
  }
}

TEST(Arguments, TakesOneFileAndSpotsHelpAnywhere) {
  Arguments arguments("play", {"a.3gp", "--every", "2", "b.3gp"});
  std::string path;
  bool given = false;
  ASSERT_TRUE(arguments.next());
  EXPECT_FALSE(arguments.isOption());
  EXPECT_TRUE(arguments.file(&path, &given));
  EXPECT_EQ(path, "a.3gp");
  ASSERT_TRUE(arguments.next());
  std::uint32_t every = 0;
  EXPECT_TRUE(arguments.wholeNumber(1, 10, &every));
  ASSERT_TRUE(arguments.next());
  EXPECT_EQ(arguments.word(), "b.3gp");
  EXPECT_FALSE(arguments.file(&path, &given));
  EXPECT_FALSE(arguments.next());
  EXPECT_FALSE(arguments.asksForHelp());
  EXPECT_TRUE(Arguments("play", {"x.3gp", "--help"}).asksForHelp());
  EXPECT_TRUE(Arguments("play", {"-h"}).asksForHelp());
  Arguments dash("play", {"-"});
  ASSERT_TRUE(dash.next());
  EXPECT_FALSE(dash.isOption());  // "-" alone is a file name
}

TEST(Arguments, KnowsTheCommonOptions) {
  CommonOptions common;
  Arguments arguments("play", {"--quiet", "--verbose", "--out"});
  ASSERT_TRUE(arguments.next());
  EXPECT_TRUE(arguments.commonOption(&common));
  ASSERT_TRUE(arguments.next());
  EXPECT_TRUE(arguments.commonOption(&common));
  ASSERT_TRUE(arguments.next());
  EXPECT_FALSE(arguments.commonOption(&common));
  EXPECT_TRUE(common.quiet);
  EXPECT_TRUE(common.verbose);
}

}  // namespace
}  // namespace mp4lib::tool
