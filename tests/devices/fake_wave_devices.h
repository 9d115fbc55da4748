// A wave-device double for tests: records every call the library makes,
// keeps the buffers each device holds in order, and lets a test finish them
// one at a time, as a driver would, without any sound hardware.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "platform/wave_device.h"

namespace mp4lib::test {

struct WaveCall {
  std::string name;                   // the winmm function's name
  platform::WaveHandle handle = nullptr;
  platform::WaveHeader* header = nullptr;
  std::uint32_t value = 0;            // size, volume, device or 0
  std::uint32_t flags = 0;            // open: callback flags
  std::uint32_t instance = 0;         // open: callback instance
  platform::WaveWindow window = nullptr;
  Mp4WaveFormat format{};             // open: the format asked for
};

class FakeWaveDevices final : public platform::WaveDevices {
 public:
  // Installs itself for the library; the destructor puts the system back.
  FakeWaveDevices();
  ~FakeWaveDevices() override;
  FakeWaveDevices(const FakeWaveDevices&) = delete;
  FakeWaveDevices& operator=(const FakeWaveDevices&) = delete;

  // Results the next calls give (0 = no error).
  std::uint32_t inOpenResult = 0, inResetResult = 0, inStopResult = 0;
  std::uint32_t outOpenResult = 0, outResetResult = 0, outCloseResult = 0;
  // When set, waveInReset / waveOutReset leave the queued buffers unfinished.
  bool inResetKeepsBuffers = false;
  bool outResetKeepsBuffers = false;

  std::vector<WaveCall> calls;
  std::vector<WaveCall> callsNamed(const std::string& name) const;

  // The input driver fills the oldest queued capture buffer with `bytes`
  // (at most its length; bytesRecorded = bytes.size()) and marks it done.
  // Null when none is queued.
  platform::WaveHeader* fillNextInput(const std::vector<std::uint8_t>& bytes);
  // The output driver finishes the oldest written buffer. Null when none.
  platform::WaveHeader* finishNextOutput();

  std::size_t inputQueued() const { return input_.size(); }
  std::size_t outputQueued() const { return output_.size(); }
  platform::WaveHandle inputHandle() const { return const_cast<int*>(&inputToken_); }
  platform::WaveHandle outputHandle() const { return const_cast<int*>(&outputToken_); }
  // The PCM written to the output, in order.
  std::vector<std::uint8_t> played;

  std::uint32_t waveInOpen(platform::WaveHandle* handle, std::uint32_t device, const Mp4WaveFormat& format,
                           platform::WaveWindow window, std::uint32_t instance, std::uint32_t flags) override;
  std::uint32_t waveInPrepareHeader(platform::WaveHandle handle, platform::WaveHeader* header,
                                    std::uint32_t size) override;
  std::uint32_t waveInAddBuffer(platform::WaveHandle handle, platform::WaveHeader* header,
                                std::uint32_t size) override;
  std::uint32_t waveInStart(platform::WaveHandle handle) override;
  std::uint32_t waveInStop(platform::WaveHandle handle) override;
  std::uint32_t waveInReset(platform::WaveHandle handle) override;
  std::uint32_t waveInUnprepareHeader(platform::WaveHandle handle, platform::WaveHeader* header,
                                      std::uint32_t size) override;
  std::uint32_t waveInClose(platform::WaveHandle handle) override;

  std::uint32_t waveOutOpen(platform::WaveHandle* handle, std::uint32_t device, const Mp4WaveFormat& format,
                            platform::WaveWindow window, std::uint32_t instance, std::uint32_t flags) override;
  std::uint32_t waveOutSetVolume(platform::WaveHandle handle, std::uint32_t volume) override;
  std::uint32_t waveOutPrepareHeader(platform::WaveHandle handle, platform::WaveHeader* header,
                                     std::uint32_t size) override;
  std::uint32_t waveOutWrite(platform::WaveHandle handle, platform::WaveHeader* header, std::uint32_t size) override;
  std::uint32_t waveOutUnprepareHeader(platform::WaveHandle handle, platform::WaveHeader* header,
                                       std::uint32_t size) override;
  std::uint32_t waveOutReset(platform::WaveHandle handle) override;
  std::uint32_t waveOutClose(platform::WaveHandle handle) override;

 private:
  std::uint32_t record(const char* name, platform::WaveHandle handle, platform::WaveHeader* header = nullptr,
                       std::uint32_t value = 0);
  bool inputIs(platform::WaveHandle handle) const { return inOpen_ && handle == inputHandle(); }
  bool outputIs(platform::WaveHandle handle) const { return outOpen_ && handle == outputHandle(); }

  int inputToken_ = 0;
  int outputToken_ = 0;
  bool inOpen_ = false;
  bool outOpen_ = false;
  std::deque<platform::WaveHeader*> input_;
  std::deque<platform::WaveHeader*> output_;
};

}  // namespace mp4lib::test
