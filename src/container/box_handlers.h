// The box handlers of the parse table. Each reads the payload of one box
// (payload offset and size in bytes) into the parse context; see
// box_table.h for the result convention.
#pragma once

#include <cstdint>

#include "container/parse_context.h"

namespace mp4lib::container {

// Containers: the parse loop over the payload's child boxes.
std::int32_t parseChildren(ParseContext& context, std::uint32_t type, std::int64_t offset, std::int64_t size);
// The same, for children that may run past `size` up to the file offset
// `limit` (the end of the box that holds them), but no further.
std::int32_t parseChildrenWithin(ParseContext& context, std::uint32_t type, std::int64_t offset, std::int64_t size,
                                 std::int64_t limit);
// Boxes the reader has no use for, and types the table does not name.
std::int32_t skipPayload(ParseContext& context, std::uint32_t type, std::int64_t offset, std::int64_t size);

// Movie level (movie_boxes.cpp).
std::int32_t readMovie(ParseContext& context, std::uint32_t type, std::int64_t offset, std::int64_t size);
std::int32_t readMediaData(ParseContext& context, std::uint32_t type, std::int64_t offset, std::int64_t size);
std::int32_t readMovieHeader(ParseContext& context, std::uint32_t type, std::int64_t offset, std::int64_t size);
std::int32_t readVendorBlock(ParseContext& context, std::uint32_t type, std::int64_t offset, std::int64_t size);
std::int32_t readWideWrapper(ParseContext& context, std::uint32_t type, std::int64_t offset, std::int64_t size);

// Track level (track_boxes.cpp).
std::int32_t readTrack(ParseContext& context, std::uint32_t type, std::int64_t offset, std::int64_t size);
std::int32_t readTrackHeader(ParseContext& context, std::uint32_t type, std::int64_t offset, std::int64_t size);
std::int32_t readMediaHeader(ParseContext& context, std::uint32_t type, std::int64_t offset, std::int64_t size);
std::int32_t readHandlerReference(ParseContext& context, std::uint32_t type, std::int64_t offset, std::int64_t size);

// Sample descriptions and what they carry (sample_description.cpp).
std::int32_t readSampleDescription(ParseContext& context, std::uint32_t type, std::int64_t offset, std::int64_t size);
std::int32_t readElementaryStreamDescriptor(ParseContext& context, std::uint32_t type, std::int64_t offset,
                                            std::int64_t size);
std::int32_t readSvq3Extension(ParseContext& context, std::uint32_t type, std::int64_t offset, std::int64_t size);

// Sample tables (sample_index.cpp).
std::int32_t readSampleSizes(ParseContext& context, std::uint32_t type, std::int64_t offset, std::int64_t size);
std::int32_t readDecodingTimes(ParseContext& context, std::uint32_t type, std::int64_t offset, std::int64_t size);
std::int32_t readSampleToChunk(ParseContext& context, std::uint32_t type, std::int64_t offset, std::int64_t size);
std::int32_t readChunkOffsets(ParseContext& context, std::uint32_t type, std::int64_t offset, std::int64_t size);

}  // namespace mp4lib::container
