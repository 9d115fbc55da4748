#include "contact_sheet.h"

#include <algorithm>

#include "bitmap_font.h"
#include "media_time.h"

namespace mp4lib::tool {

namespace {

constexpr Rgb kStampInk{255, 255, 255};
constexpr Rgb kStampBox{0, 0, 0};

}  // namespace

Area SheetLayout::cell(std::uint32_t index) const {
  const std::uint32_t column = index % columns, row = index / columns;
  return {kSheetGap + std::int64_t{column} * (frameWidth + kSheetGap),
          kSheetGap + std::int64_t{row} * (frameHeight + kSheetGap), frameWidth, frameHeight};
}

SheetLayout layoutSheet(std::uint32_t count, std::uint32_t columns, std::uint32_t frameWidth, std::uint32_t movieWidth,
                        std::uint32_t movieHeight) {
  SheetLayout layout;
  count = std::max(count, 1u);
  layout.columns = std::clamp(columns, 1u, count);
  layout.rows = (count + layout.columns - 1) / layout.columns;
  layout.frameWidth = frameWidth;
  const std::uint64_t scaled = (std::uint64_t{frameWidth} * movieHeight + movieWidth / 2) / std::max(movieWidth, 1u);
  layout.frameHeight = static_cast<std::uint32_t>(std::clamp<std::uint64_t>(scaled, 1, UINT32_MAX));
  return layout;
}

std::vector<std::uint32_t> sheetTimesMs(std::uint32_t durationMs, std::uint32_t count) {
  std::vector<std::uint32_t> times(count);
  for (std::uint32_t i = 0; i < count; ++i) {
    times[i] = static_cast<std::uint32_t>((2 * std::uint64_t{i} + 1) * durationMs / (2 * std::uint64_t{count}));
  }
  return times;
}

Area stampArea(const Area& cell, std::uint64_t timeMs) {
  const std::int64_t width = textWidth(formatMediaTime(timeMs)) + 2 * kStampPadding;
  const std::int64_t height = kGlyphHeight + 2 * kStampPadding;
  return {cell.x, cell.y + cell.height - height, width, height};
}

void stampTime(RgbPicture& sheet, const Area& cell, std::uint64_t timeMs) {
  const Area box = stampArea(cell, timeMs);
  sheet.fill(box, cell, kStampBox);
  drawText(sheet, box.x + kStampPadding, box.y + kStampPadding, formatMediaTime(timeMs), kStampInk, cell);
}

}  // namespace mp4lib::tool
