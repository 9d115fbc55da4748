#include <dirent.h>
#include <fnmatch.h>
#include <sys/statvfs.h>

#include <algorithm>

#include "platform/platform.h"
#include "platform/posix/utf8.h"

namespace mp4lib::platform {

const wchar_t kPathSeparator = L'/';
const wchar_t* const kPluginPattern = L"codec*.so";

std::FILE* openFile(const wchar_t* path, const char* mode) {
  if (path == nullptr || mode == nullptr) return nullptr;
  return std::fopen(posix::toUtf8(path).c_str(), mode);
}

std::vector<std::wstring> findFiles(const std::wstring& folder, const std::wstring& pattern) {
  std::vector<std::wstring> names;
  const std::string folderUtf8 = folder.empty() ? std::string(".") : posix::toUtf8(folder);
  DIR* dir = opendir(folderUtf8.c_str());
  if (dir == nullptr) return names;
  const std::string patternUtf8 = posix::toUtf8(pattern);
  std::vector<std::string> matches;
  while (const dirent* entry = readdir(dir)) {
    if (fnmatch(patternUtf8.c_str(), entry->d_name, FNM_PERIOD) == 0) matches.emplace_back(entry->d_name);
  }
  closedir(dir);
  // readdir order depends on the file system; sort so that "the first file
  // found" means the same on every machine.
  std::sort(matches.begin(), matches.end());
  for (const auto& name : matches) names.push_back(posix::fromUtf8(name));
  return names;
}

bool systemDiskSpace(std::uint64_t* freeToCaller, std::uint64_t* total) {
  struct statvfs info {};
  if (statvfs(".", &info) != 0) return false;
  const std::uint64_t unit = info.f_frsize != 0 ? info.f_frsize : info.f_bsize;
  *freeToCaller = static_cast<std::uint64_t>(info.f_bavail) * unit;
  *total = static_cast<std::uint64_t>(info.f_blocks) * unit;
  return true;
}

}  // namespace mp4lib::platform
