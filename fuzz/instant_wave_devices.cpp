#include "instant_wave_devices.h"

#include <algorithm>
#include <cstring>

namespace mp4lib::fuzz {

using platform::kWaveHeaderDone;
using platform::kWaveHeaderInQueue;
using platform::kWaveHeaderPrepared;
using platform::kWaveInvalidHandle;
using platform::kWaveNoError;
using platform::WaveHandle;
using platform::WaveHeader;

namespace {

void markDone(WaveHeader* header) { header->flags = (header->flags & ~kWaveHeaderInQueue) | kWaveHeaderDone; }

void markQueued(WaveHeader* header) { header->flags = (header->flags & ~kWaveHeaderDone) | kWaveHeaderInQueue; }

std::uint32_t unprepare(WaveHeader* header) {
  if ((header->flags & kWaveHeaderInQueue) != 0) return platform::kWaveStillPlaying;
  header->flags &= ~kWaveHeaderPrepared;
  return kWaveNoError;
}

}  // namespace

InstantWaveDevices::InstantWaveDevices() { platform::setWaveDevicesForTesting(this); }
InstantWaveDevices::~InstantWaveDevices() { platform::setWaveDevicesForTesting(nullptr); }

Mp4WaveHeader* InstantWaveDevices::takeFinishedOutput() {
  if (finishedOutput_.empty()) return nullptr;
  WaveHeader* header = finishedOutput_.front();
  finishedOutput_.pop_front();
  return reinterpret_cast<Mp4WaveHeader*>(header);
}

Mp4WaveHeader* InstantWaveDevices::captureInto(const std::uint8_t* bytes, std::uint32_t size) {
  if (queuedInput_.empty()) return nullptr;
  WaveHeader* header = queuedInput_.front();
  queuedInput_.pop_front();
  const std::uint32_t copied = std::min(size, header->bufferLength);
  if (copied > 0) std::memcpy(header->data, bytes, copied);
  header->bytesRecorded = copied;
  markDone(header);
  return reinterpret_cast<Mp4WaveHeader*>(header);
}

// ---- Input -------------------------------------------------------------------

std::uint32_t InstantWaveDevices::waveInOpen(WaveHandle* handle, std::uint32_t, const Mp4WaveFormat&,
                                             platform::WaveWindow, std::uint32_t, std::uint32_t) {
  inputOpen_ = true;
  queuedInput_.clear();
  *handle = &inputToken_;
  return kWaveNoError;
}

std::uint32_t InstantWaveDevices::waveInPrepareHeader(WaveHandle handle, WaveHeader* header, std::uint32_t) {
  if (!isInput(handle)) return kWaveInvalidHandle;
  header->flags |= kWaveHeaderPrepared;
  return kWaveNoError;
}

std::uint32_t InstantWaveDevices::waveInAddBuffer(WaveHandle handle, WaveHeader* header, std::uint32_t) {
  if (!isInput(handle)) return kWaveInvalidHandle;
  markQueued(header);
  header->bytesRecorded = 0;
  queuedInput_.push_back(header);
  return kWaveNoError;
}

std::uint32_t InstantWaveDevices::waveInStart(WaveHandle handle) {
  return isInput(handle) ? kWaveNoError : kWaveInvalidHandle;
}

std::uint32_t InstantWaveDevices::waveInStop(WaveHandle handle) {
  return isInput(handle) ? kWaveNoError : kWaveInvalidHandle;
}

// Every queued buffer comes back empty and done; its message is dropped, as
// an application ignores messages that arrive after it stopped capture.
std::uint32_t InstantWaveDevices::waveInReset(WaveHandle handle) {
  if (!isInput(handle)) return kWaveInvalidHandle;
  for (WaveHeader* header : queuedInput_) markDone(header);
  queuedInput_.clear();
  return kWaveNoError;
}

std::uint32_t InstantWaveDevices::waveInUnprepareHeader(WaveHandle handle, WaveHeader* header, std::uint32_t) {
  if (!isInput(handle)) return kWaveInvalidHandle;
  return unprepare(header);
}

std::uint32_t InstantWaveDevices::waveInClose(WaveHandle handle) {
  if (!isInput(handle)) return kWaveInvalidHandle;
  inputOpen_ = false;
  queuedInput_.clear();
  return kWaveNoError;
}

// ---- Output ------------------------------------------------------------------

std::uint32_t InstantWaveDevices::waveOutOpen(WaveHandle* handle, std::uint32_t, const Mp4WaveFormat&,
                                              platform::WaveWindow, std::uint32_t, std::uint32_t) {
  outputOpen_ = true;
  finishedOutput_.clear();
  played_ = 0;
  checksum_ = 0;
  *handle = &outputToken_;
  return kWaveNoError;
}

std::uint32_t InstantWaveDevices::waveOutSetVolume(WaveHandle handle, std::uint32_t) {
  return isOutput(handle) ? kWaveNoError : kWaveInvalidHandle;
}

std::uint32_t InstantWaveDevices::waveOutPrepareHeader(WaveHandle handle, WaveHeader* header, std::uint32_t) {
  if (!isOutput(handle)) return kWaveInvalidHandle;
  header->flags |= kWaveHeaderPrepared;
  return kWaveNoError;
}

// Plays at once: every byte of the buffer is read (so a short buffer is
// caught), and the header is done before the call returns.
std::uint32_t InstantWaveDevices::waveOutWrite(WaveHandle handle, WaveHeader* header, std::uint32_t) {
  if (!isOutput(handle)) return kWaveInvalidHandle;
  for (std::uint32_t i = 0; i < header->bufferLength; ++i) checksum_ += header->data[i];
  played_ += header->bufferLength;
  markDone(header);
  finishedOutput_.push_back(header);
  return kWaveNoError;
}

std::uint32_t InstantWaveDevices::waveOutUnprepareHeader(WaveHandle handle, WaveHeader* header, std::uint32_t) {
  if (!isOutput(handle)) return kWaveInvalidHandle;
  return unprepare(header);
}

// Everything written is already done; messages not yet answered are dropped,
// as they would arrive after the application reset the device.
std::uint32_t InstantWaveDevices::waveOutReset(WaveHandle handle) {
  if (!isOutput(handle)) return kWaveInvalidHandle;
  finishedOutput_.clear();
  return kWaveNoError;
}

std::uint32_t InstantWaveDevices::waveOutClose(WaveHandle handle) {
  if (!isOutput(handle)) return kWaveInvalidHandle;
  outputOpen_ = false;
  finishedOutput_.clear();
  return kWaveNoError;
}

}  // namespace mp4lib::fuzz
