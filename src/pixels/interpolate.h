// Doubling a byte planar YUV 4:2:0 picture in both directions.
#pragma once

#include <cstdint>

namespace mp4lib::pixels {

// `width` and `height` are the output size; the source is half of it in
// both directions with luma rows `pitch` bytes and chroma rows pitch / 2
// bytes apart, and each source row must have one readable byte after its
// samples. The destination gets Y, U and V one after the other. Every new
// sample is the truncated mean of its two neighbours.
void doubleYuv420(const std::uint8_t* srcY, const std::uint8_t* srcU, const std::uint8_t* srcV,
                  std::uint8_t* destination, std::int32_t width, std::int32_t height, std::int32_t pitch);

}  // namespace mp4lib::pixels
