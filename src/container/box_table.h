// The parse table: which handler reads each box type.
#pragma once

#include <cstdint>

#include "container/fourcc.h"
#include "container/parse_context.h"

namespace mp4lib::container {

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

}  // namespace mp4lib::container
