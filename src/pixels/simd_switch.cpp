#include "pixels/simd.h"
#include "platform/platform.h"

namespace mp4lib::pixels::simd {

namespace {

#if defined(MP4LIB_PIXELS_SSE2)
constexpr bool kCompiledIn = true;
#else
constexpr bool kCompiledIn = false;
#endif

}  // namespace

const char* instructionSet() {
#if defined(MP4LIB_PIXELS_SSE2)
  return "sse2";
#else
  return "none";
#endif
}

bool enabled() { return kCompiledIn && platform::vectorInstructionsAllowed(); }

}  // namespace mp4lib::pixels::simd
