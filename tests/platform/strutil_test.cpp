#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "platform/datablob.h"
#include "platform/guid.h"
#include "platform/strutil.h"
#include "store/ids.h"

using namespace qorl;
using namespace qorl::BaseStringUtil;

TEST(StrUtil, EscapeAndUnescapeXML) {
  VXString raw("a&b<c>d\"e'f \xC3\xA9");
  VXString esc = EscapeXMLChars(raw);
  EXPECT_EQ(esc, "a&amp;b&lt;c&gt;d&quot;e&apos;f \xC3\xA9");
  EXPECT_EQ(UnescapeXMLChars(esc), raw);

  std::string utf8 = "x";
  AppendEscapedXML(utf8, raw);
  EXPECT_EQ(utf8, "x" + esc.ToUTF8());

  // Nothing to escape: the very same buffer comes back.
  VXString plain("no reserved characters here");
  EXPECT_EQ(EscapeXMLChars(plain).data(), plain.data());
  EXPECT_EQ(UnescapeXMLChars(plain).data(), plain.data());
  EXPECT_EQ(EscapeXMLChars(VXString()), "");

  EXPECT_EQ(UnescapeXMLChars("&#65;&#x42;&#x1F600;"), VXString(U"AB\U0001F600"));
  // Unknown, unterminated or invalid entities stay as written.
  EXPECT_EQ(UnescapeXMLChars("&nbsp; & &lt &#xD800; &#0; &amp;amp;"), "&nbsp; & &lt &#xD800; &#0; &amp;");
}

TEST(StrUtil, LineFeedsTruncateReplace) {
  EXPECT_EQ(LineFeedConversion("a\r\nb\rc\n\r\r\nd\r"), "a\nb\nc\n\n\nd\n");
  VXString lf("a\nb");
  EXPECT_EQ(LineFeedConversion(lf).data(), lf.data());

  EXPECT_EQ(TruncateString("abcdef", 3), "abc");
  EXPECT_EQ(TruncateString("ab", 3), "ab");

  EXPECT_EQ(ReplaceAll("aaa", "a", "aa"), "aaaaaa");  // no rescanning of output
  EXPECT_EQ(ReplaceAll("x.y.z", ".", ""), "xyz");
  EXPECT_EQ(ReplaceAll("abc", "", "z"), "abc");
  EXPECT_EQ(ReplaceAll("abab", "ab", "c"), "cc");
}

TEST(StrUtil, NumbersAndFlags) {
  long long v = 7;
  EXPECT_TRUE(StringToInt("-9223372036854775808", v));
  EXPECT_EQ(v, std::numeric_limits<long long>::min());
  EXPECT_EQ(IntToString(v), "-9223372036854775808");
  EXPECT_TRUE(StringToInt("+42", v));
  EXPECT_EQ(v, 42);
  for (const char* bad : {"", " 1", "1 ", "12a", "9223372036854775808", "+", "-", "+-1", "0x10", "1.5"}) {
    v = 7;
    EXPECT_FALSE(StringToInt(bad, v)) << bad;
    EXPECT_EQ(v, 7) << bad;
  }
  unsigned long long u = 0;
  EXPECT_TRUE(StringToUInt("18446744073709551615", u));
  EXPECT_EQ(u, std::numeric_limits<unsigned long long>::max());
  EXPECT_FALSE(StringToUInt("-1", u));
  EXPECT_FALSE(StringToUInt("18446744073709551616", u));

  EXPECT_EQ(DoubleToString(0.1), "0.1");
  EXPECT_EQ(DoubleToString(1e300), "1e+300");
  EXPECT_EQ(DoubleToString(-2.5), "-2.5");
  for (double d : {0.1, 1.0 / 3.0, -1e-310, 123456789.125, 5e-324}) {
    double back = 0;
    ASSERT_TRUE(StringToDouble(DoubleToString(d), back));
    EXPECT_EQ(back, d);
  }
  double d = 3;
  EXPECT_FALSE(StringToDouble("1.5x", d));
  EXPECT_FALSE(StringToDouble(" 1.5", d));
  EXPECT_FALSE(StringToDouble("1e999", d));
  EXPECT_EQ(d, 3);

  bool b = false;
  EXPECT_TRUE(StringToBool("TRUE", b));
  EXPECT_TRUE(b);
  EXPECT_TRUE(StringToBool("False", b));
  EXPECT_FALSE(b);
  EXPECT_FALSE(StringToBool("yes", b));
  EXPECT_FALSE(StringToBool("1", b));
  EXPECT_EQ(BoolToString(true), "true");
}

