#include "audio/wave_block_list.h"

#include <cstdlib>

#include "platform/platform.h"

namespace mp4lib::audio {

namespace {

struct BlockList {
  WaveBlock* head = nullptr;
  WaveBlock* tail = nullptr;
  std::uint32_t count = 0;
};

BlockList list;
platform::CriticalSection listLock;

}  // namespace

WaveBlock* takeWaveBlockHead() {
  platform::Lock hold(listLock);
  WaveBlock* block = list.head;
  if (block == nullptr) return nullptr;
  list.head = block->link;
  if (list.head == nullptr) list.tail = nullptr;
  --list.count;
  return block;
}

WaveBlock* newWaveBlock(std::uint32_t size) {
  auto* block = static_cast<WaveBlock*>(std::calloc(1, sizeof(WaveBlock)));
  if (block == nullptr) return nullptr;
  // A zero-byte block still gets a data area, so its pointer is never null.
  block->header.data = static_cast<std::uint8_t*>(std::calloc(size > 0 ? size : 1, 1));
  if (block->header.data == nullptr) {
    std::free(block);
    return nullptr;
  }
  block->header.bufferLength = size;
  return block;
}

void freeWaveBlock(WaveBlock* block) {
  if (block == nullptr) return;
  std::free(block->header.data);
  std::free(block);
}

void appendWaveBlock(WaveBlock* block) {
  if (block == nullptr) return;
  block->link = nullptr;
  platform::Lock hold(listLock);
  if (list.tail != nullptr) {
    list.tail->link = block;
  } else {
    list.head = block;
  }
  list.tail = block;
  ++list.count;
}

WaveBlock* waveBlockHead() {
  platform::Lock hold(listLock);
  return list.head;
}

void removeWaveBlockHead() { freeWaveBlock(takeWaveBlockHead()); }

std::uint32_t waveBlockCount() {
  platform::Lock hold(listLock);
  return list.count;
}

void clearWaveBlocks() {
  while (WaveBlock* block = takeWaveBlockHead()) freeWaveBlock(block);
}

}  // namespace mp4lib::audio
