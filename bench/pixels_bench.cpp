// Megapixels per second of each pixel converter at QCIF, CIF and 640 x 480,
// next to the nearest libyuv and libswscale conversions where available.
// Run: mp4lib_bench --benchmark_counters_tabular=true
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "api/library_state.h"
#include "mp4lib.h"
#include "pixels/tables.h"
#include "pixels/yuv_to_rgb.h"

#if defined(MP4LIB_BENCH_LIBYUV)
#include <libyuv.h>
#endif
#if defined(MP4LIB_BENCH_SWSCALE)
extern "C" {
#include <libswscale/swscale.h>
}
#endif

namespace {

struct Size {
  int width;
  int height;
};

constexpr Size kSizes[] = {{176, 144}, {352, 288}, {640, 480}};

Size sizeOf(const benchmark::State& state) { return kSizes[state.range(0)]; }

std::vector<std::uint8_t> randomBytes(std::size_t count) {
  std::mt19937 generator(12345);
  std::vector<std::uint8_t> bytes(count);
  for (auto& b : bytes) b = static_cast<std::uint8_t>(generator() >> 24);
  return bytes;
}

// Output megapixels per second.
void countPixels(benchmark::State& state, Size size) {
  state.counters["MPix/s"] = benchmark::Counter(static_cast<double>(size.width) * size.height / 1e6,
                                                benchmark::Counter::kIsIterationInvariantRate);
}

void setEncoderPicture(Size size, bool resize) {
  EncoderContext& context = mp4lib::api::libraryState().recorder.context;
  context.codedWidth = static_cast<std::uint32_t>(size.width);
  context.codedHeight = static_cast<std::uint32_t>(size.height);
  context.conversionFlags = resize ? MP4LIB_CONVERT_RESIZE : 0u;
}

// Planes of a short and a byte 4:2:0 picture.
struct Planes {
  explicit Planes(Size s)
      : y16(s.width * s.height), u16(s.width * s.height / 4), v16(s.width * s.height / 4),
        y8(randomBytes(s.width * s.height)), u8(randomBytes(s.width * s.height / 4)), v8(randomBytes(s.width * s.height / 4)) {}
  std::vector<std::int16_t> y16, u16, v16;
  std::vector<std::uint8_t> y8, u8, v8;
};

// ---- RGB16 -> YUV 4:2:0 ---------------------------------------------------

void Rgb16ToYuv_rgb16_yuv420(benchmark::State& state) {
  const Size s = sizeOf(state);
  mp4lib::pixels::buildLookupTables(mp4lib::api::libraryState().lookupTables);
  setEncoderPicture(s, false);
  const std::vector<std::uint8_t> bytes = randomBytes(2 * s.width * s.height);
  std::vector<std::uint16_t> rgb(s.width * s.height);
  std::memcpy(rgb.data(), bytes.data(), bytes.size());
  Planes p(s);
  for (auto _ : state) rgb16_yuv420(rgb.data(), p.y16.data(), p.u16.data(), p.v16.data(), s.width, s.height, 0);
  countPixels(state, s);
}

void Rgb16ToYuv_convertRGB162YUV420(benchmark::State& state) {
  const Size s = sizeOf(state);
  const std::vector<std::uint8_t> bytes = randomBytes(2 * s.width * s.height);
  std::vector<std::uint16_t> rgb(s.width * s.height);
  std::memcpy(rgb.data(), bytes.data(), bytes.size());
  Planes p(s);
  for (auto _ : state) convertRGB162YUV420(s.width, s.height, rgb.data(), p.y16.data(), p.u16.data(), p.v16.data(), 0);
  countPixels(state, s);
}

// ---- RGB24 -> YUV 4:2:0 ---------------------------------------------------

void Rgb24ToYuv_rgb24_yuv420(benchmark::State& state) {
  const Size s = sizeOf(state);
  setEncoderPicture(s, false);
  const std::vector<std::uint8_t> rgb = randomBytes(3 * s.width * s.height);
  Planes p(s);
  for (auto _ : state) rgb24_yuv420(rgb.data(), p.y16.data(), p.u16.data(), p.v16.data(), s.width, s.height, 0);
  countPixels(state, s);
}

void Rgb24ToYuv_convertRGB2YUV420(benchmark::State& state) {
  const Size s = sizeOf(state);
  const std::vector<std::uint8_t> rgb = randomBytes(3 * s.width * s.height);
  Planes p(s);
  for (auto _ : state) convertRGB2YUV420(s.width, s.height, rgb.data(), p.y16.data(), p.u16.data(), p.v16.data(), 0);
  countPixels(state, s);
}

// Encoder resize path: an input of twice the coded size in both directions.
void Rgb24ToYuv_rgb24_yuv420_resize(benchmark::State& state) {
  const Size s = sizeOf(state);
  setEncoderPicture(s, true);
  const std::vector<std::uint8_t> rgb = randomBytes(3 * 4 * s.width * s.height);
  Planes p(s);
  for (auto _ : state) rgb24_yuv420(rgb.data(), p.y16.data(), p.u16.data(), p.v16.data(), 2 * s.width, 2 * s.height, 0);
  countPixels(state, s);
}

// ---- YUV 4:2:0 -> RGB -------------------------------------------------------

void YuvToRgb24_transferByteYUV2RGBEx(benchmark::State& state) {
  const Size s = sizeOf(state);
  Planes p(s);
  std::vector<std::uint8_t> rgb(3 * s.width * s.height);
  for (auto _ : state) {
    transferByteYUV2RGBEx(static_cast<std::uint32_t>(s.width), 0, s.width, s.height, p.y8.data(), p.u8.data(),
                          p.v8.data(), rgb.data());
  }
  countPixels(state, s);
}

void YuvToRgb16(benchmark::State& state, int method) {
  const Size s = sizeOf(state);
  Planes p(s);
  std::vector<std::uint8_t> rgb(2 * s.width * s.height);
  setYUV2RGBMethod(method);
  for (auto _ : state) {
    mp4lib::pixels::yuvToRgb16(method, static_cast<std::uint32_t>(s.width), s.width, s.height, p.y8.data(),
                               p.u8.data(), p.v8.data(), rgb.data());
  }
  setYUV2RGBMethod(0);
  countPixels(state, s);
}
void YuvToRgb16_transferYUV2RGB16_direct(benchmark::State& state) { YuvToRgb16(state, 0); }
void YuvToRgb16_transferYUV2RGB16_diffused(benchmark::State& state) { YuvToRgb16(state, 1); }
void YuvToRgb16_transferYUV2RGB16_additive(benchmark::State& state) { YuvToRgb16(state, 2); }

// ---- Resizing and interpolation ----------------------------------------------

// Bilinear, from half the size in both directions (a QCIF movie on a CIF
// screen and so on).
void ResizeBilinear_resizeRGB24(benchmark::State& state) {
  const Size s = sizeOf(state);
  const std::vector<std::uint8_t> source = randomBytes(3 * s.width * s.height / 4);
  std::vector<std::uint8_t> destination(3 * s.width * s.height);
  for (auto _ : state) {
    mp4lib::pixels::resizeRGB24(source.data(), destination.data(), s.width / 2, s.height / 2, s.width, s.height, 1);
  }
  countPixels(state, s);
}

void ResizeBilinear_resizeRGB16(benchmark::State& state) {
  const Size s = sizeOf(state);
  const std::vector<std::uint8_t> source = randomBytes(2 * s.width * s.height / 4);
  std::vector<std::uint8_t> destination(2 * s.width * s.height);
  for (auto _ : state) {
    mp4lib::pixels::resizeRGB16(source.data(), destination.data(), s.width / 2, s.height / 2, s.width, s.height, 1);
  }
  countPixels(state, s);
}

void Interpolate2x_interpolateYUV(benchmark::State& state) {
  const Size s = sizeOf(state);
  const int pitch = s.width / 2 + 16;
  const std::vector<std::uint8_t> y = randomBytes(pitch * s.height / 2), u = randomBytes(pitch * s.height / 4),
                                  v = randomBytes(pitch * s.height / 4);
  std::vector<std::uint8_t> destination(s.width * s.height * 3 / 2);
  for (auto _ : state) interpolateYUV(y.data(), u.data(), v.data(), destination.data(), s.width, s.height, pitch);
  countPixels(state, s);
}

void Psnr_getYUV420PSNR(benchmark::State& state) {
  const Size s = sizeOf(state);
  const std::size_t n = s.width * s.height * 3 / 2;
  const std::vector<std::uint8_t> a8 = randomBytes(n), b8 = randomBytes(n + 1);
  std::vector<std::int16_t> a(a8.begin(), a8.end()), b(b8.begin() + 1, b8.end());
  for (auto _ : state) benchmark::DoNotOptimize(getYUV420PSNR(a.data(), b.data(), s.width, s.height));
  countPixels(state, s);
}

// ---- References ---------------------------------------------------------------

#if defined(MP4LIB_BENCH_LIBYUV)
struct BytePlanes {
  explicit BytePlanes(Size s) : y(s.width * s.height), u(s.width * s.height / 4), v(s.width * s.height / 4) {}
  std::vector<std::uint8_t> y, u, v;
};

void Rgb16ToYuv_libyuv_RGB565ToI420(benchmark::State& state) {
  const Size s = sizeOf(state);
  const std::vector<std::uint8_t> rgb = randomBytes(2 * s.width * s.height);
  BytePlanes p(s);
  for (auto _ : state) {
    libyuv::RGB565ToI420(rgb.data(), 2 * s.width, p.y.data(), s.width, p.u.data(), s.width / 2, p.v.data(),
                         s.width / 2, s.width, s.height);
  }
  countPixels(state, s);
}

void Rgb24ToYuv_libyuv_RGB24ToI420(benchmark::State& state) {
  const Size s = sizeOf(state);
  const std::vector<std::uint8_t> rgb = randomBytes(3 * s.width * s.height);
  BytePlanes p(s);
  for (auto _ : state) {
    libyuv::RGB24ToI420(rgb.data(), 3 * s.width, p.y.data(), s.width, p.u.data(), s.width / 2, p.v.data(),
                        s.width / 2, s.width, s.height);
  }
  countPixels(state, s);
}

void YuvToRgb24_libyuv_I420ToRGB24(benchmark::State& state) {
  const Size s = sizeOf(state);
  Planes p(s);
  std::vector<std::uint8_t> rgb(3 * s.width * s.height);
  for (auto _ : state) {
    libyuv::I420ToRGB24(p.y8.data(), s.width, p.u8.data(), s.width / 2, p.v8.data(), s.width / 2, rgb.data(),
                        3 * s.width, s.width, s.height);
  }
  countPixels(state, s);
}

void YuvToRgb16_libyuv_I420ToRGB565(benchmark::State& state) {
  const Size s = sizeOf(state);
  Planes p(s);
  std::vector<std::uint8_t> rgb(2 * s.width * s.height);
  for (auto _ : state) {
    libyuv::I420ToRGB565(p.y8.data(), s.width, p.u8.data(), s.width / 2, p.v8.data(), s.width / 2, rgb.data(),
                         2 * s.width, s.width, s.height);
  }
  countPixels(state, s);
}

void ResizeBilinear_libyuv_ARGBScale(benchmark::State& state) {
  const Size s = sizeOf(state);
  const std::vector<std::uint8_t> source = randomBytes(4 * s.width * s.height / 4);
  std::vector<std::uint8_t> destination(4 * s.width * s.height);
  for (auto _ : state) {
    libyuv::ARGBScale(source.data(), 4 * (s.width / 2), s.width / 2, s.height / 2, destination.data(), 4 * s.width,
                      s.width, s.height, libyuv::kFilterBilinear);
  }
  countPixels(state, s);
}

void Interpolate2x_libyuv_I420Scale(benchmark::State& state) {
  const Size s = sizeOf(state);
  const Size half{s.width / 2, s.height / 2};
  Planes p(half);
  BytePlanes out(s);
  for (auto _ : state) {
    libyuv::I420Scale(p.y8.data(), half.width, p.u8.data(), half.width / 2, p.v8.data(), half.width / 2, half.width,
                      half.height, out.y.data(), s.width, out.u.data(), s.width / 2, out.v.data(), s.width / 2,
                      s.width, s.height, libyuv::kFilterBilinear);
  }
  countPixels(state, s);
}

void Psnr_libyuv_I420Psnr(benchmark::State& state) {
  const Size s = sizeOf(state);
  Planes a(s), b(s);
  std::vector<std::uint8_t> other = randomBytes(s.width * s.height + 1);
  b.y8.assign(other.begin() + 1, other.end());
  for (auto _ : state) {
    benchmark::DoNotOptimize(libyuv::I420Psnr(a.y8.data(), s.width, a.u8.data(), s.width / 2, a.v8.data(), s.width / 2,
                                              b.y8.data(), s.width, b.u8.data(), s.width / 2, b.v8.data(), s.width / 2,
                                              s.width, s.height));
  }
  countPixels(state, s);
}
#endif

#if defined(MP4LIB_BENCH_SWSCALE)
void swscaleConvert(benchmark::State& state, AVPixelFormat from, int fromBytes, AVPixelFormat to, int flags,
                    bool toPlanar) {
  const Size s = sizeOf(state);
  const Size in = (flags & SWS_BILINEAR) != 0 ? Size{s.width / 2, s.height / 2} : s;
  SwsContext* context = sws_getContext(in.width, in.height, from, s.width, s.height, to, flags, nullptr, nullptr, nullptr);
  std::vector<std::uint8_t> source = randomBytes(static_cast<std::size_t>(in.width) * in.height * 4);
  std::vector<std::uint8_t> y(s.width * s.height * 4), u(s.width * s.height), v(s.width * s.height);
  std::uint8_t* sourcePlanes[4] = {source.data(), source.data() + in.width * in.height,
                                   source.data() + in.width * in.height * 5 / 4, nullptr};
  int sourcePitch[4] = {fromBytes == 0 ? in.width : in.width * fromBytes, in.width / 2, in.width / 2, 0};
  std::uint8_t* outPlanes[4] = {y.data(), u.data(), v.data(), nullptr};
  int outPitch[4] = {toPlanar ? s.width : s.width * 4, s.width / 2, s.width / 2, 0};
  for (auto _ : state) sws_scale(context, sourcePlanes, sourcePitch, 0, in.height, outPlanes, outPitch);
  sws_freeContext(context);
  countPixels(state, s);
}
void Rgb16ToYuv_swscale(benchmark::State& state) {
  swscaleConvert(state, AV_PIX_FMT_RGB565LE, 2, AV_PIX_FMT_YUV420P, SWS_POINT, true);
}
void Rgb24ToYuv_swscale(benchmark::State& state) {
  swscaleConvert(state, AV_PIX_FMT_BGR24, 3, AV_PIX_FMT_YUV420P, SWS_POINT, true);
}
void YuvToRgb24_swscale(benchmark::State& state) {
  swscaleConvert(state, AV_PIX_FMT_YUV420P, 0, AV_PIX_FMT_BGR24, SWS_POINT, false);
}
void YuvToRgb16_swscale(benchmark::State& state) {
  swscaleConvert(state, AV_PIX_FMT_YUV420P, 0, AV_PIX_FMT_RGB565LE, SWS_POINT, false);
}
void ResizeBilinear_swscale_BGR24(benchmark::State& state) {
  swscaleConvert(state, AV_PIX_FMT_BGR24, 3, AV_PIX_FMT_BGR24, SWS_BILINEAR, false);
}
#endif

}  // namespace

