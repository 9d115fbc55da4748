#include "container/recorded_movie.h"

#include <cstring>

#include "platform/memory.h"

namespace mp4lib::container {

void freeRecordedTracks(RecordedMovie& movie) {
  for (RecordedTrack& track : movie.tracks) {
    if (track.codec != nullptr) platform::release(track.codec->extraData);
    platform::release(track.codec);
    platform::release(track.samples);
    platform::release(track.stts);
    platform::release(track.dsi);
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
