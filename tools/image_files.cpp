#include "image_files.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <iterator>

namespace mp4lib::tool {

namespace {

void appendBigEndian(std::vector<std::uint8_t>& out, std::uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<std::uint8_t>(value >> shift));
}

void appendLittleEndian(std::vector<std::uint8_t>& out, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

std::uint32_t crc32(const std::uint8_t* data, std::size_t length, std::uint32_t crc = 0) {
  static const std::array<std::uint32_t, 256> table = [] {
    std::array<std::uint32_t, 256> t{};
    for (std::uint32_t n = 0; n < 256; ++n) {
      std::uint32_t c = n;
      for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
      t[n] = c;
    }
    return t;
  }();
  crc = ~crc;
  for (std::size_t i = 0; i < length; ++i) crc = table[(crc ^ data[i]) & 0xFF] ^ (crc >> 8);
  return ~crc;
}

void appendChunk(std::vector<std::uint8_t>& png, const char* type, const std::vector<std::uint8_t>& data) {
  appendBigEndian(png, static_cast<std::uint32_t>(data.size()));
  const std::size_t typeAt = png.size();
  png.insert(png.end(), type, type + 4);
  png.insert(png.end(), data.begin(), data.end());
  appendBigEndian(png, crc32(png.data() + typeAt, data.size() + 4));
}

// A zlib stream of stored (uncompressed) deflate blocks.
std::vector<std::uint8_t> storedZlib(const std::vector<std::uint8_t>& raw) {
  std::vector<std::uint8_t> out = {0x78, 0x01};
  std::size_t at = 0;
  do {
    const std::size_t length = std::min<std::size_t>(65535, raw.size() - at);
    out.push_back(at + length == raw.size() ? 1 : 0);
    appendLittleEndian(out, static_cast<std::uint32_t>(length), 2);
    appendLittleEndian(out, static_cast<std::uint32_t>(~length & 0xFFFF), 2);
    out.insert(out.end(), raw.begin() + static_cast<std::ptrdiff_t>(at),
               raw.begin() + static_cast<std::ptrdiff_t>(at + length));
    at += length;
  } while (at < raw.size());
  std::uint32_t a = 1, b = 0;
  for (std::uint8_t byte : raw) {
    a = (a + byte) % 65521;
    b = (b + a) % 65521;
  }
  appendBigEndian(out, (b << 16) | a);
  return out;
}

bool writeFile(const std::string& path, const std::vector<std::uint8_t>& bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return static_cast<bool>(file);
}

}  // namespace

bool writePng(const std::string& path, std::uint32_t width, std::uint32_t height, const std::vector<std::uint8_t>& rgb) {
  if (rgb.size() < static_cast<std::size_t>(width) * height * 3) return false;
  std::vector<std::uint8_t> png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  std::vector<std::uint8_t> header;
  appendBigEndian(header, width);
  appendBigEndian(header, height);
  header.insert(header.end(), {8, 2, 0, 0, 0});  // 8-bit RGB, no interlace
  appendChunk(png, "IHDR", header);
  std::vector<std::uint8_t> raw;
  raw.reserve(static_cast<std::size_t>(width * 3 + 1) * height);
  for (std::uint32_t row = 0; row < height; ++row) {
    raw.push_back(0);  // no filter
    const auto* line = rgb.data() + static_cast<std::size_t>(row) * width * 3;
    raw.insert(raw.end(), line, line + static_cast<std::size_t>(width) * 3);
  }
  appendChunk(png, "IDAT", storedZlib(raw));
  appendChunk(png, "IEND", {});
  return writeFile(path, png);
}

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
