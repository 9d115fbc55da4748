// The RGB forms of queue-driven decoding: the next video sample is decoded
// and the plug-in's planes converted at the coded size, then scaled to the
// output size when the parameter block asks for resizing.
#include "codecs/plugin_result.h"
#include "playback/queue_decoding.h"

namespace mp4lib::playback {

Mp4Word decodeQueuedRgb(Playback& playback, RgbFormat format, std::uint8_t* rgb, std::uint32_t* timeMs,
                        std::uint32_t* durationMs) {
  const MovieParams& params = playback.player.params;
  const bool resize = (params.lowFlagBits & 1) != 0;
  std::uint8_t* target = resize ? params.rgbBuffer : rgb;
  const Mp4Word result = decodeQueuedVideo(playback, nullptr, timeMs, durationMs);
  if (codecs::pluginFailed(result)) return result;
  DecodedPlanes planes;
  if (!fetchDecodedPlanes(playback, &planes) || target == nullptr) return result;
  // A picture smaller than the coded size is not converted: the call fails.
  if (!planesHold(planes, params.decodedWidth, params.decodedHeight)) return 0;
  const auto codedWidth = static_cast<std::int32_t>(params.decodedWidth);
  const auto codedHeight = static_cast<std::int32_t>(params.decodedHeight);
  convertPlanes(planes, format, playback.rgb16Method, codedWidth, codedHeight, target);
  if (resize) {
    scaleRgb(format, params.rgbBuffer, codedWidth, codedHeight, rgb, static_cast<std::int32_t>(params.width),
             static_cast<std::int32_t>(params.height));
  }
  return result;
}

}  // namespace mp4lib::playback
