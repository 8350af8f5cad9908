// Conditions that select objects of a store.
#pragma once

#include "store/object.h"

namespace qorl {

enum ConditionType { kLookupAllCondition = 10, kInterfaceTypeCondition = 11, kTypedObjectNameCondition = 12, kNamedInterfaceTypeCondition = 13 };
enum class QueryLanguage { kText };

class ACondition {
 public:
  virtual ~ACondition() = default;
  virtual bool operator()(const RefARpObject& obj) const = 0;
  virtual VXString ToConditionString(QueryLanguage = QueryLanguage::kText) const = 0;
  virtual ConditionType GetConditionType() const = 0;
  virtual void ToByteVector(ByteVector& out) const;
  // Fills `ids` with the matching objects, sorted by id. Conditions that
  // name types or names use the store's indexes instead of a scan.
  virtual void Find(ARpGateway& rp, VoidIDVector& ids) const;
};

class LookupAllCondition : public ACondition {
 public:
  bool operator()(const RefARpObject& obj) const override { return !obj.IsNullRef(); }
  VXString ToConditionString(QueryLanguage) const override { return "all"; }
  ConditionType GetConditionType() const override { return kLookupAllCondition; }
};

class InterfaceTypeCondition : public ACondition {
 public:
  explicit InterfaceTypeCondition(const TypeID& t) : m_types{t} {}
  explicit InterfaceTypeCondition(const TypeIDVector& t) : m_types(t) {}
  bool operator()(const RefARpObject& obj) const override;
  VXString ToConditionString(QueryLanguage) const override;
  ConditionType GetConditionType() const override { return kInterfaceTypeCondition; }

 private:
  TypeIDVector m_types;
};

class TypedObjectNameCondition : public ACondition {
 public:
  TypedObjectNameCondition(const TypeID& t, const VXString& name, bool bCaseSensitive = true)
      : m_type(t), m_name(name), m_caseSensitive(bCaseSensitive) {}
  bool operator()(const RefARpObject& obj) const override;
  VXString ToConditionString(QueryLanguage) const override;
  ConditionType GetConditionType() const override { return kTypedObjectNameCondition; }
  void Find(ARpGateway& rp, VoidIDVector& ids) const override;

 private:
  TypeID m_type;
  VXString m_name;
  bool m_caseSensitive;
};

class NamedInterfaceTypeCondition : public ACondition {
 public:
  NamedInterfaceTypeCondition(const TypeID& t, const VXStringVector& names, bool bCaseSensitive = true)
      : m_type(t), m_names(names), m_caseSensitive(bCaseSensitive) {}
  // The further text restricts the match to children of the parent so named.
  NamedInterfaceTypeCondition(const TypeID& t, const VXStringVector& names, bool bCaseSensitive, const VXString& parentName)
      : m_type(t), m_names(names), m_caseSensitive(bCaseSensitive), m_parentName(parentName) {}
  bool operator()(const RefARpObject& obj) const override;
  VXString ToConditionString(QueryLanguage) const override;
  ConditionType GetConditionType() const override { return kNamedInterfaceTypeCondition; }

 private:
  TypeID m_type;
  VXStringVector m_names;
  bool m_caseSensitive;
  VXString m_parentName;
};

}  // namespace qorl
