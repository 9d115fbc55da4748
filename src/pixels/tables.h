// Colour tables shared by the RGB to YUV converters: seven coefficient tables
// (component value x coefficient, one single-precision product per value)
// and the 192 KiB RGB16 lookup tables that give finished Y, U and V for any
// 5-6-5 pixel.
#pragma once

#include <atomic>
#include <cstdint>

namespace mp4lib::pixels {

// Entry i of each table is (float)i x k, k the single-precision value
// nearest to the coefficient in the name.
struct CoefficientTables {
  float redToY[256];    // 0.299
  float greenToY[256];  // 0.587
  float blueToY[256];   // 0.114
  float redToU[256];    // 0.1684, subtracted in U
  float greenToU[256];  // 0.3316, subtracted in U
  float greenToV[256];  // 0.4187, subtracted in V
  float blueToV[256];   // 0.0813, subtracted in V
};

// Computed while compiling (the same single-precision products), so they
// are there from the start and never change.
const CoefficientTables& coefficientTables();

// Bytes of each RGB16 lookup table: one entry per pixel value.
constexpr std::uint32_t kLookupTableBytes = 65536;

// The one allocation holding the Y, U and V lookup tables, in that order;
// null while they are not built. Its owner builds and releases it.
struct LookupTableBlock {
  std::atomic<std::uint8_t*> bytes{nullptr};
};

// Y, U and V of each RGB16 pixel value: a view of a built block.
struct LookupTables {
  const std::uint8_t* y = nullptr;
  const std::uint8_t* u = nullptr;
  const std::uint8_t* v = nullptr;
};

// Builds the lookup tables unless they are built. False when the block could
// not be allocated (the tables then stay unbuilt).
bool buildLookupTables(LookupTableBlock& block);
// Frees the block; a later build makes it again.
void releaseLookupTables(LookupTableBlock& block);
// The tables, with null pointers while they are not built.
LookupTables lookupTables(const LookupTableBlock& block);

}  // namespace mp4lib::pixels
