// Store classes of physical tables: table, column, key, foreign key, complex
// join.
//
// References to other objects are kept as ids (store/object_refs.h). The
// enumerations below are those of model/codecs.h, declared opaquely here so
// that the store does not depend on the codecs.
#pragma once

#include <cstdint>
#include <map>
#include <span>

#include "model/datatypes.h"
#include "platform/datetime.h"
#include "platform/vxstring.h"
#include "store/class_bases.h"
#include "store/expr.h"
#include "store/object_refs.h"
#include "store/relation.h"

namespace qorl {

namespace QORLUtility {
enum TableType : int;
enum JoinCardinality : int;
enum SpecialType : int;
}  // namespace QORLUtility

// Orders replication keys: by their tokens, object ids before texts.
struct ReplicationKeyLess {
  bool operator()(const Expr& a, const Expr& b) const;
};
// Database (an expression holding that one object) to the name of the table's
// counterpart in it.
using ReplicationMap = std::map<Expr, VXString, ReplicationKeyLess>;
// Free name and value pairs of a table or column.
using PhysicalPropertyMap = std::map<VXString, VXString>;

class ATable : public ADataComposite {
  QORL_OBJECT(ATable)
 public:
  static constexpr uint32_t kDefaultPollFrequency = 3600;  // seconds
  static std::span<const PropDesc> OwnProperties();

  // The schema, catalog or database the table lives in: its parent.
  RefARpObject GetContainer() const { return GetParent(); }
  void SetContainer(const RefARpObject& container);

  QORLUtility::TableType GetTableType() const { return m_tableType; }
  void SetTableType(QORLUtility::TableType t) { m_tableType = t; MarkDirty(); }
  // Read by the cube and analytic workspace tables only.
  VXString GetExternalName() const { return m_externalName; }
  void SetExternalName(const VXString& s) { m_externalName = s; MarkDirty(); }
  bool IsCacheable() const { return m_bCacheable; }
  void SetCacheable(bool b) { m_bCacheable = b; MarkDirty(); }
  bool IsCacheEventTable() const { return m_bCacheEventTable; }
  void SetCacheEventTable(bool b) { m_bCacheEventTable = b; MarkDirty(); }
  uint32_t GetCacheExpiry() const { return m_cacheExpiry; }
  void SetCacheExpiry(uint32_t v) { m_cacheExpiry = v; MarkDirty(); }
  uint32_t GetPollFrequency() const { return m_pollFrequency; }
  void SetPollFrequency(uint32_t v) { m_pollFrequency = v; MarkDirty(); }
  void GetDiagramPosition(int32_t& x, int32_t& y) const { x = m_diagramX; y = m_diagramY; }
  void SetDiagramPosition(int32_t x, int32_t y) { m_diagramX = x; m_diagramY = y; MarkDirty(); }
  // -1: not known.
  double GetRowCount() const { return m_rowCount; }
  void SetRowCount(double v) { m_rowCount = v; MarkDirty(); }
  VXDateTime GetLastUpdated() const { return m_lastUpdated; }
  void SetLastUpdated(const VXDateTime& d) { m_lastUpdated = d; MarkDirty(); }
  VXString GetExtGatewayScriptPath() const { return m_extGatewayScriptPath; }
  void SetExtGatewayScriptPath(const VXString& s) { m_extGatewayScriptPath = s; MarkDirty(); }
  bool IsSystemGenerated() const { return m_bSystemGenerated; }
  void SetSystemGenerated(bool b) { m_bSystemGenerated = b; MarkDirty(); }
  bool IsOverrideCacheProperties() const { return m_bOverrideCacheProperties; }
  void SetOverrideCacheProperties(bool b) { m_bOverrideCacheProperties = b; MarkDirty(); }
  bool IsDDLAggr() const { return m_bDDLAggr; }
  void SetDDLAggr(bool b) { m_bDDLAggr = b; MarkDirty(); }
  VXString GetHints() const { return m_hints; }
  void SetHints(const VXString& s) { m_hints = s; MarkDirty(); }
  bool IsDeployedView() const { return m_bDeployedView; }
  void SetDeployedView(bool b) { m_bDeployedView = b; MarkDirty(); }
  VXString GetResourceIdentifier() const { return m_resourceIdentifier; }
  void SetResourceIdentifier(const VXString& s) { m_resourceIdentifier = s; MarkDirty(); }
  VXString GetXSLPath() const { return m_xslPath; }
  void SetXSLPath(const VXString& s) { m_xslPath = s; MarkDirty(); }
  uint32_t GetMaxConnToSameURLForDifferentUsers() const { return m_maxConnToSameURL; }
  void SetMaxConnToSameURLForDifferentUsers(uint32_t v) { m_maxConnToSameURL = v; MarkDirty(); }
  uint32_t GetXMLRefreshInterval() const { return m_xmlRefreshInterval; }
  void SetXMLRefreshInterval(uint32_t v) { m_xmlRefreshInterval = v; MarkDirty(); }
  bool GetExtGatewayInProcessIndicator() const { return m_bExtGatewayInProcess; }
  void SetExtGatewayInProcessIndicator(bool b) { m_bExtGatewayInProcess = b; MarkDirty(); }
  VXString GetExtGatewayDelimiter() const { return m_extGatewayDelimiter; }
  void SetExtGatewayDelimiter(const VXString& s) { m_extGatewayDelimiter = s; MarkDirty(); }
  // Database target type (ServerInfo::TargetType) to the table's name there.
  const std::map<int, VXString>& GetExternalDbSpecificNames() const { return m_dbSpecificNames; }
  void SetExternalDbSpecificNames(const std::map<int, VXString>& m) { m_dbSpecificNames = m; MarkDirty(); }
  VXString GetWSXSLT() const { return m_wsXSLT; }
  void SetWSXSLT(const VXString& s) { m_wsXSLT = s; MarkDirty(); }
  VXString GetWSxsdSchema() const { return m_wsXsdSchema; }
  void SetWSxsdSchema(const VXString& s) { m_wsXsdSchema = s; MarkDirty(); }
  const PhysicalPropertyMap& GetPropertyMap() const { return m_properties; }
  void SetPropertyMap(const PhysicalPropertyMap& m) { m_properties = m; MarkDirty(); }
  const ReplicationMap& GetReplicationMap() const { return m_replication; }
  void SetReplicationMap(const ReplicationMap& m) { m_replication = m; MarkDirty(); }
  // Drops the entries whose key is not exactly one live database.
  void CleanReplicationMap();

