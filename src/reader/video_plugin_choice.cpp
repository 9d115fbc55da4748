#include "reader/decoder_setup.h"

#include "mp4lib.h"

namespace mp4lib::reader {

CodecPlugin* chooseVideoPlugin(std::uint32_t videoCodecCode, std::uint32_t descriptionCode) {
  if (CodecPlugin* plugin = codecs::findCodecPluginByType(videoCodecCode)) return plugin;
  if (CodecPlugin* plugin = codecs::findCodecPluginByType(convertDWORDToLittleEndian(videoCodecCode))) return plugin;
  return codecs::findCodecPluginByType(descriptionCode);
}

}  // namespace mp4lib::reader
