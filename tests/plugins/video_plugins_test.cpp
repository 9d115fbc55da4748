#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "codecs/plugin_calls.h"
#include "plugins/real_plugins.h"
#include "support/library_state.h"

namespace mp4lib::test {
namespace {

// A moving test pattern in short planar YUV 4:2:0: diagonal luma ramp that
// shifts 2 pixels per frame, smooth chroma gradients.
std::vector<std::int16_t> pattern(std::uint32_t width, std::uint32_t height, int frame) {
  std::vector<std::int16_t> yuv(static_cast<std::size_t>(width) * height * 3 / 2);
  std::int16_t* y = yuv.data();
  std::int16_t* u = y + width * height;
  std::int16_t* v = u + (width / 2) * (height / 2);
  for (std::uint32_t r = 0; r < height; ++r) {
    for (std::uint32_t c = 0; c < width; ++c) y[r * width + c] = static_cast<std::int16_t>((c + r + 2 * frame) % 220 + 16);
  }
  for (std::uint32_t r = 0; r < height / 2; ++r) {
    for (std::uint32_t c = 0; c < width / 2; ++c) {
      u[r * (width / 2) + c] = static_cast<std::int16_t>(64 + (c * 128) / (width / 2));
      v[r * (width / 2) + c] = static_cast<std::int16_t>(64 + (r * 128) / (height / 2));
    }
  }
  return yuv;
}

double psnr(const std::vector<std::int16_t>& source, const std::uint8_t* y, const std::uint8_t* u,
            const std::uint8_t* v, std::uint32_t width, std::uint32_t height) {
  const std::size_t luma = static_cast<std::size_t>(width) * height, chroma = luma / 4;
  double sum = 0;
  for (std::size_t i = 0; i < luma; ++i) sum += std::pow(source[i] - y[i], 2);
  for (std::size_t i = 0; i < chroma; ++i) sum += std::pow(source[luma + i] - u[i], 2);
  for (std::size_t i = 0; i < chroma; ++i) sum += std::pow(source[luma + chroma + i] - v[i], 2);
  const double mse = sum / static_cast<double>(luma + 2 * chroma);
  return mse == 0 ? 99.0 : 10.0 * std::log10(255.0 * 255.0 / mse);
}

EncoderParams videoParams(std::uint32_t width, std::uint32_t height) {
  EncoderParams params{};
  params.width = width;
  params.height = height;
  params.frameRate = 15.0;
  params.timingMode = 1;
  params.flags = MP4LIB_RECORD_VIDEO;
  return params;
}

struct Planes {
  std::uint8_t* y = nullptr;
  std::uint8_t* u = nullptr;
  std::uint8_t* v = nullptr;
  std::uint32_t pitch = 0;
  std::uint32_t chromaPitch = 0;
};

Planes fetch(Mp4PluginPlanesFn get) {
  Planes p;
  EXPECT_EQ(get(word(&p.y), word(&p.u), word(&p.v), word(&p.pitch), word(&p.chromaPitch)), 1u);
  return p;
}

class VideoPlugins : public RealPlugins {
 protected:
  // Encodes `frames` frames, returning each compressed frame.
  std::vector<std::vector<std::uint8_t>> encodeFrames(CodecPlugin* codec, const EncoderContext& context, int frames) {
    std::vector<std::vector<std::uint8_t>> out;
    for (int f = 0; f < frames; ++f) {
      const auto frame = pattern(context.codedWidth, context.codedHeight, f);
      std::vector<std::uint8_t> bytes(context.codedWidth * context.codedHeight * 3);
      std::uint32_t size = static_cast<std::uint32_t>(bytes.size());
      EXPECT_EQ(codec->encode(word(frame.data()), 0, word(bytes.data()), word(&size), static_cast<Mp4Word>(f * 66)), 1u);
      bytes.resize(size);
      out.push_back(bytes);
    }
    return out;
  }

