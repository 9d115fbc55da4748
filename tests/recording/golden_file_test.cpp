// Whole recorded files, compared byte for byte with files spelled out from
// the layout. Every duration, offset and size below is worked out by hand in
// the comments.
#include <gtest/gtest.h>

#include "devices/wave_block_list.h"
#include "mp4lib.h"
#include "support/expected_3gp.h"
#include "support/recording.h"
#include "support/library_state.h"

namespace mp4lib::test {
namespace {

namespace ex = expected;

Bytes pcmBlock(std::uint32_t length, std::uint8_t seed) {
  Bytes bytes(length);
  for (std::uint32_t i = 0; i < length; ++i) bytes[i] = static_cast<std::uint8_t>(seed * 31 + i);
  return bytes;
}

void queueCapturedBlock(const Bytes& pcm) {
  devices::WaveBlock* block = devices::newWaveBlock(static_cast<std::uint32_t>(pcm.size()));
  ASSERT_NE(block, nullptr);
  std::copy(pcm.begin(), pcm.end(), block->header.data);
  block->header.bytesRecorded = static_cast<std::uint32_t>(pcm.size());
  devices::appendWaveBlock(test::devices().blocks, block);
}

// Header words the test plug-in puts into the encoder context.
ex::VendorFields testVideoVendor(std::uint32_t flags, std::uint32_t videoType) {
  ex::VendorFields f;
  f.wordA = 0xA1;
  f.wordB = 0xB2;
  f.wordC = 0xC3;
  f.wordD = 0xD4;
  f.width = 176;
  f.height = 144;
  f.value = 0x01020304;
  f.flags = flags;
  f.frameRate = 15;
  f.videoType = videoType;
  return f;
}

class GoldenFile : public RecordingTest {};

// H.263, constant rate 15 fps, three frames of 100 bytes stored by
// encodeVideo. Samples at 104, 204, 304; "mdat" 8 + 300 = 308.
// Duration 3 x 1000 / 15 = 200 ms; time scale 15,000; media duration
// (int)(15.000001f x 200) = 3000; stts {3, 1000}.
// moov = 116 + trak(100 + 73 + 64 + stbl(117 + 24 + 32 + 28 + 36 + 20 = 257)) = 610.
TEST_F(GoldenFile, VideoOnlyConstantRate) {
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 0), "video0.3gp"), nullptr);
  Bytes out(1000);
  for (int k = 0; k < 3; ++k) {
    std::uint32_t size = 1000;
    ASSERT_EQ(encodeVideo(blankFrame(), 7, out.data(), &size, 1, 0xFFFFFFFF), 1);
  }
  ASSERT_EQ(closeEncodeFile(), 1);

  ex::Track video;
  video.id = 1;
  video.duration = 200;
  video.timeScale = 15000;
  video.mediaDuration = 3000;
  video.width = 176;
  video.height = 144;
  video.sampleEntry = ex::s263(176, 144);
  video.stts = {{3, 1000}};
  video.sizes = {100, 100, 100};
  video.offsets = {104, 204, 304};
  ByteBuilder file;
  file.append(ex::ftyp()).append(ex::vendorBox(testVideoVendor(4, MP4LIB_CODEC_TYPE_H263))).append(ex::mdatHeader(308));
  for (std::uint32_t k = 0; k < 3; ++k) file.append(ex::testVideoFrame(k, 100));
  file.append(ex::moov(200, 2, {video}));
  ASSERT_EQ(file.size(), 1014u);
  EXPECT_EQ(readFileBytes(pathOf("video0.3gp")), file.bytes());
}

