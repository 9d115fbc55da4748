// Expected bytes of recorded 3GP files, spelled out box by box from the
// file layout the recorder promises. Sizes come from the bytes built here,
// never from the library's own size functions.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "support/file_bytes.h"

namespace mp4lib::test::expected {

// A box: 32-bit size of everything, the type, then the payload.
inline Bytes box(const std::string& type, const Bytes& payload) {
  return ByteBuilder().u32(static_cast<std::uint32_t>(8 + payload.size())).text(type).append(payload).bytes();
}

// A box with version and flags.
inline Bytes fullBox(const std::string& type, std::uint32_t versionAndFlags, const Bytes& payload) {
  return box(type, ByteBuilder().u32(versionAndFlags).append(payload).bytes());
}

inline Bytes ftyp() { return box("ftyp", ByteBuilder().text("3gp4").u32(0).text("3gp4").text("isom").bytes()); }

struct VendorFields {
  std::uint32_t version = 0x00010005;
  std::uint32_t wordA = 0, wordB = 0, width = 0, height = 0, value = 0, flags = 0, frameRate = 0, wordC = 0,
                wordD = 0;
  std::uint32_t videoType = 0, audioType = 0, audioBits = 0, audioRate = 0, audioChannels = 0;
};

inline Bytes vendorPayload(const VendorFields& f) {
  return ByteBuilder()
      .text("WMVH")
      .u32(f.version)
      .u32(f.wordA)
      .u32(f.wordB)
      .u32(f.width)
      .u32(f.height)
      .u32(f.value)
      .u32(f.flags)
      .u32(f.frameRate)
      .u32(f.wordC)
      .u32(f.wordD)
      .le32(f.videoType)
      .le32(f.audioType)
      .le16(f.audioBits)
      .le16(0)
      .le32(f.audioRate)
      .le16(f.audioChannels)
      .le16(0)
      .bytes();
}

inline Bytes vendorBox(const VendorFields& f) { return box("kelv", vendorPayload(f)); }

inline Bytes mdatHeader(std::uint32_t size) { return ByteBuilder().u32(size).text("mdat").bytes(); }

inline ByteBuilder& matrix(ByteBuilder& b) {
  return b.u32(0x00010000).u32(0).u32(0).u32(0).u32(0x00010000).u32(0).u32(0).u32(0).u32(0x40000000);
}

inline Bytes mvhd(std::uint32_t duration, std::uint32_t nextTrackId) {
  ByteBuilder b;
  b.u32(0).u32(0).u32(1000).u32(duration).u32(0x00010000).u16(0x0100).zeros(10);
  matrix(b).zeros(24).u32(nextTrackId);
  return fullBox("mvhd", 0, b.bytes());
}

// Visual sample entry fields shared by "s263" and "mp4v".
inline ByteBuilder visualFields(std::uint32_t width, std::uint32_t height) {
  ByteBuilder b;
  b.zeros(6).u16(1).zeros(16).u16(width).u16(height).u32(0x00480000).u32(0x00480000).zeros(4).u16(1).zeros(32);
  b.u16(0x0018).u16(0xFFFF);
  return b;
}

inline Bytes s263(std::uint32_t width, std::uint32_t height) {
  const Bytes d263 = box("d263", ByteBuilder().text("kelv").u8(0).u8(10).u8(0).bytes());
  return box("s263", visualFields(width, height).append(d263).bytes());
}

inline Bytes mp4v(std::uint32_t width, std::uint32_t height) {
  // ES descriptor (3) holding the decoder config (4) with an empty
  // decoder-specific block (5), then the SL config (6).
  const Bytes esds = fullBox("esds", 0,
                             ByteBuilder()
                                 .u8(3).u8(0x80).u8(0x80).u8(0x80).u8(32)
                                 .u16(1).u8(0)
                                 .u8(4).u8(0x80).u8(0x80).u8(0x80).u8(18)
                                 .u8(0x20).u8(0x11).u24(0x000DD2).u32(0x0002E918).u32(0x00017E6B)
                                 .u8(5).u8(0x80).u8(0x80).u8(0x80).u8(0)
                                 .u8(6).u8(0x80).u8(0x80).u8(0x80).u8(1).u8(2)
                                 .bytes());
  return box("mp4v", visualFields(width, height).append(esds).bytes());
}

inline Bytes samr(std::uint32_t timeScale, std::uint8_t framesPerSample) {
  const Bytes damr = box("damr", ByteBuilder().text("kelv").u8(0).u16(0x0080).u8(0).u8(framesPerSample).bytes());
  return box("samr",
             ByteBuilder().zeros(6).u16(1).zeros(8).u16(2).u16(16).zeros(4).u32(timeScale << 16).append(damr).bytes());
}

inline Bytes g723(std::uint32_t channels, std::uint32_t bits, std::uint32_t rate) {
  return box("g723", ByteBuilder()
                         .zeros(6)
                         .u16(1)
                         .u16(1)
                         .u16(0)
                         .text("kelv")
                         .u16(channels)
                         .u16(bits)
                         .zeros(4)
                         .u32(rate << 16)
                         .bytes());
}

struct Track {
  bool audio = false;
  std::uint32_t id = 1;
  std::uint32_t duration = 0;  // ms
  std::uint32_t timeScale = 0;
  std::uint32_t mediaDuration = 0;
  std::uint32_t width = 0, height = 0;
  Bytes sampleEntry;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> stts;  // {count, delta}
  std::vector<std::uint32_t> sizes;
  std::vector<std::uint32_t> offsets;
};

inline Bytes tkhd(const Track& t) {
  ByteBuilder b;
  b.u32(0).u32(0).u32(t.id).zeros(4).u32(t.duration).zeros(12).u16(t.audio ? 0x0100 : 0).zeros(2);
  matrix(b).u32(t.audio ? 0 : t.width << 16).u32(t.audio ? 0 : t.height << 16);
  return fullBox("tkhd", 1, b.bytes());
}

inline Bytes stbl(const Track& t) {
  ByteBuilder stts;
  stts.u32(static_cast<std::uint32_t>(t.stts.size()));
  for (const auto& entry : t.stts) stts.u32(entry.first).u32(entry.second);
  ByteBuilder stsz;
  stsz.u32(0).u32(static_cast<std::uint32_t>(t.sizes.size()));
  for (std::uint32_t size : t.sizes) stsz.u32(size);
  ByteBuilder stco;
  stco.u32(static_cast<std::uint32_t>(t.offsets.size()));
  for (std::uint32_t offset : t.offsets) stco.u32(offset);
  ByteBuilder b;
  b.append(fullBox("stsd", 0, ByteBuilder().u32(1).append(t.sampleEntry).bytes()));
  b.append(fullBox("stts", 0, stts.bytes()));
  b.append(fullBox("stsc", 0, ByteBuilder().u32(1).u32(1).u32(1).u32(1).bytes()));
  b.append(fullBox("stsz", 0, stsz.bytes()));
  b.append(fullBox("stco", 0, stco.bytes()));
  if (!t.audio) b.append(fullBox("stss", 0, ByteBuilder().u32(1).u32(1).bytes()));
  return box("stbl", b.bytes());
}

inline Bytes trak(const Track& t) {
  const Bytes mdhd = fullBox("mdhd", 0, ByteBuilder().u32(0).u32(0).u32(t.timeScale).u32(t.mediaDuration).u16(0).u16(0).bytes());
  const Bytes hdlr = fullBox("hdlr", 0, ByteBuilder().u32(0).text(t.audio ? "soun" : "vide").zeros(12).u8(0).bytes());
  const Bytes mediaHeader = t.audio ? fullBox("smhd", 0, ByteBuilder().u16(0).u16(0).bytes())
                                    : fullBox("vmhd", 1, ByteBuilder().u16(0).zeros(6).bytes());
  const Bytes url = fullBox("url ", 1, {});
  const Bytes dinf = box("dinf", fullBox("dref", 0, ByteBuilder().u32(1).append(url).bytes()));
  const Bytes minf = box("minf", ByteBuilder().append(mediaHeader).append(dinf).append(stbl(t)).bytes());
  const Bytes mdia = box("mdia", ByteBuilder().append(mdhd).append(hdlr).append(minf).bytes());
  return box("trak", ByteBuilder().append(tkhd(t)).append(mdia).bytes());
}

inline Bytes moov(std::uint32_t duration, std::uint32_t nextTrackId, const std::vector<Track>& tracks) {
  ByteBuilder b;
  b.append(mvhd(duration, nextTrackId));
  for (const Track& t : tracks) b.append(trak(t));
  return box("moov", b.bytes());
}

// The bytes the test plug-in's default video encode makes of frame k.
inline Bytes testVideoFrame(std::uint32_t k, std::uint32_t size, std::uint32_t keyInterval = 10) {
  Bytes bytes(size);
  for (std::uint32_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(k + i);
  if (size > 0) bytes[0] = k % keyInterval == 0 ? 'K' : 'P';
  if (size > 1) bytes[1] = static_cast<std::uint8_t>(k);
  return bytes;
}

}  // namespace mp4lib::test::expected
