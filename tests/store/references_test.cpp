#include <gtest/gtest.h>

#include <set>
#include <string>
#include <variant>

#include "store/classes.h"
#include "store/gateway.h"
#include "store/metadata_util.h"
#include "store/references.h"

namespace qorl {
namespace {

// Structured members that hold texts, numbers and flags only.
const std::set<std::string> kWithoutIds = {"afterQueryStrings", "beforeQueryStrings", "postConnectStrings",
                                           "preDisconnectStrings", "configParams", "lastUpdated",
                                           "properties", "typeInfo"};

TEST(References, EveryMemberThatMayNameAnObjectIsWalked) {
  for (const AMetaClass* cls : AMetaClass::All()) {
    if (cls == ARpObject::GetClassMetaClass()) continue;
    for (const PropDesc& p : cls->OwnProperties()) {
      bool walked = WalksMember(cls, p);
      switch (p.kind) {
        case PropKind::ID:
        case PropKind::IDs:
        case PropKind::Expr: EXPECT_TRUE(walked) << cls->Name() << "." << p.name; break;
        case PropKind::Custom:
          EXPECT_NE(walked, kWithoutIds.count(p.name) != 0) << cls->Name() << "." << p.name << ": walk it, or list it here";
          break;
        default: EXPECT_FALSE(walked) << cls->Name() << "." << p.name;
      }
    }
  }
}

Expr Of(std::initializer_list<std::variant<const char*, RefARpObject>> parts) {
  Expr e;
  for (const auto& p : parts) {
    if (const char* const* text = std::get_if<const char*>(&p)) e.AppendText(*text);
    else e.AppendObject(std::get<RefARpObject>(p).GetID());
  }
  return e;
}

// Two tables joined by a complex join; a logical table whose columns are
// defined on them, one derived from another; a source that maps and joins them.
struct Model {
  Model() : rp(ARpGateway::CreateInMemory()) {
    db = Make(kTIDADatabase, "db");
    t1 = RefATable(Make(kTIDATable, "T1", db));
    a = Make(kTIDAColumn, "a", t1);
    b = Make(kTIDAColumn, "b", t1);
    t2 = RefATable(Make(kTIDATable, "T2", db));
    c = Make(kTIDAColumn, "c", t2);
    join = RefAComplexJoin(Make(kTIDAComplexJoin, "J"));
    join->GetTables().Insert(t1);
    join->GetTables().Insert(t2);
    join->SetJoinExpr(Of({a, " = ", c}));

    RefARpObject bm = Make(kTIDASubjectArea, "bm");
    RefARpObject lt = Make(kTIDALogicalTable, "lt", bm);
    l1 = RefAAttribute(Make(kTIDAAttribute, "L1", lt));
    l1->SetAttributeDefnExpr(Of({a}));
    l2 = RefAAttribute(Make(kTIDAAttribute, "L2", lt));
    l2->SetExpr(Of({l1, " * 2"}));
    l3 = RefAAttribute(Make(kTIDAAttribute, "L3", lt));
    l3->SetAttributeDefnExpr(Of({c}));

    source = RefALogicalTableSource(Make(kTIDALogicalTableSource, "S", lt));
    ALogicalTableSource::SourceDefinition d;
    d.m_logicalToPhysicalProjection = {{Of({l1}), Of({a})}, {Of({l3}), Of({c})}};
    GraphNode n1(t1.GetID());
    n1.AddLink(DirectedLink(join.GetID(), t1.GetID(), t2.GetID(), {}, {}, t2.GetID()));
    d.m_joinSpec = {n1, GraphNode(t2.GetID())};
    d.m_physicalDetailFilter = Of({b, " > 0"});
    source->SetSourceDefinition(d);
    source->SetClosureTable(t1);
  }
  RefARpObject Make(TypeID type, const char* name, const RefARpObject& parent = {}) {
    RefARpObject o = rp->CreateObject(type);
    o->SetName(name);
    if (!parent.IsNullRef()) MetadataUtil::SetParent(o, parent);
    return o;
  }
  static std::vector<VoidID> Objects(const std::vector<DeleteEffects::Entry>& entries) {
    std::vector<VoidID> out;
    for (const DeleteEffects::Entry& e : entries) out.push_back(e.object);
    return out;
  }
  const ALogicalTableSource::SourceDefinition& Definition() const { return source->GetSourceDefinition(); }

