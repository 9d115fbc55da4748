// The header at the start of a recording: "ftyp", the vendor header box and
// the "mdat" header of a 3GP file, or the bare vendor payload of a raw
// stream.
#pragma once

#include <cstdint>

#include "mp4lib_plugin.h"

namespace mp4lib::writer {

// Container modes of EncoderContext.containerMode.
constexpr std::uint32_t kContainerRawStream = 1;
constexpr std::uint32_t kContainer3gpOld = 2;
constexpr std::uint32_t kContainer3gp = 3;

inline bool is3gpMode(std::uint32_t mode) { return mode == kContainer3gpOld || mode == kContainer3gp; }

// The 64-byte vendor header payload: twelve big-endian words ("WMVH",
// version, header words A and B, picture size, the application's value,
// the recording flags, the truncated frame rate, header words C and D), then
// the codec types and audio format in little-endian order.
void buildVendorPayload(const EncoderContext& context, std::uint32_t value, std::uint32_t version,
                        std::uint8_t (&payload)[64]);

}  // namespace mp4lib::writer
