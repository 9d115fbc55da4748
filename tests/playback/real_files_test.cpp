// Files that no one here wrote: ffmpeg makes them at test time from its
// built-in sources, and ffprobe says where every packet lies. The sample
// index must agree, except where the reader's own rules deliberately differ
// (each such difference is asserted as such).
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "container/recorded_movie.h"
#include "mp4lib.h"
#include "container/box_walker.h"
#include "playback/decoder_fixture.h"
#include "support/library_state.h"

namespace fs = std::filesystem;

namespace mp4lib::test {
namespace {

struct Packet {
  int stream = -1;
  std::uint32_t pos = 0;
  std::uint32_t size = 0;
};

struct StreamFacts {
  std::string codec;
  std::uint64_t frames = 0;
  double duration = 0;  // seconds
};

bool run(const std::string& command) { return std::system((command + " > /dev/null 2>&1").c_str()) == 0; }

std::string runAndRead(const std::string& command, const fs::path& output) {
  if (std::system((command + " > \"" + output.string() + "\" 2> /dev/null").c_str()) != 0) return {};
  std::ifstream in(output);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

std::map<std::string, std::string> fieldsOf(const std::string& line) {
  std::map<std::string, std::string> fields;
  std::stringstream parts(line);
  std::string part;
  while (std::getline(parts, part, '|')) {
    const auto equals = part.find('=');
    if (equals != std::string::npos) fields[part.substr(0, equals)] = part.substr(equals + 1);
  }
  return fields;
}

class RealFiles : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    if (!run("ffmpeg -version") || !run("ffprobe -version")) return;
    const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
    folder = fs::temp_directory_path() / ("mp4lib-real-" + std::to_string(stamp));
    fs::create_directories(folder);
    writeAmrStream(folder / "speech.amr", 100);
    const std::string ff = "ffmpeg -nostdin -v error -y ";
    const std::string amr = " -i \"" + (folder / "speech.amr").string() + "\" ";
    const std::string picture176 = " -f lavfi -i testsrc=size=176x144:rate=15 ";
    const std::string picture320 = " -f lavfi -i testsrc=size=320x240:rate=25 ";
    const std::string tone = " -f lavfi -i sine=frequency=440:sample_rate=44100 ";
    made = run(ff + picture176 + amr + "-t 2 -c:v h263 -c:a copy " + quoted("h263_amr.3gp")) &&
           run(ff + picture320 + tone + "-t 2 -c:v mpeg4 -c:a aac " + quoted("mpeg4_aac.mp4")) &&
           run(ff + picture320 + tone + "-t 2 -c:v mpeg4 -c:a aac -movflags +faststart " + quoted("mpeg4_aac_faststart.mp4")) &&
           run(ff + picture176 + amr + "-t 2 -c:v mpeg4 -c:a copy " + quoted("mpeg4_amr.3gp")) &&
           run(ff + amr + "-c:a copy " + quoted("amr_only.3gp")) &&
           run(ff + " -f lavfi -i sine=frequency=440:sample_rate=8000 -t 1 -c:a pcm_s16le -f mov -brand 3gp4 " +
               quoted("sowt.mov"));
  }

  static void TearDownTestSuite() {
    if (!folder.empty()) fs::remove_all(folder, ignored);
  }

  void SetUp() override {
    if (folder.empty()) GTEST_SKIP() << "ffmpeg and ffprobe are not installed";
    ASSERT_TRUE(made) << "ffmpeg could not make the files";
    plugins = std::make_unique<PluginFolder>();
    for (const char* stem : {"codectest_h263", "codectest_mp4v", "codectest_amr", "codectest_aac", "codectest_pcm"}) {
      plugins->addPlugin(stem);
    }
    codecs::discoverCodecPluginsBeside(test::plugins(), plugins->moduleFileInside().c_str());
  }

  void TearDown() override {
    finalizeDecoder();
    test::plugins().active = codecs::ActivePlugins{};
    container::resetMovieContext(test::player().movie);
    codecs::unloadCodecPlugins(test::plugins());
    codecs::discoverCodecPluginsBeside(test::plugins(), nullptr);
  }

  static std::string quoted(const std::string& name) { return "\"" + (folder / name).string() + "\""; }

  // "#!AMR\n" and 32-byte frames at 12.2 kbit/s (header byte 0x3C).
  static void writeAmrStream(const fs::path& path, int frames) {
    std::ofstream out(path, std::ios::binary);
    out << "#!AMR\n";
    for (int i = 0; i < frames; ++i) {
      out.put(static_cast<char>(0x3C));
      for (int j = 0; j < 31; ++j) out.put(static_cast<char>((i * 7 + j) & 0xFF));
    }
  }

