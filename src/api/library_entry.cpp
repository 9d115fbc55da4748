// The library's entry routine: the loader calls it when the library is
// loaded and unloaded. On Windows it is DllMain, which also hands over the
// module handle (plug-ins are searched beside it); on POSIX a destructor
// function run at unload stands in for it (also in a program that links the
// library statically).
#include "api/library_state.h"
#include "platform/platform.h"

#if defined(_WIN32)

namespace {

// DllMain's reasons, as the loader passes them.
constexpr unsigned long kProcessDetach = 0;

}  // namespace

extern "C" int __stdcall DllMain(void* instance, unsigned long reason, void* reserved) {
  mp4lib::platform::setOwnModule(instance);
  // Unloading the plug-ins is only safe when the library is unloaded on its
  // own, not while the whole process is ending (reserved is then non-null
  // and the system frees every module anyway).
  if (reason == kProcessDetach && reserved == nullptr) mp4lib::api::onProcessDetach();
  return 1;
}

#else

namespace {

__attribute__((destructor)) void onUnload() { mp4lib::api::onProcessDetach(); }

}  // namespace

#endif
