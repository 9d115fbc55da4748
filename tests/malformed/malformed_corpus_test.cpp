// Opens every damaged movie of malformed_cases.cpp through the public API and
// holds the reader to the outcome written down for it; then uses the
// decoding entry points on the ones that open, with every buffer sized
// exactly from what the library reported, so that under the address checker
// nothing may be read or written outside them.
//
// The codec plug-ins beside this program are the test plug-in in its
// sized-picture variant for video (the picture size travels in each sample)
// and copying variants for audio.
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <ostream>

#include "malformed/malformed_cases.h"
#include "mp4lib.h"

namespace mp4lib::malformed {

void PrintTo(const MalformedCase& movie, std::ostream* out) {
  *out << movie.name << " (" << movie.bytes.size() << " bytes)";
}

namespace {

namespace fs = std::filesystem;

class LibraryEnvironment : public ::testing::Environment {
 public:
  void SetUp() override { initMp4Lib(); }
  void TearDown() override { finalizeMp4Lib(); }
};

const auto* const libraryEnvironment = ::testing::AddGlobalTestEnvironment(new LibraryEnvironment);

// A heap block of exactly `bytes` (0 included).
class ExactBuffer {
 public:
  explicit ExactBuffer(std::uint64_t bytes) : bytes_(bytes), data_(new std::uint8_t[bytes]()) {}
  std::uint8_t* data() { return data_.get(); }
  std::uint32_t size() const { return static_cast<std::uint32_t>(bytes_); }

