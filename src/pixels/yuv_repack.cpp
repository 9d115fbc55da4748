// The YUV repackers: pictures the application already holds as YUV are
// copied into the encoder's short planar 4:2:0 frame, with 4:2:2 chroma
// decimated and, when the encoder resamples, resampled to the coded size by
// nearest neighbour.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "pixels/encoder_frame.h"

namespace mp4lib::pixels {

namespace {

// Packed 4:2:2: each pixel pair is the bytes U, Y0, V, Y1; rows are
// 2 x width bytes.
class PackedSource {
 public:
  PackedSource(const std::uint8_t* data, std::int32_t width) : data_(data), pitch_(2 * static_cast<std::size_t>(width)) {}
  int luma(std::size_t row, std::size_t column) const {
    return data_[row * pitch_ + 4 * (column / 2) + 1 + 2 * (column & 1)];
  }
  int u(std::size_t row, std::size_t k) const { return data_[row * pitch_ + 4 * k]; }
  int v(std::size_t row, std::size_t k) const { return data_[row * pitch_ + 4 * k + 2]; }

 private:
  const std::uint8_t* data_;
  std::size_t pitch_;
};

// Three planes; chroma rows are width/2 samples, one per source row (4:2:2)
// or one per two source rows (4:2:0).
template <typename Sample>
class PlanarSource {
 public:
  PlanarSource(const Sample* y, const Sample* u, const Sample* v, std::int32_t width, std::int32_t height,
               bool chromaHalfHeight)
      : y_(y),
        u_(u),
        v_(v),
        lumaPitch_(static_cast<std::size_t>(width)),
        chromaPitch_(static_cast<std::size_t>(width / 2)),
        rowShift_(chromaHalfHeight ? 1 : 0),
        lastChromaRow_(static_cast<std::size_t>((chromaHalfHeight ? height / 2 : height) - 1)) {}
  int luma(std::size_t row, std::size_t column) const { return y_[row * lumaPitch_ + column]; }
  int u(std::size_t row, std::size_t k) const { return u_[chromaRow(row) * chromaPitch_ + k]; }
  int v(std::size_t row, std::size_t k) const { return v_[chromaRow(row) * chromaPitch_ + k]; }

 private:
  // An odd last luma row of a 4:2:0 picture has no chroma row of its own;
  // it uses the one above.
  std::size_t chromaRow(std::size_t row) const { return std::min(row >> rowShift_, lastChromaRow_); }