  // The base table of an alias.
  RefATable GetSourceTable() const;
  void SetSourceTable(const RefARpObject& t) { m_sourceTable = IdOf(t); MarkDirty(); }
  RefAConnectionPool GetSourceConnectionPool() const;
  void SetSourceConnectionPool(const RefARpObject& p) { m_sourceConnPool = IdOf(p); MarkDirty(); }
  // Usually a variable; any object is kept.
  RefARpObject GetVariable() const { return RefARpObject(GetGateway(), m_variable); }
  void SetVariable(const RefARpObject& v) { m_variable = IdOf(v); MarkDirty(); }
  RefAColumn GetMemberKeyColumn() const;
  void SetMemberKeyColumn(const RefARpObject& c) { m_memberKeyColumn = IdOf(c); MarkDirty(); }
  RefAColumn GetParentKeyColumn() const;
  void SetParentKeyColumn(const RefARpObject& c) { m_parentKeyColumn = IdOf(c); MarkDirty(); }
  RefAColumn GetDistanceColumn() const;
  void SetDistanceColumn(const RefARpObject& c) { m_distanceColumn = IdOf(c); MarkDirty(); }
  RefAColumn GetIsLeafColumn() const;
  void SetIsLeafColumn(const RefARpObject& c) { m_isLeafColumn = IdOf(c); MarkDirty(); }

  // The table's columns in their order.
  BinaryRelIter<AColumn> GetColumns() const { return BinaryRelIter<AColumn>(GetGateway(), GetID(), kRelTableColumns); }

 private:
  QORLUtility::TableType m_tableType{};
  VXString m_externalName;
  bool m_bCacheable = true;
  bool m_bCacheEventTable = false;
  uint32_t m_cacheExpiry = 0;
  uint32_t m_pollFrequency = kDefaultPollFrequency;
  int32_t m_diagramX = 0;
  int32_t m_diagramY = 0;
  double m_rowCount = -1;
  VXDateTime m_lastUpdated;
  VXString m_extGatewayScriptPath;
  bool m_bSystemGenerated = false;
  bool m_bOverrideCacheProperties = false;
  bool m_bDDLAggr = false;
  VXString m_hints;
  bool m_bDeployedView = false;
  VXString m_resourceIdentifier;
  VXString m_xslPath;
  uint32_t m_maxConnToSameURL = 10;
  uint32_t m_xmlRefreshInterval = 0;
  bool m_bExtGatewayInProcess = false;
  VXString m_extGatewayDelimiter;
  std::map<int, VXString> m_dbSpecificNames;
  VXString m_wsXSLT;
  VXString m_wsXsdSchema;
  PhysicalPropertyMap m_properties;
  ReplicationMap m_replication;
  VoidID m_sourceTable;
  VoidID m_sourceConnPool;
  VoidID m_variable;
  VoidID m_memberKeyColumn;
  VoidID m_parentKeyColumn;
  VoidID m_distanceColumn;
  VoidID m_isLeafColumn;
};

class AColumn : public APAttribute {
  QORL_OBJECT(AColumn)
 public:
  static std::span<const PropDesc> OwnProperties();

  RefATable GetTable() const;
  // Makes the table the column's parent and appends the column to the
  // table's columns (leaving the columns of a former table).
  void SetTable(const RefARpObject& table);

