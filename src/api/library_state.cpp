#include "api/library_state.h"

#include "mp4lib.h"

namespace mp4lib::api {

namespace {

LibraryState state;

}  // namespace

LibraryState& libraryState() { return state; }

playback::Playback playbackOf(LibraryState& library) {
  return {library.player, library.plugins, library.readLock, library.rgb16Method.load(std::memory_order_relaxed)};
}

void onProcessDetach() { finalizeMp4Lib(); }

}  // namespace mp4lib::api
