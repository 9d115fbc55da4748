#include "interop/interop_support.h"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

namespace fs = std::filesystem;

namespace mp4lib::test::interop {

bool run(const std::string& command) { return std::system((command + " > /dev/null 2>&1").c_str()) == 0; }

std::string output(const std::string& command, bool errors) {
  // Test processes run side by side: the name carries this process's start
  // time as well as a count.
  static const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
  static int serial = 0;
  const fs::path capture = fs::temp_directory_path() / ("mp4lib-interop-output-" + std::to_string(stamp) + "-" +
                                                        std::to_string(++serial) + ".txt");
  const std::string redirect = errors ? " 2> " + quoted(capture) + " > /dev/null" : " > " + quoted(capture) + " 2> /dev/null";
  std::system((command + redirect).c_str());
  const Bytes bytes = readFile(capture);
  const std::string text(bytes.begin(), bytes.end());
  std::error_code ignored;
  fs::remove(capture, ignored);
  return text;
}

bool ffmpegAvailable() {
  static const bool available = run("ffmpeg -version") && run("ffprobe -version");
  return available;
}

std::string quoted(const fs::path& path) { return "\"" + path.string() + "\""; }

Bytes readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

bool writeFile(const fs::path& path, const Bytes& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return static_cast<bool>(out);
}

ScratchFolder::ScratchFolder(const std::string& stem) {
  const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
  path_ = fs::temp_directory_path() / ("mp4lib-" + stem + "-" + std::to_string(stamp));
  fs::create_directories(path_);
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

namespace {

struct Box {
  std::size_t payload;  // offset of the payload, bytes
  std::size_t size;     // payload bytes
};

std::uint32_t be32(const Bytes& b, std::size_t at) {
  return (std::uint32_t{b[at]} << 24) | (std::uint32_t{b[at + 1]} << 16) | (std::uint32_t{b[at + 2]} << 8) | b[at + 3];
}

// Children of `type` within [begin, end); 64-bit and to-the-end sizes handled.
std::vector<Box> children(const Bytes& b, std::size_t begin, std::size_t end, const char* type) {
  std::vector<Box> found;
  std::size_t at = begin;
  while (at + 8 <= end) {
    std::uint64_t size = be32(b, at);
    std::size_t header = 8;
    if (size == 1) {
      if (at + 16 > end) break;
      size = (std::uint64_t{be32(b, at + 8)} << 32) | be32(b, at + 12);
      header = 16;
    } else if (size == 0) {
      size = end - at;
    }
    if (size < header || size > end - at) break;
    if (std::string(b.begin() + static_cast<std::ptrdiff_t>(at + 4), b.begin() + static_cast<std::ptrdiff_t>(at + 8)) == type) {
      found.push_back({at + header, static_cast<std::size_t>(size) - header});
    }
    at += static_cast<std::size_t>(size);
  }
  return found;
}

bool child(const Bytes& b, const Box& parent, const char* type, Box* out) {
  const auto found = children(b, parent.payload, parent.payload + parent.size, type);
  if (found.empty()) return false;
  *out = found.front();
  return true;
}

// Samples per chunk, one count per chunk offset.
std::vector<std::uint32_t> chunkCounts(const Bytes& file, const Box& stsc, const Box& stco) {
  if (stsc.size < 8 || stco.size < 8) return {};
  const std::uint32_t chunks = be32(file, stco.payload + 4);
  const std::uint32_t runs = be32(file, stsc.payload + 4);
  if ((stco.size - 8) / 4 < chunks || (stsc.size - 8) / 12 < runs) return {};
  std::vector<std::uint32_t> counts;
  for (std::uint32_t run = 0; run < runs; ++run) {
    const std::uint32_t first = be32(file, stsc.payload + 8 + 12 * run);
    const std::uint32_t next = run + 1 < runs ? be32(file, stsc.payload + 8 + 12 * (run + 1)) : chunks + 1;
    for (std::uint32_t chunk = first; chunk < next && chunk >= 1 && chunk <= chunks; ++chunk) {
      counts.push_back(be32(file, stsc.payload + 12 + 12 * run));
    }
  }
  return counts;
}

std::vector<Bytes> samplesOf(const Bytes& file, const Box& stbl) {
  Box stsz{}, stsc{}, stco{};
  if (!child(file, stbl, "stsz", &stsz) || !child(file, stbl, "stsc", &stsc) || !child(file, stbl, "stco", &stco)) return {};
  if (stsz.size < 12) return {};
  const std::uint32_t constant = be32(file, stsz.payload + 4);
  const std::uint32_t count = be32(file, stsz.payload + 8);
  if (constant == 0 && (stsz.size - 12) / 4 < count) return {};
  const std::vector<std::uint32_t> counts = chunkCounts(file, stsc, stco);
  std::vector<Bytes> samples;
  std::uint32_t sample = 0;
  for (std::size_t chunk = 0; chunk < counts.size() && sample < count; ++chunk) {
    std::size_t at = be32(file, stco.payload + 8 + 4 * chunk);
    for (std::uint32_t k = 0; k < counts[chunk] && sample < count; ++k, ++sample) {
      const std::size_t size = constant != 0 ? constant : be32(file, stsz.payload + 12 + 4 * sample);
      if (at > file.size() || size > file.size() - at) return {};
      samples.emplace_back(file.begin() + static_cast<std::ptrdiff_t>(at),
                           file.begin() + static_cast<std::ptrdiff_t>(at + size));
      at += size;
    }
  }
  return samples;
}

// The sample table of the first track whose sample entry is `entryType`.
bool sampleTable(const Bytes& file, const std::string& entryType, Box* table) {
  const auto moov = children(file, 0, file.size(), "moov");
  if (moov.empty()) return false;
  for (const Box& trak : children(file, moov[0].payload, moov[0].payload + moov[0].size, "trak")) {
    Box mdia{}, minf{}, stbl{}, stsd{};
    if (!child(file, trak, "mdia", &mdia) || !child(file, mdia, "minf", &minf) || !child(file, minf, "stbl", &stbl) ||
        !child(file, stbl, "stsd", &stsd) || stsd.size < 16) {
      continue;
    }
    const std::string type(file.begin() + static_cast<std::ptrdiff_t>(stsd.payload + 12),
                           file.begin() + static_cast<std::ptrdiff_t>(stsd.payload + 16));
    if (type == entryType) {
      *table = stbl;
      return true;
    }
  }
  return false;
}

}  // namespace

std::vector<Bytes> trackSamples(const Bytes& file, const std::string& entryType) {
  Box stbl{};
  if (!sampleTable(file, entryType, &stbl)) return {};
  return samplesOf(file, stbl);
}

std::vector<std::uint32_t> chunkSampleCounts(const Bytes& file, const std::string& entryType) {
  Box stbl{}, stsc{}, stco{};
  if (!sampleTable(file, entryType, &stbl) || !child(file, stbl, "stsc", &stsc) || !child(file, stbl, "stco", &stco)) return {};
  return chunkCounts(file, stsc, stco);
}

std::uint32_t lastRunFirstChunk(const Bytes& file, const std::string& entryType) {
  Box stbl{}, stsc{};
  if (!sampleTable(file, entryType, &stbl) || !child(file, stbl, "stsc", &stsc) || stsc.size < 8) return 0;
  const std::uint32_t runs = be32(file, stsc.payload + 4);
  if (runs == 0 || (stsc.size - 8) / 12 < runs) return 0;
  return be32(file, stsc.payload + 8 + 12 * (runs - 1));
}

ProbedStream probe(const fs::path& file, const std::string& selector) {
  const std::string text =
      output("ffprobe -v error -count_frames -select_streams " + selector +
             " -show_entries stream=codec_name,codec_tag_string,nb_read_frames,duration,width,height"
             " -of default=noprint_wrappers=1 " + quoted(file));
  ProbedStream stream;
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    const auto equals = line.find('=');
    if (equals == std::string::npos) continue;
    const std::string key = line.substr(0, equals), value = line.substr(equals + 1);
    if (key == "codec_name") stream.codecName = value;
    if (key == "codec_tag_string") stream.codecTag = value;
    if (key == "nb_read_frames") stream.frames = value;
    if (key == "duration") stream.duration = value;
    if (key == "width") stream.width = value;
    if (key == "height") stream.height = value;
  }
  return stream;
}

double psnr(const std::uint8_t* a, const std::uint8_t* b, std::size_t bytes) {
  double squared = 0.0;
  for (std::size_t i = 0; i < bytes; ++i) {
    const double d = static_cast<double>(a[i]) - static_cast<double>(b[i]);
    squared += d * d;
  }
  if (squared == 0.0) return 99.0;
  return 10.0 * std::log10(255.0 * 255.0 * static_cast<double>(bytes) / squared);
}

Bytes patternPicture(int width, int height, int frame) {
  Bytes yuv(static_cast<std::size_t>(width) * height * 3 / 2);
  const double shift = 3.0 * frame;  // the waves drift 3 pixels per frame
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const double v = 128.0 + 60.0 * std::sin((x + shift) * 2.0 * M_PI / 64.0) + 30.0 * std::cos(y * 2.0 * M_PI / 48.0);
      yuv[static_cast<std::size_t>(y) * width + x] = static_cast<std::uint8_t>(std::lround(v));
    }
  }
  std::uint8_t* u = yuv.data() + static_cast<std::size_t>(width) * height;
  std::uint8_t* v = u + static_cast<std::size_t>(width / 2) * (height / 2);
  for (int y = 0; y < height / 2; ++y) {
    for (int x = 0; x < width / 2; ++x) {
      const std::size_t at = static_cast<std::size_t>(y) * (width / 2) + x;
      u[at] = static_cast<std::uint8_t>(std::lround(128.0 + 40.0 * std::sin((x + y + frame) * 2.0 * M_PI / 40.0)));
      v[at] = static_cast<std::uint8_t>(std::lround(128.0 + 40.0 * std::cos((x - y) * 2.0 * M_PI / 56.0)));
    }
  }
  return yuv;
}


}  // namespace mp4lib::test::interop
