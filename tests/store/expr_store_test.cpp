#include <gtest/gtest.h>

#include "store/expr_store.h"
#include "store/metadata_util.h"

namespace qorl {
namespace {

TEST(ExprStore, ParsesNamesFromTheStoreAndTheDocumentsMapFirst) {
  auto rp = ARpGateway::CreateInMemory();
  RefARpObject db = rp->CreateObject(kTIDADatabase);
  db->SetName("db");
  RefARpObject t = rp->CreateObject(kTIDATable);
  t->SetName("T");
  MetadataUtil::SetParent(t, db);
  RefARpObject c = rp->CreateObject(kTIDAColumn);
  c->SetName("C");
  MetadataUtil::SetParent(c, t);
  RefARpObject other = rp->CreateObject(kTIDAColumn);
  other->SetName("other");

  const VXString text = "\"db\".\"\".\"\".\"T\".\"C\" + 1 = \"db\".\"\".\"\".\"T\".\"C\"";
  Expr e;
  VXString err;
  ASSERT_TRUE(SMEPParse::QORLCreateExprTree(text, e, err, rp.get(), kSME_Physical, nullptr)) << err.ToUTF8();
  EXPECT_EQ(ToPrettyStringVisitor::GetFormatExpr(e, rp.get()), text);
  VXString byId = ToPrettyStringVisitor::GetFormatExpr(e, rp.get(), true, true, false, true, false);
  EXPECT_EQ(byId, VXString("\"") + c.GetID().ToString() + "\" + 1 = \"" + c.GetID().ToString() + "\"");
  RpObjectVector objs;
  e.GetObjectsInExpr(rp.get(), objs, true);
  EXPECT_EQ(objs, RpObjectVector{c});

  // A name the document declares wins over the store and fills its gaps.
  TypeIDQNameVoidIDMap names;
  names[TypeIDQName{kTIDAColumn, {"db", "", "", "T", "C"}}] = other.GetID();
  names[TypeIDQName{kTIDAColumn, {"db", "", "", "T", "New"}}] = other.GetID();
  Expr e2;
  ASSERT_TRUE(SMEPParse::QORLCreateExprTree("\"db\".\"\".\"\".\"T\".\"C\" || \"db\".\"\".\"\".\"T\".\"New\"", e2, err, rp.get(), kSME_Physical, &names));
  objs.clear();
  e2.GetObjectsInExpr(rp.get(), objs, false);
  EXPECT_EQ(objs, (RpObjectVector{other, other}));

  EXPECT_FALSE(SMEPParse::QORLCreateExprTree("\"db\".\"\".\"\".\"T\".\"Missing\"", e2, err, rp.get(), kSME_Physical, nullptr));
  EXPECT_NE(err.find("Missing"), VXString::npos);

  // After the object goes, printing keeps the mention as an id instead of dropping it.
  rp->DeleteObject(c.GetID());
  EXPECT_NE(ToPrettyStringVisitor::GetFormatExpr(e, rp.get()).find(c.GetID().ToString()), VXString::npos);
}

}  // namespace
}  // namespace qorl
