#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <thread>

#include "platform/crypto.h"
#include "platform/error.h"
#include "store/conditions.h"
#include "store/gateway.h"
#include "store/metadata_util.h"
#include "store/visitor.h"

namespace qorl {
namespace {

class StoreFile : public ::testing::Test {
 protected:
  void SetUp() override {
    dir = std::filesystem::temp_directory_path() /
          ("qorl_store_" + std::to_string(::getpid()) + "_" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
    path = VXString((dir / "r.db").string());
  }
  void TearDown() override { std::filesystem::remove_all(dir); }

  unsigned long ErrorOf(const std::function<void()>& f) {
    try {
      f();
    } catch (const ErrorMessage& e) {
      return e.GetMessageNumber();
    }
    return 0;
  }

  std::filesystem::path dir;
  VXString path;
};

// A database with a table of three columns and a key over two of them.
struct Physical {
  explicit Physical(ARpGateway& rp) {
    db = rp.CreateObject(kTIDADatabase);
    db->SetName("db");
    table = RefATable(rp.CreateObject(kTIDATable));
    table->SetName("t");
    MetadataUtil::SetParent(table, db);
    for (const char* n : {"a", "b", "c"}) {
      RefAColumn c(rp.CreateObject(kTIDAColumn));
      c->SetName(n);
      MetadataUtil::SetParent(c, table);
      cols.push_back(c);
    }
    key = RefATableKey(rp.CreateObject(kTIDATableKey));
    key->SetName("pk");
    MetadataUtil::SetParent(key, table);
    KeyColumns().Insert(cols[0]);
    KeyColumns().Insert(cols[1]);
  }
  BinaryRelIter<AColumn> KeyColumns() { return BinaryRelIter<AColumn>(key.GetGateway(), key.GetID(), kRelTableKeyColumns); }
  static std::vector<VXString> Names(const std::vector<RefAColumn>& v) {
    std::vector<VXString> out;
    for (const auto& r : v) out.push_back(r->GetName());
    return out;
  }

