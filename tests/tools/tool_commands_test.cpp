// The tool as a user meets it, run as a process from the build's bin folder
// with the real codec plug-ins: help for every command, the exit status of
// every kind of failure, the progress line (only on a terminal), the contact
// sheet, and codec libraries that stay quiet without --verbose.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "interop/interop_support.h"
#include "mp4lib.h"
#include "support/plugin_folder.h"

namespace mp4lib::test {
namespace {

using interop::Bytes;
using interop::quoted;

struct ToolRun {
  int status = -1;
  std::string out;  // standard output
  std::string err;  // standard error
};

class ToolCommands : public ::testing::Test {
 protected:
  // Runs the tool in the bin folder (where the plug-ins are) with standard
  // output and standard error in files, so neither is a terminal. The
  // plug-ins' log setting of the test's own environment is not passed on.
  ToolRun tool(const std::string& arguments) {
    const auto out = folder / "out.txt", err = folder / "err.txt";
    const std::string status = interop::output("cd " + quoted(libraryFolder()) + " && env -u MP4LIB_PLUGIN_LOG ./mp4lib " +
                                               arguments + " >" + quoted(out) + " 2>" + quoted(err) + "; echo $?");
    const Bytes outBytes = interop::readFile(out), errBytes = interop::readFile(err);
    return {std::atoi(status.c_str()), std::string(outBytes.begin(), outBytes.end()),
            std::string(errBytes.begin(), errBytes.end())};
  }

  // What the tool writes to standard error when standard error is a
  // terminal: `script` runs it on a pseudo-terminal, with standard output
  // thrown away, and passes on what reached the terminal.
  std::string toolOnTerminal(const std::string& arguments) {
    const std::string inner = "cd " + quoted(libraryFolder()) + " && env -u MP4LIB_PLUGIN_LOG ./mp4lib " + arguments +
                              " 2>&1 >/dev/null";
    return interop::output("script -qec '" + inner + "' /dev/null");
  }

  // A 2 s movie of the test picture (176x144, 15 fps, H.263) and tone (AMR).
  std::filesystem::path recordedMovie() {
    const auto movie = folder / "movie.3gp";
    if (!std::filesystem::exists(movie)) {
      const ToolRun run = tool("record --seconds 2 " + quoted(movie));
      EXPECT_EQ(run.status, 0) << run.err;
    }
    return movie;
  }

