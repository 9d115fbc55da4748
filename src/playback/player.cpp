#include "reader/decoder_context.h"

#include <cstdio>
#include <cstdlib>

#include "codecs/plugin_registry.h"
#include "codecs/sample_queues.h"
#include "frame/library.h"
#include "mp4lib.h"
#include "reader/sample_index.h"

namespace mp4lib::reader {

namespace {

DecoderContext decoder;
MovieParams params;

frame::TrackRecord* enabledTrack(bool enabled, std::int32_t index) {
  if (!decoderOpen() || !enabled || index < 0 || index >= frame::kMaxTracks) return nullptr;
  return &frame::movieContext().tracks[index];
}

void finalizePlugin(CodecPlugin* plugin) {
  if (plugin != nullptr && plugin->module != nullptr && plugin->finalizeDecode != nullptr) plugin->finalizeDecode(0);
}

}  // namespace

DecoderContext& decoderContext() { return decoder; }
MovieParams& movieParams() { return params; }
bool decoderOpen() { return frame::decoderActive(); }

frame::TrackRecord* videoTrack() {
  return enabledTrack(decoder.playback.videoEnabled, frame::movieContext().videoTrackIndex);
}

frame::TrackRecord* audioTrack() {
  return enabledTrack(decoder.playback.audioEnabled, frame::movieContext().audioTrackIndex);
}

std::uint32_t audioTimeScale() {
  if (params.formatVersion == 1 && params.formatRevision < 5) return frame::movieContext().timeScale;
  const std::int32_t index = frame::movieContext().audioTrackIndex;
  if (index < 0 || index >= frame::kMaxTracks) return 0;
  return frame::movieContext().tracks[index].mediaTimeScale;
}

void resetPlaybackState() {
  PlaybackState& state = decoder.playback;
  state.lastVideoEntry = -1;
  state.lastKeyEntry = 0;
  state.audioEntry = -1;
  state.audioEntrySize = 0;
  state.audioConsumed = 0;
  state.audioLeft = 0;
  state.audioCarry = 0;
  setCachedTimeRun(0);
  codecs::resetSampleQueues(state.audioEnabled, state.videoEnabled);
}

bool entryInsideFile(const SampleEntry& entry) {
  return std::int64_t{entry.offset} + entry.size <= decoder.fileLength;
}

bool readEntry(const SampleEntry& entry, std::uint8_t** buffer, std::uint32_t* capacity) {
  if (!entryInsideFile(entry) || entry.size == 0) return false;
  if (*capacity < entry.size) {
    auto* grown = static_cast<std::uint8_t*>(std::realloc(*buffer, entry.size));
    if (grown == nullptr) return false;
    *buffer = grown;
    *capacity = entry.size;
  }
  seekInput(decoder.input, entry.offset, SEEK_SET);
  return readBlock(decoder.input, *buffer, entry.size) != 0;
}

void releaseDecoder() {
  codecs::freeSampleQueues();
  closeInput(decoder.input);
  frame::freeTrackRecords(frame::movieContext());
  params.inputFile = nullptr;
  std::free(params.rgbBuffer);
  params.rgbBuffer = nullptr;
  std::free(decoder.sampleBuffer);
  std::free(decoder.scratchBuffer);
  decoder.sampleBuffer = nullptr;
  decoder.scratchBuffer = nullptr;
  decoder.sampleCapacity = 0;
  decoder.scratchCapacity = 0;
  decoder.playback.videoEnabled = false;
  decoder.playback.audioEnabled = false;
}

}  // namespace mp4lib::reader

using namespace mp4lib;

extern "C" MP4LIB_API void finalizeDecoder(void) {
  if (!reader::decoderOpen()) return;
  reader::releaseDecoder();
  const codecs::ActivePlugins& active = codecs::activePlugins();
  reader::finalizePlugin(active.videoDecoder);
  reader::finalizePlugin(active.audioDecoder);
  frame::setDecoderActive(false);
}
