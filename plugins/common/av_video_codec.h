// A video codec plug-in on top of libavcodec: encoding from the library's
// short planar frames, decoding to byte planes, and the encoder's
// reconstruction (by decoding its own output).
#pragma once

#include <deque>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
}

#include "common/picture.h"
#include "common/plugin_codec.h"

namespace mp4lib::plugin {

struct CodedSize {
  std::uint32_t width;
  std::uint32_t height;
};

// Owns an AVCodecContext.
class AvCodecContext {
 public:
  AvCodecContext() = default;
  ~AvCodecContext() { reset(); }
  AvCodecContext(const AvCodecContext&) = delete;
  AvCodecContext& operator=(const AvCodecContext&) = delete;
  void reset() { avcodec_free_context(&context_); }
  AVCodecContext* get() const { return context_; }
  AVCodecContext* allocate(const AVCodec* codec) {
    reset();
    context_ = avcodec_alloc_context3(codec);
    return context_;
  }

 private:
  AVCodecContext* context_ = nullptr;
};

class AvVideoCodec : public PluginCodec {
 public:
  explicit AvVideoCodec(AVCodecID codecId) : codecId_(codecId) {}

  Mp4Word initEncode(Mp4Word params, Mp4Word context) override;
  Mp4Word encode(Mp4Word frame, Mp4Word arg, Mp4Word out, Mp4Word outSize, Mp4Word timestamp) override;
  Mp4Word getReconYUV(Mp4Word y, Mp4Word u, Mp4Word v, Mp4Word pitch, Mp4Word chromaPitch) override;
  void finalizeEncode() override;

  Mp4Word initDecode(Mp4Word vendorHeader, Mp4Word movieParams) override;
  Mp4Word decode(Mp4Word unit, Mp4Word length, Mp4Word wanted, Mp4Word pictureSize, Mp4Word startCode) override;
  Mp4Word getDecodeYUV(Mp4Word y, Mp4Word u, Mp4Word v, Mp4Word pitch, Mp4Word chromaPitch) override;
  Mp4Word getDecodeSize(Mp4Word width, Mp4Word height) override;
  void finalizeDecode() override;

 protected:
  // The size the codec encodes for a picture (and the size asked for, 0 =
  // none); false when the codec cannot encode near it.
  virtual bool chooseCodedSize(const EncoderParams& params, CodedSize* size) const = 0;
  // Whether an encoded frame is a key frame (for the reconstruction).
  virtual bool isKeyFrame(const std::uint8_t* frame, std::size_t length) const = 0;
  // Feeds one piece of a frame to the decoder; returns false on error.
  virtual bool decodeInput(const std::uint8_t* bytes, std::size_t length, std::uint8_t startCode);

  bool decodePacket(const std::uint8_t* bytes, std::size_t length);

 private:
  bool openEncoder(const EncoderParams& params, const EncoderContext& context);
  bool fillFrame(const std::int16_t* samples);
  bool catchUpReconstruction();

  AVCodecID codecId_;
  AvCodecContext encoder_;
  AVFrame* frame_ = nullptr;
  AVPacket* packet_ = nullptr;
  std::int64_t framesEncoded_ = 0;
  // Frames since the last key frame that the reconstruction has not seen.
  std::deque<std::vector<std::uint8_t>> unreconstructed_;
  AvCodecContext reconDecoder_;
  Picture recon_;

  AvCodecContext decoder_;
  Picture decoded_;
  // The picture size the movie announced; a caller's picture buffer holds
  // exactly that much.
  CodedSize announced_{0, 0};
};

// Decodes whole packets into `picture`; shared by the decoder and the
// reconstruction.
bool decodeInto(AVCodecContext* decoder, const std::uint8_t* bytes, std::size_t length, Picture* picture);
// Opens a decoder of `codecId`; null on failure.
bool openDecoder(AvCodecContext* decoder, AVCodecID codecId);

}  // namespace mp4lib::plugin
