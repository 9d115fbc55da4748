#include "container/movie_context.h"

#include <cstdlib>
#include <cstring>

namespace mp4lib::container {

namespace {

void freeTrack(TrackRecord& track) {
  if (track.codec != nullptr) std::free(track.codec->extraData);
  std::free(track.codec);
  std::free(track.samples);
  std::free(track.stscRuns);
  std::free(track.timeRuns);
  std::free(track.chunkOffsets);
  std::memset(&track, 0, sizeof track);
}

}  // namespace

void freeTrackRecords(MovieContext& movie) {
  for (TrackRecord& track : movie.tracks) freeTrack(track);
  movie.trackCount = 0;
}

void resetMovieContext(MovieContext& movie) {
  freeTrackRecords(movie);
  std::memset(&movie, 0, sizeof movie);
  movie.timeScale = kMovieTimeScale;
}

}  // namespace mp4lib::container
