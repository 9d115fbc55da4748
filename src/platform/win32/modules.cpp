#include <windows.h>

#include <atomic>
#include <cwchar>

#include "platform/platform.h"

namespace mp4lib::platform {

namespace {

std::atomic<HMODULE> ownModule{nullptr};

// Without a handle from the entry routine (the library linked statically),
// the module is the one that holds this code.
HMODULE moduleOfThisCode() {
  HMODULE module = ownModule.load();
  if (module != nullptr) return module;
  const DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  if (!GetModuleHandleExW(flags, reinterpret_cast<LPCWSTR>(&moduleOfThisCode), &module)) return nullptr;
  return module;
}

}  // namespace

ModuleHandle loadLibrary(const wchar_t* path) {
  if (path == nullptr) return nullptr;
  return reinterpret_cast<ModuleHandle>(LoadLibraryW(path));
}

void unloadLibrary(ModuleHandle module) {
  if (module != nullptr) FreeLibrary(static_cast<HMODULE>(module));
}

void* findSymbol(ModuleHandle module, const char* name) {
  if (module == nullptr || name == nullptr) return nullptr;
  // Desktop Windows looks exports up by narrow name.
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), name));
}

bool isLibraryLoaded(const wchar_t* path) { return path != nullptr && GetModuleHandleW(path) != nullptr; }

std::size_t moduleFileName(wchar_t* buffer, std::size_t capacity) {
  HMODULE module = moduleOfThisCode();
  if (module == nullptr || capacity == 0) return 0;
  const DWORD length = GetModuleFileNameW(module, buffer, static_cast<DWORD>(capacity));
  // A full buffer means the name was cut short.
  if (length == 0 || length >= capacity) return 0;
  return length;
}

void setOwnModule(ModuleHandle module) { ownModule.store(static_cast<HMODULE>(module)); }

}  // namespace mp4lib::platform
