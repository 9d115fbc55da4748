// What each codec plug-in implements. entry_points.cpp turns it into the
// eighteen exported functions of the plug-in SDK; every entry point catches
// exceptions so none crosses into the library.
#pragma once

#include <cstdint>

#include "mp4lib_plugin.h"

namespace mp4lib::plugin {

struct Identity {
  std::uint32_t codecId;
  std::uint32_t category;
  std::uint32_t tag;
  std::uint32_t type;
  const char* author;
};

class PluginCodec {
 public:
  virtual ~PluginCodec() = default;
  // Each returns the SDK's "bool" (1 success, 0 failure) unless noted.
  virtual Mp4Word initEncode(Mp4Word, Mp4Word) { return 0; }
  virtual Mp4Word initDecode(Mp4Word, Mp4Word) { return 0; }
  virtual void finalizeEncode() {}
  virtual void finalizeDecode() {}
  virtual Mp4Word encode(Mp4Word, Mp4Word, Mp4Word, Mp4Word, Mp4Word) { return 0; }
  virtual Mp4Word decode(Mp4Word, Mp4Word, Mp4Word, Mp4Word, Mp4Word) { return 0; }
  virtual Mp4Word getDecodeYUV(Mp4Word, Mp4Word, Mp4Word, Mp4Word, Mp4Word) { return 0; }
  virtual Mp4Word getReconYUV(Mp4Word, Mp4Word, Mp4Word, Mp4Word, Mp4Word) { return 0; }
  virtual Mp4Word getDecodeSize(Mp4Word, Mp4Word) { return 0; }
  virtual Mp4Word decodeFrameHeader(Mp4Word, Mp4Word, Mp4Word) { return MP4LIB_FRAME_NONE; }
};

// Defined once by each plug-in.
extern const Identity kIdentity;
PluginCodec& pluginCodec();

// The capacity of an output buffer as the SDK defines it: *size when nonzero,
// else `otherwise`.
inline std::uint32_t outputCapacity(const std::uint32_t* size, std::uint32_t otherwise) {
  return *size != 0 ? *size : otherwise;
}

}  // namespace mp4lib::plugin
