// Writers of the logical sources elements.
#include "gen/logical_sources.h"

#include <limits>

#include "model/attr_text.h"
#include "gen/elements.h"
#include "elements/fragments.h"
#include "gen/generator.h"
#include "model/codecs.h"
#include "model/vocabulary.h"
#include "platform/error.h"
#include "platform/guid.h"
#include "store/expr_store.h"

namespace qorl {

namespace {

template <class Obj, bool (Obj::*Get)() const, void (Obj::*Set)(bool)>
constexpr AttrRow<Obj> LsrcFlag(std::u32string_view name) {
  return {name, AttrWrite::kIfTrue, [](const Obj& o) { return FlagText((o.*Get)()); },
          [](Obj& o, const VXString* t, const NameValuePairs&) { (o.*Set)(FlagFrom(t, false)); }};
}

// A number that does not fit in 32 bits reads as absent.
int32_t LsrcInt32From(const VXString* text) {
  long long v = IntFrom(text, 0);
  return v < std::numeric_limits<int32_t>::min() || v > std::numeric_limits<int32_t>::max() ? 0
                                                                                              : static_cast<int32_t>(v);
}

using LTS = ALogicalTableSource;

const AttrRow<LTS> kLsrcSourceRows[] = {
    LsrcFlag<LTS, &LTS::GetActiveTableSource, &LTS::SetActiveTableSource>(ATTR_IS_ACTIVE),
    LsrcFlag<LTS, &LTS::IsDimensionOnlySource, &LTS::SetDimensionOnlySource>(ATTR_IS_DIM_ONLY),
    LsrcFlag<LTS, &LTS::IsSystemGenerated, &LTS::SetSystemGenerated>(ATTR_IS_SYS_GEN),
    LsrcFlag<LTS, &LTS::IsAtLowerGrain, &LTS::SetAtLowerGrain>(ATTR_LTS_IS_AT_LOWER_GRAIN),
    LsrcFlag<LTS, &LTS::GetCanCombineWithOtherSources, &LTS::SetCanCombineWithOtherSources>(ATTR_CAN_COMBINE),
    {ATTR_IS_DISTINCT, AttrWrite::kIfTrue, [](const LTS& s) { return FlagText(s.GetSourceDefinition().m_bDistinct); },
     nullptr},
    {ATTR_PRIORITY_GROUP, AttrWrite::kIfSet, [](const LTS& s) { return IntText(s.GetPriorityGroup(), true); },
     [](LTS& s, const VXString* t, const NameValuePairs&) { s.SetPriorityGroup(LsrcInt32From(t)); }},
    LsrcFlag<LTS, &LTS::AllowUnmappedTables, &LTS::SetAllowUnmappedTables>(ATTR_ALLOW_UNMAPPED_TABLE),
    LsrcFlag<LTS, &LTS::IsJoinRestrictedToSameLevel, &LTS::SetJoinRestrictedToSameLevel>(ATTR_IS_JOIN_RESTRICTED),
    LsrcFlag<LTS, &LTS::GetDataDrivenFragmentSelection, &LTS::SetDataDrivenFragmentSelection>(
        ATTR_DATA_DRIVEN_FRAGMENT_SELECTION),
};

const AttrRow<AAggrRule> kLsrcRuleRows[] = {
    {ATTR_IS_DEFAULT, AttrWrite::kIfTrue, [](const AAggrRule& r) { return FlagText(r.IsDefaultAggrRule()); }, nullptr},
};

const AttrRow<AMeasureDefn> kLsrcMeasureRows[] = {
    {ATTR_IS_COMMUTATIVE, AttrWrite::kBoth, [](const AMeasureDefn& m) { return FlagText(m.IsCommutative()); },
     [](AMeasureDefn& m, const VXString* t, const NameValuePairs&) { m.SetCommutative(FlagFrom(t, false)); }},
};

void LsrcOpen(VXString& s, std::u32string_view tag, bool lineFeed = true) {
  s += S_LT;
  s += tag;
  if (lineFeed) {
    s += S_GT;
    s += S_NEWLINE;
  }
}

void LsrcClose(VXString& s, std::u32string_view tag) {
  s += S_OPEN_CLOSING_TAG;
  s += tag;
  s += S_GT;
  s += S_NEWLINE;
}

// The display text of an expression of this family. Logical texts name their
// objects by qualified name whatever the generator's id option: only the
// physical side of a column mapping follows that option.
VXString LsrcText(ARpGateway* gateway, const Expr& expr, bool bUsingVoidID = false) {
  return ToPrettyStringVisitor::GetFormatExpr(expr, gateway, true, true, false, bUsingVoidID, false);
}

VXString LsrcGuidOf(const RefARpObject& o) {
  return o.IsNullRef() ? VXString() : TKSGUIDGenerator::ByteVectorToGUIDString(o->UpgradeID());
}

const VXString& LsrcRefSourceTag() {
  static const VXString tag = VXString(TAG_REF) + TAG_LOG_TABSRC;
  return tag;
}

// ---- element rows -------------------------------------------------------------------

void LsrcSourceChildren(QORLGenerator& gen, const RefARpObject& object) {
  const LTS& s = static_cast<const LTS&>(*object);
  GenerateJoinGraph(gen, s.GetSourceDefinition().m_joinSpec);
  gen.Print(QORLUtil::GetLogicalTableSourceExpressionXMLElements(gen.GetGateway(), s, gen.IsGeneratingUpgradeIDs(),
                                                                 gen.GetGenerateOptions()));
  gen.GenerateTaggedRefObject(s.GetClosureTable(), TAG_CLOSURE_TABLE);
}

void LsrcRuleChildren(QORLGenerator& gen, const RefARpObject& object) {
  const AAggrRule& r = static_cast<const AAggrRule&>(*object);
  ARpGateway* rp = gen.GetGateway();
  gen.Print(QORLUtil::GetExpression(rp, r.GetAggrExpr(), LsrcText(rp, r.GetAggrExpr()), gen.IsGeneratingUpgradeIDs(),
                                    gen.GetGenerateOptions()));
  gen.GenerateTaggedRefObject(r.GetDimension(), TAG_BASED_ON_DIMENSION);
}

void LsrcOverrideChildren(QORLGenerator& gen, const RefARpObject& object) {
  const AOverrideAggrRule& r = static_cast<const AOverrideAggrRule&>(*object);
  ARpGateway* rp = gen.GetGateway();
  gen.GenerateRefObject(r.GetLogicalTableSource(), LsrcRefSourceTag().view());
  gen.Print(QORLUtil::GetExpression(rp, r.GetOverrideAggrExpr(), LsrcText(rp, r.GetOverrideAggrExpr()),
                                    gen.IsGeneratingUpgradeIDs(), gen.GetGenerateOptions()));
}

void LsrcMeasureChildren(QORLGenerator& gen, const RefARpObject& object) {
  const AMeasureDefn& m = static_cast<const AMeasureDefn&>(*object);
  gen.GenerateGroupedRefObjects(m.GetAggrRules(), TAG_RULES);
  gen.GenerateGroupedRefObjects(m.GetOverrideAggrRules(), TAG_OVERRIDE_RULES);
}

const ElementWriter kLsrcWriters[] = {
    {kTIDALogicalTableSource,
     [](QORLGenerator&, const RefARpObject& o) {
       return QORLUtil::GetLogicalTableSourceXMLAttributes(static_cast<const LTS&>(*o));
     },
     &LsrcSourceChildren},
    {kTIDAMeasureDefn,
     [](QORLGenerator&, const RefARpObject& o) {
       return QORLUtil::GetMeasureDefnXMLAttributes(static_cast<const AMeasureDefn&>(*o));
     },
     &LsrcMeasureChildren},
    {kTIDAAggrRule,
     [](QORLGenerator&, const RefARpObject& o) {
       return QORLUtil::GetAggrRuleXMLAttributes(static_cast<const AAggrRule&>(*o));
     },
     &LsrcRuleChildren,
     [](QORLGenerator& gen, const RefARpObject& o) {
       return (gen.GetGenerateOptions() & kGenEmptyElements) ||
              QORLUtil::IsAggrRuleReachable(static_cast<const AAggrRule&>(*o));
     }},
    {kTIDAOverrideAggrRule, nullptr, &LsrcOverrideChildren},
};

}  // namespace

std::span<const AttrRow<ALogicalTableSource>> LogicalTableSourceAttrRows() { return kLsrcSourceRows; }
std::span<const AttrRow<AAggrRule>> AggrRuleAttrRows() { return kLsrcRuleRows; }
std::span<const AttrRow<AMeasureDefn>> MeasureDefnAttrRows() { return kLsrcMeasureRows; }

std::span<const ElementWriter> LogicalSourceElementWriters() { return kLsrcWriters; }

// ---- join graph ---------------------------------------------------------------------

void GenerateJoinGraph(QORLGenerator& gen, const JoinGraph& graph) {
  ARpGateway* rp = gen.GetGateway();
  const bool dummy = gen.GetGenerateOptions() & kGenDummyUID;
  VXString s;
  for (const GraphNode& node : graph) {
    RefARpObject start = rp->GetObject(node.m_nodeID);
    s.clear();
    LsrcOpen(s, TAG_LINK, false);
    if (dummy) AppendAttr(s, ATTR_DUMMY_UID, LsrcGuidOf(start));
    s += S_GT;
    s += S_NEWLINE;
    gen.Print(s);
    gen.GenerateTaggedRefObject(start, TAG_START_NODE);
    if (gen.IsEmptyElementTagNotGenerated(!node.m_adjacentLinks.empty(), TAG_JOINS)) {
      s.clear();
      LsrcOpen(s, TAG_JOINS);
      gen.Print(s);
      for (const DirectedLink& link : node.m_adjacentLinks) {
        RefARpObject in = rp->GetObject(link.m_inNode);
        RefARpObject out = rp->GetObject(link.m_outNode);
        s.clear();
        LsrcOpen(s, TAG_JOIN, false);
        AppendAttr(s, ATTR_TYPE, QORLUtility::GetStringFromJoinType(link.m_joinType));
        AppendAttr(s, ATTR_CARDINALITY, QORLUtility::GetStringFromCardinality(link.m_cardinality));
        if (dummy) AppendAttr(s, ATTR_DUMMY_UID, LsrcGuidOf(in) + U':' + LsrcGuidOf(out));
        s += S_GT;
        s += S_NEWLINE;
        gen.Print(s);
        gen.GenerateRefObject(in);
        gen.GenerateRefObject(out);
        gen.GenerateRefObject(rp->GetObject(link.m_linkID));
        gen.GenerateTaggedRefObject(link.m_drivingNode.IsNullID() ? RefARpObject() : rp->GetObject(link.m_drivingNode),
                                    TAG_DRIVING_TABLE);
        s.clear();
        LsrcClose(s, TAG_JOIN);
        gen.Print(s);
      }
      s.clear();
      LsrcClose(s, TAG_JOINS);
      gen.Print(s);
    }
    s.clear();
    LsrcClose(s, TAG_LINK);
    gen.Print(s);
  }
}

// ---- column mapping section ---------------------------------------------------------

void PrintColumnMappingSection(QORLGenerator& gen, const RpObjectVector& sortedObjects, VXString& errorMsgString) {
  if (!(gen.GetGenerateOptions() & kGenColMapping) || ToPrettyStringVisitor::IsRipAndReplaceNoExprModeOn()) return;
  for (const RefARpObject& o : sortedObjects) {
    RefALogicalTableSource source(o);
    if (!source) continue;
    for (const auto& [logical, physical] : source->GetSourceDefinition().m_logicalToPhysicalProjection) {
      try {
        gen.Print(QORLUtil::GetColumnMappingXMLElement(gen.GetGateway(), source, logical, physical, gen.IsUsingVoidID(),
                                                       gen.IsGeneratingUpgradeIDs(), gen.GetGenerateOptions()));
      } catch (ErrorMessage& e) {
        QORLUtil::HandleErrorMessage(e, errorMsgString);
      }
    }
  }
}

// ---- fragments ----------------------------------------------------------------------

VXString QORLUtil::GetLogicalTableSourceXMLAttributes(const ALogicalTableSource& source) {
  VXString s;
  WriteAttrRows(s, LogicalTableSourceAttrRows(), source);
  return s;
}

VXString QORLUtil::GetAggrRuleXMLAttributes(const AAggrRule& rule) {
  VXString s;
  WriteAttrRows(s, AggrRuleAttrRows(), rule);
  return s;
}

VXString QORLUtil::GetMeasureDefnXMLAttributes(const AMeasureDefn& measure) {
  VXString s;
  WriteAttrRows(s, MeasureDefnAttrRows(), measure);
  return s;
}

VXString QORLUtil::GetLogicalTableSourceExpressionXMLElements(ARpGateway* gateway, const ALogicalTableSource& source,
                                                              bool bGenerateUpgradeID, int genOptions) {
  const Expr& filter = source.GetSourceDefinition().m_physicalDetailFilter;
  VXString s = GetTaggedExpression(gateway, filter, LsrcText(gateway, filter), TAG_WHERE_CLAUSE, bGenerateUpgradeID,
                                   genOptions);
  s += GetTaggedExpression(gateway, source.GetAggrContent(), LsrcText(gateway, source.GetAggrContent()), TAG_GROUP_BY,
                           bGenerateUpgradeID, genOptions);
  s += GetTaggedExpression(gateway, source.GetFragmentContent(), LsrcText(gateway, source.GetFragmentContent()),
                           TAG_FRAGMENT_CONTENT, bGenerateUpgradeID, genOptions);
  return s;
}

VXString QORLUtil::GetColumnMappingXMLElement(ARpGateway* gateway, const RefALogicalTableSource& source,
                                              const Expr& logical, const Expr& physical, bool bUsingVoidID,
                                              bool bGenerateUpgradeID, int genOptions) {
  VXString s;
  LsrcOpen(s, TAG_COL_MAPPING);
  s += GetRefObject(source, TAG_LOG_TABSRC, bGenerateUpgradeID);
  // LogicalColumn here wraps the logical expression; it is no column element.
  s += GetTaggedExpression(gateway, logical, LsrcText(gateway, logical), TAG_LOG_COLUMN, bGenerateUpgradeID, genOptions);
  s += GetExpression(gateway, physical, LsrcText(gateway, physical, bUsingVoidID), bGenerateUpgradeID, genOptions);
  LsrcClose(s, TAG_COL_MAPPING);
  return s;
}

bool QORLUtil::IsAggrRuleReachable(const AAggrRule& rule) {
  RefAMeasureDefn measure = rule.GetMeasureDefn();
  return measure && measure->GetContainerAttribute();
}

}  // namespace qorl
