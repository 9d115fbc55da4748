// Library lifecycle and byte-order utilities.
#include "api/library_state.h"
#include "mp4lib.h"

using namespace mp4lib;

extern "C" MP4LIB_API void initMp4Lib(void) {
  api::LibraryState& state = api::libraryState();
  if (state.initialised.load()) return;
  codecs::discoverCodecPlugins(state.plugins);
  pixels::buildLookupTables(state.lookupTables);
  state.initialised.store(true);
}

extern "C" MP4LIB_API void finalizeMp4Lib(void) {
  api::LibraryState& state = api::libraryState();
  if (!state.initialised.load()) return;
  codecs::unloadCodecPlugins(state.plugins);
  pixels::releaseLookupTables(state.lookupTables);
  state.initialised.store(false);
}

extern "C" MP4LIB_API uint32_t makeFourCC(int8_t a, int8_t b, int8_t c, int8_t d) {
  // Each character is widened with its sign before it is or-ed in, so a
  // later character of 0x80 or more fills every bit above its own byte.
  // Shifts are done on the unsigned pattern to stay well defined.
  const auto widen = [](int8_t ch) { return static_cast<uint32_t>(static_cast<int32_t>(ch)); };
  uint32_t code = widen(a);
  code = (code << 8) | widen(b);
  code = (code << 8) | widen(c);
  code = (code << 8) | widen(d);
  return code;
}

extern "C" MP4LIB_API uint32_t convertDWORDToBigEndian(uint32_t x) {
  return (x >> 24) | ((x >> 8) & 0x0000FF00u) | ((x << 8) & 0x00FF0000u) | (x << 24);
}

extern "C" MP4LIB_API uint32_t convertDWORDToLittleEndian(uint32_t x) { return convertDWORDToBigEndian(x); }
