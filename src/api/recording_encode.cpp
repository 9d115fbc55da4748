// The encode entry points that first convert the caller's picture into the
// encoder's frame buffer (short planar 4:2:0 at the coded size) and then
// encode it like encode_video / encodeVideo.
#include <cstdint>

#include "frame/encoder_context.h"
#include "frame/library.h"
#include "mp4lib.h"

namespace mp4lib::frame {

namespace {

// The converters write the coded size when they resize and the picture size
// when they do not; either way the frame buffer must hold it.
bool pictureFitsFrame(const EncoderContext& context) {
  if (context.width == 0 || context.height == 0 || context.width > INT32_MAX || context.height > INT32_MAX) {
    return false;
  }
  if ((context.conversionFlags & MP4LIB_CONVERT_RESIZE) != 0) return true;
  const std::uint64_t picture = static_cast<std::uint64_t>(context.width) * context.height;
  const std::uint64_t coded = static_cast<std::uint64_t>(context.codedWidth) * context.codedHeight;
  return picture <= coded;
}

// The context, when a picture can be converted into its frame buffer now.
const EncoderContext* conversionTarget(const void* input) {
  if (input == nullptr || !encoderActive()) return nullptr;
  const EncoderContext& context = encoderContext();
  if (context.frameBuffer == nullptr || context.videoPlugin == nullptr || !pictureFitsFrame(context)) return nullptr;
  return &context;
}

std::int32_t width(const EncoderContext& context) { return static_cast<std::int32_t>(context.width); }
std::int32_t height(const EncoderContext& context) { return static_cast<std::int32_t>(context.height); }

}  // namespace

}  // namespace mp4lib::frame

using namespace mp4lib;
using frame::conversionTarget;

extern "C" MP4LIB_API Mp4Word encode_RGB24_video(const uint8_t* rgb, Mp4Word arg, uint8_t* out, uint32_t* outSize,
                                                 uint32_t ts, uint8_t option) {
  const EncoderContext* c = conversionTarget(rgb);
  if (c == nullptr) return 0;
  rgb24_yuv420(rgb, c->planeY, c->planeU, c->planeV, frame::width(*c), frame::height(*c), option);
  return encode_video(c->frameBuffer, arg, out, outSize, ts);
}

extern "C" MP4LIB_API Mp4Word encode_RGB16_video(const uint16_t* rgb, Mp4Word arg, uint8_t* out, uint32_t* outSize,
                                                 uint32_t ts, uint8_t option) {
  const EncoderContext* c = conversionTarget(rgb);
  if (c == nullptr) return 0;
  rgb16_yuv420(rgb, c->planeY, c->planeU, c->planeV, frame::width(*c), frame::height(*c), option);
  return encode_video(c->frameBuffer, arg, out, outSize, ts);
}

extern "C" MP4LIB_API Mp4Word encode_YUV422_video(const uint8_t* yuv, Mp4Word arg, uint8_t* out, uint32_t* outSize,
                                                  uint32_t ts) {
  const EncoderContext* c = conversionTarget(yuv);
  if (c == nullptr) return 0;
  yuv422_yuv420(yuv, c->planeY, c->planeU, c->planeV, frame::width(*c), frame::height(*c));
  return encode_video(c->frameBuffer, arg, out, outSize, ts);
}

extern "C" MP4LIB_API Mp4Word encode_YUV422_byte_planner_video(const uint8_t* yuv, Mp4Word arg, uint8_t* out,
                                                               uint32_t* outSize, uint32_t ts) {
  const EncoderContext* c = conversionTarget(yuv);
  if (c == nullptr) return 0;
  byte_yuv422_yuv420_planner(yuv, c->planeY, c->planeU, c->planeV, frame::width(*c), frame::height(*c));
  return encode_video(c->frameBuffer, arg, out, outSize, ts);
}

extern "C" MP4LIB_API Mp4Word encode_YUV422_byte_planner_video_s3(const uint8_t* y, const uint8_t* u, const uint8_t* v,
                                                                  Mp4Word arg, uint8_t* out, uint32_t* outSize,
                                                                  uint32_t ts) {
  const EncoderContext* c = conversionTarget(y);
  if (c == nullptr || u == nullptr || v == nullptr) return 0;
  byte_yuv422_yuv420_planner_s3(y, u, v, c->planeY, c->planeU, c->planeV, frame::width(*c), frame::height(*c));
  return encode_video(c->frameBuffer, arg, out, outSize, ts);
}

extern "C" MP4LIB_API Mp4Word encode_YUV420_byte_planner_video(const uint8_t* yuv, Mp4Word arg, uint8_t* out,
                                                               uint32_t* outSize, uint32_t ts) {
  const EncoderContext* c = conversionTarget(yuv);
  if (c == nullptr) return 0;
  byte_yuv420_yuv420_planner(yuv, c->planeY, c->planeU, c->planeV, frame::width(*c), frame::height(*c));
  return encode_video(c->frameBuffer, arg, out, outSize, ts);
}

extern "C" MP4LIB_API Mp4Word encode_YUV420_byte_planner_video_s3(const uint8_t* y, const uint8_t* u, const uint8_t* v,
                                                                  Mp4Word arg, uint8_t* out, uint32_t* outSize,
                                                                  uint32_t ts) {
  const EncoderContext* c = conversionTarget(y);
  if (c == nullptr || u == nullptr || v == nullptr) return 0;
  byte_yuv420_yuv420_planner_s3(y, u, v, c->planeY, c->planeU, c->planeV, frame::width(*c), frame::height(*c));
  return encode_video(c->frameBuffer, arg, out, outSize, ts);
}

extern "C" MP4LIB_API Mp4Word encode_YUV420_short_planner_video(const int16_t* yuv, Mp4Word arg, uint8_t* out,
                                                                uint32_t* outSize, uint32_t ts) {
  const EncoderContext* c = conversionTarget(yuv);
  if (c == nullptr) return 0;
  short_yuv420_yuv420_planner(yuv, c->planeY, c->planeU, c->planeV, frame::width(*c), frame::height(*c));
  return encode_video(c->frameBuffer, arg, out, outSize, ts);
}

// The one-step calls hand the plug-in the frame sample count as its value.
extern "C" MP4LIB_API int32_t encodeRGB24Video(const uint8_t* rgb, Mp4Word /*unused*/, uint8_t* out,
                                               uint32_t* outSize, uint8_t store, uint32_t ts, uint8_t option) {
  const EncoderContext* c = conversionTarget(rgb);
  if (c == nullptr) return 0;
  rgb24_yuv420(rgb, c->planeY, c->planeU, c->planeV, frame::width(*c), frame::height(*c), option);
  return encodeVideo(c->frameBuffer, c->frameSampleCount, out, outSize, store, ts);
}

extern "C" MP4LIB_API int32_t encodeRGB16Video(const uint16_t* rgb, Mp4Word /*unused*/, uint8_t* out,
                                               uint32_t* outSize, uint8_t store, uint32_t ts, uint8_t option) {
  const EncoderContext* c = conversionTarget(rgb);
  if (c == nullptr) return 0;
  rgb16_yuv420(rgb, c->planeY, c->planeU, c->planeV, frame::width(*c), frame::height(*c), option);
  return encodeVideo(c->frameBuffer, c->frameSampleCount, out, outSize, store, ts);
}
