#include "container/buffered_file.h"

#include <climits>
#include <cstring>

#include "platform/platform.h"

namespace mp4lib::container {

namespace {

// Woken whenever a background write finishes.
platform::Signal& slotIdle() { return platform::detachedWorkSignal(); }

bool writeOut(const void* data, std::size_t length, std::FILE* file) {
  if (length == 0) return true;
  if (file == nullptr) return false;
  return platform::writeFile(data, length, file) == length;
}

FileBuffer& otherSlot(BufferedFile& record, FileBuffer& slot) {
  return &slot == &record.slotA ? record.slotB : record.slotA;
}

void resetSlot(FileBuffer& slot) {
  slot.count = 0;
  slot.cursor = slot.base;
}

bool slotIsIdle(void* slot) { return static_cast<FileBuffer*>(slot)->busy.load() == 0; }
void markSlotIdle(void* slot) { static_cast<FileBuffer*>(slot)->busy.store(0); }

void waitUntilSlotIdle(BufferedFile& record, FileBuffer& slot) {
  if (slot.busy.load() == 0) return;
  record.idleWaits.fetch_add(1);
  slotIdle().waitUntil(slotIsIdle, &slot);
}

// Background thread: writes one full slot out. Nobody waits for its result;
// a short write only marks the slot, for bytesLost.
void writeSlotInBackground(void* raw) {
  auto* slot = static_cast<FileBuffer*>(raw);
  if (!writeOut(slot->base, static_cast<std::size_t>(slot->count), slot->file)) slot->lost.store(1);
  slotIdle().notifyAll(markSlotIdle, slot);
}

int flushWrite(BufferedFile& record, bool inBackground) {
  FileBuffer& slot = *record.current;
  const std::int32_t held = slot.count;
  record.position += static_cast<std::uint64_t>(static_cast<std::int64_t>(held));
  FileBuffer& other = otherSlot(record, slot);
  waitUntilSlotIdle(record, other);
  if (inBackground) {
    record.flushing = &slot;
    slot.busy.store(1);
    record.current = &other;
    record.currentIndex ^= 1;
    resetSlot(other);
    // Without a thread the slot is written here; the bytes and their order
    // stay the same.
    if (!platform::startDetachedThread(writeSlotInBackground, &slot)) writeSlotInBackground(&slot);
    return 1;
  }
  const bool complete = writeOut(slot.base, static_cast<std::size_t>(held), slot.file);
  resetSlot(slot);
  if (!complete) record.lostInForeground = true;
  return complete ? 1 : 0;
}

void copyIntoSlot(FileBuffer& slot, const void* data, std::uint32_t length) {
  // The field writers hand over a few bytes at a time; a loop beats a call.
  if (length <= 16) {
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    for (std::uint32_t i = 0; i < length; ++i) slot.cursor[i] = bytes[i];
  } else {
    std::memcpy(slot.cursor, data, length);
  }
  slot.cursor += length;
  slot.count += static_cast<std::int32_t>(length);
}

int writeBufferedOrFail(BufferedFile& record, const void* data, std::uint32_t length) {
  if (data == nullptr && length > 0) return 0;
  const std::uint64_t held = static_cast<std::uint64_t>(record.current->count);
  if (held > 0 && held + length >= record.capacity) {
    if (flushWrite(record, length < record.capacity) == 0) return 0;
  }
  if (length < record.capacity) {
    copyIntoSlot(*record.current, data, length);
    return 1;
  }
  if (!writeOut(data, length, record.file)) {
    record.lostInForeground = true;
    return 0;
  }
  record.position += length;
  return 1;
}

int writeBuffered(BufferedFile& record, const void* data, std::uint32_t length) {
  const int result = writeBufferedOrFail(record, data, length);
  if (result == 0) ++record.failedWrites;
  return result;
}

// fseek takes a long, which is 32 bits on some targets.
int seekFile(std::FILE* file, std::int64_t offset, int origin) {
  if (file == nullptr) return -1;
  if (offset > LONG_MAX || offset < LONG_MIN) return -1;
  return std::fseek(file, static_cast<long>(offset), origin);
}

int seekWrite(BufferedFile& record, std::int64_t offset, int origin) {
  if (record.current->count > 0) flushWrite(record, false);
  waitIdle(record);
  switch (origin) {
    case SEEK_SET:
      record.position = static_cast<std::uint64_t>(offset);
      break;
    case SEEK_CUR:
      record.position += static_cast<std::uint64_t>(offset);
      break;
    default:
      // From the end: the position is left alone. The writer never does it.
      break;
  }
  return seekFile(record.file, offset, origin);
}

std::uint64_t tellWrite(BufferedFile& record) {
  return record.position + static_cast<std::uint64_t>(static_cast<std::int64_t>(record.current->count));
}

int writeRead(BufferedFile&, const void*, std::uint32_t) { return 0; }
int seekRead(BufferedFile& record, std::int64_t offset, int origin) { return seekFile(record.file, offset, origin); }

std::uint64_t tellRead(BufferedFile& record) {
  if (record.file == nullptr) return 0;
  const long at = std::ftell(record.file);
  return at < 0 ? 0 : static_cast<std::uint64_t>(at);
}

int flushRead(BufferedFile&, bool) { return 1; }

void openSlot(FileBuffer& slot, std::uint8_t* buffer, std::FILE* file) {
  slot.file = file;
  slot.base = buffer;
  slot.cursor = buffer;
  slot.count = 0;
  slot.busy.store(0);
  slot.lost.store(0);
}

}  // namespace

void openBufferedFile(BufferedFile& record, std::uint8_t* bufferA, std::uint8_t* bufferB, std::uint32_t capacity,
                      std::uint32_t writeMode, std::FILE* file) {
  record.capacity = capacity;
  openSlot(record.slotA, bufferA, file);
  openSlot(record.slotB, bufferB, file);
  record.current = &record.slotA;
  record.flushing = nullptr;
  record.currentIndex = 0;
  record.file = file;
  record.writeMode = writeMode;
  record.position = 0;
  record.idleWaits.store(0);
  record.failedWrites = 0;
  record.lostInForeground = false;
  if (writeMode != 0) {
    record.write = writeBuffered;
    record.seek = seekWrite;
    record.tell = tellWrite;
    record.flush = flushWrite;
  } else {
    record.write = writeRead;
    record.seek = seekRead;
    record.tell = tellRead;
    record.flush = flushRead;
  }
}

bool bytesLost(const BufferedFile& record) {
  return record.lostInForeground || record.slotA.lost.load() != 0 || record.slotB.lost.load() != 0;
}

void waitIdle(BufferedFile& record) {
  waitUntilSlotIdle(record, record.slotA);
  waitUntilSlotIdle(record, record.slotB);
}

void reopenBufferedFile(BufferedFile& record, FileBuffers& buffers, std::uint32_t writeMode, std::FILE* file) {
  if (record.current != nullptr) waitIdle(record);
  openBufferedFile(record, buffers.a, buffers.b, kFileBufferBytes, writeMode, file);
}

int writeU8(BufferedFile& file, std::uint8_t value) { return file.write(file, &value, 1); }

int writeU16(BufferedFile& file, std::uint16_t value) {
  const std::uint8_t bytes[2] = {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
  return file.write(file, bytes, 2);
}

int writeU32(BufferedFile& file, std::uint32_t value) {
  const std::uint8_t bytes[4] = {static_cast<std::uint8_t>(value >> 24), static_cast<std::uint8_t>(value >> 16),
                                 static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
  return file.write(file, bytes, 4);
}

int writeString(BufferedFile& file, const char* text) {
  if (text == nullptr) return 1;
  return file.write(file, text, static_cast<std::uint32_t>(std::strlen(text)));
}

int writeFill(BufferedFile& file, std::uint8_t value, std::uint32_t count) {
  std::uint8_t run[64];
  std::memset(run, value, sizeof run);
  int result = 1;
  while (count > 0) {
    const std::uint32_t part = count < sizeof run ? count : static_cast<std::uint32_t>(sizeof run);
    result = file.write(file, run, part);
    if (result == 0) return 0;
    count -= part;
  }
  return result;
}

int writeBlock(BufferedFile& file, const void* data, std::uint32_t length) { return file.write(file, data, length); }

}  // namespace mp4lib::container
