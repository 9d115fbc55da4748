#include "movie_file.h"

#include <cstdio>
#include <filesystem>

namespace mp4lib::tool {

std::wstring widen(const std::string& text) { return std::wstring(text.begin(), text.end()); }

MovieParams* openMovie(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) {
    std::fprintf(stderr, "mp4lib: cannot open %s: there is no such file\n", path.c_str());
    return nullptr;
  }
  MovieParams* movie = nullptr;
  if (initDecoder(widen(path).c_str(), &movie) != 1) {
    std::fprintf(stderr, "mp4lib: cannot open %s: %s\n", path.c_str(), lastFailure().c_str());
    return nullptr;
  }
  return movie;
}

std::string lastFailure() {
  char text[160];
  const int code = mp4libLastFailure(text, sizeof text);
  std::string reason = text;
  if (code == MP4LIB_FAILURE_NOT_A_MOVIE) reason = "it is not a 3GP/MP4 movie (" + reason + ")";
  if (code == MP4LIB_FAILURE_NO_PLUGIN) reason += " beside the library (mp4lib plugins lists them)";
  return reason;
}

}  // namespace mp4lib::tool
