// A movie's sample description can announce a picture size the stream does
// not decode to. The player converts and copies only what the decoded
// picture holds: a smaller picture fails the call and leaves the caller's
// buffer alone, a larger one is taken from its top-left corner.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "codecs/plugin_registry.h"
#include "mp4lib.h"
#include "support/file_bytes.h"
#include "support/library_state.h"
#include "support/plugin_folder.h"

namespace fs = std::filesystem;

namespace mp4lib::test {
namespace {

bool run(const std::string& command) { return std::system((command + " > /dev/null 2>&1").c_str()) == 0; }

// Rewrites the width and height of the first 's263' sample description:
// they follow its 8-byte header and 24 bytes of reserved and predefined
// fields.
bool announceSize(const fs::path& path, std::uint16_t width, std::uint16_t height) {
  Bytes bytes = readFileBytes(path);
  const std::string fourcc = "s263";
  const auto at = std::search(bytes.begin(), bytes.end(), fourcc.begin(), fourcc.end());
  if (at == bytes.end()) return false;
  const auto offset = static_cast<std::size_t>(at - bytes.begin()) + 4 + 24;
  if (offset + 4 > bytes.size()) return false;
  bytes[offset] = static_cast<std::uint8_t>(width >> 8);
  bytes[offset + 1] = static_cast<std::uint8_t>(width);
  bytes[offset + 2] = static_cast<std::uint8_t>(height >> 8);
  bytes[offset + 3] = static_cast<std::uint8_t>(height);
  std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()),
                                              static_cast<std::streamsize>(bytes.size()));
  return true;
}

class PictureSize : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    if (!run("ffmpeg -version")) return;
    const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
    folder = fs::temp_directory_path() / ("mp4lib-picture-size-" + std::to_string(stamp));
    fs::create_directories(folder);
    const std::string ff = "ffmpeg -nostdin -v error -y -f lavfi -i testsrc=size=";
    made = run(ff + "128x96:rate=15 -t 1 -c:v h263 " + at("small.3gp")) &&
           run(ff + "176x144:rate=15 -t 1 -c:v h263 " + at("large.3gp")) &&
           run("ffmpeg -nostdin -v error -y -i " + at("large.3gp") + " -f rawvideo -pix_fmt yuv420p " +
               at("large.yuv")) &&
           announceSize(folder / "small.3gp", 176, 144) && announceSize(folder / "large.3gp", 128, 96);
  }
  static void TearDownTestSuite() {
    std::error_code ignored;
    if (!folder.empty()) fs::remove_all(folder, ignored);
  }
  void SetUp() override {
    if (folder.empty()) GTEST_SKIP() << "ffmpeg is not installed";
    ASSERT_TRUE(made) << "ffmpeg could not make the movies";
    codecs::discoverCodecPluginsBeside(test::plugins(), (libraryFolder() / mp4libFileName()).wstring().c_str());
  }
  void TearDown() override {
    finalizeDecoder();
    test::plugins().active = codecs::ActivePlugins{};
    codecs::unloadCodecPlugins(test::plugins());
    codecs::discoverCodecPluginsBeside(test::plugins(), nullptr);
  }

  static std::string at(const std::string& name) { return "\"" + (folder / name).string() + "\""; }

  void open(const std::string& name, std::uint32_t width, std::uint32_t height) {
    ASSERT_EQ(initDecoder((folder / name).wstring().c_str(), &params), 1);
    ASSERT_EQ(params->decodedWidth, width);
    ASSERT_EQ(params->decodedHeight, height);
  }

  static fs::path folder;
  static bool made;
  MovieParams* params = nullptr;
};

fs::path PictureSize::folder;
bool PictureSize::made = false;

constexpr std::uint8_t kUntouched = 0xA5;

// 128 x 96 pictures in a movie that announces 176 x 144.
TEST_F(PictureSize, SmallerPictureFailsTheRgbCallsAndLeavesTheBufferAlone) {
  open("small.3gp", 176, 144);
  std::vector<std::uint8_t> rgb(176 * 144 * 3, kUntouched);
  std::uint32_t size = 0, time = 0, duration = 0;
  EXPECT_EQ(decode_RGB24_video_track(0, rgb.data(), &size, &time), 0);
  EXPECT_EQ(decode_RGB16_video_track(1, rgb.data(), &size, &time), 0);
  EXPECT_EQ(decode_RGB24_video_trackEx(2, rgb.data(), &size, &time, &duration), 0);
  EXPECT_EQ(decode_RGB24_video_trackEx2(3, rgb.data(), &size, 64, 48, &time, &duration), 0);
  EXPECT_EQ(decode_RGB16_video_trackEx2(4, rgb.data(), &size, 64, 48, &time, &duration), 0);
  EXPECT_EQ(std::count(rgb.begin(), rgb.end(), kUntouched), static_cast<std::ptrdiff_t>(rgb.size()));
}

TEST_F(PictureSize, SmallerPictureIsNotCopiedForARepeatedEntry) {
  open("small.3gp", 176, 144);
  std::vector<std::uint8_t> yuv(176 * 144 * 3 / 2, kUntouched);
  std::uint32_t size = 0, time = 0;
  decode_video_track(0, yuv.data(), &size, &time);  // the plug-in refuses to write a picture of another size
  EXPECT_EQ(decode_video_track(0, yuv.data(), &size, &time), 0);
  EXPECT_EQ(std::count(yuv.begin(), yuv.end(), kUntouched), static_cast<std::ptrdiff_t>(yuv.size()));
}

// 176 x 144 pictures in a movie that announces 128 x 96: the top-left corner.
TEST_F(PictureSize, LargerPictureIsTakenFromItsTopLeftCorner) {
  open("large.3gp", 128, 96);
  const Bytes pictures = readFileBytes(folder / "large.yuv");
  const std::size_t fullBytes = 176 * 144 * 3 / 2;
  ASSERT_GE(pictures.size(), 3 * fullBytes);
  for (std::int32_t entry : {0, 2}) {
    const std::uint8_t* y = pictures.data() + entry * fullBytes;
    const std::uint8_t* u = y + 176 * 144;
    const std::uint8_t* v = u + 88 * 72;
    std::vector<std::uint8_t> expected(128 * 96 * 3), rgb(128 * 96 * 3, kUntouched);
    ASSERT_EQ(transferByteYUV2RGBEx(176, 0, 128, 96, y, u, v, expected.data()), 1);
    std::uint32_t size = 0, time = 0;
    ASSERT_EQ(decode_RGB24_video_track(entry, rgb.data(), &size, &time), 1);
    EXPECT_EQ(size, 128u * 96u * 3u);
    EXPECT_EQ(rgb, expected) << "entry " << entry;
  }
  // The repeated entry's picture, copied at the announced size.
  std::vector<std::uint8_t> yuv(128 * 96 * 3 / 2, kUntouched);
  std::uint32_t size = 0, time = 0;
  ASSERT_EQ(decode_video_track(2, yuv.data(), &size, &time), 1);
  const std::uint8_t* y = pictures.data() + 2 * fullBytes;
  for (int row = 0; row < 96; ++row) {
    ASSERT_TRUE(std::equal(yuv.begin() + row * 128, yuv.begin() + row * 128 + 128, y + row * 176)) << "row " << row;
  }
}

}  // namespace
}  // namespace mp4lib::test
