// The public API as a program linked against an installed libqorl sees it,
// checked against the layer underneath: same documents, same errors.
#include <gtest/gtest.h>

#include <algorithm>
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
  EXPECT_EQ(d.line, 6u);  // the element whose parent name is wrong
  EXPECT_EQ(d.column, 1u);
  EXPECT_EQ(d.severity, Severity::Error);
  EXPECT_EQ(d.code, 92006u);
  EXPECT_NE(d.message.find("\"missing\""), std::string::npos) << d.message;
  EXPECT_EQ(d.element, "PhysicalCatalog");
  EXPECT_EQ(d.object, "\"missing\".\"c\"");
  ASSERT_EQ(d.notes.size(), 1u);
  EXPECT_EQ(d.notes[0].severity, Severity::Note);
  EXPECT_EQ(d.notes[0].line, 6u);
  EXPECT_EQ(FormatDiagnostic(d), bad.string() + ":6:1: error: " + d.message + " [92006]\n" + bad.string() +
                                     ":6:1: note: While applying <PhysicalCatalog> \"missing\".\"c\".");

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
  EXPECT_EQ(r.errors[0].column, 3u);
  EXPECT_EQ(r.errors[0].code, 92008u);
  EXPECT_EQ(r.errors[0].message.rfind("The XML document is not well-formed", 0), 0u) << r.errors[0].message;

  // A document that is not there, or not a file, says so.
  for (const auto& [path, code] : {std::pair{dir / "none.xml", 92035ul}, std::pair{dir, 92036ul}}) {
    LoadReport missing = rp.Load({path});
    ASSERT_EQ(missing.errors.size(), 1u) << FormatDiagnostics(missing.errors);
    EXPECT_EQ(missing.errors[0].code, code);
    EXPECT_EQ(missing.errors[0].file, path);
    EXPECT_EQ(missing.errors[0].line, 0u);
    EXPECT_FALSE(rp.Declared({path}, LoadOptions{}).at(0).errors.empty());
    EXPECT_EQ(CheckPassword({path}, "x").errors.at(0).code, code);
  }
  EXPECT_EQ(FormatDiagnostics(rp.Load({dir / "none.xml"}).errors),
            (dir / "none.xml").string() + ": error: The file does not exist. [92035]");

  // Not even with ignoreErrors: what the document says past the error is unknown.
  LoadOptions o;
  o.ignoreErrors = true;
  LoadReport ignored = rp.Load({broken}, o);
  EXPECT_FALSE(ignored.loaded);
  ASSERT_EQ(ignored.errors.size(), 1u);
  EXPECT_EQ(ignored.errors[0].line, 5u);
}

TEST_F(Api, ADryRunOpensSecretsAsTheLoadDoes) {
  Repository src = Repository::Create(dir / "src.db", "source");
  auto doc = dir / "src.xml";
  ASSERT_TRUE(src.Generate(doc).errors.empty());
  Repository rp = Repository::Create(dir / "r.db", kPassword);
  // The built-in group's name is under the source's key.
  std::vector<Declaration> without = rp.Declared({doc});
  ASSERT_EQ(without.size(), 1u);
  ASSERT_FALSE(without[0].errors.empty());
  EXPECT_EQ(without[0].errors[0].code, 13042u);

  LoadOptions o;
  o.passwords = {"source"};
  std::vector<Declaration> with = rp.Declared({doc}, o);
  ASSERT_EQ(with.size(), 1u);
  EXPECT_EQ(with[0].file, doc);
  EXPECT_TRUE(with[0].errors.empty()) << FormatDiagnostics(with[0].errors);
  ASSERT_EQ(with[0].objects.size(), 2u);
  EXPECT_EQ(with[0].objects[1].element, "Group");
  EXPECT_EQ(with[0].objects[1].qualifiedName, "\"Administrators\"");
  EXPECT_FALSE(with[0].objects[1].existingId.empty());

  // A password that does not decrypt only warns when password errors are set to.
  o.passwords = {"wrong"};
  o.passwordErrors = OnProblem::Warn;
  EXPECT_TRUE(rp.Declared({doc}, o)[0].errors.empty());
  EXPECT_FALSE(rp.HasUncommittedChanges());
  o.passwords = {"source"};
  o.passwordErrors = OnProblem::Fail;
  EXPECT_TRUE(rp.Load({doc}, o).loaded);
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
  std::vector<Diagnostic> warnings;
  std::vector<Diagnostic> notes;
  LogSink mine = [&](LogKind kind, int, const Diagnostic& d) {
    (kind == LogKind::Warning ? warnings : notes).push_back(d);
  };
  LogSink previous = SetLogSink(mine);
  LoadReport r = rp.Load({doc});
  LogSink back = SetLogSink(previous);
  EXPECT_TRUE(r.loaded);
  // The sink is told where: the document, the line, the message number.
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_EQ(warnings[0].file, doc);
  EXPECT_EQ(warnings[0].line, 4u);
  EXPECT_EQ(warnings[0].code, 99019u);
  EXPECT_EQ(warnings[0].severity, Severity::Warning);
  EXPECT_EQ(FormatDiagnostic(warnings[0]),
            doc.string() + ":4: warning: Unknown element <Nonsense> skipped with its contents. [99019]");
  ASSERT_FALSE(notes.empty());
  EXPECT_EQ(notes[0].severity, Severity::Note);
  EXPECT_EQ(notes[0].file, doc);
  EXPECT_TRUE(static_cast<bool>(back));
}

