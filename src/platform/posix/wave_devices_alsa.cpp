// POSIX wave devices on ALSA's default PCM. Each open device has a thread
// of its own that fills (capture) or plays (playback) the queued buffers in
// order and then posts each finished one to the application's
// Mp4WaveTarget with MP4LIB_WIM_DATA / MP4LIB_WOM_DONE, as winmm posts to a
// window. Calls and results follow winmm.
#include <alsa/asoundlib.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/wave_device.h"

namespace mp4lib::platform {

namespace {

constexpr std::uint32_t kBadFormat = 32;           // WAVERR_BADFORMAT
constexpr unsigned kLatencyUs = 200000;            // ALSA buffer, microseconds
constexpr int kPollMs = 20;                        // longest wait between checks, ms
constexpr int kPlayOutPollMs = 5;                  // checks while the last buffer plays out, ms

struct AlsaDevice {
  bool capture = false;
  snd_pcm_t* pcm = nullptr;
  Mp4WaveTarget* target = nullptr;
  std::uint32_t bytesPerFrame = 1;
  std::uint16_t channels = 1;
  std::uint16_t bits = 16;

  std::mutex lock;
  std::condition_variable wake;
  std::deque<WaveHeader*> queue;
  bool running = false;   // capture started / playback not paused
  bool closing = false;
  bool busy = false;      // the thread works on the head buffer outside the lock
  std::atomic<bool> interrupt{false};
  std::atomic<std::uint32_t> volume{0xFFFFFFFFu};
  std::thread worker;
};

AlsaDevice* deviceOf(WaveHandle handle) { return static_cast<AlsaDevice*>(handle); }

void post(const AlsaDevice& device, WaveHeader* header) {
  storeHeaderFlags(header, (loadHeaderFlags(header) & ~kWaveHeaderInQueue) | kWaveHeaderDone);
  if (device.target != nullptr && device.target->post != nullptr) {
    device.target->post(device.target, device.capture ? MP4LIB_WIM_DATA : MP4LIB_WOM_DONE,
                        reinterpret_cast<Mp4WaveHeader*>(header));
  }
}

// Fills `header` with captured frames; the count of bytes captured.
std::uint32_t captureInto(AlsaDevice& device, WaveHeader* header) {
  const std::uint32_t frames = header->bufferLength / device.bytesPerFrame;
  std::uint32_t done = 0;
  while (done < frames && !device.interrupt.load()) {
    const snd_pcm_sframes_t got = snd_pcm_readi(device.pcm, header->data + done * device.bytesPerFrame, frames - done);
    if (got == -EAGAIN) {
      snd_pcm_wait(device.pcm, kPollMs);
    } else if (got < 0) {
      if (snd_pcm_recover(device.pcm, static_cast<int>(got), 1) < 0) break;
    } else {
      done += static_cast<std::uint32_t>(got);
    }
  }
  return done * device.bytesPerFrame;
}

// 16-bit samples get the channel volumes (left: low word, right: high word);
// other sizes play as they are.
void applyVolume(const AlsaDevice& device, std::uint8_t* pcm, std::uint32_t bytes) {
  const std::uint32_t volume = device.volume.load();
  if (device.bits != 16 || volume == 0xFFFFFFFFu) return;
  const std::uint32_t levels[2] = {volume & 0xFFFFu, volume >> 16};
  for (std::uint32_t at = 0; at + 1 < bytes; at += 2) {
    const std::uint32_t channel = (at / 2) % device.channels;
    const std::uint32_t level = levels[channel < 2 ? channel : 1];
    const auto sample = static_cast<std::int16_t>(pcm[at] | (pcm[at + 1] << 8));
    const auto scaled = static_cast<std::int16_t>(std::int32_t{sample} * static_cast<std::int32_t>(level) / 0xFFFF);
    pcm[at] = static_cast<std::uint8_t>(scaled & 0xFF);
    pcm[at + 1] = static_cast<std::uint8_t>((scaled >> 8) & 0xFF);
  }
}

void playFrom(AlsaDevice& device, WaveHeader* header) {
  std::vector<std::uint8_t> pcm(header->data, header->data + header->bufferLength);
  applyVolume(device, pcm.data(), static_cast<std::uint32_t>(pcm.size()));
  const std::uint32_t frames = header->bufferLength / device.bytesPerFrame;
  std::uint32_t done = 0;
  while (done < frames && !device.interrupt.load()) {
    const snd_pcm_sframes_t put = snd_pcm_writei(device.pcm, pcm.data() + done * device.bytesPerFrame, frames - done);
    if (put == -EAGAIN) {
      snd_pcm_wait(device.pcm, kPollMs);
    } else if (put < 0) {
      if (snd_pcm_recover(device.pcm, static_cast<int>(put), 1) < 0) break;
    } else {
      done += static_cast<std::uint32_t>(put);
    }
  }
}

bool nothingQueuedBehind(AlsaDevice& device) {
  std::lock_guard<std::mutex> hold(device.lock);
  return device.queue.size() <= 1;
}

// ALSA takes a buffer as soon as it fits in its ring, up to the latency
// ahead of the sound. When no buffer follows, the message waits until the
// ring has played out, as winmm reports a buffer once it has been heard, so
// that closing after the last message does not cut the tail.
void waitWhileLastBufferPlays(AlsaDevice& device) {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::microseconds(kLatencyUs) + std::chrono::seconds(1);
  // A stream shorter than the ring has not started yet.
  if (snd_pcm_state(device.pcm) == SND_PCM_STATE_PREPARED) snd_pcm_start(device.pcm);
  snd_pcm_sframes_t delay = 0;
  while (!device.interrupt.load() && nothingQueuedBehind(device) && snd_pcm_delay(device.pcm, &delay) == 0 &&
         delay > 0 && std::chrono::steady_clock::now() < limit) {
    std::this_thread::sleep_for(std::chrono::milliseconds(kPlayOutPollMs));
  }
}

void runDevice(AlsaDevice* device) {
  std::unique_lock<std::mutex> hold(device->lock);
  for (;;) {
    device->wake.wait(hold, [device] {
      return device->closing || (device->running && !device->queue.empty() && !device->interrupt.load());
    });
    if (device->closing) return;
    WaveHeader* header = device->queue.front();
    device->busy = true;
    hold.unlock();
    std::uint32_t captured = 0;
    if (device->capture) {
      captured = captureInto(*device, header);
    } else {
      playFrom(*device, header);
      waitWhileLastBufferPlays(*device);
    }
    hold.lock();
    device->busy = false;
    const bool finished = !device->interrupt.load() || (device->capture && captured > 0);
    if (finished && !device->queue.empty() && device->queue.front() == header) {
      device->queue.pop_front();
      if (device->capture) header->bytesRecorded = captured;
      hold.unlock();
      post(*device, header);
      hold.lock();
    }
    device->wake.notify_all();
  }
}

// Makes the thread let go of the head buffer; returns with the lock held.
void quiet(AlsaDevice& device, std::unique_lock<std::mutex>& hold) {
  device.interrupt.store(true);
  device.wake.wait(hold, [&device] { return !device.busy; });
}

snd_pcm_format_t formatFor(std::uint16_t bits) {
  switch (bits) {
    case 8: return SND_PCM_FORMAT_U8;
    case 16: return SND_PCM_FORMAT_S16_LE;
    case 24: return SND_PCM_FORMAT_S24_3LE;
    case 32: return SND_PCM_FORMAT_S32_LE;
    default: return SND_PCM_FORMAT_UNKNOWN;
  }
}

std::uint32_t openDevice(bool capture, WaveHandle* handle, const Mp4WaveFormat& format, WaveWindow window) {
  if (handle != nullptr) *handle = nullptr;
  const snd_pcm_format_t sampleFormat = formatFor(format.bitsPerSample);
  if (format.formatTag != 1 || sampleFormat == SND_PCM_FORMAT_UNKNOWN || format.blockAlign == 0) return kBadFormat;
  snd_pcm_t* pcm = nullptr;
  if (snd_pcm_open(&pcm, "default", capture ? SND_PCM_STREAM_CAPTURE : SND_PCM_STREAM_PLAYBACK, SND_PCM_NONBLOCK) <
      0) {
    return kWaveBadDevice;
  }
  if (snd_pcm_set_params(pcm, sampleFormat, SND_PCM_ACCESS_RW_INTERLEAVED, format.channels, format.samplesPerSec, 1,
                         kLatencyUs) < 0) {
    snd_pcm_close(pcm);
    return kBadFormat;
  }
  auto* device = new AlsaDevice;
  device->capture = capture;
  device->pcm = pcm;
  device->target = static_cast<Mp4WaveTarget*>(window);
  device->bytesPerFrame = format.blockAlign;
  device->channels = format.channels;
  device->bits = format.bitsPerSample;
  device->running = !capture;  // playback plays as soon as buffers come
  device->worker = std::thread(runDevice, device);
  if (handle != nullptr) *handle = device;
  return kWaveNoError;
}

std::uint32_t prepare(WaveHandle handle, WaveHeader* header) {
  if (handle == nullptr || header == nullptr) return handle == nullptr ? kWaveInvalidHandle : kWaveInvalidParameter;
  storeHeaderFlags(header, loadHeaderFlags(header) | kWaveHeaderPrepared);
  return kWaveNoError;
}

std::uint32_t unprepare(WaveHandle handle, WaveHeader* header) {
  if (handle == nullptr || header == nullptr) return handle == nullptr ? kWaveInvalidHandle : kWaveInvalidParameter;
  const std::uint32_t flags = loadHeaderFlags(header);
  if ((flags & kWaveHeaderInQueue) != 0) return kWaveStillPlaying;
  storeHeaderFlags(header, flags & ~kWaveHeaderPrepared);
  return kWaveNoError;
}

std::uint32_t enqueue(WaveHandle handle, WaveHeader* header) {
  AlsaDevice* device = deviceOf(handle);
  if (device == nullptr) return kWaveInvalidHandle;
  if (header == nullptr) return kWaveInvalidParameter;
  std::lock_guard<std::mutex> hold(device->lock);
  storeHeaderFlags(header, (loadHeaderFlags(header) & ~kWaveHeaderDone) | kWaveHeaderInQueue);
  device->queue.push_back(header);
  device->wake.notify_all();
  return kWaveNoError;
}

// Stops work and hands every queued buffer back, marked done.
std::uint32_t reset(WaveHandle handle, bool keepRunning) {
  AlsaDevice* device = deviceOf(handle);
  if (device == nullptr) return kWaveInvalidHandle;
  std::deque<WaveHeader*> returned;
  {
    std::unique_lock<std::mutex> hold(device->lock);
    quiet(*device, hold);
    snd_pcm_drop(device->pcm);
    snd_pcm_prepare(device->pcm);
    returned.swap(device->queue);
    device->running = keepRunning;
    device->interrupt.store(false);
  }
  for (WaveHeader* header : returned) {
    if (device->capture) header->bytesRecorded = 0;
    post(*device, header);
  }
  return kWaveNoError;
}

std::uint32_t closeDevice(WaveHandle handle) {
  AlsaDevice* device = deviceOf(handle);
  if (device == nullptr) return kWaveInvalidHandle;
  {
    std::lock_guard<std::mutex> hold(device->lock);
    if (!device->queue.empty()) return kWaveStillPlaying;
    device->closing = true;
    device->interrupt.store(true);
    device->wake.notify_all();
  }
  device->worker.join();
  snd_pcm_close(device->pcm);
  delete device;
  return kWaveNoError;
}

class AlsaWaveDevices final : public WaveDevices {
 public:
  std::uint32_t waveInOpen(WaveHandle* handle, std::uint32_t, const Mp4WaveFormat& format, WaveWindow window,
                           std::uint32_t, std::uint32_t) override {
    return openDevice(true, handle, format, window);
  }
  std::uint32_t waveInPrepareHeader(WaveHandle handle, WaveHeader* header, std::uint32_t) override {
    return prepare(handle, header);
  }
  std::uint32_t waveInAddBuffer(WaveHandle handle, WaveHeader* header, std::uint32_t) override {
    return enqueue(handle, header);
  }
  std::uint32_t waveInStart(WaveHandle handle) override {
    AlsaDevice* device = deviceOf(handle);
    if (device == nullptr) return kWaveInvalidHandle;
    std::lock_guard<std::mutex> hold(device->lock);
    device->running = true;
    device->wake.notify_all();
    return kWaveNoError;
  }
  std::uint32_t waveInStop(WaveHandle handle) override {
    AlsaDevice* device = deviceOf(handle);
    if (device == nullptr) return kWaveInvalidHandle;
    std::unique_lock<std::mutex> hold(device->lock);
    quiet(*device, hold);
    device->running = false;
    device->interrupt.store(false);
    return kWaveNoError;
  }
  std::uint32_t waveInReset(WaveHandle handle) override { return reset(handle, false); }
  std::uint32_t waveInUnprepareHeader(WaveHandle handle, WaveHeader* header, std::uint32_t) override {
    return unprepare(handle, header);
  }
  std::uint32_t waveInClose(WaveHandle handle) override { return closeDevice(handle); }

