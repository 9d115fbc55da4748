// Movies made by ffmpeg, played by the library with the real codec plug-ins
// through track decoding and through the read-ahead queues: every picture
// must be ffmpeg's own picture of the same movie, the sound ffmpeg's sound,
// and seeking must land where the tables of the file say.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
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
constexpr std::size_t kPictureBytes = kWidth * kHeight * 3 / 2;
constexpr int kFrames = 30;  // 2 s at 15 fps, key frames at 0, 12 and 24 (ffmpeg's default group of 12)

// A picture's time: its number times the frame duration (1024 units at
// 15360 per second), both in single precision, truncated to whole ms; so
// picture 15 is at 999 ms, not 1000.
std::uint32_t pictureMs(int frame) {
  const float frameMs = 1024.0f * 1000.0f / 15360.0f;
  return static_cast<std::uint32_t>(static_cast<float>(frame) * frameMs);
}

// The movies, made once for the whole suite.
class Movies {
 public:
  Movies() : folder_("interop-ffmpeg") {
    const std::string ff = "ffmpeg -nostdin -v error -y ";
    const std::string pattern = "-f lavfi -i testsrc=size=176x144:rate=15 ";
    const std::string sine = "-f lavfi -i sine=frequency=440:sample_rate=44100 ";
    made_ = makeAmr() &&
            run(ff + pattern + "-i " + quoted(at("tone.amr")) + " -t 2 -c:v h263 -c:a copy " + quoted(at("h263-amr.3gp"))) &&
            run(ff + pattern + "-i " + quoted(at("tone.amr")) + " -t 2 -c:v mpeg4 -c:a copy " + quoted(at("mpeg4-amr.3gp"))) &&
            run(ff + pattern + sine + "-t 2 -c:v mpeg4 -c:a aac -ac 1 " + quoted(at("mpeg4-aac.mp4"))) &&
            run(ff + pattern + sine + "-t 2 -c:v mpeg4 -c:a aac -ac 1 -movflags +faststart " +
                quoted(at("mpeg4-aac-faststart.mp4")));
  }
  bool made() const { return made_; }
  fs::path at(const std::string& name) const { return folder_ / name; }

  // ffmpeg's pictures of a movie, one planar 4:2:0 picture after another.
  Bytes pictures(const std::string& movie) const {
    const fs::path yuv = at(movie + ".yuv");
    if (!fs::exists(yuv)) {
      run("ffmpeg -nostdin -v error -y -i " + quoted(at(movie)) + " -map 0:v -f rawvideo -pix_fmt yuv420p " + quoted(yuv));
    }
    return readFile(yuv);
  }

  // ffmpeg's sound of a movie as 16-bit PCM, every sample the file holds
  // (the edit list that hides the AAC start-up samples ignored).
  Bytes sound(const std::string& movie) const {
    const fs::path pcm = at(movie + ".pcm");
    if (!fs::exists(pcm)) {
      run("ffmpeg -nostdin -v error -y -ignore_editlist 1 -i " + quoted(at(movie)) + " -map 0:a -f s16le " + quoted(pcm));
    }
    return readFile(pcm);
  }

 private:
  // Debian's ffmpeg cannot encode AMR: the frames come from our AMR plug-in,
  // recorded through the library into a 3GP and copied out into a raw
  // "#!AMR\n" file for ffmpeg to mux.
  bool makeAmr() {
    EncoderParams params{};
    params.flags = MP4LIB_RECORD_AUDIO;
    params.audioCodecType = MP4LIB_CODEC_TYPE_AMR;
    params.audioBits = 16;
    params.audioSampleRate = 8000;
    params.audioChannels = 1;
    params.audioBlockMs = 20;
    EncoderContext* context = nullptr;
    if ((initEncoder(&params, &context) & 0xFF) == 0) return false;
    const fs::path recorded = at("tone-recorded.3gp");
    if (createEncodeFile(recorded.wstring().c_str()) != 1 || writeVideoFileHeader(0, 0) != 1) {
      finalizeEncoder();
      return false;
    }
    std::vector<std::uint8_t> out(4096);
    bool ok = true;
    for (std::uint32_t block = 0; ok && block < 100; ++block) {  // 2 s of 20 ms blocks
      const Bytes pcm = tone(440.0, 8000, block * 160ull, 160);
      std::uint32_t size = static_cast<std::uint32_t>(out.size());
      ok = (encode_audio(pcm.data(), 320, out.data(), &size) & 0xFF) != 0 && writeEncodeData(out.data(), size, 1, block * 20) == 1;
    }
    ok = closeEncodeFile() == 1 && ok;
    finalizeEncoder();
    if (!ok) return false;
    Bytes amr = {'#', '!', 'A', 'M', 'R', '\n'};
    for (const Bytes& sample : trackSamples(readFile(recorded), "samr")) amr.insert(amr.end(), sample.begin(), sample.end());
    return amr.size() == 6 + 100 * 32 && writeFile(at("tone.amr"), amr);
  }

