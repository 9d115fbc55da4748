#include "container/boxes.h"

#include <cassert>

#include "container/box_types.h"

namespace mp4lib::container {

namespace {

// Checks, in debug builds, that a box wrote exactly the size it announced.
// A write that failed on the way makes the check moot.
class BoxScope {
 public:
  BoxScope(BufferedFile& file, std::uint32_t size) : file_(file), size_(size) {
#ifndef NDEBUG
    start_ = file.tell(file);
    failuresAtStart_ = file.failedWrites;
#endif
  }
  std::uint32_t done() const {
#ifndef NDEBUG
    assert(file_.failedWrites != failuresAtStart_ || file_.tell(file_) - start_ == size_);
#endif
    return size_;
  }

 private:
  BufferedFile& file_;
  std::uint32_t size_;
#ifndef NDEBUG
  std::uint64_t start_ = 0;
  std::uint32_t failuresAtStart_ = 0;
#endif
};

void writeHeader(BufferedFile& file, std::uint32_t size, std::uint32_t type) {
  writeU32(file, size);
  writeU32(file, type);
}

void writeFullHeader(BufferedFile& file, std::uint32_t size, std::uint32_t type, std::uint32_t versionAndFlags) {
  writeHeader(file, size, type);
  writeU32(file, versionAndFlags);
}

std::uint32_t countOf(std::int32_t count) { return count > 0 ? static_cast<std::uint32_t>(count) : 0; }
std::uint32_t sampleCount(const RecordedTrack& track) {
  return track.samples != nullptr ? countOf(track.sampleCount) : 0;
}
std::uint32_t sttsCount(const RecordedTrack& track) {
  return track.stts != nullptr ? countOf(track.sttsCount) : 0;
}
std::int32_t codecId(const RecordedTrack& track) { return track.codec != nullptr ? track.codec->codecId : -1; }

// The identity matrix of the movie and track headers.
void writeMatrix(BufferedFile& file) {
  const std::uint32_t matrix[9] = {kFixedOne, 0, 0, 0, kFixedOne, 0, 0, 0, kMatrixW};
  for (std::uint32_t value : matrix) writeU32(file, value);
}

// The 78 bytes that "s263" and "mp4v" share, from the reserved bytes to
// pre-defined.
void writeVisualEntryFields(BufferedFile& file, const CodecDescriptor& codec) {
  writeFill(file, 0, 6);
  writeU16(file, 1);  // data reference index
  writeFill(file, 0, 16);
  writeU16(file, static_cast<std::uint16_t>(codec.width));
  writeU16(file, static_cast<std::uint16_t>(codec.height));
  writeU32(file, kResolution72Dpi);
  writeU32(file, kResolution72Dpi);
  writeFill(file, 0, 4);
  writeU16(file, 1);  // frames per sample
  writeFill(file, 0, 32);  // compressor name
  writeU16(file, kDepthColour);
  writeU16(file, kPreDefinedMinusOne);
}

std::uint32_t writeD263(BufferedFile& file) {
  BoxScope box(file, kD263Size);
  writeHeader(file, kD263Size, kBoxD263);
  writeU32(file, kVendorKelv);
  writeU8(file, 0);  // decoder version
  writeU8(file, kH263Level);
  writeU8(file, kH263Profile);
  return box.done();
}

std::uint32_t writeS263(BufferedFile& file, const RecordedTrack& track) {
  BoxScope box(file, kS263Size);
  writeHeader(file, kS263Size, kEntryS263);
  writeVisualEntryFields(file, *track.codec);
  writeD263(file);
  return box.done();
}

void writeDescriptorHeader(BufferedFile& file, std::uint8_t tag, std::uint32_t length) {
  std::uint8_t bytes[4];
  encodeLengthField(length, bytes);
  writeU8(file, tag);
  writeBlock(file, bytes, 4);
}

std::uint32_t writeEsds(BufferedFile& file, const RecordedTrack& track) {
  const std::uint32_t extra = track.dsi != nullptr ? track.dsiLength : 0;
  const std::uint32_t size = kEsdsBaseSize + extra;
  BoxScope box(file, size);
  writeFullHeader(file, size, kBoxEsds, 0);
  writeDescriptorHeader(file, kTagEsDescriptor, extra + 32);
  writeU16(file, 1);  // ES id
  writeU8(file, 0);   // flags
  writeDescriptorHeader(file, kTagDecoderConfig, extra + 18);
  writeU8(file, kObjectTypeMpeg4Visual);
  writeU8(file, kStreamTypeVisual);
  writeU8(file, static_cast<std::uint8_t>(kEsdsBufferSize >> 16));
  writeU16(file, static_cast<std::uint16_t>(kEsdsBufferSize));
  writeU32(file, kEsdsMaxBitRate);
  writeU32(file, kEsdsAverageBitRate);
  writeDescriptorHeader(file, kTagDecoderSpecific, extra);
  writeBlock(file, track.dsi, extra);
  writeDescriptorHeader(file, kTagSlConfig, 1);
  writeU8(file, kSlPredefinedMp4);
  return box.done();
}

// The "mp4v" size stays 135 as if the esds carried no decoder-specific
// bytes; the recorder never has any.
std::uint32_t writeMp4v(BufferedFile& file, const RecordedTrack& track) {
  const std::uint32_t extra = track.dsi != nullptr ? track.dsiLength : 0;
  BoxScope box(file, kMp4vSize + extra);
  writeHeader(file, kMp4vSize, kEntryMp4v);
  writeVisualEntryFields(file, *track.codec);
  writeEsds(file, track);
  box.done();
  return kMp4vSize;
}

std::uint32_t writeDamr(BufferedFile& file, const CodecDescriptor& codec) {
  BoxScope box(file, kDamrSize);
  writeHeader(file, kDamrSize, kBoxDamr);
  writeU32(file, kVendorKelv);
  writeU8(file, 0);  // decoder version
  writeU16(file, codec.amrModeSet);
  writeU8(file, codec.amrModeChangePeriod);
  writeU8(file, codec.amrFramesPerSample);
  return box.done();
}

std::uint32_t writeSamr(BufferedFile& file, const RecordedTrack& track) {
  BoxScope box(file, kSamrSize);
  writeHeader(file, kSamrSize, kEntrySamr);
  writeFill(file, 0, 6);
  writeU16(file, 1);  // data reference index
  writeFill(file, 0, 8);
  writeU16(file, 2);   // channel count, as AMR entries always say
  writeU16(file, 16);  // sample size, bits
  writeFill(file, 0, 4);
  writeU32(file, track.mediaTimeScale << 16);  // 16.16 sample rate
  writeDamr(file, *track.codec);
  return box.done();
}

std::uint32_t writeG723(BufferedFile& file, const RecordedTrack& track) {
  const CodecDescriptor& codec = *track.codec;
  BoxScope box(file, kG723Size);
  writeHeader(file, kG723Size, kEntryG723);
  writeFill(file, 0, 6);
  writeU16(file, 1);  // data reference index
  writeU16(file, 1);  // version
  writeU16(file, 0);  // revision
  writeU32(file, kVendorKelv);
  writeU16(file, static_cast<std::uint16_t>(codec.channels));
  writeU16(file, static_cast<std::uint16_t>(codec.bitsPerSample));
  writeFill(file, 0, 4);
  writeU32(file, codec.sampleRate << 16);  // 16.16 sample rate
  return box.done();
}

// Longest track duration (ms, low 32 bits) and next track id over the first
// track-count slots that hold samples.
std::uint32_t movieDuration(const RecordedMovie& movie) {
  std::uint32_t longest = 0;
  for (int i = 0; i < movie.trackCount && i < kMaxTracks; ++i) {
    const RecordedTrack& track = movie.tracks[i];
    if (!trackHoldsSamples(track)) continue;
    const auto duration = static_cast<std::uint32_t>(track.trackDuration);
    if (duration > longest) longest = duration;
  }
  return longest;
}

std::uint32_t nextTrackId(const RecordedMovie& movie) {
  std::uint32_t highest = 1;
  for (int i = 0; i < movie.trackCount && i < kMaxTracks; ++i) {
    const RecordedTrack& track = movie.tracks[i];
    if (trackHoldsSamples(track) && track.trackId > highest) highest = track.trackId;
  }
  return highest + 1;
}

// Visits the slots that go into "moov": slots are scanned until as many
// tracks with samples as the track count have been found or all five slots
// have been looked at.
template <typename Visit>
void forEachMovieTrack(const RecordedMovie& movie, Visit visit) {
  int found = 0;
  for (int i = 0; i < kMaxTracks && found < movie.trackCount; ++i) {
    if (!trackHoldsSamples(movie.tracks[i])) continue;
    visit(movie.tracks[i]);
    ++found;
  }
}

}  // namespace

bool isAudioTrack(const RecordedTrack& track) {
  return track.codec != nullptr && track.codec->kind == MP4LIB_KIND_AUDIO;
}

bool trackHoldsSamples(const RecordedTrack& track) { return sampleCount(track) > 0 && track.codec != nullptr; }

void encodeLengthField(std::uint32_t value, std::uint8_t (&bytes)[4]) {
  bytes[0] = static_cast<std::uint8_t>(0x80 | ((value >> 24) & 0x7F));
  bytes[1] = static_cast<std::uint8_t>(0x80 | ((value >> 16) & 0x7F));
  bytes[2] = static_cast<std::uint8_t>(0x80 | ((value >> 8) & 0x7F));
  bytes[3] = static_cast<std::uint8_t>(value & 0x7F);
}

std::uint32_t sampleEntrySize(const RecordedTrack& track) {
  const bool audio = isAudioTrack(track);
  switch (codecId(track)) {
    case MP4LIB_CODEC_ID_H263:
      return audio ? 0 : kS263Size;
    case MP4LIB_CODEC_ID_MPEG4V:
      return audio ? 0 : kMp4vSize;
    case MP4LIB_CODEC_ID_AMR:
      return audio ? kSamrSize : 0;
    case MP4LIB_CODEC_ID_G723:
      return audio ? kG723Size : 0;
    default:
      return 0;
  }
}

std::uint32_t stsdSize(const RecordedTrack& track) { return kEmptyStsdSize + sampleEntrySize(track); }
std::uint32_t sttsSize(const RecordedTrack& track) { return 8 * (sttsCount(track) + 2); }
std::uint32_t stszSize(const RecordedTrack& track) { return 4 * (sampleCount(track) + 5); }
std::uint32_t stcoSize(const RecordedTrack& track) { return 4 * (sampleCount(track) + 4); }

std::uint32_t stblSize(const RecordedTrack& track) {
  const std::uint32_t syncTable = isAudioTrack(track) ? 0 : kStssSize;
  return stsdSize(track) + sttsSize(track) + stszSize(track) + stcoSize(track) + kBoxHeaderSize + kStscSize +
         syncTable;
}

std::uint32_t minfSize(const RecordedTrack& track) {
  const std::uint32_t mediaHeader = kBoxHeaderSize + (isAudioTrack(track) ? kSmhdSize : kVmhdSize);
  return stblSize(track) + kDinfSize + mediaHeader;
}

std::uint32_t mdiaSize(const RecordedTrack& track) {
  return minfSize(track) + kBoxHeaderSize + kMdhdSize + kHdlrSize;
}

std::uint32_t trakSize(const RecordedTrack& track) { return mdiaSize(track) + kBoxHeaderSize + kTkhdSize; }

std::uint32_t moovSize(const RecordedMovie& movie) {
  std::uint32_t size = kBoxHeaderSize + kMvhdSize;
  forEachMovieTrack(movie, [&size](const RecordedTrack& track) { size += trakSize(track); });
  return size;
}

std::uint32_t writeFtyp(BufferedFile& file) {
  BoxScope box(file, kFtypSize);
  writeHeader(file, kFtypSize, kBoxFtyp);
  writeU32(file, kBrand3gp4);  // major brand
  writeU32(file, 0);           // minor version
  writeU32(file, kBrand3gp4);
  writeU32(file, kBrandIsom);
  return box.done();
}

std::uint32_t writeVendorBox(BufferedFile& file, const std::uint8_t (&payload)[64]) {
  BoxScope box(file, kVendorBoxSize);
  writeHeader(file, kVendorBoxSize, kVendorKelv);
  writeBlock(file, payload, kVendorPayloadSize);
  return box.done();
}

std::uint32_t writeMdatHeader(BufferedFile& file) {
  BoxScope box(file, kMdatHeaderSize);
  writeHeader(file, 0, kBoxMdat);
  return box.done();
}

std::uint32_t writeMoov(BufferedFile& file, const RecordedMovie& movie) {
  const std::uint32_t size = moovSize(movie);
  BoxScope box(file, size);
  writeHeader(file, size, kBoxMoov);
  writeMvhd(file, movie);
  forEachMovieTrack(movie, [&file](const RecordedTrack& track) { writeTrak(file, track); });
  return box.done();
}

std::uint32_t writeMvhd(BufferedFile& file, const RecordedMovie& movie) {
  BoxScope box(file, kMvhdSize);
  writeFullHeader(file, kMvhdSize, kBoxMvhd, 0);
  writeU32(file, movie.creationTime);
  writeU32(file, movie.creationTime);  // modification time
  writeU32(file, kMovieTimeScale);
  writeU32(file, movieDuration(movie));
  writeU32(file, kFixedOne);  // rate
  writeU16(file, kFullVolume);
  writeFill(file, 0, 10);
  writeMatrix(file);
  writeFill(file, 0, 24);
  writeU32(file, nextTrackId(movie));
  return box.done();
}

std::uint32_t writeTrak(BufferedFile& file, const RecordedTrack& track) {
  const std::uint32_t size = trakSize(track);
  BoxScope box(file, size);
  writeHeader(file, size, kBoxTrak);
  writeTkhd(file, track);
  writeMdia(file, track);
  return box.done();
}

std::uint32_t writeTkhd(BufferedFile& file, const RecordedTrack& track) {
  const bool audio = isAudioTrack(track);
  BoxScope box(file, kTkhdSize);
  writeFullHeader(file, kTkhdSize, kBoxTkhd, kTrackEnabled);
  writeU32(file, track.creationTime);
  writeU32(file, track.creationTime);  // modification time
  writeU32(file, track.trackId);
  writeFill(file, 0, 4);
  writeU32(file, static_cast<std::uint32_t>(track.trackDuration));
  writeFill(file, 0, 12);  // reserved, layer, alternate group
  writeU16(file, audio ? kFullVolume : 0);
  writeFill(file, 0, 2);
  writeMatrix(file);
  writeU32(file, audio ? 0 : track.width << 16);  // 16.16 pixels
  writeU32(file, audio ? 0 : track.height << 16);
  return box.done();
}

std::uint32_t writeMdia(BufferedFile& file, const RecordedTrack& track) {
  const std::uint32_t size = mdiaSize(track);
  BoxScope box(file, size);
  writeHeader(file, size, kBoxMdia);
  writeMdhd(file, track);
  writeHdlr(file, track);
  writeMinf(file, track);
  return box.done();
}

std::uint32_t writeMdhd(BufferedFile& file, const RecordedTrack& track) {
  BoxScope box(file, kMdhdSize);
  writeFullHeader(file, kMdhdSize, kBoxMdhd, 0);
  writeU32(file, track.creationTime);
  writeU32(file, track.creationTime);  // modification time
  writeU32(file, track.mediaTimeScale);
  writeU32(file, track.mediaDuration);
  writeU16(file, 0);  // language
  writeU16(file, 0);  // pre-defined
  return box.done();
}

std::uint32_t writeHdlr(BufferedFile& file, const RecordedTrack& track) {
  BoxScope box(file, kHdlrSize);
  writeFullHeader(file, kHdlrSize, kBoxHdlr, 0);
  writeU32(file, 0);  // pre-defined
  writeU32(file, isAudioTrack(track) ? kHandlerSound : kHandlerVideo);
  writeFill(file, 0, 12);
  writeU8(file, 0);  // empty name
  return box.done();
}

std::uint32_t writeMinf(BufferedFile& file, const RecordedTrack& track) {
  const std::uint32_t size = minfSize(track);
  BoxScope box(file, size);
  writeHeader(file, size, kBoxMinf);
  if (isAudioTrack(track)) {
    writeSmhd(file);
  } else {
    writeVmhd(file);
  }
  writeDinf(file);
  writeStbl(file, track);
  return box.done();
}

std::uint32_t writeVmhd(BufferedFile& file) {
  BoxScope box(file, kVmhdSize);
  writeFullHeader(file, kVmhdSize, kBoxVmhd, 1);
  writeU16(file, 0);  // graphics mode
  writeFill(file, 0, 6);  // op colour
  return box.done();
}

std::uint32_t writeSmhd(BufferedFile& file) {
  BoxScope box(file, kSmhdSize);
  writeFullHeader(file, kSmhdSize, kBoxSmhd, 0);
  writeU16(file, 0);  // balance
  writeU16(file, 0);
  return box.done();
}

std::uint32_t writeDinf(BufferedFile& file) {
  BoxScope box(file, kDinfSize);
  writeHeader(file, kDinfSize, kBoxDinf);
  writeFullHeader(file, kDrefSize, kBoxDref, 0);
  writeU32(file, 1);  // entry count
  writeFullHeader(file, kUrlSize, kBoxUrl, kMediaInThisFile);
  return box.done();
}

std::uint32_t writeStbl(BufferedFile& file, const RecordedTrack& track) {
  const std::uint32_t size = stblSize(track);
  BoxScope box(file, size);
  writeHeader(file, size, kBoxStbl);
  writeStsd(file, track);
  writeStts(file, track);
  writeStsc(file);
  writeStsz(file, track);
  writeStco(file, track);
  if (!isAudioTrack(track)) writeStss(file);
  return box.done();
}

std::uint32_t writeStsd(BufferedFile& file, const RecordedTrack& track) {
  const std::uint32_t entry = sampleEntrySize(track);
  const std::uint32_t size = stsdSize(track);
  const std::uint32_t extra = codecId(track) == MP4LIB_CODEC_ID_MPEG4V && track.dsi != nullptr ? track.dsiLength : 0;
  BoxScope box(file, size + extra);
  writeFullHeader(file, size, kBoxStsd, 0);
  writeU32(file, entry != 0 ? 1 : 0);
  if (entry != 0) writeSampleEntry(file, track);
  box.done();
  return size;
}

std::uint32_t writeSampleEntry(BufferedFile& file, const RecordedTrack& track) {
  if (sampleEntrySize(track) == 0) return 0;
  switch (codecId(track)) {
    case MP4LIB_CODEC_ID_H263:
      return writeS263(file, track);
    case MP4LIB_CODEC_ID_MPEG4V:
      return writeMp4v(file, track);
    case MP4LIB_CODEC_ID_AMR:
      return writeSamr(file, track);
    default:
      return writeG723(file, track);
  }
}

std::uint32_t writeStts(BufferedFile& file, const RecordedTrack& track) {
  const std::uint32_t count = sttsCount(track);
  const std::uint32_t size = sttsSize(track);
  BoxScope box(file, size);
  writeFullHeader(file, size, kBoxStts, 0);
  writeU32(file, count);
  for (std::uint32_t i = 0; i < count; ++i) {
    writeU32(file, track.stts[i].sampleCount);
    writeU32(file, track.stts[i].delta);
  }
  return box.done();
}

// Every sample is a chunk of its own.
std::uint32_t writeStsc(BufferedFile& file) {
  BoxScope box(file, kStscSize);
  writeFullHeader(file, kStscSize, kBoxStsc, 0);
  writeU32(file, 1);  // entry count
  writeU32(file, 1);  // first chunk
  writeU32(file, 1);  // samples per chunk
  writeU32(file, 1);  // sample description index
  return box.done();
}

std::uint32_t writeStsz(BufferedFile& file, const RecordedTrack& track) {
  const std::uint32_t count = sampleCount(track);
  const std::uint32_t size = stszSize(track);
  BoxScope box(file, size);
  writeFullHeader(file, size, kBoxStsz, 0);
  writeU32(file, 0);  // sizes are listed
  writeU32(file, count);
  for (std::uint32_t i = 0; i < count; ++i) writeU32(file, track.samples[i].size);
  return box.done();
}

std::uint32_t writeStco(BufferedFile& file, const RecordedTrack& track) {
  const std::uint32_t count = sampleCount(track);
  const std::uint32_t size = stcoSize(track);
  BoxScope box(file, size);
  writeFullHeader(file, size, kBoxStco, 0);
  writeU32(file, count);
  for (std::uint32_t i = 0; i < count; ++i) writeU32(file, track.samples[i].offset);
  return box.done();
}

// Only the first sample is marked as a sync sample, whatever the codec made
// of the others; players seek from there.
std::uint32_t writeStss(BufferedFile& file) {
  BoxScope box(file, kStssSize);
  writeFullHeader(file, kStssSize, kBoxStss, 0);
  writeU32(file, 1);  // entry count
  writeU32(file, 1);  // sample number
  return box.done();
}

}  // namespace mp4lib::container
