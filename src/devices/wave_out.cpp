// Wave-out playback: decoded PCM blocks wait on the wave block list while
// the output plays them; the application hands each finished one to
// processWaveOut, which releases the oldest block.
#include "audio/wave_out.h"

#include <atomic>
#include <cstring>

#include "audio/wave_block_list.h"
#include "audio/wave_callback.h"
#include "audio/wave_format.h"
#include "mp4lib.h"
#include "platform/platform.h"
#include "platform/wave_device.h"

namespace mp4lib::audio {

namespace {

// Full volume on the left (low word), nothing on the right (high word).
constexpr std::uint32_t kOpenVolume = 0x0000FFFFu;

std::atomic<platform::WaveHandle> outputHandle{nullptr};
platform::CriticalSection outputLock;

bool isDone(const WaveHeader& header) {
  return (platform::loadHeaderFlags(&header) & platform::kWaveHeaderDone) != 0;
}

// Bounded wait for the device to give a header back after a reset.
bool waitUntilDone(const WaveHeader& header) {
  const std::uint32_t start = platform::timeGetTimeMs();
  while (!isDone(header)) {
    if (platform::timeGetTimeMs() - start >= kDoneWaitMs) return false;
    platform::sleepMs(1);
  }
  return true;
}

void drainQueuedBlocks(platform::WaveDevices& devices, platform::WaveHandle handle) {
  while (waveBlockHead() != nullptr) {
    WaveBlock* block = waveBlockHead();
    const bool done = waitUntilDone(block->header);
    devices.waveOutUnprepareHeader(handle, &block->header, platform::kWaveHeaderSize);
    WaveBlock* taken = takeWaveBlockHead();
    if (done) freeWaveBlock(taken);
  }
}

std::int32_t openOutput(std::uint32_t instance, platform::WaveWindow window, std::uint32_t bits, std::uint32_t rate,
                        std::uint16_t channels, Mp4WaveOutHandle* handleOut) {
  platform::Lock hold(outputLock);
  // A second open first closes the first device, so nothing leaks.
  if (outputOpen()) closeWaveOut();
  rememberCallback(instance, window);
  platform::WaveDevices& devices = platform::waveDevices();
  const Mp4WaveFormat format = pcmWaveFormat(bits, rate, channels);
  platform::WaveHandle handle = nullptr;
  const std::uint32_t opened =
      devices.waveOutOpen(&handle, platform::kWaveMapper, format, window, instance, platform::kCallbackWindow);
  if (handleOut != nullptr) *handleOut = static_cast<Mp4WaveOutHandle>(handle);
  if (opened != platform::kWaveNoError) {
    outputHandle.store(nullptr);
    return 0;
  }
  outputHandle.store(handle);
  devices.waveOutSetVolume(handle, kOpenVolume);
  // Blocks left from earlier recording or playback are dropped.
  clearWaveBlocks();
  return 1;
}

}  // namespace

bool outputOpen() { return outputHandle.load() != nullptr; }

bool resetOutputAndDrain() {
  platform::Lock hold(outputLock);
  platform::WaveDevices& devices = platform::waveDevices();
  const platform::WaveHandle handle = outputHandle.load();
  if (devices.waveOutReset(handle) != platform::kWaveNoError) return false;
  drainQueuedBlocks(devices, handle);
  return true;
}

void playBlock(const std::uint8_t* pcm, std::uint32_t bytes) {
  WaveBlock* block = newWaveBlock(bytes);
  if (block == nullptr) return;
  if (bytes > 0) std::memcpy(block->header.data, pcm, bytes);
  platform::Lock hold(outputLock);
  appendWaveBlock(block);
  platform::WaveDevices& devices = platform::waveDevices();
  const platform::WaveHandle handle = outputHandle.load();
  devices.waveOutPrepareHeader(handle, &block->header, platform::kWaveHeaderSize);
  devices.waveOutWrite(handle, &block->header, platform::kWaveHeaderSize);
}

}  // namespace mp4lib::audio

using namespace mp4lib;

extern "C" MP4LIB_API int32_t openWaveOut(uint32_t instance, Mp4WaveWindow window, uint32_t bits, uint32_t rate,
                                          uint16_t channels) {
  return audio::openOutput(instance, window, bits, rate, channels, nullptr);
}

extern "C" MP4LIB_API int32_t openWaveOutEx(uint32_t instance, Mp4WaveWindow window, uint32_t bits, uint32_t rate,
                                            uint16_t channels, Mp4WaveOutHandle* handle) {
  return audio::openOutput(instance, window, bits, rate, channels, handle);
}

extern "C" MP4LIB_API void processWaveOut(Mp4WaveOutHandle handle, Mp4WaveHeader* header) {
  auto* finished = reinterpret_cast<audio::WaveHeader*>(header);
  platform::Lock hold(audio::outputLock);
  // Blocks finish in the order written, so only the oldest can be the one.
  // Anything else (a message that outlived a seek or close, a header still
  // playing) is ignored without touching it.
  audio::WaveBlock* head = audio::waveBlockHead();
  if (head == nullptr || &head->header != finished || !audio::isDone(head->header)) return;
  platform::waveDevices().waveOutUnprepareHeader(handle, finished, platform::kWaveHeaderSize);
  audio::removeWaveBlockHead();
}

extern "C" MP4LIB_API int32_t closeWaveOut(void) {
  platform::Lock hold(audio::outputLock);
  if (!audio::resetOutputAndDrain()) return 0;
  platform::WaveDevices& devices = platform::waveDevices();
  const std::uint32_t closed = devices.waveOutClose(audio::outputHandle.load());
  audio::outputHandle.store(nullptr);
  return closed == platform::kWaveNoError ? 1 : 0;
}
