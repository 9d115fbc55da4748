// The parse table (box type -> handler) and the codec tag tables.
#pragma once

#include <cstdint>

#include "reader/parse_context.h"

namespace mp4lib::reader {

// A box type as the reader reads it (little-endian), so that its bytes in
// memory are the four characters in file order.
constexpr std::uint32_t boxType(const char (&name)[5]) {
  return std::uint32_t{static_cast<std::uint8_t>(name[0])} | (std::uint32_t{static_cast<std::uint8_t>(name[1])} << 8) |
         (std::uint32_t{static_cast<std::uint8_t>(name[2])} << 16) |
         (std::uint32_t{static_cast<std::uint8_t>(name[3])} << 24);
}

// Every handler gets the payload's file offset and size in bytes and returns
// 0 to go on, a positive value to stop early with success, or a negative
// value for failure.
using BoxHandler = std::int32_t (*)(ParseContext& context, std::uint32_t type, std::int64_t payloadOffset,
                                    std::int64_t payloadSize);

struct BoxRow {
  std::uint32_t type;
  BoxHandler handler;
};

// The table in its search order; the last row (type 0) is the terminator.
constexpr int kBoxRowCount = 66;
const BoxRow* boxTable();

// The handler of `type`: the first row that names it, else the terminator's.
BoxHandler handlerFor(std::uint32_t type);

// Codec id of a sample entry tag, matched without regard to letter case;
// 0 when the table has no such tag.
std::int32_t videoCodecIdForTag(std::uint32_t tag);
std::int32_t audioCodecIdForTag(std::uint32_t tag);

// 0 video, 1 audio, -1 unsupported, by codec id.
std::int32_t codecKindForId(std::int32_t codecId);

}  // namespace mp4lib::reader
