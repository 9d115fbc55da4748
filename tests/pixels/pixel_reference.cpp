#include "pixels/pixel_reference.h"

#include <algorithm>

namespace mp4lib::test {

namespace {

int clampInt(int value, int low, int high) { return value < low ? low : (value > high ? high : value); }

}  // namespace

PlainYuv plainPixel(int red, int green, int blue, bool redFirst) {
  volatile float yR = static_cast<float>(red) * 0.299f;
  volatile float yG = static_cast<float>(green) * 0.587f;
  volatile float yB = static_cast<float>(blue) * 0.114f;
  volatile float yFirst = redFirst ? yR + yG : yB + yG;
  volatile float yAll = yFirst + (redFirst ? yB : yR);
  volatile float uG = static_cast<float>(green) * 0.3316f;
  volatile float uR = static_cast<float>(red) * 0.1684f;
  volatile float uTerms = uG + uR;
  volatile float uHalf = static_cast<float>(blue >> 1) - uTerms;
  volatile float uAll = uHalf + 128.0f;
  volatile float vG = static_cast<float>(green) * 0.4187f;
  volatile float vB = static_cast<float>(blue) * 0.0813f;
  volatile float vHalf = static_cast<float>(red >> 1) - vG;
  volatile float vLess = vHalf - vB;
  volatile float vAll = vLess + 128.0f;
  return {static_cast<int>(yAll), static_cast<int>(uAll), static_cast<int>(vAll)};
}

PlainYuv plainRgb16Lookup(unsigned word) {
  const PlainYuv c = plainPixel(static_cast<int>((word >> 11) & 31) * 8, static_cast<int>((word >> 5) & 63) * 4,
                                static_cast<int>(word & 31) * 8, false);
  return {clampInt(c.y, 0, 255), clampInt(c.u, 0, 255), clampInt(c.v, 0, 255)};
}

namespace {

template <typename PixelFn>
void plainEncoder(PixelFn pixelAt, int width, int height, unsigned codedWidth, unsigned codedHeight, bool resize,
                  std::int16_t* y, std::int16_t* u, std::int16_t* v) {
  if (!resize) {
    int chroma = 0;
    for (int j = 0; j < height / 2; ++j) {
      for (int i = 0; i < width / 2; ++i) {
        int sumU = 0, sumV = 0;
        for (int dy = 0; dy < 2; ++dy) {
          for (int dx = 0; dx < 2; ++dx) {
            const PlainYuv c = pixelAt(2 * i + dx, 2 * j + dy);
            y[(2 * j + dy) * width + 2 * i + dx] = static_cast<std::int16_t>(c.y);
            sumU += c.u;
            sumV += c.v;
          }
        }
        u[chroma] = static_cast<std::int16_t>(sumU >> 2);
        v[chroma] = static_cast<std::int16_t>(sumV >> 2);
        ++chroma;
      }
    }
    return;
  }
  if (width < 1 || height < 1 || codedWidth < 2 || codedHeight < 2) return;
  const std::uint32_t hStep = (static_cast<std::uint32_t>(width) << 15) / codedWidth;
  const std::uint32_t vStep = (static_cast<std::uint32_t>(height) << 15) / codedHeight;
  int chroma = 0;
  for (std::uint32_t j = 0; j < codedHeight / 2; ++j) {
    const std::uint32_t a = 2 * j * vStep;
    const int rows[2] = {static_cast<int>(a >> 15), static_cast<int>((a + vStep) >> 15)};
    for (std::uint32_t i = 0; i < codedWidth / 2; ++i) {
      const std::uint32_t b = 2 * i * hStep;
      const int columns[2] = {static_cast<int>(b >> 15), static_cast<int>((b + hStep) >> 15)};
      int sumU = 0, sumV = 0;
      for (int dy = 0; dy < 2; ++dy) {
        for (int dx = 0; dx < 2; ++dx) {
          const PlainYuv c = pixelAt(columns[dx], rows[dy]);
          y[(2 * j + dy) * codedWidth + 2 * i + dx] = static_cast<std::int16_t>(c.y);
          sumU += c.u;
          sumV += c.v;
        }
      }
      u[chroma] = static_cast<std::int16_t>(sumU >> 2);
      v[chroma] = static_cast<std::int16_t>(sumV >> 2);
      ++chroma;
    }
  }
}

}  // namespace

void plainEncoderRgb24(const std::uint8_t* rgb, int width, int height, unsigned codedWidth, unsigned codedHeight,
                       bool resize, std::int16_t* y, std::int16_t* u, std::int16_t* v) {
  const auto pixelAt = [&](int column, int row) {
    const std::uint8_t* p = rgb + 3 * (row * width + column);
    return plainPixel(p[2], p[1], p[0], false);
  };
  plainEncoder(pixelAt, width, height, codedWidth, codedHeight, resize, y, u, v);
}

void plainEncoderRgb16(const std::uint16_t* rgb, int width, int height, unsigned codedWidth, unsigned codedHeight,
                       bool resize, std::int16_t* y, std::int16_t* u, std::int16_t* v) {
  const auto pixelAt = [&](int column, int row) { return plainRgb16Lookup(rgb[row * width + column]); };
  plainEncoder(pixelAt, width, height, codedWidth, codedHeight, resize, y, u, v);
}

namespace {

template <typename PixelFn>
int plainPicture(PixelFn pixelAt, int width, int height, std::int16_t* y, std::int16_t* u, std::int16_t* v,
                 bool flip) {
  if (width % 2 != 0 || height % 2 != 0) return 1;
  if (width <= 0 || height <= 0) return 1;
  std::vector<int> fullU(static_cast<std::size_t>(width) * height), fullV(fullU.size());
  for (int r = 0; r < height; ++r) {
    const int target = flip ? height - 1 - r : r;
    for (int x = 0; x < width; ++x) {
      const PlainYuv c = pixelAt(x, r);
      y[target * width + x] = static_cast<std::int16_t>(c.y);
      fullU[target * width + x] = c.u;
      fullV[target * width + x] = c.v;
    }
  }
  for (int j = 0; j < height / 2; ++j) {
    for (int i = 0; i < width / 2; ++i) {
      const int at = 2 * j * width + 2 * i;
      u[j * (width / 2) + i] =
          static_cast<std::int16_t>((fullU[at] + fullU[at + 1] + fullU[at + width] + fullU[at + width + 1]) / 4);
      v[j * (width / 2) + i] =
          static_cast<std::int16_t>((fullV[at] + fullV[at + 1] + fullV[at + width] + fullV[at + width + 1]) / 4);
    }
  }
  return 1;
}

}  // namespace

int plainPictureRgb24(int width, int height, const std::uint8_t* rgb, std::int16_t* y, std::int16_t* u,
                      std::int16_t* v, bool flip) {
  const auto pixelAt = [&](int column, int row) {
    const std::uint8_t* p = rgb + 3 * (row * width + column);
    return plainPixel(p[2], p[1], p[0], false);
  };
  return plainPicture(pixelAt, width, height, y, u, v, flip);
}

int plainPictureRgb16(int width, int height, const std::uint16_t* rgb, std::int16_t* y, std::int16_t* u,
                      std::int16_t* v, bool flip) {
  const auto pixelAt = [&](int column, int row) {
    const unsigned p = rgb[row * width + column];
    return plainPixel(static_cast<int>((p >> 8) & 0xF8), static_cast<int>((p >> 3) & 0xFC),
                      static_cast<int>((p << 3) & 0xF8), true);
  };
  return plainPicture(pixelAt, width, height, y, u, v, flip);
}

namespace {

int sourceLuma(const PlainYuvSource& s, int width, int row, int column) {
  switch (s.kind) {
    case RepackSource::Packed422: {
      const std::uint8_t* pair = s.packed + row * 2 * width + (column / 2) * 4;
      return column % 2 == 0 ? pair[1] : pair[3];
    }
    default:
      return s.y16 != nullptr ? s.y16[row * width + column] : s.y[row * width + column];
  }
}

// plane 0 = U, 1 = V; k is the chroma column.
int sourceChroma(const PlainYuvSource& s, int width, int height, int row, int k, int plane) {
  const int chromaWidth = width / 2;
  switch (s.kind) {
    case RepackSource::Packed422:
      return s.packed[row * 2 * width + 4 * k + (plane == 0 ? 0 : 2)];
    case RepackSource::Planar422:
      return (plane == 0 ? s.u : s.v)[row * chromaWidth + k];
    case RepackSource::Planar420:
    default: {
      const int chromaRow = std::min(row / 2, height / 2 - 1);
      if (s.y16 != nullptr) return (plane == 0 ? s.u16 : s.v16)[chromaRow * chromaWidth + k];
      return (plane == 0 ? s.u : s.v)[chromaRow * chromaWidth + k];
    }
  }
}

}  // namespace

void plainRepack(const PlainYuvSource& s, int width, int height, unsigned codedWidth, unsigned codedHeight,
                 bool resize, std::int16_t* y, std::int16_t* u, std::int16_t* v) {
  if (!resize) {
    if (height < 2) return;
    for (int j = 0; j < height / 2; ++j) {
      for (int i = 0; i < width / 2; ++i) {
        for (int dy = 0; dy < 2; ++dy) {
          for (int dx = 0; dx < 2; ++dx) {
            y[(2 * j + dy) * width + 2 * i + dx] = static_cast<std::int16_t>(sourceLuma(s, width, 2 * j + dy, 2 * i + dx));
          }
        }
        u[j * (width / 2) + i] = static_cast<std::int16_t>(sourceChroma(s, width, height, 2 * j, i, 0));
        v[j * (width / 2) + i] = static_cast<std::int16_t>(sourceChroma(s, width, height, 2 * j, i, 1));
      }
    }
    return;
  }
  if (width < 2 || height < 2 || codedWidth < 2 || codedHeight < 2) return;
  const std::uint32_t hStep = (static_cast<std::uint32_t>(width) << 15) / codedWidth;
  const std::uint32_t vStep = (static_cast<std::uint32_t>(height) << 15) / codedHeight;
  const int lastChroma = width / 2 - 1;
  int chroma = 0;
  for (std::uint32_t j = 0; j < codedHeight / 2; ++j) {
    const int t = static_cast<int>((2 * j * vStep) >> 15);
    const int b = static_cast<int>((2 * j * vStep + vStep) >> 15);
    for (std::uint32_t i = 0; i < codedWidth / 2; ++i) {
      const int x = static_cast<int>((2 * i * hStep) >> 15);
      const int xNext = std::min(x + 1, width - 1);
      y[2 * j * codedWidth + 2 * i] = static_cast<std::int16_t>(sourceLuma(s, width, t, x));
      y[2 * j * codedWidth + 2 * i + 1] = static_cast<std::int16_t>(sourceLuma(s, width, t, xNext));
      y[(2 * j + 1) * codedWidth + 2 * i] = static_cast<std::int16_t>(sourceLuma(s, width, b, x));
      y[(2 * j + 1) * codedWidth + 2 * i + 1] = static_cast<std::int16_t>(sourceLuma(s, width, b, xNext));
      for (int plane = 0; plane < 2; ++plane) {
        const auto c = [&](int row, int k) { return sourceChroma(s, width, height, row, std::min(k, lastChroma), plane); };
        const int value = x % 2 == 0 ? (c(t, x / 2) + c(b, x / 2)) >> 1
                                     : (c(t, (x - 1) / 2) + c(t, (x + 1) / 2) + c(b, (x - 1) / 2) + c(b, (x + 1) / 2)) >> 2;
        (plane == 0 ? u : v)[chroma] = static_cast<std::int16_t>(value);
      }
      ++chroma;
    }
  }
}

void plainYuvToRgb(int method, unsigned pitch, int width, int height, const std::uint8_t* y, const std::uint8_t* u,
                   const std::uint8_t* v, std::uint8_t* rgb) {
  if (height < 2) return;
  const int bytes = method < 0 ? 3 : 2;
  const int chromaPitch = (width >> 1) + ((static_cast<int>(pitch) - width) >> 1);
  int carryLow = 0, carryGreen = 0, carryHigh = 0;
  for (int j = 0; j < height / 2; ++j) {
    for (int i = 0; i < width / 2; ++i) {
      const int U = u[j * chromaPitch + i], V = v[j * chromaPitch + i];
      const int Uc = U - 128, Vc = V - 128;
      const int order[4][2] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}};
      for (const auto& o : order) {
        const int column = 2 * i + o[0], row = 2 * j + o[1];
        const int Y = y[row * static_cast<int>(pitch) + column];
        std::uint8_t* out = rgb + (row * width + column) * bytes;
        if (method < 0) {
          out[0] = static_cast<std::uint8_t>(clampInt((298 * Y + 517 * Uc) >> 8, 0, 255));
          out[1] = static_cast<std::uint8_t>(clampInt((298 * Y - 100 * Uc - 208 * Vc) >> 8, 0, 255));
          out[2] = static_cast<std::uint8_t>(clampInt((298 * Y + 409 * Vc) >> 8, 0, 255));
          continue;
        }
        int word;
        if (method == 1 || method == 2) {
          int low, green, high;
          if (method == 1) {
            const int L = (Y - 48) * 9576;
            low = clampInt(carryLow + ((L + 13123 * Uc) >> 13), 0, 255);
            green = clampInt(carryGreen + ((L - 3218 * Uc - 6686 * Vc) >> 13), 0, 255);
            high = clampInt(carryHigh + ((L + 16591 * Vc) >> 13), 0, 255);
          } else {
            low = clampInt(Y - 136 + U + carryLow, 0, 255);
            green = clampInt(Y - 136 + 128 + carryGreen, 0, 255);
            high = clampInt(Y - 136 + V + carryHigh, 0, 255);
          }
          carryLow = low & 15;
          carryGreen = green & 15;
          carryHigh = high & 15;
          word = ((high & 0xF8) << 8) | ((green & 0xFC) << 3) | (low >> 3);
        } else {
          const int L = (Y - 32) * 9576;
          const int high = clampInt((L + 13123 * Vc) >> 16, 0, 31);
          const int green = clampInt((L - 3218 * Vc - 6686 * Uc) >> 15, 0, 63);
          const int low = clampInt((L + 16591 * Uc) >> 16, 0, 31);
          word = (high << 11) | (green << 5) | low;
        }
        out[0] = static_cast<std::uint8_t>(word & 0xFF);
        out[1] = static_cast<std::uint8_t>(word >> 8);
      }
    }
  }
}

