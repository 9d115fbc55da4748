// closeEncodeFile: settles durations and time scales, appends "moov" after
// the media data, patches the "mdat" size and closes the file.
#include <cstdio>

#include "codecs/plugin_registry.h"
#include "frame/encode_path.h"
#include "frame/encoder.h"
#include "frame/encoder_context.h"
#include "frame/movie_context.h"
#include "frame/track_tables.h"
#include "frame/truncate.h"
#include "mp4lib.h"
#include "writer/box_types.h"
#include "writer/boxes.h"
#include "writer/buffered_file.h"
#include "writer/file_header.h"

namespace mp4lib::writer {

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
  return static_cast<std::uint32_t>(frame::truncateToInt32(unitsPerMs * ms));
}

// Timestamps: the last frame gets 33 ms, plus 33 ms for every frame that
// shared its timestamp with the next and was never given a share of a later
// gap; then every entry moves from ms to media units.
void settleTimestampedVideo(frame::TrackRecord& track) {
  const frame::EncodeTiming& timing = frame::encodeTiming();
  std::uint32_t zeros = 0;
  for (std::int32_t i = 0; i < track.sttsCount; ++i) zeros += track.stts[i].delta == 0 ? 1 : 0;
  std::uint32_t last = kLastFrameMs + kLastFrameMs * zeros;
  track.trackDuration = static_cast<std::uint64_t>(timing.lastTimestamp - timing.firstTimestamp) + last;
  if (frame::reserveTimeEntries(track, 1)) {
    frame::spreadTimeToSampleDelta(track.stts, track.sttsCount, &last);
    frame::appendTimeEntry(track, 1, last);
  }
  track.mediaDuration = static_cast<std::uint32_t>(track.trackDuration * track.mediaTimeScale / 1000u);
  for (std::int32_t i = 0; i < track.sttsCount; ++i) {
    track.stts[i].delta = toMediaUnits(track.mediaTimeScale, static_cast<float>(track.stts[i].delta));
  }
}

// Constant rate: n frames of 1 / frame rate each, in one entry.
void settleConstantRateVideo(frame::TrackRecord& track, double frameRate) {
  const std::uint32_t n = track.sampleCount > 0 ? static_cast<std::uint32_t>(track.sampleCount) : 0;
  track.trackDuration = frame::truncateToUint64(static_cast<double>(n) * 1000.0 / frameRate);
  track.mediaDuration = toMediaUnits(track.mediaTimeScale, static_cast<float>(track.trackDuration));
  if (track.stts == nullptr || track.sttsCount < 1) return;
  track.stts[0].sampleCount = n;
  track.stts[0].delta = n != 0 ? track.mediaDuration / n : 0;
}

// Returns the movie duration candidate of the video track, ms.
std::uint32_t settleVideoTrack(frame::TrackRecord& track, frame::MovieContext& movie) {
  const EncoderContext& context = frame::encoderContext();
  track.creationTime = movie.creationTime;
  if (frame::timestampsDecideDurations()) {
    settleTimestampedVideo(track);
  } else {
    settleConstantRateVideo(track, context.frameRate);
  }
  movie.mdatPayloadSize += track.totalSampleBytes;
  return track.trackDuration > 0 ? static_cast<std::uint32_t>(track.trackDuration) : 0;
}

// Returns the audio track's duration, ms.
std::uint32_t settleAudioTrack(frame::TrackRecord& track, frame::MovieContext& movie) {
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

void forgetFile() {
  frame::encoderContext().outputFile = nullptr;
  openMovieFile(nullptr, 1);
}

}  // namespace

}  // namespace mp4lib::writer

using namespace mp4lib;

extern "C" MP4LIB_API int32_t closeEncodeFile(void) {
  EncoderContext& context = frame::encoderContext();
  auto* output = static_cast<std::FILE*>(context.outputFile);
  if (output == nullptr) return 0;
  writer::BufferedFile& file = writer::movieFile();
  if (!writer::is3gpMode(context.containerMode)) {
    writer::waitIdle(file);
    std::fclose(output);
    writer::forgetFile();
    return 1;
  }
  frame::MovieContext& movie = frame::movieContext();
  std::uint32_t duration = 0;
  frame::TrackRecord* video = context.videoPlugin != nullptr ? frame::videoRecordingTrack() : nullptr;
  if (video != nullptr) duration = writer::settleVideoTrack(*video, movie);
  frame::TrackRecord* audio = context.audioPlugin != nullptr ? frame::audioRecordingTrack() : nullptr;
  if (audio != nullptr) {
    const std::uint32_t audioDuration = writer::settleAudioTrack(*audio, movie);
    if (audioDuration > duration) duration = audioDuration;
  }
  movie.duration = duration;
  writer::writeMoov(file, movie);
  // The seek writes the buffered "moov" out first.
  file.seek(file, static_cast<std::int64_t>(movie.mdatOffset), SEEK_SET);
  writer::writeU32(file, static_cast<std::uint32_t>(movie.mdatPayloadSize + writer::kMdatHeaderSize));
  file.flush(file, false);
  writer::waitIdle(file);
  std::fclose(output);
  writer::forgetFile();
  return 1;
}
