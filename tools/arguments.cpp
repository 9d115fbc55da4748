#include "arguments.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "commands.h"

namespace mp4lib::tool {

namespace {

std::string formatNumber(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

// A whole decimal number and nothing else (no sign, no spaces).
bool parseWhole(const std::string& text, std::uint64_t* value) {
  if (text.empty() || text.size() > 12 || !std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; })) {
    return false;
  }
  *value = std::strtoull(text.c_str(), nullptr, 10);
  return true;
}

bool parseNumber(const std::string& text, double* value) {
  if (text.empty() || text[0] == ' ' || text[0] == '\t') return false;
  char* end = nullptr;
  *value = std::strtod(text.c_str(), &end);
  return end == text.c_str() + text.size();
}

}  // namespace

Arguments::Arguments(std::string command, std::vector<std::string> words)
    : command_(std::move(command)), words_(std::move(words)) {}

bool Arguments::asksForHelp() const {
  return std::any_of(words_.begin(), words_.end(), [](const std::string& w) { return w == "-h" || w == "--help"; });
}

bool Arguments::next() {
  if (next_ >= words_.size()) return false;
  current_ = next_++;
  return true;
}

bool Arguments::commonOption(CommonOptions* common) const {
  if (word() == "--quiet") return common->quiet = true;
  if (word() == "--verbose") return common->verbose = true;
  return false;
}

bool Arguments::file(std::string* path, bool* given) {
  if (*given) {
    usageError("takes one file, but \"" + word() + "\" comes after \"" + *path + "\"");
    return false;
  }
  *path = word();
  *given = true;
  return true;
}

bool Arguments::value(std::string* text) {
  if (next_ >= words_.size()) {
    usageError("option " + word() + " needs a value");
    return false;
  }
  *text = words_[next_++];
  return true;
}

bool Arguments::badValue(const std::string& text, const std::string& wanted) {
  usageError(word() + " wants " + wanted + ", not \"" + text + "\"");
  return false;
}

bool Arguments::text(std::string* value) { return this->value(value); }

bool Arguments::wholeNumber(std::uint32_t least, std::uint32_t most, std::uint32_t* value) {
  std::string text;
  if (!this->value(&text)) return false;
  std::uint64_t number = 0;
  if (!parseWhole(text, &number) || number < least || number > most) {
    return badValue(text, "a whole number from " + std::to_string(least) + " to " + std::to_string(most));
  }
  *value = static_cast<std::uint32_t>(number);
  return true;
}

bool Arguments::number(double above, double atMost, double* value) {
  std::string text;
  if (!this->value(&text)) return false;
  double number = 0;
  if (!parseNumber(text, &number) || !(number > above && number <= atMost)) {
    return badValue(text, "a number above " + formatNumber(above) + " and at most " + formatNumber(atMost));
  }
  *value = number;
  return true;
}

bool Arguments::size(std::uint32_t* width, std::uint32_t* height) {
  std::string text;
  if (!value(&text)) return false;
  const std::size_t x = text.find('x');
  std::uint64_t w = 0, h = 0;
  if (x == std::string::npos || !parseWhole(text.substr(0, x), &w) || !parseWhole(text.substr(x + 1), &h) || w == 0 ||
      h == 0 || w > 4096 || h > 4096) {
    return badValue(text, "WIDTHxHEIGHT, each from 1 to 4096, such as 176x144");
  }
  *width = static_cast<std::uint32_t>(w);
  *height = static_cast<std::uint32_t>(h);
  return true;
}

int Arguments::usageError(const std::string& message) const {
  const std::string name = command_.empty() ? "mp4lib" : "mp4lib " + command_;
  std::fprintf(stderr, "%s: %s\n(%s --help tells the options)\n", name.c_str(), message.c_str(), name.c_str());
  return kUsageError;
}

int Arguments::unknownOption() const { return usageError("unknown option " + word()); }

}  // namespace mp4lib::tool
