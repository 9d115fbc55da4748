#include "container/recorded_movie.h"

#include <cstdlib>
#include <cstring>

namespace mp4lib::container {

void freeRecordedTracks(RecordedMovie& movie) {
  for (RecordedTrack& track : movie.tracks) {
    if (track.codec != nullptr) std::free(track.codec->extraData);
    std::free(track.codec);
    std::free(track.samples);
    std::free(track.stts);
    std::free(track.dsi);
    std::memset(&track, 0, sizeof track);
  }
  movie.trackCount = 0;
}

void resetRecordedMovie(RecordedMovie& movie) {
  freeRecordedTracks(movie);
  std::memset(&movie, 0, sizeof movie);
  movie.timeScale = kMovieTimeScale;
}

}  // namespace mp4lib::container
