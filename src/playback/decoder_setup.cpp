// initDecoder: opens a movie, parses it, chooses one video and one audio
// track, binds and starts the decoder plug-ins.
#include <cstdlib>
#include <cstring>

#include "codecs/audio_plugin.h"
#include "codecs/file_kind.h"
#include "codecs/plugin_registry.h"
#include "frame/library.h"
#include "mp4lib.h"
#include "reader/box_parser.h"
#include "reader/decoder_context.h"
#include "reader/numeric.h"
#include "reader/decoder_setup.h"

namespace mp4lib::reader {

namespace {

constexpr std::uint32_t kVideoFlag = MP4LIB_RECORD_VIDEO;
constexpr std::uint32_t kAudioFlag = MP4LIB_RECORD_AUDIO;
constexpr std::uint32_t kDecodingMode = 3;
constexpr std::int32_t kKindVideo = 0;
constexpr std::int32_t kKindAudio = 1;

struct PictureSizeCode {
  std::uint32_t width, height, code;
};
constexpr PictureSizeCode kPictureSizeCodes[] = {
    {176, 144, 1}, {352, 288, 2}, {352, 240, 3}, {720, 480, 5},   {320, 240, 7},
    {160, 120, 8}, {128, 96, 9},  {704, 576, 10}, {1408, 1152, 11},
};

bool hasSamples(const frame::TrackRecord& track) { return track.sampleCount > 0; }

std::int32_t kindOf(const frame::TrackRecord& track) { return track.codec != nullptr ? track.codec->kind : -1; }

void storeBigEndian(std::uint8_t* p, std::uint32_t value) {
  p[0] = static_cast<std::uint8_t>(value >> 24);
  p[1] = static_cast<std::uint8_t>(value >> 16);
  p[2] = static_cast<std::uint8_t>(value >> 8);
  p[3] = static_cast<std::uint8_t>(value);
}

void storeHost(std::uint8_t* p, std::uint32_t value) { std::memcpy(p, &value, sizeof value); }

// The last track of a kind that has samples, or -1.
std::int32_t lastTrackOfKind(const frame::MovieContext& movie, std::int32_t kind) {
  std::int32_t found = -1;
  for (std::int32_t i = 0; i < movie.trackCount && i < frame::kMaxTracks; ++i) {
    if (hasSamples(movie.tracks[i]) && kindOf(movie.tracks[i]) == kind) found = i;
  }
  return found;
}

// The file carried the vendor block: its flags, sizes, rate and codec codes
// stand; the tracks are the last ones of each kind with samples.
void takeVendorValues(frame::MovieContext& movie, MovieParams& params, const VendorBlock& vendor) {
  movie.videoTrackIndex = lastTrackOfKind(movie, kKindVideo);
  movie.audioTrackIndex = lastTrackOfKind(movie, kKindAudio);
  params.width = vendor.words[4];
  params.height = vendor.words[5];
  if (movie.videoTrackIndex >= 0) {
    params.frameCount = static_cast<std::uint32_t>(movie.tracks[movie.videoTrackIndex].sampleCount);
  }
}

void describeVideoTrack(const frame::MovieContext& movie, const frame::TrackRecord& track, MovieParams& params) {
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

void describeAudioTrack(const frame::TrackRecord& track, MovieParams& params) {
  params.streamFlags |= kAudioFlag;
  params.sampleRate = track.codec->sampleRate;
  params.bitsPerSample = track.codec->bitsPerSample;
  params.channels = track.codec->channels;
}

// A file without the vendor block: the values come from its tracks (later
// tracks of a kind replace earlier ones), and the block the video plug-in
// expects is built from them.
void takeTrackValues(frame::MovieContext& movie, MovieParams& params, const ParseFindings& findings,
                     std::uint8_t* record) {
  params.formatVersion = 1;
  params.formatRevision = 5;
  params.streamFlags = 0;
  params.lowFlagBits = 0;
  movie.videoTrackIndex = -1;
  movie.audioTrackIndex = -1;
  for (std::int32_t i = 0; i < movie.trackCount && i < frame::kMaxTracks; ++i) {
    const frame::TrackRecord& track = movie.tracks[i];
    if (!hasSamples(track)) continue;
    if (kindOf(track) == kKindVideo) {
      describeVideoTrack(movie, track, params);
      movie.videoTrackIndex = i;
    } else if (kindOf(track) == kKindAudio) {
      describeAudioTrack(track, params);
      movie.audioTrackIndex = i;
    }
  }
  params.videoCodecCode = findings.videoCodecCode;
  params.audioCodecCode = findings.audioCodecCode;

  const std::uint32_t words[12] = {makeFourCC('W', 'M', 'V', 'H'),
                                   (params.formatVersion << 16) | params.formatRevision,
                                   params.pictureSizeCode,
                                   params.vendorWord3,
                                   params.width,
                                   params.height,
                                   params.frameCount,
                                   params.streamFlags,
                                   truncateToU32(params.frameRate),
                                   params.vendorWord9,
                                   params.vendorWord10,
                                   params.videoCodecCode};
  for (int i = 0; i < 12; ++i) storeBigEndian(record + 4 * i, words[i]);
  storeHost(record + 48, params.audioCodecCode);
  storeHost(record + 52, params.bitsPerSample);
  storeHost(record + 56, params.sampleRate);
  storeHost(record + 60, params.channels);
}

bool pictureSizesAcceptable(const MovieParams& params) {
  return params.width <= kMaxPictureSide && params.height <= kMaxPictureSide &&
         params.decodedWidth <= kMaxPictureSide && params.decodedHeight <= kMaxPictureSide;
}

// The RGB buffer takes a converted picture at the display size and, before
// scaling, at the decoded size; it is made large enough for either.
bool allocateRgbBuffer(MovieParams& params) {
  std::size_t pixels = std::size_t{params.width} * params.height;
  const std::size_t decoded = std::size_t{params.decodedWidth} * params.decodedHeight;
  if (decoded > pixels) pixels = decoded;
  params.rgbBuffer = static_cast<std::uint8_t*>(std::malloc(pixels * 3 + 1));
  return params.rgbBuffer != nullptr;
}

// MPEG-4 visual (13) and codec 70 learn their stream header before the first
// frame: the track's decoder configuration, else its first sample.
void feedStreamHeader(CodecPlugin& plugin, const frame::TrackRecord& track) {
  if ((plugin.codecId != 13 && plugin.codecId != 70) || plugin.decodeFrameHeader == nullptr) return;
  const CodecDescriptor* codec = track.codec;
  if (codec != nullptr && codec->extraData != nullptr && codec->extraDataSize > 0) {
    plugin.decodeFrameHeader(reinterpret_cast<Mp4Word>(codec->extraData), codec->extraDataSize, 0);
    return;
  }
  DecoderContext& decoder = decoderContext();
  platform::Lock lock(frame::readLock());
  if (readEntry(track.samples[0], &decoder.sampleBuffer, &decoder.sampleCapacity)) {
    plugin.decodeFrameHeader(reinterpret_cast<Mp4Word>(decoder.sampleBuffer), track.samples[0].size, 0);
  }
}

bool startVideo(frame::MovieContext& movie, MovieParams& params, const ParseFindings& findings) {
  frame::TrackRecord& track = movie.tracks[movie.videoTrackIndex];
  if (movie.timeScale == 0 || track.mediaTimeScale == 0 || !pictureSizesAcceptable(params)) return false;
  if (track.timeRunCount == 1) {
    track.frameDurationMs =
        static_cast<float>(track.timeRuns[0].delta) * 1000.0f / static_cast<float>(track.mediaTimeScale);
  }
  CodecPlugin* plugin = chooseVideoPlugin(params.videoCodecCode, findings.videoCodecCode);
  codecs::activePlugins().videoDecoder = plugin;
  params.videoPlugin = plugin;
  if (plugin == nullptr || plugin->initDecode == nullptr) return false;
  const DecoderContext& decoder = decoderContext();
  if ((plugin->initDecode(reinterpret_cast<Mp4Word>(decoder.vendorRecord), reinterpret_cast<Mp4Word>(&params)) &
       0xFF) == 0) {
    codecs::activePlugins().videoDecoder = nullptr;  // nothing to finalise
    return false;
  }
  params.lumaSize = params.width * params.height;
  params.rgb24Size = params.lumaSize * 3;
  params.decodedLumaSize = params.decodedWidth * params.decodedHeight;
  params.decodedChromaSize = params.decodedLumaSize / 4;
  if (!allocateRgbBuffer(params)) return false;
  feedStreamHeader(*plugin, track);
  return true;
}

bool startAudio(frame::MovieContext& movie, MovieParams& params) {
  const frame::TrackRecord& track = movie.tracks[movie.audioTrackIndex];
  const std::uint32_t scale = audioTimeScale();
  if (scale == 0) return false;
  const std::uint32_t delta = track.timeRunCount > 0 ? track.timeRuns[0].delta : 0;
  params.audioFrameMs = static_cast<std::uint32_t>(std::int64_t{delta} * 1000 / scale);
  params.audioFrameMsFloat = static_cast<float>(delta) * 1000.0f / static_cast<float>(scale);
  params.audioFrameCount = static_cast<std::uint32_t>(track.sampleCount);
  const Mp4Word result =
      codecs::openAudioCodecPlugin(params.audioCodecCode, params.sampleRate, params.channels, false, 0);
  params.audioPlugin = codecs::activePlugins().audioDecoder;
  if ((result & 0xFF) == 0) {
    codecs::activePlugins().audioDecoder = nullptr;  // nothing to finalise
    return false;
  }
  return true;
}

std::int32_t failSetUp() {
  CodecPlugin* video = codecs::activePlugins().videoDecoder;
  if (video != nullptr && video->module != nullptr && video->finalizeDecode != nullptr) video->finalizeDecode(0);
  codecs::activePlugins().videoDecoder = nullptr;
  releaseDecoder();
  return 0;
}

}  // namespace

std::uint32_t pictureSizeCode(std::uint32_t width, std::uint32_t height) {
  for (const PictureSizeCode& size : kPictureSizeCodes) {
    if (size.width == width && size.height == height) return size.code;
  }
  return 0;
}

}  // namespace mp4lib::reader

using namespace mp4lib;

extern "C" MP4LIB_API int32_t initDecoder(const wchar_t* path, MovieParams** params) {
  if (frame::encoderActive()) return 0;
  finalizeDecoder();  // one movie at a time
  MovieParams& block = reader::movieParams();
  block = MovieParams{};
  std::FILE* stream = platform::openFile(path, "rb");
  if (stream == nullptr) return 0;
  // Every file is read as 3GP, whatever its name says.
  codecs::classifyFileExtension(codecs::fileExtension(path));
  block.mode = reader::kDecodingMode;

  frame::MovieContext& movie = frame::movieContext();
  frame::resetMovieContext(movie);
  movie.videoTrackIndex = -1;
  movie.audioTrackIndex = -1;
  // Plug-ins of an earlier movie are not this movie's to finalise.
  codecs::activePlugins().videoDecoder = nullptr;
  codecs::activePlugins().audioDecoder = nullptr;
  reader::DecoderContext& decoder = reader::decoderContext();
  decoder.findings = reader::ParseFindings{};
  std::memset(decoder.vendorRecord, 0, sizeof decoder.vendorRecord);
  if (!reader::openInput(decoder.input, stream)) {
    std::fclose(stream);
    return 0;
  }
  block.inputFile = stream;

  reader::ParseContext context{movie, block, decoder.input, decoder.findings};
  if (reader::readHeader(context) != 0) return reader::failSetUp();
  decoder.fileLength = context.fileLength;
  // Movie times divide by the movie time scale; a file that gives 0 is refused.
  if (movie.tracks[0].sampleCount <= 0 || movie.timeScale == 0) return reader::failSetUp();

  if (block.formatVersion != 0) {
    reader::takeVendorValues(movie, block, decoder.findings.vendor);
    std::memcpy(decoder.vendorRecord, decoder.findings.vendor.raw, sizeof decoder.vendorRecord);
  } else {
    reader::takeTrackValues(movie, block, decoder.findings, decoder.vendorRecord);
  }
  if (movie.videoTrackIndex >= 0 && movie.tracks[movie.videoTrackIndex].codec != nullptr) {
    block.decodedWidth = movie.tracks[movie.videoTrackIndex].codec->width;
    block.decodedHeight = movie.tracks[movie.videoTrackIndex].codec->height;
  }
  block.videoEnabled = (block.streamFlags & reader::kVideoFlag) != 0 && movie.videoTrackIndex >= 0;
  block.audioEnabled = (block.streamFlags & reader::kAudioFlag) != 0 && movie.audioTrackIndex >= 0;

  if (block.videoEnabled && !reader::startVideo(movie, block, decoder.findings)) return reader::failSetUp();
  if (block.audioEnabled && !reader::startAudio(movie, block)) return reader::failSetUp();

  if (params != nullptr) *params = &block;
  decoder.playback.videoEnabled = block.videoEnabled != 0;
  decoder.playback.audioEnabled = block.audioEnabled != 0;
  frame::setDecoderActive(true);
  reader::resetPlaybackState();
  return 1;
}
