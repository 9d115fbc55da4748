// Out of memory at every allocation in turn, on the way through a whole
// recording and a whole playback. Whichever allocation fails, nothing
// crashes, every call up to the first one that reports a failure does
// exactly what it does with memory to spare (a failure is never silent),
// nothing is left allocated once the recording or movie is closed, and the
// next recording or playback is exactly as good as ever.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <vector>

#include "mp4lib.h"
#include "platform/memory.h"
#include "support/file_bytes.h"
#include "support/library_state.h"
#include "support/recording.h"
#include "support/test_plugin.h"

namespace mp4lib::test {
namespace {

// What one call answered: its result and a digest of what it wrote.
struct Step {
  std::int64_t result = 0;
  std::uint64_t digest = 0;
  bool operator==(const Step& other) const { return result == other.result && digest == other.digest; }
};

std::uint64_t digestOf(const std::uint8_t* bytes, std::size_t length, std::uint64_t seed = 14695981039346656037ull) {
  std::uint64_t hash = seed;
  for (std::size_t i = 0; i < length; ++i) hash = (hash ^ bytes[i]) * 1099511628211ull;
  return hash;
}

std::uint64_t digestOf(const std::vector<std::uint8_t>& bytes) { return digestOf(bytes.data(), bytes.size()); }

// Results of the library and of plug-ins fail when their low 8 bits are 0.
bool failed(const Step& step) { return (step.result & 0xFF) == 0; }

struct Outcome {
  std::vector<Step> steps;
  std::uint64_t allocations = 0;  // made by the library during the run
};

class AllocationFailures : public RecordingTest {
 protected:
  void SetUp() override {
    RecordingTest::SetUp();
    picture.assign(176 * 144 * 3 / 2, 0);
    for (std::size_t i = 0; i < picture.size(); ++i) picture[i] = static_cast<std::uint8_t>(i * 7 + i / 176);
    TestPluginControl* video = control(MP4LIB_CODEC_TYPE_H263);
    video->planeY = picture.data();
    video->planeU = picture.data() + 176 * 144;
    video->planeV = picture.data() + 176 * 144 + 88 * 72;
    video->pitch = 176;
  }
  void TearDown() override {
    platform::failAllocationForTesting(0);
    finalizeDecoder();
    test::devices().playbackEntry.store(0);  // the seek of play() moves it
    RecordingTest::TearDown();
  }

  // A recording of video and sound through the test plug-ins.
  Outcome record(const std::wstring& path) {
    Outcome run;
    control(MP4LIB_CODEC_TYPE_H263)->framesEncoded = 0;
    const std::uint64_t before = platform::allocationCount();
    EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 0);
    addAudio(params, MP4LIB_CODEC_TYPE_AMR, 20);
    EncoderContext* context = nullptr;
    run.steps.push_back({static_cast<std::int64_t>(initEncoder(&params, &context)), 0});
    run.steps.push_back({createEncodeFile(path.c_str()), 0});
    run.steps.push_back({writeVideoFileHeader(0x01020304, 0), 0});
    std::vector<std::uint8_t> out(176 * 144 * 3), pcm(320), sound(2048);
    for (std::uint32_t frame = 0; frame < 6; ++frame) {
      std::uint32_t outSize = static_cast<std::uint32_t>(out.size());
      const std::int32_t stored = encodeVideo(blankFrame(), 0, out.data(), &outSize, 1, frame * 66);
      run.steps.push_back({stored, digestOf(out.data(), stored != 0 ? outSize : 0)});
      for (std::size_t i = 0; i < pcm.size(); ++i) pcm[i] = static_cast<std::uint8_t>(frame * 13 + i);
      std::uint32_t soundSize = static_cast<std::uint32_t>(sound.size());
      const Mp4Word encoded = encode_audio(pcm.data(), 320, sound.data(), &soundSize);
      run.steps.push_back({static_cast<std::int64_t>(encoded), digestOf(sound.data(), encoded != 0 ? soundSize : 0)});
      run.steps.push_back({writeEncodeData(sound.data(), soundSize, 1, frame * 66), 0});
    }
    run.steps.push_back({closeEncodeFile(), 0});
    finalizeEncoder();
    run.allocations = platform::allocationCount() - before;
    run.steps.push_back({1, digestOf(readFileBytes(std::filesystem::path(path)))});
    return run;
  }

