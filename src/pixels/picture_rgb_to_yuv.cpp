// Whole RGB pictures at their own size into caller-owned short planar
// planes, optionally upside down.
//
// Chroma of each 2 x 2 block is the truncated mean of its four pixels' own
// U and V. That is computed block by block from the two source rows, so no
// full-size U and V planes are needed: these converters allocate nothing
// and their failure result (0, "no memory") cannot occur.
#include <cstddef>
#include <cstdint>

#include "pixels/picture_rgb_to_yuv.h"
#include "pixels/rgb_rows.h"

namespace mp4lib::pixels {

namespace {

template <typename Pixel, typename RowPairFn>
std::int32_t convertPicture(std::int32_t width, std::int32_t height, const Pixel* rgb,
                            std::ptrdiff_t elementsPerPixel, std::int16_t* y, std::int16_t* u, std::int16_t* v,
                            std::int32_t flip, RowPairFn rowPair) {
  // Odd sizes are refused without writing, yet reported as done.
  if ((width & 1) != 0 || (height & 1) != 0) return 1;
  if (width <= 0 || height <= 0) return 1;
  const std::ptrdiff_t pitch = width;
  const std::int32_t pairs = width / 2;
  const std::int32_t rowPairs = height / 2;
  for (std::int32_t j = 0; j < rowPairs; ++j) {
    const Pixel* top = rgb + 2 * j * pitch * elementsPerPixel;
    const Pixel* bottom = top + pitch * elementsPerPixel;
    // Turned over, source row r lands in Y row height - 1 - r and its
    // chroma in the mirrored chroma row.
    const std::int32_t yRowTop = flip != 0 ? height - 1 - 2 * j : 2 * j;
    const std::int32_t yRowBottom = flip != 0 ? yRowTop - 1 : yRowTop + 1;
    const std::int32_t chromaRow = flip != 0 ? rowPairs - 1 - j : j;
    rowPair(top, bottom, pairs,
            YuvRowPair{y + yRowTop * pitch, y + yRowBottom * pitch, u + static_cast<std::ptrdiff_t>(chromaRow) * pairs,
                       v + static_cast<std::ptrdiff_t>(chromaRow) * pairs});
  }
  return 1;
}

}  // namespace

std::int32_t rgb24PictureToYuv420(std::int32_t width, std::int32_t height, const std::uint8_t* rgb, std::int16_t* y,
                                  std::int16_t* u, std::int16_t* v, std::int32_t flip) {
  return convertPicture(width, height, rgb, 3, y, u, v, flip, rgb24RowPair);
}

std::int32_t rgb16PictureToYuv420(std::int32_t width, std::int32_t height, const std::uint16_t* rgb, std::int16_t* y,
                                  std::int16_t* u, std::int16_t* v, std::int32_t flip) {
  return convertPicture(width, height, rgb, 1, y, u, v, flip, rgb16RowPair);
}

}  // namespace mp4lib::pixels
