// decode_video_track, decode_video_trackEx and decode_audio_track.
#include "reader/track_decoding.h"

#include <cstdio>
#include <cstring>

#include "codecs/plugin_calls.h"
#include "codecs/plugin_registry.h"
#include "frame/library.h"
#include "mp4lib.h"
#include "reader/decoder_context.h"
#include "reader/numeric.h"
#include "reader/sample_index.h"

namespace mp4lib::reader {

namespace {

Mp4Word address(const void* pointer) { return reinterpret_cast<Mp4Word>(pointer); }

void put(std::uint32_t* out, std::uint32_t value) {
  if (out != nullptr) *out = value;
}

bool isKeyFrame(const std::uint8_t* sample, std::uint32_t size) {
  return codecs::decodeVideoFrameHeader(sample, size, 0) == MP4LIB_FRAME_KEY;
}

// Reads an entry into the scratch buffer; false when it cannot be read.
bool readScratch(const frame::TrackRecord& track, std::int32_t entry) {
  DecoderContext& decoder = decoderContext();
  return readEntry(track.samples[entry], &decoder.scratchBuffer, &decoder.scratchCapacity);
}

bool scratchIsKeyFrame(const frame::TrackRecord& track, std::int32_t entry) {
  return readScratch(track, entry) && isKeyFrame(decoderContext().scratchBuffer, track.samples[entry].size);
}

// The nearest key frame among entries (stop, from], searching downwards; -1
// when there is none.
std::int32_t keyFrameBefore(const frame::TrackRecord& track, std::int32_t from, std::int32_t stop) {
  for (std::int32_t entry = from; entry > stop; --entry) {
    if (scratchIsKeyFrame(track, entry)) return entry;
  }
  return -1;
}

// Where decoding must start so that `entry` (not a key frame, not the next
// one) comes out right.
std::int32_t catchUpStart(const frame::TrackRecord& track, std::int32_t entry, PlaybackState& state) {
  const std::int32_t last = state.lastVideoEntry;
  if (entry > last) {
    const std::int32_t key = keyFrameBefore(track, entry - 1, last);
    if (key < 0) return last + 1;
    state.lastKeyEntry = key;
    return key;
  }
  // Going back: right after the remembered key frame when that lies before
  // the entry, else from the key frame found below it.
  if (state.lastKeyEntry < entry) return state.lastKeyEntry + 1;
  const std::int32_t key = keyFrameBefore(track, entry - 1, -1);
  return key < 0 ? 0 : key;
}

void decodeWithoutPicture(const frame::TrackRecord& track, std::int32_t entry) {
  if (readScratch(track, entry)) {
    codecs::decodeVideoUnits(decoderContext().scratchBuffer, track.samples[entry].size, 0, 0);
  }
}

// Reads and decodes a new entry. Holds readLock throughout.
bool decodeNewEntry(const frame::TrackRecord& track, std::int32_t entry, std::uint8_t* yuv, std::uint32_t* size) {
  platform::Lock lock(frame::readLock());
  DecoderContext& decoder = decoderContext();
  PlaybackState& state = decoder.playback;
  if (!readEntry(track.samples[entry], &decoder.sampleBuffer, &decoder.sampleCapacity)) return false;
  const std::uint32_t length = track.samples[entry].size;
  const bool key = isKeyFrame(decoder.sampleBuffer, length);
  if (entry == 0 || entry == state.lastVideoEntry + 1 || key) {
    if (key) state.lastKeyEntry = entry;
  } else {
    const std::int32_t start = catchUpStart(track, entry, state);
    for (std::int32_t earlier = start; earlier < entry; ++earlier) decodeWithoutPicture(track, earlier);
  }
  codecs::decodeVideoUnits(decoder.sampleBuffer, length, address(yuv), address(size));
  return true;
}

// The picture the plug-in still holds, copied out as byte planar 4:2:0 at
// the decoded size.
void copyDecodedPicture(std::uint8_t* yuv) {
  DecodedPlanes planes;
  const MovieParams& params = movieParams();
  const std::uint32_t width = params.decodedWidth;
  const std::uint32_t height = params.decodedHeight;
  if (!fetchDecodedPlanes(&planes) || planes.pitch < width) return;
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
}

void reportVideoTime(const frame::TrackRecord& track, std::int32_t entry, std::uint32_t* timeMs,
                     std::uint32_t* durationMs) {
  if (track.timeRunCount == 1) {
    put(timeMs, truncateToU32(static_cast<float>(entry) * track.frameDurationMs));
    put(durationMs, truncateToU32(track.frameDurationMs));
    return;
  }
  const EntryTime time = entry == 0 ? EntryTime{0, 0} : timeOfEntry(track, entry);
  put(timeMs, time.ms);
  if (durationMs != nullptr) {
    const std::uint32_t delta =
        (track.timeRuns != nullptr && time.run < track.timeRunCount) ? track.timeRuns[time.run].delta : 0;
    *durationMs = static_cast<std::uint32_t>(divideOrZero(std::int64_t{delta} * 1000, track.mediaTimeScale));
  }
}

// The next slice of an audio entry into the input buffer at `into`: the
// whole entry when it is short, else 2048 bytes, resuming where the last
// slice of the same entry ended. Holds readLock.
bool readAudioSlice(const frame::TrackRecord& track, std::int32_t entry, std::uint8_t* into, std::uint32_t* got) {
  platform::Lock lock(frame::readLock());
  DecoderContext& decoder = decoderContext();
  PlaybackState& state = decoder.playback;
  const SampleEntry& sample = track.samples[entry];
  if (!entryInsideFile(sample)) return false;
  const bool resuming = entry == state.audioEntry && state.audioConsumed <= sample.size &&
                        state.audioLeft <= sample.size - state.audioConsumed;
  if (!resuming) {
    state.audioEntry = entry;
    state.audioEntrySize = sample.size;
    state.audioConsumed = 0;
    state.audioLeft = sample.size;
  }
  seekInput(decoder.input, std::int64_t{sample.offset} + state.audioConsumed, SEEK_SET);
  *got = state.audioLeft <= kAudioSliceBytes ? state.audioLeft : kAudioSliceBytes;
  if (readBlock(decoder.input, into, *got) == 0) {
    state.audioEntry = -1;
    return false;
  }
  state.audioConsumed += *got;
  state.audioLeft -= *got;
  if (state.audioLeft == 0) state.audioEntry = -1;  // read whole: no entry is partly read
  return true;
}

}  // namespace

bool fetchDecodedPlanes(DecodedPlanes* planes) {
  const CodecPlugin* plugin = codecs::activePlugins().videoDecoder;
  if (plugin == nullptr || plugin->module == nullptr || plugin->getDecodeYUV == nullptr) return false;
  plugin->getDecodeYUV(address(&planes->y), address(&planes->u), address(&planes->v), address(&planes->pitch),
                       address(&planes->chromaPitch));
  return planes->y != nullptr && planes->u != nullptr && planes->v != nullptr;
}

std::int32_t decodeVideoEntry(std::int32_t entry, std::uint8_t* yuv, std::uint32_t* size, std::uint32_t* timeMs,
                              std::uint32_t* durationMs) {
  const frame::TrackRecord* track = videoTrack();
  if (track == nullptr || entry < 0 || entry >= track->sampleCount) return 0;
  PlaybackState& state = decoderContext().playback;
  if (entry != state.lastVideoEntry) {
    if (!decodeNewEntry(*track, entry, yuv, size)) return 0;
  } else if (yuv != nullptr) {
    copyDecodedPicture(yuv);
  }
  reportVideoTime(*track, entry, timeMs, durationMs);
  state.lastVideoEntry = entry;
  return 1;
}

Mp4Word decodeAudioEntry(std::int32_t entry, std::uint8_t* pcm, std::uint32_t* pcmLength, std::uint32_t* timeMs,
                         std::uint32_t* bytesLeft) {
  const frame::TrackRecord* track = audioTrack();
  if (track == nullptr || entry < 0 || entry >= track->sampleCount) return 0;
  DecoderContext& decoder = decoderContext();
  PlaybackState& state = decoder.playback;
  // MPEG-4 audio keeps the bytes its plug-in left unconsumed in front of the
  // next slice.
  const bool carries = movieParams().audioCodecCode == MP4LIB_CODEC_TYPE_AAC;
  const std::uint32_t carry = carries ? state.audioCarry : 0;
  std::uint32_t got = 0;
  if (!readAudioSlice(*track, entry, decoder.audioInput + carry, &got)) return 0;

  // The entry's start time, whichever slice was read.
  const std::uint32_t delta = track->timeRunCount > 0 ? track->timeRuns[0].delta : 0;
  const std::uint32_t scale = audioTimeScale();
  const std::uint64_t units = std::uint64_t{delta} * static_cast<std::uint32_t>(entry) * 1000;
  put(timeMs, scale == 0 ? 0 : static_cast<std::uint32_t>(units / scale));

  std::uint32_t unusedLength = 0;
  std::uint32_t* outputLength = pcmLength != nullptr ? pcmLength : &unusedLength;
  const std::uint32_t length = carry + got;
  std::uint32_t leftover = 0;
  const Mp4Word result =
      codecs::decodeAudioUnit(decoder.audioInput, length, pcm, outputLength, carries ? &leftover : nullptr);
  if (carries) {
    // At most one slice is carried; a plug-in that leaves more loses the oldest.
    std::uint32_t keep = leftover < length ? leftover : length;
    if (keep > kAudioSliceBytes) keep = kAudioSliceBytes;
    std::memmove(decoder.audioInput, decoder.audioInput + (length - keep), keep);
    state.audioCarry = keep;
  }
  put(bytesLeft, state.audioLeft);
  return result;
}

}  // namespace mp4lib::reader

using namespace mp4lib;

extern "C" MP4LIB_API int32_t decode_video_track(int32_t entry, uint8_t* yuv, uint32_t* size, uint32_t* timeMs) {
  return reader::decodeVideoEntry(entry, yuv, size, timeMs, nullptr);
}

extern "C" MP4LIB_API int32_t decode_video_trackEx(int32_t entry, uint8_t* yuv, uint32_t* size, uint32_t* timeMs,
                                                   uint32_t* durationMs) {
  uint32_t duration = 0;
  return reader::decodeVideoEntry(entry, yuv, size, timeMs, durationMs != nullptr ? durationMs : &duration);
}

extern "C" MP4LIB_API Mp4Word decode_audio_track(int32_t entry, uint8_t* pcm, uint32_t* pcmLength, uint32_t* timeMs,
                                                 uint32_t* bytesLeft) {
  return reader::decodeAudioEntry(entry, pcm, pcmLength, timeMs, bytesLeft);
}
