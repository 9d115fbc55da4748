// The tool's parts that need no movie: PNG files (read back with stb's
// reader, written by libpng or stb's writer), time stamps, the progress
// line's text and the command-line reader. Built for every target, so the cross builds' stb
// writer is tested too.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "arguments.h"
#include "image_files.h"
#include "media_time.h"
#include "progress_line.h"

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
  // A CIF picture of one colour is 304,128 bytes raw; deflate makes it a
  // few hundred (a stored zlib stream would be larger than raw).
  const std::uint32_t width = 352, height = 288;
  const std::vector<std::uint8_t> rgb(width * height * 3, 0x80);
  const ScratchFile file("flat.png");
  ASSERT_TRUE(writePng(file.path(), width, height, rgb));
  EXPECT_LT(fs::file_size(file.path()), 3000u);
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
