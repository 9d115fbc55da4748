// Thousands of damaged movies, made deterministically from valid ones: every
// size and count the reader takes from a file is pushed to the values that
// break careless code (0, 1, 7, 8, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, and
// the file's own length), bytes are flipped and files cut short. Each is
// opened, decoded a little, sought and closed; the address, undefined
// behaviour and leak checkers see every read and allocation.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "mp4lib.h"
#include "playback/decoder_fixture.h"

namespace mp4lib::test {
namespace {

class MalformedFiles : public DecoderTest {
 protected:
  // Opens the bytes and, when that works, uses every entry point once.
  void exercise(const Bytes& bytes) {
    ++tried;
    if (movie == nullptr) {
      movie = std::make_unique<TempFile>(bytes);
    } else {
      movie->rewrite(bytes);
    }
    if (initDecoder(movie->widePath().c_str(), &params) != 1) return;
    ++opened;
    std::uint32_t size = static_cast<std::uint32_t>(buffer.size());
    std::uint32_t time = 0, duration = 0, left = 0, count = 0;
    std::int32_t entry = 0, audioEntry = 0, used = 0;
    std::uint32_t offset = 0;
    getVideoFrameNum(&count);
    getAudioFrameNum(&count);
    getMovieDuration(&time);
    getVideoDuration(&time);
    for (std::int32_t e : {0, 1, 5, 3, 100000}) {
      decode_video_trackEx(e, nullptr, &size, &time, &duration);
      size = static_cast<std::uint32_t>(buffer.size());
      decode_audio_track(e, buffer.data(), &size, &time, &left);
      decode_audio_track(e, buffer.data(), &size, &time, &left);
    }
    for (std::int32_t t : {0, 1, 250, 999, 100000, -3}) {
      seek(t, &used, &entry, &audioEntry);
      setAudioEntryByTime(t, &entry, &offset, &used);
      getVideoEntryByTime(t, &entry);
      getVideoTimeByEntry(t, &time);
    }
    for (int i = 0; i < 20; ++i) {
      size = static_cast<std::uint32_t>(buffer.size());
      decodeVideoEx(nullptr, &time, &duration);
      decodeAudio(buffer.data(), &size);
    }
    finalizeDecoder();
  }

  int tried = 0;
  int opened = 0;
  std::vector<std::uint8_t> buffer = std::vector<std::uint8_t>(1024 * 1024);
};

std::vector<Bytes> seedMovies() {
  std::vector<Bytes> seeds;
  MovieLayout plain;
  plain.tracks = {videoLayout(markedFrames(12, {0, 7})), amrLayout(20)};
  seeds.push_back(buildMovie(plain).bytes);

  MovieLayout chunks;
  chunks.tracks = {videoLayout(markedFrames(9, {0}), "mp4v"), amrLayout(20, 5)};
  chunks.tracks[0].entry = videoEntry("mp4v", 176, 144, esds(0x20, 0x11, 1, 2, 3, {0, 0, 1, 0xB0, 1}));
  chunks.tracks[0].chunkSamples = {2, 2, 3, 2};
  chunks.tracks[0].timing = {{4, 1000}, {5, 2000}};
  chunks.tracks[0].stscAfterStco = true;
  chunks.moovFirst = true;
  seeds.push_back(buildMovie(chunks).bytes);

  MovieLayout vendor;
  vendor.tracks = {videoLayout(markedFrames(5, {0})), amrLayout(10)};
  vendor.tracks[1].entry = soundEntry("mp4a", 1, 2, 16, 44100,
                                      concat({ByteWriter().u32(1024).u32(1).u32(2).u32(2),
                                              box("wave", esds(0x40, 0x15, 0, 1, 2, {0x12, 0x10}))}));
  vendor.withVendor = true;
  vendor.vendor.words[4] = 176;
  vendor.vendor.words[5] = 144;
  vendor.vendor.words[7] = 13;
  vendor.vendor.videoCodecTypeInHostOrder(1);
  vendor.vendor.audioCodecType = MP4LIB_CODEC_TYPE_AAC;
  seeds.push_back(buildMovie(vendor).bytes);
  return seeds;
}

// Offsets of every 32-bit word from the movie box on (its boxes are
// 4-byte aligned in these seeds except inside sample entries): sizes, counts,
// table values.
std::vector<std::size_t> wordsInMovie(const Bytes& bytes) {
  std::vector<std::size_t> at;
  for (std::size_t i = 0; i + 8 <= bytes.size(); ++i) {
    if (bytes[i + 4] == 'm' && bytes[i + 5] == 'o' && bytes[i + 6] == 'o' && bytes[i + 7] == 'v') {
      for (std::size_t w = i; w + 4 <= bytes.size(); w += 4) at.push_back(w);
      break;
    }
  }
  return at;
}

void putWord(Bytes& bytes, std::size_t at, std::uint32_t value) {
  bytes[at] = static_cast<std::uint8_t>(value >> 24);
  bytes[at + 1] = static_cast<std::uint8_t>(value >> 16);
  bytes[at + 2] = static_cast<std::uint8_t>(value >> 8);
  bytes[at + 3] = static_cast<std::uint8_t>(value);
}

TEST_F(MalformedFiles, EveryWordOfTheMovieAtItsWorstValues) {
  const std::uint32_t worst[] = {0, 1, 7, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
  for (const Bytes& seed : seedMovies()) {
    const int openedBefore = opened;
    exercise(seed);
    ASSERT_EQ(opened, openedBefore + 1) << "a seed movie must open";
    const std::vector<std::size_t> words = wordsInMovie(seed);
    for (std::size_t i = 0; i < words.size(); ++i) {
      for (std::uint32_t value : worst) {
        Bytes damaged = seed;
        putWord(damaged, words[i], value);
        exercise(damaged);
      }
      Bytes damaged = seed;
      putWord(damaged, words[i], static_cast<std::uint32_t>(seed.size()));  // the file's own length
      exercise(damaged);
    }
  }
  EXPECT_GT(tried, 1000);
  EXPECT_GT(opened, 100);  // many damaged files still play
}

TEST_F(MalformedFiles, RandomDamageAndCuts) {
  std::mt19937 random(20240611);
  for (const Bytes& seed : seedMovies()) {
    const std::vector<std::size_t> words = wordsInMovie(seed);
    for (int round = 0; round < 300; ++round) {
      Bytes damaged = seed;
      const int changes = 1 + static_cast<int>(random() % 4);
      for (int c = 0; c < changes; ++c) {
        switch (random() % 3) {
          case 0: damaged[random() % damaged.size()] ^= static_cast<std::uint8_t>(1 + random() % 255); break;
          case 1: putWord(damaged, words[random() % words.size()], static_cast<std::uint32_t>(random())); break;
          default: putWord(damaged, words[random() % words.size()], static_cast<std::uint32_t>(random() % 64)); break;
        }
      }
      if (round % 5 == 0) damaged.resize(random() % damaged.size());
      exercise(damaged);
    }
  }
  EXPECT_EQ(tried, 900);
}

}  // namespace
}  // namespace mp4lib::test