  std::vector<Packet> packets(const std::string& name) {
    const std::string text = runAndRead("ffprobe -v error -show_entries packet=stream_index,pos,size -of compact=p=0 " +
                                            quoted(name),
                                        folder / "probe.txt");
    std::vector<Packet> result;
    std::stringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
      auto fields = fieldsOf(line);
      if (fields.count("pos") == 0) continue;
      result.push_back({std::stoi(fields["stream_index"]), static_cast<std::uint32_t>(std::stoul(fields["pos"])),
                        static_cast<std::uint32_t>(std::stoul(fields["size"]))});
    }
    return result;
  }

  std::vector<StreamFacts> streams(const std::string& name) {
    const std::string text = runAndRead(
        "ffprobe -v error -count_packets -show_entries stream=codec_name,nb_read_packets,duration -of compact=p=0 " +
            quoted(name),
        folder / "streams.txt");
    std::vector<StreamFacts> result;
    std::stringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
      auto fields = fieldsOf(line);
      if (fields.count("codec_name") == 0) continue;
      result.push_back({fields["codec_name"], std::stoull(fields["nb_read_packets"]), std::stod(fields["duration"])});
    }
    return result;
  }

  Bytes contents(const std::string& name) {
    std::ifstream in(folder / name, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }

  std::int32_t open(const std::string& name) {
    return initDecoder((folder / name).wstring().c_str(), &params);
  }

  static std::vector<Packet> ofStream(const std::vector<Packet>& all, int stream) {
    std::vector<Packet> some;
    for (const Packet& packet : all) {
      if (packet.stream == stream) some.push_back(packet);
    }
    return some;
  }

  // Samples listed one by one: each entry is a packet. Chunks of the last
  // sample-to-chunk run after its first are not expanded, and their samples
  // stay at offset 0; that rule is asserted as it stands. Returns how many
  // samples fell under it.
  static int expectSampleEntries(const container::TrackRecord& track, const ChunkTables& tables,
                                 const std::vector<Packet>& packets) {
    EXPECT_EQ(track.constantSize, 0);
    EXPECT_EQ(static_cast<std::size_t>(track.sampleCount), packets.size());
    const bool oneChunkPerSample = tables.chunkOffsets.size() == packets.size();
    std::size_t sample = 0;
    int unexpanded = 0;
    for (std::size_t chunk = 0; chunk < tables.samplesPerChunk.size(); ++chunk) {
      const bool left = !oneChunkPerSample && chunk + 1 > tables.lastRunFirstChunk;
      for (std::uint32_t k = 0; k < tables.samplesPerChunk[chunk] && sample < packets.size(); ++k, ++sample) {
        const SampleEntry& entry = track.samples[sample];
        EXPECT_EQ(entry.size, packets[sample].size) << sample;
        if (left) {
          EXPECT_EQ(entry.offset, 0u) << sample;
          ++unexpanded;
        } else {
          EXPECT_EQ(entry.offset, packets[sample].pos) << sample;
        }
      }
    }
    EXPECT_EQ(sample, packets.size());
    return unexpanded;
  }

  // Constant sample size: each entry is a chunk, covering the packets that
  // lie inside it.
  static void expectChunkEntries(const container::TrackRecord& track, const ChunkTables& tables,
                                 const std::vector<Packet>& packets) {
    EXPECT_EQ(track.constantSize, 1);
    ASSERT_EQ(static_cast<std::size_t>(track.sampleCount), tables.chunkOffsets.size());
    std::size_t next = 0;
    for (int chunk = 0; chunk < track.sampleCount; ++chunk) {
      const SampleEntry& entry = track.samples[chunk];
      EXPECT_EQ(entry.offset, tables.chunkOffsets[chunk]);
      EXPECT_EQ(entry.size, tables.samplesPerChunk[chunk] * tables.constantSize);
      ASSERT_LT(next, packets.size());
      EXPECT_EQ(packets[next].pos, entry.offset) << chunk;
      std::uint32_t covered = 0;
      while (next < packets.size() && packets[next].pos < std::uint64_t{entry.offset} + entry.size) {
        covered += packets[next++].size;
      }
      EXPECT_EQ(covered, entry.size) << chunk;
    }
    EXPECT_EQ(next, packets.size());
  }

  std::vector<int> verify(const std::string& name) {
    const auto tables = chunkTablesOf(contents(name));
    const auto all = packets(name);
    const auto facts = streams(name);
    const container::MovieContext& movie = test::player().movie;
    std::vector<int> unexpanded;
    EXPECT_EQ(static_cast<std::size_t>(movie.trackCount), facts.size());
    EXPECT_EQ(tables.size(), facts.size());
    double longest = 0;
    for (int t = 0; t < movie.trackCount && t < static_cast<int>(facts.size()); ++t) {
      SCOPED_TRACE(name + " track " + std::to_string(t));
      const container::TrackRecord& track = movie.tracks[t];
      const auto mine = ofStream(all, t);
      if (tables[t].constantSize != 0) {
        expectChunkEntries(track, tables[t], mine);
        // One entry per chunk, where ffprobe counts packets.
        EXPECT_EQ(static_cast<std::size_t>(track.sampleCount), tables[t].chunkOffsets.size());
        unexpanded.push_back(0);
      } else {
        unexpanded.push_back(expectSampleEntries(track, tables[t], mine));
        EXPECT_EQ(static_cast<std::uint64_t>(track.sampleCount), facts[t].frames);
      }
      if (longest < facts[t].duration) longest = facts[t].duration;
      std::uint32_t value = 0;
      if (t == movie.videoTrackIndex) {
        EXPECT_EQ(getVideoFrameNum(&value), 1);
        EXPECT_EQ(value, facts[t].frames);
        EXPECT_EQ(getVideoDuration(&value), 1);
        EXPECT_EQ(value, static_cast<std::uint32_t>(facts[t].duration * 1000 + 0.5));
      }
      if (t == movie.audioTrackIndex) {
        EXPECT_EQ(getAudioFrameNum(&value), 1);
        EXPECT_EQ(value, static_cast<std::uint32_t>(track.sampleCount));
      }
    }
    std::uint32_t movieMs = 0;
    getMovieDuration(&movieMs);
    EXPECT_EQ(movieMs, static_cast<std::uint32_t>(longest * 1000 + 0.5));
    return unexpanded;
  }

  static fs::path folder;
  static bool made;
  static std::error_code ignored;
  std::unique_ptr<PluginFolder> plugins;
  MovieParams* params = nullptr;
};

