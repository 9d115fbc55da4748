// Feeds arbitrary bytes to the box parser and the sample index, then asks
// every track for times and entries. Any read or write outside an
// allocation, any overflow the checkers know, any leak, and any endless loop
// (the fuzzer's timeout) is a finding.
#include <cstdint>
#include <cstdio>
#include <initializer_list>

#include "container/box_parser.h"
#include "container/byte_reader.h"
#include "container/movie_context.h"
#include "container/parse_context.h"
#include "container/sample_tables.h"

using namespace mp4lib;

namespace {

void askForTimes(const container::TrackRecord& track) {
  std::int32_t entry = 0;
  std::int32_t cachedRun = 0;
  for (std::int32_t ms : {0, 1, 999, 123456, -1}) container::entryForTime(track, ms, &entry, cachedRun);
  for (std::int32_t n : {0, 1, track.sampleCount - 1, track.sampleCount, 1 << 30}) container::timeOfEntry(track, n);
  std::uint64_t sum = 0;
  for (std::int32_t i = 0; i < track.sampleCount; ++i) sum += track.samples[i].offset + track.samples[i].size;
  if (sum == 1) std::fputc(' ', stderr);  // keeps the walk over the entries
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::FILE* stream = std::tmpfile();
  if (stream == nullptr) return 0;
  if (size > 0) std::fwrite(data, 1, size, stream);
  std::rewind(stream);
  container::InputFile in;
  if (!container::openInput(in, stream)) {
    std::fclose(stream);
    return 0;
  }
  static container::MovieContext movie;
  container::resetMovieContext(movie);
  MovieParams params{};
  container::ParseFindings findings;
  container::ParseContext context{movie, params, in, findings};
  if (container::readHeader(context) == 0) {
    for (int t = 0; t < movie.trackCount && t < container::kMaxTracks; ++t) askForTimes(movie.tracks[t]);
  }
  container::resetMovieContext(movie);
  container::closeInput(in);
  return 0;
}
