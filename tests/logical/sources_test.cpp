// Logical table sources with their join graphs and column mappings, measure
// definitions and aggregation rules: what is written, what a load makes of
// it, and that a document survives a trip through another repository.
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
#include "store/props.h"

namespace qorl {
namespace {

using LsrcLoadResult = test::LoadResult;
constexpr auto& LsrcUid = test::Uid;
constexpr auto& LsrcDoc = test::DeclareDoc;
constexpr auto& LsrcWithoutIds = test::WithoutIds;

// A repository holding only what a test makes, with fixed ids and uids.
struct LsrcStore : test::RepoFixture {
};

// The logical and physical objects the elements of this family refer to: a
// business model with table T (columns c1, c2, c3) and dimension D, a
// database with tables P and Q, a foreign key of Q and a complex join.
struct LsrcModel {
  explicit LsrcModel(LsrcStore& s) : store(s) {
    bm = s.Make(kTIDASubjectArea, 1, "BM");
    t = s.Make(kTIDALogicalTable, 2, "T", bm);
    c1 = s.Make(kTIDAAttribute, 3, "c1", t);
    c2 = s.Make(kTIDAAttribute, 4, "c2", t);
    c3 = s.Make(kTIDAAttribute, 5, "c3", t);
    dim = s.Make(kTIDADimension, 6, "D", bm);
    db = s.Make(kTIDADatabase, 7, "db");
    p = s.Make(kTIDATable, 8, "P", db);
    q = s.Make(kTIDATable, 9, "Q", db);
    pc = s.Make(kTIDAColumn, 10, "pc", p);
    qc = s.Make(kTIDAColumn, 11, "qc", q);
    fk = s.Make(kTIDAForeignKey, 12, "fk", q);
    cj = s.Make(kTIDAComplexJoin, 13, "cj");
  }
  // The same objects in another store, where the loads go.
  void MirrorInto(LsrcStore& other) const {
    for (const RefARpObject& o : {bm, t, c1, c2, c3, dim, db, p, q, pc, qc, fk, cj}) other.Mirror(o);
  }
  LsrcStore& store;
  RefARpObject bm, t, c1, c2, c3, dim, db, p, q, pc, qc, fk, cj;
};

constexpr const char* kLsrcC1 = "\"BM\".\"T\".\"c1\"";
constexpr const char* kLsrcC2 = "\"BM\".\"T\".\"c2\"";
constexpr const char* kLsrcPc = "\"db\".\"\".\"\".\"P\".\"pc\"";
constexpr const char* kLsrcQc = "\"db\".\"\".\"\".\"Q\".\"qc\"";

std::string LsrcCat(std::initializer_list<std::string> parts) {
  std::string s;
  for (const std::string& p : parts) s += p;
  return s;
}

void LsrcExpectRoundTrip(LsrcStore& src, LsrcStore& dst, const RpObjectVector& decl, int options) {
  test::ExpectRoundTrip(src, dst, decl, options, "lsrc");
}

// A source with two joins, mappings, a filter and contents; a measure with a
// rule on a dimension, a default rule and an override.
struct LsrcFullSet {
  explicit LsrcFullSet(LsrcStore& s) : model(s) {
    LsrcModel& m = model;
    source = RefALogicalTableSource(s.Make(kTIDALogicalTableSource, 20, "src", m.t));
    source->SetDescription("the sales source");
    source->SetActiveTableSource(true);
    source->SetDimensionOnlySource(true);
    source->SetSystemGenerated(true);
    source->SetAtLowerGrain(true);
    source->SetCanCombineWithOtherSources(true);
    source->SetPriorityGroup(-1);
    source->SetAllowUnmappedTables(true);
    source->SetJoinRestrictedToSameLevel(true);
    source->SetDataDrivenFragmentSelection(true);
    source->SetAggrContent(s.Parse("\"BM\".\"D\"", kSME_Logical));
    source->SetFragmentContent(s.Parse(LsrcCat({kLsrcC1, " > 10"}).c_str(), kSME_Logical));
    source->SetClosureTable(m.q);
    ALogicalTableSource::SourceDefinition def;
    def.m_bDistinct = true;
    def.m_logicalToPhysicalProjection = {
        {s.Parse(kLsrcC1, kSME_Logical), s.Parse(kLsrcPc, kSME_Physical)},
        {s.Parse(kLsrcC2, kSME_Logical), s.Parse(LsrcCat({kLsrcQc, " * 2 + ", kLsrcPc}).c_str(), kSME_Physical)},
    };
    GraphNode p(m.p.GetID()), q(m.q.GetID());
    p.AddLink(DirectedLink(m.fk.GetID(), m.p.GetID(), m.q.GetID(), QORLUtility::kLeftOuterJoin,
                           QORLUtility::k_One_To_Many, m.p.GetID()));
    p.AddLink(DirectedLink(m.cj.GetID(), m.q.GetID(), m.p.GetID(), QORLUtility::kFullOuterJoin,
                           QORLUtility::k_Many_To_ZeroOrOne, VoidID::NullID));
    def.m_joinSpec = {p, q};
    def.m_physicalDetailFilter = s.Parse(LsrcCat({kLsrcQc, " <> 'x]]>y'"}).c_str(), kSME_Physical);
    source->SetSourceDefinition(def);

    measure = RefAMeasureDefn(s.Make(kTIDAMeasureDefn, 21, "m", m.c2));
    measure->SetCommutative(true);
    onDimension = RefAAggrRule(s.Make(kTIDAAggrRule, 22, "r1"));
    onDimension->SetMeasureDefn(measure);
    onDimension->SetDimension(m.dim);
    onDimension->SetAggrExpr(s.Parse(LsrcCat({"SUM(", kLsrcC2, ")"}).c_str(), kSME_Logical));
    byDefault = RefAAggrRule(s.Make(kTIDAAggrRule, 23, "r2"));
    byDefault->SetMeasureDefn(measure);
    byDefault->SetAggrExpr(s.Parse(LsrcCat({"MAX(", kLsrcC2, ")"}).c_str(), kSME_Logical));
    override = RefAOverrideAggrRule(s.Make(kTIDAOverrideAggrRule, 24, "o1"));
    override->SetMeasureDefn(measure);
    override->SetLogicalTableSource(source);
    override->SetOverrideAggrExpr(s.Parse(LsrcCat({"SUM(", kLsrcPc, ")"}).c_str(), kSME_Physical));
  }
  RpObjectVector Decl() const { return {source, measure, onDimension, byDefault, override}; }

