// Encoding frames and audio blocks with the encoder plug-ins, and the
// timing of the video track.
#pragma once

#include <cstdint>

#include "platform/platform.h"
#include "recording/recorder.h"

namespace mp4lib::recording {

// The encode step of encode_video (store false) and encodeVideo: the video
// plug-in's result, with the compressed frame stored first when `store` is
// set. Nothing is timed or stored when the plug-in fails or the tables
// cannot take the frame. `ts` is ms, 0xFFFFFFFF meaning "now".
Mp4Word encodeFrame(Recorder& recorder, platform::CriticalSection& writeLock, const std::int16_t* frame,
                    Mp4Word arg, std::uint8_t* out, std::uint32_t* outSize, bool store, std::uint32_t ts);

// The audio plug-in's encode of one PCM block; 0 without an audio encoder.
Mp4Word encodeAudio(Recorder& recorder, const std::uint8_t* pcm, std::uint32_t length, std::uint8_t* out,
                    std::uint32_t* outSize);

// The video plug-in's reconstructed picture; 0 without a video encoder.
Mp4Word reconstructedPicture(Recorder& recorder, std::uint8_t** y, std::uint8_t** u, std::uint8_t** v,
                             std::uint32_t* pitch, std::uint32_t* chromaPitch);

}  // namespace mp4lib::recording
