// closeEncodeFile: settles durations and time scales, appends "moov" after
// the media data, patches the "mdat" size and closes the file.
#include "recording/file_close.h"

#include <cstdio>

#include "container/box_types.h"
#include "container/boxes.h"
#include "container/numeric.h"
#include "container/recorded_tables.h"

namespace mp4lib::recording {

namespace {

constexpr std::uint32_t kLastFrameMs = 33;  // assumed duration of the last video frame
constexpr float kMsToSeconds = 0.001f;      // single precision, as files have always been timed
constexpr std::uint32_t kAmrTimeScale = 8000;
constexpr float kAmrFrameMs = 20.0f;
constexpr float kAmrSamplesPerFrame = 160.0f;

// ms to media units: (int)((float)timeScale x 0.001 x (float)ms), all in
// single precision, truncated.
std::uint32_t toMediaUnits(std::uint32_t timeScale, float ms) {
  const float unitsPerMs = static_cast<float>(timeScale) * kMsToSeconds;
  return static_cast<std::uint32_t>(container::saturateToInt32(unitsPerMs * ms));
}

// Timestamps: the last frame gets 33 ms, plus 33 ms for every frame that
// shared its timestamp with the next and was never given a share of a later
// gap; then every entry moves from ms to media units.
void settleTimestampedVideo(container::RecordedTrack& track, const EncodeTiming& timing) {
  std::uint32_t zeros = 0;
  for (std::int32_t i = 0; i < track.sttsCount; ++i) zeros += track.stts[i].delta == 0 ? 1 : 0;
  std::uint32_t last = kLastFrameMs + kLastFrameMs * zeros;
  track.trackDuration = static_cast<std::uint64_t>(timing.lastTimestamp - timing.firstTimestamp) + last;
  if (container::reserveTimeEntries(track, 1)) {
    container::spreadTimeToSampleDelta(track.stts, track.sttsCount, &last);
    container::appendTimeEntry(track, 1, last);
  }
  track.mediaDuration = static_cast<std::uint32_t>(track.trackDuration * track.mediaTimeScale / 1000u);
  for (std::int32_t i = 0; i < track.sttsCount; ++i) {
    track.stts[i].delta = toMediaUnits(track.mediaTimeScale, static_cast<float>(track.stts[i].delta));
  }
}

// Constant rate: n frames of 1 / frame rate each, in one entry.
void settleConstantRateVideo(container::RecordedTrack& track, double frameRate) {
  const std::uint32_t n = track.sampleCount > 0 ? static_cast<std::uint32_t>(track.sampleCount) : 0;
  track.trackDuration = container::saturateToUint64(static_cast<double>(n) * 1000.0 / frameRate);
  track.mediaDuration = toMediaUnits(track.mediaTimeScale, static_cast<float>(track.trackDuration));
  if (track.stts == nullptr || track.sttsCount < 1) return;
  track.stts[0].sampleCount = n;
  track.stts[0].delta = n != 0 ? track.mediaDuration / n : 0;
}

// Returns the movie duration candidate of the video track, ms.
std::uint32_t settleVideoTrack(const Recorder& recorder, container::RecordedTrack& track,
                               container::RecordedMovie& movie) {
  track.creationTime = movie.creationTime;
  if (timestampsDecideDurations(recorder)) {
    settleTimestampedVideo(track, recorder.timing);
  } else {
    settleConstantRateVideo(track, recorder.context.frameRate);
  }
  movie.mdatPayloadSize += track.totalSampleBytes;
  return track.trackDuration > 0 ? static_cast<std::uint32_t>(track.trackDuration) : 0;
}

// Returns the audio track's duration, ms.
std::uint32_t settleAudioTrack(container::RecordedTrack& track, container::RecordedMovie& movie) {
  movie.mdatPayloadSize += track.totalSampleBytes;
  if (track.codec != nullptr && track.codec->codecId == MP4LIB_CODEC_ID_AMR) {
    track.frameDurationMs = kAmrFrameMs;
    track.samplesPerFrame = kAmrSamplesPerFrame;
    track.mediaTimeScale = kAmrTimeScale;
  }
  for (std::int32_t i = 0; track.stts != nullptr && i < track.sttsCount; ++i) {
    TimeToSampleEntry& entry = track.stts[i];
    entry.delta = toMediaUnits(track.mediaTimeScale, static_cast<float>(entry.delta));
    track.mediaDuration += entry.sampleCount * entry.delta;
  }
  const std::uint64_t scale = track.mediaTimeScale;
  track.trackDuration = scale != 0 ? static_cast<std::uint64_t>(track.mediaDuration) * 1000u / scale : 0;
  return static_cast<std::uint32_t>(track.trackDuration);
}

void forgetFile(Recorder& recorder) {
  recorder.context.outputFile = nullptr;
  container::reopenBufferedFile(recorder.file, recorder.buffers, 1, nullptr);
}

// The longest track's duration, ms, once every track's times are settled.
std::uint32_t settleTracks(Recorder& recorder) {
  const EncoderContext& context = recorder.context;
  container::RecordedMovie& movie = recorder.movie;
  std::uint32_t duration = 0;
  container::RecordedTrack* video = context.videoPlugin != nullptr ? videoRecordingTrack(recorder) : nullptr;
  if (video != nullptr) duration = settleVideoTrack(recorder, *video, movie);
  container::RecordedTrack* audio = context.audioPlugin != nullptr ? audioRecordingTrack(recorder) : nullptr;
  if (audio != nullptr) {
    const std::uint32_t audioDuration = settleAudioTrack(*audio, movie);
    if (audioDuration > duration) duration = audioDuration;
  }
  return duration;
}

}  // namespace

std::int32_t closeFile(Recorder& recorder, bool* complete) {
  *complete = true;
  auto* output = static_cast<std::FILE*>(recorder.context.outputFile);
  if (output == nullptr) return 0;
  container::BufferedFile& file = recorder.file;
  if (!is3gpMode(recorder.context.containerMode)) {
    container::waitIdle(file);
    *complete = std::fclose(output) == 0;
    forgetFile(recorder);
    return 1;
  }
  container::RecordedMovie& movie = recorder.movie;
  movie.duration = settleTracks(recorder);
  container::writeMoov(file, movie);
  // The seek writes the buffered "moov" out first.
  file.seek(file, static_cast<std::int64_t>(movie.mdatOffset), SEEK_SET);
  container::writeU32(file, static_cast<std::uint32_t>(movie.mdatPayloadSize + container::kMdatHeaderSize));
  file.flush(file, false);
  container::waitIdle(file);
  // Buffered by the C library until fclose, the last bytes may fail there.
  const bool closed = std::fclose(output) == 0;
  *complete = closed && !container::bytesLost(file);
  forgetFile(recorder);
  return 1;
}

}  // namespace mp4lib::recording
