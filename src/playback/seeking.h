// Placing playback at a time.
#pragma once

#include <cstdint>

namespace mp4lib::reader {

// setAudioEntryByTime: places the next audio read at timeMs and reports the
// entry, the byte offset inside it and the time it stands for (null outs are
// not written). 1; 0 for a negative time (entry 0, offset 0, time 0) or a
// movie without audio.
std::int32_t placeAudio(std::int32_t timeMs, std::int32_t* entry, std::uint32_t* offset, std::int32_t* adjustedMs);

// getVideoEntryByTime: the video entry shown at timeMs. 1, or 0 without video.
std::int32_t videoEntryAt(std::int32_t timeMs, std::int32_t* entry);

}  // namespace mp4lib::reader
