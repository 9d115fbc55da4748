// A recording reads back at any frame rate its video plug-in reports that a
// time scale of 1000 x the rate can hold (two frames stored, two read);
// initEncoder refuses the others.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <vector>

#include "malformed/malformed_cases.h"
#include "mp4lib.h"

namespace mp4lib::malformed {
namespace {

namespace fs = std::filesystem;

// Records two 16 x 12 H.263 frames at `frameRate` (the test plug-in reports
// the rate it is given) and returns the frames the library reads back, or -1
// when it refuses the file.
int framesReadBack(double frameRate, const fs::path& path) {
  EncoderParams params{};
  params.width = kWidth;
  params.height = kHeight;
  params.frameRate = frameRate;
  params.flags = MP4LIB_RECORD_VIDEO;
  params.videoCodecType = MP4LIB_CODEC_TYPE_H263;
  EncoderContext* context = nullptr;
  if ((initEncoder(&params, &context) & 0xFF) == 0 || context == nullptr) return -2;
  createEncodeFile(path.wstring().c_str());
  writeVideoFileHeader(0, 0);
  std::vector<std::int16_t> frame(context->frameSampleCount, 128);
  std::vector<std::uint8_t> out(std::size_t{context->codedWidth} * context->codedHeight * 3);
  for (std::uint32_t ms : {0u, 40u}) {
    std::uint32_t size = static_cast<std::uint32_t>(out.size());
    encodeVideo(frame.data(), 0, out.data(), &size, 1, ms);
  }
  closeEncodeFile();
  finalizeEncoder();
  MovieParams* movie = nullptr;
  if (initDecoder(path.wstring().c_str(), &movie) != 1) return -1;
  std::uint32_t frames = 0;
  getVideoFrameNum(&frames);
  finalizeDecoder();
  return static_cast<int>(frames);
}

class RecordedFrameRate : public ::testing::Test {
 protected:
  void TearDown() override {
    std::error_code ignored;
    fs::remove(path_, ignored);
  }
  const fs::path path_ = fs::temp_directory_path() / "mp4lib-recorded-frame-rate.3gp";
};

TEST_F(RecordedFrameRate, FifteenFramesASecondReadBack) { EXPECT_EQ(framesReadBack(15, path_), 2); }

// 1000 x 0.001 = 1 is the smallest time scale; 2,147,483.647 x 1000 the
// largest 32-bit signed one.
TEST_F(RecordedFrameRate, TheSlowestAndFastestRatesReadBack) {
  EXPECT_EQ(framesReadBack(0.001, path_), 2);
  EXPECT_EQ(framesReadBack(2147483.647, path_), 2);
}

TEST_F(RecordedFrameRate, RatesWithoutATimeScaleAreRefusedByInitEncoder) {
  for (double rate : {0.0, -15.0, 0.0009, 2147483.648, 1e7, std::nan("")}) {
    EXPECT_EQ(framesReadBack(rate, path_), -2) << rate;
    EXPECT_EQ(mp4libLastFailure(nullptr, 0), MP4LIB_FAILURE_FRAME_RATE) << rate;
  }
}

}  // namespace
}  // namespace mp4lib::malformed
