#include "store/expr_store.h"

#include <atomic>

#include "store/metadata_util.h"

namespace qorl {

namespace {

class GatewayLookup : public ExprLookup {
 public:
  GatewayLookup(ARpGateway* rp, const TypeIDQNameVoidIDMap* names) : m_rp(rp), m_names(names) {}
  bool Exists(const VoidID& id) const override { return m_rp->Lookup(id) != nullptr; }
  bool Find(TypeID type, const QualifiedName& qname, VoidID& out) const override {
    if (m_names) {
      auto it = m_names->find(TypeIDQName{type, qname});
      if (it != m_names->end()) { out = it->second; return true; }
    }
    RefARpObject o = m_rp->FindByQualifiedName(type, qname);
    if (o.IsNullRef()) return false;
    out = o.GetID();
    return true;
  }

 private:
  ARpGateway* m_rp;
  const TypeIDQNameVoidIDMap* m_names;
};

class GatewayNamer : public ExprNamer {
 public:
  explicit GatewayNamer(ARpGateway* rp) : m_rp(rp) {}
  bool QualifiedNameOf(const VoidID& id, QualifiedName& out) const override {
    ARpObject* o = m_rp->Lookup(id);
    if (!o) return false;
    MetadataUtil::GenerateQualifiedName(RefARpObject(o), out);
    return true;
  }

 private:
  ARpGateway* m_rp;
};

std::atomic<bool> g_noExprMode{false};

}  // namespace

bool SMEPParse::QORLCreateExprTree(const VXString& text, Expr& out, VXString& errorText, ARpGateway* rp, ExprType type,
                                   const TypeIDQNameVoidIDMap* names) {
  return ParseExpr(text, out, errorText, type, GatewayLookup(rp, names));
}

void ToPrettyStringVisitor::SetFormatExpr(Expr& expr, ARpGateway*, const VXString& text) { expr.SetFormatText(text); }

VXString ToPrettyStringVisitor::GetFormatExpr(const Expr& expr, ARpGateway* rp, bool, bool, bool, bool bUsingVoidID, bool) {
  return PrintExpr(expr, GatewayNamer(rp), bUsingVoidID);
}

bool ToPrettyStringVisitor::IsRipAndReplaceNoExprModeOn() { return g_noExprMode.load(std::memory_order_relaxed); }
void ToPrettyStringVisitor::SetRipAndReplaceNoExprMode(bool on) { g_noExprMode.store(on, std::memory_order_relaxed); }

void Expr::GetObjectsInExpr(ARpGateway* rp, RpObjectVector& out, bool bUnique) const {
  VoidIDVector ids;
  CollectIDs(ids, bUnique);
  for (const VoidID& id : ids)
    if (ARpObject* o = rp->Lookup(id)) out.emplace_back(o);
}

}  // namespace qorl
