#include "playback/decoder_setup.h"

#include <cstring>

#include "codecs/audio_plugin.h"
#include "codecs/file_kind.h"
#include "codecs/plugin_result.h"
#include "container/box_parser.h"
#include "container/box_types.h"
#include "container/numeric.h"
#include "platform/memory.h"

namespace mp4lib::playback {

namespace {

using container::MovieContext;
using container::TrackRecord;

constexpr std::uint32_t kVideoFlag = MP4LIB_RECORD_VIDEO;
constexpr std::uint32_t kAudioFlag = MP4LIB_RECORD_AUDIO;
constexpr std::uint32_t kDecodingMode = 3;

struct PictureSizeCode {
  std::uint32_t width, height, code;
};
constexpr PictureSizeCode kPictureSizeCodes[] = {
    {176, 144, 1}, {352, 288, 2}, {352, 240, 3}, {720, 480, 5},   {320, 240, 7},
    {160, 120, 8}, {128, 96, 9},  {704, 576, 10}, {1408, 1152, 11},
};

bool hasSamples(const TrackRecord& track) { return track.sampleCount > 0; }

std::int32_t kindOf(const TrackRecord& track) {
  return track.codec != nullptr ? track.codec->kind : MP4LIB_KIND_UNSUPPORTED;
}

std::uint32_t byteSwapped(std::uint32_t x) {
  return (x >> 24) | ((x >> 8) & 0x0000FF00u) | ((x << 8) & 0x00FF0000u) | (x << 24);
}

// The last track of a kind that has samples, or -1.
std::int32_t lastTrackOfKind(const MovieContext& movie, std::int32_t kind) {
  std::int32_t found = -1;
  for (std::int32_t i = 0; i < movie.trackCount && i < container::kMaxTracks; ++i) {
    if (hasSamples(movie.tracks[i]) && kindOf(movie.tracks[i]) == kind) found = i;
  }
  return found;
}

// The file carried the vendor block: its flags, sizes, rate and codec codes
// stand; the tracks are the last ones of each kind with samples.
void takeVendorValues(MovieContext& movie, MovieParams& params, const container::VendorBlock& vendor) {
  movie.videoTrackIndex = lastTrackOfKind(movie, MP4LIB_KIND_VIDEO);
  movie.audioTrackIndex = lastTrackOfKind(movie, MP4LIB_KIND_AUDIO);
  params.width = vendor.words[4];
  params.height = vendor.words[5];
  if (movie.videoTrackIndex >= 0) {
    params.frameCount = static_cast<std::uint32_t>(movie.tracks[movie.videoTrackIndex].sampleCount);
  }
}

void describeVideoTrack(const MovieContext& movie, const TrackRecord& track, MovieParams& params) {
  params.streamFlags |= kVideoFlag;
  params.width = track.width;
  params.height = track.height;
  // The sample description knows the coded size better than the track header.
  if (track.codec->width != track.width || track.codec->height != track.height) {
    params.width = track.codec->width;
    params.height = track.codec->height;
  }
  params.pictureSizeCode = pictureSizeCode(params.width, params.height);
  params.frameCount = static_cast<std::uint32_t>(track.sampleCount);
  const float perSecond = static_cast<float>(movie.timeScale) / static_cast<float>(track.trackDuration);
  params.frameRate = static_cast<double>(perSecond * static_cast<float>(track.sampleCount));
}

void describeAudioTrack(const TrackRecord& track, MovieParams& params) {
  params.streamFlags |= kAudioFlag;
  params.sampleRate = track.codec->sampleRate;
  params.bitsPerSample = track.codec->bitsPerSample;
  params.channels = track.codec->channels;
}

// The vendor record the video plug-in expects, built from the movie's values
// for a file that has none.
void rebuildVendorRecord(const MovieParams& params, std::uint8_t (&record)[container::kVendorPayloadBytes]) {
  const std::uint32_t words[container::kVendorWords] = {container::kVendorPayloadMagic,
                                                        (params.formatVersion << 16) | params.formatRevision,
                                                        params.pictureSizeCode,
                                                        params.vendorWord3,
                                                        params.width,
                                                        params.height,
                                                        params.frameCount,
                                                        params.streamFlags,
                                                        container::wrapToUint32(params.frameRate),
                                                        params.vendorWord9,
                                                        params.vendorWord10,
                                                        params.videoCodecCode,
                                                        params.audioCodecCode,
                                                        params.bitsPerSample,
                                                        params.sampleRate,
                                                        params.channels};
  container::encodeVendorPayload(words, container::VideoTypeOrder::kBigEndian, record);
}

// A file without the vendor block: the values come from its tracks (later
// tracks of a kind replace earlier ones), and the block the video plug-in
// expects is built from them.
void takeTrackValues(MovieContext& movie, MovieParams& params, const container::ParseFindings& findings) {
  params.formatVersion = 1;
  params.formatRevision = 5;
  params.streamFlags = 0;
  params.lowFlagBits = 0;
  movie.videoTrackIndex = -1;
  movie.audioTrackIndex = -1;
  for (std::int32_t i = 0; i < movie.trackCount && i < container::kMaxTracks; ++i) {
    const TrackRecord& track = movie.tracks[i];
    if (!hasSamples(track)) continue;
    if (kindOf(track) == MP4LIB_KIND_VIDEO) {
      describeVideoTrack(movie, track, params);
      movie.videoTrackIndex = i;
    } else if (kindOf(track) == MP4LIB_KIND_AUDIO) {
      describeAudioTrack(track, params);
      movie.audioTrackIndex = i;
    }
  }
  params.videoCodecCode = findings.videoCodecCode;
  params.audioCodecCode = findings.audioCodecCode;
}

bool pictureSizesAcceptable(const MovieParams& params) {
  return params.width <= kMaxPictureSide && params.height <= kMaxPictureSide &&
         params.decodedWidth <= kMaxPictureSide && params.decodedHeight <= kMaxPictureSide;
}

bool audioFormatAcceptable(const MovieParams& params) {
  return params.sampleRate <= kMaxAudioRate && params.channels <= kMaxAudioChannels &&
         params.bitsPerSample <= kMaxAudioBitsPerSample;
}

// A sample that lies in the file is read whole; one that does not is
// refused when it is asked for.
bool samplesAcceptable(const Player& player, const TrackRecord& track) {
  if (track.samples == nullptr) return true;
  const std::int32_t entries = track.sampleCount < track.sampleCapacity ? track.sampleCount : track.sampleCapacity;
  for (std::int32_t i = 0; i < entries; ++i) {
    const SampleEntry& entry = track.samples[i];
    if (entry.size > kMaxSampleBytes && entryInsideFile(player, entry)) return false;
  }
  return true;
}

// The sizes an application allocates from, and the samples the library
// reads whole, within the limits (whether or not a track is enabled: the
// parameter block reports them all the same).
OpenFailure checkLimits(const Player& player) {
  const MovieParams& params = player.params;
  if (!pictureSizesAcceptable(params)) return OpenFailure::kPictureTooLarge;
  if (!audioFormatAcceptable(params)) return OpenFailure::kSizeTooLarge;
  const MovieContext& movie = player.movie;
  for (const std::int32_t index : {movie.videoTrackIndex, movie.audioTrackIndex}) {
    if (index >= 0 && !samplesAcceptable(player, movie.tracks[index])) return OpenFailure::kSizeTooLarge;
  }
  return OpenFailure::kNone;
}

// The RGB buffer takes a converted picture at the display size and, before
// scaling, at the decoded size; it is made large enough for either.
bool allocateRgbBuffer(MovieParams& params) {
  std::size_t pixels = std::size_t{params.width} * params.height;
  const std::size_t decoded = std::size_t{params.decodedWidth} * params.decodedHeight;
  if (decoded > pixels) pixels = decoded;
  params.rgbBuffer = static_cast<std::uint8_t*>(platform::allocate(pixels * 3 + 1));
  return params.rgbBuffer != nullptr;
}

bool takesStreamHeader(const CodecPlugin& plugin) {
  return plugin.codecId == MP4LIB_CODEC_ID_MPEG4V || plugin.codecId == MP4LIB_CODEC_ID_VIDEO_70;
}

// MPEG-4 visual and codec 70 learn their stream header before the first
// frame: the track's decoder configuration, else its first sample.
void feedStreamHeader(Playback& playback, CodecPlugin& plugin, const TrackRecord& track) {
  if (!takesStreamHeader(plugin) || plugin.decodeFrameHeader == nullptr) return;
  const CodecDescriptor* codec = track.codec;
  if (codec != nullptr && codec->extraData != nullptr && codec->extraDataSize > 0) {
    plugin.decodeFrameHeader(reinterpret_cast<Mp4Word>(codec->extraData), codec->extraDataSize, 0);
    return;
  }
  Player& player = playback.player;
  platform::Lock lock(playback.readLock);
  if (readEntry(player, track.samples[0], &player.sampleBuffer, &player.sampleCapacity)) {
    plugin.decodeFrameHeader(reinterpret_cast<Mp4Word>(player.sampleBuffer), track.samples[0].size, 0);
  }
}

OpenFailure startVideo(Playback& playback, OpenReport* report) {
  Player& player = playback.player;
  MovieParams& params = player.params;
  codecs::ActivePlugins& active = playback.plugins.active;
  TrackRecord& track = player.movie.tracks[player.movie.videoTrackIndex];
  if (player.movie.timeScale == 0 || track.mediaTimeScale == 0) return OpenFailure::kZeroTimeScale;
  if (track.timeRunCount == 1) {
    track.frameDurationMs =
        static_cast<float>(track.timeRuns[0].delta) * 1000.0f / static_cast<float>(track.mediaTimeScale);
  }
  CodecPlugin* plugin = chooseVideoPlugin(playback.plugins, params.videoCodecCode, player.findings.videoCodecCode);
  active.videoDecoder = plugin;
  params.videoPlugin = plugin;
  report->codecType = plugin != nullptr ? plugin->codecType : player.findings.videoCodecCode;
  if (plugin == nullptr || plugin->initDecode == nullptr) return OpenFailure::kNoVideoPlugin;
  if (codecs::pluginFailed(plugin->initDecode(reinterpret_cast<Mp4Word>(player.vendorRecord),
                                              reinterpret_cast<Mp4Word>(&params)))) {
    active.videoDecoder = nullptr;  // nothing to finalise
    return OpenFailure::kVideoPluginRefused;
  }
  params.lumaSize = params.width * params.height;
  params.rgb24Size = params.lumaSize * 3;
  params.decodedLumaSize = params.decodedWidth * params.decodedHeight;
  params.decodedChromaSize = params.decodedLumaSize / 4;
  if (!allocateRgbBuffer(params)) return OpenFailure::kNoMemory;
  feedStreamHeader(playback, *plugin, track);
  return OpenFailure::kNone;
}

// The decoder configuration of the movie's audio track, if it has one.
AudioDecoderConfig audioTrackConfig(const TrackRecord& track) {
  AudioDecoderConfig config{1, nullptr, 0};
  const CodecDescriptor* codec = track.codec;
  if (codec != nullptr && codec->extraData != nullptr) {
    config.config = codec->extraData;
    config.configSize = codec->extraDataSize;
  }
  return config;
}

OpenFailure startAudio(Playback& playback, OpenReport* report) {
  Player& player = playback.player;
  MovieParams& params = player.params;
  const TrackRecord& track = player.movie.tracks[player.movie.audioTrackIndex];
  const std::uint32_t scale = audioTimeScale(player);
  if (scale == 0) return OpenFailure::kZeroTimeScale;
  const std::uint32_t delta = track.timeRunCount > 0 ? track.timeRuns[0].delta : 0;
  params.audioFrameMs = static_cast<std::uint32_t>(std::int64_t{delta} * 1000 / scale);
  params.audioFrameMsFloat = static_cast<float>(delta) * 1000.0f / static_cast<float>(scale);
  params.audioFrameCount = static_cast<std::uint32_t>(track.sampleCount);
  const Mp4Word result =
      codecs::openAudioCodecPlugin(playback.plugins, params.audioCodecCode, false, 0, audioTrackConfig(track));
  params.audioPlugin = playback.plugins.active.audioDecoder;
  report->codecType = params.audioCodecCode;
  if (codecs::pluginFailed(result)) {
    const bool found = playback.plugins.active.audioDecoder != nullptr;
    playback.plugins.active.audioDecoder = nullptr;  // nothing to finalise
    return found ? OpenFailure::kAudioPluginRefused : OpenFailure::kNoAudioPlugin;
  }
  return OpenFailure::kNone;
}

std::int32_t failSetUp(Playback& playback, OpenReport* report, OpenFailure failure) {
  report->failure = failure;
  CodecPlugin* video = playback.plugins.active.videoDecoder;
  if (video != nullptr && video->module != nullptr && video->finalizeDecode != nullptr) video->finalizeDecode(0);
  playback.plugins.active.videoDecoder = nullptr;
  releasePlayer(playback.player);
  return 0;
}

// A header the parser refused: no movie at all, or a movie with a table it
// could not read.
OpenFailure headerFailure(const MovieContext& movie) {
  return movie.moovSeen || movie.mdatSeen ? OpenFailure::kDamagedTables : OpenFailure::kNotAMovie;
}

// Clears what an earlier movie left and opens the input on `stream`.
bool prepareInput(Playback& playback, std::FILE* stream) {
  Player& player = playback.player;
  container::resetMovieContext(player.movie);
  player.movie.videoTrackIndex = -1;
  player.movie.audioTrackIndex = -1;
  // Plug-ins of an earlier movie are not this movie's to finalise.
  playback.plugins.active.videoDecoder = nullptr;
  playback.plugins.active.audioDecoder = nullptr;
  player.findings = container::ParseFindings{};
  std::memset(player.vendorRecord, 0, sizeof player.vendorRecord);
  return container::openInput(player.input, stream);
}

// Chooses the tracks and fills the parameter block from what parsing found.
void chooseTracks(Player& player) {
  MovieContext& movie = player.movie;
  MovieParams& params = player.params;
  if (params.formatVersion != 0) {
    takeVendorValues(movie, params, player.findings.vendor);
    std::memcpy(player.vendorRecord, player.findings.vendor.raw, sizeof player.vendorRecord);
  } else {
    takeTrackValues(movie, params, player.findings);
    rebuildVendorRecord(params, player.vendorRecord);
  }
  if (movie.videoTrackIndex >= 0 && movie.tracks[movie.videoTrackIndex].codec != nullptr) {
    params.decodedWidth = movie.tracks[movie.videoTrackIndex].codec->width;
    params.decodedHeight = movie.tracks[movie.videoTrackIndex].codec->height;
  }
  params.videoEnabled = (params.streamFlags & kVideoFlag) != 0 && movie.videoTrackIndex >= 0;
  params.audioEnabled = (params.streamFlags & kAudioFlag) != 0 && movie.audioTrackIndex >= 0;
}

}  // namespace

std::uint32_t pictureSizeCode(std::uint32_t width, std::uint32_t height) {
  for (const PictureSizeCode& size : kPictureSizeCodes) {
    if (size.width == width && size.height == height) return size.code;
  }
  return 0;
}

CodecPlugin* chooseVideoPlugin(codecs::PluginRegistry& plugins, std::uint32_t videoCodecCode,
                               std::uint32_t descriptionCode) {
  constexpr std::uint32_t kVideo = MP4LIB_CATEGORY_VIDEO;
  if (CodecPlugin* plugin = codecs::findCodecPlugin(plugins, videoCodecCode, kVideo)) return plugin;
  if (CodecPlugin* plugin = codecs::findCodecPlugin(plugins, byteSwapped(videoCodecCode), kVideo)) return plugin;
  return codecs::findCodecPlugin(plugins, descriptionCode, kVideo);
}

std::int32_t openPlayer(Playback& playback, const wchar_t* path, OpenReport* report) {
  Player& player = playback.player;
  MovieParams& params = player.params;
  params = MovieParams{};
  *report = OpenReport{};
  std::FILE* stream = platform::openFile(path, "rb");
  if (stream == nullptr) {
    report->failure = OpenFailure::kCannotOpenFile;
    return 0;
  }
  // Every file is read as 3GP, whatever its name says.
  codecs::classifyFileExtension(codecs::fileExtension(path));
  params.mode = kDecodingMode;
  if (!prepareInput(playback, stream)) {
    std::fclose(stream);
    report->failure = OpenFailure::kNoMemory;
    return 0;
  }
  params.inputFile = stream;

  container::ParseContext context{player.movie, params, player.input, player.findings};
  if (container::readHeader(context) != 0) return failSetUp(playback, report, headerFailure(player.movie));
  player.fileLength = context.fileLength;
  if (player.movie.tracks[0].sampleCount <= 0) return failSetUp(playback, report, OpenFailure::kEmptyFirstTrack);
  // Movie times divide by the movie time scale; a file that gives 0 is refused.
  if (player.movie.timeScale == 0) return failSetUp(playback, report, OpenFailure::kZeroTimeScale);

  chooseTracks(player);
  const OpenFailure limits = checkLimits(player);
  if (limits != OpenFailure::kNone) return failSetUp(playback, report, limits);
  if (params.videoEnabled) {
    const OpenFailure video = startVideo(playback, report);
    if (video != OpenFailure::kNone) return failSetUp(playback, report, video);
  }
  if (params.audioEnabled) {
    const OpenFailure audio = startAudio(playback, report);
    if (audio != OpenFailure::kNone) return failSetUp(playback, report, audio);
  }

  player.playback.videoEnabled = params.videoEnabled != 0;
  player.playback.audioEnabled = params.audioEnabled != 0;
  player.open.store(true);
  resetPlaybackState(player);
  return 1;
}

}  // namespace mp4lib::playback
