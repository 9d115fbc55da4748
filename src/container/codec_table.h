// Which plug-in codec type decodes a track, from the codec identifier the
// file reader gives its sample description.
#pragma once

#include <cstdint>

namespace mp4lib::codecs {

// Identifiers not listed map to MP4LIB_CODEC_TYPE_H263 (video) and
// MP4LIB_CODEC_TYPE_G723 (audio).
std::uint32_t videoCodecTypeForId(std::int32_t codecId);
std::uint32_t audioCodecTypeForId(std::int32_t codecId);

}  // namespace mp4lib::codecs
