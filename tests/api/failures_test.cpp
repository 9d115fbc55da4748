// mp4libLastFailure: each of initDecoder, initEncoder and createEncodeFile
// notes why it failed, in a code and a sentence.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "container/bytes.h"
#include "container/movie_builder.h"
#include "mp4lib.h"
#include "playback/decoder_fixture.h"
#include "support/recording.h"

namespace mp4lib::test {
namespace {

std::string lastFailureText() {
  char text[160];
  mp4libLastFailure(text, sizeof text);
  return text;
}

class OpenFailures : public DecoderTest {};

TEST_F(OpenFailures, AMissingFile) {
  EXPECT_EQ(initDecoder(L"/no/such/movie.3gp", &params), 0);
  EXPECT_EQ(mp4libLastFailure(nullptr, 0), MP4LIB_FAILURE_CANNOT_OPEN_FILE);
  EXPECT_EQ(lastFailureText(), "the file cannot be opened for reading");
}

TEST_F(OpenFailures, BytesThatAreNoMovie) {
  EXPECT_EQ(open(Bytes(100, 0x41)), 0);
  EXPECT_EQ(mp4libLastFailure(nullptr, 0), MP4LIB_FAILURE_NOT_A_MOVIE);
}

// A sample size table that claims more sizes than its box holds.
TEST_F(OpenFailures, ADamagedTable) {
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(3, {0}))};
  Bytes bytes = buildMovie(layout).bytes;
  const Bytes good = stsz(0, 3, {20, 20, 20});
  const Bytes bad = stsz(0, 300, {20, 20, 20});
  const auto at = std::search(bytes.begin(), bytes.end(), good.begin(), good.end());
  ASSERT_NE(at, bytes.end());
  std::copy(bad.begin(), bad.end(), at);
  EXPECT_EQ(open(bytes), 0);
  EXPECT_EQ(mp4libLastFailure(nullptr, 0), MP4LIB_FAILURE_DAMAGED_TABLE);
}

TEST_F(OpenFailures, AnEmptyFirstTrack) {
  MovieLayout layout;
  layout.tracks = {videoLayout({}), amrLayout(10)};
  EXPECT_EQ(open(layout), 0);
  EXPECT_EQ(mp4libLastFailure(nullptr, 0), MP4LIB_FAILURE_EMPTY_FIRST_TRACK);
  EXPECT_EQ(lastFailureText(), "the movie's first track has no samples");
}

TEST_F(OpenFailures, NoPlugInForTheVideo) {
  usePlugins({"codectest_amr"});
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(3, {0})), amrLayout(10)};
  EXPECT_EQ(open(layout), 0);
  EXPECT_EQ(mp4libLastFailure(nullptr, 0), MP4LIB_FAILURE_NO_PLUGIN);
  EXPECT_EQ(lastFailureText(), "no video plug-in for codec type 0x00000001 (H.263)");
}

TEST_F(OpenFailures, TheAudioPlugInRefuses) {
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(3, {0})), amrLayout(10)};
  control(MP4LIB_CODEC_TYPE_AMR)->initDecodeResult = 0x100;  // low byte 0: refused
  EXPECT_EQ(open(layout), 0);
  EXPECT_EQ(mp4libLastFailure(nullptr, 0), MP4LIB_FAILURE_PLUGIN_REFUSED);
  EXPECT_EQ(lastFailureText(), "the audio plug-in refused the stream for codec type 0x10101014 (AMR)");
  control(MP4LIB_CODEC_TYPE_AMR)->initDecodeResult = 1;
}

TEST_F(OpenFailures, SuccessLeavesNone) {
  EXPECT_EQ(initDecoder(L"/no/such/movie.3gp", &params), 0);
  MovieLayout layout;
  layout.tracks = {videoLayout(markedFrames(3, {0}))};
  ASSERT_EQ(open(layout), 1);
  EXPECT_EQ(mp4libLastFailure(nullptr, 0), MP4LIB_FAILURE_NONE);
  EXPECT_EQ(lastFailureText(), "");
}

