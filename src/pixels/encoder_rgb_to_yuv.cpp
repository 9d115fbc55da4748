// The encoder's RGB converters: straight when the picture already has the
// coded size and by nearest-neighbour sampling with 15-bit fractions when
// the encoder resamples.
#include <cstddef>
#include <cstdint>

#include "pixels/encoder_frame.h"
#include "pixels/rgb_rows.h"

namespace mp4lib::pixels {

namespace {

// Direct path: rows and Y planes are `width` samples apart; U and V get
// width/2 samples per row pair. An odd last column or row is not converted
// (rows stay `width` apart, so nothing shifts).
template <typename Pixel, typename RowPairFn>
void convertDirect(const Pixel* rgb, std::ptrdiff_t elementsPerPixel, std::int16_t* y, std::int16_t* u, std::int16_t* v,
                   std::int32_t width, std::int32_t height, RowPairFn rowPair) {
  if (width < 2 || height < 2) return;
  const std::ptrdiff_t pitch = width;
  const std::int32_t pairs = width / 2;
  for (std::int32_t j = 0; j < height / 2; ++j) {
    const Pixel* top = rgb + 2 * j * pitch * elementsPerPixel;
    std::int16_t* yTop = y + 2 * j * pitch;
    rowPair(top, top + pitch * elementsPerPixel, pairs, YuvRowPair{yTop, yTop + pitch, u + j * pairs, v + j * pairs});
  }
}

// Source positions of the resize path in 1/32768 of a pixel; the second
// sample of a pair is one step on from the first.
struct ResizeSteps {
  std::uint32_t across;
  std::uint32_t down;
};

ResizeSteps resizeSteps(std::int32_t width, std::int32_t height, std::uint32_t codedWidth, std::uint32_t codedHeight) {
  return {(static_cast<std::uint32_t>(width) << 15) / codedWidth,
          (static_cast<std::uint32_t>(height) << 15) / codedHeight};
}

// Resize path. The pixels each output row pair takes from its two source
// rows are gathered, a chunk of blocks at a time, into two short rows that
// the direct path's row routine converts. Every position is below the input
// size, since (coded - 1) steps stay short of the input size << 15.
template <std::ptrdiff_t ElementsPerPixel, typename Pixel, typename RowPairFn>
void convertResized(const Pixel* rgb, std::int16_t* y, std::int16_t* u, std::int16_t* v, std::int32_t width,
                    std::int32_t height, std::uint32_t codedWidth, std::uint32_t codedHeight, RowPairFn rowPair) {
  if (width < 1 || height < 1 || codedWidth < 2 || codedHeight < 2) return;
  const ResizeSteps step = resizeSteps(width, height, codedWidth, codedHeight);
  const std::size_t pitch = static_cast<std::size_t>(width) * ElementsPerPixel;
  const std::uint32_t pairs = codedWidth / 2;
  constexpr std::uint32_t kChunk = 64;  // blocks per gathered run
  Pixel top[2 * kChunk * ElementsPerPixel];
  Pixel bottom[2 * kChunk * ElementsPerPixel];
  const auto copyPixel = [](const Pixel* from, Pixel* to) {
    for (std::ptrdiff_t e = 0; e < ElementsPerPixel; ++e) to[e] = from[e];
  };
  for (std::uint32_t j = 0; j < codedHeight / 2; ++j) {
    const std::uint32_t down = 2 * j * step.down;
    const Pixel* rowTop = rgb + (down >> 15) * pitch;
    const Pixel* rowBottom = rgb + ((down + step.down) >> 15) * pitch;
    std::int16_t* yTop = y + static_cast<std::size_t>(2 * j) * codedWidth;
    const std::size_t chromaRow = static_cast<std::size_t>(j) * pairs;
    for (std::uint32_t first = 0; first < pairs; first += kChunk) {
      const std::uint32_t count = pairs - first < kChunk ? pairs - first : kChunk;
      for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t across = 2 * (first + i) * step.across;
        const std::size_t left = (across >> 15) * ElementsPerPixel;
        const std::size_t right = ((across + step.across) >> 15) * ElementsPerPixel;
        copyPixel(rowTop + left, top + 2 * i * ElementsPerPixel);
        copyPixel(rowTop + right, top + (2 * i + 1) * ElementsPerPixel);
        copyPixel(rowBottom + left, bottom + 2 * i * ElementsPerPixel);
        copyPixel(rowBottom + right, bottom + (2 * i + 1) * ElementsPerPixel);
      }
      rowPair(top, bottom, static_cast<std::int32_t>(count),
              YuvRowPair{yTop + 2 * first, yTop + codedWidth + 2 * first, u + chromaRow + first,
                         v + chromaRow + first});
    }
  }
}

}  // namespace

void rgb16ToEncoderFrame(const std::uint16_t* rgb, std::int32_t width, std::int32_t height, const EncoderFrame& frame,
                         const LookupTables& tables) {
  if (tables.y == nullptr) return;
  const auto rowPair = [&tables](const std::uint16_t* top, const std::uint16_t* bottom, std::int32_t pairs,
                                 const YuvRowPair& out) { rgb16LookupRowPair(top, bottom, pairs, tables, out); };
  if (frame.resample) {
    convertResized<1>(rgb, frame.y, frame.u, frame.v, width, height, frame.codedWidth, frame.codedHeight, rowPair);
  } else {
    convertDirect(rgb, 1, frame.y, frame.u, frame.v, width, height, rowPair);
  }
}

void rgb24ToEncoderFrame(const std::uint8_t* rgb, std::int32_t width, std::int32_t height, const EncoderFrame& frame) {
  if (frame.resample) {
    convertResized<3>(rgb, frame.y, frame.u, frame.v, width, height, frame.codedWidth, frame.codedHeight,
                      rgb24RowPair);
  } else {
    convertDirect(rgb, 3, frame.y, frame.u, frame.v, width, height, rgb24RowPair);
  }
}

}  // namespace mp4lib::pixels
