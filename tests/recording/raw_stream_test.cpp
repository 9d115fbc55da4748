// Raw stream recording (container mode 1): nothing selects it but the
// application writing the mode into the encoder context, so the tests do
// just that after createEncodeFile.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "devices/wave_block_list.h"
#include "container/recorded_movie.h"
#include "mp4lib.h"
#include "support/expected_3gp.h"
#include "support/file_bytes.h"
#include "support/recording.h"
#include "support/library_state.h"

namespace mp4lib::test {
namespace {

// The four host-order bytes of a 32-bit value, as the raw framing holds it.
Bytes hostOrder(std::uint32_t value) {
  Bytes bytes(4);
  std::memcpy(bytes.data(), &value, 4);
  return bytes;
}

class RawStream : public RecordingTest {
 protected:
  EncoderContext* startRaw(EncoderParams params, const std::string& name) {
    EncoderContext* context = nullptr;
    if (initEncoder(&params, &context) != 1) return nullptr;
    if (createEncodeFile(pathOf(name).wstring().c_str()) != 1) return nullptr;
    context->containerMode = 1;
    return context;
  }
  static expected::VendorFields rawVendor() {
    expected::VendorFields f;
    f.version = 0x00010004;
    f.wordA = 0xA1;
    f.wordB = 0xB2;
    f.wordC = 0xC3;
    f.wordD = 0xD4;
    f.width = 176;
    f.height = 144;
    f.value = 77;
    f.flags = 12;
    f.frameRate = 15;
    f.videoType = MP4LIB_CODEC_TYPE_H263;
    f.audioType = MP4LIB_CODEC_TYPE_AMR;
    f.audioBits = 16;
    f.audioRate = 8000;
    f.audioChannels = 1;
    return f;
  }
};

TEST_F(RawStream, HeaderVideoAndFramedAudioGoStraightToTheFile) {
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 1);
  addAudio(params, MP4LIB_CODEC_TYPE_AMR, 20);
  EncoderContext* context = startRaw(params, "raw.qzv");
  ASSERT_NE(context, nullptr);
  ASSERT_EQ(writeVideoFileHeader(77, 0), 1);
  EXPECT_EQ(getEncodeFilePos(), 64);  // no box header, no "ftyp"
  const Bytes video = {1, 2, 3, 4, 5};
  const Bytes audio = {9, 8, 7};
  ASSERT_EQ(writeEncodeData(video.data(), 5, 0, 1000), 1);
  EXPECT_EQ(context->encodedBytes, 5u);
  ASSERT_EQ(writeEncodeData(audio.data(), 3, 1, 0x01020304), 1);
  EXPECT_EQ(context->encodedBytes, 5u + 3u + 12u);
  // The one-step audio call frames with the clock and counts the data only.
  testClockMs = 4321;
  devices::WaveBlock* block = devices::newWaveBlock(2);
  block->header.data[0] = 0x55;
  block->header.data[1] = 0x66;
  block->header.bytesRecorded = 2;
  devices::appendWaveBlock(test::devices().blocks, block);
  std::vector<std::uint8_t> out(100);
  std::uint32_t size = 100;
  ASSERT_EQ(encodeWaveInAudio(out.data(), &size, 1), 1);
  EXPECT_EQ(context->encodedBytes, 5u + 15u + 2u);
  size = 100;
  ASSERT_EQ(encodeVideo(blankFrame(), 0, out.data(), &size, 1, 1040), 1);
  ASSERT_EQ(closeEncodeFile(), 1);
  EXPECT_EQ(context->outputFile, nullptr);

  ByteBuilder file;
  file.append(expected::vendorPayload(rawVendor()));
  file.append(video);
  file.u8(0).u8(0).u8(1).u8(0xB8).append(hostOrder(0x01020304)).append(hostOrder(3)).append(audio);
  file.u8(0).u8(0).u8(1).u8(0xB8).append(hostOrder(4321)).append(hostOrder(2)).u8(0x55).u8(0x66);
  file.append(expected::testVideoFrame(0, 100));
  EXPECT_EQ(readFileBytes(pathOf("raw.qzv")), file.bytes());
  // No sample tables are kept for a raw stream.
  EXPECT_EQ(test::recorder().movie.tracks[0].sampleCount, 0);
  EXPECT_EQ(test::recorder().movie.tracks[1].sampleCount, 0);
}

TEST_F(RawStream, RewritingTheHeaderReturnsToTheEnd) {
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 1);
  addAudio(params, MP4LIB_CODEC_TYPE_AMR, 20);
  ASSERT_NE(startRaw(params, "rewrite.qzv"), nullptr);
  ASSERT_EQ(writeVideoFileHeader(1, 0), 1);
  const Bytes video = {0xAA, 0xBB};
  ASSERT_EQ(writeEncodeData(video.data(), 2, 0, 0), 1);
  ASSERT_EQ(writeVideoFileHeader(77, 1), 1);
  ASSERT_EQ(writeEncodeData(video.data(), 2, 0, 0), 1);
  ASSERT_EQ(closeEncodeFile(), 1);
  const Bytes expected =
      ByteBuilder().append(expected::vendorPayload(rawVendor())).append(video).append(video).bytes();
  EXPECT_EQ(readFileBytes(pathOf("rewrite.qzv")), expected);
}

TEST_F(RawStream, A3gpHeaderRewriteWritesNothing) {
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 0), "re.3gp"), nullptr);
  EXPECT_EQ(writeVideoFileHeader(5, 1), 1);
  ASSERT_EQ(closeEncodeFile(), 1);
  EXPECT_EQ(readFileBytes(pathOf("re.3gp")).size(), 104u + 116u);
}

TEST_F(RawStream, UnknownModesWriteNothing) {
  EncoderContext* context = startRaw(videoParams(MP4LIB_CODEC_TYPE_H263, 0), "odd.bin");
  ASSERT_NE(context, nullptr);
  context->containerMode = 4;
  EXPECT_EQ(writeVideoFileHeader(0, 0), 0);
  const std::uint8_t byte = 1;
  EXPECT_EQ(writeEncodeData(&byte, 1, 0, 0), 0);
  context->containerMode = 0;
  EXPECT_EQ(writeVideoFileHeader(0, 0), 0);
  EXPECT_EQ(closeEncodeFile(), 1);
  EXPECT_EQ(readFileBytes(pathOf("odd.bin")).size(), 0u);
}

TEST_F(RawStream, Mode2IsA3gpFileToo) {
  EncoderContext* context = startRaw(videoParams(MP4LIB_CODEC_TYPE_H263, 0), "two.3gp");
  ASSERT_NE(context, nullptr);
  context->containerMode = 2;
  ASSERT_EQ(writeVideoFileHeader(0, 0), 1);
  ASSERT_EQ(closeEncodeFile(), 1);
  const Bytes file = readFileBytes(pathOf("two.3gp"));
  ASSERT_EQ(file.size(), 104u + 116u);
  EXPECT_EQ(readU32(file, 4), 0x66747970u);  // "ftyp"
}

}  // namespace
}  // namespace mp4lib::test
