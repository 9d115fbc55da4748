// Opens a movie the way a player would and closes it again, for timing as a
// whole process next to ffprobe: open_movie <movie> <plug-in folder>.
#include <cstdio>
#include <filesystem>

#include "api/library_state.h"
#include "codecs/plugin_registry.h"
#include "mp4lib.h"

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: %s <movie> <plug-in folder>\n", argv[0]);
    return 2;
  }
  namespace fs = std::filesystem;
  mp4lib::codecs::PluginRegistry& plugins = mp4lib::api::libraryState().plugins;
  mp4lib::codecs::discoverCodecPluginsBeside(plugins, (fs::path(argv[2]) / "mp4lib").wstring().c_str());
  MovieParams* params = nullptr;
  if (initDecoder(fs::path(argv[1]).wstring().c_str(), &params) != 1) {
    std::fprintf(stderr, "cannot open %s\n", argv[1]);
    return 1;
  }
  std::uint32_t frames = 0;
  std::uint32_t duration = 0;
  getVideoFrameNum(&frames);
  getMovieDuration(&duration);
  std::printf("%u frames, %u ms, %ux%u\n", frames, duration, params->width, params->height);
  finalizeDecoder();
  mp4lib::codecs::unloadCodecPlugins(plugins);
  return 0;
}
