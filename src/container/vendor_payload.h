// The 64-byte payload of the vendor header box "kelv": sixteen 32-bit
// values. The recorder writes it after "ftyp"; the reader takes the movie's
// parameters from it; and for a file without the box the player rebuilds it,
// since the video plug-in expects it at initDecode.
//
// Values: 0 "WMVH", 1 version << 16 | revision, 2 and 3 header words A and B
// (as recorded; the picture size code and vendor word 3 as read), 4 width,
// 5 height, 6 the application's value (as read: the frame count), 7 stream
// flags, 8 frame rate (whole frames per second), 9 and 10 header words C and
// D (vendor words 9 and 10), 11 video codec type, 12 audio codec type,
// 13 audio bits per sample, 14 audio sample rate, 15 audio channels.
#pragma once

#include <cstdint>

namespace mp4lib::container {

constexpr std::uint32_t kVendorPayloadBytes = 64;
constexpr int kVendorWords = 16;

// Values 0..10 are big-endian and 12..15 in host (little-endian) order.
// Value 11 is written in host order by the recorder, while a payload
// rebuilt for the player has it big-endian; the reader always takes it as
// big-endian, so a recording's video codec type reads back byte-swapped
// (H.263, type 1, as 0x01000000).
enum class VideoTypeOrder { kHost, kBigEndian };

void encodeVendorPayload(const std::uint32_t (&words)[kVendorWords], VideoTypeOrder order,
                         std::uint8_t (&payload)[kVendorPayloadBytes]);
void decodeVendorPayload(const std::uint8_t (&payload)[kVendorPayloadBytes], std::uint32_t (&words)[kVendorWords]);

}  // namespace mp4lib::container
