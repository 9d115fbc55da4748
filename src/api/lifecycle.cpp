#include "frame/library.h"

#include <atomic>

#include "codecs/plugin_registry.h"
#include "mp4lib.h"
#include "pixels/tables.h"

namespace mp4lib::frame {

namespace {

std::atomic<bool> initialised{false};
std::atomic<bool> encoderOpen{false};
std::atomic<bool> decoderOpen{false};

// Constructed when the library is loaded, before any export can run, and
// destroyed when it is unloaded.
platform::CriticalSection writeSection;
platform::CriticalSection readSection;

}  // namespace

bool libraryInitialised() { return initialised.load(); }
bool encoderActive() { return encoderOpen.load(); }
void setEncoderActive(bool active) { encoderOpen.store(active); }
bool decoderActive() { return decoderOpen.load(); }
void setDecoderActive(bool active) { decoderOpen.store(active); }
platform::CriticalSection& writeLock() { return writeSection; }
platform::CriticalSection& readLock() { return readSection; }

void onProcessDetach() { finalizeMp4Lib(); }

}  // namespace mp4lib::frame

using namespace mp4lib;

extern "C" MP4LIB_API void initMp4Lib(void) {
  if (frame::initialised.load()) return;
  codecs::discoverCodecPlugins();
  pixels::buildLookupTables();
  frame::initialised.store(true);
}

extern "C" MP4LIB_API void finalizeMp4Lib(void) {
  if (!frame::initialised.load()) return;
  codecs::unloadCodecPlugins();
  pixels::releaseLookupTables();
  frame::initialised.store(false);
}
