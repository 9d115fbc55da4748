// Filling the encoder's frame buffer: pictures the application hands over
// (RGB16, RGB24, packed or planar YUV) become short planar YUV 4:2:0 at the
// encoder's coded size. When the coded size differs from the picture's, the
// encoder asks for resampling (nearest neighbour with 15-bit fractions);
// otherwise the planes are written at the picture's own size.
#pragma once

#include <cstddef>
#include <cstdint>

#include "pixels/tables.h"

namespace mp4lib::pixels {

struct EncoderFrame {
  std::int16_t* y;
  std::int16_t* u;
  std::int16_t* v;
  std::uint32_t codedWidth;  // pixels
  std::uint32_t codedHeight;
  bool resample;
};

// RGB16 through the lookup tables; with unbuilt tables nothing is written.
void rgb16ToEncoderFrame(const std::uint16_t* rgb, std::int32_t width, std::int32_t height, const EncoderFrame& frame,
                         const LookupTables& tables);
void rgb24ToEncoderFrame(const std::uint8_t* rgb, std::int32_t width, std::int32_t height, const EncoderFrame& frame);

// Packed 4:2:2, bytes U Y0 V Y1 per pixel pair.
void packedYuv422ToEncoderFrame(const std::uint8_t* yuv, std::int32_t width, std::int32_t height,
                                const EncoderFrame& frame);
// Byte planar 4:2:2 (chroma planes width/2 x height) and 4:2:0 (width/2 x
// height/2), and short planar 4:2:0.
void planarYuv422ToEncoderFrame(const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v,
                                std::int32_t width, std::int32_t height, const EncoderFrame& frame);
void planarYuv420ToEncoderFrame(const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v,
                                std::int32_t width, std::int32_t height, const EncoderFrame& frame);
void shortYuv420ToEncoderFrame(const std::int16_t* y, const std::int16_t* u, const std::int16_t* v,
                               std::int32_t width, std::int32_t height, const EncoderFrame& frame);

// Where the U and V planes start in a one-buffer planar picture, in samples
// from its start (0 for an empty picture).
struct PlaneOffsets {
  std::size_t u;
  std::size_t v;
};
PlaneOffsets planarYuv422Offsets(std::int32_t width, std::int32_t height);
PlaneOffsets planarYuv420Offsets(std::int32_t width, std::int32_t height);

}  // namespace mp4lib::pixels