TEST_F(OpenFailures, TheTextIsCutToTheCapacityGiven) {
  EXPECT_EQ(initDecoder(L"/no/such/movie.3gp", &params), 0);
  char text[9];
  EXPECT_EQ(mp4libLastFailure(text, sizeof text), MP4LIB_FAILURE_CANNOT_OPEN_FILE);
  EXPECT_EQ(std::string(text), "the file");
}

class StartFailures : public RecordingTest {};

TEST_F(StartFailures, NullArguments) {
  EncoderContext* context = nullptr;
  EXPECT_EQ(initEncoder(nullptr, &context), 0u);
  EXPECT_EQ(mp4libLastFailure(nullptr, 0), MP4LIB_FAILURE_ARGUMENT);
}

TEST_F(StartFailures, ADiskNearlyFull) {
  testFreeBytes = 10000;  // only more than 10,000 free bytes will do
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 1);
  EncoderContext* context = nullptr;
  EXPECT_EQ(initEncoder(&params, &context), 0u);
  EXPECT_EQ(mp4libLastFailure(nullptr, 0), MP4LIB_FAILURE_DISK_FULL);
}

TEST_F(StartFailures, NoPlugInForTheAudio) {
  EncoderParams params = audioParams(MP4LIB_CODEC_TYPE_AUDIO_8, 20);
  EncoderContext* context = nullptr;
  EXPECT_EQ(initEncoder(&params, &context), 0u);
  EXPECT_EQ(mp4libLastFailure(nullptr, 0), MP4LIB_FAILURE_NO_PLUGIN);
  EXPECT_EQ(lastFailureText(), "no audio plug-in for codec type 0x10101012 (an unnamed codec)");
}

TEST_F(StartFailures, TheVideoPlugInRefusesWithItsOwnValue) {
  control(MP4LIB_CODEC_TYPE_H263)->initEncodeResult = 0x700;
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 1);
  EncoderContext* context = nullptr;
  EXPECT_EQ(initEncoder(&params, &context), 0x700u);
  EXPECT_EQ(mp4libLastFailure(nullptr, 0), MP4LIB_FAILURE_PLUGIN_REFUSED);
  EXPECT_EQ(lastFailureText(), "the video plug-in refused the parameters for codec type 0x00000001 (H.263)");
}

TEST_F(StartFailures, AFileBeforeTheEncoder) {
  EXPECT_EQ(createEncodeFile(pathOf("early.3gp").wstring().c_str()), 0);
  EXPECT_EQ(mp4libLastFailure(nullptr, 0), MP4LIB_FAILURE_ORDER);
  EXPECT_EQ(lastFailureText(), "initEncoder has not started a recording");
}

TEST_F(StartFailures, ASecondFileAndAnUncreatableOne) {
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 1);
  EncoderContext* context = nullptr;
  ASSERT_EQ(initEncoder(&params, &context), 1u);
  EXPECT_EQ(createEncodeFile((pathOf("no-such-folder") / "x.3gp").wstring().c_str()), 0);
  EXPECT_EQ(mp4libLastFailure(nullptr, 0), MP4LIB_FAILURE_CANNOT_CREATE_FILE);
  ASSERT_EQ(createEncodeFile(pathOf("first.3gp").wstring().c_str()), 1);
  EXPECT_EQ(mp4libLastFailure(nullptr, 0), MP4LIB_FAILURE_NONE);
  EXPECT_EQ(createEncodeFile(pathOf("second.3gp").wstring().c_str()), 0);
  EXPECT_EQ(mp4libLastFailure(nullptr, 0), MP4LIB_FAILURE_ORDER);
  EXPECT_EQ(lastFailureText(), "the recording's file is already open");
}

TEST_F(StartFailures, PlaybackWhileRecordingIsBusy) {
  EncoderParams params = videoParams(MP4LIB_CODEC_TYPE_H263, 1);
  EncoderContext* context = nullptr;
  ASSERT_EQ(initEncoder(&params, &context), 1u);
  MovieParams* movie = nullptr;
  EXPECT_EQ(initDecoder(L"anything.3gp", &movie), 0);
  EXPECT_EQ(mp4libLastFailure(nullptr, 0), MP4LIB_FAILURE_BUSY);
}

}  // namespace
}  // namespace mp4lib::test
