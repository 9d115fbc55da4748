#include "frame/encoder.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "codecs/audio_plugin.h"
#include "codecs/file_kind.h"
#include "codecs/plugin_registry.h"
#include "frame/encode_path.h"
#include "frame/encoder_context.h"
#include "frame/library.h"
#include "frame/track_tables.h"
#include "frame/truncate.h"
#include "mp4lib.h"
#include "platform/platform.h"
#include "writer/buffered_file.h"
#include "writer/file_header.h"

namespace mp4lib::frame {

namespace {

std::atomic<DiskSpaceQuery> diskSpaceQuery{platform::diskSpace};

constexpr const char* kVideoCompressorName = "Kelvane Video Codec";
constexpr const char* kAudioCompressorName = "Kelvane Audio Codec";
constexpr std::uint32_t kVideoDepth = 24;           // bits per pixel
constexpr std::uint32_t kAudioSampleBits = 16;      // bits
constexpr std::uint32_t kAudioDescriptorRate = 8000;  // Hz
constexpr std::uint16_t kAmrModeSet = 0x0080;
constexpr std::uint32_t kAmrFrameMs = 20;

bool lowByteFailed(Mp4Word result) { return (result & 0xFF) == 0; }

bool recording(std::uint32_t flag) { return (encoderContext().flags & flag) != 0; }

// Opens the video plug-in of the params' codec type (flag 4). Its
// initEncode fills the picture fields of the context.
Mp4Word openVideoEncoder(EncoderParams& params, EncoderContext& context) {
  if (!recording(MP4LIB_RECORD_VIDEO)) return 1;
  CodecPlugin* plugin = codecs::findCodecPluginByType(params.videoCodecType);
  context.videoPlugin = plugin;
  codecs::activePlugins().videoEncoder = plugin;
  if (plugin == nullptr || plugin->initEncode == nullptr) return 0;
  return plugin->initEncode(reinterpret_cast<Mp4Word>(&params), reinterpret_cast<Mp4Word>(&context));
}

Mp4Word openAudioEncoder(const EncoderParams& params, EncoderContext& context) {
  if (!recording(MP4LIB_RECORD_AUDIO)) return 1;
  context.audioBits = params.audioBits;
  context.audioSampleRate = params.audioSampleRate;
  context.audioChannels = params.audioChannels;
  context.audioBlockMs = params.audioBlockMs;
  const Mp4Word result = codecs::openAudioCodecPlugin(params.audioCodecType, params.audioSampleRate,
                                                      params.audioChannels, true, params.audioOption);
  context.audioPlugin = codecs::activePlugins().audioEncoder;
  return result;
}

void finalizePlugin(CodecPlugin*& plugin, CodecPlugin*& active) {
  if (plugin != nullptr && plugin->finalizeEncode != nullptr) plugin->finalizeEncode(0);
  plugin = nullptr;
  active = nullptr;
}

void forgetPlugins(EncoderContext& context) {
  context.videoPlugin = nullptr;
  context.audioPlugin = nullptr;
  codecs::activePlugins().videoEncoder = nullptr;
  codecs::activePlugins().audioEncoder = nullptr;
}

// The frame buffer: short planar 4:2:0 at the coded size, Y then U then V.
bool allocateFrameBuffer(EncoderContext& context) {
  const std::uint64_t luma = static_cast<std::uint64_t>(context.codedWidth) * context.codedHeight;
  const std::uint64_t samples = luma * 3 / 2;
  if (samples == 0) return true;
  if (samples > UINT32_MAX || samples > SIZE_MAX / sizeof(std::int16_t)) return false;
  auto* buffer = static_cast<std::int16_t*>(std::calloc(static_cast<std::size_t>(samples), sizeof(std::int16_t)));
  if (buffer == nullptr) return false;
  context.frameSampleCount = static_cast<std::uint32_t>(samples);
  context.frameBuffer = buffer;
  context.planeY = buffer;
  context.planeU = buffer + luma;
  context.planeV = context.planeU + luma / 4;
  return true;
}

void releaseFrameBuffer(EncoderContext& context) {
  std::free(context.frameBuffer);
  context.frameBuffer = nullptr;
  context.planeY = nullptr;
  context.planeU = nullptr;
  context.planeV = nullptr;
}

bool enoughDiskSpace(EncoderContext& context) {
  if (!diskSpaceQuery.load()(&context.freeBytes, &context.totalBytes)) {
    context.freeBytes = 0;
    context.totalBytes = 0;
  }
  // Only the low word is compared, as recorders always have.
  return static_cast<std::uint32_t>(context.freeBytes) > kMinFreeDiskBytes;
}

CodecDescriptor* newDescriptor(const char* name, std::int32_t kind, const CodecPlugin* plugin) {
  auto* codec = static_cast<CodecDescriptor*>(std::calloc(1, sizeof(CodecDescriptor)));
  if (codec == nullptr) return nullptr;
  std::strncpy(codec->compressorName, name, sizeof codec->compressorName - 1);
  codec->kind = kind;
  if (plugin != nullptr) {
    codec->codecId = static_cast<std::int32_t>(plugin->codecId);
    codec->codecTag = plugin->codecTag;
  }
  return codec;
}

bool prepareVideoTrack(TrackRecord& track, const EncoderContext& context) {
  track.trackId = 1;
  track.mediaTimeScale = static_cast<std::uint32_t>(truncateToInt32(1000.0 * context.frameRate));
  track.width = context.width;
  track.height = context.height;
  track.codec = newDescriptor(kVideoCompressorName, MP4LIB_CATEGORY_VIDEO, context.videoPlugin);
  if (track.codec == nullptr) return false;
  track.codec->bitsPerSample = kVideoDepth;
  track.codec->width = context.codedWidth;
  track.codec->height = context.codedHeight;
  if (!reserveSamples(track, kSampleTableGrowth)) return false;
  if (context.timingMode == 1) return reserveTimeEntries(track, kTimeTableGrowth);
  // Constant rate: one entry, settled when the file is closed.
  const double frameMs = 1000.0 / context.frameRate;
  track.frameDurationMs = frameMs > 0.0 && frameMs < 3.0e38 ? static_cast<float>(frameMs) : 0.0f;
  if (!reserveTimeEntries(track, 1)) return false;
  appendTimeEntry(track, 0, 0);
  return true;
}

bool prepareAudioTrack(TrackRecord& track, std::uint32_t trackId, const EncoderContext& context) {
  track.trackId = trackId;
  track.mediaTimeScale = kMovieTimeScale;
  track.codec = newDescriptor(kAudioCompressorName, MP4LIB_CATEGORY_AUDIO, context.audioPlugin);
  if (track.codec == nullptr) return false;
  track.codec->bitsPerSample = kAudioSampleBits;
  track.codec->sampleRate = kAudioDescriptorRate;
  track.codec->channels = 1;
  track.codec->amrModeSet = kAmrModeSet;
  track.codec->amrModeChangePeriod = 0;
  track.codec->amrFramesPerSample = static_cast<std::uint8_t>(context.audioBlockMs / kAmrFrameMs);
  if (!reserveSamples(track, kSampleTableGrowth)) return false;
  // One entry for every block: its count grows with each stored block.
  if (!reserveTimeEntries(track, 1)) return false;
  appendTimeEntry(track, 0, context.audioBlockMs);
  return true;
}

// Prepares the movie record and its tracks for writing `file` (which may be
// null when the file could not be opened).
bool prepareMovie(std::FILE* file) {
  const EncoderContext& context = encoderContext();
  MovieContext& movie = movieContext();
  resetMovieContext(movie);
  writer::openMovieFile(file, 1);
  const bool video = recording(MP4LIB_RECORD_VIDEO);
  const bool audio = recording(MP4LIB_RECORD_AUDIO);
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

TrackRecord* preparedTrack(int index, std::int32_t kind) {
  if (!encoderActive() || index < 0 || index >= kMaxTracks) return nullptr;
  TrackRecord& track = movieContext().tracks[index];
  if (track.codec == nullptr || track.codec->kind != kind) return nullptr;
  return &track;
}

}  // namespace

TrackRecord* videoRecordingTrack() {
  if (!recording(MP4LIB_RECORD_VIDEO) || movieContext().videoPresent == 0) return nullptr;
  return preparedTrack(movieContext().videoTrackIndex, MP4LIB_CATEGORY_VIDEO);
}

TrackRecord* audioRecordingTrack() {
  if (!recording(MP4LIB_RECORD_AUDIO)) return nullptr;
  return preparedTrack(movieContext().audioTrackIndex, MP4LIB_CATEGORY_AUDIO);
}

bool timestampsDecideDurations() { return encoderContext().timingMode == 1; }

void setDiskSpaceQueryForTesting(DiskSpaceQuery query) {
  diskSpaceQuery.store(query != nullptr ? query : platform::diskSpace);
}

}  // namespace mp4lib::frame

using namespace mp4lib;

extern "C" MP4LIB_API Mp4Word initEncoder(EncoderParams* params, EncoderContext** out) {
  if (frame::decoderActive() || frame::encoderActive() || params == nullptr || out == nullptr) return 0;
  EncoderContext& context = frame::encoderContext();
  // A file left open by an earlier context must be closed first, or it
  // would be lost with the context.
  if (context.outputFile != nullptr) return 0;
  context = EncoderContext{};
  if (!frame::enoughDiskSpace(context)) return 0;
  context.flags = params->flags;
  const Mp4Word video = frame::openVideoEncoder(*params, context);
  if (frame::lowByteFailed(video)) {
    frame::forgetPlugins(context);
    return video;
  }
  const Mp4Word audio = frame::openAudioEncoder(*params, context);
  if (frame::lowByteFailed(audio)) {
    frame::finalizePlugin(context.videoPlugin, codecs::activePlugins().videoEncoder);
    frame::forgetPlugins(context);
    return audio;
  }
  context.videoCodecType = params->videoCodecType;
  context.audioCodecType = params->audioCodecType;
  if (!frame::allocateFrameBuffer(context)) {
    frame::finalizePlugin(context.videoPlugin, codecs::activePlugins().videoEncoder);
    frame::finalizePlugin(context.audioPlugin, codecs::activePlugins().audioEncoder);
    return 0;
  }
  frame::startEncodeTiming();
  *out = &context;
  frame::setEncoderActive(true);
  return 1;
}

extern "C" MP4LIB_API int32_t createEncodeFile(const wchar_t* path) {
  EncoderContext& context = frame::encoderContext();
  if (!frame::encoderActive() || context.outputFile != nullptr) return 0;
  // The extension is looked at and then ignored: every file is 3GP.
  (void)codecs::classifyFileExtension(codecs::fileExtension(path));
  context.containerMode = writer::kContainer3gp;
  std::FILE* file = platform::openFile(path, "wb");
  context.outputFile = file;
  if (!frame::prepareMovie(file)) {
    if (file != nullptr) std::fclose(file);
    context.outputFile = nullptr;
    writer::openMovieFile(nullptr, 1);
    frame::resetMovieContext(frame::movieContext());
    return 0;
  }
  return file != nullptr ? 1 : 0;
}

extern "C" MP4LIB_API int32_t getEncodeFilePos(void) {
  auto* file = static_cast<std::FILE*>(frame::encoderContext().outputFile);
  if (file == nullptr) return 0;
  return static_cast<int32_t>(std::ftell(file));
}

extern "C" MP4LIB_API void finalizeEncoder(void) {
  if (!frame::encoderActive()) return;
  EncoderContext& context = frame::encoderContext();
  frame::freeTrackRecords(frame::movieContext());
  frame::finalizePlugin(context.videoPlugin, codecs::activePlugins().videoEncoder);
  frame::finalizePlugin(context.audioPlugin, codecs::activePlugins().audioEncoder);
  frame::releaseFrameBuffer(context);
  frame::setEncoderActive(false);
}
