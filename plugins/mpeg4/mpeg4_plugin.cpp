// MPEG-4 visual ("mp4v") through libavcodec. The library feeds frames unit
// by unit at their 00 00 01 start codes; configuration units (visual object
// sequence, object, object layer) are kept and sent ahead of the next
// picture (VOP, start code 0xB6).
#include <vector>

#include "common/av_video_codec.h"
#include "common/bit_reader.h"

namespace mp4lib::plugin {

const Identity kIdentity{MP4LIB_CODEC_ID_MPEG4V, MP4LIB_CATEGORY_VIDEO, MP4LIB_TAG_MP4V, MP4LIB_CODEC_TYPE_MPEG4V,
                         "mp4lib MPEG-4 visual (libavcodec)"};

namespace {

constexpr std::uint8_t kVop = 0xB6;
constexpr std::size_t kMaxConfigBytes = 64 * 1024;

// Offset of the first start code 00 00 01 xx at or after `from`, or length.
std::size_t findStartCode(const std::uint8_t* bytes, std::size_t length, std::size_t from) {
  for (std::size_t i = from; i + 3 < length; ++i) {
    if (bytes[i] == 0 && bytes[i + 1] == 0 && bytes[i + 2] == 1) return i;
  }
  return length;
}

// Offset of the first VOP start code, or length.
std::size_t findVop(const std::uint8_t* bytes, std::size_t length) {
  for (std::size_t i = findStartCode(bytes, length, 0); i < length; i = findStartCode(bytes, length, i + 3)) {
    if (bytes[i + 3] == kVop) return i;
  }
  return length;
}

// Coding type of the VOP at `vop`: I frames are key frames.
Mp4Word vopType(const std::uint8_t* bytes, std::size_t length, std::size_t vop) {
  if (vop + 4 >= length) return MP4LIB_FRAME_NONE;
  BitReader bits(bytes + vop + 4, length - vop - 4);
  return bits.read(2) == 0 ? MP4LIB_FRAME_KEY : MP4LIB_FRAME_INTER;
}

class Mpeg4Codec : public AvVideoCodec {
 public:
  Mpeg4Codec() : AvVideoCodec(AV_CODEC_ID_MPEG4) {}

  // The stream header (decoder configuration, or a whole first frame) keeps
  // its configuration units for the first picture; a VOP tells its type.
  Mp4Word decodeFrameHeader(Mp4Word frameWord, Mp4Word length, Mp4Word) override {
    auto* frame = reinterpret_cast<const std::uint8_t*>(frameWord);
    if (frame == nullptr || length < 4) return MP4LIB_FRAME_NONE;
    const std::size_t vop = findVop(frame, length);
    const std::size_t configStart = findStartCode(frame, length, 0);
    if (configStart < vop) keepConfig(frame + configStart, vop - configStart);
    return vopType(frame, length, vop);
  }

  Mp4Word initDecode(Mp4Word a, Mp4Word b) override {
    pendingConfig_.clear();
    return AvVideoCodec::initDecode(a, b);
  }

 protected:
  bool chooseCodedSize(const EncoderParams& params, CodedSize* size) const override {
    const std::uint32_t width = params.codedWidth ? params.codedWidth : params.width;
    const std::uint32_t height = params.codedHeight ? params.codedHeight : params.height;
    if (width > 4096 || height > 4096) return false;
    *size = {(width + 1) & ~1u, (height + 1) & ~1u};
    return true;
  }

  bool isKeyFrame(const std::uint8_t* frame, std::size_t length) const override {
    return vopType(frame, length, findVop(frame, length)) == MP4LIB_FRAME_KEY;
  }

  bool decodeInput(const std::uint8_t* bytes, std::size_t length, std::uint8_t startCode) override {
    if (startCode == 0) return decodePacket(bytes, length);  // a whole frame
    if (startCode != kVop) {
      keepConfig(bytes, length);
      return true;
    }
    if (pendingConfig_.empty()) return decodePacket(bytes, length);
    std::vector<std::uint8_t> packet = pendingConfig_;
    packet.insert(packet.end(), bytes, bytes + length);
    const bool ok = decodePacket(packet.data(), packet.size());
    if (ok) pendingConfig_.clear();
    return ok;
  }

 private:
  void keepConfig(const std::uint8_t* bytes, std::size_t length) {
    if (pendingConfig_.size() + length > kMaxConfigBytes) pendingConfig_.clear();
    if (length <= kMaxConfigBytes) pendingConfig_.insert(pendingConfig_.end(), bytes, bytes + length);
  }

  std::vector<std::uint8_t> pendingConfig_;
};

}  // namespace

PluginCodec& pluginCodec() {
  static Mpeg4Codec codec;
  return codec;
}

}  // namespace mp4lib::plugin
