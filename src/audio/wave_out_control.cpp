#include "audio/wave_out_control.h"

#include <atomic>

#include "audio/wave_out.h"

namespace mp4lib::audio {

namespace {

std::atomic<std::int32_t> audioEntry{0};
const WaveOutStandIn* standIn = nullptr;

}  // namespace

bool waveOutIsOpen() { return standIn != nullptr ? standIn->isOpen() : outputOpen(); }

bool resetWaveOutForSeek() { return standIn != nullptr ? standIn->resetForSeek() : resetOutputAndDrain(); }

std::int32_t waveOutAudioEntry() { return audioEntry.load(); }
void setWaveOutAudioEntry(std::int32_t entry) { audioEntry.store(entry); }

void setWaveOutStandInForTesting(const WaveOutStandIn* replacement) { standIn = replacement; }

}  // namespace mp4lib::audio