  ScratchFolder folder_;
  bool made_ = false;
};

Movies* movies = nullptr;

class FfmpegFiles : public ::testing::TestWithParam<const char*> {
 protected:
  static void SetUpTestSuite() {
    if (!ffmpegAvailable()) return;
    loadPlugins();
    movies = new Movies;
    unloadPlugins();
  }
  static void TearDownTestSuite() {
    delete movies;
    movies = nullptr;
  }
  void SetUp() override {
    if (!ffmpegAvailable()) GTEST_SKIP() << "ffmpeg or ffprobe is not installed";
    ASSERT_TRUE(movies->made()) << "ffmpeg could not make the movies";
    loadPlugins();
  }
  void TearDown() override {
    finalizeDecoder();
    unloadPlugins();
  }

  static void loadPlugins() {
    codecs::unloadCodecPlugins(test::plugins());
    codecs::discoverCodecPluginsBeside(test::plugins(), (libraryFolder() / mp4libFileName()).wstring().c_str());
  }
  static void unloadPlugins() {
    test::plugins().active = codecs::ActivePlugins{};
    codecs::unloadCodecPlugins(test::plugins());
    codecs::discoverCodecPluginsBeside(test::plugins(), nullptr);
  }

  void open() {
    ASSERT_EQ(initDecoder(movies->at(GetParam()).wstring().c_str(), &params), 1);
    ASSERT_EQ(params->decodedWidth, std::uint32_t{kWidth});
    ASSERT_EQ(params->decodedHeight, std::uint32_t{kHeight});
  }

  bool isAac() const { return std::string(GetParam()).find("aac") != std::string::npos; }

  // AAC entries the library can find. ffmpeg ends the AAC track with a
  // sample-to-chunk run of several 3-sample chunks, and the library places
  // only the first chunk of a last run (the samples after it stay at offset 0,
  // deliberately), so the track plays up to the end of that chunk.
  std::uint32_t placedAacEntries() const {
    const Bytes file = readFile(movies->at(GetParam()));
    const std::vector<std::uint32_t> counts = chunkSampleCounts(file, "mp4a");
    const std::uint32_t lastRun = lastRunFirstChunk(file, "mp4a");
    std::uint32_t placed = 0;
    for (std::uint32_t chunk = 0; chunk < lastRun && chunk < counts.size(); ++chunk) placed += counts[chunk];
    return placed;
  }

  // Audio entries [0, entries) through decode_audio_track, slice by slice.
  static Bytes trackSound(std::uint32_t entries) {
    std::uint32_t failed = 0;
    Bytes pcm = decodedTrackSound(entries, 16384, &failed);
    if (failed < entries) ADD_FAILURE() << "audio entry " << failed;
    return pcm;
  }

  // The same sound ffmpeg decoded: AAC bit for bit but for the last step of
  // rounding floats to 16 bits; AMR (opencore against ffmpeg's own decoder)
  // as the same tone of the same length.
  void expectSound(const Bytes& ours) const {
    Bytes theirs = movies->sound(GetParam());
    if (isAac()) {
      const std::size_t placedBytes = std::size_t{placedAacEntries()} * 1024 * 2;  // mono 16-bit
      ASSERT_GE(ours.size(), placedBytes);
      ASSERT_GE(theirs.size(), placedBytes);
      EXPECT_EQ(theirs.size(), 88u * 1024u * 2u);  // 2 s and the start-up frame
      EXPECT_GE(psnr16(Bytes(ours.begin(), ours.begin() + placedBytes), Bytes(theirs.begin(), theirs.begin() + placedBytes)),
                60.0);
    } else {
      EXPECT_EQ(ours.size(), 100u * 160u * 2u);
      EXPECT_NEAR(zeroCrossingHertz(ours, 8000, 1, 400), 440.0, 4.0);
      EXPECT_NEAR(zeroCrossingHertz(theirs, 8000, 1, 400), 440.0, 4.0);
    }
  }

