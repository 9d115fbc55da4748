// The codec plug-in table: discovery of the plug-in libraries beside mp4lib,
// binding of their eighteen entry points, selection by codec type, and the
// four plug-ins currently in use. The library owns one table.
#pragma once

#include <cstdint>

#include "mp4lib_plugin.h"
#include "platform/platform.h"

// One loaded plug-in. The identity values are asked once, at discovery.
struct CodecPlugin {
  mp4lib::platform::ModuleHandle module;  // null after unload
  std::uint32_t codecId;
  std::uint32_t codecCategory;
  std::uint32_t codecTag;
  std::uint32_t codecType;
  Mp4PluginIdentityFn getCodecID;
  Mp4PluginIdentityFn getCodecCategory;
  Mp4PluginIdentityFn getCodecTag;
  Mp4PluginIdentityFn getCodecType;
  Mp4PluginIdentityFn getVersion;
  Mp4PluginIdentityFn getAuthor;
  Mp4PluginIdentityFn isInitEncode;
  Mp4PluginIdentityFn isInitDecode;
  Mp4PluginInitFn initEncode;
  Mp4PluginInitFn initDecode;
  Mp4PluginFinalizeFn finalizeEncode;
  Mp4PluginFinalizeFn finalizeDecode;
  Mp4PluginCodeFn encode;
  Mp4PluginCodeFn decode;
  Mp4PluginIdentityFn getFrameTime;
  Mp4PluginPlanesFn getDecodeYUV;
  Mp4PluginPlanesFn getReconYUV;
  Mp4PluginHeaderFn decodeFrameHeader;
};

namespace mp4lib::codecs {

// The plug-ins in use; every call into a plug-in after set-up goes through
// one of these.
struct ActivePlugins {
  CodecPlugin* videoEncoder = nullptr;
  CodecPlugin* audioEncoder = nullptr;
  CodecPlugin* videoDecoder = nullptr;
  CodecPlugin* audioDecoder = nullptr;
};

// Room for ten plug-ins; discovery stops loading when the table is full.
// Entry points beyond the eighteen of the plug-in record sit beside it, one
// row per plug-in.
struct PluginRegistry {
  CodecPlugin table[MP4LIB_MAX_PLUGINS] = {};
  Mp4PluginSizeFn getDecodeSize[MP4LIB_MAX_PLUGINS] = {};
  int count = 0;
  ActivePlugins active;
};

// Fills the table from the folder of this library's own module file.
void discoverCodecPlugins(PluginRegistry& registry);
// Fills the table from the folder of `moduleFile` (the text up to and
// including its last path separator; none means the current folder).
void discoverCodecPluginsBeside(PluginRegistry& registry, const wchar_t* moduleFile);
// Frees every loaded module. The count stays as it was.
void unloadCodecPlugins(PluginRegistry& registry);

CodecPlugin* codecPluginAt(PluginRegistry& registry, int index);  // null outside 0..count-1
// The plug-in's optional getDecodeSize, or null (also for a plug-in that is
// not in the table).
Mp4PluginSizeFn decodeSizeEntry(const PluginRegistry& registry, const CodecPlugin* plugin);
// First plug-in in table order whose codec type equals `codecType`, or null.
CodecPlugin* findCodecPluginByType(PluginRegistry& registry, std::uint32_t codecType);
// The same among the plug-ins of one category (MP4LIB_CATEGORY_VIDEO or
// _AUDIO): a file or a caller naming an audio codec type for its pictures
// (or the other way round) finds none, rather than a plug-in that would
// read and write its buffers by the other kind's rules.
CodecPlugin* findCodecPlugin(PluginRegistry& registry, std::uint32_t codecType, std::uint32_t category);

}  // namespace mp4lib::codecs
