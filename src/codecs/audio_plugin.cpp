#include "codecs/audio_plugin.h"

#include "audio/wave_in_state.h"
#include "codecs/plugin_registry.h"
#include "frame/encoder_context.h"
#include "frame/movie_context.h"

namespace mp4lib::codecs {

namespace {

Mp4Word openForEncoding(std::uint32_t codecType, std::uint32_t encodeOption) {
  EncoderContext& context = frame::encoderContext();
  const std::uint32_t blockBytes =
      pcmBytesPerBlock(context.audioBits, context.audioBlockMs, context.audioSampleRate, context.audioChannels);
  audio::setWaveInBufferSize(blockBytes);
  context.pcmBytesPerBlock = blockBytes;
  CodecPlugin* plugin = findCodecPluginByType(codecType);
  activePlugins().audioEncoder = plugin;
  if (plugin == nullptr || plugin->initEncode == nullptr) return 0;
  return plugin->initEncode(encodeOption, 0);
}

// The decoder configuration of the movie's audio track, if it has one.
AudioDecoderConfig audioTrackConfig() {
  AudioDecoderConfig config{1, nullptr, 0};
  const frame::MovieContext& movie = frame::movieContext();
  const int index = movie.audioTrackIndex;
  if (index < 0 || index >= frame::kMaxTracks) return config;
  const CodecDescriptor* codec = movie.tracks[index].codec;
  if (codec != nullptr && codec->extraData != nullptr) {
    config.config = codec->extraData;
    config.configSize = codec->extraDataSize;
  }
  return config;
}

Mp4Word openForDecoding(std::uint32_t codecType) {
  CodecPlugin* plugin = findCodecPluginByType(codecType);
  activePlugins().audioDecoder = plugin;
  if (plugin == nullptr || plugin->initDecode == nullptr) return 0;
  if (plugin->codecType == MP4LIB_CODEC_TYPE_AAC) {
    const AudioDecoderConfig config = audioTrackConfig();
    return plugin->initDecode(reinterpret_cast<Mp4Word>(&config), 0);
  }
  return plugin->initDecode(0, 0);
}

}  // namespace

std::uint32_t pcmBytesPerBlock(std::uint32_t bits, std::uint32_t blockMs, std::uint32_t sampleRate,
                               std::uint32_t channels) {
  return bits * blockMs * sampleRate * channels / 8000u;
}

Mp4Word openAudioCodecPlugin(std::uint32_t codecType, std::uint32_t /*sampleRate*/, std::uint32_t /*channels*/,
                             bool forEncoding, std::uint32_t encodeOption) {
  return forEncoding ? openForEncoding(codecType, encodeOption) : openForDecoding(codecType);
}

}  // namespace mp4lib::codecs