  RefARpObject db;
  RefATable table;
  std::vector<RefAColumn> cols;
  RefATableKey key;
};

TEST(Store, RefReadsNullOnceItsObjectIsDeleted) {
  auto rp = ARpGateway::CreateInMemory();
  RefARpObject a = rp->CreateObject(kTIDADatabase);
  RefARpObject copy = a;
  RefADatabase typed(a);
  ASSERT_FALSE(typed.IsNullRef());
  EXPECT_TRUE(RefATable(a).IsNullRef());  // wrong class reads as null
  VoidID id = a.GetID();
  rp->DeleteObject(id);
  EXPECT_TRUE(a.IsNullRef());
  EXPECT_TRUE(copy.IsNullRef());
  EXPECT_TRUE(typed.IsNullRef());
  EXPECT_EQ(a.GetID(), id);  // the reference keeps its identity as a value
  EXPECT_TRUE(a == RefARpObject());
  EXPECT_TRUE(rp->GetObject(id).IsNullRef());
}

TEST(Store, DeletingAnObjectDeletesItsDependantsAndItsMemberships) {
  auto rp = ARpGateway::CreateInMemory();
  Physical m(*rp);
  RpObjectVector descendants;
  MetadataUtil::GetDeleteDescendants(m.table, descendants);
  EXPECT_EQ(descendants.size(), 5u);  // table, three columns, key

  rp->DeleteObject(m.cols[0].GetID());
  EXPECT_EQ(Physical::Names(m.KeyColumns().Members()), std::vector<VXString>{"b"});

  size_t before = rp->ObjectCount();
  rp->DeleteObject(m.table.GetID());
  EXPECT_EQ(rp->ObjectCount(), before - 4);
  for (const RefARpObject& d : descendants) EXPECT_TRUE(d.IsNullRef());
  EXPECT_FALSE(m.db.IsNullRef());
  EXPECT_EQ(m.KeyColumns().Size(), 0u);
}

TEST(Store, RelationsKeepTheirOrder) {
  auto rp = ARpGateway::CreateInMemory();
  Physical m(*rp);
  auto rel = m.KeyColumns();
  EXPECT_FALSE(rel.Insert(m.cols[0]));  // already there: stays where it is
  EXPECT_TRUE(rel.Erase(m.cols[0]));
  EXPECT_TRUE(rel.Insert(m.cols[2]));
  EXPECT_TRUE(rel.Insert(m.cols[0]));
  EXPECT_EQ(Physical::Names(rel.Members()), (std::vector<VXString>{"b", "c", "a"}));
  EXPECT_TRUE(rel.MoveUp(m.cols[0]));
  EXPECT_FALSE(rel.MoveUp(m.cols[1]));  // first already
  EXPECT_EQ(Physical::Names(rel.Members()), (std::vector<VXString>{"b", "a", "c"}));
  EXPECT_TRUE(rel.MoveDown(m.cols[1]));
  EXPECT_EQ(Physical::Names(rel.Members()), (std::vector<VXString>{"a", "b", "c"}));
  EXPECT_TRUE(rel.Contains(m.cols[2]));
  EXPECT_TRUE(rel.IsExistingRelationship({m.cols[2].GetID()}));

  auto other = BinaryRelIter<AColumn>(rp.get(), m.table.GetID(), kRelTableColumns);
  InsertIterator(other, rel);
  ClearIterator(rel);
  EXPECT_EQ(rel.Size(), 0u);
  EXPECT_FALSE(rel.Contains(m.cols[2]));
  EXPECT_EQ(other.Size(), 3u);
  other.ToBegin();
  EXPECT_EQ((*other)->GetName(), "a");
  ++other;
  EXPECT_EQ(other.GetArgObjRef(1)->GetName(), "b");
}

TEST(Store, LookupsByIdUidQualifiedNameAndCondition) {
  auto rp = ARpGateway::CreateInMemory();
  Physical m(*rp);
  EXPECT_EQ(MetadataUtil::GenerateQualifiedName(m.cols[1]), "\"db\".\"\".\"\".\"t\".\"b\"");
  EXPECT_EQ(rp->FindByQualifiedName(kTIDAColumn, {"db", "", "", "t", "b"}), m.cols[1]);
  EXPECT_TRUE(rp->FindByQualifiedName(kTIDAColumn, {"db", "t", "b"}).IsNullRef());  // every level, empty ones too
  EXPECT_TRUE(rp->FindByQualifiedName(kTIDATable, {"db", "", "", "t", "b"}).IsNullRef());

  m.cols[1]->SetName("renamed");
  EXPECT_TRUE(rp->FindByQualifiedName(kTIDAColumn, {"db", "", "", "t", "b"}).IsNullRef());
  EXPECT_EQ(rp->FindByQualifiedName(kTIDAColumn, {"db", "", "", "t", "renamed"}), m.cols[1]);

  VXUpgradeID uid(ByteVector(16, 7));
  m.cols[2]->SetUpgradeID(uid);
  EXPECT_EQ(rp->FindByUpgradeID(uid), m.cols[2]);
  rp->DeleteObject(m.cols[2].GetID());
  EXPECT_TRUE(rp->FindByUpgradeID(uid).IsNullRef());

  VoidIDVector ids;
  rp->FindObjectIDs(TypedObjectNameCondition(kTIDAColumn, "a"), ids);
  EXPECT_EQ(ids, VoidIDVector{m.cols[0].GetID()});
  rp->FindObjectIDs(InterfaceTypeCondition(TypeIDVector{kTIDAColumn, kTIDATableKey}), ids);
  EXPECT_EQ(ids.size(), 3u);
  rp->FindObjectIDs(NamedInterfaceTypeCondition(kTIDAColumn, {"a", "renamed", "zz"}, true, "t"), ids);
  EXPECT_EQ(ids.size(), 2u);
}

TEST(Store, QualifiedNameTextRoundTripsQuotesAndDots) {
  QualifiedName q{"a.b", "say \"hi\"", ""};
  VXString text = MetadataUtil::ToQualifiedName(q);
  EXPECT_EQ(text, "\"a.b\".\"say \"\"hi\"\"\".\"\"");
  QualifiedName back;
  MetadataUtil::ParseQualifiedNameString(text, back, '.', true);
  EXPECT_EQ(back, q);
}

TEST(Store, TheDocumentedNameHashAndTheOneMapsUse) {
  EXPECT_EQ((TypeIDQName{1, {"A", "B"}}.Hash()), ((1u * 5 + 65) * 5 + 66));
  // Numbered siblings collide under the documented hash but not in the maps.
  TypeIDQName a{kTIDAColumn, {"t", "X_19"}}, b{kTIDAColumn, {"t", "X_24"}};
  EXPECT_EQ(a.Hash(), b.Hash());
  EXPECT_NE(TypeIDQNameHash()(a), TypeIDQNameHash()(b));
  EXPECT_NE(TypeIDQNameHash()(TypeIDQName{1, {"ab", "c"}}), TypeIDQNameHash()(TypeIDQName{1, {"a", "bc"}}));
}

TEST(Store, IdsAndPropertySixteen) {
  auto rp = ARpGateway::CreateInMemory();
  RefARpObject a = rp->CreateObject(kTIDADatabase, VoidID(kTIDADatabase, UniqueNum(500)));
  ByteVector next;
  rp->GetRepositoryProperty(kRepPropNextUniqueNum, next);
  UniqueNum n;
  n.FromByteVector(next);
  EXPECT_EQ(n.GetUniqueNumVal(), 501u);
  EXPECT_EQ(rp->CreateObject(kTIDATable).GetID().m_uniqueNum.GetUniqueNumVal(), 501u);
  try {
    rp->CreateObject(kTIDADatabase, a.GetID());
    FAIL();
  } catch (const ErrorMessage& e) {
    EXPECT_EQ(e.GetMessageNumber(), 99010u);
  }
  VoidID parsed;
  ASSERT_TRUE(VoidID::StringToVoidID(a.GetID().ToString(), parsed));
  EXPECT_EQ(parsed, a.GetID());
  EXPECT_TRUE(a.GetID().ToString().starts_with("3023"));
  EXPECT_FALSE(VoidID::IsStringAVoidID("\"db\""));
}

TEST(Store, VisitDispatchesToTheClassOrItsNearestVisitedBase) {
  struct V : AMetadataVisitor {
    using AMetadataVisitor::Visit;
    void Visit(const RefAColumn&) override { seen += "column "; }
    void Visit(const RefACubeColumn&) override { seen += "cube "; }
    void Visit(const RefATable&) override { seen += "table "; }
    std::string seen;
  } v;
  auto rp = ARpGateway::CreateInMemory();
  for (TypeID t : {kTIDAColumn, kTIDACubeColumn, kTIDAAWColumn, kTIDATable, kTIDADatabase})
    rp->CreateObject(t)->Accept(v);
  EXPECT_EQ(v.seen, "column cube table ");
  EXPECT_TRUE(AMetaClass::FromTypeID(kTIDAAWColumn)->IsA(AColumn::GetClassMetaClass()));
  EXPECT_EQ(AMetaClass::FromTypeID(kTIDAPAttribute)->IsInstantiable(), false);
}

TEST(Store, BuiltInSecurityObjectsAreRestored) {
  auto rp = ARpGateway::CreateInMemory();
  VXUpgradeID user, group;
  AAuthorizer::GetAdministratorUIDs(user, group);
  RefARpObject admin = rp->FindByUpgradeID(user);
  RefARpObject admins = rp->FindByUpgradeID(group);
  ASSERT_FALSE(admin.IsNullRef());
  ASSERT_FALSE(admins.IsNullRef());
  EXPECT_EQ(admin->GetTypeID(), kTIDAUser);
  EXPECT_TRUE(BinaryRelIter<ASecurityRole>(rp.get(), admin.GetID(), kRelUserGroups).Contains(admins.GetID()));

  // A user object named like the built-in group does not block it.
  rp->DeleteObject(admins.GetID());
  rp->CreateObject(kTIDASecurityRole)->SetName("Administrators");
  ARpGateway::FixMandatorySecurityObjects(rp.get());
  RefARpObject again = rp->FindByUpgradeID(group);
  ASSERT_FALSE(again.IsNullRef());
  EXPECT_NE(again->GetName(), "Administrators");
  EXPECT_TRUE(BinaryRelIter<ASecurityRole>(rp.get(), admin.GetID(), kRelUserGroups).Contains(again.GetID()));
  size_t count = rp->ObjectCount();
  ARpGateway::FixMandatorySecurityObjects(rp.get());
  EXPECT_EQ(rp->ObjectCount(), count);
}

TEST_F(StoreFile, CommittedChangesSurviveReopeningAndRolledBackOnesDoNot) {
  VoidID tableID, colID;
  {
    auto rp = ARpGateway::Create(path, "pw");
    Physical m(*rp);
    m.table->SetDescription("line one\nline two \xE2\x82\xAC");
    m.table->SetIconIndex(7);
    m.table->SetDefaultPrivilege(kPrivGrant);
    m.table->SetUpgradeID(VXUpgradeID(ByteVector(16, 3)));
    tableID = m.table.GetID();
    colID = m.cols[2].GetID();
    rp->Commit();

    m.table->SetName("changed");
    rp->DeleteObject(colID);
    m.KeyColumns().Clear();
    RefARpObject extra = rp->CreateObject(kTIDADatabase);
    rp->Rollback();
    EXPECT_TRUE(extra.IsNullRef());
    EXPECT_EQ(m.table->GetName(), "t");  // the old reference finds the reloaded object
    EXPECT_FALSE(rp->GetObject(colID).IsNullRef());
    EXPECT_EQ(m.KeyColumns().Size(), 2u);
    EXPECT_FALSE(rp->HasUncommittedChanges());

    rp->DeleteObject(m.cols[0].GetID());
    rp->Commit();
  }
  auto rp = ARpGateway::Open(path, "pw");
  RefARpObject t = rp->GetObject(tableID);
  ASSERT_FALSE(t.IsNullRef());
  EXPECT_EQ(t->GetName(), "t");
  EXPECT_EQ(t->GetDescription(), "line one\nline two \xE2\x82\xAC");
  EXPECT_EQ(t->GetIconIndex(), 7);
  EXPECT_TRUE(t->IsDefaultGrantable());
  EXPECT_EQ(t->UpgradeID(), VXUpgradeID(ByteVector(16, 3)));
  EXPECT_EQ(MetadataUtil::GenerateQualifiedName(rp->GetObject(colID)), "\"db\".\"\".\"\".\"t\".\"c\"");
  RefATableKey key(rp->FindByQualifiedName(kTIDATableKey, {"db", "", "", "t", "pk"}));
  EXPECT_EQ(BinaryRelIter<AColumn>(rp.get(), key.GetID(), kRelTableKeyColumns).Size(), 1u);
  // New objects never reuse an id that was handed out before.
  EXPECT_GT(rp->CreateObject(kTIDADatabase).GetID().m_uniqueNum, colID.m_uniqueNum);
}

TEST(Store, AnInMemoryRepositoryRollsBackToItsLastCommit) {
  auto rp = ARpGateway::CreateInMemory();
  // Before any commit of its own: back to what creation made.
  RefARpObject early = rp->CreateObject(kTIDADatabase);
  rp->Rollback();
  EXPECT_TRUE(early.IsNullRef());
  EXPECT_EQ(rp->ObjectCount(), 2u);

  Physical m(*rp);
  m.table->SetUpgradeID(VXUpgradeID(ByteVector(16, 5)));
  rp->SetRepositoryProperty(kRepPropCustomizationHash, ByteVector{1, 2});
  const VoidID colID = m.cols[2].GetID();
  rp->Commit();

  m.table->SetName("changed");
  m.table->SetUpgradeID(VXUpgradeID(ByteVector(16, 6)));
  rp->DeleteObject(colID);
  m.KeyColumns().Clear();
  rp->SetRepositoryProperty(kRepPropCustomizationHash, ByteVector{9});
  RefARpObject extra = rp->CreateObject(kTIDADatabase);
  rp->Rollback();
  EXPECT_FALSE(rp->HasUncommittedChanges());
  EXPECT_TRUE(extra.IsNullRef());
  EXPECT_EQ(m.table->GetName(), "t");
  EXPECT_FALSE(rp->GetObject(colID).IsNullRef());
  EXPECT_EQ(Physical::Names(m.KeyColumns().Members()), (std::vector<VXString>{"a", "b"}));
  EXPECT_EQ(rp->FindByUpgradeID(VXUpgradeID(ByteVector(16, 5))).GetID(), m.table.GetID());
  EXPECT_TRUE(rp->FindByUpgradeID(VXUpgradeID(ByteVector(16, 6))).IsNullRef());
  ByteVector hash;
  rp->GetRepositoryProperty(kRepPropCustomizationHash, hash);
  EXPECT_EQ(hash, (ByteVector{1, 2}));
  // Relations in both directions: deleting a key column still takes it out of the key.
  rp->DeleteObject(m.cols[0].GetID());
  EXPECT_EQ(Physical::Names(m.KeyColumns().Members()), (std::vector<VXString>{"b"}));

  // What a commit after a rollback keeps is what the next rollback returns to.
  rp->Commit();
  rp->DeleteObject(m.table.GetID());
  rp->Rollback();
  EXPECT_EQ(rp->ObjectCount(), 7u);  // the built-ins, the database, table, key and two columns
  EXPECT_TRUE(rp->GetObject(m.cols[0].GetID()).IsNullRef());
}

TEST_F(StoreFile, BadFilesAndPasswordsGiveClearErrors) {
  ARpGateway::Create(path, "right");
  EXPECT_EQ(ErrorOf([&] { ARpGateway::Open(path, "wrong"); }), 99002u);
  EXPECT_EQ(ErrorOf([&] { ARpGateway::Create(path, "x"); }), 99007u);
  // A missing file and a directory say which they are.
  EXPECT_EQ(ErrorOf([&] { ARpGateway::Open(VXString((dir / "missing.db").string()), "x"); }), 99035u);
  EXPECT_EQ(ErrorOf([&] { ARpGateway::Open(VXString(dir.string()), "x"); }), 99036u);

  std::string foreign = (dir / "foreign.txt").string();
  std::ofstream(foreign) << "this is not a repository\n";
  EXPECT_EQ(ErrorOf([&] { ARpGateway::Open(VXString(foreign), "x"); }), 99003u);

  std::string other = (dir / "other.db").string();
  std::system(("sqlite3 '" + other + "' 'CREATE TABLE t(x)'").c_str());
  if (std::filesystem::exists(other)) EXPECT_EQ(ErrorOf([&] { ARpGateway::Open(VXString(other), "x"); }), 99003u);

  std::system(("sqlite3 '" + path.ToUTF8() + "' \"UPDATE qorl_meta SET value='99' WHERE key='version'\"").c_str());
  EXPECT_EQ(ErrorOf([&] { ARpGateway::Open(path, "right"); }), 99005u);

  // Garbage over the object pages.
  std::system(("sqlite3 '" + path.ToUTF8() + "' \"UPDATE qorl_meta SET value='1' WHERE key='version'\"").c_str());
  {
    std::fstream f(path.ToUTF8(), std::ios::in | std::ios::out | std::ios::binary);
    f.seekp(0, std::ios::end);
    auto size = static_cast<long>(f.tellp());
    f.seekp(size / 2);
    std::string junk(static_cast<size_t>(size / 2), '\x5a');
    f.write(junk.data(), static_cast<std::streamsize>(junk.size()));
  }
  unsigned long e = ErrorOf([&] { ARpGateway::Open(path, "right"); });
  EXPECT_TRUE(e == 99004u || e == 99003u) << e;
}

TEST_F(StoreFile, PasswordsEncryptedWithOneRepositoryKey) {
  auto a = ARpGateway::Create(path, "alpha");
  auto b = ARpGateway::CreateInMemory("beta");
  ByteVector secret{'s', 0, 'x'};
  VXString text = ARpGateway::AESEncryptPassword(a.get(), secret);
  EXPECT_NE(text.find(U' '), VXString::npos);
  ByteVector out;
  EXPECT_TRUE(MetadataUtil::DecryptAESPassword(a.get(), text, out));
  EXPECT_EQ(out, secret);
  EXPECT_FALSE(MetadataUtil::DecryptAESPassword(b.get(), text, out));
  EXPECT_TRUE(MetadataUtil::DecryptAESPassword(VXString("alpha"), text, out));
  EXPECT_EQ(out, secret);
  EXPECT_FALSE(MetadataUtil::DecryptAESPassword(VXString("beta"), text, out));
  VXString moved;
  ASSERT_TRUE(MetadataUtil::GetNewAESString("alpha", text, "gamma", moved));
  EXPECT_TRUE(MetadataUtil::DecryptAESPassword(VXString("gamma"), moved, out));
  EXPECT_EQ(out, secret);
  EXPECT_FALSE(MetadataUtil::GetNewAESString("wrong", text, "gamma", moved));
}

TEST_F(StoreFile, TheRepositoryKeepsItsKeyCountAndOlderRepositoriesStillOpen) {
  const ByteVector secret{'p', 'w'};
  const uint32_t now = crypto::NewKeyIterations(), then = now + 500;
  VXString text;
  crypto::detail::SetNewKeyIterationsForTests(then);
  {
    auto a = ARpGateway::Create(path, "alpha");
    text = ARpGateway::AESEncryptPassword(a.get(), secret);
  }
  crypto::detail::SetNewKeyIterationsForTests(now);
  {
    // Opened while new keys get another count: the file's own count is used,
    // so its texts decrypt and new ones are written as before.
    auto a = ARpGateway::Open(path, "alpha");
    ByteVector out;
    ASSERT_TRUE(MetadataUtil::DecryptAESPassword(a.get(), text, out));
    EXPECT_EQ(out, secret);
    EXPECT_EQ(ARpGateway::AESEncryptPassword(a.get(), secret), text);
    // Another repository under the same password, and another count, reads it through the password.
    auto b = ARpGateway::CreateInMemory("alpha");
    EXPECT_FALSE(MetadataUtil::DecryptAESPassword(b.get(), text, out));
    EXPECT_TRUE(MetadataUtil::DecryptAESPassword(VXString("alpha"), text, out));
    EXPECT_EQ(out, secret);
  }

  // A repository whose key check is of version 1 (salt 100..115, password
  // "old password") opens, reads its old texts with its own key and writes new ones.
  std::filesystem::remove(path.ToUTF8());
  ARpGateway::Create(path, "old password");
  const std::string v1Check =
      "AES256 AWRlZmdoaWprbG1ub3BxcnMAAQIDBAUGBwgJCgtBEoN1jRkib8odJFFqkIXgOxV+ARv4ioXbXjK0Q2Yp7WeYiCkGWoY9Vw==";
  const VXString v1Text("AES256 AWRlZmdoaWprbG1ub3BxcnMMDQ4PEBESExQVFhfIVMGBRWxQ+PAvDlATj1F4P0ydsA7aJ56EkPkRCCensqTK");
  ASSERT_EQ(std::system(("sqlite3 '" + path.ToUTF8() + "' \"UPDATE qorl_meta SET value=CAST('" + v1Check +
                         "' AS BLOB) WHERE key='keycheck'\"")
                            .c_str()),
            0);
  EXPECT_EQ(ErrorOf([&] { ARpGateway::Open(path, "alpha"); }), 99002u);
  auto old = ARpGateway::Open(path, "old password");
  ByteVector out;
  ASSERT_TRUE(MetadataUtil::DecryptAESPassword(old.get(), v1Text, out));
  EXPECT_EQ(out, ByteVector({'l', 'e', 'g', 'a', 'c', 'y', ' ', 'p', 'o', 'o', 'l', ' ', 's', 'e', 'c', 'r', 'e', 't'}));
  VXString fresh = ARpGateway::AESEncryptPassword(old.get(), secret);
  crypto::TextHeader h;
  ASSERT_TRUE(crypto::ReadHeader(fresh, h));
  EXPECT_EQ(h.version, 2);
  ASSERT_TRUE(MetadataUtil::DecryptAESPassword(old.get(), fresh, out));
  EXPECT_TRUE(MetadataUtil::DecryptAESPassword(VXString("old password"), fresh, out));
  EXPECT_EQ(out, secret);
}

// ---- several connections on one file ----------------------------------------

std::set<std::string> DatabaseNames(ARpGateway& rp) {
  std::set<std::string> out;
  rp.ForEachObject([&](ARpObject* o) {
    if (o->GetTypeID() == kTIDADatabase) out.insert(o->GetName().ToUTF8());
  });
  return out;
}

void AddDatabase(ARpGateway& rp, const char* name) { rp.CreateObject(kTIDADatabase)->SetName(name); }

std::string FileBytes(const VXString& path) {
  std::ifstream in(path.ToUTF8(), std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// A bare SQLite connection, standing for another process at a chosen step.
struct OtherConnection {
  explicit OtherConnection(const VXString& path) { sqlite3_open_v2(path.ToUTF8().c_str(), &db, SQLITE_OPEN_READWRITE, nullptr); }
  ~OtherConnection() { sqlite3_close(db); }
  int Exec(const char* sql) { return sqlite3_exec(db, sql, nullptr, nullptr, nullptr); }
  sqlite3* db = nullptr;
};

using Access = ARpGateway::Access;

TEST_F(StoreFile, ACommitMadeFromAnOutdatedReadIsRefusedAndWritesNothing) {
  ARpGateway::Create(path, "pw");
  auto a = ARpGateway::Open(path, "pw");
  auto b = ARpGateway::Open(path, "pw");
  AddDatabase(*b, "b");
  b->Commit();
  std::string afterB = FileBytes(path);
  // a's new object would take the id b's already has.
  AddDatabase(*a, "a");
  EXPECT_EQ(ErrorOf([&] { a->Commit(); }), 99030u);
  EXPECT_EQ(FileBytes(path), afterB);
  EXPECT_TRUE(a->HasUncommittedChanges());

  // Rolling back reads the file as b left it; from there a commits.
  a->Rollback();
  EXPECT_EQ(DatabaseNames(*a), (std::set<std::string>{"b"}));
  AddDatabase(*a, "a");
  a->Commit();
  AddDatabase(*b, "late");
  EXPECT_EQ(ErrorOf([&] { b->Commit(); }), 99030u);

  // Any other connection's commit counts, not only the store's own.
  OtherConnection other(path);
  ASSERT_EQ(other.Exec("INSERT INTO qorl_properties(id, value) VALUES(999, x'00')"), SQLITE_OK);
  AddDatabase(*a, "after");
  EXPECT_EQ(ErrorOf([&] { a->Commit(); }), 99030u);

  auto check = ARpGateway::Open(path, "pw");
  EXPECT_EQ(DatabaseNames(*check), (std::set<std::string>{"a", "b"}));
}

TEST_F(StoreFile, AWriterKeepsOtherWritersOutButNotReaders) {
  ARpGateway::Create(path, "pw");
  auto w = ARpGateway::Open(path, "pw", Access::Write);
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(ErrorOf([&] { ARpGateway::Open(path, "pw", Access::Write, 200); }), 99031u);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));  // it did wait

  // A reader that will not wait at all still reads; its commit has to wait.
  auto r = ARpGateway::Open(path, "pw", Access::Read, 0);
  AddDatabase(*r, "r");
  EXPECT_EQ(ErrorOf([&] { r->Commit(); }), 99031u);

  AddDatabase(*w, "w1");
  w->Commit();
  AddDatabase(*w, "dropped");
  w->Rollback();
  EXPECT_EQ(DatabaseNames(*w), (std::set<std::string>{"w1"}));
  // Neither the commit nor the rollback let go of the lock.
  EXPECT_EQ(ErrorOf([&] { ARpGateway::Open(path, "pw", Access::Write, 0); }), 99031u);
  AddDatabase(*w, "w2");
  w->Commit();
  EXPECT_EQ(DatabaseNames(*ARpGateway::Open(path, "pw", Access::Read, 0)), (std::set<std::string>{"w1", "w2"}));

  w.reset();
  // r read before w's commits.
  EXPECT_EQ(ErrorOf([&] { r->Commit(); }), 99030u);
  auto next = ARpGateway::Open(path, "pw", Access::Write, 0);
  EXPECT_EQ(DatabaseNames(*next), (std::set<std::string>{"w1", "w2"}));

  // A new file is held from its creation on when asked to be.
  VXString fresh((dir / "fresh.db").string());
  auto created = ARpGateway::Create(fresh, "pw", Access::Write);
  EXPECT_EQ(ErrorOf([&] { ARpGateway::Open(fresh, "pw", Access::Write, 0); }), 99031u);
}

TEST_F(StoreFile, ReadersWaitForACommitAndACommitWaitsForReaders) {
  ARpGateway::Create(path, "pw");
  {
    // Another process in the middle of its commit.
    OtherConnection committing(path);
    ASSERT_EQ(committing.Exec("BEGIN EXCLUSIVE"), SQLITE_OK);
    EXPECT_EQ(ErrorOf([&] { ARpGateway::Open(path, "pw", Access::Read, 100); }), 99031u);
    std::thread finish([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(300));
      committing.Exec("COMMIT");
    });
    std::unique_ptr<ARpGateway> r;
    EXPECT_EQ(ErrorOf([&] { r = ARpGateway::Open(path, "pw", Access::Read, 10000); }), 0u);
    finish.join();
    EXPECT_TRUE(r && r->ObjectCount() == 2u);
  }
  // A commit waits for a reader that is still reading, longer than for a lock.
  OtherConnection reader(path);
  auto w = ARpGateway::Open(path, "pw", Access::Write, 100);
  AddDatabase(*w, "w");
  ASSERT_EQ(reader.Exec("BEGIN; SELECT count(*) FROM qorl_objects;"), SQLITE_OK);
  std::thread done([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    reader.Exec("COMMIT");
  });
  EXPECT_EQ(ErrorOf([&] { w->Commit(); }), 0u);
  done.join();
  w.reset();

