// The tool's own calls into the operating system (the library's go through
// src/platform): whether standard error is a terminal, and setting an
// environment variable for the codec plug-ins to read when they load.
#pragma once

namespace mp4lib::tool {

bool standardErrorIsTerminal();

// False when the system refused (out of memory).
bool setEnvironmentVariable(const char* name, const char* value);

}  // namespace mp4lib::tool
