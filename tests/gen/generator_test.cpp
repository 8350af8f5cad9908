#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "elements/fragments.h"
#include "gen/generator.h"
#include "platform/error.h"
#include "platform/guid.h"
#include "platform/serverlog.h"
#include "store/expr_store.h"
#include "store/metadata_util.h"

namespace qorl {
namespace {

const char* kHead =
    "<?xml version='1.0' encoding='UTF-8'?>\n"
    "<Repository xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">\n";

VXUpgradeID Uid(const char* text) {
  VXUpgradeID u;
  TKSGUIDGenerator::VXStringToGUIDByteVector(u, text);
  return u;
}

// A store with nothing in it but what a test makes, with fixed ids and uids.
struct Fixture {
  Fixture() : rp(ARpGateway::CreateInMemory()) {
    RpObjectVector builtIn;
    rp->ForEachObject([&](ARpObject* o) { builtIn.emplace_back(o); });
    for (const auto& o : builtIn) rp->DeleteObject(o.GetID());
  }
  RefARpObject Make(TypeID type, uint32_t num, const char* name, const RefARpObject& parent = RefARpObject(),
                    const char* uid = nullptr) {
    RefARpObject o = rp->CreateObject(type, VoidID(type, UniqueNum(num)));
    o->SetName(name);
    if (!parent.IsNullRef()) MetadataUtil::SetParent(o, parent);
    if (uid) o->SetUpgradeID(Uid(uid));
    return o;
  }
  std::string Text(const RpObjectVector& decl, const RpObjectVector& del = {}, int options = kGenFooter) {
    VXString out, err;
    EXPECT_TRUE(QORLGenerator::GenerateQORLTextForObjectVector(rp.get(), decl, del, err, out, options)) << err.ToUTF8();
    return out.ToUTF8();
  }
  std::unique_ptr<ARpGateway> rp;
};

TEST(Generator, AnEmptyStoreIsTheFrameAlone) {
  Fixture f;
  EXPECT_EQ(f.Text({}), std::string(kHead) + "</Repository>\n");
  VXString doc, err;
  ASSERT_TRUE(QORLGenerator::GenerateQORL(f.rp.get(), err, doc, {}, false, false, true, true,
                                          QORLScriptGenerateEverything, false, false));
  EXPECT_EQ(doc.ToUTF8(), std::string(kHead) + "</Repository>\n");
  // Without the footer option the caller goes on appending.
  EXPECT_EQ(f.Text({}, {}, 0), std::string(kHead));
}

TEST(Generator, CatalogUnderDatabaseWithDescription) {
  Fixture f;
  RefARpObject d1 = f.Make(kTIDADatabase, 100, "d1", {}, "00000000-0000-4000-8000-000000000001");
  RefARpObject c1 = f.Make(kTIDACatalog, 101, "c1", d1, "00000000-0000-4000-8000-000000000002");
  c1->SetDescription("text");
  EXPECT_EQ(f.Text({c1}),
            std::string(kHead) +
                "<DECLARE>\n"
                "<PhysicalCatalog name=\"c1\" parentName=\"&quot;d1&quot;\" parentId=\"3023:00000064\" "
                "parentUid=\"00000000-0000-4000-8000-000000000001\" id=\"3025:00000065\" "
                "uid=\"00000000-0000-4000-8000-000000000002\">\n"
                "<Description><![CDATA[text]]></Description>\n"
                "</PhysicalCatalog>\n"
                "</DECLARE>\n"
                "</Repository>\n");
}

TEST(Generator, CommonAttributesSectionsAndOrder) {
  // A catalog and a schema: elements with nothing of their own to add.
  Fixture f;
  RefARpObject cat = f.Make(kTIDACatalog, 1, "");  // no name: no attribute
  cat->SetIconIndex(3);
  cat->SetDefaultPrivilege(0);  // not readable: the one flag written as false
  cat->SetBIExtenderObject(true);
  RefARpObject s = f.Make(kTIDASchema, 2, "a<b", cat);
  s->SetDefaultPrivilege(kPrivAll);
  // Declared out of order: the generation sequence puts the catalog first.
  EXPECT_EQ(f.Text({s, cat}, {s}),
            std::string(kHead) +
                "<DECLARE>\n"
                "<PhysicalCatalog iconIndex=\"3\" isDefaultReadable=\"false\" isBIExtenderObject=\"true\" id=\"3025:00000001\">\n"
                "</PhysicalCatalog>\n"
                "<Schema name=\"a&lt;b\" isDefaultReadWriteable=\"true\" isDefaultGrantable=\"true\" "
                "isDefaultAll=\"true\" isDefaultDeleteable=\"true\" parentName=\"&quot;&quot;\" parentId=\"3025:00000001\" "
                "id=\"3027:00000002\">\n"
                "</Schema>\n"
                "</DECLARE>\n"
                "<DELETE>\n<DeleteObjects>\n"
                "<RefSchema id=\"3027:00000002\" qualifiedName=\"&quot;&quot;.&quot;a&lt;b&quot;\"/>\n"
                "</DeleteObjects>\n</DELETE>\n"
                "</Repository>\n");
}

TEST(Generator, TextElementsSplitCDataAndFollowTheEmptyRule) {
  EXPECT_EQ(QORLUtil::GetCDATA("a]]>b", U"Description", false, false, 0).ToUTF8(),
            "<Description><![CDATA[a]]]]><![CDATA[>b]]></Description>\n");
  EXPECT_EQ(QORLUtil::GetCDATA("", U"T", true, false, 0).ToUTF8(), "");
  EXPECT_EQ(QORLUtil::GetCDATA("", U"T", false, false, 0).ToUTF8(), "<T></T>\n");
  EXPECT_EQ(QORLUtil::GetCDATA("x\"y", U"T", false, true, kGenDummyUID).ToUTF8(),
            "<T dummyuid=\"x&quot;y\"><![CDATA[x\"y]]></T>\n");

  Fixture f;
  RefARpObject db = f.Make(kTIDACatalog, 1, "d");
  EXPECT_EQ(QORLUtil::GetDescriptionXMLElement(db, 0).ToUTF8(), "");
  EXPECT_EQ(QORLUtil::GetDescriptionXMLElement(db, kGenEmptyElements).ToUTF8(), "<Description></Description>\n");
  EXPECT_EQ(f.Text({db}, {}, kGenFooter | kGenDummyUID),
            std::string(kHead) +
                "<DECLARE>\n<PhysicalCatalog name=\"d\" fullyQualifiedName=\"&quot;d&quot;\" id=\"3025:00000001\">\n"
                "</PhysicalCatalog>\n</DECLARE>\n</Repository>\n");
  EXPECT_EQ(QORLUtil::GetAliases({"x", "y"}, false, 0).ToUTF8(),
            "<Aliases>\n<Alias name=\"x\"/>\n<Alias name=\"y\"/>\n</Aliases>\n");
  EXPECT_EQ(QORLUtil::GetAliases({}, false, kGenEmptyElements).ToUTF8(), "<Aliases/>\n");
}

TEST(Generator, ReferencesAndExpressions) {
  Fixture f;
  RefARpObject db = f.Make(kTIDADatabase, 1, "db", {}, "00000000-0000-4000-8000-00000000000a");
  RefARpObject t = f.Make(kTIDATable, 2, "T", db);
  RefARpObject a = f.Make(kTIDAColumn, 3, "A", t);
  RefARpObject b = f.Make(kTIDAColumn, 4, "B", t);

  EXPECT_EQ(QORLUtil::GetRefObject(db, U"Database", true).ToUTF8(),
            "<RefDatabase id=\"3023:00000001\" uid=\"00000000-0000-4000-8000-00000000000a\" "
            "qualifiedName=\"&quot;db&quot;\"/>\n");
  EXPECT_EQ(QORLUtil::GetRefObject(RefARpObject(), U"Database", true).ToUTF8(), "");

  Expr e;
  VXString err;
  const VXString text = "\"db\".\"\".\"\".\"T\".\"B\" + \"db\".\"\".\"\".\"T\".\"A\" * \"db\".\"\".\"\".\"T\".\"B\"";
  ASSERT_TRUE(SMEPParse::QORLCreateExprTree(text, e, err, f.rp.get(), kSME_Physical, nullptr)) << err.ToUTF8();
  VoidIDVector ids;
  EXPECT_EQ(QORLUtil::GenerateExpressionText(f.rp.get(), e, ids).ToUTF8(), "\"%1\" + \"%2\" * \"%1\"");
  EXPECT_EQ(ids, (VoidIDVector{b.GetID(), a.GetID()}));
  EXPECT_EQ(QORLUtil::GetExpression(f.rp.get(), e, text, false, kGenExprTextObjects).ToUTF8(),
            "<Expr><![CDATA[\"db\".\"\".\"\".\"T\".\"B\" + \"db\".\"\".\"\".\"T\".\"A\" * \"db\".\"\".\"\".\"T\".\"B\"]]></Expr>\n"
            "<ExprText><![CDATA[\"%1\" + \"%2\" * \"%1\"]]></ExprText>\n"
            "<Objects>\n"
            "<RefObject id=\"3003:00000004\" qualifiedName=\"&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;.&quot;B&quot;\"/>\n"
            "<RefObject id=\"3003:00000003\" qualifiedName=\"&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;.&quot;A&quot;\"/>\n"
            "</Objects>\n");
  EXPECT_EQ(QORLUtil::GetTaggedExpression(f.rp.get(), e, "x", U"ExternalExpr", false, 0).ToUTF8(),
            "<ExternalExpr>\n<Expr><![CDATA[x]]></Expr>\n</ExternalExpr>\n");
  ToPrettyStringVisitor::SetRipAndReplaceNoExprMode(true);
  EXPECT_EQ(QORLUtil::GetExpression(f.rp.get(), e, text, false, kGenExprTextObjects).ToUTF8(), "");
  ToPrettyStringVisitor::SetRipAndReplaceNoExprMode(false);

  // Grouped, tagged and fallback references through the generator.
  VXString out;
  QORLGenerator gen(f.rp.get(), nullptr, VXString(), out, false, false, true, false, false, false, false, false, false);
  gen.GenerateGroupedSTLContainer({a, b}, U"Columns");
  gen.GenerateTaggedRefObject(t, U"Owner");
  gen.GenerateTaggedRefObject(RefARpObject(), U"Owner");
  gen.SetGenerateOptions(kGenEmptyElements);
  gen.GenerateGroupedSTLContainer({}, U"Columns");
  gen.GenerateRefObject(RefARpObject(), U"RefDatabase");
  EXPECT_EQ(out.ToUTF8(),
            "<Columns>\n"
            "<RefPhysicalColumn id=\"3003:00000003\" qualifiedName=\"&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;.&quot;A&quot;\"/>\n"
            "<RefPhysicalColumn id=\"3003:00000004\" qualifiedName=\"&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;.&quot;B&quot;\"/>\n"
            "</Columns>\n"
            "<Owner>\n<RefPhysicalTable id=\"3001:00000002\" qualifiedName=\"&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;\"/>\n</Owner>\n"
            "<Columns/><RefDatabase/>\n");
}

TEST(Generator, DuplicateNamesAndUidsAreRepairedWithWarnings) {
  Fixture f;
  RefARpObject db = f.Make(kTIDADatabase, 1, "db", {}, "00000000-0000-4000-8000-000000000001");
  RefARpObject t1 = f.Make(kTIDATable, 2, "t", db, "00000000-0000-4000-8000-000000000002");
  RefARpObject t2 = f.Make(kTIDATable, 3, "t", db, "00000000-0000-4000-8000-000000000003");
  RefARpObject other = f.Make(kTIDACatalog, 4, "t", db, "00000000-0000-4000-8000-000000000002");
  ServerLogCapture log;
  UpdateDuplicateObjectAttributesForGeneration(f.rp.get(), {db, t1, t2, other});
  EXPECT_EQ(t1->GetName(), "t");
  EXPECT_EQ(t2->GetName(), "t#1");
  EXPECT_EQ(other->GetName(), "t");  // another type of the same name is no clash
  EXPECT_NE(other->UpgradeID(), t1->UpgradeID());  // the same uid in another type is
  EXPECT_EQ(t2->UpgradeID(), Uid("00000000-0000-4000-8000-000000000003"));
  EXPECT_EQ(log.Count(ServerLog::kWarning), 2u);
}

TEST(Generator, AFailedObjectIsReportedAndTheRestFollow) {
  struct Failing : QORLGenerator {
    using QORLGenerator::QORLGenerator;
    using QORLGenerator::Visit;
    void Visit(const RefACatalog& o) override {
      Print(U"<PhysicalCatalog");
      throw ErrorMessage(99009, o->GetTypeID(), "broken on purpose");
    }
  };
  Fixture f;
  RefARpObject db = f.Make(kTIDADatabase, 1, "db");
  RefARpObject c = f.Make(kTIDACatalog, 2, "c", db);
  RefARpObject s = f.Make(kTIDASchema, 3, "s", db);
  VXString out, err;
  Failing gen(f.rp.get(), nullptr, VXString(), out, false, false, true, false, false, false, false, false, false);
  gen.GenerateDeclareQORLForObjects({db, c, s}, {}, err, false, NONE_FINEGRAINED, false);
  EXPECT_NE(err.find("broken on purpose"), VXString::npos);
  EXPECT_NE(out.find(U"<Schema name=\"s\""), VXString::npos);  // the next object still comes out
}

TEST(Generator, FileOutputEqualsTextOutput) {
  Fixture f;
  RefARpObject db = f.Make(kTIDADatabase, 1, "d\xC3\xA9");
  db->SetDescription(VXString("bad\x01" "char"));
  std::string path = (std::filesystem::temp_directory_path() / ("qorl_gen_" + std::to_string(::getpid()) + "/out.xml")).string();
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  VXString err;
  ASSERT_TRUE(QORLGenerator::GenerateQORLForObjectVector(f.rp.get(), {db}, {}, err, VXString(path), true)) << err.ToUTF8();
  std::stringstream ss;
  ss << std::ifstream(path, std::ios::binary).rdbuf();
  VXString text;
  QORLGenerator::GenerateQORLTextForObjectVector(f.rp.get(), {db}, {}, err, text, kGenFooter | kGenColMapping | kGenExprTextObjects);
  std::string expected = text.ToUTF8();
  expected.erase(expected.find('\x01'), 1);  // a file never holds characters XML cannot carry
  EXPECT_EQ(ss.str(), expected);
  std::filesystem::remove_all(std::filesystem::path(path).parent_path());
}

TEST(Generator, TheInternalAccountsNameTravelsEncrypted) {
  auto rp = ARpGateway::CreateInMemory("pw");
  VXUpgradeID internal;
  AAuthorizer::GetMandatorySecurityObjectsUIDs(internal);
  RefARpObject group = rp->FindByUpgradeID(internal);
  ASSERT_FALSE(group.IsNullRef());
  VXString withUid = QORLUtil::GetBaseRpObjectXMLAttributes(group, true);
  EXPECT_EQ(withUid.find(U"Administrators"), VXString::npos);
  EXPECT_EQ(QORLUtil::GetBaseRpObjectXMLAttributes(group, false).ToUTF8(),
            " name=\"Administrators\" isDefaultReadWriteable=\"true\" isDefaultGrantable=\"true\" isDefaultAll=\"true\" "
            "isDefaultDeleteable=\"true\"");
}

// ---- writing the document file ----------------------------------------------

// Caps the size of files this process may write, so that a write fails part
// way as on a full disk, whatever user the tests run as.
struct FileSizeLimit {
  explicit FileSizeLimit(rlim_t bytes) {
    previousHandler = std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &previous);
    rlimit capped = previous;
    capped.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &capped);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &previous);
    std::signal(SIGXFSZ, previousHandler);
  }
  rlimit previous{};
  void (*previousHandler)(int);
};

