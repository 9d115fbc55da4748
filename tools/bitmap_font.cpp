#include "bitmap_font.h"

namespace mp4lib::tool {

namespace {

// 5 x 7 glyphs, one byte per row, top row first; bit 4 is the leftmost pixel.
constexpr std::uint8_t kDigits[10][kGlyphHeight] = {
    {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E},  // 0, with a slash so it is no O
    {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E},  // 1
    {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F},  // 2
    {0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E},  // 3
    {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02},  // 4
    {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E},  // 5
    {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E},  // 6
    {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08},  // 7
    {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E},  // 8
    {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C},  // 9
};
constexpr std::uint8_t kColon[kGlyphHeight] = {0x00, 0x0C, 0x0C, 0x00, 0x0C, 0x0C, 0x00};
constexpr std::uint8_t kPoint[kGlyphHeight] = {0x00, 0x00, 0x00, 0x00, 0x00, 0x0C, 0x0C};

void drawGlyph(RgbPicture& picture, std::int64_t x, std::int64_t y, const std::uint8_t* rows, Rgb ink,
               const Area& clip) {
  for (int row = 0; row < kGlyphHeight; ++row) {
    for (int column = 0; column < kGlyphWidth; ++column) {
      if ((rows[row] >> (kGlyphWidth - 1 - column)) & 1) picture.fill({x + column, y + row, 1, 1}, clip, ink);
    }
  }
}

}  // namespace

const std::uint8_t* glyphRows(char character) {
  if (character >= '0' && character <= '9') return kDigits[character - '0'];
  if (character == ':') return kColon;
  if (character == '.') return kPoint;
  return nullptr;
}

int textWidth(const std::string& text) {
  return text.empty() ? 0 : static_cast<int>(text.size()) * kGlyphAdvance - (kGlyphAdvance - kGlyphWidth);
}

void drawText(RgbPicture& picture, std::int64_t x, std::int64_t y, const std::string& text, Rgb ink, const Area& clip) {
  for (char character : text) {
    if (const std::uint8_t* rows = glyphRows(character)) drawGlyph(picture, x, y, rows, ink, clip);
    x += kGlyphAdvance;
  }
}

}  // namespace mp4lib::tool
