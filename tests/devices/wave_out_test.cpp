#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <vector>

#include "devices/fake_wave_devices.h"
#include "devices/wave_block_list.h"
#include "devices/wave_out.h"
#include "mp4lib.h"
#include "platform/platform.h"
#include "playback/decoder_fixture.h"
#include "support/library_state.h"

namespace mp4lib::test {
namespace {

using platform::WaveHeader;

Mp4WaveHeader* asPublic(WaveHeader* header) { return reinterpret_cast<Mp4WaveHeader*>(header); }

std::atomic<std::uint32_t> steppingClock{0};
// Every reading of the clock is half a second after the last one.
std::uint32_t halfSecondSteps() { return steppingClock.fetch_add(500) + 500; }

class WaveOut : public DecoderTest {
 protected:
  void TearDown() override {
    closeWaveOut();
    devices::clearWaveBlocks(test::devices().blocks);
    test::devices().playbackEntry.store(0);
    platform::setClockForTesting(nullptr);
    DecoderTest::TearDown();
  }

  // A 16-bit mono 8000 Hz PCM movie ("sowt", passed through by the test
  // codec) whose entries are the given samples.
  void openPcm(std::vector<Bytes> samples) {
    MovieLayout layout;
    layout.tracks = {pcmLayout(std::move(samples), 1024)};
    ASSERT_EQ(open(layout), 1);
  }

  void openDevice() { ASSERT_EQ(openWaveOut(3, window, 16, 8000, 1), 1); }

  int decodeCalls() { return countEntry(control(MP4LIB_CODEC_TYPE_PCM), TP_DECODE); }

  FakeWaveDevices devices;
  int windowToken = 0;
  Mp4WaveWindow window = reinterpret_cast<Mp4WaveWindow>(&windowToken);
};

TEST_F(WaveOut, OpenUsesTheDefaultDeviceAndLeftChannelFullVolume) {
  Mp4WaveOutHandle handle = nullptr;
  ASSERT_EQ(openWaveOutEx(3, window, 16, 8000, 1, &handle), 1);
  EXPECT_EQ(static_cast<void*>(handle), devices.outputHandle());
  const auto opens = devices.callsNamed("waveOutOpen");
  ASSERT_EQ(opens.size(), 1u);
  EXPECT_EQ(opens[0].value, 0xFFFFFFFFu);
  EXPECT_EQ(opens[0].flags, 0x10000u);
  EXPECT_EQ(opens[0].instance, 3u);
  EXPECT_EQ(opens[0].window, static_cast<void*>(&windowToken));
  EXPECT_EQ(opens[0].format.formatTag, 1);
  EXPECT_EQ(opens[0].format.blockAlign, 2);
  EXPECT_EQ(opens[0].format.avgBytesPerSec, 16000u);
  const auto volumes = devices.callsNamed("waveOutSetVolume");
  ASSERT_EQ(volumes.size(), 1u);
  EXPECT_EQ(volumes[0].value, 0x0000FFFFu);  // left at full, right at 0
  EXPECT_EQ(volumes[0].handle, devices.outputHandle());
  EXPECT_TRUE(devices::outputOpen(test::devices()));
}

TEST_F(WaveOut, AFailedOpenReturns0AndStillStoresTheHandle) {
  devices.outOpenResult = 2;
  Mp4WaveOutHandle handle = reinterpret_cast<Mp4WaveOutHandle>(&windowToken);
  EXPECT_EQ(openWaveOutEx(0, window, 16, 8000, 1, &handle), 0);
  EXPECT_EQ(handle, nullptr);
  EXPECT_TRUE(devices.callsNamed("waveOutSetVolume").empty());
  EXPECT_FALSE(devices::outputOpen(test::devices()));
  EXPECT_EQ(closeWaveOut(), 0);  // nothing to reset
}

TEST_F(WaveOut, OpenDropsBlocksLeftOnTheList) {
  devices::appendWaveBlock(test::devices().blocks, devices::newWaveBlock(4));
  openDevice();
  EXPECT_EQ(devices::waveBlockCount(test::devices().blocks), 0u);
}

TEST_F(WaveOut, EachCallQueuesOneDecodedEntryInOrder) {
  const std::vector<Bytes> samples = makeSamples(3, 300);
  openPcm(samples);
  openDevice();
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(decodeAudioAndPlayEx(), 1u) << i;
    EXPECT_EQ(test::devices().playbackEntry.load(), i + 1);
  }
  Bytes expected;
  for (const Bytes& sample : samples) expected.insert(expected.end(), sample.begin(), sample.end());
  EXPECT_EQ(devices.played, expected);
  const auto writes = devices.callsNamed("waveOutWrite");
  ASSERT_EQ(writes.size(), 3u);
  const auto prepares = devices.callsNamed("waveOutPrepareHeader");
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(prepares[i].header, writes[i].header);
    EXPECT_EQ(writes[i].value, sizeof(WaveHeader));
    EXPECT_EQ(writes[i].header->bufferLength, 300u);
  }
  EXPECT_EQ(devices::waveBlockCount(test::devices().blocks), 3u);
  EXPECT_EQ(decodeAudioAndPlayEx(), 0u);  // past the last entry
  EXPECT_EQ(test::devices().playbackEntry.load(), 3);
}

