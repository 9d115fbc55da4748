// Recorded files as an independent reader sees them: ffprobe must open each
// one and report the streams, codec tags, sample counts and durations.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "devices/wave_block_list.h"
#include "mp4lib.h"
#include "support/file_bytes.h"
#include "support/recording.h"
#include "support/library_state.h"

namespace mp4lib::test {
namespace {

using Fields = std::map<std::string, std::string>;

struct Probe {
  bool ran = false;
  std::vector<Fields> streams;
  Fields format;
  std::string text;
};

// Runs ffprobe on `file` and collects the [STREAM] and [FORMAT] sections.
Probe probe(const std::filesystem::path& file) {
  Probe result;
  const std::filesystem::path report = file.string() + ".probe.txt";
  const std::string command =
      "ffprobe -v error -count_packets -show_entries "
      "stream=codec_type,codec_name,codec_tag_string,nb_frames,nb_read_packets,duration,sample_rate,width,height "
      "-show_entries format=duration,format_name \"" +
      file.string() + "\" > \"" + report.string() + "\" 2>&1";
  result.ran = std::system(command.c_str()) == 0;
  std::ifstream in(report);
  std::stringstream all;
  all << in.rdbuf();
  result.text = all.str();
  std::istringstream lines(result.text);
  std::string line;
  Fields* section = nullptr;
  while (std::getline(lines, line)) {
    if (line == "[STREAM]") {
      result.streams.emplace_back();
      section = &result.streams.back();
    } else if (line == "[FORMAT]") {
      section = &result.format;
    } else if (line.rfind("[/", 0) == 0) {
      section = nullptr;
    } else if (section != nullptr) {
      const auto equals = line.find('=');
      if (equals != std::string::npos) (*section)[line.substr(0, equals)] = line.substr(equals + 1);
    }
  }
  return result;
}

void writeFileBytes(const std::filesystem::path& path, const Bytes& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::size_t find(const Bytes& bytes, const std::string& text, std::size_t from) {
  for (std::size_t i = from; i + text.size() <= bytes.size(); ++i) {
    if (std::equal(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(i))) return i;
  }
  return std::string::npos;
}

void subtract(Bytes& bytes, std::size_t at, std::uint32_t amount) {
  const std::uint32_t value = readU32(bytes, at) - amount;
  for (int i = 0; i < 4; ++i) bytes[at + i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
}

// Takes the five bytes 05 80 80 80 00 out of the "esds" and shrinks every
// box and descriptor around them.
bool removeEmptyDecoderSpecificBlock(Bytes& file) {
  std::size_t at = 0;
  for (const char* type : {"moov", "trak", "mdia", "minf", "stbl", "stsd", "mp4v", "esds"}) {
    at = find(file, type, at);
    if (at == std::string::npos) return false;
    subtract(file, at - 4, 5);
  }
  const Bytes block = {0x05, 0x80, 0x80, 0x80, 0x00};
  const std::size_t es = at + 8;  // after the type and version/flags
  if (file[es] != 3 || file[es + 4] != 32 || file[es + 8] != 4 || file[es + 12] != 18) return false;
  file[es + 4] = 27;
  file[es + 12] = 13;
  const auto blockAt = std::search(file.begin() + static_cast<std::ptrdiff_t>(es), file.end(), block.begin(), block.end());
  if (blockAt == file.end()) return false;
  file.erase(blockAt, blockAt + 5);
  return true;
}

void queueCapturedBlocks(int count, std::uint32_t bytes) {
  for (int k = 0; k < count; ++k) {
    devices::WaveBlock* block = devices::newWaveBlock(bytes);
    ASSERT_NE(block, nullptr);
    for (std::uint32_t i = 0; i < bytes; ++i) block->header.data[i] = static_cast<std::uint8_t>(k + i);
    block->header.bytesRecorded = bytes;
    devices::appendWaveBlock(test::devices().blocks, block);
  }
}

class Ffprobe : public RecordingTest {
 protected:
  void SetUp() override {
    if (!ffprobeAvailable()) GTEST_SKIP() << "ffprobe is not installed";
    RecordingTest::SetUp();
  }
  void encodeFrames(int count, std::uint32_t firstTs, std::uint32_t stepMs) {
    std::vector<std::uint8_t> out(100000);
    for (int k = 0; k < count; ++k) {
      std::uint32_t size = static_cast<std::uint32_t>(out.size());
      ASSERT_EQ(encodeVideo(blankFrame(), 0, out.data(), &size, 1, firstTs + k * stepMs), 1);
    }
  }
  void storeAudio(int count) {
    std::vector<std::uint8_t> out(100000);
    for (int k = 0; k < count; ++k) {
      std::uint32_t size = static_cast<std::uint32_t>(out.size());
      ASSERT_EQ(encodeWaveInAudio(out.data(), &size, 1), 1);
    }
  }
};

TEST_F(Ffprobe, H263AtConstantRate) {
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 0), "h263.3gp"), nullptr);
  encodeFrames(30, 0xFFFFFFFF, 0);
  ASSERT_EQ(closeEncodeFile(), 1);
  const Probe result = probe(pathOf("h263.3gp"));
  ASSERT_TRUE(result.ran) << result.text;
  ASSERT_EQ(result.streams.size(), 1u) << result.text;
  const Fields& video = result.streams[0];
  EXPECT_EQ(video.at("codec_type"), "video");
  EXPECT_EQ(video.at("codec_name"), "h263");
  EXPECT_EQ(video.at("codec_tag_string"), "s263");
  EXPECT_EQ(video.at("nb_frames"), "30");
  EXPECT_EQ(video.at("nb_read_packets"), "30");
  EXPECT_EQ(video.at("duration"), "2.000000");
  EXPECT_NE(result.format.at("format_name").find("mp4"), std::string::npos);
  EXPECT_EQ(result.format.at("duration"), "2.000000");
}

// ffprobe refuses an "esds" whose decoder-specific block is empty, and the
// recorder always writes it empty (its plug-ins hand over no stream
// configuration). The rest of the file must be right all the same: with
// that one block taken out, ffprobe reads the track.
TEST_F(Ffprobe, Mpeg4WithTimestamps) {
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_MPEG4V, 1), "mp4v.3gp"), nullptr);
  encodeFrames(20, 1000, 40);  // 19 gaps of 40 ms, then 33 ms: 793 ms
  ASSERT_EQ(closeEncodeFile(), 1);
  const Probe asWritten = probe(pathOf("mp4v.3gp"));
  EXPECT_FALSE(asWritten.ran) << asWritten.text;

  Bytes file = readFileBytes(pathOf("mp4v.3gp"));
  ASSERT_TRUE(removeEmptyDecoderSpecificBlock(file));
  writeFileBytes(pathOf("mp4v-patched.3gp"), file);
  const Probe result = probe(pathOf("mp4v-patched.3gp"));
  ASSERT_TRUE(result.ran) << result.text;
  ASSERT_EQ(result.streams.size(), 1u) << result.text;
  const Fields& video = result.streams[0];
  EXPECT_EQ(video.at("codec_type"), "video");
  EXPECT_EQ(video.at("codec_name"), "mpeg4");
  EXPECT_EQ(video.at("codec_tag_string"), "mp4v");
  EXPECT_EQ(video.at("nb_frames"), "20");
  EXPECT_EQ(video.at("nb_read_packets"), "20");
  EXPECT_EQ(video.at("duration"), "0.793000");
}