void plainResize(int bytesPerPixel, const std::uint8_t* source, std::uint8_t* destination, int sourceWidth,
                 int sourceHeight, int destinationWidth, int destinationHeight, int mode) {
  const int hStep = (sourceWidth << 16) / destinationWidth;
  const int vStep = (sourceHeight << 16) / destinationHeight;
  const auto channels = [&](int column, int row, int* out) {
    const std::uint8_t* p = source + (row * sourceWidth + column) * bytesPerPixel;
    if (bytesPerPixel == 3) {
      out[0] = p[0], out[1] = p[1], out[2] = p[2];
    } else {
      const int word = p[0] | (p[1] << 8);
      out[0] = word & 31, out[1] = (word >> 5) & 63, out[2] = (word >> 11) & 31;
    }
  };
  for (int j = 0; j < destinationHeight; ++j) {
    for (int i = 0; i < destinationWidth; ++i) {
      const int px = i * hStep, py = j * vStep;
      const int x0 = px >> 16, y0 = py >> 16, fx = px & 0xFFFF, fy = py & 0xFFFF;
      int result[3];
      if (mode != 1) {
        channels(x0, y0, result);
      } else {
        const int x1 = std::min(x0 + 1, sourceWidth - 1), y1 = std::min(y0 + 1, sourceHeight - 1);
        int a[3], b[3], c[3], d[3];
        channels(x0, y0, a), channels(x1, y0, b), channels(x0, y1, c), channels(x1, y1, d);
        for (int k = 0; k < 3; ++k) {
          const int top = (b[k] * fx + a[k] * (65536 - fx)) >> 16;
          const int bottom = (d[k] * fx + c[k] * (65536 - fx)) >> 16;
          result[k] = (bottom * fy + top * (65536 - fy)) >> 16;
        }
      }
      std::uint8_t* out = destination + (j * destinationWidth + i) * bytesPerPixel;
      if (bytesPerPixel == 3) {
        out[0] = static_cast<std::uint8_t>(result[0]), out[1] = static_cast<std::uint8_t>(result[1]),
        out[2] = static_cast<std::uint8_t>(result[2]);
      } else {
        const int word = result[0] | (result[1] << 5) | (result[2] << 11);
        out[0] = static_cast<std::uint8_t>(word & 0xFF), out[1] = static_cast<std::uint8_t>(word >> 8);
      }
    }
  }
}

}  // namespace mp4lib::test
