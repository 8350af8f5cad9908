// Store classes of the logical model: business model, logical table, column,
// key, foreign key, join.
//
// References to other objects are kept as ids (store/object_refs.h), as the
// physical classes do. The join type is the enumeration of model/codecs.h,
// declared opaquely so the store does not depend on it.
#pragma once

#include <cstdint>
#include <map>
#include <span>

#include "platform/vxstring.h"
#include "store/class_bases.h"
#include "store/expr.h"
#include "store/object_refs.h"
#include "store/relation.h"

namespace qorl {

namespace QORLUtility {
enum JoinType : int;
}  // namespace QORLUtility

// How many objects one end of a join stands for: a lower and an upper bound,
// each a count or unbounded. The text is "lower..upper", or a single bound
// when the two are equal ("1", "*"); "*" is unbounded. The unset
// multiplicity has the empty text.
class Multiplicity {
 public:
  static constexpr int32_t kUnbounded = -1;

  Multiplicity() = default;
  // Bounds that cannot go together (a lower bound above the upper one, a
  // negative count, an unbounded lower bound under a bounded upper one) make
  // the unset multiplicity.
  Multiplicity(int32_t lower, int32_t upper);
  // Text not of the form above reads as the unset multiplicity.
  explicit Multiplicity(const VXString& text);

  VXString ToString() const;
  bool IsSet() const { return m_bSet; }
  int32_t GetLower() const { return m_lower; }
  int32_t GetUpper() const { return m_upper; }
  friend bool operator==(const Multiplicity&, const Multiplicity&) = default;

 private:
  bool m_bSet = false;
  int32_t m_lower = 0;
  int32_t m_upper = 0;
};

// What a join says of one of its roles.
struct RoleProps {
  Multiplicity multiplicity;
  bool bAggregate = false;
  VoidID entity;  // the participating logical table or level
  friend bool operator==(const RoleProps&, const RoleProps&) = default;
};

class ASubjectArea : public AMergeableObject {
  QORL_OBJECT(ASubjectArea)
 public:
  static std::span<const PropDesc> OwnProperties();

  bool IsLogicalClassicStarSchema() const { return m_bClassicStar; }
  void SetLogicalClassicStarSchemaMode(bool b) { m_bClassicStar = b; MarkDirty(); }
  bool IsSubjectAreaAvailable() const { return m_bAvailable; }
  void SetSubjectAreaAvailable(bool b) { m_bAvailable = b; MarkDirty(); }

  BinaryRelIter<ALogicalDisplayFolder> GetDisplayFolders() const {
    return BinaryRelIter<ALogicalDisplayFolder>(GetGateway(), GetID(), kRelSubjectAreaDisplayFolders);
  }

 private:
  bool m_bClassicStar = false;
  bool m_bAvailable = true;
};

class ALogicalTable : public AEntity {
  QORL_OBJECT(ALogicalTable)
 public:
  static std::span<const PropDesc> OwnProperties();

  // The business model: the table's parent.
  RefASubjectArea GetSubjectArea() const;
  void SetSubjectArea(const RefARpObject& businessModel);

  bool IsLookupTable() const { return m_bLookupTable; }
  void SetLookupTableFlag(bool b) { m_bLookupTable = b; MarkDirty(); }
  void GetDiagramPosition(int32_t& x, int32_t& y) const { x = m_diagramX; y = m_diagramY; }
  void SetDiagramPosition(int32_t x, int32_t y) { m_diagramX = x; m_diagramY = y; MarkDirty(); }
  RefAAttribute GetClassicStarLevelColumn() const;
  void SetClassicStarLevelColumn(const RefARpObject& c) { m_levelColumn = IdOf(c); MarkDirty(); }
  RefAKey GetPrimaryKey() const;
  void SetPrimaryKey(const RefARpObject& k) { m_primaryKey = IdOf(k); MarkDirty(); }

  // The internal folder of the table's sources: its child of that type, if any.
  Ref<ALogicalSourceFolder> GetSourceFolder() const;
  // Makes the folder the table's child.
  void SetSourceFolder(const RefARpObject& folder);

  // The columns in their order (GetColumns is the same relation).
  BinaryRelIter<AAttribute> GetAttributes() const {
    return BinaryRelIter<AAttribute>(GetGateway(), GetID(), kRelLogicalTableColumns);
  }
  BinaryRelIter<AAttribute> GetColumns() const { return GetAttributes(); }
  BinaryRelIter<ALogicalTableSource> GetSources() const {
    return BinaryRelIter<ALogicalTableSource>(GetGateway(), GetID(), kRelLogicalTableSources);
  }
  // Kept by the keys and foreign keys themselves as they join the table.
  BinaryRelIter<AKey> GetKeys() const { return BinaryRelIter<AKey>(GetGateway(), GetID(), kRelLogicalTableKeys); }
  BinaryRelIter<ALogicalForeignKey> GetForeignKeys() const {
    return BinaryRelIter<ALogicalForeignKey>(GetGateway(), GetID(), kRelLogicalTableForeignKeys);
  }

 private:
  bool m_bLookupTable = false;
  int32_t m_diagramX = 0;
  int32_t m_diagramY = 0;
  VoidID m_levelColumn;
  VoidID m_primaryKey;
};

class AAttribute : public AMergeableObject {
  QORL_OBJECT(AAttribute)
 public:
  static std::span<const PropDesc> OwnProperties();

  RefALogicalTable GetLogicalTable() const;
  // Makes the table the column's parent and appends the column to the
  // table's columns (leaving the columns of a former table).
  void SetLogicalTable(const RefARpObject& table);

