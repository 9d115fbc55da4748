// A test-framework-free check of the pixel converters against the plain
// reference, for targets where GoogleTest is not built: 32-bit ARM under
// qemu-arm and Windows under wine. Not part of the CMake build; from the
// repository root:
//
//   arm-linux-gnueabihf-g++ -std=c++17 -O2 -ffp-contract=off -Iinclude -Isrc -Itests
//     tests/pixels/cross_target_check.cpp src/pixels/*.cpp src/frame/encoder_context.cpp
//     tests/pixels/pixel_reference.cpp -static -o check_arm && qemu-arm ./check_arm
//   x86_64-w64-mingw32-g++ (same arguments, plus -DMP4LIB_STATIC) -o check.exe && wine ./check.exe
//
// Prints "OK: 0 failures" and exits 0 when every output matches.
#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

#include "frame/encoder_context.h"
#include "mp4lib.h"
#include "pixels/pixel_reference.h"
#include "pixels/yuv_to_rgb.h"
using namespace mp4lib::test;
static int failures = 0;
#define CHECK(c, ...)                              \
  do {                                             \
    if (!(c)) {                                    \
      ++failures;                                  \
      if (failures < 10) std::printf(__VA_ARGS__); \
    }                                              \
  } while (0)
int main() {
  std::mt19937 gen(5);
  // all RGB16 words, both converters
  std::vector<uint16_t> words(65536);
  for (unsigned p = 0; p < 65536; ++p) words[p] = p;
  EncoderContext& ctx = mp4lib::frame::encoderContext();
  ctx.codedWidth = 256;
  ctx.codedHeight = 256;
  ctx.conversionFlags = 0;
  std::vector<int16_t> y(65536), u(16384), v(16384), ry(65536), ru(16384), rv(16384);
  rgb16_yuv420(words.data(), y.data(), u.data(), v.data(), 256, 256, 0);
  plainEncoderRgb16(words.data(), 256, 256, 256, 256, false, ry.data(), ru.data(), rv.data());
  CHECK(y == ry && u == ru && v == rv, "rgb16 encoder\n");
  convertRGB162YUV420(256, 256, words.data(), y.data(), u.data(), v.data(), 0);
  plainPictureRgb16(256, 256, words.data(), ry.data(), ru.data(), rv.data(), false);
  CHECK(y == ry && u == ru && v == rv, "rgb16 picture\n");
  // all RGB24 colours
  std::vector<uint8_t> pic(3 * 65536);
  for (int red = 0; red < 256; ++red) {
    for (int p = 0; p < 65536; ++p) {
      pic[3 * p] = p & 255;
      pic[3 * p + 1] = p >> 8;
      pic[3 * p + 2] = red;
    }
    convertRGB2YUV420(256, 256, pic.data(), y.data(), u.data(), v.data(), red & 1);
    plainPictureRgb24(256, 256, pic.data(), ry.data(), ru.data(), rv.data(), red & 1);
    CHECK(y == ry && u == ru && v == rv, "rgb24 picture red %d\n", red);
    rgb24_yuv420(pic.data(), y.data(), u.data(), v.data(), 256, 256, 0);
    plainEncoderRgb24(pic.data(), 256, 256, 256, 256, false, ry.data(), ru.data(), rv.data());
    CHECK(y == ry && u == ru && v == rv, "rgb24 encoder red %d\n", red);
  }
  // encoder resize path
  {
    std::vector<uint8_t> big(3 * 400 * 300);
    for (auto& b : big) b = gen() >> 24;
    std::vector<uint16_t> big16(400 * 300);
    for (auto& w : big16) w = gen() >> 16;
    ctx.codedWidth = 176;
    ctx.codedHeight = 144;
    ctx.conversionFlags = 1;
    std::vector<int16_t> a(176 * 144 * 3 / 2), b(a.size());
    rgb24_yuv420(big.data(), a.data(), a.data() + 176 * 144, a.data() + 176 * 144 * 5 / 4, 400, 300, 0);
    plainEncoderRgb24(big.data(), 400, 300, 176, 144, true, b.data(), b.data() + 176 * 144,
                      b.data() + 176 * 144 * 5 / 4);
    CHECK(a == b, "rgb24 resize\n");
    rgb16_yuv420(big16.data(), a.data(), a.data() + 176 * 144, a.data() + 176 * 144 * 5 / 4, 400, 300, 0);
    plainEncoderRgb16(big16.data(), 400, 300, 176, 144, true, b.data(), b.data() + 176 * 144,
                      b.data() + 176 * 144 * 5 / 4);
    CHECK(a == b, "rgb16 resize\n");
    ctx.conversionFlags = 0;
  }
  // YUV -> RGB, all methods, random 100x30 picture with pitch 104
  std::vector<uint8_t> py(104 * 30), pu(52 * 15), pv(52 * 15);
  for (auto& b : py) b = gen() >> 24;
  for (auto& b : pu) b = gen() >> 24;
  for (auto& b : pv) b = gen() >> 24;
  for (int m = -1; m < 3; ++m) {
    int bytes = m < 0 ? 3 : 2;
    std::vector<uint8_t> got(bytes * 100 * 30), want(got.size());
    if (m < 0)
      transferByteYUV2RGBEx(104, 0, 100, 30, py.data(), pu.data(), pv.data(), got.data());
    else {
      setYUV2RGBMethod(m);
      mp4lib::pixels::transferYUV2RGB16(104, 0, 100, 30, py.data(), pu.data(), pv.data(), got.data());
    }
    plainYuvToRgb(m, 104, 100, 30, py.data(), pu.data(), pv.data(), want.data());
    CHECK(got == want, "yuv to rgb method %d\n", m);
  }
  // resize
  std::vector<uint8_t> src(3 * 33 * 21);
  for (auto& b : src) b = gen() >> 24;
  for (int bytes : {2, 3}) {
    std::vector<uint8_t> got(bytes * 50 * 40), want(got.size());
    (bytes == 3 ? mp4lib::pixels::resizeRGB24 : mp4lib::pixels::resizeRGB16)(src.data(), got.data(), 33, 21, 50, 40, 1);
    plainResize(bytes, src.data(), want.data(), 33, 21, 50, 40, 1);
    CHECK(got == want, "resize %d\n", bytes);
  }
  std::printf("%s: %d failures\n", failures ? "FAIL" : "OK", failures);
  return failures != 0;
}
