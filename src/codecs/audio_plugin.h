// Selecting and opening the audio codec plug-in for recording or playback.
#pragma once

#include <cstdint>

#include "mp4lib_plugin.h"

namespace mp4lib::codecs {

// Bytes of PCM in one encoder block: bits x ms x rate x channels / 8000, in
// unsigned 32-bit arithmetic (it wraps for absurd inputs, as it always has).
std::uint32_t pcmBytesPerBlock(std::uint32_t bits, std::uint32_t blockMs, std::uint32_t sampleRate,
                               std::uint32_t channels);

// Encoding: sets the PCM block size (wave-in buffer size and the encoder
// context's pcmBytesPerBlock) from the encoder context's audio fields, makes
// the plug-in of `codecType` the active audio encoder and returns its
// initEncode(encodeOption, 0).
// Decoding: makes it the active audio decoder (null too) and returns its
// initDecode: with an AudioDecoderConfig of the movie's audio track for
// MPEG-4 audio, else (0, 0).
// 0 when no plug-in has that codec type.
Mp4Word openAudioCodecPlugin(std::uint32_t codecType, std::uint32_t sampleRate, std::uint32_t channels,
                             bool forEncoding, std::uint32_t encodeOption);

}  // namespace mp4lib::codecs
