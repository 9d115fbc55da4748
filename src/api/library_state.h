// The one state record of the library. Everything the library keeps between
// calls lives here: whether it is initialised, the two locks, the codec
// plug-ins, the RGB16 lookup tables and the RGB16 method, and the recorder,
// the player and the audio devices. The exports reach it through
// libraryState() and hand the parts each call needs down as arguments.
//
// One movie is recorded or played at a time: the recorder and the player
// exclude each other, and there is one wave input and one wave output.
#pragma once

#include <atomic>
#include <cstdint>

#include "api/failures.h"
#include "codecs/plugin_registry.h"
#include "devices/audio_devices.h"
#include "pixels/tables.h"
#include "platform/platform.h"
#include "playback/player.h"
#include "recording/recorder.h"

namespace mp4lib::api {

struct LibraryState {
  std::atomic<bool> initialised{false};  // set by initMp4Lib, cleared by finalizeMp4Lib
  // Serialises the writes of encoded samples (video and audio may be stored
  // from two threads).
  platform::CriticalSection writeLock;
  // Serialises every seek-and-read of the file being played.
  platform::CriticalSection readLock;
  codecs::PluginRegistry plugins;
  pixels::LookupTableBlock lookupTables;
  // How YUV becomes RGB16: 1 error diffusion, 2 additive, else direct.
  std::atomic<std::int32_t> rgb16Method{0};
  recording::Recorder recorder;
  playback::Player player;
  devices::AudioDevices devices;
  // Why the last initDecoder, initEncoder or createEncodeFile failed.
  LastFailure lastFailure;
};

// Created when the library is loaded, before any export can run, and
// destroyed when it is unloaded.
LibraryState& libraryState();

// What the playback calls work on.
playback::Playback playbackOf(LibraryState& state);

// Called by the library's entry routine when the library is unloaded.
void onProcessDetach();

}  // namespace mp4lib::api
