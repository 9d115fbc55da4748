// Colour tables shared by the RGB to YUV converters: seven coefficient tables
// (component value x coefficient, one single-precision product per value)
// and the 192 KiB RGB16 lookup tables that give finished Y, U and V for any
// 5-6-5 pixel.
#pragma once

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

// Built on first use, from any thread; never released.
const CoefficientTables& coefficientTables();

// Y, U and V of each RGB16 pixel value, 65,536 bytes each, in one block.
struct LookupTables {
  const std::uint8_t* y = nullptr;
  const std::uint8_t* u = nullptr;
  const std::uint8_t* v = nullptr;
};

// Builds the lookup tables unless they are built. False when the block could
// not be allocated (the tables then stay unbuilt).
bool buildLookupTables();
// Frees the block; a later build makes it again.
void releaseLookupTables();
// The tables, with null pointers while they are not built.
LookupTables lookupTables();

}  // namespace mp4lib::pixels
