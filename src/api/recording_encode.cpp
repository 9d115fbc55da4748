// Recording: the encode calls. The calls for other input formats first
// convert the picture into the encoder's frame buffer (short planar 4:2:0 at
// the coded size) with the matching pixel export, then encode it like
// encode_video / encodeVideo.
#include <cstdint>

#include "api/library_state.h"
#include "codecs/plugin_result.h"
#include "devices/wave_block_list.h"
#include "mp4lib.h"
#include "recording/encode_path.h"
#include "recording/sample_store.h"

using namespace mp4lib;

namespace {

// The converters write the coded size when they resample and the picture
// size when they do not; either way the frame buffer must hold it.
bool pictureFitsFrame(const EncoderContext& context) {
  if (context.width == 0 || context.height == 0 || context.width > INT32_MAX || context.height > INT32_MAX) {
    return false;
  }
  if ((context.conversionFlags & MP4LIB_CONVERT_RESIZE) != 0) return true;
  const std::uint64_t picture = static_cast<std::uint64_t>(context.width) * context.height;
  const std::uint64_t coded = static_cast<std::uint64_t>(context.codedWidth) * context.codedHeight;
  return picture <= coded;
}

// The encoder context, when a picture can be converted into its frame
// buffer now.
const EncoderContext* conversionTarget(const void* input) {
  const recording::Recorder& recorder = api::libraryState().recorder;
  if (input == nullptr || !recorder.active.load()) return nullptr;
  const EncoderContext& context = recorder.context;
  if (context.frameBuffer == nullptr || context.videoPlugin == nullptr || !pictureFitsFrame(context)) return nullptr;
  return &context;
}

std::int32_t width(const EncoderContext& context) { return static_cast<std::int32_t>(context.width); }
std::int32_t height(const EncoderContext& context) { return static_cast<std::int32_t>(context.height); }

Mp4Word encodeFrame(const int16_t* frame, Mp4Word arg, uint8_t* out, uint32_t* outSize, bool store, uint32_t ts) {
  api::LibraryState& state = api::libraryState();
  return recording::encodeFrame(state.recorder, state.writeLock, frame, arg, out, outSize, store, ts);
}

}  // namespace

extern "C" MP4LIB_API Mp4Word encode_video(const int16_t* frame, Mp4Word arg, uint8_t* out, uint32_t* outSize,
                                           uint32_t ts) {
  return encodeFrame(frame, arg, out, outSize, false, ts);
}

extern "C" MP4LIB_API Mp4Word encode_RGB24_video(const uint8_t* rgb, Mp4Word arg, uint8_t* out, uint32_t* outSize,
                                                 uint32_t ts, uint8_t option) {
  const EncoderContext* c = conversionTarget(rgb);
  if (c == nullptr) return 0;
  rgb24_yuv420(rgb, c->planeY, c->planeU, c->planeV, width(*c), height(*c), option);
  return encode_video(c->frameBuffer, arg, out, outSize, ts);
}

extern "C" MP4LIB_API Mp4Word encode_RGB16_video(const uint16_t* rgb, Mp4Word arg, uint8_t* out, uint32_t* outSize,
                                                 uint32_t ts, uint8_t option) {
  const EncoderContext* c = conversionTarget(rgb);
  if (c == nullptr) return 0;
  rgb16_yuv420(rgb, c->planeY, c->planeU, c->planeV, width(*c), height(*c), option);
  return encode_video(c->frameBuffer, arg, out, outSize, ts);
}

extern "C" MP4LIB_API Mp4Word encode_YUV422_video(const uint8_t* yuv, Mp4Word arg, uint8_t* out, uint32_t* outSize,
                                                  uint32_t ts) {
  const EncoderContext* c = conversionTarget(yuv);
  if (c == nullptr) return 0;
  yuv422_yuv420(yuv, c->planeY, c->planeU, c->planeV, width(*c), height(*c));
  return encode_video(c->frameBuffer, arg, out, outSize, ts);
}

extern "C" MP4LIB_API Mp4Word encode_YUV422_byte_planner_video(const uint8_t* yuv, Mp4Word arg, uint8_t* out,
                                                               uint32_t* outSize, uint32_t ts) {
  const EncoderContext* c = conversionTarget(yuv);
  if (c == nullptr) return 0;
  byte_yuv422_yuv420_planner(yuv, c->planeY, c->planeU, c->planeV, width(*c), height(*c));
  return encode_video(c->frameBuffer, arg, out, outSize, ts);
}

extern "C" MP4LIB_API Mp4Word encode_YUV422_byte_planner_video_s3(const uint8_t* y, const uint8_t* u, const uint8_t* v,
                                                                  Mp4Word arg, uint8_t* out, uint32_t* outSize,
                                                                  uint32_t ts) {
  const EncoderContext* c = conversionTarget(y);
  if (c == nullptr || u == nullptr || v == nullptr) return 0;
  byte_yuv422_yuv420_planner_s3(y, u, v, c->planeY, c->planeU, c->planeV, width(*c), height(*c));
  return encode_video(c->frameBuffer, arg, out, outSize, ts);
}

extern "C" MP4LIB_API Mp4Word encode_YUV420_byte_planner_video(const uint8_t* yuv, Mp4Word arg, uint8_t* out,
                                                               uint32_t* outSize, uint32_t ts) {
  const EncoderContext* c = conversionTarget(yuv);
  if (c == nullptr) return 0;
  byte_yuv420_yuv420_planner(yuv, c->planeY, c->planeU, c->planeV, width(*c), height(*c));
  return encode_video(c->frameBuffer, arg, out, outSize, ts);
}

