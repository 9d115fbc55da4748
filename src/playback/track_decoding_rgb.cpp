// The RGB forms of video track decoding: the entry is decoded without a
// picture buffer and the plug-in's planes are converted, at the display size
// or at a size the caller gives.
#include "playback/track_decoding_rgb.h"

#include "platform/memory.h"

namespace mp4lib::playback {

namespace {

bool entryInTrack(Player& player, std::int32_t entry) {
  const container::TrackRecord* track = videoTrack(player);
  return track != nullptr && entry >= 0 && entry < track->sampleCount;
}

// Decodes the entry and fetches its planes, which must hold the decoded
// size the conversions read.
bool decodeForRgb(Playback& playback, std::int32_t entry, std::uint32_t* timeMs, std::uint32_t* durationMs,
                  DecodedPlanes* planes) {
  if (!entryInTrack(playback.player, entry)) return false;
  std::uint32_t pictureBytes = 0;
  if (decodeVideoEntry(playback, entry, nullptr, &pictureBytes, timeMs, durationMs) == 0) return false;
  const MovieParams& params = playback.player.params;
  return fetchDecodedPlanes(playback, planes) && planesHold(*planes, params.decodedWidth, params.decodedHeight);
}

void putSize(std::uint32_t* out, std::uint32_t value) {
  if (out != nullptr) *out = value;
}

}  // namespace

std::int32_t decodeAtDisplaySize(Playback& playback, std::int32_t entry, RgbFormat format, std::uint8_t* rgb,
                                 std::uint32_t* size, std::uint32_t* timeMs, std::uint32_t* durationMs) {
  DecodedPlanes planes;
  if (!decodeForRgb(playback, entry, timeMs, durationMs, &planes)) return 0;
  const MovieParams& params = playback.player.params;
  const auto width = static_cast<std::int32_t>(params.width);
  const auto height = static_cast<std::int32_t>(params.height);
  const auto decodedWidth = static_cast<std::int32_t>(params.decodedWidth);
  const auto decodedHeight = static_cast<std::int32_t>(params.decodedHeight);
  const bool sameSize = width == decodedWidth && height == decodedHeight;
  if ((params.lowFlagBits & 1) != 0 || !sameSize) {
    convertPlanes(planes, format, playback.rgb16Method, decodedWidth, decodedHeight, params.rgbBuffer);
    scaleRgb(format, params.rgbBuffer, decodedWidth, decodedHeight, rgb, width, height);
  } else {
    convertPlanes(planes, format, playback.rgb16Method, width, height, rgb);
  }
  putSize(size, params.width * params.height * rgbPixelBytes(format));
  return 1;
}

std::int32_t decodeAtTargetSize(Playback& playback, std::int32_t entry, RgbFormat format, std::uint8_t* rgb,
                                std::uint32_t* size, std::int32_t targetWidth, std::int32_t targetHeight,
                                std::uint32_t* timeMs, std::uint32_t* durationMs) {
  if (targetWidth <= 0 || targetHeight <= 0) return 0;
  DecodedPlanes planes;
  if (!decodeForRgb(playback, entry, timeMs, durationMs, &planes)) return 0;
  const MovieParams& params = playback.player.params;
  auto* temporary = static_cast<std::uint8_t*>(platform::allocate(std::size_t{params.decodedLumaSize} * 3 + 1));
  if (temporary == nullptr) return 0;
  const auto decodedWidth = static_cast<std::int32_t>(params.decodedWidth);
  const auto decodedHeight = static_cast<std::int32_t>(params.decodedHeight);
  if (targetWidth == decodedWidth && targetHeight == decodedHeight) {
    convertPlanes(planes, format, playback.rgb16Method, decodedWidth, decodedHeight, rgb);
  } else {
    convertPlanes(planes, format, playback.rgb16Method, decodedWidth, decodedHeight, temporary);
    scaleRgb(format, temporary, decodedWidth, decodedHeight, rgb, targetWidth, targetHeight);
  }
  putSize(size, static_cast<std::uint32_t>(targetWidth) * static_cast<std::uint32_t>(targetHeight) *
                    rgbPixelBytes(format));
  platform::release(temporary);
  return 1;
}

}  // namespace mp4lib::playback
