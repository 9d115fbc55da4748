// Handlers of the movie-level boxes: "moov", "mdat", "mvhd", the vendor
// header box "kelv" and the QuickTime "wide" wrapper.
#include <cstdio>
#include <cstring>

#include "container/box_handlers.h"
#include "container/box_table.h"

namespace mp4lib::container {

namespace {

// Words 0 (magic), 4 and 5 (width, height) stay in the block only.
void copyVendorWords(const std::uint32_t* words, MovieParams& params) {
  params.formatVersion = words[1] >> 16;
  params.formatRevision = words[1] & 0xFFFF;
  params.pictureSizeCode = words[2];
  params.vendorWord3 = words[3];
  params.frameCount = words[6];
  params.streamFlags = words[7];
  params.lowFlagBits = words[7] & 3;
  params.frameRate = static_cast<double>(words[8]);
  params.vendorWord9 = words[9];
  params.vendorWord10 = words[10];
  params.videoCodecCode = words[11];
  params.audioCodecCode = words[12];
  params.bitsPerSample = words[13];
  params.sampleRate = words[14];
  params.channels = words[15];
}

}  // namespace

std::int32_t readMovie(ParseContext& context, std::uint32_t type, std::int64_t offset, std::int64_t size) {
  const std::int32_t status = parseChildren(context, type, offset, size);
  context.movie.moovSeen = 1;
  // A table refused inside the movie refuses the file.
  if (status < 0) return status;
  return context.movie.mdatSeen ? 1 : 0;
}

std::int32_t readMediaData(ParseContext& context, std::uint32_t, std::int64_t offset, std::int64_t size) {
  if (size == 0) return -1;
  MovieContext& movie = context.movie;
  movie.mdatSeen = 1;
  movie.mdatPayloadSize = static_cast<std::uint64_t>(size);
  movie.mdatOffset = static_cast<std::uint64_t>(offset);
  // With the movie read, the samples are all that is left: stop here.
  if (movie.moovSeen) return 1;
  skipInput(context.in, size);
  return 0;
}

std::int32_t readMovieHeader(ParseContext& context, std::uint32_t, std::int64_t, std::int64_t) {
  InputFile& in = context.in;
  MovieContext& movie = context.movie;
  skipInput(in, 4);  // version and flags
  movie.creationTime = readBE32(in);
  skipInput(in, 4);  // modification time
  movie.timeScale = readBE32(in);
  movie.duration = readBE32(in);
  // Rate (32), volume (16), 10 reserved bytes, the 36-byte matrix and seven
  // 32-bit words.
  skipInput(in, 4 + 2 + 10 + 36 + 7 * 4);
  return 0;
}

std::int32_t readVendorBlock(ParseContext& context, std::uint32_t, std::int64_t, std::int64_t size) {
  if (size < kVendorPayloadBytes) return 0;  // not the block this library writes
  VendorBlock& vendor = context.findings.vendor;
  std::uint8_t raw[kVendorPayloadBytes];
  if (readBlock(context.in, raw, 48) == 0 || readBlock(context.in, raw + 48, 16) == 0) return 0;
  std::memcpy(vendor.raw, raw, sizeof raw);
  decodeVendorPayload(vendor.raw, vendor.words);
  vendor.seen = true;
  copyVendorWords(vendor.words, context.params);
  return 0;
}

std::int32_t readWideWrapper(ParseContext& context, std::uint32_t, std::int64_t offset, std::int64_t size) {
  if (size < 8) return 0;
  InputFile& in = context.in;
  if (readBE32(in) != 0) {
    skipInput(in, size - 4);
    return 0;
  }
  const std::uint32_t type = readBE32(in);
  if (type == fourcc("mdat")) return readMediaData(context, type, offset + 8, size - 8);
  skipInput(in, size - 8);
  return 0;
}

}  // namespace mp4lib::container
