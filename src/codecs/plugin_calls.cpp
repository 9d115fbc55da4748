#include "codecs/plugin_calls.h"

namespace mp4lib::codecs {

namespace {

constexpr std::uint8_t kVideoObjectPlane = 0xB6;

bool startsWithStartCode(const std::uint8_t* bytes, std::uint32_t length) {
  return length >= 4 && bytes[0] == 0 && bytes[1] == 0 && bytes[2] == 1;
}

// Index of the next start code at or after index 4, or `length` if none.
std::uint32_t nextStartCode(const std::uint8_t* bytes, std::uint32_t length) {
  const std::int64_t end = static_cast<std::int64_t>(length) - 3;
  if (end <= 4) return length;
  std::int64_t i = 4;
  while (i < end) {
    if (bytes[i] != 0) {
      ++i;
    } else if (bytes[i + 1] == 0 && bytes[i + 2] == 1) {
      return static_cast<std::uint32_t>(i);
    } else {
      i += 2;
    }
  }
  return length;
}

Mp4Word address(const void* pointer) { return reinterpret_cast<Mp4Word>(pointer); }

bool isMpeg4Visual(const CodecPlugin& plugin) { return plugin.codecId == MP4LIB_CODEC_ID_MPEG4V; }

}  // namespace

CodecPlugin* loaded(CodecPlugin* plugin) { return plugin != nullptr && plugin->module != nullptr ? plugin : nullptr; }

bool findStartCodeUnit(const std::uint8_t* bytes, std::uint32_t length, std::uint32_t* unitLength,
                       std::uint8_t* startCode) {
  *unitLength = 0;
  if (bytes == nullptr || !startsWithStartCode(bytes, length)) return false;
  *startCode = bytes[3];
  *unitLength = nextStartCode(bytes, length);
  return true;
}

Mp4Word decodeVideoUnits(CodecPlugin* decoder, const std::uint8_t* frame, std::uint32_t length, Mp4Word p3,
                         Mp4Word p4) {
  CodecPlugin* plugin = loaded(decoder);
  if (plugin == nullptr || plugin->decode == nullptr) return 0;
  if (!isMpeg4Visual(*plugin)) return plugin->decode(address(frame), length, p3, p4, 0);

  std::uint32_t unitLength = 0;
  std::uint8_t startCode = 0;
  while (findStartCodeUnit(frame, length, &unitLength, &startCode)) {
    plugin->decode(address(frame), unitLength, p3, p4, startCode);
    frame += unitLength;
    length -= unitLength;
    if (length == 0) break;
  }
  return 1;
}

Mp4Word decodeVideoFrameHeader(CodecPlugin* decoder, const std::uint8_t* frame, std::uint32_t length, Mp4Word p3) {
  CodecPlugin* plugin = loaded(decoder);
  if (plugin == nullptr || plugin->decodeFrameHeader == nullptr) return 0;
  if (!isMpeg4Visual(*plugin)) return plugin->decodeFrameHeader(address(frame), length, p3);

  std::uint32_t unitLength = 0;
  std::uint8_t startCode = 0;
  while (findStartCodeUnit(frame, length, &unitLength, &startCode)) {
    if (startCode == kVideoObjectPlane) return plugin->decodeFrameHeader(address(frame), unitLength, p3);
    frame += unitLength;
    length -= unitLength;
  }
  return 0;
}

Mp4Word decodeAudioUnit(CodecPlugin* decoder, const std::uint8_t* input, std::uint32_t length, std::uint8_t* output,
                        std::uint32_t* outputLength, std::uint32_t* leftover) {
  CodecPlugin* plugin = loaded(decoder);
  if (plugin == nullptr || plugin->decode == nullptr) return 0;
  return plugin->decode(address(input), length, address(output), address(outputLength), address(leftover));
}

}  // namespace mp4lib::codecs
