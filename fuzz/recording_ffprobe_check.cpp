// Replays recording scripts (the recording_fuzz corpus) outside the fuzzer,
// checks each closed file through the library as the fuzz target does, and
// then asks ffprobe (a black box) what the file holds: one stream per track
// with samples, and as many frames as were stored.
//
// Files with MPEG-4 visual are read back but not probed: their "esds" has an
// empty decoder-specific block, as the plug-in SDK documents, which ffmpeg
// 5.1 refuses. G.723 tracks are probed for their frame count only (ffmpeg
// has no decoder for them in MP4).
//
// Usage: recording_ffprobe_check SCRIPT...   (exit status 1 on any mismatch)
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include "instant_wave_devices.h"
#include "mp4lib.h"
#include "recording_script.h"

using namespace mp4lib::fuzz;

namespace {

// "video,3" and "audio,30" lines, in stream order.
std::vector<std::string> probeStreams(const std::string& path) {
  const std::string command =
      "ffprobe -v error -show_entries stream=codec_type,nb_frames -of csv=p=0 '" + path + "' 2>/dev/null";
  std::vector<std::string> lines;
  std::FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return {"(ffprobe did not run)"};
  char line[256];
  while (std::fgets(line, sizeof line, pipe) != nullptr) lines.emplace_back(line, std::strcspn(line, "\n"));
  if (pclose(pipe) != 0) lines.emplace_back("(ffprobe failed)");
  return lines;
}

// With timestamps deciding durations the timing table counts the frames
// encoded, which the two-step API need not store one for one; only the
// stream itself is compared then.
std::vector<std::string> expectedStreams(const ClosedFile& file) {
  std::vector<std::string> lines;
  if (!file.video.empty()) {
    lines.push_back(file.constantRate ? "video," + std::to_string(file.video.size()) : "video,");
  }
  if (!file.audio.empty()) lines.push_back("audio," + std::to_string(file.audio.size()));
  return lines;
}

bool matches(const std::vector<std::string>& seen, const std::vector<std::string>& expected) {
  if (seen.size() != expected.size()) return false;
  for (std::size_t i = 0; i < seen.size(); ++i) {
    if (seen[i].compare(0, expected[i].size(), expected[i]) != 0) return false;
  }
  return true;
}

std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += " [" + line + "]";
  return text;
}

bool probeable(const ClosedFile& file) {
  const bool holdsSamples = !file.video.empty() || !file.audio.empty();
  const bool mpeg4 = !file.video.empty() && file.videoCodecType == MP4LIB_CODEC_TYPE_MPEG4V;
  return file.wellFormed && holdsSamples && !mpeg4;
}

// Checks every file one script closes; false on a mismatch.
bool checkScript(const std::string& scriptPath, InstantWaveDevices& devices, int* probed) {
  std::ifstream in(scriptPath, std::ios::binary);
  const std::vector<std::uint8_t> script{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  bool ok = true;
  for (const ClosedFile& file : recordFromScript(script.data(), script.size(), "mp4lib-ffprobe-check", devices)) {
    requireReadsBack(file);
    std::cout << scriptPath << ": " << file.video.size() << " video and " << file.audio.size()
              << " audio samples read back" << (file.wellFormed ? "" : " (not checked: header misplaced)") << "\n";
    if (probeable(file)) {
      const std::vector<std::string> seen = probeStreams(file.path), expected = expectedStreams(file);
      std::cout << "  ffprobe:" << joined(seen) << (matches(seen, expected) ? " as expected" : " MISMATCH, expected")
                << (matches(seen, expected) ? "" : joined(expected)) << "\n";
      ++*probed;
      if (!matches(seen, expected)) {
        std::cout << "  kept: " << file.path << "\n";
        ok = false;
        continue;
      }
    }
    std::remove(file.path.c_str());
  }
  return ok;
}

}  // namespace

int main(int argc, char** argv) {
  initMp4Lib();
  InstantWaveDevices devices;
  bool ok = true;
  int probed = 0;
  for (int i = 1; i < argc; ++i) ok = checkScript(argv[i], devices, &probed) && ok;
  std::cout << probed << " recorded files probed, " << (ok ? "all as stored" : "MISMATCHES") << "\n";
  finalizeMp4Lib();
  return ok && probed > 0 ? 0 : 1;
}
