#include "container/buffered_file.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <vector>

#include "platform/platform.h"
#include "support/file_bytes.h"
#include "support/plugin_folder.h"

namespace mp4lib::container {
namespace {

using test::Bytes;

// What the file saw: the length of every raw write, in order.
std::vector<std::size_t> rawWrites;
platform::CriticalSection rawWritesLock;

std::size_t recordingWrite(const void* data, std::size_t length, std::FILE* file) {
  {
    platform::Lock hold(rawWritesLock);
    rawWrites.push_back(length);
  }
  return std::fwrite(data, 1, length, file);
}

std::size_t failingWrite(const void*, std::size_t length, std::FILE*) { return length > 0 ? length - 1 : 0; }

// Bytes whose value tells where they came from.
Bytes pattern(std::size_t length, std::uint8_t seed) {
  Bytes bytes(length);
  for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<std::uint8_t>(seed + i * 7 + (i >> 9));
  return bytes;
}

class BufferedFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    rawWrites.clear();
    platform::setFileWriteForTesting(recordingWrite);
    path = folder.path() / "out.bin";
    file = std::fopen(path.string().c_str(), "wb");
    ASSERT_NE(file, nullptr);
    openBufferedFile(record, bufferA.data(), bufferB.data(), kFileBufferBytes, 1, file);
  }
  void TearDown() override {
    waitIdle(record);
    if (file != nullptr) std::fclose(file);
    platform::setFileWriteForTesting(nullptr);
  }
  // Flushes, closes and returns what reached the file.
  Bytes finish() {
    record.flush(record, false);
    waitIdle(record);
    std::fclose(file);
    file = nullptr;
    return test::readFileBytes(path);
  }
  int write(const Bytes& bytes) { return record.write(record, bytes.data(), static_cast<std::uint32_t>(bytes.size())); }
  std::size_t rawWriteCount() {
    platform::Lock hold(rawWritesLock);
    return rawWrites.size();
  }

  test::PluginFolder folder;
  std::filesystem::path path;
  std::FILE* file = nullptr;
  std::vector<std::uint8_t> bufferA = std::vector<std::uint8_t>(kFileBufferBytes);
  std::vector<std::uint8_t> bufferB = std::vector<std::uint8_t>(kFileBufferBytes);
  BufferedFile record;
};

TEST_F(BufferedFileTest, OpensWithSlotACurrentAndNothingHeld) {
  EXPECT_EQ(record.capacity, 65536u);
  EXPECT_EQ(record.current, &record.slotA);
  EXPECT_EQ(record.flushing, nullptr);
  EXPECT_EQ(record.currentIndex, 0);
  EXPECT_EQ(record.slotA.count, 0);
  EXPECT_EQ(record.slotB.count, 0);
  EXPECT_EQ(record.slotA.file, file);
  EXPECT_EQ(record.slotB.base, bufferB.data());
  EXPECT_EQ(record.writeMode, 1u);
}

TEST_F(BufferedFileTest, TellIsZeroAfterOpenAndFiveAfterFiveBytesNoneOfThemInTheFile) {
  EXPECT_EQ(record.tell(record), 0u);
  ASSERT_EQ(write(pattern(5, 1)), 1);
  EXPECT_EQ(record.tell(record), 5u);
  EXPECT_EQ(rawWriteCount(), 0u);
  EXPECT_EQ(std::ftell(file), 0);
}

TEST_F(BufferedFileTest, WriteOf65536BytesGoesStraightToTheFile) {
  ASSERT_EQ(write(pattern(65536, 3)), 1);
  ASSERT_EQ(rawWriteCount(), 1u);
  EXPECT_EQ(rawWrites[0], 65536u);
  EXPECT_EQ(record.current->count, 0);
  EXPECT_EQ(record.position, 65536u);
  EXPECT_EQ(record.tell(record), 65536u);
}

TEST_F(BufferedFileTest, WriteOf65535BytesIsBuffered) {
  ASSERT_EQ(write(pattern(65535, 3)), 1);
  EXPECT_EQ(rawWriteCount(), 0u);
  EXPECT_EQ(record.current->count, 65535);
  EXPECT_EQ(record.tell(record), 65535u);
  EXPECT_EQ(finish(), pattern(65535, 3));
}

