// Wave devices for the fuzz targets: an output that plays every buffer the
// moment it is written and an input whose buffers the target fills itself.
// Nothing is posted to a window; the target takes the finished headers and
// answers them with processWaveOut / processWaveIn, as an application's
// message loop would.
#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "platform/wave_device.h"

namespace mp4lib::fuzz {

class InstantWaveDevices final : public platform::WaveDevices {
 public:
  // Installs itself for the library; the destructor puts the system back.
  InstantWaveDevices();
  ~InstantWaveDevices() override;
  InstantWaveDevices(const InstantWaveDevices&) = delete;
  InstantWaveDevices& operator=(const InstantWaveDevices&) = delete;

  // The oldest output buffer the device has finished and not yet reported;
  // null when none.
  Mp4WaveHeader* takeFinishedOutput();
  // Fills the oldest queued capture buffer with up to `size` of `bytes`,
  // marks it done and returns it; null when none is queued.
  Mp4WaveHeader* captureInto(const std::uint8_t* bytes, std::uint32_t size);
  // PCM bytes the output has played since it was opened.
  std::uint64_t playedBytes() const { return played_; }
  // Sum of the bytes played, so that every played byte is read.
  std::uint32_t playedChecksum() const { return checksum_; }

  std::uint32_t waveInOpen(platform::WaveHandle* handle, std::uint32_t device, const Mp4WaveFormat& format,
                           platform::WaveWindow window, std::uint32_t instance, std::uint32_t flags) override;
  std::uint32_t waveInPrepareHeader(platform::WaveHandle handle, platform::WaveHeader* header,
                                    std::uint32_t size) override;
  std::uint32_t waveInAddBuffer(platform::WaveHandle handle, platform::WaveHeader* header, std::uint32_t size) override;
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
  bool isInput(platform::WaveHandle handle) const { return inputOpen_ && handle == &inputToken_; }
  bool isOutput(platform::WaveHandle handle) const { return outputOpen_ && handle == &outputToken_; }

  int inputToken_ = 0;
  int outputToken_ = 0;
  bool inputOpen_ = false;
  bool outputOpen_ = false;
  std::deque<platform::WaveHeader*> queuedInput_;
  std::deque<platform::WaveHeader*> finishedOutput_;
  std::uint64_t played_ = 0;
  std::uint32_t checksum_ = 0;
};

}  // namespace mp4lib::fuzz
