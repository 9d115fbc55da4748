// End to end with the real codec plug-ins of the build: RGB pictures and a
// PCM tone recorded through the library, then decoded by ffmpeg.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "codecs/plugin_registry.h"
#include "mp4lib.h"
#include "support/plugin_folder.h"
#include "support/recording.h"
#include "support/library_state.h"

namespace mp4lib::test {
namespace {

// ffprobe's decoded view of one stream: "codec,width,height,frames".
std::string decodedStream(const std::filesystem::path& file, const char* selector) {
  const std::filesystem::path report = file.string() + "." + selector + ".txt";
  const std::string command = std::string("ffprobe -v error -count_frames -select_streams ") + selector +
                              " -show_entries stream=codec_name,width,height,nb_read_frames -of csv=p=0 \"" +
                              file.string() + "\" > \"" + report.string() + "\" 2>&1";
  if (std::system(command.c_str()) != 0) return "ffprobe failed";
  std::ifstream in(report);
  std::stringstream text;
  text << in.rdbuf();
  std::string line = text.str();
  while (!line.empty() && (line.back() == '\n' || line.back() == ',')) line.pop_back();
  return line;
}

// A moving colour gradient, RGB24 (blue, green, red).
std::vector<std::uint8_t> gradient(int width, int height, int frame) {
  std::vector<std::uint8_t> rgb(static_cast<std::size_t>(width) * height * 3);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      std::uint8_t* pixel = &rgb[(static_cast<std::size_t>(y) * width + x) * 3];
      pixel[0] = static_cast<std::uint8_t>(x + frame * 4);
      pixel[1] = static_cast<std::uint8_t>(y * 2);
      pixel[2] = static_cast<std::uint8_t>(x + y);
    }
  }
  return rgb;
}

class RealRecording : public RecordingTest {
 protected:
  void SetUp() override {
    RecordingTest::SetUp();
    codecs::unloadCodecPlugins(test::plugins());
    const std::wstring beside = (libraryFolder() / mp4libFileName()).wstring();
    codecs::discoverCodecPluginsBeside(test::plugins(), beside.c_str());
    if (codecs::findCodecPluginByType(test::plugins(), MP4LIB_CODEC_TYPE_H263) == nullptr) GTEST_SKIP() << "no H.263 plug-in built";
    if (!ffprobeAvailable()) GTEST_SKIP() << "ffprobe is not installed";
  }
};

TEST_F(RealRecording, H263FromRgbPicturesDecodes) {
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 0);
  EncoderContext* context = startRecording(params, "real.3gp");
  ASSERT_NE(context, nullptr);
  std::vector<std::uint8_t> out(176 * 144 * 3);
  for (int k = 0; k < 15; ++k) {
    const std::vector<std::uint8_t> picture = gradient(176, 144, k);
    std::uint32_t size = static_cast<std::uint32_t>(out.size());
    ASSERT_EQ(encodeRGB24Video(picture.data(), 0, out.data(), &size, 1, 0xFFFFFFFF, 0), 1) << k;
  }
  ASSERT_EQ(closeEncodeFile(), 1);
  EXPECT_EQ(decodedStream(pathOf("real.3gp"), "v:0"), "h263,176,144,15");
}

TEST_F(RealRecording, H263WithAmrDecodes) {
  if (codecs::findCodecPluginByType(test::plugins(), MP4LIB_CODEC_TYPE_AMR) == nullptr) GTEST_SKIP() << "no AMR plug-in built";
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 0);
  addAudio(params, MP4LIB_CODEC_TYPE_AMR, 20);
  ASSERT_NE(startRecording(params, "real-av.3gp"), nullptr);
  std::vector<std::uint8_t> out(176 * 144 * 3);
  std::vector<std::uint8_t> pcm(320);
  for (int block = 0; block < 50; ++block) {  // one second of a 440 Hz tone
    for (int i = 0; i < 160; ++i) {
      const int t = block * 160 + i;
      const auto sample = static_cast<std::int16_t>(((t * 440 * 2 / 8000) % 2 == 0) ? 4000 : -4000);
      pcm[2 * i] = static_cast<std::uint8_t>(static_cast<std::uint16_t>(sample) & 0xFF);
      pcm[2 * i + 1] = static_cast<std::uint8_t>(static_cast<std::uint16_t>(sample) >> 8);
    }
    std::uint32_t size = static_cast<std::uint32_t>(out.size());
    ASSERT_NE(encode_audio(pcm.data(), 320, out.data(), &size) & 0xFF, 0u);
    ASSERT_EQ(writeEncodeData(out.data(), size, 1, 0), 1);
    if (block % 10 == 0) {
      const std::vector<std::uint8_t> picture = gradient(176, 144, block);
      size = static_cast<std::uint32_t>(out.size());
      ASSERT_EQ(encodeRGB24Video(picture.data(), 0, out.data(), &size, 1, 0xFFFFFFFF, 0), 1);
    }
  }
  ASSERT_EQ(closeEncodeFile(), 1);
  EXPECT_EQ(decodedStream(pathOf("real-av.3gp"), "v:0"), "h263,176,144,5");
  EXPECT_EQ(decodedStream(pathOf("real-av.3gp"), "a:0"), "amr_nb,50");
}

}  // namespace
}  // namespace mp4lib::test