TEST_F(BufferedFileTest, LargeWriteAfterBufferedBytesKeepsFileOrder) {
  const Bytes small = pattern(100, 9);
  const Bytes large = pattern(70000, 50);
  ASSERT_EQ(write(small), 1);
  ASSERT_EQ(write(large), 1);
  ASSERT_EQ(rawWriteCount(), 2u);
  EXPECT_EQ(rawWrites[0], 100u);  // in the foreground, before the block
  EXPECT_EQ(rawWrites[1], 70000u);
  EXPECT_EQ(record.tell(record), 70100u);
  Bytes expected = small;
  expected.insert(expected.end(), large.begin(), large.end());
  EXPECT_EQ(finish(), expected);
}

TEST_F(BufferedFileTest, SlotsAlternateOnEveryBackgroundFlush) {
  const Bytes chunk = pattern(40000, 1);
  ASSERT_EQ(write(chunk), 1);
  EXPECT_EQ(record.currentIndex, 0);
  ASSERT_EQ(write(chunk), 1);  // 80,000 would not fit: A goes to a thread
  EXPECT_EQ(record.current, &record.slotB);
  EXPECT_EQ(record.flushing, &record.slotA);
  EXPECT_EQ(record.currentIndex, 1);
  ASSERT_EQ(write(chunk), 1);
  EXPECT_EQ(record.current, &record.slotA);
  EXPECT_EQ(record.flushing, &record.slotB);
  EXPECT_EQ(record.currentIndex, 0);
  EXPECT_EQ(record.position, 80000u);
  EXPECT_EQ(record.tell(record), 120000u);
  Bytes expected;
  for (int i = 0; i < 3; ++i) expected.insert(expected.end(), chunk.begin(), chunk.end());
  EXPECT_EQ(finish(), expected);
}

TEST_F(BufferedFileTest, SeekFromStartMovesTheBaseAndWritesThere) {
  ASSERT_EQ(write(pattern(10, 0)), 1);
  ASSERT_EQ(record.seek(record, 4, SEEK_SET), 0);
  EXPECT_EQ(record.tell(record), 4u);
  ASSERT_EQ(write(Bytes{0xEE, 0xFF}), 1);
  EXPECT_EQ(record.tell(record), 6u);
  Bytes expected = pattern(10, 0);
  expected[4] = 0xEE;
  expected[5] = 0xFF;
  EXPECT_EQ(finish(), expected);
}

TEST_F(BufferedFileTest, SeekFromCurrentAddsToTheBase) {
  ASSERT_EQ(write(pattern(10, 0)), 1);
  ASSERT_EQ(record.seek(record, -3, SEEK_CUR), 0);
  EXPECT_EQ(record.tell(record), 7u);
}

TEST_F(BufferedFileTest, SeekFromTheEndLeavesTellAlone) {
  ASSERT_EQ(write(pattern(10, 0)), 1);
  ASSERT_EQ(record.seek(record, 2, SEEK_SET), 0);
  ASSERT_EQ(record.seek(record, 0, SEEK_END), 0);
  EXPECT_EQ(record.tell(record), 2u);
  ASSERT_EQ(write(Bytes{0xAB}), 1);
  // The byte lands at the real end of the file whatever tell says.
  Bytes expected = pattern(10, 0);
  expected.push_back(0xAB);
  EXPECT_EQ(finish(), expected);
}

TEST_F(BufferedFileTest, ForegroundShortWriteFailsTheFlushAndTheWrite) {
  ASSERT_EQ(write(pattern(100, 0)), 1);
  platform::setFileWriteForTesting(failingWrite);
  EXPECT_EQ(record.flush(record, false), 0);
  EXPECT_EQ(record.failedWrites, 0u);
  ASSERT_EQ(write(pattern(100, 0)), 1);
  EXPECT_EQ(write(pattern(70000, 0)), 0);  // the held bytes fall short first
  EXPECT_EQ(record.failedWrites, 1u);
  EXPECT_EQ(write(pattern(70000, 0)), 0);  // and now the block itself
  EXPECT_EQ(record.failedWrites, 2u);
}

