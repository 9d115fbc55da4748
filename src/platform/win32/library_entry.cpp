// The DLL entry routine: remembers the module handle (plug-ins are searched
// beside it) and ends the library when it is unloaded.
#include <windows.h>

#include "frame/library.h"
#include "platform/platform.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
  mp4lib::platform::setOwnModule(instance);
  // FreeLibrary unloads the plug-ins; that is only safe when the library is
  // unloaded on its own, not while the whole process is ending (reserved is
  // then non-null and the system frees every module anyway).
  if (reason == DLL_PROCESS_DETACH && reserved == nullptr) mp4lib::frame::onProcessDetach();
  return TRUE;
}
