// Opening a movie to play, and the wide paths the library takes.
#pragma once

#include <string>

#include "mp4lib.h"

namespace mp4lib::tool {

// The library takes wide paths everywhere.
std::wstring widen(const std::string& text);

// Opens the movie at `path` with initDecoder; null, with the reason on
// standard error, when the file is missing or the library refuses it.
MovieParams* openMovie(const std::string& path);

// Why the library refused the last movie or recording, as a sentence that
// follows "cannot open FILE: " (from mp4libLastFailure, with a hint where
// the user can do something about it).
std::string lastFailure();

}  // namespace mp4lib::tool