#define SIZES ->DenseRange(0, 2)->ArgName("size")

BENCHMARK(Rgb16ToYuv_rgb16_yuv420) SIZES;
BENCHMARK(Rgb16ToYuv_convertRGB162YUV420) SIZES;
BENCHMARK(Rgb24ToYuv_rgb24_yuv420) SIZES;
BENCHMARK(Rgb24ToYuv_convertRGB2YUV420) SIZES;
BENCHMARK(Rgb24ToYuv_rgb24_yuv420_resize) SIZES;
BENCHMARK(YuvToRgb24_transferByteYUV2RGBEx) SIZES;
BENCHMARK(YuvToRgb16_transferYUV2RGB16_direct) SIZES;
BENCHMARK(YuvToRgb16_transferYUV2RGB16_diffused) SIZES;
BENCHMARK(YuvToRgb16_transferYUV2RGB16_additive) SIZES;
BENCHMARK(ResizeBilinear_resizeRGB24) SIZES;
BENCHMARK(ResizeBilinear_resizeRGB16) SIZES;
BENCHMARK(Interpolate2x_interpolateYUV) SIZES;
BENCHMARK(Psnr_getYUV420PSNR) SIZES;
#if defined(MP4LIB_BENCH_LIBYUV)
BENCHMARK(Rgb16ToYuv_libyuv_RGB565ToI420) SIZES;
BENCHMARK(Rgb24ToYuv_libyuv_RGB24ToI420) SIZES;
BENCHMARK(YuvToRgb24_libyuv_I420ToRGB24) SIZES;
BENCHMARK(YuvToRgb16_libyuv_I420ToRGB565) SIZES;
BENCHMARK(ResizeBilinear_libyuv_ARGBScale) SIZES;
BENCHMARK(Interpolate2x_libyuv_I420Scale) SIZES;
BENCHMARK(Psnr_libyuv_I420Psnr) SIZES;
#endif
#if defined(MP4LIB_BENCH_SWSCALE)
BENCHMARK(Rgb16ToYuv_swscale) SIZES;
BENCHMARK(Rgb24ToYuv_swscale) SIZES;
BENCHMARK(YuvToRgb24_swscale) SIZES;
BENCHMARK(YuvToRgb16_swscale) SIZES;
BENCHMARK(ResizeBilinear_swscale_BGR24) SIZES;
#endif

BENCHMARK_MAIN();
