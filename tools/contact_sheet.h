// The contact sheet of `mp4lib thumbs`: where each frame goes in the grid,
// which times are shown, and the time stamp in each frame's lower left
// corner.
#pragma once

#include <cstdint>
#include <vector>

#include "rgb_picture.h"

namespace mp4lib::tool {

// Pixels between frames and around the grid.
constexpr std::uint32_t kSheetGap = 4;
// Pixels between a stamp's box and its text.
constexpr std::uint32_t kStampPadding = 2;

struct SheetLayout {
  std::uint32_t columns = 0;
  std::uint32_t rows = 0;
  std::uint32_t frameWidth = 0;
  std::uint32_t frameHeight = 0;

  std::uint64_t width() const { return std::uint64_t{columns} * (frameWidth + kSheetGap) + kSheetGap; }
  std::uint64_t height() const { return std::uint64_t{rows} * (frameHeight + kSheetGap) + kSheetGap; }
  // Frame `index`'s place, row by row from the upper left.
  Area cell(std::uint32_t index) const;
};

// `count` frames (at least 1) in rows of `columns` (no more than `count`),
// each `frameWidth` wide and as high as the movie's proportions make it
// (rounded, at least 1 pixel).
SheetLayout layoutSheet(std::uint32_t count, std::uint32_t columns, std::uint32_t frameWidth, std::uint32_t movieWidth,
                        std::uint32_t movieHeight);

// Times of `count` frames spread evenly over the movie, ms: the middle of
// each of `count` equal parts of durationMs (rounded down), so neither the
// black first frame nor the last one stands for the whole movie.
std::vector<std::uint32_t> sheetTimesMs(std::uint32_t durationMs, std::uint32_t count);

// The stamp's box for a frame shown at timeMs: the cell's lower left corner.
Area stampArea(const Area& cell, std::uint64_t timeMs);

// Draws the time (mm:ss.t) in white on a black box in the cell's lower left
// corner, cut off at the cell's edges.
void stampTime(RgbPicture& sheet, const Area& cell, std::uint64_t timeMs);

}  // namespace mp4lib::tool
