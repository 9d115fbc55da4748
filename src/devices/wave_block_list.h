// The wave block list: a first-in first-out list of PCM blocks. Capture
// appends each full input buffer and the audio encoder takes them from the
// head; playback queues its output blocks on the same list, so recording and
// playback must not use it at once. The list has its own lock, so one thread
// may append while another removes.
#pragma once

#include <cstdint>

#include "platform/platform.h"
#include "platform/wave_device.h"

namespace mp4lib::devices {

// Layout of a wave header as the wave devices use it (WAVEHDR).
using WaveHeader = platform::WaveHeader;

// One heap block of the list: its header, then the link to the next block.
struct WaveBlock {
  WaveHeader header;
  WaveBlock* link;
};

struct WaveBlockList {
  WaveBlock* head = nullptr;
  WaveBlock* tail = nullptr;
  std::uint32_t count = 0;
  platform::CriticalSection lock;
};

// A block with a zeroed data area of `size` bytes, bufferLength = size,
// bytesRecorded 0, not yet on the list. Null when memory ran out.
WaveBlock* newWaveBlock(std::uint32_t size);
// Frees a block that is not on the list.
void freeWaveBlock(WaveBlock* block);

// Puts a filled block at the tail; the list owns it from then on.
void appendWaveBlock(WaveBlockList& list, WaveBlock* block);
// The oldest block, or null. It stays valid until removed; only the thread
// that removes blocks should use it.
WaveBlock* waveBlockHead(WaveBlockList& list);
// Detaches the oldest block (null when empty); the caller owns it then.
WaveBlock* takeWaveBlockHead(WaveBlockList& list);
// Removes and frees the oldest block, if any.
void removeWaveBlockHead(WaveBlockList& list);
std::uint32_t waveBlockCount(WaveBlockList& list);
// Frees every block.
void clearWaveBlocks(WaveBlockList& list);

}  // namespace mp4lib::devices
