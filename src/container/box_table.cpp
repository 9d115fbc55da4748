#include "reader/box_table.h"

#include "reader/box_handlers.h"

namespace mp4lib::reader {

namespace {

// Searched from the top. "stss" and "ctts" are skipped: key frames and
// composition offsets are never read. "cmov" (a compressed movie header) is
// skipped too, so such movies have no tracks.
constexpr BoxRow kBoxTable[kBoxRowCount + 1] = {
    {boxType("kelv"), readVendorBlock},
    {boxType("co64"), readChunkOffsets},
    {boxType("cprt"), parseChildren},
    {boxType("crhd"), parseChildren},
    {boxType("ctts"), skipPayload},
    {boxType("dinf"), parseChildren},
    {boxType("dpnd"), skipPayload},
    {boxType("dref"), skipPayload},
    {boxType("edts"), parseChildren},
    {boxType("elst"), skipPayload},
    {boxType("free"), skipPayload},
    {boxType("hdlr"), readHandlerReference},
    {boxType("hint"), skipPayload},
    {boxType("hmhd"), skipPayload},
    {boxType("iods"), skipPayload},
    {boxType("mdat"), readMediaData},
    {boxType("mdhd"), readMediaHeader},
    {boxType("mdia"), parseChildren},
    {boxType("minf"), parseChildren},
    {boxType("moov"), readMovie},
    {boxType("mp4a"), parseChildren},
    {boxType("mp4s"), parseChildren},
    {boxType("mp4v"), parseChildren},
    {boxType("mpod"), skipPayload},
    {boxType("mvhd"), readMovieHeader},
    {boxType("nmhd"), skipPayload},
    {boxType("odhd"), parseChildren},
    {boxType("sdhd"), parseChildren},
    {boxType("skip"), parseChildren},
    {boxType("smhd"), skipPayload},
    {boxType("SMI "), readSvq3Extension},
    {boxType("stbl"), parseChildren},
    {boxType("stco"), readChunkOffsets},
    {boxType("stdp"), parseChildren},
    {boxType("stsc"), readSampleToChunk},
    {boxType("stsd"), readSampleDescription},
    {boxType("stsh"), parseChildren},
    {boxType("stss"), skipPayload},
    {boxType("stsz"), readSampleSizes},
    {boxType("stts"), readDecodingTimes},
    {boxType("tkhd"), readTrackHeader},
    {boxType("trak"), readTrack},
    {boxType("tref"), parseChildren},
    {boxType("udta"), skipPayload},
    {boxType("url "), skipPayload},
    {boxType("urn "), skipPayload},
    {boxType("uuid"), parseChildren},
    {boxType("vmhd"), skipPayload},
    {boxType("wave"), parseChildren},
    {boxType("MDES"), skipPayload},
    {boxType("chap"), skipPayload},
    {boxType("clip"), parseChildren},
    {boxType("crgn"), skipPayload},
    {boxType("esds"), readElementaryStreamDescriptor},
    {boxType("kmat"), skipPayload},
    {boxType("matt"), parseChildren},
    {boxType("rdrf"), skipPayload},
    {boxType("rmda"), parseChildren},
    {boxType("rmdr"), skipPayload},
    {boxType("rmra"), parseChildren},
    {boxType("scpt"), skipPayload},
    {boxType("ssrc"), skipPayload},
    {boxType("sync"), skipPayload},
    {boxType("tcmd"), skipPayload},
    {boxType("wide"), readWideWrapper},
    {boxType("cmov"), skipPayload},
    {0, skipPayload},
};

struct CodecTagRow {
  char tag[4];
  std::int32_t codecId;
};

constexpr CodecTagRow kVideoTags[] = {
    {{'j', 'p', 'e', 'g'}, 10}, {{'m', 'p', 'e', 'g'}, 1},  {{'m', 'j', 'p', 'a'}, 10}, {{'m', 'j', 'p', 'b'}, 10},
    {{'A', 'V', 'D', 'J'}, 10}, {{'S', 'V', 'Q', '1'}, 23}, {{'s', 'v', 'q', '1'}, 23}, {{'s', 'v', 'q', 'i'}, 23},
    {{'S', 'V', 'Q', '3'}, 24}, {{'m', 'p', '4', 'v'}, 13}, {{'D', 'I', 'V', 'X'}, 13}, {{'h', '2', '6', '3'}, 4},
    {{'s', '2', '6', '3'}, 4},  {{'d', 'v', 'c', ' '}, 25}, {{'d', 'v', 'c', 'p'}, 25}, {{'V', 'P', '3', '1'}, 35},
    {{0, 0, 0, 0}, 0},
};

constexpr CodecTagRow kAudioTags[] = {
    {{'t', 'w', 'o', 's'}, 50}, {{'r', 'a', 'w', ' '}, 54}, {{'s', 'o', 'w', 't'}, 49},
    {{'u', 'l', 'a', 'w'}, 55}, {{'a', 'l', 'a', 'w'}, 56}, {{'i', 'm', 'a', '4'}, 57},
    {{'M', 'A', 'C', '3'}, 29}, {{'M', 'A', 'C', '6'}, 30}, {{'.', 'm', 'p', '3'}, 6},
    {{0x55, 0x00, 's', 'm'}, 6}, {{'m', 's', 0x00, 0x55}, 6}, {{'m', 'p', '4', 'a'}, 36},
    {{'s', 'a', 'm', 'r'}, 63}, {{'g', '7', '2', '3'}, 69},  {{0, 0, 0, 0}, 0},
};

// ASCII only: a tag's case must not depend on the C locale.
std::uint8_t upper(std::uint8_t c) { return (c >= 'a' && c <= 'z') ? static_cast<std::uint8_t>(c - 'a' + 'A') : c; }

bool sameTag(const CodecTagRow& row, std::uint32_t tag) {
  for (int i = 0; i < 4; ++i) {
    const auto fileChar = static_cast<std::uint8_t>(tag >> (8 * i));
    if (upper(fileChar) != upper(static_cast<std::uint8_t>(row.tag[i]))) return false;
  }
  return true;
}

bool isTerminator(const CodecTagRow& row) {
  return row.tag[0] == 0 && row.tag[1] == 0 && row.tag[2] == 0 && row.tag[3] == 0;
}

std::int32_t lookUpTag(const CodecTagRow* rows, std::uint32_t tag) {
  for (; !isTerminator(*rows); ++rows) {
    if (sameTag(*rows, tag)) return rows->codecId;
  }
  return 0;
}

}  // namespace

const BoxRow* boxTable() { return kBoxTable; }

BoxHandler handlerFor(std::uint32_t type) {
  const BoxRow* row = kBoxTable;
  while (row->type != 0 && row->type != type) ++row;
  return row->handler;
}

std::int32_t videoCodecIdForTag(std::uint32_t tag) { return lookUpTag(kVideoTags, tag); }
std::int32_t audioCodecIdForTag(std::uint32_t tag) { return lookUpTag(kAudioTags, tag); }

std::int32_t codecKindForId(std::int32_t id) {
  if (id == 4 || id == 13 || (id >= 15 && id <= 21) || id == 33) return 0;
  if ((id >= 6 && id <= 9) || id == 36 || id == 37 || (id >= 49 && id <= 63) || id == 69) return 1;
  return -1;
}

}  // namespace mp4lib::reader