  // PSNR of two 16-bit PCM signals against full scale, dB.
  static double psnr16(const Bytes& a, const Bytes& b) {
    double squared = 0.0;
    const std::size_t samples = std::min(a.size(), b.size()) / 2;
    for (std::size_t i = 0; i < samples; ++i) {
      const double d = static_cast<std::int16_t>(a[2 * i] | (a[2 * i + 1] << 8)) -
                       static_cast<double>(static_cast<std::int16_t>(b[2 * i] | (b[2 * i + 1] << 8)));
      squared += d * d;
    }
    if (squared == 0.0) return 99.0;
    return 10.0 * std::log10(32767.0 * 32767.0 * static_cast<double>(samples) / squared);
  }

  static void expectPicture(const std::uint8_t* ours, const Bytes& theirs, int frame) {
    ASSERT_GE(theirs.size(), kPictureBytes * (frame + 1));
    EXPECT_GE(psnr(ours, theirs.data() + kPictureBytes * frame, kPictureBytes), 45.0) << "picture " << frame;
  }

  MovieParams* params = nullptr;
};

TEST_P(FfmpegFiles, TrackDecodingGivesFfmpegsPicturesAndSound) {
  open();
  const Bytes pictures = movies->pictures(GetParam());
  ASSERT_EQ(pictures.size(), kPictureBytes * kFrames);
  std::uint32_t frames = 0, durationMs = 0;
  ASSERT_EQ(getVideoFrameNum(&frames), 1);
  ASSERT_EQ(frames, std::uint32_t{kFrames});
  ASSERT_EQ(getMovieDuration(&durationMs), 1);
  EXPECT_NEAR(durationMs, 2000.0, 30.0);
  std::vector<std::uint8_t> picture(kPictureBytes);
  for (int frame = 0; frame < kFrames; ++frame) {
    std::uint32_t size = 0, timeMs = 0;
    ASSERT_EQ(decode_video_track(frame, picture.data(), &size, &timeMs), 1) << frame;
    EXPECT_EQ(timeMs, pictureMs(frame)) << frame;
    expectPicture(picture.data(), pictures, frame);
  }
  std::uint32_t entries = 0;
  ASSERT_EQ(getAudioFrameNum(&entries), 1);
  if (isAac()) {
    EXPECT_EQ(entries, 88u);
    const std::uint32_t placed = placedAacEntries();
    ASSERT_LT(placed, entries);
    expectSound(trackSound(placed));
    // The first sample left at offset 0 reads the file's start, which is no AAC.
    std::vector<std::uint8_t> slice(16384);
    std::uint32_t length = static_cast<std::uint32_t>(slice.size()), timeMs = 0, left = 0;
    EXPECT_EQ(decode_audio_track(static_cast<std::int32_t>(placed), slice.data(), &length, &timeMs, &left) & 0xFF, 0u);
  } else {
    expectSound(trackSound(entries));
  }
}

TEST_P(FfmpegFiles, Rgb24TrackDecodingIsFfmpegsPictureConverted) {
  open();
  const Bytes pictures = movies->pictures(GetParam());
  ASSERT_EQ(pictures.size(), kPictureBytes * kFrames);
  const std::size_t bytes = kWidth * kHeight * 3;
  std::vector<std::uint8_t> rgb(bytes), converted(bytes);
  for (int frame : {0, 7, 16, 29}) {
    std::uint32_t size = 0, timeMs = 0;
    ASSERT_EQ(decode_RGB24_video_track(frame, rgb.data(), &size, &timeMs), 1) << frame;
    EXPECT_EQ(size, bytes);
    EXPECT_EQ(timeMs, pictureMs(frame));
    // ffmpeg's picture through the library's own colour conversion.
    const std::uint8_t* y = pictures.data() + kPictureBytes * frame;
    const std::uint8_t* u = y + kWidth * kHeight;
    const std::uint8_t* v = u + kWidth * kHeight / 4;
    ASSERT_EQ(transferByteYUV2RGBEx(kWidth, 0, kWidth, kHeight, y, u, v, converted.data()), 1);
    EXPECT_GE(psnr(rgb.data(), converted.data(), bytes), 45.0) << "picture " << frame;
  }
}

