// Playback: how long the sample index takes to build, per sample, on a movie
// of 108,000 video samples (one hour at 30 fps), and a whole initDecoder +
// finalizeDecoder on it. Also reports the index's bytes per sample.
// --movie=<file> times another movie of 108,000 video samples instead (for
// example one that ffmpeg made: one hour of 128x96 H.263 at 30 fps).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "api/library_state.h"
#include "codecs/plugin_registry.h"
#include "container/box_parser.h"
#include "container/byte_reader.h"
#include "container/movie_context.h"
#include "container/parse_context.h"
#include "movie_file.h"
#include "mp4lib.h"

namespace fs = std::filesystem;
using namespace mp4lib;

namespace {

constexpr std::uint32_t kSamples = 108000;
std::string moviePath;
std::string pluginFolder;

std::size_t indexBytes(const container::MovieContext& movie) {
  std::size_t bytes = 0;
  for (int t = 0; t < movie.trackCount; ++t) {
    const container::TrackRecord& track = movie.tracks[t];
    bytes += std::size_t(track.sampleCapacity) * sizeof(SampleEntry);
    bytes += std::size_t(track.timeRunCount) * sizeof(container::TimeRun);
    bytes += std::size_t(track.stscRunCount) * sizeof(container::SampleToChunkRun);
    if (track.chunkOffsets != nullptr) bytes += std::size_t(track.chunkCount) * sizeof(std::uint32_t);
  }
  return bytes;
}

void IndexBuild(benchmark::State& state) {
  static container::MovieContext movie;
  std::size_t bytes = 0;
  for (auto _ : state) {
    std::FILE* stream = std::fopen(moviePath.c_str(), "rb");
    container::InputFile in;
    container::openInput(in, stream);
    container::resetMovieContext(movie);
    MovieParams params{};
    container::ParseFindings findings;
    container::ParseContext context{movie, params, in, findings};
    if (container::readHeader(context) != 0 || movie.tracks[0].sampleCount != static_cast<std::int32_t>(kSamples)) {
      state.SkipWithError("the movie did not parse");
    }
    bytes = indexBytes(movie);
    container::resetMovieContext(movie);
    container::closeInput(in);
  }
  state.counters["ns_per_sample"] = benchmark::Counter(static_cast<double>(kSamples), benchmark::Counter::kIsIterationInvariantRate |
                                                                                             benchmark::Counter::kInvert);
  state.counters["index_bytes_per_sample"] = static_cast<double>(bytes) / kSamples;
}
BENCHMARK(IndexBuild)->Unit(benchmark::kMillisecond);

void InitAndFinalizeDecoder(benchmark::State& state) {
  codecs::discoverCodecPluginsBeside(api::libraryState().plugins, (fs::path(pluginFolder) / "mp4lib").wstring().c_str());
  if (api::libraryState().plugins.count == 0) state.SkipWithError("no plug-in beside the benchmark");
  const std::wstring path = fs::path(moviePath).wstring();
  for (auto _ : state) {
    MovieParams* params = nullptr;
    if (initDecoder(path.c_str(), &params) != 1) state.SkipWithError("initDecoder failed");
    finalizeDecoder();
  }
  state.counters["ns_per_sample"] = benchmark::Counter(static_cast<double>(kSamples), benchmark::Counter::kIsIterationInvariantRate |
                                                                                             benchmark::Counter::kInvert);
  codecs::unloadCodecPlugins(api::libraryState().plugins);
}
BENCHMARK(InitAndFinalizeDecoder)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  const fs::path self = fs::absolute(argv[0]).parent_path();
  pluginFolder = (self / "benchplugins").string();
  moviePath = (fs::temp_directory_path() / "mp4lib-bench-108000.3gp").string();
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument.rfind("--movie=", 0) == 0) moviePath = argument.substr(8);
  }
  if (!fs::exists(moviePath) && !bench::writeLongMovie(moviePath, kSamples)) {
    std::fprintf(stderr, "cannot write %s\n", moviePath.c_str());
    return 1;
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
