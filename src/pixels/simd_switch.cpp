#include <atomic>

#include "pixels/simd.h"

namespace mp4lib::pixels::simd {

namespace {

#if defined(MP4LIB_PIXELS_SSE2)
constexpr bool kCompiledIn = true;
#else
constexpr bool kCompiledIn = false;
#endif

std::atomic<bool> switchedOn{true};

}  // namespace

const char* instructionSet() {
#if defined(MP4LIB_PIXELS_SSE2)
  return "sse2";
#else
  return "none";
#endif
}

bool enabled() { return kCompiledIn && switchedOn.load(std::memory_order_relaxed); }

void setEnabled(bool on) { switchedOn.store(on, std::memory_order_relaxed); }

}  // namespace mp4lib::pixels::simd
