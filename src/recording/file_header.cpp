#include "writer/file_header.h"

#include <cstdio>

#include "frame/encoder_context.h"
#include "frame/movie_context.h"
#include "frame/truncate.h"
#include "mp4lib.h"
#include "writer/box_types.h"
#include "writer/boxes.h"
#include "writer/buffered_file.h"

namespace mp4lib::writer {

namespace {

void putBigEndian(std::uint8_t* at, std::uint32_t value) {
  at[0] = static_cast<std::uint8_t>(value >> 24);
  at[1] = static_cast<std::uint8_t>(value >> 16);
  at[2] = static_cast<std::uint8_t>(value >> 8);
  at[3] = static_cast<std::uint8_t>(value);
}

void putLittleEndian(std::uint8_t* at, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) at[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

int write3gpHeader(std::uint32_t value, bool rewrite) {
  if (rewrite) return 1;
  EncoderContext& context = frame::encoderContext();
  frame::MovieContext& movie = frame::movieContext();
  BufferedFile& file = movieFile();
  writeFtyp(file);
  std::uint8_t payload[kVendorPayloadSize];
  buildVendorPayload(context, value, kVendorVersion3gp, payload);
  context.vendorBoxOffset = static_cast<std::uint32_t>(file.tell(file));
  writeVendorBox(file, payload);
  movie.mdatOffset = file.tell(file);
  movie.creationTime = 0;
  writeMdatHeader(file);
  return 1;
}

// A raw stream starts with the bare payload, written straight to the file;
// a rewrite puts it back over the start and returns to where it was.
int writeRawStreamHeader(std::uint32_t value, bool rewrite) {
  const EncoderContext& context = frame::encoderContext();
  auto* file = static_cast<std::FILE*>(context.outputFile);
  long resumeAt = 0;
  if (rewrite) {
    resumeAt = std::ftell(file);
    std::fseek(file, 0, SEEK_SET);
  }
  std::uint8_t payload[kVendorPayloadSize];
  buildVendorPayload(context, value, kVendorVersionRawStream, payload);
  std::fwrite(payload, 1, kVendorBlock1Size, file);
  std::fwrite(payload + kVendorBlock1Size, 1, kVendorBlock2Size, file);
  if (rewrite && resumeAt >= 0) std::fseek(file, resumeAt, SEEK_SET);
  return 1;
}

}  // namespace

void buildVendorPayload(const EncoderContext& context, std::uint32_t value, std::uint32_t version,
                        std::uint8_t (&payload)[64]) {
  const std::uint32_t words[11] = {kVendorPayloadMagic,
                                   version,
                                   context.headerWordA,
                                   context.headerWordB,
                                   context.width,
                                   context.height,
                                   value,
                                   context.flags,
                                   frame::truncateToUint32(context.frameRate),
                                   context.headerWordC,
                                   context.headerWordD};
  for (int i = 0; i < 11; ++i) putBigEndian(payload + 4 * i, words[i]);
  putLittleEndian(payload + 44, context.videoCodecType, 4);
  putLittleEndian(payload + 48, context.audioCodecType, 4);
  putLittleEndian(payload + 52, context.audioBits, 2);
  putLittleEndian(payload + 54, 0, 2);
  putLittleEndian(payload + 56, context.audioSampleRate, 4);
  putLittleEndian(payload + 60, context.audioChannels, 2);
  putLittleEndian(payload + 62, 0, 2);
}

}  // namespace mp4lib::writer

using namespace mp4lib;

extern "C" MP4LIB_API int32_t writeVideoFileHeader(uint32_t value, uint8_t rewrite) {
  const EncoderContext& context = frame::encoderContext();
  if (context.outputFile == nullptr) return 0;
  if (writer::is3gpMode(context.containerMode)) return writer::write3gpHeader(value, rewrite != 0);
  if (context.containerMode == writer::kContainerRawStream) return writer::writeRawStreamHeader(value, rewrite != 0);
  return 0;
}
