#include "devices/wave_block_list.h"

#include <gtest/gtest.h>

#include <atomic>

#include "platform/platform.h"

namespace mp4lib::devices {
namespace {

class WaveBlocks : public ::testing::Test {
 protected:
  void TearDown() override { clearWaveBlocks(list); }
  WaveBlockList list;
};

TEST_F(WaveBlocks, NewBlocksAreEmptyAndUnlinked) {
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

TEST_F(WaveBlocks, FirstInFirstOut) {
  EXPECT_EQ(waveBlockHead(list), nullptr);
  EXPECT_EQ(waveBlockCount(list), 0u);
  WaveBlock* first = newWaveBlock(4);
  WaveBlock* second = newWaveBlock(4);
  appendWaveBlock(list, first);
  appendWaveBlock(list, second);
  EXPECT_EQ(waveBlockCount(list), 2u);
  EXPECT_EQ(waveBlockHead(list), first);
  EXPECT_EQ(first->link, second);
  removeWaveBlockHead(list);
  EXPECT_EQ(waveBlockHead(list), second);
  EXPECT_EQ(waveBlockCount(list), 1u);
  removeWaveBlockHead(list);
  EXPECT_EQ(waveBlockHead(list), nullptr);
  EXPECT_EQ(waveBlockCount(list), 0u);
  removeWaveBlockHead(list);  // nothing to remove
  EXPECT_EQ(waveBlockCount(list), 0u);
  WaveBlock* third = newWaveBlock(4);
  appendWaveBlock(list, third);  // the tail was reset with the last removal
  EXPECT_EQ(waveBlockHead(list), third);
}

TEST_F(WaveBlocks, ClearFreesEveryBlock) {
  for (int i = 0; i < 5; ++i) appendWaveBlock(list, newWaveBlock(100));
  EXPECT_EQ(waveBlockCount(list), 5u);
  clearWaveBlocks(list);
  EXPECT_EQ(waveBlockCount(list), 0u);
  EXPECT_EQ(waveBlockHead(list), nullptr);
  appendWaveBlock(list, nullptr);
  EXPECT_EQ(waveBlockCount(list), 0u);
}

// Capture appends on one thread while the encoder drains on another.
struct Producer {
  WaveBlockList* list = nullptr;
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
    appendWaveBlock(*producer->list, block);
  }
  producer->finished.notifyAll([](void* p) { static_cast<Producer*>(p)->done.store(true); }, producer);
}

TEST_F(WaveBlocks, OneThreadAppendsWhileAnotherRemoves) {
  Producer producer;
  producer.list = &list;
  producer.blocks = 2000;
  ASSERT_TRUE(platform::startDetachedThread(produce, &producer));
  int taken = 0;
  while (taken < producer.blocks) {
    WaveBlock* head = waveBlockHead(list);
    if (head == nullptr) {
      platform::sleepMs(0);
      continue;
    }
    ASSERT_EQ(head->header.bytesRecorded, static_cast<std::uint32_t>(taken));
    removeWaveBlockHead(list);
    ++taken;
  }
  producer.finished.waitUntil([](void* p) { return static_cast<Producer*>(p)->done.load(); }, &producer);
  EXPECT_EQ(waveBlockCount(list), 0u);
}

}  // namespace
}  // namespace mp4lib::devices
