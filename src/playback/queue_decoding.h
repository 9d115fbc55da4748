// Queue-driven video decoding, shared by decodeVideo, decodeVideoEx and
// their RGB forms.
#pragma once

#include <cstdint>

#include "mp4lib_plugin.h"

namespace mp4lib::codecs {

// Decodes the oldest queued video sample, with `picture` as the plug-in's
// picture buffer (or 0). *timeMs (and, when durationMs is given, the
// duration) as decodeVideoEx reports them; null pointers are not written.
// The plug-in feed result, or 0 when no movie is open or nothing is queued.
Mp4Word decodeQueuedVideo(std::uint8_t* picture, std::uint32_t* timeMs, std::uint32_t* durationMs);

}  // namespace mp4lib::codecs