extern "C" MP4LIB_API Mp4Word encode_YUV420_byte_planner_video_s3(const uint8_t* y, const uint8_t* u, const uint8_t* v,
                                                                  Mp4Word arg, uint8_t* out, uint32_t* outSize,
                                                                  uint32_t ts) {
  const EncoderContext* c = conversionTarget(y);
  if (c == nullptr || u == nullptr || v == nullptr) return 0;
  byte_yuv420_yuv420_planner_s3(y, u, v, c->planeY, c->planeU, c->planeV, width(*c), height(*c));
  return encode_video(c->frameBuffer, arg, out, outSize, ts);
}

extern "C" MP4LIB_API Mp4Word encode_YUV420_short_planner_video(const int16_t* yuv, Mp4Word arg, uint8_t* out,
                                                                uint32_t* outSize, uint32_t ts) {
  const EncoderContext* c = conversionTarget(yuv);
  if (c == nullptr) return 0;
  short_yuv420_yuv420_planner(yuv, c->planeY, c->planeU, c->planeV, width(*c), height(*c));
  return encode_video(c->frameBuffer, arg, out, outSize, ts);
}

extern "C" MP4LIB_API int32_t encodeVideo(const int16_t* frame, Mp4Word arg, uint8_t* out, uint32_t* outSize,
                                          uint8_t store, uint32_t ts) {
  const Mp4Word result = encodeFrame(frame, arg, out, outSize, store != 0, ts);
  // A failing plug-in's value is passed on; its low byte is 0.
  return codecs::pluginFailed(result) ? static_cast<int32_t>(static_cast<uint32_t>(result)) : 1;
}

// The one-step calls hand the plug-in the frame sample count as its value.
extern "C" MP4LIB_API int32_t encodeRGB24Video(const uint8_t* rgb, Mp4Word /*unused*/, uint8_t* out,
                                               uint32_t* outSize, uint8_t store, uint32_t ts, uint8_t option) {
  const EncoderContext* c = conversionTarget(rgb);
  if (c == nullptr) return 0;
  rgb24_yuv420(rgb, c->planeY, c->planeU, c->planeV, width(*c), height(*c), option);
  return encodeVideo(c->frameBuffer, c->frameSampleCount, out, outSize, store, ts);
}

extern "C" MP4LIB_API int32_t encodeRGB16Video(const uint16_t* rgb, Mp4Word /*unused*/, uint8_t* out,
                                               uint32_t* outSize, uint8_t store, uint32_t ts, uint8_t option) {
  const EncoderContext* c = conversionTarget(rgb);
  if (c == nullptr) return 0;
  rgb16_yuv420(rgb, c->planeY, c->planeU, c->planeV, width(*c), height(*c), option);
  return encodeVideo(c->frameBuffer, c->frameSampleCount, out, outSize, store, ts);
}

extern "C" MP4LIB_API Mp4Word encode_audio(const uint8_t* pcm, uint32_t length, uint8_t* out, uint32_t* outSize) {
  return recording::encodeAudio(api::libraryState().recorder, pcm, length, out, outSize);
}

// The oldest captured block is taken off the wave block list only once the
// recording has room to store it, so a block is never taken and then lost.
extern "C" MP4LIB_API int32_t encodeWaveInAudio(uint8_t* out, uint32_t* outSize, uint8_t store) {
  api::LibraryState& state = api::libraryState();
  if (out == nullptr || outSize == nullptr) return 0;
  devices::WaveBlock* block = devices::waveBlockHead(state.devices.blocks);
  if (block == nullptr) return 0;
  const auto audio = recording::SampleKind::kAudio;
  if (store != 0 && !recording::readyToStore(state.recorder, audio)) return 0;
  const uint32_t t = platform::timeGetTimeMs();
  uint32_t produced = *outSize;  // the caller's capacity, as for encode_audio
  const Mp4Word result = encode_audio(block->header.data, block->header.bytesRecorded, out, &produced);
  const bool got = codecs::pluginSucceeded(result) && produced >= 1;
  *outSize = got ? produced : 0;
  devices::removeWaveBlockHead(state.devices.blocks);
  if (store == 0 || !got) return got ? 1 : 0;
  recording::storeSample(state.recorder, state.writeLock, audio, out, produced, t, recording::WriteFailure::kIgnore,
                         false);
  return 1;
}

extern "C" MP4LIB_API int32_t writeEncodeData(const uint8_t* data, uint32_t size, uint32_t type, uint32_t ts) {
  if (type > 1 || (data == nullptr && size > 0)) return 0;
  api::LibraryState& state = api::libraryState();
  const auto kind = type == 0 ? recording::SampleKind::kVideo : recording::SampleKind::kAudio;
  if (!recording::readyToStore(state.recorder, kind)) return 0;
  return recording::storeSample(state.recorder, state.writeLock, kind, data, size, ts,
                                recording::WriteFailure::kRefuse, true)
             ? 1
             : 0;
}

extern "C" MP4LIB_API Mp4Word encode_getReconYUV(uint8_t** y, uint8_t** u, uint8_t** v, uint32_t* pitch,
                                                 uint32_t* chromaPitch) {
  return recording::reconstructedPicture(api::libraryState().recorder, y, u, v, pitch, chromaPitch);
}
