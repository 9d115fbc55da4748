// Wide strings (UTF-32 wchar_t on POSIX) to and from UTF-8 file names.
#pragma once

#include <string>

namespace mp4lib::platform::posix {

std::string toUtf8(const std::wstring& wide);
// Undecodable bytes come through as U+FFFD.
std::wstring fromUtf8(const std::string& bytes);

}  // namespace mp4lib::platform::posix
