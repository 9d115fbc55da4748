// The tool's live sound, headless: ALSA's default PCM is replaced by the
// "file" plug-in over "null", so the input device reads a known sound and
// the output device writes what it plays to a file. The tool records from
// the input through the real AMR plug-in and plays the movie back out.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "codecs/plugin_registry.h"
#include "interop/interop_support.h"
#include "mp4lib.h"
#include "support/alsa_file_devices.h"
#include "support/pcm.h"
#include "support/plugin_folder.h"
#include "support/library_state.h"

namespace mp4lib::test {
namespace {

using interop::Bytes;
using interop::quoted;

constexpr int kRate = 8000;  // Hz

// A rising sweep from 200 Hz to 2000 Hz, 16-bit mono little-endian: no two
// stretches look alike, so the best match between two copies is unique.
Bytes sweep(int samples) {
  Bytes pcm;
  double phase = 0;
  for (int i = 0; i < samples; ++i) {
    const double hertz = 200.0 + 1800.0 * i / samples;
    phase += 2 * M_PI * hertz / kRate;
    const auto value = static_cast<std::int16_t>(std::lround(9000.0 * std::sin(phase)));
    pcm.push_back(static_cast<std::uint8_t>(value & 0xFF));
    pcm.push_back(static_cast<std::uint8_t>((value >> 8) & 0xFF));
  }
  return pcm;
}

// The best normalised correlation of `decoded` against `source` over the
// samples [from, to) of `decoded`, for delays 0 to maxDelay samples.
double bestCorrelation(const std::vector<int>& source, const std::vector<int>& decoded, std::size_t from,
                       std::size_t to, std::size_t maxDelay) {
  double best = -1;
  for (std::size_t delay = 0; delay <= maxDelay && delay <= from; ++delay) {
    double sxy = 0, sxx = 0, syy = 0;
    for (std::size_t i = from; i < to && i < decoded.size(); ++i) {
      const double x = source[i - delay], y = decoded[i];
      sxy += x * y;
      sxx += x * x;
      syy += y * y;
    }
    if (sxx > 0 && syy > 0) best = std::max(best, sxy / std::sqrt(sxx * syy));
  }
  return best;
}

class LiveTool : public ::testing::Test {
 protected:
  void SetUp() override { useAlsaFileDevices(folder.path()); }
  void TearDown() override { stopUsingAlsaFileDevices(); }

  bool tool(const std::string& arguments) {
    return interop::run("cd " + quoted(libraryFolder()) + " && ./mp4lib " + arguments);
  }

  // Every PCM byte of the movie's audio, decoded through the library.
  Bytes decodedAudio(const std::filesystem::path& movie) {
    codecs::discoverCodecPluginsBeside(test::plugins(), (libraryFolder() / mp4libFileName()).wstring().c_str());
    MovieParams* params = nullptr;
    Bytes pcm;
    if (initDecoder(movie.wstring().c_str(), &params) == 1) {
      std::uint32_t samples = 0;
      getAudioFrameNum(&samples);
      pcm = decodedTrackSound(samples, MP4LIB_AUDIO_DECODE_MIN_OUTPUT);
      finalizeDecoder();
    }
    codecs::unloadCodecPlugins(test::plugins());
    codecs::discoverCodecPluginsBeside(test::plugins(), nullptr);
    return pcm;
  }

  interop::ScratchFolder folder{"mp4lib_live_tool"};
};

TEST_F(LiveTool, RecordsTheInputDeviceThroughAmrAndPlaysItBackOut) {
  const Bytes input = sweep(2 * kRate);  // 2 s; the recording takes the first second
  ASSERT_TRUE(interop::writeFile(folder / "input.raw", input));
  const auto movie = folder / "live.3gp";
  ASSERT_TRUE(tool("record --live --seconds 1 --video h263 --audio amr " + quoted(movie)));

  // 1 s of 20 ms AMR blocks, and the pictures that go with it.
  const Bytes decoded = decodedAudio(movie);
  ASSERT_EQ(decoded.size(), 50u * 320u);
  const std::vector<int> source = pcmSamples(input), heard = pcmSamples(decoded);
  // AMR keeps the waveform, a few samples late.
  const double match = bestCorrelation(source, heard, 800, 8000, 400);
  EXPECT_GT(match, 0.85);
  RecordProperty("correlation", std::to_string(match));
  const std::string frames =
      interop::output("ffprobe -v error -select_streams v -count_frames -show_entries stream=nb_read_frames -of csv=p=0 " +
                      quoted(movie));
  EXPECT_EQ(frames, "15\n");

  // Playing it out writes exactly the decoded sound, in order.
  ASSERT_TRUE(tool("play --device " + quoted(movie)));
  EXPECT_EQ(interop::readFile(folder / "played.raw"), decoded);
}

TEST_F(LiveTool, ExplainsAMovieWithoutSound) {
  const auto movie = folder / "silent.3gp";
  ASSERT_TRUE(tool("record --seconds 1 --audio none " + quoted(movie)));
  const std::string said = interop::output("{ cd " + quoted(libraryFolder()) + " && ./mp4lib play --device " +
                                           quoted(movie) + " 2>&1; echo exit=$?; }");
  EXPECT_NE(said.find("exit=1"), std::string::npos) << said;
  EXPECT_NE(said.find("has no audio track to play"), std::string::npos) << said;
}

TEST_F(LiveTool, LiveNeedsAnAudioCodec) {
  const std::string said = interop::output(
      "cd " + quoted(libraryFolder()) + " && ./mp4lib record --live --audio none " + quoted(folder / "x.3gp"), true);
  EXPECT_NE(said.find("--live records the sound of the input device"), std::string::npos) << said;
}

}  // namespace
}  // namespace mp4lib::test