TEST_F(WaveOut, WithEightBlocksQueuedNothingIsDecodedAndThePositionStays) {
  openPcm(makeSamples(10, 100));
  openDevice();
  for (int i = 0; i < 8; ++i) ASSERT_EQ(decodeAudioAndPlayEx(), 1u);
  ASSERT_EQ(devices::waveBlockCount(test::devices().blocks), 8u);
  const int decodedSoFar = decodeCalls();
  EXPECT_EQ(decodedSoFar, 8);
  EXPECT_EQ(decodeAudioAndPlayEx(), 1u);
  EXPECT_EQ(decodeCalls(), decodedSoFar);
  EXPECT_EQ(test::devices().playbackEntry.load(), 8);
  EXPECT_EQ(devices.callsNamed("waveOutWrite").size(), 8u);
  // One finished block makes room for one more.
  WaveHeader* finished = devices.finishNextOutput();
  processWaveOut(static_cast<Mp4WaveOutHandle>(devices.outputHandle()), asPublic(finished));
  EXPECT_EQ(devices::waveBlockCount(test::devices().blocks), 7u);
  EXPECT_EQ(decodeAudioAndPlayEx(), 1u);
  EXPECT_EQ(decodeCalls(), decodedSoFar + 1);
  EXPECT_EQ(test::devices().playbackEntry.load(), 9);
}

TEST_F(WaveOut, AnEntryDecodedInPartsKeepsTheCounterUntilItsLastPart) {
  const std::vector<Bytes> samples = makeSamples(2, 5000);
  openPcm(samples);
  openDevice();
  const std::uint32_t parts[] = {2048, 2048, 904};
  const std::int32_t counter[] = {0, 0, 1};
  for (int call = 0; call < 3; ++call) {
    ASSERT_EQ(decodeAudioAndPlayEx(), 1u) << call;
    EXPECT_EQ(test::devices().playbackEntry.load(), counter[call]) << call;
    EXPECT_EQ(devices.callsNamed("waveOutWrite").back().header->bufferLength, parts[call]) << call;
  }
  EXPECT_EQ(devices.played, samples[0]);
  ASSERT_EQ(decodeAudioAndPlayEx(), 1u);
  EXPECT_EQ(test::devices().playbackEntry.load(), 1);  // the second entry's first part
}

TEST_F(WaveOut, AFailingDecodeIsPassedOnAndQueuesNothing) {
  openPcm(makeSamples(2, 100));
  openDevice();
  control(MP4LIB_CODEC_TYPE_PCM)->decodeResult = 0x100;  // low byte 0: failure
  EXPECT_EQ(decodeAudioAndPlayEx(), 0x100u);
  EXPECT_EQ(devices::waveBlockCount(test::devices().blocks), 0u);
}

