// A recording set-up for tests: the test codec plug-ins in a scratch
// folder, a fixed free-disk answer and a clock the test sets.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <filesystem>

#include "mp4lib.h"
#include "plugin/test_plugin_control.h"
#include "support/plugin_folder.h"

namespace mp4lib::test {

// The clock every recording test reads instead of the system's, ms.
extern std::atomic<std::uint32_t> testClockMs;

// Free bytes the disk-space seam reports.
extern std::atomic<std::uint64_t> testFreeBytes;

// True when ffprobe answers (never on Windows, where the tests run under
// wine without it).
bool ffprobeAvailable();

class RecordingTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Parameters for video of `videoType` (flag 4), 176 x 144 at 15 fps.
  static EncoderParams videoParams(std::uint32_t videoType, std::uint32_t timingMode);
  // Adds audio of `audioType` (flag 8): 16-bit mono 8000 Hz blocks of blockMs.
  static void addAudio(EncoderParams& params, std::uint32_t audioType, std::uint32_t blockMs);
  static EncoderParams audioParams(std::uint32_t audioType, std::uint32_t blockMs);

  // The control block of the loaded test plug-in of `codecType`.
  TestPluginControl* control(std::uint32_t codecType) const;

  // initEncoder + createEncodeFile + writeVideoFileHeader(value).
  EncoderContext* startRecording(EncoderParams params, const std::string& name, std::uint32_t value = 0x01020304);

  // A grey 176 x 144 short planar frame.
  static const std::int16_t* blankFrame();

  std::filesystem::path pathOf(const std::string& name) const { return folder.path() / name; }

  PluginFolder folder;
};

}  // namespace mp4lib::test