  bool IsDerivedAttribute() const { return m_bDerived; }
  void SetDerivedAttribute(bool b) { m_bDerived = b; MarkDirty(); }
  bool IsWriteable() const { return m_bWriteable; }
  void SetWriteable(bool b) { m_bWriteable = b; MarkDirty(); }
  // The column's logical expression.
  const Expr& GetExpr() const { return m_expr; }
  void SetExpr(const Expr& e) { m_expr = e; MarkDirty(); }
  // The physical expression that defines the column as an attribute.
  const Expr& GetAttributeDefnExpr() const { return m_attrDefnExpr; }
  void SetAttributeDefnExpr(const Expr& e) { m_attrDefnExpr = e; MarkDirty(); }
  RefAAttribute GetCustomSortOrder() const;
  void SetCustomSortOrder(const RefARpObject& c) { m_customSortOrder = IdOf(c); MarkDirty(); }
  RefAAttribute GetDescriptorID() const;
  void SetDescriptorID(const RefARpObject& c) { m_descriptorID = IdOf(c); MarkDirty(); }

  BinaryRelIter<ALevel> GetLevelAssociations() const {
    return BinaryRelIter<ALevel>(GetGateway(), GetID(), kRelLogicalColumnLevels);
  }

 private:
  bool m_bDerived = false;
  bool m_bWriteable = false;
  Expr m_expr;
  Expr m_attrDefnExpr;
  VoidID m_customSortOrder;
  VoidID m_descriptorID;
};

class AKey : public AMergeableObject {
  QORL_OBJECT(AKey)
 public:
  static std::span<const PropDesc> OwnProperties();

  // A logical table or a level: the key's parent.
  RefAEntity GetContainerEntity() const;
  // Makes the entity the key's parent; a logical table also lists the key
  // among its keys (and a former table drops it).
  void SetContainerEntity(const RefARpObject& entity);
  // True when the key is its logical table's primary key.
  bool IsPrimaryKey() const;

  bool IsChronologicalKey() const { return m_bChronKey; }
  void SetChronologicalKeyFlag(bool b) { m_bChronKey = b; MarkDirty(); }
  bool IsUsableForDrilldown() const { return m_bDrillDown; }
  void SetUsableForDrilldown(bool b) { m_bDrillDown = b; MarkDirty(); }

  // The key's columns, in key order.
  BinaryRelIter<AAttribute> GetAttributes() const {
    return BinaryRelIter<AAttribute>(GetGateway(), GetID(), kRelLogicalKeyColumns);
  }

 private:
  bool m_bChronKey = false;
  bool m_bDrillDown = false;
};

class ALogicalForeignKey : public AMergeableObject {
  QORL_OBJECT(ALogicalForeignKey)
 public:
  static std::span<const PropDesc> OwnProperties();

  RefALogicalTable GetContainerEntity() const;
  // Makes the table the foreign key's parent and lists it among the table's
  // foreign keys.
  void SetContainerEntity(const RefARpObject& table);

  QORLUtility::JoinType GetJoinType() const { return m_joinType; }
  void SetJoinType(QORLUtility::JoinType t) { m_joinType = t; MarkDirty(); }
  // The key on the other table.
  RefAKey GetCounterpartKey() const;
  void SetCounterpartKey(const RefARpObject& k) { m_counterpartKey = IdOf(k); MarkDirty(); }
  RefALogicalTable GetDrivingTable() const;
  void SetDrivingTable(const RefARpObject& t) { m_drivingTable = IdOf(t); MarkDirty(); }

  // The columns of this table that point at the key, in key order.
  BinaryRelIter<AAttribute> GetAttributes() const {
    return BinaryRelIter<AAttribute>(GetGateway(), GetID(), kRelLogicalForeignKeyColumns);
  }

 private:
  QORLUtility::JoinType m_joinType{};  // kInnerJoin
  VoidID m_counterpartKey;
  VoidID m_drivingTable;
};

class ARelationship : public AMergeableObject {
  QORL_OBJECT(ARelationship)
 public:
  static std::span<const PropDesc> OwnProperties();

  QORLUtility::JoinType GetJoinType() const { return m_joinType; }
  void SetJoinType(QORLUtility::JoinType t) { m_joinType = t; MarkDirty(); }
  RefALogicalTable GetDrivingTable() const;
  void SetDrivingTable(const RefARpObject& t) { m_drivingTable = IdOf(t); MarkDirty(); }

  // The join's ends, in order. Roles are internal objects, children of the join.
  BinaryRelIter<ARole> GetRoles() const { return BinaryRelIter<ARole>(GetGateway(), GetID(), kRelRelationshipRoles); }

  // The properties of each role, by the role's id. The class tree declares
  // ARole without data of its own, so the join keeps them (see ARoleAccess).
  const RoleProps* FindRoleProps(const VoidID& role) const;
  void SetRoleProps(const VoidID& role, const RoleProps& props);
  void EraseRoleProps(const VoidID& role);

 private:
  QORLUtility::JoinType m_joinType{};  // kInnerJoin
  VoidID m_drivingTable;
  std::map<VoidID, RoleProps> m_roleProps;
};

// The accessors of a role, over the properties its join keeps. A role that
// is not a child of a join reads as the default and takes no values: set the
// role's parent first.
namespace ARoleAccess {
Multiplicity GetMultiplicity(const ARole& role);
bool SetMultiplicity(ARole& role, const Multiplicity& m);
bool IsAggregate(const ARole& role);
bool SetAggregate(ARole& role, bool b);
// A logical table or a level.
RefAEntity GetParticipatingEntity(const ARole& role);
bool SetParticipatingEntity(ARole& role, const RefARpObject& entity);
}  // namespace ARoleAccess

}  // namespace qorl
