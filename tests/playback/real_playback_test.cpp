// Playback end to end with the real codec plug-ins: movies that ffmpeg makes
// at test time decode through decode_video_track to exactly the pictures
// ffmpeg itself decodes, in order and when jumping about (which decodes from
// the key frame before the wanted one).
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "codecs/plugin_registry.h"
#include "mp4lib.h"
#include "support/plugin_folder.h"
#include "support/library_state.h"

namespace fs = std::filesystem;

namespace mp4lib::test {
namespace {

bool run(const std::string& command) { return std::system((command + " > /dev/null 2>&1").c_str()) == 0; }

class RealPlayback : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    if (!run("ffmpeg -version")) return;
    const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
    folder = fs::temp_directory_path() / ("mp4lib-playback-" + std::to_string(stamp));
    fs::create_directories(folder);
    const std::string ff = "ffmpeg -nostdin -v error -y ";
    made = run(ff + "-f lavfi -i testsrc=size=176x144:rate=15 -t 3 -c:v h263 " + at("h263.3gp")) &&
           run(ff + "-i " + at("h263.3gp") + " -f rawvideo -pix_fmt yuv420p " + at("h263.yuv")) &&
           run(ff + "-f lavfi -i testsrc=size=320x240:rate=25 -t 2 -c:v mpeg4 " + at("mpeg4.mp4")) &&
           run(ff + "-i " + at("mpeg4.mp4") + " -f rawvideo -pix_fmt yuv420p " + at("mpeg4.yuv"));
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

  // ffmpeg's pictures, one byte planar 4:2:0 picture after another.
  static std::vector<std::uint8_t> reference(const std::string& name) {
    std::ifstream in(folder / name, std::ios::binary);
    return std::vector<std::uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }

  void open(const std::string& name) { ASSERT_EQ(initDecoder((folder / name).wstring().c_str(), &params), 1); }

  // Decodes `entry` and compares it with ffmpeg's picture of the same number.
  void expectPicture(std::int32_t entry, const std::vector<std::uint8_t>& pictures) {
    const std::size_t bytes = std::size_t{params->decodedWidth} * params->decodedHeight * 3 / 2;
    std::vector<std::uint8_t> picture(bytes, 0xEE);
    std::uint32_t size = 0, time = 0;
    ASSERT_EQ(decode_video_track(entry, picture.data(), &size, &time), 1) << entry;
    ASSERT_LE((entry + 1) * bytes, pictures.size());
    EXPECT_TRUE(std::equal(picture.begin(), picture.end(), pictures.begin() + static_cast<std::ptrdiff_t>(entry * bytes)))
        << "picture " << entry;
  }

  static fs::path folder;
  static bool made;
  MovieParams* params = nullptr;
};

fs::path RealPlayback::folder;
bool RealPlayback::made = false;

TEST_F(RealPlayback, H263PicturesInOrder) {
  open("h263.3gp");
  EXPECT_EQ(params->videoPlugin->codecType, MP4LIB_CODEC_TYPE_H263);
  const auto pictures = reference("h263.yuv");
  std::uint32_t frames = 0;
  ASSERT_EQ(getVideoFrameNum(&frames), 1);
  ASSERT_EQ(frames, 45u);
  for (std::int32_t entry = 0; entry < 45; ++entry) expectPicture(entry, pictures);
}

TEST_F(RealPlayback, H263PicturesWhenJumpingAbout) {
  open("h263.3gp");
  const auto pictures = reference("h263.yuv");
  // Forward past key frames, back before the remembered one, forward again.
  for (std::int32_t entry : {30, 5, 20, 44}) expectPicture(entry, pictures);
}

TEST_F(RealPlayback, Mpeg4PicturesInOrderAndJumping) {
  open("mpeg4.mp4");
  EXPECT_EQ(params->videoPlugin->codecType, MP4LIB_CODEC_TYPE_MPEG4V);
  const auto pictures = reference("mpeg4.yuv");
  std::uint32_t frames = 0;
  ASSERT_EQ(getVideoFrameNum(&frames), 1);
  ASSERT_EQ(frames, 50u);
  for (std::int32_t entry = 0; entry < 50; ++entry) expectPicture(entry, pictures);
  finalizeDecoder();
  open("mpeg4.mp4");
  for (std::int32_t entry : {40, 3, 26}) expectPicture(entry, pictures);
}

}  // namespace
}  // namespace mp4lib::test
