// G.723.1 ("g723") through libavcodec: 16-bit mono PCM at 8000 Hz in 30 ms
// frames of 240 samples. libavcodec encodes at 6.3 kbit/s only (24-byte
// frames).
#include <cstring>
#include <vector>

#include "common/av_audio_decoder.h"

namespace mp4lib::plugin {

const Identity kIdentity{MP4LIB_CODEC_ID_G723, MP4LIB_CATEGORY_AUDIO, MP4LIB_TAG_G723, MP4LIB_CODEC_TYPE_G723,
                         "mp4lib G.723.1 (libavcodec)"};

namespace {

constexpr int kSampleRate = 8000;
constexpr std::uint32_t kFrameSamples = 240;
constexpr std::uint32_t kFramePcmBytes = kFrameSamples * 2;

// Bytes of a frame by the rate bits (the low two bits of its first byte):
// 6.3 kbit/s, 5.3 kbit/s, silence description, untransmitted.
constexpr std::uint32_t kFrameBytes[4] = {24, 20, 4, 1};

class G723Codec : public PluginCodec {
 public:
  ~G723Codec() override {
    finalizeEncode();
    finalizeDecode();
  }

  Mp4Word initEncode(Mp4Word, Mp4Word) override {
    finalizeEncode();
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_G723_1);
    if (codec == nullptr) return 0;
    AVCodecContext* encoder = encoder_.allocate(codec);
    if (encoder == nullptr) return 0;
    encoder->sample_rate = kSampleRate;
    encoder->sample_fmt = AV_SAMPLE_FMT_S16;
    av_channel_layout_default(&encoder->ch_layout, 1);
    encoder->bit_rate = 6300;
    if (avcodec_open2(encoder, codec, nullptr) < 0) {
      encoder_.reset();
      return 0;
    }
    return 1;
  }

  void finalizeEncode() override {
    encoder_.reset();
    pending_.clear();
  }

  Mp4Word encode(Mp4Word pcmWord, Mp4Word length, Mp4Word outWord, Mp4Word outSizeWord, Mp4Word) override {
    auto* pcm = reinterpret_cast<const std::uint8_t*>(pcmWord);
    auto* out = reinterpret_cast<std::uint8_t*>(outWord);
    auto* outSize = reinterpret_cast<std::uint32_t*>(outSizeWord);
    if (encoder_.get() == nullptr || out == nullptr || outSize == nullptr || (pcm == nullptr && length != 0)) return 0;
    const std::uint32_t capacity = outputCapacity(outSize, static_cast<std::uint32_t>(length));
    pending_.insert(pending_.end(), pcm, pcm + length);
    std::uint32_t written = 0;
    std::size_t used = 0;
    while (pending_.size() - used >= kFramePcmBytes) {
      if (!encodeFrame(pending_.data() + used, out, capacity, &written)) return 0;
      used += kFramePcmBytes;
    }
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(used));
    *outSize = written;
    return 1;
  }

  Mp4Word initDecode(Mp4Word, Mp4Word) override {
    finalizeDecode();
    return decoder_.open(AV_CODEC_ID_G723_1, kSampleRate, 1, {}) ? 1 : 0;
  }

  void finalizeDecode() override { decoder_.close(); }

  // Decodes every whole frame; a trailing partial frame is reported as
  // unconsumed (or dropped when the caller takes no leftover).
  Mp4Word decode(Mp4Word inWord, Mp4Word length, Mp4Word outWord, Mp4Word outSizeWord, Mp4Word leftoverWord) override {
    auto* in = reinterpret_cast<const std::uint8_t*>(inWord);
    auto* out = reinterpret_cast<std::uint8_t*>(outWord);
    auto* outSize = reinterpret_cast<std::uint32_t*>(outSizeWord);
    if (!decoder_.isOpen() || out == nullptr || outSize == nullptr || (in == nullptr && length != 0)) return 0;
    const std::uint32_t capacity = outputCapacity(outSize, MP4LIB_AUDIO_DECODE_MIN_OUTPUT);
    std::uint32_t written = 0;
    std::size_t used = 0;
    while (used < length && kFrameBytes[in[used] & 3] <= length - used) {
      const std::uint32_t bytes = kFrameBytes[in[used] & 3];
      if (!decoder_.decode(in + used, bytes, out, capacity, &written)) return 0;
      used += bytes;
    }
    if (leftoverWord != 0) *reinterpret_cast<std::uint32_t*>(leftoverWord) = static_cast<std::uint32_t>(length - used);
    *outSize = written;
    return 1;
  }

 private:
  bool encodeFrame(const std::uint8_t* pcm, std::uint8_t* out, std::uint32_t capacity, std::uint32_t* written) {
    AVFrame* frame = av_frame_alloc();
    AVPacket* packet = av_packet_alloc();
    bool ok = frame != nullptr && packet != nullptr;
    if (ok) {
      frame->format = AV_SAMPLE_FMT_S16;
      frame->sample_rate = kSampleRate;
      frame->nb_samples = static_cast<int>(kFrameSamples);
      av_channel_layout_default(&frame->ch_layout, 1);
      ok = av_frame_get_buffer(frame, 0) == 0;
    }
    if (ok) {
      std::memcpy(frame->data[0], pcm, kFramePcmBytes);  // both little-endian 16-bit
      ok = avcodec_send_frame(encoder_.get(), frame) == 0;
    }
    while (ok && avcodec_receive_packet(encoder_.get(), packet) == 0) {
      const auto bytes = static_cast<std::uint32_t>(packet->size);
      ok = bytes <= capacity - *written;
      if (ok) std::memcpy(out + *written, packet->data, bytes);
      if (ok) *written += bytes;
      av_packet_unref(packet);
    }
    av_packet_free(&packet);
    av_frame_free(&frame);
    return ok;
  }

  AvCodecContext encoder_;
  AvAudioDecoder decoder_;
  std::vector<std::uint8_t> pending_;
};

}  // namespace

PluginCodec& pluginCodec() {
  static G723Codec codec;
  return codec;
}

}  // namespace mp4lib::plugin
