// A few lines that find boxes by path in a file's bytes, so that tests can
// read a real file's chunk tables without the library's parser.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "container/bytes.h"

namespace mp4lib::test {

struct FoundBox {
  std::size_t payload;  // offset of the payload in the file
  std::size_t size;     // payload bytes
};

inline std::uint32_t be32(const Bytes& b, std::size_t at) {
  return (std::uint32_t{b[at]} << 24) | (std::uint32_t{b[at + 1]} << 16) | (std::uint32_t{b[at + 2]} << 8) | b[at + 3];
}

// Children of type `type` within [begin, end). Sizes 0 and 1 are handled.
inline std::vector<FoundBox> childBoxes(const Bytes& b, std::size_t begin, std::size_t end, const std::string& type) {
  std::vector<FoundBox> found;
  std::size_t at = begin;
  while (at + 8 <= end) {
    std::uint64_t size = be32(b, at);
    std::size_t header = 8;
    if (size == 1) {
      size = (std::uint64_t{be32(b, at + 8)} << 32) | be32(b, at + 12);
      header = 16;
    } else if (size == 0) {
      size = end - at;
    }
    if (size < header || at + size > end) break;
    if (std::string(b.begin() + static_cast<std::ptrdiff_t>(at + 4), b.begin() + static_cast<std::ptrdiff_t>(at + 8)) == type) {
      found.push_back({at + header, static_cast<std::size_t>(size) - header});
    }
    at += static_cast<std::size_t>(size);
  }
  return found;
}

// The box at a path of types below `parent` (first match at each level).
inline bool findPath(const Bytes& b, FoundBox parent, const std::vector<std::string>& path, FoundBox* out) {
  FoundBox current = parent;
  for (const std::string& type : path) {
    const auto children = childBoxes(b, current.payload, current.payload + current.size, type);
    if (children.empty()) return false;
    current = children.front();
  }
  *out = current;
  return true;
}

// The chunk tables of one track as the file stores them.
struct ChunkTables {
  std::uint32_t constantSize = 0;
  std::uint32_t sampleCount = 0;
  std::vector<std::uint32_t> chunkOffsets;
  std::vector<std::uint32_t> samplesPerChunk;  // per chunk, from the sample-to-chunk runs
  std::uint32_t lastRunFirstChunk = 0;         // 1-based
};

inline std::vector<ChunkTables> chunkTablesOf(const Bytes& b) {
  std::vector<ChunkTables> tracks;
  const auto moov = childBoxes(b, 0, b.size(), "moov");
  if (moov.empty()) return tracks;
  for (const FoundBox& trak : childBoxes(b, moov[0].payload, moov[0].payload + moov[0].size, "trak")) {
    FoundBox stbl{};
    if (!findPath(b, trak, {"mdia", "minf", "stbl"}, &stbl)) continue;
    ChunkTables t;
    FoundBox box{};
    if (findPath(b, stbl, {"stsz"}, &box)) {
      t.constantSize = be32(b, box.payload + 4);
      t.sampleCount = be32(b, box.payload + 8);
    }
    if (findPath(b, stbl, {"stco"}, &box)) {
      const std::uint32_t n = be32(b, box.payload + 4);
      for (std::uint32_t i = 0; i < n; ++i) t.chunkOffsets.push_back(be32(b, box.payload + 8 + 4 * i));
    }
    if (findPath(b, stbl, {"stsc"}, &box)) {
      const std::uint32_t runs = be32(b, box.payload + 4);
      if (runs > 0) t.lastRunFirstChunk = be32(b, box.payload + 8 + 12 * (runs - 1));
      for (std::uint32_t r = 0; r < runs; ++r) {
        const std::uint32_t first = be32(b, box.payload + 8 + 12 * r);
        const std::uint32_t next = r + 1 < runs ? be32(b, box.payload + 8 + 12 * (r + 1))
                                                : static_cast<std::uint32_t>(t.chunkOffsets.size()) + 1;
        for (std::uint32_t c = first; c < next; ++c) t.samplesPerChunk.push_back(be32(b, box.payload + 12 + 12 * r));
      }
    }
    tracks.push_back(t);
  }
  return tracks;
}

}  // namespace mp4lib::test
