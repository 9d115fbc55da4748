// Writing decoded pictures and sound: PNG (through libpng, or stb's writer
// where a target has no libpng; see png_file_*.cpp) and 16-bit PCM WAV.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace mp4lib::tool {

// Writes an RGB picture (three bytes per pixel in the order red, green,
// blue, rows top first). False when the file cannot be written or the
// picture is empty or shorter than its size says.
bool writePng(const std::string& path, std::uint32_t width, std::uint32_t height, const std::vector<std::uint8_t>& rgb);

// Writes interleaved 16-bit little-endian PCM.
bool writeWav(const std::string& path, std::uint32_t sampleRate, std::uint16_t channels,
              const std::vector<std::uint8_t>& pcm);

// Reads a 16-bit PCM WAV file; false when it is not one.
bool readWav(const std::string& path, std::uint32_t* sampleRate, std::uint16_t* channels, std::vector<std::uint8_t>* pcm);

}  // namespace mp4lib::tool