// ---- typos, honest counts, the check ------------------------------------------

// Each line a typo the load would otherwise pass over; the line numbers are the document's.
const char* const kTypos =
    "<?xml version='1.0' encoding='UTF-8'?>\n<Repository>\n<DECLARE>\n"
    "<Database name=\"db\" qqqqqqq=\"1\">\n</Database>\n"                                       // 4: no hint
    "<Schema name=\"s\" parentName=\"&quot;db&quot;.&quot;&quot;\">\n</Schema>\n"
    "<PhysicalTable name=\"t\" parentName=\"&quot;db&quot;.&quot;&quot;.&quot;s&quot;\" type=\"nome\">\n"  // 8
    "<Descripton><![CDATA[x]]></Descripton>\n"                                                      // 9
    "</PhysicalTable>\n"
    "<PhysicalColumn name=\"c\" parentName=\"&quot;db&quot;.&quot;&quot;.&quot;s&quot;.&quot;t&quot;\" dataTyp=\"INTEGER\"/>\n"
    "<PhysicalColumn name=\"d\" parentName=\"&quot;db&quot;.&quot;&quot;.&quot;s&quot;.&quot;t&quot;\" dataType=\"INTEGR\"/>\n"
    "<PhysicalColum name=\"e\" parentName=\"&quot;db&quot;.&quot;&quot;.&quot;s&quot;.&quot;t&quot;\"/>\n"  // 13
    "</DECLARE>\n</Repository>\n";

TEST_F(Api, TyposWarnWithTheirLineAndTheNearestNameAndFailAStrictLoad) {
  Repository rp = Repository::Create(dir / "r.db", kPassword);
  auto doc = Write("typos.xml", kTypos);
  std::vector<std::string> warnings;
  LogSink previous = SetLogSink([&](LogKind kind, int, const Diagnostic& d) {
    if (kind == LogKind::Warning) warnings.push_back("Line " + std::to_string(d.line) + ": " + d.message);
  });
  LoadReport lax = rp.Load({doc});
  SetLogSink(previous);
  ASSERT_TRUE(lax.loaded) << FormatDiagnostics(lax.errors);
  std::sort(warnings.begin(), warnings.end());
  const std::vector<std::string> expected = {
      "Line 11: <PhysicalColumn> has no attribute dataTyp; it is ignored. Did you mean dataType?",
      "Line 12: dataType=\"INTEGR\" of <PhysicalColumn> is not a known value; the default is taken. Did you mean "
      "\"INTEGER\"?",
      "Line 13: Unknown element <PhysicalColum> skipped with its contents. Did you mean <PhysicalColumn>?",
      "Line 4: <Database> has no attribute qqqqqqq; it is ignored.",
      "Line 8: type=\"nome\" of <PhysicalTable> is not a known value; the default is taken. Did you mean \"none\"?",
      "Line 9: <PhysicalTable> cannot hold an element <Descripton>; it is skipped with its contents. Did you mean "
      "<Description>?",
  };
  EXPECT_EQ(warnings, expected);
  rp.Rollback();

  // Strict: the same texts as errors, each with its document and line; nothing stays.
  LoadOptions strict;
  strict.strict = true;
  LoadReport r = rp.Load({doc}, strict);
  EXPECT_FALSE(r.loaded);
  EXPECT_FALSE(rp.HasUncommittedChanges());
  std::vector<unsigned> lines;
  for (const Diagnostic& d : r.errors) {
    EXPECT_EQ(d.file, doc);
    EXPECT_EQ(d.severity, Severity::Error);
    lines.push_back(d.line);
  }
  std::sort(lines.begin(), lines.end());
  EXPECT_EQ(lines, (std::vector<unsigned>{4, 8, 9, 11, 12, 13})) << FormatDiagnostics(r.errors);
  // A generated document has no typo: strict changes nothing for it.
  Repository retail = Retail("retail.db");
  std::filesystem::path out = dir / "retail-out.xml";
  retail.Generate(out);
  EXPECT_TRUE(retail.Load({out}, strict).loaded);
}

