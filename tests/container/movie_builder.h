// Hand-made 3GP/MP4 files for the reader's tests, box by box from literal
// field values (never through the library's own writer).
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "container/bytes.h"

namespace mp4lib::test {

Bytes ftyp();
Bytes mvhd(std::uint32_t timeScale, std::uint32_t duration, std::uint32_t creationTime = 0);
Bytes tkhd(std::uint32_t trackId, std::uint32_t duration, std::uint32_t width, std::uint32_t height,
           std::uint32_t creationTime = 0);
Bytes mdhd(std::uint32_t timeScale, std::uint32_t duration);
// componentType: "" for 0 (MP4), or four characters ("mhlr", "dhlr").
Bytes hdlr(const std::string& componentType, const std::string& subtype, const Bytes& name);

// Sample entries (the contents of "stsd").
Bytes videoEntry(const std::string& tag, std::uint16_t width, std::uint16_t height, const Bytes& boxes = {},
                 std::uint16_t depth = 0x18);
// Version 0 sound entry; `rest` follows the 20 bytes of fields (version 1
// words, codec boxes).
Bytes soundEntry(const std::string& tag, std::uint16_t version, std::uint16_t channels, std::uint16_t bits,
                 std::uint32_t rate, const Bytes& rest = {});
Bytes amrEntry(std::uint16_t modeSet, std::uint8_t modeChangePeriod, std::uint8_t framesPerSample);
Bytes esds(std::uint8_t objectType, std::uint8_t streamType, std::uint32_t bufferSize, std::uint32_t maxBitRate,
           std::uint32_t averageBitRate, const Bytes& decoderSpecificInfo);

Bytes stsd(const std::vector<Bytes>& entries);
Bytes stts(const std::vector<std::pair<std::uint32_t, std::uint32_t>>& runs);
Bytes stsc(const std::vector<std::array<std::uint32_t, 3>>& runs);
Bytes stsz(std::uint32_t constantSize, std::uint32_t count, const std::vector<std::uint32_t>& sizes);
Bytes stco(const std::vector<std::uint32_t>& offsets);
Bytes co64(const std::vector<std::uint64_t>& offsets);

// trak > tkhd, mdia > (mdhd, hdlr, minf > (dinf, stbl > children)).
Bytes trak(const Bytes& trackHeader, const Bytes& mediaHeader, const Bytes& handler, const std::vector<Bytes>& stbl);

// The vendor header box "kelv": twelve big-endian words, then the audio
// codec type (32), bits (16), 0 (16), rate (32), channels (16), 0 (16), all
// little-endian, as the library writes it.
struct VendorWords {
  std::uint32_t words[12] = {0x574D5648, 0x00010005};
  std::uint32_t audioCodecType = 0;
  std::uint16_t audioBits = 0;
  std::uint32_t audioRate = 0;
  std::uint16_t audioChannels = 0;
  // Word 11 as the recorder stores it: the video codec type in host order.
  void videoCodecTypeInHostOrder(std::uint32_t type);
};
Bytes kelv(const VendorWords& vendor);

// A movie laid out from sample contents.
struct TrackLayout {
  bool video = true;
  Bytes entry;                  // the "stsd" entry
  std::vector<Bytes> samples;   // contents, in order
  std::vector<std::uint32_t> chunkSamples;  // samples per chunk, in order; empty: one per chunk
  std::vector<std::pair<std::uint32_t, std::uint32_t>> timing;  // "stts" runs
  std::uint32_t timeScale = 1000;
  std::uint32_t mediaDuration = 0;
  std::uint32_t trackDuration = 0;  // movie units
  std::uint32_t width = 0;          // track header
  std::uint32_t height = 0;
  std::uint32_t constantSize = 0;   // nonzero: "stsz" gives this size, no list
  bool stscAfterStco = false;
  std::string handlerComponent;     // "" (MP4) or "mhlr"
};

struct MovieLayout {
  std::vector<TrackLayout> tracks;
  bool moovFirst = false;
  bool withVendor = false;
  VendorWords vendor;
  std::uint32_t timeScale = 1000;
  std::uint32_t duration = 0;
};

struct BuiltMovie {
  Bytes bytes;
  std::vector<std::vector<std::uint32_t>> chunkOffsets;   // per track
  std::vector<std::vector<std::uint32_t>> sampleOffsets;  // per track
  std::uint32_t mdatPayloadOffset = 0;
};

BuiltMovie buildMovie(const MovieLayout& layout);

// `count` samples of `size` bytes; byte 0 is `first(i)`, the rest count up.
std::vector<Bytes> makeSamples(std::size_t count, std::uint32_t size, std::uint8_t (*first)(std::size_t) = nullptr);

}  // namespace mp4lib::test