struct DocumentFile : ::testing::Test {
  void SetUp() override {
    dir = std::filesystem::temp_directory_path() / ("qorl_out_" + std::to_string(::getpid()));
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
    target = (dir / "doc.xml").string();
    std::ofstream(target, std::ios::binary) << "previous\ndocument\n";
    // Well beyond the write buffer, so writes fail while objects are still
    // being written, not only when the file is closed.
    for (uint32_t i = 0; i < 3000; ++i) {
      RefARpObject db = f.Make(kTIDADatabase, 10 + i, ("db" + std::to_string(i)).c_str());
      db->SetDescription(VXString(std::string(400, 'x')));
      objects.push_back(db);
    }
  }
  void TearDown() override { std::filesystem::remove_all(dir); }
  std::vector<std::string> Entries() const {
    std::vector<std::string> names;
    for (const auto& e : std::filesystem::directory_iterator(dir)) names.push_back(e.path().filename().string());
    return names;
  }
  Fixture f;
  RpObjectVector objects;
  std::filesystem::path dir;
  std::string target;
};

size_t Occurrences(const std::string& text, const std::string& part) {
  size_t n = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
  return n;
}

std::string Slurp(const std::string& path) {
  std::stringstream ss;
  ss << std::ifstream(path, std::ios::binary).rdbuf();
  return ss.str();
}

