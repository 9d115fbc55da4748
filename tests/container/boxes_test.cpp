#include "container/boxes.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "container/fourcc.h"
#include "container/vendor_payload.h"
#include "support/expected_3gp.h"
#include "support/file_bytes.h"
#include "support/plugin_folder.h"

namespace mp4lib::container {
namespace {

using test::Bytes;
using test::ByteBuilder;

// A track record with `samples` samples and `entries` timing entries.
class TrackFixture {
 public:
  TrackFixture(std::int32_t kind, std::int32_t codecId, int samples, int entries) {
    codec_.kind = kind;
    codec_.codecId = codecId;
    codec_.width = 176;
    codec_.height = 144;
    codec_.channels = 1;
    codec_.bitsPerSample = 16;
    codec_.sampleRate = 8000;
    codec_.amrModeSet = 0x80;
    samples_.resize(static_cast<std::size_t>(samples));
    for (int i = 0; i < samples; ++i) samples_[i] = SampleEntry{0, 1000u + 10u * i, 10, 0};
    stts_.resize(static_cast<std::size_t>(entries), TimeToSampleEntry{1, 20, {0, 0}});
    track.codec = &codec_;
    track.samples = samples_.data();
    track.sampleCount = samples;
    track.sampleCapacity = samples;
    track.stts = stts_.data();
    track.sttsCount = entries;
    track.trackId = 1;
    track.mediaTimeScale = 8000;
  }
  container::RecordedTrack track{};

