// The library as an application sees it: a copy of the shared library in a
// folder with a test plug-in, loaded and unloaded at run time.
#include <gtest/gtest.h>

#include "platform/platform.h"
#include "plugin/test_plugin_control.h"
#include "support/plugin_folder.h"

namespace mp4lib {
namespace {

using Lifecycle = void (*)();

class LoadedLibrary : public ::testing::Test {
 protected:
  void SetUp() override {
    pluginPath = folder.addPlugin("codectest_h263").wstring();
    libraryPath = folder.addLibrary().wstring();
    library = platform::loadLibrary(libraryPath.c_str());
    ASSERT_NE(library, nullptr);
    init = reinterpret_cast<Lifecycle>(platform::findSymbol(library, "initMp4Lib"));
    finalize = reinterpret_cast<Lifecycle>(platform::findSymbol(library, "finalizeMp4Lib"));
    ASSERT_NE(init, nullptr);
    ASSERT_NE(finalize, nullptr);
  }
  void TearDown() override {
    if (library != nullptr) platform::unloadLibrary(library);
  }
  bool pluginLoaded() const { return platform::isLibraryLoaded(pluginPath.c_str()); }
  // Identity calls the loaded plug-in has seen (it must be loaded).
  int identityCalls() const {
    platform::ModuleHandle plugin = platform::loadLibrary(pluginPath.c_str());
    auto control = reinterpret_cast<TestPluginControlFn>(platform::findSymbol(plugin, "testPluginControl"))();
    int calls = 0;
    for (int i = 0; i < control->callCount; ++i) calls += control->calls[i].entry == TP_GET_CODEC_ID;
    platform::unloadLibrary(plugin);
    return calls;
  }

  test::PluginFolder folder;
  std::wstring pluginPath, libraryPath;
  platform::ModuleHandle library = nullptr;
  Lifecycle init = nullptr, finalize = nullptr;
};

TEST_F(LoadedLibrary, OnlyTheCApiIsExported) {
  EXPECT_NE(platform::findSymbol(library, "makeFourCC"), nullptr);
  EXPECT_EQ(platform::findSymbol(library, "_ZN6mp4lib6codecs20discoverCodecPluginsEv"  /* mp4lib::codecs::discoverCodecPlugins() */), nullptr);
}

TEST_F(LoadedLibrary, InitFindsPluginsBesideTheLibrary) {
  EXPECT_FALSE(pluginLoaded());
  init();
  EXPECT_TRUE(pluginLoaded());
  EXPECT_EQ(identityCalls(), 1);
  finalize();
  EXPECT_FALSE(pluginLoaded());
}

TEST_F(LoadedLibrary, SecondInitDoesNotRediscover) {
  init();
  init();
  EXPECT_EQ(identityCalls(), 1);
  finalize();
}

TEST_F(LoadedLibrary, FinalizeBeforeInitDoesNothing) {
  finalize();
  EXPECT_FALSE(pluginLoaded());
  init();
  EXPECT_TRUE(pluginLoaded());
  finalize();
  finalize();
  EXPECT_FALSE(pluginLoaded());
}

TEST_F(LoadedLibrary, InitAfterFinalizeLoadsAgain) {
  init();
  finalize();
  init();
  EXPECT_TRUE(pluginLoaded());
  finalize();
}

TEST_F(LoadedLibrary, UnloadingWithoutFinalizeFreesThePlugins) {
  init();
  ASSERT_TRUE(pluginLoaded());
  platform::unloadLibrary(library);
  library = nullptr;
  EXPECT_FALSE(pluginLoaded());
}

}  // namespace
}  // namespace mp4lib
