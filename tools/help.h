// What `mp4lib --help` and `mp4lib COMMAND --help` print.
#pragma once

#include <cstdio>
#include <string>

namespace mp4lib::tool {

// True for the commands the tool has (record, play, thumbs, plugins).
bool isCommand(const std::string& word);

// The overview of all commands.
void printOverview(std::FILE* to);

// The help of one command; the overview for any other word.
void printHelp(const std::string& command, std::FILE* to);

}  // namespace mp4lib::tool
