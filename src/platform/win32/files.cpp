#include <windows.h>

#include "platform/platform.h"

namespace mp4lib::platform {

const wchar_t kPathSeparator = L'\\';
const wchar_t* const kPluginPattern = L"codec*.dll";

std::FILE* openFile(const wchar_t* path, const char* mode) {
  if (path == nullptr || mode == nullptr) return nullptr;
  std::wstring wideMode;
  for (const char* c = mode; *c != 0; ++c) wideMode += static_cast<wchar_t>(*c);
  return _wfopen(path, wideMode.c_str());
}

std::vector<std::wstring> findFiles(const std::wstring& folder, const std::wstring& pattern) {
  std::vector<std::wstring> names;
  std::wstring search = folder;
  if (!search.empty() && search.back() != L'\\' && search.back() != L'/') search += L'\\';
  search += pattern;
  WIN32_FIND_DATAW found;
  HANDLE handle = FindFirstFileW(search.c_str(), &found);
  if (handle == INVALID_HANDLE_VALUE) return names;
  do {
    if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) names.emplace_back(found.cFileName);
  } while (FindNextFileW(handle, &found));
  FindClose(handle);
  return names;
}

bool systemDiskSpace(std::uint64_t* freeToCaller, std::uint64_t* total) {
  ULARGE_INTEGER available, capacity;
  if (!GetDiskFreeSpaceExW(nullptr, &available, &capacity, nullptr)) return false;
  *freeToCaller = available.QuadPart;
  *total = capacity.QuadPart;
  return true;
}

}  // namespace mp4lib::platform
