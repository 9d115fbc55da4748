// The places where a stand-in may answer for the system: disk space, file
// writes and the pixel kernels' vector instructions. Each defaults to the
// real thing.
#include <atomic>

#include "platform/platform.h"

namespace mp4lib::platform {

// Each platform's files define the system's answer.
bool systemDiskSpace(std::uint64_t* freeToCaller, std::uint64_t* total);

namespace {

std::size_t standardWrite(const void* data, std::size_t length, std::FILE* file) {
  return std::fwrite(data, 1, length, file);
}

std::atomic<DiskSpaceQuery> diskSpaceQuery{systemDiskSpace};
std::atomic<FileWrite> fileWrite{standardWrite};
std::atomic<bool> vectorsAllowed{true};

}  // namespace

bool diskSpace(std::uint64_t* freeToCaller, std::uint64_t* total) { return diskSpaceQuery.load()(freeToCaller, total); }

void setDiskSpaceForTesting(DiskSpaceQuery query) { diskSpaceQuery.store(query != nullptr ? query : systemDiskSpace); }

std::size_t writeFile(const void* data, std::size_t length, std::FILE* file) {
  return fileWrite.load()(data, length, file);
}

void setFileWriteForTesting(FileWrite write) { fileWrite.store(write != nullptr ? write : standardWrite); }

Signal& detachedWorkSignal() {
  static Signal* const signal = new Signal;
  return *signal;
}

bool vectorInstructionsAllowed() { return vectorsAllowed.load(std::memory_order_relaxed); }
void allowVectorInstructionsForTesting(bool allowed) { vectorsAllowed.store(allowed, std::memory_order_relaxed); }

}  // namespace mp4lib::platform