TEST_F(DocumentFile, AFailedWriteLeavesTheFileAsItWasAndIsReportedOnce) {
  VXString err;
  {
    FileSizeLimit limit(100000);
    EXPECT_FALSE(QORLGenerator::GenerateQORLForObjectVector(f.rp.get(), objects, {}, err, VXString(target), true));
  }
  std::string text = err.ToUTF8();
  EXPECT_EQ(Occurrences(text, "Writing the document " + target + " failed: File too large."), 1u) << text;
  EXPECT_EQ(Occurrences(text, "failed"), 1u) << text;
  EXPECT_EQ(Slurp(target), "previous\ndocument\n");
  EXPECT_EQ(Entries(), std::vector<std::string>{"doc.xml"});  // no temporary file stays behind

  // Without an earlier file, none is left either.
  std::filesystem::remove(target);
  err.clear();
  {
    FileSizeLimit limit(100000);
    EXPECT_FALSE(QORLGenerator::GenerateQORLForObjectVector(f.rp.get(), objects, {}, err, VXString(target), true));
  }
  EXPECT_TRUE(Entries().empty());
}

TEST_F(DocumentFile, AFullDeviceIsReportedOnceWithItsCause) {
  VXString err;
  EXPECT_FALSE(QORLGenerator::GenerateQORLForObjectVector(f.rp.get(), objects, {}, err, VXString("/dev/full"), true));
  std::string text = err.ToUTF8();
  EXPECT_EQ(Occurrences(text, "Writing the document to /dev/full failed: No space left on device."), 1u) << text;
  EXPECT_EQ(Occurrences(text, "failed"), 1u) << text;

  // A document smaller than the buffer fails only when it is closed.
  err.clear();
  EXPECT_FALSE(QORLGenerator::GenerateQORLForObjectVector(f.rp.get(), {objects[0]}, {}, err, VXString("/dev/full"), true));
  EXPECT_EQ(Occurrences(err.ToUTF8(), "No space left on device"), 1u) << err.ToUTF8();
}