TEST(GUID, TextRoundTripAndRejection) {
  VXUpgradeID id;
  EXPECT_EQ(TKSGUIDGenerator::ByteVectorToGUIDString(id), "");
  EXPECT_FALSE(TKSGUIDGenerator::IsGUIDByteVectorInitialized(id));

  ASSERT_TRUE(TKSGUIDGenerator::VXStringToGUIDByteVector(id, "{0123ABCD-4567-89ab-CDEF-0011223344ff}"));
  EXPECT_EQ(id[0], 0x01);
  EXPECT_EQ(id[15], 0xFF);
  EXPECT_EQ(TKSGUIDGenerator::ByteVectorToGUIDString(id), "0123abcd-4567-89ab-cdef-0011223344ff");

  for (const char* bad : {"", "0123abcd-4567-89ab-cdef-0011223344f", "0123abcd-4567-89ab-cdef-0011223344fg",
                          "0123abcd_4567-89ab-cdef-0011223344ff", "{0123abcd-4567-89ab-cdef-0011223344ff",
                          "0123abcd4567-89ab-cdef-0011223344ff00"}) {
    VXUpgradeID x;
    TKSGUIDGenerator::GetNextGUIDByteVector(x);
    EXPECT_FALSE(TKSGUIDGenerator::VXStringToGUIDByteVector(x, bad)) << bad;
    EXPECT_TRUE(x.empty()) << bad;
  }

  VXUpgradeID a, b;
  TKSGUIDGenerator::GetNextGUIDByteVector(a);
  TKSGUIDGenerator::GetNextGUIDByteVector(b);
  EXPECT_NE(a, b);
  VXString text = TKSGUIDGenerator::ByteVectorToGUIDString(a);
  EXPECT_EQ(text[14], U'4');  // version nibble
  VXUpgradeID back;
  ASSERT_TRUE(TKSGUIDGenerator::VXStringToGUIDByteVector(back, text));
  EXPECT_EQ(back, a);

  EXPECT_TRUE(TKSGUIDGenerator::LooksLikeGUIDText("12345678-9"));
  EXPECT_FALSE(TKSGUIDGenerator::LooksLikeGUIDText("12345678-"));
  EXPECT_FALSE(TKSGUIDGenerator::LooksLikeGUIDText("123456789-abc"));
}

TEST(DataBlob, HexAndTextBytes) {
  ByteVector bytes{0x00, 0x7F, 0xA5, 0xFF};
  VXString hex = DataBlobUtil::ByteVectorToHexVXString(bytes);
  EXPECT_EQ(hex, "007FA5FF");
  ByteVector back;
  EXPECT_TRUE(DataBlobUtil::HexVXStringToByteVector("007fa5Ff", back));
  EXPECT_EQ(back, bytes);
  EXPECT_TRUE(DataBlobUtil::HexVXStringToByteVector("", back));
  EXPECT_TRUE(back.empty());

  EXPECT_FALSE(DataBlobUtil::HexVXStringToByteVector("ABC", back));
  EXPECT_EQ(back, ByteVector{0xAB});
  EXPECT_FALSE(DataBlobUtil::HexVXStringToByteVector("A1zz22", back));
  EXPECT_EQ(back, ByteVector{0xA1});

  VXString text(U"h\u00E9\U0001F600");
  ByteVector utf8 = DataBlobUtil::ToByteVector(text);
  EXPECT_EQ(utf8.size(), 7u);
  VXString decoded;
  DataBlobUtil::FromByteVector(utf8, decoded, true);
  EXPECT_EQ(decoded, text);
  DataBlobUtil::FromByteVector(ByteVector{0x41, 0xE9}, decoded, false);
  EXPECT_EQ(decoded, VXString(U"A\u00E9"));
}

TEST(StrUtil, ClosestNameHintsATypoAndNothingElse) {
  const std::u32string_view names[] = {U"dataType", U"precision", U"scale", U"id"};
  EXPECT_EQ(ClosestName(U"dataTyp", names), U"dataType");
  EXPECT_EQ(ClosestName(U"DATATYPE", names), U"dataType");  // case is not a typo's measure
  EXPECT_EQ(ClosestName(U"precison", names), U"precision");
  EXPECT_EQ(ClosestName(U"ix", names), U"id");
  // Another word altogether, or too short a word to tell: no hint.
  EXPECT_EQ(ClosestName(U"nullable", names), U"");
  EXPECT_EQ(ClosestName(U"xy", names), U"");
  EXPECT_EQ(ClosestName(U"anything", {}), U"");
}
