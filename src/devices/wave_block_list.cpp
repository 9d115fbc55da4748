#include "devices/wave_block_list.h"

#include "platform/memory.h"

namespace mp4lib::devices {

WaveBlock* takeWaveBlockHead(WaveBlockList& list) {
  platform::Lock hold(list.lock);
  WaveBlock* block = list.head;
  if (block == nullptr) return nullptr;
  list.head = block->link;
  if (list.head == nullptr) list.tail = nullptr;
  --list.count;
  return block;
}

WaveBlock* newWaveBlock(std::uint32_t size) {
  auto* block = static_cast<WaveBlock*>(platform::allocateZeroed(1, sizeof(WaveBlock)));
  if (block == nullptr) return nullptr;
  // A zero-byte block still gets a data area, so its pointer is never null.
  block->header.data = static_cast<std::uint8_t*>(platform::allocateZeroed(size > 0 ? size : 1, 1));
  if (block->header.data == nullptr) {
    platform::release(block);
    return nullptr;
  }
  block->header.bufferLength = size;
  return block;
}

void freeWaveBlock(WaveBlock* block) {
  if (block == nullptr) return;
  platform::release(block->header.data);
  platform::release(block);
}

void appendWaveBlock(WaveBlockList& list, WaveBlock* block) {
  if (block == nullptr) return;
  block->link = nullptr;
  platform::Lock hold(list.lock);
  if (list.tail != nullptr) {
    list.tail->link = block;
  } else {
    list.head = block;
  }
  list.tail = block;
  ++list.count;
}

WaveBlock* waveBlockHead(WaveBlockList& list) {
  platform::Lock hold(list.lock);
  return list.head;
}

void removeWaveBlockHead(WaveBlockList& list) { freeWaveBlock(takeWaveBlockHead(list)); }

std::uint32_t waveBlockCount(WaveBlockList& list) {
  platform::Lock hold(list.lock);
  return list.count;
}

void clearWaveBlocks(WaveBlockList& list) {
  while (WaveBlock* block = takeWaveBlockHead(list)) freeWaveBlock(block);
}

}  // namespace mp4lib::devices
