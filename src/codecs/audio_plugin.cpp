#include "codecs/audio_plugin.h"

namespace mp4lib::codecs {

namespace {

Mp4Word openForEncoding(PluginRegistry& registry, std::uint32_t codecType, std::uint32_t encodeOption) {
  CodecPlugin* plugin = findCodecPlugin(registry, codecType, MP4LIB_CATEGORY_AUDIO);
  registry.active.audioEncoder = plugin;
  if (plugin == nullptr || plugin->initEncode == nullptr) return 0;
  return plugin->initEncode(encodeOption, 0);
}

Mp4Word openForDecoding(PluginRegistry& registry, std::uint32_t codecType, const AudioDecoderConfig& trackConfig) {
  CodecPlugin* plugin = findCodecPlugin(registry, codecType, MP4LIB_CATEGORY_AUDIO);
  registry.active.audioDecoder = plugin;
  if (plugin == nullptr || plugin->initDecode == nullptr) return 0;
  if (plugin->codecType == MP4LIB_CODEC_TYPE_AAC) return plugin->initDecode(reinterpret_cast<Mp4Word>(&trackConfig), 0);
  return plugin->initDecode(0, 0);
}

}  // namespace

std::uint32_t pcmBytesPerBlock(std::uint32_t bits, std::uint32_t blockMs, std::uint32_t sampleRate,
                               std::uint32_t channels) {
  return bits * blockMs * sampleRate * channels / 8000u;
}

Mp4Word openAudioCodecPlugin(PluginRegistry& registry, std::uint32_t codecType, bool forEncoding,
                             std::uint32_t encodeOption, const AudioDecoderConfig& trackConfig) {
  return forEncoding ? openForEncoding(registry, codecType, encodeOption)
                     : openForDecoding(registry, codecType, trackConfig);
}

}  // namespace mp4lib::codecs
