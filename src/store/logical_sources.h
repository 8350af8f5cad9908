// Store classes of logical sources and measures: table source, aggregation
// rules, measure definition.
//
// References to other objects are kept as ids (store/object_refs.h), as in
// the physical classes. The join and cardinality enumerations are those of
// model/codecs.h, declared opaquely here.
#pragma once

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "store/class_bases.h"
#include "store/expr.h"
#include "store/object_refs.h"
#include "store/relation.h"

namespace qorl {

namespace QORLUtility {
enum JoinType : int;
enum JoinCardinality : int;
}  // namespace QORLUtility

// One edge of a source's join graph: the physical join (foreign key or
// complex join) that ties two of the source's tables, in its direction.
struct DirectedLink {
  DirectedLink() = default;
  DirectedLink(const VoidID& linkID, const VoidID& inNode, const VoidID& outNode, QORLUtility::JoinType joinType,
               QORLUtility::JoinCardinality cardinality, const VoidID& drivingNode)
      : m_linkID(linkID),
        m_inNode(inNode),
        m_outNode(outNode),
        m_joinType(joinType),
        m_cardinality(cardinality),
        m_drivingNode(drivingNode) {}
  friend bool operator==(const DirectedLink&, const DirectedLink&) = default;

  VoidID m_linkID;
  VoidID m_inNode;
  VoidID m_outNode;
  QORLUtility::JoinType m_joinType{};
  QORLUtility::JoinCardinality m_cardinality = static_cast<QORLUtility::JoinCardinality>(9);  // kUnknownCardinality
  VoidID m_drivingNode;  // NullID: no driving table
};

// A table of the graph (physical table, cube table, analytic workspace
// dimension or cube) with the links that start from it.
struct GraphNode {
  GraphNode() = default;
  explicit GraphNode(const VoidID& node) : m_nodeID(node) {}
  // A set: a link equal to one already there is not added again. The links
  // keep the order they were added in, so that documents written from two
  // stores list them alike whatever the ids there.
  bool AddLink(const DirectedLink& link);
  friend bool operator==(const GraphNode&, const GraphNode&) = default;

  VoidID m_nodeID;
  std::vector<DirectedLink> m_adjacentLinks;
};
using JoinGraph = std::vector<GraphNode>;

class ALogicalTableSource : public AMergeableObject {
  QORL_OBJECT(ALogicalTableSource)
 public:
  // What the source reads, passed as a whole: the column mappings live here
  // and are no objects of their own.
  struct SourceDefinition {
    bool m_bDistinct = false;
    // first: the logical expression (a logical column), second: the physical expression.
    std::vector<std::pair<Expr, Expr>> m_logicalToPhysicalProjection;
    JoinGraph m_joinSpec;
    Expr m_physicalDetailFilter;
    friend bool operator==(const SourceDefinition&, const SourceDefinition&) = default;
  };

  static std::span<const PropDesc> OwnProperties();

  // The owning logical table: the source's parent.
  RefALogicalTable GetLogicalTable() const;
  void SetLogicalTable(const RefARpObject& table);

  bool GetActiveTableSource() const { return m_bActive; }
  void SetActiveTableSource(bool b) { m_bActive = b; MarkDirty(); }
  bool IsDimensionOnlySource() const { return m_bDimensionOnly; }
  void SetDimensionOnlySource(bool b) { m_bDimensionOnly = b; MarkDirty(); }
  bool IsSystemGenerated() const { return m_bSystemGenerated; }
  void SetSystemGenerated(bool b) { m_bSystemGenerated = b; MarkDirty(); }
  bool IsAtLowerGrain() const { return m_bAtLowerGrain; }
  void SetAtLowerGrain(bool b) { m_bAtLowerGrain = b; MarkDirty(); }
  bool GetCanCombineWithOtherSources() const { return m_bCanCombine; }
  void SetCanCombineWithOtherSources(bool b) { m_bCanCombine = b; MarkDirty(); }
  int32_t GetPriorityGroup() const { return m_priorityGroup; }
  void SetPriorityGroup(int32_t v) { m_priorityGroup = v; MarkDirty(); }
  bool AllowUnmappedTables() const { return m_bAllowUnmappedTables; }
  void SetAllowUnmappedTables(bool b) { m_bAllowUnmappedTables = b; MarkDirty(); }
  bool IsJoinRestrictedToSameLevel() const { return m_bJoinRestricted; }
  void SetJoinRestrictedToSameLevel(bool b) { m_bJoinRestricted = b; MarkDirty(); }
  bool GetDataDrivenFragmentSelection() const { return m_bDataDrivenFragment; }
  void SetDataDrivenFragmentSelection(bool b) { m_bDataDrivenFragment = b; MarkDirty(); }

