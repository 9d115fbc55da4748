// The encode entry points that convert the caller's picture first. What the
// converters compute is the pixel tests' business; here: the picture reaches
// the frame buffer, and the frame buffer reaches the plug-in.
#include <gtest/gtest.h>

#include <vector>

#include "recording/encode_path.h"
#include "support/library_state.h"
#include "container/recorded_movie.h"
#include "mp4lib.h"
#include "support/recording.h"
#include "support/test_plugin.h"

namespace mp4lib::test {
namespace {

constexpr int kWidth = 176;
constexpr int kHeight = 144;
constexpr int kLuma = kWidth * kHeight;
constexpr int kChroma = kLuma / 4;

std::vector<std::uint8_t> bytePlane(int size, int seed) {
  std::vector<std::uint8_t> plane(static_cast<std::size_t>(size));
  for (int i = 0; i < size; ++i) plane[i] = static_cast<std::uint8_t>(seed + i * 3);
  return plane;
}

class EncodeConverting : public RecordingTest {
 protected:
  void SetUp() override {
    RecordingTest::SetUp();
    context = startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 1), "conv.3gp");
    ASSERT_NE(context, nullptr);
    plugin = control(MP4LIB_CODEC_TYPE_H263);
  }
  std::vector<std::int16_t> frame() const {
    return std::vector<std::int16_t>(context->frameBuffer, context->frameBuffer + context->frameSampleCount);
  }
  // The last encode call the plug-in saw.
  const TestPluginCall& lastEncode() const {
    for (int i = plugin->callCount - 1; i >= 0; --i) {
      if (plugin->calls[i].entry == TP_ENCODE) return plugin->calls[i];
    }
    static const TestPluginCall none{};
    return none;
  }
  void expectFrameHanded(Mp4Word arg, std::uint32_t ts) const {
    const TestPluginCall& call = lastEncode();
    EXPECT_EQ(call.entry, TP_ENCODE);
    EXPECT_EQ(call.args[0], reinterpret_cast<Mp4Word>(context->frameBuffer));
    EXPECT_EQ(call.args[1], arg);
    EXPECT_EQ(call.args[4], ts);
  }
  EncoderContext* context = nullptr;
  TestPluginControl* plugin = nullptr;
  std::vector<std::uint8_t> out = std::vector<std::uint8_t>(100000);
  std::uint32_t size = 0;
};

TEST_F(EncodeConverting, BytePlanar420IsWidenedIntoTheFrame) {
  const auto y = bytePlane(kLuma, 1);
  const auto u = bytePlane(kChroma, 2);
  const auto v = bytePlane(kChroma, 3);
  std::vector<std::uint8_t> one(y);
  one.insert(one.end(), u.begin(), u.end());
  one.insert(one.end(), v.begin(), v.end());
  std::vector<std::int16_t> expected(one.begin(), one.end());

  ASSERT_EQ(encode_YUV420_byte_planner_video(one.data(), 7, out.data(), &size, 40), 1u);
  EXPECT_EQ(frame(), expected);
  expectFrameHanded(7, 40);

  std::fill(context->frameBuffer, context->frameBuffer + context->frameSampleCount, 0);
  ASSERT_EQ(encode_YUV420_byte_planner_video_s3(y.data(), u.data(), v.data(), 8, out.data(), &size, 80), 1u);
  EXPECT_EQ(frame(), expected);
  expectFrameHanded(8, 80);
  // Both frames were timed like encode_video's.
  ASSERT_EQ(test::recorder().movie.tracks[0].sttsCount, 1);
  EXPECT_EQ(test::recorder().movie.tracks[0].stts[0].delta, 40u);
}

TEST_F(EncodeConverting, ShortPlanar420IsCopied) {
  std::vector<std::int16_t> picture(static_cast<std::size_t>(kLuma + 2 * kChroma));
  for (std::size_t i = 0; i < picture.size(); ++i) picture[i] = static_cast<std::int16_t>(i % 251);
  ASSERT_EQ(encode_YUV420_short_planner_video(picture.data(), 0, out.data(), &size, 0), 1u);
  EXPECT_EQ(frame(), picture);
  expectFrameHanded(0, 0);
}

