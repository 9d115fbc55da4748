// Shared pieces of the interop tests: running ffmpeg and ffprobe, a scratch
// folder, reading a movie's samples without the library's parser, and the
// picture and sound measures the tests compare with.
#pragma once

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "support/pcm.h"

namespace mp4lib::test::interop {

using Bytes = std::vector<std::uint8_t>;

// Runs a shell command with its output thrown away; true when it exits 0.
bool run(const std::string& command);
// Runs a shell command and returns what it printed on standard output (or,
// with `errors`, on standard error), whatever its exit status.
std::string output(const std::string& command, bool errors = false);
// True when both ffmpeg and ffprobe answer.
bool ffmpegAvailable();

// A path in double quotes for the shell.
std::string quoted(const std::filesystem::path& path);

Bytes readFile(const std::filesystem::path& path);
bool writeFile(const std::filesystem::path& path, const Bytes& bytes);

// A folder under the system's temporary folder, removed with everything in it.
class ScratchFolder {
 public:
  explicit ScratchFolder(const std::string& stem);
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// The samples of one track, each as its bytes, read from the chunk offset,
// sample size and sample-to-chunk tables of the first track whose sample entry
// is `entryType` ("s263", "mp4v", "samr", "g723", ...). Empty when the file
// holds no such track or its tables point outside the file.
std::vector<Bytes> trackSamples(const Bytes& file, const std::string& entryType);

// Samples in each chunk of that track, from its sample-to-chunk runs.
std::vector<std::uint32_t> chunkSampleCounts(const Bytes& file, const std::string& entryType);

// First chunk (1-based) of the last sample-to-chunk run of that track; 0
// without one.
std::uint32_t lastRunFirstChunk(const Bytes& file, const std::string& entryType);

// One stream as ffprobe sees it; empty strings for what it does not report.
struct ProbedStream {
  std::string codecName;
  std::string codecTag;  // e.g. "s263"
  std::string frames;    // frames ffprobe decoded (count_frames)
  std::string duration;  // seconds, as ffprobe prints it
  std::string width;
  std::string height;
};
// `selector` as ffprobe's -select_streams ("v:0", "a:0").
ProbedStream probe(const std::filesystem::path& file, const std::string& selector);

// Peak signal-to-noise ratio of two equally long byte pictures, dB (99 when equal).
double psnr(const std::uint8_t* a, const std::uint8_t* b, std::size_t bytes);

// Moving smooth picture number `frame`, byte planar YUV 4:2:0.
Bytes patternPicture(int width, int height, int frame);

}  // namespace mp4lib::test::interop
