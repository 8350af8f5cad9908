// Each element's complex type in schema/qorl1.xsd is the one its description
// makes. Run with QORL_UPDATE_SCHEMA=1 to rewrite the file from the
// descriptions (a type not yet in it goes before the closing tag).
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "elements/description.h"
#include "elements/schema.h"

namespace qorl::test {
namespace schema_test {

const std::string kPath = std::string(QORL_SOURCE_DIR) + "/schema/qorl1.xsd";

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

// [begin, end) of a named complex type's block, or npos.
std::pair<size_t, size_t> Block(const std::string& xsd, std::string_view name) {
  std::string open = "  <xs:complexType name=\"" + std::string(name) + "\">\n";
  size_t at = xsd.find(open);
  if (at == std::string::npos) return {std::string::npos, std::string::npos};
  // The block's own end: inner types are indented further.
  const std::string close = "\n  </xs:complexType>\n";
  return {at, xsd.find(close, at) + close.size()};
}

TEST(Schema, EveryElementTypeIsTheOneItsDescriptionMakes) {
  std::string xsd = ReadFile(kPath);
  ASSERT_FALSE(xsd.empty()) << kPath;
  const bool update = std::getenv("QORL_UPDATE_SCHEMA") != nullptr;
  for (const elements::Description* d : elements::AllDescriptions()) {
    std::string made = elements::SchemaComplexType(*d);
    auto [from, to] = Block(xsd, d->schemaType);
    if (update) {
      if (from == std::string::npos) xsd.insert(xsd.rfind("</xs:schema>"), made + "\n");
      else xsd.replace(from, to - from, made);
      continue;
    }
    ASSERT_NE(from, std::string::npos) << d->schemaType << " is not in the schema";
    EXPECT_EQ(xsd.substr(from, to - from), made)
        << d->schemaType << " differs from its description: QORL_UPDATE_SCHEMA=1 rewrites it";
  }
  if (update) std::ofstream(kPath, std::ios::binary) << xsd;
}

}  // namespace schema_test
}  // namespace qorl::test
