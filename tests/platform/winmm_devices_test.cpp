// The winmm wave devices with a real window: the library opens the default
// output with CALLBACK_WINDOW and the test's message loop answers each
// MM_WOM_DONE with processWaveOut, as an application's window procedure
// would. Skipped where the system has no sound device, unless one is
// required.
#include <gtest/gtest.h>

#include <vector>

#include "devices/wave_block_list.h"
#include "support/library_state.h"
#include "devices/wave_out.h"
#include "mp4lib.h"
#include "wave_window.h"
#include "playback/decoder_fixture.h"
#include "support/audio_device.h"

namespace mp4lib::test {
namespace {

class WinmmDevices : public DecoderTest {
 protected:
  void TearDown() override {
    closeWaveIn();
    closeWaveOut();
    test::recorder().captureBlockBytes.store(0);
    devices::clearWaveBlocks(test::devices().blocks);
    test::devices().playbackEntry.store(0);
    DecoderTest::TearDown();
  }
  // Waits (at most 10 s) for the next message of kind `id` and answers it
  // as the application's window procedure would.
  bool answerOne(std::uint32_t id, Mp4WaveOutHandle handle = nullptr) {
    support::WaveMessage message;
    while (window.next(&message, 10000)) {
      if (message.id != id) continue;
      if (id == MP4LIB_WIM_DATA) processWaveIn(0, message.header);
      if (id == MP4LIB_WOM_DONE) processWaveOut(handle, message.header);
      return true;
    }
    return false;
  }
  support::WaveMessageWindow window;
};

TEST_F(WinmmDevices, PlaysEveryBlockAndGetsEachBack) {
  MovieLayout layout;
  layout.tracks = {pcmLayout(makeSamples(12, 320), 160)};
  ASSERT_EQ(open(layout), 1);
  Mp4WaveOutHandle handle = nullptr;
  if (openWaveOutEx(0, window.window(), 16, 8000, 1, &handle) != 1) {
    MP4LIB_WITHOUT_AUDIO_DEVICE("no wave output device");
  }
  int released = 0;
  while (decodeAudioAndPlayEx() != 0) {
    if (devices::waveBlockCount(test::devices().blocks) < 8) continue;
    ASSERT_TRUE(answerOne(MP4LIB_WOM_DONE, handle));
    ++released;
  }
  while (devices::waveBlockCount(test::devices().blocks) > 0) {
    ASSERT_TRUE(answerOne(MP4LIB_WOM_DONE, handle));
    ++released;
  }
  EXPECT_EQ(released, 12);
  EXPECT_EQ(closeWaveOut(), 1);
}

TEST_F(WinmmDevices, CapturesFullBuffersIntoTheBlockList) {
  test::recorder().captureBlockBytes.store(320);
  Mp4WaveInHandle handle = nullptr;
  ASSERT_EQ(openWaveInEx(0, window.window(), 16, 8000, 1, &handle), 1);
  if (handle == nullptr) MP4LIB_WITHOUT_AUDIO_DEVICE("no wave input device");
  for (int i = 0; i < 7; ++i) ASSERT_TRUE(answerOne(MP4LIB_WIM_DATA)) << i;
  ASSERT_EQ(closeWaveIn(), 1);
  ASSERT_EQ(devices::waveBlockCount(test::devices().blocks), 7u);
  while (const devices::WaveBlock* block = devices::waveBlockHead(test::devices().blocks)) {
    EXPECT_EQ(block->header.bytesRecorded, 320u);
    devices::removeWaveBlockHead(test::devices().blocks);
  }
}

}  // namespace
}  // namespace mp4lib::test
