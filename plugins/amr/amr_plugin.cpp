// AMR narrow-band ("samr") through libopencore-amrnb: 16-bit mono PCM at
// 8000 Hz in 20 ms frames of 160 samples.
#include <cstring>
#include <vector>

extern "C" {
#include <opencore-amrnb/interf_dec.h>
#include <opencore-amrnb/interf_enc.h>
}

#include "common/plugin_codec.h"

namespace mp4lib::plugin {

const Identity kIdentity{MP4LIB_CODEC_ID_AMR, MP4LIB_CATEGORY_AUDIO, MP4LIB_TAG_SAMR, MP4LIB_CODEC_TYPE_AMR,
                         "mp4lib AMR-NB (opencore-amrnb)"};

namespace {

constexpr std::uint32_t kFrameSamples = 160;
constexpr std::uint32_t kFramePcmBytes = kFrameSamples * 2;
constexpr int kHighestMode = 7;  // 12.2 kbit/s, 32-byte frames

// Bytes of a stored frame, header byte included, by frame type (bits 3-6 of
// the header byte).
constexpr std::uint32_t kFrameBytes[16] = {13, 14, 16, 18, 20, 21, 27, 32, 6, 7, 6, 6, 1, 1, 1, 1};

std::uint32_t frameBytes(std::uint8_t header) { return kFrameBytes[(header >> 3) & 0x0F]; }

class AmrCodec : public PluginCodec {
 public:
  ~AmrCodec() override {
    finalizeEncode();
    finalizeDecode();
  }

  // audioOption 0 picks 12.2 kbit/s; 1 to 8 pick modes 4.75 ... 12.2.
  Mp4Word initEncode(Mp4Word option, Mp4Word) override {
    finalizeEncode();
    if (option > 8) return 0;
    mode_ = option == 0 ? kHighestMode : static_cast<int>(option) - 1;
    encoder_ = Encoder_Interface_init(0);
    return encoder_ != nullptr ? 1 : 0;
  }

  void finalizeEncode() override {
    if (encoder_ != nullptr) Encoder_Interface_exit(encoder_);
    encoder_ = nullptr;
    pending_.clear();
  }

  // Encodes every whole 20 ms frame of the block; a partial frame waits for
  // the next block.
  Mp4Word encode(Mp4Word pcmWord, Mp4Word length, Mp4Word outWord, Mp4Word outSizeWord, Mp4Word) override {
    auto* pcm = reinterpret_cast<const std::uint8_t*>(pcmWord);
    auto* out = reinterpret_cast<std::uint8_t*>(outWord);
    auto* outSize = reinterpret_cast<std::uint32_t*>(outSizeWord);
    if (encoder_ == nullptr || out == nullptr || outSize == nullptr || (pcm == nullptr && length != 0)) return 0;
    const std::uint32_t capacity = outputCapacity(outSize, static_cast<std::uint32_t>(length));
    pending_.insert(pending_.end(), pcm, pcm + length);
    std::uint32_t written = 0;
    std::size_t used = 0;
    while (pending_.size() - used >= kFramePcmBytes) {
      std::int16_t speech[kFrameSamples];
      for (std::uint32_t i = 0; i < kFrameSamples; ++i) {
        speech[i] = static_cast<std::int16_t>(pending_[used + 2 * i] | (pending_[used + 2 * i + 1] << 8));
      }
      unsigned char frame[64];
      const int bytes = Encoder_Interface_Encode(encoder_, static_cast<enum Mode>(mode_), speech, frame, 0);
      if (bytes <= 0 || static_cast<std::uint32_t>(bytes) > capacity - written) return 0;
      std::memcpy(out + written, frame, static_cast<std::size_t>(bytes));
      written += static_cast<std::uint32_t>(bytes);
      used += kFramePcmBytes;
    }
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(used));
    *outSize = written;
    return 1;
  }

  Mp4Word initDecode(Mp4Word, Mp4Word) override {
    finalizeDecode();
    decoder_ = Decoder_Interface_init();
    return decoder_ != nullptr ? 1 : 0;
  }

  void finalizeDecode() override {
    if (decoder_ != nullptr) Decoder_Interface_exit(decoder_);
    decoder_ = nullptr;
  }

  // Decodes every whole frame; a trailing partial frame is reported as
  // unconsumed (or dropped when the caller takes no leftover).
  Mp4Word decode(Mp4Word inWord, Mp4Word length, Mp4Word outWord, Mp4Word outSizeWord, Mp4Word leftoverWord) override {
    auto* in = reinterpret_cast<const std::uint8_t*>(inWord);
    auto* out = reinterpret_cast<std::uint8_t*>(outWord);
    auto* outSize = reinterpret_cast<std::uint32_t*>(outSizeWord);
    if (decoder_ == nullptr || out == nullptr || outSize == nullptr || (in == nullptr && length != 0)) return 0;
    const std::uint32_t capacity = outputCapacity(outSize, MP4LIB_AUDIO_DECODE_MIN_OUTPUT);
    std::uint32_t written = 0;
    std::size_t used = 0;
    while (used < length && frameBytes(in[used]) <= length - used) {
      if (kFramePcmBytes > capacity - written) return 0;
      std::int16_t speech[kFrameSamples];
      Decoder_Interface_Decode(decoder_, in + used, speech, 0);
      for (std::uint32_t i = 0; i < kFrameSamples; ++i) {
        const auto sample = static_cast<std::uint16_t>(speech[i]);
        out[written + 2 * i] = static_cast<std::uint8_t>(sample & 0xFF);
        out[written + 2 * i + 1] = static_cast<std::uint8_t>(sample >> 8);
      }
      written += kFramePcmBytes;
      used += frameBytes(in[used]);
    }
    if (leftoverWord != 0) *reinterpret_cast<std::uint32_t*>(leftoverWord) = static_cast<std::uint32_t>(length - used);
    *outSize = written;
    return 1;
  }

 private:
  void* encoder_ = nullptr;
  void* decoder_ = nullptr;
  int mode_ = kHighestMode;
  std::vector<std::uint8_t> pending_;
};

}  // namespace

PluginCodec& pluginCodec() {
  static AmrCodec codec;
  return codec;
}

}  // namespace mp4lib::plugin