  std::unique_ptr<ARpGateway> rp;
  RefARpObject db, a, b, c;
  RefATable t1, t2;
  RefAComplexJoin join;
  RefAAttribute l1, l2, l3;
  RefALogicalTableSource source;
};

TEST(References, ATableTakesWhatCannotStandWithoutItAndTheRestDropsIt) {
  Model m;
  DeleteEffects fx;
  m.rp->DeleteObjects({m.t1.GetID()}, &fx);
  for (const RefARpObject& gone : {RefARpObject(m.t1), m.a, m.b, RefARpObject(m.join), RefARpObject(m.l1)})
    EXPECT_TRUE(gone.IsNullRef()) << gone.GetID().ToString().ToUTF8();

  // The column defined on the table goes, the join too (it loses a table);
  // each is told with an object it named, in id order.
  ASSERT_EQ(Model::Objects(fx.taken), (std::vector<VoidID>{m.l1.GetID(), m.join.GetID()}));
  EXPECT_EQ(fx.taken[0].name, (QualifiedName{"bm", "lt", "L1"}));
  EXPECT_EQ(fx.taken[0].named, m.a.GetID());
  EXPECT_EQ(fx.taken[0].namedName.back(), "a");
  EXPECT_EQ(fx.taken[1].named, m.t1.GetID());

  // A column derived from a column that went is emptied, found by a second
  // walk; the source keeps what does not name the table.
  ASSERT_EQ(Model::Objects(fx.dropped), (std::vector<VoidID>{m.l2.GetID(), m.source.GetID()}));
  EXPECT_EQ(fx.dropped[0].named, m.l1.GetID());
  EXPECT_TRUE(m.l2->GetExpr().IsEmpty());
  const auto& d = m.Definition();
  ASSERT_EQ(d.m_logicalToPhysicalProjection.size(), 1u);
  EXPECT_EQ(d.m_logicalToPhysicalProjection[0].first, Of({m.l3}));
  ASSERT_EQ(d.m_joinSpec.size(), 1u);
  EXPECT_EQ(d.m_joinSpec[0].m_nodeID, m.t2.GetID());
  EXPECT_TRUE(d.m_physicalDetailFilter.IsEmpty());
  EXPECT_TRUE(m.source->GetClosureTable().IsNullRef());
  EXPECT_EQ(m.l3->GetAttributeDefnExpr(), Of({m.c}));
}

TEST(References, AJoinObjectTakesItsLinksAndADrivingTableIsForgotten) {
  Model m;
  m.rp->DeleteObject(m.join.GetID());
  EXPECT_TRUE(m.join.IsNullRef());
  const auto& d = m.Definition();
  ASSERT_EQ(d.m_joinSpec.size(), 2u);
  EXPECT_TRUE(d.m_joinSpec[0].m_adjacentLinks.empty());

  // T1 joined to itself by a foreign key, driven by T2.
  Model n;
  RefARpObject fk = n.Make(kTIDAForeignKey, "fk", n.t1);
  ALogicalTableSource::SourceDefinition def = n.Definition();
  def.m_joinSpec[0].m_adjacentLinks[0] = DirectedLink(fk.GetID(), n.t1.GetID(), n.t1.GetID(), {}, {}, n.t2.GetID());
  n.source->SetSourceDefinition(def);
  DeleteEffects fx;
  n.rp->DeleteObjects({n.t2.GetID()}, &fx);
  ASSERT_EQ(n.Definition().m_joinSpec.size(), 1u);
  ASSERT_EQ(n.Definition().m_joinSpec[0].m_adjacentLinks.size(), 1u);
  EXPECT_TRUE(n.Definition().m_joinSpec[0].m_adjacentLinks[0].m_drivingNode.IsNullID());
  // The column defined on T2 and the join of both tables go; L1 stays.
  EXPECT_EQ(Model::Objects(fx.taken), (std::vector<VoidID>{n.l3.GetID(), n.join.GetID()}));
  EXPECT_FALSE(n.l1.IsNullRef());
}

}  // namespace
}  // namespace qorl
