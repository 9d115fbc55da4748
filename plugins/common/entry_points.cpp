// The eighteen exports of a codec plug-in and the optional getDecodeSize, forwarding to its PluginCodec.
#define MP4LIB_BUILDING_PLUGIN
#include <exception>

#include "common/codec_log.h"
#include "common/plugin_codec.h"

using mp4lib::plugin::kIdentity;
using mp4lib::plugin::pluginCodec;

namespace {

// libavcodec's log level is set once, as the plug-in is loaded, before any
// call can make it speak (see common/codec_log.h).
const bool kCodecLogApplied = (mp4lib::plugin::applyCodecLogSetting(), true);

// Runs a call into the codec; an exception (out of memory) is a failure.
template <typename Call>
Mp4Word guarded(Call call) {
  try {
    return call();
  } catch (...) {
    return 0;
  }
}

}  // namespace

extern "C" {

MP4LIB_PLUGIN_EXPORT Mp4Word getCodecID(void) { return kIdentity.codecId; }
MP4LIB_PLUGIN_EXPORT Mp4Word getCodecCategory(void) { return kIdentity.category; }
MP4LIB_PLUGIN_EXPORT Mp4Word getCodecTag(void) { return kIdentity.tag; }
MP4LIB_PLUGIN_EXPORT Mp4Word getCodecType(void) { return kIdentity.type; }
MP4LIB_PLUGIN_EXPORT Mp4Word getVersion(void) { return 0x00010000; }
MP4LIB_PLUGIN_EXPORT Mp4Word getAuthor(void) { return reinterpret_cast<Mp4Word>(kIdentity.author); }
MP4LIB_PLUGIN_EXPORT Mp4Word isInitEncode(void) { return 0; }
MP4LIB_PLUGIN_EXPORT Mp4Word isInitDecode(void) { return 0; }
MP4LIB_PLUGIN_EXPORT Mp4Word getFrameTime(void) { return 0; }

MP4LIB_PLUGIN_EXPORT Mp4Word initEncode(Mp4Word a, Mp4Word b) {
  return guarded([&] { return pluginCodec().initEncode(a, b); });
}

MP4LIB_PLUGIN_EXPORT Mp4Word initDecode(Mp4Word a, Mp4Word b) {
  return guarded([&] { return pluginCodec().initDecode(a, b); });
}

MP4LIB_PLUGIN_EXPORT Mp4Word finalizeEncode(Mp4Word) {
  return guarded([&]() -> Mp4Word {
    pluginCodec().finalizeEncode();
    return 1;
  });
}

MP4LIB_PLUGIN_EXPORT Mp4Word finalizeDecode(Mp4Word) {
  return guarded([&]() -> Mp4Word {
    pluginCodec().finalizeDecode();
    return 1;
  });
}

MP4LIB_PLUGIN_EXPORT Mp4Word encode(Mp4Word a, Mp4Word b, Mp4Word c, Mp4Word d, Mp4Word e) {
  return guarded([&] { return pluginCodec().encode(a, b, c, d, e); });
}

MP4LIB_PLUGIN_EXPORT Mp4Word decode(Mp4Word a, Mp4Word b, Mp4Word c, Mp4Word d, Mp4Word e) {
  return guarded([&] { return pluginCodec().decode(a, b, c, d, e); });
}

MP4LIB_PLUGIN_EXPORT Mp4Word getDecodeYUV(Mp4Word y, Mp4Word u, Mp4Word v, Mp4Word pitch, Mp4Word chromaPitch) {
  return guarded([&] { return pluginCodec().getDecodeYUV(y, u, v, pitch, chromaPitch); });
}

MP4LIB_PLUGIN_EXPORT Mp4Word getReconYUV(Mp4Word y, Mp4Word u, Mp4Word v, Mp4Word pitch, Mp4Word chromaPitch) {
  return guarded([&] { return pluginCodec().getReconYUV(y, u, v, pitch, chromaPitch); });
}

MP4LIB_PLUGIN_EXPORT Mp4Word getDecodeSize(Mp4Word width, Mp4Word height) {
  return guarded([&] { return pluginCodec().getDecodeSize(width, height); });
}

MP4LIB_PLUGIN_EXPORT Mp4Word decodeFrameHeader(Mp4Word frame, Mp4Word length, Mp4Word p3) {
  return guarded([&] { return pluginCodec().decodeFrameHeader(frame, length, p3); });
}

}  // extern "C"