  // Told not to wait, it gives up at once and writes nothing.
  auto impatient = ARpGateway::Open(path, "pw", Access::Write, 0);
  AddDatabase(*impatient, "impatient");
  ASSERT_EQ(reader.Exec("BEGIN; SELECT count(*) FROM qorl_objects;"), SQLITE_OK);
  std::string before = FileBytes(path);
  EXPECT_EQ(ErrorOf([&] { impatient->Commit(); }), 99032u);
  EXPECT_EQ(FileBytes(path), before);
  EXPECT_FALSE(std::filesystem::exists(path.ToUTF8() + "-journal"));
  ASSERT_EQ(reader.Exec("COMMIT"), SQLITE_OK);
  impatient->Commit();
  EXPECT_EQ(ErrorOf([&] { ARpGateway::Open(path, "pw", Access::Write, 0); }), 99031u);
  EXPECT_EQ(DatabaseNames(*ARpGateway::Open(path, "pw")), (std::set<std::string>{"w", "impatient"}));
}

TEST(Store, UniqueNamesAvoidSiblings) {
  VXStringVector sib{"x", "x#1"};
  EXPECT_EQ(GenerateUniqueName(sib, "x"), "x#2");
  EXPECT_EQ(GenerateUniqueName(sib, "y"), "y");
  VXString longName(255, U'n');
  VXStringVector sib2{longName};
  EXPECT_EQ(GenerateUniqueName(sib2, longName).size(), 255u);
}

}  // namespace
}  // namespace qorl
