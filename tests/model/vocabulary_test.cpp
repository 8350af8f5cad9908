#include "model/vocabulary.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "platform/vxstring.h"

using namespace qorl;

namespace {

std::string U8(std::u32string_view s) { return VXString(s).ToUTF8(); }

std::string_view PrefixOf(VocabularyFamily f) {
  switch (f) {
    case VocabularyFamily::kTag: return "TAG_";
    case VocabularyFamily::kAttr: return "ATTR_";
    case VocabularyFamily::kAttrValue: return "ATTRV_";
    case VocabularyFamily::kText: return "S_";
  }
  return "?";
}

}  // namespace

static_assert(TAG_DECLARE == U"DECLARE", "vocabulary constants are usable at compile time");

TEST(ModelVocabulary, TableIsWellFormed) {
  std::set<std::string_view> names;
  std::map<VocabularyFamily, std::set<std::u32string_view>> literals;
  const VocabularyEntry* previous = nullptr;
  for (const VocabularyEntry& e : AllVocabulary()) {
    SCOPED_TRACE(std::string(e.name));
    EXPECT_TRUE(names.insert(e.name).second) << "name used twice";
    EXPECT_TRUE(e.name.starts_with(PrefixOf(e.family))) << "row in the wrong family";
    EXPECT_FALSE(e.literal.empty());
    // Two constants of one family with one text would make a reader's
    // comparison ambiguous; it is a copy-paste fault in the table.
    EXPECT_TRUE(literals[e.family].insert(e.literal).second) << "literal used twice: " << U8(e.literal);
    if (previous && previous->family == e.family) {
      EXPECT_LT(previous->name, e.name) << "rows out of order";
    }
    previous = &e;
  }
  EXPECT_EQ(literals.size(), 4u);
}

TEST(ModelVocabulary, LiteralsOfTheFormat) {
  // Punctuation, exactly as every writer strings it together.
  EXPECT_EQ(U8(S_LT), "<");
  EXPECT_EQ(U8(S_GT), ">");
  EXPECT_EQ(U8(S_OPEN_CLOSING_TAG), "</");
  EXPECT_EQ(U8(S_CLOSE_OPEN_TAG), "/>\n");
  EXPECT_EQ(U8(S_NEWLINE), "\n");
  EXPECT_EQ(U8(S_SPACE), " ");
  EXPECT_EQ(U8(S_EQUAL), "=");
  EXPECT_EQ(U8(S_DOUBLE_QUOTE), "\"");
  EXPECT_EQ(U8(S_OPEN_CDATA), "<![CDATA[");
  EXPECT_EQ(U8(S_CLOSE_CDATA), "]]>");
  EXPECT_EQ(U8(S_CLOSE_CDATA_ENCODED), "]]]]><![CDATA[>");
  EXPECT_EQ(U8(ATTRV_CORRECT_REPLACE_ME), "&lt;Replace Me&gt;");
  EXPECT_EQ(U8(ATTRV_INCORRECT_REPLACE_ME), "<Replace Me>");

  EXPECT_EQ(U8(TAG_DECLARE), "DECLARE");
  EXPECT_EQ(U8(TAG_DELETE), "DELETE");
  EXPECT_EQ(U8(TAG_FINEGRAINED), "FINEGRAINED");
  EXPECT_EQ(U8(TAG_DEL_OBJECTS), "DeleteObjects");
  EXPECT_EQ(U8(TAG_REF), "Ref");
  EXPECT_EQ(U8(ATTR_QNAME), "qualifiedName");
  EXPECT_EQ(U8(ATTR_UID), "uid");
  EXPECT_EQ(U8(ATTRV_TRUE), "true");
  EXPECT_EQ(U8(S_USER), "User");

  // The root line is S_XML_HEADER and a line feed: it must open the element
  // that the closing line "</" S_REPOSITORY ">" closes.
  VXString root(S_XML_HEADER);
  EXPECT_TRUE(root.starts_with(VXString(S_LT) + VXString(S_REPOSITORY) + VXString(S_SPACE)));
  EXPECT_EQ(root.ToUTF8(), "<Repository xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">");
  // The fine-grained copy is parsed on its own, so it must be a whole document.
  VXString fg = VXString(S_XML_FINEGRAINED_TEXT_HEADER) + VXString(S_XML_FINEGRAINED_TEXT_FOOTER);
  EXPECT_TRUE(fg.starts_with(root));
  EXPECT_NE(fg.find(U"</Repository>"), VXString::npos);
}

