#include "container/box_parser.h"

#include <algorithm>

#include <cstdio>

#include "container/box_handlers.h"
#include "container/box_table.h"

namespace mp4lib::container {

namespace {

constexpr std::int64_t kWholeFile = 0x7FFFFFFFFFFFFFFF;
// No box reaches beyond this offset (bytes), so that offsets plus sizes
// cannot overflow whatever sizes a file claims.
constexpr std::int64_t kPositionLimit = std::int64_t{1} << 62;
// Parents at least this large are left where their last child ended rather
// than skipped to their end (bytes).
constexpr std::int64_t kSkipRestLimit = 0x7FFFF;

struct DepthGuard {
  explicit DepthGuard(ParseContext& c) : context(c) { ++context.depth; }
  ~DepthGuard() { --context.depth; }
  ParseContext& context;
};

}  // namespace

TrackRecord* currentTrack(ParseContext& context) {
  const int count = context.movie.trackCount;
  if (count < 1 || count > kMaxTracks) return nullptr;
  return &context.movie.tracks[count - 1];
}

std::int64_t bytesAvailable(const ParseContext& context, std::int64_t position, std::int64_t boxEnd) {
  std::int64_t end = boxEnd;
  if (context.fileLength >= 0 && context.fileLength < end) end = context.fileLength;
  return end > position ? end - position : 0;
}

std::int32_t skipPayload(ParseContext& context, std::uint32_t, std::int64_t, std::int64_t size) {
  skipInput(context.in, size);
  return 0;
}

std::int32_t parseChildren(ParseContext& context, std::uint32_t type, std::int64_t offset, std::int64_t size) {
  return parseChildrenWithin(context, type, offset, size, size < 0 ? -1 : offset + size);
}

std::int32_t parseChildrenWithin(ParseContext& context, std::uint32_t, std::int64_t offset, std::int64_t size,
                                 std::int64_t limit) {
  const bool wholeFile = size < 0;
  if (wholeFile) size = kWholeFile;
  if (size < 8) return 0;
  if (context.depth >= kMaxBoxDepth) return skipPayload(context, 0, offset, size);
  DepthGuard guard(context);

  InputFile& in = context.in;
  std::int64_t consumed = 0;
  std::int32_t status = 0;
  while (!atEnd(in) && status == 0) {
    std::uint32_t declared = 0;
    std::uint32_t type = 0;
    if (size - consumed >= 8) {
      declared = readBE32(in);
      type = readBE32(in);
    }
    consumed += 8;
    std::int64_t boxSize = declared;
    if (declared == 1) {
      const std::uint64_t large = readBE64(in);
      boxSize = large > static_cast<std::uint64_t>(kWholeFile) ? -1 : static_cast<std::int64_t>(large) - 8;
      consumed += 8;
    }
    if (declared == 0) {
      // The last box of its parent may leave its size open: it runs, header
      // and all, to the parent's end.
      boxSize = size - (consumed - 8);
      if (boxSize < 9) break;
    } else if (boxSize < 8) {
      // A box smaller than its own header would never move the loop on.
      break;
    }

    const std::int64_t payloadOffset = offset + consumed;
    if (payloadOffset > kPositionLimit) break;
    std::int64_t payloadSize = boxSize - 8;
    if (payloadSize > kPositionLimit - payloadOffset) payloadSize = kPositionLimit - payloadOffset;
    // A box is read no further than its parent's end: one that claims more
    // would have every level above it read the same bytes again, twice as
    // often at each level.
    if (limit >= 0 && payloadSize > limit - payloadOffset) payloadSize = std::max<std::int64_t>(limit - payloadOffset, 0);
    status = handlerFor(type)(context, type, payloadOffset, payloadSize);
    // Whatever a handler read (a name it had no use for, a table cut short),
    // the next box starts where this one ends.
    if (status == 0 && tellInput(in) != payloadOffset + payloadSize) {
      seekInput(in, payloadOffset + payloadSize, SEEK_SET);
    }
    consumed += payloadSize;
    if (consumed + 8 >= size) break;
  }
  if (consumed < size && (size < kSkipRestLimit || wholeFile)) skipInput(in, size - consumed);
  return status;
}

std::int32_t readHeader(ParseContext& context) {
  // Measuring the length also rewinds to offset 0, where parsing starts.
  context.fileLength = fileLength(context.in);
  const std::int32_t status = parseChildren(context, 0, 0, context.fileLength);
  MovieContext& movie = context.movie;
  if (status < 0 || (!movie.moovSeen && !movie.mdatSeen)) return -1;
  if (tellInput(context.in) != static_cast<std::int64_t>(movie.mdatOffset)) {
    seekInput(context.in, static_cast<std::int64_t>(movie.mdatOffset), SEEK_SET);
  }
  movie.readPosition = movie.mdatOffset;
  movie.streamCount = static_cast<std::uint32_t>(movie.trackCount);
  return 0;
}

}  // namespace mp4lib::container
