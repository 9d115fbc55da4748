// rgb16_yuv420 and rgb24_yuv420: the encoder's RGB converters. They write
// the encoder's short planar frame at its coded size, straight when the
// picture already has that size and by nearest-neighbour sampling with
// 15-bit fractions when the encoder's resize flag is set.
#include <cstddef>
#include <cstdint>

#include "frame/encoder_context.h"
#include "mp4lib.h"
#include "pixels/colour_equations.h"
#include "pixels/rgb_rows.h"
#include "pixels/tables.h"

namespace mp4lib::pixels {

namespace {

bool resizing() { return (frame::encoderContext().conversionFlags & MP4LIB_CONVERT_RESIZE) != 0; }

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

// Resize path. `pixelAt` gives Y, U, V of the source pixel at (column, row).
// Every position is below the input size, since (coded - 1) steps stay short
// of the input size << 15.
template <typename PixelAt>
void convertResized(PixelAt pixelAt, std::int16_t* y, std::int16_t* u, std::int16_t* v, std::int32_t width,
                    std::int32_t height) {
  const EncoderContext& context = frame::encoderContext();
  const std::uint32_t codedWidth = context.codedWidth;
  const std::uint32_t codedHeight = context.codedHeight;
  if (width < 1 || height < 1 || codedWidth < 2 || codedHeight < 2) return;
  const ResizeSteps step = resizeSteps(width, height, codedWidth, codedHeight);
  std::size_t chroma = 0;
  for (std::uint32_t j = 0; j < codedHeight / 2; ++j) {
    const std::uint32_t down = 2 * j * step.down;
    const std::uint32_t rowTop = down >> 15;
    const std::uint32_t rowBottom = (down + step.down) >> 15;
    std::int16_t* yTop = y + static_cast<std::size_t>(2 * j) * codedWidth;
    std::int16_t* yBottom = yTop + codedWidth;
    for (std::uint32_t i = 0; i < codedWidth / 2; ++i, ++chroma) {
      const std::uint32_t across = 2 * i * step.across;
      const std::uint32_t left = across >> 15;
      const std::uint32_t right = (across + step.across) >> 15;
      const auto a = pixelAt(left, rowTop), b = pixelAt(right, rowTop);
      const auto c = pixelAt(left, rowBottom), d = pixelAt(right, rowBottom);
      yTop[2 * i] = static_cast<std::int16_t>(a.y);
      yTop[2 * i + 1] = static_cast<std::int16_t>(b.y);
      yBottom[2 * i] = static_cast<std::int16_t>(c.y);
      yBottom[2 * i + 1] = static_cast<std::int16_t>(d.y);
      u[chroma] = static_cast<std::int16_t>((a.u + b.u + c.u + d.u) >> 2);
      v[chroma] = static_cast<std::int16_t>((a.v + b.v + c.v + d.v) >> 2);
    }
  }
}

struct PixelYuv {
  int y;
  int u;
  int v;
};

void convertRgb16ForEncoder(const std::uint16_t* rgb, std::int16_t* y, std::int16_t* u, std::int16_t* v,
                            std::int32_t width, std::int32_t height) {
  // Without the lookup tables (initMp4Lib not called, or no memory for
  // them) the frame is left as it is.
  if (!buildLookupTables()) return;
  const LookupTables tables = lookupTables();
  if (!resizing()) {
    convertDirect(rgb, 1, y, u, v, width, height,
                  [&tables](const std::uint16_t* top, const std::uint16_t* bottom, std::int32_t pairs,
                            const YuvRowPair& out) { rgb16LookupRowPair(top, bottom, pairs, tables, out); });
    return;
  }
  const auto pixelAt = [&](std::uint32_t column, std::uint32_t row) -> PixelYuv {
    const std::uint16_t word = rgb[static_cast<std::size_t>(row) * static_cast<std::uint32_t>(width) + column];
    return {tables.y[word], tables.u[word], tables.v[word]};
  };
  convertResized(pixelAt, y, u, v, width, height);
}

void convertRgb24ForEncoder(const std::uint8_t* rgb, std::int16_t* y, std::int16_t* u, std::int16_t* v,
                            std::int32_t width, std::int32_t height) {
  const CoefficientTables& k = coefficientTables();
  if (!resizing()) {
    convertDirect(rgb, 3, y, u, v, width, height, rgb24RowPair);
    return;
  }
  const auto pixelAt = [&](std::uint32_t column, std::uint32_t row) -> PixelYuv {
    const Rgb c = rgb24Pixel(rgb + 3 * (static_cast<std::size_t>(row) * static_cast<std::uint32_t>(width) + column));
    return {lumaBlueFirst(k, c), blueDifference(k, c), redDifference(k, c)};
  };
  convertResized(pixelAt, y, u, v, width, height);
}

}  // namespace
}  // namespace mp4lib::pixels

extern "C" MP4LIB_API void rgb16_yuv420(const uint16_t* rgb, int16_t* y, int16_t* u, int16_t* v, int32_t width,
                                        int32_t height, uint8_t /*option*/) {
  mp4lib::pixels::convertRgb16ForEncoder(rgb, y, u, v, width, height);
}

extern "C" MP4LIB_API void rgb24_yuv420(const uint8_t* rgb, int16_t* y, int16_t* u, int16_t* v, int32_t width,
                                        int32_t height, uint8_t /*option*/) {
  mp4lib::pixels::convertRgb24ForEncoder(rgb, y, u, v, width, height);
}