  void roundTrip(std::uint32_t type, std::uint32_t width, std::uint32_t height) {
    CodecPlugin* codec = plugin(type);
    ASSERT_NE(codec, nullptr);
    EncoderParams params = videoParams(width, height);
    EncoderContext context{};
    ASSERT_EQ(codec->initEncode(word(&params), word(&context)), 1u);
    EXPECT_EQ(context.codedWidth, width);
    EXPECT_EQ(context.codedHeight, height);
    EXPECT_EQ(context.conversionFlags, 0u);
    EXPECT_EQ(context.frameRate, 15.0);
    EXPECT_EQ(context.timingMode, 1u);

    const auto frames = encodeFrames(codec, context, 12);
    // The reconstruction of the last frame, for comparison with the decoder.
    const Planes recon = fetch(codec->getReconYUV);
    std::vector<std::uint8_t> reconCopy(recon.y, recon.y + width * height * 3 / 2);
    codec->finalizeEncode(0);

    MovieParams movie{};
    movie.decodedWidth = width;
    movie.decodedHeight = height;
    std::uint8_t vendor[64] = {'W', 'M', 'V', 'H'};
    ASSERT_EQ(codec->initDecode(word(vendor), word(&movie)), 1u);
    test::plugins().active.videoDecoder = codec;
    for (int f = 0; f < 12; ++f) {
      const auto& bytes = frames[static_cast<std::size_t>(f)];
      ASSERT_FALSE(bytes.empty());
      const Mp4Word header = codecs::decodeVideoFrameHeader(test::plugins().active.videoDecoder, bytes.data(), static_cast<std::uint32_t>(bytes.size()), 0);
      EXPECT_EQ(header, static_cast<Mp4Word>(f == 0 ? MP4LIB_FRAME_KEY : MP4LIB_FRAME_INTER)) << "frame " << f;
      std::uint32_t pictureSize = 0;
      std::vector<std::uint8_t> picture(width * height * 3 / 2, 0xEE);
      EXPECT_EQ(codecs::decodeVideoUnits(test::plugins().active.videoDecoder, bytes.data(), static_cast<std::uint32_t>(bytes.size()), word(picture.data()),
                                         word(&pictureSize)),
                1u);
      EXPECT_EQ(pictureSize, width * height * 3 / 2);
      const Planes decoded = fetch(codec->getDecodeYUV);
      EXPECT_EQ(std::memcmp(picture.data(), decoded.y, picture.size()), 0) << "the picture buffer holds the picture";
      EXPECT_EQ(decoded.pitch, width);
      EXPECT_EQ(decoded.chromaPitch, width / 2);
      EXPECT_GE(psnr(pattern(width, height, f), decoded.y, decoded.u, decoded.v, width, height), 30.0) << "frame " << f;
      if (f == 11) {
        EXPECT_EQ(std::memcmp(decoded.y, reconCopy.data(), reconCopy.size()), 0);
      }
    }
    test::plugins().active.videoDecoder = nullptr;
    codec->finalizeDecode(0);
  }
};

TEST_F(VideoPlugins, H263RoundTripAtQcif) { roundTrip(MP4LIB_CODEC_TYPE_H263, 176, 144); }

TEST_F(VideoPlugins, Mpeg4RoundTripUnitByUnit) { roundTrip(MP4LIB_CODEC_TYPE_MPEG4V, 320, 240); }

TEST_F(VideoPlugins, H263ResizesOtherPictureSizes) {
  CodecPlugin* codec = plugin(MP4LIB_CODEC_TYPE_H263);
  ASSERT_NE(codec, nullptr);
  EncoderParams params = videoParams(160, 120);
  EncoderContext context{};
  ASSERT_EQ(codec->initEncode(word(&params), word(&context)), 1u);
  EXPECT_EQ(context.width, 160u);
  EXPECT_EQ(context.height, 120u);
  EXPECT_EQ(context.codedWidth, 176u);
  EXPECT_EQ(context.codedHeight, 144u);
  EXPECT_EQ(context.conversionFlags, static_cast<std::uint32_t>(MP4LIB_CONVERT_RESIZE));
  params = videoParams(640, 480);
  params.codedWidth = 352;
  params.codedHeight = 288;
  ASSERT_EQ(codec->initEncode(word(&params), word(&context)), 1u);
  EXPECT_EQ(context.codedWidth, 352u);
  EXPECT_EQ(context.codedHeight, 288u);
  codec->finalizeEncode(0);
}

TEST_F(VideoPlugins, RefusesBadParameters) {
  for (std::uint32_t type : {MP4LIB_CODEC_TYPE_H263, MP4LIB_CODEC_TYPE_MPEG4V}) {
    CodecPlugin* codec = plugin(type);
    ASSERT_NE(codec, nullptr);
    EncoderContext context{};
    EncoderParams params = videoParams(0, 144);
    EXPECT_EQ(codec->initEncode(word(&params), word(&context)), 0u);
    params = videoParams(176, 144);
    params.frameRate = 0;
    EXPECT_EQ(codec->initEncode(word(&params), word(&context)), 0u);
    EXPECT_EQ(codec->initEncode(0, word(&context)), 0u);
    // Not initialised: encoding fails.
    std::int16_t frame[4] = {};
    std::uint8_t out[16];
    std::uint32_t size = sizeof out;
    EXPECT_EQ(codec->encode(word(frame), 0, word(out), word(&size), 0), 0u);
  }
}

TEST_F(VideoPlugins, OutputThatDoesNotFitFails) {
  CodecPlugin* codec = plugin(MP4LIB_CODEC_TYPE_H263);
  ASSERT_NE(codec, nullptr);
  EncoderParams params = videoParams(176, 144);
  EncoderContext context{};
  ASSERT_EQ(codec->initEncode(word(&params), word(&context)), 1u);
  const auto frame = pattern(176, 144, 0);
  std::uint8_t out[8];
  std::uint32_t size = sizeof out;
  EXPECT_EQ(codec->encode(word(frame.data()), 0, word(out), word(&size), 0), 0u);
  codec->finalizeEncode(0);
}

TEST_F(VideoPlugins, GarbageDoesNotDecode) {
  for (std::uint32_t type : {MP4LIB_CODEC_TYPE_H263, MP4LIB_CODEC_TYPE_MPEG4V}) {
    CodecPlugin* codec = plugin(type);
    ASSERT_NE(codec, nullptr);
    MovieParams movie{};
    std::uint8_t vendor[64] = {};
    ASSERT_EQ(codec->initDecode(word(vendor), word(&movie)), 1u);
    std::vector<std::uint8_t> garbage(3000);
    for (std::size_t i = 0; i < garbage.size(); ++i) garbage[i] = static_cast<std::uint8_t>(i * 37 + 11);
    std::uint32_t size = 0;
    codec->decode(word(garbage.data()), garbage.size(), 0, word(&size), 0xB6);  // must not crash
    EXPECT_EQ(codec->decodeFrameHeader(word(garbage.data()), 3, 0), static_cast<Mp4Word>(MP4LIB_FRAME_NONE));
    EXPECT_EQ(codec->decode(0, 10, 0, word(&size), 0), 0u);
    codec->finalizeDecode(0);
  }
}

TEST_F(VideoPlugins, PictureOfAnotherSizeIsNotWrittenToTheCallersBuffer) {
  CodecPlugin* codec = plugin(MP4LIB_CODEC_TYPE_H263);
  ASSERT_NE(codec, nullptr);
  EncoderParams params = videoParams(352, 288);
  EncoderContext context{};
  ASSERT_EQ(codec->initEncode(word(&params), word(&context)), 1u);
  const auto frames = encodeFrames(codec, context, 1);
  codec->finalizeEncode(0);
  MovieParams movie{};
  movie.decodedWidth = 176;  // the file claims QCIF; the stream is CIF
  movie.decodedHeight = 144;
  ASSERT_EQ(codec->initDecode(0, word(&movie)), 1u);
  std::vector<std::uint8_t> picture(176 * 144 * 3 / 2);
  std::uint32_t size = 0;
  EXPECT_EQ(codec->decode(word(frames[0].data()), frames[0].size(), word(picture.data()), word(&size), 0), 0u);
  EXPECT_EQ(codec->decode(word(frames[0].data()), frames[0].size(), 0, word(&size), 0), 1u);
  EXPECT_EQ(size, 352u * 288u * 3u / 2u);
  codec->finalizeDecode(0);
}

TEST_F(VideoPlugins, NoPictureBeforeDecoding) {
  CodecPlugin* codec = plugin(MP4LIB_CODEC_TYPE_H263);
  ASSERT_NE(codec, nullptr);
  MovieParams movie{};
  ASSERT_EQ(codec->initDecode(0, word(&movie)), 1u);
  std::uint8_t* y = nullptr;
  std::uint32_t pitch = 0;
  EXPECT_EQ(codec->getDecodeYUV(word(&y), 0, 0, word(&pitch), 0), 0u);
  codec->finalizeDecode(0);
}

TEST_F(VideoPlugins, Mpeg4StreamHeaderConfiguresTheDecoder) {
  // Encode, then hand the decoder the configuration (VOL) separately from
  // the pictures, as a file with decoder configuration in "esds" does.
  CodecPlugin* codec = plugin(MP4LIB_CODEC_TYPE_MPEG4V);
  ASSERT_NE(codec, nullptr);
  EncoderParams params = videoParams(176, 144);
  EncoderContext context{};
  ASSERT_EQ(codec->initEncode(word(&params), word(&context)), 1u);
  const auto frames = encodeFrames(codec, context, 2);
  codec->finalizeEncode(0);
  const auto& first = frames[0];
  std::size_t vop = 0;
  for (std::size_t i = 0; i + 3 < first.size(); ++i) {
    if (first[i] == 0 && first[i + 1] == 0 && first[i + 2] == 1 && first[i + 3] == 0xB6) {
      vop = i;
      break;
    }
  }
  ASSERT_GT(vop, 0u) << "the first frame carries its configuration in-band";

  MovieParams movie{};
  ASSERT_EQ(codec->initDecode(0, word(&movie)), 1u);
  EXPECT_EQ(codec->decodeFrameHeader(word(first.data()), vop, 0), static_cast<Mp4Word>(MP4LIB_FRAME_NONE));
  std::uint32_t size = 0;
  EXPECT_EQ(codec->decode(word(first.data() + vop), first.size() - vop, 0, word(&size), 0xB6), 1u);
  EXPECT_EQ(size, 176u * 144u * 3u / 2u);
  const Planes decoded = fetch(codec->getDecodeYUV);
  EXPECT_GE(psnr(pattern(176, 144, 0), decoded.y, decoded.u, decoded.v, 176, 144), 30.0);
  codec->finalizeDecode(0);
}

}  // namespace
}  // namespace mp4lib::test
