// Row routines of the RGB to YUV 4:2:0 converters: each turns one pair of
// source rows into two Y rows and one row of U and V, where U and V of a
// 2 x 2 block are the mean of the four pixels' own U and V (sum >> 2; the
// sums are never negative, so this equals the truncating division by 4).
#pragma once

#include <cstdint>

#include "pixels/tables.h"

namespace mp4lib::pixels {

// Where one row pair of short planar output goes.
struct YuvRowPair {
  std::int16_t* yTop;
  std::int16_t* yBottom;
  std::int16_t* u;
  std::int16_t* v;
};

// Plain per-pixel references. `pairs` is the number of 2 x 2 blocks.
void rgb24RowPairReference(const std::uint8_t* top, const std::uint8_t* bottom, std::int32_t pairs,
                           const YuvRowPair& out);
// RGB16 through the equations with Y grouped red first.
void rgb16RowPairReference(const std::uint16_t* top, const std::uint16_t* bottom, std::int32_t pairs,
                           const YuvRowPair& out);
// RGB16 through the lookup tables.
void rgb16LookupRowPair(const std::uint16_t* top, const std::uint16_t* bottom, std::int32_t pairs,
                        const LookupTables& tables, const YuvRowPair& out);

// The same as the references, with vector instructions for the bulk of the
// row where this build has them.
void rgb24RowPair(const std::uint8_t* top, const std::uint8_t* bottom, std::int32_t pairs, const YuvRowPair& out);
void rgb16RowPair(const std::uint16_t* top, const std::uint16_t* bottom, std::int32_t pairs, const YuvRowPair& out);

}  // namespace mp4lib::pixels
