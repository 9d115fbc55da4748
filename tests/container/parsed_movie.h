// Parses a hand-made file into a movie record of its own (not the
// library's global one), for tests of the box parser and sample index.
#pragma once

#include <cstdio>
#include <memory>

#include "frame/movie_context.h"
#include "reader/box_parser.h"
#include "reader/bytes.h"
#include "reader/parse_context.h"

namespace mp4lib::test {

struct ParsedMovie {
  explicit ParsedMovie(const Bytes& bytes) : file(bytes) {
    movie = std::make_unique<frame::MovieContext>();
    *movie = frame::MovieContext{};
    movie->timeScale = frame::kMovieTimeScale;
    std::FILE* stream = std::fopen(file.path().string().c_str(), "rb");
    if (stream == nullptr || !reader::openInput(in, stream)) return;
    reader::ParseContext context{*movie, params, in, findings};
    status = reader::readHeader(context);
    fileLength = context.fileLength;
  }
  ~ParsedMovie() {
    frame::freeTrackRecords(*movie);
    reader::closeInput(in);
  }
  ParsedMovie(const ParsedMovie&) = delete;
  ParsedMovie& operator=(const ParsedMovie&) = delete;

  const frame::TrackRecord& track(int i) const { return movie->tracks[i]; }

  TempFile file;
  std::unique_ptr<frame::MovieContext> movie;
  MovieParams params{};
  reader::ParseFindings findings;
  reader::InputFile in;
  std::int32_t status = -2;
  std::int64_t fileLength = -1;
};

}  // namespace mp4lib::test
