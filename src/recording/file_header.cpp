#include "recording/file_header.h"

#include <cstdio>

#include "container/box_types.h"
#include "container/boxes.h"
#include "container/numeric.h"
#include "container/vendor_payload.h"

namespace mp4lib::recording {

namespace {

// The vendor payload as the recorder writes it: the encoder's header words,
// the application's value and the recording's codecs and audio format.
void buildVendorPayload(const EncoderContext& context, std::uint32_t value, std::uint32_t version,
                        std::uint8_t (&payload)[container::kVendorPayloadBytes]) {
  const std::uint32_t words[container::kVendorWords] = {container::kVendorPayloadMagic,
                                                        version,
                                                        context.headerWordA,
                                                        context.headerWordB,
                                                        context.width,
                                                        context.height,
                                                        value,
                                                        context.flags,
                                                        container::saturateToUint32(context.frameRate),
                                                        context.headerWordC,
                                                        context.headerWordD,
                                                        context.videoCodecType,
                                                        context.audioCodecType,
                                                        context.audioBits,
                                                        context.audioSampleRate,
                                                        context.audioChannels};
  container::encodeVendorPayload(words, container::VideoTypeOrder::kHost, payload);
}

std::int32_t write3gpHeader(Recorder& recorder, std::uint32_t value, bool rewrite) {
  if (rewrite) return 1;
  EncoderContext& context = recorder.context;
  container::BufferedFile& file = recorder.file;
  container::writeFtyp(file);
  std::uint8_t payload[container::kVendorPayloadBytes];
  buildVendorPayload(context, value, container::kVendorVersion3gp, payload);
  context.vendorBoxOffset = static_cast<std::uint32_t>(file.tell(file));
  container::writeVendorBox(file, payload);
  recorder.movie.mdatOffset = file.tell(file);
  recorder.movie.creationTime = 0;
  container::writeMdatHeader(file);
  return 1;
}

// A raw stream starts with the bare payload, written straight to the file;
// a rewrite puts it back over the start and returns to where it was.
std::int32_t writeRawStreamHeader(Recorder& recorder, std::uint32_t value, bool rewrite) {
  const EncoderContext& context = recorder.context;
  auto* file = static_cast<std::FILE*>(context.outputFile);
  long resumeAt = 0;
  if (rewrite) {
    resumeAt = std::ftell(file);
    std::fseek(file, 0, SEEK_SET);
  }
  std::uint8_t payload[container::kVendorPayloadBytes];
  buildVendorPayload(context, value, container::kVendorVersionRawStream, payload);
  platform::writeFile(payload, container::kVendorBlock1Size, file);
  platform::writeFile(payload + container::kVendorBlock1Size, container::kVendorBlock2Size, file);
  if (rewrite && resumeAt >= 0) std::fseek(file, resumeAt, SEEK_SET);
  return 1;
}

}  // namespace

std::int32_t writeFileHeader(Recorder& recorder, std::uint32_t value, bool rewrite) {
  const EncoderContext& context = recorder.context;
  if (context.outputFile == nullptr) return 0;
  if (is3gpMode(context.containerMode)) return write3gpHeader(recorder, value, rewrite);
  if (context.containerMode == kContainerRawStream) return writeRawStreamHeader(recorder, value, rewrite);
  return 0;
}

}  // namespace mp4lib::recording
