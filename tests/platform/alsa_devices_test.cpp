// The ALSA wave devices, headless: ALSA's configuration is replaced by one
// whose default PCM is the "file" plug-in over "null", which needs no sound
// card. Playback writes what it plays to a file; capture reads a known file.
// The null device does not keep real time, so nothing here waits on a clock.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "devices/wave_block_list.h"
#include "support/library_state.h"
#include "devices/wave_out.h"
#include "mp4lib.h"
#include "wave_window.h"
#include "playback/decoder_fixture.h"
#include "support/alsa_file_devices.h"

namespace mp4lib::test {
namespace {

Bytes readAll(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

class AlsaDevices : public DecoderTest {
 protected:
  void SetUp() override {
    DecoderTest::SetUp();
    folder = std::filesystem::temp_directory_path() / ("mp4lib_alsa_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + "_" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::create_directories(folder);
    useAlsaFileDevices(folder);
  }
  void TearDown() override {
    closeWaveOut();
    closeWaveIn();
    devices::clearWaveBlocks(test::devices().blocks);
    test::devices().playbackEntry.store(0);
    test::recorder().captureBlockBytes.store(0);
    DecoderTest::TearDown();
    stopUsingAlsaFileDevices();
    std::filesystem::remove_all(folder);
  }
  std::filesystem::path folder;
  // The application's side: the device thread posts, the test thread takes.
  support::WaveMessageWindow queue;
  // The next message; false when none came within 10 s (a hung device).
  bool take(support::WaveMessage* message) { return queue.next(message, 10000); }
};

TEST_F(AlsaDevices, PlaybackWritesTheDecodedPcmInOrder) {
  const std::vector<Bytes> samples = makeSamples(20, 320);
  MovieLayout layout;
  layout.tracks = {pcmLayout(samples, 160)};
  ASSERT_EQ(open(layout), 1);
  Mp4WaveOutHandle handle = nullptr;
  ASSERT_EQ(openWaveOutEx(0, queue.window(), 16, 8000, 1, &handle), 1);
  ASSERT_NE(handle, nullptr);
  int released = 0;
  while (decodeAudioAndPlayEx() != 0) {
    if (devices::waveBlockCount(test::devices().blocks) < 8) continue;
    support::WaveMessage message;
    ASSERT_TRUE(take(&message));
    EXPECT_EQ(message.id, MP4LIB_WOM_DONE);
    processWaveOut(handle, message.header);
    ++released;
  }
  while (devices::waveBlockCount(test::devices().blocks) > 0) {
    support::WaveMessage message;
    ASSERT_TRUE(take(&message));
    processWaveOut(handle, message.header);
    ++released;
  }
  EXPECT_EQ(released, 20);
  ASSERT_EQ(closeWaveOut(), 1);
  Bytes expected;
  for (const Bytes& sample : samples) expected.insert(expected.end(), sample.begin(), sample.end());
  EXPECT_EQ(readAll(folder / "played.raw"), expected);
}

TEST_F(AlsaDevices, OnlyTheLeftChannelPlaysAtFullVolume) {
  // 16-bit stereo: frames of left (2 bytes) then right (2 bytes).
  const std::vector<Bytes> samples = makeSamples(2, 400);
  MovieLayout layout;
  layout.tracks = {pcmLayout(samples, 100, 2)};
  ASSERT_EQ(open(layout), 1);
  Mp4WaveOutHandle handle = nullptr;
  ASSERT_EQ(openWaveOutEx(0, queue.window(), 16, 8000, 2, &handle), 1);
  ASSERT_EQ(decodeAudioAndPlayEx(), 1u);
  ASSERT_EQ(decodeAudioAndPlayEx(), 1u);
  for (int i = 0; i < 2; ++i) {
    support::WaveMessage message;
    ASSERT_TRUE(take(&message));
    processWaveOut(handle, message.header);
  }
  ASSERT_EQ(closeWaveOut(), 1);
  // Volume word 0x0000FFFF: the left samples as decoded, the right ones 0.
  Bytes expected;
  for (const Bytes& sample : samples) expected.insert(expected.end(), sample.begin(), sample.end());
  for (std::size_t at = 0; at + 3 < expected.size(); at += 4) expected[at + 2] = expected[at + 3] = 0;
  EXPECT_EQ(readAll(folder / "played.raw"), expected);
}

TEST_F(AlsaDevices, CaptureDeliversTheInputInOrder) {
  Bytes input(320 * 6);
  for (std::size_t i = 0; i < input.size(); ++i) input[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
  {
    std::ofstream out(folder / "input.raw", std::ios::binary);
    out.write(reinterpret_cast<const char*>(input.data()), static_cast<std::streamsize>(input.size()));
  }
  test::recorder().captureBlockBytes.store(320);
  Mp4WaveInHandle handle = nullptr;
  ASSERT_EQ(openWaveInEx(0, queue.window(), 16, 8000, 1, &handle), 1);
  ASSERT_NE(handle, nullptr);
  for (int i = 0; i < 6; ++i) {
    support::WaveMessage message;
    ASSERT_TRUE(take(&message));
    EXPECT_EQ(message.id, MP4LIB_WIM_DATA);
    EXPECT_EQ(processWaveIn(0, message.header), 0u);
  }
  ASSERT_EQ(closeWaveIn(), 1);
  Bytes captured;
  while (const devices::WaveBlock* block = devices::waveBlockHead(test::devices().blocks)) {
    captured.insert(captured.end(), block->header.data, block->header.data + block->header.bytesRecorded);
    devices::removeWaveBlockHead(test::devices().blocks);
  }
  EXPECT_EQ(captured, input);
}

}  // namespace
}  // namespace mp4lib::test
