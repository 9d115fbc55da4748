// initEncoder, createEncodeFile and finalizeEncoder: opening the encoder
// plug-ins and the frame buffer, preparing the movie and its file, and
// letting them go again.
#pragma once

#include <cstdint>

#include "codecs/plugin_registry.h"
#include "recording/recorder.h"

namespace mp4lib::recording {

// Why a recording could not start, and the codec type concerned when a
// plug-in was missing or refused.
enum class StartFailure {
  kNone,
  kEarlierFileOpen,  // the file of an earlier context is still open
  kDiskFull,
  kNoVideoPlugin,
  kVideoPluginRefused,
  kNoAudioPlugin,
  kAudioPluginRefused,
  kUnrecordableFrameRate,  // the video plug-in reports a rate no time scale holds
  kNoMemory,
  kNoEncoder,        // createEncodeFile before initEncoder
  kFileAlreadyOpen,
  kCannotCreateFile,
};
struct StartReport {
  StartFailure failure = StartFailure::kNone;
  std::uint32_t codecType = 0;
};

// Checks the disk, opens the video (flag 4) and audio (flag 8) plug-ins and
// allocates the frame buffer. 1, 0, or a failing plug-in's result, with the
// reason in *report; on success the recorder is active. The caller has
// checked that nothing else is open.
Mp4Word startEncoder(Recorder& recorder, codecs::PluginRegistry& plugins, EncoderParams& params,
                     StartReport* report);

// Opens the output file (any extension; always 3GP) and prepares the movie
// for it. 1 when the file is open; else 0 with the reason in *report.
std::int32_t createFile(Recorder& recorder, const wchar_t* path, StartReport* report);

// Bytes of the output file that reached it, or 0 without a file.
std::int32_t filePosition(const Recorder& recorder);

// Frees the tables and the frame buffer and finalizes the plug-ins.
void finishEncoder(Recorder& recorder, codecs::PluginRegistry& plugins);

}  // namespace mp4lib::recording
