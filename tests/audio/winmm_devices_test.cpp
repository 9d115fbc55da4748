// The winmm wave devices with a real window: the library opens the default
// output with CALLBACK_WINDOW and the test's message loop answers each
// MM_WOM_DONE with processWaveOut, as an application's window procedure
// would. Skipped where the system has no output device.
#include <windows.h>

#include <gtest/gtest.h>

#include <vector>

#include "audio/wave_block_list.h"
#include "audio/wave_in_state.h"
#include "audio/wave_out_control.h"
#include "mp4lib.h"
#include "reader/decoder_fixture.h"

namespace mp4lib::test {
namespace {

class WinmmDevices : public DecoderTest {
 protected:
  void SetUp() override {
    DecoderTest::SetUp();
    window = CreateWindowExW(0, L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    ASSERT_NE(window, nullptr);
  }
  void TearDown() override {
    closeWaveIn();
    closeWaveOut();
    audio::setWaveInBufferSize(0);
    audio::clearWaveBlocks();
    audio::setWaveOutAudioEntry(0);
    DestroyWindow(window);
    DecoderTest::TearDown();
  }
  // Waits (at most 10 s) for the next MM_WIM_DATA and hands it back.
  bool answerOneFull() {
    const DWORD start = GetTickCount();
    MSG message;
    while (GetTickCount() - start < 10000) {
      if (!PeekMessageW(&message, window, 0, 0, PM_REMOVE)) {
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 50, QS_ALLINPUT);
        continue;
      }
      if (message.message == MP4LIB_WIM_DATA) {
        processWaveIn(message.wParam, reinterpret_cast<Mp4WaveHeader*>(message.lParam));
        return true;
      }
    }
    return false;
  }
  // Waits (at most 10 s) for the next MM_WOM_DONE and hands it back.
  bool answerOneDone(Mp4WaveOutHandle handle) {
    const DWORD start = GetTickCount();
    MSG message;
    while (GetTickCount() - start < 10000) {
      if (!PeekMessageW(&message, window, 0, 0, PM_REMOVE)) {
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 50, QS_ALLINPUT);
        continue;
      }
      if (message.message == MP4LIB_WOM_DONE) {
        processWaveOut(handle, reinterpret_cast<Mp4WaveHeader*>(message.lParam));
        return true;
      }
    }
    return false;
  }
  HWND window = nullptr;
};

TEST_F(WinmmDevices, PlaysEveryBlockAndGetsEachBack) {
  MovieLayout layout;
  TrackLayout track;
  track.video = false;
  track.entry = soundEntry("sowt", 0, 1, 16, 8000);
  track.timing = {{12, 160}};
  track.samples = makeSamples(12, 320);
  track.timeScale = 8000;
  layout.tracks = {track};
  ASSERT_EQ(open(layout), 1);
  Mp4WaveOutHandle handle = nullptr;
  if (openWaveOutEx(0, reinterpret_cast<Mp4WaveWindow>(window), 16, 8000, 1, &handle) != 1) {
    GTEST_SKIP() << "no wave output device";
  }
  int released = 0;
  while (decodeAudioAndPlayEx() != 0) {
    if (audio::waveBlockCount() < 8) continue;
    ASSERT_TRUE(answerOneDone(handle));
    ++released;
  }
  while (audio::waveBlockCount() > 0) {
    ASSERT_TRUE(answerOneDone(handle));
    ++released;
  }
  EXPECT_EQ(released, 12);
  EXPECT_EQ(closeWaveOut(), 1);
}

TEST_F(WinmmDevices, CapturesFullBuffersIntoTheBlockList) {
  audio::setWaveInBufferSize(320);
  Mp4WaveInHandle handle = nullptr;
  ASSERT_EQ(openWaveInEx(0, reinterpret_cast<Mp4WaveWindow>(window), 16, 8000, 1, &handle), 1);
  if (handle == nullptr) GTEST_SKIP() << "no wave input device";
  for (int i = 0; i < 7; ++i) ASSERT_TRUE(answerOneFull()) << i;
  ASSERT_EQ(closeWaveIn(), 1);
  ASSERT_EQ(audio::waveBlockCount(), 7u);
  while (const audio::WaveBlock* block = audio::waveBlockHead()) {
    EXPECT_EQ(block->header.bytesRecorded, 320u);
    audio::removeWaveBlockHead();
  }
}

}  // namespace
}  // namespace mp4lib::test
