// The public API as a program linked against an installed libqorl sees it,
// checked against the layer underneath: same documents, same errors.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>

#include "api/convert.h"
#include "gen/generator.h"
#include "store/gateway.h"
#include "qorl/qorl.h"

namespace qorl::api_test {

const std::string kPassword = "pw";

std::string ReadBytes(const std::filesystem::path& p) {
  std::ifstream in(p, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

class Api : public ::testing::Test {
 protected:
  void SetUp() override {
    dir = std::filesystem::temp_directory_path() /
          ("qorl_api_" + std::to_string(::getpid()) + "_" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
  }
  void TearDown() override { std::filesystem::remove_all(dir); }

  // A committed repository holding the retail sample.
  Repository Retail(const std::string& name = "retail.db") {
    Repository rp = Repository::Create(dir / name, kPassword);
    LoadOptions o;
    o.validate = true;
    LoadReport r = rp.Load({kRetail}, o);
    EXPECT_TRUE(r.loaded) << FormatDiagnostics(r.errors);
    rp.Commit();
    return rp;
  }
  std::filesystem::path Write(const std::string& name, const std::string& text) {
    std::ofstream(dir / name) << text;
    return dir / name;
  }

  const std::filesystem::path kRetail = std::filesystem::path(QORL_SOURCE_DIR) / "examples" / "retail.xml";
  std::filesystem::path dir;
};

TEST_F(Api, EveryOutputHoldsTheDocumentTheGeneratorWrites) {
  Repository rp = Retail();
  std::string text;
  ASSERT_TRUE(rp.GenerateText(text).errors.empty());
  std::ostringstream stream;
  ASSERT_TRUE(rp.Generate(stream).errors.empty());
  std::filesystem::create_directories(dir / "out");
  ASSERT_TRUE(rp.Generate(dir / "out" / "api.xml").errors.empty());
  rp.Close();

  // The layer's own writer, on the committed file.
  auto internal = ARpGateway::Open(VXString((dir / "retail.db").string()), VXString(kPassword));
  VXString errors, out((dir / "internal.xml").string());
  ASSERT_TRUE(QORLGenerator::GenerateQORL(internal.get(), errors, out, {}, false, false, true, true,
                                          QORLScriptGenerateEverything, true, false))
      << errors.ToUTF8();
  std::string expected = ReadBytes(dir / "internal.xml");
  EXPECT_NE(expected.find("<PhysicalTable name=\"SALES_FACT\""), std::string::npos);
  EXPECT_EQ(text, expected);
  EXPECT_EQ(stream.str(), expected);
  EXPECT_EQ(ReadBytes(dir / "out" / "api.xml"), expected);
}

TEST_F(Api, ACommittedLoadSurvivesReopeningAndRoundTrips) {
  std::string first;
  {
    Repository rp = Retail();
    rp.GenerateText(first);
  }
  Repository again = Repository::Open(dir / "retail.db", kPassword);
  EXPECT_FALSE(again.HasUncommittedChanges());
  std::string reopened;
  again.GenerateText(reopened);
  EXPECT_EQ(reopened, first);

  // The document loads into a repository with another password, given its own.
  std::filesystem::path doc = dir / "retail-out.xml";
  again.Generate(doc);
  Repository other = Repository::Create(dir / "other.db", "other");
  LoadOptions o;
  o.passwords = {kPassword};
  LoadReport r = other.Load({doc}, o);
  ASSERT_TRUE(r.loaded) << FormatDiagnostics(r.errors);
  EXPECT_EQ(other.ObjectCount(), again.ObjectCount());
  auto counts = other.CountByElement();
  EXPECT_EQ(counts.size(), again.CountByElement().size());
  EXPECT_TRUE(CheckPassword({doc}, kPassword).opens);
  EXPECT_FALSE(CheckPassword({doc}, "other").errors.empty());
}

TEST_F(Api, AFailedLoadNamesFileAndLineAndChangesNothing) {
  Repository rp = Retail();
  std::string before;
  rp.GenerateText(before);
  std::string fileBefore = ReadBytes(dir / "retail.db");
  // The first document is fine; the second refers to a parent that does not exist.
  auto good = Write("good.xml", "<?xml version='1.0' encoding='UTF-8'?>\n<Repository>\n<DECLARE>\n"
                                "<Database name=\"fresh\">\n</Database>\n</DECLARE>\n</Repository>\n");
  auto bad = Write("bad.xml", "<?xml version='1.0' encoding='UTF-8'?>\n<Repository>\n<DECLARE>\n"
                              "<Database name=\"fine\">\n</Database>\n"
                              "<PhysicalCatalog name=\"c\" parentName=\"&quot;missing&quot;\">\n</PhysicalCatalog>\n"
                              "</DECLARE>\n</Repository>\n");
  LoadReport r = rp.Load({good, bad});
  ASSERT_FALSE(r.loaded);
  ASSERT_EQ(r.errors.size(), 1u) << FormatDiagnostics(r.errors);
  const Diagnostic& d = r.errors[0];
  EXPECT_EQ(d.file, bad);
  EXPECT_EQ(d.line, 6u);
  EXPECT_EQ(d.severity, Severity::Error);
  EXPECT_EQ(d.code, 92006u);
  EXPECT_NE(d.message.find("\"missing\""), std::string::npos) << d.message;
  ASSERT_EQ(d.context.size(), 2u);
  EXPECT_EQ(d.context[0], "In " + bad.string() + ":");

  EXPECT_FALSE(rp.HasUncommittedChanges());
  std::string after;
  rp.GenerateText(after);
  EXPECT_EQ(after, before);  // the good document's Database is gone too
  rp.Commit();
  EXPECT_TRUE(ReadBytes(dir / "retail.db") == fileBefore) << "the repository file changed";
}

TEST_F(Api, AMalformedDocumentGivesTheParsersLine) {
  Repository rp = Repository::Create(dir / "r.db", kPassword);
  auto broken = Write("broken.xml", "<?xml version='1.0' encoding='UTF-8'?>\n<Repository>\n<DECLARE>\n"
                                    "<Database name=\"x\">\n</DECLARE>\n");
  LoadReport r = rp.Load({broken});
  ASSERT_FALSE(r.loaded);
  ASSERT_EQ(r.errors.size(), 1u);
  EXPECT_EQ(r.errors[0].file, broken);
  EXPECT_EQ(r.errors[0].line, 5u);
  EXPECT_EQ(r.errors[0].code, 92008u);

  // Passed over with ignoreErrors: loaded, and the error is still reported.
  LoadOptions o;
  o.ignoreErrors = true;
  LoadReport ignored = rp.Load({broken}, o);
  EXPECT_TRUE(ignored.loaded);
  ASSERT_EQ(ignored.errors.size(), 1u);
  EXPECT_EQ(ignored.errors[0].line, 5u);
}

TEST_F(Api, ChosenObjectsAreWrittenAloneAndBadChoicesThrow) {
  Repository rp = Retail();
  GenerateOptions o;
  o.objects = {"PhysicalTable:\"Retail DW\".\"\".\"SALES\".\"SALES_FACT\"", "User:\"Administrator\""};
  std::string text;
  ASSERT_TRUE(rp.GenerateText(text, o).errors.empty());
  EXPECT_NE(text.find("<PhysicalTable name=\"SALES_FACT\""), std::string::npos) << text;
  EXPECT_NE(text.find("<User name=\"Administrator\""), std::string::npos) << text;
  EXPECT_EQ(text.find("DIM_PRODUCT"), std::string::npos) << text;
  EXPECT_EQ(text.find("<Database"), std::string::npos) << text;

  // The same objects through the layer's writer of object lists.
  ARpGateway* internal = nullptr;
  rp.Close();
  auto gw = ARpGateway::Open(VXString((dir / "retail.db").string()), VXString(kPassword));
  internal = gw.get();
  QualifiedName table{VXString("Retail DW"), VXString(""), VXString("SALES"), VXString("SALES_FACT")};
  RpObjectVector chosen{internal->FindByQualifiedName(QORLUtil::GetTypeID(VXString("PhysicalTable")), table),
                        internal->FindByQualifiedName(kTIDAUser, QualifiedName{VXString("Administrator")})};
  VXString expected, errors;
  ASSERT_TRUE(QORLGenerator::GenerateQORLTextForObjectVector(internal, chosen, {}, errors, expected,
                                                             kGenFooter | kGenColMapping));
  EXPECT_EQ(text, expected.ToUTF8());

  Repository again = Repository::Open(dir / "retail.db", kPassword);
  for (const char* spec : {"PhysicalTable", "Nonsense:\"x\"", "User:Administrator", "User:\"Nobody\""}) {
    o.objects = {spec};
    std::filesystem::path out = dir / "never.xml";
    try {
      again.Generate(out, o);
      ADD_FAILURE() << spec << " was accepted";
    } catch (const Error& e) {
      EXPECT_EQ(e.Code(), std::string(spec) == "User:\"Nobody\"" ? 99008u : 99016u) << e.what();
      EXPECT_NE(std::string(e.what()).find(spec), std::string::npos) << e.what();
    }
    EXPECT_FALSE(std::filesystem::exists(out)) << spec;
  }
}

TEST_F(Api, FailuresOfTheCallThrowOneErrorType) {
  Repository::Create(dir / "r.db", kPassword);
  try {
    Repository::Open(dir / "r.db", "wrong");
    ADD_FAILURE();
  } catch (const Error& e) {
    EXPECT_EQ(e.Code(), messages::kWrongRepositoryPassword);
    EXPECT_EQ(e.Diagnostics().size(), 1u);
  }
  EXPECT_THROW(Repository::Create(dir / "r.db", kPassword), Error);
  Repository rp = Repository::Open(dir / "r.db", kPassword);
  rp.Close();
  EXPECT_FALSE(rp.IsOpen());
  try {
    rp.ObjectCount();
    ADD_FAILURE();
  } catch (const Error& e) {
    EXPECT_EQ(e.Code(), messages::kRepositoryClosed);
  }
  Repository fresh = Repository::Open(dir / "r.db", kPassword);
  EXPECT_THROW(fresh.Load({dir / "a.xml"}, LoadOptions{.passwords = {"one", "two"}}), Error);
}

TEST_F(Api, AStreamThatFailsIsReported) {
  Repository rp = Retail();
  std::ostringstream broken;
  broken.setstate(std::ios::badbit);
  // No document came of it, so there is no report: one error, thrown.
  try {
    rp.Generate(broken);
    ADD_FAILURE() << "a broken stream was taken";
  } catch (const Error& e) {
    ASSERT_EQ(e.Diagnostics().size(), 1u) << e.what();
    EXPECT_NE(e.Diagnostics()[0].message.find("output stream"), std::string::npos) << e.what();
  }
  GenerateOptions one;
  one.objects = {"User:\"Administrator\""};
  EXPECT_THROW(rp.Generate(broken, one), Error);
}

// A repository in which a column defining a logical column is gone without
// the deletion mending anything (as an older qorl left it): the document
// would name the column by its bare id, so none is written.
TEST_F(Api, AMissingObjectNamedByAnotherFailsTheDocumentAndLeavesTheFile) {
  Retail().Close();
  {
    auto rp = ARpGateway::Open(VXString((dir / "retail.db").string()), kPassword);
    RefARpObject amount = rp->FindByQualifiedName(kTIDAColumn, {"Retail DW", "", "SALES", "SALES_FACT", "AMOUNT"});
    ASSERT_FALSE(amount.IsNullRef());
    rp->DeleteInternalObject(amount.GetID());
    rp->Commit();
  }
  Repository rp = Repository::Open(dir / "retail.db", kPassword);
  const auto target = Write("out.xml", "previous\n");
  try {
    rp.Generate(target);
    ADD_FAILURE() << "a document naming a missing object was written";
  } catch (const Error& e) {
    EXPECT_EQ(e.Code(), messages::kMissingReferencedObject);
    EXPECT_EQ(e.Diagnostics().size(), 1u) << e.what();
    EXPECT_NE(std::string(e.what()).find("The Logical Column \"Retail Sales\".\"Sales\".\"Revenue\" refers to the Physical Column "),
              std::string::npos)
        << e.what();
  }
  EXPECT_EQ(ReadBytes(target), "previous\n");
  for (const auto& entry : std::filesystem::directory_iterator(dir))
    EXPECT_EQ(entry.path().filename().string().find(".tmp"), std::string::npos) << entry.path();
  std::ostringstream stream;
  EXPECT_THROW(rp.Generate(stream), Error);
  EXPECT_TRUE(stream.str().empty());
}

TEST_F(Api, TheLogSinkHearsWhatALoadPassesOver) {
  Repository rp = Repository::Create(dir / "r.db", kPassword);
  auto doc = Write("unknown.xml", "<?xml version='1.0' encoding='UTF-8'?>\n<Repository>\n<DECLARE>\n"
                                  "<Nonsense name=\"x\"/>\n</DECLARE>\n</Repository>\n");
  std::vector<std::string> warnings;
  LogSink mine = [&](LogKind kind, int, const std::string& text) {
    if (kind == LogKind::Warning) warnings.push_back(text);
  };
  LogSink previous = SetLogSink(mine);
  LoadReport r = rp.Load({doc});
  LogSink back = SetLogSink(previous);
  EXPECT_TRUE(r.loaded);
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_EQ(warnings[0].rfind("Line 4:", 0), 0u) << warnings[0];
  EXPECT_TRUE(static_cast<bool>(back));
}

// ---- the seam to the layer's errors -------------------------------------------

TEST(ApiDiagnostics, EachErrorKeepsItsFileAndPrintsAsTheLayerDoes) {
  // Two documents' errors as a load with ignored errors gathers them.
  ErrorMessage e;
  e.PushErrorMessage(92006, VXString("\"missing\""), VXString("none"));
  e.PushErrorMessage(99017, 6, VXString("PhysicalCatalog"), VXString("\"missing\".\"c\""));
  e.PushErrorMessage(99018, VXString("a.xml"));
  e.PushErrorMessage(92008, 5, VXString("expected end of tag"));
  e.PushErrorMessage(99018, VXString("b.xml"));
  e.PushErrorMessage(43125, VXString("/x/qorl1.xsd"));
  std::vector<Diagnostic> ds = api::ToDiagnostics(e);
  ASSERT_EQ(ds.size(), 3u);
  EXPECT_EQ(ds[0].code, 43125u);
  EXPECT_TRUE(ds[0].file.empty());
  EXPECT_EQ(ds[1].file, "b.xml");
  EXPECT_EQ(ds[1].line, 5u);
  EXPECT_EQ(ds[1].code, 92008u);
  EXPECT_EQ(ds[2].file, "a.xml");
  EXPECT_EQ(ds[2].line, 6u);  // from the element being applied
  EXPECT_EQ(ds[2].code, 92006u);
  VXString layer;
  e.RetrieveErrorMessages(layer);
  EXPECT_EQ(FormatDiagnostics(ds), layer.ToUTF8());
  EXPECT_EQ(Error(ds).what(), layer.ToUTF8());
}

TEST(ApiDiagnostics, GeneratorErrorsKeepTheirParagraphs) {
  for (const char* text : {"A\n", "A\n\nB\n", "ctx\nLine 7: A\n\nB\n", "A\n\n", "\n\nA\n"}) {
    std::vector<Diagnostic> ds = api::TextToDiagnostics(VXString(text));
    std::string joined;
    for (size_t i = 0; i < ds.size(); ++i) joined += (i ? "\n\n" : "") + FormatDiagnostic(ds[i]);
    EXPECT_EQ(joined + "\n", text);
  }
  EXPECT_EQ(api::TextToDiagnostics(VXString("ctx\nLine 7: A\n\nB\n"))[0].line, 7u);
  EXPECT_EQ(api::LineOfText("Line 12: x"), 12u);
  EXPECT_EQ(api::LineOfText("Line x: y"), 0u);
  EXPECT_EQ(api::LineOfText("Lines 3: y"), 0u);
}

}  // namespace qorl::api_test
