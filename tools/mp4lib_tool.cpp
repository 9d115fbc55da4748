// mp4lib command-line tool: records movies and plays them back through the
// library's exported functions.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "commands.h"
#include "mp4lib.h"

namespace {

using mp4lib::tool::PlayOptions;
using mp4lib::tool::RecordOptions;

void usage() {
  std::printf(
      "usage:\n"
      "  mp4lib                       record movie.3gp (10 s of test picture and tone, H.263 176x144\n"
      "                               15 fps with AMR) and play it into movie-frames/\n"
      "  mp4lib record [options] OUT  record a movie\n"
      "      --video h263|mpeg4|none  --audio amr|g723|none  --size WxH  --fps N  --seconds S\n"
      "      --input-video FILE (.y4m, .yuv I420 or .rgb RGB24 at --size)  --input-audio FILE (.wav, 8 kHz mono)\n"
      "      --live                   capture the sound from the default input device for --seconds,\n"
      "                               in real time; the pictures follow the captured time\n"
      "  mp4lib play [--out DIR] [--every N] IN   decode every frame to PNG and the audio to audio.wav\n"
      "  mp4lib play --device IN      play the audio through the default output device, in real time\n"
      "  mp4lib plugins               list the codec plug-ins found beside the library\n");
}

bool parseSize(const char* text, std::uint32_t* width, std::uint32_t* height) {
  unsigned w = 0, h = 0;
  if (std::sscanf(text, "%ux%u", &w, &h) != 2 || w == 0 || h == 0) return false;
  *width = w;
  *height = h;
  return true;
}

// Reads the value after option argv[*i]; reports a missing one.
const char* value(int argc, char** argv, int* i) {
  if (*i + 1 >= argc) {
    std::fprintf(stderr, "mp4lib: option %s needs a value\n", argv[*i]);
    return nullptr;
  }
  return argv[++*i];
}

int recordCommand(int argc, char** argv, RecordOptions* options) {
  for (int i = 2; i < argc; ++i) {
    const std::string option = argv[i];
    if (option.rfind("--", 0) != 0) {
      options->output = option;
      continue;
    }
    if (option == "--live") {
      options->live = true;
      continue;
    }
    const char* text = value(argc, argv, &i);
    if (text == nullptr) return 2;
    if (option == "--video") {
      options->video = text;
    } else if (option == "--audio") {
      options->audio = text;
    } else if (option == "--size") {
      if (!parseSize(text, &options->width, &options->height)) {
        std::fprintf(stderr, "mp4lib: --size wants WIDTHxHEIGHT, such as 176x144, not \"%s\"\n", text);
        return 2;
      }
    } else if (option == "--fps") {
      options->frameRate = std::atof(text);
    } else if (option == "--seconds") {
      options->seconds = std::atof(text);
    } else if (option == "--input-video") {
      options->videoInput = text;
    } else if (option == "--input-audio") {
      options->audioInput = text;
    } else {
      std::fprintf(stderr, "mp4lib: unknown option %s\n", option.c_str());
      return 2;
    }
  }
  if (!(options->frameRate > 0 && options->frameRate <= 120) || !(options->seconds > 0)) {
    std::fprintf(stderr, "mp4lib: --fps must be between 0 and 120 and --seconds above 0\n");
    return 2;
  }
  return mp4lib::tool::record(*options);
}

int playCommand(int argc, char** argv, PlayOptions* options) {
  for (int i = 2; i < argc; ++i) {
    const std::string option = argv[i];
    if (option == "--device") {
      options->device = true;
    } else if (option == "--out" || option == "--every") {
      const char* text = value(argc, argv, &i);
      if (text == nullptr) return 2;
      if (option == "--out") options->outputFolder = text;
      if (option == "--every") options->everyNthFrame = static_cast<std::uint32_t>(std::max(1, std::atoi(text)));
    } else if (option.rfind("--", 0) == 0) {
      std::fprintf(stderr, "mp4lib: unknown option %s\n", option.c_str());
      return 2;
    } else {
      options->input = option;
    }
  }
  return mp4lib::tool::play(*options);
}

}  // namespace

int mp4lib::tool::listPlugins() {
  const int count = mp4libPluginCount();
  std::printf("codec plug-ins found: %d\n", count);
  Mp4PluginInfo plugin{};
  for (int i = 0; mp4libPluginInfo(i, &plugin) != 0; ++i) {
    char tag[5];
    for (int k = 0; k < 4; ++k) tag[k] = static_cast<char>(plugin.codecTag >> (24 - 8 * k));
    tag[4] = 0;
    std::printf("  type 0x%08X  id %2u  \"%s\"  %s\n", plugin.codecType, plugin.codecId, tag,
                plugin.category == MP4LIB_CATEGORY_AUDIO ? "audio" : "video");
  }
  return count > 0 ? 0 : 1;
}

int main(int argc, char** argv) {
  const std::string command = argc > 1 ? argv[1] : "";
  if (command == "-h" || command == "--help" || command == "help") {
    usage();
    return 0;
  }
  initMp4Lib();
  int result = 2;
  if (command.empty()) {
    RecordOptions record;
    PlayOptions play;
    result = mp4lib::tool::record(record);
    if (result == 0) result = mp4lib::tool::play(play);
  } else if (command == "record") {
    RecordOptions options;
    result = recordCommand(argc, argv, &options);
  } else if (command == "play") {
    PlayOptions options;
    result = playCommand(argc, argv, &options);
  } else if (command == "plugins") {
    result = mp4lib::tool::listPlugins();
  } else {
    std::fprintf(stderr, "mp4lib: unknown command \"%s\"\n", command.c_str());
    usage();
  }
  finalizeMp4Lib();
  return result;
}
