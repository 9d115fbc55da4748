#include "devices/wave_out.h"

#include <cstring>

#include "devices/wave_format.h"

namespace mp4lib::devices {

namespace {

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

void drainQueuedBlocks(WaveBlockList& list, platform::WaveDevices& system, platform::WaveHandle handle) {
  while (waveBlockHead(list) != nullptr) {
    WaveBlock* block = waveBlockHead(list);
    const bool done = waitUntilDone(block->header);
    system.waveOutUnprepareHeader(handle, &block->header, platform::kWaveHeaderSize);
    WaveBlock* taken = takeWaveBlockHead(list);
    if (done) freeWaveBlock(taken);
  }
}

}  // namespace

std::int32_t openOutput(AudioDevices& devices, std::uint32_t instance, platform::WaveWindow window,
                        std::uint32_t bits, std::uint32_t rate, std::uint16_t channels, Mp4WaveOutHandle* handleOut) {
  platform::Lock hold(devices.outputLock);
  // A second open first closes the first device, so nothing leaks.
  if (outputOpen(devices)) closeOutput(devices);
  devices.callbackInstance.store(instance);
  devices.callbackWindow.store(window);
  platform::WaveDevices& system = platform::waveDevices();
  const Mp4WaveFormat format = pcmWaveFormat(bits, rate, channels);
  platform::WaveHandle handle = nullptr;
  const std::uint32_t opened =
      system.waveOutOpen(&handle, platform::kWaveMapper, format, window, instance, platform::kCallbackWindow);
  if (handleOut != nullptr) *handleOut = static_cast<Mp4WaveOutHandle>(handle);
  if (opened != platform::kWaveNoError) {
    devices.output.store(nullptr);
    return 0;
  }
  devices.output.store(handle);
  system.waveOutSetVolume(handle, kOpenVolume);
  // Blocks left from earlier recording or playback are dropped.
  clearWaveBlocks(devices.blocks);
  return 1;
}

bool outputOpen(const AudioDevices& devices) { return devices.output.load() != nullptr; }

bool resetOutputAndDrain(AudioDevices& devices) {
  platform::Lock hold(devices.outputLock);
  platform::WaveDevices& system = platform::waveDevices();
  const platform::WaveHandle handle = devices.output.load();
  if (system.waveOutReset(handle) != platform::kWaveNoError) return false;
  drainQueuedBlocks(devices.blocks, system, handle);
  return true;
}

void playBlock(AudioDevices& devices, const std::uint8_t* pcm, std::uint32_t bytes) {
  WaveBlock* block = newWaveBlock(bytes);
  if (block == nullptr) return;
  if (bytes > 0) std::memcpy(block->header.data, pcm, bytes);
  platform::Lock hold(devices.outputLock);
  appendWaveBlock(devices.blocks, block);
  platform::WaveDevices& system = platform::waveDevices();
  const platform::WaveHandle handle = devices.output.load();
  system.waveOutPrepareHeader(handle, &block->header, platform::kWaveHeaderSize);
  system.waveOutWrite(handle, &block->header, platform::kWaveHeaderSize);
}

void releaseFinishedBlock(AudioDevices& devices, Mp4WaveOutHandle handle, WaveHeader* header) {
  platform::Lock hold(devices.outputLock);
  // Blocks finish in the order written, so only the oldest can be the one.
  // Anything else (a message that outlived a seek or close, a header still
  // playing) is ignored without touching it.
  WaveBlock* head = waveBlockHead(devices.blocks);
  if (head == nullptr || &head->header != header || !isDone(head->header)) return;
  platform::waveDevices().waveOutUnprepareHeader(handle, header, platform::kWaveHeaderSize);
  removeWaveBlockHead(devices.blocks);
}

std::int32_t closeOutput(AudioDevices& devices) {
  platform::Lock hold(devices.outputLock);
  if (!resetOutputAndDrain(devices)) return 0;
  const std::uint32_t closed = platform::waveDevices().waveOutClose(devices.output.load());
  devices.output.store(nullptr);
  return closed == platform::kWaveNoError ? 1 : 0;
}

}  // namespace mp4lib::devices
