// Wide file names become UTF-8 for the system and back; what cannot be
// encoded or decoded becomes U+FFFD rather than a wrong name.
#include "platform/posix/utf8.h"

#include <gtest/gtest.h>

namespace mp4lib::platform::posix {
namespace {

TEST(Utf8, EncodesOneToFourBytes) {
  // a, e acute, euro sign, grinning face.
  EXPECT_EQ(toUtf8(L"a\u00e9\u20ac\U0001F600"), "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
}

TEST(Utf8, EncodesSurrogatesAndValuesBeyondUnicodeAsReplacement) {
  const std::wstring wide = {static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0x110000), L'x'};
  EXPECT_EQ(toUtf8(wide), "\xEF\xBF\xBD\xEF\xBF\xBDx");
}

TEST(Utf8, DecodesWhatItEncodes) {
  EXPECT_EQ(fromUtf8("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"), L"a\u00e9\u20ac\U0001F600");
}

TEST(Utf8, DecodesBadBytesAsReplacementOneByteAtATime) {
  EXPECT_EQ(fromUtf8("\xFF" "a"), L"\uFFFDa");                // cannot lead
  EXPECT_EQ(fromUtf8("\xC3" "A"), L"\uFFFDA");                // continuation missing
  EXPECT_EQ(fromUtf8("b\xE2\x82"), L"b\uFFFD\uFFFD");          // cut short at the end
  EXPECT_EQ(fromUtf8("\xC0\xAF"), L"\uFFFD\uFFFD");            // overlong lead
}

}  // namespace
}  // namespace mp4lib::platform::posix
