#include "system.h"

#include <cstdio>
#include <cstdlib>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

namespace mp4lib::tool {

#if defined(_WIN32)

bool standardErrorIsTerminal() { return _isatty(_fileno(stderr)) != 0; }

bool setEnvironmentVariable(const char* name, const char* value) { return _putenv_s(name, value) == 0; }

#else

bool standardErrorIsTerminal() { return isatty(fileno(stderr)) != 0; }

bool setEnvironmentVariable(const char* name, const char* value) { return setenv(name, value, 1) == 0; }

#endif

}  // namespace mp4lib::tool
