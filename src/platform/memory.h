// Every allocation the library makes goes through these four functions
// (malloc, calloc, realloc and free semantics), so that a stand-in can make
// any one of them fail and every path that handles a failed allocation can
// be exercised.
#pragma once

#include <cstddef>
#include <cstdint>

namespace mp4lib::platform {

void* allocate(std::size_t bytes);
void* allocateZeroed(std::size_t count, std::size_t size);
void* reallocate(void* block, std::size_t bytes);
void release(void* block);

// From now on, allocation number `n` (1 = the next one) fails and returns
// null; 0 makes every allocation succeed again. Counts only the four
// functions above.
void failAllocationForTesting(std::uint64_t n);
// Allocations made through the functions above since the process started.
std::uint64_t allocationCount();
// Blocks allocated through the functions above and not yet released.
std::int64_t liveBlockCount();

}  // namespace mp4lib::platform
