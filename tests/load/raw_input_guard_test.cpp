#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "load/raw_input_guard.h"
#include "platform/error.h"

namespace qorl {
namespace {

// Feeds the bytes in pieces of `chunk`, then the end; returns the refusal's
// text, or "" when none.
std::string Guard(const std::string& bytes, size_t maxChars, size_t chunk = 7,
                  RawInputGuard::Units units = RawInputGuard::Units::kDetect) {
  RawInputGuard guard(maxChars, units);
  try {
    for (size_t i = 0; i < bytes.size(); i += chunk)
      guard.Feed(reinterpret_cast<const uint8_t*>(bytes.data()) + i, std::min(chunk, bytes.size() - i));
    guard.Feed(nullptr, 0);
  } catch (const ErrorMessage& e) {
    return e.GetText().ToUTF8();
  }
  return "";
}

std::string Utf16(const std::u16string& s, bool bigEndian) {
  std::string out;
  for (char16_t c : s) {
    char hi = static_cast<char>(c >> 8), lo = static_cast<char>(c & 0xFF);
    out += bigEndian ? std::string{hi, lo} : std::string{lo, hi};
  }
  return out;
}

TEST(RawInputGuard, RefusesALongAttributeValueWithItsLineAttributeAndElementHoweverTheBytesArrive) {
  const std::string doc = "<?xml version='1.0'?>\n<Repository>\n<q:Database\n  q:name='" + std::string(20, 'a') +
                          "' other=\"b\"/>\n</Repository>\n";
  const std::string refusal = "Line 4: the attribute q:name of <Database> is longer than 19 characters.";
  for (size_t chunk : {size_t{1}, size_t{3}, size_t{4096}}) EXPECT_EQ(Guard(doc, 19, chunk), refusal) << chunk;
  EXPECT_EQ(Guard(doc, 20), "");
}

// Counting from below: what the guard counts never exceeds the UTF-16 length
// the parser hands over, so a value the load would accept always passes.
TEST(RawInputGuard, CountsNoMoreThanTheParserWouldHandOver) {
  // 2 + 1 (é, two bytes) + 1 (U+1F600, four bytes, two UTF-16 units) + 1 (&quot;) + 1 (CR LF) + 1 (&#10;) = 7
  const std::string value = "ab\xC3\xA9\xF0\x9F\x98\x80&quot;\r\n&#10;";
  const std::string doc = "<r><e v=\"" + value + "\"/></r>";
  EXPECT_EQ(Guard(doc, 7), "");
  EXPECT_NE(Guard(doc, 6), "");
  // A reference counts one unless padded far beyond any real one.
  EXPECT_EQ(Guard("<r v='&#0000000000065;'/>", 1), "");
  EXPECT_NE(Guard("<r v='&" + std::string(40, 'a') + "'/>", 20), "");
  // Quotes outside start tags open no value.
  const std::string run(100, 'x');
  for (const std::string& other : {"<!-- a=\"" + run + "\" -->", "<![CDATA[<e a=\"" + run + "\">]]>",
                                   "<?pi a=\"" + run + "\"?>", "<!DOCTYPE r [<!ENTITY e \"" + run + "\">]>",
                                   "<e>text \"" + run + "\"</e>"})
    EXPECT_EQ(Guard(other + "<r a='ok'/>", 10), "") << other;
  // What follows them is looked at again.
  EXPECT_NE(Guard("<!-- x='-> --><![CDATA[ ]]]> <?x ?><r a='" + run + "'/>", 10), "");
}

TEST(RawInputGuard, ReadsUTF16AndUCS4) {
  const std::u16string doc = u"<?xml version='1.0'?>\n<r>\n<\u00e9l n\u00e4me=\"" + std::u16string(30, u'\u4e2d') + u"\"/></r>";
  const std::string refusal = "Line 3: the attribute n\u00e4me of <\u00e9l> is longer than 29 characters.";
  EXPECT_EQ(Guard(Utf16(doc, false), 29), refusal);
  EXPECT_EQ(Guard(Utf16(doc, true), 29), refusal);
  EXPECT_EQ(Guard("\xFE\xFF" + Utf16(doc, true), 29), refusal);
  EXPECT_EQ(Guard(Utf16(doc, false), 29, 5, RawInputGuard::Units::kUTF16HostOrder), refusal);
  EXPECT_EQ(Guard(Utf16(doc, false), 30), "");
  std::string ucs4;
  for (char16_t c : doc) ucs4 += std::string{0, 0, static_cast<char>(c >> 8), static_cast<char>(c & 0xFF)};
  EXPECT_EQ(Guard(ucs4, 29), refusal);
  // EBCDIC is left to the parser.
  EXPECT_EQ(Guard("\x4C\x6F\xA7\x94" + std::string(100, '\x7F'), 1), "");
}

TEST(RawInputGuard, RefusesInvalidUTF8AndNulWithTheirLine) {
  const std::string head = "<?xml version='1.0' encoding='utf-8'?>\n<r>\n";
  struct Case {
    std::string body, refusal;
  };
  const std::vector<Case> cases = {
      {"<e a='\xC3\x28'/>", "Line 3: the bytes C3 28 are not UTF-8"},
      {"text \x80", "Line 3: the bytes 80 are not UTF-8"},
      {"<e>\xC0\xAF</e>", "Line 3: the bytes C0 are not UTF-8"},       // overlong
      {"<e>\xED\xA0\x80</e>", "Line 3: the bytes ED A0 are not UTF-8"},  // a surrogate
      {"<e>\xF4\x90\x80\x80</e>", "Line 3: the bytes F4 90 are not UTF-8"},  // past U+10FFFF
      {"\n<![CDATA[\xE2\x82", "Line 4: the bytes E2 82 are not UTF-8"},  // cut at the end
      {std::string("<e a='nul\0'/>", 13), "Line 3: the document holds a NUL character, which no XML document may hold."},
  };
  for (const Case& c : cases) {
    for (size_t chunk : {size_t{1}, size_t{4096}})
      EXPECT_EQ(Guard(head + c.body, 100, chunk).substr(0, c.refusal.size()), c.refusal) << c.body << chunk;
  }
  // Well-formed UTF-8 of every length passes, and other declared encodings are
  // the parser's business.
  EXPECT_EQ(Guard(head + "<e a='\x41\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80'/>", 100), "");
  EXPECT_EQ(Guard("\xEF\xBB\xBF<e a='\xC3\xA9'/>", 100), "");
  EXPECT_EQ(Guard("<?xml version='1.0' encoding='ISO-8859-1'?><e a='\xE9'/>", 100), "");
  const std::string nul(1, '\0');
  EXPECT_EQ(Guard("<?xml version='1.0' encoding='ISO-8859-1'?><e a='" + nul + "'/>", 100).substr(0, 7), "Line 1:");
  EXPECT_EQ(Guard(Utf16(u"<?xml version='1.0'?>\n<e a='" + std::u16string(1, u'\0') + u"'/>", false), 100).substr(0, 7),
            "Line 2:");
}

}  // namespace
}  // namespace qorl
