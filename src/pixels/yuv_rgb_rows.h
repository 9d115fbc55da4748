// Row routines of the YUV 4:2:0 to RGB converters. Each converts one pair of
// luma rows with their shared chroma row, block by block (top-left,
// top-right, bottom-left, bottom-right), into two packed destination rows.
// These are the plain references; yuv_to_rgb.cpp may use vector versions
// that give the same bytes.
#pragma once

#include <cstdint>

namespace mp4lib::pixels {

// One pair of source rows and the two destination rows they become.
struct YuvRowPairIn {
  const std::uint8_t* yTop;
  const std::uint8_t* yBottom;
  const std::uint8_t* u;
  const std::uint8_t* v;
};

struct RgbRowPairOut {
  std::uint8_t* top;
  std::uint8_t* bottom;
};

// Error left over from the previous pixel, per channel (0..15). It runs on
// across blocks and rows for the whole picture.
struct DitherCarries {
  int low = 0;
  int green = 0;
  int high = 0;
};

void yuvToRgb24RowPairReference(const YuvRowPairIn& in, std::int32_t pairs, const RgbRowPairOut& out);
void yuvToRgb16DirectRowPairReference(const YuvRowPairIn& in, std::int32_t pairs, const RgbRowPairOut& out);
void yuvToRgb16DiffusedRowPair(const YuvRowPairIn& in, std::int32_t pairs, const RgbRowPairOut& out,
                               DitherCarries& carries);
void yuvToRgb16AdditiveRowPair(const YuvRowPairIn& in, std::int32_t pairs, const RgbRowPairOut& out,
                               DitherCarries& carries);

}  // namespace mp4lib::pixels
