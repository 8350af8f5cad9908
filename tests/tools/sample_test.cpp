#include <gtest/gtest.h>

#include <regex>

#include "gen/generator.h"
#include "load/parser.h"
#include "platform/error.h"
#include "tools/sample.h"

namespace qorl {
namespace {

std::string SampleText(ARpGateway& rp) {
  VXString doc, err;
  EXPECT_TRUE(QORLGenerator::GenerateQORL(&rp, err, doc, {}, false, false, true, true, QORLScriptGenerateEverything,
                                          false, false))
      << err.ToUTF8();
  // Secrets are encrypted under each repository's own key.
  return std::regex_replace(doc.ToUTF8(), std::regex("\"AES256 [^\"]*\""), "\"(secret)\"");
}

std::string WithoutIds(const std::string& doc) { return std::regex_replace(doc, std::regex(" (parentId|id)=\"[^\"]*\""), ""); }

// A synthetic repository is the same for the same seed, and survives a trip
// through a document into a new repository: every element it uses, at volume.
TEST(Sample, SameSeedSameRepositoryAndItRoundTrips) {
  auto a = ARpGateway::CreateInMemory("a");
  auto b = ARpGateway::CreateInMemory("b");
  uint64_t made = BuildSampleRepository(*a, 1500, 7);
  EXPECT_GE(made, 1500u);
  EXPECT_LT(made, 1700u);
  BuildSampleRepository(*b, 1500, 7);
  const std::string first = SampleText(*a);
  EXPECT_EQ(SampleText(*b), first);
  auto c = ARpGateway::CreateInMemory("c");
  BuildSampleRepository(*c, 1500, 8);
  EXPECT_NE(SampleText(*c), first);

  auto dst = ARpGateway::CreateInMemory("d");
  ErrorMessage err;
  VXString warnings;
  VoidIDVector cr, md, dl;
  VXString raw, genErr;
  QORLGenerator::GenerateQORL(a.get(), genErr, raw, {}, false, false, true, true, QORLScriptGenerateEverything, false, false);
  ASSERT_TRUE(QORLParser::ExecuteTransactionalXML(dst.get(), {raw}, {"a"}, err, warnings, cr, md, dl, QORLParser::QORLText,
                                                  true, true, false, false, false, false, true))
      << [&] { VXString t; err.RetrieveErrorMessages(t); return t.ToUTF8(); }();
  EXPECT_EQ(WithoutIds(SampleText(*dst)), WithoutIds(first));
}

}  // namespace
}  // namespace qorl
