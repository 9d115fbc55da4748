#include "container/movie_builder.h"

namespace mp4lib::test {

namespace {

const Bytes kIdentityMatrix = ByteWriter()
                                  .u32(0x00010000).u32(0).u32(0)
                                  .u32(0).u32(0x00010000).u32(0)
                                  .u32(0).u32(0).u32(0x40000000);

}  // namespace

Bytes ftyp() { return box("ftyp", ByteWriter().text("3gp4").u32(0).text("3gp4").text("isom")); }

Bytes mvhd(std::uint32_t timeScale, std::uint32_t duration, std::uint32_t creationTime) {
  return fullBox("mvhd", 0,
                 ByteWriter()
                     .u32(creationTime).u32(creationTime).u32(timeScale).u32(duration)
                     .u32(0x00010000).u16(0x0100).zeros(10).raw(kIdentityMatrix).zeros(24).u32(2));
}

Bytes tkhd(std::uint32_t trackId, std::uint32_t duration, std::uint32_t width, std::uint32_t height,
           std::uint32_t creationTime) {
  return fullBox("tkhd", 1,
                 ByteWriter()
                     .u32(creationTime).u32(creationTime).u32(trackId).u32(0).u32(duration)
                     .zeros(8).u16(0).u16(0).u16(0).u16(0).raw(kIdentityMatrix)
                     .u32(width << 16).u32(height << 16));
}

Bytes mdhd(std::uint32_t timeScale, std::uint32_t duration) {
  return fullBox("mdhd", 0, ByteWriter().u32(0).u32(0).u32(timeScale).u32(duration).u16(0).u16(0));
}

Bytes hdlr(const std::string& componentType, const std::string& subtype, const Bytes& name) {
  ByteWriter payload;
  if (componentType.empty()) {
    payload.u32(0);
  } else {
    payload.text(componentType);
  }
  payload.text(subtype).zeros(12).raw(name);
  return fullBox("hdlr", 0, payload);
}

Bytes videoEntry(const std::string& tag, std::uint16_t width, std::uint16_t height, const Bytes& boxes,
                 std::uint16_t depth) {
  ByteWriter payload;
  payload.zeros(6).u16(1)                // reserved, data reference index
      .u16(0).u16(0).zeros(12)           // version, revision, vendor, qualities
      .u16(width).u16(height)
      .u32(0x00480000).u32(0x00480000).u32(0)  // resolutions, data size
      .u16(1);                           // frame count
  payload.u8(7).text("encoder").zeros(24);  // 32-byte counted compressor name
  payload.u16(depth).u16(0xFFFF).raw(boxes);
  return box(tag, payload);
}

Bytes soundEntry(const std::string& tag, std::uint16_t version, std::uint16_t channels, std::uint16_t bits,
                 std::uint32_t rate, const Bytes& rest) {
  return box(tag, ByteWriter()
                      .zeros(6).u16(1)
                      .u16(version).u16(0).u32(0)
                      .u16(channels).u16(bits).u16(0).u16(0).u32(rate << 16)
                      .raw(rest));
}

Bytes amrEntry(std::uint16_t modeSet, std::uint8_t modeChangePeriod, std::uint8_t framesPerSample) {
  const Bytes damr = box("damr", ByteWriter().text("kelv").u8(0).u16(modeSet).u8(modeChangePeriod).u8(framesPerSample));
  return soundEntry("samr", 0, 2, 16, 8000, damr);
}

Bytes esds(std::uint8_t objectType, std::uint8_t streamType, std::uint32_t bufferSize, std::uint32_t maxBitRate,
           std::uint32_t averageBitRate, const Bytes& dsi) {
  const auto n = static_cast<std::uint32_t>(dsi.size());
  ByteWriter payload;
  payload.u8(3).u8(0x80).u8(0x80).u8(0x80).u8(n + 32).u16(1).u8(0);
  payload.u8(4).u8(0x80).u8(0x80).u8(0x80).u8(n + 18).u8(objectType).u8(streamType).u24(bufferSize);
  payload.u32(maxBitRate).u32(averageBitRate);
  payload.u8(5).u8(0x80).u8(0x80).u8(0x80).u8(n).raw(dsi);
  payload.u8(6).u8(0x80).u8(0x80).u8(0x80).u8(1).u8(2);
  return fullBox("esds", 0, payload);
}

Bytes stsd(const std::vector<Bytes>& entries) {
  ByteWriter payload;
  payload.u32(static_cast<std::uint32_t>(entries.size()));
  for (const Bytes& entry : entries) payload.raw(entry);
  return fullBox("stsd", 0, payload);
}

Bytes stts(const std::vector<std::pair<std::uint32_t, std::uint32_t>>& runs) {
  ByteWriter payload;
  payload.u32(static_cast<std::uint32_t>(runs.size()));
  for (const auto& run : runs) payload.u32(run.first).u32(run.second);
  return fullBox("stts", 0, payload);
}

Bytes stsc(const std::vector<std::array<std::uint32_t, 3>>& runs) {
  ByteWriter payload;
  payload.u32(static_cast<std::uint32_t>(runs.size()));
  for (const auto& run : runs) payload.u32(run[0]).u32(run[1]).u32(run[2]);
  return fullBox("stsc", 0, payload);
}

Bytes stsz(std::uint32_t constantSize, std::uint32_t count, const std::vector<std::uint32_t>& sizes) {
  ByteWriter payload;
  payload.u32(constantSize).u32(count);
  for (std::uint32_t size : sizes) payload.u32(size);
  return fullBox("stsz", 0, payload);
}

Bytes stco(const std::vector<std::uint32_t>& offsets) {
  ByteWriter payload;
  payload.u32(static_cast<std::uint32_t>(offsets.size()));
  for (std::uint32_t offset : offsets) payload.u32(offset);
  return fullBox("stco", 0, payload);
}

Bytes co64(const std::vector<std::uint64_t>& offsets) {
  ByteWriter payload;
  payload.u32(static_cast<std::uint32_t>(offsets.size()));
  for (std::uint64_t offset : offsets) payload.u64(offset);
  return fullBox("co64", 0, payload);
}

Bytes trak(const Bytes& trackHeader, const Bytes& mediaHeader, const Bytes& handler, const std::vector<Bytes>& stbl) {
  const Bytes dref = fullBox("dref", 0, ByteWriter().u32(1).raw(fullBox("url ", 1, {})));
  const Bytes minf = box("minf", concat({box("dinf", dref), box("stbl", concat(stbl))}));
  return box("trak", concat({trackHeader, box("mdia", concat({mediaHeader, handler, minf}))}));
}

void VendorWords::videoCodecTypeInHostOrder(std::uint32_t type) {
  // Stored little-endian where the other words are big-endian: read back as
  // a big-endian word, its bytes come out reversed.
  words[11] = ((type & 0xFF) << 24) | ((type & 0xFF00) << 8) | ((type >> 8) & 0xFF00) | (type >> 24);
}

Bytes kelv(const VendorWords& vendor) {
  ByteWriter payload;
  for (std::uint32_t word : vendor.words) payload.u32(word);
  payload.le32(vendor.audioCodecType);
  payload.u8(vendor.audioBits).u8(vendor.audioBits >> 8).u16(0);
  payload.le32(vendor.audioRate);
  payload.u8(vendor.audioChannels).u8(vendor.audioChannels >> 8).u16(0);
  return box("kelv", payload);
}

std::vector<Bytes> makeSamples(std::size_t count, std::uint32_t size, std::uint8_t (*first)(std::size_t)) {
  std::vector<Bytes> samples(count);
  for (std::size_t i = 0; i < count; ++i) {
    samples[i].resize(size);
    for (std::uint32_t b = 0; b < size; ++b) samples[i][b] = static_cast<std::uint8_t>(i + b);
    if (size > 0 && first != nullptr) samples[i][0] = first(i);
  }
  return samples;
}

namespace {

std::vector<std::uint32_t> chunkLayout(const TrackLayout& track) {
  if (!track.chunkSamples.empty()) return track.chunkSamples;
  return std::vector<std::uint32_t>(track.samples.size(), 1);
}

std::vector<std::array<std::uint32_t, 3>> stscRuns(const std::vector<std::uint32_t>& chunks) {
  std::vector<std::array<std::uint32_t, 3>> runs;
  for (std::size_t c = 0; c < chunks.size(); ++c) {
    if (runs.empty() || runs.back()[1] != chunks[c]) runs.push_back({static_cast<std::uint32_t>(c + 1), chunks[c], 1});
  }
  return runs;
}

Bytes trackBox(const TrackLayout& track, std::uint32_t id, const std::vector<std::uint32_t>& chunkOffsets) {
  std::vector<std::uint32_t> sizes;
  for (const Bytes& sample : track.samples) sizes.push_back(static_cast<std::uint32_t>(sample.size()));
  const auto count = static_cast<std::uint32_t>(track.samples.size());
  const Bytes sizeBox = track.constantSize != 0 ? stsz(track.constantSize, count, {}) : stsz(0, count, sizes);
  const Bytes chunkBox = stsc(stscRuns(chunkLayout(track)));
  std::vector<Bytes> stbl = {stsd({track.entry}), stts(track.timing), sizeBox};
  if (track.stscAfterStco) {
    stbl.push_back(stco(chunkOffsets));
    stbl.push_back(chunkBox);
  } else {
    stbl.push_back(chunkBox);
    stbl.push_back(stco(chunkOffsets));
  }
  return trak(tkhd(id, track.trackDuration, track.width, track.height), mdhd(track.timeScale, track.mediaDuration),
              hdlr(track.handlerComponent, track.video ? "vide" : "soun", ByteWriter().text("handler").u8(0)), stbl);
}

Bytes moovBox(const MovieLayout& layout, const std::vector<std::vector<std::uint32_t>>& chunkOffsets) {
  std::vector<Bytes> children = {mvhd(layout.timeScale, layout.duration)};
  for (std::size_t t = 0; t < layout.tracks.size(); ++t) {
    children.push_back(trackBox(layout.tracks[t], static_cast<std::uint32_t>(t + 1), chunkOffsets[t]));
  }
  return box("moov", concat(children));
}

}  // namespace

BuiltMovie buildMovie(const MovieLayout& layout) {
  BuiltMovie built;
  Bytes head = ftyp();
  if (layout.withVendor) head = concat({head, kelv(layout.vendor)});
  // Chunk offsets are 32-bit, so the movie box's size does not depend on them.
  std::vector<std::vector<std::uint32_t>> placeholder;
  for (const TrackLayout& track : layout.tracks) placeholder.emplace_back(chunkLayout(track).size(), 0);
  const std::size_t moovSize = moovBox(layout, placeholder).size();
  const std::size_t mdatStart = head.size() + (layout.moovFirst ? moovSize : 0);
  built.mdatPayloadOffset = static_cast<std::uint32_t>(mdatStart + 8);

  Bytes payload;
  for (const TrackLayout& track : layout.tracks) {
    std::vector<std::uint32_t> chunks;
    std::vector<std::uint32_t> offsets;
    std::size_t sample = 0;
    for (std::uint32_t inChunk : chunkLayout(track)) {
      chunks.push_back(static_cast<std::uint32_t>(built.mdatPayloadOffset + payload.size()));
      for (std::uint32_t k = 0; k < inChunk && sample < track.samples.size(); ++k, ++sample) {
        offsets.push_back(static_cast<std::uint32_t>(built.mdatPayloadOffset + payload.size()));
        payload.insert(payload.end(), track.samples[sample].begin(), track.samples[sample].end());
      }
    }
    built.chunkOffsets.push_back(chunks);
    built.sampleOffsets.push_back(offsets);
  }
  const Bytes moov = moovBox(layout, built.chunkOffsets);
  const Bytes mdat = box("mdat", payload);
  built.bytes = layout.moovFirst ? concat({head, moov, mdat}) : concat({head, mdat, moov});
  return built;
}

}  // namespace mp4lib::test
