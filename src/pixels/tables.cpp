#include "pixels/tables.h"

#include "platform/memory.h"

namespace mp4lib::pixels {

namespace {

constexpr void fillTable(float (&table)[256], float coefficient) {
  for (int i = 0; i < 256; ++i) table[i] = static_cast<float>(i) * coefficient;
}

constexpr CoefficientTables makeCoefficientTables() {
  CoefficientTables tables{};
  fillTable(tables.redToY, 0.299f);
  fillTable(tables.greenToY, 0.587f);
  fillTable(tables.blueToY, 0.114f);
  // The U pair and the V pair each sum to exactly 0.5; the other half is an
  // integer shift of B (in U) or R (in V).
  fillTable(tables.redToU, 0.1684f);
  fillTable(tables.greenToU, 0.3316f);
  fillTable(tables.greenToV, 0.4187f);
  fillTable(tables.blueToV, 0.0813f);
  return tables;
}

constexpr CoefficientTables kCoefficientTables = makeCoefficientTables();

std::uint8_t clampToByte(int value) {
  if (value < 0) return 0;
  if (value > 255) return 255;
  return static_cast<std::uint8_t>(value);
}

// The grouping of each sum is part of the result: Y adds B and G first, U
// adds its G and R terms before subtracting them, V subtracts one at a time.
void fillLookup(std::uint8_t* y, std::uint8_t* u, std::uint8_t* v, const CoefficientTables& k) {
  for (int r5 = 0; r5 < 32; ++r5) {
    for (int g6 = 0; g6 < 64; ++g6) {
      for (int b5 = 0; b5 < 32; ++b5) {
        const int red = 8 * r5, green = 4 * g6, blue = 8 * b5;
        const int pixel = r5 * 2048 + g6 * 32 + b5;
        const float luma = (k.blueToY[blue] + k.greenToY[green]) + k.redToY[red];
        const float blueDiff = (static_cast<float>(blue >> 1) - (k.greenToU[green] + k.redToU[red])) + 128.0f;
        const float redDiff = ((static_cast<float>(red >> 1) - k.greenToV[green]) - k.blueToV[blue]) + 128.0f;
        y[pixel] = clampToByte(static_cast<int>(luma));
        u[pixel] = clampToByte(static_cast<int>(blueDiff));
        v[pixel] = clampToByte(static_cast<int>(redDiff));
      }
    }
  }
}

}  // namespace

const CoefficientTables& coefficientTables() { return kCoefficientTables; }

bool buildLookupTables(LookupTableBlock& block) {
  if (block.bytes.load() != nullptr) return true;
  auto* bytes = static_cast<std::uint8_t*>(platform::allocate(3 * kLookupTableBytes));
  if (bytes == nullptr) return false;
  fillLookup(bytes, bytes + kLookupTableBytes, bytes + 2 * kLookupTableBytes, kCoefficientTables);
  block.bytes.store(bytes);
  return true;
}

void releaseLookupTables(LookupTableBlock& block) { platform::release(block.bytes.exchange(nullptr)); }

LookupTables lookupTables(const LookupTableBlock& block) {
  const std::uint8_t* bytes = block.bytes.load();
  if (bytes == nullptr) return {};
  return {bytes, bytes + kLookupTableBytes, bytes + 2 * kLookupTableBytes};
}

}  // namespace mp4lib::pixels
