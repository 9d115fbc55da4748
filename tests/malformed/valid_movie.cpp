#include "malformed/valid_movie.h"

namespace mp4lib::malformed {

Bytes videoSample(int index) {
  // Key mark, width and height (16-bit big-endian), then eight payload bytes.
  Bytes sample = {static_cast<std::uint8_t>(index == 0 ? 'K' : 'P'), 0, kWidth, 0, kHeight};
  for (int i = 0; i < 8; ++i) sample.push_back(static_cast<std::uint8_t>(0x10 * (index + 1) + i));
  return sample;
}

Bytes sizedVideoSample(int index, std::uint32_t width, std::uint32_t height) {
  Bytes sample = videoSample(index);
  sample[1] = static_cast<std::uint8_t>(width >> 8);
  sample[2] = static_cast<std::uint8_t>(width);
  sample[3] = static_cast<std::uint8_t>(height >> 8);
  sample[4] = static_cast<std::uint8_t>(height);
  return sample;
}

Bytes audioSample(int index, std::size_t size) {
  // An AMR frame header of the 12.2 kbit/s mode, then numbered bytes.
  Bytes sample = {0x3C};
  while (sample.size() < size) sample.push_back(static_cast<std::uint8_t>(index * 31 + sample.size()));
  sample.resize(size);
  return sample;
}

Bytes audioSample(int index) { return audioSample(index, 32); }

namespace {

Bytes zeros(std::size_t count) { return Bytes(count, 0); }

Bytes unityMatrix() {
  Bytes matrix;
  for (std::uint32_t value : {0x00010000u, 0u, 0u, 0u, 0x00010000u, 0u, 0u, 0u, 0x40000000u}) put32(matrix, value);
  return matrix;
}

Box dinfBox() {
  Bytes dref;
  put32(dref, 1);  // one entry
  Box drefBox = fullBox("dref", 0, dref);
  drefBox.children.push_back(fullBox("url ", 1, {}));  // media in this file
  return container("dinf", {drefBox});
}

}  // namespace

Box ftypBox() {
  Bytes payload;
  putType(payload, "3gp4");
  put32(payload, 0);
  putType(payload, "3gp4");
  putType(payload, "isom");
  return leaf("ftyp", payload);
}

Box mvhdBox(std::uint32_t timeScale, std::uint32_t duration) {
  Bytes fields;
  put32(fields, 0);  // creation
  put32(fields, 0);  // modification
  put32(fields, timeScale);
  put32(fields, duration);
  put32(fields, 0x00010000);  // rate
  put16(fields, 0x0100);      // volume
  append(fields, zeros(10));
  append(fields, unityMatrix());
  append(fields, zeros(24));
  put32(fields, 3);  // next track id
  return fullBox("mvhd", 0, fields);
}

Box tkhdBox(std::uint32_t trackId, std::uint32_t duration, std::uint32_t width, std::uint32_t height) {
  Bytes fields;
  put32(fields, 0);  // creation
  put32(fields, 0);  // modification
  put32(fields, trackId);
  put32(fields, 0);
  put32(fields, duration);
  append(fields, zeros(8));
  put16(fields, 0);                        // layer
  put16(fields, 0);                        // alternate group
  put16(fields, width == 0 ? 0x0100 : 0);  // volume: audio only
  put16(fields, 0);
  append(fields, unityMatrix());
  put32(fields, width << 16);
  put32(fields, height << 16);
  return fullBox("tkhd", 1, fields);
}

Box mdhdBox(std::uint32_t timeScale, std::uint32_t duration) {
  Bytes fields;
  put32(fields, 0);
  put32(fields, 0);
  put32(fields, timeScale);
  put32(fields, duration);
  put16(fields, 0);  // language
  put16(fields, 0);  // quality
  return fullBox("mdhd", 0, fields);
}

Box hdlrBox(const std::string& handler) {
  Bytes fields;
  put32(fields, 0);  // pre-defined (component type 0)
  putType(fields, handler);
  append(fields, zeros(12));
  fields.push_back(0);  // empty name
  return fullBox("hdlr", 0, fields);
}

Box videoEntry(const std::string& tag, std::uint32_t width, std::uint32_t height) {
  Bytes fields = zeros(6);
  put16(fields, 1);  // data reference index
  append(fields, zeros(16));
  put16(fields, width);
  put16(fields, height);
  put32(fields, 0x00480000);  // 72 dpi
  put32(fields, 0x00480000);
  put32(fields, 0);           // data size
  put16(fields, 1);           // frames per sample
  append(fields, zeros(32));  // compressor name
  put16(fields, 0x0018);      // depth
  put16(fields, 0xFFFF);      // no colour table
  Box entry = leaf(tag, fields);
  Bytes d263;
  putType(d263, "kelv");
  d263.push_back(0);   // decoder version
  d263.push_back(10);  // level
  d263.push_back(0);   // profile
  entry.children.push_back(leaf("d263", d263));
  return entry;
}

Box samrEntry() {
  Bytes fields = zeros(6);
  put16(fields, 1);  // data reference index
  append(fields, zeros(8));
  put16(fields, 2);   // channels, as recorded files say
  put16(fields, 16);  // sample size
  put32(fields, 0);
  put32(fields, 8000u << 16);
  Box entry = leaf("samr", fields);
  Bytes damr;
  putType(damr, "kelv");
  damr.push_back(0);  // decoder version
  put16(damr, 0x0080);
  damr.push_back(0);  // mode change period
  damr.push_back(1);  // frames per sample
  entry.children.push_back(leaf("damr", damr));
  return entry;
}

Box stsdBox(Box entry) {
  Bytes count;
  put32(count, 1);
  Box stsd = fullBox("stsd", 0, count);
  stsd.children.push_back(std::move(entry));
  return stsd;
}

Box sttsBox(const std::vector<std::pair<std::uint32_t, std::uint32_t>>& runs) {
  Bytes fields;
  put32(fields, static_cast<std::uint32_t>(runs.size()));
  for (const auto& [count, delta] : runs) {
    put32(fields, count);
    put32(fields, delta);
  }
  return fullBox("stts", 0, fields);
}

Box stscBox(const std::vector<std::array<std::uint32_t, 3>>& runs) {
  Bytes fields;
  put32(fields, static_cast<std::uint32_t>(runs.size()));
  for (const auto& run : runs) {
    for (std::uint32_t value : run) put32(fields, value);
  }
  return fullBox("stsc", 0, fields);
}

Box stszBox(std::uint32_t constantSize, std::uint32_t count, const std::vector<std::uint32_t>& sizes) {
  Bytes fields;
  put32(fields, constantSize);
  put32(fields, count);
  for (std::uint32_t size : sizes) put32(fields, size);
  return fullBox("stsz", 0, fields);
}

Box stszOf(const std::vector<Bytes>& samples) {
  std::vector<std::uint32_t> sizes;
  for (const Bytes& sample : samples) sizes.push_back(static_cast<std::uint32_t>(sample.size()));
  return stszBox(0, static_cast<std::uint32_t>(sizes.size()), sizes);
}

Box stcoBox(const std::vector<std::uint32_t>& offsets) {
  Bytes fields;
  put32(fields, static_cast<std::uint32_t>(offsets.size()));
  for (std::uint32_t offset : offsets) put32(fields, offset);
  return fullBox("stco", 0, fields);
}

Box stcoOfTrack(int track) {
  Box stco = leaf("stco", {});
  stco.chunkOffsetsOfTrack = track;
  return stco;
}

Box videoTrak(int track, const std::vector<Bytes>& samples) {
  const auto count = static_cast<std::uint32_t>(samples.size());
  Bytes stss;
  put32(stss, 1);
  put32(stss, 1);
  Box stbl = container("stbl", {stsdBox(videoEntry("s263", kWidth, kHeight)), sttsBox({{count, 100}}),
                                stscBox({{1, 1, 1}}), stszOf(samples), stcoOfTrack(track), fullBox("stss", 0, stss)});
  Box minf = container("minf", {fullBox("vmhd", 1, zeros(8)), dinfBox(), stbl});
  Box mdia = container("mdia", {mdhdBox(1000, 100 * count), hdlrBox("vide"), minf});
  return container("trak", {tkhdBox(static_cast<std::uint32_t>(track) + 1, 100 * count, kWidth, kHeight), mdia});
}

Box audioTrak(int track, const std::vector<Bytes>& samples) {
  const auto count = static_cast<std::uint32_t>(samples.size());
  Box stbl = container("stbl", {stsdBox(samrEntry()), sttsBox({{count, 160}}), stscBox({{1, 1, 1}}), stszOf(samples),
                                stcoOfTrack(track)});
  Box minf = container("minf", {fullBox("smhd", 0, zeros(4)), dinfBox(), stbl});
  Box mdia = container("mdia", {mdhdBox(8000, 160 * count), hdlrBox("soun"), minf});
  return container("trak", {tkhdBox(static_cast<std::uint32_t>(track) + 1, 20 * count, 0, 0), mdia});
}

Movie validMovie() {
  Movie movie;
  std::vector<Bytes> video, audio;
  for (int i = 0; i < kVideoSamples; ++i) video.push_back(videoSample(i));
  for (int i = 0; i < kAudioSamples; ++i) audio.push_back(audioSample(i));
  movie.trackSamples = {video, audio};
  Box moov = container("moov", {mvhdBox(1000, 300), videoTrak(0, video), audioTrak(1, audio)});
  movie.boxes = {ftypBox(), leaf("mdat", {}), moov};
  return movie;
}

}  // namespace mp4lib::malformed
