#include "image_files.h"

#include <cstring>
#include <fstream>
#include <iterator>

namespace mp4lib::tool {

namespace {

void appendLittleEndian(std::vector<std::uint8_t>& out, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

bool writeFile(const std::string& path, const std::vector<std::uint8_t>& bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return static_cast<bool>(file);
}

}  // namespace

bool writeWav(const std::string& path, std::uint32_t sampleRate, std::uint16_t channels,
              const std::vector<std::uint8_t>& pcm) {
  std::vector<std::uint8_t> wav = {'R', 'I', 'F', 'F'};
  appendLittleEndian(wav, static_cast<std::uint32_t>(36 + pcm.size()), 4);
  wav.insert(wav.end(), {'W', 'A', 'V', 'E', 'f', 'm', 't', ' '});
  appendLittleEndian(wav, 16, 4);
  appendLittleEndian(wav, 1, 2);  // PCM
  appendLittleEndian(wav, channels, 2);
  appendLittleEndian(wav, sampleRate, 4);
  appendLittleEndian(wav, sampleRate * channels * 2u, 4);
  appendLittleEndian(wav, channels * 2u, 2);
  appendLittleEndian(wav, 16, 2);
  wav.insert(wav.end(), {'d', 'a', 't', 'a'});
  appendLittleEndian(wav, static_cast<std::uint32_t>(pcm.size()), 4);
  wav.insert(wav.end(), pcm.begin(), pcm.end());
  return writeFile(path, wav);
}

bool readWav(const std::string& path, std::uint32_t* sampleRate, std::uint16_t* channels, std::vector<std::uint8_t>* pcm) {
  std::ifstream file(path, std::ios::binary);
  std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  if (bytes.size() < 12 || std::memcmp(bytes.data(), "RIFF", 4) != 0 || std::memcmp(bytes.data() + 8, "WAVE", 4) != 0) {
    return false;
  }
  const auto u16 = [&](std::size_t at) { return static_cast<std::uint32_t>(bytes[at] | (bytes[at + 1] << 8)); };
  const auto u32 = [&](std::size_t at) { return u16(at) | (u16(at + 2) << 16); };
  bool haveFormat = false;
  for (std::size_t at = 12; at + 8 <= bytes.size();) {
    const std::uint32_t size = u32(at + 4);
    if (size > bytes.size() - at - 8) return false;
    if (std::memcmp(bytes.data() + at, "fmt ", 4) == 0 && size >= 16) {
      if (u16(at + 8) != 1 || u16(at + 22) != 16) return false;  // 16-bit PCM only
      *channels = static_cast<std::uint16_t>(u16(at + 10));
      *sampleRate = u32(at + 12);
      haveFormat = true;
    } else if (std::memcmp(bytes.data() + at, "data", 4) == 0 && haveFormat) {
      pcm->assign(bytes.begin() + static_cast<std::ptrdiff_t>(at + 8),
                  bytes.begin() + static_cast<std::ptrdiff_t>(at + 8 + size));
      return true;
    }
    at += 8 + size + (size & 1);
  }
  return false;
}

}  // namespace mp4lib::tool
