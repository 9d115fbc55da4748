// Reaching the control block of a loaded test plug-in.
#pragma once

#include "codecs/plugin_registry.h"
#include "plugin/test_plugin_control.h"

namespace mp4lib::test {

inline TestPluginControl* controlOf(const CodecPlugin* plugin) {
  if (plugin == nullptr || plugin->module == nullptr) return nullptr;
  auto get = reinterpret_cast<TestPluginControlFn>(platform::findSymbol(plugin->module, "testPluginControl"));
  return get ? get() : nullptr;
}

inline int countCalls(const TestPluginControl* control, int entry) {
  int n = 0;
  for (int i = 0; i < control->callCount; ++i) n += control->calls[i].entry == entry;
  return n;
}

}  // namespace mp4lib::test
