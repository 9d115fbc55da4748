// A long movie for the playback benchmarks, laid out as the recorder writes
// it: "ftyp", "mdat" with the samples, then "moov" with one H.263 video
// track whose every sample is a chunk of its own.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace mp4lib::bench {

class BoxBytes {
 public:
  void u8(std::uint32_t v) { bytes.push_back(static_cast<std::uint8_t>(v)); }
  void u16(std::uint32_t v) { u8(v >> 8); u8(v); }
  void u32(std::uint32_t v) { u16(v >> 16); u16(v); }
  void text(const char* s) { while (*s) u8(static_cast<std::uint8_t>(*s++)); }
  void zeros(std::size_t n) { bytes.insert(bytes.end(), n, 0); }
  // Opens a box whose size is filled in by close().
  std::size_t open(const char* type) {
    const std::size_t at = bytes.size();
    u32(0);
    text(type);
    return at;
  }
  void close(std::size_t at) {
    const auto size = static_cast<std::uint32_t>(bytes.size() - at);
    bytes[at] = static_cast<std::uint8_t>(size >> 24);
    bytes[at + 1] = static_cast<std::uint8_t>(size >> 16);
    bytes[at + 2] = static_cast<std::uint8_t>(size >> 8);
    bytes[at + 3] = static_cast<std::uint8_t>(size);
  }
  std::vector<std::uint8_t> bytes;
};

// Writes the movie; sample sizes vary between 60 and 123 bytes. Returns false
// when the file cannot be written.
inline bool writeLongMovie(const std::string& path, std::uint32_t samples) {
  BoxBytes b;
  std::size_t box = b.open("ftyp");
  b.text("3gp4");
  b.u32(0);
  b.text("3gp4isom");
  b.close(box);
  std::vector<std::uint32_t> sizes(samples), offsets(samples);
  box = b.open("mdat");
  for (std::uint32_t i = 0; i < samples; ++i) {
    sizes[i] = 60 + (i * 37) % 64;
    offsets[i] = static_cast<std::uint32_t>(b.bytes.size());
    b.u8(i % 30 == 0 ? 'K' : 'P');
    b.zeros(sizes[i] - 1);
  }
  b.close(box);
  const std::uint32_t durationMs = samples / 30 * 1000;
  const std::size_t moov = b.open("moov");
  box = b.open("mvhd");
  b.u32(0); b.u32(0); b.u32(0); b.u32(1000); b.u32(durationMs);
  b.u32(0x00010000); b.u16(0x0100); b.zeros(10);
  b.u32(0x00010000); b.zeros(12); b.u32(0x00010000); b.zeros(12); b.u32(0x40000000);
  b.zeros(24); b.u32(2);
  b.close(box);
  const std::size_t trak = b.open("trak");
  box = b.open("tkhd");
  b.u32(1); b.u32(0); b.u32(0); b.u32(1); b.u32(0); b.u32(durationMs);
  b.zeros(16); b.u32(0x00010000); b.zeros(12); b.u32(0x00010000); b.zeros(12); b.u32(0x40000000);
  b.u32(176 << 16); b.u32(144 << 16);
  b.close(box);
  const std::size_t mdia = b.open("mdia");
  box = b.open("mdhd");
  b.u32(0); b.u32(0); b.u32(0); b.u32(30000); b.u32(samples * 1000); b.u32(0);
  b.close(box);
  box = b.open("hdlr");
  b.u32(0); b.u32(0); b.text("vide"); b.zeros(12); b.u8(0);
  b.close(box);
  const std::size_t minf = b.open("minf");
  box = b.open("vmhd");
  b.u32(1); b.zeros(8);
  b.close(box);
  const std::size_t stbl = b.open("stbl");
  box = b.open("stsd");
  b.u32(0); b.u32(1);
  const std::size_t entry = b.open("s263");
  b.zeros(6); b.u16(1); b.zeros(16); b.u16(176); b.u16(144);
  b.u32(0x00480000); b.u32(0x00480000); b.u32(0); b.u16(1); b.zeros(32); b.u16(0x18); b.u16(0xFFFF);
  b.close(entry);
  b.close(box);
  box = b.open("stts");
  b.u32(0); b.u32(1); b.u32(samples); b.u32(1000);
  b.close(box);
  box = b.open("stsc");
  b.u32(0); b.u32(1); b.u32(1); b.u32(1); b.u32(1);
  b.close(box);
  box = b.open("stsz");
  b.u32(0); b.u32(0); b.u32(samples);
  for (std::uint32_t size : sizes) b.u32(size);
  b.close(box);
  box = b.open("stco");
  b.u32(0); b.u32(samples);
  for (std::uint32_t offset : offsets) b.u32(offset);
  b.close(box);
  b.close(stbl);
  b.close(minf);
  b.close(mdia);
  b.close(trak);
  b.close(moov);
  std::FILE* out = std::fopen(path.c_str(), "wb");
  if (out == nullptr) return false;
  const bool written = std::fwrite(b.bytes.data(), 1, b.bytes.size(), out) == b.bytes.size();
  return std::fclose(out) == 0 && written;
}

}  // namespace mp4lib::bench
