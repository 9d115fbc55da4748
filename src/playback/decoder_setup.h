// Decisions initDecoder takes that are worth testing on their own.
#pragma once

#include <cstdint>

#include "codecs/plugin_registry.h"

namespace mp4lib::reader {

// Picture size code of a width and height in pixels: 176x144 1, 352x288 2,
// 352x240 3, 720x480 5, 320x240 7, 160x120 8, 128x96 9, 704x576 10,
// 1408x1152 11, anything else 0.
std::uint32_t pictureSizeCode(std::uint32_t width, std::uint32_t height);

// The video plug-in for a movie. The vendor block stores the video codec
// type in host (little-endian) order while its other words are big-endian,
// so the code read back from one of the library's own H.263 recordings
// (type 1) is 0x01000000, which no plug-in has. The code as read is tried
// first; when no plug-in has it, its byte-swapped value; when none has that
// either, the code the sample description gave. The parameter block keeps
// the code as read.
CodecPlugin* chooseVideoPlugin(std::uint32_t videoCodecCode, std::uint32_t descriptionCode);

}  // namespace mp4lib::reader