  // Every kind of reading and decoding, by entry and from the queues.
  Outcome play(const std::wstring& path) {
    Outcome run;
    const std::uint64_t before = platform::allocationCount();
    MovieParams* params = nullptr;
    run.steps.push_back({initDecoder(path.c_str(), &params), 0});
    std::uint32_t count = 0;
    run.steps.push_back({getVideoFrameNum(&count), count});
    std::vector<std::uint8_t> yuv(176 * 144 * 3 / 2), rgb(176 * 144 * 3), pcm(4096);
    for (std::int32_t entry = 0; entry < 6; ++entry) {
      std::uint32_t size = 0, time = 0;
      const std::int32_t result = decode_video_track(entry, yuv.data(), &size, &time);
      run.steps.push_back({result, result != 0 ? time : 0});
    }
    std::uint32_t size = 0, time = 0, duration = 0;
    std::fill(rgb.begin(), rgb.end(), 0);
    run.steps.push_back({decode_RGB24_video_track(3, rgb.data(), &size, &time), digestOf(rgb)});
    std::fill(rgb.begin(), rgb.end(), 0);
    run.steps.push_back({decode_RGB16_video_trackEx2(4, rgb.data(), &size, 88, 72, &time, &duration), digestOf(rgb)});
    for (std::int32_t entry = 0; entry < 4; ++entry) {
      std::uint32_t length = static_cast<std::uint32_t>(pcm.size()), left = 0;
      const Mp4Word result = decode_audio_track(entry, pcm.data(), &length, &time, &left);
      run.steps.push_back({static_cast<std::int64_t>(result), result != 0 ? digestOf(pcm.data(), length) : 0});
    }
    std::int32_t used = 0, videoEntry = 0, audioEntry = 0;
    const std::int32_t sought = seek(100, &used, &videoEntry, &audioEntry);
    run.steps.push_back({sought, static_cast<std::uint64_t>(used) * 1000000 + videoEntry * 1000 + audioEntry});
    for (int i = 0; i < 3; ++i) {
      const Mp4Word result = decodeVideo(yuv.data(), &time);
      run.steps.push_back({static_cast<std::int64_t>(result), result != 0 ? time : 0});
    }
    std::fill(rgb.begin(), rgb.end(), 0);
    run.steps.push_back({static_cast<std::int64_t>(decodeRGB24Video(rgb.data(), &time)), digestOf(rgb)});
    std::uint32_t length = static_cast<std::uint32_t>(pcm.size());
    const Mp4Word decoded = decodeAudio(pcm.data(), &length);
    run.steps.push_back({static_cast<std::int64_t>(decoded), decoded != 0 ? digestOf(pcm.data(), length) : 0});
    finalizeDecoder();
    run.allocations = platform::allocationCount() - before;
    return run;
  }

  // A run with allocation `n` failing keeps to the rules in the file's
  // first lines; false once allocation n lies beyond the run.
  template <typename Scenario>
  bool expectSafeWhenFailing(std::uint64_t n, const Outcome& reference, Scenario scenario) {
    SCOPED_TRACE("allocation " + std::to_string(n) + " fails");
    const std::int64_t liveBefore = platform::liveBlockCount();
    platform::failAllocationForTesting(n);
    const Outcome cut = scenario();
    platform::failAllocationForTesting(0);
    EXPECT_EQ(platform::liveBlockCount(), liveBefore) << "blocks left allocated";
    EXPECT_EQ(cut.steps.size(), reference.steps.size());
    for (std::size_t i = 0; i < cut.steps.size() && i < reference.steps.size(); ++i) {
      if (failed(cut.steps[i])) break;
      EXPECT_TRUE(cut.steps[i] == reference.steps[i]) << "step " << i << " succeeded with another outcome";
    }
    // And the next run is as good as ever.
    const Outcome again = scenario();
    EXPECT_TRUE(again.steps == reference.steps) << "the run after the failure differs";
    return n <= cut.allocations;
  }

  std::vector<std::uint8_t> picture;
};

TEST_F(AllocationFailures, EveryAllocationOfARecording) {
  const std::wstring path = pathOf("movie.3gp").wstring();
  const Outcome reference = record(path);
  for (const Step& step : reference.steps) ASSERT_FALSE(failed(step));
  ASSERT_GT(reference.allocations, 5u);
  std::uint64_t n = 1;
  while (expectSafeWhenFailing(n, reference, [&] { return record(path); })) ++n;
  EXPECT_EQ(n, reference.allocations + 1);
  std::printf("each of the %llu allocations of a recording failed in turn\n",
              static_cast<unsigned long long>(reference.allocations));
}

TEST_F(AllocationFailures, EveryAllocationOfAPlayback) {
  const std::wstring path = pathOf("movie.3gp").wstring();
  const Outcome recorded = record(path);
  for (const Step& step : recorded.steps) ASSERT_FALSE(failed(step));
  const Outcome reference = play(path);
  for (const Step& step : reference.steps) ASSERT_FALSE(failed(step)) << "the test movie must play in full";
  ASSERT_GT(reference.allocations, 5u);
  std::uint64_t n = 1;
  while (expectSafeWhenFailing(n, reference, [&] { return play(path); })) ++n;
  EXPECT_EQ(n, reference.allocations + 1);
  std::printf("each of the %llu allocations of a playback failed in turn\n",
              static_cast<unsigned long long>(reference.allocations));
}

}  // namespace
}  // namespace mp4lib::test
