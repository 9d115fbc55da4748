#include "support/recording.h"

#include <cstdlib>
#include <vector>

#include "codecs/plugin_registry.h"
#include "devices/wave_block_list.h"
#include "platform/platform.h"
#include "support/library_state.h"
#include "support/test_plugin.h"

namespace mp4lib::test {

std::atomic<std::uint32_t> testClockMs{0};
std::atomic<std::uint64_t> testFreeBytes{0};

bool ffprobeAvailable() {
#ifdef _WIN32
  return false;
#else
  static const bool available = std::system("ffprobe -version > /dev/null 2>&1") == 0;
  return available;
#endif
}

namespace {

std::uint32_t readTestClock() { return testClockMs.load(); }

bool reportFreeBytes(std::uint64_t* freeToCaller, std::uint64_t* total) {
  *freeToCaller = testFreeBytes.load();
  *total = 64ull << 30;
  return true;
}

}  // namespace

void RecordingTest::SetUp() {
  folder.addPlugin("codectest_h263");
  folder.addPlugin("codectest_mp4v");
  folder.addPlugin("codectest_amr");
  folder.addPlugin("codectest_g723");
  codecs::discoverCodecPluginsBeside(test::plugins(), folder.moduleFileInside().c_str());
  ASSERT_EQ(test::plugins().count, 4);
  testClockMs = 0;
  testFreeBytes = (1ull << 32) + 123456789;  // low word well above 10,000
  platform::setClockForTesting(readTestClock);
  platform::setDiskSpaceForTesting(reportFreeBytes);
}

void RecordingTest::TearDown() {
  closeEncodeFile();
  finalizeEncoder();
  devices::clearWaveBlocks(test::devices().blocks);
  test::plugins().active = codecs::ActivePlugins{};
  container::resetRecordedMovie(test::recorder().movie);
  test::recorder().context = EncoderContext{};
  test::player().open.store(false);
  codecs::unloadCodecPlugins(test::plugins());
  codecs::discoverCodecPluginsBeside(test::plugins(), nullptr);
  platform::setClockForTesting(nullptr);
  platform::setDiskSpaceForTesting(nullptr);
}

EncoderParams RecordingTest::videoParams(std::uint32_t videoType, std::uint32_t timingMode) {
  EncoderParams params{};
  params.width = 176;
  params.height = 144;
  params.frameRate = 15.0;
  params.timingMode = timingMode;
  params.flags = MP4LIB_RECORD_VIDEO;
  params.videoCodecType = videoType;
  return params;
}

void RecordingTest::addAudio(EncoderParams& params, std::uint32_t audioType, std::uint32_t blockMs) {
  params.flags |= MP4LIB_RECORD_AUDIO;
  params.audioCodecType = audioType;
  params.audioBits = 16;
  params.audioSampleRate = 8000;
  params.audioChannels = 1;
  params.audioBlockMs = blockMs;
}

EncoderParams RecordingTest::audioParams(std::uint32_t audioType, std::uint32_t blockMs) {
  EncoderParams params{};
  addAudio(params, audioType, blockMs);
  return params;
}

TestPluginControl* RecordingTest::control(std::uint32_t codecType) const {
  return controlOf(codecs::findCodecPluginByType(test::plugins(), codecType));
}

const std::int16_t* RecordingTest::blankFrame() {
  static const std::vector<std::int16_t> frame(176 * 144 * 3 / 2, 128);
  return frame.data();
}

EncoderContext* RecordingTest::startRecording(EncoderParams params, const std::string& name, std::uint32_t value) {
  EncoderContext* context = nullptr;
  if (initEncoder(&params, &context) != 1) return nullptr;
  if (createEncodeFile(pathOf(name).wstring().c_str()) != 1) return nullptr;
  if (writeVideoFileHeader(value, 0) != 1) return nullptr;
  return context;
}

}  // namespace mp4lib::test
