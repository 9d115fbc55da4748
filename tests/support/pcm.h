// 16-bit little-endian PCM for sound tests: a tone to feed codecs, the
// samples of a buffer, its frequency, and a movie's sound decoded through
// the library.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "mp4lib.h"

namespace mp4lib::test {

// Mono PCM of a sine tone, from sample `first` on.
inline std::vector<std::uint8_t> tone(double hertz, int sampleRate, std::uint64_t first, int samples,
                                      double amplitude = 8000.0) {
  std::vector<std::uint8_t> pcm(static_cast<std::size_t>(samples) * 2);
  for (int i = 0; i < samples; ++i) {
    const double t = static_cast<double>(first + static_cast<std::uint64_t>(i)) / sampleRate;
    const auto s = static_cast<std::int16_t>(std::lround(amplitude * std::sin(2.0 * M_PI * hertz * t)));
    pcm[2 * i] = static_cast<std::uint8_t>(static_cast<std::uint16_t>(s) & 0xFF);
    pcm[2 * i + 1] = static_cast<std::uint8_t>(static_cast<std::uint16_t>(s) >> 8);
  }
  return pcm;
}

// The samples of the first channel of `channels`.
inline std::vector<int> pcmSamples(const std::vector<std::uint8_t>& pcm, int channels = 1) {
  std::vector<int> samples;
  for (std::size_t i = 0; i + 1 < pcm.size(); i += 2 * static_cast<std::size_t>(channels)) {
    samples.push_back(static_cast<std::int16_t>(pcm[i] | (pcm[i + 1] << 8)));
  }
  return samples;
}

// Frequency of the first channel by counting upward zero crossings,
// skipping the first `skip` samples (codec start-up). Hz; 0 with fewer than
// two crossings.
inline double zeroCrossingHertz(const std::vector<std::uint8_t>& pcm, int sampleRate, int channels = 1,
                                std::size_t skip = 0) {
  const std::vector<int> samples = pcmSamples(pcm, channels);
  int crossings = 0;
  std::size_t first = 0, last = 0;
  for (std::size_t i = skip + 1; i < samples.size(); ++i) {
    if (samples[i - 1] < 0 && samples[i] >= 0) {
      if (crossings == 0) first = i;
      last = i;
      ++crossings;
    }
  }
  if (crossings < 2) return 0.0;
  return (crossings - 1) * static_cast<double>(sampleRate) / static_cast<double>(last - first);
}

// The PCM of audio entries [0, entries) of the open movie through
// decode_audio_track, part by part into `partBytes` of room. *failedEntry
// (when given) receives the entry that did not decode, or `entries` when all
// did.
inline std::vector<std::uint8_t> decodedTrackSound(std::uint32_t entries, std::size_t partBytes,
                                                   std::uint32_t* failedEntry = nullptr) {
  std::vector<std::uint8_t> pcm, part(partBytes);
  if (failedEntry != nullptr) *failedEntry = entries;
  for (std::uint32_t entry = 0; entry < entries; ++entry) {
    std::uint32_t left = 0;
    do {
      std::uint32_t length = static_cast<std::uint32_t>(part.size()), timeMs = 0;
      if ((decode_audio_track(static_cast<std::int32_t>(entry), part.data(), &length, &timeMs, &left) & 0xFF) == 0) {
        if (failedEntry != nullptr) *failedEntry = entry;
        return pcm;
      }
      pcm.insert(pcm.end(), part.begin(), part.begin() + length);
    } while (left > 0);
  }
  return pcm;
}

}  // namespace mp4lib::test
