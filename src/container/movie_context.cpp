#include "frame/movie_context.h"

#include <cstdlib>
#include <cstring>

namespace mp4lib::frame {

namespace {

MovieContext movie;

void freeTrack(TrackRecord& track) {
  if (track.codec != nullptr) std::free(track.codec->extraData);
  std::free(track.codec);
  std::free(track.samples);
  std::free(track.dsi);
  std::free(track.stscRuns);
  std::free(track.timeRuns);
  std::free(track.chunkOffsets);
  std::free(track.stts);
  std::memset(&track, 0, sizeof track);
}

}  // namespace

MovieContext& movieContext() { return movie; }

void freeTrackRecords(MovieContext& context) {
  for (TrackRecord& track : context.tracks) freeTrack(track);
  context.trackCount = 0;
}

void resetMovieContext(MovieContext& context) {
  freeTrackRecords(context);
  std::memset(&context, 0, sizeof context);
  context.timeScale = kMovieTimeScale;
}

}  // namespace mp4lib::frame
