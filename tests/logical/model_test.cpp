// Business models, logical tables, columns, keys, foreign keys and logical
// joins: what is written, what a load makes of it, and that a document
// survives a trip through another repository.
#include <gtest/gtest.h>

#include "support/repo_fixture.h"

#include <fstream>
#include <regex>

#include "gen/generator.h"
#include "load/parser.h"
#include "model/codecs.h"
#include "platform/error.h"
#include "platform/guid.h"
#include "platform/serverlog.h"
#include "store/props.h"
#include "store/expr_store.h"
#include "store/metadata_util.h"

namespace qorl {
namespace {

using LmodLoadResult = test::LoadResult;
constexpr auto& LmodUid = test::Uid;
constexpr auto& LmodDoc = test::DeclareDoc;
constexpr auto& LmodWithoutIds = test::WithoutIds;

// A repository holding only what a test makes, with fixed ids and uids.
struct LmodStore : test::RepoFixture {
 protected:
  void Link(const RefARpObject& o, const RefARpObject& parent) override {
    if (RefAColumn c(o); c)
      c->SetTable(parent);
    else if (RefAAttribute a(o); a)
      a->SetLogicalTable(parent);
    else if (RefAKey k(o); k)
      k->SetContainerEntity(parent);
    else if (RefALogicalForeignKey f(o); f)
      f->SetContainerEntity(parent);
    else if (!parent.IsNullRef())
      MetadataUtil::SetParent(o, parent);
  }
};

Expr LmodExpr(ARpGateway* rp, const char* text, ExprType type) {
  Expr e;
  VXString err;
  EXPECT_TRUE(SMEPParse::QORLCreateExprTree(VXString(text), e, err, rp, type, nullptr)) << err.ToUTF8();
  return e;
}

void LmodExpectRoundTrip(LmodStore& src, LmodStore& dst, const RpObjectVector& decl, int options) {
  test::ExpectRoundTrip(src, dst, decl, options, "lmod");
}

template <class T>
std::vector<std::string> LmodNames(const BinaryRelIter<T>& rel) {
  std::vector<std::string> out;
  for (const auto& m : rel.Members()) out.push_back(m->GetName().ToUTF8());
  return out;
}

// A qualified-name attribute value, escaped as a document holds it.
std::string LmodQ(std::initializer_list<const char*> names) {
  std::string s;
  for (const char* n : names) s += std::string(s.empty() ? "" : ".") + "&quot;" + n + "&quot;";
  return s;
}

TEST(LogicalModel, EveryPropertyAtANonDefaultValueRoundTrips) {
  LmodStore src;
  RefARpObject db = src.Make(kTIDADatabase, 1, "db");
  RefARpObject p = src.Make(kTIDATable, 2, "P", db);
  RefARpObject pid = src.Make(kTIDAColumn, 3, "pid", p);
  RefASubjectArea bm(src.Make(kTIDASubjectArea, 10, "BM \"q\" & <x>"));
  RefARpObject df1 = src.Make(kTIDALogicalDisplayFolder, 11, "df1", bm);
  RefARpObject df2 = src.Make(kTIDALogicalDisplayFolder, 12, "df2", bm);
  RefARpObject dim = src.Make(kTIDADimension, 13, "D", bm);
  RefARpObject level = src.Make(kTIDALevel, 14, "L", dim);
  RefALogicalTable t(src.Make(kTIDALogicalTable, 20, "T", bm));
  RefALogicalTable f(src.Make(kTIDALogicalTable, 21, "F", bm));
  RefARpObject tsrc = src.Make(kTIDALogicalTableSource, 22, "src", t);
  RefAAttribute id(src.Make(kTIDAAttribute, 30, "id", t));
  RefAAttribute name(src.Make(kTIDAAttribute, 31, "name", t));
  RefAAttribute sort(src.Make(kTIDAAttribute, 32, "sort", t));
  RefAAttribute tid(src.Make(kTIDAAttribute, 33, "tid", f));
  RefAKey pk(src.Make(kTIDAKey, 40, "pk", t));
  RefAKey lk(src.Make(kTIDAKey, 41, "lk", level));
  RefALogicalForeignKey fk(src.Make(kTIDALogicalForeignKey, 42, "fk", f));
  RefARelationship j(src.Make(kTIDARelationship, 50, "j"));

  bm->SetLogicalClassicStarSchemaMode(true);
  bm->SetSubjectAreaAvailable(false);
  bm->GetDisplayFolders().Insert(df2.GetID());
  bm->GetDisplayFolders().Insert(df1.GetID());
  t->SetLookupTableFlag(true);
  t->SetDiagramPosition(3, -4);
  t->SetClassicStarLevelColumn(name);
  t->GetColumns().Erase(id.GetID());
  t->GetColumns().Insert(id.GetID());  // name, sort, id
  t->GetSources().Insert(tsrc.GetID());
  name->SetDerivedAttribute(true);
  name->SetWriteable(true);
  name->SetExpr(LmodExpr(src.rp.get(), "\"BM \"\"q\"\" & <x>\".\"T\".\"id\" + 1 ]]> 2", kSME_Logical));
  name->SetAttributeDefnExpr(LmodExpr(src.rp.get(), "\"db\".\"\".\"\".\"P\".\"pid\"", kSME_Physical));
  name->SetCustomSortOrder(sort);
  name->SetDescriptorID(id);
  name->GetLevelAssociations().Insert(level.GetID());
  t->SetPrimaryKey(pk);
  pk->SetChronologicalKeyFlag(true);
  pk->SetUsableForDrilldown(true);
  pk->GetAttributes().Insert(name.GetID());
  pk->GetAttributes().Insert(id.GetID());
  lk->GetAttributes().Insert(sort.GetID());
  fk->SetJoinType(QORLUtility::kLeftOuterJoin);
  fk->GetAttributes().Insert(tid.GetID());
  fk->SetCounterpartKey(pk);
  fk->SetDrivingTable(t);
  j->SetJoinType(QORLUtility::kFullOuterJoin);
  j->SetDrivingTable(f);
  for (auto [entity, mult, aggr] : {std::tuple{RefARpObject(f), "0..*", true}, std::tuple{level, "1", false}}) {
    RefARole role(src.rp->CreateObject(kTIDARole));
    MetadataUtil::SetParent(role, j);
    j->GetRoles().Insert(role);
    ARoleAccess::SetMultiplicity(*role, Multiplicity(VXString(mult)));
    ARoleAccess::SetAggregate(*role, aggr);
    ARoleAccess::SetParticipatingEntity(*role, entity);
  }

  // The business model and T exist already in the target: the load updates them.
  LmodStore dst;
  for (const RefARpObject& o : {db, p, pid, RefARpObject(bm), df1, df2, dim, level, RefARpObject(t), tsrc}) dst.Mirror(o);
  const RpObjectVector decl = {bm, t, f, id, name, sort, tid, pk, lk, fk, j};
  const int options = kGenFooter | kGenExprTextObjects | kGenDummyUID;
  LmodExpectRoundTrip(src, dst, decl, options);

  // Every attribute of the elements is in the text, so the trip above carried them all.
  std::string text = src.Text(decl, options);
  for (TypeID type : {kTIDASubjectArea, kTIDALogicalTable, kTIDAAttribute, kTIDAKey, kTIDALogicalForeignKey,
                      kTIDARelationship})
    test::ExpectAllAttrsWritten(type, text);
  EXPECT_NE(text.find(R"xml(<Role dummyuid="&quot;BM &quot;&quot;q&quot;&quot; &amp; &lt;x&gt;&quot;.&quot;F&quot;" multiplicity="0..*" isAggregate="true">
<RefLogicalTable )xml"),
            std::string::npos);

  // Spot checks on the loaded store.
  auto t2 = dst.Same<ALogicalTable>(t);
  EXPECT_EQ(LmodNames(t2->GetColumns()), (std::vector<std::string>{"name", "sort", "id"}));
  EXPECT_EQ(t2->GetPrimaryKey(), dst.Same<AKey>(pk));
  EXPECT_EQ(LmodNames(t2->GetKeys()), (std::vector<std::string>{"pk"}));
  EXPECT_EQ(dst.Same<AKey>(lk)->GetContainerEntity(), dst.Same<AEntity>(level));
  EXPECT_EQ(LmodNames(dst.Same<ALogicalTable>(f)->GetForeignKeys()), (std::vector<std::string>{"fk"}));
  auto name2 = dst.Same<AAttribute>(name);
  RpObjectVector objects;
  name2->GetExpr().GetObjectsInExpr(dst.rp.get(), objects, true);
  EXPECT_EQ(objects, (RpObjectVector{dst.Same<AAttribute>(id)}));
  objects.clear();
  name2->GetAttributeDefnExpr().GetObjectsInExpr(dst.rp.get(), objects, true);
  EXPECT_EQ(objects, (RpObjectVector{dst.Same<AColumn>(pid)}));
  auto j2 = dst.Same<ARelationship>(j);
  std::vector<RefARole> roles = j2->GetRoles().Members();
  ASSERT_EQ(roles.size(), 2u);
  EXPECT_EQ(ARoleAccess::GetParticipatingEntity(*roles[0]), dst.Same<AEntity>(f));
  EXPECT_EQ(ARoleAccess::GetMultiplicity(*roles[0]), Multiplicity(0, Multiplicity::kUnbounded));
  EXPECT_TRUE(ARoleAccess::IsAggregate(*roles[0]));
  EXPECT_EQ(ARoleAccess::GetParticipatingEntity(*roles[1]), dst.Same<AEntity>(level));
  EXPECT_EQ(roles[1]->GetParent(), RefARpObject(j2));
  // Both tables got their source folder.
  for (const RefALogicalTable& table : {t2, dst.Same<ALogicalTable>(f)}) {
    ASSERT_TRUE(table->GetSourceFolder());
    EXPECT_EQ(table->GetSourceFolder()->GetName(), "Sources");
  }
}

TEST(LogicalModel, DefaultsWriteOnlyWhatIsAlwaysWritten) {
  LmodStore src;
  RefARpObject bm = src.Make(kTIDASubjectArea, 1, "BM");
  RefARpObject t = src.Make(kTIDALogicalTable, 2, "T", bm);
  RefARpObject c = src.Make(kTIDAAttribute, 3, "c", t);
  RefARpObject k = src.Make(kTIDAKey, 4, "k", t);
  RefARpObject fk = src.Make(kTIDALogicalForeignKey, 5, "fk", t);
  RefARpObject j = src.Make(kTIDARelationship, 6, "j");
  const RpObjectVector decl = {bm, t, c, k, fk, j};
  EXPECT_EQ(src.Text(decl), LmodDoc(R"xml(<BusinessModel name="BM" id="2000:00000001" uid="00000000-0000-4000-8000-000000000001" isClassicStar="false" isAvailable="true">
</BusinessModel>
<LogicalTable name="T" parentName="&quot;BM&quot;" parentId="2000:00000001" parentUid="00000000-0000-4000-8000-000000000001" id="2035:00000002" uid="00000000-0000-4000-8000-000000000002">
<Columns>
<RefLogicalColumn id="2006:00000003" uid="00000000-0000-4000-8000-000000000003" qualifiedName="&quot;BM&quot;.&quot;T&quot;.&quot;c&quot;"/>
</Columns>
</LogicalTable>
<LogicalColumn name="c" parentName="&quot;BM&quot;.&quot;T&quot;" parentId="2035:00000002" parentUid="00000000-0000-4000-8000-000000000002" id="2006:00000003" uid="00000000-0000-4000-8000-000000000003" isWriteable="false">
<AttributeDefn>
</AttributeDefn>
</LogicalColumn>
<LogicalKey name="k" parentName="&quot;BM&quot;.&quot;T&quot;" parentId="2035:00000002" parentUid="00000000-0000-4000-8000-000000000002" id="2008:00000004" uid="00000000-0000-4000-8000-000000000004">
</LogicalKey>
<LogicalForeignKey name="fk" parentName="&quot;BM&quot;.&quot;T&quot;" parentId="2035:00000002" parentUid="00000000-0000-4000-8000-000000000002" id="2033:00000005" uid="00000000-0000-4000-8000-000000000005" type="Inner">
</LogicalForeignKey>
<LogicalComplexJoin name="j" id="2004:00000006" uid="00000000-0000-4000-8000-000000000006" type="Inner">
</LogicalComplexJoin>
)xml"));
  // Empty groups have no line feed of their own, other empty elements have.
  EXPECT_EQ(src.Text(decl, kGenFooter | kGenEmptyElements), LmodDoc(R"xml(<BusinessModel name="BM" id="2000:00000001" uid="00000000-0000-4000-8000-000000000001" isClassicStar="false" isAvailable="true">
<Description></Description>
<DisplayFolders/><RemovedDisplayFolders/>
</BusinessModel>
<LogicalTable name="T" parentName="&quot;BM&quot;" parentId="2000:00000001" parentUid="00000000-0000-4000-8000-000000000001" id="2035:00000002" uid="00000000-0000-4000-8000-000000000002">
<Description></Description>
<LevelColumn/>
<Columns>
<RefLogicalColumn id="2006:00000003" uid="00000000-0000-4000-8000-000000000003" qualifiedName="&quot;BM&quot;.&quot;T&quot;.&quot;c&quot;"/>
</Columns>
<TableSources/></LogicalTable>
<LogicalColumn name="c" parentName="&quot;BM&quot;.&quot;T&quot;" parentId="2035:00000002" parentUid="00000000-0000-4000-8000-000000000002" id="2006:00000003" uid="00000000-0000-4000-8000-000000000003" isWriteable="false">
<Description></Description>
<Expr></Expr>
<CustomSortOrder/>
<DescriptorID/>
<AttributeDefn>
<Expr></Expr>
</AttributeDefn>
<Levels/></LogicalColumn>
<LogicalKey name="k" parentName="&quot;BM&quot;.&quot;T&quot;" parentId="2035:00000002" parentUid="00000000-0000-4000-8000-000000000002" id="2008:00000004" uid="00000000-0000-4000-8000-000000000004">
<Description></Description>
<Columns/></LogicalKey>
<LogicalForeignKey name="fk" parentName="&quot;BM&quot;.&quot;T&quot;" parentId="2035:00000002" parentUid="00000000-0000-4000-8000-000000000002" id="2033:00000005" uid="00000000-0000-4000-8000-000000000005" type="Inner">
<Description></Description>
<Columns/><CounterPartKey/>
<DrivingTable/>
</LogicalForeignKey>
<LogicalComplexJoin name="j" id="2004:00000006" uid="00000000-0000-4000-8000-000000000006" type="Inner">
<Description></Description>
<Roles/>
<DrivingTable/>
</LogicalComplexJoin>
)xml"));
  for (int options : {int(kGenFooter), kGenFooter | kGenEmptyElements}) {
    LmodStore dst;
    LmodExpectRoundTrip(src, dst, decl, options);
    auto bm2 = dst.Same<ASubjectArea>(bm);
    ASSERT_TRUE(bm2);
    EXPECT_TRUE(bm2->IsSubjectAreaAvailable());
    EXPECT_FALSE(bm2->IsLogicalClassicStarSchema());
    EXPECT_EQ(dst.Same<ALogicalTable>(t)->GetSubjectArea(), bm2);
    EXPECT_FALSE(dst.Same<AKey>(k)->IsPrimaryKey());
    EXPECT_EQ(dst.Same<ALogicalForeignKey>(fk)->GetJoinType(), QORLUtility::kInnerJoin);
    EXPECT_EQ(dst.Same<ARelationship>(j)->GetRoles().Size(), 0u);
  }
}

// Roles of a table and of a level, with and without empty elements; a join
// whose role names an entity that is gone is not written.
TEST(LogicalModel, JoinRoles) {
  LmodStore src;
  RefARpObject bm = src.Make(kTIDASubjectArea, 1, "BM");
  RefARpObject dim = src.Make(kTIDADimension, 2, "D", bm);
  RefARpObject level = src.Make(kTIDALevel, 3, "L", dim);
  RefARpObject t = src.Make(kTIDALogicalTable, 4, "T", bm);
  RefARelationship j(src.Make(kTIDARelationship, 5, "j"));
  j->SetJoinType(QORLUtility::kRightOuterJoin);
  j->SetDrivingTable(t);
  for (auto [entity, mult] : {std::pair{t, "1..*"}, std::pair{level, "0..1"}}) {
    RefARole role(src.rp->CreateObject(kTIDARole));
    MetadataUtil::SetParent(role, j);
    j->GetRoles().Insert(role);
    ARoleAccess::SetMultiplicity(*role, Multiplicity(VXString(mult)));
    ARoleAccess::SetParticipatingEntity(*role, entity);
  }
  const std::string tableRef =
      "<RefLogicalTable id=\"2035:00000004\" uid=\"00000000-0000-4000-8000-000000000004\" qualifiedName=\"" +
      LmodQ({"BM", "T"}) + "\"/>\n";
  const std::string levelRef =
      "<RefLogicalLevel id=\"2025:00000003\" uid=\"00000000-0000-4000-8000-000000000003\" qualifiedName=\"" +
      LmodQ({"BM", "D", "L"}) + "\"/>\n";
  const std::string open =
      "<LogicalComplexJoin name=\"j\" id=\"2004:00000005\" uid=\"00000000-0000-4000-8000-000000000005\" "
      "type=\"RightOuter\">\n";
  const std::string driving = "<DrivingTable>\n" + tableRef + "</DrivingTable>\n</LogicalComplexJoin>\n";
  EXPECT_EQ(src.Text({j}), LmodDoc(open + "<Roles>\n<Role multiplicity=\"1..*\" isAggregate=\"false\">\n" + tableRef +
                                   "</Role>\n<Role multiplicity=\"0..1\" isAggregate=\"false\">\n" + levelRef +
                                   "</Role>\n</Roles>\n" + driving));
  // Both positions stand, table first; dummyuid names the entity.
  EXPECT_EQ(src.Text({j}, kGenFooter | kGenEmptyElements | kGenDummyUID),
            LmodDoc(std::regex_replace(open, std::regex("name=\"j\""),
                                       "name=\"j\" fullyQualifiedName=\"&quot;j&quot;\"") +
                    "<Description></Description>\n<Roles>\n<Role dummyuid=\"" + LmodQ({"BM", "T"}) +
                    "\" multiplicity=\"1..*\" isAggregate=\"false\">\n" + tableRef +
                    "<RefLogicalLevel/>\n</Role>\n<Role dummyuid=\"" + LmodQ({"BM", "D", "L"}) +
                    "\" multiplicity=\"0..1\" isAggregate=\"false\">\n<RefLogicalTable/>\n" + levelRef +
                    "</Role>\n</Roles>\n" + driving));

  // The same document read back names a level as a level.
  LmodStore dst;
  for (const RefARpObject& o : {bm, dim, level, t}) dst.Mirror(o);
  const int options = kGenFooter | kGenEmptyElements | kGenDummyUID;
  LmodExpectRoundTrip(src, dst, {j}, options);

  // Loaded again, the join keeps its roles, in order: nothing is made or deleted.
  auto j2 = dst.Same<ARelationship>(j);
  VoidIDVector before = j2->GetRoles().IDs();
  LmodLoadResult again = dst.Load(src.Text({j}, options));
  ASSERT_TRUE(again.ok) << again.Text();
  EXPECT_EQ(j2->GetRoles().IDs(), before);
  EXPECT_TRUE(again.created.empty());
  EXPECT_TRUE(again.deleted.empty());
  for (const VoidID& id : before) EXPECT_NE(j2->FindRoleProps(id), nullptr);
  EXPECT_EQ(LmodWithoutIds(dst.TextOf({j}, options)), LmodWithoutIds(src.Text({j}, options)));
  // One role less: the first stays, the second is deleted with its properties.
  std::string fewer = src.Text({j}, options);
  size_t second = fewer.find("<Role ", fewer.find("<Role ") + 1);
  fewer.erase(second, fewer.find("</Roles>") - second);
  LmodLoadResult shrunk = dst.Load(fewer);
  ASSERT_TRUE(shrunk.ok) << shrunk.Text();
  EXPECT_EQ(j2->GetRoles().IDs(), VoidIDVector{before[0]});
  EXPECT_FALSE(dst.rp->GetObject(before[1]));
  EXPECT_EQ(j2->FindRoleProps(before[1]), nullptr);
  EXPECT_EQ(shrunk.deleted, VoidIDVector{before[1]});

  // A role whose entity is gone takes the whole join out of the document.
  src.rp->DeleteObject(level.GetID());
  EXPECT_EQ(src.Text({j}), LmodDoc(""));
}

TEST(LogicalModel, DiagramPositionPrimaryKeyAndSourceFolder) {
  LmodStore src;
  RefARpObject bm = src.Make(kTIDASubjectArea, 1, "BM");
  RefALogicalTable t(src.Make(kTIDALogicalTable, 2, "T", bm));
  t->SetDiagramPosition(0, 7);
  EXPECT_NE(src.Text({t}).find(" uid=\"00000000-0000-4000-8000-000000000002\" x=\"0\" y=\"7\">\n"), std::string::npos);
  t->SetDiagramPosition(0, 0);
  EXPECT_EQ(src.Text({t}).find(" x="), std::string::npos);

  LmodStore dst;
  const std::string model = "<BusinessModel name=\"BM\">\n</BusinessModel>\n";
  const std::string table = "<LogicalTable name=\"T\" parentName=\"&quot;BM&quot;\" x=\"0\" y=\"7\">\n</LogicalTable>\n";
  const std::string column = "<LogicalColumn name=\"c\" parentName=\"" + LmodQ({"BM", "T"}) + "\">\n</LogicalColumn>\n";
  auto key = [&](const char* attrs) {
    return "<LogicalKey name=\"k\" parentName=\"" + LmodQ({"BM", "T"}) + "\"" + attrs +
           ">\n<Columns>\n<RefLogicalColumn qualifiedName=\"" + LmodQ({"BM", "T", "c"}) +
           "\"/>\n</Columns>\n</LogicalKey>\n";
  };
  LmodLoadResult r = dst.Load(LmodDoc(model + table + column + key(" isPrimary=\"true\"")));
  ASSERT_TRUE(r.ok) << r.Text();
  // A model without "isAvailable" is available.
  EXPECT_TRUE(dst.Find<ASubjectArea>(kTIDASubjectArea, {"BM"})->IsSubjectAreaAvailable());
  auto t2 = dst.Find<ALogicalTable>(kTIDALogicalTable, {"BM", "T"});
  int32_t x = -1, y = -1;
  t2->GetDiagramPosition(x, y);
  EXPECT_EQ(std::pair(x, y), std::pair(0, 7));
  auto k2 = dst.Find<AKey>(kTIDAKey, {"BM", "T", "k"});
  EXPECT_EQ(t2->GetPrimaryKey(), k2);
  EXPECT_TRUE(k2->IsPrimaryKey());
  auto folder = t2->GetSourceFolder();
  ASSERT_TRUE(folder);
  EXPECT_EQ(folder->GetName(), "Sources");
  EXPECT_NE(std::find(r.created.begin(), r.created.end(), folder.GetID()), r.created.end());

  // The key again without "isPrimary": the table keeps its primary key, and
  // its one source folder.
  r = dst.Load(LmodDoc(table + key("")));
  ASSERT_TRUE(r.ok) << r.Text();
  EXPECT_EQ(t2->GetPrimaryKey(), k2);
  EXPECT_EQ(t2->GetSourceFolder(), folder);
  VoidIDVector children;
  dst.rp->GetChildren(t2.GetID(), children);
  EXPECT_EQ(std::count_if(children.begin(), children.end(),
                          [](const VoidID& id) { return id.GetTypeID() == kTIDALogicalSourceFolder; }),
            1);
}

TEST(LogicalModel, ListsFollowTheRelationRule) {
  LmodStore dst;
  RefASubjectArea bm(dst.Make(kTIDASubjectArea, 1, "BM"));
  RefARpObject dim = dst.Make(kTIDADimension, 2, "D", bm);
  RefARpObject l1 = dst.Make(kTIDALevel, 3, "L1", dim);
  RefARpObject l2 = dst.Make(kTIDALevel, 4, "L2", dim);
  std::vector<RefARpObject> folders;
  for (const char* n : {"f1", "f2", "f3"}) {
    folders.push_back(dst.Make(kTIDALogicalDisplayFolder, 10 + folders.size(), n, bm));
    bm->GetDisplayFolders().Insert(folders.back().GetID());
  }
  RefALogicalTable t(dst.Make(kTIDALogicalTable, 20, "T", bm));
  std::vector<RefAAttribute> cols;
  for (const char* n : {"a", "b", "c", "x"}) cols.emplace_back(dst.Make(kTIDAAttribute, 30 + cols.size(), n, t));
  RefAKey k1(dst.Make(kTIDAKey, 40, "k1", t));
  RefAKey k2(dst.Make(kTIDAKey, 41, "k2", t));
  RefALogicalForeignKey fk(dst.Make(kTIDALogicalForeignKey, 42, "fk", t));
  for (int i : {0, 1, 2}) {
    k1->GetAttributes().Insert(cols[i].GetID());
    fk->GetAttributes().Insert(cols[i].GetID());
  }
  cols[3]->GetLevelAssociations().Insert(l2.GetID());
  cols[3]->GetLevelAssociations().Insert(l1.GetID());

  auto ref = [](const char* tag, std::initializer_list<const char*> q) {
    return std::string("<Ref") + tag + " qualifiedName=\"" + LmodQ(q) + "\"/>\n";
  };
  auto col = [&](const char* n) { return ref("LogicalColumn", {"BM", "T", n}); };
  const std::string tparent = " parentName=\"" + LmodQ({"BM", "T"}) + "\"";
  LmodLoadResult r = dst.Load(LmodDoc(
      "<BusinessModel name=\"BM\">\n<DisplayFolders>\n" + ref("LogicalDisplayFolder", {"BM", "f3"}) +
      ref("LogicalDisplayFolder", {"BM", "f1"}) + "</DisplayFolders>\n</BusinessModel>\n" +
      "<LogicalTable name=\"T\" parentName=\"&quot;BM&quot;\">\n<Columns>\n" + col("c") + col("a") +
      "</Columns>\n</LogicalTable>\n" +
      "<LogicalColumn name=\"x\"" + tparent + ">\n<Levels>\n" + ref("LogicalLevel", {"BM", "D", "L1"}) +
      "</Levels>\n</LogicalColumn>\n" +
      "<LogicalKey name=\"k1\"" + tparent + ">\n<Columns>\n" + col("c") + col("a") + "</Columns>\n</LogicalKey>\n" +
      "<LogicalKey name=\"k3\"" + tparent + ">\n</LogicalKey>\n" +
      "<LogicalForeignKey name=\"fk\"" + tparent + ">\n<Columns>\n" + col("b") + "</Columns>\n</LogicalForeignKey>\n"));
  ASSERT_TRUE(r.ok) << r.Text();
  // Lists of members keep the unlisted ones ahead of the listed, in document order.
  EXPECT_EQ(LmodNames(bm->GetDisplayFolders()), (std::vector<std::string>{"f2", "f3", "f1"}));
  EXPECT_EQ(LmodNames(t->GetColumns()), (std::vector<std::string>{"b", "x", "c", "a"}));
  // A table's keys: the existing key keeps its place, the new one is appended.
  EXPECT_EQ(LmodNames(t->GetKeys()), (std::vector<std::string>{"k1", "k2", "k3"}));
  // Key columns, foreign key columns and a column's levels are replaced.
  EXPECT_EQ(LmodNames(k1->GetAttributes()), (std::vector<std::string>{"c", "a"}));
  EXPECT_EQ(LmodNames(fk->GetAttributes()), (std::vector<std::string>{"b"}));
  EXPECT_EQ(LmodNames(cols[3]->GetLevelAssociations()), (std::vector<std::string>{"L1"}));

  // Without expressions a column's list of levels names only some links.
  cols[3]->GetLevelAssociations().Insert(l2.GetID());  // L1, L2
  ToPrettyStringVisitor::SetRipAndReplaceNoExprMode(true);
  r = dst.Load(LmodDoc("<LogicalColumn name=\"x\"" + tparent + ">\n<Levels>\n" + ref("LogicalLevel", {"BM", "D", "L1"}) +
                       "</Levels>\n</LogicalColumn>\n"));
  ToPrettyStringVisitor::SetRipAndReplaceNoExprMode(false);
  ASSERT_TRUE(r.ok) << r.Text();
  EXPECT_EQ(LmodNames(cols[3]->GetLevelAssociations()), (std::vector<std::string>{"L2", "L1"}));

  // A fine-grained model names the folders it removes; the others stay.
  r = dst.Load(LmodDoc("<BusinessModel name=\"BM\">\n<DisplayFolders>\n" + ref("LogicalDisplayFolder", {"BM", "f2"}) +
                       "</DisplayFolders>\n<RemovedDisplayFolders>\n" + ref("LogicalDisplayFolder", {"BM", "f3"}) +
                       "</RemovedDisplayFolders>\n</BusinessModel>\n"));
  ASSERT_TRUE(r.ok) << r.Text();
  EXPECT_EQ(LmodNames(bm->GetDisplayFolders()), (std::vector<std::string>{"f1", "f2"}));
}

// A star schema in one document: physical tables and their columns, the
// business model over them, with expressions naming objects of the same
// document. Written back it is the same text.
// The elements of a document between its DECLARE lines.
std::string LmodElements(const std::string& doc) {
  size_t from = doc.find("<DECLARE>\n"), to = doc.rfind("</DECLARE>");
  return from == std::string::npos || to == std::string::npos ? doc : doc.substr(from + 10, to - from - 10);
}

// A star schema in one document: physical tables and their columns, the
// business model over them, with expressions naming objects of the same
// document. Each object written back is its element of the document.
TEST(LogicalModel, StarSchemaDocumentLoadsAndWritesBack) {
  const std::string elements = R"xml(<PhysicalTable name="SALES" parentName="&quot;dw&quot;.&quot;&quot;.&quot;&quot;" parentUid="00000000-0000-4000-8000-000000000001" uid="00000000-0000-4000-8000-000000000002" type="none" maxConn="10">
<XSLT></XSLT>
<XSDSchema></XSDSchema>
</PhysicalTable>
<PhysicalTable name="PRODUCT" parentName="&quot;dw&quot;.&quot;&quot;.&quot;&quot;" parentUid="00000000-0000-4000-8000-000000000001" uid="00000000-0000-4000-8000-000000000005" type="none" maxConn="10">
<XSLT></XSLT>
<XSDSchema></XSDSchema>
</PhysicalTable>
<PhysicalColumn name="PRODUCT_ID" parentName="&quot;dw&quot;.&quot;&quot;.&quot;&quot;.&quot;SALES&quot;" parentUid="00000000-0000-4000-8000-000000000002" uid="00000000-0000-4000-8000-000000000003" dataType="INTEGER" precision="10" specialType="none">
</PhysicalColumn>
<PhysicalColumn name="AMOUNT" parentName="&quot;dw&quot;.&quot;&quot;.&quot;&quot;.&quot;SALES&quot;" parentUid="00000000-0000-4000-8000-000000000002" uid="00000000-0000-4000-8000-000000000004" dataType="DOUBLE" specialType="none">
</PhysicalColumn>
<PhysicalColumn name="PRODUCT_ID" parentName="&quot;dw&quot;.&quot;&quot;.&quot;&quot;.&quot;PRODUCT&quot;" parentUid="00000000-0000-4000-8000-000000000005" uid="00000000-0000-4000-8000-000000000006" dataType="INTEGER" precision="10" specialType="none">
</PhysicalColumn>
<PhysicalColumn name="NAME" parentName="&quot;dw&quot;.&quot;&quot;.&quot;&quot;.&quot;PRODUCT&quot;" parentUid="00000000-0000-4000-8000-000000000005" uid="00000000-0000-4000-8000-000000000007" dataType="VARCHAR" precision="80" specialType="none">
</PhysicalColumn>
<BusinessModel name="Retail" uid="00000000-0000-4000-8000-000000000010" isClassicStar="true" isAvailable="true">
<Description><![CDATA[Sales by product.]]></Description>
</BusinessModel>
<LogicalTable name="Sales" parentName="&quot;Retail&quot;" parentUid="00000000-0000-4000-8000-000000000010" uid="00000000-0000-4000-8000-000000000011" x="10" y="20">
<Columns>
<RefLogicalColumn uid="00000000-0000-4000-8000-000000000013" qualifiedName="&quot;Retail&quot;.&quot;Sales&quot;.&quot;Product Id&quot;"/>
<RefLogicalColumn uid="00000000-0000-4000-8000-000000000014" qualifiedName="&quot;Retail&quot;.&quot;Sales&quot;.&quot;Amount&quot;"/>
<RefLogicalColumn uid="00000000-0000-4000-8000-000000000015" qualifiedName="&quot;Retail&quot;.&quot;Sales&quot;.&quot;Double Amount&quot;"/>
</Columns>
</LogicalTable>
<LogicalTable name="Product" parentName="&quot;Retail&quot;" parentUid="00000000-0000-4000-8000-000000000010" uid="00000000-0000-4000-8000-000000000012" isLookupTable="true">
<LevelColumn>
<RefLogicalColumn uid="00000000-0000-4000-8000-000000000017" qualifiedName="&quot;Retail&quot;.&quot;Product&quot;.&quot;Name&quot;"/>
</LevelColumn>
<Columns>
<RefLogicalColumn uid="00000000-0000-4000-8000-000000000016" qualifiedName="&quot;Retail&quot;.&quot;Product&quot;.&quot;Product Id&quot;"/>
<RefLogicalColumn uid="00000000-0000-4000-8000-000000000017" qualifiedName="&quot;Retail&quot;.&quot;Product&quot;.&quot;Name&quot;"/>
</Columns>
</LogicalTable>
<LogicalColumn name="Product Id" parentName="&quot;Retail&quot;.&quot;Sales&quot;" parentUid="00000000-0000-4000-8000-000000000011" uid="00000000-0000-4000-8000-000000000013" isWriteable="false">
<AttributeDefn>
<Expr><![CDATA["dw"."".""."SALES"."PRODUCT_ID"]]></Expr>
</AttributeDefn>
</LogicalColumn>
<LogicalColumn name="Amount" parentName="&quot;Retail&quot;.&quot;Sales&quot;" parentUid="00000000-0000-4000-8000-000000000011" uid="00000000-0000-4000-8000-000000000014" isWriteable="false">
<AttributeDefn>
<Expr><![CDATA["dw"."".""."SALES"."AMOUNT"]]></Expr>
</AttributeDefn>
</LogicalColumn>
<LogicalColumn name="Double Amount" parentName="&quot;Retail&quot;.&quot;Sales&quot;" parentUid="00000000-0000-4000-8000-000000000011" uid="00000000-0000-4000-8000-000000000015" isDerived="true" isWriteable="false">
<Expr><![CDATA[2 * "Retail"."Sales"."Amount"]]></Expr>
<AttributeDefn>
</AttributeDefn>
</LogicalColumn>
<LogicalColumn name="Product Id" parentName="&quot;Retail&quot;.&quot;Product&quot;" parentUid="00000000-0000-4000-8000-000000000012" uid="00000000-0000-4000-8000-000000000016" isWriteable="false">
<DescriptorID>
<RefLogicalColumn uid="00000000-0000-4000-8000-000000000017" qualifiedName="&quot;Retail&quot;.&quot;Product&quot;.&quot;Name&quot;"/>
</DescriptorID>
<AttributeDefn>
<Expr><![CDATA["dw"."".""."PRODUCT"."PRODUCT_ID"]]></Expr>
</AttributeDefn>
</LogicalColumn>
<LogicalColumn name="Name" parentName="&quot;Retail&quot;.&quot;Product&quot;" parentUid="00000000-0000-4000-8000-000000000012" uid="00000000-0000-4000-8000-000000000017" isWriteable="false">
<AttributeDefn>
<Expr><![CDATA["dw"."".""."PRODUCT"."NAME"]]></Expr>
</AttributeDefn>
</LogicalColumn>
<LogicalKey name="Product Key" parentName="&quot;Retail&quot;.&quot;Product&quot;" parentUid="00000000-0000-4000-8000-000000000012" uid="00000000-0000-4000-8000-000000000018" isPrimary="true">
<Columns>
<RefLogicalColumn uid="00000000-0000-4000-8000-000000000016" qualifiedName="&quot;Retail&quot;.&quot;Product&quot;.&quot;Product Id&quot;"/>
</Columns>
</LogicalKey>
<LogicalForeignKey name="Sales Product" parentName="&quot;Retail&quot;.&quot;Sales&quot;" parentUid="00000000-0000-4000-8000-000000000011" uid="00000000-0000-4000-8000-000000000019" type="Inner">
<Columns>
<RefLogicalColumn uid="00000000-0000-4000-8000-000000000013" qualifiedName="&quot;Retail&quot;.&quot;Sales&quot;.&quot;Product Id&quot;"/>
</Columns>
<CounterPartKey>
<RefLogicalKey uid="00000000-0000-4000-8000-000000000018" qualifiedName="&quot;Retail&quot;.&quot;Product&quot;.&quot;Product Key&quot;"/>
</CounterPartKey>
</LogicalForeignKey>
<LogicalComplexJoin name="Sales-Product" uid="00000000-0000-4000-8000-000000000020" type="LeftOuter">
<Roles>
<Role multiplicity="0..*" isAggregate="true">
<RefLogicalTable uid="00000000-0000-4000-8000-000000000011" qualifiedName="&quot;Retail&quot;.&quot;Sales&quot;"/>
</Role>
<Role multiplicity="1" isAggregate="false">
<RefLogicalTable uid="00000000-0000-4000-8000-000000000012" qualifiedName="&quot;Retail&quot;.&quot;Product&quot;"/>
</Role>
</Roles>
<DrivingTable>
<RefLogicalTable uid="00000000-0000-4000-8000-000000000011" qualifiedName="&quot;Retail&quot;.&quot;Sales&quot;"/>
</DrivingTable>
</LogicalComplexJoin>
)xml";
  LmodStore dst;
  dst.Make(kTIDADatabase, 1, "dw");
  LmodLoadResult r = dst.Load(LmodDoc(elements));
  ASSERT_TRUE(r.ok) << r.Text();

  auto sales = dst.Find<ALogicalTable>(kTIDALogicalTable, {"Retail", "Sales"});
  auto product = dst.Find<ALogicalTable>(kTIDALogicalTable, {"Retail", "Product"});
  ASSERT_TRUE(sales && product);
  auto col = [&](const char* table, const char* name) {
    return dst.Find<AAttribute>(kTIDAAttribute, {"Retail", table, name});
  };
  RpObjectVector objects;
  col("Sales", "Double Amount")->GetExpr().GetObjectsInExpr(dst.rp.get(), objects, true);
  EXPECT_EQ(objects, (RpObjectVector{col("Sales", "Amount")}));
  objects.clear();
  col("Product", "Name")->GetAttributeDefnExpr().GetObjectsInExpr(dst.rp.get(), objects, true);
  EXPECT_EQ(objects, (RpObjectVector{dst.rp->FindByQualifiedName(kTIDAColumn, {"dw", "", "", "PRODUCT", "NAME"})}));
  auto key = dst.Find<AKey>(kTIDAKey, {"Retail", "Product", "Product Key"});
  EXPECT_EQ(product->GetPrimaryKey(), key);
  EXPECT_EQ(product->GetClassicStarLevelColumn(), col("Product", "Name"));
  auto fk = dst.Find<ALogicalForeignKey>(kTIDALogicalForeignKey, {"Retail", "Sales", "Sales Product"});
  EXPECT_EQ(fk->GetCounterpartKey(), key);
  EXPECT_EQ(LmodNames(sales->GetForeignKeys()), (std::vector<std::string>{"Sales Product"}));
  auto join = dst.Find<ARelationship>(kTIDARelationship, {"Sales-Product"});
  std::vector<RefARole> roles = join->GetRoles().Members();
  ASSERT_EQ(roles.size(), 2u);
  EXPECT_EQ(ARoleAccess::GetParticipatingEntity(*roles[0]), RefAEntity(sales));
  EXPECT_EQ(ARoleAccess::GetParticipatingEntity(*roles[1]), RefAEntity(product));
  EXPECT_TRUE(sales->GetSourceFolder() && product->GetSourceFolder());

  // Each object alone, written back, is its element of the document.
  RpObjectVector declared;
  dst.rp->ForEachObject([&](ARpObject* o) {
    for (TypeID t : {kTIDATable, kTIDAColumn, kTIDASubjectArea, kTIDALogicalTable, kTIDAAttribute, kTIDAKey,
                     kTIDALogicalForeignKey, kTIDARelationship})
      if (o->GetTypeID() == t) declared.emplace_back(o);
  });
  EXPECT_EQ(declared.size(), 17u);
  for (const RefARpObject& o : declared) {
    std::string text = LmodWithoutIds(LmodElements(dst.Text({o})));
    EXPECT_NE(elements.find(text), std::string::npos) << text;
  }
}

TEST(LogicalModel, MalformedValues) {
  auto loadOne = [](const std::string& elements, bool ignoreErrors = false) {
    auto store = std::make_unique<LmodStore>();
    RefARpObject bm = store->Make(kTIDASubjectArea, 1, "BM");
    RefARpObject t = store->Make(kTIDALogicalTable, 2, "T", bm);
    store->Make(kTIDAAttribute, 3, "c", t);
    LmodLoadResult r = store->Load(LmodDoc(elements), ignoreErrors);
    return std::pair(std::move(store), std::move(r));
  };
  const std::string tparent = " parentName=\"" + LmodQ({"BM", "T"}) + "\"";
  // An expression that does not parse names the line of its Expr (line 5:
  // the column opens on line 4, after the frame).
  {
    auto [store, r] = loadOne("<LogicalColumn name=\"d\"" + tparent +
                              ">\n<Expr><![CDATA[\"BM\".\"T\".\"nope\" + 1]]></Expr>\n</LogicalColumn>\n");
    EXPECT_TRUE(r.err.Contains(92009)) << r.Text();
    EXPECT_NE(r.Text().find("Line 5"), std::string::npos) << r.Text();
  }
  // The one in AttributeDefn too, against the physical layer.
  {
    auto [store, r] = loadOne("<LogicalColumn name=\"d\"" + tparent +
                              ">\n<AttributeDefn>\n<Expr><![CDATA[\"BM\".\"T\".\"c\"]]></Expr>\n</AttributeDefn>\n"
                              "</LogicalColumn>\n");
    EXPECT_TRUE(r.err.Contains(92009)) << r.Text();
    EXPECT_NE(r.Text().find("Line 6"), std::string::npos) << r.Text();
  }
  // References to nothing: a role's entity, a key's table.
  {
    auto [store, r] = loadOne("<LogicalComplexJoin name=\"j\">\n<Roles>\n<Role isAggregate=\"true\">\n"
                              "<RefLogicalTable qualifiedName=\"" + LmodQ({"BM", "nowhere"}) +
                              "\"/>\n</Role>\n</Roles>\n</LogicalComplexJoin>\n");
    EXPECT_TRUE(r.err.Contains(92006)) << r.Text();
  }
  {
    auto [store, r] = loadOne("<LogicalKey name=\"k\" parentName=\"" + LmodQ({"BM", "nowhere"}) + "\">\n</LogicalKey>\n");
    EXPECT_TRUE(r.err.Contains(92006)) << r.Text();
  }
  // Texts no codec knows take their default (bad numbers after an error); a bad multiplicity is unset.
  {
    auto [store, r] = loadOne(
        "<BusinessModel name=\"BM\" isClassicStar=\"yes\" isAvailable=\"no\">\n</BusinessModel>\n"
        "<LogicalTable name=\"T\" parentName=\"&quot;BM&quot;\" x=\"left\" y=\"99999999999\" isLookupTable=\"TRUE\">\n"
        "</LogicalTable>\n"
        "<LogicalForeignKey name=\"fk\"" + tparent + " type=\"Sideways\">\n</LogicalForeignKey>\n"
        "<LogicalComplexJoin name=\"j\" type=\"leftouter\">\n<Roles>\n<Role multiplicity=\"many\" isAggregate=\"maybe\">\n"
        "<RefLogicalTable/>\n<RefLogicalLevel/>\n</Role>\n<Role multiplicity=\"5..2\"/>\n</Roles>\n</LogicalComplexJoin>\n",
        true);  // bad x and y are errors, ignored here
    ASSERT_TRUE(r.ok) << r.Text();
    auto bm = store->Find<ASubjectArea>(kTIDASubjectArea, {"BM"});
    EXPECT_FALSE(bm->IsLogicalClassicStarSchema());
    EXPECT_FALSE(bm->IsSubjectAreaAvailable());
    auto t = store->Find<ALogicalTable>(kTIDALogicalTable, {"BM", "T"});
    int32_t x = -1, y = -1;
    t->GetDiagramPosition(x, y);
    EXPECT_EQ(std::pair(x, y), std::pair(0, 0));
    EXPECT_TRUE(t->IsLookupTable());  // flags read without regard to case
    EXPECT_EQ(store->Find<ALogicalForeignKey>(kTIDALogicalForeignKey, {"BM", "T", "fk"})->GetJoinType(),
              QORLUtility::kInnerJoin);
    auto j = store->Find<ARelationship>(kTIDARelationship, {"j"});
    EXPECT_EQ(j->GetJoinType(), QORLUtility::kInnerJoin);  // the join type is read exactly
    std::vector<RefARole> roles = j->GetRoles().Members();
    ASSERT_EQ(roles.size(), 2u);
    for (const RefARole& role : roles) {
      EXPECT_FALSE(ARoleAccess::GetMultiplicity(*role).IsSet());
      EXPECT_FALSE(ARoleAccess::IsAggregate(*role));
      EXPECT_FALSE(ARoleAccess::GetParticipatingEntity(*role));
    }
  }
  // With expression errors only logged, the column keeps its text unparsed.
  {
    auto store = std::make_unique<LmodStore>();
    RefARpObject bm = store->Make(kTIDASubjectArea, 1, "BM");
    RefARpObject t = store->Make(kTIDALogicalTable, 2, "T", bm);
    ServerLogCapture log;
    LmodLoadResult r;
    VXString warnings;
    r.ok = QORLParser::ExecuteTransactionalXML(
        store->rp.get(),
        {VXString(LmodDoc("<LogicalColumn name=\"d\"" + tparent + ">\n<Expr><![CDATA[\"BM\".\"T\".\"nope\"]]></Expr>\n"
                          "</LogicalColumn>\n"))},
        {}, r.err, warnings, r.created, r.modified, r.deleted, QORLParser::QORLText, false, true, false, false, false,
        false, false);
    ASSERT_TRUE(r.ok) << r.Text();
    auto d = store->Find<AAttribute>(kTIDAAttribute, {"BM", "T", "d"});
    EXPECT_TRUE(d->GetExpr().IsUnparsed());
    EXPECT_NE(store->Text({d}).find("<Expr><![CDATA[\"BM\".\"T\".\"nope\"]]></Expr>"), std::string::npos);
  }
}

// Where an object lands on load: a key moves between tables and its lists
// follow, a level's key is in no table's list, a table whose model names
// nothing stays in its model, and folders the document removes go first.
TEST(LogicalModel, ContainersAndRemovedMembers) {
  LmodStore dst;
  RefASubjectArea bm(dst.Make(kTIDASubjectArea, 1, "BM"));
  RefARpObject dim = dst.Make(kTIDADimension, 2, "D", bm);
  RefARpObject level = dst.Make(kTIDALevel, 3, "L", dim);
  RefALogicalTable a(dst.Make(kTIDALogicalTable, 4, "A", bm));
  RefALogicalTable b(dst.Make(kTIDALogicalTable, 5, "B", bm));
  RefAKey k(dst.Make(kTIDAKey, 6, "k", a));
  RefARpObject f1 = dst.Make(kTIDALogicalDisplayFolder, 7, "f1", bm);
  RefARpObject f2 = dst.Make(kTIDALogicalDisplayFolder, 8, "f2", bm);
  for (const RefARpObject& f : {f1, f2}) bm->GetDisplayFolders().Insert(f.GetID());
  auto ref = [](const char* tag, std::initializer_list<const char*> q) {
    return std::string("<Ref") + tag + " qualifiedName=\"" + LmodQ(q) + "\"/>\n";
  };

  LmodLoadResult r = dst.Load(LmodDoc(
      "<LogicalKey name=\"k\" parentName=\"" + LmodQ({"BM", "B"}) + "\" uid=\"" +
      TKSGUIDGenerator::ByteVectorToGUIDString(LmodUid(6)).ToUTF8() + "\" isPrimary=\"true\">\n</LogicalKey>\n" +
      "<LogicalKey name=\"lk\" parentName=\"" + LmodQ({"BM", "D", "L"}) + "\" isPrimary=\"true\">\n</LogicalKey>\n" +
      // f1 is both listed and removed: it stays; a removed folder that is gone is no error.
      "<BusinessModel name=\"BM\">\n<DisplayFolders>\n" + ref("LogicalDisplayFolder", {"BM", "f1"}) +
      "</DisplayFolders>\n<RemovedDisplayFolders>\n" + ref("LogicalDisplayFolder", {"BM", "f1"}) +
      ref("LogicalDisplayFolder", {"BM", "gone"}) + ref("LogicalDisplayFolder", {"BM", "f2"}) +
      "</RemovedDisplayFolders>\n</BusinessModel>\n"));
  ASSERT_TRUE(r.ok) << r.Text();
  EXPECT_EQ(k->GetContainerEntity(), RefAEntity(b));
  EXPECT_EQ(a->GetKeys().Size(), 0u);
  EXPECT_EQ(LmodNames(b->GetKeys()), (std::vector<std::string>{"k"}));
  EXPECT_EQ(b->GetPrimaryKey(), k);
  auto lk = dst.Find<AKey>(kTIDAKey, {"BM", "D", "L", "lk"});
  ASSERT_TRUE(lk);
  EXPECT_EQ(lk->GetContainerEntity(), RefAEntity(level));
  EXPECT_FALSE(lk->IsPrimaryKey());
  EXPECT_EQ(BinaryRelIterBase(dst.rp.get(), level.GetID(), kRelLogicalTableKeys).Size(), 0u);
  EXPECT_EQ(LmodNames(bm->GetDisplayFolders()), (std::vector<std::string>{"f1"}));

  // With errors only logged, a table whose model names nothing keeps its own.
  r = dst.Load(LmodDoc("<LogicalTable name=\"A\" parentName=\"&quot;Gone&quot;\" uid=\"" +
                       TKSGUIDGenerator::ByteVectorToGUIDString(LmodUid(4)).ToUTF8() + "\">\n</LogicalTable>\n"),
               true);
  EXPECT_EQ(a->GetSubjectArea(), bm);
}

// Without expressions a column's expressions are left out, but the
// AttributeDefn wrapper stands; an empty one stands too, with empty elements
// holding an empty expression.
TEST(LogicalModel, AttributeDefnWrapperStandsAlways) {
  LmodStore src;
  RefARpObject db = src.Make(kTIDADatabase, 1, "db");
  RefARpObject p = src.Make(kTIDATable, 2, "P", db);
  src.Make(kTIDAColumn, 3, "pid", p);
  RefARpObject bm = src.Make(kTIDASubjectArea, 4, "BM");
  RefARpObject t = src.Make(kTIDALogicalTable, 5, "T", bm);
  RefAAttribute c(src.Make(kTIDAAttribute, 6, "c", t));
  c->SetExpr(LmodExpr(src.rp.get(), "1 + 2", kSME_Logical));
  c->SetAttributeDefnExpr(LmodExpr(src.rp.get(), "\"db\".\"\".\"\".\"P\".\"pid\"", kSME_Physical));
  const std::string full = src.Text({c});
  EXPECT_NE(full.find("<Expr><![CDATA[1 + 2]]></Expr>\n<AttributeDefn>\n<Expr><![CDATA[\"db\"."), std::string::npos)
      << full;
  ToPrettyStringVisitor::SetRipAndReplaceNoExprMode(true);
  const std::string bare = src.Text({c});
  ToPrettyStringVisitor::SetRipAndReplaceNoExprMode(false);
  EXPECT_EQ(bare.find("<Expr>"), std::string::npos) << bare;
  EXPECT_NE(bare.find("<AttributeDefn>\n</AttributeDefn>\n"), std::string::npos) << bare;

  c->SetAttributeDefnExpr(Expr());
  EXPECT_NE(src.Text({c}, kGenFooter | kGenEmptyElements).find("<AttributeDefn>\n<Expr></Expr>\n</AttributeDefn>\n"),
            std::string::npos);
}

TEST(LogicalModel, MultiplicityTextAndRolePropertiesPersist) {
  for (const char* text : {"1", "0..1", "1..*", "*", "2..5", "0", "0..*"})
    EXPECT_EQ(Multiplicity(VXString(text)).ToString(), text);
  EXPECT_EQ(Multiplicity(VXString("3..3")).ToString(), "3");
  for (const char* text : {"", "5..2", "-1", "a", "1..", "..1", "1...2", "*..1", " 1", "1234567890"})
    EXPECT_FALSE(Multiplicity(VXString(text)).IsSet()) << text;
  EXPECT_EQ(Multiplicity(0, Multiplicity::kUnbounded).ToString(), "0..*");
  EXPECT_FALSE(Multiplicity(2, 1).IsSet());

  // A role's properties live with its join: saved and loaded with it.
  LmodStore src;
  RefARelationship j(src.Make(kTIDARelationship, 1, "j"));
  RefARpObject t = src.Make(kTIDALogicalTable, 2, "T");
  RefARole role(src.rp->CreateObject(kTIDARole));
  EXPECT_FALSE(ARoleAccess::SetAggregate(*role, true));  // not yet a role of a join
  MetadataUtil::SetParent(role, j);
  EXPECT_TRUE(ARoleAccess::SetAggregate(*role, true));
  ARoleAccess::SetMultiplicity(*role, Multiplicity(VXString("1..*")));
  ARoleAccess::SetParticipatingEntity(*role, t);
  ByteVector blob;
  SaveObjectProperties(*j, blob);
  RefARelationship copy(src.rp->CreateObject(kTIDARelationship));
  ASSERT_TRUE(LoadObjectProperties(*copy, blob.data(), blob.size()));
  const RoleProps* p = copy->FindRoleProps(role.GetID());
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(*p, *j->FindRoleProps(role.GetID()));
  EXPECT_EQ(p->multiplicity.ToString(), "1..*");
  EXPECT_TRUE(p->bAggregate);
  EXPECT_EQ(p->entity, t.GetID());
}

}  // namespace
}  // namespace qorl
