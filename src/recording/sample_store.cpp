#include "frame/sample_store.h"

#include <cstdio>
#include <cstring>

#include "frame/encoder.h"
#include "frame/encoder_context.h"
#include "frame/library.h"
#include "frame/track_tables.h"
#include "platform/platform.h"
#include "writer/buffered_file.h"
#include "writer/file_header.h"

namespace mp4lib::frame {

namespace {

TrackRecord* trackOf(SampleKind kind) {
  return kind == SampleKind::kVideo ? videoRecordingTrack() : audioRecordingTrack();
}

bool writeRaw(std::FILE* file, const void* data, std::size_t size) {
  return size == 0 || std::fwrite(data, 1, size, file) == size;
}

bool storeRaw(SampleKind kind, const std::uint8_t* data, std::uint32_t size, std::uint32_t ts,
              WriteFailure onFailure, bool countFraming) {
  EncoderContext& context = encoderContext();
  auto* file = static_cast<std::FILE*>(context.outputFile);
  platform::Lock hold(writeLock());
  bool written = true;
  std::uint32_t counted = size;
  if (kind == SampleKind::kAudio) {
    std::uint8_t header[kRawAudioHeaderBytes] = {0x00, 0x00, 0x01, 0xB8};
    std::memcpy(header + 4, &ts, 4);
    std::memcpy(header + 8, &size, 4);
    written = writeRaw(file, header, sizeof header);
    if (countFraming) counted += kRawAudioHeaderBytes;
  }
  written = written && writeRaw(file, data, size);
  if (!written && onFailure == WriteFailure::kRefuse) return false;
  context.encodedBytes += counted;
  return true;
}

bool store3gp(SampleKind kind, const std::uint8_t* data, std::uint32_t size, WriteFailure onFailure) {
  TrackRecord& track = *trackOf(kind);
  EncoderContext& context = encoderContext();
  writer::BufferedFile& file = writer::movieFile();
  std::uint32_t offset = 0;
  {
    platform::Lock hold(writeLock());
    offset = static_cast<std::uint32_t>(file.tell(file));  // chunk offsets are 32-bit
    const bool written = file.write(file, data, size) != 0;
    if (!written && onFailure == WriteFailure::kRefuse) return false;
    context.encodedBytes += size;
  }
  appendSample(track, offset, size);
  if (kind == SampleKind::kAudio) track.stts[0].sampleCount += 1;
  return true;
}

}  // namespace

bool readyToStore(SampleKind kind) {
  const EncoderContext& context = encoderContext();
  if (!encoderActive() || context.outputFile == nullptr) return false;
  if (context.containerMode == writer::kContainerRawStream) return true;
  if (!writer::is3gpMode(context.containerMode)) return false;
  TrackRecord* track = trackOf(kind);
  if (track == nullptr) return false;
  // Audio counts its blocks in its one timing entry.
  if (kind == SampleKind::kAudio && (track->stts == nullptr || track->sttsCount < 1)) return false;
  return reserveSamples(*track, 1);
}

bool storeSample(SampleKind kind, const std::uint8_t* data, std::uint32_t size, std::uint32_t ts,
                 WriteFailure onFailure, bool countFraming) {
  if (encoderContext().containerMode == writer::kContainerRawStream) {
    return storeRaw(kind, data, size, ts, onFailure, countFraming);
  }
  return store3gp(kind, data, size, onFailure);
}

}  // namespace mp4lib::frame
