#include "common/codec_log.h"

#include <cstdlib>
#include <cstring>

extern "C" {
#include <libavutil/log.h>
}

namespace mp4lib::plugin {

int codecLogLevel(const char* setting) {
  return setting != nullptr && std::strcmp(setting, "verbose") == 0 ? AV_LOG_VERBOSE : AV_LOG_QUIET;
}

void applyCodecLogSetting() { av_log_set_level(codecLogLevel(std::getenv("MP4LIB_PLUGIN_LOG"))); }

}  // namespace mp4lib::plugin
