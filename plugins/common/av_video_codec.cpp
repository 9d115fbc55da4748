#include "common/av_video_codec.h"

#include <algorithm>
#include <cstring>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/mathematics.h>
}

namespace mp4lib::plugin {

namespace {

// About 0.3 bits per pixel: QCIF at 15 fps gets 114 kbit/s.
std::int64_t defaultBitRate(const CodedSize& size, double frameRate) {
  const double bits = static_cast<double>(size.width) * size.height * frameRate * 0.3;
  return std::max<std::int64_t>(32000, static_cast<std::int64_t>(bits));
}

std::uint8_t clampSample(std::int16_t sample) {
  return static_cast<std::uint8_t>(std::clamp<int>(sample, 0, 255));
}

void copyPlane(const std::uint8_t* source, int sourcePitch, std::uint8_t* target, std::uint32_t width,
               std::uint32_t height) {
  for (std::uint32_t row = 0; row < height; ++row) {
    std::memcpy(target + static_cast<std::size_t>(row) * width, source + static_cast<std::ptrdiff_t>(row) * sourcePitch,
                width);
  }
}

void copyFrame(const AVFrame* frame, Picture* picture) {
  const auto width = static_cast<std::uint32_t>(frame->width);
  const auto height = static_cast<std::uint32_t>(frame->height);
  if (picture->width != width || picture->height != height) picture->resize(width, height);
  copyPlane(frame->data[0], frame->linesize[0], picture->y(), width, height);
  copyPlane(frame->data[1], frame->linesize[1], picture->u(), width / 2, height / 2);
  copyPlane(frame->data[2], frame->linesize[2], picture->v(), width / 2, height / 2);
}

}  // namespace

bool openDecoder(AvCodecContext* decoder, AVCodecID codecId) {
  const AVCodec* codec = avcodec_find_decoder(codecId);
  if (codec == nullptr) return false;
  AVCodecContext* context = decoder->allocate(codec);
  if (context == nullptr) return false;
  context->thread_count = 1;
  if (avcodec_open2(context, codec, nullptr) < 0) {
    decoder->reset();
    return false;
  }
  return true;
}

bool decodeInto(AVCodecContext* decoder, const std::uint8_t* bytes, std::size_t length, Picture* picture) {
  if (decoder == nullptr || length == 0 || length > static_cast<std::size_t>(INT32_MAX)) return false;
  AVPacket* packet = av_packet_alloc();
  AVFrame* frame = av_frame_alloc();
  bool ok = packet != nullptr && frame != nullptr && av_new_packet(packet, static_cast<int>(length)) == 0;
  if (ok) {
    std::memcpy(packet->data, bytes, length);
    ok = avcodec_send_packet(decoder, packet) == 0;
  }
  while (ok) {
    const int result = avcodec_receive_frame(decoder, frame);
    if (result != 0) break;
    if (frame->format == AV_PIX_FMT_YUV420P && frame->width >= 2 && frame->height >= 2) copyFrame(frame, picture);
    av_frame_unref(frame);
  }
  av_frame_free(&frame);
  av_packet_free(&packet);
  return ok;
}

// ---- Encoding ----------------------------------------------------------------

Mp4Word AvVideoCodec::initEncode(Mp4Word paramsWord, Mp4Word contextWord) {
  finalizeEncode();
  auto* params = reinterpret_cast<const EncoderParams*>(paramsWord);
  auto* context = reinterpret_cast<EncoderContext*>(contextWord);
  if (params == nullptr || context == nullptr || params->width < 2 || params->height < 2) return 0;
  if (!(params->frameRate > 0.0 && params->frameRate <= 1000.0)) return 0;
  CodedSize coded{};
  if (!chooseCodedSize(*params, &coded)) return 0;

  context->width = params->width;
  context->height = params->height;
  context->codedWidth = coded.width;
  context->codedHeight = coded.height;
  context->frameRate = params->frameRate;
  context->timingMode = params->timingMode;
  context->conversionFlags =
      (coded.width != params->width || coded.height != params->height) ? MP4LIB_CONVERT_RESIZE : 0;
  context->headerWordA = 0;
  context->headerWordB = 0;
  context->headerWordC = 0;
  context->headerWordD = 0;
  if (!openEncoder(*params, *context)) {
    finalizeEncode();
    return 0;
  }
  return 1;
}

bool AvVideoCodec::openEncoder(const EncoderParams& params, const EncoderContext& context) {
  const AVCodec* codec = avcodec_find_encoder(codecId_);
  if (codec == nullptr) return false;
  AVCodecContext* encoder = encoder_.allocate(codec);
  if (encoder == nullptr) return false;
  const CodedSize size{context.codedWidth, context.codedHeight};
  encoder->width = static_cast<int>(size.width);
  encoder->height = static_cast<int>(size.height);
  encoder->pix_fmt = AV_PIX_FMT_YUV420P;
  encoder->time_base = av_d2q(1.0 / params.frameRate, 65535);
  encoder->framerate = av_inv_q(encoder->time_base);
  encoder->bit_rate = params.bitRate ? params.bitRate : defaultBitRate(size, params.frameRate);
  encoder->gop_size = params.keyFrameInterval ? static_cast<int>(params.keyFrameInterval) : 30;
  encoder->max_b_frames = 0;  // one frame in, one frame out
  encoder->thread_count = 1;
  if (avcodec_open2(encoder, codec, nullptr) < 0) return false;
  frame_ = av_frame_alloc();
  packet_ = av_packet_alloc();
  if (frame_ == nullptr || packet_ == nullptr) return false;
  frame_->format = AV_PIX_FMT_YUV420P;
  frame_->width = encoder->width;
  frame_->height = encoder->height;
  if (av_frame_get_buffer(frame_, 0) < 0) return false;
  return openDecoder(&reconDecoder_, codecId_);
}

bool AvVideoCodec::fillFrame(const std::int16_t* samples) {
  if (av_frame_make_writable(frame_) < 0) return false;
  const auto width = static_cast<std::uint32_t>(frame_->width);
  const auto height = static_cast<std::uint32_t>(frame_->height);
  const std::uint32_t planeWidth[3] = {width, width / 2, width / 2};
  const std::uint32_t planeHeight[3] = {height, height / 2, height / 2};
  for (int plane = 0; plane < 3; ++plane) {
    for (std::uint32_t row = 0; row < planeHeight[plane]; ++row) {
      std::uint8_t* target = frame_->data[plane] + static_cast<std::ptrdiff_t>(row) * frame_->linesize[plane];
      for (std::uint32_t x = 0; x < planeWidth[plane]; ++x) target[x] = clampSample(samples[x]);
      samples += planeWidth[plane];
    }
  }
  return true;
}

Mp4Word AvVideoCodec::encode(Mp4Word frameWord, Mp4Word, Mp4Word outWord, Mp4Word outSizeWord, Mp4Word) {
  AVCodecContext* encoder = encoder_.get();
  auto* samples = reinterpret_cast<const std::int16_t*>(frameWord);
  auto* out = reinterpret_cast<std::uint8_t*>(outWord);
  auto* outSize = reinterpret_cast<std::uint32_t*>(outSizeWord);
  if (encoder == nullptr || samples == nullptr || out == nullptr || outSize == nullptr) return 0;
  const std::uint32_t capacity =
      outputCapacity(outSize, static_cast<std::uint32_t>(encoder->width) * static_cast<std::uint32_t>(encoder->height) * 3);
  if (!fillFrame(samples)) return 0;
  frame_->pts = framesEncoded_++;
  if (avcodec_send_frame(encoder, frame_) < 0) return 0;

  std::uint32_t written = 0;
  for (;;) {
    const int result = avcodec_receive_packet(encoder, packet_);
    if (result == AVERROR(EAGAIN)) break;
    if (result < 0) return 0;
    const auto length = static_cast<std::uint32_t>(packet_->size);
    if (length > capacity - written) {
      av_packet_unref(packet_);
      return 0;
    }
    std::memcpy(out + written, packet_->data, length);
    if (isKeyFrame(packet_->data, length)) unreconstructed_.clear();
    unreconstructed_.emplace_back(packet_->data, packet_->data + length);
    written += length;
    av_packet_unref(packet_);
  }
  *outSize = written;
  return 1;
}

bool AvVideoCodec::catchUpReconstruction() {
  while (!unreconstructed_.empty()) {
    const std::vector<std::uint8_t> frame = std::move(unreconstructed_.front());
    unreconstructed_.pop_front();
    if (!decodeInto(reconDecoder_.get(), frame.data(), frame.size(), &recon_)) return false;
  }
  return true;
}

Mp4Word AvVideoCodec::getReconYUV(Mp4Word y, Mp4Word u, Mp4Word v, Mp4Word pitch, Mp4Word chromaPitch) {
  if (encoder_.get() == nullptr || !catchUpReconstruction()) return 0;
  return recon_.handOut(y, u, v, pitch, chromaPitch);
}

void AvVideoCodec::finalizeEncode() {
  encoder_.reset();
  reconDecoder_.reset();
  av_frame_free(&frame_);
  av_packet_free(&packet_);
  framesEncoded_ = 0;
  unreconstructed_.clear();
  recon_ = Picture{};
}

// ---- Decoding ----------------------------------------------------------------

Mp4Word AvVideoCodec::initDecode(Mp4Word, Mp4Word movieParams) {
  finalizeDecode();
  if (auto* movie = reinterpret_cast<const MovieParams*>(movieParams)) {
    announced_ = {movie->decodedWidth, movie->decodedHeight};
  }
  return openDecoder(&decoder_, codecId_) ? 1 : 0;
}

bool AvVideoCodec::decodePacket(const std::uint8_t* bytes, std::size_t length) {
  return decodeInto(decoder_.get(), bytes, length, &decoded_);
}

bool AvVideoCodec::decodeInput(const std::uint8_t* bytes, std::size_t length, std::uint8_t) {
  return decodePacket(bytes, length);
}

Mp4Word AvVideoCodec::decode(Mp4Word unitWord, Mp4Word length, Mp4Word pictureWord, Mp4Word pictureSizeWord,
                             Mp4Word startCode) {
  auto* unit = reinterpret_cast<const std::uint8_t*>(unitWord);
  if (decoder_.get() == nullptr || unit == nullptr || length == 0) return 0;
  if (!decodeInput(unit, length, static_cast<std::uint8_t>(startCode))) return 0;
  if (pictureWord != 0) {
    // The caller's buffer holds a picture of the announced size only; a
    // stream whose pictures are another size cannot be delivered there.
    if (decoded_.empty() || decoded_.width != announced_.width || decoded_.height != announced_.height) return 0;
    std::memcpy(reinterpret_cast<std::uint8_t*>(pictureWord), decoded_.bytes.data(), decoded_.bytes.size());
  }
  if (pictureSizeWord != 0) {
    *reinterpret_cast<std::uint32_t*>(pictureSizeWord) = static_cast<std::uint32_t>(decoded_.bytes.size());
  }
  return 1;
}

Mp4Word AvVideoCodec::getDecodeYUV(Mp4Word y, Mp4Word u, Mp4Word v, Mp4Word pitch, Mp4Word chromaPitch) {
  return decoded_.handOut(y, u, v, pitch, chromaPitch);
}

Mp4Word AvVideoCodec::getDecodeSize(Mp4Word width, Mp4Word height) {
  if (decoded_.empty() || width == 0 || height == 0) return 0;
  *reinterpret_cast<std::uint32_t*>(width) = decoded_.width;
  *reinterpret_cast<std::uint32_t*>(height) = decoded_.height;
  return 1;
}

void AvVideoCodec::finalizeDecode() {
  decoder_.reset();
  decoded_ = Picture{};
  announced_ = {0, 0};
}

}  // namespace mp4lib::plugin
