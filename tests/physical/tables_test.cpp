// Physical tables, columns, keys, foreign keys and complex joins: what is
// written, what a load makes of it, and that a document survives a trip
// through another repository.
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
#include "store/expr_store.h"
#include "store/metadata_util.h"

namespace qorl {
namespace {

using PtabLoadResult = test::LoadResult;
constexpr auto& PtabUid = test::Uid;
constexpr auto& PtabDoc = test::DeclareDoc;
constexpr auto& PtabWithoutIds = test::WithoutIds;

// A repository holding only what a test makes, with fixed ids and uids.
struct PtabStore : test::RepoFixture {
 protected:
  void Link(const RefARpObject& o, const RefARpObject& parent) override {
    if (RefAColumn c(o); c)
      c->SetTable(parent);
    else if (!parent.IsNullRef())
      MetadataUtil::SetParent(o, parent);
  }
};

Expr PtabExpr(ARpGateway* rp, const char* text) {
  Expr e;
  VXString err;
  EXPECT_TRUE(SMEPParse::QORLCreateExprTree(VXString(text), e, err, rp, kSME_Physical, nullptr)) << err.ToUTF8();
  return e;
}

void PtabExpectRoundTrip(PtabStore& src, PtabStore& dst, const RpObjectVector& decl, int options) {
  test::ExpectRoundTrip(src, dst, decl, options, "ptab");
}


TEST(PhysicalTables, EveryPropertyAtANonDefaultValueRoundTrips) {
  PtabStore src;
  RefARpObject db = src.Make(kTIDADatabase, 1, "db");
  RefARpObject db2 = src.Make(kTIDADatabase, 2, "db2");
  RefARpObject cat = src.Make(kTIDACatalog, 3, "cat", db);
  RefARpObject sch = src.Make(kTIDASchema, 4, "sch", cat);
  RefARpObject pool = src.Make(kTIDAConnectionPool, 5, "pool", db);
  RefARpObject var = src.Make(kTIDARpVariable, 6, "v");

  RefATable s(src.Make(kTIDATable, 10, "S", db));
  RefATable t(src.Make(kTIDATable, 11, "T \"x\" & <y>", sch));
  RefAColumn id(src.Make(kTIDAColumn, 12, "id", t));
  RefAColumn parent(src.Make(kTIDAColumn, 13, "parent", t));
  RefAColumn dist(src.Make(kTIDAColumn, 14, "dist", t));
  RefAColumn leaf(src.Make(kTIDAColumn, 15, "leaf", t));
  RefAColumn sid(src.Make(kTIDAColumn, 16, "sid", s));
  RefATableKey pk(src.Make(kTIDATableKey, 20, "pk", t));
  RefATable u(src.Make(kTIDATable, 21, "U", cat));
  RefAColumn tid(src.Make(kTIDAColumn, 22, "tid", u));
  RefAForeignKey fk(src.Make(kTIDAForeignKey, 23, "fk", u));
  RefAComplexJoin j(src.Make(kTIDAComplexJoin, 24, "j"));

  t->SetTableType(QORLUtility::kTableTypeAlias);
  t->SetCacheable(false);
  t->SetCacheEventTable(true);
  t->SetCacheExpiry(60);
  t->SetPollFrequency(120);
  t->SetDiagramPosition(3, -4);
  t->SetRowCount(1000);
  t->SetLastUpdated(VXDateTime(2024, 5, 6, 7, 8, 9));
  t->SetExtGatewayScriptPath("s.sh");
  t->SetSystemGenerated(true);
  t->SetOverrideCacheProperties(true);
  t->SetDDLAggr(true);
  t->SetHints("FULL");
  t->SetDeployedView(true);
  t->SetResourceIdentifier("http://x?a=1&b=2");
  t->SetXSLPath("/x.xsl");
  t->SetMaxConnToSameURLForDifferentUsers(7);
  t->SetXMLRefreshInterval(30);
  t->SetExtGatewayInProcessIndicator(true);
  t->SetExtGatewayDelimiter(";");
  t->SetExternalDbSpecificNames({{2, "T_odbc"}, {46, "T_ora\nline 2"}});
  t->SetSourceTable(s);
  t->SetSourceConnectionPool(pool);
  t->SetVariable(var);
  t->SetMemberKeyColumn(id);
  t->SetParentKeyColumn(parent);
  t->SetDistanceColumn(dist);
  t->SetIsLeafColumn(leaf);
  t->SetWSXSLT("<xsl/> ]]> x");
  t->SetWSxsdSchema("<xs:schema/>");
  t->SetPropertyMap({{"k", "v"}, {"k2", "\"q\" <&>"}});
  ReplicationMap replication;
  for (auto [d, name] : {std::pair{db, "T_copy"}, std::pair{db2, "T_copy2"}}) {
    Expr key;
    key.AppendObject(d.GetID());
    replication.emplace(key, name);
  }
  t->SetReplicationMap(replication);

  id->SetTypeInfo(VXTypeInfo{10, 2, VXDecimal, true});
  id->SetExternalName("ID_EXT");
  id->SetCount(42.5);
  id->SetLastUpdated(VXDateTime(2023, 12, 31, 23, 59, 58));
  id->SetValueType(QORLUtility::k_One_To_Many);
  id->SetMappedColumn("mapped");
  id->SetMVLinkName("link");
  id->SetSpecialType(QORLUtility::SPECIAL_TYPE_LUD);
  id->SetPropertyMap({{"a", "1"}, {"b", "x<y"}});
  id->SetVariable(var);
  id->SetSourceColumn(sid);
  id->GetPicklistColumns().Insert(dist.GetID());
  id->GetPicklistColumns().Insert(parent.GetID());

  pk->GetColumns().Insert(parent.GetID());
  pk->GetColumns().Insert(id.GetID());
  fk->GetComponents().Insert(tid.GetID());
  fk->SetTableKey(pk);
  fk->SetHints("USE_NL");
  j->GetTables().Insert(u.GetID());
  j->GetTables().Insert(t.GetID());
  j->SetHints("NL");
  j->SetJoinCardinality(QORLUtility::k_Many_To_ZeroOrOne);
  j->SetExternalName("J_EXT");
  j->SetJoinExpr(
      PtabExpr(src.rp.get(), "\"db\".\"cat\".\"\".\"U\".\"tid\" = \"db\".\"cat\".\"sch\".\"T \"\"x\"\" & <y>\".\"id\""));
  j->SetExternalJoinExpr(PtabExpr(src.rp.get(), "\"db\".\"cat\".\"\".\"U\".\"tid\" > 0"));

  PtabStore dst;
  for (const RefARpObject& o : {db, db2, cat, sch, pool, var}) dst.Mirror(o);
  const RpObjectVector decl = {s, t, u, sid, id, parent, dist, leaf, tid, pk, fk, j};
  const int options = kGenFooter | kGenExprTextObjects | kGenDummyUID;
  PtabExpectRoundTrip(src, dst, decl, options);

  // Spot checks on the loaded store.
  RefATable t2(dst.rp->FindByUpgradeID(t->UpgradeID()));
  EXPECT_EQ(t2->GetContainer()->GetTypeID(), kTIDASchema);
  EXPECT_EQ(t2->GetWSXSLT(), "<xsl/> ]]> x");
  EXPECT_EQ(t2->GetExternalDbSpecificNames().at(46), "T_ora\nline 2");
  EXPECT_EQ(t2->GetReplicationMap().size(), 2u);
  RefATable u2(dst.rp->FindByUpgradeID(u->UpgradeID()));
  EXPECT_EQ(u2->GetContainer()->GetName(), "cat");
  RefAColumn id2(dst.rp->FindByUpgradeID(id->UpgradeID()));
  EXPECT_EQ(id2->GetCount(), 42.5);
  EXPECT_EQ(id2->GetTypeInfo(), (VXTypeInfo{10, 2, VXDecimal, true}));
  EXPECT_EQ(u2->GetColumns().Size(), 1u);
}

TEST(PhysicalTables, DefaultsWriteOnlyWhatIsAlwaysWritten) {
  PtabStore src;
  RefARpObject db = src.Make(kTIDADatabase, 1, "db");
  RefARpObject t = src.Make(kTIDATable, 2, "T", db);
  RefARpObject c = src.Make(kTIDAColumn, 3, "c", t);
  RefARpObject k = src.Make(kTIDATableKey, 4, "k", t);
  RefARpObject fk = src.Make(kTIDAForeignKey, 5, "fk", t);
  RefARpObject j = src.Make(kTIDAComplexJoin, 6, "j");
  const RpObjectVector decl = {t, c, k, fk, j};
  EXPECT_EQ(src.Text(decl), PtabDoc(R"xml(<PhysicalTable name="T" parentName="&quot;db&quot;.&quot;&quot;.&quot;&quot;" parentId="3023:00000001" parentUid="00000000-0000-4000-8000-000000000001" id="3001:00000002" uid="00000000-0000-4000-8000-000000000002" type="none" maxConn="10">
<XSLT></XSLT>
<XSDSchema></XSDSchema>
</PhysicalTable>
<PhysicalColumn name="c" parentName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;" parentId="3001:00000002" parentUid="00000000-0000-4000-8000-000000000002" id="3003:00000003" uid="00000000-0000-4000-8000-000000000003" dataType="UNKNOWN" specialType="none">
</PhysicalColumn>
<PhysicalKey name="k" parentName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;" parentId="3001:00000002" parentUid="00000000-0000-4000-8000-000000000002" id="3008:00000004" uid="00000000-0000-4000-8000-000000000004">
</PhysicalKey>
<PhysicalForeignKey name="fk" parentName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;" parentId="3001:00000002" parentUid="00000000-0000-4000-8000-000000000002" id="3006:00000005" uid="00000000-0000-4000-8000-000000000005">
</PhysicalForeignKey>
<ComplexJoin name="j" id="3012:00000006" uid="00000000-0000-4000-8000-000000000006">
<Expr></Expr>
</ComplexJoin>
)xml"));
  // Empty groups have no line feed of their own; ExternalExpr is an empty text element.
  EXPECT_EQ(src.Text(decl, kGenFooter | kGenEmptyElements), PtabDoc(R"xml(<PhysicalTable name="T" parentName="&quot;db&quot;.&quot;&quot;.&quot;&quot;" parentId="3023:00000001" parentUid="00000000-0000-4000-8000-000000000001" id="3001:00000002" uid="00000000-0000-4000-8000-000000000002" type="none" maxConn="10">
<Description></Description>
<SourceTable/>
<DBMap/>
<AggrConnPool/>
<RefVariable/>
<MemberKey/>
<ParentKey/>
<DistanceColumn/>
<LeafColumn/>
<XSLT></XSLT>
<XSDSchema></XSDSchema>
<Properties/>
<Replication/>
</PhysicalTable>
<PhysicalColumn name="c" parentName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;" parentId="3001:00000002" parentUid="00000000-0000-4000-8000-000000000002" id="3003:00000003" uid="00000000-0000-4000-8000-000000000003" dataType="UNKNOWN" specialType="none">
<Description></Description>
<DynamicName/>
<SourceColumn/>
<PicklistColumns/><Properties/>
</PhysicalColumn>
<PhysicalKey name="k" parentName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;" parentId="3001:00000002" parentUid="00000000-0000-4000-8000-000000000002" id="3008:00000004" uid="00000000-0000-4000-8000-000000000004">
<Description></Description>
<Columns/></PhysicalKey>
<PhysicalForeignKey name="fk" parentName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;" parentId="3001:00000002" parentUid="00000000-0000-4000-8000-000000000002" id="3006:00000005" uid="00000000-0000-4000-8000-000000000005">
<Description></Description>
<Columns/><CounterPartKey/>
</PhysicalForeignKey>
<ComplexJoin name="j" id="3012:00000006" uid="00000000-0000-4000-8000-000000000006">
<Description></Description>
<Tables/><Expr></Expr>
<ExternalExpr></ExternalExpr>
</ComplexJoin>
)xml"));
  for (int options : {int(kGenFooter), kGenFooter | kGenEmptyElements}) {
    PtabStore dst;
    dst.Mirror(db);
    PtabExpectRoundTrip(src, dst, decl, options);
    RefATable t2(dst.rp->FindByUpgradeID(t->UpgradeID()));
    ASSERT_FALSE(t2.IsNullRef());
    EXPECT_EQ(t2->GetPollFrequency(), ATable::kDefaultPollFrequency);
    EXPECT_EQ(t2->GetMaxConnToSameURLForDifferentUsers(), 10u);
    EXPECT_TRUE(t2->IsCacheable());
    EXPECT_EQ(t2->GetContainer()->GetName(), "db");
  }
}

// A table with columns, keys and a foreign key.
TEST(PhysicalTables, TableWithColumnsKeysAndForeignKey) {
  PtabStore src;
  RefARpObject db = src.Make(kTIDADatabase, 1, "db");
  RefATable t(src.Make(kTIDATable, 2, "T", db));
  RefAColumn id(src.Make(kTIDAColumn, 3, "id", t));
  RefAColumn name(src.Make(kTIDAColumn, 4, "name", t));
  RefATableKey pk(src.Make(kTIDATableKey, 5, "pk", t));
  RefATable u(src.Make(kTIDATable, 6, "U", db));
  RefAColumn tid(src.Make(kTIDAColumn, 7, "tid", u));
  RefAForeignKey fk(src.Make(kTIDAForeignKey, 8, "fk", u));
  t->SetDiagramPosition(0, 5);
  t->SetRowCount(1000);
  t->SetLastUpdated(VXDateTime(2024, 5, 6, 7, 8, 9));
  t->SetHints("h");
  t->SetExternalDbSpecificNames({{46, "T_ora"}, {2, "T_odbc"}});
  id->SetTypeInfo(VXTypeInfo{10, 0, VXInteger, false});
  name->SetTypeInfo(VXTypeInfo{40, 0, VXVarChar, true});
  name->SetCount(0);
  tid->SetTypeInfo(VXTypeInfo{10, 0, VXInteger, false});
  pk->GetColumns().Insert(id.GetID());
  fk->GetComponents().Insert(tid.GetID());
  fk->SetTableKey(pk);
  fk->SetHints("USE_NL");

  const std::string golden = PtabDoc(R"xml(<PhysicalTable name="T" parentName="&quot;db&quot;.&quot;&quot;.&quot;&quot;" parentId="3023:00000001" parentUid="00000000-0000-4000-8000-000000000001" id="3001:00000002" uid="00000000-0000-4000-8000-000000000002" type="none" x="0" y="5" rowCount="1000" lastUpdated="2024-05-06 07:08:09" hints="h" maxConn="10">
<DBMap>
<Item name="ODBC200">
<Value><![CDATA[T_odbc]]></Value>
</Item>
<Item name="Veldane10gR2">
<Value><![CDATA[T_ora]]></Value>
</Item>
</DBMap>
<XSLT></XSLT>
<XSDSchema></XSDSchema>
</PhysicalTable>
<PhysicalTable name="U" parentName="&quot;db&quot;.&quot;&quot;.&quot;&quot;" parentId="3023:00000001" parentUid="00000000-0000-4000-8000-000000000001" id="3001:00000006" uid="00000000-0000-4000-8000-000000000006" type="none" maxConn="10">
<XSLT></XSLT>
<XSDSchema></XSDSchema>
</PhysicalTable>
<PhysicalColumn name="id" parentName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;" parentId="3001:00000002" parentUid="00000000-0000-4000-8000-000000000002" id="3003:00000003" uid="00000000-0000-4000-8000-000000000003" dataType="INTEGER" precision="10" specialType="none">
</PhysicalColumn>
<PhysicalColumn name="name" parentName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;" parentId="3001:00000002" parentUid="00000000-0000-4000-8000-000000000002" id="3003:00000004" uid="00000000-0000-4000-8000-000000000004" dataType="VARCHAR" precision="40" nullable="true" rowCount="0" specialType="none">
</PhysicalColumn>
<PhysicalColumn name="tid" parentName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;U&quot;" parentId="3001:00000006" parentUid="00000000-0000-4000-8000-000000000006" id="3003:00000007" uid="00000000-0000-4000-8000-000000000007" dataType="INTEGER" precision="10" specialType="none">
</PhysicalColumn>
<PhysicalKey name="pk" parentName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;" parentId="3001:00000002" parentUid="00000000-0000-4000-8000-000000000002" id="3008:00000005" uid="00000000-0000-4000-8000-000000000005">
<Columns>
<RefPhysicalColumn id="3003:00000003" uid="00000000-0000-4000-8000-000000000003" qualifiedName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;.&quot;id&quot;"/>
</Columns>
</PhysicalKey>
<PhysicalForeignKey name="fk" parentName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;U&quot;" parentId="3001:00000006" parentUid="00000000-0000-4000-8000-000000000006" id="3006:00000008" uid="00000000-0000-4000-8000-000000000008" hints="USE_NL">
<Columns>
<RefPhysicalColumn id="3003:00000007" uid="00000000-0000-4000-8000-000000000007" qualifiedName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;U&quot;.&quot;tid&quot;"/>
</Columns>
<CounterPartKey>
<RefPhysicalKey id="3008:00000005" uid="00000000-0000-4000-8000-000000000005" qualifiedName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;.&quot;pk&quot;"/>
</CounterPartKey>
</PhysicalForeignKey>
)xml");
  const RpObjectVector decl = {t, id, name, pk, u, tid, fk};
  EXPECT_EQ(src.Text(decl), golden);

  PtabStore dst;
  dst.Mirror(db);
  PtabLoadResult r = dst.Load(golden);
  ASSERT_TRUE(r.ok) << r.Text();
  EXPECT_EQ(PtabWithoutIds(dst.TextOf(decl)), PtabWithoutIds(golden));
  auto t2 = dst.Find<ATable>(kTIDATable, {"db", "", "", "T"});
  int32_t x = -1, y = -1;
  t2->GetDiagramPosition(x, y);
  EXPECT_EQ(std::pair(x, y), std::pair(0, 5));
  EXPECT_EQ(t2->GetLastUpdated(), VXDateTime(2024, 5, 6, 7, 8, 9));
  EXPECT_EQ(t2->GetExternalDbSpecificNames().at(2), "T_odbc");
  EXPECT_EQ(t2->GetColumns().Size(), 2u);
  auto fk2 = dst.Find<AForeignKey>(kTIDAForeignKey, {"db", "", "", "U", "fk"});
  EXPECT_EQ(fk2->GetTableKey(), dst.Find<ATableKey>(kTIDATableKey, {"db", "", "", "T", "pk"}));
  ASSERT_EQ(fk2->GetComponents().Size(), 1u);
  EXPECT_EQ((*fk2->GetComponents())->GetName(), "tid");
}

// A complex join with its expressions.
TEST(PhysicalTables, ComplexJoinWithExpressions) {
  PtabStore src;
  RefARpObject db = src.Make(kTIDADatabase, 1, "db");
  RefARpObject t = src.Make(kTIDATable, 2, "T", db);
  RefARpObject u = src.Make(kTIDATable, 3, "U", db);
  RefARpObject id = src.Make(kTIDAColumn, 4, "id", t);
  RefARpObject tid = src.Make(kTIDAColumn, 5, "tid", u);
  RefAComplexJoin j(src.Make(kTIDAComplexJoin, 6, "j"));
  j->GetTables().Insert(t.GetID());
  j->GetTables().Insert(u.GetID());
  j->SetHints("NL");
  j->SetJoinCardinality(QORLUtility::k_One_To_Many);
  j->SetJoinExpr(PtabExpr(src.rp.get(), "\"db\".\"\".\"\".\"T\".\"id\" = \"db\".\"\".\"\".\"U\".\"tid\""));
  j->SetExternalJoinExpr(PtabExpr(src.rp.get(), "\"db\".\"\".\"\".\"T\".\"id\" + 1"));

  const std::string golden = PtabDoc(R"xml(<ComplexJoin name="j" id="3012:00000006" uid="00000000-0000-4000-8000-000000000006" hints="NL" cardinality=" ONE TO MANY">
<Tables>
<RefPhysicalTable id="3001:00000002" uid="00000000-0000-4000-8000-000000000002" qualifiedName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;"/>
<RefPhysicalTable id="3001:00000003" uid="00000000-0000-4000-8000-000000000003" qualifiedName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;U&quot;"/>
</Tables>
<Expr><![CDATA["db"."".""."T"."id" = "db"."".""."U"."tid"]]></Expr>
<ExprText><![CDATA["%1" = "%2"]]></ExprText>
<Objects>
<RefObject id="3003:00000004" uid="00000000-0000-4000-8000-000000000004" qualifiedName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;.&quot;id&quot;"/>
<RefObject id="3003:00000005" uid="00000000-0000-4000-8000-000000000005" qualifiedName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;U&quot;.&quot;tid&quot;"/>
</Objects>
<ExternalExpr>
<Expr><![CDATA["db"."".""."T"."id" + 1]]></Expr>
<ExprText><![CDATA["%1" + 1]]></ExprText>
<Objects>
<RefObject id="3003:00000004" uid="00000000-0000-4000-8000-000000000004" qualifiedName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;.&quot;id&quot;"/>
</Objects>
</ExternalExpr>
</ComplexJoin>
)xml");
  const int options = kGenFooter | kGenExprTextObjects;
  EXPECT_EQ(src.Text({j}, options), golden);

  PtabStore dst;
  for (const RefARpObject& o : {db, t, u, id, tid}) dst.Mirror(o);
  PtabLoadResult r = dst.Load(golden);
  ASSERT_TRUE(r.ok) << r.Text();
  EXPECT_EQ(PtabWithoutIds(dst.TextOf({j}, options)), PtabWithoutIds(golden));
  auto j2 = dst.Find<AComplexJoin>(kTIDAComplexJoin, {"j"});
  RpObjectVector objects;
  j2->GetJoinExpr().GetObjectsInExpr(dst.rp.get(), objects, true);
  EXPECT_EQ(objects.size(), 2u);
  EXPECT_EQ(j2->GetTables().Members().front()->GetName(), "T");
}

TEST(PhysicalTables, ContainerOfATableComesFromItsQualifiedName) {
  PtabStore dst;
  RefARpObject d = dst.Make(kTIDADatabase, 1, "d");
  RefARpObject c = dst.Make(kTIDACatalog, 2, "c", d);
  RefARpObject s = dst.Make(kTIDASchema, 3, "s", c);
  RefARpObject s2 = dst.Make(kTIDASchema, 4, "s2", d);
  RefARpObject ct = dst.Make(kTIDACubeTable, 5, "ct", d);
  auto table = [](const std::string& attrs) { return "<PhysicalTable " + attrs + ">\n</PhysicalTable>\n"; };
  PtabLoadResult r =
      dst.Load(PtabDoc(table("qualifiedName=\"&quot;d&quot;.&quot;&quot;.&quot;&quot;.&quot;T1&quot;\"") +
                       table("qualifiedName=\"&quot;d&quot;.&quot;c&quot;.&quot;&quot;.&quot;T2&quot;\"") +
                       table("qualifiedName=\"&quot;d&quot;.&quot;c&quot;.&quot;s&quot;.&quot;T3&quot;\"") +
                       table("name=\"T4\" parentName=\"&quot;d&quot;.&quot;&quot;.&quot;s2&quot;\"") +
                       // A key whose table is a cube table.
                       "<PhysicalKey name=\"k\" parentName=\"&quot;d&quot;.&quot;&quot;.&quot;&quot;.&quot;ct&quot;\">\n</PhysicalKey>\n"));
  ASSERT_TRUE(r.ok) << r.Text();
  EXPECT_FALSE(dst.Find<ATable>(kTIDATable, {"d", "", "", "T1"}).IsNullRef());
  EXPECT_FALSE(dst.Find<ATable>(kTIDATable, {"d", "c", "", "T2"}).IsNullRef());
  EXPECT_FALSE(dst.Find<ATable>(kTIDATable, {"d", "c", "s", "T3"}).IsNullRef());
  EXPECT_FALSE(dst.Find<ATable>(kTIDATable, {"d", "", "s2", "T4"}).IsNullRef());
  EXPECT_EQ(dst.Find<ATableKey>(kTIDATableKey, {"d", "", "", "ct", "k"})->GetTable(), ct);

  PtabLoadResult missing =
      dst.Load(PtabDoc("<PhysicalKey name=\"k\" parentName=\"&quot;d&quot;.&quot;none&quot;\">\n</PhysicalKey>\n"));
  EXPECT_TRUE(missing.err.Contains(92006)) << missing.Text();
}

TEST(PhysicalTables, ListsFollowTheRelationRuleAndReplicationPairsByPosition) {
  PtabStore dst;
  RefARpObject d = dst.Make(kTIDADatabase, 1, "d");
  RefARpObject d2 = dst.Make(kTIDADatabase, 2, "d2");
  RefATable t(dst.Make(kTIDATable, 3, "T", d));
  std::vector<RefAColumn> cols;
  for (const char* n : {"a", "b", "c", "x"}) cols.emplace_back(dst.Make(kTIDAColumn, 10 + cols.size(), n, t));
  RefATableKey k(dst.Make(kTIDATableKey, 20, "k", t));
  for (int i : {0, 1, 2}) {
    cols[3]->GetPicklistColumns().Insert(cols[i].GetID());
    k->GetColumns().Insert(cols[i].GetID());
  }
  auto ref = [](const char* n) {
    return std::string("<RefPhysicalColumn qualifiedName=\"&quot;d&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;.&quot;") + n + "&quot;\"/>\n";
  };
  // The replication names a database that is not there: with errors ignored
  // it adds no entry, and the next database keeps its own text.
  ServerLogCapture log;
  PtabLoadResult r = dst.Load(
      PtabDoc("<PhysicalTable name=\"T\" parentName=\"&quot;d&quot;.&quot;&quot;.&quot;&quot;\">\n"
              "<Replication>\n"
              "<ReplicationEntry>\n<RefDatabase qualifiedName=\"&quot;gone&quot;\"/>\n<Table><![CDATA[T1]]></Table>\n"
              "</ReplicationEntry>\n"
              "<ReplicationEntry>\n<RefDatabase qualifiedName=\"&quot;d2&quot;\"/>\n<Table><![CDATA[T2]]></Table>\n"
              "</ReplicationEntry>\n"
              "</Replication>\n"
              "</PhysicalTable>\n"
              "<PhysicalColumn name=\"x\" parentName=\"&quot;d&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;\">\n<PicklistColumns>\n" +
              ref("c") + ref("a") + "</PicklistColumns>\n</PhysicalColumn>\n" +
              "<PhysicalKey name=\"k\" parentName=\"&quot;d&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;\">\n<Columns>\n" + ref("c") + ref("a") +
              "</Columns>\n</PhysicalKey>\n"),
      true);
  EXPECT_GE(log.Count(ServerLog::kError), 1u);
  auto names = [](const std::vector<RefAColumn>& v) {
    std::vector<VXString> out;
    for (const auto& c : v) out.push_back(c->GetName());
    return out;
  };
  // The picklist keeps the unlisted b ahead; the key's list is replaced.
  EXPECT_EQ(names(cols[3]->GetPicklistColumns().Members()), (std::vector<VXString>{"b", "c", "a"}));
  EXPECT_EQ(names(k->GetColumns().Members()), (std::vector<VXString>{"c", "a"}));
  ASSERT_EQ(t->GetReplicationMap().size(), 1u);
  EXPECT_EQ(t->GetReplicationMap().begin()->second, "T2");
  // Written back, the entry's reference has the qualified name ahead of the id.
  EXPECT_NE(dst.Text({t}).find(R"xml(<RefDatabase qualifiedName="&quot;d2&quot;" id="3023:00000002" uid="00000000-0000-4000-8000-000000000002"/>
<Table><![CDATA[T2]]></Table>
)xml"),
            std::string::npos);
}

TEST(PhysicalTables, MalformedValues) {
  auto loadOne = [](const std::string& element, bool ignoreErrors = false) {
    auto store = std::make_unique<PtabStore>();
    store->Make(kTIDADatabase, 1, "d");
    RefARpObject t = store->Make(kTIDATable, 2, "T", store->rp->FindByQualifiedName(kTIDADatabase, {"d"}));
    store->Make(kTIDAColumn, 3, "c", t);
    PtabLoadResult r = store->Load(PtabDoc(element), ignoreErrors);
    return std::pair(std::move(store), std::move(r));
  };
  // A bad date names the element's line (line 4: the element follows the frame).
  {
    auto [store, r] = loadOne(
        "<PhysicalTable name=\"X\" parentName=\"&quot;d&quot;.&quot;&quot;.&quot;&quot;\" lastUpdated=\"yesterday\">\n</PhysicalTable>\n");
    EXPECT_TRUE(r.err.Contains(28028)) << r.Text();
    EXPECT_NE(r.Text().find("Line 4"), std::string::npos) << r.Text();
  }
  // An expression that does not parse names the line of its Expr.
  {
    auto [store, r] = loadOne(
        "<ComplexJoin name=\"j\">\n<Tables>\n</Tables>\n<Expr><![CDATA[\"d\".\"nope\" = 1]]></Expr>\n</ComplexJoin>\n");
    EXPECT_TRUE(r.err.Contains(92009)) << r.Text();
    EXPECT_NE(r.Text().find("Line 7"), std::string::npos) << r.Text();
  }
  // A reference to nothing.
  {
    auto [store, r] = loadOne(
        "<PhysicalTable name=\"X\" parentName=\"&quot;d&quot;.&quot;&quot;.&quot;&quot;\">\n<SourceTable>\n"
        "<RefPhysicalTable qualifiedName=\"&quot;d&quot;.&quot;&quot;.&quot;&quot;.&quot;nowhere&quot;\"/>\n</SourceTable>\n"
        "</PhysicalTable>\n");
    EXPECT_TRUE(r.err.Contains(92006)) << r.Text();
  }
  // Texts no codec knows take the codec's default; bad numbers their field's,
  // after an error each that ignoring errors leaves in the log.
  {
    auto [store, r] = loadOne(
        "<PhysicalTable name=\"X\" parentName=\"&quot;d&quot;.&quot;&quot;.&quot;&quot;\" type=\"view\" pollFreq=\"often\" maxConn=\"-3\" "
        "isCacheable=\"maybe\">\n</PhysicalTable>\n"
        "<PhysicalColumn name=\"c\" parentName=\"&quot;d&quot;.&quot;&quot;.&quot;&quot;.&quot;T&quot;\" dataType=\"TEXT\" precision=\"wide\" "
        "scale=\"99999\" valueType=\"ONE TO MANY\" specialType=\"LUD\">\n</PhysicalColumn>\n"
        "<ComplexJoin name=\"j\" cardinality=\"many\">\n</ComplexJoin>\n",
        true);
    ASSERT_TRUE(r.ok) << r.Text();
    auto x = store->Find<ATable>(kTIDATable, {"d", "", "", "X"});
    EXPECT_EQ(x->GetTableType(), QORLUtility::kTableTypeNone);
    EXPECT_EQ(x->GetPollFrequency(), ATable::kDefaultPollFrequency);
    EXPECT_EQ(x->GetMaxConnToSameURLForDifferentUsers(), 10u);
    EXPECT_FALSE(x->IsCacheable());
    auto c = store->Find<AColumn>(kTIDAColumn, {"d", "", "", "T", "c"});
    EXPECT_EQ(c->GetTypeInfo(), (VXTypeInfo{0, 0, VXUnknown, false}));
    EXPECT_EQ(c->GetValueType(), QORLUtility::kUnknownCardinality);  // the blank of " ONE TO MANY" is part of it
    EXPECT_EQ(c->GetSpecialType(), QORLUtility::SPECIAL_TYPE_LUD);   // read without regard to case
    EXPECT_EQ(store->Find<AComplexJoin>(kTIDAComplexJoin, {"j"})->GetJoinCardinality(),
              QORLUtility::kUnknownCardinality);
  }
}

}  // namespace
}  // namespace qorl
