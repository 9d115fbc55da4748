// Playback: queue-driven decoding, the next sample in file order.
#include "api/library_state.h"
#include "codecs/plugin_calls.h"
#include "mp4lib.h"
#include "playback/queue_decoding.h"

using namespace mp4lib;
using playback::RgbFormat;

namespace {

playback::Playback playbackNow() { return api::playbackOf(api::libraryState()); }

Mp4Word queuedRgb(RgbFormat format, uint8_t* rgb, uint32_t* timeMs, uint32_t* durationMs) {
  playback::Playback playback = playbackNow();
  return playback::decodeQueuedRgb(playback, format, rgb, timeMs, durationMs);
}

}  // namespace

extern "C" MP4LIB_API Mp4Word decodeAudio(uint8_t* pcm, uint32_t* pcmLength) {
  playback::Playback playback = playbackNow();
  return playback::decodeQueuedAudio(playback, pcm, pcmLength);
}

extern "C" MP4LIB_API Mp4Word decodeVideo(uint8_t* yuv, uint32_t* timeMs) {
  playback::Playback playback = playbackNow();
  return playback::decodeQueuedVideo(playback, yuv, timeMs, nullptr);
}

extern "C" MP4LIB_API Mp4Word decodeVideoEx(uint8_t* yuv, uint32_t* timeMs, uint32_t* durationMs) {
  playback::Playback playback = playbackNow();
  return playback::decodeQueuedVideo(playback, yuv, timeMs, durationMs);
}

extern "C" MP4LIB_API Mp4Word decodeRGB24Video(uint8_t* rgb, uint32_t* timeMs) {
  return queuedRgb(RgbFormat::kRgb24, rgb, timeMs, nullptr);
}

extern "C" MP4LIB_API Mp4Word decodeRGB16Video(uint8_t* rgb, uint32_t* timeMs) {
  return queuedRgb(RgbFormat::kRgb16, rgb, timeMs, nullptr);
}

extern "C" MP4LIB_API Mp4Word decodeRGB24VideoEx(uint8_t* rgb, uint32_t* timeMs, uint32_t* durationMs) {
  return queuedRgb(RgbFormat::kRgb24, rgb, timeMs, durationMs);
}

extern "C" MP4LIB_API Mp4Word decodeRGB16VideoEx(uint8_t* rgb, uint32_t* timeMs, uint32_t* durationMs) {
  return queuedRgb(RgbFormat::kRgb16, rgb, timeMs, durationMs);
}

extern "C" MP4LIB_API Mp4Word decode_getyuv(uint8_t** y, uint8_t** u, uint8_t** v, uint32_t* pitch,
                                            uint32_t* chromaPitch) {
  const CodecPlugin* plugin = codecs::loaded(api::libraryState().plugins.active.videoDecoder);
  if (plugin == nullptr || plugin->getDecodeYUV == nullptr) return 0;
  return plugin->getDecodeYUV(reinterpret_cast<Mp4Word>(y), reinterpret_cast<Mp4Word>(u), reinterpret_cast<Mp4Word>(v),
                              reinterpret_cast<Mp4Word>(pitch), reinterpret_cast<Mp4Word>(chromaPitch));
}
