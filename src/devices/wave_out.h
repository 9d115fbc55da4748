// The wave-out device as playback and seeking use it.
#pragma once

#include <cstdint>

namespace mp4lib::audio {

// At most this many PCM blocks are queued on the output at once.
constexpr std::uint32_t kMaxQueuedBlocks = 8;

// How long one queued block is waited for after a reset before it is given
// up (ms of the library clock). A given-up block is unlinked but not freed:
// a device that never returns it may still read it.
constexpr std::uint32_t kDoneWaitMs = 2000;

// True while the output is open (its handle is not null).
bool outputOpen();

// waveOutReset, then every queued block is waited for, unprepared and
// released. False (nothing released) when the reset fails.
bool resetOutputAndDrain();

// Queues one PCM block on the output: appended to the block list, prepared
// and written. Results of prepare and write are not examined.
void playBlock(const std::uint8_t* pcm, std::uint32_t bytes);

}  // namespace mp4lib::audio
