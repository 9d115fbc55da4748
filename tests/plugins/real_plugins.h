// The real codec plug-ins of the build, loaded through the registry.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "codecs/plugin_registry.h"
#include "support/pcm.h"
#include "support/plugin_folder.h"
#include "support/library_state.h"

namespace mp4lib::test {

class RealPlugins : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    const std::wstring beside = (libraryFolder() / mp4libFileName()).wstring();
    codecs::discoverCodecPluginsBeside(test::plugins(), beside.c_str());
  }
  static void TearDownTestSuite() {
    test::plugins().active = codecs::ActivePlugins{};
    codecs::unloadCodecPlugins(test::plugins());
    codecs::discoverCodecPluginsBeside(test::plugins(), nullptr);
  }
  static CodecPlugin* plugin(std::uint32_t type) {
    CodecPlugin* found = codecs::findCodecPluginByType(test::plugins(), type);
    EXPECT_NE(found, nullptr) << "no plug-in of type " << type;
    return found;
  }
};

inline Mp4Word word(const void* pointer) { return reinterpret_cast<Mp4Word>(pointer); }

}  // namespace mp4lib::test
