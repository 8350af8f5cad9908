#include "store/metadata_util.h"

#include <algorithm>
#include <unordered_set>

#include "model/registry.h"
#include "platform/crypto.h"
#include "store/expr.h"
#include "store/object_refs.h"

namespace qorl {

namespace {
struct ParentRow {
  TypeID child;
  TypeID parent;
};
constexpr ParentRow kParents[] = {
#define QORL_PARENT(C, P) {C, P},
#include "store/parents.def"
#undef QORL_PARENT
};
constexpr size_t kMaxNameLength = 255;
}  // namespace

VXString MetadataUtil::GenerateQualifiedName(const RefARpObject& obj) {
  QualifiedName q;
  GenerateQualifiedName(obj, q);
  return ToQualifiedName(q);
}

// Physical names keep every level (database, catalog, schema, table) with an
// empty component where a level is skipped: a table right under a database is
// "db"."".""."T", a schema under a database "db"."".""s".
static int PhysicalLevel(TypeID t) {
  switch (t) {
    case kTIDADatabase: return 0;
    case kTIDACatalog: return 1;
    case kTIDASchema: return 2;
    case kTIDATable:
    case kTIDACubeTable: return 3;
    default: return -1;
  }
}

void MetadataUtil::GenerateQualifiedName(const RefARpObject& obj, QualifiedName& out) {
  out.clear();
  ARpObject* o = obj.GetRawObjPtr();
  ARpGateway* rp = o ? o->GetGateway() : nullptr;
  // Bounded walk: a damaged parent chain must not loop forever.
  for (int depth = 0; o && depth < 64; ++depth) {
    out.push_back(o->GetName());
    ARpObject* parent = o->GetParentID().IsNullID() ? nullptr : rp->Lookup(o->GetParentID());
    if (parent) {
      int level = PhysicalLevel(o->GetTypeID()), parentLevel = PhysicalLevel(parent->GetTypeID());
      for (int gap = level - parentLevel - 1; level >= 0 && parentLevel >= 0 && gap > 0; --gap) out.push_back(VXString());
    }
    o = parent;
  }
  std::reverse(out.begin(), out.end());
}

VXString MetadataUtil::ToQualifiedName(const QualifiedName& qname) { return QualifiedNameToText(qname); }

void MetadataUtil::ParseQualifiedNameString(const VXString& text, QualifiedName& out, char sep, bool bStripQuotes) {
  out.clear();
  VXString cur;
  bool inQuotes = false;
  bool any = false;
  for (size_t i = 0; i < text.size(); ++i) {
    char32_t c = text[i];
    if (c == U'"') {
      if (inQuotes && i + 1 < text.size() && text[i + 1] == U'"') {
        cur.push_back(U'"');
        if (!bStripQuotes) cur.push_back(U'"');
        ++i;
        continue;
      }
      inQuotes = !inQuotes;
      if (!bStripQuotes) cur.push_back(c);
      any = true;
      continue;
    }
    if (!inQuotes && c == static_cast<char32_t>(sep)) {
      out.push_back(cur);
      cur.clear();
      any = false;
      continue;
    }
    cur.push_back(c);
    any = true;
  }
  if (any || !out.empty()) out.push_back(cur);
}

RefARpObject MetadataUtil::GetParent(const RefARpObject& obj) {
  return obj.IsNullRef() ? RefARpObject() : obj->GetParent();
}

void MetadataUtil::SetParent(const RefARpObject& obj, const RefARpObject& parent) {
  if (ARpObject* o = obj.GetRawObjPtr()) SetParentOf(*o, parent);
}

void MetadataUtil::GetDeleteDescendants(const RefARpObject& obj, RpObjectVector& out) {
  ARpObject* o = obj.GetRawObjPtr();
  if (!o) return;
  ARpGateway* rp = o->GetGateway();
  VoidIDVector ids{o->GetID()};
  for (size_t i = 0; i < ids.size(); ++i) rp->GetChildren(ids[i], ids);
  for (const VoidID& id : ids) out.push_back(rp->GetObject(id));
}

void MetadataUtil::GenerateNameVectorOfRootObjects(ARpGateway* rp, TypeID type, VXStringVector& names) {
  rp->ForEachObject([&](ARpObject* o) {
    if (o->GetTypeID() == type && o->GetParentID().IsNullID()) names.push_back(o->GetName());
  });
  std::sort(names.begin(), names.end());
}

void MetadataUtil::GetAllocatedChildrenNames(ARpGateway* rp, TypeID type, const RefARpObject& parent, VXStringVector& names) {
  if (parent.IsNullRef()) return GenerateNameVectorOfRootObjects(rp, type, names);
  VoidIDVector kids;
  rp->GetChildren(parent.GetID(), kids);
  for (const VoidID& k : kids)
    if (k.GetTypeID() == type) names.push_back(rp->Lookup(k)->GetName());
}

void MetadataUtil::GetParentTypes(TypeID type, TypeIDVector& out) {
  for (const ParentRow& r : kParents)
    if (r.child == type && std::find(out.begin(), out.end(), r.parent) == out.end()) out.push_back(r.parent);
}

bool MetadataUtil::CanHaveParent(TypeID type) {
  for (const ParentRow& r : kParents)
    if (r.child == type) return true;
  return false;
}

bool MetadataUtil::IsCompareableType(TypeID type) { return !QORLUtil::GetTagName(type).empty(); }

void FindParentTypeIDs(const TypeIDVector& types, TypeIDVector& parentTypes) {
  for (TypeID t : types) MetadataUtil::GetParentTypes(t, parentTypes);
}

void MetadataUtil::FindVariables(const VXString& text, std::vector<VariableToken>& out) { qorl::FindVariables(text, out); }

bool MetadataUtil::DecryptAESPassword(ARpGateway* rp, const VXString& aes, ByteVector& clear) {
  return rp && rp->DecryptWithRepositoryKey(aes, clear);
}

bool MetadataUtil::DecryptAESPassword(const VXString& password, const VXString& aes, ByteVector& clear) {
  return crypto::DecryptTextWithPassword(password, aes, clear);
}

bool MetadataUtil::GetNewAESString(const VXString& oldPassword, const VXString& aes, const VXString& newPassword, VXString& out) {
  ByteVector clear;
  if (!DecryptAESPassword(oldPassword, aes, clear)) return false;
  out = AESEncryptPasswordForScript(newPassword, clear);
  return true;
}

VXString MetadataUtil::AESEncryptPasswordForScript(const VXString& password, const ByteVector& clear) {
  return crypto::EncryptToText(crypto::NewKey(password), clear);
}

VXString GenerateUniqueName(VXStringVector& siblings, const VXString& name) {
  std::unordered_set<VXString> taken(siblings.begin(), siblings.end());
  if (!taken.count(name)) return name;
  for (unsigned long n = 1;; ++n) {
    VXString suffix = VXString("#") + VXString::FromUInt(n);
    VXString base = name.size() + suffix.size() > kMaxNameLength ? name.substr(0, kMaxNameLength - suffix.size()) : name;
    VXString candidate = base + suffix;
    if (!taken.count(candidate)) return candidate;
  }
}

}  // namespace qorl