 private:
  CodecDescriptor codec_{};
  std::vector<SampleEntry> samples_;
  std::vector<TimeToSampleEntry> stts_;
};

TEST(BoxSizes, ThreeVideoSamplesMakeStsz32AndStco28) {
  TrackFixture video(0, 4, 3, 3);
  EXPECT_EQ(stszSize(video.track), 32u);
  EXPECT_EQ(stcoSize(video.track), 28u);
  EXPECT_EQ(sttsSize(video.track), 40u);
}

TEST(BoxSizes, SampleDescriptionsByCodec) {
  EXPECT_EQ(stsdSize(TrackFixture(0, 4, 1, 1).track), 117u);
  EXPECT_EQ(stsdSize(TrackFixture(0, 13, 1, 1).track), 151u);
  EXPECT_EQ(stsdSize(TrackFixture(1, 63, 1, 1).track), 69u);
  EXPECT_EQ(stsdSize(TrackFixture(1, 69, 1, 1).track), 52u);
  EXPECT_EQ(stsdSize(TrackFixture(0, 70, 1, 1).track), 16u);  // unknown: no entry
  EXPECT_EQ(stsdSize(TrackFixture(1, 4, 1, 1).track), 16u);   // H.263 is no audio codec
}

TEST(BoxSizes, AmrOnlyMovie) {
  container::RecordedMovie movie{};
  TrackFixture amr(1, 63, 10, 1);
  movie.tracks[0] = amr.track;
  movie.trackCount = 1;
  // 116 + (100 + 73 + 60 + 36 + 69 + stts 24 + stsz 60 + stco 56), no stss.
  EXPECT_EQ(stblSize(amr.track), 36u + 69 + 24 + 60 + 56);
  EXPECT_EQ(minfSize(amr.track), stblSize(amr.track) + 60);
  EXPECT_EQ(mdiaSize(amr.track), minfSize(amr.track) + 73);
  EXPECT_EQ(trakSize(amr.track), mdiaSize(amr.track) + 100);
  EXPECT_EQ(moovSize(movie), 116u + 100 + 73 + 60 + 36 + 69 + 24 + 60 + 56);
}

TEST(BoxSizes, VideoTracksAddTheSyncTableAndVideoHeader) {
  TrackFixture video(0, 4, 3, 1);
  EXPECT_EQ(stblSize(video.track), 117u + 24 + 32 + 28 + 36 + 20);
  EXPECT_EQ(minfSize(video.track), stblSize(video.track) + 64);
}

TEST(BoxSizes, EmptyMovieIsTheMovieHeaderAlone) {
  container::RecordedMovie movie{};
  TrackFixture empty(0, 4, 0, 1);
  movie.tracks[0] = empty.track;
  movie.trackCount = 1;
  EXPECT_EQ(moovSize(movie), 116u);
}

TEST(LengthField, EachByteTakesSevenBitsOfItsOwnByte) {
  std::uint8_t bytes[4];
  encodeLengthField(32, bytes);
  EXPECT_EQ(Bytes(bytes, bytes + 4), (Bytes{0x80, 0x80, 0x80, 0x20}));
  encodeLengthField(0, bytes);
  EXPECT_EQ(Bytes(bytes, bytes + 4), (Bytes{0x80, 0x80, 0x80, 0x00}));
  encodeLengthField(0x12345678, bytes);
  EXPECT_EQ(Bytes(bytes, bytes + 4), (Bytes{0x92, 0xB4, 0xD6, 0x78}));
  // Not seven-bit groups: 200 keeps only its low seven bits in the last byte.
  encodeLengthField(200, bytes);
  EXPECT_EQ(Bytes(bytes, bytes + 4), (Bytes{0x80, 0x80, 0x80, 0x48}));
}

// Writes boxes into a real file and reads them back.
class BoxBytes : public ::testing::Test {
 protected:
  void SetUp() override {
    path = folder.path() / "boxes.bin";
    file = std::fopen(path.string().c_str(), "wb");
    ASSERT_NE(file, nullptr);
    openBufferedFile(record, bufferA.data(), bufferB.data(), kFileBufferBytes, 1, file);
  }
  void TearDown() override {
    if (file != nullptr) std::fclose(file);
  }
  Bytes finish() {
    record.flush(record, false);
    waitIdle(record);
    std::fclose(file);
    file = nullptr;
    return test::readFileBytes(path);
  }
  test::PluginFolder folder;
  std::filesystem::path path;
  std::FILE* file = nullptr;
  std::vector<std::uint8_t> bufferA = std::vector<std::uint8_t>(kFileBufferBytes);
  std::vector<std::uint8_t> bufferB = std::vector<std::uint8_t>(kFileBufferBytes);
  BufferedFile record;
};

TEST_F(BoxBytes, FileHeaderBoxes) {
  std::uint8_t payload[64];
  for (int i = 0; i < 64; ++i) payload[i] = static_cast<std::uint8_t>(i);
  EXPECT_EQ(writeFtyp(record), 24u);
  EXPECT_EQ(writeVendorBox(record, payload), 72u);
  EXPECT_EQ(writeMdatHeader(record), 8u);
  const Bytes expected = ByteBuilder()
                             .append(test::expected::ftyp())
                             .append(test::expected::box("kelv", Bytes(payload, payload + 64)))
                             .u32(0)
                             .text("mdat")
                             .bytes();
  EXPECT_EQ(finish(), expected);
}

TEST_F(BoxBytes, UnknownCodecGetsAnEmptySampleDescription) {
  TrackFixture odd(0, 70, 1, 1);
  EXPECT_EQ(writeStsd(record, odd.track), 16u);
  EXPECT_EQ(finish(), ByteBuilder().u32(16).text("stsd").u32(0).u32(0).bytes());
}

TEST_F(BoxBytes, SampleEntries) {
  TrackFixture h263(0, 4, 1, 1);
  TrackFixture amr(1, 63, 1, 1);
  TrackFixture g723(1, 69, 1, 1);
  EXPECT_EQ(writeSampleEntry(record, h263.track), 101u);
  EXPECT_EQ(writeSampleEntry(record, amr.track), 53u);
  EXPECT_EQ(writeSampleEntry(record, g723.track), 36u);
  const Bytes expected = ByteBuilder()
                             .append(test::expected::s263(176, 144))
                             .append(test::expected::samr(8000, 0))
                             .append(test::expected::g723(1, 16, 8000))
                             .bytes();
  EXPECT_EQ(finish(), expected);
}

TEST_F(BoxBytes, SyncTableMarksOnlyTheFirstSample) {
  EXPECT_EQ(writeStss(record), 20u);
  EXPECT_EQ(finish(), ByteBuilder().u32(20).text("stss").u32(0).u32(1).u32(1).bytes());
}

TEST_F(BoxBytes, MovieHeaderScansOnlyTheFirstTrackCountSlotsForDurationAndIds) {
  container::RecordedMovie movie{};
  TrackFixture empty(0, 4, 0, 1);
  TrackFixture video(0, 4, 2, 1);
  TrackFixture audio(1, 63, 2, 1);
  video.track.trackId = 2;
  video.track.trackDuration = 700;
  audio.track.trackId = 3;
  audio.track.trackDuration = (1ull << 32) + 900;  // only the low word counts
  movie.tracks[0] = empty.track;
  movie.tracks[1] = video.track;
  movie.tracks[2] = audio.track;
  movie.trackCount = 2;
  // Slot 0 is empty: slot 1 is the only track in the first two slots.
  EXPECT_EQ(writeMvhd(record, movie), 108u);
  movie.trackCount = 3;
  EXPECT_EQ(writeMvhd(record, movie), 108u);
  const Bytes written = finish();
  EXPECT_EQ(test::readU32(written, 24), 700u);
  EXPECT_EQ(test::readU32(written, 104), 3u);
  EXPECT_EQ(test::readU32(written, 108 + 24), 900u);
  EXPECT_EQ(test::readU32(written, 108 + 104), 4u);
}

TEST_F(BoxBytes, MovieBoxTakesTrackCountTracksWithSamplesFromAnySlot) {
  container::RecordedMovie movie{};
  TrackFixture empty(0, 4, 0, 1);
  TrackFixture first(0, 4, 1, 1);
  TrackFixture second(1, 63, 1, 1);
  movie.tracks[0] = empty.track;
  movie.tracks[1] = first.track;
  movie.tracks[3] = second.track;
  movie.trackCount = 1;
  const std::uint32_t size = 116 + trakSize(first.track);
  EXPECT_EQ(moovSize(movie), size);
  EXPECT_EQ(writeMoov(record, movie), size);
  const Bytes written = finish();
  ASSERT_EQ(written.size(), size);
  EXPECT_EQ(test::readU32(written, 116 + 4), 0x7472616Bu);  // "trak"
}

// Recorded: eleven big-endian words, then the codec types and audio format
// in host order. (Which context field goes where is checked byte for byte by
// the golden recordings.)
TEST(VendorPayload, RecordedPayloadHoldsBothByteOrders) {
  const std::uint32_t words[16] = {fourcc("WMVH"), 0x00010005, 0x0A0B0C0D, 2,          320, 240, 0xCAFEBABE, 12,
                                   29,             3,          4,          1, 0x10101014, 16,  8000, 2};
  std::uint8_t payload[64];
  encodeVendorPayload(words, VideoTypeOrder::kHost, payload);
  test::expected::VendorFields f;
  f.wordA = 0x0A0B0C0D;
  f.wordB = 2;
  f.width = 320;
  f.height = 240;
  f.value = 0xCAFEBABE;
  f.flags = 12;
  f.frameRate = 29;
  f.wordC = 3;
  f.wordD = 4;
  f.videoType = 1;
  f.audioType = 0x10101014;
  f.audioBits = 16;
  f.audioRate = 8000;
  f.audioChannels = 2;
  EXPECT_EQ(Bytes(payload, payload + 64), test::expected::vendorPayload(f));
}

// Read back, the first twelve words are big-endian: the recorded video codec
// type comes back byte-swapped, the rest as written.
TEST(VendorPayload, ReadingTakesTwelveBigEndianWords) {
  const std::uint32_t words[16] = {fourcc("WMVH"), 0x00010005, 7, 8, 176, 144, 9, 12, 15, 0, 0, 1, 0x10101014, 16,
                                   8000,           1};
  std::uint8_t payload[64];
  encodeVendorPayload(words, VideoTypeOrder::kHost, payload);
  std::uint32_t read[16];
  decodeVendorPayload(payload, read);
  EXPECT_EQ(read[0], 0x574D5648u);
  EXPECT_EQ(read[4], 176u);
  EXPECT_EQ(read[11], 0x01000000u);
  EXPECT_EQ(read[12], 0x10101014u);
  EXPECT_EQ(read[15], 1u);
  encodeVendorPayload(words, VideoTypeOrder::kBigEndian, payload);
  decodeVendorPayload(payload, read);
  EXPECT_EQ(read[11], 1u);
}

}  // namespace
}  // namespace mp4lib::container
