#include "store/conditions.h"

#include <algorithm>

#include "store/gateway.h"

namespace qorl {

void ACondition::ToByteVector(ByteVector& out) const {
  std::string s = ToConditionString(QueryLanguage::kText).ToUTF8();
  out.assign(s.begin(), s.end());
}

void ACondition::Find(ARpGateway& rp, VoidIDVector& ids) const {
  rp.ForEachObject([&](ARpObject* o) {
    if ((*this)(RefARpObject(o))) ids.push_back(o->GetID());
  });
  std::sort(ids.begin(), ids.end());
}

static bool NameMatches(const VXString& a, const VXString& b, bool caseSensitive) {
  return caseSensitive ? a == b : a.EqualsNoCase(b.view());
}

bool InterfaceTypeCondition::operator()(const RefARpObject& obj) const {
  if (obj.IsNullRef()) return false;
  return std::find(m_types.begin(), m_types.end(), obj->GetTypeID()) != m_types.end();
}

VXString InterfaceTypeCondition::ToConditionString(QueryLanguage) const {
  VXString s("type in (");
  for (size_t i = 0; i < m_types.size(); ++i) s += (i ? VXString(", ") : VXString()) + VXString::FromInt(m_types[i]);
  return s + ")";
}

bool TypedObjectNameCondition::operator()(const RefARpObject& obj) const {
  return !obj.IsNullRef() && obj->GetTypeID() == m_type && NameMatches(obj->GetName(), m_name, m_caseSensitive);
}

VXString TypedObjectNameCondition::ToConditionString(QueryLanguage) const {
  return VXString("type = ") + VXString::FromInt(m_type) + " and name = '" + m_name + "'";
}

void TypedObjectNameCondition::Find(ARpGateway& rp, VoidIDVector& ids) const {
  if (!m_caseSensitive) return ACondition::Find(rp, ids);
  rp.FindByName(m_type, m_name, ids);
}

bool NamedInterfaceTypeCondition::operator()(const RefARpObject& obj) const {
  if (obj.IsNullRef() || obj->GetTypeID() != m_type) return false;
  bool hit = false;
  for (const VXString& n : m_names) hit = hit || NameMatches(obj->GetName(), n, m_caseSensitive);
  if (!hit || m_parentName.empty()) return hit;
  RefARpObject parent = obj->GetParent();
  return !parent.IsNullRef() && NameMatches(parent->GetName(), m_parentName, m_caseSensitive);
}

VXString NamedInterfaceTypeCondition::ToConditionString(QueryLanguage) const {
  VXString s = VXString("type = ") + VXString::FromInt(m_type) + " and name in (";
  for (size_t i = 0; i < m_names.size(); ++i) s += (i ? VXString(", '") : VXString("'")) + m_names[i] + "'";
  return s + ")";
}

}  // namespace qorl
