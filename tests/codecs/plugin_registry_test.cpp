#include "codecs/plugin_registry.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "platform/platform.h"
#include "support/plugin_folder.h"
#include "support/test_plugin.h"
#include "support/library_state.h"

namespace mp4lib::codecs {
namespace {

using test::PluginFolder;
using test::controlOf;

class PluginRegistry : public ::testing::Test {
 protected:
  void TearDown() override {
    unloadCodecPlugins(test::plugins());
    discoverCodecPluginsBeside(test::plugins(), nullptr);  // count back to 0
  }
  PluginFolder folder;
};

TEST_F(PluginRegistry, EmptyFolderLoadsNothing) {
  discoverCodecPluginsBeside(test::plugins(), folder.moduleFileInside().c_str());
  EXPECT_EQ(test::plugins().count, 0);
  EXPECT_EQ(findCodecPluginByType(test::plugins(), MP4LIB_CODEC_TYPE_H263), nullptr);
}

TEST_F(PluginRegistry, LoadsPluginsAndAsksTheirIdentityOnce) {
  folder.addPlugin("codectest_h263");
  folder.addPlugin("codectest_amr");
  discoverCodecPluginsBeside(test::plugins(), folder.moduleFileInside().c_str());
  ASSERT_EQ(test::plugins().count, 2);

  CodecPlugin* video = findCodecPluginByType(test::plugins(), MP4LIB_CODEC_TYPE_H263);
  ASSERT_NE(video, nullptr);
  EXPECT_EQ(video->codecId, 4u);
  EXPECT_EQ(video->codecCategory, 0u);
  EXPECT_EQ(video->codecTag, MP4LIB_TAG_S263);
  EXPECT_EQ(video->codecType, 1u);

  CodecPlugin* audio = findCodecPluginByType(test::plugins(), MP4LIB_CODEC_TYPE_AMR);
  ASSERT_NE(audio, nullptr);
  EXPECT_EQ(audio->codecId, 63u);
  EXPECT_EQ(audio->codecCategory, 1u);
  EXPECT_EQ(audio->codecTag, MP4LIB_TAG_SAMR);

  // The four identity questions, in order, and nothing else.
  TestPluginControl* control = controlOf(video);
  ASSERT_NE(control, nullptr);
  ASSERT_EQ(control->callCount, 4);
  EXPECT_EQ(control->calls[0].entry, TP_GET_CODEC_ID);
  EXPECT_EQ(control->calls[1].entry, TP_GET_CODEC_CATEGORY);
  EXPECT_EQ(control->calls[2].entry, TP_GET_CODEC_TAG);
  EXPECT_EQ(control->calls[3].entry, TP_GET_CODEC_TYPE);
}

TEST_F(PluginRegistry, BindsAllEighteenEntryPoints) {
  folder.addPlugin("codectest_h263");
  discoverCodecPluginsBeside(test::plugins(), folder.moduleFileInside().c_str());
  CodecPlugin* plugin = codecPluginAt(test::plugins(), 0);
  ASSERT_NE(plugin, nullptr);
  const void* entries[] = {
      reinterpret_cast<void*>(plugin->getCodecID),     reinterpret_cast<void*>(plugin->getCodecCategory),
      reinterpret_cast<void*>(plugin->getCodecTag),    reinterpret_cast<void*>(plugin->getCodecType),
      reinterpret_cast<void*>(plugin->getVersion),     reinterpret_cast<void*>(plugin->getAuthor),
      reinterpret_cast<void*>(plugin->isInitEncode),   reinterpret_cast<void*>(plugin->isInitDecode),
      reinterpret_cast<void*>(plugin->initEncode),     reinterpret_cast<void*>(plugin->initDecode),
      reinterpret_cast<void*>(plugin->finalizeEncode), reinterpret_cast<void*>(plugin->finalizeDecode),
      reinterpret_cast<void*>(plugin->encode),         reinterpret_cast<void*>(plugin->decode),
      reinterpret_cast<void*>(plugin->getFrameTime),   reinterpret_cast<void*>(plugin->getDecodeYUV),
      reinterpret_cast<void*>(plugin->getReconYUV),    reinterpret_cast<void*>(plugin->decodeFrameHeader)};
  for (const void* entry : entries) EXPECT_NE(entry, nullptr);
  EXPECT_EQ(reinterpret_cast<void*>(plugin->encode), platform::findSymbol(plugin->module, "encode"));
}

TEST_F(PluginRegistry, FirstFoundOfOneCodecTypeIsSelected) {
  folder.addPlugin("codectest_h263", test::sharedLibraryName("codecA"));
  folder.addPlugin("codectest_h263", test::sharedLibraryName("codecB"));
  discoverCodecPluginsBeside(test::plugins(), folder.moduleFileInside().c_str());
  ASSERT_EQ(test::plugins().count, 2);

  const auto found = platform::findFiles(folder.path().wstring() + platform::kPathSeparator, platform::kPluginPattern);
  ASSERT_EQ(found.size(), 2u);
  CodecPlugin* selected = findCodecPluginByType(test::plugins(), MP4LIB_CODEC_TYPE_H263);
  EXPECT_EQ(selected, codecPluginAt(test::plugins(), 0));
  EXPECT_NE(selected, codecPluginAt(test::plugins(), 1));
  // Table order is search order: the first record is the first file found.
  const std::wstring firstPath = (folder.path() / found[0]).wstring();
  platform::ModuleHandle first = platform::loadLibrary(firstPath.c_str());
  EXPECT_EQ(platform::findSymbol(first, "testPluginControl"),
            platform::findSymbol(selected->module, "testPluginControl"));
  platform::unloadLibrary(first);
}

TEST_F(PluginRegistry, APluginIsFoundOnlyInItsOwnCategory) {
  folder.addPlugin("codectest_h263", test::sharedLibraryName("codecvideo"));
  folder.addPlugin("codectest_amr", test::sharedLibraryName("codecaudio"));
  discoverCodecPluginsBeside(test::plugins(), folder.moduleFileInside().c_str());
  ASSERT_EQ(test::plugins().count, 2);
  CodecPlugin* h263 = findCodecPluginByType(test::plugins(), MP4LIB_CODEC_TYPE_H263);
  CodecPlugin* amr = findCodecPluginByType(test::plugins(), MP4LIB_CODEC_TYPE_AMR);
  ASSERT_NE(h263, nullptr);
  ASSERT_NE(amr, nullptr);
  EXPECT_EQ(findCodecPlugin(test::plugins(), MP4LIB_CODEC_TYPE_H263, MP4LIB_CATEGORY_VIDEO), h263);
  EXPECT_EQ(findCodecPlugin(test::plugins(), MP4LIB_CODEC_TYPE_AMR, MP4LIB_CATEGORY_AUDIO), amr);
  EXPECT_EQ(findCodecPlugin(test::plugins(), MP4LIB_CODEC_TYPE_H263, MP4LIB_CATEGORY_AUDIO), nullptr);
  EXPECT_EQ(findCodecPlugin(test::plugins(), MP4LIB_CODEC_TYPE_AMR, MP4LIB_CATEGORY_VIDEO), nullptr);
}

TEST_F(PluginRegistry, StopsLoadingAtTenPlugins) {
  for (int i = 0; i < 11; ++i) folder.addPlugin("codectest_h263", test::sharedLibraryName("codec" + std::to_string(10 + i)));
  discoverCodecPluginsBeside(test::plugins(), folder.moduleFileInside().c_str());
  EXPECT_EQ(test::plugins().count, 10);
  EXPECT_FALSE(platform::isLibraryLoaded((folder.path() / test::sharedLibraryName("codec20")).wstring().c_str()));
}

TEST_F(PluginRegistry, FileThatDoesNotLoadIsSkipped) {
  folder.addFile(test::sharedLibraryName("codec0junk"), "not a library");
  folder.addPlugin("codectest_amr");
  discoverCodecPluginsBeside(test::plugins(), folder.moduleFileInside().c_str());
  ASSERT_EQ(test::plugins().count, 1);
  EXPECT_EQ(codecPluginAt(test::plugins(), 0)->codecType, MP4LIB_CODEC_TYPE_AMR);
}

TEST_F(PluginRegistry, PluginWithoutIdentityFunctionsIsNotLoaded) {
  const auto partial = folder.addPlugin("codectest_notype");
  discoverCodecPluginsBeside(test::plugins(), folder.moduleFileInside().c_str());
  EXPECT_EQ(test::plugins().count, 0);
  EXPECT_FALSE(platform::isLibraryLoaded(partial.wstring().c_str()));
}

TEST_F(PluginRegistry, FilesNotMatchingThePatternAreIgnored) {
  folder.addPlugin("codectest_h263", test::sharedLibraryName("mycodec"));
  folder.addPlugin("codectest_h263", "codec_h263.bin");
  discoverCodecPluginsBeside(test::plugins(), folder.moduleFileInside().c_str());
  EXPECT_EQ(test::plugins().count, 0);
}

TEST_F(PluginRegistry, ModuleNameWithoutFolderSearchesTheCurrentFolder) {
  folder.addPlugin("codectest_g723");
  const auto previous = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  discoverCodecPluginsBeside(test::plugins(), std::wstring(L"mp4lib.so").c_str());
  std::filesystem::current_path(previous);
  ASSERT_EQ(test::plugins().count, 1);
  EXPECT_EQ(codecPluginAt(test::plugins(), 0)->codecType, MP4LIB_CODEC_TYPE_G723);
}

TEST_F(PluginRegistry, UnloadFreesModulesAndKeepsTheCount) {
  const auto path = folder.addPlugin("codectest_h263");
  discoverCodecPluginsBeside(test::plugins(), folder.moduleFileInside().c_str());
  ASSERT_TRUE(platform::isLibraryLoaded(path.wstring().c_str()));
  unloadCodecPlugins(test::plugins());
  EXPECT_EQ(test::plugins().count, 1);
  EXPECT_EQ(codecPluginAt(test::plugins(), 0)->module, nullptr);
  EXPECT_FALSE(platform::isLibraryLoaded(path.wstring().c_str()));
  EXPECT_EQ(findCodecPluginByType(test::plugins(), MP4LIB_CODEC_TYPE_H263), nullptr);
}

TEST_F(PluginRegistry, RealModuleFileNameIsKnown) {
  wchar_t name[255];
  const std::size_t length = platform::moduleFileName(name, 255);
  ASSERT_GT(length, 0u);
  EXPECT_NE(std::wcsrchr(name, platform::kPathSeparator), nullptr);
}

}  // namespace
}  // namespace mp4lib::codecs
