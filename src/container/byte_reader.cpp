#include "container/byte_reader.h"

#include <climits>
#include <cstring>

#include "platform/memory.h"

namespace mp4lib::container {

namespace {

bool hooked(const InputFile& file) { return file.hookFlag != 0; }

std::int64_t windowPosition(const InputFile& file) { return file.windowStart + file.windowIndex; }

// A 64-bit position as the C runtime's fseek sees it: the low 32 bits, signed.
std::int64_t low32(std::int64_t position) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(position) & 0xFFFFFFFFu));
}

bool seekStream(InputFile& file, std::int64_t position) {
  if (position < 0 || position > LONG_MAX) return false;
  if (file.streamPosition == position) return true;
  if (std::fseek(file.stream, static_cast<long>(position), SEEK_SET) != 0) {
    file.streamPosition = -1;
    return false;
  }
  file.streamPosition = position;
  return true;
}

// Refills the window from the current position. False at the end of the file.
bool refill(InputFile& file) {
  const std::int64_t position = windowPosition(file);
  file.windowStart = position;
  file.windowFill = 0;
  file.windowIndex = 0;
  if (!seekStream(file, position)) return false;
  const std::size_t got = std::fread(file.window, 1, kReadWindowBytes, file.stream);
  file.streamPosition = position + static_cast<std::int64_t>(got);
  file.windowFill = static_cast<std::uint32_t>(got);
  return got > 0;
}

// Moves the window to an absolute position; one that the window holds (or
// its end) costs nothing. A negative position fails as fseek would, leaving
// everything where it was.
void moveTo(InputFile& file, std::int64_t position) {
  if (position < 0) return;
  file.pastEnd = false;
  if (position >= file.windowStart && position <= file.windowStart + file.windowFill) {
    file.windowIndex = static_cast<std::uint32_t>(position - file.windowStart);
    return;
  }
  file.windowStart = position;
  file.windowFill = 0;
  file.windowIndex = 0;
}

std::int64_t streamLength(InputFile& file) {
  if (std::fseek(file.stream, 0, SEEK_END) != 0) {
    file.streamPosition = -1;
    return -1;
  }
  const long end = std::ftell(file.stream);
  file.streamPosition = end;
  return end;
}

}  // namespace

bool openInput(InputFile& file, std::FILE* stream) {
  file = InputFile{};
  file.window = static_cast<std::uint8_t*>(platform::allocate(kReadWindowBytes));
  if (file.window == nullptr) return false;
  file.stream = stream;
  file.streamPosition = -1;
  return true;
}

void closeInput(InputFile& file) {
  if (file.stream != nullptr) std::fclose(file.stream);
  platform::release(file.window);
  file = InputFile{};
}

void setHooks(InputFile& file, InputSeekHook seek, InputTellHook tell) {
  // Hand the stream over where the reader stands, so that direct reads go
  // on from there.
  if (!hooked(file) && file.stream != nullptr) {
    const std::int64_t position = windowPosition(file);
    file.streamPosition = -1;
    seekStream(file, position);
    file.windowStart = position;
    file.windowFill = 0;
    file.windowIndex = 0;
  }
  file.seekHook = seek;
  file.tellHook = tell;
  const bool wasHooked = hooked(file);
  file.hookFlag = (seek != nullptr || tell != nullptr) ? 1 : 0;
  // Taking the stream back: the window starts where the stream now stands.
  if (wasHooked && !hooked(file) && file.stream != nullptr) {
    const long position = std::ftell(file.stream);
    file.streamPosition = position;
    file.windowStart = position < 0 ? 0 : position;
    file.windowFill = 0;
    file.windowIndex = 0;
  }
}

std::uint32_t readByte(InputFile& file) {
  if (hooked(file)) {
    const int c = std::fgetc(file.stream);
    return c == EOF ? 0u : static_cast<std::uint32_t>(c);
  }
  if (file.windowIndex == file.windowFill && !refill(file)) {
    file.pastEnd = true;
    return 0;
  }
  return file.window[file.windowIndex++];
}