  const Sample* y_;
  const Sample* u_;
  const Sample* v_;
  std::size_t lumaPitch_;
  std::size_t chromaPitch_;
  unsigned rowShift_;
  std::size_t lastChromaRow_;
};

// Input size equals the coded size: Y copied, chroma of the top row of each
// row pair (4:2:2: the bottom row's chroma is skipped, not averaged).
template <typename Source>
void repackDirect(const Source& source, std::int16_t* y, std::int16_t* u, std::int16_t* v, std::int32_t width,
                  std::int32_t height) {
  if (width < 2 || height < 2) return;
  const std::size_t pitch = static_cast<std::size_t>(width);
  const std::size_t pairs = static_cast<std::size_t>(width / 2);
  for (std::size_t j = 0; j < static_cast<std::size_t>(height / 2); ++j) {
    std::int16_t* yTop = y + 2 * j * pitch;
    std::int16_t* yBottom = yTop + pitch;
    for (std::size_t x = 0; x < 2 * pairs; ++x) yTop[x] = static_cast<std::int16_t>(source.luma(2 * j, x));
    for (std::size_t x = 0; x < 2 * pairs; ++x) yBottom[x] = static_cast<std::int16_t>(source.luma(2 * j + 1, x));
    for (std::size_t k = 0; k < pairs; ++k) {
      u[j * pairs + k] = static_cast<std::int16_t>(source.u(2 * j, k));
      v[j * pairs + k] = static_cast<std::int16_t>(source.v(2 * j, k));
    }
  }
}

// Chroma of output column pair at source column x, from rows t and b: the
// two rows averaged, and for an odd x also the chroma columns either side.
// The right-hand chroma column is held inside the row (an odd x at the
// right edge of an upscaled picture would otherwise reach past it).
template <typename Source, typename ChromaFn>
int resampledChroma(const Source& source, ChromaFn chroma, std::size_t t, std::size_t b, std::size_t x,
                    std::size_t lastChroma) {
  if ((x & 1) == 0) {
    const std::size_t k = std::min(x / 2, lastChroma);
    return ((source.*chroma)(t, k) + (source.*chroma)(b, k)) >> 1;
  }
  const std::size_t left = (x - 1) / 2;
  const std::size_t right = std::min((x + 1) / 2, lastChroma);
  return ((source.*chroma)(t, left) + (source.*chroma)(t, right) + (source.*chroma)(b, left) +
          (source.*chroma)(b, right)) >>
         2;
}

// Resize flag set: nearest neighbour with 15-bit fractions. Unlike the RGB
// converters, the second pixel of a pair is the source pixel right of the
// first (held inside the row), and chroma is averaged over the two rows.
template <typename Source>
void repackResized(const Source& source, std::int16_t* y, std::int16_t* u, std::int16_t* v, std::int32_t width,
                   std::int32_t height, std::uint32_t codedWidth, std::uint32_t codedHeight) {
  // Below two input columns or rows there is no chroma sample to take.
  if (width < 2 || height < 2 || codedWidth < 2 || codedHeight < 2) return;
  const std::uint32_t across = (static_cast<std::uint32_t>(width) << 15) / codedWidth;
  const std::uint32_t down = (static_cast<std::uint32_t>(height) << 15) / codedHeight;
  const std::size_t lastColumn = static_cast<std::size_t>(width) - 1;
  const std::size_t lastChroma = static_cast<std::size_t>(width / 2) - 1;
  std::size_t chroma = 0;
  for (std::uint32_t j = 0; j < codedHeight / 2; ++j) {
    const std::uint32_t position = 2 * j * down;
    const std::size_t t = position >> 15;
    const std::size_t b = (position + down) >> 15;
    std::int16_t* yTop = y + static_cast<std::size_t>(2 * j) * codedWidth;
    std::int16_t* yBottom = yTop + codedWidth;
    for (std::uint32_t i = 0; i < codedWidth / 2; ++i, ++chroma) {
      const std::size_t x = (2 * i * across) >> 15;
      const std::size_t x1 = std::min(x + 1, lastColumn);
      yTop[2 * i] = static_cast<std::int16_t>(source.luma(t, x));
      yTop[2 * i + 1] = static_cast<std::int16_t>(source.luma(t, x1));
      yBottom[2 * i] = static_cast<std::int16_t>(source.luma(b, x));
      yBottom[2 * i + 1] = static_cast<std::int16_t>(source.luma(b, x1));
      u[chroma] = static_cast<std::int16_t>(resampledChroma(source, &Source::u, t, b, x, lastChroma));
      v[chroma] = static_cast<std::int16_t>(resampledChroma(source, &Source::v, t, b, x, lastChroma));
    }
  }
}

template <typename Source>
void repack(const Source& source, std::int32_t width, std::int32_t height, const EncoderFrame& frame) {
  if (frame.resample) {
    repackResized(source, frame.y, frame.u, frame.v, width, height, frame.codedWidth, frame.codedHeight);
  } else {
    repackDirect(source, frame.y, frame.u, frame.v, width, height);
  }
}

}  // namespace

void packedYuv422ToEncoderFrame(const std::uint8_t* yuv, std::int32_t width, std::int32_t height,
                                const EncoderFrame& frame) {
  repack(PackedSource(yuv, width), width, height, frame);
}

void planarYuv422ToEncoderFrame(const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v,
                                std::int32_t width, std::int32_t height, const EncoderFrame& frame) {
  repack(PlanarSource<std::uint8_t>(y, u, v, width, height, false), width, height, frame);
}

void planarYuv420ToEncoderFrame(const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v,
                                std::int32_t width, std::int32_t height, const EncoderFrame& frame) {
  repack(PlanarSource<std::uint8_t>(y, u, v, width, height, true), width, height, frame);
}

void shortYuv420ToEncoderFrame(const std::int16_t* y, const std::int16_t* u, const std::int16_t* v,
                               std::int32_t width, std::int32_t height, const EncoderFrame& frame) {
  repack(PlanarSource<std::int16_t>(y, u, v, width, height, true), width, height, frame);
}

// 4:2:2: U starts width x height samples in, V width/2 x height further.
PlaneOffsets planarYuv422Offsets(std::int32_t width, std::int32_t height) {
  const std::size_t luma = width > 0 && height > 0 ? std::size_t(width) * std::size_t(height) : 0;
  const std::size_t chroma = width > 1 && height > 0 ? std::size_t(width / 2) * std::size_t(height) : 0;
  return {luma, luma + chroma};
}

// 4:2:0: U starts width x height samples in, V a quarter of that further.
PlaneOffsets planarYuv420Offsets(std::int32_t width, std::int32_t height) {
  const std::size_t luma = width > 0 && height > 0 ? std::size_t(width) * std::size_t(height) : 0;
  return {luma, luma + luma / 4};
}

}  // namespace mp4lib::pixels
