// The tests look inside the library: its one state record and its parts.
#pragma once

#include "api/library_state.h"

namespace mp4lib::test {

inline api::LibraryState& library() { return api::libraryState(); }
inline codecs::PluginRegistry& plugins() { return library().plugins; }
inline recording::Recorder& recorder() { return library().recorder; }
inline playback::Player& player() { return library().player; }
inline devices::AudioDevices& devices() { return library().devices; }
inline playback::Playback playbackNow() { return api::playbackOf(library()); }

}  // namespace mp4lib::test
