// Reading one command's words: options, some with a value, and plain words
// (file names). Every mistake is explained on standard error, with the
// command's name, and counts as a usage error.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace mp4lib::tool {

// The options every command takes.
struct CommonOptions {
  bool quiet = false;    // no progress line
  bool verbose = false;  // the codec libraries' own messages on standard error
};

class Arguments {
 public:
  // `command` names the command in messages ("record"; empty for the default job).
  Arguments(std::string command, std::vector<std::string> words);

  // True when any word asks for the command's help (-h, --help).
  bool asksForHelp() const;
  // Moves to the next word; false after the last one.
  bool next();
  const std::string& word() const { return words_[current_]; }
  // An option starts with '-' ("-" alone is a file name).
  bool isOption() const { return word().size() > 1 && word()[0] == '-'; }

  // Takes the current word as a common option; false when it is none.
  bool commonOption(CommonOptions* common) const;
  // Takes the current plain word as the command's one file; false when a
  // file was already given.
  bool file(std::string* path, bool* given);

  // The value after the current option. Each is false when it is missing
  // or malformed.
  bool text(std::string* value);
  bool wholeNumber(std::uint32_t least, std::uint32_t most, std::uint32_t* value);
  bool number(double above, double atMost, double* value);
  bool size(std::uint32_t* width, std::uint32_t* height);

  // Explains a usage error; the status to exit with.
  int usageError(const std::string& message) const;
  int unknownOption() const;

 private:
  bool value(std::string* text);
  bool badValue(const std::string& text, const std::string& wanted);

  std::string command_;
  std::vector<std::string> words_;
  std::size_t current_ = 0;
  std::size_t next_ = 0;
};

}  // namespace mp4lib::tool