fs::path RealFiles::folder;
bool RealFiles::made = false;
std::error_code RealFiles::ignored;

TEST_F(RealFiles, H263AndAmrIn3gp) {
  ASSERT_EQ(open("h263_amr.3gp"), 1);
  EXPECT_EQ(params->videoPlugin->codecType, MP4LIB_CODEC_TYPE_H263);
  EXPECT_EQ(params->audioPlugin->codecType, MP4LIB_CODEC_TYPE_AMR);
  EXPECT_EQ(params->width, 176u);
  EXPECT_EQ(params->pictureSizeCode, 1u);
  const auto unexpanded = verify("h263_amr.3gp");
  EXPECT_EQ(unexpanded, (std::vector<int>{0, 0}));
}

TEST_F(RealFiles, Mpeg4AndAacInMp4) {
  ASSERT_EQ(open("mpeg4_aac.mp4"), 1);
  EXPECT_EQ(params->videoPlugin->codecType, MP4LIB_CODEC_TYPE_MPEG4V);
  EXPECT_EQ(params->audioPlugin->codecType, MP4LIB_CODEC_TYPE_AAC);
  const auto unexpanded = verify("mpeg4_aac.mp4");
  // The audio track's last run spans several chunks: all but its first keep
  // their samples at offset 0.
  EXPECT_GT(unexpanded[1], 0);
  EXPECT_EQ(unexpanded[0], 0);
}

TEST_F(RealFiles, Mpeg4AndAacInMp4WithTheMovieFirst) {
  ASSERT_EQ(open("mpeg4_aac_faststart.mp4"), 1);
  const auto unexpanded = verify("mpeg4_aac_faststart.mp4");
  EXPECT_GT(unexpanded[1], 0);
}

TEST_F(RealFiles, Mpeg4AndAmrIn3gp) {
  ASSERT_EQ(open("mpeg4_amr.3gp"), 1);
  EXPECT_EQ(params->videoPlugin->codecType, MP4LIB_CODEC_TYPE_MPEG4V);
  verify("mpeg4_amr.3gp");
}

TEST_F(RealFiles, AmrOnly) {
  ASSERT_EQ(open("amr_only.3gp"), 1);
  EXPECT_EQ(params->videoEnabled, 0);
  EXPECT_EQ(params->audioFrameMs, 20u);
  verify("amr_only.3gp");
}

TEST_F(RealFiles, LittleEndianPcmInMov) {
  ASSERT_EQ(open("sowt.mov"), 1);
  EXPECT_EQ(params->audioPlugin->codecType, MP4LIB_CODEC_TYPE_PCM);
  EXPECT_EQ(params->sampleRate, 8000u);
  EXPECT_EQ(params->channels, 1u);
  EXPECT_EQ(params->bitsPerSample, 16u);
  verify("sowt.mov");
}

}  // namespace
}  // namespace mp4lib::test
