// The tool's live sound on Windows: winmm posts to the tool's message-only
// window, and the tool answers on its own thread. The tool runs with test
// codec plug-ins beside it (no real codecs are built for Windows here), so
// this checks the devices and the pacing loop, not the sound itself.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "support/audio_device.h"
#include "support/plugin_folder.h"

namespace mp4lib::test {
namespace {

class LiveToolWinmm : public ::testing::Test {
 protected:
  void SetUp() override {
    folder.addPlugin("codectest_amr", "codecamr.dll");
    folder.addPlugin("codectest_h263", "codech263.dll");
    // The tool runs on the library beside it, which finds the plug-ins there.
    std::filesystem::copy_file(libraryFolder() / "mp4lib.exe", folder.path() / "mp4lib.exe");
    folder.addLibrary();
  }

  // Runs the tool in the folder; its exit code, and what it printed in *said.
  int tool(const std::string& arguments, std::string* said) {
    const auto log = folder.path() / "said.txt";
    // cmd strips a leading quote, so the line starts with cd instead.
    const std::string line =
        "cd /d \"" + folder.path().string() + "\" && mp4lib.exe " + arguments + " > said.txt 2>&1";
    const int code = std::system(line.c_str());
    std::ifstream in(log);
    said->assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return code;
  }

  PluginFolder folder;
};

TEST_F(LiveToolWinmm, RecordsFromTheDefaultInputAndPlaysToTheDefaultOutput) {
  std::string said;
  const int recorded = tool("record --live --seconds 1 live.3gp", &said);
  if (said.find("cannot open the default input device") != std::string::npos) {
    MP4LIB_WITHOUT_AUDIO_DEVICE("no default input device");
  }
  ASSERT_EQ(recorded, 0) << said;
  // 1 s of 20 ms blocks, and the 15 pictures at 15 fps that go with it.
  EXPECT_NE(said.find("15 video frames"), std::string::npos) << said;
  EXPECT_NE(said.find("50 audio blocks (amr, from the default input device)"), std::string::npos) << said;

  ASSERT_EQ(tool("play --device live.3gp", &said), 0) << said;
  EXPECT_NE(said.find("through the default output device: 50 buffers"), std::string::npos) << said;
}

}  // namespace
}  // namespace mp4lib::test
