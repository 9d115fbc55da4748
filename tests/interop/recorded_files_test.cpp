// Movies recorded by the library with the real codec plug-ins, checked by
// ffprobe and decoded by ffmpeg: the pictures must come back close to the
// pattern that went in, the sound as a tone of the frequency that went in.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "codecs/plugin_registry.h"
#include "interop/interop_support.h"
#include "mp4lib.h"
#include "support/plugin_folder.h"
#include "support/library_state.h"

namespace fs = std::filesystem;

namespace mp4lib::test::interop {
namespace {

constexpr int kWidth = 176, kHeight = 144;
constexpr double kFrameRate = 15.0;
constexpr int kFrames = 18;                 // 1.2 s at 15 fps
constexpr int kRecordMs = 1200;
constexpr std::size_t kPictureBytes = kWidth * kHeight * 3 / 2;

struct Pair {
  const char* name;
  const char* video;  // "h263", "mpeg4" or nullptr
  const char* audio;  // "amr", "g723" or nullptr
};

std::uint32_t videoType(const std::string& video) {
  return video == "h263" ? MP4LIB_CODEC_TYPE_H263 : MP4LIB_CODEC_TYPE_MPEG4V;
}

void PrintTo(const Pair& pair, std::ostream* out) { *out << pair.name; }

class RecordedFiles : public ::testing::TestWithParam<Pair> {
 protected:
  static void SetUpTestSuite() { folder = new ScratchFolder("interop-recorded"); }
  static void TearDownTestSuite() {
    delete folder;
    folder = nullptr;
  }
  void SetUp() override {
    if (!ffmpegAvailable()) GTEST_SKIP() << "ffmpeg or ffprobe is not installed";
    codecs::unloadCodecPlugins(test::plugins());
    codecs::discoverCodecPluginsBeside(test::plugins(), (libraryFolder() / mp4libFileName()).wstring().c_str());
  }
  void TearDown() override {
    finalizeEncoder();
    test::plugins().active = codecs::ActivePlugins{};
    codecs::unloadCodecPlugins(test::plugins());
    codecs::discoverCodecPluginsBeside(test::plugins(), nullptr);
  }

  // Records kRecordMs of the pattern and a 440 Hz tone through the exported
  // API, the way an application interleaves them: each picture, then the
  // audio blocks up to the next picture's time.
  static bool record(const Pair& pair, const fs::path& path) {
    EncoderParams params{};
    params.width = kWidth;
    params.height = kHeight;
    params.frameRate = kFrameRate;
    params.bitRate = 256000;  // bits per second: enough for 30 dB on this pattern
    if (pair.video != nullptr) {
      params.flags |= MP4LIB_RECORD_VIDEO;
      params.videoCodecType = videoType(pair.video);
    }
    const std::uint32_t blockMs = pair.audio != nullptr && std::string(pair.audio) == "g723" ? 30 : 20;
    if (pair.audio != nullptr) {
      params.flags |= MP4LIB_RECORD_AUDIO;
      params.audioCodecType = std::string(pair.audio) == "amr" ? MP4LIB_CODEC_TYPE_AMR : MP4LIB_CODEC_TYPE_G723;
      params.audioBits = 16;
      params.audioSampleRate = 8000;
      params.audioChannels = 1;
      params.audioBlockMs = blockMs;
    }
    EncoderContext* context = nullptr;
    if ((initEncoder(&params, &context) & 0xFF) == 0) return false;
    if (createEncodeFile(path.wstring().c_str()) != 1 || writeVideoFileHeader(0, 0) != 1) return false;
    std::vector<std::uint8_t> out(kPictureBytes * 2 + 65536);
    std::uint32_t nextBlock = 0;
    const std::uint32_t samplesPerBlock = context->pcmBytesPerBlock / 2;
    for (int frame = 0; frame < kFrames; ++frame) {
      const auto frameMs = static_cast<std::uint32_t>(frame * 1000 / kFrameRate);
      if (pair.video != nullptr) {
        const Bytes picture = patternPicture(kWidth, kHeight, frame);
        std::uint32_t size = static_cast<std::uint32_t>(out.size());
        if ((encode_YUV420_byte_planner_video(picture.data(), 0, out.data(), &size, frameMs) & 0xFF) == 0) return false;
        if (size > 0 && writeEncodeData(out.data(), size, 0, frameMs) != 1) return false;
      }
      const auto untilMs = static_cast<std::uint32_t>((frame + 1) * 1000 / kFrameRate);
      while (pair.audio != nullptr && nextBlock * blockMs < untilMs && (nextBlock + 1) * blockMs <= kRecordMs) {
        const Bytes pcm = tone(440.0, 8000, std::uint64_t{nextBlock} * samplesPerBlock, static_cast<int>(samplesPerBlock));
        std::uint32_t size = static_cast<std::uint32_t>(out.size());
        if ((encode_audio(pcm.data(), static_cast<std::uint32_t>(pcm.size()), out.data(), &size) & 0xFF) == 0) return false;
        if (size > 0 && writeEncodeData(out.data(), size, 1, nextBlock * blockMs) != 1) return false;
        ++nextBlock;
      }
    }
    const bool closed = closeEncodeFile() == 1;
    finalizeEncoder();
    return closed;
  }

