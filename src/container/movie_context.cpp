#include "container/movie_context.h"

#include <cstring>

#include "platform/memory.h"

namespace mp4lib::container {

namespace {

void freeTrack(TrackRecord& track) {
  if (track.codec != nullptr) platform::release(track.codec->extraData);
  platform::release(track.codec);
  platform::release(track.samples);
  platform::release(track.stscRuns);
  platform::release(track.timeRuns);
  platform::release(track.chunkOffsets);
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
