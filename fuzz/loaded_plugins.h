// Reaching the control block of a test plug-in (tests/plugin) that the
// library loaded from the folder of this program.
#pragma once

#include <dlfcn.h>

#include <string>

#include "plugin/test_plugin_control.h"

namespace mp4lib::fuzz {

// Null when the plug-in file `stem` is not loaded.
inline TestPluginControl* loadedTestPlugin(const char* stem) {
  Dl_info self{};
  if (dladdr(reinterpret_cast<void*>(&loadedTestPlugin), &self) == 0 || self.dli_fname == nullptr) return nullptr;
  std::string path = self.dli_fname;
  path = path.substr(0, path.find_last_of('/') + 1) + stem + ".so";
  void* module = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (module == nullptr) return nullptr;
  auto control = reinterpret_cast<TestPluginControlFn>(dlsym(module, "testPluginControl"));
  dlclose(module);  // the library keeps its own reference
  return control != nullptr ? control() : nullptr;
}

}  // namespace mp4lib::fuzz
