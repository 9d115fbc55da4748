#include "codecs/plugin_registry.h"

#include <cwchar>
#include <string>

namespace mp4lib::codecs {

namespace {

// Module file names longer than this are not searched beside.
constexpr std::size_t kModuleNameCapacity = 255;

template <typename Fn>
Fn bindEntry(platform::ModuleHandle module, const char* name) {
  return reinterpret_cast<Fn>(platform::findSymbol(module, name));
}

// Binds the eighteen entry points, in the order the interface lists them.
void bindEntryPoints(CodecPlugin& plugin) {
  const auto module = plugin.module;
  plugin.getCodecID = bindEntry<Mp4PluginIdentityFn>(module, "getCodecID");
  plugin.getCodecCategory = bindEntry<Mp4PluginIdentityFn>(module, "getCodecCategory");
  plugin.getCodecTag = bindEntry<Mp4PluginIdentityFn>(module, "getCodecTag");
  plugin.getCodecType = bindEntry<Mp4PluginIdentityFn>(module, "getCodecType");
  plugin.getVersion = bindEntry<Mp4PluginIdentityFn>(module, "getVersion");
  plugin.getAuthor = bindEntry<Mp4PluginIdentityFn>(module, "getAuthor");
  plugin.isInitEncode = bindEntry<Mp4PluginIdentityFn>(module, "isInitEncode");
  plugin.isInitDecode = bindEntry<Mp4PluginIdentityFn>(module, "isInitDecode");
  plugin.initEncode = bindEntry<Mp4PluginInitFn>(module, "initEncode");
  plugin.initDecode = bindEntry<Mp4PluginInitFn>(module, "initDecode");
  plugin.finalizeEncode = bindEntry<Mp4PluginFinalizeFn>(module, "finalizeEncode");
  plugin.finalizeDecode = bindEntry<Mp4PluginFinalizeFn>(module, "finalizeDecode");
  plugin.encode = bindEntry<Mp4PluginCodeFn>(module, "encode");
  plugin.decode = bindEntry<Mp4PluginCodeFn>(module, "decode");
  plugin.getFrameTime = bindEntry<Mp4PluginIdentityFn>(module, "getFrameTime");
  plugin.getDecodeYUV = bindEntry<Mp4PluginPlanesFn>(module, "getDecodeYUV");
  plugin.getReconYUV = bindEntry<Mp4PluginPlanesFn>(module, "getReconYUV");
  plugin.decodeFrameHeader = bindEntry<Mp4PluginHeaderFn>(module, "decodeFrameHeader");
}

// A plug-in without the four identity functions cannot be told apart from
// any other and would crash discovery, so it is not kept.
bool hasIdentity(const CodecPlugin& plugin) {
  return plugin.getCodecID && plugin.getCodecCategory && plugin.getCodecTag && plugin.getCodecType;
}

void askIdentity(CodecPlugin& plugin) {
  plugin.codecId = static_cast<std::uint32_t>(plugin.getCodecID());
  plugin.codecCategory = static_cast<std::uint32_t>(plugin.getCodecCategory());
  plugin.codecTag = static_cast<std::uint32_t>(plugin.getCodecTag());
  plugin.codecType = static_cast<std::uint32_t>(plugin.getCodecType());
}

// Loads one candidate into the next free record; true when it was kept.
bool loadPlugin(PluginRegistry& registry, const std::wstring& path) {
  CodecPlugin& plugin = registry.table[registry.count];
  plugin = CodecPlugin{};
  registry.getDecodeSize[registry.count] = nullptr;
  plugin.module = platform::loadLibrary(path.c_str());
  if (plugin.module == nullptr) return false;
  bindEntryPoints(plugin);
  if (!hasIdentity(plugin)) {
    platform::unloadLibrary(plugin.module);
    plugin = CodecPlugin{};
    return false;
  }
  askIdentity(plugin);
  registry.getDecodeSize[registry.count] = bindEntry<Mp4PluginSizeFn>(plugin.module, "getDecodeSize");
  ++registry.count;
  return true;
}

}  // namespace

void discoverCodecPlugins(PluginRegistry& registry) {
  wchar_t moduleFile[kModuleNameCapacity];
  if (platform::moduleFileName(moduleFile, kModuleNameCapacity) == 0) {
    registry.count = 0;
    return;
  }
  discoverCodecPluginsBeside(registry, moduleFile);
}

void discoverCodecPluginsBeside(PluginRegistry& registry, const wchar_t* moduleFile) {
  registry.count = 0;
  if (moduleFile == nullptr) return;
  const wchar_t* lastSeparator = std::wcsrchr(moduleFile, platform::kPathSeparator);
  const std::wstring folder = lastSeparator ? std::wstring(moduleFile, lastSeparator + 1) : std::wstring();
  for (const std::wstring& name : platform::findFiles(folder, platform::kPluginPattern)) {
    if (registry.count == MP4LIB_MAX_PLUGINS) break;
    loadPlugin(registry, folder + name);
  }
}

void unloadCodecPlugins(PluginRegistry& registry) {
  for (int i = 0; i < registry.count; ++i) {
    platform::unloadLibrary(registry.table[i].module);
    registry.table[i].module = nullptr;
  }
}

CodecPlugin* codecPluginAt(PluginRegistry& registry, int index) {
  return index >= 0 && index < registry.count ? &registry.table[index] : nullptr;
}

Mp4PluginSizeFn decodeSizeEntry(const PluginRegistry& registry, const CodecPlugin* plugin) {
  for (int i = 0; i < registry.count; ++i) {
    if (&registry.table[i] == plugin) return plugin->module != nullptr ? registry.getDecodeSize[i] : nullptr;
  }
  return nullptr;
}

CodecPlugin* findCodecPluginByType(PluginRegistry& registry, std::uint32_t codecType) {
  for (int i = 0; i < registry.count; ++i) {
    // Records of unloaded modules point at code that is gone.
    CodecPlugin& plugin = registry.table[i];
    if (plugin.module != nullptr && plugin.codecType == codecType) return &plugin;
  }
  return nullptr;
}

CodecPlugin* findCodecPlugin(PluginRegistry& registry, std::uint32_t codecType, std::uint32_t category) {
  for (int i = 0; i < registry.count; ++i) {
    CodecPlugin& plugin = registry.table[i];
    if (plugin.module != nullptr && plugin.codecType == codecType && plugin.codecCategory == category) return &plugin;
  }
  return nullptr;
}

}  // namespace mp4lib::codecs
