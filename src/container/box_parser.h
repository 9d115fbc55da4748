// Reading a file's box tree into the movie record.
#pragma once

#include <cstdint>

#include "container/parse_context.h"

namespace mp4lib::container {

// Containers nest at most this deep; deeper boxes are skipped whole, so a
// file cannot exhaust the stack (a level takes well under 1 KiB of it, even
// with the address checker's frames). Real movies nest about 10 deep.
constexpr int kMaxBoxDepth = 128;

// Parses the whole file from offset 0 and leaves the reader at the media
// data payload. 0 on success; -1 when a handler failed or the file has
// neither "moov" nor "mdat" (one of the two is enough).
std::int32_t readHeader(ParseContext& context);

}  // namespace mp4lib::container
