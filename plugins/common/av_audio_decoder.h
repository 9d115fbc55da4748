// Decoding audio packets with libavcodec into interleaved signed 16-bit PCM.
#pragma once

#include <cstdint>
#include <vector>

#include "common/av_video_codec.h"

namespace mp4lib::plugin {

class AvAudioDecoder {
 public:
  // Opens the decoder; `config` is the codec's configuration (may be empty).
  bool open(AVCodecID codecId, int sampleRate, int channels, const std::vector<std::uint8_t>& config);
  void close() { context_.reset(); }
  bool isOpen() const { return context_.get() != nullptr; }

  // Decodes one packet and appends its PCM to out[*written..capacity).
  // False on a decoder error or when the PCM does not fit.
  bool decode(const std::uint8_t* packet, std::size_t length, std::uint8_t* out, std::uint32_t capacity,
              std::uint32_t* written);

 private:
  AvCodecContext context_;
};

}  // namespace mp4lib::plugin
