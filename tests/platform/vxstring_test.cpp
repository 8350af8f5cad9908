#include <gtest/gtest.h>

#include "platform/vxstring.h"

using qorl::VXString;

TEST(VXString, Utf8RoundTripAndSharing) {
  VXString a("caf\xC3\xA9 \xF0\x9F\x98\x80");
  EXPECT_EQ(a.size(), 6u);
  EXPECT_EQ(a[3], U'\u00E9');
  EXPECT_EQ(a[5], U'\U0001F600');
  EXPECT_EQ(a.ToUTF8(), "caf\xC3\xA9 \xF0\x9F\x98\x80");
  VXString b = a;
  EXPECT_EQ(a.RefCount(), 2);
  b += "!";  // copy on write leaves `a` alone
  EXPECT_EQ(a.size(), 6u);
  EXPECT_EQ(b.size(), 7u);
}

TEST(VXString, Utf16SurrogatesAndInvalidInput) {
  VXString a(U"x\U0001F600");
  std::u16string u = a.ToUTF16();
  EXPECT_EQ(u.size(), 3u);
  EXPECT_EQ(VXString::FromUTF16(u.c_str()), a);
  const char16_t lone[] = {u'a', 0xD800, u'b', 0};
  EXPECT_EQ(VXString::FromUTF16(lone), VXString(U"a\uFFFDb"));
  EXPECT_EQ(VXString("\xC3"), VXString(U"\uFFFD"));      // truncated sequence
  EXPECT_EQ(VXString("\xC0\xAF"), VXString(U"\uFFFD\uFFFD"));  // overlong form
}

TEST(VXString, AppendToSelfAndSearch) {
  VXString s("abc");
  s.append(s.data() + 1, 2);
  EXPECT_EQ(s, "abcbc");
  EXPECT_EQ(s.find(U"cb"), 2u);
  EXPECT_EQ(s.substr(3), "bc");
  EXPECT_TRUE(s.EqualsNoCase("ABCBC"));
  EXPECT_TRUE(VXString() == "");
  EXPECT_LT(VXString("a"), VXString("b"));
}
