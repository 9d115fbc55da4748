// What the tool records when it is given no input files: a moving picture of
// colour bars with a bouncing square, and a 440 Hz tone.
#pragma once

#include <cstdint>
#include <vector>

namespace mp4lib::tool {

// RGB16 (5-6-5) picture number `frame`.
std::vector<std::uint16_t> testPicture(std::uint32_t width, std::uint32_t height, std::uint32_t frame);

// 16-bit mono PCM of the tone from sample `first` on, `count` samples.
std::vector<std::uint8_t> testTone(std::uint32_t sampleRate, std::uint64_t first, std::uint32_t count);

}  // namespace mp4lib::tool
