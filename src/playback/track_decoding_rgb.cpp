// The RGB variants of video track decoding: the entry is decoded without a
// picture buffer and the plug-in's planes are converted, at the display size
// or at a size the caller gives.
#include <cstdlib>

#include "mp4lib.h"
#include "reader/decoder_context.h"
#include "reader/rgb_output.h"
#include "reader/track_decoding.h"

namespace mp4lib::reader {

namespace {

bool entryInTrack(std::int32_t entry) {
  const frame::TrackRecord* track = videoTrack();
  return track != nullptr && entry >= 0 && entry < track->sampleCount;
}

// Decodes the entry and fetches its planes.
bool decodeForRgb(std::int32_t entry, std::uint32_t* timeMs, std::uint32_t* durationMs, DecodedPlanes* planes) {
  if (!entryInTrack(entry)) return false;
  std::uint32_t pictureBytes = 0;
  if (decodeVideoEntry(entry, nullptr, &pictureBytes, timeMs, durationMs) == 0) return false;
  return fetchDecodedPlanes(planes);
}

void putSize(std::uint32_t* out, std::uint32_t value) {
  if (out != nullptr) *out = value;
}

// Display size. The plug-in's picture has the decoded size; when asked to
// resize, or when the two sizes differ (converting at the display size would
// read outside the plug-in's planes), the picture goes through the RGB buffer
// and is scaled to the display size.
std::int32_t decodeAtDisplaySize(std::int32_t entry, RgbFormat format, std::uint8_t* rgb, std::uint32_t* size,
                                 std::uint32_t* timeMs, std::uint32_t* durationMs) {
  DecodedPlanes planes;
  if (!decodeForRgb(entry, timeMs, durationMs, &planes)) return 0;
  const MovieParams& params = movieParams();
  const auto width = static_cast<std::int32_t>(params.width);
  const auto height = static_cast<std::int32_t>(params.height);
  const auto decodedWidth = static_cast<std::int32_t>(params.decodedWidth);
  const auto decodedHeight = static_cast<std::int32_t>(params.decodedHeight);
  const bool sameSize = width == decodedWidth && height == decodedHeight;
  if ((params.lowFlagBits & 1) != 0 || !sameSize) {
    convertPlanes(planes, format, decodedWidth, decodedHeight, params.rgbBuffer);
    scaleRgb(format, params.rgbBuffer, decodedWidth, decodedHeight, rgb, width, height);
  } else {
    convertPlanes(planes, format, width, height, rgb);
  }
  putSize(size, params.width * params.height * rgbPixelBytes(format));
  return 1;
}

// A size of the caller's: converted straight when it is the decoded size,
// else through a temporary and scaled.
std::int32_t decodeAtTargetSize(std::int32_t entry, RgbFormat format, std::uint8_t* rgb, std::uint32_t* size,
                                std::int32_t targetWidth, std::int32_t targetHeight, std::uint32_t* timeMs,
                                std::uint32_t* durationMs) {
  if (targetWidth <= 0 || targetHeight <= 0) return 0;
  DecodedPlanes planes;
  if (!decodeForRgb(entry, timeMs, durationMs, &planes)) return 0;
  const MovieParams& params = movieParams();
  auto* temporary = static_cast<std::uint8_t*>(std::malloc(std::size_t{params.decodedLumaSize} * 3 + 1));
  if (temporary == nullptr) return 0;
  const auto decodedWidth = static_cast<std::int32_t>(params.decodedWidth);
  const auto decodedHeight = static_cast<std::int32_t>(params.decodedHeight);
  if (targetWidth == decodedWidth && targetHeight == decodedHeight) {
    convertPlanes(planes, format, decodedWidth, decodedHeight, rgb);
  } else {
    convertPlanes(planes, format, decodedWidth, decodedHeight, temporary);
    scaleRgb(format, temporary, decodedWidth, decodedHeight, rgb, targetWidth, targetHeight);
  }
  putSize(size, static_cast<std::uint32_t>(targetWidth) * static_cast<std::uint32_t>(targetHeight) *
                    rgbPixelBytes(format));
  std::free(temporary);
  return 1;
}

}  // namespace

}  // namespace mp4lib::reader

using namespace mp4lib;
using reader::RgbFormat;

extern "C" MP4LIB_API int32_t decode_RGB24_video_track(int32_t entry, uint8_t* rgb, uint32_t* size, uint32_t* timeMs) {
  return reader::decodeAtDisplaySize(entry, RgbFormat::kRgb24, rgb, size, timeMs, nullptr);
}

extern "C" MP4LIB_API int32_t decode_RGB16_video_track(int32_t entry, uint8_t* rgb, uint32_t* size, uint32_t* timeMs) {
  return reader::decodeAtDisplaySize(entry, RgbFormat::kRgb16, rgb, size, timeMs, nullptr);
}

extern "C" MP4LIB_API int32_t decode_RGB24_video_trackEx(int32_t entry, uint8_t* rgb, uint32_t* size, uint32_t* timeMs,
                                                         uint32_t* durationMs) {
  uint32_t duration = 0;
  return reader::decodeAtDisplaySize(entry, RgbFormat::kRgb24, rgb, size, timeMs,
                                     durationMs != nullptr ? durationMs : &duration);
}

extern "C" MP4LIB_API int32_t decode_RGB16_video_trackEx(int32_t entry, uint8_t* rgb, uint32_t* size, uint32_t* timeMs,
                                                         uint32_t* durationMs) {
  uint32_t duration = 0;
  return reader::decodeAtDisplaySize(entry, RgbFormat::kRgb16, rgb, size, timeMs,
                                     durationMs != nullptr ? durationMs : &duration);
}

extern "C" MP4LIB_API int32_t decode_RGB24_video_trackEx2(int32_t entry, uint8_t* rgb, uint32_t* size,
                                                          int32_t targetWidth, int32_t targetHeight, uint32_t* timeMs,
                                                          uint32_t* durationMs) {
  uint32_t duration = 0;
  return reader::decodeAtTargetSize(entry, RgbFormat::kRgb24, rgb, size, targetWidth, targetHeight, timeMs,
                                    durationMs != nullptr ? durationMs : &duration);
}

extern "C" MP4LIB_API int32_t decode_RGB16_video_trackEx2(int32_t entry, uint8_t* rgb, uint32_t* size,
                                                          int32_t targetWidth, int32_t targetHeight, uint32_t* timeMs,
                                                          uint32_t* durationMs) {
  uint32_t duration = 0;
  return reader::decodeAtTargetSize(entry, RgbFormat::kRgb16, rgb, size, targetWidth, targetHeight, timeMs,
                                    durationMs != nullptr ? durationMs : &duration);
}
