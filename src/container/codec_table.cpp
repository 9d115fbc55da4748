#include "codecs/codec_types.h"

#include "mp4lib_plugin.h"

namespace mp4lib::codecs {

std::uint32_t videoCodecTypeForId(std::int32_t codecId) {
  switch (codecId) {
    case 13: return MP4LIB_CODEC_TYPE_MPEG4V;
    case 70: return MP4LIB_CODEC_TYPE_VIDEO_70;
    case 1: return MP4LIB_CODEC_TYPE_MPEG1V;
    case 2: return MP4LIB_CODEC_TYPE_VIDEO_2;
    case 33: return MP4LIB_CODEC_TYPE_VIDEO_33;
    default: return MP4LIB_CODEC_TYPE_H263;
  }
}

std::uint32_t audioCodecTypeForId(std::int32_t codecId) {
  switch (codecId) {
    case 49: return MP4LIB_CODEC_TYPE_PCM;
    case 8: return MP4LIB_CODEC_TYPE_AUDIO_8;
    case 7: return MP4LIB_CODEC_TYPE_AUDIO_7;
    case 63: return MP4LIB_CODEC_TYPE_AMR;
    case 36:
    case 37: return MP4LIB_CODEC_TYPE_AAC;
    default: return MP4LIB_CODEC_TYPE_G723;
  }
}

}  // namespace mp4lib::codecs
