// Playing the open movie's audio through the wave-out device: one decoded
// part of an audio entry per call, at most eight blocks ahead of the device.
#include <cstdint>

#include "audio/wave_block_list.h"
#include "audio/wave_callback.h"
#include "audio/wave_out.h"
#include "audio/wave_out_control.h"
#include "mp4lib.h"
#include "reader/decoder_context.h"
#include "reader/track_decoding.h"

namespace mp4lib::audio {

namespace {

// Decoded PCM of one call, before it is copied into its block (bytes).
constexpr std::uint32_t kStagingBytes = MP4LIB_AUDIO_DECODE_MIN_OUTPUT;
std::uint8_t staging[kStagingBytes];

bool lowByteFailed(Mp4Word result) { return (result & 0xFFu) == 0; }

}  // namespace

}  // namespace mp4lib::audio

using namespace mp4lib;

extern "C" MP4LIB_API Mp4Word decodeAudioAndPlayEx(void) {
  if (audio::waveBlockCount() >= audio::kMaxQueuedBlocks) return 1;
  const std::int32_t entry = audio::waveOutAudioEntry();
  std::uint32_t length = audio::kStagingBytes;
  std::uint32_t timeMs = 0;
  std::uint32_t bytesLeft = 0;
  const Mp4Word result = reader::decodeAudioEntry(entry, audio::staging, &length, &timeMs, &bytesLeft);
  if (audio::lowByteFailed(result)) return result;
  // An entry read in several parts moves on only after its last part.
  if (bytesLeft == 0) audio::setWaveOutAudioEntry(entry + 1);
  if (length > audio::kStagingBytes) length = audio::kStagingBytes;
  audio::playBlock(audio::staging, length);
  return result;
}

extern "C" MP4LIB_API int32_t resetDecoder(Mp4WaveOutHandle* handle) {
  if (!reader::decoderOpen()) return 0;
  closeWaveOut();
  const MovieParams& params = reader::movieParams();
  openWaveOutEx(audio::callbackInstance(), static_cast<Mp4WaveWindow>(audio::callbackWindow()), params.bitsPerSample,
                params.sampleRate, static_cast<std::uint16_t>(params.channels), handle);
  // The output's own position is the audio entry counter; the decoder's
  // read position within an entry belongs to the playback state.
  audio::setWaveOutAudioEntry(0);
  reader::resetPlaybackState();
  return 1;
}