TEST_F(Ffprobe, AmrFiftyBlocksMakeOneSecond) {
  ASSERT_NE(startRecording(audioParams(MP4LIB_CODEC_TYPE_AMR, 20), "amr.3gp"), nullptr);
  queueCapturedBlocks(50, 320);
  storeAudio(50);
  ASSERT_EQ(closeEncodeFile(), 1);
  const Probe result = probe(pathOf("amr.3gp"));
  ASSERT_TRUE(result.ran) << result.text;
  ASSERT_EQ(result.streams.size(), 1u) << result.text;
  const Fields& amr = result.streams[0];
  EXPECT_EQ(amr.at("codec_type"), "audio");
  EXPECT_EQ(amr.at("codec_name"), "amr_nb");
  EXPECT_EQ(amr.at("codec_tag_string"), "samr");
  EXPECT_EQ(amr.at("sample_rate"), "8000");
  EXPECT_EQ(amr.at("nb_frames"), "50");
  EXPECT_EQ(amr.at("nb_read_packets"), "50");
  EXPECT_EQ(amr.at("duration"), "1.000000");
  EXPECT_EQ(result.format.at("duration"), "1.000000");
}

TEST_F(Ffprobe, VideoAndAudioTogether) {
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 0);
  addAudio(params, MP4LIB_CODEC_TYPE_AMR, 60);
  ASSERT_NE(startRecording(params, "both.3gp"), nullptr);
  queueCapturedBlocks(10, 960);  // 10 blocks of 60 ms
  std::vector<std::uint8_t> out(100000);
  for (int k = 0; k < 9; ++k) {  // 9 frames at 15 fps: 600 ms
    std::uint32_t size = static_cast<std::uint32_t>(out.size());
    ASSERT_EQ(encodeVideo(blankFrame(), 0, out.data(), &size, 1, 0xFFFFFFFF), 1);
    size = static_cast<std::uint32_t>(out.size());
    ASSERT_EQ(encodeWaveInAudio(out.data(), &size, 1), 1);
  }
  storeAudio(1);
  ASSERT_EQ(closeEncodeFile(), 1);
  const Probe result = probe(pathOf("both.3gp"));
  ASSERT_TRUE(result.ran) << result.text;
  ASSERT_EQ(result.streams.size(), 2u) << result.text;
  const Fields& video = result.streams[0];
  EXPECT_EQ(video.at("codec_tag_string"), "s263");
  EXPECT_EQ(video.at("nb_frames"), "9");
  EXPECT_EQ(video.at("duration"), "0.600000");
  const Fields& amr = result.streams[1];
  EXPECT_EQ(amr.at("codec_tag_string"), "samr");
  EXPECT_EQ(amr.at("nb_frames"), "10");
  EXPECT_EQ(amr.at("nb_read_packets"), "10");
  EXPECT_EQ(amr.at("duration"), "0.600000");  // 10 x 480 units at 8000 Hz
  EXPECT_EQ(result.format.at("duration"), "0.600000");
}

}  // namespace
}  // namespace mp4lib::test