  VXTypeInfo GetTypeInfo() const { return m_typeInfo; }
  void SetTypeInfo(const VXTypeInfo& t) { m_typeInfo = t; MarkDirty(); }
  VXString GetExternalName() const { return m_externalName; }
  void SetExternalName(const VXString& s) { m_externalName = s; MarkDirty(); }
  // Distinct values; -1: not known.
  double GetCount() const { return m_count; }
  void SetCount(double v) { m_count = v; MarkDirty(); }
  VXDateTime GetLastUpdated() const { return m_lastUpdated; }
  void SetLastUpdated(const VXDateTime& d) { m_lastUpdated = d; MarkDirty(); }
  QORLUtility::JoinCardinality GetValueType() const { return m_valueType; }
  void SetValueType(QORLUtility::JoinCardinality c) { m_valueType = c; MarkDirty(); }
  VXString GetMappedColumn() const { return m_mappedColumn; }
  void SetMappedColumn(const VXString& s) { m_mappedColumn = s; MarkDirty(); }
  VXString GetMVLinkName() const { return m_mvLinkName; }
  void SetMVLinkName(const VXString& s) { m_mvLinkName = s; MarkDirty(); }
  QORLUtility::SpecialType GetSpecialType() const { return m_specialType; }
  void SetSpecialType(QORLUtility::SpecialType t) { m_specialType = t; MarkDirty(); }
  const PhysicalPropertyMap& GetPropertyMap() const { return m_properties; }
  void SetPropertyMap(const PhysicalPropertyMap& m) { m_properties = m; MarkDirty(); }

  // The variable that names the column at run time; any object is kept.
  RefARpObject GetVariable() const { return RefARpObject(GetGateway(), m_variable); }
  void SetVariable(const RefARpObject& v) { m_variable = IdOf(v); MarkDirty(); }
  RefAColumn GetSourceColumn() const;
  void SetSourceColumn(const RefARpObject& c) { m_sourceColumn = IdOf(c); MarkDirty(); }
  BinaryRelIter<AColumn> GetPicklistColumns() const {
    return BinaryRelIter<AColumn>(GetGateway(), GetID(), kRelColumnPicklistColumns);
  }

 private:
  VXTypeInfo m_typeInfo;
  VXString m_externalName;
  double m_count = -1;
  VXDateTime m_lastUpdated;
  QORLUtility::JoinCardinality m_valueType = static_cast<QORLUtility::JoinCardinality>(9);  // kUnknownCardinality
  VXString m_mappedColumn;
  VXString m_mvLinkName;
  QORLUtility::SpecialType m_specialType{};
  PhysicalPropertyMap m_properties;
  VoidID m_variable;
  VoidID m_sourceColumn;
};

class ATableKey : public AMergeableObject {
  QORL_OBJECT(ATableKey)
 public:
  // A table or a cube table: the key's parent.
  RefATable GetTable() const;
  void SetTable(const RefARpObject& table);
  // The key's columns, in key order.
  BinaryRelIter<AColumn> GetColumns() const {
    return BinaryRelIter<AColumn>(GetGateway(), GetID(), kRelTableKeyColumns);
  }
};

class AForeignKey : public AMergeableObject {
  QORL_OBJECT(AForeignKey)
 public:
  static std::span<const PropDesc> OwnProperties();

  RefATable GetContainer() const;
  void SetContainer(const RefARpObject& table);
  VXString GetHints() const { return m_hints; }
  void SetHints(const VXString& s) { m_hints = s; MarkDirty(); }
  // The key on the other table.
  RefATableKey GetTableKey() const;
  void SetTableKey(const RefARpObject& k) { m_tableKey = IdOf(k); MarkDirty(); }
  // The columns of this table that point at the key, in key order.
  BinaryRelIter<AColumn> GetComponents() const {
    return BinaryRelIter<AColumn>(GetGateway(), GetID(), kRelForeignKeyColumns);
  }

 private:
  VXString m_hints;
  VoidID m_tableKey;
};

class AComplexJoin : public AMergeableObject {
  QORL_OBJECT(AComplexJoin)
 public:
  static std::span<const PropDesc> OwnProperties();

  VXString GetHints() const { return m_hints; }
  void SetHints(const VXString& s) { m_hints = s; MarkDirty(); }
  QORLUtility::JoinCardinality GetJoinCardinality() const { return m_cardinality; }
  void SetJoinCardinality(QORLUtility::JoinCardinality c) { m_cardinality = c; MarkDirty(); }
  VXString GetExternalName() const { return m_externalName; }
  void SetExternalName(const VXString& s) { m_externalName = s; MarkDirty(); }
  const Expr& GetJoinExpr() const { return m_joinExpr; }
  void SetJoinExpr(const Expr& e) { m_joinExpr = e; MarkDirty(); }
  const Expr& GetExternalJoinExpr() const { return m_externalJoinExpr; }
  void SetExternalJoinExpr(const Expr& e) { m_externalJoinExpr = e; MarkDirty(); }
  // The two tables, in the order of the join.
  BinaryRelIter<ATable> GetTables() const {
    return BinaryRelIter<ATable>(GetGateway(), GetID(), kRelComplexJoinTables);
  }

 private:
  VXString m_hints;
  QORLUtility::JoinCardinality m_cardinality = static_cast<QORLUtility::JoinCardinality>(9);  // kUnknownCardinality
  VXString m_externalName;
  Expr m_joinExpr;
  Expr m_externalJoinExpr;
};

}  // namespace qorl