TEST_F(EncodeConverting, Yuv422InputsGoThroughTheirConverters) {
  const auto packed = bytePlane(2 * kLuma, 5);
  std::vector<std::int16_t> y(kLuma), u(kChroma), v(kChroma);
  yuv422_yuv420(packed.data(), y.data(), u.data(), v.data(), kWidth, kHeight);
  std::vector<std::int16_t> expected(y);
  expected.insert(expected.end(), u.begin(), u.end());
  expected.insert(expected.end(), v.begin(), v.end());
  ASSERT_EQ(encode_YUV422_video(packed.data(), 1, out.data(), &size, 0), 1u);
  EXPECT_EQ(frame(), expected);

  const auto planar = bytePlane(2 * kLuma, 9);  // Y, then U and V of width/2 x height
  byte_yuv422_yuv420_planner(planar.data(), y.data(), u.data(), v.data(), kWidth, kHeight);
  expected.assign(y.begin(), y.end());
  expected.insert(expected.end(), u.begin(), u.end());
  expected.insert(expected.end(), v.begin(), v.end());
  ASSERT_EQ(encode_YUV422_byte_planner_video(planar.data(), 2, out.data(), &size, 33), 1u);
  EXPECT_EQ(frame(), expected);
  std::fill(context->frameBuffer, context->frameBuffer + context->frameSampleCount, 0);
  ASSERT_EQ(encode_YUV422_byte_planner_video_s3(planar.data(), planar.data() + kLuma, planar.data() + kLuma + kLuma / 2,
                                                3, out.data(), &size, 66),
            1u);
  EXPECT_EQ(frame(), expected);
  expectFrameHanded(3, 66);
}

TEST_F(EncodeConverting, RgbPicturesGoThroughTheirConvertersWithTheOption) {
  const auto rgb24 = bytePlane(3 * kLuma, 11);
  std::vector<std::int16_t> y(kLuma), u(kChroma), v(kChroma);
  rgb24_yuv420(rgb24.data(), y.data(), u.data(), v.data(), kWidth, kHeight, 0);
  std::vector<std::int16_t> expected(y);
  expected.insert(expected.end(), u.begin(), u.end());
  expected.insert(expected.end(), v.begin(), v.end());
  ASSERT_EQ(encode_RGB24_video(rgb24.data(), 4, out.data(), &size, 10, 1), 1u);
  EXPECT_EQ(frame(), expected);
  expectFrameHanded(4, 10);

  std::vector<std::uint16_t> rgb16(kLuma);
  for (int i = 0; i < kLuma; ++i) rgb16[i] = static_cast<std::uint16_t>(i * 37);
  rgb16_yuv420(rgb16.data(), y.data(), u.data(), v.data(), kWidth, kHeight, 0);
  expected.assign(y.begin(), y.end());
  expected.insert(expected.end(), u.begin(), u.end());
  expected.insert(expected.end(), v.begin(), v.end());
  ASSERT_EQ(encode_RGB16_video(rgb16.data(), 5, out.data(), &size, 20, 1), 1u);
  EXPECT_EQ(frame(), expected);
  expectFrameHanded(5, 20);
}

TEST_F(EncodeConverting, OneStepRgbCallsStoreAndPassTheFrameSampleCount) {
  const auto rgb24 = bytePlane(3 * kLuma, 1);
  std::vector<std::uint16_t> rgb16(kLuma, 0xFFFF);
  size = static_cast<std::uint32_t>(out.size());
  ASSERT_EQ(encodeRGB24Video(rgb24.data(), 999, out.data(), &size, 1, 0, 0), 1);
  expectFrameHanded(38016, 0);  // 176 x 144 x 3 / 2, not the caller's 999
  size = static_cast<std::uint32_t>(out.size());
  ASSERT_EQ(encodeRGB16Video(rgb16.data(), 999, out.data(), &size, 1, 40, 0), 1);
  expectFrameHanded(38016, 40);
  for (int i = 0; i < kLuma; ++i) ASSERT_EQ(context->planeY[i], 250) << i;  // RGB16 white
  EXPECT_EQ(test::recorder().movie.tracks[0].sampleCount, 2);
}

