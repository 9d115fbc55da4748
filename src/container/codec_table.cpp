#include "container/codec_table.h"

#include "container/fourcc.h"
#include "mp4lib_plugin.h"

namespace mp4lib::container {

namespace {

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
    if (upper(fourccChar(tag, i)) != upper(static_cast<std::uint8_t>(row.tag[i]))) return false;
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

std::int32_t videoCodecIdForTag(std::uint32_t tag) { return lookUpTag(kVideoTags, tag); }
std::int32_t audioCodecIdForTag(std::uint32_t tag) { return lookUpTag(kAudioTags, tag); }

std::int32_t codecKindForId(std::int32_t id) {
  if (id == 4 || id == 13 || (id >= 15 && id <= 21) || id == 33) return MP4LIB_KIND_VIDEO;
  if ((id >= 6 && id <= 9) || id == 36 || id == 37 || (id >= 49 && id <= 63) || id == 69) return MP4LIB_KIND_AUDIO;
  return MP4LIB_KIND_UNSUPPORTED;
}

std::uint32_t videoCodecTypeForId(std::int32_t codecId) {
  switch (codecId) {
    case MP4LIB_CODEC_ID_MPEG4V: return MP4LIB_CODEC_TYPE_MPEG4V;
    case MP4LIB_CODEC_ID_VIDEO_70: return MP4LIB_CODEC_TYPE_VIDEO_70;
    case MP4LIB_CODEC_ID_MPEG1V: return MP4LIB_CODEC_TYPE_MPEG1V;
    case 2: return MP4LIB_CODEC_TYPE_VIDEO_2;
    case 33: return MP4LIB_CODEC_TYPE_VIDEO_33;
    default: return MP4LIB_CODEC_TYPE_H263;
  }
}

std::uint32_t audioCodecTypeForId(std::int32_t codecId) {
  switch (codecId) {
    case MP4LIB_CODEC_ID_PCM_LE: return MP4LIB_CODEC_TYPE_PCM;
    case 8: return MP4LIB_CODEC_TYPE_AUDIO_8;
    case 7: return MP4LIB_CODEC_TYPE_AUDIO_7;
    case MP4LIB_CODEC_ID_AMR: return MP4LIB_CODEC_TYPE_AMR;
    case MP4LIB_CODEC_ID_AAC:
    case 37: return MP4LIB_CODEC_TYPE_AAC;
    default: return MP4LIB_CODEC_TYPE_G723;
  }
}

}  // namespace mp4lib::container
