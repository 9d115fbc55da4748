// initEncoder, createEncodeFile and finalizeEncoder: opening the encoder
// plug-ins and the frame buffer, preparing the movie and its file, and
// letting them go again.
#pragma once

#include <cstdint>

#include "codecs/plugin_registry.h"
#include "recording/recorder.h"

namespace mp4lib::recording {

// Checks the disk, opens the video (flag 4) and audio (flag 8) plug-ins and
// allocates the frame buffer. 1, 0, or a failing plug-in's result; on
// success the recorder is active. The caller has checked that nothing else
// is open.
Mp4Word startEncoder(Recorder& recorder, codecs::PluginRegistry& plugins, EncoderParams& params);

// Opens the output file (any extension; always 3GP) and prepares the movie
// for it. 1 when the file is open.
std::int32_t createFile(Recorder& recorder, const wchar_t* path);

// Bytes of the output file that reached it, or 0 without a file.
std::int32_t filePosition(const Recorder& recorder);

// Frees the tables and the frame buffer and finalizes the plug-ins.
void finishEncoder(Recorder& recorder, codecs::PluginRegistry& plugins);

}  // namespace mp4lib::recording