TEST_F(EncodeConverting, NothingIsConvertedWithoutAPicture) {
  const auto plane = bytePlane(kLuma, 0);
  EXPECT_EQ(encode_RGB24_video(nullptr, 0, out.data(), &size, 0, 0), 0u);
  EXPECT_EQ(encode_RGB16_video(nullptr, 0, out.data(), &size, 0, 0), 0u);
  EXPECT_EQ(encode_YUV422_video(nullptr, 0, out.data(), &size, 0), 0u);
  EXPECT_EQ(encode_YUV422_byte_planner_video(nullptr, 0, out.data(), &size, 0), 0u);
  EXPECT_EQ(encode_YUV422_byte_planner_video_s3(plane.data(), nullptr, plane.data(), 0, out.data(), &size, 0), 0u);
  EXPECT_EQ(encode_YUV420_byte_planner_video(nullptr, 0, out.data(), &size, 0), 0u);
  EXPECT_EQ(encode_YUV420_byte_planner_video_s3(plane.data(), plane.data(), nullptr, 0, out.data(), &size, 0), 0u);
  EXPECT_EQ(encode_YUV420_short_planner_video(nullptr, 0, out.data(), &size, 0), 0u);
  EXPECT_EQ(encodeRGB24Video(nullptr, 0, out.data(), &size, 1, 0, 0), 0);
  EXPECT_EQ(encodeRGB16Video(nullptr, 0, out.data(), &size, 1, 0, 0), 0);
  EXPECT_EQ(countCalls(plugin, TP_ENCODE), 0);
}

class EncodeConvertingSetUp : public RecordingTest {};

TEST_F(EncodeConvertingSetUp, NothingIsConvertedWithoutAVideoEncoder) {
  const auto picture = bytePlane(3 * kLuma, 0);
  EXPECT_EQ(encode_RGB24_video(picture.data(), 0, nullptr, nullptr, 0, 0), 0u);
  ASSERT_NE(startRecording(audioParams(MP4LIB_CODEC_TYPE_AMR, 20), "audio.3gp"), nullptr);
  std::uint32_t size = 0;
  std::vector<std::uint8_t> out(1000);
  EXPECT_EQ(encode_RGB24_video(picture.data(), 0, out.data(), &size, 0, 0), 0u);
  EXPECT_EQ(encodeRGB24Video(picture.data(), 0, out.data(), &size, 1, 0, 0), 0);
}

TEST_F(EncodeConvertingSetUp, APictureLargerThanTheFrameIsRefused) {
  // A plug-in that codes 96 x 96 without asking for resampling would have
  // the converters write 176 x 144 samples into a smaller frame.
  control(MP4LIB_CODEC_TYPE_H263)->initEncodeHook = [](Mp4Word, Mp4Word b) -> Mp4Word {
    auto* context = reinterpret_cast<EncoderContext*>(b);
    context->width = 176;
    context->height = 144;
    context->codedWidth = 96;
    context->codedHeight = 96;
    context->frameRate = 15;
    return 1;
  };
  EncoderContext* context = startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 0), "small.3gp");
  ASSERT_NE(context, nullptr);
  const auto picture = bytePlane(3 * kLuma, 0);
  std::uint32_t size = 0;
  std::vector<std::uint8_t> out(100000);
  EXPECT_EQ(encode_RGB24_video(picture.data(), 0, out.data(), &size, 0, 0), 0u);
  EXPECT_EQ(encode_YUV420_byte_planner_video(picture.data(), 0, out.data(), &size, 0), 0u);
  EXPECT_EQ(countCalls(control(MP4LIB_CODEC_TYPE_H263), TP_ENCODE), 0);
}

TEST_F(EncodeConvertingSetUp, ResizingEncodersGetTheirCodedSize) {
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 0);
  params.codedWidth = 88;
  params.codedHeight = 72;
  EncoderContext* context = startRecording(params, "resize.3gp");
  ASSERT_NE(context, nullptr);
  ASSERT_EQ(context->conversionFlags & MP4LIB_CONVERT_RESIZE, MP4LIB_CONVERT_RESIZE);
  EXPECT_EQ(context->frameSampleCount, 9504u);  // 88 x 72 x 3 / 2
  std::vector<std::uint16_t> white(kLuma, 0xFFFF);
  std::uint32_t size = 0;
  std::vector<std::uint8_t> out(100000);
  ASSERT_EQ(encode_RGB16_video(white.data(), 0, out.data(), &size, 0, 0), 1u);
  for (int i = 0; i < 88 * 72; ++i) ASSERT_EQ(context->planeY[i], 250) << i;  // RGB16 white
}

}  // namespace
}  // namespace mp4lib::test
