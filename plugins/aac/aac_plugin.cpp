// MPEG-4 audio ("mp4a", AAC) decoding through libavcodec, configured from the
// track's AudioSpecificConfig. Raw access units come one per call; ADTS
// streams are split at their frame headers and a partial frame at the end is
// handed back as unconsumed.
#include <vector>

#include "common/av_audio_decoder.h"

namespace mp4lib::plugin {

const Identity kIdentity{MP4LIB_CODEC_ID_AAC, MP4LIB_CATEGORY_AUDIO, MP4LIB_TAG_MP4A, MP4LIB_CODEC_TYPE_AAC,
                         "mp4lib AAC decoder (libavcodec)"};

namespace {

bool isAdtsHeader(const std::uint8_t* bytes, std::size_t length) {
  return length >= 7 && bytes[0] == 0xFF && (bytes[1] & 0xF6) == 0xF0;
}

std::size_t adtsFrameLength(const std::uint8_t* bytes) {
  return (static_cast<std::size_t>(bytes[3] & 0x03) << 11) | (static_cast<std::size_t>(bytes[4]) << 3) |
         (bytes[5] >> 5);
}

class AacCodec : public PluginCodec {
 public:
  // a = AudioDecoderConfig*; without one the stream must carry ADTS headers.
  Mp4Word initDecode(Mp4Word configWord, Mp4Word) override {
    finalizeDecode();
    std::vector<std::uint8_t> config;
    if (auto* audio = reinterpret_cast<const AudioDecoderConfig*>(configWord)) {
      if (audio->config != nullptr && audio->configSize > 0 && audio->configSize < 4096) {
        config.assign(audio->config, audio->config + audio->configSize);
      }
    }
    // Rate and channels come from the configuration or the ADTS headers.
    return decoder_.open(AV_CODEC_ID_AAC, 0, 0, config) ? 1 : 0;
  }

  void finalizeDecode() override { decoder_.close(); }

  Mp4Word decode(Mp4Word inWord, Mp4Word length, Mp4Word outWord, Mp4Word outSizeWord, Mp4Word leftoverWord) override {
    auto* in = reinterpret_cast<const std::uint8_t*>(inWord);
    auto* out = reinterpret_cast<std::uint8_t*>(outWord);
    auto* outSize = reinterpret_cast<std::uint32_t*>(outSizeWord);
    auto* leftover = reinterpret_cast<std::uint32_t*>(leftoverWord);
    if (!decoder_.isOpen() || out == nullptr || outSize == nullptr || in == nullptr || length == 0) return 0;
    const std::uint32_t capacity = outputCapacity(outSize, MP4LIB_AUDIO_DECODE_MIN_OUTPUT);
    std::uint32_t written = 0;
    std::size_t used = 0;
    if (!isAdtsHeader(in, length)) {
      if (!decoder_.decode(in, length, out, capacity, &written)) return 0;
      used = length;
    }
    while (used < length && isAdtsHeader(in + used, length - used)) {
      const std::size_t frame = adtsFrameLength(in + used);
      if (frame < 7 || frame > length - used) break;
      if (!decoder_.decode(in + used, frame, out, capacity, &written)) return 0;
      used += frame;
    }
    if (leftover != nullptr) *leftover = static_cast<std::uint32_t>(length - used);
    *outSize = written;
    return 1;
  }

 private:
  AvAudioDecoder decoder_;
};

}  // namespace

PluginCodec& pluginCodec() {
  static AacCodec codec;
  return codec;
}

}  // namespace mp4lib::plugin
