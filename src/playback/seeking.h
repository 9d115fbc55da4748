// Placing playback at a time, and converting between video entries and
// times.
#pragma once

#include <cstdint>

#include "playback/player.h"

namespace mp4lib::playback {

// setAudioEntryByTime: places the next audio read at timeMs and reports the
// entry, the byte offset inside it and the time it stands for (null outs are
// not written). 1; 0 for a negative time (entry 0, offset 0, time 0) or a
// movie without audio.
std::int32_t placeAudio(Playback& playback, std::int32_t timeMs, std::int32_t* entry, std::uint32_t* offset,
                        std::int32_t* adjustedMs);

// getVideoEntryByTime: the video entry shown at timeMs. 1, or 0 without video.
std::int32_t videoEntryAt(Player& player, std::int32_t timeMs, std::int32_t* entry);

// getVideoTimeByEntry: the time of a video entry, ms. 1, or 0 without video.
std::int32_t videoTimeOf(Player& player, std::int32_t entry, std::uint32_t* timeMs);

// The video entry a seek to targetMs lands on; 0 without video. An entry
// past the frame count becomes the last frame, while one equal to the frame
// count passes unchanged (kept so).
std::int32_t seekVideoEntry(Player& player, std::int32_t targetMs);

}  // namespace mp4lib::playback
