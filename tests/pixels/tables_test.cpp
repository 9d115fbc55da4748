#include "pixels/tables.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace mp4lib::pixels {
namespace {

class LookupTablesTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(buildLookupTables(block)); }
  void TearDown() override { releaseLookupTables(block); }
  LookupTables lookupTables() const { return pixels::lookupTables(block); }
  LookupTableBlock block;
};

struct Yuv {
  int y, u, v;
};

Yuv lookup(const LookupTables& tables, unsigned pixel) { return {tables.y[pixel], tables.u[pixel], tables.v[pixel]}; }

TEST_F(LookupTablesTest, Black) {
  const Yuv c = lookup(lookupTables(), 0x0000);
  EXPECT_EQ(c.y, 0);
  EXPECT_EQ(c.u, 128);
  EXPECT_EQ(c.v, 128);
}

TEST_F(LookupTablesTest, WhiteIsR248G252B248) {
  const Yuv c = lookup(lookupTables(), 0xFFFF);
  EXPECT_EQ(c.y, 250);
  EXPECT_EQ(c.u, 126);
  EXPECT_EQ(c.v, 126);
}

TEST_F(LookupTablesTest, PureRed) {
  const Yuv c = lookup(lookupTables(), 0xF800);
  EXPECT_EQ(c.y, 74);
  EXPECT_EQ(c.u, 86);
  EXPECT_EQ(c.v, 252);
}

TEST_F(LookupTablesTest, TablesLieInOneBlockInOrderYUV) {
  const LookupTables tables = lookupTables();
  EXPECT_EQ(tables.u, tables.y + 65536);
  EXPECT_EQ(tables.v, tables.y + 131072);
}

TEST_F(LookupTablesTest, SecondBuildKeepsTheFirstBlock) {
  const std::uint8_t* first = lookupTables().y;
  ASSERT_TRUE(buildLookupTables(block));
  EXPECT_EQ(lookupTables().y, first);
}

TEST_F(LookupTablesTest, ReleaseEmptiesAndRebuildWorks) {
  releaseLookupTables(block);
  EXPECT_EQ(lookupTables().y, nullptr);
  releaseLookupTables(block);  // harmless twice
  ASSERT_TRUE(buildLookupTables(block));
  EXPECT_EQ(lookup(lookupTables(), 0xF800).y, 74);
}

// A deliberately plain second computation: each coefficient product made
// inline, every intermediate forced to single precision.
std::uint8_t clampPlain(int value) { return static_cast<std::uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value); }

void plainLookup(unsigned pixel, std::uint8_t* y, std::uint8_t* u, std::uint8_t* v) {
  const int red = static_cast<int>((pixel >> 11) & 31) * 8;
  const int green = static_cast<int>((pixel >> 5) & 63) * 4;
  const int blue = static_cast<int>(pixel & 31) * 8;
  volatile float yB = static_cast<float>(blue) * 0.114f;
  volatile float yG = static_cast<float>(green) * 0.587f;
  volatile float yR = static_cast<float>(red) * 0.299f;
  volatile float ySum = yB + yG;
  ySum = ySum + yR;
  volatile float uG = static_cast<float>(green) * 0.3316f;
  volatile float uR = static_cast<float>(red) * 0.1684f;
  volatile float uTerms = uG + uR;
  volatile float uSum = static_cast<float>(blue >> 1) - uTerms;
  uSum = uSum + 128.0f;
  volatile float vG = static_cast<float>(green) * 0.4187f;
  volatile float vB = static_cast<float>(blue) * 0.0813f;
  volatile float vSum = static_cast<float>(red >> 1) - vG;
  vSum = vSum - vB;
  vSum = vSum + 128.0f;
  *y = clampPlain(static_cast<int>(ySum));
  *u = clampPlain(static_cast<int>(uSum));
  *v = clampPlain(static_cast<int>(vSum));
}

TEST_F(LookupTablesTest, EveryEntryMatchesAPlainComputation) {
  const LookupTables tables = lookupTables();
  int mismatches = 0;
  for (unsigned pixel = 0; pixel < 65536; ++pixel) {
    std::uint8_t y, u, v;
    plainLookup(pixel, &y, &u, &v);
    if (tables.y[pixel] != y || tables.u[pixel] != u || tables.v[pixel] != v) {
      if (++mismatches < 5) ADD_FAILURE() << "pixel " << pixel;
    }
  }
  EXPECT_EQ(mismatches, 0);
}

TEST(CoefficientTables, EntriesAreSinglePrecisionProducts) {
  const CoefficientTables& k = coefficientTables();
  EXPECT_EQ(k.redToY[0], 0.0f);
  EXPECT_EQ(k.redToY[255], 255.0f * 0.299f);
  EXPECT_EQ(k.greenToY[100], 100.0f * 0.587f);
  EXPECT_EQ(k.blueToY[7], 7.0f * 0.114f);
  EXPECT_EQ(k.redToU[3], 3.0f * 0.1684f);
  EXPECT_EQ(k.greenToU[200], 200.0f * 0.3316f);
  EXPECT_EQ(k.greenToV[17], 17.0f * 0.4187f);
  EXPECT_EQ(k.blueToV[255], 255.0f * 0.0813f);
  EXPECT_EQ(&coefficientTables(), &k);  // built once
}

}  // namespace
}  // namespace mp4lib::pixels
