// A small bitmap font for time stamps: the digits, ':' and '.', each 5
// pixels wide and 7 high, drawn from the tool's own glyph table.
#pragma once

#include <cstdint>
#include <string>

#include "rgb_picture.h"

namespace mp4lib::tool {

constexpr int kGlyphWidth = 5;   // pixels
constexpr int kGlyphHeight = 7;  // pixels
constexpr int kGlyphAdvance = 6;  // pixels from one character to the next: one blank column between

// The glyph's rows, top first, bit 4 the leftmost pixel; null for a
// character the font does not have.
const std::uint8_t* glyphRows(char character);

// Width of `text` in pixels (no blank column after the last character).
int textWidth(const std::string& text);

// Draws `text` with its upper left corner at (x, y): only the set pixels of
// each glyph, only inside `clip`. Characters the font lacks leave a gap.
void drawText(RgbPicture& picture, std::int64_t x, std::int64_t y, const std::string& text, Rgb ink, const Area& clip);

}  // namespace mp4lib::tool
