#include "audio/wave_block_list.h"

#include <gtest/gtest.h>

#include <atomic>

#include "platform/platform.h"

namespace mp4lib::audio {
namespace {

class WaveBlockList : public ::testing::Test {
 protected:
  void TearDown() override { clearWaveBlocks(); }
};

TEST_F(WaveBlockList, NewBlocksAreEmptyAndUnlinked) {
  WaveBlock* block = newWaveBlock(320);
  ASSERT_NE(block, nullptr);
  EXPECT_NE(block->header.data, nullptr);
  EXPECT_EQ(block->header.bufferLength, 320u);
  EXPECT_EQ(block->header.bytesRecorded, 0u);
  EXPECT_EQ(block->header.flags, 0u);
  EXPECT_EQ(block->header.loops, 0u);
  EXPECT_EQ(block->link, nullptr);
  for (int i = 0; i < 320; ++i) ASSERT_EQ(block->header.data[i], 0);
  freeWaveBlock(block);
  WaveBlock* empty = newWaveBlock(0);  // still has a data area
  ASSERT_NE(empty, nullptr);
  EXPECT_NE(empty->header.data, nullptr);
  EXPECT_EQ(empty->header.bufferLength, 0u);
  freeWaveBlock(empty);
}

TEST_F(WaveBlockList, FirstInFirstOut) {
  EXPECT_EQ(waveBlockHead(), nullptr);
  EXPECT_EQ(waveBlockCount(), 0u);
  WaveBlock* first = newWaveBlock(4);
  WaveBlock* second = newWaveBlock(4);
  appendWaveBlock(first);
  appendWaveBlock(second);
  EXPECT_EQ(waveBlockCount(), 2u);
  EXPECT_EQ(waveBlockHead(), first);
  EXPECT_EQ(first->link, second);
  removeWaveBlockHead();
  EXPECT_EQ(waveBlockHead(), second);
  EXPECT_EQ(waveBlockCount(), 1u);
  removeWaveBlockHead();
  EXPECT_EQ(waveBlockHead(), nullptr);
  EXPECT_EQ(waveBlockCount(), 0u);
  removeWaveBlockHead();  // nothing to remove
  EXPECT_EQ(waveBlockCount(), 0u);
  WaveBlock* third = newWaveBlock(4);
  appendWaveBlock(third);  // the tail was reset with the last removal
  EXPECT_EQ(waveBlockHead(), third);
}

TEST_F(WaveBlockList, ClearFreesEveryBlock) {
  for (int i = 0; i < 5; ++i) appendWaveBlock(newWaveBlock(100));
  EXPECT_EQ(waveBlockCount(), 5u);
  clearWaveBlocks();
  EXPECT_EQ(waveBlockCount(), 0u);
  EXPECT_EQ(waveBlockHead(), nullptr);
  appendWaveBlock(nullptr);
  EXPECT_EQ(waveBlockCount(), 0u);
}

// Capture appends on one thread while the encoder drains on another.
struct Producer {
  int blocks = 0;
  std::atomic<bool> done{false};
  platform::Signal finished;
};

void produce(void* raw) {
  auto* producer = static_cast<Producer*>(raw);
  for (int i = 0; i < producer->blocks; ++i) {
    WaveBlock* block = newWaveBlock(4);
    block->header.data[0] = static_cast<std::uint8_t>(i);
    block->header.bytesRecorded = static_cast<std::uint32_t>(i);
    appendWaveBlock(block);
  }
  producer->finished.notifyAll([](void* p) { static_cast<Producer*>(p)->done.store(true); }, producer);
}

TEST_F(WaveBlockList, OneThreadAppendsWhileAnotherRemoves) {
  Producer producer;
  producer.blocks = 2000;
  ASSERT_TRUE(platform::startDetachedThread(produce, &producer));
  int taken = 0;
  while (taken < producer.blocks) {
    WaveBlock* head = waveBlockHead();
    if (head == nullptr) {
      platform::sleepMs(0);
      continue;
    }
    ASSERT_EQ(head->header.bytesRecorded, static_cast<std::uint32_t>(taken));
    removeWaveBlockHead();
    ++taken;
  }
  producer.finished.waitUntil([](void* p) { return static_cast<Producer*>(p)->done.load(); }, &producer);
  EXPECT_EQ(waveBlockCount(), 0u);
}

}  // namespace
}  // namespace mp4lib::audio
