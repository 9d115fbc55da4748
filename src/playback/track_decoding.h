// Decoding one sample of the open movie by entry number.
#pragma once

#include <cstdint>

#include "playback/player.h"

namespace mp4lib::playback {

// Decodes video entry `entry`, from the nearest key frame when the decoder
// is not right before it. yuv (or null) is the plug-in's picture buffer;
// *size the picture bytes the plug-in reports; *timeMs the entry's time and,
// when durationMs is given, *durationMs its duration. Null outs are not
// written. 1, or 0 for an entry outside the track or a sample that cannot be
// read.
std::int32_t decodeVideoEntry(Playback& playback, std::int32_t entry, std::uint8_t* yuv, std::uint32_t* size,
                              std::uint32_t* timeMs, std::uint32_t* durationMs);

// Decodes the next slice of audio entry `entry` (the whole entry when it is
// at most 2048 bytes, else 2048 bytes at a time). *timeMs: the entry's start;
// *bytesLeft: bytes of it still unread. The plug-in's result, or 0 for an
// entry outside the track or a read that fails.
Mp4Word decodeAudioEntry(Playback& playback, std::int32_t entry, std::uint8_t* pcm, std::uint32_t* pcmLength,
                         std::uint32_t* timeMs, std::uint32_t* bytesLeft);

// The decoded picture's planes as the video plug-in hands them out, and the
// size of the picture they hold.
struct DecodedPlanes {
  std::uint8_t* y = nullptr;
  std::uint8_t* u = nullptr;
  std::uint8_t* v = nullptr;
  std::uint32_t pitch = 0;        // luma row pitch, bytes
  std::uint32_t chromaPitch = 0;  // the plug-in's fifth value; not used
  std::uint32_t width = 0;        // pixels
  std::uint32_t height = 0;
};
// False when no video decoder is in use or it has no picture. The picture's
// size is what the plug-in's getDecodeSize tells; a plug-in without it
// promises the announced size (decodedWidth x decodedHeight).
bool fetchDecodedPlanes(Playback& playback, DecodedPlanes* planes);

// Whether the picture holds a region of width x height pixels from its
// top-left corner (its pitch too).
bool planesHold(const DecodedPlanes& planes, std::uint32_t width, std::uint32_t height);

}  // namespace mp4lib::playback
