// Feeds arbitrary bytes to the box parser and the sample index, then asks
// every track for times and entries. Any read or write outside an
// allocation, any overflow the checkers know, any leak, and any endless loop
// (the fuzzer's timeout) is a finding.
#include <cstdint>
#include <cstdio>
#include <initializer_list>

#include "frame/movie_context.h"
#include "reader/box_parser.h"
#include "reader/byte_reader.h"
#include "reader/parse_context.h"
#include "reader/sample_index.h"

using namespace mp4lib;

namespace {

void askForTimes(const frame::TrackRecord& track) {
  std::int32_t entry = 0;
  for (std::int32_t ms : {0, 1, 999, 123456, -1}) reader::entryForTime(track, ms, &entry);
  for (std::int32_t n : {0, 1, track.sampleCount - 1, track.sampleCount, 1 << 30}) reader::timeOfEntry(track, n);
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
  reader::InputFile in;
  if (!reader::openInput(in, stream)) {
    std::fclose(stream);
    return 0;
  }
  static frame::MovieContext movie;
  frame::resetMovieContext(movie);
  MovieParams params{};
  reader::ParseFindings findings;
  reader::ParseContext context{movie, params, in, findings};
  reader::setCachedTimeRun(0);
  if (reader::readHeader(context) == 0) {
    for (int t = 0; t < movie.trackCount && t < frame::kMaxTracks; ++t) askForTimes(movie.tracks[t]);
  }
  frame::resetMovieContext(movie);
  reader::closeInput(in);
  return 0;
}
