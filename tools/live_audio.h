// Live sound: recording from the default input device and playing a
// movie's audio through the default output device. Each paces itself on the
// device's buffer messages, answered on this thread.
#pragma once

#include <cstdint>

#include "commands.h"
#include "recorder.h"

namespace mp4lib::tool {

// Records until totalMs (ms) of sound have come from the input device;
// pictures follow the captured time at frameRate.
bool recordFromInputDevice(Recorder& recorder, const Codecs& codecs, double frameRate, std::uint64_t totalMs);

// Plays the open movie's audio (format from `movie`) to the end; the count
// of buffers played, or -1 with the reason on standard error.
std::int64_t playThroughOutputDevice(const MovieParams& movie, const PlayOptions& options);

}  // namespace mp4lib::tool