TEST_F(DocumentFile, ASuccessfulWriteReplacesTheFileAndKeepsItsMode) {
  ::chmod(target.c_str(), 0640);
  VXString err, text;
  ASSERT_TRUE(QORLGenerator::GenerateQORLForObjectVector(f.rp.get(), {objects[0], objects[1]}, {}, err, VXString(target), true))
      << err.ToUTF8();
  QORLGenerator::GenerateQORLTextForObjectVector(f.rp.get(), {objects[0], objects[1]}, {}, err, text,
                                                 kGenFooter | kGenColMapping | kGenExprTextObjects);
  EXPECT_EQ(Slurp(target), text.ToUTF8());
  EXPECT_EQ(std::filesystem::status(target).permissions() & std::filesystem::perms::all,
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write | std::filesystem::perms::group_read);
  EXPECT_EQ(Entries(), std::vector<std::string>{"doc.xml"});
}

// An expression, a reference and a column mapping that name an object the
// repository lacks (left behind by a deletion that mends nothing): the first
// one met fails the whole document with one error naming its holder, and the
// file stays as it was.
TEST_F(DocumentFile, AReferenceToAMissingObjectFailsTheDocumentAndLeavesTheFile) {
  RefARpObject db = f.Make(kTIDADatabase, 1, "db");
  RefARpObject t = f.Make(kTIDATable, 2, "T", db);
  RefARpObject a = f.Make(kTIDAColumn, 3, "A", t);
  RefARpObject gone = f.Make(kTIDAColumn, 4, "gone", t);
  RefAComplexJoin join(f.Make(kTIDAComplexJoin, 5, "J"));
  RefARpObject lt = f.Make(kTIDALogicalTable, 7, "LT", f.Make(kTIDASubjectArea, 6, "BM"));
  RefARpObject lc = f.Make(kTIDAAttribute, 8, "LC", lt);
  RefALogicalTableSource source(f.Make(kTIDALogicalTableSource, 9, "S", lt));
  auto named = [](const RefARpObject& o) {
    Expr e;
    e.AppendObject(o.GetID());
    return e;
  };
  RpObjectVector all = objects;
  for (const RefARpObject& o : {db, t, a, RefARpObject(join), lt, lc, RefARpObject(source)}) all.push_back(o);
  auto fails = [&](const std::string& message) {
    VXString err;
    EXPECT_FALSE(QORLGenerator::GenerateQORLForObjectVector(f.rp.get(), all, {}, err, VXString(target), true));
    EXPECT_EQ(err.ToUTF8(), message + "\n");
    EXPECT_EQ(Slurp(target), "previous\ndocument\n");
    EXPECT_EQ(Entries(), std::vector<std::string>{"doc.xml"});
  };
  const std::string missing = " refers to the Physical Column 3003:00000004, which is not in the repository; a "
                              "document naming it would not load, so none is written.";
  join->SetJoinExpr(named(gone));
  source->SetClosureTable(f.Make(kTIDATable, 10, "T2", db));
  ALogicalTableSource::SourceDefinition d;
  d.m_logicalToPhysicalProjection = {{named(lc), named(gone)}};
  source->SetSourceDefinition(d);
  f.rp->DeleteInternalObject(gone.GetID());
  f.rp->DeleteInternalObject(VoidID(kTIDATable, UniqueNum(10)));
  fails("The Complex Join \"J\"" + missing);
  join->SetJoinExpr(named(a));
  fails("The Logical Table Source \"BM\".\"LT\".\"S\" refers to the Physical Table 3001:0000000a, which is not in the "
        "repository; a document naming it would not load, so none is written.");
  source->SetClosureTable(RefARpObject());
  fails("The Logical Table Source \"BM\".\"LT\".\"S\"" + missing);
  source->SetSourceDefinition({});
  VXString err;
  EXPECT_TRUE(QORLGenerator::GenerateQORLForObjectVector(f.rp.get(), all, {}, err, VXString(target), true)) << err.ToUTF8();
}

TEST_F(DocumentFile, AMissingDirectoryIsAnErrorAndIsNotMade) {
  std::filesystem::path missing = dir / "no" / "such";
  VXString err;
  EXPECT_FALSE(QORLGenerator::GenerateQORLForObjectVector(f.rp.get(), {objects[0]}, {}, err,
                                                          VXString((missing / "doc.xml").string()), true));
  EXPECT_NE(err.ToUTF8().find("The output directory " + missing.string() + " does not exist."), std::string::npos)
      << err.ToUTF8();
  EXPECT_FALSE(std::filesystem::exists(dir / "no"));
}

}  // namespace
}  // namespace qorl
