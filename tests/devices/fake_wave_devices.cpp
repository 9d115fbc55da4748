#include "devices/fake_wave_devices.h"

#include <algorithm>
#include <cstring>

namespace mp4lib::test {

using platform::kWaveHeaderDone;
using platform::kWaveHeaderInQueue;
using platform::kWaveHeaderPrepared;
using platform::kWaveInvalidHandle;
using platform::kWaveNoError;
using platform::WaveHandle;
using platform::WaveHeader;

namespace {

void markDone(WaveHeader* header) { header->flags = (header->flags & ~kWaveHeaderInQueue) | kWaveHeaderDone; }

}  // namespace

FakeWaveDevices::FakeWaveDevices() { platform::setWaveDevicesForTesting(this); }
FakeWaveDevices::~FakeWaveDevices() { platform::setWaveDevicesForTesting(nullptr); }

std::vector<WaveCall> FakeWaveDevices::callsNamed(const std::string& name) const {
  std::vector<WaveCall> found;
  for (const WaveCall& call : calls) {
    if (call.name == name) found.push_back(call);
  }
  return found;
}

std::uint32_t FakeWaveDevices::record(const char* name, WaveHandle handle, WaveHeader* header, std::uint32_t value) {
  WaveCall call;
  call.name = name;
  call.handle = handle;
  call.header = header;
  call.value = value;
  calls.push_back(call);
  return kWaveNoError;
}

WaveHeader* FakeWaveDevices::fillNextInput(const std::vector<std::uint8_t>& bytes) {
  if (input_.empty()) return nullptr;
  WaveHeader* header = input_.front();
  input_.pop_front();
  const std::size_t copied = std::min<std::size_t>(bytes.size(), header->bufferLength);
  if (copied > 0) std::memcpy(header->data, bytes.data(), copied);
  header->bytesRecorded = static_cast<std::uint32_t>(bytes.size());
  markDone(header);
  return header;
}

WaveHeader* FakeWaveDevices::finishNextOutput() {
  if (output_.empty()) return nullptr;
  WaveHeader* header = output_.front();
  output_.pop_front();
  markDone(header);
  return header;
}

// ---- Input -------------------------------------------------------------------

std::uint32_t FakeWaveDevices::waveInOpen(WaveHandle* handle, std::uint32_t device, const Mp4WaveFormat& format,
                                          platform::WaveWindow window, std::uint32_t instance, std::uint32_t flags) {
  record("waveInOpen", nullptr, nullptr, device);
  calls.back().format = format;
  calls.back().window = window;
  calls.back().instance = instance;
  calls.back().flags = flags;
  if (inOpenResult != kWaveNoError) {
    *handle = nullptr;
    return inOpenResult;
  }
  inOpen_ = true;
  *handle = inputHandle();
  return kWaveNoError;
}

std::uint32_t FakeWaveDevices::waveInPrepareHeader(WaveHandle handle, WaveHeader* header, std::uint32_t size) {
  record("waveInPrepareHeader", handle, header, size);
  if (!inputIs(handle)) return kWaveInvalidHandle;
  header->flags |= kWaveHeaderPrepared;
  return kWaveNoError;
}

std::uint32_t FakeWaveDevices::waveInAddBuffer(WaveHandle handle, WaveHeader* header, std::uint32_t size) {
  record("waveInAddBuffer", handle, header, size);
  if (!inputIs(handle)) return kWaveInvalidHandle;
  header->flags = (header->flags & ~kWaveHeaderDone) | kWaveHeaderInQueue;
  header->bytesRecorded = 0;
  input_.push_back(header);
  return kWaveNoError;
}

std::uint32_t FakeWaveDevices::waveInStart(WaveHandle handle) {
  record("waveInStart", handle);
  return inputIs(handle) ? kWaveNoError : kWaveInvalidHandle;
}

std::uint32_t FakeWaveDevices::waveInStop(WaveHandle handle) {
  record("waveInStop", handle);
  if (!inputIs(handle)) return kWaveInvalidHandle;
  return inStopResult;
}

std::uint32_t FakeWaveDevices::waveInReset(WaveHandle handle) {
  record("waveInReset", handle);
  if (!inputIs(handle)) return kWaveInvalidHandle;
  if (inResetResult != kWaveNoError) return inResetResult;
  // Every queued buffer comes back, marked done.
  if (!inResetKeepsBuffers) {
    for (WaveHeader* header : input_) markDone(header);
    input_.clear();
  }
  return kWaveNoError;
}

std::uint32_t FakeWaveDevices::waveInUnprepareHeader(WaveHandle handle, WaveHeader* header, std::uint32_t size) {
  record("waveInUnprepareHeader", handle, header, size);
  if (!inputIs(handle)) return kWaveInvalidHandle;
  calls.back().flags = header->flags;  // as the library left them
  if ((header->flags & kWaveHeaderInQueue) != 0) return platform::kWaveStillPlaying;
  header->flags &= ~kWaveHeaderPrepared;
  return kWaveNoError;
}

std::uint32_t FakeWaveDevices::waveInClose(WaveHandle handle) {
  record("waveInClose", handle);
  if (!inputIs(handle)) return kWaveInvalidHandle;
  inOpen_ = false;
  return kWaveNoError;
}

// ---- Output ------------------------------------------------------------------

std::uint32_t FakeWaveDevices::waveOutOpen(WaveHandle* handle, std::uint32_t device, const Mp4WaveFormat& format,
                                           platform::WaveWindow window, std::uint32_t instance, std::uint32_t flags) {
  record("waveOutOpen", nullptr, nullptr, device);
  calls.back().format = format;
  calls.back().window = window;
  calls.back().instance = instance;
  calls.back().flags = flags;
  if (outOpenResult != kWaveNoError) {
    *handle = nullptr;
    return outOpenResult;
  }
  outOpen_ = true;
  *handle = outputHandle();
  return kWaveNoError;
}

std::uint32_t FakeWaveDevices::waveOutSetVolume(WaveHandle handle, std::uint32_t volume) {
  record("waveOutSetVolume", handle, nullptr, volume);
  return outputIs(handle) ? kWaveNoError : kWaveInvalidHandle;
}

std::uint32_t FakeWaveDevices::waveOutPrepareHeader(WaveHandle handle, WaveHeader* header, std::uint32_t size) {
  record("waveOutPrepareHeader", handle, header, size);
  if (!outputIs(handle)) return kWaveInvalidHandle;
  header->flags |= kWaveHeaderPrepared;
  return kWaveNoError;
}

std::uint32_t FakeWaveDevices::waveOutWrite(WaveHandle handle, WaveHeader* header, std::uint32_t size) {
  record("waveOutWrite", handle, header, size);
  if (!outputIs(handle)) return kWaveInvalidHandle;
  header->flags = (header->flags & ~kWaveHeaderDone) | kWaveHeaderInQueue;
  played.insert(played.end(), header->data, header->data + header->bufferLength);
  output_.push_back(header);
  return kWaveNoError;
}

std::uint32_t FakeWaveDevices::waveOutUnprepareHeader(WaveHandle handle, WaveHeader* header, std::uint32_t size) {
  record("waveOutUnprepareHeader", handle, header, size);
  if (!outputIs(handle)) return kWaveInvalidHandle;
  if ((header->flags & kWaveHeaderInQueue) != 0) return platform::kWaveStillPlaying;
  header->flags &= ~kWaveHeaderPrepared;
  return kWaveNoError;
}

std::uint32_t FakeWaveDevices::waveOutReset(WaveHandle handle) {
  record("waveOutReset", handle);
  if (!outputIs(handle)) return kWaveInvalidHandle;
  if (outResetResult != kWaveNoError) return outResetResult;
  if (!outResetKeepsBuffers) {
    for (WaveHeader* header : output_) markDone(header);
    output_.clear();
  }
  return kWaveNoError;
}

std::uint32_t FakeWaveDevices::waveOutClose(WaveHandle handle) {
  record("waveOutClose", handle);
  if (!outputIs(handle)) return kWaveInvalidHandle;
  if (outCloseResult != kWaveNoError) return outCloseResult;
  outOpen_ = false;
  return kWaveNoError;
}

}  // namespace mp4lib::test
