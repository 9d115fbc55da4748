// What the reader makes of a sample entry's tag: the codec identifier, the
// kind of track it makes, and the plug-in codec type that decodes it. The
// values themselves (MP4LIB_CODEC_ID_*, MP4LIB_CODEC_TYPE_*, MP4LIB_TAG_*,
// MP4LIB_KIND_*) are those of the plug-in interface, mp4lib_plugin.h.
#pragma once

#include <cstdint>

namespace mp4lib::container {

// Codec id of a sample entry tag (a four-character code), matched without
// regard to letter case; 0 when the table has no such tag.
std::int32_t videoCodecIdForTag(std::uint32_t tag);
std::int32_t audioCodecIdForTag(std::uint32_t tag);

// MP4LIB_KIND_VIDEO, MP4LIB_KIND_AUDIO or MP4LIB_KIND_UNSUPPORTED, by codec id.
std::int32_t codecKindForId(std::int32_t codecId);

// The plug-in codec type that decodes a codec id. Identifiers not listed map
// to MP4LIB_CODEC_TYPE_H263 (video) and MP4LIB_CODEC_TYPE_G723 (audio).
std::uint32_t videoCodecTypeForId(std::int32_t codecId);
std::uint32_t audioCodecTypeForId(std::int32_t codecId);

}  // namespace mp4lib::container
