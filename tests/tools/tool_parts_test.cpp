// The tool's parts that need no movie: PNG files (read back with stb's
// reader, written by libpng or stb's writer). Built for every target, so the
// cross builds' stb writer is tested too.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "image_files.h"

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

}  // namespace
}  // namespace mp4lib::tool
