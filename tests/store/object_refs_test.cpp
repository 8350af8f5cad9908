// The link helpers every store family shares (store/object_refs.h), through
// the accessors that use them.
#include <gtest/gtest.h>

#include "store/gateway.h"
#include "store/metadata_util.h"
#include "store/object_refs.h"

namespace qorl {
namespace {

std::vector<VoidID> Ids(const BinaryRelIterBase& rel) { return rel.IDs(); }

TEST(ObjectRefs, StoredLinksReadBackOnlyAsTheirClassAndInAStore) {
  auto rp = ARpGateway::CreateInMemory();
  RefARpObject table = rp->CreateObject(kTIDATable);

  EXPECT_EQ(RefOf<ATable>(rp.get(), table.GetID()), table);
  EXPECT_TRUE(RefOf<AColumn>(rp.get(), table.GetID()).IsNullRef());  // another class
  EXPECT_TRUE(RefOf<ATable>(rp.get(), VoidID::NullID).IsNullRef());
  EXPECT_TRUE(RefOf<ATable>(nullptr, table.GetID()).IsNullRef());  // no store to look in

  // An object not in a store answers its links as null rather than failing.
  ATable loose;
  loose.SetSourceTable(table);
  EXPECT_TRUE(loose.GetSourceTable().IsNullRef());
  EXPECT_EQ(IdOf(RefARpObject()), VoidID::NullID);
}

TEST(ObjectRefs, ParentsChangeOnlyForObjectsInAStore) {
  auto rp = ARpGateway::CreateInMemory();
  RefARpObject db = rp->CreateObject(kTIDADatabase);
  RefATable a(rp->CreateObject(kTIDATable));

  a->SetContainer(db);
  EXPECT_EQ(a->GetParentID(), db.GetID());
  a->SetContainer(RefARpObject());
  EXPECT_TRUE(a->GetParentID().IsNullID());

  // No store: nothing to do, and no crash.
  ACatalog loose;
  loose.SetDatabase(RefADatabase(db));
  MetadataUtil::SetParent(RefARpObject(&loose), db);
  EXPECT_TRUE(loose.GetParentID().IsNullID());
}

TEST(ObjectRefs, MovingAnObjectKeepsTheParentsListsInStep) {
  auto rp = ARpGateway::CreateInMemory();
  RefATable a(rp->CreateObject(kTIDATable));
  RefATable b(rp->CreateObject(kTIDATable));
  RefAColumn x(rp->CreateObject(kTIDAColumn));
  RefAColumn y(rp->CreateObject(kTIDAColumn));

  x->SetTable(a);
  y->SetTable(a);
  x->SetTable(a);  // again: stays where it is
  EXPECT_EQ(Ids(a->GetColumns()), (VoidIDVector{x.GetID(), y.GetID()}));

  x->SetTable(b);
  EXPECT_EQ(Ids(a->GetColumns()), VoidIDVector{y.GetID()});
  EXPECT_EQ(Ids(b->GetColumns()), VoidIDVector{x.GetID()});
  EXPECT_EQ(x->GetTable(), b);

  y->SetTable(RefARpObject());
  EXPECT_TRUE(Ids(a->GetColumns()).empty());
  EXPECT_TRUE(y->GetParentID().IsNullID());
}

TEST(ObjectRefs, OnlyLogicalTablesListTheKeysUnderThem) {
  auto rp = ARpGateway::CreateInMemory();
  RefALogicalTable table(rp->CreateObject(kTIDALogicalTable));
  RefARpObject level = rp->CreateObject(kTIDALevel);
  RefAKey key(rp->CreateObject(kTIDAKey));
  auto keysOf = [&](const RefARpObject& owner) {
    return BinaryRelIterBase(rp.get(), owner.GetID(), kRelLogicalTableKeys).IDs();
  };

  key->SetContainerEntity(table);
  EXPECT_EQ(keysOf(table), VoidIDVector{key.GetID()});
  key->SetContainerEntity(level);
  EXPECT_EQ(key->GetContainerEntity(), level);
  EXPECT_TRUE(keysOf(table).empty());
  EXPECT_TRUE(keysOf(level).empty());
  key->SetContainerEntity(table);
  EXPECT_EQ(keysOf(table), VoidIDVector{key.GetID()});
}

TEST(ObjectRefs, RulesMoveBetweenMeasuresWithTheirLists) {
  auto rp = ARpGateway::CreateInMemory();
  RefAMeasureDefn m1(rp->CreateObject(kTIDAMeasureDefn));
  RefAMeasureDefn m2(rp->CreateObject(kTIDAMeasureDefn));
  RefAAggrRule rule(rp->CreateObject(kTIDAAggrRule));

  rule->SetMeasureDefn(m1);
  rule->SetMeasureDefn(m2);
  EXPECT_TRUE(Ids(m1->GetAggrRules()).empty());
  EXPECT_EQ(Ids(m2->GetAggrRules()), VoidIDVector{rule.GetID()});
  EXPECT_TRUE(Ids(m2->GetOverrideAggrRules()).empty());
  EXPECT_EQ(rule->GetMeasureDefn(), m2);
}

}  // namespace
}  // namespace qorl
