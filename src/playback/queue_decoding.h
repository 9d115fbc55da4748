// Queue-driven decoding: the next audio or video sample in file order,
// decoded by the plug-ins in use, with samples read ahead into the queues.
#pragma once

#include <cstdint>

#include "playback/rgb_output.h"

namespace mp4lib::playback {

// Fills both queues as far as they have room and samples remain; once
// neither track has samples left, the stream is at its end.
void readAhead(Playback& playback);

// decodeAudio: the next audio sample into pcm. The plug-in's result; 0 when
// nothing is queued.
Mp4Word decodeQueuedAudio(Playback& playback, std::uint8_t* pcm, std::uint32_t* pcmLength);

// decodeVideo / decodeVideoEx: the next video sample; `picture` goes to the
// plug-in as its picture buffer. Times come from the low 8 bits of the
// sample's number. The plug-in feed's result; 0 when no movie is open or
// nothing is queued.
Mp4Word decodeQueuedVideo(Playback& playback, std::uint8_t* picture, std::uint32_t* timeMs,
                          std::uint32_t* durationMs);

// The RGB forms: converted at the coded size, then scaled to the output
// size when the parameter block asks for resizing.
Mp4Word decodeQueuedRgb(Playback& playback, RgbFormat format, std::uint8_t* rgb, std::uint32_t* timeMs,
                        std::uint32_t* durationMs);

}  // namespace mp4lib::playback