TEST_F(BufferedFileTest, BackgroundShortWriteIsLostSilently) {
  platform::setFileWriteForTesting(failingWrite);
  ASSERT_EQ(write(pattern(60000, 0)), 1);
  EXPECT_EQ(write(pattern(10000, 0)), 1);
  EXPECT_EQ(record.flushing, &record.slotA);
  waitIdle(record);
  EXPECT_EQ(record.slotA.busy.load(), 0);
  EXPECT_EQ(record.failedWrites, 0u);
}

TEST_F(BufferedFileTest, WriteWithoutDataFails) {
  EXPECT_EQ(record.write(record, nullptr, 3), 0);
  EXPECT_EQ(record.write(record, nullptr, 0), 1);
  EXPECT_EQ(record.tell(record), 0u);
}

TEST_F(BufferedFileTest, FieldWritersAreBigEndian) {
  ASSERT_EQ(writeU8(record, 0x81), 1);
  ASSERT_EQ(writeU16(record, 0x1234), 1);
  ASSERT_EQ(writeU32(record, 0xA1B2C3D4), 1);
  ASSERT_EQ(writeString(record, "moov"), 1);
  ASSERT_EQ(writeFill(record, 0x5A, 3), 1);
  const std::uint8_t block[20] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20};
  ASSERT_EQ(writeBlock(record, block, 20), 1);
  const Bytes expected = test::ByteBuilder()
                             .u8(0x81)
                             .u16(0x1234)
                             .u32(0xA1B2C3D4)
                             .text("moov")
                             .u8(0x5A)
                             .u8(0x5A)
                             .u8(0x5A)
                             .append(Bytes(block, block + 20))
                             .bytes();
  EXPECT_EQ(finish(), expected);
}

TEST_F(BufferedFileTest, FillOfMoreThan64BytesWritesThemAll) {
  ASSERT_EQ(writeFill(record, 0, 64), 1);
  ASSERT_EQ(writeFill(record, 7, 100), 1);
  EXPECT_EQ(record.tell(record), 164u);
  Bytes expected(64, 0);
  expected.insert(expected.end(), 100, 7);
  EXPECT_EQ(finish(), expected);
}

TEST_F(BufferedFileTest, ReadModeSeeksAndTellsTheFileItself) {
  ASSERT_EQ(write(pattern(30, 0)), 1);
  const Bytes written = finish();
  ASSERT_EQ(written.size(), 30u);
  file = std::fopen(path.string().c_str(), "rb");
  openBufferedFile(record, bufferA.data(), bufferB.data(), kFileBufferBytes, 0, file);
  EXPECT_EQ(record.seek(record, 12, SEEK_SET), 0);
  EXPECT_EQ(record.tell(record), 12u);
  EXPECT_EQ(std::fgetc(file), written[12]);
  EXPECT_EQ(record.write(record, written.data(), 1), 0);
}

// ---- Hand-over to the background thread --------------------------------------

// A file that holds every write until the test lets it go.
struct Gate {
  platform::Signal signal;
  bool open = false;
  std::atomic<int> entered{0};
};
Gate* gate = nullptr;

std::size_t gatedWrite(const void* data, std::size_t length, std::FILE* file) {
  gate->signal.notifyAll([](void* g) { ++static_cast<Gate*>(g)->entered; }, gate);
  gate->signal.waitUntil([](void* g) { return static_cast<Gate*>(g)->open; }, gate);
  return std::fwrite(data, 1, length, file);
}

struct Writer {
  BufferedFile* record;
  Bytes bytes;
  std::atomic<bool> done{false};
  platform::Signal finished;
};

void writeOnThread(void* raw) {
  auto* writer = static_cast<Writer*>(raw);
  writer->record->write(*writer->record, writer->bytes.data(), static_cast<std::uint32_t>(writer->bytes.size()));
  writer->finished.notifyAll([](void* w) { static_cast<Writer*>(w)->done.store(true); }, writer);
}