TEST_P(FfmpegFiles, QueueDecodingGivesFfmpegsPicturesAndSound) {
  open();
  const Bytes pictures = movies->pictures(GetParam());
  ASSERT_EQ(pictures.size(), kPictureBytes * kFrames);
  std::vector<std::uint8_t> picture(kPictureBytes), slice(16384);
  Bytes sound;
  int frames = 0, rounds = 0;
  // Samples come off the file in file order; video and audio are taken in
  // turn so that neither queue holds the other up.
  for (bool progressed = true; progressed && rounds < 1000; ++rounds) {
    progressed = false;
    std::uint32_t timeMs = 0;
    if (frames < kFrames && decodeVideo(picture.data(), &timeMs) != 0) {
      EXPECT_EQ(timeMs, pictureMs(frames)) << frames;
      expectPicture(picture.data(), pictures, frames);
      ++frames;
      progressed = true;
    }
    // Audio samples the plug-in refuses (see placedAacEntries) are taken
    // off the queue all the same.
    for (int guard = 0; guard < 1000 && (getAudioObjSize() > 0 || (frames == kFrames && !isStreamEnd())); ++guard) {
      std::uint32_t length = static_cast<std::uint32_t>(slice.size());
      if (decodeAudio(slice.data(), &length) != 0) sound.insert(sound.end(), slice.begin(), slice.begin() + length);
      progressed = true;
    }
  }
  EXPECT_EQ(frames, kFrames);
  EXPECT_EQ(isStreamEnd(), 1);
  expectSound(sound);
}

TEST_P(FfmpegFiles, SeekLandsWhereTheTablesSay) {
  open();
  const Bytes pictures = movies->pictures(GetParam());
  ASSERT_EQ(pictures.size(), kPictureBytes * kFrames);
  std::int32_t usedMs = -1, videoEntry = -1, audioEntry = -1;
  ASSERT_EQ(seek(1100, &usedMs, &videoEntry, &audioEntry), 1);
  std::int32_t expectedAudio = 0, expectedUsed = 1100;
  std::uint32_t expectedOffset = 0;
  if (isAac()) {
    // One entry per 1024-sample AAC frame at 44100 Hz: 1100 ms is media time
    // 48510, inside entry 47, which starts at 47 x 1024 / 44.1 = 1091 ms.
    expectedAudio = 47;
    expectedUsed = 1091;
  } else {
    // 32-byte AMR frames of 160 units at 8000 Hz, one entry per chunk: walk
    // the chunks as ffmpeg laid them out to media time 8800.
    const std::vector<std::uint32_t> counts = chunkSampleCounts(readFile(movies->at(GetParam())), "samr");
    ASSERT_FALSE(counts.empty());
    std::uint32_t t = 8800;
    std::size_t chunk = 0;
    while (chunk + 1 < counts.size() && t >= counts[chunk] * 160) t -= counts[chunk++] * 160;
    expectedAudio = static_cast<std::int32_t>(chunk);
    expectedOffset = (counts[chunk] * 32 * t / (counts[chunk] * 160)) / 32 * 32;
  }
  EXPECT_EQ(usedMs, expectedUsed);
  EXPECT_EQ(audioEntry, expectedAudio);
  // 1091 ms and 1100 ms both fall in picture 16 (1066.7 .. 1133.3 ms), which
  // decodes from the key frame at 12.
  EXPECT_EQ(videoEntry, 16);
  std::int32_t entry = -1, adjustedMs = -1;
  std::uint32_t offset = 99;
  ASSERT_EQ(setAudioEntryByTime(1100, &entry, &offset, &adjustedMs), 1);
  EXPECT_EQ(entry, expectedAudio);
  EXPECT_EQ(offset, expectedOffset);
  std::vector<std::uint8_t> picture(kPictureBytes);
  std::uint32_t size = 0, timeMs = 0;
  ASSERT_EQ(decode_video_track(videoEntry, picture.data(), &size, &timeMs), 1);
  EXPECT_EQ(timeMs, 1066u);
  expectPicture(picture.data(), pictures, 16);
  // Back to the start: everything at zero.
  ASSERT_EQ(seek(0, &usedMs, &videoEntry, &audioEntry), 1);
  EXPECT_EQ(usedMs, 0);
  EXPECT_EQ(videoEntry, 0);
  EXPECT_EQ(audioEntry, 0);
}

INSTANTIATE_TEST_SUITE_P(Movies, FfmpegFiles,
                         ::testing::Values("h263-amr.3gp", "mpeg4-amr.3gp", "mpeg4-aac.mp4", "mpeg4-aac-faststart.mp4"),
                         [](const ::testing::TestParamInfo<const char*>& info) {
                           std::string name;
                           for (const char c : std::string(info.param)) {
                             if (std::isalnum(static_cast<unsigned char>(c))) name += c;
                           }
                           return name;
                         });

}  // namespace
}  // namespace mp4lib::test::interop