  interop::ScratchFolder folder{"tool_commands"};
};

// ---- Help --------------------------------------------------------------------

TEST_F(ToolCommands, EveryCommandHasHelp) {
  for (const std::string command : {"record", "play", "thumbs", "plugins"}) {
    const ToolRun run = tool(command + " --help");
    EXPECT_EQ(run.status, 0) << command;
    EXPECT_EQ(run.out.rfind("usage: mp4lib " + command, 0), 0u) << run.out;
    EXPECT_NE(run.out.find("exit status: 0 done; 1 a file or input was refused"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("--verbose"), std::string::npos) << run.out;
    EXPECT_EQ(run.err, "") << command;
    // "-h" anywhere, and "mp4lib help COMMAND", say the same.
    EXPECT_EQ(tool(command + " x.3gp -h").out, run.out) << command;
    EXPECT_EQ(tool("help " + command).out, run.out) << command;
  }
}

TEST_F(ToolCommands, OverviewListsTheCommands) {
  const ToolRun run = tool("--help");
  EXPECT_EQ(run.status, 0);
  for (const char* command : {"mp4lib record", "mp4lib play", "mp4lib thumbs", "mp4lib plugins", "exit status"}) {
    EXPECT_NE(run.out.find(command), std::string::npos) << command;
  }
  EXPECT_EQ(tool("-h").out, run.out);
  EXPECT_EQ(tool("help").out, run.out);
}

TEST_F(ToolCommands, RecordOptionsAreExplainedNotAskedForValues) {
  // Before, "record --help" answered "option --help needs a value".
  const ToolRun run = tool("record --fps --help");
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.out.find("--input-video FILE"), std::string::npos);
}

TEST_F(ToolCommands, TheManualShowsTheHelpAsPrinted) {
  const Bytes manualBytes = interop::readFile(MP4LIB_TOOL_MANUAL);
  const std::string manual(manualBytes.begin(), manualBytes.end());
  ASSERT_FALSE(manual.empty()) << MP4LIB_TOOL_MANUAL;
  for (const std::string arguments : {"--help", "record --help", "play --help", "thumbs --help", "plugins --help"}) {
    const std::string help = tool(arguments).out;
    EXPECT_NE(manual.find("```\n" + help + "```\n"), std::string::npos)
        << "docs/tool.md does not show mp4lib " << arguments << " as printed:\n" << help;
  }
}

// ---- Exit status -------------------------------------------------------------

struct Failure {
  std::string arguments;
  std::string explanation;  // a part of what standard error must say
};

TEST_F(ToolCommands, UsageErrorsExitWithTwoAndTouchNoFile) {
  const std::string out = quoted(folder / "never.3gp");
  const std::vector<Failure> failures = {
      {"record --fps", "option --fps needs a value"},
      {"record --fps 0 " + out, "--fps wants a number above 0 and at most 120, not \"0\""},
      {"record --fps fast " + out, "not \"fast\""},
      {"record --seconds -1 " + out, "--seconds wants a number above 0"},
      {"record --size 176 " + out, "--size wants WIDTHxHEIGHT"},
      {"record --video vp9 " + out, "unknown video codec \"vp9\""},
      {"record --audio mp3 " + out, "unknown audio codec \"mp3\""},
      {"record --video none --audio none " + out, "nothing to record"},
      {"record --bogus " + out, "unknown option --bogus"},
      {"record " + out + " second.3gp", "takes one file"},
      {"record --live --audio none " + out, "--live records the sound of the input device"},
      {"play --every 0 x.3gp", "--every wants a whole number from 1 to 1000000, not \"0\""},
      {"play --every two x.3gp", "not \"two\""},
      {"play --out", "option --out needs a value"},
      {"play a.3gp b.3gp", "takes one file, but \"b.3gp\" comes after \"a.3gp\""},
      {"thumbs", "which movie?"},
      {"thumbs --columns 0 x.3gp", "--columns wants a whole number from 1 to 64"},
      {"thumbs --count 1001 x.3gp", "--count wants a whole number from 1 to 1000"},
      {"thumbs --width 8 x.3gp", "--width wants a whole number from 16 to 4096"},
      {"plugins extra", "takes no file"},
      {"nonsense", "there is no command \"nonsense\""},
      {"help nonsense", "there is no command \"nonsense\""},
      {"--bogus", "unknown option --bogus"},
  };
  for (const Failure& failure : failures) {
    const ToolRun run = tool(failure.arguments);
    EXPECT_EQ(run.status, 2) << failure.arguments << "\n" << run.err;
    EXPECT_NE(run.err.find(failure.explanation), std::string::npos) << failure.arguments << "\n" << run.err;
    EXPECT_EQ(run.out, "") << failure.arguments;
  }
  EXPECT_FALSE(std::filesystem::exists(folder / "never.3gp"));
}

TEST_F(ToolCommands, RefusedFilesExitWithOneAndNameTheFile) {
  const auto movie = recordedMovie();
  ASSERT_TRUE(interop::writeFile(folder / "text.3gp", Bytes{'n', 'o', 't', ' ', 'a', ' ', 'm', 'o', 'v', 'i', 'e'}));
  ASSERT_TRUE(interop::writeFile(folder / "bad.y4m", Bytes{'Y', 'U', 'V', '4', 'M', 'P', 'E', 'G', '2', ' ', 'W', 'x', '\n'}));
  ASSERT_TRUE(interop::writeFile(folder / "a-file", Bytes{'x'}));
  ASSERT_EQ(tool("record --seconds 1 --video none " + quoted(folder / "sound.3gp")).status, 0);
  const auto missingFolder = folder / "no-such-folder";
  const std::vector<Failure> failures = {
      {"play " + quoted(folder / "missing.3gp"), "cannot open " + (folder / "missing.3gp").string() + ": there is no such file"},
      {"play " + quoted(folder / "text.3gp"), "text.3gp: it is not a 3GP/MP4 movie"},
      {"thumbs " + quoted(folder / "missing.3gp"), "missing.3gp: there is no such file"},
      {"thumbs " + quoted(folder / "sound.3gp"), "sound.3gp has no video track"},
      {"play --device " + quoted(folder / "text.3gp"), "text.3gp: it is not a 3GP/MP4 movie"},
      {"record --input-video " + quoted(folder / "missing.y4m") + " " + quoted(folder / "x.3gp"),
       "cannot open " + (folder / "missing.y4m").string()},
      {"record --input-video " + quoted(folder / "bad.y4m") + " " + quoted(folder / "x.3gp"),
       "bad.y4m: the Y4M header has a malformed size \"Wx\""},
      {"record --input-audio " + quoted(folder / "missing.wav") + " " + quoted(folder / "x.3gp"),
       "cannot open " + (folder / "missing.wav").string() + ": there is no such file"},
      {"record --input-audio " + quoted(folder / "text.3gp") + " " + quoted(folder / "x.3gp"),
       "text.3gp is not a 16-bit PCM WAV file"},
      {"record --seconds 1 " + quoted(missingFolder / "x.3gp"), "cannot create " + (missingFolder / "x.3gp").string()},
      {"thumbs --out " + quoted(missingFolder / "s.png") + " " + quoted(movie),
       "cannot write " + (missingFolder / "s.png").string()},
      {"play --out " + quoted(folder / "a-file") + " " + quoted(movie), "cannot make the folder"},
  };
  for (const Failure& failure : failures) {
    const ToolRun run = tool(failure.arguments);
    EXPECT_EQ(run.status, 1) << failure.arguments << "\n" << run.err;
    EXPECT_NE(run.err.find(failure.explanation), std::string::npos) << failure.arguments << "\n" << run.err;
  }
}

TEST_F(ToolCommands, FinishedWorkExitsWithZero) {
  const auto movie = recordedMovie();
  const ToolRun played = tool("play --every 10 --out " + quoted(folder / "frames") + " " + quoted(movie));
  EXPECT_EQ(played.status, 0) << played.err;
  EXPECT_NE(played.out.find("3 PNG frames"), std::string::npos) << played.out;  // frames 0, 10 and 20 of 30
  EXPECT_TRUE(std::filesystem::exists(folder / "frames" / "frame-00020.png"));
  EXPECT_EQ(tool("plugins").status, 0);
}

// ---- Progress line -------------------------------------------------------------

bool scriptAvailable() { return interop::run("script -qec true /dev/null"); }

TEST_F(ToolCommands, NoProgressLineWhenStandardErrorIsNotATerminal) {
  const ToolRun recorded = tool("record --seconds 2 " + quoted(folder / "quiet.3gp"));
  EXPECT_EQ(recorded.status, 0);
  EXPECT_EQ(recorded.err, "");
  const ToolRun played = tool("play --out " + quoted(folder / "frames") + " " + quoted(folder / "quiet.3gp"));
  EXPECT_EQ(played.status, 0);
  EXPECT_EQ(played.err, "");
}

TEST_F(ToolCommands, ProgressLineOnATerminal) {
  if (!scriptAvailable()) GTEST_SKIP() << "no script(1) to give the tool a terminal";
  // 2 s at 15 fps: 30 frames; the last state is always drawn, then the line ends.
  const std::string recording = toolOnTerminal("record --seconds 2 " + quoted(folder / "shown.3gp"));
  EXPECT_NE(recording.find("\rrecord: 30/30 frames  00:02.0/00:02.0  "), std::string::npos) << recording;
  EXPECT_NE(recording.find("x real time"), std::string::npos) << recording;
  const std::string playing = toolOnTerminal("play --out " + quoted(folder / "frames") + " " + quoted(folder / "shown.3gp"));
  EXPECT_NE(playing.find("\rplay: 30/30 frames  00:02.0/00:02.0  "), std::string::npos) << playing;
  EXPECT_EQ(playing.substr(playing.size() - 2), "\r\n");  // the terminal turns the final "\n" into "\r\n"
}

TEST_F(ToolCommands, QuietSilencesTheProgressLine) {
  if (!scriptAvailable()) GTEST_SKIP() << "no script(1) to give the tool a terminal";
  EXPECT_EQ(toolOnTerminal("record --quiet --seconds 1 " + quoted(folder / "hush.3gp")), "");
  EXPECT_EQ(toolOnTerminal("play --quiet --out " + quoted(folder / "frames") + " " + quoted(folder / "hush.3gp")), "");
}

// ---- Contact sheet -------------------------------------------------------------

// A PNG decoded by ffmpeg: its size and its RGB bytes.
struct Sheet {
  int width = 0;
  int height = 0;
  Bytes rgb;
};

Sheet readSheet(const std::filesystem::path& png) {
  Sheet sheet;
  const std::string size =
      interop::output("ffprobe -v error -show_entries stream=width,height -of csv=p=0:s=x " + quoted(png));
  std::sscanf(size.c_str(), "%dx%d", &sheet.width, &sheet.height);
  const std::filesystem::path raw = png.string() + ".rgb";
  interop::run("ffmpeg -nostdin -v error -y -i " + quoted(png) + " -f rawvideo -pix_fmt rgb24 " + quoted(raw));
  sheet.rgb = interop::readFile(raw);
  return sheet;
}

// Video entry `entry` of `movie` as the library scales it, red first.
Bytes libraryFrame(const std::filesystem::path& movie, int entry, int width, int height) {
  Bytes rgb(static_cast<std::size_t>(width) * height * 3);
  initMp4Lib();
  MovieParams* params = nullptr;
  std::uint32_t size = 0, timeMs = 0, durationMs = 0;
  const bool decoded = initDecoder(movie.wstring().c_str(), &params) == 1 &&
                       decode_RGB24_video_trackEx2(entry, rgb.data(), &size, width, height, &timeMs, &durationMs) == 1;
  finalizeDecoder();
  finalizeMp4Lib();
  if (!decoded) return {};
  for (std::size_t i = 0; i < rgb.size(); i += 3) std::swap(rgb[i], rgb[i + 2]);
  return rgb;
}

TEST_F(ToolCommands, ThumbsMakesAGridOfTheLibrarysFramesWithTimeStamps) {
  if (!interop::ffmpegAvailable()) GTEST_SKIP() << "ffmpeg is not installed";
  const auto movie = recordedMovie();
  const auto sheetFile = folder / "sheet.png";
  const ToolRun run = tool("thumbs --columns 3 --count 4 --width 88 --out " + quoted(sheetFile) + " " + quoted(movie));
  ASSERT_EQ(run.status, 0) << run.err;
  // Three columns of 88 and two rows of 88 x 144 / 176 = 72, 4 pixels apart
  // and around.
  const Sheet sheet = readSheet(sheetFile);
  ASSERT_EQ(sheet.width, 3 * 88 + 4 * 4);
  ASSERT_EQ(sheet.height, 2 * 72 + 3 * 4);
  ASSERT_EQ(sheet.rgb.size(), std::size_t{280} * 156 * 3);

  // The middles of four equal parts of 2000 ms: 250, 750, 1250, 1750 ms;
  // at 15 fps the frames shown then are 3, 11, 18 and 26 (n x 66.7 ms).
  const int entries[4] = {3, 11, 18, 26};
  const int stampWidth = 41 + 4, stampHeight = 7 + 4;  // "mm:ss.t" in 5 x 7 glyphs, 2 pixels around
  for (int i = 0; i < 4; ++i) {
    const Bytes frame = libraryFrame(movie, entries[i], 88, 72);
    ASSERT_FALSE(frame.empty()) << entries[i];
    const int cellX = 4 + (i % 3) * 92, cellY = 4 + (i / 3) * 76;
    int stampDiffers = 0, elsewhereDiffers = 0;
    for (int y = 0; y < 72; ++y) {
      for (int x = 0; x < 88; ++x) {
        const std::size_t inSheet = (static_cast<std::size_t>(cellY + y) * 280 + cellX + x) * 3;
        const std::size_t inFrame = (static_cast<std::size_t>(y) * 88 + x) * 3;
        const bool differs = !std::equal(frame.begin() + inFrame, frame.begin() + inFrame + 3, sheet.rgb.begin() + inSheet);
        const bool inStamp = x < stampWidth && y >= 72 - stampHeight;
        (inStamp ? stampDiffers : elsewhereDiffers) += differs;
      }
    }
    EXPECT_EQ(elsewhereDiffers, 0) << "frame " << i;
    EXPECT_GT(stampDiffers, 100) << "frame " << i;  // of the box's 495 pixels
  }
  // The sixth place of the grid stays empty, in the sheet's background.
  const std::size_t emptyCell = (static_cast<std::size_t>(4 + 76 + 36) * 280 + 4 + 2 * 92 + 44) * 3;
  EXPECT_TRUE(std::equal(sheet.rgb.begin(), sheet.rgb.begin() + 3, sheet.rgb.begin() + emptyCell));
}

TEST_F(ToolCommands, ThumbsNamesTheSheetAfterTheMovie) {
  const auto movie = recordedMovie();
  const ToolRun run = tool("thumbs --count 2 " + quoted(movie));
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(std::filesystem::exists(folder / "movie-thumbs.png"));
}

// ---- Codec libraries' own messages ---------------------------------------------

TEST_F(ToolCommands, CodecLibrariesStayQuietWithoutVerbose) {
  const auto movie = folder / "mpeg4.3gp";
  ASSERT_EQ(tool("record --video mpeg4 --audio none --seconds 2 " + quoted(movie)).status, 0);
  // Every picture header (start code 00 00 01 B6) overwritten with a
  // pattern: libavcodec conceals the damage and says so, when allowed to.
  Bytes bytes = interop::readFile(movie);
  int pictures = 0;
  for (std::size_t at = 0; at + 64 < bytes.size(); ++at) {
    if (bytes[at] == 0 && bytes[at + 1] == 0 && bytes[at + 2] == 1 && bytes[at + 3] == 0xB6) {
      for (std::size_t k = 6; k < 60; ++k) bytes[at + k] = static_cast<std::uint8_t>(k * 37);
      ++pictures;
    }
  }
  ASSERT_EQ(pictures, 30);
  const auto damaged = folder / "damaged.3gp";
  ASSERT_TRUE(interop::writeFile(damaged, bytes));

  const ToolRun quiet = tool("play --out " + quoted(folder / "frames") + " " + quoted(damaged));
  EXPECT_EQ(quiet.err.find("[mpeg4 @"), std::string::npos) << quiet.err;
  EXPECT_EQ(quiet.err.find(" @ 0x"), std::string::npos) << quiet.err;
  // The same play with --verbose lets libavcodec speak: the damage is real.
  const ToolRun verbose = tool("play --verbose --out " + quoted(folder / "frames") + " " + quoted(damaged));
  EXPECT_NE(verbose.err.find("[mpeg4 @"), std::string::npos) << verbose.err;
}

}  // namespace
}  // namespace mp4lib::test

namespace mp4lib::test {
namespace {

// ---- A disk that fills up ------------------------------------------------------

#ifndef _WIN32
// A 100 KiB file system (a tmpfs, where the machine lets the test mount one):
// 10 s of recording do not fit, and the tool says so instead of reporting a
// finished movie.
TEST_F(ToolCommands, RecordingOnAFullDiskFailsAndSaysWhy) {
  const auto mountPoint = folder / "small-disk";
  std::filesystem::create_directories(mountPoint);
  if (!interop::run("mount -t tmpfs -o size=100k tmpfs " + quoted(mountPoint) + " 2>/dev/null")) {
    GTEST_SKIP() << "this machine does not let the test mount a tmpfs";
  }
  const ToolRun run = tool("record --seconds 10 " + quoted(mountPoint / "m.3gp"));
  interop::run("umount " + quoted(mountPoint));
  EXPECT_EQ(run.status, 1) << run.err;
  EXPECT_EQ(run.out, "");
  EXPECT_NE(run.err.find("cannot finish " + (mountPoint / "m.3gp").string()), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("is the disk full?"), std::string::npos) << run.err;
}
#endif

}  // namespace
}  // namespace mp4lib::test
