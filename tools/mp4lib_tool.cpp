// mp4lib command-line tool: records movies, plays them back and makes
// contact sheets through the library's exported functions. The command line
// is read in full before the library starts, so a usage error touches no
// file and loads no plug-in.
#include <cstdio>
#include <string>
#include <vector>

#include "arguments.h"
#include "commands.h"
#include "help.h"
#include "mp4lib.h"
#include "recorder.h"
#include "system.h"

namespace {

using namespace mp4lib::tool;

// Runs a command between initMp4Lib and finalizeMp4Lib. The plug-ins read
// MP4LIB_PLUGIN_LOG once, when initMp4Lib loads them.
template <typename Command>
int withLibrary(const CommonOptions& common, Command command) {
  if (common.verbose && !setEnvironmentVariable("MP4LIB_PLUGIN_LOG", "verbose")) {
    std::fprintf(stderr, "mp4lib: cannot set MP4LIB_PLUGIN_LOG; the codec libraries stay quiet\n");
  }
  initMp4Lib();
  const int status = command();
  finalizeMp4Lib();
  return status;
}

bool showsProgress(const CommonOptions& common) { return !common.quiet && standardErrorIsTerminal(); }

// The codecs named, and what --live goes with: checked with the command
// line, before any file is read.
int checkRecordChoices(const Arguments& arguments, const RecordOptions& options) {
  Codecs codecs;
  if (!chooseCodecs(options, &codecs)) return kUsageError;
  if (options.live && (!codecs.audio || !options.audioInput.empty())) {
    return arguments.usageError("--live records the sound of the input device: it needs --audio amr or g723 and "
                                "no --input-audio");
  }
  return kDone;
}

int parseRecord(Arguments& arguments, RecordOptions* options, CommonOptions* common) {
  bool haveOutput = false;
  while (arguments.next()) {
    const std::string& word = arguments.word();
    bool ok = true;
    if (!arguments.isOption()) {
      ok = arguments.file(&options->output, &haveOutput);
    } else if (arguments.commonOption(common)) {
    } else if (word == "--live") {
      options->live = true;
    } else if (word == "--video") {
      ok = arguments.text(&options->video);
    } else if (word == "--audio") {
      ok = arguments.text(&options->audio);
    } else if (word == "--size") {
      ok = arguments.size(&options->width, &options->height);
    } else if (word == "--fps") {
      ok = arguments.number(0, 120, &options->frameRate);
    } else if (word == "--seconds") {
      ok = arguments.number(0, 86400, &options->seconds);
    } else if (word == "--input-video") {
      ok = arguments.text(&options->videoInput);
    } else if (word == "--input-audio") {
      ok = arguments.text(&options->audioInput);
    } else {
      return arguments.unknownOption();
    }
    if (!ok) return kUsageError;
  }
  return checkRecordChoices(arguments, *options);
}

int parsePlay(Arguments& arguments, PlayOptions* options, CommonOptions* common) {
  bool haveInput = false;
  while (arguments.next()) {
    const std::string& word = arguments.word();
    bool ok = true;
    if (!arguments.isOption()) {
      ok = arguments.file(&options->input, &haveInput);
    } else if (arguments.commonOption(common)) {
    } else if (word == "--device") {
      options->device = true;
    } else if (word == "--out") {
      ok = arguments.text(&options->outputFolder);
    } else if (word == "--every") {
      ok = arguments.wholeNumber(1, 1000000, &options->everyNthFrame);
    } else {
      return arguments.unknownOption();
    }
    if (!ok) return kUsageError;
  }
  return kDone;
}

int parseThumbs(Arguments& arguments, ThumbsOptions* options, CommonOptions* common) {
  bool haveInput = false;
  while (arguments.next()) {
    const std::string& word = arguments.word();
    bool ok = true;
    if (!arguments.isOption()) {
      ok = arguments.file(&options->input, &haveInput);
    } else if (arguments.commonOption(common)) {
    } else if (word == "--out") {
      ok = arguments.text(&options->output);
    } else if (word == "--columns") {
      ok = arguments.wholeNumber(1, 64, &options->columns);
    } else if (word == "--count") {
      ok = arguments.wholeNumber(1, 1000, &options->count);
    } else if (word == "--width") {
      ok = arguments.wholeNumber(16, 4096, &options->width);
    } else {
      return arguments.unknownOption();
    }
    if (!ok) return kUsageError;
  }
  return haveInput ? kDone : arguments.usageError("which movie? (mp4lib thumbs MOVIE.3gp)");
}

// The default job and `plugins` take the common options only.
int parseCommonOnly(Arguments& arguments, CommonOptions* common) {
  while (arguments.next()) {
    if (!arguments.commonOption(common)) {
      return arguments.isOption() ? arguments.unknownOption()
                                  : arguments.usageError("takes no file, but was given \"" + arguments.word() + "\"");
    }
  }
  return kDone;
}

// Records movie.3gp with every default and plays it into movie-frames/.
int defaultJob(Arguments& arguments) {
  CommonOptions common;
  if (const int status = parseCommonOnly(arguments, &common); status != kDone) return status;
  RecordOptions record;
  PlayOptions play;
  record.progress = play.progress = showsProgress(common);
  return withLibrary(common, [&] {
    const int status = mp4lib::tool::record(record);
    return status == kDone ? mp4lib::tool::play(play) : status;
  });
}

int runCommand(const std::string& command, Arguments& arguments) {
  CommonOptions common;
  if (command == "record") {
    RecordOptions options;
    if (const int status = parseRecord(arguments, &options, &common); status != kDone) return status;
    options.progress = showsProgress(common);
    return withLibrary(common, [&] { return record(options); });
  }
  if (command == "play") {
    PlayOptions options;
    if (const int status = parsePlay(arguments, &options, &common); status != kDone) return status;
    options.progress = showsProgress(common);
    return withLibrary(common, [&] { return play(options); });
  }
  if (command == "thumbs") {
    ThumbsOptions options;
    if (const int status = parseThumbs(arguments, &options, &common); status != kDone) return status;
    return withLibrary(common, [&] { return thumbs(options); });
  }
  if (const int status = parseCommonOnly(arguments, &common); status != kDone) return status;
  return withLibrary(common, listPlugins);
}

// `mp4lib help [COMMAND]`, `mp4lib --help`, `mp4lib -h`.
int help(const std::vector<std::string>& words) {
  if (words.size() < 2) {
    printOverview(stdout);
    return kDone;
  }
  if (!isCommand(words[1])) {
    std::fprintf(stderr, "mp4lib: there is no command \"%s\"\n(mp4lib --help lists the commands)\n", words[1].c_str());
    return kUsageError;
  }
  printHelp(words[1], stdout);
  return kDone;
}

bool isHelpWord(const std::string& word) { return word == "help" || word == "--help" || word == "-h"; }

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
  if (count == 0) std::fprintf(stderr, "mp4lib: no codec plug-in (codec*.so, codec*.dll) beside the library\n");
  return count > 0 ? kDone : kRefused;
}

int main(int argc, char** argv) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  if (!words.empty() && isHelpWord(words[0])) return help(words);
  // No command, or options only: the default job.
  if (words.empty() || words[0][0] == '-') {
    Arguments arguments("", words);
    return defaultJob(arguments);
  }
  const std::string& command = words[0];
  if (!isCommand(command)) {
    std::fprintf(stderr, "mp4lib: there is no command \"%s\"\n(mp4lib --help lists the commands)\n", command.c_str());
    return kUsageError;
  }
  Arguments arguments(command, std::vector<std::string>(words.begin() + 1, words.end()));
  if (arguments.asksForHelp()) {
    printHelp(command, stdout);
    return kDone;
  }
  return runCommand(command, arguments);
}