// MPEG-4 visual with timestamps 0, 40, 40, 100 ms, 50-byte frames stored by
// writeEncodeData. Entries before close 40, 30, 30 (the second 40 shares the
// 60 ms gap); close adds 33: track duration 100 + 33 = 133 ms, media
// duration 133 x 15 = 1995, deltas 600, 450, 450, 495. Samples at 104, 154,
// 204, 254; "mdat" 208. moov = 116 + 100 + 73 + 64 + (151 + 48 + 36 + 32 + 56) = 676.
TEST_F(GoldenFile, VideoOnlyTimestamps) {
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_MPEG4V, 1), "video1.3gp"), nullptr);
  control(MP4LIB_CODEC_TYPE_MPEG4V)->videoOutputSize = 50;
  const std::uint32_t stamps[] = {0, 40, 40, 100};
  Bytes out(1000);
  for (std::uint32_t ts : stamps) {
    std::uint32_t size = 1000;
    ASSERT_EQ(encode_video(blankFrame(), 0, out.data(), &size, ts), 1u);
    ASSERT_EQ(writeEncodeData(out.data(), size, 0, ts), 1);
  }
  ASSERT_EQ(closeEncodeFile(), 1);

  ex::Track video;
  video.id = 1;
  video.duration = 133;
  video.timeScale = 15000;
  video.mediaDuration = 1995;
  video.width = 176;
  video.height = 144;
  video.sampleEntry = ex::mp4v(176, 144);
  video.stts = {{1, 600}, {1, 450}, {1, 450}, {1, 495}};
  video.sizes = {50, 50, 50, 50};
  video.offsets = {104, 154, 204, 254};
  ByteBuilder file;
  file.append(ex::ftyp())
      .append(ex::vendorBox(testVideoVendor(4, MP4LIB_CODEC_TYPE_MPEG4V)))
      .append(ex::mdatHeader(208));
  for (std::uint32_t k = 0; k < 4; ++k) file.append(ex::testVideoFrame(k, 50));
  file.append(ex::moov(133, 2, {video}));
  ASSERT_EQ(file.size(), 980u);
  EXPECT_EQ(readFileBytes(pathOf("video1.3gp")), file.bytes());
}

// AMR only: three captured 20 ms blocks of 320 PCM bytes, passed through by
// the test codec and stored by encodeWaveInAudio. Samples at 104, 424, 744;
// "mdat" 968. Time scale 8000, delta (int)(8.0f x 20) = 160, media duration
// 480, track duration 480 x 1000 / 8000 = 60 ms.
// moov = 116 + (100 + 73 + 60 + 36 + 69 + 24 + 32 + 28) = 538.
TEST_F(GoldenFile, AudioOnlyAmr) {
  ASSERT_NE(startRecording(audioParams(MP4LIB_CODEC_TYPE_AMR, 20), "amr.3gp"), nullptr);
  Bytes expectedMedia;
  for (std::uint8_t k = 0; k < 3; ++k) {
    const Bytes pcm = pcmBlock(320, k);
    queueCapturedBlock(pcm);
    expectedMedia.insert(expectedMedia.end(), pcm.begin(), pcm.end());
  }
  Bytes out(1000);
  for (int k = 0; k < 3; ++k) {
    std::uint32_t size = 1000;
    ASSERT_EQ(encodeWaveInAudio(out.data(), &size, 1), 1);
    EXPECT_EQ(size, 320u);
  }
  ASSERT_EQ(closeEncodeFile(), 1);

  ex::Track amr;
  amr.audio = true;
  amr.id = 1;
  amr.duration = 60;
  amr.timeScale = 8000;
  amr.mediaDuration = 480;
  amr.sampleEntry = ex::samr(8000, 1);
  amr.stts = {{3, 160}};
  amr.sizes = {320, 320, 320};
  amr.offsets = {104, 424, 744};
  ex::VendorFields vendor;
  vendor.value = 0x01020304;
  vendor.flags = 8;
  vendor.audioType = MP4LIB_CODEC_TYPE_AMR;
  vendor.audioBits = 16;
  vendor.audioRate = 8000;
  vendor.audioChannels = 1;
  ByteBuilder file;
  file.append(ex::ftyp()).append(ex::vendorBox(vendor)).append(ex::mdatHeader(968)).append(expectedMedia);
  const Bytes moov = ex::moov(60, 2, {amr});
  ASSERT_EQ(moov.size(), 538u);
  file.append(moov);
  EXPECT_EQ(readFileBytes(pathOf("amr.3gp")), file.bytes());
}