TEST_F(WaveOut, ProcessWaveOutReleasesTheFinishedOldestBlockOnly) {
  openPcm(makeSamples(3, 100));
  openDevice();
  for (int i = 0; i < 3; ++i) ASSERT_EQ(decodeAudioAndPlayEx(), 1u);
  const auto handle = static_cast<Mp4WaveOutHandle>(devices.outputHandle());
  const auto writes = devices.callsNamed("waveOutWrite");
  processWaveOut(handle, asPublic(writes[1].header));  // not the oldest
  processWaveOut(handle, asPublic(writes[0].header));  // the oldest, still playing
  EXPECT_EQ(devices::waveBlockCount(test::devices().blocks), 3u);
  EXPECT_TRUE(devices.callsNamed("waveOutUnprepareHeader").empty());
  WaveHeader* finished = devices.finishNextOutput();
  processWaveOut(handle, asPublic(finished));
  EXPECT_EQ(devices::waveBlockCount(test::devices().blocks), 2u);
  const auto unprepares = devices.callsNamed("waveOutUnprepareHeader");
  ASSERT_EQ(unprepares.size(), 1u);
  EXPECT_EQ(unprepares[0].header, finished);
  EXPECT_EQ(unprepares[0].value, sizeof(WaveHeader));
  EXPECT_EQ(devices::waveBlockHead(test::devices().blocks)->header.data, writes[1].header->data);
}

TEST_F(WaveOut, CloseResetsWaitsForEveryBlockAndCloses) {
  openPcm(makeSamples(3, 100));
  openDevice();
  for (int i = 0; i < 3; ++i) ASSERT_EQ(decodeAudioAndPlayEx(), 1u);
  devices.calls.clear();
  EXPECT_EQ(closeWaveOut(), 1);
  std::vector<std::string> names;
  for (const WaveCall& call : devices.calls) names.push_back(call.name);
  const std::vector<std::string> expected = {"waveOutReset", "waveOutUnprepareHeader", "waveOutUnprepareHeader",
                                             "waveOutUnprepareHeader", "waveOutClose"};
  EXPECT_EQ(names, expected);
  EXPECT_EQ(devices::waveBlockCount(test::devices().blocks), 0u);
  EXPECT_FALSE(devices::outputOpen(test::devices()));
}

TEST_F(WaveOut, CloseFailsWithoutDrainingWhenResetFails) {
  openPcm(makeSamples(2, 100));
  openDevice();
  ASSERT_EQ(decodeAudioAndPlayEx(), 1u);
  devices.outResetResult = 6;
  EXPECT_EQ(closeWaveOut(), 0);
  EXPECT_EQ(devices::waveBlockCount(test::devices().blocks), 1u);
  EXPECT_TRUE(devices::outputOpen(test::devices()));
  devices.outResetResult = 0;
  EXPECT_EQ(closeWaveOut(), 1);
}

TEST_F(WaveOut, CloseReports0WhenTheDeviceDoesNotClose) {
  openDevice();
  devices.outCloseResult = 6;
  EXPECT_EQ(closeWaveOut(), 0);
  EXPECT_FALSE(devices::outputOpen(test::devices()));
}

TEST_F(WaveOut, ABlockTheDeviceNeverGivesBackIsWaitedForAtMost2Seconds) {
  openPcm(makeSamples(2, 100));
  openDevice();
  ASSERT_EQ(decodeAudioAndPlayEx(), 1u);
  WaveHeader* stuck = devices.callsNamed("waveOutWrite")[0].header;
  devices.outResetKeepsBuffers = true;
  steppingClock = 0;
  platform::setClockForTesting(halfSecondSteps);
  EXPECT_EQ(closeWaveOut(), 1);
  EXPECT_EQ(devices::waveBlockCount(test::devices().blocks), 0u);
  // start at 500 ms; 1000, 1500, 2000 still wait; 2500 gives up: 5 readings.
  EXPECT_EQ(steppingClock.load(), 2500u);
  // Given up, not freed: the device might still read it. The test frees it.
  devices::freeWaveBlock(reinterpret_cast<devices::WaveBlock*>(stuck));
}

