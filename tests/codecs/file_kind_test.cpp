#include "codecs/file_kind.h"

#include <gtest/gtest.h>

namespace mp4lib::codecs {
namespace {

TEST(FileKind, KnownExtensionsIgnoringCase) {
  EXPECT_EQ(classifyFileExtension(L"qzv"), 1u);
  EXPECT_EQ(classifyFileExtension(L"QZ1"), 2u);
  EXPECT_EQ(classifyFileExtension(L"3gp"), 3u);
  EXPECT_EQ(classifyFileExtension(L"3GP"), 3u);
  EXPECT_EQ(classifyFileExtension(L"Mov"), 4u);
  EXPECT_EQ(classifyFileExtension(L"avi"), 5u);
}

TEST(FileKind, AnythingElseIsUnknown) {
  EXPECT_EQ(classifyFileExtension(L"mp4"), 0u);
  EXPECT_EQ(classifyFileExtension(L"3gpp"), 0u);
  EXPECT_EQ(classifyFileExtension(L"3g"), 0u);
  EXPECT_EQ(classifyFileExtension(L""), 0u);
}

TEST(FileKind, MissingExtensionIsUnknown) {
  EXPECT_EQ(fileExtension(L"movie"), nullptr);
  EXPECT_EQ(classifyFileExtension(fileExtension(L"movie")), 0u);
}

TEST(FileKind, ExtensionIsTextAfterLastDot) {
  EXPECT_STREQ(fileExtension(L"my.movie.avi"), L"avi");
  EXPECT_EQ(classifyFileExtension(fileExtension(L"clip.MOV")), 4u);
}

}  // namespace
}  // namespace mp4lib::codecs
