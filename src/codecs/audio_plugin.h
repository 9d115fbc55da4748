// Selecting and opening the audio codec plug-in for recording or playback.
#pragma once

#include <cstdint>

#include "codecs/plugin_registry.h"

namespace mp4lib::codecs {

// Bytes of PCM in one encoder block: bits x ms x rate x channels / 8000, in
// unsigned 32-bit arithmetic (it wraps for absurd inputs, as it always has).
// The encoder and the wave input use blocks of this size.
std::uint32_t pcmBytesPerBlock(std::uint32_t bits, std::uint32_t blockMs, std::uint32_t sampleRate,
                               std::uint32_t channels);

// Encoding: makes the plug-in of `codecType` the active audio encoder and
// returns its initEncode(encodeOption, 0).
// Decoding: makes it the active audio decoder (null too) and returns its
// initDecode: with `trackConfig` (the movie's audio track's decoder
// configuration) for MPEG-4 audio, else (0, 0).
// 0 when no plug-in has that codec type.
Mp4Word openAudioCodecPlugin(PluginRegistry& registry, std::uint32_t codecType, bool forEncoding,
                             std::uint32_t encodeOption, const AudioDecoderConfig& trackConfig);

}  // namespace mp4lib::codecs
