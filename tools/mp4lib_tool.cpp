// mp4lib command-line tool. For now it starts the library, lists the codec
// plug-ins found beside it and converts a small RGB16 test picture to YUV.
#include <cstdio>
#include <cstring>

#include "codecs/plugin_registry.h"
#include "mp4lib.h"
#include "pixels/tables.h"

namespace {

void printFourCC(std::uint32_t code) {
  for (int shift = 24; shift >= 0; shift -= 8) {
    const char c = static_cast<char>((code >> shift) & 0xFF);
    std::putchar(c >= 32 && c < 127 ? c : '?');
  }
}

void listPlugins() {
  const int count = mp4lib::codecs::codecPluginCount();
  std::printf("codec plug-ins found: %d\n", count);
  for (int i = 0; i < count; ++i) {
    const CodecPlugin* plugin = mp4lib::codecs::codecPluginAt(i);
    std::printf("  #%d  type 0x%08X  id %u  tag \"", i, plugin->codecType, plugin->codecId);
    printFourCC(plugin->codecTag);
    std::printf("\"  %s\n", plugin->codecCategory == MP4LIB_CATEGORY_AUDIO ? "audio" : "video");
  }
}

// Eight colour bars in 5-6-5, converted through the library's lookup tables.
int convertTestPicture() {
  static const struct {
    const char* name;
    std::uint16_t pixel;
  } kBars[] = {{"white", 0xFFFF}, {"yellow", 0xFFE0}, {"cyan", 0x07FF}, {"green", 0x07E0},
               {"magenta", 0xF81F}, {"red", 0xF800}, {"blue", 0x001F}, {"black", 0x0000}};
  const mp4lib::pixels::LookupTables tables = mp4lib::pixels::lookupTables();
  if (tables.y == nullptr) {
    std::fprintf(stderr, "mp4lib: the colour lookup tables were not built (out of memory?)\n");
    return 1;
  }
  std::printf("RGB16 test bars as Y U V:\n");
  for (const auto& bar : kBars) {
    std::printf("  %-8s 0x%04X -> %3u %3u %3u\n", bar.name, bar.pixel, tables.y[bar.pixel], tables.u[bar.pixel],
                tables.v[bar.pixel]);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1 && (std::strcmp(argv[1], "-h") == 0 || std::strcmp(argv[1], "--help") == 0)) {
    std::printf("usage: mp4lib\n  Starts the library, lists its codec plug-ins and converts a test picture.\n");
    return 0;
  }
  initMp4Lib();
  listPlugins();
  const int result = convertTestPicture();
  finalizeMp4Lib();
  return result;
}