std::int32_t readBlock(InputFile& file, void* buffer, std::uint32_t n) {
  if (n == 0) return 0;
  auto* out = static_cast<std::uint8_t*>(buffer);
  if (hooked(file)) {
    return std::fread(out, 1, n, file.stream) == n ? static_cast<std::int32_t>(n) : 0;
  }
  std::uint32_t done = 0;
  while (done < n) {
    std::uint32_t available = file.windowFill - file.windowIndex;
    const std::uint32_t wanted = n - done;
    if (available == 0 && wanted >= kReadWindowBytes) {
      // Large samples go straight from the stream into the caller's buffer.
      const std::int64_t position = windowPosition(file);
      std::size_t got = 0;
      if (seekStream(file, position)) {
        got = std::fread(out + done, 1, wanted, file.stream);
        file.streamPosition = position + static_cast<std::int64_t>(got);
      }
      file.windowStart = position + static_cast<std::int64_t>(got);
      file.windowFill = 0;
      file.windowIndex = 0;
      done += static_cast<std::uint32_t>(got);
      if (done < n) break;
      continue;
    }
    if (available == 0) {
      if (!refill(file)) break;
      available = file.windowFill;
    }
    const std::uint32_t take = available < wanted ? available : wanted;
    std::memcpy(out + done, file.window + file.windowIndex, take);
    file.windowIndex += take;
    done += take;
  }
  if (done < n) {
    file.pastEnd = true;
    return 0;
  }
  return static_cast<std::int32_t>(n);
}

std::uint32_t readBE16(InputFile& file) {
  const std::uint32_t high = readByte(file);
  return (high << 8) | readByte(file);
}

std::uint32_t readBE24(InputFile& file) {
  const std::uint32_t high = readBE16(file);
  return (high << 8) | readByte(file);
}

namespace detail {
std::uint32_t readBE32Slow(InputFile& file) {
  const std::uint32_t high = readBE16(file);
  return (high << 16) | readBE16(file);
}
}  // namespace detail

std::uint64_t readBE64(InputFile& file) {
  const std::uint64_t high = readBE32(file);
  return (high << 32) | readBE32(file);
}

std::uint32_t readDescriptorLength(InputFile& file) {
  std::uint32_t value = 0;
  for (int taken = 0; taken < 4; ++taken) {
    const std::uint32_t byte = readByte(file);
    value = (value << 7) | (byte & 0x7F);
    if ((byte & 0x80) == 0) break;
  }
  return value;
}

std::int64_t seekInput(InputFile& file, std::int64_t position, std::int32_t whence) {
  if (hooked(file)) {
    if (file.seekHook != nullptr) {
      const auto bits = static_cast<std::uint64_t>(position);
      file.seekHook(&file, static_cast<std::uint32_t>(bits), static_cast<std::uint32_t>(bits >> 32), whence);
    }
    return position;
  }
  const std::int64_t offset = low32(position);
  switch (whence) {
    case SEEK_SET: moveTo(file, offset); break;
    case SEEK_CUR: moveTo(file, windowPosition(file) + offset); break;
    case SEEK_END: {
      const std::int64_t end = streamLength(file);
      if (end >= 0) moveTo(file, end + offset);
      break;
    }
    default: break;
  }
  return position;
}

std::int64_t skipInput(InputFile& file, std::int64_t count) { return seekInput(file, count, SEEK_CUR); }

std::int64_t tellInput(const InputFile& file) {
  if (hooked(file)) return file.tellHook != nullptr ? file.tellHook(const_cast<InputFile*>(&file)) : -1;
  return low32(windowPosition(file));
}

bool atEnd(const InputFile& file) {
  if (hooked(file)) return std::feof(file.stream) != 0;
  return file.pastEnd;
}

std::int64_t fileLength(InputFile& file) {
  const std::int64_t kept = seekInput(file, 0, SEEK_CUR);
  seekInput(file, 0, SEEK_END);
  const std::int64_t length = tellInput(file);
  seekInput(file, kept, SEEK_SET);
  return length;
}

std::FILE* streamOf(const InputFile& file) { return file.stream; }

}  // namespace mp4lib::container
