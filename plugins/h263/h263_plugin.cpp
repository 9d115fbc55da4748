// H.263 ("s263") through libavcodec. Its encoder takes only the five
// standard picture sizes, so other pictures are resized to one of them.
#include "common/av_video_codec.h"
#include "common/bit_reader.h"

namespace mp4lib::plugin {

const Identity kIdentity{MP4LIB_CODEC_ID_H263, MP4LIB_CATEGORY_VIDEO, MP4LIB_TAG_S263, MP4LIB_CODEC_TYPE_H263,
                         "mp4lib H.263 (libavcodec)"};

namespace {

constexpr CodedSize kStandardSizes[] = {{128, 96}, {176, 144}, {352, 288}, {704, 576}, {1408, 1152}};

bool isStandard(std::uint32_t width, std::uint32_t height) {
  for (const CodedSize& size : kStandardSizes) {
    if (size.width == width && size.height == height) return true;
  }
  return false;
}

// Picture coding type from an H.263 picture header: key (intra), inter, or
// none when the bytes do not start with a picture start code.
Mp4Word pictureType(const std::uint8_t* frame, std::size_t length) {
  BitReader bits(frame, length);
  if (length < 5 || bits.read(22) != 0x20) return MP4LIB_FRAME_NONE;  // 0000 0000 0000 0000 1000 00
  bits.read(8);                                                        // temporal reference
  if (bits.read(2) != 2) return MP4LIB_FRAME_NONE;                     // PTYPE starts "10"
  bits.read(3);                                                        // split screen, camera, freeze
  const std::uint32_t sourceFormat = bits.read(3);
  if (sourceFormat == 0) return MP4LIB_FRAME_NONE;
  if (sourceFormat != 7) return bits.read(1) == 0 ? MP4LIB_FRAME_KEY : MP4LIB_FRAME_INTER;
  // PLUSPTYPE: an update flag, the optional part when it is 001, then the
  // picture type code.
  if (bits.read(3) == 1) bits.read(18);
  return bits.read(3) == 0 ? MP4LIB_FRAME_KEY : MP4LIB_FRAME_INTER;
}

class H263Codec : public AvVideoCodec {
 public:
  H263Codec() : AvVideoCodec(AV_CODEC_ID_H263) {}

  Mp4Word decodeFrameHeader(Mp4Word frame, Mp4Word length, Mp4Word) override {
    if (frame == 0) return MP4LIB_FRAME_NONE;
    return pictureType(reinterpret_cast<const std::uint8_t*>(frame), length);
  }

 protected:
  // The requested coded size if it is standard, else the picture size if it
  // is, else the smallest standard size that holds the picture (or the
  // largest).
  bool chooseCodedSize(const EncoderParams& params, CodedSize* size) const override {
    if (isStandard(params.codedWidth, params.codedHeight)) {
      *size = {params.codedWidth, params.codedHeight};
      return true;
    }
    if (isStandard(params.width, params.height)) {
      *size = {params.width, params.height};
      return true;
    }
    for (const CodedSize& standard : kStandardSizes) {
      if (standard.width >= params.width && standard.height >= params.height) {
        *size = standard;
        return true;
      }
    }
    *size = kStandardSizes[4];
    return true;
  }

  bool isKeyFrame(const std::uint8_t* frame, std::size_t length) const override {
    return pictureType(frame, length) == MP4LIB_FRAME_KEY;
  }
};

}  // namespace

PluginCodec& pluginCodec() {
  static H263Codec codec;
  return codec;
}

}  // namespace mp4lib::plugin
