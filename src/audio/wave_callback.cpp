#include "audio/wave_callback.h"

#include <atomic>

namespace mp4lib::audio {

namespace {

std::atomic<std::uint32_t> instanceValue{0};
std::atomic<platform::WaveWindow> windowHandle{nullptr};

}  // namespace

void rememberCallback(std::uint32_t instance, platform::WaveWindow window) {
  instanceValue.store(instance);
  windowHandle.store(window);
}

std::uint32_t callbackInstance() { return instanceValue.load(); }
platform::WaveWindow callbackWindow() { return windowHandle.load(); }

}  // namespace mp4lib::audio
