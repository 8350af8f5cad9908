// What the element families' tests share: a repository holding only what a
// test makes (fixed ids and uids), documents around a DECLARE section, loads
// of text, and the round trip write -> load into another store -> write.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <regex>
#include <string>

#include "elements/description.h"
#include "gen/generator.h"
#include "load/parser.h"
#include "model/attr_table.h"
#include "platform/error.h"
#include "platform/guid.h"
#include "store/expr_store.h"
#include "store/metadata_util.h"

namespace qorl::test {

inline const std::string kDocHead =
    "<?xml version='1.0' encoding='UTF-8'?>\n"
    "<Repository xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">\n";

// 00000000-0000-4000-8000-00000000000n
inline VXUpgradeID Uid(int n) {
  char buf[40];
  std::snprintf(buf, sizeof buf, "00000000-0000-4000-8000-%012d", n);
  VXUpgradeID u;
  TKSGUIDGenerator::VXStringToGUIDByteVector(u, buf);
  return u;
}

inline std::string DeclareDoc(const std::string& declare) {
  return kDocHead + "<DECLARE>\n" + declare + "</DECLARE>\n</Repository>\n";
}

// Store ids differ between repositories; nothing else may.
inline std::string WithoutIds(const std::string& doc) {
  return std::regex_replace(doc, std::regex(" (parentId|id)=\"[^\"]*\""), "");
}

struct LoadResult {
  bool ok = false;
  ErrorMessage err;
  VoidIDVector created, modified, deleted;
  std::string Text() const {
    VXString t;
    err.RetrieveErrorMessages(t);
    return t.ToUTF8();
  }
};

class RepoFixture {
 public:
  RepoFixture() : rp(ARpGateway::CreateInMemory()) {
    RpObjectVector builtIn;
    rp->ForEachObject([&](ARpObject* o) { builtIn.emplace_back(o); });
    for (const auto& o : builtIn) rp->DeleteObject(o.GetID());
  }
  virtual ~RepoFixture() = default;

  RefARpObject Make(TypeID type, uint32_t num, const char* name, const RefARpObject& parent = {}) {
    RefARpObject o = rp->CreateObject(type, VoidID(type, UniqueNum(num)));
    o->SetName(name);
    o->SetUpgradeID(Uid(static_cast<int>(num)));
    Link(o, parent);
    return o;
  }
  // The same object (type, name, uid, parent by uid) in this store.
  RefARpObject Mirror(const RefARpObject& o) {
    RefARpObject m = rp->CreateObject(o->GetTypeID());
    m->SetName(o->GetName());
    m->SetUpgradeID(o->UpgradeID());
    RefARpObject parent = o->GetParent();
    if (!parent.IsNullRef()) MetadataUtil::SetParent(m, rp->FindByUpgradeID(parent->UpgradeID()));
    return m;
  }
  // Another store's object, found here by uid.
  RefARpObject Here(const RefARpObject& other) { return rp->FindByUpgradeID(other->UpgradeID()); }
  virtual std::string Text(const RpObjectVector& decl, int options = kGenFooter) {
    VXString out, err;
    EXPECT_TRUE(QORLGenerator::GenerateQORLTextForObjectVector(rp.get(), decl, {}, err, out, options)) << err.ToUTF8();
    return out.ToUTF8();
  }
  // The objects of another store's list, found here by uid.
  std::string TextOf(const RpObjectVector& others, int options = kGenFooter) {
    RpObjectVector mine;
    for (const RefARpObject& o : others) mine.push_back(Here(o));
    return Text(mine, options);
  }
  LoadResult Load(const std::string& text, bool ignoreErrors = false, bool fineGrained = false) {
    LoadResult r;
    VXString warnings;
    r.ok = QORLParser::ExecuteTransactionalXML(rp.get(), {VXString(text)}, {}, r.err, warnings, r.created, r.modified,
                                               r.deleted, QORLParser::QORLText, true, true, ignoreErrors, false,
                                               fineGrained, false, false);
    return r;
  }
  template <class T>
  Ref<T> Find(TypeID type, const QualifiedName& q) {
    return Ref<T>(rp->FindByQualifiedName(type, q));
  }
  template <class T>
  Ref<T> Same(const RefARpObject& other) {
    return Ref<T>(Here(other));
  }
  Expr Parse(const char* text, ExprType type) {
    Expr e;
    VXString err;
    EXPECT_TRUE(SMEPParse::QORLCreateExprTree(VXString(text), e, err, rp.get(), type, nullptr)) << err.ToUTF8();
    return e;
  }

  std::unique_ptr<ARpGateway> rp;

 protected:
  // How an object stands under its parent; families whose store keeps more
  // than the parent link (a table's column list, say) say so here.
  virtual void Link(const RefARpObject& o, const RefARpObject& parent) {
    if (!parent.IsNullRef()) MetadataUtil::SetParent(o, parent);
  }
};

// Writes `decl` from `src`, loads the text into `dst`, writes the same objects
// again: the two texts must agree but for store ids. On a difference both texts
// are left in /tmp/qorl_<tag>_first.xml and _second.xml.
inline void ExpectRoundTrip(RepoFixture& src, RepoFixture& dst, const RpObjectVector& decl, int options,
                            const std::string& tag) {
  std::string first = src.Text(decl, options);
  LoadResult r = dst.Load(first);
  ASSERT_TRUE(r.ok) << r.Text();
  std::string second = dst.TextOf(decl, options);
  if (WithoutIds(first) != WithoutIds(second)) {
    std::string a = "/tmp/qorl_" + tag + "_first.xml", b = "/tmp/qorl_" + tag + "_second.xml";
    std::ofstream(a) << first;
    std::ofstream(b) << second;
    ADD_FAILURE() << "documents differ: diff " << a << " " << b;
  }
}

// Every attribute the description of an element lists appears in the text.
inline void ExpectAllAttrsWritten(TypeID type, const std::string& text) {
  const elements::Description* d = elements::FindDescription(type);
  ASSERT_NE(d, nullptr) << "no description for type " << type;
  for (const elements::Attr& a : d->attrs) {
    std::string name = VXString(a.name).ToUTF8();
    EXPECT_NE(text.find(" " + name + "=\""), std::string::npos) << name;
  }
}

}  // namespace qorl::test
