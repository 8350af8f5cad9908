// Store side of logical table sources, measure definitions and aggregation
// rules: property tables, references, and the stored form of a source's
// definition (join graph and column mappings).
#include "store/gateway.h"
#include "store/object_refs.h"
#include "store/props.h"

namespace qorl {

// A source's definition is stored field by field: the flag, the mappings as
// pairs of expressions, the graph node by node with its links, the filter.
template <>
struct PropCodec<DirectedLink> {
  static constexpr PropKind kind = PropKind::Custom;
  static void Save(BlobWriter& w, const DirectedLink& l) {
    PropCodec<VoidID>::Save(w, l.m_linkID);
    PropCodec<VoidID>::Save(w, l.m_inNode);
    PropCodec<VoidID>::Save(w, l.m_outNode);
    PropCodec<QORLUtility::JoinType>::Save(w, l.m_joinType);
    PropCodec<QORLUtility::JoinCardinality>::Save(w, l.m_cardinality);
    PropCodec<VoidID>::Save(w, l.m_drivingNode);
  }
  static void Load(BlobReader& r, DirectedLink& l) {
    PropCodec<VoidID>::Load(r, l.m_linkID);
    PropCodec<VoidID>::Load(r, l.m_inNode);
    PropCodec<VoidID>::Load(r, l.m_outNode);
    PropCodec<QORLUtility::JoinType>::Load(r, l.m_joinType);
    PropCodec<QORLUtility::JoinCardinality>::Load(r, l.m_cardinality);
    PropCodec<VoidID>::Load(r, l.m_drivingNode);
  }
};

template <>
struct PropCodec<GraphNode> {
  static constexpr PropKind kind = PropKind::Custom;
  static void Save(BlobWriter& w, const GraphNode& n) {
    PropCodec<VoidID>::Save(w, n.m_nodeID);
    PropCodec<std::vector<DirectedLink>>::Save(w, n.m_adjacentLinks);
  }
  static void Load(BlobReader& r, GraphNode& n) {
    PropCodec<VoidID>::Load(r, n.m_nodeID);
    PropCodec<std::vector<DirectedLink>>::Load(r, n.m_adjacentLinks);
  }
};

template <>
struct PropCodec<ALogicalTableSource::SourceDefinition> {
  static constexpr PropKind kind = PropKind::Custom;
  static void Save(BlobWriter& w, const ALogicalTableSource::SourceDefinition& d) {
    PropCodec<bool>::Save(w, d.m_bDistinct);
    PropCodec<std::vector<std::pair<Expr, Expr>>>::Save(w, d.m_logicalToPhysicalProjection);
    PropCodec<JoinGraph>::Save(w, d.m_joinSpec);
    PropCodec<Expr>::Save(w, d.m_physicalDetailFilter);
  }
  static void Load(BlobReader& r, ALogicalTableSource::SourceDefinition& d) {
    PropCodec<bool>::Load(r, d.m_bDistinct);
    PropCodec<std::vector<std::pair<Expr, Expr>>>::Load(r, d.m_logicalToPhysicalProjection);
    PropCodec<JoinGraph>::Load(r, d.m_joinSpec);
    PropCodec<Expr>::Load(r, d.m_physicalDetailFilter);
  }
};

bool GraphNode::AddLink(const DirectedLink& link) {
  for (const DirectedLink& l : m_adjacentLinks)
    if (l == link) return false;
  m_adjacentLinks.push_back(link);
  return true;
}

// ---- table source -----------------------------------------------------------------

std::span<const PropDesc> ALogicalTableSource::OwnProperties() {
  static const PropDesc props[] = {
      QORL_PROP(ALogicalTableSource, m_bActive, 1, "active"),
      QORL_PROP(ALogicalTableSource, m_bDimensionOnly, 2, "dimensionOnly"),
      QORL_PROP(ALogicalTableSource, m_bSystemGenerated, 3, "systemGenerated"),
      QORL_PROP(ALogicalTableSource, m_bAtLowerGrain, 4, "atLowerGrain"),
      QORL_PROP(ALogicalTableSource, m_bCanCombine, 5, "canCombine"),
      QORL_PROP(ALogicalTableSource, m_priorityGroup, 6, "priorityGroup"),
      QORL_PROP(ALogicalTableSource, m_bAllowUnmappedTables, 7, "allowUnmappedTables"),
      QORL_PROP(ALogicalTableSource, m_bJoinRestricted, 8, "joinRestricted"),
      QORL_PROP(ALogicalTableSource, m_bDataDrivenFragment, 9, "dataDrivenFragment"),
      QORL_PROP(ALogicalTableSource, m_sourceDefinition, 10, "sourceDefinition"),
      QORL_PROP(ALogicalTableSource, m_aggrContent, 11, "aggrContent"),
      QORL_PROP(ALogicalTableSource, m_fragmentContent, 12, "fragmentContent"),
      QORL_PROP(ALogicalTableSource, m_closureTable, 13, "closureTable"),
  };
  return props;
}

RefALogicalTable ALogicalTableSource::GetLogicalTable() const { return RefALogicalTable(GetParent()); }

void ALogicalTableSource::SetLogicalTable(const RefARpObject& table) { SetParentOf(*this, table); }

RefATable ALogicalTableSource::GetClosureTable() const { return RefOf<ATable>(GetGateway(), m_closureTable); }

// ---- measure definition -------------------------------------------------------------

std::span<const PropDesc> AMeasureDefn::OwnProperties() {
  static const PropDesc props[] = {
      QORL_PROP(AMeasureDefn, m_bCommutative, 1, "commutative"),
  };
  return props;
}

RefAAttribute AMeasureDefn::GetContainerAttribute() const { return RefAAttribute(GetParent()); }

void AMeasureDefn::SetContainerAttribute(const RefARpObject& column) { SetParentOf(*this, column); }

// ---- rules --------------------------------------------------------------------------

std::span<const PropDesc> AAggrRule::OwnProperties() {
  static const PropDesc props[] = {
      QORL_PROP(AAggrRule, m_aggrExpr, 1, "aggrExpr"),
      QORL_PROP(AAggrRule, m_dimension, 2, "dimension"),
  };
  return props;
}

RefAMeasureDefn AAggrRule::GetMeasureDefn() const { return RefAMeasureDefn(GetParent()); }
void AAggrRule::SetMeasureDefn(const RefARpObject& measure) { SetParentInList(*this, measure, kRelMeasureAggrRules); }
RefADimension AAggrRule::GetDimension() const { return RefOf<ADimension>(GetGateway(), m_dimension); }

std::span<const PropDesc> AOverrideAggrRule::OwnProperties() {
  static const PropDesc props[] = {
      QORL_PROP(AOverrideAggrRule, m_overrideAggrExpr, 1, "overrideAggrExpr"),
      QORL_PROP(AOverrideAggrRule, m_logicalTableSource, 2, "logicalTableSource"),
  };
  return props;
}

RefAMeasureDefn AOverrideAggrRule::GetMeasureDefn() const { return RefAMeasureDefn(GetParent()); }
void AOverrideAggrRule::SetMeasureDefn(const RefARpObject& measure) {
  SetParentInList(*this, measure, kRelMeasureOverrideAggrRules);
}
RefALogicalTableSource AOverrideAggrRule::GetLogicalTableSource() const {
  return RefOf<ALogicalTableSource>(GetGateway(), m_logicalTableSource);
}

}  // namespace qorl