// H.263 with timestamps 0, 33, 66 and G.723 blocks of 30 ms, interleaved:
// v0 @104 (100), a0 @204 (24), v1 @228, v2 @328, a1 @428 (24); "mdat" 356.
// Video: 33, 33 and 33 at close -> 495 each at 15,000; duration 66 + 33 =
// 99 ms, media 1485. Audio: time scale 1000, {2, 30}, media 60, 60 ms.
// Movie 99 ms, next track id 3.
// moov = 116 + (100 + 73 + 64 + 117 + 40 + 32 + 28 + 56) + (100 + 73 + 60 + 52 + 24 + 28 + 24 + 36) = 1023.
TEST_F(GoldenFile, VideoAndAudio) {
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 1);
  addAudio(params, MP4LIB_CODEC_TYPE_G723, 30);
  ASSERT_NE(startRecording(params, "both.3gp"), nullptr);
  Bytes out(1000);
  const Bytes audio0 = pcmBlock(24, 5);
  const Bytes audio1 = pcmBlock(24, 6);
  std::uint32_t size = 1000;
  ASSERT_EQ(encode_video(blankFrame(), 0, out.data(), &size, 0), 1u);
  ASSERT_EQ(writeEncodeData(out.data(), size, 0, 0), 1);
  ASSERT_EQ(writeEncodeData(audio0.data(), 24, 1, 10), 1);
  for (std::uint32_t ts : {33u, 66u}) {
    size = 1000;
    ASSERT_EQ(encode_video(blankFrame(), 0, out.data(), &size, ts), 1u);
    ASSERT_EQ(writeEncodeData(out.data(), size, 0, ts), 1);
  }
  ASSERT_EQ(writeEncodeData(audio1.data(), 24, 1, 40), 1);
  ASSERT_EQ(closeEncodeFile(), 1);

  ex::Track video;
  video.id = 1;
  video.duration = 99;
  video.timeScale = 15000;
  video.mediaDuration = 1485;
  video.width = 176;
  video.height = 144;
  video.sampleEntry = ex::s263(176, 144);
  video.stts = {{1, 495}, {1, 495}, {1, 495}};
  video.sizes = {100, 100, 100};
  video.offsets = {104, 228, 328};
  ex::Track g723;
  g723.audio = true;
  g723.id = 2;
  g723.duration = 60;
  g723.timeScale = 1000;
  g723.mediaDuration = 60;
  g723.sampleEntry = ex::g723(1, 16, 8000);
  g723.stts = {{2, 30}};
  g723.sizes = {24, 24};
  g723.offsets = {204, 428};
  ex::VendorFields vendor = testVideoVendor(12, MP4LIB_CODEC_TYPE_H263);
  vendor.audioType = MP4LIB_CODEC_TYPE_G723;
  vendor.audioBits = 16;
  vendor.audioRate = 8000;
  vendor.audioChannels = 1;
  ByteBuilder file;
  file.append(ex::ftyp()).append(ex::vendorBox(vendor)).append(ex::mdatHeader(356));
  file.append(ex::testVideoFrame(0, 100)).append(audio0).append(ex::testVideoFrame(1, 100));
  file.append(ex::testVideoFrame(2, 100)).append(audio1);
  const Bytes moov = ex::moov(99, 3, {video, g723});
  ASSERT_EQ(moov.size(), 1023u);
  file.append(moov);
  EXPECT_EQ(readFileBytes(pathOf("both.3gp")), file.bytes());
}

// No samples at all: "moov" is the movie header alone and "mdat" is empty.
TEST_F(GoldenFile, EmptyMovie) {
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 1);
  addAudio(params, MP4LIB_CODEC_TYPE_AMR, 20);
  ASSERT_NE(startRecording(params, "empty.3gp"), nullptr);
  ASSERT_EQ(closeEncodeFile(), 1);
  ex::VendorFields vendor = testVideoVendor(12, MP4LIB_CODEC_TYPE_H263);
  vendor.audioType = MP4LIB_CODEC_TYPE_AMR;
  vendor.audioBits = 16;
  vendor.audioRate = 8000;
  vendor.audioChannels = 1;
  const Bytes moov = ex::moov(0, 2, {});
  ASSERT_EQ(moov.size(), 116u);
  const Bytes expected =
      ByteBuilder().append(ex::ftyp()).append(ex::vendorBox(vendor)).append(ex::mdatHeader(8)).append(moov).bytes();
  EXPECT_EQ(readFileBytes(pathOf("empty.3gp")), expected);
}

}  // namespace
}  // namespace mp4lib::test
