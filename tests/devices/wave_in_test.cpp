#include <gtest/gtest.h>

#include <cstdint>
#include <thread>
#include <vector>

#include "devices/fake_wave_devices.h"
#include "devices/wave_block_list.h"
#include "support/library_state.h"
#include "container/recorded_movie.h"
#include "mp4lib.h"
#include "support/recording.h"

namespace mp4lib::test {
namespace {

using devices::WaveBlock;
using platform::WaveHeader;

Mp4WaveHeader* asPublic(WaveHeader* header) { return reinterpret_cast<Mp4WaveHeader*>(header); }

class WaveIn : public ::testing::Test {
 protected:
  void SetUp() override {
    devices::clearWaveBlocks(test::devices().blocks);
    test::recorder().captureBlockBytes.store(320);
  }
  void TearDown() override {
    closeWaveIn();
    devices::clearWaveBlocks(test::devices().blocks);
    test::recorder().captureBlockBytes.store(0);
  }
  Mp4WaveFormat openedFormat() const {
    const auto opens = devices.callsNamed("waveInOpen");
    return opens.empty() ? Mp4WaveFormat{} : opens.back().format;
  }

  FakeWaveDevices devices;
  int windowToken = 0;
  Mp4WaveWindow window = reinterpret_cast<Mp4WaveWindow>(&windowToken);
};

TEST_F(WaveIn, SixteenBitMonoAt8kHzHasBlockAlign2And16000BytesPerSecond) {
  ASSERT_EQ(openWaveIn(7, window, 16, 8000, 1), 1);
  const auto opens = devices.callsNamed("waveInOpen");
  ASSERT_EQ(opens.size(), 1u);
  EXPECT_EQ(opens[0].value, 0xFFFFFFFFu);  // the default device
  EXPECT_EQ(opens[0].flags, 0x10000u);     // messages to the window
  EXPECT_EQ(opens[0].instance, 7u);
  EXPECT_EQ(opens[0].window, static_cast<void*>(&windowToken));
  const Mp4WaveFormat format = opens[0].format;
  EXPECT_EQ(format.formatTag, 1);
  EXPECT_EQ(format.channels, 1);
  EXPECT_EQ(format.samplesPerSec, 8000u);
  EXPECT_EQ(format.bitsPerSample, 16);
  EXPECT_EQ(format.blockAlign, 2);
  EXPECT_EQ(format.avgBytesPerSec, 16000u);
  EXPECT_EQ(format.extraSize, 0);
}

TEST_F(WaveIn, EightBitStereoHasBlockAlign2) {
  ASSERT_EQ(openWaveIn(0, window, 8, 11025, 2), 1);
  EXPECT_EQ(openedFormat().blockAlign, 2);
  EXPECT_EQ(openedFormat().avgBytesPerSec, 22050u);
}

TEST_F(WaveIn, TwelveBitSamplesHaveBlockAlignOfTheChannelCount) {
  ASSERT_EQ(openWaveIn(0, window, 12, 8000, 3), 1);
  EXPECT_EQ(openedFormat().blockAlign, 3);  // (12 >> 3) x 3
  EXPECT_EQ(openedFormat().avgBytesPerSec, 24000u);
  EXPECT_EQ(openedFormat().bitsPerSample, 12);
}

TEST_F(WaveIn, OnlyTheLow16BitsOfTheSampleSizeCount) {
  ASSERT_EQ(openWaveIn(0, window, 0x10010, 8000, 1), 1);
  EXPECT_EQ(openedFormat().bitsPerSample, 16);
  EXPECT_EQ(openedFormat().blockAlign, 2);
}

TEST_F(WaveIn, OpenQueuesFiveBuffersOfOneEncoderBlockAndStarts) {
  Mp4WaveInHandle handle = nullptr;
  ASSERT_EQ(openWaveInEx(0, window, 16, 8000, 1, &handle), 1);
  EXPECT_EQ(static_cast<void*>(handle), devices.inputHandle());
  std::vector<std::string> names;
  for (const WaveCall& call : devices.calls) names.push_back(call.name);
  const std::vector<std::string> expected = {
      "waveInOpen",          "waveInPrepareHeader", "waveInAddBuffer", "waveInPrepareHeader", "waveInAddBuffer",
      "waveInPrepareHeader", "waveInAddBuffer",     "waveInPrepareHeader", "waveInAddBuffer", "waveInPrepareHeader",
      "waveInAddBuffer",     "waveInStart"};
  EXPECT_EQ(names, expected);
  const auto added = devices.callsNamed("waveInAddBuffer");
  for (std::size_t i = 0; i < added.size(); ++i) {
    EXPECT_EQ(added[i].value, sizeof(WaveHeader)) << i;
    EXPECT_EQ(added[i].header->bufferLength, 320u) << i;
    EXPECT_NE(added[i].header->data, nullptr) << i;
    for (std::size_t j = 0; j < i; ++j) EXPECT_NE(added[i].header, added[j].header);
  }
  EXPECT_EQ(devices.inputQueued(), 5u);
}

TEST_F(WaveIn, AFullBufferBecomesABlockAndGoesBackToTheDevice) {
  ASSERT_EQ(openWaveIn(0, window, 16, 8000, 1), 1);
  WaveHeader* full = devices.fillNextInput({1, 2, 3});
  ASSERT_NE(full, nullptr);
  EXPECT_EQ(devices.inputQueued(), 4u);
  EXPECT_EQ(processWaveIn(0, asPublic(full)), 0u);
  EXPECT_EQ(devices.inputQueued(), 5u);
  EXPECT_EQ(devices.callsNamed("waveInAddBuffer").back().header, full);
  ASSERT_EQ(devices::waveBlockCount(test::devices().blocks), 1u);
  const WaveBlock* block = devices::waveBlockHead(test::devices().blocks);
  EXPECT_EQ(block->header.bytesRecorded, 3u);
  EXPECT_EQ(block->header.bufferLength, 3u);
  EXPECT_EQ(std::vector<std::uint8_t>(block->header.data, block->header.data + 3),
            (std::vector<std::uint8_t>{1, 2, 3}));
  EXPECT_NE(block->header.data, full->data);  // a copy
}

TEST_F(WaveIn, AnEmptyBufferStillAppendsAnEmptyBlock) {
  ASSERT_EQ(openWaveIn(0, window, 16, 8000, 1), 1);
  WaveHeader* empty = devices.fillNextInput({});
  EXPECT_EQ(processWaveIn(0, asPublic(empty)), 0u);
  ASSERT_EQ(devices::waveBlockCount(test::devices().blocks), 1u);
  EXPECT_EQ(devices::waveBlockHead(test::devices().blocks)->header.bytesRecorded, 0u);
  EXPECT_EQ(devices::waveBlockHead(test::devices().blocks)->header.bufferLength, 0u);
}

TEST_F(WaveIn, BlocksKeepTheOrderOfTheBuffers) {
  ASSERT_EQ(openWaveIn(0, window, 16, 8000, 1), 1);
  for (std::uint8_t i = 0; i < 7; ++i) {
    WaveHeader* full = devices.fillNextInput({i, i});
    ASSERT_EQ(processWaveIn(0, asPublic(full)), 0u);
  }
  ASSERT_EQ(devices::waveBlockCount(test::devices().blocks), 7u);
  for (std::uint8_t i = 0; i < 7; ++i) {
    EXPECT_EQ(devices::waveBlockHead(test::devices().blocks)->header.data[0], i);
    devices::removeWaveBlockHead(test::devices().blocks);
  }
}

TEST_F(WaveIn, ARecordedCountBeyondTheBufferIsCutToIt) {
  ASSERT_EQ(openWaveIn(0, window, 16, 8000, 1), 1);
  WaveHeader* full = devices.fillNextInput(std::vector<std::uint8_t>(400, 9));
  EXPECT_EQ(full->bytesRecorded, 400u);
  EXPECT_EQ(processWaveIn(0, asPublic(full)), 0u);
  EXPECT_EQ(devices::waveBlockHead(test::devices().blocks)->header.bytesRecorded, 320u);
}

TEST_F(WaveIn, HeadersThatAreNotTheDevicesAreRefused) {
  ASSERT_EQ(openWaveIn(0, window, 16, 8000, 1), 1);
  WaveHeader foreign{};
  EXPECT_EQ(processWaveIn(0, asPublic(&foreign)), 5u);
  EXPECT_EQ(processWaveIn(0, nullptr), 5u);
  WaveHeader* queued = devices.callsNamed("waveInAddBuffer")[0].header;
  EXPECT_EQ(processWaveIn(0, asPublic(queued)), 33u);  // still the device's
  WaveHeader* full = devices.fillNextInput({1});
  ASSERT_EQ(closeWaveIn(), 1);
  EXPECT_EQ(processWaveIn(0, asPublic(full)), 5u);  // a message that came after close
  EXPECT_EQ(devices::waveBlockCount(test::devices().blocks), 0u);
}

TEST_F(WaveIn, CloseResetsStopsReleasesAndKeepsTheCapturedBlocks) {
  ASSERT_EQ(openWaveIn(0, window, 16, 8000, 1), 1);
  ASSERT_EQ(processWaveIn(0, asPublic(devices.fillNextInput({5}))), 0u);
  devices.calls.clear();
  EXPECT_EQ(closeWaveIn(), 1);
  std::vector<std::string> names;
  for (const WaveCall& call : devices.calls) names.push_back(call.name);
  ASSERT_EQ(names.size(), 8u);
  EXPECT_EQ(names[0], "waveInReset");
  EXPECT_EQ(names[1], "waveInStop");
  for (int i = 2; i < 7; ++i) {
    EXPECT_EQ(names[i], "waveInUnprepareHeader");
    EXPECT_EQ(devices.calls[i].value, sizeof(WaveHeader));
    EXPECT_NE(devices.calls[i].flags & MP4LIB_WHDR_DONE, 0u);  // every buffer is done when unprepared
  }
  EXPECT_EQ(names[7], "waveInClose");
  EXPECT_EQ(devices::waveBlockCount(test::devices().blocks), 1u);
}

TEST_F(WaveIn, CloseMarksBuffersTheDeviceKeptAsExactlyDone) {
  ASSERT_EQ(openWaveIn(0, window, 16, 8000, 1), 1);
  WaveHeader* full = devices.fillNextInput({1});  // done, with the application
  devices.inResetKeepsBuffers = true;
  devices.calls.clear();
  ASSERT_EQ(closeWaveIn(), 1);
  const auto unprepares = devices.callsNamed("waveInUnprepareHeader");
  ASSERT_EQ(unprepares.size(), 5u);
  for (const WaveCall& call : unprepares) {
    if (call.header == full) {
      EXPECT_EQ(call.flags, MP4LIB_WHDR_DONE | 0x2u) << "a done buffer keeps its flags";
    } else {
      EXPECT_EQ(call.flags, MP4LIB_WHDR_DONE) << "flags set to exactly done";
    }
  }
}

TEST_F(WaveIn, CloseFailsWithoutChangesWhenResetOrStopFails) {
  ASSERT_EQ(openWaveIn(0, window, 16, 8000, 1), 1);
  devices.inResetResult = 6;
  EXPECT_EQ(closeWaveIn(), 0);
  EXPECT_TRUE(devices.callsNamed("waveInStop").empty());
  EXPECT_TRUE(devices.callsNamed("waveInUnprepareHeader").empty());
  devices.inResetResult = 0;
  devices.inStopResult = 6;
  EXPECT_EQ(closeWaveIn(), 0);
  EXPECT_TRUE(devices.callsNamed("waveInUnprepareHeader").empty());
  // The buffers the reset gave back are still the device's and still work.
  WaveHeader* returned = devices.callsNamed("waveInAddBuffer")[0].header;
  EXPECT_EQ(processWaveIn(0, asPublic(returned)), 0u);
  EXPECT_EQ(devices.inputQueued(), 1u);
  devices.inStopResult = 0;
  EXPECT_EQ(closeWaveIn(), 1);
}

TEST_F(WaveIn, AMissingDeviceStillOpensWith1) {
  devices.inOpenResult = 2;
  Mp4WaveInHandle handle = reinterpret_cast<Mp4WaveInHandle>(&windowToken);
  EXPECT_EQ(openWaveInEx(0, window, 16, 8000, 1, &handle), 1);
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(devices.inputQueued(), 0u);
  EXPECT_EQ(closeWaveIn(), 0);  // nothing to reset
  // A later open releases the buffers of the failed one (ASan would tell).
  devices.inOpenResult = 0;
  EXPECT_EQ(openWaveIn(0, window, 16, 8000, 1), 1);
  EXPECT_EQ(devices.inputQueued(), 5u);
}

TEST_F(WaveIn, OpeningTwiceClosesTheFirstDevice) {
  ASSERT_EQ(openWaveIn(0, window, 16, 8000, 1), 1);
  ASSERT_EQ(openWaveIn(0, window, 16, 8000, 1), 1);
  EXPECT_EQ(devices.callsNamed("waveInClose").size(), 1u);
  EXPECT_EQ(devices.inputQueued(), 5u);
}

TEST_F(WaveIn, OpenDropsBlocksLeftOnTheList) {
  devices::appendWaveBlock(test::devices().blocks, devices::newWaveBlock(4));
  ASSERT_EQ(openWaveIn(0, window, 16, 8000, 1), 1);
  EXPECT_EQ(devices::waveBlockCount(test::devices().blocks), 0u);
  EXPECT_EQ(devices::waveBlockHead(test::devices().blocks), nullptr);
}

// ---- Capture feeding the encoder --------------------------------------------

class WaveInRecording : public RecordingTest {
 protected:
  void TearDown() override {
    closeWaveIn();
    RecordingTest::TearDown();
  }
  FakeWaveDevices devices;
  int windowToken = 0;
};

TEST_F(WaveInRecording, EncodeWaveInAudioEncodesWhatProcessWaveInCaptured) {
  // 16-bit mono 8000 Hz in 20 ms blocks: capture buffers of 320 bytes.
  ASSERT_NE(startRecording(audioParams(MP4LIB_CODEC_TYPE_AMR, 20), "capture.3gp"), nullptr);
  EXPECT_EQ(test::recorder().captureBlockBytes.load(), 320u);
  ASSERT_EQ(openWaveIn(0, reinterpret_cast<Mp4WaveWindow>(&windowToken), 16, 8000, 1), 1);
  std::vector<std::uint8_t> first(320), second(320);
  for (std::size_t i = 0; i < 320; ++i) {
    first[i] = static_cast<std::uint8_t>(i);
    second[i] = static_cast<std::uint8_t>(255 - i);
  }
  ASSERT_EQ(processWaveIn(0, asPublic(devices.fillNextInput(first))), 0u);
  ASSERT_EQ(processWaveIn(0, asPublic(devices.fillNextInput(second))), 0u);
  std::vector<std::uint8_t> out(1000);
  std::uint32_t size = 1000;
  ASSERT_EQ(encodeWaveInAudio(out.data(), &size, 1), 1);
  ASSERT_EQ(size, 320u);  // the test codec passes PCM through
  EXPECT_EQ(std::vector<std::uint8_t>(out.begin(), out.begin() + 320), first);
  size = 1000;
  ASSERT_EQ(encodeWaveInAudio(out.data(), &size, 1), 1);
  EXPECT_EQ(std::vector<std::uint8_t>(out.begin(), out.begin() + 320), second);
  size = 1000;
  EXPECT_EQ(encodeWaveInAudio(out.data(), &size, 1), 0);  // nothing more captured
  ASSERT_EQ(closeWaveIn(), 1);
  const container::RecordedTrack& track = test::recorder().movie.tracks[0];
  EXPECT_EQ(track.sampleCount, 2);
  EXPECT_EQ(track.samples[1].offset - track.samples[0].offset, 320u);
}

TEST_F(WaveInRecording, CaptureThreadStoresAudioWhileVideoIsStoredOnAnother) {
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 1);
  addAudio(params, MP4LIB_CODEC_TYPE_AMR, 20);
  ASSERT_NE(startRecording(params, "both.3gp"), nullptr);
  ASSERT_EQ(openWaveIn(0, reinterpret_cast<Mp4WaveWindow>(&windowToken), 16, 8000, 1), 1);
  constexpr int kBlocks = 60;
  constexpr int kFrames = 60;
  // The capture side: each full buffer goes to the list, then to the file.
  std::thread capture([this] {
    std::vector<std::uint8_t> out(1000);
    for (int i = 0; i < kBlocks; ++i) {
      processWaveIn(0, asPublic(devices.fillNextInput(std::vector<std::uint8_t>(320, static_cast<std::uint8_t>(i)))));
      std::uint32_t size = 1000;
      encodeWaveInAudio(out.data(), &size, 1);
    }
  });
  std::vector<std::uint8_t> out(176 * 144 * 3);
  for (int frame = 0; frame < kFrames; ++frame) {
    std::uint32_t size = static_cast<std::uint32_t>(out.size());
    ASSERT_EQ(encodeVideo(blankFrame(), 0, out.data(), &size, 1, static_cast<std::uint32_t>(frame * 66)), 1);
  }
  capture.join();
  ASSERT_EQ(closeWaveIn(), 1);
  EXPECT_EQ(test::recorder().movie.tracks[0].sampleCount, kFrames);
  EXPECT_EQ(test::recorder().movie.tracks[1].sampleCount, kBlocks);
}

}  // namespace
}  // namespace mp4lib::test