TEST_F(BufferedFileTest, FullBufferGoesToAThreadAndTheNextOverflowWaitsForIt) {
  Gate g;
  gate = &g;
  platform::setFileWriteForTesting(gatedWrite);
  const Bytes first = pattern(60000, 1);
  const Bytes second = pattern(10000, 2);
  const Bytes third = pattern(60000, 3);
  ASSERT_EQ(write(first), 1);
  ASSERT_EQ(write(second), 1);
  // Slot A (60,000 bytes) is with the thread; the 10,000 bytes are in B.
  EXPECT_EQ(record.slotA.busy.load(), 1);
  EXPECT_EQ(record.current, &record.slotB);
  EXPECT_EQ(record.slotB.count, 10000);
  EXPECT_EQ(record.position, 60000u);
  EXPECT_EQ(record.tell(record), 70000u);
  g.signal.waitUntil([](void* p) { return static_cast<Gate*>(p)->entered.load() == 1; }, &g);

  // B overflows next; handing it over has to wait for A's thread.
  Writer writer;
  writer.record = &record;
  writer.bytes = third;
  ASSERT_TRUE(platform::startDetachedThread(writeOnThread, &writer));
  while (record.idleWaits.load() == 0) platform::sleepMs(1);
  EXPECT_FALSE(writer.done.load());
  EXPECT_EQ(g.entered.load(), 1);

  g.signal.notifyAll([](void* p) { static_cast<Gate*>(p)->open = true; }, &g);
  writer.finished.waitUntil([](void* w) { return static_cast<Writer*>(w)->done.load(); }, &writer);
  EXPECT_EQ(record.current, &record.slotA);
  EXPECT_EQ(record.slotA.count, 60000);
  EXPECT_EQ(record.position, 70000u);

  Bytes expected = first;
  expected.insert(expected.end(), second.begin(), second.end());
  expected.insert(expected.end(), third.begin(), third.end());
  EXPECT_EQ(finish(), expected);
  gate = nullptr;
}

// ---- Many background flushes against a slow file -------------------------------
// Every background write holds on until the filling thread has had to wait
// for it, so each flush overlaps the filling thread. Run under the thread
// sanitizer this checks the hand-over for races.

thread_local bool onFillingThread = false;
std::atomic<std::uint32_t> backgroundWrites{0};
BufferedFile* slowRecord = nullptr;

std::size_t slowWrite(const void* data, std::size_t length, std::FILE* file) {
  if (!onFillingThread) {
    const std::uint32_t index = ++backgroundWrites;
    while (slowRecord->idleWaits.load() < index) platform::sleepMs(0);
  }
  return std::fwrite(data, 1, length, file);
}

TEST_F(BufferedFileTest, BackgroundFlushesOverlapASlowFileAndKeepEveryByte) {
  onFillingThread = true;
  backgroundWrites = 0;
  slowRecord = &record;
  platform::setFileWriteForTesting(slowWrite);
  static const std::uint32_t kSizes[] = {1,     4,     16,    17,    1000,  30000, 65535, 40000, 50000,
                                         65536, 90000, 3,     12345, 20000, 20000, 20000, 20000, 20000};
  Bytes expected;
  std::uint8_t seed = 0;
  while (expected.size() < 8u * 1024 * 1024) {
    for (std::uint32_t size : kSizes) {
      const Bytes bytes = pattern(size, seed++);
      ASSERT_EQ(write(bytes), 1);
      expected.insert(expected.end(), bytes.begin(), bytes.end());
    }
  }
  EXPECT_EQ(record.tell(record), expected.size());
  const Bytes written = finish();
  EXPECT_GT(backgroundWrites.load(), 80u);
  EXPECT_EQ(record.idleWaits.load(), backgroundWrites.load());
  ASSERT_EQ(written.size(), expected.size());
  EXPECT_TRUE(written == expected);
  onFillingThread = false;
  slowRecord = nullptr;
}

}  // namespace
}  // namespace mp4lib::container
