// The POSIX stand-in for a DLL entry routine: the loader runs this when the
// library (or a program linking it statically) is unloaded.
#include "frame/library.h"

namespace {

__attribute__((destructor)) void onUnload() { mp4lib::frame::onProcessDetach(); }

}  // namespace
