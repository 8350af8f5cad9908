// Store side of physical tables, columns, keys, foreign keys and joins:
// property tables, references and the table's replication map.
#include "store/gateway.h"
#include "store/object_refs.h"
#include "store/props.h"

namespace qorl {

bool ReplicationKeyLess::operator()(const Expr& a, const Expr& b) const {
  const auto& x = a.Tokens();
  const auto& y = b.Tokens();
  for (size_t i = 0; i < x.size() && i < y.size(); ++i) {
    if (x[i].id != y[i].id) return x[i].id < y[i].id;
    if (x[i].text != y[i].text) return x[i].text < y[i].text;
  }
  return x.size() < y.size();
}

// The replication map keeps its keys as expressions, stored one after the
// other with their texts.
template <>
struct PropCodec<ReplicationMap> {
  static constexpr PropKind kind = PropKind::Custom;
  static void Save(BlobWriter& w, const ReplicationMap& m) {
    w.PutVarint(m.size());
    for (const auto& [k, v] : m) {
      PropCodec<Expr>::Save(w, k);
      PropCodec<VXString>::Save(w, v);
    }
  }
  static void Load(BlobReader& r, ReplicationMap& m) {
    m.clear();
    uint64_t n = r.GetVarint();
    for (uint64_t i = 0; i < n && !r.Failed(); ++i) {
      Expr k;
      VXString v;
      PropCodec<Expr>::Load(r, k);
      PropCodec<VXString>::Load(r, v);
      m.emplace(std::move(k), std::move(v));
    }
  }
};

// ---- table --------------------------------------------------------------------

std::span<const PropDesc> ATable::OwnProperties() {
  static const PropDesc props[] = {
      QORL_PROP(ATable, m_tableType, 1, "tableType"),
      QORL_PROP(ATable, m_externalName, 2, "externalName"),
      QORL_PROP(ATable, m_bCacheable, 3, "cacheable"),
      QORL_PROP(ATable, m_bCacheEventTable, 4, "cacheEventTable"),
      QORL_PROP(ATable, m_cacheExpiry, 5, "cacheExpiry"),
      QORL_PROP(ATable, m_pollFrequency, 6, "pollFrequency"),
      QORL_PROP(ATable, m_diagramX, 7, "diagramX"),
      QORL_PROP(ATable, m_diagramY, 8, "diagramY"),
      QORL_PROP(ATable, m_rowCount, 9, "rowCount"),
      QORL_PROP(ATable, m_lastUpdated, 10, "lastUpdated"),
      QORL_PROP(ATable, m_extGatewayScriptPath, 11, "extGatewayScriptPath"),
      QORL_PROP(ATable, m_bSystemGenerated, 12, "systemGenerated"),
      QORL_PROP(ATable, m_bOverrideCacheProperties, 13, "overrideCacheProperties"),
      QORL_PROP(ATable, m_bDDLAggr, 14, "ddlAggr"),
      QORL_PROP(ATable, m_hints, 15, "hints"),
      QORL_PROP(ATable, m_bDeployedView, 16, "deployedView"),
      QORL_PROP(ATable, m_resourceIdentifier, 17, "resourceIdentifier"),
      QORL_PROP(ATable, m_xslPath, 18, "xslPath"),
      QORL_PROP(ATable, m_maxConnToSameURL, 19, "maxConnToSameURL"),
      QORL_PROP(ATable, m_xmlRefreshInterval, 20, "xmlRefreshInterval"),
      QORL_PROP(ATable, m_bExtGatewayInProcess, 21, "extGatewayInProcess"),
      QORL_PROP(ATable, m_extGatewayDelimiter, 22, "extGatewayDelimiter"),
      QORL_PROP(ATable, m_dbSpecificNames, 23, "dbSpecificNames"),
      QORL_PROP(ATable, m_wsXSLT, 24, "wsXSLT"),
      QORL_PROP(ATable, m_wsXsdSchema, 25, "wsXsdSchema"),
      QORL_PROP(ATable, m_properties, 26, "properties"),
      QORL_PROP(ATable, m_replication, 27, "replication"),
      QORL_PROP(ATable, m_sourceTable, 28, "sourceTable"),
      QORL_PROP(ATable, m_sourceConnPool, 29, "sourceConnPool"),
      QORL_PROP(ATable, m_variable, 30, "variable"),
      QORL_PROP(ATable, m_memberKeyColumn, 31, "memberKeyColumn"),
      QORL_PROP(ATable, m_parentKeyColumn, 32, "parentKeyColumn"),
      QORL_PROP(ATable, m_distanceColumn, 33, "distanceColumn"),
      QORL_PROP(ATable, m_isLeafColumn, 34, "isLeafColumn"),
  };
  return props;
}

void ATable::SetContainer(const RefARpObject& container) { SetParentOf(*this, container); }

void ATable::CleanReplicationMap() {
  ARpGateway* rp = GetGateway();
  bool changed = false;
  for (auto it = m_replication.begin(); it != m_replication.end();) {
    VoidIDVector ids;
    it->first.CollectIDs(ids, false);
    bool keep = ids.size() == 1 && ids[0].GetTypeID() == kTIDADatabase && rp && rp->Lookup(ids[0]);
    if (keep) {
      ++it;
    } else {
      it = m_replication.erase(it);
      changed = true;
    }
  }
  if (changed) MarkDirty();
}

RefATable ATable::GetSourceTable() const { return RefOf<ATable>(GetGateway(), m_sourceTable); }
RefAConnectionPool ATable::GetSourceConnectionPool() const {
  return RefOf<AConnectionPool>(GetGateway(), m_sourceConnPool);
}
RefAColumn ATable::GetMemberKeyColumn() const { return RefOf<AColumn>(GetGateway(), m_memberKeyColumn); }
RefAColumn ATable::GetParentKeyColumn() const { return RefOf<AColumn>(GetGateway(), m_parentKeyColumn); }
RefAColumn ATable::GetDistanceColumn() const { return RefOf<AColumn>(GetGateway(), m_distanceColumn); }
RefAColumn ATable::GetIsLeafColumn() const { return RefOf<AColumn>(GetGateway(), m_isLeafColumn); }

// ---- column -------------------------------------------------------------------

std::span<const PropDesc> AColumn::OwnProperties() {
  static const PropDesc props[] = {
      QORL_PROP(AColumn, m_typeInfo, 1, "typeInfo"),
      QORL_PROP(AColumn, m_externalName, 2, "externalName"),
      QORL_PROP(AColumn, m_count, 3, "count"),
      QORL_PROP(AColumn, m_lastUpdated, 4, "lastUpdated"),
      QORL_PROP(AColumn, m_valueType, 5, "valueType"),
      QORL_PROP(AColumn, m_mappedColumn, 6, "mappedColumn"),
      QORL_PROP(AColumn, m_mvLinkName, 7, "mvLinkName"),
      QORL_PROP(AColumn, m_specialType, 8, "specialType"),
      QORL_PROP(AColumn, m_properties, 9, "properties"),
      QORL_PROP(AColumn, m_variable, 10, "variable"),
      QORL_PROP(AColumn, m_sourceColumn, 11, "sourceColumn"),
  };
  return props;
}

RefATable AColumn::GetTable() const { return RefATable(GetParent()); }

void AColumn::SetTable(const RefARpObject& table) { SetParentInList(*this, table, kRelTableColumns); }

RefAColumn AColumn::GetSourceColumn() const { return RefOf<AColumn>(GetGateway(), m_sourceColumn); }

// ---- key, foreign key -----------------------------------------------------------

RefATable ATableKey::GetTable() const { return RefATable(GetParent()); }
void ATableKey::SetTable(const RefARpObject& table) { SetParentOf(*this, table); }

std::span<const PropDesc> AForeignKey::OwnProperties() {
  static const PropDesc props[] = {
      QORL_PROP(AForeignKey, m_hints, 1, "hints"),
      QORL_PROP(AForeignKey, m_tableKey, 2, "tableKey"),
  };
  return props;
}

RefATable AForeignKey::GetContainer() const { return RefATable(GetParent()); }
void AForeignKey::SetContainer(const RefARpObject& table) { SetParentOf(*this, table); }
RefATableKey AForeignKey::GetTableKey() const { return RefOf<ATableKey>(GetGateway(), m_tableKey); }

// ---- complex join ---------------------------------------------------------------

std::span<const PropDesc> AComplexJoin::OwnProperties() {
  static const PropDesc props[] = {
      QORL_PROP(AComplexJoin, m_hints, 1, "hints"),
      QORL_PROP(AComplexJoin, m_cardinality, 2, "cardinality"),
      QORL_PROP(AComplexJoin, m_externalName, 3, "externalName"),
      QORL_PROP(AComplexJoin, m_joinExpr, 4, "joinExpr"),
      QORL_PROP(AComplexJoin, m_externalJoinExpr, 5, "externalJoinExpr"),
  };
  return props;
}

}  // namespace qorl
