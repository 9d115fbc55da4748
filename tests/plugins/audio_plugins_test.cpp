#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "plugins/real_plugins.h"

namespace mp4lib::test {
namespace {

class AudioPlugins : public RealPlugins {
 protected:
  // Encodes `pcm` in blocks of `blockBytes`; returns the concatenated frames.
  std::vector<std::uint8_t> encodeBlocks(CodecPlugin* codec, const std::vector<std::uint8_t>& pcm,
                                         std::size_t blockBytes, std::vector<std::uint32_t>* blockSizes = nullptr) {
    std::vector<std::uint8_t> coded;
    for (std::size_t at = 0; at + blockBytes <= pcm.size(); at += blockBytes) {
      std::vector<std::uint8_t> out(blockBytes);
      std::uint32_t size = static_cast<std::uint32_t>(out.size());
      EXPECT_EQ(codec->encode(word(pcm.data() + at), blockBytes, word(out.data()), word(&size), 0), 1u);
      coded.insert(coded.end(), out.begin(), out.begin() + size);
      if (blockSizes) blockSizes->push_back(size);
    }
    return coded;
  }

  // Decodes `coded` in pieces of `piece` bytes with the leftover protocol.
  std::vector<std::uint8_t> decodePieces(CodecPlugin* codec, const std::vector<std::uint8_t>& coded, std::size_t piece) {
    std::vector<std::uint8_t> pcm, carry;
    for (std::size_t at = 0; at < coded.size(); at += piece) {
      std::vector<std::uint8_t> input = carry;
      input.insert(input.end(), coded.begin() + static_cast<std::ptrdiff_t>(at),
                   coded.begin() + static_cast<std::ptrdiff_t>(std::min(coded.size(), at + piece)));
      std::vector<std::uint8_t> out(65536);
      std::uint32_t size = static_cast<std::uint32_t>(out.size()), leftover = 0;
      EXPECT_EQ(codec->decode(word(input.data()), input.size(), word(out.data()), word(&size), word(&leftover)), 1u);
      pcm.insert(pcm.end(), out.begin(), out.begin() + size);
      carry.assign(input.end() - leftover, input.end());
    }
    return pcm;
  }
};

TEST_F(AudioPlugins, AmrEncodesTwelvePointTwoKbitFrames) {
  CodecPlugin* amr = plugin(MP4LIB_CODEC_TYPE_AMR);
  ASSERT_NE(amr, nullptr);
  ASSERT_EQ(amr->initEncode(0, 0), 1u);
  const auto pcm = tone(440.0, 8000, 0, 8000);  // 1 s
  std::vector<std::uint32_t> sizes;
  const auto coded = encodeBlocks(amr, pcm, 960, &sizes);  // 60 ms blocks: three frames each
  amr->finalizeEncode(0);
  ASSERT_FALSE(sizes.empty());
  for (std::uint32_t size : sizes) EXPECT_EQ(size, 96u);
  for (std::size_t at = 0; at < coded.size(); at += 32) EXPECT_EQ(coded[at], 0x3C) << at;

  ASSERT_EQ(amr->initDecode(0, 0), 1u);
  const auto decoded = decodePieces(amr, coded, 50);  // pieces that cut frames
  amr->finalizeDecode(0);
  EXPECT_EQ(decoded.size(), coded.size() / 32 * 320);
  EXPECT_NEAR(zeroCrossingHertz(decoded, 8000, 1, 800), 440.0, 5.0);
}

TEST_F(AudioPlugins, AmrKeepsPartialBlocksForTheNextCall) {
  CodecPlugin* amr = plugin(MP4LIB_CODEC_TYPE_AMR);
  ASSERT_NE(amr, nullptr);
  ASSERT_EQ(amr->initEncode(0, 0), 1u);
  const auto pcm = tone(300.0, 8000, 0, 400);
  std::vector<std::uint8_t> out(640);
  std::uint32_t size = 0;
  EXPECT_EQ(amr->encode(word(pcm.data()), 200, word(out.data()), word(&size), 0), 1u);
  EXPECT_EQ(size, 0u);  // 100 samples: less than a frame
  size = 0;
  EXPECT_EQ(amr->encode(word(pcm.data() + 200), 200, word(out.data()), word(&size), 0), 1u);
  EXPECT_EQ(size, 32u);
  EXPECT_EQ(amr->initEncode(9, 0), 0u);  // no such mode
  amr->finalizeEncode(0);
}

TEST_F(AudioPlugins, G723EncodesSixPointThreeKbitFrames) {
  CodecPlugin* g723 = plugin(MP4LIB_CODEC_TYPE_G723);
  ASSERT_NE(g723, nullptr);
  ASSERT_EQ(g723->initEncode(0, 0), 1u);
  const auto pcm = tone(500.0, 8000, 0, 8160);
  std::vector<std::uint32_t> sizes;
  const auto coded = encodeBlocks(g723, pcm, 480, &sizes);  // 30 ms blocks
  g723->finalizeEncode(0);
  for (std::uint32_t size : sizes) EXPECT_EQ(size, 24u);

  ASSERT_EQ(g723->initDecode(0, 0), 1u);
  const auto decoded = decodePieces(g723, coded, 100);
  g723->finalizeDecode(0);
  EXPECT_EQ(decoded.size(), coded.size() / 24 * 480);
  EXPECT_NEAR(zeroCrossingHertz(decoded, 8000, 1, 800), 500.0, 8.0);
}

TEST_F(AudioPlugins, PcmDecodesByCopying) {
  CodecPlugin* pcm = plugin(MP4LIB_CODEC_TYPE_PCM);
  ASSERT_NE(pcm, nullptr);
  ASSERT_EQ(pcm->initDecode(0, 0), 1u);
  const std::uint8_t in[6] = {1, 2, 3, 4, 5, 6};
  std::uint8_t out[6] = {};
  std::uint32_t size = sizeof out;
  EXPECT_EQ(pcm->decode(word(in), 6, word(out), word(&size), 0), 1u);
  EXPECT_EQ(size, 6u);
  EXPECT_EQ(std::vector<std::uint8_t>(out, out + 6), std::vector<std::uint8_t>(in, in + 6));
  size = 4;
  EXPECT_EQ(pcm->decode(word(in), 6, word(out), word(&size), 0), 0u);  // does not fit
  std::uint32_t encoded = 6;
  EXPECT_EQ(pcm->encode(word(in), 6, word(out), word(&encoded), 0), 0u);  // decode only
}

TEST_F(AudioPlugins, AudioDecodersRefuseGarbageWithoutCrashing) {
  std::vector<std::uint8_t> garbage(2048);
  for (std::size_t i = 0; i < garbage.size(); ++i) garbage[i] = static_cast<std::uint8_t>(i * 91 + 7);
  for (std::uint32_t type : {MP4LIB_CODEC_TYPE_AMR, MP4LIB_CODEC_TYPE_G723, MP4LIB_CODEC_TYPE_AAC}) {
    CodecPlugin* codec = plugin(type);
    ASSERT_NE(codec, nullptr);
    std::vector<std::uint8_t> out(16);  // far too small for what garbage could decode to
    std::uint32_t size = static_cast<std::uint32_t>(out.size()), leftover = 0;
    EXPECT_EQ(codec->decode(word(garbage.data()), garbage.size(), word(out.data()), word(&size), word(&leftover)), 0u)
        << "not initialised";
    ASSERT_EQ(codec->initDecode(0, 0), 1u);
    codec->decode(word(garbage.data()), garbage.size(), word(out.data()), word(&size), word(&leftover));
    EXPECT_LE(size, 16u);
    codec->finalizeDecode(0);
  }
}

// AAC made by ffmpeg (ADTS), decoded as ADTS and as raw access units with
// the configuration the container would give.
class AacPlugin : public AudioPlugins {
 protected:
  static std::vector<std::uint8_t> makeAdts() {
    const PluginFolder scratch;  // a folder of its own: tests run in parallel
    const auto path = scratch.path() / "tone.aac";
    const std::string command = "ffmpeg -v error -y -f lavfi -i sine=frequency=1000:duration=1:sample_rate=44100 "
                                "-c:a aac -b:a 96k -f adts " + path.string();
    if (std::system(command.c_str()) != 0) return {};
    std::ifstream file(path, std::ios::binary);
    std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    return bytes;
  }
  void SetUp() override {
    if (std::system("ffmpeg -version > /dev/null 2>&1") != 0) GTEST_SKIP() << "ffmpeg is not installed";
    adts = makeAdts();
    ASSERT_GT(adts.size(), 1000u);
  }
  std::vector<std::uint8_t> adts;
};

TEST_F(AacPlugin, DecodesAdtsInSlicesWithCarry) {
  CodecPlugin* aac = plugin(MP4LIB_CODEC_TYPE_AAC);
  ASSERT_NE(aac, nullptr);
  ASSERT_EQ(aac->initDecode(0, 0), 1u);
  const auto decoded = decodePieces(aac, adts, 2048);
  aac->finalizeDecode(0);
  EXPECT_GT(decoded.size(), 44100u * 2 * 9 / 10);
  EXPECT_NEAR(zeroCrossingHertz(decoded, 44100, 1, 4096), 1000.0, 10.0);
}

TEST_F(AacPlugin, DecodesRawAccessUnitsWithConfiguration) {
  // AudioSpecificConfig from the first ADTS header: object type, rate index,
  // channels.
  const int objectType = ((adts[2] >> 6) & 3) + 1;
  const int rateIndex = (adts[2] >> 2) & 0xF;
  const int channels = ((adts[2] & 1) << 2) | (adts[3] >> 6);
  const std::uint8_t config[2] = {static_cast<std::uint8_t>((objectType << 3) | (rateIndex >> 1)),
                                  static_cast<std::uint8_t>(((rateIndex & 1) << 7) | (channels << 3))};
  const AudioDecoderConfig audio{1, config, 2};
  CodecPlugin* aac = plugin(MP4LIB_CODEC_TYPE_AAC);
  ASSERT_NE(aac, nullptr);
  ASSERT_EQ(aac->initDecode(word(&audio), 0), 1u);
  std::vector<std::uint8_t> pcm;
  for (std::size_t at = 0; at + 7 <= adts.size();) {
    const std::size_t frame = ((adts[at + 3] & 3u) << 11) | (adts[at + 4] << 3) | (adts[at + 5] >> 5);
    ASSERT_GE(frame, 7u);
    std::vector<std::uint8_t> out(65536);
    std::uint32_t size = 0, leftover = 99;
    EXPECT_EQ(aac->decode(word(adts.data() + at + 7), frame - 7, word(out.data()), word(&size), word(&leftover)), 1u);
    EXPECT_EQ(leftover, 0u);
    pcm.insert(pcm.end(), out.begin(), out.begin() + size);
    at += frame;
  }
  aac->finalizeDecode(0);
  EXPECT_NEAR(zeroCrossingHertz(pcm, 44100, 1, 4096), 1000.0, 10.0);
}

}  // namespace
}  // namespace mp4lib::test
