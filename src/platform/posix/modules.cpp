#include <dlfcn.h>
#include <stdlib.h>

#include <cstdlib>
#include <cwchar>

#include "platform/platform.h"
#include "platform/posix/utf8.h"

namespace mp4lib::platform {

namespace {

// dlopen looks a bare file name up on the library search path; a plug-in
// name without a folder means the current folder, as on Windows.
std::string loaderPath(const wchar_t* path) {
  std::string utf8 = posix::toUtf8(path);
  if (utf8.find('/') == std::string::npos) utf8.insert(0, "./");
  return utf8;
}

}  // namespace

ModuleHandle loadLibrary(const wchar_t* path) {
  if (path == nullptr) return nullptr;
  return dlopen(loaderPath(path).c_str(), RTLD_NOW | RTLD_LOCAL);
}

void unloadLibrary(ModuleHandle module) {
  if (module != nullptr) dlclose(module);
}

void* findSymbol(ModuleHandle module, const char* name) {
  if (module == nullptr || name == nullptr) return nullptr;
  return dlsym(module, name);
}

bool isLibraryLoaded(const wchar_t* path) {
  if (path == nullptr) return false;
  void* module = dlopen(loaderPath(path).c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (module == nullptr) return false;
  dlclose(module);  // RTLD_NOLOAD took a reference
  return true;
}

std::size_t moduleFileName(wchar_t* buffer, std::size_t capacity) {
  // No entry routine hands us a module handle here: ask the loader which
  // object holds this very function. The loader may have reached it through
  // a symbolic link (libmp4lib.so.0 in the system's library folder); the
  // module is the file the link leads to, and its plug-ins lie beside that.
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&moduleFileName), &info) == 0 || info.dli_fname == nullptr) return 0;
  char* resolved = realpath(info.dli_fname, nullptr);
  const std::wstring path = posix::fromUtf8(resolved != nullptr ? resolved : info.dli_fname);
  std::free(resolved);
  if (path.empty() || path.size() + 1 > capacity) return 0;
  std::wmemcpy(buffer, path.c_str(), path.size() + 1);
  return path.size();
}

void setOwnModule(ModuleHandle) {}

}  // namespace mp4lib::platform
