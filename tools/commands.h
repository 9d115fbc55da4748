// The tool's commands. Each returns the process exit status and explains
// every failure on standard error.
#pragma once

#include <cstdint>
#include <string>

namespace mp4lib::tool {

// The exit status of every command, as the help and the README tell it.
enum ExitStatus : int {
  kDone = 0,
  kRefused = 1,     // a file or input was refused: missing, unreadable, not a movie, not decodable, not writable
  kUsageError = 2,  // the command line itself is wrong
};

struct RecordOptions {
  std::string output = "movie.3gp";
  std::string video = "h263";  // h263, mpeg4 or none
  std::string audio = "amr";   // amr, g723 or none
  std::uint32_t width = 176;
  std::uint32_t height = 144;
  double frameRate = 15.0;
  double seconds = 10.0;
  std::string videoInput;  // .y4m, .yuv (I420) or .rgb (RGB24); empty = test picture
  std::string audioInput;  // .wav; empty = test tone
  bool live = false;       // sound from the default input device, in real time
  bool progress = false;   // the progress line on standard error
};

struct PlayOptions {
  std::string input = "movie.3gp";
  std::string outputFolder = "movie-frames";
  std::uint32_t everyNthFrame = 1;
  bool device = false;    // audio to the default output device instead of files
  bool progress = false;  // the progress line on standard error
};

struct ThumbsOptions {
  std::string input;
  std::string output;  // empty: the input's name with "-thumbs.png" for its extension
  std::uint32_t columns = 4;
  std::uint32_t count = 12;
  std::uint32_t width = 160;  // of one frame, pixels; the height keeps the movie's proportions
};

int record(const RecordOptions& options);
int play(const PlayOptions& options);
int thumbs(const ThumbsOptions& options);
int listPlugins();

}  // namespace mp4lib::tool
