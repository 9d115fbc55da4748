#include "container/vendor_payload.h"

namespace mp4lib::container {

namespace {

constexpr int kVideoTypeWord = 11;

void putBigEndian(std::uint8_t* at, std::uint32_t value) {
  at[0] = static_cast<std::uint8_t>(value >> 24);
  at[1] = static_cast<std::uint8_t>(value >> 16);
  at[2] = static_cast<std::uint8_t>(value >> 8);
  at[3] = static_cast<std::uint8_t>(value);
}

void putLittleEndian(std::uint8_t* at, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) at[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

std::uint32_t getBigEndian(const std::uint8_t* at) {
  return (std::uint32_t{at[0]} << 24) | (std::uint32_t{at[1]} << 16) | (std::uint32_t{at[2]} << 8) | at[3];
}

std::uint32_t getLittleEndian(const std::uint8_t* at) {
  return std::uint32_t{at[0]} | (std::uint32_t{at[1]} << 8) | (std::uint32_t{at[2]} << 16) |
         (std::uint32_t{at[3]} << 24);
}

}  // namespace

void encodeVendorPayload(const std::uint32_t (&words)[kVendorWords], VideoTypeOrder order,
                         std::uint8_t (&payload)[kVendorPayloadBytes]) {
  for (int i = 0; i < kVendorWords; ++i) {
    const bool bigEndian = i < kVideoTypeWord || (i == kVideoTypeWord && order == VideoTypeOrder::kBigEndian);
    if (bigEndian) {
      putBigEndian(payload + 4 * i, words[i]);
    } else {
      putLittleEndian(payload + 4 * i, words[i]);
    }
  }
}

void decodeVendorPayload(const std::uint8_t (&payload)[kVendorPayloadBytes], std::uint32_t (&words)[kVendorWords]) {
  for (int i = 0; i < kVendorWords; ++i) {
    words[i] = i <= kVideoTypeWord ? getBigEndian(payload + 4 * i) : getLittleEndian(payload + 4 * i);
  }
}

}  // namespace mp4lib::container
