#include "container/box_parser.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "mp4lib_plugin.h"
#include "container/box_table.h"
#include "container/codec_table.h"
#include "container/fourcc.h"
#include "container/movie_builder.h"
#include "container/parsed_movie.h"

namespace mp4lib::container {
namespace {

using test::box;
using test::ByteWriter;
using test::Bytes;
using test::concat;
using test::ParsedMovie;

std::string typeText(std::uint32_t type) {
  std::string text(4, ' ');
  for (int i = 0; i < 4; ++i) text[i] = static_cast<char>(fourccChar(type, i));
  return text;
}

// A one-sample video track in a moov, with its sample at `offset`.
Bytes videoTrack(const Bytes& entry, std::uint32_t offset = 100, std::uint32_t size = 10) {
  return test::trak(test::tkhd(1, 1000, 176, 144), test::mdhd(1000, 1000), test::hdlr("", "vide", {0}),
                    {test::stsd({entry}), test::stts({{1, 1000}}), test::stsz(0, 1, {size}),
                     test::stsc({{1, 1, 1}}), test::stco({offset})});
}

Bytes movieWith(const Bytes& track) { return box("moov", concat({test::mvhd(1000, 1000), track})); }

Bytes mdatOf(std::size_t bytes) { return box("mdat", Bytes(bytes, 0x11)); }

TEST(BoxTable, SixtySixRowsInTheirSearchOrderAndATerminator) {
  const char* order[] = {"kelv", "co64", "cprt", "crhd", "ctts", "dinf", "dpnd", "dref", "edts", "elst", "free",
                         "hdlr", "hint", "hmhd", "iods", "mdat", "mdhd", "mdia", "minf", "moov", "mp4a", "mp4s",
                         "mp4v", "mpod", "mvhd", "nmhd", "odhd", "sdhd", "skip", "smhd", "SMI ", "stbl", "stco",
                         "stdp", "stsc", "stsd", "stsh", "stss", "stsz", "stts", "tkhd", "trak", "tref", "udta",
                         "url ", "urn ", "uuid", "vmhd", "wave", "MDES", "chap", "clip", "crgn", "esds", "kmat",
                         "matt", "rdrf", "rmda", "rmdr", "rmra", "scpt", "ssrc", "sync", "tcmd", "wide", "cmov"};
  static_assert(sizeof order / sizeof order[0] == kBoxRowCount, "66 rows");
  const BoxRow* table = boxTable();
  for (int i = 0; i < kBoxRowCount; ++i) EXPECT_EQ(typeText(table[i].type), order[i]) << i;
  EXPECT_EQ(table[kBoxRowCount].type, 0u);
}

TEST(BoxTable, HandlersByKind) {
  const BoxHandler skip = handlerFor(0);
  for (const char* name : {"stss", "ctts", "cmov", "free", "udta", "elst", "vmhd", "smhd", "dref"}) {
    EXPECT_EQ(handlerFor(fourcc(*reinterpret_cast<const char(*)[5]>(name))), skip) << name;
  }
  EXPECT_EQ(handlerFor(fourcc("zzzz")), skip);
  for (const char* name : {"dinf", "mdia", "minf", "stbl", "skip", "uuid", "wave", "mp4a", "edts", "tref"}) {
    EXPECT_EQ(handlerFor(fourcc(*reinterpret_cast<const char(*)[5]>(name))), handlerFor(fourcc("stbl"))) << name;
  }
  EXPECT_EQ(handlerFor(fourcc("co64")), handlerFor(fourcc("stco")));
  EXPECT_NE(handlerFor(fourcc("stco")), skip);
}

TEST(CodecTags, MatchedWithoutRegardToCase) {
  EXPECT_EQ(videoCodecIdForTag(fourcc("mp4v")), 13);
  EXPECT_EQ(videoCodecIdForTag(fourcc("MP4V")), 13);
  EXPECT_EQ(videoCodecIdForTag(fourcc("divx")), 13);
  EXPECT_EQ(videoCodecIdForTag(fourcc("S263")), 4);
  EXPECT_EQ(videoCodecIdForTag(fourcc("h263")), 4);
  EXPECT_EQ(videoCodecIdForTag(fourcc("Svq3")), 24);
  EXPECT_EQ(videoCodecIdForTag(fourcc("VP31")), 35);
  EXPECT_EQ(videoCodecIdForTag(fourcc("avc1")), 0);
  EXPECT_EQ(audioCodecIdForTag(fourcc("SAMR")), 63);
  EXPECT_EQ(audioCodecIdForTag(fourcc("sowt")), 49);
  EXPECT_EQ(audioCodecIdForTag(fourcc(".MP3")), 6);
  EXPECT_EQ(audioCodecIdForTag(0x6D730055u), 6);  // 0x55 0x00 's' 'm'
  EXPECT_EQ(audioCodecIdForTag(0x6D730075u), 6);  // 'u' 0x00 's' 'm': the case of 0x55 ('U')
  EXPECT_EQ(audioCodecIdForTag(0x5500736Du), 6);  // 'm' 's' 0x00 0x55
  EXPECT_EQ(audioCodecIdForTag(fourcc("g723")), 69);
  EXPECT_EQ(audioCodecIdForTag(0), 0);
}

TEST(CodecTags, KindByCodecId) {
  for (int id : {4, 13, 15, 21, 33}) EXPECT_EQ(codecKindForId(id), 0) << id;
  for (int id : {6, 9, 36, 37, 49, 63, 69}) EXPECT_EQ(codecKindForId(id), 1) << id;
  for (int id : {1, 10, 14, 22, 23, 24, 25, 35, 38, 48, 64, 70}) EXPECT_EQ(codecKindForId(id), -1) << id;
}

TEST(BoxParser, SixtyFourBitSizeGivesASixteenByteHeader) {
  const Bytes mdatPayload(40, 0x22);
  const Bytes file = concat({test::ftyp(), test::largeBox("free", Bytes(20, 0)), test::largeBox("mdat", mdatPayload),
                             movieWith(videoTrack(test::videoEntry("s263", 176, 144))), box("mvhd", {})});
  ParsedMovie parsed(file);
  ASSERT_EQ(parsed.status, 0);
  EXPECT_EQ(parsed.movie->mdatOffset, 24u + 36u + 16u);
  EXPECT_EQ(parsed.movie->mdatPayloadSize, 40u);
  EXPECT_EQ(parsed.movie->trackCount, 1);
  EXPECT_EQ(parsed.movie->moovSeen, 1);
}

TEST(BoxParser, LastBoxOfSizeZeroRunsToItsParentsEnd) {
  // The open trak is the last child of moov; its tables are read.
  const Bytes track = videoTrack(test::videoEntry("s263", 176, 144), 777, 9);
  const Bytes openTrack = concat({ByteWriter().u32(0).text("trak"), Bytes(track.begin() + 8, track.end())});
  const Bytes file = concat({test::ftyp(), mdatOf(16), box("moov", concat({test::mvhd(1000, 5), openTrack}))});
  ParsedMovie parsed(file);
  ASSERT_EQ(parsed.status, 0);
  ASSERT_EQ(parsed.movie->trackCount, 1);
  ASSERT_EQ(parsed.track(0).sampleCount, 1);
  EXPECT_EQ(parsed.track(0).samples[0].offset, 777u);
  EXPECT_EQ(parsed.track(0).samples[0].size, 9u);
}

TEST(BoxParser, TopLevelMediaDataOfSizeZeroRunsToTheEndOfTheFile) {
  // The open box takes the rest of its parent, here the file: its header
  // and all 100 bytes of payload.
  const Bytes moov = movieWith(videoTrack(test::videoEntry("s263", 176, 144)));
  const Bytes file = concat({test::ftyp(), moov, test::openBox("mdat", Bytes(100, 0x33))});
  ParsedMovie parsed(file);
  ASSERT_EQ(parsed.status, 0);
  const std::uint64_t start = 24 + moov.size();
  EXPECT_EQ(parsed.movie->mdatOffset, start + 8);
  EXPECT_EQ(parsed.movie->mdatPayloadSize, 100u);
}

TEST(BoxParser, ChunkOffsetsOfSizeZeroAtTheEndOfTheTableAreRead) {
  // "stco" as the last box of "stbl" with its size left open: every offset
  // is read, none is cut off.
  const Bytes offsets = test::stco({1000, 2000, 3000});
  const Bytes openOffsets = concat({ByteWriter().u32(0).text("stco"), Bytes(offsets.begin() + 8, offsets.end())});
  const Bytes stbl = box("stbl", concat({test::stsd({test::videoEntry("s263", 176, 144)}), test::stts({{3, 1000}}),
                                          test::stsc({{1, 1, 1}}), test::stsz(0, 3, {10, 20, 30}), openOffsets}));
  const Bytes track = box("trak", concat({test::tkhd(1, 200, 176, 144), box("mdia", concat({test::mdhd(15000, 3000),
                                                                                             test::hdlr("mhlr", "vide", {}),
                                                                                             box("minf", stbl)}))}));
  const Bytes file = concat({test::ftyp(), mdatOf(16), box("moov", concat({test::mvhd(1000, 200), track}))});
  ParsedMovie parsed(file);
  ASSERT_EQ(parsed.status, 0);
  ASSERT_EQ(parsed.track(0).sampleCount, 3);
  EXPECT_EQ(parsed.track(0).samples[2].offset, 3000u);
  EXPECT_EQ(parsed.track(0).samples[2].size, 30u);
}

TEST(BoxParser, MediaDataFirstStopsRightAfterTheMovie) {
  // A movie header after "moov" would set the time scale to 90; it is not read.
  const Bytes file = concat({test::ftyp(), mdatOf(50), movieWith(videoTrack(test::videoEntry("s263", 176, 144))),
                             test::mvhd(90, 1)});
  ParsedMovie parsed(file);
  ASSERT_EQ(parsed.status, 0);
  EXPECT_EQ(parsed.movie->timeScale, 1000u);
  EXPECT_EQ(parsed.movie->mdatOffset, 32u);
  EXPECT_EQ(parsed.movie->readPosition, 32u);
  EXPECT_EQ(tellInput(parsed.in), 32);
  EXPECT_EQ(parsed.movie->streamCount, 1u);
}

TEST(BoxParser, MovieFirstStopsAtTheMediaData) {
  const Bytes moov = movieWith(videoTrack(test::videoEntry("s263", 176, 144)));
  const Bytes file = concat({test::ftyp(), moov, mdatOf(50), test::mvhd(90, 1)});
  ParsedMovie parsed(file);
  ASSERT_EQ(parsed.status, 0);
  EXPECT_EQ(parsed.movie->timeScale, 1000u);
  EXPECT_EQ(parsed.movie->mdatOffset, 24u + moov.size() + 8u);
  EXPECT_EQ(parsed.movie->mdatPayloadSize, 50u);
  EXPECT_EQ(tellInput(parsed.in), static_cast<std::int64_t>(24 + moov.size() + 8));
}

TEST(BoxParser, EmptyMediaDataMakesTheFileUnreadable) {
  ParsedMovie parsed(concat({test::ftyp(), box("mdat", {}), movieWith(videoTrack(test::videoEntry("s263", 1, 1)))}));
  EXPECT_EQ(parsed.status, -1);
}

TEST(BoxParser, NeitherMovieNorMediaDataIsUnreadable) {
  ParsedMovie parsed(concat({test::ftyp(), box("free", Bytes(10, 0))}));
  EXPECT_EQ(parsed.status, -1);
}

TEST(BoxParser, MediaDataAloneIsEnough) {
  ParsedMovie parsed(concat({test::ftyp(), mdatOf(20)}));
  EXPECT_EQ(parsed.status, 0);
  EXPECT_EQ(parsed.movie->trackCount, 0);
}

TEST(BoxParser, CompressedMovieHeaderIsSkippedSoThereAreNoTracks) {
  const Bytes cmov = box("cmov", videoTrack(test::videoEntry("s263", 176, 144)));
  ParsedMovie parsed(concat({test::ftyp(), mdatOf(20), box("moov", concat({test::mvhd(600, 1200), cmov}))}));
  ASSERT_EQ(parsed.status, 0);
  EXPECT_EQ(parsed.movie->trackCount, 0);
  EXPECT_EQ(parsed.movie->timeScale, 600u);
  EXPECT_EQ(parsed.movie->duration, 1200u);
}

TEST(BoxParser, HeaderFields) {
  const Bytes track = test::trak(test::tkhd(7, 4321, 352, 288, 0xC0FFEE), test::mdhd(90000, 123456),
                                 test::hdlr("", "vide", {'v', 0}), {});
  ParsedMovie parsed(concat({test::ftyp(), mdatOf(4), box("moov", concat({test::mvhd(600, 1200, 99), track}))}));
  ASSERT_EQ(parsed.status, 0);
  EXPECT_EQ(parsed.movie->creationTime, 99u);
  EXPECT_EQ(parsed.movie->timeScale, 600u);
  EXPECT_EQ(parsed.movie->duration, 1200u);
  const container::TrackRecord& t = parsed.track(0);
  EXPECT_EQ(t.creationTime, 0xC0FFEEu);
  EXPECT_EQ(t.trackId, 7u);
  EXPECT_EQ(t.trackDuration, 4321u);
  EXPECT_EQ(t.width, 352u);
  EXPECT_EQ(t.height, 288u);
  EXPECT_EQ(t.mediaTimeScale, 90000u);
  EXPECT_EQ(t.timeScalePerMs, 90);
  EXPECT_EQ(t.mediaDuration, 123456u);
  EXPECT_EQ(t.codec->kind, 0);
}

// The last box of the first track claims to run on over the second track,
// past the end of its own parent. It is read only as far as its parent
// goes, so the second track is read once, by "moov" (read to its claim, it
// would be read twice, and each such level would double the reading).
TEST(BoxParser, ABoxIsReadNoFurtherThanItsParent) {
  const Bytes second = test::trak(test::tkhd(2, 1, 0, 0), test::mdhd(1000, 1), test::hdlr("", "soun", {0}), {});
  const Bytes overrunning = ByteWriter().u32(static_cast<std::uint32_t>(8 + second.size())).text("edts");
  const Bytes first = box("trak", concat({test::tkhd(1, 1, 0, 0), test::mdhd(1000, 1), overrunning}));
  ParsedMovie parsed(concat({test::ftyp(), mdatOf(4), box("moov", concat({test::mvhd(1000, 1), first, second}))}));
  ASSERT_EQ(parsed.status, 0);
  EXPECT_EQ(parsed.movie->trackCount, 2);
  EXPECT_EQ(parsed.track(1).trackId, 2u);
}

TEST(BoxParser, HandlerComponentTypesAndNames) {
  // MP4 handler: kind from the subtype, names end at a zero byte.
  const Bytes mp4 = test::trak(test::tkhd(1, 1, 0, 0), test::mdhd(1000, 1), test::hdlr("", "soun", {'a', 0}), {});
  // QuickTime media handler with a counted name: kind set, the name is
  // passed over and the boxes behind it are still found.
  const Bytes quickTime = test::trak(test::tkhd(2, 1, 0, 0), test::mdhd(8000, 1),
                                     test::hdlr("mhlr", "vide", ByteWriter().u8(5).text("Video")), {});
  // A data handler leaves the kind alone.
  const Bytes data = test::trak(test::tkhd(3, 1, 0, 0), test::mdhd(1000, 1), test::hdlr("dhlr", "vide", {0}), {});
  ParsedMovie parsed(concat({test::ftyp(), mdatOf(4), box("moov", concat({test::mvhd(1000, 1), mp4, quickTime, data}))}));
  ASSERT_EQ(parsed.status, 0);
  ASSERT_EQ(parsed.movie->trackCount, 3);
  EXPECT_EQ(parsed.track(0).codec->kind, 1);
  EXPECT_EQ(parsed.track(1).codec->kind, 0);
  EXPECT_EQ(parsed.track(1).mediaTimeScale, 8000u);
  EXPECT_EQ(parsed.track(2).codec->kind, 2);
  EXPECT_EQ(parsed.movie->countedName, 0);  // cleared by "mhlr", untouched by "dhlr"
}

TEST(BoxParser, VideoSampleDescription) {
  const Bytes entry = test::videoEntry("MP4V", 352, 288, test::esds(0x20, 0x11, 0xDD2, 0x2E918, 0x17E6B, {0, 0, 1, 0xB0}),
                                       0x18);
  ParsedMovie parsed(concat({test::ftyp(), mdatOf(4), movieWith(videoTrack(entry))}));
  ASSERT_EQ(parsed.status, 0);
  const container::TrackRecord& t = parsed.track(0);
  const CodecDescriptor& codec = *t.codec;
  EXPECT_EQ(codec.kind, 0);
  EXPECT_EQ(codec.codecId, 13);
  EXPECT_EQ(codec.codecTag, fourcc("MP4V"));
  EXPECT_EQ(codec.width, 352u);
  EXPECT_EQ(codec.height, 288u);
  EXPECT_EQ(codec.bitsPerSample, 0x18u);
  EXPECT_EQ(codec.colorTableId, 0xFFFFu);
  EXPECT_EQ(std::memcmp(codec.compressorName, "\x07" "encoder", 8), 0);
  EXPECT_TRUE(parsed.findings.videoPresent);
  EXPECT_EQ(parsed.findings.videoCodecCode, MP4LIB_CODEC_TYPE_MPEG4V);
  EXPECT_EQ(t.esdsObjectType, 0x20);
  EXPECT_EQ(t.esdsStreamType, 0x11);
  EXPECT_EQ(t.esdsBufferSize, 0xDD2u);
  EXPECT_EQ(t.esdsMaxBitRate, 0x2E918u);
  EXPECT_EQ(t.esdsAverageBitRate, 0x17E6Bu);
  ASSERT_EQ(codec.extraDataSize, 4u);
  EXPECT_EQ(codec.extraData[3], 0xB0);
  // The tables behind the entry were found.
  EXPECT_EQ(t.sampleCount, 1);
}

TEST(BoxParser, H263GivesTheDefaultVideoCode) {
  ParsedMovie parsed(concat({test::ftyp(), mdatOf(4), movieWith(videoTrack(test::videoEntry("h263", 176, 144)))}));
  EXPECT_EQ(parsed.track(0).codec->codecId, 4);
  EXPECT_EQ(parsed.findings.videoCodecCode, MP4LIB_CODEC_TYPE_H263);
}

TEST(BoxParser, UnsupportedVideoIdIsMarkedAndSetsNoCode) {
  ParsedMovie parsed(concat({test::ftyp(), mdatOf(4), movieWith(videoTrack(test::videoEntry("jpeg", 64, 64)))}));
  ASSERT_EQ(parsed.status, 0);
  EXPECT_EQ(parsed.track(0).codec->kind, -1);
  EXPECT_FALSE(parsed.findings.videoPresent);
  EXPECT_EQ(parsed.track(0).codec->width, 0u);
  EXPECT_EQ(parsed.track(0).sampleCount, 1);
}

Bytes soundTrack(const Bytes& entry) {
  return test::trak(test::tkhd(2, 1000, 0, 0), test::mdhd(8000, 8000), test::hdlr("", "soun", {0}),
                    {test::stsd({entry}), test::stts({{1, 160}}), test::stsz(0, 1, {32}), test::stsc({{1, 1, 1}}),
                     test::stco({200})});
}

TEST(BoxParser, AmrSampleDescription) {
  ParsedMovie parsed(concat({test::ftyp(), mdatOf(4), movieWith(soundTrack(test::amrEntry(0x81FF, 3, 5)))}));
  ASSERT_EQ(parsed.status, 0);
  const CodecDescriptor& codec = *parsed.track(0).codec;
  EXPECT_EQ(codec.kind, 1);
  EXPECT_EQ(codec.codecId, 63);
  EXPECT_EQ(codec.amrModeSet, 0x81FF);
  EXPECT_EQ(codec.amrModeChangePeriod, 3);
  EXPECT_EQ(codec.amrFramesPerSample, 5);
  EXPECT_EQ(codec.sampleRate, 8000u);
  EXPECT_EQ(codec.channels, 1u);  // whatever the entry says
  EXPECT_EQ(codec.bitsPerSample, 16u);
  EXPECT_EQ(codec.bitRate, 0u);
  EXPECT_TRUE(parsed.findings.audioPresent);
  EXPECT_EQ(parsed.findings.audioCodecCode, MP4LIB_CODEC_TYPE_AMR);
  EXPECT_EQ(parsed.track(0).sampleCount, 1);
}

TEST(BoxParser, SoundSampleDescriptions) {
  {
    ParsedMovie parsed(concat({test::ftyp(), mdatOf(4), movieWith(soundTrack(test::soundEntry("twos", 0, 1, 8, 11025)))}));
    const CodecDescriptor& codec = *parsed.track(0).codec;
    EXPECT_EQ(codec.codecId, 53);
    EXPECT_EQ(codec.bitRate, 11025u * 8);
    EXPECT_EQ(codec.channels, 1u);
    EXPECT_EQ(codec.bitsPerSample, 8u);
    EXPECT_EQ(codec.sampleRate, 11025u);
    EXPECT_EQ(parsed.findings.audioCodecCode, MP4LIB_CODEC_TYPE_G723);
  }
  {
    ParsedMovie parsed(concat({test::ftyp(), mdatOf(4), movieWith(soundTrack(test::soundEntry("sowt", 0, 2, 16, 44100)))}));
    const CodecDescriptor& codec = *parsed.track(0).codec;
    EXPECT_EQ(codec.codecId, 49);
    EXPECT_EQ(codec.bitRate, 0u);
    EXPECT_EQ(codec.channels, 2u);
    EXPECT_EQ(parsed.findings.audioCodecCode, MP4LIB_CODEC_TYPE_PCM);
    EXPECT_EQ(parsed.track(0).sampleCount, 1);
  }
}

TEST(BoxParser, Mpeg4AudioCarriesItsConfiguration) {
  const Bytes entry = test::soundEntry("mp4a", 0, 2, 16, 48000, test::esds(0x40, 0x15, 0, 128000, 96000, {0x11, 0x90}));
  ParsedMovie parsed(concat({test::ftyp(), mdatOf(4), movieWith(soundTrack(entry))}));
  const CodecDescriptor& codec = *parsed.track(0).codec;
  EXPECT_EQ(codec.codecId, 36);
  EXPECT_EQ(parsed.findings.audioCodecCode, MP4LIB_CODEC_TYPE_AAC);
  ASSERT_EQ(codec.extraDataSize, 2u);
  EXPECT_EQ(codec.extraData[0], 0x11);
  EXPECT_EQ(codec.extraData[1], 0x90);
  EXPECT_EQ(parsed.track(0).esdsObjectType, 0x40);
  EXPECT_EQ(parsed.track(0).esdsAverageBitRate, 96000u);
}

TEST(BoxParser, VersionOneSoundEntryParsesItsCodecBoxes) {
  // Four more words, then a "wave" holding the "esds".
  const Bytes wave = box("wave", test::esds(0x40, 0x15, 0, 1, 2, {0x12, 0x10}));
  const Bytes rest = concat({ByteWriter().u32(1024).u32(1).u32(2).u32(2), wave});
  ParsedMovie parsed(concat({test::ftyp(), mdatOf(4), movieWith(soundTrack(test::soundEntry("mp4a", 1, 2, 16, 44100, rest)))}));
  const CodecDescriptor& codec = *parsed.track(0).codec;
  ASSERT_EQ(codec.extraDataSize, 2u);
  EXPECT_EQ(codec.extraData[0], 0x12);
  EXPECT_EQ(parsed.track(0).sampleCount, 1);
}

TEST(BoxParser, ShortElementaryStreamDescriptorEndsTheHandler) {
  // ES descriptor length 19 (< 20): nothing after it is read.
  const Bytes esds = test::fullBox("esds", 0, ByteWriter().u8(3).u8(19).u16(1).u8(0).u8(4).u8(20).u8(0x20).zeros(40));
  ParsedMovie parsed(concat({test::ftyp(), mdatOf(4), movieWith(videoTrack(test::videoEntry("mp4v", 16, 16, esds)))}));
  EXPECT_EQ(parsed.track(0).esdsObjectType, 0);
  EXPECT_EQ(parsed.track(0).codec->extraData, nullptr);
  EXPECT_EQ(parsed.track(0).sampleCount, 1);
}

TEST(BoxParser, DecoderSpecificInfoLongerThanItsBoxIsIgnored) {
  const Bytes esds = test::fullBox(
      "esds", 0, ByteWriter().u8(3).u8(30).u16(1).u8(0).u8(4).u8(20).u8(0x20).u8(0x11).u24(1).u32(2).u32(3).u8(5).u8(0x7F).u8(1));
  ParsedMovie parsed(concat({test::ftyp(), mdatOf(4), movieWith(videoTrack(test::videoEntry("mp4v", 16, 16, esds)))}));
  EXPECT_EQ(parsed.track(0).esdsObjectType, 0x20);
  EXPECT_EQ(parsed.track(0).codec->extraData, nullptr);
  EXPECT_EQ(parsed.track(0).sampleCount, 1);
}

TEST(BoxParser, Svq3ExtensionKeepsRoomInFront) {
  const Bytes smi = box("SMI ", {'S', 'E', 'Q', 'H', 9});
  ParsedMovie parsed(concat({test::ftyp(), mdatOf(4), movieWith(videoTrack(test::videoEntry("mp4v", 16, 16, smi)))}));
  const CodecDescriptor& codec = *parsed.track(0).codec;
  ASSERT_EQ(codec.extraDataSize, 95u);
  EXPECT_EQ(std::memcmp(codec.extraData, "SVQ3", 4), 0);
  EXPECT_EQ(codec.extraData[4], 0);
  EXPECT_EQ(std::memcmp(codec.extraData + 90, "SEQH\x09", 5), 0);
}

TEST(BoxParser, VendorBlockFillsTheParameterBlock) {
  test::VendorWords vendor;
  for (int i = 2; i < 11; ++i) vendor.words[i] = 0x100 + i;
  vendor.words[7] = 0x0E;  // flags: video, audio, and bit value 2
  vendor.videoCodecTypeInHostOrder(1);
  vendor.audioCodecType = 0x10101014;
  vendor.audioBits = 16;
  vendor.audioRate = 8000;
  vendor.audioChannels = 1;
  ParsedMovie parsed(concat({test::ftyp(), test::kelv(vendor), mdatOf(4)}));
  ASSERT_EQ(parsed.status, 0);
  const MovieParams& p = parsed.params;
  EXPECT_EQ(p.formatVersion, 1u);
  EXPECT_EQ(p.formatRevision, 5u);
  EXPECT_EQ(p.pictureSizeCode, 0x102u);
  EXPECT_EQ(p.vendorWord3, 0x103u);
  EXPECT_EQ(p.width, 0u);  // words 4 and 5 stay in the block
  EXPECT_EQ(p.height, 0u);
  EXPECT_EQ(p.frameCount, 0x106u);
  EXPECT_EQ(p.streamFlags, 0x0Eu);
  EXPECT_EQ(p.lowFlagBits, 2u);
  EXPECT_EQ(p.frameRate, 264.0);
  EXPECT_EQ(p.vendorWord9, 0x109u);
  EXPECT_EQ(p.vendorWord10, 0x10Au);
  EXPECT_EQ(p.videoCodecCode, 0x01000000u);  // the host-order word read as big-endian
  EXPECT_EQ(p.audioCodecCode, 0x10101014u);
  EXPECT_EQ(p.bitsPerSample, 16u);
  EXPECT_EQ(p.sampleRate, 8000u);
  EXPECT_EQ(p.channels, 1u);
  EXPECT_TRUE(parsed.findings.vendor.seen);
  EXPECT_EQ(std::memcmp(parsed.findings.vendor.raw, "WMVH", 4), 0);
  EXPECT_EQ(parsed.findings.vendor.words[4], 0x104u);
}

TEST(BoxParser, WideWrapperHandsItsMediaDataOn) {
  const Bytes wide = box("wide", concat({ByteWriter().u32(0).text("mdat"), Bytes(100, 0x44)}));
  ParsedMovie parsed(concat({test::ftyp(), wide}));
  ASSERT_EQ(parsed.status, 0);
  EXPECT_EQ(parsed.movie->mdatSeen, 1);
  EXPECT_EQ(parsed.movie->mdatOffset, 24u + 8u + 8u);
  EXPECT_EQ(parsed.movie->mdatPayloadSize, 100u);
}

TEST(BoxParser, WideWrapperWithASizeIsPassedOver) {
  const Bytes wide = box("wide", concat({ByteWriter().u32(8).text("mdat"), Bytes(10, 0)}));
  ParsedMovie parsed(concat({test::ftyp(), wide, mdatOf(6)}));
  ASSERT_EQ(parsed.status, 0);
  EXPECT_EQ(parsed.movie->mdatOffset, 24u + 26u + 8u);
}

TEST(BoxParser, MoreThanFiveTracksKeepTheFirstFive) {
  std::vector<Bytes> children = {test::mvhd(1000, 1)};
  for (int i = 0; i < 8; ++i) children.push_back(videoTrack(test::videoEntry("s263", 176, 144), 1000 + i));
  ParsedMovie parsed(concat({test::ftyp(), mdatOf(4), box("moov", concat(children))}));
  ASSERT_EQ(parsed.status, 0);
  ASSERT_EQ(parsed.movie->trackCount, 5);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(parsed.track(i).samples[0].offset, 1000u + i);
}

TEST(BoxParser, DeepNestingIsCut) {
  Bytes nested = test::mvhd(77, 1);
  for (int i = 0; i < 300; ++i) nested = box("dinf", nested);
  ParsedMovie parsed(concat({test::ftyp(), mdatOf(4), box("moov", nested)}));
  EXPECT_EQ(parsed.status, 0);
  EXPECT_EQ(parsed.movie->timeScale, 1000u);  // far too deep to be reached
}

TEST(BoxParser, BoxesSmallerThanTheirHeaderEndTheirParent) {
  for (const Bytes& bad : {ByteWriter().u32(4).text("free").bytes(), ByteWriter().u32(1).text("free").u64(0).bytes(),
                           ByteWriter().u32(1).text("free").u64(15).bytes(),
                           ByteWriter().u32(1).text("free").u64(0xFFFFFFFFFFFFFFF0ull).bytes()}) {
    ParsedMovie parsed(concat({test::ftyp(), mdatOf(4), bad, test::mvhd(90, 1)}));
    EXPECT_EQ(parsed.status, 0);
    EXPECT_EQ(parsed.movie->mdatSeen, 1);
  }
}

TEST(BoxParser, BoxClaimingMoreThanTheFileIsReadThrough) {
  const Bytes file = concat({test::ftyp(), mdatOf(4), ByteWriter().u32(0x7FFFFFF0).text("moov").raw(test::mvhd(600, 9))});
  ParsedMovie parsed(file);
  EXPECT_EQ(parsed.status, 0);
  EXPECT_EQ(parsed.movie->timeScale, 600u);
}

TEST(BoxParser, SampleDescriptionEntriesAreBoundedByTheBox) {
  // Count says 0xFFFFFFFF, the box holds one entry; entries smaller than
  // their header stop the walk.
  const Bytes entry = test::videoEntry("s263", 176, 144);
  const Bytes huge = test::fullBox("stsd", 0, concat({ByteWriter().u32(0xFFFFFFFF), entry}));
  const Bytes tiny = test::fullBox("stsd", 0, ByteWriter().u32(3).u32(4).text("s263").zeros(8));
  for (const Bytes& description : {huge, tiny}) {
    const Bytes track = test::trak(test::tkhd(1, 1, 0, 0), test::mdhd(1000, 1), test::hdlr("", "vide", {0}),
                                   {description, test::stsz(0, 1, {5}), test::stsc({{1, 1, 1}}), test::stco({9})});
    ParsedMovie parsed(concat({test::ftyp(), mdatOf(4), movieWith(track)}));
    EXPECT_EQ(parsed.status, 0);
    EXPECT_EQ(parsed.track(0).sampleCount, 1);
    EXPECT_EQ(parsed.track(0).samples[0].offset, 9u);
  }
}

TEST(BoxParser, BoxesOutsideAnyTrackChangeNothing) {
  const Bytes stray = concat({test::tkhd(1, 1, 2, 2), test::mdhd(5, 5), test::hdlr("", "vide", {0}),
                              test::stsd({test::videoEntry("s263", 1, 1)}), test::stsz(0, 1, {1}), test::stts({{1, 1}}),
                              test::stsc({{1, 1, 1}}), test::stco({1}), test::esds(1, 1, 1, 1, 1, {1})});
  ParsedMovie parsed(concat({test::ftyp(), mdatOf(4), box("moov", concat({test::mvhd(1000, 1), stray}))}));
  EXPECT_EQ(parsed.status, 0);
  EXPECT_EQ(parsed.movie->trackCount, 0);
}

}  // namespace
}  // namespace mp4lib::container
