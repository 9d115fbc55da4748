// Decoding one sample of the open movie by entry number.
#include "playback/track_decoding.h"

#include <cstdio>
#include <cstring>

#include "codecs/plugin_calls.h"
#include "container/numeric.h"
#include "container/sample_tables.h"

namespace mp4lib::playback {

namespace {

Mp4Word address(const void* pointer) { return reinterpret_cast<Mp4Word>(pointer); }

void put(std::uint32_t* out, std::uint32_t value) {
  if (out != nullptr) *out = value;
}

bool isKeyFrame(Playback& playback, const std::uint8_t* sample, std::uint32_t size) {
  return codecs::decodeVideoFrameHeader(playback.plugins.active.videoDecoder, sample, size, 0) == MP4LIB_FRAME_KEY;
}

// Reads an entry into the scratch buffer; false when it cannot be read.
bool readScratch(Player& player, const container::TrackRecord& track, std::int32_t entry) {
  return readEntry(player, track.samples[entry], &player.scratchBuffer, &player.scratchCapacity);
}

bool scratchIsKeyFrame(Playback& playback, const container::TrackRecord& track, std::int32_t entry) {
  Player& player = playback.player;
  return readScratch(player, track, entry) && isKeyFrame(playback, player.scratchBuffer, track.samples[entry].size);
}

// The nearest key frame among entries (stop, from], searching downwards; -1
// when there is none.
std::int32_t keyFrameBefore(Playback& playback, const container::TrackRecord& track, std::int32_t from,
                            std::int32_t stop) {
  for (std::int32_t entry = from; entry > stop; --entry) {
    if (scratchIsKeyFrame(playback, track, entry)) return entry;
  }
  return -1;
}

// Where decoding must start so that `entry` (not a key frame, not the next
// one) comes out right.
std::int32_t catchUpStart(Playback& playback, const container::TrackRecord& track, std::int32_t entry) {
  PlaybackState& state = playback.player.playback;
  const std::int32_t last = state.lastVideoEntry;
  if (entry > last) {
    const std::int32_t key = keyFrameBefore(playback, track, entry - 1, last);
    if (key < 0) return last + 1;
    state.lastKeyEntry = key;
    return key;
  }
  // Going back: right after the remembered key frame when that lies before
  // the entry, else from the key frame found below it.
  if (state.lastKeyEntry < entry) return state.lastKeyEntry + 1;
  const std::int32_t key = keyFrameBefore(playback, track, entry - 1, -1);
  return key < 0 ? 0 : key;
}

void decodeWithoutPicture(Playback& playback, const container::TrackRecord& track, std::int32_t entry) {
  Player& player = playback.player;
  if (readScratch(player, track, entry)) {
    codecs::decodeVideoUnits(playback.plugins.active.videoDecoder, player.scratchBuffer, track.samples[entry].size, 0,
                             0);
  }
}

// Reads and decodes a new entry. Holds the read lock throughout.
bool decodeNewEntry(Playback& playback, const container::TrackRecord& track, std::int32_t entry, std::uint8_t* yuv,
                    std::uint32_t* size) {
  platform::Lock lock(playback.readLock);
  Player& player = playback.player;
  PlaybackState& state = player.playback;
  if (!readEntry(player, track.samples[entry], &player.sampleBuffer, &player.sampleCapacity)) return false;
  const std::uint32_t length = track.samples[entry].size;
  const bool key = isKeyFrame(playback, player.sampleBuffer, length);
  if (entry == 0 || entry == state.lastVideoEntry + 1 || key) {
    if (key) state.lastKeyEntry = entry;
  } else {
    const std::int32_t start = catchUpStart(playback, track, entry);
    for (std::int32_t earlier = start; earlier < entry; ++earlier) decodeWithoutPicture(playback, track, earlier);
  }
  codecs::decodeVideoUnits(playback.plugins.active.videoDecoder, player.sampleBuffer, length, address(yuv),
                           address(size));
  return true;
}

// The picture the plug-in still holds, copied out as byte planar 4:2:0 at
// the decoded size. False, with nothing copied, when the picture is smaller.
bool copyDecodedPicture(Playback& playback, std::uint8_t* yuv) {
  DecodedPlanes planes;
  const MovieParams& params = playback.player.params;
  const std::uint32_t width = params.decodedWidth;
  const std::uint32_t height = params.decodedHeight;
  if (!fetchDecodedPlanes(playback, &planes) || !planesHold(planes, width, height)) return false;
  for (std::uint32_t row = 0; row < height; ++row) {
    std::memcpy(yuv + std::size_t{row} * width, planes.y + std::size_t{row} * planes.pitch, width);
  }
  const std::uint32_t chromaWidth = width / 2;
  const std::uint32_t chromaPitch = planes.pitch / 2;
  std::uint8_t* u = yuv + std::size_t{width} * height;
  std::uint8_t* v = u + std::size_t{chromaWidth} * (height / 2);
  for (std::uint32_t row = 0; row < height / 2; ++row) {
    std::memcpy(u + std::size_t{row} * chromaWidth, planes.u + std::size_t{row} * chromaPitch, chromaWidth);
    std::memcpy(v + std::size_t{row} * chromaWidth, planes.v + std::size_t{row} * chromaPitch, chromaWidth);
  }
  return true;
}

void reportVideoTime(const container::TrackRecord& track, std::int32_t entry, std::uint32_t* timeMs,
                     std::uint32_t* durationMs) {
  if (track.timeRunCount == 1) {
    put(timeMs, container::wrapToUint32(static_cast<float>(entry) * track.frameDurationMs));
    put(durationMs, container::wrapToUint32(track.frameDurationMs));
    return;
  }
  const container::EntryTime time = entry == 0 ? container::EntryTime{0, 0} : container::timeOfEntry(track, entry);
  put(timeMs, time.ms);
  if (durationMs != nullptr) {
    const std::uint32_t delta =
        (track.timeRuns != nullptr && time.run < track.timeRunCount) ? track.timeRuns[time.run].delta : 0;
    const std::int64_t ms = container::divideOrZero(std::int64_t{delta} * 1000, track.mediaTimeScale);
    *durationMs = static_cast<std::uint32_t>(ms);
  }
}

// The next slice of an audio entry into the input buffer at `into`: the
// whole entry when it is short, else 2048 bytes, resuming where the last
// slice of the same entry ended. Holds readLock.
bool readAudioSlice(Playback& playback, const container::TrackRecord& track, std::int32_t entry, std::uint8_t* into,
                    std::uint32_t* got) {
  platform::Lock lock(playback.readLock);
  Player& player = playback.player;
  PlaybackState& state = player.playback;
  const SampleEntry& sample = track.samples[entry];
  if (!entryInsideFile(player, sample)) return false;
  const bool resuming = entry == state.audioEntry && state.audioConsumed <= sample.size &&
                        state.audioLeft <= sample.size - state.audioConsumed;
  if (!resuming) {
    state.audioEntry = entry;
    state.audioEntrySize = sample.size;
    state.audioConsumed = 0;
    state.audioLeft = sample.size;
  }
  container::seekInput(player.input, std::int64_t{sample.offset} + state.audioConsumed, SEEK_SET);
  *got = state.audioLeft <= kAudioSliceBytes ? state.audioLeft : kAudioSliceBytes;
  if (container::readBlock(player.input, into, *got) == 0) {
    state.audioEntry = -1;
    return false;
  }
  state.audioConsumed += *got;
  state.audioLeft -= *got;
  if (state.audioLeft == 0) state.audioEntry = -1;  // read whole: no entry is partly read
  return true;
}

}  // namespace

bool fetchDecodedPlanes(Playback& playback, DecodedPlanes* planes) {
  const CodecPlugin* plugin = codecs::loaded(playback.plugins.active.videoDecoder);
  if (plugin == nullptr || plugin->getDecodeYUV == nullptr) return false;
  plugin->getDecodeYUV(address(&planes->y), address(&planes->u), address(&planes->v), address(&planes->pitch),
                       address(&planes->chromaPitch));
  if (planes->y == nullptr || planes->u == nullptr || planes->v == nullptr) return false;
  const Mp4PluginSizeFn size = codecs::decodeSizeEntry(playback.plugins, plugin);
  if (size != nullptr) {
    if (size(address(&planes->width), address(&planes->height)) == 0) return false;
  } else {
    planes->width = playback.player.params.decodedWidth;
    planes->height = playback.player.params.decodedHeight;
  }
  return true;
}

bool planesHold(const DecodedPlanes& planes, std::uint32_t width, std::uint32_t height) {
  return planes.width >= width && planes.height >= height && planes.pitch >= width;
}

std::int32_t decodeVideoEntry(Playback& playback, std::int32_t entry, std::uint8_t* yuv, std::uint32_t* size,
                              std::uint32_t* timeMs, std::uint32_t* durationMs) {
  const container::TrackRecord* track = videoTrack(playback.player);
  if (track == nullptr || entry < 0 || entry >= track->sampleCount) return 0;
  PlaybackState& state = playback.player.playback;
  if (entry != state.lastVideoEntry) {
    if (!decodeNewEntry(playback, *track, entry, yuv, size)) return 0;
  } else if (yuv != nullptr && !copyDecodedPicture(playback, yuv)) {
    return 0;  // the plug-in's picture does not hold the announced size
  }
  reportVideoTime(*track, entry, timeMs, durationMs);
  state.lastVideoEntry = entry;
  return 1;
}

Mp4Word decodeAudioEntry(Playback& playback, std::int32_t entry, std::uint8_t* pcm, std::uint32_t* pcmLength,
                         std::uint32_t* timeMs, std::uint32_t* bytesLeft) {
  Player& player = playback.player;
  const container::TrackRecord* track = audioTrack(player);
  if (track == nullptr || entry < 0 || entry >= track->sampleCount) return 0;
  PlaybackState& state = player.playback;
  // MPEG-4 audio keeps the bytes its plug-in left unconsumed in front of the
  // next slice.
  const bool carries = player.params.audioCodecCode == MP4LIB_CODEC_TYPE_AAC;
  const std::uint32_t carry = carries ? state.audioCarry : 0;
  std::uint32_t got = 0;
  if (!readAudioSlice(playback, *track, entry, player.audioInput + carry, &got)) return 0;

  // The entry's start time, whichever slice was read.
  const std::uint32_t delta = track->timeRunCount > 0 ? track->timeRuns[0].delta : 0;
  const std::uint32_t scale = audioTimeScale(player);
  const std::uint64_t units = std::uint64_t{delta} * static_cast<std::uint32_t>(entry) * 1000;
  put(timeMs, scale == 0 ? 0 : static_cast<std::uint32_t>(units / scale));

  std::uint32_t unusedLength = 0;
  std::uint32_t* outputLength = pcmLength != nullptr ? pcmLength : &unusedLength;
  const std::uint32_t length = carry + got;
  std::uint32_t leftover = 0;
  const Mp4Word result = codecs::decodeAudioUnit(playback.plugins.active.audioDecoder, player.audioInput, length, pcm,
                                                 outputLength, carries ? &leftover : nullptr);
  if (carries) {
    // At most one slice is carried; a plug-in that leaves more loses the oldest.
    std::uint32_t keep = leftover < length ? leftover : length;
    if (keep > kAudioSliceBytes) keep = kAudioSliceBytes;
    std::memmove(player.audioInput, player.audioInput + (length - keep), keep);
    state.audioCarry = keep;
  }
  put(bytesLeft, state.audioLeft);
  return result;
}

}  // namespace mp4lib::playback
