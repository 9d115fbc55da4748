#include "platform/memory.h"

#include <atomic>
#include <cstdlib>

namespace mp4lib::platform {

namespace {

std::atomic<std::uint64_t> made{0};
std::atomic<std::uint64_t> failing{0};  // the number of the allocation that fails; 0 none
std::atomic<std::int64_t> live{0};      // blocks handed out and not yet released

// True when this allocation is the one that must fail.
bool nextFails() {
  const std::uint64_t number = made.fetch_add(1) + 1;
  const std::uint64_t target = failing.load();
  return target != 0 && number == target;
}

void* counted(void* block) {
  if (block != nullptr) live.fetch_add(1);
  return block;
}

}  // namespace

void* allocate(std::size_t bytes) { return nextFails() ? nullptr : counted(std::malloc(bytes)); }

void* allocateZeroed(std::size_t count, std::size_t size) {
  return nextFails() ? nullptr : counted(std::calloc(count, size));
}

void* reallocate(void* block, std::size_t bytes) {
  if (nextFails()) return nullptr;
  if (block == nullptr) return counted(std::malloc(bytes > 0 ? bytes : 1));
  // Never asked for zero bytes, which would free the block on some systems.
  return std::realloc(block, bytes > 0 ? bytes : 1);
}

void release(void* block) {
  if (block == nullptr) return;
  live.fetch_sub(1);
  std::free(block);
}

void failAllocationForTesting(std::uint64_t n) { failing.store(n == 0 ? 0 : made.load() + n); }

std::uint64_t allocationCount() { return made.load(); }

std::int64_t liveBlockCount() { return live.load(); }

}  // namespace mp4lib::platform
