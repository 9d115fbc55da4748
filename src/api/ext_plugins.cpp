// Extension: the codec plug-ins the library loaded.
#include "api/library_state.h"
#include "mp4lib.h"

using namespace mp4lib;

extern "C" MP4LIB_API int32_t mp4libPluginCount(void) { return api::libraryState().plugins.count; }

extern "C" MP4LIB_API int32_t mp4libPluginInfo(int32_t index, Mp4PluginInfo* info) {
  const CodecPlugin* plugin = codecs::codecPluginAt(api::libraryState().plugins, index);
  if (plugin == nullptr || info == nullptr) return 0;
  info->codecType = plugin->codecType;
  info->codecId = plugin->codecId;
  info->codecTag = plugin->codecTag;
  info->category = plugin->codecCategory;
  return 1;
}
