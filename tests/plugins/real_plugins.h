// The real codec plug-ins of the build, loaded through the registry.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "codecs/plugin_registry.h"
#include "support/plugin_folder.h"

namespace mp4lib::test {

class RealPlugins : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    const std::wstring beside = (libraryFolder() / mp4libFileName()).wstring();
    codecs::discoverCodecPluginsBeside(beside.c_str());
  }
  static void TearDownTestSuite() {
    codecs::activePlugins() = codecs::ActivePlugins{};
    codecs::unloadCodecPlugins();
    codecs::discoverCodecPluginsBeside(nullptr);
  }
  static CodecPlugin* plugin(std::uint32_t type) {
    CodecPlugin* found = codecs::findCodecPluginByType(type);
    EXPECT_NE(found, nullptr) << "no plug-in of type " << type;
    return found;
  }
};

inline Mp4Word word(const void* pointer) { return reinterpret_cast<Mp4Word>(pointer); }

// 16-bit mono PCM of a sine tone, little-endian.
inline std::vector<std::uint8_t> tone(double hertz, int sampleRate, int samples, double amplitude = 8000.0) {
  std::vector<std::uint8_t> pcm(static_cast<std::size_t>(samples) * 2);
  for (int i = 0; i < samples; ++i) {
    const auto s = static_cast<std::int16_t>(std::lround(amplitude * std::sin(2.0 * 3.14159265358979323846 * hertz * i / sampleRate)));
    pcm[2 * i] = static_cast<std::uint8_t>(static_cast<std::uint16_t>(s) & 0xFF);
    pcm[2 * i + 1] = static_cast<std::uint8_t>(static_cast<std::uint16_t>(s) >> 8);
  }
  return pcm;
}

// Frequency of 16-bit PCM (first channel of `channels`) by counting upward
// zero crossings, skipping the first `skip` samples (codec start-up).
inline double zeroCrossingHertz(const std::vector<std::uint8_t>& pcm, int sampleRate, int channels = 1,
                                std::size_t skip = 0) {
  std::vector<int> samples;
  for (std::size_t i = 0; i + 1 < pcm.size(); i += 2 * static_cast<std::size_t>(channels)) {
    samples.push_back(static_cast<std::int16_t>(pcm[i] | (pcm[i + 1] << 8)));
  }
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

}  // namespace mp4lib::test
