#include "devices/wave_in.h"

#include <cstring>

#include "devices/wave_format.h"
#include "platform/memory.h"

namespace mp4lib::devices {

namespace {

bool isCaptureHeader(const CaptureDevice& capture, const WaveHeader* header) {
  for (const WaveHeader& own : capture.headers) {
    if (&own == header) return true;
  }
  return false;
}

void freeCaptureBuffers(CaptureDevice& capture) {
  for (WaveHeader& header : capture.headers) {
    platform::release(header.data);
    header = WaveHeader{};
  }
  capture.buffersHeld = false;
}

// Everything of an earlier open, so that opening twice leaks nothing. A
// device that refuses to stop keeps its buffers: it may still write to them.
void releaseEarlierCapture(AudioDevices& devices) {
  CaptureDevice& capture = devices.capture;
  if (capture.deviceOpen) closeCapture(devices);
  if (capture.buffersHeld && !capture.deviceOpen) freeCaptureBuffers(capture);
}

void queueCaptureBuffer(platform::WaveDevices& system, CaptureDevice& capture, WaveHeader& header,
                        std::uint32_t bytes) {
  header = WaveHeader{};
  // A zero-byte block still gets a data area, so its pointer is never null.
  header.data = static_cast<std::uint8_t*>(platform::allocateZeroed(bytes > 0 ? bytes : 1, 1));
  header.bufferLength = header.data != nullptr ? bytes : 0;
  system.waveInPrepareHeader(capture.handle, &header, platform::kWaveHeaderSize);
  system.waveInAddBuffer(capture.handle, &header, platform::kWaveHeaderSize);
}

void appendCapturedBytes(WaveBlockList& list, const WaveHeader& header) {
  // Never more than the buffer holds, whatever the header claims.
  const std::uint32_t count =
      header.bytesRecorded <= header.bufferLength ? header.bytesRecorded : header.bufferLength;
  WaveBlock* block = newWaveBlock(count);
  if (block == nullptr) return;
  if (count > 0) std::memcpy(block->header.data, header.data, count);
  block->header.bytesRecorded = count;
  block->header.bufferLength = count;
  appendWaveBlock(list, block);
}

}  // namespace

std::int32_t openCapture(AudioDevices& devices, std::uint32_t bufferBytes, std::uint32_t instance,
                         platform::WaveWindow window, std::uint32_t bits, std::uint32_t rate, std::uint16_t channels,
                         Mp4WaveInHandle* handleOut) {
  platform::Lock hold(devices.captureLock);
  releaseEarlierCapture(devices);
  devices.callbackInstance.store(instance);
  devices.callbackWindow.store(window);
  CaptureDevice& capture = devices.capture;
  platform::WaveDevices& system = platform::waveDevices();
  const Mp4WaveFormat format = pcmWaveFormat(bits, rate, channels);
  capture.handle = nullptr;
  // A device that does not open is not reported: its buffers never come back.
  capture.deviceOpen = system.waveInOpen(&capture.handle, platform::kWaveMapper, format, window, instance,
                                         platform::kCallbackWindow) == platform::kWaveNoError;
  if (handleOut != nullptr) *handleOut = static_cast<Mp4WaveInHandle>(capture.handle);
  // Blocks left from earlier recording or playback are dropped.
  clearWaveBlocks(devices.blocks);
  for (WaveHeader& header : capture.headers) queueCaptureBuffer(system, capture, header, bufferBytes);
  capture.buffersHeld = true;
  system.waveInStart(capture.handle);
  return 1;
}

std::uint32_t takeCapturedBuffer(AudioDevices& devices, WaveHeader* header) {
  platform::Lock hold(devices.captureLock);
  CaptureDevice& capture = devices.capture;
  // Buffers the device gives back after close (or foreign headers) are
  // refused without being touched: their memory may be gone.
  if (!capture.buffersHeld || !isCaptureHeader(capture, header)) return platform::kWaveInvalidHandle;
  // A buffer the device still holds is not full yet.
  if ((platform::loadHeaderFlags(header) & platform::kWaveHeaderDone) == 0) return platform::kWaveStillPlaying;
  appendCapturedBytes(devices.blocks, *header);
  return platform::waveDevices().waveInAddBuffer(capture.handle, header, platform::kWaveHeaderSize);
}

std::int32_t closeCapture(AudioDevices& devices) {
  platform::Lock hold(devices.captureLock);
  CaptureDevice& capture = devices.capture;
  platform::WaveDevices& system = platform::waveDevices();
  if (system.waveInReset(capture.handle) != platform::kWaveNoError) return 0;
  if (system.waveInStop(capture.handle) != platform::kWaveNoError) return 0;
  for (WaveHeader& header : capture.headers) {
    if ((platform::loadHeaderFlags(&header) & platform::kWaveHeaderDone) == 0) {
      platform::storeHeaderFlags(&header, platform::kWaveHeaderDone);
    }
    system.waveInUnprepareHeader(capture.handle, &header, platform::kWaveHeaderSize);
  }
  freeCaptureBuffers(capture);
  system.waveInClose(capture.handle);
  capture.handle = nullptr;
  capture.deviceOpen = false;
  // Captured blocks stay on the list for the encoder.
  return 1;
}

}  // namespace mp4lib::devices
