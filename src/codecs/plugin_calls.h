// Feeding compressed data to the decoder plug-ins in use. MPEG-4 visual
// frames are split at their 00 00 01 start codes and fed unit by unit.
#pragma once

#include <cstdint>

#include "codecs/plugin_registry.h"

namespace mp4lib::codecs {

// Splits off the unit at the start of `bytes`, which must begin with
// 00 00 01: *unitLength receives the bytes up to the next start code (or all
// of them) and *startCode the byte after the first start code. False, with
// *unitLength 0, when `bytes` does not begin with a start code.
//
// The search steps over a zero byte two at a time, so a start code that
// follows an odd run of zeros (00 00 00 01) is missed and stays inside the
// current unit. Streams depend on this splitting; do not "fix" it.
bool findStartCodeUnit(const std::uint8_t* bytes, std::uint32_t length, std::uint32_t* unitLength,
                       std::uint8_t* startCode);

// A plug-in whose module is still loaded, or null.
CodecPlugin* loaded(CodecPlugin* plugin);

// Feeds one frame to the video decoder: whole, or unit by unit for MPEG-4
// visual (then 1, also when the frame has no start code). 0 without a
// loaded decoder.
Mp4Word decodeVideoUnits(CodecPlugin* decoder, const std::uint8_t* frame, std::uint32_t length, Mp4Word p3,
                         Mp4Word p4);

// Asks the video decoder about a frame's header (MP4LIB_FRAME_*); for MPEG-4
// visual about its first unit with start code 0xB6. 0 when there is no such
// unit or no loaded decoder.
Mp4Word decodeVideoFrameHeader(CodecPlugin* decoder, const std::uint8_t* frame, std::uint32_t length, Mp4Word p3);

// Hands one piece of audio to the audio decoder. 0 without a loaded one.
Mp4Word decodeAudioUnit(CodecPlugin* decoder, const std::uint8_t* input, std::uint32_t length, std::uint8_t* output,
                        std::uint32_t* outputLength, std::uint32_t* leftover);

}  // namespace mp4lib::codecs
