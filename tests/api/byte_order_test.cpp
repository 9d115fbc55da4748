#include <gtest/gtest.h>

#include "mp4lib.h"

namespace {

int8_t ch(int value) { return static_cast<int8_t>(value); }

TEST(MakeFourCC, PacksFirstCharacterMostSignificant) {
  EXPECT_EQ(makeFourCC('W', 'M', 'V', 'H'), 0x574D5648u);
  EXPECT_EQ(makeFourCC('f', 't', 'y', 'p'), 0x66747970u);
}

TEST(MakeFourCC, HighFirstCharacterStaysInItsByte) { EXPECT_EQ(makeFourCC(ch(0x80), 0, 0, 0), 0x80000000u); }

TEST(MakeFourCC, LaterHighCharacterSignExtendsOverEarlierBytes) {
  EXPECT_EQ(makeFourCC(0, 0, 0, ch(0x80)), 0xFFFFFF80u);
  EXPECT_EQ(makeFourCC(0, ch(0x80), 0, 0), 0xFF800000u);
  EXPECT_EQ(makeFourCC(0, 0, ch(0xFF), 0), 0xFFFFFF00u);
}

TEST(ByteOrder, BothNamesReverseTheFourBytes) {
  EXPECT_EQ(convertDWORDToBigEndian(0x11223344u), 0x44332211u);
  EXPECT_EQ(convertDWORDToLittleEndian(0x11223344u), 0x44332211u);
  EXPECT_EQ(convertDWORDToBigEndian(0xFF000001u), 0x010000FFu);
}

}  // namespace