  // Every decoded picture against the pattern that went in.
  static void expectPattern(const fs::path& yuv) {
    const Bytes pictures = readFile(yuv);
    ASSERT_EQ(pictures.size(), kPictureBytes * kFrames);
    for (int frame = 0; frame < kFrames; ++frame) {
      const Bytes source = patternPicture(kWidth, kHeight, frame);
      const double db = psnr(source.data(), pictures.data() + kPictureBytes * frame, kPictureBytes);
      EXPECT_GE(db, 30.0) << "picture " << frame;
    }
  }

  // 1.2 s of 8000 Hz PCM from ffmpeg: a 440 Hz tone after the codec has settled.
  static void expectTone(const fs::path& pcm, std::size_t samples) {
    const Bytes sound = readFile(pcm);
    EXPECT_EQ(sound.size(), samples * 2);
    EXPECT_NEAR(zeroCrossingHertz(sound, 8000, 1, 400), 440.0, 4.0);
  }

  static ScratchFolder* folder;
};

ScratchFolder* RecordedFiles::folder = nullptr;

TEST_P(RecordedFiles, FfprobeAndFfmpegReadWhatWasRecorded) {
  const Pair pair = GetParam();
  const fs::path movie = *folder / (std::string(pair.name) + ".3gp");
  ASSERT_TRUE(record(pair, movie));
  const Bytes file = readFile(movie);
  const std::string ff = "ffmpeg -nostdin -v error -y ";

  if (pair.video != nullptr && std::string(pair.video) == "h263") {
    const ProbedStream video = probe(movie, "v:0");
    EXPECT_EQ(video.codecName, "h263");
    EXPECT_EQ(video.codecTag, "s263");
    EXPECT_EQ(video.frames, "18");
    EXPECT_EQ(video.duration, "1.200000");
    EXPECT_EQ(video.width, "176");
    EXPECT_EQ(video.height, "144");
    const fs::path yuv = *folder / (std::string(pair.name) + ".yuv");
    ASSERT_TRUE(run(ff + "-i " + quoted(movie) + " -map 0:v -f rawvideo -pix_fmt yuv420p " + quoted(yuv)));
    expectPattern(yuv);
  }
  const bool mpeg4 = pair.video != nullptr && std::string(pair.video) == "mpeg4";
  if (mpeg4) {
    // The configuration travels in the first sample and "esds" holds no
    // decoder-specific bytes; FFmpeg 5.1 refuses the whole file for it, so
    // the samples go to its raw MPEG-4 input instead.
    EXPECT_NE(output("ffprobe -v error " + quoted(movie), true).find("Invalid data found when processing input"),
              std::string::npos);
    const std::vector<Bytes> samples = trackSamples(file, "mp4v");
    ASSERT_EQ(samples.size(), 18u);
    Bytes stream;
    for (const Bytes& sample : samples) stream.insert(stream.end(), sample.begin(), sample.end());
    const fs::path m4v = *folder / (std::string(pair.name) + ".m4v");
    const fs::path yuv = *folder / (std::string(pair.name) + ".yuv");
    ASSERT_TRUE(writeFile(m4v, stream));
    const ProbedStream video = probe(m4v, "v:0");
    EXPECT_EQ(video.codecName, "mpeg4");
    EXPECT_EQ(video.frames, "18");
    EXPECT_EQ(video.width, "176");
    EXPECT_EQ(video.height, "144");
    ASSERT_TRUE(run(ff + "-f m4v -i " + quoted(m4v) + " -f rawvideo -pix_fmt yuv420p " + quoted(yuv)));
    expectPattern(yuv);
  }
  if (pair.audio != nullptr && std::string(pair.audio) == "amr" && mpeg4) {
    // ffmpeg cannot open this file (see above): the frames go to its AMR input.
    Bytes amr = {'#', '!', 'A', 'M', 'R', '\n'};
    for (const Bytes& sample : trackSamples(file, "samr")) amr.insert(amr.end(), sample.begin(), sample.end());
    EXPECT_EQ(amr.size(), 6u + 60u * 32u);  // 1.2 s of 20 ms frames at 12.2 kbit/s
    const fs::path raw = *folder / (std::string(pair.name) + ".amr");
    const fs::path pcm = *folder / (std::string(pair.name) + ".pcm");
    ASSERT_TRUE(writeFile(raw, amr));
    const ProbedStream audio = probe(raw, "a:0");
    EXPECT_EQ(audio.codecName, "amr_nb");
    EXPECT_EQ(audio.frames, "60");
    ASSERT_TRUE(run(ff + "-i " + quoted(raw) + " -f s16le -ac 1 -ar 8000 " + quoted(pcm)));
    expectTone(pcm, 9600);
  }
  if (pair.audio != nullptr && std::string(pair.audio) == "amr" && !mpeg4) {
    const ProbedStream audio = probe(movie, "a:0");
    EXPECT_EQ(audio.codecName, "amr_nb");
    EXPECT_EQ(audio.codecTag, "samr");
    EXPECT_EQ(audio.frames, "60");  // 1.2 s of 20 ms frames
    EXPECT_EQ(audio.duration, "1.200000");
    const fs::path pcm = *folder / (std::string(pair.name) + ".pcm");
    ASSERT_TRUE(run(ff + "-i " + quoted(movie) + " -map 0:a -f s16le -ac 1 -ar 8000 " + quoted(pcm)));
    expectTone(pcm, 9600);
  }
  if (pair.audio != nullptr && std::string(pair.audio) == "g723") {
    // ffprobe knows the sample entry but no decoder for it: the frames go to
    // ffmpeg's raw G.723.1 input.
    if (!mpeg4) {
      const ProbedStream audio = probe(movie, "a:0");
      EXPECT_EQ(audio.codecTag, "g723");
      EXPECT_EQ(audio.duration, "1.200000");
    }
    const std::vector<Bytes> samples = trackSamples(file, "g723");
    Bytes stream;
    for (const Bytes& sample : samples) stream.insert(stream.end(), sample.begin(), sample.end());
    EXPECT_EQ(stream.size(), 40u * 24u);  // 40 frames of 30 ms at 6.3 kbit/s
    const fs::path raw = *folder / (std::string(pair.name) + ".g723");
    const fs::path pcm = *folder / (std::string(pair.name) + ".pcm");
    ASSERT_TRUE(writeFile(raw, stream));
    ASSERT_TRUE(run(ff + "-f g723_1 -i " + quoted(raw) + " -f s16le " + quoted(pcm)));
    expectTone(pcm, 9600);
  }
}

INSTANTIATE_TEST_SUITE_P(Pairs, RecordedFiles,
                         ::testing::Values(Pair{"H263Amr", "h263", "amr"}, Pair{"H263G723", "h263", "g723"},
                                           Pair{"Mpeg4Amr", "mpeg4", "amr"}, Pair{"Mpeg4G723", "mpeg4", "g723"},
                                           Pair{"H263Only", "h263", nullptr}, Pair{"Mpeg4Only", "mpeg4", nullptr},
                                           Pair{"AmrOnly", nullptr, "amr"}, Pair{"G723Only", nullptr, "g723"}),
                         [](const ::testing::TestParamInfo<Pair>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace mp4lib::test::interop
