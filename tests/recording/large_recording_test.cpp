// A recording of more than 100 MB, read back: every sample byte where the
// sample table says, and the tables where the layout puts them.
#include <gtest/gtest.h>

#include <cstdio>
#include <vector>

#include "mp4lib.h"
#include "support/file_bytes.h"
#include "support/recording.h"

namespace mp4lib::test {
namespace {

// Sizes that exercise small copies, block copies, buffer hand-overs and
// direct writes, in bytes.
const std::uint32_t kSampleSizes[] = {1, 17, 1000, 65535, 65536, 70000, 200000, 3, 40000, 123457};
constexpr std::uint64_t kTargetBytes = 100ull * 1024 * 1024 + 1;

std::uint8_t sampleByte(std::uint32_t sample, std::uint32_t at) {
  return static_cast<std::uint8_t>(sample * 131u + at * 7u + (at >> 11));
}

void fillSample(std::vector<std::uint8_t>& bytes, std::uint32_t sample, std::uint32_t size) {
  for (std::uint32_t at = 0; at < size; ++at) bytes[at] = sampleByte(sample, at);
}

Bytes readWholeFile(const std::filesystem::path& path) {
  Bytes bytes(static_cast<std::size_t>(std::filesystem::file_size(path)));
  std::FILE* file = std::fopen(path.string().c_str(), "rb");
  if (file == nullptr) return {};
  const std::size_t got = std::fread(bytes.data(), 1, bytes.size(), file);
  std::fclose(file);
  bytes.resize(got);
  return bytes;
}

class LargeRecording : public RecordingTest {};

TEST_F(LargeRecording, HundredMegabytesReadBackByteForByte) {
  ASSERT_NE(startRecording(videoParams(MP4LIB_CODEC_TYPE_H263, 0), "large.3gp"), nullptr);
  std::vector<std::uint8_t> sample(200000);
  std::vector<std::uint32_t> sizes;
  std::uint64_t total = 0;
  while (total < kTargetBytes) {
    const std::uint32_t index = static_cast<std::uint32_t>(sizes.size());
    const std::uint32_t size = kSampleSizes[index % (sizeof kSampleSizes / sizeof kSampleSizes[0])];
    fillSample(sample, index, size);
    ASSERT_EQ(writeEncodeData(sample.data(), size, 0, 0), 1);
    sizes.push_back(size);
    total += size;
  }
  ASSERT_EQ(closeEncodeFile(), 1);

  const Bytes file = readWholeFile(pathOf("large.3gp"));
  const std::size_t n = sizes.size();
  const std::size_t moov = 104 + static_cast<std::size_t>(total);
  // moov = 116 + trak(100 + 73 + 64 + 117 + 24 + (20 + 4n) + (16 + 4n) + 56)
  const std::size_t moovSize = 116 + 100 + 73 + 64 + 117 + 24 + 20 + 16 + 56 + 8 * n;
  ASSERT_EQ(file.size(), moov + moovSize);
  EXPECT_EQ(readU32(file, 96), static_cast<std::uint32_t>(total + 8));
  EXPECT_EQ(readU32(file, 100), 0x6D646174u);  // "mdat"
  EXPECT_EQ(readU32(file, moov), moovSize);

  // stsz sits 530 bytes into moov, stco right after its sizes.
  const std::size_t stsz = moov + 530;
  const std::size_t stco = stsz + 20 + 4 * n;
  ASSERT_EQ(readU32(file, stsz + 4), 0x7374737Au);  // "stsz"
  ASSERT_EQ(readU32(file, stsz + 16), n);
  ASSERT_EQ(readU32(file, stco + 4), 0x7374636Fu);  // "stco"
  ASSERT_EQ(readU32(file, stco + 12), n);
  std::size_t offset = 104;
  std::size_t wrongBytes = 0;
  for (std::size_t i = 0; i < n; ++i) {
    ASSERT_EQ(readU32(file, stsz + 20 + 4 * i), sizes[i]) << "sample " << i;
    ASSERT_EQ(readU32(file, stco + 16 + 4 * i), offset) << "sample " << i;
    const std::uint8_t* bytes = file.data() + offset;
    for (std::uint32_t at = 0; at < sizes[i]; ++at) {
      wrongBytes += bytes[at] != sampleByte(static_cast<std::uint32_t>(i), at);
    }
    offset += sizes[i];
  }
  EXPECT_EQ(wrongBytes, 0u);
  std::filesystem::remove(pathOf("large.3gp"));
}

}  // namespace
}  // namespace mp4lib::test
