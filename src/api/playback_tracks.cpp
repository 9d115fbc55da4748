// Playback: decoding by entry number, as YUV, RGB and PCM.
#include "api/library_state.h"
#include "mp4lib.h"
#include "playback/track_decoding.h"
#include "playback/track_decoding_rgb.h"

using namespace mp4lib;
using playback::RgbFormat;

namespace {

playback::Playback playbackNow() { return api::playbackOf(api::libraryState()); }

// The Ex calls always learn the duration, even when the caller passes null.
uint32_t* durationOut(uint32_t* durationMs, uint32_t* unused) { return durationMs != nullptr ? durationMs : unused; }

std::int32_t rgbAtDisplaySize(int32_t entry, RgbFormat format, uint8_t* rgb, uint32_t* size, uint32_t* timeMs,
                              uint32_t* durationMs) {
  playback::Playback playback = playbackNow();
  return playback::decodeAtDisplaySize(playback, entry, format, rgb, size, timeMs, durationMs);
}

std::int32_t rgbAtTargetSize(int32_t entry, RgbFormat format, uint8_t* rgb, uint32_t* size, int32_t targetWidth,
                             int32_t targetHeight, uint32_t* timeMs, uint32_t* durationMs) {
  playback::Playback playback = playbackNow();
  return playback::decodeAtTargetSize(playback, entry, format, rgb, size, targetWidth, targetHeight, timeMs,
                                      durationMs);
}

}  // namespace

extern "C" MP4LIB_API int32_t decode_video_track(int32_t entry, uint8_t* yuv, uint32_t* size, uint32_t* timeMs) {
  playback::Playback playback = playbackNow();
  return playback::decodeVideoEntry(playback, entry, yuv, size, timeMs, nullptr);
}

extern "C" MP4LIB_API int32_t decode_video_trackEx(int32_t entry, uint8_t* yuv, uint32_t* size, uint32_t* timeMs,
                                                   uint32_t* durationMs) {
  uint32_t unused = 0;
  playback::Playback playback = playbackNow();
  return playback::decodeVideoEntry(playback, entry, yuv, size, timeMs, durationOut(durationMs, &unused));
}

extern "C" MP4LIB_API Mp4Word decode_audio_track(int32_t entry, uint8_t* pcm, uint32_t* pcmLength, uint32_t* timeMs,
                                                 uint32_t* bytesLeft) {
  playback::Playback playback = playbackNow();
  return playback::decodeAudioEntry(playback, entry, pcm, pcmLength, timeMs, bytesLeft);
}

extern "C" MP4LIB_API int32_t decode_RGB24_video_track(int32_t entry, uint8_t* rgb, uint32_t* size, uint32_t* timeMs) {
  return rgbAtDisplaySize(entry, RgbFormat::kRgb24, rgb, size, timeMs, nullptr);
}

extern "C" MP4LIB_API int32_t decode_RGB16_video_track(int32_t entry, uint8_t* rgb, uint32_t* size, uint32_t* timeMs) {
  return rgbAtDisplaySize(entry, RgbFormat::kRgb16, rgb, size, timeMs, nullptr);
}

extern "C" MP4LIB_API int32_t decode_RGB24_video_trackEx(int32_t entry, uint8_t* rgb, uint32_t* size, uint32_t* timeMs,
                                                         uint32_t* durationMs) {
  uint32_t unused = 0;
  return rgbAtDisplaySize(entry, RgbFormat::kRgb24, rgb, size, timeMs, durationOut(durationMs, &unused));
}

extern "C" MP4LIB_API int32_t decode_RGB16_video_trackEx(int32_t entry, uint8_t* rgb, uint32_t* size, uint32_t* timeMs,
                                                         uint32_t* durationMs) {
  uint32_t unused = 0;
  return rgbAtDisplaySize(entry, RgbFormat::kRgb16, rgb, size, timeMs, durationOut(durationMs, &unused));
}

extern "C" MP4LIB_API int32_t decode_RGB24_video_trackEx2(int32_t entry, uint8_t* rgb, uint32_t* size,
                                                          int32_t targetWidth, int32_t targetHeight, uint32_t* timeMs,
                                                          uint32_t* durationMs) {
  uint32_t unused = 0;
  return rgbAtTargetSize(entry, RgbFormat::kRgb24, rgb, size, targetWidth, targetHeight, timeMs,
                         durationOut(durationMs, &unused));
}

extern "C" MP4LIB_API int32_t decode_RGB16_video_trackEx2(int32_t entry, uint8_t* rgb, uint32_t* size,
                                                          int32_t targetWidth, int32_t targetHeight, uint32_t* timeMs,
                                                          uint32_t* durationMs) {
  uint32_t unused = 0;
  return rgbAtTargetSize(entry, RgbFormat::kRgb16, rgb, size, targetWidth, targetHeight, timeMs,
                         durationOut(durationMs, &unused));
}
