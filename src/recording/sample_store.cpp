#include "recording/sample_store.h"

#include <cstdio>
#include <cstring>

#include "container/recorded_tables.h"

namespace mp4lib::recording {

namespace {

container::RecordedTrack* trackOf(Recorder& recorder, SampleKind kind) {
  return kind == SampleKind::kVideo ? videoRecordingTrack(recorder) : audioRecordingTrack(recorder);
}

bool writeRaw(std::FILE* file, const void* data, std::size_t size) {
  return size == 0 || platform::writeFile(data, size, file) == size;
}

bool storeRaw(Recorder& recorder, platform::CriticalSection& writeLock, SampleKind kind, const std::uint8_t* data,
              std::uint32_t size, std::uint32_t ts, WriteFailure onFailure, bool countFraming) {
  EncoderContext& context = recorder.context;
  auto* file = static_cast<std::FILE*>(context.outputFile);
  platform::Lock hold(writeLock);
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

bool store3gp(Recorder& recorder, platform::CriticalSection& writeLock, SampleKind kind, const std::uint8_t* data,
              std::uint32_t size, WriteFailure onFailure) {
  container::RecordedTrack& track = *trackOf(recorder, kind);
  container::BufferedFile& file = recorder.file;
  std::uint32_t offset = 0;
  {
    platform::Lock hold(writeLock);
    // Once bytes were lost the samples after them would not lie where their
    // offsets say: a store that can refuse does.
    if (onFailure == WriteFailure::kRefuse && container::bytesLost(file)) return false;
    offset = static_cast<std::uint32_t>(file.tell(file));  // chunk offsets are 32-bit
    const bool written = file.write(file, data, size) != 0;
    if (!written && onFailure == WriteFailure::kRefuse) return false;
    recorder.context.encodedBytes += size;
  }
  container::appendSample(track, offset, size);
  if (kind == SampleKind::kAudio) track.stts[0].sampleCount += 1;
  return true;
}

}  // namespace

bool readyToStore(Recorder& recorder, SampleKind kind) {
  const EncoderContext& context = recorder.context;
  if (!recorder.active.load() || context.outputFile == nullptr) return false;
  if (context.containerMode == kContainerRawStream) return true;
  if (!is3gpMode(context.containerMode)) return false;
  container::RecordedTrack* track = trackOf(recorder, kind);
  if (track == nullptr) return false;
  // Audio counts its blocks in its one timing entry.
  if (kind == SampleKind::kAudio && (track->stts == nullptr || track->sttsCount < 1)) return false;
  return container::reserveSamples(*track, 1);
}

bool storeSample(Recorder& recorder, platform::CriticalSection& writeLock, SampleKind kind, const std::uint8_t* data,
                 std::uint32_t size, std::uint32_t ts, WriteFailure onFailure, bool countFraming) {
  if (recorder.context.containerMode == kContainerRawStream) {
    return storeRaw(recorder, writeLock, kind, data, size, ts, onFailure, countFraming);
  }
  return store3gp(recorder, writeLock, kind, data, size, onFailure);
}

}  // namespace mp4lib::recording