  LsrcModel model;
  RefALogicalTableSource source;
  RefAMeasureDefn measure;
  RefAAggrRule onDimension, byDefault;
  RefAOverrideAggrRule override;
};

TEST(LogicalSources, EveryPropertyAtANonDefaultValueRoundTrips) {
  LsrcStore src;
  LsrcFullSet set(src);
  LsrcStore dst;
  set.model.MirrorInto(dst);
  const int options = kGenFooter | kGenColMapping | kGenExprTextObjects | kGenDummyUID;
  LsrcExpectRoundTrip(src, dst, set.Decl(), options);

  // Every own attribute is in the text, so the trip above carried them all.
  std::string text = src.Text(set.Decl(), options);
  for (TypeID type : {kTIDALogicalTableSource, kTIDAAggrRule, kTIDAMeasureDefn}) test::ExpectAllAttrsWritten(type, text);
  EXPECT_NE(text.find(" priorityGroup=\"-1\""), std::string::npos);

  // The loaded store holds what the source store does.
  RefALogicalTableSource s2(dst.Here(set.source));
  ASSERT_TRUE(s2);
  EXPECT_EQ(s2->GetLogicalTable().GetID(), dst.Here(set.model.t).GetID());
  EXPECT_EQ(s2->GetClosureTable().GetID(), dst.Here(set.model.q).GetID());
  EXPECT_EQ(s2->GetPriorityGroup(), -1);
  EXPECT_EQ(s2->GetDescription(), "the sales source");
  const ALogicalTableSource::SourceDefinition& def = s2->GetSourceDefinition();
  EXPECT_TRUE(def.m_bDistinct);
  ASSERT_EQ(def.m_logicalToPhysicalProjection.size(), 2u);
  EXPECT_EQ(ToPrettyStringVisitor::GetFormatExpr(def.m_logicalToPhysicalProjection[1].second, dst.rp.get()),
            LsrcCat({kLsrcQc, " * 2 + ", kLsrcPc}));
  ASSERT_EQ(def.m_joinSpec.size(), 2u);
  ASSERT_EQ(def.m_joinSpec[0].m_adjacentLinks.size(), 2u);
  EXPECT_TRUE(def.m_joinSpec[1].m_adjacentLinks.empty());
  const DirectedLink& first = def.m_joinSpec[0].m_adjacentLinks[0];
  EXPECT_EQ(first.m_linkID, dst.Here(set.model.fk).GetID());
  EXPECT_EQ(first.m_inNode, dst.Here(set.model.p).GetID());
  EXPECT_EQ(first.m_outNode, dst.Here(set.model.q).GetID());
  EXPECT_EQ(first.m_joinType, QORLUtility::kLeftOuterJoin);
  EXPECT_EQ(first.m_cardinality, QORLUtility::k_One_To_Many);
  EXPECT_EQ(first.m_drivingNode, dst.Here(set.model.p).GetID());
  const DirectedLink& second = def.m_joinSpec[0].m_adjacentLinks[1];
  EXPECT_EQ(second.m_inNode, dst.Here(set.model.q).GetID());
  EXPECT_TRUE(second.m_drivingNode.IsNullID());
  EXPECT_EQ(ToPrettyStringVisitor::GetFormatExpr(def.m_physicalDetailFilter, dst.rp.get()),
            LsrcCat({kLsrcQc, " <> 'x]]>y'"}));

  RefAMeasureDefn m2(dst.Here(set.measure));
  ASSERT_TRUE(m2);
  EXPECT_EQ(m2->GetContainerAttribute().GetID(), dst.Here(set.model.c2).GetID());
  std::vector<VXString> rules;
  for (const RefAAggrRule& r : m2->GetAggrRules().Members()) rules.push_back(r->GetName());
  EXPECT_EQ(rules, (std::vector<VXString>{"r1", "r2"}));
  RefAAggrRule r1(dst.Here(set.onDimension));
  EXPECT_EQ(r1->GetDimension().GetID(), dst.Here(set.model.dim).GetID());
  EXPECT_FALSE(r1->IsDefaultAggrRule());
  EXPECT_TRUE(RefAAggrRule(dst.Here(set.byDefault))->IsDefaultAggrRule());
  RefAOverrideAggrRule o2(dst.Here(set.override));
  EXPECT_EQ(o2->GetLogicalTableSource().GetID(), s2.GetID());
  EXPECT_EQ(m2->GetOverrideAggrRules().Size(), 1u);
}

// The stored form keeps the whole definition, its join graph and mappings included.
TEST(LogicalSources, StoredFormKeepsEveryProperty) {
  LsrcStore src;
  LsrcFullSet set(src);
  LsrcStore other;
  for (const RefARpObject& o : set.Decl()) {
    ByteVector bytes;
    SaveObjectProperties(*o, bytes);
    RefARpObject copy = other.rp->CreateObject(o->GetTypeID());
    ASSERT_TRUE(LoadObjectProperties(*copy, bytes.data(), bytes.size())) << o->GetName().ToUTF8();
    for (const PropDesc& p : o->GetMetaClass()->OwnProperties())
      EXPECT_TRUE(p.equal(*o, *copy)) << o->GetName().ToUTF8() << " " << p.name;
  }
  RefALogicalTableSource copy(other.rp->CreateObject(kTIDALogicalTableSource));
  CopyObjectProperties(*set.source, *copy);
  EXPECT_TRUE(copy->GetSourceDefinition() == set.source->GetSourceDefinition());
  EXPECT_EQ(copy->GetSourceDefinition().m_joinSpec[0].m_adjacentLinks[1].m_cardinality,
            QORLUtility::k_Many_To_ZeroOrOne);
}

TEST(LogicalSources, DefaultsWriteOnlyWhatIsAlwaysWritten) {
  LsrcStore src;
  LsrcModel m(src);
  RefARpObject s = src.Make(kTIDALogicalTableSource, 20, "s", m.t);
  RefARpObject plain = src.Make(kTIDAMeasureDefn, 21, "m", m.c2);
  // A rule and an override with nothing set still need a measure to be written.
  RefAMeasureDefn holder(src.Make(kTIDAMeasureDefn, 22, "h", m.c3));
  RefAAggrRule r(src.Make(kTIDAAggrRule, 23, "r"));
  r->SetMeasureDefn(holder);
  RefAOverrideAggrRule o(src.Make(kTIDAOverrideAggrRule, 24, "o"));
  o->SetMeasureDefn(holder);
  const RpObjectVector decl = {s, plain, holder, r, o};

  // "isCommutative" is written also when false; a rule without a dimension
  // is the default one.
  EXPECT_EQ(src.Text(decl, kGenFooter | kGenColMapping), LsrcDoc(R"xml(<LogicalTableSource name="s" parentName="&quot;BM&quot;.&quot;T&quot;" parentId="2035:00000002" parentUid="00000000-0000-4000-8000-000000000002" id="2037:00000014" uid="00000000-0000-4000-8000-000000000020">
<WhereClause>
<Expr></Expr>
</WhereClause>
<GroupBy>
<Expr></Expr>
</GroupBy>
<FragmentContent>
<Expr></Expr>
</FragmentContent>
</LogicalTableSource>
<MeasureDefn name="m" parentName="&quot;BM&quot;.&quot;T&quot;.&quot;c2&quot;" parentId="2006:00000004" parentUid="00000000-0000-4000-8000-000000000004" id="2048:00000015" uid="00000000-0000-4000-8000-000000000021" isCommutative="false">
</MeasureDefn>
<MeasureDefn name="h" parentName="&quot;BM&quot;.&quot;T&quot;.&quot;c3&quot;" parentId="2006:00000005" parentUid="00000000-0000-4000-8000-000000000005" id="2048:00000016" uid="00000000-0000-4000-8000-000000000022" isCommutative="false">
<Rules>
<RefAggrRule id="2050:00000017" uid="00000000-0000-4000-8000-000000000023" qualifiedName="&quot;BM&quot;.&quot;T&quot;.&quot;c3&quot;.&quot;h&quot;.&quot;r&quot;"/>
</Rules>
<OverrideRules>
<RefOverrideAggrRule id="2054:00000018" uid="00000000-0000-4000-8000-000000000024" qualifiedName="&quot;BM&quot;.&quot;T&quot;.&quot;c3&quot;.&quot;h&quot;.&quot;o&quot;"/>
</OverrideRules>
</MeasureDefn>
<AggrRule name="r" parentName="&quot;BM&quot;.&quot;T&quot;.&quot;c3&quot;.&quot;h&quot;" parentId="2048:00000016" parentUid="00000000-0000-4000-8000-000000000022" id="2050:00000017" uid="00000000-0000-4000-8000-000000000023" isDefault="true">
<Expr></Expr>
</AggrRule>
<OverrideAggrRule name="o" parentName="&quot;BM&quot;.&quot;T&quot;.&quot;c3&quot;.&quot;h&quot;" parentId="2048:00000016" parentUid="00000000-0000-4000-8000-000000000022" id="2054:00000018" uid="00000000-0000-4000-8000-000000000024">
<Expr></Expr>
</OverrideAggrRule>
)xml"));
  // Empty groups have no line feed of their own.
  EXPECT_EQ(src.Text(decl, kGenFooter | kGenEmptyElements), LsrcDoc(R"xml(<LogicalTableSource name="s" parentName="&quot;BM&quot;.&quot;T&quot;" parentId="2035:00000002" parentUid="00000000-0000-4000-8000-000000000002" id="2037:00000014" uid="00000000-0000-4000-8000-000000000020">
<Description></Description>
<WhereClause>
<Expr></Expr>
</WhereClause>
<GroupBy>
<Expr></Expr>
</GroupBy>
<FragmentContent>
<Expr></Expr>
</FragmentContent>
<ClosureTable/>
</LogicalTableSource>
<MeasureDefn name="m" parentName="&quot;BM&quot;.&quot;T&quot;.&quot;c2&quot;" parentId="2006:00000004" parentUid="00000000-0000-4000-8000-000000000004" id="2048:00000015" uid="00000000-0000-4000-8000-000000000021" isCommutative="false">
<Description></Description>
<Rules/><OverrideRules/></MeasureDefn>
<MeasureDefn name="h" parentName="&quot;BM&quot;.&quot;T&quot;.&quot;c3&quot;" parentId="2006:00000005" parentUid="00000000-0000-4000-8000-000000000005" id="2048:00000016" uid="00000000-0000-4000-8000-000000000022" isCommutative="false">
<Description></Description>
<Rules>
<RefAggrRule id="2050:00000017" uid="00000000-0000-4000-8000-000000000023" qualifiedName="&quot;BM&quot;.&quot;T&quot;.&quot;c3&quot;.&quot;h&quot;.&quot;r&quot;"/>
</Rules>
<OverrideRules>
<RefOverrideAggrRule id="2054:00000018" uid="00000000-0000-4000-8000-000000000024" qualifiedName="&quot;BM&quot;.&quot;T&quot;.&quot;c3&quot;.&quot;h&quot;.&quot;o&quot;"/>
</OverrideRules>
</MeasureDefn>
<AggrRule name="r" parentName="&quot;BM&quot;.&quot;T&quot;.&quot;c3&quot;.&quot;h&quot;" parentId="2048:00000016" parentUid="00000000-0000-4000-8000-000000000022" id="2050:00000017" uid="00000000-0000-4000-8000-000000000023" isDefault="true">
<Description></Description>
<Expr></Expr>
<BasedOnDimension/>
</AggrRule>
<OverrideAggrRule name="o" parentName="&quot;BM&quot;.&quot;T&quot;.&quot;c3&quot;.&quot;h&quot;" parentId="2048:00000016" parentUid="00000000-0000-4000-8000-000000000022" id="2054:00000018" uid="00000000-0000-4000-8000-000000000024">
<Description></Description>
<RefLogicalTableSource/>
<Expr></Expr>
</OverrideAggrRule>
)xml"));
  for (int options : {int(kGenFooter), kGenFooter | kGenEmptyElements}) {
    LsrcStore dst;
    m.MirrorInto(dst);
    LsrcExpectRoundTrip(src, dst, decl, options);
    RefALogicalTableSource s2(dst.Here(s));
    ASSERT_TRUE(s2);
    EXPECT_FALSE(s2->GetActiveTableSource());
    EXPECT_EQ(s2->GetPriorityGroup(), 0);
    EXPECT_TRUE(s2->GetSourceDefinition() == ALogicalTableSource::SourceDefinition());
    EXPECT_FALSE(RefAMeasureDefn(dst.Here(plain))->IsCommutative());
  }
}

// The join graph's elements, and how its reader takes them.
TEST(LogicalSources, JoinGraph) {
  LsrcStore src;
  LsrcModel m(src);
  RefALogicalTableSource s(src.Make(kTIDALogicalTableSource, 20, "s", m.t));
  ALogicalTableSource::SourceDefinition def;
  GraphNode p(m.p.GetID()), q(m.q.GetID());
  p.AddLink(DirectedLink(m.fk.GetID(), m.q.GetID(), m.p.GetID(), QORLUtility::kInnerJoin,
                         QORLUtility::kUnknownCardinality, m.q.GetID()));
  EXPECT_FALSE(p.AddLink(p.m_adjacentLinks[0]));  // a set: the same link once
  def.m_joinSpec = {p, q};
  s->SetSourceDefinition(def);

  const std::string golden = LsrcDoc(R"xml(<LogicalTableSource name="s" parentName="&quot;BM&quot;.&quot;T&quot;" fullyQualifiedName="&quot;BM&quot;.&quot;T&quot;.&quot;s&quot;" parentId="2035:00000002" parentUid="00000000-0000-4000-8000-000000000002" id="2037:00000014" uid="00000000-0000-4000-8000-000000000020">
<Link dummyuid="00000000-0000-4000-8000-000000000008">
<StartNode>
<RefPhysicalTable id="3001:00000008" uid="00000000-0000-4000-8000-000000000008" qualifiedName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;P&quot;"/>
</StartNode>
<Joins>
<Join type="Inner" dummyuid="00000000-0000-4000-8000-000000000009:00000000-0000-4000-8000-000000000008">
<RefPhysicalTable id="3001:00000009" uid="00000000-0000-4000-8000-000000000009" qualifiedName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;Q&quot;"/>
<RefPhysicalTable id="3001:00000008" uid="00000000-0000-4000-8000-000000000008" qualifiedName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;P&quot;"/>
<RefPhysicalForeignKey id="3006:0000000c" uid="00000000-0000-4000-8000-000000000012" qualifiedName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;Q&quot;.&quot;fk&quot;"/>
<DrivingTable>
<RefPhysicalTable id="3001:00000009" uid="00000000-0000-4000-8000-000000000009" qualifiedName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;Q&quot;"/>
</DrivingTable>
</Join>
</Joins>
</Link>
<Link dummyuid="00000000-0000-4000-8000-000000000009">
<StartNode>
<RefPhysicalTable id="3001:00000009" uid="00000000-0000-4000-8000-000000000009" qualifiedName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;Q&quot;"/>
</StartNode>
</Link>
<WhereClause>
<Expr></Expr>
</WhereClause>
<GroupBy>
<Expr></Expr>
</GroupBy>
<FragmentContent>
<Expr></Expr>
</FragmentContent>
</LogicalTableSource>
)xml");
  EXPECT_EQ(src.Text({s}, kGenFooter | kGenDummyUID), golden);
  LsrcStore dst;
  m.MirrorInto(dst);
  LsrcLoadResult r = dst.Load(golden);
  ASSERT_TRUE(r.ok) << r.Text();
  EXPECT_EQ(LsrcWithoutIds(dst.TextOf({s}, kGenFooter | kGenDummyUID)), LsrcWithoutIds(golden));

  // A second Link of a start node is dropped with its joins; a join whose
  // join object is not there is passed over; the two tables of a join keep
  // their order whatever their types.
  auto ref = [](const char* tag, const char* qname) {
    return LsrcCat({"<", tag, " qualifiedName=\"", std::regex_replace(qname, std::regex("\""), "&quot;"), "\"/>\n"});
  };
  const char* kP = "\"db\".\"\".\"\".\"P\"";
  const char* kQ = "\"db\".\"\".\"\".\"Q\"";
  std::string link = LsrcCat({"<Link>\n<StartNode>\n", ref("RefPhysicalTable", kQ), "</StartNode>\n<Joins>\n",
                              "<Join type=\"RightOuter\" cardinality=\"MANY TO ONE\">\n", ref("RefPhysicalTable", kQ),
                              ref("RefPhysicalTable", kP), ref("RefComplexJoin", "\"cj\""), "</Join>\n",
                              "<Join type=\"Inner\">\n", ref("RefPhysicalTable", kQ), ref("RefPhysicalTable", kP),
                              "</Join>\n", "</Joins>\n</Link>\n"});
  std::string again = LsrcCat({"<Link>\n<StartNode>\n", ref("RefPhysicalTable", kQ), "</StartNode>\n<Joins>\n",
                               "<Join>\n", ref("RefPhysicalTable", kP), ref("RefPhysicalTable", kQ),
                               ref("RefPhysicalForeignKey", "\"db\".\"\".\"\".\"Q\".\"fk\""), "</Join>\n",
                               "</Joins>\n</Link>\n"});
  r = dst.Load(LsrcDoc("<LogicalTableSource name=\"s\" parentName=\"&quot;BM&quot;.&quot;T&quot;\">\n" + link + again +
                       "</LogicalTableSource>\n"));
  ASSERT_TRUE(r.ok) << r.Text();
  const JoinGraph& graph = RefALogicalTableSource(dst.Here(s))->GetSourceDefinition().m_joinSpec;
  ASSERT_EQ(graph.size(), 1u);
  EXPECT_EQ(graph[0].m_nodeID, dst.Here(m.q).GetID());
  ASSERT_EQ(graph[0].m_adjacentLinks.size(), 1u);
  const DirectedLink& l = graph[0].m_adjacentLinks[0];
  EXPECT_EQ(l.m_linkID, dst.Here(m.cj).GetID());
  EXPECT_EQ(l.m_inNode, dst.Here(m.q).GetID());
  EXPECT_EQ(l.m_outNode, dst.Here(m.p).GetID());
  EXPECT_EQ(l.m_joinType, QORLUtility::kRightOuterJoin);
  EXPECT_EQ(l.m_cardinality, QORLUtility::k_Many_To_One);
  EXPECT_TRUE(l.m_drivingNode.IsNullID());
}

const char* const kLsrcMappingSection = R"xml(<ColumnMapping>
<RefLogicalTableSource id="2037:00000014" uid="00000000-0000-4000-8000-000000000020" qualifiedName="&quot;BM&quot;.&quot;T&quot;.&quot;s&quot;"/>
<LogicalColumn>
<Expr><![CDATA["BM"."T"."c1"]]></Expr>
<ExprText><![CDATA["%1"]]></ExprText>
<Objects>
<RefObject id="2006:00000003" uid="00000000-0000-4000-8000-000000000003" qualifiedName="&quot;BM&quot;.&quot;T&quot;.&quot;c1&quot;"/>
</Objects>
</LogicalColumn>
<Expr><![CDATA["db"."".""."P"."pc" + 1]]></Expr>
<ExprText><![CDATA["%1" + 1]]></ExprText>
<Objects>
<RefObject id="3003:0000000a" uid="00000000-0000-4000-8000-000000000010" qualifiedName="&quot;db&quot;.&quot;&quot;.&quot;&quot;.&quot;P&quot;.&quot;pc&quot;"/>
</Objects>
</ColumnMapping>
<ColumnMapping>
<RefLogicalTableSource id="2037:00000014" uid="00000000-0000-4000-8000-000000000020" qualifiedName="&quot;BM&quot;.&quot;T&quot;.&quot;s&quot;"/>
<LogicalColumn>
<Expr><![CDATA["BM"."T"."c2"]]></Expr>
<ExprText><![CDATA["%1"]]></ExprText>
<Objects>
<RefObject id="2006:00000004" uid="00000000-0000-4000-8000-000000000004" qualifiedName="&quot;BM&quot;.&quot;T&quot;.&quot;c2&quot;"/>
</Objects>
</LogicalColumn>
<Expr><![CDATA['c2']]></Expr>
<ExprText><![CDATA['c2']]></ExprText>
</ColumnMapping>
)xml";

// The mappings written behind the objects, and how loads change them.
TEST(LogicalSources, ColumnMappings) {
  LsrcStore src;
  LsrcModel m(src);
  RefALogicalTableSource s(src.Make(kTIDALogicalTableSource, 20, "s", m.t));
  ALogicalTableSource::SourceDefinition def;
  def.m_logicalToPhysicalProjection = {
      {src.Parse(kLsrcC1, kSME_Logical), src.Parse(LsrcCat({kLsrcPc, " + 1"}).c_str(), kSME_Physical)},
      {src.Parse(kLsrcC2, kSME_Logical), src.Parse("'c2'", kSME_Physical)},
  };
  s->SetSourceDefinition(def);
  const int options = kGenFooter | kGenColMapping | kGenExprTextObjects;
  std::string text = src.Text({s}, options);
  ASSERT_NE(text.find("</LogicalTableSource>\n"), std::string::npos);
  EXPECT_EQ(text.substr(text.find("</LogicalTableSource>\n") + 22), std::string(kLsrcMappingSection) + "</DECLARE>\n</Repository>\n");
  // Not asked for, or under the no-expression mode, there is no section.
  EXPECT_EQ(src.Text({s}, kGenFooter | kGenExprTextObjects).find("<ColumnMapping>"), std::string::npos);
  ToPrettyStringVisitor::SetRipAndReplaceNoExprMode(true);
  std::string noExpr = src.Text({s}, options);
  ToPrettyStringVisitor::SetRipAndReplaceNoExprMode(false);
  EXPECT_EQ(noExpr.find("<ColumnMapping>"), std::string::npos);
  EXPECT_EQ(noExpr.find("<Expr>"), std::string::npos);

  LsrcStore dst;
  m.MirrorInto(dst);
  ASSERT_TRUE(dst.Load(text).ok);
  auto mappings = [&dst, &s]() {
    std::vector<std::string> out;
    for (const auto& [l, p] : RefALogicalTableSource(dst.Here(s))->GetSourceDefinition().m_logicalToPhysicalProjection)
      out.push_back(ToPrettyStringVisitor::GetFormatExpr(l, dst.rp.get()).ToUTF8() + " <- " +
                    ToPrettyStringVisitor::GetFormatExpr(p, dst.rp.get()).ToUTF8());
    return out;
  };
  const std::string c1 = kLsrcC1, c2 = kLsrcC2, c3 = "\"BM\".\"T\".\"c3\"", pc = kLsrcPc;
  EXPECT_EQ(mappings(), (std::vector<std::string>{c1 + " <- " + pc + " + 1", c2 + " <- 'c2'"}));

  // Mappings replace by logical expression: the later of two for c2 wins and
  // keeps the place of the first; c3 is new and goes last. The source is not
  // in the document, so its other mappings stay.
  auto mapping = [](const std::string& logical, const std::string& physical) {
    return LsrcCat({"<ColumnMapping>\n<RefLogicalTableSource qualifiedName=\"&quot;BM&quot;.&quot;T&quot;.&quot;s&quot;\"/>\n",
                    "<LogicalColumn>\n<Expr><![CDATA[", logical, "]]></Expr>\n</LogicalColumn>\n<Expr><![CDATA[",
                    physical, "]]></Expr>\n</ColumnMapping>\n"});
  };
  LsrcLoadResult r = dst.Load(LsrcDoc(mapping(c2, "'first'") + mapping(c3, "'new'") + mapping(c2, "'second'")));
  ASSERT_TRUE(r.ok) << r.Text();
  EXPECT_EQ(mappings(), (std::vector<std::string>{c1 + " <- " + pc + " + 1", c2 + " <- 'second'", c3 + " <- 'new'"}));

  // A physical expression that does not parse leaves the definition as it was.
  r = dst.Load(LsrcDoc(mapping(c1, "\"db\".\"nowhere\"")), true);
  EXPECT_TRUE(r.err.Contains(92009)) << r.Text();
  EXPECT_EQ(mappings().size(), 3u);
  EXPECT_EQ(mappings()[0], c1 + " <- " + pc + " + 1");

  // A whole document without the section loaded over the store: the source
  // ends with no mappings, since nothing refills them.
  r = dst.Load(src.Text({s}, kGenFooter));
  ASSERT_TRUE(r.ok) << r.Text();
  EXPECT_TRUE(mappings().empty());

  // A fine-grained load starts from the store's mappings and drops those
  // whose column is gone; the document's own mapping is added.
  RefALogicalTableSource here(dst.Here(s));
  ALogicalTableSource::SourceDefinition kept;
  kept.m_logicalToPhysicalProjection = {{dst.Parse(c3.c_str(), kSME_Logical), dst.Parse("'3'", kSME_Physical)},
                                        {dst.Parse(kLsrcC1, kSME_Logical), dst.Parse("'1'", kSME_Physical)}};
  here->SetSourceDefinition(kept);
  dst.rp->DeleteObject(dst.Here(m.c3).GetID());
  r = dst.Load(src.Text({s}, kGenFooter), false, true);
  ASSERT_TRUE(r.ok) << r.Text();
  EXPECT_EQ(mappings(), (std::vector<std::string>{c1 + " <- '1'"}));
  r = dst.Load(LsrcDoc(mapping(c2, "'2'")), false, true);
  ASSERT_TRUE(r.ok) << r.Text();
  EXPECT_EQ(mappings(), (std::vector<std::string>{c1 + " <- '1'", c2 + " <- '2'"}));
}

// A measure definition's lists are replaced by the document's, and of its
// rules without a dimension only the last stays, at the end.
TEST(LogicalSources, MeasureDefinitionWhoseRulesAreReplaced) {
  LsrcStore dst;
  LsrcModel m(dst);
  RefALogicalTableSource s(dst.Make(kTIDALogicalTableSource, 20, "s", m.t));
  RefAMeasureDefn measure(dst.Make(kTIDAMeasureDefn, 21, "m", m.c2));
  RefAAggrRule onDim(dst.Make(kTIDAAggrRule, 22, "rA"));
  onDim->SetMeasureDefn(measure);
  onDim->SetDimension(m.dim);
  RefAAggrRule old(dst.Make(kTIDAAggrRule, 23, "rB"));
  old->SetMeasureDefn(measure);
  RefAOverrideAggrRule over(dst.Make(kTIDAOverrideAggrRule, 24, "oA"));
  over->SetMeasureDefn(measure);
  over->SetLogicalTableSource(s);

  const std::string parent = "parentName=\"&quot;BM&quot;.&quot;T&quot;.&quot;c2&quot;.&quot;m&quot;\"";
  auto refRule = [](const char* name) {
    return LsrcCat({"<RefAggrRule qualifiedName=\"&quot;BM&quot;.&quot;T&quot;.&quot;c2&quot;.&quot;m&quot;.&quot;", name,
                    "&quot;\"/>\n"});
  };
  // rC and rD have no dimension ("isDefault" is not read); rA keeps its own.
  std::string doc = LsrcDoc(LsrcCat(
      {"<MeasureDefn name=\"m\" parentName=\"&quot;BM&quot;.&quot;T&quot;.&quot;c2&quot;\" isCommutative=\"true\">\n<Rules>\n",
       refRule("rC"), refRule("rA"), refRule("rD"), "</Rules>\n<OverrideRules/></MeasureDefn>\n",
       "<AggrRule name=\"rC\" ", parent, ">\n<Expr><![CDATA[SUM(", kLsrcC2, ")]]></Expr>\n</AggrRule>\n",
       "<AggrRule name=\"rD\" ", parent, " isDefault=\"false\">\n<Expr><![CDATA[MIN(", kLsrcC2,
       ")]]></Expr>\n</AggrRule>\n", "<AggrRule name=\"rA\" ", parent,
       " isDefault=\"true\">\n<Expr><![CDATA[AVG(", kLsrcC2,
       ")]]></Expr>\n<BasedOnDimension>\n<RefDimension qualifiedName=\"&quot;BM&quot;.&quot;D&quot;\"/>\n"
       "</BasedOnDimension>\n</AggrRule>\n"}));
  LsrcLoadResult r = dst.Load(doc);
  ASSERT_TRUE(r.ok) << r.Text();
  EXPECT_TRUE(measure->IsCommutative());
  std::vector<VXString> names;
  for (const RefAAggrRule& rule : measure->GetAggrRules().Members()) names.push_back(rule->GetName());
  EXPECT_EQ(names, (std::vector<VXString>{"rA", "rD"}));
  EXPECT_TRUE(dst.rp->FindByQualifiedName(kTIDAAggrRule, {"BM", "T", "c2", "m", "rC"}).IsNullRef());
  EXPECT_EQ(onDim->GetDimension().GetID(), m.dim.GetID());
  EXPECT_EQ(ToPrettyStringVisitor::GetFormatExpr(onDim->GetAggrExpr(), dst.rp.get()),
            LsrcCat({"AVG(", kLsrcC2, ")"}));
  EXPECT_EQ(measure->GetOverrideAggrRules().Size(), 0u);
  // The document names no rB: it is no longer one of the measure's rules.
  EXPECT_FALSE(measure->GetAggrRules().Contains(old));

  // A rule without a measure that can be reached has no element, unless
  // empty elements are asked for.
  RefAAggrRule orphan(dst.Make(kTIDAAggrRule, 30, "orphan"));
  EXPECT_EQ(dst.Text({orphan}), LsrcDoc(""));
  EXPECT_EQ(dst.Text({orphan}, kGenFooter | kGenEmptyElements), LsrcDoc(R"xml(<AggrRule name="orphan" id="2050:0000001e" uid="00000000-0000-4000-8000-000000000030" isDefault="true">
<Description></Description>
<Expr></Expr>
<BasedOnDimension/>
</AggrRule>
)xml"));
}

// A fine-grained document keeps the first element of an identity: a column's
// definition by its parent, a rule by the first object of its expression and
// its name, whatever their uids.
TEST(LogicalSources, FineGrainedDocumentKeepsOneElementPerIdentity) {
  LsrcStore dst;
  LsrcModel m(dst);
  RefAMeasureDefn measure(dst.Make(kTIDAMeasureDefn, 21, "m", m.c2));
  const std::string column = "parentName=\"&quot;BM&quot;.&quot;T&quot;.&quot;c2&quot;\" parentUid=\"" +
                             TKSGUIDGenerator::ByteVectorToGUIDString(m.c2->UpgradeID()).ToUTF8() + "\"";
  // The expression lists one object, the one its identity goes by.
  auto rule = [](const char* tag, int uid, const std::string& expr, const char* object, int objectUid) {
    return LsrcCat({"<", tag, " name=\"r\" uid=\"", TKSGUIDGenerator::ByteVectorToGUIDString(LsrcUid(uid)).ToUTF8(),
                    "\" parentName=\"&quot;BM&quot;.&quot;T&quot;.&quot;c2&quot;.&quot;m&quot;\">\n<Expr><![CDATA[", expr,
                    "]]></Expr>\n<Objects>\n<RefObject qualifiedName=\"",
                    std::regex_replace(object, std::regex("\""), "&quot;"), "\" uid=\"",
                    TKSGUIDGenerator::ByteVectorToGUIDString(LsrcUid(objectUid)).ToUTF8(), "\"/>\n</Objects>\n</", tag,
                    ">\n"});
  };
  const std::string c2 = kLsrcC2, pc = kLsrcPc;
  std::string doc = LsrcDoc(LsrcCat({"<MeasureDefn name=\"m\" ", column, " isCommutative=\"true\">\n</MeasureDefn>\n",
                                     "<MeasureDefn name=\"m\" ", column, " isCommutative=\"false\">\n</MeasureDefn>\n",
                                     rule("AggrRule", 31, "SUM(" + c2 + ")", kLsrcC2, 4),
                                     rule("AggrRule", 32, "MAX(" + c2 + ")", kLsrcC2, 4),
                                     rule("OverrideAggrRule", 33, "MIN(" + pc + ")", kLsrcPc, 10),
                                     rule("OverrideAggrRule", 34, "AVG(" + pc + ")", kLsrcPc, 10)}));
  LsrcLoadResult r = dst.Load(doc, false, true);
  ASSERT_TRUE(r.ok) << r.Text();
  EXPECT_TRUE(measure->IsCommutative());
  ASSERT_EQ(measure->GetAggrRules().Size(), 1u);
  ASSERT_EQ(measure->GetOverrideAggrRules().Size(), 1u);
  RefAAggrRule kept = measure->GetAggrRules().Members().front();
  EXPECT_EQ(kept->UpgradeID(), LsrcUid(31));
  EXPECT_EQ(ToPrettyStringVisitor::GetFormatExpr(kept->GetAggrExpr(), dst.rp.get()), LsrcCat({"SUM(", kLsrcC2, ")"}));
  RefAOverrideAggrRule over = measure->GetOverrideAggrRules().Members().front();
  EXPECT_EQ(ToPrettyStringVisitor::GetFormatExpr(over->GetOverrideAggrExpr(), dst.rp.get()), "MIN(" + pc + ")");
}

TEST(LogicalSources, MalformedValues) {
  auto loadOne = [](const std::string& declare, bool ignoreErrors = false) {
    auto store = std::make_unique<LsrcStore>();
    LsrcModel m(*store);
    store->Make(kTIDALogicalTableSource, 20, "s", m.t);
    LsrcLoadResult r = store->Load(LsrcDoc(declare), ignoreErrors);
    return std::pair(std::move(store), std::move(r));
  };
  const std::string source = "<LogicalTableSource name=\"s\" parentName=\"&quot;BM&quot;.&quot;T&quot;\"";
  // An expression that does not parse names the line of its Expr (line 4: the element follows the frame).
  {
    auto [store, r] = loadOne(source + ">\n<WhereClause>\n<Expr><![CDATA[\"db\".\"nope\" = 1]]></Expr>\n"
                                       "</WhereClause>\n</LogicalTableSource>\n");
    EXPECT_TRUE(r.err.Contains(92009)) << r.Text();
    EXPECT_NE(r.Text().find("Line 6"), std::string::npos) << r.Text();
  }
  // A reference without a qualified name names its line.
  {
    auto [store, r] = loadOne(source + ">\n<ClosureTable>\n<RefPhysicalTable id=\"3001:00000008\"/>\n"
                                       "</ClosureTable>\n</LogicalTableSource>\n");
    EXPECT_TRUE(r.err.Contains(92007)) << r.Text();
    EXPECT_NE(r.Text().find("Line 6"), std::string::npos) << r.Text();
  }
  // A mapping of a source that is not there; a source of a table that is not there.
  {
    auto [store, r] = loadOne(
        "<ColumnMapping>\n<RefLogicalTableSource qualifiedName=\"&quot;BM&quot;.&quot;T&quot;.&quot;none&quot;\"/>\n"
        "<LogicalColumn>\n<Expr><![CDATA[\"BM\".\"T\".\"c1\"]]></Expr>\n</LogicalColumn>\n<Expr><![CDATA[1]]></Expr>\n"
        "</ColumnMapping>\n");
    EXPECT_TRUE(r.err.Contains(92006)) << r.Text();
    auto [store2, r2] = loadOne("<LogicalTableSource name=\"s\" parentName=\"&quot;BM&quot;.&quot;X&quot;\">\n"
                                "</LogicalTableSource>\n");
    EXPECT_TRUE(r2.err.Contains(92006)) << r2.Text();
  }
  // Texts that are no numbers or flags read as absent; so does a number beyond 32 bits
  // (after an error, for the numbers).
  for (const char* priority : {"high", "4294967296"}) {
    auto [store, r] = loadOne(source + " priorityGroup=\"" + priority + "\" isActive=\"maybe\" isDistinct=\"yes\">\n"
                                       "</LogicalTableSource>\n",
                              true);  // the bad number is an error, ignored here
    ASSERT_TRUE(r.ok) << r.Text();
    RefALogicalTableSource s(store->rp->FindByQualifiedName(kTIDALogicalTableSource, {"BM", "T", "s"}));
    EXPECT_EQ(s->GetPriorityGroup(), 0);
    EXPECT_FALSE(s->GetActiveTableSource());
    EXPECT_FALSE(s->GetSourceDefinition().m_bDistinct);
  }
  // A rule whose measure cannot be reached stays unattached when errors are only logged.
  {
    ServerLogCapture log;
    auto [store, r] = loadOne(
        "<AggrRule name=\"r\" parentName=\"&quot;BM&quot;.&quot;T&quot;.&quot;c1&quot;.&quot;none&quot;\">\n"
        "</AggrRule>\n",
        true);
    EXPECT_TRUE(log.Contains(ServerLog::kError, VXString("\"BM\".\"T\".\"c1\".\"none\""))) << r.Text();
    VoidIDVector ids;
    store->rp->FindByName(kTIDAAggrRule, "r", ids);
    ASSERT_EQ(ids.size(), 1u);
    RefAAggrRule rule(store->rp->GetObject(ids[0]));
    EXPECT_TRUE(rule->GetMeasureDefn().IsNullRef());
  }
  // A rule of the store keeps its measure when the one the document names cannot be reached.
  {
    auto store = std::make_unique<LsrcStore>();
    LsrcModel m(*store);
    RefAMeasureDefn measure(store->Make(kTIDAMeasureDefn, 21, "m", m.c2));
    RefAAggrRule rule(store->Make(kTIDAAggrRule, 22, "r"));
    rule->SetMeasureDefn(measure);
    LsrcLoadResult r = store->Load(
        LsrcDoc("<AggrRule name=\"r\" uid=\"" + TKSGUIDGenerator::ByteVectorToGUIDString(LsrcUid(22)).ToUTF8() +
                "\" parentName=\"&quot;BM&quot;.&quot;T&quot;.&quot;c1&quot;.&quot;none&quot;\">\n</AggrRule>\n"),
        true);
    EXPECT_EQ(rule->GetMeasureDefn().GetID(), measure.GetID()) << r.Text();
    EXPECT_TRUE(measure->GetAggrRules().Contains(rule));
  }
}
}  // namespace
}  // namespace qorl
