#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <unistd.h>

#include "gen/generator.h"
#include "load/manager.h"
#include "load/parser.h"
#include "store/expr_store.h"
#include "model/registry.h"
#include "platform/error.h"
#include "platform/guid.h"
#include "platform/serverlog.h"
#include "store/metadata_util.h"
#include "store/physical_sources.h"

namespace qorl {
namespace {

const char* kDocHead =
    "<?xml version='1.0' encoding='UTF-8'?>\n"
    "<Repository xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">\n";

VXUpgradeID Uid(int n) {
  VXUpgradeID u;
  char buf[40];
  std::snprintf(buf, sizeof buf, "00000000-0000-4000-8000-%012d", n);
  TKSGUIDGenerator::VXStringToGUIDByteVector(u, buf);
  return u;
}

std::string Gen(ARpGateway& rp) {
  VXString doc, err;
  EXPECT_TRUE(QORLGenerator::GenerateQORL(&rp, err, doc, {}, false, false, true, true, QORLScriptGenerateEverything,
                                          false, false))
      << err.ToUTF8();
  return doc.ToUTF8();
}

// Store ids and secrets (encrypted with each repository's own key) differ
// between repositories; everything else must not.
std::string WithoutStoreIds(const std::string& doc) {
  std::string s = std::regex_replace(doc, std::regex(" (parentId|id)=\"[^\"]*\""), "");
  return std::regex_replace(s, std::regex("\"AES256 [^\"]*\""), "\"(secret)\"");
}

struct LoadResult {
  bool ok;
  ErrorMessage err;
  VoidIDVector created, modified, deleted;
  std::string Text() const {
    VXString t;
    err.RetrieveErrorMessages(t);
    return t.ToUTF8();
  }
};

LoadResult Load(ARpGateway& rp, const std::string& text, bool ignoreErrors = false, bool rename = false,
                const VXStringVector& passwords = {}) {
  LoadResult r;
  VXString warnings;
  r.ok = QORLParser::ExecuteTransactionalXML(&rp, {VXString(text)}, passwords, r.err, warnings, r.created, r.modified,
                                             r.deleted, QORLParser::QORLText, true, true, ignoreErrors, rename, false,
                                             false, false);
  return r;
}

std::string Doc(const std::string& declare, const std::string& del = "") {
  std::string s = kDocHead;
  if (!declare.empty()) s += "<DECLARE>\n" + declare + "</DECLARE>\n";
  if (!del.empty()) s += "<DELETE>\n<DeleteObjects>\n" + del + "</DeleteObjects>\n</DELETE>\n";
  return s + "</Repository>\n";
}

TEST(Load, EveryTypeRoundTripsThroughANewRepository) {
  auto src = ARpGateway::CreateInMemory("pw");
  // One object of every type that has an element, each with every common property set.
  int n = 100;
  RefARpObject db = src->CreateObject(kTIDADatabase);
  db->SetName("db");
  db->SetUpgradeID(Uid(n++));
  for (TypeID t : QORLUtil::GenerationSequence()) {
    RefARpObject o = t == kTIDADatabase ? db : src->CreateObject(t);
    if (t != kTIDADatabase) {
      o->SetName(VXString("obj ") + QORLUtil::GetTagName(t) + " \"q\" & <x>");
      o->SetUpgradeID(Uid(n++));
      TypeIDVector parents;
      MetadataUtil::GetParentTypes(t, parents);
      if (!parents.empty() && parents[0] == kTIDADatabase) MetadataUtil::SetParent(o, db);
    }
    o->SetDescription("line 1\nline ]]> 2 \xC3\xA9");
    o->SetIconIndex(static_cast<uint16>(t % 50 + 1));
    o->SetDefaultPrivilege(t % 2 ? kPrivGrant : 0);
    o->SetBIExtenderObject(t % 3 == 0);
  }
  std::string first = Gen(*src);
  auto dst = ARpGateway::CreateInMemory("other");
  LoadResult r = Load(*dst, first, false, false, {"pw"});
  ASSERT_TRUE(r.ok) << r.Text();
  std::string second = Gen(*dst);
  if (WithoutStoreIds(second) != WithoutStoreIds(first)) {
    std::ofstream("/tmp/qorl_rt_first.xml") << WithoutStoreIds(first);
    std::ofstream("/tmp/qorl_rt_second.xml") << WithoutStoreIds(second);
    ADD_FAILURE() << "documents differ: diff /tmp/qorl_rt_first.xml /tmp/qorl_rt_second.xml";
  }
  // A second load of the same document changes nothing.
  LoadResult again = Load(*dst, first, false, false, {"pw"});
  ASSERT_TRUE(again.ok) << again.Text();
  EXPECT_TRUE(again.created.empty());
  EXPECT_EQ(Gen(*dst), second);
  VXUpgradeID internal;
  AAuthorizer::GetMandatorySecurityObjectsUIDs(internal);
  EXPECT_EQ(dst->FindByUpgradeID(internal)->GetName(), "Administrators");
}

TEST(Load, BadDocumentsNameTheLineAndStopTheLoad) {
  struct Case {
    std::string doc;
    unsigned long message;
    std::string fragment;
  };
  const std::vector<Case> cases = {
      {Doc("<Role name=\"r\">\n</Role>\n"), 92001, "Line 4"},
      {Doc("", "<RefPhysicalTable uid=\"00000000-0000-4000-8000-000000000001\"/>\n"), 92007, "Line 5"},
      {Doc("<PhysicalCatalog name=\"c\" parentName=\"d\">\n</PhysicalCatalog>\n"), 92007, "Line 4"},
      {std::string(kDocHead) + "<DECLARE>\n<Database name=\"x\">\n</DECLARE>\n</Repository>\n", 92008, "Line 5"},
      {Doc("<PhysicalCatalog name=\"c\" parentName=\"&quot;nowhere&quot;\">\n</PhysicalCatalog>\n"), 92006, "Line 4"},
  };
  // (That the repository file stays as it was is the command's part: it does not commit.)
  for (const Case& c : cases) {
    auto rp = ARpGateway::CreateInMemory();
    LoadResult r = Load(*rp, c.doc);
    EXPECT_FALSE(r.ok) << c.doc;
    EXPECT_TRUE(r.err.Contains(c.message)) << r.Text();
    EXPECT_NE(r.Text().find(c.fragment), std::string::npos) << r.Text();
  }
}

TEST(Load, AnUnresolvedReferencePointsAtItsOwnElement) {
  const std::string doc = Doc(
      "<Database name=\"d\">\n</Database>\n"                                                        // 4-5
      "<PhysicalTable name=\"T\" parentName=\"&quot;d&quot;.&quot;&quot;.&quot;&quot;\">\n</PhysicalTable>\n"  // 6-7
      "<PhysicalKey name=\"k\"\n parentName=\"&quot;d&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;\">\n"  // 8-9
      "<Columns>\n"                                                                                   // 10
      "  <RefPhysicalColumn qualifiedName=\"&quot;d&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;.&quot;nope&quot;\"/>\n"
      "</Columns>\n</PhysicalKey>\n");
  auto rp = ARpGateway::CreateInMemory();
  LoadResult r = Load(*rp, doc);
  ASSERT_FALSE(r.ok);
  const std::vector<ErrorMessage::Entry>& entries = r.err.Entries();
  ASSERT_EQ(entries.size(), 2u) << r.Text();
  // The reference where it starts (line 11, after two blanks), then the key
  // being applied where its start tag begins, though it ends a line later.
  EXPECT_EQ(entries[0].number, 92006u);
  EXPECT_EQ(entries[0].line, 11u);
  EXPECT_EQ(entries[0].column, 3u);
  EXPECT_EQ(entries[1].number, 99017u);
  EXPECT_EQ(entries[1].line, 8u);
  EXPECT_EQ(entries[1].column, 1u);

  // Passed over, the error is logged with the same place.
  auto other = ARpGateway::CreateInMemory();
  ServerLogCapture log;
  EXPECT_TRUE(Load(*other, doc, true).ok);
  ASSERT_EQ(log.Count(ServerLog::kError), 1u);
  EXPECT_TRUE(log.Contains(ServerLog::kError, "Line 11, column 3: The object")) << log.Entries()[0].text.ToUTF8();
}

TEST(Load, TextThatIsNotANumberInRangeIsAnErrorNamingTheAttribute) {
  const std::string db = "<Database name=\"d\">\n</Database>\n";  // lines 4-5
  const std::string pool = "<ConnectionPool name=\"p\" parentName=\"&quot;d&quot;\" ";
  const std::string table = "<PhysicalTable name=\"T\" parentName=\"&quot;d&quot;.&quot;&quot;.&quot;&quot;\" ";
  const std::string column =
      "<PhysicalColumn name=\"c\" parentName=\"&quot;d&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;\" ";
  struct Case {
    std::string declare;
    std::string attr;
    std::string line;
  };
  const std::vector<Case> cases = {
      {db + pool + "timeout=\"99999999999999999999999\">\n</ConnectionPool>\n", "timeout", "Line 6"},
      {db + pool + "maxConn=\"2147483648\">\n</ConnectionPool>\n", "maxConn", "Line 6"},
      {db + pool + "maxConnDiff=\"abc\">\n</ConnectionPool>\n", "maxConnDiff", "Line 6"},
      {db + pool + "timeout=\"\">\n</ConnectionPool>\n", "timeout", "Line 6"},
      {db + pool + "cliTypeId=\"12x\">\n</ConnectionPool>\n", "cliTypeId", "Line 6"},
      {"<Database name=\"d\" dbFlag=\"-1\">\n</Database>\n", "dbFlag", "Line 4"},
      {"<Database name=\"d\" dbTypeId=\"1.0\">\n</Database>\n", "dbTypeId", "Line 4"},
      {db + table + "rowCount=\"1e400\">\n</PhysicalTable>\n", "rowCount", "Line 6"},
      {db + table + "rowCount=\"inf\">\n</PhysicalTable>\n", "rowCount", "Line 6"},
      {db + table + "rowCount=\"nan\">\n</PhysicalTable>\n", "rowCount", "Line 6"},
      {db + table + "x=\"5\" y=\"-2147483649\">\n</PhysicalTable>\n", "y", "Line 6"},
      {db + table + ">\n</PhysicalTable>\n" + column + "dataType=\"INT\" scale=\"40000\">\n</PhysicalColumn>\n",
       "scale", "Line 8"},
      {db + table + ">\n</PhysicalTable>\n" + column + "dataType=\"INT\" precision=\"1.5\">\n</PhysicalColumn>\n",
       "precision", "Line 8"},
  };
  for (const Case& c : cases) {
    auto rp = ARpGateway::CreateInMemory();
    LoadResult r = Load(*rp, Doc(c.declare));
    EXPECT_FALSE(r.ok) << c.declare;
    EXPECT_TRUE(r.err.Contains(99023)) << c.declare << r.Text();
    EXPECT_NE(r.Text().find(c.line), std::string::npos) << r.Text();
    EXPECT_NE(r.Text().find(" " + c.attr + "=\""), std::string::npos) << r.Text();
  }
  // Ignoring errors, the default is taken and the rest is loaded.
  auto rp = ARpGateway::CreateInMemory();
  LoadResult r = Load(*rp, Doc(db + pool + "maxConn=\"4294967297\" timeout=\"7\">\n</ConnectionPool>\n"), true);
  ASSERT_TRUE(r.ok) << r.Text();
  RefAConnectionPool p(rp->FindByQualifiedName(kTIDAConnectionPool, {"d", "p"}));
  ASSERT_FALSE(p.IsNullRef());
  EXPECT_EQ(p->GetMaxConnections(), 10);
  EXPECT_EQ(p->GetTimeout(), 7);
}

TEST(Load, LineFeedsReturnsAndTabsInANameSurviveARoundTrip) {
  auto src = ARpGateway::CreateInMemory("pw");
  ASSERT_TRUE(Load(*src, Doc("<Database name=\"a&#10;b&#13;c&#9;d\">\n</Database>\n")).ok);
  ASSERT_FALSE(src->FindByQualifiedName(kTIDADatabase, {VXString(U"a\nb\rc\td")}).IsNullRef());
  const std::string first = Gen(*src);
  auto dst = ARpGateway::CreateInMemory("other");
  LoadResult r = Load(*dst, first, false, false, {"pw"});
  ASSERT_TRUE(r.ok) << r.Text();
  EXPECT_FALSE(dst->FindByQualifiedName(kTIDADatabase, {VXString(U"a\nb\rc\td")}).IsNullRef());
  EXPECT_EQ(WithoutStoreIds(Gen(*dst)), WithoutStoreIds(first));
}

TEST(Load, AReferenceToAnObjectTheDocumentDeletesFails) {
  auto rp = ARpGateway::CreateInMemory();
  ASSERT_TRUE(Load(*rp, Doc("<Database name=\"d\">\n</Database>\n")).ok);
  LoadResult r = Load(*rp, Doc("<PhysicalCatalog name=\"c\" parentName=\"&quot;d&quot;\">\n</PhysicalCatalog>\n",
                               "<RefDatabase qualifiedName=\"&quot;d&quot;\"/>\n"));
  EXPECT_FALSE(r.ok);
  EXPECT_TRUE(r.err.Contains(92006)) << r.Text();
}

TEST(Load, TheNameWinsOverTheUid) {
  auto rp = ARpGateway::CreateInMemory();
  RefARpObject a = rp->CreateObject(kTIDADatabase);
  a->SetName("A");
  a->SetUpgradeID(Uid(1));
  RefARpObject b = rp->CreateObject(kTIDADatabase);
  b->SetName("B");
  b->SetUpgradeID(Uid(2));
  // The uid says A, the name says B: B is updated and A is left alone.
  LoadResult r = Load(*rp, Doc("<Database name=\"B\" uid=\"00000000-0000-4000-8000-000000000001\">\n"
                               "<Description><![CDATA[updated]]></Description>\n</Database>\n"));
  ASSERT_TRUE(r.ok) << r.Text();
  EXPECT_EQ(b->GetDescription(), "updated");
  EXPECT_EQ(a->GetDescription(), "");
  EXPECT_EQ(b->UpgradeID(), Uid(2));
  // A known uid with a free name renames the object it names.
  ASSERT_TRUE(Load(*rp, Doc("<Database name=\"A2\" uid=\"00000000-0000-4000-8000-000000000001\">\n</Database>\n")).ok);
  EXPECT_EQ(a->GetName(), "A2");
}

TEST(Load, DuplicateNamesMergeOrAreRenamed) {
  auto rp = ARpGateway::CreateInMemory();
  RefARpObject d = rp->CreateObject(kTIDADatabase);
  d->SetName("D");
  d->SetUpgradeID(Uid(1));
  const std::string doc = Doc("<Database name=\"D\" uid=\"00000000-0000-4000-8000-000000000009\">\n</Database>\n");
  size_t count = rp->ObjectCount();
  ASSERT_TRUE(Load(*rp, doc).ok);  // a new uid, a taken name: merged with the stored object
  EXPECT_EQ(rp->ObjectCount(), count);
  EXPECT_EQ(d->UpgradeID(), Uid(1));

  ServerLogCapture log;
  LoadResult r = Load(*rp, doc, false, true);
  ASSERT_TRUE(r.ok) << r.Text();
  EXPECT_EQ(rp->ObjectCount(), count + 1);
  RefARpObject renamed = rp->FindByQualifiedName(kTIDADatabase, {"D#1"});
  ASSERT_FALSE(renamed.IsNullRef());
  EXPECT_EQ(renamed->UpgradeID(), Uid(9));
  EXPECT_TRUE(log.Contains(ServerLog::kWarning, "D#1"));

  // Two elements of one name in one document are one too many.
  LoadResult dup = Load(*rp, Doc("<Database name=\"N\">\n</Database>\n<Database name=\"N\">\n</Database>\n"));
  EXPECT_TRUE(dup.err.Contains(92014)) << dup.Text();
}

TEST(Load, ParentsComeFirstAndDeletionsLast) {
  auto rp = ARpGateway::CreateInMemory();
  // The catalog stands before its database in the document.
  LoadResult r = Load(*rp, Doc("<PhysicalCatalog name=\"c\" parentName=\"&quot;d&quot;\">\n</PhysicalCatalog>\n"
                               "<Database name=\"d\">\n</Database>\n"));
  ASSERT_TRUE(r.ok) << r.Text();
  RefARpObject c = rp->FindByQualifiedName(kTIDACatalog, {"d", "c"});
  ASSERT_FALSE(c.IsNullRef());
  EXPECT_EQ(r.created.size(), 2u);

  // Deleting the database and declaring a new one of the same name: the new
  // one is made first, the old one (with its catalog) goes last.
  RefARpObject oldDb = rp->FindByQualifiedName(kTIDADatabase, {"d"});
  LoadResult r2 = Load(*rp, Doc("<Database name=\"d\">\n</Database>\n", "<RefDatabase qualifiedName=\"&quot;d&quot;\"/>\n"));
  ASSERT_TRUE(r2.ok) << r2.Text();
  EXPECT_TRUE(oldDb.IsNullRef());
  EXPECT_TRUE(c.IsNullRef());
  EXPECT_FALSE(rp->FindByQualifiedName(kTIDADatabase, {"d"}).IsNullRef());
  EXPECT_EQ(r2.deleted, VoidIDVector{oldDb.GetID()});

  // Deleting what is not there is no error.
  EXPECT_TRUE(Load(*rp, Doc("", "<RefDatabase qualifiedName=\"&quot;gone&quot;\"/>\n")).ok);
}

TEST(Load, PrivilegeMasksAndTextsAsTheDocumentSaysThem) {
  auto rp = ARpGateway::CreateInMemory();
  ASSERT_TRUE(Load(*rp, Doc("<Database name=\"a\" isDefaultReadable=\"false\" isDefaultReadWriteable=\"true\">\n"
                            "<Description><![CDATA[x\r\ny]]></Description>\n</Database>\n"
                            "<Database name=\"b\">\n</Database>\n"))
                  .ok);
  RefARpObject a = rp->FindByQualifiedName(kTIDADatabase, {"a"});
  RefARpObject b = rp->FindByQualifiedName(kTIDADatabase, {"b"});
  EXPECT_EQ(a->GetDefaultPrivilege(), 0x03);
  EXPECT_EQ(b->GetDefaultPrivilege(), 0x01);
  EXPECT_EQ(a->GetDescription(), "x\ny");
  // A name of 300 characters with no qualified name is cut to 255.
  std::string longName(300, 'n');
  ASSERT_TRUE(Load(*rp, Doc("<Database name=\"" + longName + "\">\n</Database>\n")).ok);
  EXPECT_FALSE(rp->FindByQualifiedName(kTIDADatabase, {VXString(std::string(255, 'n'))}).IsNullRef());
}

TEST(Load, PasswordsTryTheGivenPasswordThenTheRepositoryKey) {
  auto src = ARpGateway::CreateInMemory("source");
  std::string doc = Gen(*src);  // the internal account's name is encrypted with the source's key
  {
    auto dst = ARpGateway::CreateInMemory("target");
    LoadResult r = Load(*dst, doc);
    EXPECT_FALSE(r.ok);
    EXPECT_TRUE(r.err.Contains(13042)) << r.Text();
  }
  {
    auto dst = ARpGateway::CreateInMemory("target");
    LoadResult r = Load(*dst, doc, false, false, {"source"});
    EXPECT_TRUE(r.ok) << r.Text();
  }
  {
    // A document written by the same repository needs no password.
    LoadResult r = Load(*src, doc);
    EXPECT_TRUE(r.ok) << r.Text();
  }
  {
    auto dst = ARpGateway::CreateInMemory("target");
    LoadResult r = Load(*dst, doc, false, false, {"wrong"});
    EXPECT_TRUE(r.err.Contains(13042)) << r.Text();
  }
}

// ---- the built-in security objects, uids, and undoing a load ---------------

std::string UidText(const VXUpgradeID& u) { return TKSGUIDGenerator::ByteVectorToGUIDString(u).ToUTF8(); }

struct BuiltIns {
  explicit BuiltIns(ARpGateway& rp) {
    AAuthorizer::GetAdministratorUIDs(userUid, groupUid);
    user = rp.FindByUpgradeID(userUid).GetID();
    group = rp.FindByUpgradeID(groupUid).GetID();
  }
  VXUpgradeID userUid, groupUid;
  VoidID user, group;
};

TEST(Load, TheBuiltInAdministratorAndGroupAreKeptWhenADocumentDeletesThem) {
  auto rp = ARpGateway::CreateInMemory();
  BuiltIns b(*rp);
  ASSERT_TRUE(Load(*rp, Doc("<Database name=\"d\">\n</Database>\n")).ok);
  ServerLogCapture log;
  LoadResult r = Load(*rp, Doc("", "<RefUser qualifiedName=\"&quot;Administrator&quot;\" uid=\"" + UidText(b.userUid) +
                                       "\"/>\n<RefGroup qualifiedName=\"&quot;Administrators&quot;\"/>\n"
                                       "<RefDatabase qualifiedName=\"&quot;d&quot;\"/>\n"));
  ASSERT_TRUE(r.ok) << r.Text();
  EXPECT_EQ(r.deleted.size(), 1u);  // the database alone
  EXPECT_TRUE(rp->FindByQualifiedName(kTIDADatabase, {"d"}).IsNullRef());
  // The same objects, not new ones made in their place.
  EXPECT_EQ(rp->FindByUpgradeID(b.userUid).GetID(), b.user);
  EXPECT_EQ(rp->FindByUpgradeID(b.groupUid).GetID(), b.group);
  EXPECT_EQ(rp->ObjectCount(), 2u);
  EXPECT_TRUE(BinaryRelIter<ASecurityRole>(rp.get(), b.user, kRelUserGroups).Contains(b.group));
  EXPECT_EQ(log.Count(ServerLog::kWarning), 2u);
  EXPECT_TRUE(log.Contains(ServerLog::kWarning, "Line 5: <User> \"Administrator\" is a built-in security object"));
  EXPECT_TRUE(log.Contains(ServerLog::kWarning, "Line 6: <Group> \"Administrators\" is a built-in security object"));
}

TEST(Load, ANewObjectNeverSharesItsUidWithAnother) {
  auto rp = ARpGateway::CreateInMemory();
  BuiltIns b(*rp);
  // The administrator's uid under another name, and the group's uid on
  // another type: neither binds to the built-in object, so both are new.
  const std::string doc = Doc("<User name=\"Bob\" uid=\"" + UidText(b.userUid) + "\">\n</User>\n<Database name=\"D\" uid=\"" +
                              UidText(b.groupUid) + "\">\n</Database>\n");
  ServerLogCapture log;
  LoadResult r = Load(*rp, doc);
  ASSERT_TRUE(r.ok) << r.Text();
  EXPECT_EQ(r.created.size(), 2u);
  RefARpObject bob = rp->FindByQualifiedName(kTIDAUser, {"Bob"});
  RefARpObject d = rp->FindByQualifiedName(kTIDADatabase, {"D"});
  ASSERT_FALSE(bob.IsNullRef());
  ASSERT_FALSE(d.IsNullRef());
  EXPECT_EQ(rp->FindByUpgradeID(b.userUid).GetID(), b.user);
  EXPECT_EQ(rp->FindByUpgradeID(b.groupUid).GetID(), b.group);
  // No second built-in group was made, and Bob did not become an administrator.
  EXPECT_EQ(rp->ObjectCount(), 4u);
  EXPECT_FALSE(BinaryRelIter<ASecurityRole>(rp.get(), bob.GetID(), kRelUserGroups).Contains(b.group));
  std::set<VXUpgradeID> uids;
  rp->ForEachObject([&](const ARpObject* o) {
    if (!o->UpgradeID().empty()) EXPECT_TRUE(uids.insert(o->UpgradeID()).second) << o->GetName().ToUTF8();
  });
  EXPECT_EQ(log.Count(ServerLog::kWarning), 2u);
  EXPECT_TRUE(log.Contains(ServerLog::kWarning, VXString("Line 4: the uid " + UidText(b.userUid) +
                                                         " of the new <User> \"Bob\" already belongs to <User> \"Administrator\"")));
  EXPECT_TRUE(log.Contains(ServerLog::kWarning, "Line 6: the uid"));

  // Loaded again, the document finds both by name and changes no uid.
  VXUpgradeID bobUid = bob->UpgradeID();
  LoadResult again = Load(*rp, doc);
  ASSERT_TRUE(again.ok) << again.Text();
  EXPECT_TRUE(again.created.empty());
  EXPECT_EQ(bob->UpgradeID(), bobUid);
  EXPECT_EQ(rp->ObjectCount(), 4u);

  // An object the same document deletes gives its uid up to the new one.
  ASSERT_TRUE(Load(*rp, Doc("<Database name=\"E\" uid=\"" + UidText(Uid(7)) + "\">\n</Database>\n")).ok);
  log.Clear();
  LoadResult moved = Load(*rp, Doc("<Database name=\"F\" uid=\"" + UidText(Uid(7)) + "\">\n</Database>\n",
                                   "<RefDatabase qualifiedName=\"&quot;E&quot;\"/>\n"));
  ASSERT_TRUE(moved.ok) << moved.Text();
  EXPECT_EQ(log.Count(ServerLog::kWarning), 0u);
  RefARpObject f = rp->FindByUpgradeID(Uid(7));
  ASSERT_FALSE(f.IsNullRef());
  EXPECT_EQ(f->GetName(), "F");
  EXPECT_TRUE(rp->FindByQualifiedName(kTIDADatabase, {"E"}).IsNullRef());
}

TEST(Load, ADocumentThatCannotBeReadWholeStopsTheLoadEvenWhenErrorsAreIgnored) {
  const std::string good = Doc("<Database name=\"good\">\n</Database>\n");
  const std::vector<std::pair<std::string, unsigned long>> cases = {
      {std::string(kDocHead) + "<DECLARE>\n<Database name=\"x\">\n</DECLARE>\n", 92008},
      {"<?xml version='1.0'?>\n<!DOCTYPE Repository [\n<!ELEMENT Repository ANY>\n]>\n<Repository/>\n", 92017},
  };
  for (const auto& [doc, message] : cases) {
    auto rp = ARpGateway::CreateInMemory();
    const size_t count = rp->ObjectCount();
    LoadResult r;
    VXString warnings;
    r.ok = QORLParser::ExecuteTransactionalXML(rp.get(), {VXString(good), VXString(doc)}, {}, r.err, warnings, r.created,
                                               r.modified, r.deleted, QORLParser::QORLText, true, true, true, false,
                                               false, false, false);
    EXPECT_FALSE(r.ok) << doc;
    EXPECT_TRUE(r.err.Contains(message)) << r.Text();
    // What the first document did is the caller's to undo, in memory as in a file.
    rp->Rollback();
    EXPECT_EQ(rp->ObjectCount(), count);
    EXPECT_TRUE(rp->FindByQualifiedName(kTIDADatabase, {"good"}).IsNullRef());
    EXPECT_FALSE(rp->HasUncommittedChanges());
  }
  // An error in one object is still passed over.
  auto rp = ARpGateway::CreateInMemory();
  EXPECT_TRUE(Load(*rp, Doc("<PhysicalCatalog name=\"c\" parentName=\"&quot;nowhere&quot;\">\n</PhysicalCatalog>\n"),
                   true).ok);
}

TEST(Load, IgnoringErrorsGoesOnWithTheRest) {
  auto rp = ARpGateway::CreateInMemory();
  ServerLogCapture log;
  LoadResult r = Load(*rp, Doc("<PhysicalCatalog name=\"c\" parentName=\"&quot;nowhere&quot;\">\n</PhysicalCatalog>\n"
                               "<Database name=\"ok\">\n</Database>\n"),
                      true);
  EXPECT_FALSE(rp->FindByQualifiedName(kTIDADatabase, {"ok"}).IsNullRef());
  EXPECT_GE(log.Count(ServerLog::kError), 1u);
}

TEST(Load, WhatADocumentDeclaresWithoutLoadingIt) {
  auto rp = ARpGateway::CreateInMemory();
  EXPECT_TRUE(QORLParser::IsFineGrainedXML(false, "<Repository>\n<FINEGRAINED>\n"));
  EXPECT_FALSE(QORLParser::IsFineGrainedXML(false, Doc("")));
  QNameTypeIDPairVector declared;
  ErrorMessage err;
  ASSERT_TRUE(QORLParser::GatherDeclObjectsQualifiedNameTypeIDs(
      rp.get(), Doc("<Database name=\"new\">\n</Database>\n<User name=\"Administrator\">\n</User>\n"), declared, err,
      QORLParser::QORLText, true));
  ASSERT_EQ(declared.size(), 2u);
  EXPECT_EQ(declared[0].m_qName, QualifiedName{"new"});
  EXPECT_TRUE(declared[0].m_voidID.IsNullID());
  EXPECT_FALSE(declared[1].m_voidID.IsNullID());
  EXPECT_TRUE(rp->FindByQualifiedName(kTIDADatabase, {"new"}).IsNullRef());
}

TEST(Load, RelinkKeepsUnnamedMembersAndOrdersTheNamedOnes) {
  auto rp = ARpGateway::CreateInMemory();
  RefARpObject key = rp->CreateObject(kTIDATableKey);
  std::vector<RefARpObject> cols;
  for (const char* n : {"a", "b", "c", "d"}) {
    cols.push_back(rp->CreateObject(kTIDAColumn));
    cols.back()->SetName(n);
  }
  BinaryRelIter<AColumn> rel(rp.get(), key.GetID(), kRelTableKeyColumns);
  for (const auto& c : cols) rel.Insert(c.GetID());
  QORLObjectManager m(rp.get(), false, true, false, false, false);
  auto stub = [&](const RefARpObject& o) {
    QORLObjectStub* s = m.CreateQORLObjectStub(kTIDAColumn, VXUpgradeID(), {o->GetName()});
    s->SetARpObject(o);
    return s;
  };
  QORLObjectStub* gone = m.CreateQORLObjectStub(kTIDAColumn, VXUpgradeID(), {"gone"});
  // A partial list: d then b. a and c stay where they were, ahead of them.
  RelinkRelation(rel, {stub(cols[3]), gone, stub(cols[1])});
  std::vector<VXString> names;
  for (const auto& c : rel.Members()) names.push_back(c->GetName());
  EXPECT_EQ(names, (std::vector<VXString>{"a", "c", "d", "b"}));
  RelinkRelation(rel, {stub(cols[2])}, true);
  EXPECT_EQ(rel.Size(), 1u);
}

TEST(Load, AnExpressionThatDoesNotParseNamesItsLineAndObject) {
  auto rp = ARpGateway::CreateInMemory();
  RefARpObject db = rp->CreateObject(kTIDADatabase);
  db->SetName("db");
  QORLObjectManager m(rp.get(), false, true, false, false, false);
  Expr e;
  try {
    m.ParseMetaExpr(17, "\"db\".\"nope\" + 1", e, db, kSME_Physical);
    FAIL();
  } catch (const ErrorMessage& err) {
    EXPECT_EQ(err.GetMessageNumber(), 92009u);
    VXString t;
    err.RetrieveErrorMessages(t);
    EXPECT_NE(t.find("Line 17"), VXString::npos) << t.ToUTF8();
    EXPECT_NE(t.find("\"db\""), VXString::npos) << t.ToUTF8();
  }
  // As a warning the raw text is kept, so nothing is lost.
  m.SetExitOnExprParsingError(false);
  ServerLogCapture log;
  EXPECT_FALSE(m.ParseMetaExpr(17, "\"db\".\"nope\"", e, db, kSME_Physical));
  EXPECT_TRUE(e.IsUnparsed());
  EXPECT_EQ(e.GetFormatText(), "\"db\".\"nope\"");
  EXPECT_EQ(log.Count(ServerLog::kError), 1u);
}

// Hostile documents are read from files, as the command reads them: the
// parser then streams them, so even the large ones cost little beyond their
// bytes on disk.
TEST(Load, HostileDocumentsAreRefusedWithTheirLineAndChangeNothing) {
  std::string dirTemplate = (std::filesystem::temp_directory_path() / "qorl_hostile_XXXXXX").string();
  const std::filesystem::path dir = mkdtemp(dirTemplate.data());
  const std::string xmlDecl = "<?xml version='1.0' encoding='UTF-8'?>\n";
  const std::string body = "<Repository>\n<DECLARE>\n<Database name=\"new\">\n</Database>\n</DECLARE>\n</Repository>\n";
  auto nested = [](const std::string& open, const std::string& close, size_t n, const std::string& sep) {
    std::string s;
    for (size_t i = 0; i < n; ++i) s += open + sep;
    s += "<Database name=\"inner\">\n</Database>\n";
    for (size_t i = 0; i < n; ++i) s += close + sep;
    return s;
  };
  std::string bomb = "<!DOCTYPE Repository [\n<!ENTITY a0 \"lol\">\n";
  for (int i = 1; i <= 9; ++i) {
    bomb += "<!ENTITY a" + std::to_string(i) + " \"";
    for (int k = 0; k < 10; ++k) bomb += "&a" + std::to_string(i - 1) + ";";
    bomb += "\">\n";
  }
  bomb += "]>\n";

  struct Case {
    const char* what;
    std::string doc;
    unsigned long message;
    std::string line;
  };
  const std::vector<Case> cases = {
      {"internal subset", xmlDecl + "<!DOCTYPE Repository [\n<!ELEMENT Repository ANY>\n]>\n" + body, 92017, "Line 2:"},
      {"external subset", xmlDecl + "<!DOCTYPE Repository SYSTEM \"/etc/passwd\">\n" + body, 92017, "Line 2:"},
      {"entity bomb", xmlDecl + bomb + "<Repository>\n<DECLARE>\n<Database name=\"&a9;\">\n</Database>\n</DECLARE>\n</Repository>\n",
       92017, "Line 2:"},
      // Everything on line 4, inside DECLARE.
      {"deep nesting", Doc(nested("<X>", "</X>", 100000, "")), 92018, "Line 4:"},
      // One element a line from line 4 on, where the third level opens: the
      // first element too deep is one line below the limit.
      {"16-bit wrap", Doc("<Database name=\"outer\">\n" + nested("<X>", "</X>", 65537, "\n") + "</Database>\n"), 92018,
       "Line " + std::to_string(QORLObjectManager::kMaxElementDepth + 2) + ":"},
      {"long attribute",
       Doc("<Database name=\"big\">\n</Database>\n<Database name=\"" +
           std::string(QORLObjectManager::kMaxAttributeChars + 1, 'a') + "\">\n</Database>\n"),
       92019, "Line 6:"},
      // In an element that is skipped: the limit does not depend on who reads
      // the text, and nothing converts it before the limit is met.
      {"long text",
       Doc("<Database name=\"big\">\n</Database>\n<Padding>" +
           std::string(QORLObjectManager::kMaxElementTextChars + 1, 'a') + "</Padding>\n"),
       92020, "Line 6:"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    auto rp = ARpGateway::CreateInMemory();
    ASSERT_TRUE(Load(*rp, Doc("<Database name=\"kept\">\n</Database>\n")).ok);
    const std::string before = Gen(*rp);
    const std::string file = (dir / "hostile.xml").string();
    std::ofstream(file, std::ios::binary) << c.doc;
    LoadResult r;
    VXString warnings;
    r.ok = QORLParser::ExecuteTransactionalXML(rp.get(), {VXString(file)}, {}, r.err, warnings, r.created, r.modified,
                                               r.deleted, QORLParser::QORLFile, true, true, false, false, false, false,
                                               false);
    EXPECT_FALSE(r.ok);
    EXPECT_TRUE(r.err.Contains(c.message)) << r.Text().substr(0, 500);
    EXPECT_NE(r.Text().find(c.line), std::string::npos) << r.Text().substr(0, 500);
    EXPECT_NE(r.Text().find(file), std::string::npos) << r.Text().substr(0, 500);
    EXPECT_TRUE(r.created.empty());
    EXPECT_EQ(Gen(*rp), before);
  }

  // The limits themselves are allowed: the deepest nesting and the longest
  // attribute load.
  {
    auto rp = ARpGateway::CreateInMemory();
    // Repository, DECLARE and the Database are the first three levels.
    std::string skipped;
    for (size_t i = 3; i < QORLObjectManager::kMaxElementDepth; ++i) skipped = "<X>" + skipped + "</X>";
    LoadResult r = Load(*rp, Doc("<Padding note=\"" + std::string(QORLObjectManager::kMaxAttributeChars, 'a') +
                                 "\"/>\n<Database name=\"d\">\n" + skipped + "\n</Database>\n"));
    EXPECT_TRUE(r.ok) << r.Text().substr(0, 500);
    EXPECT_EQ(r.created.size(), 1u);
  }
  std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace qorl
