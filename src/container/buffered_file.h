// The double-buffered file every recorded byte goes through.
//
// Writes are copied into the current 64 KiB buffer. When a write would fill
// it, the full buffer is handed to a short-lived background thread that
// writes it out while the caller fills the other buffer; blocks of 64 KiB or
// more go straight to the file after the buffered bytes. At most one
// background write is in flight: handing over waits until the other buffer
// is idle, so bytes reach the file in the order they were written.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace mp4lib::container {

// Size of each of the two buffers and the threshold for direct writes, bytes.
constexpr std::uint32_t kFileBufferBytes = 0x10000;

// One buffer slot.
struct FileBuffer {
  std::FILE* file;
  std::uint8_t* base;
  std::uint8_t* cursor;  // next free byte
  std::int32_t count;    // bytes held
  // 1 while a background thread writes this slot out. Set by the filling
  // thread, cleared by the writing thread.
  std::atomic<std::uint8_t> busy;
  // 1 once a background write of this slot fell short.
  std::atomic<std::uint8_t> lost;
};

struct BufferedFile;
using WriteHook = int (*)(BufferedFile& file, const void* data, std::uint32_t length);
using SeekHook = int (*)(BufferedFile& file, std::int64_t offset, int origin);
using TellHook = std::uint64_t (*)(BufferedFile& file);
using FlushHook = int (*)(BufferedFile& file, bool inBackground);

// Callers go through the hooks, never the functions behind them.
struct BufferedFile {
  std::uint32_t capacity;  // bytes per slot and direct-write threshold
  FileBuffer slotA;
  FileBuffer slotB;
  FileBuffer* current;   // slot being filled
  FileBuffer* flushing;  // slot last handed to a thread
  std::int32_t currentIndex;  // 0 = slot A is current, 1 = slot B
  std::FILE* file;
  WriteHook write;  // 1 written (or buffered), 0 failed
  SeekHook seek;    // the fseek result: 0 done, nonzero failed
  TellHook tell;    // logical position, bytes
  FlushHook flush;  // 1 done, 0 when a foreground write fell short
  std::uint64_t position;  // file offset of the first byte of the current slot
  std::uint32_t writeMode;  // 1 buffered writing, 0 reading
  // Times a hand-over had to wait for the other slot (diagnostics).
  std::atomic<std::uint32_t> idleWaits;
  // Writes that returned 0 since opening; lets the box writers' size checks
  // tell a short write from a wrong size.
  std::uint32_t failedWrites;
  // A flush or direct write of the caller's fell short.
  bool lostInForeground;
};

// Fills the record: both slots on `file` with their buffers of `capacity`
// bytes, slot A current, position 0. In read mode seek and tell go straight
// to the file.
void openBufferedFile(BufferedFile& record, std::uint8_t* bufferA, std::uint8_t* bufferB, std::uint32_t capacity,
                      std::uint32_t writeMode, std::FILE* file);

// Returns once no background write of this record is in flight.
void waitIdle(BufferedFile& record);

// True once any byte handed to the record failed to reach the file, in the
// caller's thread or in a background write (which reports to nobody). The
// file then has a hole: what follows it is not where it was meant to be.
bool bytesLost(const BufferedFile& record);

// The two buffers of a record, kFileBufferBytes each.
struct FileBuffers {
  alignas(16) std::uint8_t a[kFileBufferBytes];
  alignas(16) std::uint8_t b[kFileBufferBytes];
};
// Opens `record` on `file` with `buffers` at their full size, after any
// background write of the file it had before has finished.
void reopenBufferedFile(BufferedFile& record, FileBuffers& buffers, std::uint32_t writeMode, std::FILE* file);

// ---- Field writers: each goes through the write hook and returns its result.
int writeU8(BufferedFile& file, std::uint8_t value);
int writeU16(BufferedFile& file, std::uint16_t value);  // big-endian
int writeU32(BufferedFile& file, std::uint32_t value);  // big-endian
int writeString(BufferedFile& file, const char* text);  // without the terminator
int writeFill(BufferedFile& file, std::uint8_t value, std::uint32_t count);
int writeBlock(BufferedFile& file, const void* data, std::uint32_t length);

}  // namespace mp4lib::container