TEST_F(WaveOut, SeekResetsThePlayingDeviceAndRemembersTheEntry) {
  openPcm(makeSamples(10, 100));
  openDevice();
  for (int i = 0; i < 4; ++i) ASSERT_EQ(decodeAudioAndPlayEx(), 1u);
  std::int32_t used = -1, video = -1, audioEntry = -1;
  // 1024 units of 8000 per entry: 128 ms each; 600 ms lands in entry 4.
  ASSERT_EQ(seek(600, &used, &video, &audioEntry), 1);
  EXPECT_EQ(audioEntry, 4);
  EXPECT_EQ(used, 512);
  EXPECT_EQ(devices::waveBlockCount(test::devices().blocks), 0u);
  EXPECT_EQ(devices.callsNamed("waveOutReset").size(), 1u);
  EXPECT_EQ(devices.callsNamed("waveOutUnprepareHeader").size(), 4u);
  EXPECT_TRUE(devices::outputOpen(test::devices()));  // seeking keeps the device open
  EXPECT_EQ(test::devices().playbackEntry.load(), 4);
  ASSERT_EQ(decodeAudioAndPlayEx(), 1u);
  EXPECT_EQ(test::devices().playbackEntry.load(), 5);
}

TEST_F(WaveOut, SeekFailsWhenTheDeviceDoesNotReset) {
  openPcm(makeSamples(10, 100));
  openDevice();
  ASSERT_EQ(decodeAudioAndPlayEx(), 1u);
  devices.outResetResult = 6;
  std::int32_t used = -1;
  EXPECT_EQ(seek(600, &used, nullptr, nullptr), 0);
  EXPECT_EQ(used, -1);
  EXPECT_EQ(devices::waveBlockCount(test::devices().blocks), 1u);
  devices.outResetResult = 0;
}

TEST_F(WaveOut, ResetDecoderWithoutAMovieReturns0) {
  Mp4WaveOutHandle handle = nullptr;
  EXPECT_EQ(resetDecoder(&handle), 0);
  EXPECT_TRUE(devices.calls.empty());
}

TEST_F(WaveOut, ResetDecoderReopensWithTheMoviesFormatAndStartsOver) {
  openPcm(makeSamples(4, 100));
  openDevice();
  for (int i = 0; i < 3; ++i) ASSERT_EQ(decodeAudioAndPlayEx(), 1u);
  devices.calls.clear();
  Mp4WaveOutHandle handle = nullptr;
  EXPECT_EQ(resetDecoder(&handle), 1);
  EXPECT_EQ(static_cast<void*>(handle), devices.outputHandle());
  EXPECT_EQ(devices.callsNamed("waveOutClose").size(), 1u);
  const auto opens = devices.callsNamed("waveOutOpen");
  ASSERT_EQ(opens.size(), 1u);
  EXPECT_EQ(opens[0].instance, 3u);
  EXPECT_EQ(opens[0].window, static_cast<void*>(&windowToken));
  EXPECT_EQ(opens[0].format.bitsPerSample, 16);
  EXPECT_EQ(opens[0].format.samplesPerSec, 8000u);
  EXPECT_EQ(opens[0].format.channels, 1);
  EXPECT_EQ(devices::waveBlockCount(test::devices().blocks), 0u);
  EXPECT_EQ(test::devices().playbackEntry.load(), 0);
  devices.played.clear();
  ASSERT_EQ(decodeAudioAndPlayEx(), 1u);
  EXPECT_EQ(devices.played, makeSamples(4, 100)[0]);
}

}  // namespace
}  // namespace mp4lib::test
