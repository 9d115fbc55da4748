#include "platform/memory.h"
#include "platform/platform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>

#include "support/plugin_folder.h"

namespace mp4lib::platform {
namespace {

TEST(PlatformFiles, OpensByWidePathWithNonAsciiName) {
  test::PluginFolder folder;
  const std::wstring path = folder.path().wstring() + kPathSeparator + L"movie-\u00e9\u4e2d.3gp";
  std::FILE* out = openFile(path.c_str(), "wb");
  ASSERT_NE(out, nullptr);
  std::fputs("abc", out);
  std::fclose(out);
  std::FILE* in = openFile(path.c_str(), "rb");
  ASSERT_NE(in, nullptr);
  char text[4] = {};
  EXPECT_EQ(std::fread(text, 1, 3, in), 3u);
  std::fclose(in);
  EXPECT_STREQ(text, "abc");
}

TEST(PlatformFiles, MissingFileDoesNotOpen) {
  EXPECT_EQ(openFile(L"/no/such/folder/movie.3gp", "rb"), nullptr);
  EXPECT_EQ(openFile(nullptr, "rb"), nullptr);
}

TEST(PlatformFiles, FindFilesMatchesThePluginPattern) {
  test::PluginFolder folder;
  folder.addFile(test::sharedLibraryName("codecB"), "");
  folder.addFile(test::sharedLibraryName("codecA"), "");
  folder.addFile(test::sharedLibraryName("xcodecC"), "");
  folder.addFile("codecD.txt", "");
  auto names = findFiles(folder.path().wstring(), kPluginPattern);
  std::sort(names.begin(), names.end());
  ASSERT_EQ(names.size(), 2u);
  EXPECT_EQ(names[0], std::filesystem::path(test::sharedLibraryName("codecA")).wstring());
  EXPECT_EQ(names[1], std::filesystem::path(test::sharedLibraryName("codecB")).wstring());
}

TEST(PlatformFiles, FindFilesInMissingFolderIsEmpty) { EXPECT_TRUE(findFiles(L"/no/such/folder", L"*").empty()); }

TEST(PlatformFiles, DiskSpaceOfCurrentVolume) {
  std::uint64_t freeBytes = 0, total = 0;
  ASSERT_TRUE(diskSpace(&freeBytes, &total));
  EXPECT_GT(total, 0u);
  EXPECT_LE(freeBytes, total);
}

TEST(PlatformThreads, CriticalSectionIsRecursive) {
  CriticalSection section;
  section.enter();
  section.enter();
  section.leave();
  section.leave();
  Lock lock(section);
  SUCCEED();
}

TEST(PlatformThreads, DetachedThreadRuns) {
  static std::atomic<int> value{0};
  static int argument = 42;
  value = 0;
  ASSERT_TRUE(startDetachedThread([](void* arg) { value.store(*static_cast<int*>(arg)); }, &argument));
  // Wait for the thread's result without timing anything.
  while (value.load() == 0) sleepMs(1);
  EXPECT_EQ(value.load(), 42);
}

TEST(PlatformThreads, LockExcludesOtherThreads) {
  static CriticalSection section;
  static std::atomic<int> inside{0};
  static std::atomic<int> finished{0};
  static int counter = 0;
  counter = 0;
  finished = 0;
  auto work = [](void*) {
    for (int i = 0; i < 10000; ++i) {
      Lock lock(section);
      if (inside.fetch_add(1) != 0) std::abort();
      ++counter;
      inside.fetch_sub(1);
    }
    finished.fetch_add(1);
  };
  ASSERT_TRUE(startDetachedThread(work, nullptr));
  ASSERT_TRUE(startDetachedThread(work, nullptr));
  while (finished.load() < 2) sleepMs(1);
  Lock lock(section);
  EXPECT_EQ(counter, 20000);
}

TEST(PlatformClock, TestClockReplacesTheSystemClock) {
  setClockForTesting([]() -> std::uint32_t { return 123456u; });
  EXPECT_EQ(timeGetTimeMs(), 123456u);
  setClockForTesting(nullptr);
  EXPECT_NE(timeGetTimeMs(), 123456u);
}

TEST(PlatformModules, MissingLibraryDoesNotLoad) {
  EXPECT_EQ(loadLibrary(L"/no/such/codec.so"), nullptr);
  EXPECT_EQ(findSymbol(nullptr, "encode"), nullptr);
  EXPECT_FALSE(isLibraryLoaded(L"/no/such/codec.so"));
}

TEST(PlatformModules, ModuleFileNameNeedsRoom) {
  wchar_t name[4];
  EXPECT_EQ(moduleFileName(name, 4), 0u);
}

}  // namespace
}  // namespace mp4lib::platform

namespace mp4lib::platform {
namespace {

TEST(Memory, TheAllocationAskedForFailsAndNoOther) {
  failAllocationForTesting(2);
  void* first = allocate(16);
  void* second = allocateZeroed(4, 4);
  void* third = allocate(16);
  failAllocationForTesting(0);
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(second, nullptr);
  EXPECT_NE(third, nullptr);
  void* grown = reallocate(first, 64);
  EXPECT_NE(grown, nullptr);
  release(grown);
  release(third);
}

TEST(Memory, CountsTheBlocksStillHeld) {
  const std::int64_t before = liveBlockCount();
  void* a = allocate(8);
  void* b = reallocate(nullptr, 8);  // a new block
  b = reallocate(b, 64);             // the same block, moved
  EXPECT_EQ(liveBlockCount(), before + 2);
  release(a);
  release(b);
  release(nullptr);
  EXPECT_EQ(liveBlockCount(), before);
  failAllocationForTesting(1);
  EXPECT_EQ(allocate(8), nullptr);
  EXPECT_EQ(liveBlockCount(), before);  // a failed allocation holds nothing
}

TEST(Memory, CountsEveryAllocation) {
  const std::uint64_t before = allocationCount();
  release(allocate(1));
  release(reallocate(nullptr, 1));
  EXPECT_EQ(allocationCount(), before + 2);
}

}  // namespace
}  // namespace mp4lib::platform
