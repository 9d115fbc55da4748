#include "platform/memory.h"

#include <atomic>
#include <cstdlib>

namespace mp4lib::platform {

namespace {

std::atomic<std::uint64_t> made{0};
std::atomic<std::uint64_t> failing{0};  // the number of the allocation that fails; 0 none

// True when this allocation is the one that must fail.
bool nextFails() {
  const std::uint64_t number = made.fetch_add(1) + 1;
  const std::uint64_t target = failing.load();
  return target != 0 && number == target;
}

}  // namespace

void* allocate(std::size_t bytes) { return nextFails() ? nullptr : std::malloc(bytes); }

void* allocateZeroed(std::size_t count, std::size_t size) {
  return nextFails() ? nullptr : std::calloc(count, size);
}

void* reallocate(void* block, std::size_t bytes) { return nextFails() ? nullptr : std::realloc(block, bytes); }

void release(void* block) { std::free(block); }

void failAllocationForTesting(std::uint64_t n) { failing.store(n == 0 ? 0 : made.load() + n); }

std::uint64_t allocationCount() { return made.load(); }

}  // namespace mp4lib::platform