  std::uint32_t waveOutOpen(WaveHandle* handle, std::uint32_t, const Mp4WaveFormat& format, WaveWindow window,
                            std::uint32_t, std::uint32_t) override {
    return openDevice(false, handle, format, window);
  }
  std::uint32_t waveOutSetVolume(WaveHandle handle, std::uint32_t volume) override {
    AlsaDevice* device = deviceOf(handle);
    if (device == nullptr) return kWaveInvalidHandle;
    device->volume.store(volume);
    return kWaveNoError;
  }
  std::uint32_t waveOutPrepareHeader(WaveHandle handle, WaveHeader* header, std::uint32_t) override {
    return prepare(handle, header);
  }
  std::uint32_t waveOutWrite(WaveHandle handle, WaveHeader* header, std::uint32_t) override {
    return enqueue(handle, header);
  }
  std::uint32_t waveOutUnprepareHeader(WaveHandle handle, WaveHeader* header, std::uint32_t) override {
    return unprepare(handle, header);
  }
  std::uint32_t waveOutReset(WaveHandle handle) override { return reset(handle, true); }
  std::uint32_t waveOutClose(WaveHandle handle) override { return closeDevice(handle); }
};

}  // namespace

WaveDevices& systemWaveDevices() {
  static AlsaWaveDevices devices;
  return devices;
}

}  // namespace mp4lib::platform
