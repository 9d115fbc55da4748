// interpolateYUV: doubles a byte planar 4:2:0 picture in both directions.
// Every new sample is the truncated mean of its two neighbours.
#include <cstddef>
#include <cstdint>

#include "pixels/interpolate.h"

namespace mp4lib::pixels {

namespace {

int mean(int a, int b) { return (a + b) >> 1; }

// Spreads `count` source samples over 2 x count destination samples. The
// last mean reads source[count], the byte after the row's samples: the
// caller's rows must have it (the pitch normally does).
void spreadAcross(const std::uint8_t* source, std::ptrdiff_t count, std::uint8_t* destination) {
  for (std::ptrdiff_t k = 0; k < count; ++k) {
    destination[2 * k] = source[k];
    destination[2 * k + 1] = static_cast<std::uint8_t>(mean(source[k], source[k + 1]));
  }
}

// Spreads `rows` source rows, `pitch` bytes apart, into the even rows of
// the destination plane.
void spreadRows(const std::uint8_t* source, std::ptrdiff_t pitch, std::ptrdiff_t rows, std::ptrdiff_t count,
                std::uint8_t* destination, std::ptrdiff_t destinationPitch) {
  for (std::ptrdiff_t r = 0; r < rows; ++r) {
    spreadAcross(source + r * pitch, count, destination + 2 * r * destinationPitch);
  }
}

// Fills the odd rows 1, 3, ... up to row 2 x pairs - 3 from the rows above
// and below, then copies the row before the last into the last row. A plane
// of fewer than two rows has no row above its last and is left alone.
void fillDown(std::uint8_t* plane, std::ptrdiff_t width, std::ptrdiff_t rows, std::ptrdiff_t pairs) {
  for (std::ptrdiff_t r = 0; r + 2 <= pairs; ++r) {
    std::uint8_t* odd = plane + (2 * r + 1) * width;
    for (std::ptrdiff_t x = 0; x < width; ++x) odd[x] = static_cast<std::uint8_t>(mean(odd[x - width], odd[x + width]));
  }
  if (rows < 2) return;
  std::uint8_t* last = plane + (rows - 1) * width;
  for (std::ptrdiff_t x = 0; x < width; ++x) last[x] = last[x - width];
}

}  // namespace

void doubleYuv420(const std::uint8_t* srcY, const std::uint8_t* srcU, const std::uint8_t* srcV,
                  std::uint8_t* destination, std::int32_t width, std::int32_t height, std::int32_t pitch) {
  if (width < 1 || height < 1) return;
  const std::ptrdiff_t lumaWidth = width;
  const std::ptrdiff_t chromaWidth = width >> 1;
  const std::ptrdiff_t chromaHeight = height >> 1;
  std::uint8_t* y = destination;
  std::uint8_t* u = y + lumaWidth * height;
  std::uint8_t* v = u + chromaWidth * chromaHeight;

  spreadRows(srcY, pitch, height >> 1, width >> 1, y, lumaWidth);
  fillDown(y, lumaWidth, height, height >> 1);

  spreadRows(srcU, pitch >> 1, height >> 2, width >> 2, u, chromaWidth);
  spreadRows(srcV, pitch >> 1, height >> 2, width >> 2, v, chromaWidth);
  fillDown(u, chromaWidth, chromaHeight, height >> 2);
  fillDown(v, chromaWidth, chromaHeight, height >> 2);
}

}  // namespace mp4lib::pixels
