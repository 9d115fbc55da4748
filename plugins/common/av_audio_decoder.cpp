#include "common/av_audio_decoder.h"

#include <algorithm>
#include <cmath>
#include <cstring>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/mem.h>
}

namespace mp4lib::plugin {

namespace {

std::int16_t toSample(float value) {
  const float scaled = std::nearbyint(value * 32768.0f);
  return static_cast<std::int16_t>(std::clamp(scaled, -32768.0f, 32767.0f));
}

// Sample `index` of channel `channel` as signed 16-bit, for the formats the
// codecs here produce.
std::int16_t sampleAt(const AVFrame* frame, int channel, int index) {
  const int channels = frame->ch_layout.nb_channels;
  switch (frame->format) {
    case AV_SAMPLE_FMT_S16:
      return reinterpret_cast<const std::int16_t*>(frame->data[0])[index * channels + channel];
    case AV_SAMPLE_FMT_S16P:
      return reinterpret_cast<const std::int16_t*>(frame->extended_data[channel])[index];
    case AV_SAMPLE_FMT_FLT:
      return toSample(reinterpret_cast<const float*>(frame->data[0])[index * channels + channel]);
    case AV_SAMPLE_FMT_FLTP:
      return toSample(reinterpret_cast<const float*>(frame->extended_data[channel])[index]);
    default:
      return 0;
  }
}

bool appendFrame(const AVFrame* frame, std::uint8_t* out, std::uint32_t capacity, std::uint32_t* written) {
  const int channels = frame->ch_layout.nb_channels;
  const std::uint64_t bytes = static_cast<std::uint64_t>(frame->nb_samples) * static_cast<std::uint64_t>(channels) * 2;
  if (channels <= 0 || bytes > capacity - *written) return false;
  std::uint8_t* target = out + *written;
  for (int i = 0; i < frame->nb_samples; ++i) {
    for (int c = 0; c < channels; ++c) {
      const auto sample = static_cast<std::uint16_t>(sampleAt(frame, c, i));
      *target++ = static_cast<std::uint8_t>(sample & 0xFF);  // little-endian
      *target++ = static_cast<std::uint8_t>(sample >> 8);
    }
  }
  *written += static_cast<std::uint32_t>(bytes);
  return true;
}

}  // namespace

bool AvAudioDecoder::open(AVCodecID codecId, int sampleRate, int channels, const std::vector<std::uint8_t>& config) {
  const AVCodec* codec = avcodec_find_decoder(codecId);
  if (codec == nullptr) return false;
  AVCodecContext* context = context_.allocate(codec);
  if (context == nullptr) return false;
  context->sample_rate = sampleRate;
  av_channel_layout_default(&context->ch_layout, channels);
  context->thread_count = 1;
  if (!config.empty()) {
    context->extradata = static_cast<std::uint8_t*>(av_mallocz(config.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (context->extradata == nullptr) return false;
    std::memcpy(context->extradata, config.data(), config.size());
    context->extradata_size = static_cast<int>(config.size());
  }
  if (avcodec_open2(context, codec, nullptr) < 0) {
    context_.reset();
    return false;
  }
  return true;
}

bool AvAudioDecoder::decode(const std::uint8_t* bytes, std::size_t length, std::uint8_t* out, std::uint32_t capacity,
                            std::uint32_t* written) {
  AVCodecContext* context = context_.get();
  if (context == nullptr || length == 0 || length > 1u << 24) return false;
  AVPacket* packet = av_packet_alloc();
  AVFrame* frame = av_frame_alloc();
  bool ok = packet != nullptr && frame != nullptr && av_new_packet(packet, static_cast<int>(length)) == 0;
  if (ok) {
    std::memcpy(packet->data, bytes, length);
    ok = avcodec_send_packet(context, packet) == 0;
  }
  while (ok && avcodec_receive_frame(context, frame) == 0) {
    ok = appendFrame(frame, out, capacity, written);
    av_frame_unref(frame);
  }
  av_frame_free(&frame);
  av_packet_free(&packet);
  return ok;
}

}  // namespace mp4lib::plugin
