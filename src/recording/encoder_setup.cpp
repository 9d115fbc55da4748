#include "recording/encoder_setup.h"

#include <cstdio>
#include <cstring>

#include "codecs/audio_plugin.h"
#include "codecs/file_kind.h"
#include "codecs/plugin_result.h"
#include "container/numeric.h"
#include "container/recorded_tables.h"
#include "platform/memory.h"
#include "platform/platform.h"

namespace mp4lib::recording {

namespace {

using container::RecordedMovie;
using container::RecordedTrack;

constexpr const char* kVideoCompressorName = "Kelvane Video Codec";
constexpr const char* kAudioCompressorName = "Kelvane Audio Codec";
constexpr std::uint32_t kVideoDepth = 24;             // bits per pixel
constexpr std::uint32_t kAudioSampleBits = 16;        // bits
constexpr std::uint32_t kAudioDescriptorRate = 8000;  // Hz
constexpr std::uint16_t kAmrModeSet = 0x0080;
constexpr std::uint32_t kAmrFrameMs = 20;

bool recording(const EncoderContext& context, std::uint32_t flag) { return (context.flags & flag) != 0; }

// Opens the video plug-in of the params' codec type (flag 4). Its
// initEncode fills the picture fields of the context.
Mp4Word openVideoEncoder(codecs::PluginRegistry& plugins, EncoderParams& params, EncoderContext& context) {
  if (!recording(context, MP4LIB_RECORD_VIDEO)) return 1;
  CodecPlugin* plugin = codecs::findCodecPlugin(plugins, params.videoCodecType, MP4LIB_CATEGORY_VIDEO);
  context.videoPlugin = plugin;
  plugins.active.videoEncoder = plugin;
  if (plugin == nullptr || plugin->initEncode == nullptr) return 0;
  return plugin->initEncode(reinterpret_cast<Mp4Word>(&params), reinterpret_cast<Mp4Word>(&context));
}

Mp4Word openAudioEncoder(Recorder& recorder, codecs::PluginRegistry& plugins, const EncoderParams& params) {
  EncoderContext& context = recorder.context;
  if (!recording(context, MP4LIB_RECORD_AUDIO)) return 1;
  context.audioBits = params.audioBits;
  context.audioSampleRate = params.audioSampleRate;
  context.audioChannels = params.audioChannels;
  context.audioBlockMs = params.audioBlockMs;
  context.pcmBytesPerBlock =
      codecs::pcmBytesPerBlock(context.audioBits, context.audioBlockMs, context.audioSampleRate, context.audioChannels);
  recorder.captureBlockBytes.store(context.pcmBytesPerBlock);
  const Mp4Word result = codecs::openAudioCodecPlugin(plugins, params.audioCodecType, true, params.audioOption, {});
  context.audioPlugin = plugins.active.audioEncoder;
  return result;
}

void finalizePlugin(CodecPlugin*& plugin, CodecPlugin*& active) {
  if (plugin != nullptr && plugin->finalizeEncode != nullptr) plugin->finalizeEncode(0);
  plugin = nullptr;
  active = nullptr;
}

void forgetPlugins(EncoderContext& context, codecs::ActivePlugins& active) {
  context.videoPlugin = nullptr;
  context.audioPlugin = nullptr;
  active.videoEncoder = nullptr;
  active.audioEncoder = nullptr;
}

// The frame buffer: short planar 4:2:0 at the coded size, Y then U then V.
bool allocateFrameBuffer(EncoderContext& context) {
  const std::uint64_t luma = static_cast<std::uint64_t>(context.codedWidth) * context.codedHeight;
  const std::uint64_t samples = luma * 3 / 2;
  if (samples == 0) return true;
  if (samples > UINT32_MAX || samples > SIZE_MAX / sizeof(std::int16_t)) return false;
  auto* buffer = static_cast<std::int16_t*>(platform::allocateZeroed(static_cast<std::size_t>(samples), sizeof(std::int16_t)));
  if (buffer == nullptr) return false;
  context.frameSampleCount = static_cast<std::uint32_t>(samples);
  context.frameBuffer = buffer;
  context.planeY = buffer;
  context.planeU = buffer + luma;
  context.planeV = context.planeU + luma / 4;
  return true;
}

void releaseFrameBuffer(EncoderContext& context) {
  platform::release(context.frameBuffer);
  context.frameBuffer = nullptr;
  context.planeY = nullptr;
  context.planeU = nullptr;
  context.planeV = nullptr;
}

bool enoughDiskSpace(EncoderContext& context) {
  if (!platform::diskSpace(&context.freeBytes, &context.totalBytes)) {
    context.freeBytes = 0;
    context.totalBytes = 0;
  }
  // Only the low word is compared, as recorders always have.
  return static_cast<std::uint32_t>(context.freeBytes) > kMinFreeDiskBytes;
}

CodecDescriptor* newDescriptor(const char* name, std::int32_t kind, const CodecPlugin* plugin) {
  auto* codec = static_cast<CodecDescriptor*>(platform::allocateZeroed(1, sizeof(CodecDescriptor)));
  if (codec == nullptr) return nullptr;
  std::strncpy(codec->compressorName, name, sizeof codec->compressorName - 1);
  codec->kind = kind;
  if (plugin != nullptr) {
    codec->codecId = static_cast<std::int32_t>(plugin->codecId);
    codec->codecTag = plugin->codecTag;
  }
  return codec;
}

bool prepareVideoTrack(RecordedTrack& track, const EncoderContext& context) {
  track.trackId = 1;
  track.mediaTimeScale = static_cast<std::uint32_t>(container::saturateToInt32(1000.0 * context.frameRate));
  track.width = context.width;
  track.height = context.height;
  track.codec = newDescriptor(kVideoCompressorName, MP4LIB_KIND_VIDEO, context.videoPlugin);
  if (track.codec == nullptr) return false;
  track.codec->bitsPerSample = kVideoDepth;
  track.codec->width = context.codedWidth;
  track.codec->height = context.codedHeight;
  if (!container::reserveSamples(track, container::kSampleTableGrowth)) return false;
  if (context.timingMode == 1) return container::reserveTimeEntries(track, container::kTimeTableGrowth);
  // Constant rate: one entry, settled when the file is closed.
  const double frameMs = 1000.0 / context.frameRate;
  track.frameDurationMs = frameMs > 0.0 && frameMs < 3.0e38 ? static_cast<float>(frameMs) : 0.0f;
  if (!container::reserveTimeEntries(track, 1)) return false;
  container::appendTimeEntry(track, 0, 0);
  return true;
}

bool prepareAudioTrack(RecordedTrack& track, std::uint32_t trackId, const EncoderContext& context) {
  track.trackId = trackId;
  track.mediaTimeScale = container::kMovieTimeScale;
  track.codec = newDescriptor(kAudioCompressorName, MP4LIB_KIND_AUDIO, context.audioPlugin);
  if (track.codec == nullptr) return false;
  track.codec->bitsPerSample = kAudioSampleBits;
  track.codec->sampleRate = kAudioDescriptorRate;
  track.codec->channels = 1;
  track.codec->amrModeSet = kAmrModeSet;
  track.codec->amrModeChangePeriod = 0;
  track.codec->amrFramesPerSample = static_cast<std::uint8_t>(context.audioBlockMs / kAmrFrameMs);
  if (!container::reserveSamples(track, container::kSampleTableGrowth)) return false;
  // One entry for every block: its count grows with each stored block.
  if (!container::reserveTimeEntries(track, 1)) return false;
  container::appendTimeEntry(track, 0, context.audioBlockMs);
  return true;
}

// Prepares the movie record and its tracks for writing `file` (which may be
// null when the file could not be opened).
bool prepareMovie(Recorder& recorder, std::FILE* file) {
  const EncoderContext& context = recorder.context;
  RecordedMovie& movie = recorder.movie;
  container::resetRecordedMovie(movie);
  container::reopenBufferedFile(recorder.file, recorder.buffers, 1, file);
  const bool video = recording(context, MP4LIB_RECORD_VIDEO);
  const bool audio = recording(context, MP4LIB_RECORD_AUDIO);
  movie.trackCount = (video ? 1 : 0) + (audio ? 1 : 0);
  movie.streamCount = 2;
  if (video) {
    if (!prepareVideoTrack(movie.tracks[0], context)) return false;
    movie.videoPresent = 1;
    movie.videoTrackIndex = 0;
  }
  if (audio) {
    const int index = video ? 1 : 0;
    if (!prepareAudioTrack(movie.tracks[index], static_cast<std::uint32_t>(index + 1), context)) return false;
    movie.audioTrackIndex = index;
  }
  return true;
}

RecordedTrack* preparedTrack(Recorder& recorder, int index, std::int32_t kind) {
  if (!recorder.active.load() || index < 0 || index >= container::kMaxTracks) return nullptr;
  RecordedTrack& track = recorder.movie.tracks[index];
  if (track.codec == nullptr || track.codec->kind != kind) return nullptr;
  return &track;
}

void finalizePlugins(EncoderContext& context, codecs::ActivePlugins& active) {
  finalizePlugin(context.videoPlugin, active.videoEncoder);
  finalizePlugin(context.audioPlugin, active.audioEncoder);
}

// The video track's time scale is 1000 x the frame rate in whole units: a
// rate that gives none (below 0.001 frames a second, or not a number) or
// more than a 32-bit signed time scale makes a file no reader accepts.
bool recordableFrameRate(double frameRate) {
  const double timeScale = 1000.0 * frameRate;
  return timeScale >= 1.0 && timeScale <= static_cast<double>(INT32_MAX);
}

Mp4Word failStart(StartReport* report, StartFailure failure, Mp4Word result) {
  report->failure = failure;
  return result;
}

}  // namespace

RecordedTrack* videoRecordingTrack(Recorder& recorder) {
  if (!recording(recorder.context, MP4LIB_RECORD_VIDEO) || recorder.movie.videoPresent == 0) return nullptr;
  return preparedTrack(recorder, recorder.movie.videoTrackIndex, MP4LIB_KIND_VIDEO);
}

RecordedTrack* audioRecordingTrack(Recorder& recorder) {
  if (!recording(recorder.context, MP4LIB_RECORD_AUDIO)) return nullptr;
  return preparedTrack(recorder, recorder.movie.audioTrackIndex, MP4LIB_KIND_AUDIO);
}

bool timestampsDecideDurations(const Recorder& recorder) { return recorder.context.timingMode == 1; }

Mp4Word startEncoder(Recorder& recorder, codecs::PluginRegistry& plugins, EncoderParams& params,
                     StartReport* report) {
  *report = StartReport{};
  EncoderContext& context = recorder.context;
  // A file left open by an earlier context must be closed first, or it
  // would be lost with the context.
  if (context.outputFile != nullptr) return failStart(report, StartFailure::kEarlierFileOpen, 0);
  context = EncoderContext{};
  if (!enoughDiskSpace(context)) return failStart(report, StartFailure::kDiskFull, 0);
  context.flags = params.flags;
  const Mp4Word video = openVideoEncoder(plugins, params, context);
  if (codecs::pluginFailed(video)) {
    const bool found = context.videoPlugin != nullptr;
    forgetPlugins(context, plugins.active);
    report->codecType = params.videoCodecType;
    return failStart(report, found ? StartFailure::kVideoPluginRefused : StartFailure::kNoVideoPlugin, video);
  }
  const Mp4Word audio = openAudioEncoder(recorder, plugins, params);
  if (codecs::pluginFailed(audio)) {
    const bool found = context.audioPlugin != nullptr;
    finalizePlugin(context.videoPlugin, plugins.active.videoEncoder);
    forgetPlugins(context, plugins.active);
    report->codecType = params.audioCodecType;
    return failStart(report, found ? StartFailure::kAudioPluginRefused : StartFailure::kNoAudioPlugin, audio);
  }
  if (recording(context, MP4LIB_RECORD_VIDEO) && !recordableFrameRate(context.frameRate)) {
    finalizePlugins(context, plugins.active);
    return failStart(report, StartFailure::kUnrecordableFrameRate, 0);
  }
  context.videoCodecType = params.videoCodecType;
  context.audioCodecType = params.audioCodecType;
  if (!allocateFrameBuffer(context)) {
    finalizePlugins(context, plugins.active);
    return failStart(report, StartFailure::kNoMemory, 0);
  }
  recorder.timing = EncodeTiming{true, 0, 0, 0};
  recorder.active.store(true);
  return 1;
}

std::int32_t createFile(Recorder& recorder, const wchar_t* path, StartReport* report) {
  *report = StartReport{};
  EncoderContext& context = recorder.context;
  if (!recorder.active.load()) return failStart(report, StartFailure::kNoEncoder, 0);
  if (context.outputFile != nullptr) return failStart(report, StartFailure::kFileAlreadyOpen, 0);
  // The extension is looked at and then ignored: every file is 3GP.
  (void)codecs::classifyFileExtension(codecs::fileExtension(path));
  context.containerMode = kContainer3gp;
  std::FILE* file = platform::openFile(path, "wb");
  context.outputFile = file;
  if (!prepareMovie(recorder, file)) {
    if (file != nullptr) std::fclose(file);
    context.outputFile = nullptr;
    container::reopenBufferedFile(recorder.file, recorder.buffers, 1, nullptr);
    container::resetRecordedMovie(recorder.movie);
    return failStart(report, StartFailure::kNoMemory, 0);
  }
  if (file == nullptr) return failStart(report, StartFailure::kCannotCreateFile, 0);
  return 1;
}

std::int32_t filePosition(const Recorder& recorder) {
  auto* file = static_cast<std::FILE*>(recorder.context.outputFile);
  if (file == nullptr) return 0;
  return static_cast<std::int32_t>(std::ftell(file));
}

void finishEncoder(Recorder& recorder, codecs::PluginRegistry& plugins) {
  if (!recorder.active.load()) return;
  container::freeRecordedTracks(recorder.movie);
  finalizePlugins(recorder.context, plugins.active);
  releaseFrameBuffer(recorder.context);
  recorder.active.store(false);
}

}  // namespace mp4lib::recording
