#include "container/byte_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

#include "container/bytes.h"
#include "container/fourcc.h"

namespace mp4lib::container {
namespace {

using test::Bytes;
using test::TempFile;

class ByteReader : public ::testing::Test {
 protected:
  void open(const Bytes& contents) {
    file = std::make_unique<TempFile>(contents, "bytes.bin");
    std::FILE* stream = std::fopen(file->path().string().c_str(), "rb");
    ASSERT_NE(stream, nullptr);
    ASSERT_TRUE(openInput(in, stream));
  }
  void TearDown() override { closeInput(in); }

  std::unique_ptr<TempFile> file;
  InputFile in;
};

Bytes pattern(std::size_t n) {
  Bytes bytes(n);
  for (std::size_t i = 0; i < n; ++i) bytes[i] = static_cast<std::uint8_t>((i * 7 + i / 256) & 0xFF);
  return bytes;
}

TEST_F(ByteReader, BigEndianValues) {
  open({0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09});
  EXPECT_EQ(readBE16(in), 0x1234u);
  EXPECT_EQ(readBE24(in), 0x56789Au);
  EXPECT_EQ(readByte(in), 0xBCu);
  EXPECT_EQ(readBE64(in), 0xDEF0010203040506ull);
  EXPECT_EQ(tellInput(in), 14);
  seekInput(in, 0, SEEK_SET);
  EXPECT_EQ(readBE32(in), 0x12345678u);
}

TEST_F(ByteReader, TypeWordReadBigEndianIsItsFourCharacterCode) {
  open({'m', 'o', 'o', 'v'});
  const std::uint32_t type = readBE32(in);
  EXPECT_EQ(type, 0x6D6F6F76u);
  EXPECT_EQ(type, fourcc("moov"));
}

TEST_F(ByteReader, ThirtyTwoBitReadWithTwoBytesLeftPadsWithZerosAndEnds) {
  open({0xAA, 0xBB, 0x12, 0x34});
  readBE16(in);
  EXPECT_FALSE(atEnd(in));
  EXPECT_EQ(readBE32(in), 0x12340000u);
  EXPECT_TRUE(atEnd(in));
}

TEST_F(ByteReader, ReadingTheLastByteIsNotYetTheEnd) {
  open({1, 2});
  readBE16(in);
  EXPECT_FALSE(atEnd(in));
  EXPECT_EQ(readByte(in), 0u);  // never -1
  EXPECT_TRUE(atEnd(in));
  seekInput(in, 0, SEEK_SET);  // a seek clears the end, as fseek does
  EXPECT_FALSE(atEnd(in));
  EXPECT_EQ(readByte(in), 1u);
}

TEST_F(ByteReader, ShortBlockReadReportsFailureButStoresWhatArrived) {
  const Bytes contents = pattern(160);
  open(contents);
  seekInput(in, 100, SEEK_SET);
  Bytes buffer(100, 0xEE);
  EXPECT_EQ(readBlock(in, buffer.data(), 100), 0);
  EXPECT_TRUE(atEnd(in));
  for (int i = 0; i < 60; ++i) ASSERT_EQ(buffer[i], contents[100 + i]) << i;
  EXPECT_EQ(buffer[60], 0xEE);
}

TEST_F(ByteReader, WholeBlockReadReturnsItsLength) {
  open(pattern(10));
  std::uint8_t buffer[10];
  EXPECT_EQ(readBlock(in, buffer, 10), 10);
  EXPECT_FALSE(atEnd(in));
}

TEST_F(ByteReader, DescriptorLengthTakesAtMostFourBytes) {
  open({0x80, 0x80, 0x80, 0x80, 0x05});
  EXPECT_EQ(readDescriptorLength(in), 0u);
  EXPECT_EQ(readByte(in), 0x05u);
}

TEST_F(ByteReader, DescriptorLengthOfSevenBitGroups) {
  open({0x81, 0x7F, 0x80, 0x80, 0x80, 0x22, 0x16});
  EXPECT_EQ(readDescriptorLength(in), 0xFFu);
  EXPECT_EQ(readDescriptorLength(in), 0x22u);
  EXPECT_EQ(readDescriptorLength(in), 0x16u);
}

TEST_F(ByteReader, FileLengthRewindsToTheFirstByte) {
  open({0x41, 0x42, 0x43, 0x44, 0x45});
  readBE24(in);
  EXPECT_EQ(fileLength(in), 5);
  EXPECT_EQ(tellInput(in), 0);
  EXPECT_EQ(readByte(in), 0x41u);
}

TEST_F(ByteReader, SeekUsesOnlyTheLowThirtyTwoBits) {
  const Bytes contents = pattern(64);
  open(contents);
  EXPECT_EQ(seekInput(in, (std::int64_t{1} << 32) + 16, SEEK_SET), (std::int64_t{1} << 32) + 16);
  EXPECT_EQ(tellInput(in), 16);
  EXPECT_EQ(readByte(in), contents[16]);
}

TEST_F(ByteReader, SeekReportsThePositionAskedForWhateverHappened) {
  open(pattern(64));
  seekInput(in, 8, SEEK_SET);
  EXPECT_EQ(seekInput(in, -100, SEEK_CUR), -100);  // fails: stays at 8
  EXPECT_EQ(tellInput(in), 8);
  EXPECT_EQ(skipInput(in, 4), 4);
  EXPECT_EQ(tellInput(in), 12);
  EXPECT_EQ(seekInput(in, -4, SEEK_END), -4);
  EXPECT_EQ(tellInput(in), 60);
}

TEST_F(ByteReader, ReadsAcrossTheReadAheadWindow) {
  const Bytes contents = pattern(3 * kReadWindowBytes + 123);
  open(contents);
  seekInput(in, kReadWindowBytes - 2, SEEK_SET);
  const std::uint32_t expected = (std::uint32_t{contents[kReadWindowBytes - 2]} << 24) |
                                 (std::uint32_t{contents[kReadWindowBytes - 1]} << 16) |
                                 (std::uint32_t{contents[kReadWindowBytes]} << 8) | contents[kReadWindowBytes + 1];
  EXPECT_EQ(readBE32(in), expected);
  // A block larger than the window goes straight to the caller's buffer.
  Bytes big(2 * kReadWindowBytes + 7);
  seekInput(in, 5, SEEK_SET);
  readByte(in);
  ASSERT_EQ(readBlock(in, big.data(), static_cast<std::uint32_t>(big.size())), static_cast<std::int32_t>(big.size()));
  EXPECT_TRUE(std::equal(big.begin(), big.end(), contents.begin() + 6));
  EXPECT_EQ(tellInput(in), static_cast<std::int64_t>(6 + big.size()));
  EXPECT_EQ(readByte(in), contents[6 + big.size()]);
  // Backwards to a position the window no longer holds.
  seekInput(in, 3, SEEK_SET);
  EXPECT_EQ(readByte(in), contents[3]);
}

struct HookLog {
  int seeks = 0;
  std::uint32_t low = 0;
  std::uint32_t high = 0;
  std::int32_t whence = -1;
};
HookLog hookLog;

std::int32_t recordSeek(InputFile*, std::uint32_t low, std::uint32_t high, std::int32_t whence) {
  ++hookLog.seeks;
  hookLog.low = low;
  hookLog.high = high;
  hookLog.whence = whence;
  return 0;
}

std::int64_t fixedTell(InputFile*) { return (std::int64_t{3} << 32) | 7; }

TEST_F(ByteReader, HooksServeSeekAndTellWithBothHalves) {
  const Bytes contents = pattern(32);
  open(contents);
  readBE16(in);
  hookLog = HookLog{};
  setHooks(in, recordSeek, fixedTell);
  EXPECT_EQ(seekInput(in, (std::int64_t{1} << 32) + 16, SEEK_CUR), (std::int64_t{1} << 32) + 16);
  EXPECT_EQ(hookLog.seeks, 1);
  EXPECT_EQ(hookLog.low, 16u);
  EXPECT_EQ(hookLog.high, 1u);
  EXPECT_EQ(hookLog.whence, SEEK_CUR);
  EXPECT_EQ(tellInput(in), (std::int64_t{3} << 32) | 7);
  // Bytes come straight from the stream, which the hook did not move.
  EXPECT_EQ(readByte(in), contents[2]);
  setHooks(in, nullptr, nullptr);
  EXPECT_EQ(tellInput(in), 3);
  EXPECT_EQ(readByte(in), contents[3]);
}

}  // namespace
}  // namespace mp4lib::container