  const SourceDefinition& GetSourceDefinition() const { return m_sourceDefinition; }
  void SetSourceDefinition(const SourceDefinition& d) { m_sourceDefinition = d; MarkDirty(); }
  // The aggregation content ("GroupBy") and the fragment content, both logical.
  const Expr& GetAggrContent() const { return m_aggrContent; }
  void SetAggrContent(const Expr& e) { m_aggrContent = e; MarkDirty(); }
  const Expr& GetFragmentContent() const { return m_fragmentContent; }
  void SetFragmentContent(const Expr& e) { m_fragmentContent = e; MarkDirty(); }
  RefATable GetClosureTable() const;
  void SetClosureTable(const RefARpObject& t) { m_closureTable = IdOf(t); MarkDirty(); }

 private:
  bool m_bActive = false;
  bool m_bDimensionOnly = false;
  bool m_bSystemGenerated = false;
  bool m_bAtLowerGrain = false;
  bool m_bCanCombine = false;
  int32_t m_priorityGroup = 0;
  bool m_bAllowUnmappedTables = false;
  bool m_bJoinRestricted = false;
  bool m_bDataDrivenFragment = false;
  SourceDefinition m_sourceDefinition;
  Expr m_aggrContent;
  Expr m_fragmentContent;
  VoidID m_closureTable;
};

class AMeasureDefn : public ARpObject {
  QORL_OBJECT(AMeasureDefn)
 public:
  static std::span<const PropDesc> OwnProperties();

  // The logical column the definition makes a measure of: its parent.
  RefAAttribute GetContainerAttribute() const;
  void SetContainerAttribute(const RefARpObject& column);
  bool IsCommutative() const { return m_bCommutative; }
  void SetCommutative(bool b) { m_bCommutative = b; MarkDirty(); }

  // The rules in order; at most one of them has no dimension, the default, and it stands last.
  BinaryRelIter<AAggrRule> GetAggrRules() const {
    return BinaryRelIter<AAggrRule>(GetGateway(), GetID(), kRelMeasureAggrRules);
  }
  BinaryRelIter<AOverrideAggrRule> GetOverrideAggrRules() const {
    return BinaryRelIter<AOverrideAggrRule>(GetGateway(), GetID(), kRelMeasureOverrideAggrRules);
  }

 private:
  bool m_bCommutative = false;
};

class AAggrRule : public ARpObject {
  QORL_OBJECT(AAggrRule)
 public:
  static std::span<const PropDesc> OwnProperties();

  // The owning definition: the rule's parent, and the rule is in its
  // GetAggrRules (appended when not there yet, leaving a former measure's list).
  RefAMeasureDefn GetMeasureDefn() const;
  void SetMeasureDefn(const RefARpObject& measure);
  const Expr& GetAggrExpr() const { return m_aggrExpr; }
  void SetAggrExpr(const Expr& e) { m_aggrExpr = e; MarkDirty(); }
  RefADimension GetDimension() const;
  void SetDimension(const RefARpObject& d) { m_dimension = IdOf(d); MarkDirty(); }
  // A rule without a dimension is the measure's default rule.
  bool IsDefaultAggrRule() const { return GetDimension().IsNullRef(); }

 private:
  Expr m_aggrExpr;
  VoidID m_dimension;
};

class AOverrideAggrRule : public ARpObject {
  QORL_OBJECT(AOverrideAggrRule)
 public:
  static std::span<const PropDesc> OwnProperties();

  // As AAggrRule::SetMeasureDefn, for GetOverrideAggrRules.
  RefAMeasureDefn GetMeasureDefn() const;
  void SetMeasureDefn(const RefARpObject& measure);
  // The source whose aggregation the rule overrides.
  RefALogicalTableSource GetLogicalTableSource() const;
  void SetLogicalTableSource(const RefARpObject& s) {
    m_logicalTableSource = IdOf(s);
    MarkDirty();
  }
  const Expr& GetOverrideAggrExpr() const { return m_overrideAggrExpr; }
  void SetOverrideAggrExpr(const Expr& e) { m_overrideAggrExpr = e; MarkDirty(); }

 private:
  Expr m_overrideAggrExpr;
  VoidID m_logicalTableSource;
};

}  // namespace qorl
