// A small box tree for writing test movies byte by byte: each box is a type,
// its own payload bytes and its children, written in order. The layout of
// every box written (start, payload, end) is kept, so that tests can cut a
// file at a box boundary or patch a field in place.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace mp4lib::malformed {

using Bytes = std::vector<std::uint8_t>;

enum class SizeForm {
  kExact,  // 32-bit size of the box as written
  kZero,   // size 0: the box runs to the end of its parent
  kLarge,  // size 1 and a 64-bit size of the box as written
  kGiven,  // the 32-bit value in givenSize, whatever the box holds
};

struct Box {
  std::string type;  // four characters
  Bytes payload;     // bytes after the header and before the children
  std::vector<Box> children;
  SizeForm sizeForm = SizeForm::kExact;
  std::uint32_t givenSize = 0;
  // Chunk offsets of the track's samples, filled in when written: the
  // payload is then version and flags, the count and one offset per sample.
  int chunkOffsetsOfTrack = -1;
};

struct BoxPlace {
  std::string path;  // "moov/trak#1/mdia/minf/stbl/stco"
  std::size_t start = 0;
  std::size_t payloadStart = 0;
  std::size_t end = 0;
};

// Big-endian fields.
void put16(Bytes& out, std::uint32_t value);
void put32(Bytes& out, std::uint32_t value);
void put64(Bytes& out, std::uint64_t value);
void putType(Bytes& out, const std::string& type);
void append(Bytes& out, const Bytes& more);
void patch32(Bytes& bytes, std::size_t at, std::uint32_t value);

// Sets a 32-bit field of a box's own payload, `at` bytes from its start.
void patchPayload32(Box& box, std::size_t at, std::uint32_t value);

Box leaf(const std::string& type, Bytes payload);
Box fullBox(const std::string& type, std::uint32_t versionAndFlags, Bytes fields);
Box container(const std::string& type, std::vector<Box> children);

// The box at a path of types from `root`'s children ("#n" picks the n-th of
// that type, from 0); null when there is none.
Box* findBox(Box& root, const std::string& path);

// A movie: the top-level boxes in file order, and each track's samples,
// which live in the payload of the first top-level box of type samplesBox
// that has no payload of its own (all of one track, then all of the next).
struct Movie {
  std::vector<Box> boxes;
  std::vector<std::vector<Bytes>> trackSamples;
  std::string samplesBox = "mdat";  // the top-level box whose payload holds the samples
  Box& box(const std::string& path);
};

struct WrittenMovie {
  Bytes bytes;
  std::vector<BoxPlace> places;  // every box, in file order
  const BoxPlace& place(const std::string& path) const;
};

// Writes the boxes; the mdat payload is the samples, and every chunk-offset
// box flagged for a track receives the file offsets of that track's samples.
WrittenMovie writeMovie(const Movie& movie);

}  // namespace mp4lib::malformed
