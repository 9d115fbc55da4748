// Records what the input bytes script (see recording_script.h): encoder
// sizes and flags, files created and closed at any point, encodes of every
// input format, samples stored with any timestamp (0xFFFFFFFF and jumps back
// included), captured audio through a device double. Every call's result is
// checked against what the public API promises, and every file closed on the
// way must read back through the library with exactly the samples stored.
#include <cstdint>
#include <cstdio>

#include "instant_wave_devices.h"
#include "mp4lib.h"
#include "recording_script.h"

using namespace mp4lib::fuzz;

namespace {

InstantWaveDevices* devices = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  initMp4Lib();
  devices = new InstantWaveDevices();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  for (const ClosedFile& file : recordFromScript(data, size, "mp4lib-recording-fuzz", *devices)) {
    requireReadsBack(file);
    std::remove(file.path.c_str());
  }
  return 0;
}
