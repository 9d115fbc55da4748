// Damaged movies made from one small valid movie, each with the outcome the
// reader owes it, worked out by hand from the bytes written (the comment at
// each case says how).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "malformed/movie_boxes.h"
#include "malformed/valid_movie.h"

namespace mp4lib::malformed {

// Something to confirm on a movie that opened.
struct Check {
  enum Kind {
    kVideoShows,       // entry a decodes into the picture of sample `bytes`
    kVideoUnreadable,  // decode_video_track(a) returns 0
    kAudioHolds,       // entry a reads back as `bytes`
    kAudioUnreadable,  // decode_audio_track(a) returns 0
    kMovieMs,          // getMovieDuration gives a
    kVideoMs,          // getVideoDuration gives a
    kAudioSampleMs,    // getAudioDuration gives a
    kVideoTimeOf,      // getVideoTimeByEntry(a) gives b
    kVideoEntryAt,     // getVideoEntryByTime(a) gives b
    kDisplaySize,      // MovieParams width a, height b
  };
  Kind kind;
  std::int64_t a = 0;
  std::int64_t b = 0;
  Bytes bytes;
};

constexpr int kDisabled = -1;

struct Expected {
  bool opens = false;
  // The reader may also refuse the file (where either is documented).
  bool mayRefuse = false;
  int videoFrames = kDisabled;  // getVideoFrameNum, or kDisabled when it returns 0
  int audioFrames = kDisabled;
  std::vector<Check> checks;
};

struct MalformedCase {
  std::string name;
  Bytes bytes;
  Expected expected;
  // Non-empty while the library mishandles the file (fuzz/known_findings.h).
  std::string knownFinding;
};

std::vector<MalformedCase> malformedCases();

// MP4LIB_SHOW_KNOWN_FINDINGS=1 runs the tests of open findings too (to see
// one fail, or to check a fix); they are skipped otherwise.
bool showKnownFindings();

}  // namespace mp4lib::malformed
