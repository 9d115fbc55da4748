// The input side of the movie reader: a small record around the open file
// through which every box handler and every sample read fetches bytes.
//
// Integers in boxes are big-endian, and so are box types: a type read as a
// big-endian word is its fourcc(). Reads past the end give zero bytes (single
// values) or 0 (blocks); seeks report the position asked for, whatever
// happened. Callers notice trouble through atEnd, a zero block result or the
// sizes they parse.
//
// Without hooks the reader keeps its own read-ahead window over the stream,
// so the hot tables (one 32-bit value per sample) cost no stdio call per
// value. A position is still what the stream would report: seeks use only
// the low 32 bits of a position (files beyond 2 GB are not addressable this
// way), and tell is sign-extended from 32 bits. With hooks installed, seek
// and tell go through them and bytes are read straight from the stream, so
// the hooks alone decide where it stands.
#pragma once

#include <cstdint>
#include <cstdio>

namespace mp4lib::container {

struct InputFile;

// Seek to a position given as low and high 32-bit halves; whence as fseek
// (0 start, 1 current, 2 end). The result is not looked at.
using InputSeekHook = std::int32_t (*)(InputFile* file, std::uint32_t low, std::uint32_t high, std::int32_t whence);
using InputTellHook = std::int64_t (*)(InputFile* file);

constexpr std::uint32_t kReadWindowBytes = 64 * 1024;

struct InputFile {
  std::FILE* stream = nullptr;
  InputSeekHook seekHook = nullptr;
  InputTellHook tellHook = nullptr;
  std::int32_t hookFlag = 0;  // 0: stream and read-ahead window; nonzero: hooks
  void* hookData = nullptr;   // for the hooks' own use

  // Read-ahead window: bytes [windowStart, windowStart + windowFill) of the
  // file, of which windowIndex have been handed out.
  std::uint8_t* window = nullptr;
  std::uint32_t windowFill = 0;
  std::uint32_t windowIndex = 0;
  std::int64_t windowStart = 0;
  std::int64_t streamPosition = -1;  // where the stream itself stands; -1 unknown
  bool pastEnd = false;              // a read ran past the end (cleared by seeks, as feof)
};

// Takes over an open stream (binary read mode). False when the window
// cannot be allocated; the stream is then left open.
bool openInput(InputFile& file, std::FILE* stream);
// Closes the stream and frees the window; the record is cleared.
void closeInput(InputFile& file);
// Installs (or, with nulls, removes) the seek and tell hooks.
void setHooks(InputFile& file, InputSeekHook seek, InputTellHook tell);

std::uint32_t readByte(InputFile& file);
// n bytes into buffer: n when all arrived, else 0 (a short read is a failure
// although the bytes that did arrive are stored).
std::int32_t readBlock(InputFile& file, void* buffer, std::uint32_t n);
std::uint32_t readBE16(InputFile& file);
std::uint32_t readBE24(InputFile& file);
std::uint64_t readBE64(InputFile& file);
// Descriptor length: up to four bytes of seven bits each, while bit 7 is set.
std::uint32_t readDescriptorLength(InputFile& file);

std::int64_t seekInput(InputFile& file, std::int64_t position, std::int32_t whence);
std::int64_t skipInput(InputFile& file, std::int64_t count);
std::int64_t tellInput(const InputFile& file);
bool atEnd(const InputFile& file);
// Length of the file. Leaves the reader at offset 0, not where it was: the
// first seek's "result" is the 0 it asked for, and that is where it returns.
std::int64_t fileLength(InputFile& file);
std::FILE* streamOf(const InputFile& file);

namespace detail {
std::uint32_t readBE32Slow(InputFile& file);
}

// Hot path of the sample tables: straight from the window when four bytes
// are there.
inline std::uint32_t readBE32(InputFile& file) {
  if (file.hookFlag == 0 && file.windowFill - file.windowIndex >= 4) {
    const std::uint8_t* p = file.window + file.windowIndex;
    file.windowIndex += 4;
    return (std::uint32_t{p[0]} << 24) | (std::uint32_t{p[1]} << 16) | (std::uint32_t{p[2]} << 8) | p[3];
  }
  return detail::readBE32Slow(file);
}

}  // namespace mp4lib::container