 private:
  std::uint64_t bytes_;
  std::unique_ptr<std::uint8_t[]> data_;
};

constexpr std::uint64_t kLargestPicture = 1u << 22;

std::uint64_t yuvBytes(std::uint64_t width, std::uint64_t height) {
  return width * height + 2 * (width / 2) * (height / 2);
}

// The picture the sized-picture plug-in makes of a sample: each plane filled
// with the payload (the bytes after the five-byte header), repeated.
Bytes pictureOf(const Bytes& sample, std::uint32_t width, std::uint32_t height) {
  const Bytes payload(sample.begin() + 5, sample.end());
  Bytes picture;
  for (std::uint64_t plane : {std::uint64_t{width} * height, std::uint64_t{width / 2} * (height / 2),
                              std::uint64_t{width / 2} * (height / 2)}) {
    for (std::uint64_t i = 0; i < plane; ++i) picture.push_back(payload[i % payload.size()]);
  }
  return picture;
}

// ---- Written-down outcomes -----------------------------------------------------

void expectFrames(const Expected& expected) {
  std::uint32_t count = 0;
  const std::int32_t video = getVideoFrameNum(&count);
  if (expected.videoFrames == kDisabled) {
    EXPECT_EQ(video, 0) << "video enabled with " << count << " frames";
  } else {
    EXPECT_EQ(video, 1) << "video not enabled";
    EXPECT_EQ(count, static_cast<std::uint32_t>(expected.videoFrames)) << "video frames";
  }
  count = 0;
  const std::int32_t audio = getAudioFrameNum(&count);
  if (expected.audioFrames == kDisabled) {
    EXPECT_EQ(audio, 0) << "audio enabled with " << count << " frames";
  } else {
    EXPECT_EQ(audio, 1) << "audio not enabled";
    EXPECT_EQ(count, static_cast<std::uint32_t>(expected.audioFrames)) << "audio frames";
  }
}

Bytes readAudioEntry(std::int32_t entry, bool* ok) {
  Bytes whole;
  ExactBuffer pcm(4096);
  *ok = false;
  for (int slice = 0; slice < 64; ++slice) {
    std::uint32_t length = pcm.size(), time = 0, left = 0;
    if ((decode_audio_track(entry, pcm.data(), &length, &time, &left) & 0xFF) == 0) return whole;
    whole.insert(whole.end(), pcm.data(), pcm.data() + length);
    if (left == 0) break;
  }
  *ok = true;
  return whole;
}

void expectVideoShows(const MovieParams& params, const Check& check) {
  ExactBuffer yuv(yuvBytes(params.decodedWidth, params.decodedHeight));
  std::uint32_t size = 0, time = 0;
  ASSERT_EQ(decode_video_track(static_cast<std::int32_t>(check.a), yuv.data(), &size, &time), 1) << "entry " << check.a;
  const Bytes expected = pictureOf(check.bytes, params.decodedWidth, params.decodedHeight);
  ASSERT_EQ(yuv.size(), expected.size());
  EXPECT_EQ(Bytes(yuv.data(), yuv.data() + yuv.size()), expected) << "picture of entry " << check.a;
}

void expectCheck(const MovieParams& params, const Check& check) {
  const auto a = static_cast<std::int32_t>(check.a);
  std::uint32_t value = 0, size = 0, time = 0, left = 0;
  std::int32_t entry = -1;
  bool ok = false;
  switch (check.kind) {
    case Check::kVideoShows: return expectVideoShows(params, check);
    case Check::kVideoUnreadable: EXPECT_EQ(decode_video_track(a, nullptr, &size, &time), 0) << "entry " << a; return;
    case Check::kAudioHolds:
      EXPECT_EQ(readAudioEntry(a, &ok), check.bytes) << "audio entry " << a;
      EXPECT_TRUE(ok) << "audio entry " << a;
      return;
    case Check::kAudioUnreadable: {
      ExactBuffer pcm(4096);
      std::uint32_t length = pcm.size();
      EXPECT_EQ(decode_audio_track(a, pcm.data(), &length, &time, &left) & 0xFF, 0u) << "audio entry " << a;
      return;
    }
    case Check::kMovieMs:
      EXPECT_EQ(getMovieDuration(&value), 1);
      EXPECT_EQ(value, static_cast<std::uint32_t>(check.a)) << "movie duration";
      return;
    case Check::kVideoMs:
      EXPECT_EQ(getVideoDuration(&value), 1);
      EXPECT_EQ(value, static_cast<std::uint32_t>(check.a)) << "video duration";
      return;
    case Check::kAudioSampleMs:
      EXPECT_EQ(getAudioDuration(&value), 1);
      EXPECT_EQ(value, static_cast<std::uint32_t>(check.a)) << "audio sample duration";
      return;
    case Check::kVideoTimeOf:
      EXPECT_EQ(getVideoTimeByEntry(a, &value), 1);
      EXPECT_EQ(value, static_cast<std::uint32_t>(check.b)) << "time of video entry " << a;
      return;
    case Check::kVideoEntryAt:
      EXPECT_EQ(getVideoEntryByTime(a, &entry), 1);
      EXPECT_EQ(entry, check.b) << "video entry at " << a << " ms";
      return;
    case Check::kDisplaySize:
      EXPECT_EQ(params.width, static_cast<std::uint32_t>(check.a));
      EXPECT_EQ(params.height, static_cast<std::uint32_t>(check.b));
      return;
  }
}

// ---- Every decoding entry point ---------------------------------------------------

void decodeVideoEntries(const MovieParams& params, std::uint32_t count) {
  const std::uint64_t bytes = yuvBytes(params.decodedWidth, params.decodedHeight);
  ExactBuffer yuv(bytes <= kLargestPicture ? bytes : 0);
  std::uint8_t* picture = bytes <= kLargestPicture ? yuv.data() : nullptr;
  const std::int64_t last = static_cast<std::int64_t>(count) - 1;
  for (std::int64_t entry :
       {std::int64_t{0}, last, std::int64_t{1}, std::int64_t{1}, std::int64_t{count}, std::int64_t{-1}}) {
    std::uint32_t size = 0, time = 0, duration = 0;
    decode_video_trackEx(static_cast<std::int32_t>(entry), picture, &size, &time, &duration);
  }
  for (std::int64_t entry : {std::int64_t{0}, last}) {
    for (std::uint32_t pixelBytes : {3u, 2u}) {
      const std::uint64_t display = std::uint64_t{params.width} * params.height * pixelBytes;
      if (display > kLargestPicture) continue;
      ExactBuffer rgb(display), small(7 * 5 * pixelBytes), large(std::uint64_t{33} * 31 * pixelBytes);
      std::uint32_t size = 0, time = 0, duration = 0;
      const auto e = static_cast<std::int32_t>(entry);
      if (pixelBytes == 3) {
        decode_RGB24_video_trackEx(e, rgb.data(), &size, &time, &duration);
        decode_RGB24_video_trackEx2(e, small.data(), &size, 7, 5, &time, &duration);
        decode_RGB24_video_trackEx2(e, large.data(), &size, 33, 31, &time, &duration);
      } else {
        decode_RGB16_video_trackEx(e, rgb.data(), &size, &time, &duration);
        decode_RGB16_video_trackEx2(e, small.data(), &size, 7, 5, &time, &duration);
        decode_RGB16_video_trackEx2(e, large.data(), &size, 33, 31, &time, &duration);
      }
    }
  }
}

void decodeAudioEntries(std::uint32_t count) {
  bool ok = false;
  for (std::int64_t entry : {std::int64_t{0}, std::int64_t{count} - 1, std::int64_t{count}, std::int64_t{-1}}) {
    readAudioEntry(static_cast<std::int32_t>(entry), &ok);
  }
}

void decodeQueues(const MovieParams& params) {
  const std::uint64_t rgbPixels = (params.lowFlagBits & 1) != 0
                                      ? std::uint64_t{params.width} * params.height
                                      : std::uint64_t{params.decodedWidth} * params.decodedHeight;
  const std::uint64_t picture = yuvBytes(params.decodedWidth, params.decodedHeight);
  const bool pictures = picture <= kLargestPicture && rgbPixels * 3 <= kLargestPicture;
  ExactBuffer yuv(pictures ? picture : 0), rgb24(pictures ? rgbPixels * 3 : 0), rgb16(pictures ? rgbPixels * 2 : 0);
  ExactBuffer pcm(4096);
  for (int round = 0; round < 12; ++round) {
    std::uint32_t time = 0, duration = 0, length = pcm.size();
    decodeVideoEx(pictures ? yuv.data() : nullptr, &time, &duration);
    if (pictures) {
      decodeRGB24Video(rgb24.data(), &time);
      decodeRGB16VideoEx(rgb16.data(), &time, &duration);
    }
    decodeAudio(pcm.data(), &length);
  }
}

void seekAround() {
  for (std::int32_t ms : {0, 1, 150, 299, 100000, INT_MAX, -1, INT_MIN}) {
    std::int32_t used = 0, video = 0, audio = 0, entry = 0, adjusted = 0;
    std::uint32_t offset = 0, time = 0;
    seek(ms, &used, &video, &audio);
    setAudioEntryByTime(ms, &entry, &offset, &adjusted);
    getVideoEntryByTime(ms, &entry);
    getVideoTimeByEntry(ms, &time);
  }
}

void useEveryDecoder(const MovieParams& params) {
  std::uint32_t video = 0, audio = 0;
  if (getVideoFrameNum(&video) == 1) decodeVideoEntries(params, video);
  if (getAudioFrameNum(&audio) == 1) decodeAudioEntries(audio);
  decodeQueues(params);
  seekAround();
}

// ---- The test ---------------------------------------------------------------------

void writeFile(const fs::path& path, const Bytes& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

class MalformedCorpus : public ::testing::TestWithParam<MalformedCase> {
 protected:
  void SetUp() override {
    path_ = fs::temp_directory_path() / ("mp4lib-malformed-" + GetParam().name + ".3gp");
    writeFile(path_, GetParam().bytes);
    // MP4LIB_MALFORMED_SAVE_TO=folder keeps a copy of every file (seeds for
    // the fuzz targets, reproducers for findings).
    if (const char* folder = std::getenv("MP4LIB_MALFORMED_SAVE_TO")) {
      writeFile(fs::path(folder) / (GetParam().name + ".3gp"), GetParam().bytes);
    }
  }
  void TearDown() override {
    std::error_code ignored;
    fs::remove(path_, ignored);
  }

  fs::path path_;
};

TEST_P(MalformedCorpus, OpensAsWrittenDownAndDecodesSafely) {
  const MalformedCase& movie = GetParam();
  if (!movie.knownFinding.empty() && !showKnownFindings()) {
    GTEST_SKIP() << "known finding " << movie.knownFinding << " (fuzz/known_findings.h) is open";
  }
  MovieParams* params = nullptr;
  const std::int32_t opened = initDecoder(path_.wstring().c_str(), &params);
  if (opened == 0 && movie.expected.mayRefuse) return;
  ASSERT_EQ(opened, movie.expected.opens ? 1 : 0) << (movie.expected.opens ? "refused" : "opened");
  if (opened == 0) return;
  ASSERT_NE(params, nullptr);
  expectFrames(movie.expected);
  for (const Check& check : movie.expected.checks) expectCheck(*params, check);
  useEveryDecoder(*params);
  finalizeDecoder();
}

INSTANTIATE_TEST_SUITE_P(Files, MalformedCorpus, ::testing::ValuesIn(malformedCases()),
                         [](const ::testing::TestParamInfo<MalformedCase>& info) { return info.param.name; });

TEST(MalformedCorpusSize, HoldsAtLeastAHundredFiles) { EXPECT_GE(malformedCases().size(), 100u); }

}  // namespace
}  // namespace mp4lib::malformed
