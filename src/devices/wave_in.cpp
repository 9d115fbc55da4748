// Wave-in capture: five buffers of one encoder audio block each go round
// between the input device and the application, which hands each full one
// to processWaveIn; its bytes become a block of the wave block list for
// encodeWaveInAudio.
#include <cstdlib>
#include <cstring>

#include "audio/wave_block_list.h"
#include "audio/wave_callback.h"
#include "audio/wave_format.h"
#include "audio/wave_in_state.h"
#include "mp4lib.h"
#include "platform/platform.h"
#include "platform/wave_device.h"

namespace mp4lib::audio {

namespace {

constexpr int kCaptureBuffers = 5;

struct CaptureDevice {
  platform::WaveHandle handle = nullptr;
  bool deviceOpen = false;    // waveInOpen succeeded and no close since
  bool buffersHeld = false;   // the five data blocks are allocated
  WaveHeader headers[kCaptureBuffers] = {};
};

CaptureDevice capture;
platform::CriticalSection captureLock;

bool isCaptureHeader(const WaveHeader* header) {
  for (const WaveHeader& own : capture.headers) {
    if (&own == header) return true;
  }
  return false;
}

void freeCaptureBuffers() {
  for (WaveHeader& header : capture.headers) {
    std::free(header.data);
    header = WaveHeader{};
  }
  capture.buffersHeld = false;
}

// Everything of an earlier open, so that opening twice leaks nothing. A
// device that refuses to stop keeps its buffers: it may still write to them.
void releaseEarlierCapture() {
  if (capture.deviceOpen) closeWaveIn();
  if (capture.buffersHeld && !capture.deviceOpen) freeCaptureBuffers();
}

void queueCaptureBuffer(platform::WaveDevices& devices, WaveHeader& header, std::uint32_t bytes) {
  header = WaveHeader{};
  // A zero-byte block still gets a data area, so its pointer is never null.
  header.data = static_cast<std::uint8_t*>(std::calloc(bytes > 0 ? bytes : 1, 1));
  header.bufferLength = header.data != nullptr ? bytes : 0;
  devices.waveInPrepareHeader(capture.handle, &header, platform::kWaveHeaderSize);
  devices.waveInAddBuffer(capture.handle, &header, platform::kWaveHeaderSize);
}

std::int32_t openCapture(std::uint32_t instance, platform::WaveWindow window, std::uint32_t bits, std::uint32_t rate,
                         std::uint16_t channels, Mp4WaveInHandle* handleOut) {
  platform::Lock hold(captureLock);
  releaseEarlierCapture();
  rememberCallback(instance, window);
  platform::WaveDevices& devices = platform::waveDevices();
  const Mp4WaveFormat format = pcmWaveFormat(bits, rate, channels);
  capture.handle = nullptr;
  // A device that does not open is not reported: its buffers never come back.
  capture.deviceOpen = devices.waveInOpen(&capture.handle, platform::kWaveMapper, format, window, instance,
                                          platform::kCallbackWindow) == platform::kWaveNoError;
  if (handleOut != nullptr) *handleOut = static_cast<Mp4WaveInHandle>(capture.handle);
  // Blocks left from earlier recording or playback are dropped.
  clearWaveBlocks();
  const std::uint32_t bytes = waveInBufferSize();
  for (WaveHeader& header : capture.headers) queueCaptureBuffer(devices, header, bytes);
  capture.buffersHeld = true;
  devices.waveInStart(capture.handle);
  return 1;
}

void appendCapturedBytes(const WaveHeader& header) {
  // Never more than the buffer holds, whatever the header claims.
  const std::uint32_t count =
      header.bytesRecorded <= header.bufferLength ? header.bytesRecorded : header.bufferLength;
  WaveBlock* block = newWaveBlock(count);
  if (block == nullptr) return;
  if (count > 0) std::memcpy(block->header.data, header.data, count);
  block->header.bytesRecorded = count;
  block->header.bufferLength = count;
  appendWaveBlock(block);
}

}  // namespace

}  // namespace mp4lib::audio

using namespace mp4lib;

extern "C" MP4LIB_API int32_t openWaveIn(uint32_t instance, Mp4WaveWindow window, uint32_t bits, uint32_t rate,
                                         uint16_t channels) {
  return audio::openCapture(instance, window, bits, rate, channels, nullptr);
}

extern "C" MP4LIB_API int32_t openWaveInEx(uint32_t instance, Mp4WaveWindow window, uint32_t bits, uint32_t rate,
                                           uint16_t channels, Mp4WaveInHandle* handle) {
  return audio::openCapture(instance, window, bits, rate, channels, handle);
}

extern "C" MP4LIB_API uint32_t processWaveIn(uintptr_t, Mp4WaveHeader* header) {
  auto* own = reinterpret_cast<audio::WaveHeader*>(header);
  platform::Lock hold(audio::captureLock);
  // Buffers the device gives back after close (or foreign headers) are
  // refused without being touched: their memory may be gone.
  if (!audio::capture.buffersHeld || !audio::isCaptureHeader(own)) return platform::kWaveInvalidHandle;
  // A buffer the device still holds is not full yet.
  if ((platform::loadHeaderFlags(own) & platform::kWaveHeaderDone) == 0) return platform::kWaveStillPlaying;
  audio::appendCapturedBytes(*own);
  return platform::waveDevices().waveInAddBuffer(audio::capture.handle, own, platform::kWaveHeaderSize);
}

extern "C" MP4LIB_API int32_t closeWaveIn(void) {
  platform::Lock hold(audio::captureLock);
  platform::WaveDevices& devices = platform::waveDevices();
  if (devices.waveInReset(audio::capture.handle) != platform::kWaveNoError) return 0;
  if (devices.waveInStop(audio::capture.handle) != platform::kWaveNoError) return 0;
  for (audio::WaveHeader& header : audio::capture.headers) {
    if ((platform::loadHeaderFlags(&header) & platform::kWaveHeaderDone) == 0) {
      platform::storeHeaderFlags(&header, platform::kWaveHeaderDone);
    }
    devices.waveInUnprepareHeader(audio::capture.handle, &header, platform::kWaveHeaderSize);
  }
  audio::freeCaptureBuffers();
  devices.waveInClose(audio::capture.handle);
  audio::capture.handle = nullptr;
  audio::capture.deviceOpen = false;
  // Captured blocks stay on the list for the encoder.
  return 1;
}