TEST_F(Api, AReportCountsWhatChangedNotWhatWasNamed) {
  Repository rp = Retail();
  const std::size_t objects = rp.ObjectCount();
  // The sample once more, then the repository's own document: nothing changes,
  // nothing is made or deleted.
  LoadReport same = rp.Load({kRetail});
  ASSERT_TRUE(same.loaded) << FormatDiagnostics(same.errors);
  EXPECT_EQ(same.created, 0u);
  EXPECT_EQ(same.changed, 0u);
  EXPECT_EQ(same.deleted, 0u);
  EXPECT_GT(same.unchanged, 50u);
  EXPECT_EQ(same.updated, same.unchanged);
  std::string text;
  rp.GenerateText(text);
  auto doc = Write("gen.xml", text);
  LoadReport regenerated = rp.Load({doc});
  EXPECT_EQ(regenerated.created + regenerated.changed + regenerated.deleted, 0u);
  EXPECT_GE(regenerated.unchanged, same.unchanged);  // and the built-in security objects
  EXPECT_EQ(rp.ObjectCount(), objects);

  // One attribute of one object: one change.
  const std::string from = "rowCount=\"3653\"";
  ASSERT_NE(text.find(from), std::string::npos);
  text.replace(text.find(from), from.size(), "rowCount=\"3654\"");
  LoadReport one = rp.Load({Write("one.xml", text)});
  EXPECT_EQ(one.changed, 1u);
  EXPECT_EQ(one.created + one.deleted, 0u);
  EXPECT_EQ(one.unchanged, regenerated.unchanged - 1);
}

TEST_F(Api, ACheckAppliesEverythingAndKeepsNothing) {
  Repository empty = Repository::CreateInMemory();
  LoadReport r = empty.Check({kRetail});
  EXPECT_TRUE(r.loaded) << FormatDiagnostics(r.errors);
  EXPECT_GT(r.created, 50u);
  EXPECT_EQ(empty.ObjectCount(), 2u);  // the built-in administrator and group
  EXPECT_FALSE(empty.HasUncommittedChanges());

  Repository rp = Retail();
  const std::string fileBefore = ReadBytes(dir / "retail.db");
  auto broken = Write("broken.xml", "<?xml version='1.0' encoding='UTF-8'?>\n<Repository>\n<DECLARE>\n"
                                    "<PhysicalCatalog name=\"c\" parentName=\"&quot;missing&quot;\">\n"
                                    "</PhysicalCatalog>\n</DECLARE>\n</Repository>\n");
  LoadReport failed = rp.Check({broken});
  EXPECT_FALSE(failed.loaded);
  ASSERT_FALSE(failed.errors.empty());
  EXPECT_EQ(failed.errors[0].code, 92006u);
  EXPECT_FALSE(rp.HasUncommittedChanges());
  rp.Close();
  EXPECT_TRUE(ReadBytes(dir / "retail.db") == fileBefore) << "the repository file changed";
}

// ---- the seam to the layer's errors -------------------------------------------

