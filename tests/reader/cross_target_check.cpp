// A test-framework-free check of the box parser and sample index for targets
// where GoogleTest is not built: 32-bit ARM under qemu-arm and Windows under
// wine. Not part of the CMake build; from the repository root:
//
//   arm-linux-gnueabihf-g++ -std=c++17 -O2 -ffp-contract=off -Iinclude -Isrc -Itests
//     tests/reader/cross_target_check.cpp tests/reader/bytes.cpp tests/reader/movie_builder.cpp
//     src/reader/byte_reader.cpp src/reader/box_parser.cpp src/reader/box_table.cpp
//     src/reader/movie_boxes.cpp src/reader/track_boxes.cpp src/reader/sample_description.cpp
//     src/reader/sample_index.cpp src/reader/sample_time.cpp src/frame/movie_context.cpp
//     src/codecs/codec_types.cpp -static -o check_arm && qemu-arm ./check_arm
//   x86_64-w64-mingw32-g++ (same arguments, plus -DMP4LIB_STATIC) -o check.exe && wine ./check.exe
//
// Prints "OK: 0 failures" and exits 0 when every value matches.
#include <cstdio>
#include <vector>

#include "reader/movie_builder.h"
#include "reader/parsed_movie.h"
#include "reader/sample_index.h"

using namespace mp4lib;
using namespace mp4lib::test;

static int failures = 0;
#define CHECK_EQ(a, b)                                                                                  \
  do {                                                                                                  \
    const auto actual = (a);                                                                            \
    const auto wanted = (b);                                                                            \
    if (!(actual == wanted)) {                                                                          \
      ++failures;                                                                                       \
      std::printf("line %d: %s is %lld, not %lld\n", __LINE__, #a, static_cast<long long>(actual),     \
                  static_cast<long long>(wanted));                                                      \
    }                                                                                                   \
  } while (0)

int main() {
  // Byte reader: 64-bit positions keep only their low 32 bits.
  {
    TempFile file(Bytes{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19}, "bytes.bin");
    std::FILE* stream = std::fopen(file.path().string().c_str(), "rb");
    reader::InputFile in;
    reader::openInput(in, stream);
    reader::seekInput(in, (std::int64_t{1} << 32) + 16, SEEK_SET);
    CHECK_EQ(reader::tellInput(in), 16);
    CHECK_EQ(reader::readBE32(in), 0x10111213u);
    CHECK_EQ(reader::fileLength(in), 20);
    CHECK_EQ(reader::readByte(in), 0u);
    reader::closeInput(in);
  }
  // A movie of several samples per chunk, with the sample-to-chunk box last.
  {
    const Bytes track = trak(tkhd(1, 1000, 176, 144), mdhd(15000, 15000), hdlr("", "vide", {0}),
                             {stsd({videoEntry("s263", 176, 144)}), stts({{5, 1000}, {5, 2000}}),
                             stsz(0, 10, {10, 20, 30, 40, 50, 60, 70, 80, 90, 100}),
                             stco({1000, 2000, 3000, 4000}), stsc({{1, 2, 1}, {3, 3, 1}})});
    ParsedMovie parsed(concat({ftyp(), box("mdat", Bytes(8, 0)), box("moov", concat({mvhd(1000, 1000), track}))}));
    CHECK_EQ(parsed.status, 0);
    CHECK_EQ(parsed.movie->trackCount, 1);
    const frame::TrackRecord& t = parsed.track(0);
    const std::uint32_t offsets[] = {1000, 1010, 2000, 2030, 3000, 3050, 3110, 0, 0, 0};
    CHECK_EQ(t.sampleCount, 10);
    for (int i = 0; i < 10 && i < t.sampleCount; ++i) CHECK_EQ(t.samples[i].offset, offsets[i]);
    CHECK_EQ(t.codec->codecId, 4);
    CHECK_EQ(t.codec->width, 176u);
    std::int32_t entry = -1;
    reader::setCachedTimeRun(0);
    reader::entryForTime(t, 400, &entry);  // 6000 units
    CHECK_EQ(entry, 5);
    CHECK_EQ(reader::timeOfEntry(t, 7).ms, 600u);
    CHECK_EQ(sizeof(SampleEntry), 16u);
    if (sizeof(void*) == 4) CHECK_EQ(sizeof(CodecDescriptor), 84u);
  }
  std::printf("OK: %d failures\n", failures);
  return failures == 0 ? 0 : 1;
}
