#include "audio/wave_in_state.h"

#include <atomic>

namespace mp4lib::audio {

namespace {

std::atomic<std::uint32_t> bufferSize{0};

}  // namespace

std::uint32_t waveInBufferSize() { return bufferSize.load(); }
void setWaveInBufferSize(std::uint32_t bytes) { bufferSize.store(bytes); }

}  // namespace mp4lib::audio