TEST(ApiDiagnostics, EachErrorKeepsItsFileAndPlaceOnOneLine) {
  // Two documents' errors as a load with ignored errors gathers them.
  ErrorMessage e;
  e.PushErrorMessage(92006, VXString("\"missing\""), VXString("none"));
  e.SetLocation(9, 4);
  e.PushErrorMessage(99017, VXString("PhysicalCatalog"), VXString("\"missing\".\"c\""));
  e.SetLocation(6, 1);
  e.PushErrorMessage(99018, VXString("a.xml"));
  e.PushErrorMessage(92008, VXString("expected end of tag"));
  e.SetLocation(5, 0);
  e.PushErrorMessage(99018, VXString("b.xml"));
  e.PushErrorMessage(43125, VXString("/x/qorl1.xsd"));
  std::vector<Diagnostic> ds = api::ToDiagnostics(e);
  ASSERT_EQ(ds.size(), 3u);
  EXPECT_EQ(ds[0].code, 43125u);
  EXPECT_TRUE(ds[0].file.empty());
  EXPECT_EQ(ds[1].file, "b.xml");
  EXPECT_EQ(ds[1].line, 5u);
  EXPECT_EQ(ds[1].column, 0u);
  EXPECT_EQ(ds[1].code, 92008u);
  EXPECT_EQ(ds[2].file, "a.xml");
  EXPECT_EQ(ds[2].line, 9u);  // the reference's own place, not the element's
  EXPECT_EQ(ds[2].column, 4u);
  EXPECT_EQ(ds[2].code, 92006u);
  EXPECT_EQ(ds[2].element, "PhysicalCatalog");
  EXPECT_EQ(FormatDiagnostics(ds),
            "qorl: error: The schema file /x/qorl1.xsd does not exist. [43125]\n"
            "b.xml:5: error: The XML document is not well-formed or not valid: expected end of tag [92008]\n"
            "a.xml:9:4: error: The object \"missing\" (uid none) that the document refers to cannot be found. [92006]\n"
            "a.xml:6:1: note: While applying <PhysicalCatalog> \"missing\".\"c\".");
  EXPECT_EQ(Error(ds).what(), FormatDiagnostics(ds));
  // The layer's own text keeps every place in it.
  VXString layer;
  e.RetrieveErrorMessages(layer);
  EXPECT_NE(layer.ToUTF8().find("Line 9, column 4: The object"), std::string::npos) << layer.ToUTF8();

  // Without the element's place the message takes it; without a document the
  // place goes into the text.
  ErrorMessage bare(92006, VXString("\"x\""), VXString("none"));
  bare.PushErrorMessage(99017, VXString("Database"), VXString("\"x\""));
  bare.SetLocation(3, 2);
  std::vector<Diagnostic> one = api::ToDiagnostics(bare);
  ASSERT_EQ(one.size(), 1u);
  EXPECT_EQ(one[0].line, 3u);
  EXPECT_EQ(FormatDiagnostic(one[0]).substr(0, 37), "qorl: error: line 3, column 2: The ob");
}

TEST(ApiDiagnostics, PlacesAreTakenOutOfTheText) {
  unsigned line = 9, column = 9;
  EXPECT_EQ(api::SplitLocation("Line 12: unknown x", line, column), "Unknown x");
  EXPECT_EQ(line, 12u);
  EXPECT_EQ(column, 0u);
  EXPECT_EQ(api::SplitLocation("Line 12, column 7: A", line, column), "A");
  EXPECT_EQ(column, 7u);
  for (const char* kept : {"Line x: y", "Lines 3: y", "Line 3 y", "Line 3, column : y", "plain"}) {
    EXPECT_EQ(api::SplitLocation(kept, line, column), kept);
    EXPECT_EQ(line, 0u) << kept;
  }
  // The generator's paragraphs: context lines become notes, the last line is the message.
  std::vector<Diagnostic> ds = api::TextToDiagnostics(VXString("ctx\nLine 7: a\n\nB\n\n\n"));
  ASSERT_EQ(ds.size(), 2u);
  EXPECT_EQ(ds[0].message, "A");
  EXPECT_EQ(ds[0].line, 7u);
  ASSERT_EQ(ds[0].notes.size(), 1u);
  EXPECT_EQ(ds[0].notes[0].message, "ctx");
  EXPECT_EQ(ds[1].message, "B");
  EXPECT_TRUE(api::TextToDiagnostics(VXString("\n\n")).empty());
}

}  // namespace qorl::api_test
