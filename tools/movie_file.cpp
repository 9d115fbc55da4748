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
    std::fprintf(stderr,
                 "mp4lib: cannot open %s: it is not a 3GP/MP4 movie, cannot be read, has an empty first track, or "
                 "no codec plug-in beside the library decodes its tracks (mp4lib plugins lists them)\n",
                 path.c_str());
    return nullptr;
  }
  return movie;
}

}  // namespace mp4lib::tool
