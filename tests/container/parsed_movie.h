// Parses a hand-made file into a movie record of its own (not the
// library's global one), for tests of the box parser and sample index.
#pragma once

#include <cstdio>
#include <memory>

#include "container/recorded_movie.h"
#include "container/box_parser.h"
#include "container/bytes.h"
#include "container/parse_context.h"

namespace mp4lib::test {

struct ParsedMovie {
  explicit ParsedMovie(const Bytes& bytes) : file(bytes) {
    movie = std::make_unique<container::MovieContext>();
    *movie = container::MovieContext{};
    movie->timeScale = container::kMovieTimeScale;
    std::FILE* stream = std::fopen(file.path().string().c_str(), "rb");
    if (stream == nullptr || !container::openInput(in, stream)) return;
    container::ParseContext context{*movie, params, in, findings};
    status = container::readHeader(context);
    fileLength = context.fileLength;
  }
  ~ParsedMovie() {
    container::freeTrackRecords(*movie);
    container::closeInput(in);
  }
  ParsedMovie(const ParsedMovie&) = delete;
  ParsedMovie& operator=(const ParsedMovie&) = delete;

  const container::TrackRecord& track(int i) const { return movie->tracks[i]; }

  TempFile file;
  std::unique_ptr<container::MovieContext> movie;
  MovieParams params{};
  container::ParseFindings findings;
  container::InputFile in;
  std::int32_t status = -2;
  std::int64_t fileLength = -1;
};

}  // namespace mp4lib::test
