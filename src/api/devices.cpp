// Audio devices: wave-in capture, wave-out playback of the open movie's
// audio, and restarting that playback.
#include "api/library_state.h"
#include "codecs/plugin_result.h"
#include "devices/wave_in.h"
#include "devices/wave_out.h"
#include "mp4lib.h"
#include "playback/track_decoding.h"

using namespace mp4lib;

extern "C" MP4LIB_API int32_t openWaveIn(uint32_t instance, Mp4WaveWindow window, uint32_t bits, uint32_t rate,
                                         uint16_t channels) {
  return openWaveInEx(instance, window, bits, rate, channels, nullptr);
}

extern "C" MP4LIB_API int32_t openWaveInEx(uint32_t instance, Mp4WaveWindow window, uint32_t bits, uint32_t rate,
                                           uint16_t channels, Mp4WaveInHandle* handle) {
  api::LibraryState& state = api::libraryState();
  const uint32_t bufferBytes = state.recorder.captureBlockBytes.load();
  return devices::openCapture(state.devices, bufferBytes, instance, window, bits, rate, channels, handle);
}

extern "C" MP4LIB_API uint32_t processWaveIn(uintptr_t, Mp4WaveHeader* header) {
  return devices::takeCapturedBuffer(api::libraryState().devices, reinterpret_cast<devices::WaveHeader*>(header));
}

extern "C" MP4LIB_API int32_t closeWaveIn(void) { return devices::closeCapture(api::libraryState().devices); }

extern "C" MP4LIB_API int32_t openWaveOut(uint32_t instance, Mp4WaveWindow window, uint32_t bits, uint32_t rate,
                                          uint16_t channels) {
  return openWaveOutEx(instance, window, bits, rate, channels, nullptr);
}

extern "C" MP4LIB_API int32_t openWaveOutEx(uint32_t instance, Mp4WaveWindow window, uint32_t bits, uint32_t rate,
                                            uint16_t channels, Mp4WaveOutHandle* handle) {
  return devices::openOutput(api::libraryState().devices, instance, window, bits, rate, channels, handle);
}

// One decoded part of the current audio entry per call, at most eight
// blocks ahead of the device.
extern "C" MP4LIB_API Mp4Word decodeAudioAndPlayEx(void) {
  api::LibraryState& state = api::libraryState();
  devices::AudioDevices& output = state.devices;
  if (devices::waveBlockCount(output.blocks) >= devices::kMaxQueuedBlocks) return 1;
  const std::int32_t entry = output.playbackEntry.load();
  std::uint32_t length = devices::kStagingBytes;
  std::uint32_t timeMs = 0;
  std::uint32_t bytesLeft = 0;
  playback::Playback playback = api::playbackOf(state);
  const Mp4Word result = playback::decodeAudioEntry(playback, entry, output.staging, &length, &timeMs, &bytesLeft);
  if (codecs::pluginFailed(result)) return result;
  // An entry read in several parts moves on only after its last part.
  if (bytesLeft == 0) output.playbackEntry.store(entry + 1);
  if (length > devices::kStagingBytes) length = devices::kStagingBytes;
  devices::playBlock(output, output.staging, length);
  return result;
}

extern "C" MP4LIB_API void processWaveOut(Mp4WaveOutHandle handle, Mp4WaveHeader* header) {
  devices::releaseFinishedBlock(api::libraryState().devices, handle, reinterpret_cast<devices::WaveHeader*>(header));
}

extern "C" MP4LIB_API int32_t closeWaveOut(void) { return devices::closeOutput(api::libraryState().devices); }

extern "C" MP4LIB_API int32_t resetDecoder(Mp4WaveOutHandle* handle) {
  api::LibraryState& state = api::libraryState();
  if (!state.player.open.load()) return 0;
  closeWaveOut();
  const MovieParams& params = state.player.params;
  devices::AudioDevices& output = state.devices;
  openWaveOutEx(output.callbackInstance.load(), static_cast<Mp4WaveWindow>(output.callbackWindow.load()),
                params.bitsPerSample, params.sampleRate, static_cast<std::uint16_t>(params.channels), handle);
  // The output's own position is the audio entry counter; the decoder's
  // read position within an entry belongs to the playback state.
  output.playbackEntry.store(0);
  playback::resetPlaybackState(state.player);
  return 1;
}
