// The RGB forms of queue-driven decoding: the next video sample is decoded
// and the plug-in's planes converted at the coded size, then scaled to the
// output size when the parameter block asks for resizing.
#include "codecs/stream_decoding.h"
#include "mp4lib.h"
#include "reader/decoder_context.h"
#include "reader/rgb_output.h"

namespace mp4lib::codecs {

namespace {

Mp4Word decodeQueuedRgb(reader::RgbFormat format, std::uint8_t* rgb, std::uint32_t* timeMs, std::uint32_t* durationMs) {
  const MovieParams& params = reader::movieParams();
  const bool resize = (params.lowFlagBits & 1) != 0;
  std::uint8_t* target = resize ? params.rgbBuffer : rgb;
  const Mp4Word result = decodeQueuedVideo(nullptr, timeMs, durationMs);
  if ((result & 0xFF) == 0) return result;
  reader::DecodedPlanes planes;
  if (!reader::fetchDecodedPlanes(&planes) || target == nullptr) return result;
  const auto codedWidth = static_cast<std::int32_t>(params.decodedWidth);
  const auto codedHeight = static_cast<std::int32_t>(params.decodedHeight);
  reader::convertPlanes(planes, format, codedWidth, codedHeight, target);
  if (resize) {
    reader::scaleRgb(format, params.rgbBuffer, codedWidth, codedHeight, rgb, static_cast<std::int32_t>(params.width),
                     static_cast<std::int32_t>(params.height));
  }
  return result;
}

}  // namespace

}  // namespace mp4lib::codecs

using namespace mp4lib;
using reader::RgbFormat;

extern "C" MP4LIB_API Mp4Word decodeRGB24Video(uint8_t* rgb, uint32_t* timeMs) {
  return codecs::decodeQueuedRgb(RgbFormat::kRgb24, rgb, timeMs, nullptr);
}

extern "C" MP4LIB_API Mp4Word decodeRGB16Video(uint8_t* rgb, uint32_t* timeMs) {
  return codecs::decodeQueuedRgb(RgbFormat::kRgb16, rgb, timeMs, nullptr);
}

extern "C" MP4LIB_API Mp4Word decodeRGB24VideoEx(uint8_t* rgb, uint32_t* timeMs, uint32_t* durationMs) {
  return codecs::decodeQueuedRgb(RgbFormat::kRgb24, rgb, timeMs, durationMs);
}

extern "C" MP4LIB_API Mp4Word decodeRGB16VideoEx(uint8_t* rgb, uint32_t* timeMs, uint32_t* durationMs) {
  return codecs::decodeQueuedRgb(RgbFormat::kRgb16, rgb, timeMs, durationMs);
}
