// The real codec plug-ins of the build, loaded through the registry.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "codecs/plugin_registry.h"
#include "support/pcm.h"
#include "support/plugin_folder.h"

namespace mp4lib::test {

class RealPlugins : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    const std::wstring beside = (libraryFolder() / mp4libFileName()).wstring();
    codecs::discoverCodecPluginsBeside(beside.c_str());
  }
  static void TearDownTestSuite() {
    codecs::activePlugins() = codecs::ActivePlugins{};
    codecs::unloadCodecPlugins();
    codecs::discoverCodecPluginsBeside(nullptr);
  }
  static CodecPlugin* plugin(std::uint32_t type) {
    CodecPlugin* found = codecs::findCodecPluginByType(type);
    EXPECT_NE(found, nullptr) << "no plug-in of type " << type;
    return found;
  }
};

inline Mp4Word word(const void* pointer) { return reinterpret_cast<Mp4Word>(pointer); }

}  // namespace mp4lib::test
