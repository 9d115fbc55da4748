// Little-endian PCM ("sowt"): decoding is a copy.
#include <cstring>

#include "common/plugin_codec.h"

namespace mp4lib::plugin {

const Identity kIdentity{MP4LIB_CODEC_ID_PCM_LE, MP4LIB_CATEGORY_AUDIO, MP4LIB_TAG_SOWT, MP4LIB_CODEC_TYPE_PCM,
                         "mp4lib PCM"};

namespace {

class PcmCodec : public PluginCodec {
 public:
  Mp4Word initDecode(Mp4Word, Mp4Word) override { return 1; }

  Mp4Word decode(Mp4Word inWord, Mp4Word length, Mp4Word outWord, Mp4Word outSizeWord, Mp4Word leftoverWord) override {
    auto* in = reinterpret_cast<const std::uint8_t*>(inWord);
    auto* out = reinterpret_cast<std::uint8_t*>(outWord);
    auto* outSize = reinterpret_cast<std::uint32_t*>(outSizeWord);
    if (out == nullptr || outSize == nullptr || (in == nullptr && length != 0)) return 0;
    if (length > outputCapacity(outSize, MP4LIB_AUDIO_DECODE_MIN_OUTPUT)) return 0;
    if (length != 0) std::memcpy(out, in, length);
    *outSize = static_cast<std::uint32_t>(length);
    if (leftoverWord != 0) *reinterpret_cast<std::uint32_t*>(leftoverWord) = 0;
    return 1;
  }
};

}  // namespace

PluginCodec& pluginCodec() {
  static PcmCodec codec;
  return codec;
}

}  // namespace mp4lib::plugin
