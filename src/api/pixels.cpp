// Pixels: the encoder's frame converters, the stand-alone converters,
// interpolation and PSNR.
#include "api/library_state.h"
#include "mp4lib.h"
#include "pixels/encoder_frame.h"
#include "pixels/interpolate.h"
#include "pixels/picture_rgb_to_yuv.h"
#include "pixels/psnr.h"
#include "pixels/yuv_to_rgb.h"

using namespace mp4lib;

namespace {

// The encoder's frame as the converters fill it: the planes given, the
// coded size and whether to resample from the encoder context (all zero
// without one).
pixels::EncoderFrame encoderFrame(int16_t* y, int16_t* u, int16_t* v) {
  const EncoderContext& context = api::libraryState().recorder.context;
  const bool resample = (context.conversionFlags & MP4LIB_CONVERT_RESIZE) != 0;
  return {y, u, v, context.codedWidth, context.codedHeight, resample};
}

}  // namespace

// Builds the RGB16 lookup tables if initMp4Lib has not; without memory for
// them the frame is left as it was.
extern "C" MP4LIB_API void rgb16_yuv420(const uint16_t* rgb, int16_t* y, int16_t* u, int16_t* v, int32_t width,
                                        int32_t height, uint8_t /*option*/) {
  pixels::LookupTableBlock& block = api::libraryState().lookupTables;
  if (!pixels::buildLookupTables(block)) return;
  pixels::rgb16ToEncoderFrame(rgb, width, height, encoderFrame(y, u, v), pixels::lookupTables(block));
}

extern "C" MP4LIB_API void rgb24_yuv420(const uint8_t* rgb, int16_t* y, int16_t* u, int16_t* v, int32_t width,
                                        int32_t height, uint8_t /*option*/) {
  pixels::rgb24ToEncoderFrame(rgb, width, height, encoderFrame(y, u, v));
}

extern "C" MP4LIB_API void yuv422_yuv420(const uint8_t* yuv, int16_t* y, int16_t* u, int16_t* v, int32_t width,
                                         int32_t height) {
  pixels::packedYuv422ToEncoderFrame(yuv, width, height, encoderFrame(y, u, v));
}

extern "C" MP4LIB_API void byte_yuv422_yuv420_planner_s3(const uint8_t* srcY, const uint8_t* srcU, const uint8_t* srcV,
                                                         int16_t* y, int16_t* u, int16_t* v, int32_t width,
                                                         int32_t height) {
  pixels::planarYuv422ToEncoderFrame(srcY, srcU, srcV, width, height, encoderFrame(y, u, v));
}

extern "C" MP4LIB_API void byte_yuv422_yuv420_planner(const uint8_t* yuv, int16_t* y, int16_t* u, int16_t* v,
                                                      int32_t width, int32_t height) {
  const pixels::PlaneOffsets at = pixels::planarYuv422Offsets(width, height);
  byte_yuv422_yuv420_planner_s3(yuv, yuv + at.u, yuv + at.v, y, u, v, width, height);
}

extern "C" MP4LIB_API void byte_yuv420_yuv420_planner_s3(const uint8_t* srcY, const uint8_t* srcU, const uint8_t* srcV,
                                                         int16_t* y, int16_t* u, int16_t* v, int32_t width,
                                                         int32_t height) {
  pixels::planarYuv420ToEncoderFrame(srcY, srcU, srcV, width, height, encoderFrame(y, u, v));
}

extern "C" MP4LIB_API void byte_yuv420_yuv420_planner(const uint8_t* yuv, int16_t* y, int16_t* u, int16_t* v,
                                                      int32_t width, int32_t height) {
  const pixels::PlaneOffsets at = pixels::planarYuv420Offsets(width, height);
  byte_yuv420_yuv420_planner_s3(yuv, yuv + at.u, yuv + at.v, y, u, v, width, height);
}

extern "C" MP4LIB_API void short_yuv420_yuv420_planner(const int16_t* yuv, int16_t* y, int16_t* u, int16_t* v,
                                                       int32_t width, int32_t height) {
  const pixels::PlaneOffsets at = pixels::planarYuv420Offsets(width, height);
  pixels::shortYuv420ToEncoderFrame(yuv, yuv + at.u, yuv + at.v, width, height, encoderFrame(y, u, v));
}

extern "C" MP4LIB_API int32_t convertRGB2YUV420(int32_t width, int32_t height, const uint8_t* rgb, int16_t* y,
                                                int16_t* u, int16_t* v, int32_t flip) {
  return pixels::rgb24PictureToYuv420(width, height, rgb, y, u, v, flip);
}

extern "C" MP4LIB_API int32_t convertRGB162YUV420(int32_t width, int32_t height, const uint16_t* rgb, int16_t* y,
                                                  int16_t* u, int16_t* v, int32_t flip) {
  return pixels::rgb16PictureToYuv420(width, height, rgb, y, u, v, flip);
}

extern "C" MP4LIB_API int32_t transferByteYUV2RGBEx(uint32_t pitch, uint32_t /*reserved*/, int32_t width,
                                                    int32_t height, const uint8_t* y, const uint8_t* u,
                                                    const uint8_t* v, uint8_t* rgb) {
  return pixels::yuvToRgb24(pitch, width, height, y, u, v, rgb);
}

extern "C" MP4LIB_API void setYUV2RGBMethod(int32_t method) {
  api::libraryState().rgb16Method.store(method, std::memory_order_relaxed);
}

extern "C" MP4LIB_API int32_t transferY2RGB(uint32_t pitch, uint32_t /*reserved*/, int32_t width, int32_t height,
                                            const int16_t* samples, uint8_t* rgb) {
  return pixels::lumaToGreyRgb24(pitch, width, height, samples, rgb);
}

extern "C" MP4LIB_API void interpolateYUV(const uint8_t* srcY, const uint8_t* srcU, const uint8_t* srcV,
                                          uint8_t* destination, int32_t width, int32_t height, int32_t pitch) {
  pixels::doubleYuv420(srcY, srcU, srcV, destination, width, height, pitch);
}

extern "C" MP4LIB_API float getYUV420PSNR(const int16_t* a, const int16_t* b, int32_t width, int32_t height) {
  return pixels::pictureYuv420Psnr(a, b, width, height);
}

extern "C" MP4LIB_API float getYUV420PSNREx(const int16_t* aY, const int16_t* aU, const int16_t* aV,
                                            const int16_t* bY, const int16_t* bU, const int16_t* bV, int32_t width,
                                            int32_t height) {
  return pixels::planesYuv420Psnr(aY, aU, aV, bY, bU, bV, width, height);
}
