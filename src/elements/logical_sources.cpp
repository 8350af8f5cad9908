// Logical table sources, measure definitions and their aggregation rules.
#include "elements/families.h"
#include "elements/fragments.h"
#include "elements/join_graph.h"
#include "elements/rows.h"
#include "model/vocabulary.h"
#include "platform/guid.h"
#include "platform/strutil.h"
#include "store/classes.h"
#include "store/expr_store.h"

namespace qorl::elements {

using namespace rows;

namespace logical_sources {

using SourceDefinition = ALogicalTableSource::SourceDefinition;


// ---- the table source's definition: flag, join graph, filter and mappings in one member ----

constexpr const char* kDefinition = "sourceDefinition";

SourceDefinition& DefinitionOf(ARpObject& o) { return *static_cast<SourceDefinition*>(FieldOf(o, kDefinition)); }
const SourceDefinition& DefinitionOf(const ARpObject& o) {
  return *static_cast<const SourceDefinition*>(FieldOf(o, kDefinition));
}

void* JoinGraphOf(void* def) { return &static_cast<SourceDefinition*>(def)->m_joinSpec; }
void* DetailFilterOf(void* def) { return &static_cast<SourceDefinition*>(def)->m_physicalDetailFilter; }

const AttrHook kDistinct{
    [](const ARpObject& o, const Attr&, const WriteContext&) {
      return DefinitionOf(o).m_bDistinct ? VXString(U"true") : VXString();
    },
    [](ARpObject& o, const Attr&, const VXString* text, const NameValuePairs&, ReadContext&) {
      bool b = false;
      DefinitionOf(o).m_bDistinct = text && BaseStringUtil::StringToBool(*text, b) && b;
    }};

// A whole document brings all mappings of a source in its ColumnMapping
// elements, applied after the sources, so the definition starts from none; a
// fine-grained one changes some of them and keeps the rest of the definition.
// Mappings whose logical column is gone are dropped. Under the no-expression
// mode no mappings are written, so none are kept.
void PrepareDefinition(ARpObject& obj, ReadContext& ctx) {
  SourceDefinition& def = DefinitionOf(obj);
  SourceDefinition fresh;
  fresh.m_bDistinct = def.m_bDistinct;
  if (!ToPrettyStringVisitor::IsRipAndReplaceNoExprModeOn()) {
    if (ctx.FineGrained()) fresh = std::move(def);
    std::erase_if(fresh.m_logicalToPhysicalProjection, [&ctx](const std::pair<Expr, Expr>& p) {
      RpObjectVector objects;
      p.first.GetObjectsInExpr(ctx.Gateway(), objects, false);
      return objects.empty() || !ctx.IsAlive(objects.front());
    });
  }
  def = std::move(fresh);
  MarkObjectDirty(obj);
}

const Hooks kSourceHooks{.prepare2 = &PrepareDefinition};

// ---- measures and rules ----

VXString GuidText(const VXUpgradeID& uid) {
  VXString t = TKSGUIDGenerator::ByteVectorToGUIDString(uid);
  return t.empty() ? VXString(S_ERROR) : t;
}

// In a fine-grained document a column has one definition, and a rule is
// known by the first object of its expression and its name.
VXString MeasureIdentity(ReadContext& ctx) {
  if (!ctx.FineGrained() || ctx.ParentUpgradeID().empty()) return VXString(S_ERROR);
  return GuidText(ctx.ParentUpgradeID()) + U'_' + TAG_MEASURE_DEFN;
}

VXString RuleIdentity(ReadContext& ctx, const char* exprProp) {
  const VXUpgradeID* first = ctx.ExprObjectUID(exprProp, 0);
  if (!ctx.FineGrained() || !first || ctx.Name().empty()) return VXString(S_ERROR);
  return GuidText(*first) + U'_' + ctx.Name().back();
}

// At most one rule of a measure has no dimension, the default, and it stands
// last: of several the last is kept and the others are deleted. Applied once
// every rule of the document has its dimension.
void KeepOneDefaultRule(ARpObject& obj, ReadContext& ctx) {
  const AMeasureDefn& m = static_cast<const AMeasureDefn&>(obj);
  std::vector<RefAAggrRule> withDimension, withoutDimension;
  for (const RefAAggrRule& r : m.GetAggrRules().Members())
    (r->GetDimension().IsNullRef() ? withoutDimension : withDimension).push_back(r);
  if (withoutDimension.size() < 2) return;
  RefAAggrRule kept = withoutDimension.back();
  for (size_t i = 0; i + 1 < withoutDimension.size(); ++i) ctx.DeleteObject(withoutDimension[i].GetID());
  BinaryRelIter<AAggrRule> rules = m.GetAggrRules();
  ClearIterator(rules);
  for (const RefAAggrRule& r : withDimension) rules.Insert(r);
  rules.Insert(kept);
}

const Hooks kMeasureHooks{.prepare2 = &KeepOneDefaultRule, .uniqueIdentifier = &MeasureIdentity};

// A rule whose measure definition, or that definition's column, cannot be
// reached has no element unless empty elements are asked for.
const Hooks kRuleHooks{.isWritten =
                           [](const ARpObject& obj, const WriteContext& ctx) {
                             RefAMeasureDefn measure = static_cast<const AAggrRule&>(obj).GetMeasureDefn();
                             return (ctx.Options() & kGenEmptyElements) ||
                                    (measure && measure->GetContainerAttribute());
                           },
                       .uniqueIdentifier = [](ReadContext& ctx) { return RuleIdentity(ctx, "aggrExpr"); }};

const Hooks kOverrideRuleHooks{
    .uniqueIdentifier = [](ReadContext& ctx) { return RuleIdentity(ctx, "overrideAggrExpr"); }};

// Written for the default rule; a rule is the default when it has no
// dimension, so the attribute is not read.
const AttrHook kIsDefault{[](const ARpObject& o, const Attr&, const WriteContext&) {
                            return static_cast<const AAggrRule&>(o).IsDefaultAggrRule() ? VXString(U"true")
                                                                                        : VXString();
                          },
                          nullptr};

// ---- rows ----

const Attr kSourceAttrs[] = {
    Flag(ATTR_IS_ACTIVE, "active", false),
    Flag(ATTR_IS_DIM_ONLY, "dimensionOnly", false),
    Flag(ATTR_IS_SYS_GEN, "systemGenerated", false),
    Flag(ATTR_LTS_IS_AT_LOWER_GRAIN, "atLowerGrain", false),
    Flag(ATTR_CAN_COMBINE, "canCombine", false),
    Hooked(ATTR_IS_DISTINCT, When::IfText, kDistinct, kFlagCodec, kDefinition),
    Number(ATTR_PRIORITY_GROUP, kInt32Codec, "priorityGroup"),
    Flag(ATTR_ALLOW_UNMAPPED_TABLE, "allowUnmappedTables", false),
    Flag(ATTR_IS_JOIN_RESTRICTED, "joinRestricted", false),
    Flag(ATTR_DATA_DRIVEN_FRAGMENT_SELECTION, "dataDrivenFragment", false),
};

const Part kSourceParts[] = {
    Within(Child(TAG_LINK, children::kJoinGraph, kDefinition, Phase::Execute2, kRepeats), &JoinGraphOf),
    Within(TaggedExpression(TAG_WHERE_CLAUSE, kDefinition, kPhysicalExpr), &DetailFilterOf),
    TaggedExpression(TAG_GROUP_BY, "aggrContent"),
    TaggedExpression(TAG_FRAGMENT_CONTENT, "fragmentContent"),
    Tagged(TAG_CLOSURE_TABLE, "closureTable", Types<kTIDATable>),
};

const Attr kMeasureAttrs[] = {
    FlagAlways(ATTR_IS_COMMUTATIVE, "commutative", false),
};

const Part kMeasureParts[] = {
    Group(TAG_RULES, kRelMeasureAggrRules, Types<kTIDAAggrRule>, kClearFirst),
    Group(TAG_OVERRIDE_RULES, kRelMeasureOverrideAggrRules, Types<kTIDAOverrideAggrRule>, kClearFirst),
};

const Attr kRuleAttrs[] = {
    Hooked(ATTR_IS_DEFAULT, When::IfText, kIsDefault, kFlagCodec),
};

const Part kRuleParts[] = {
    Expression("aggrExpr"),
    Tagged(TAG_BASED_ON_DIMENSION, "dimension", Types<kTIDADimension>),
};

const Part kOverrideRuleParts[] = {
    Plain("logicalTableSource", Types<kTIDALogicalTableSource>),
    Expression("overrideAggrExpr", kPhysicalExpr),
};

constexpr std::u32string_view kNameIdentity[] = {ATTR_NAME};
constexpr std::u32string_view kRuleLists[] = {TAG_RULES};

const Description kSource{kTIDALogicalTableSource, TAG_LOG_TABSRC, "LogicalTableSourceType",
                          {ParentMode::ByName, Types<kTIDALogicalTable>, 0},
                          kSourceAttrs,            kSourceParts,  {},
                          kNameIdentity,           {},            &kSourceHooks};
const Description kMeasure{kTIDAMeasureDefn, TAG_MEASURE_DEFN, "MeasureDefnType",
                           {ParentMode::ByName, Types<kTIDAAttribute>, 0},
                           kMeasureAttrs,    kMeasureParts,    {},
                           kNameIdentity,    kRuleLists,       &kMeasureHooks};
// A rule whose measure cannot be found keeps the measure it has.
const Description kRule{kTIDAAggrRule, TAG_AGGR_RULE, "AggrRuleType",
                        {ParentMode::ByName, Types<kTIDAMeasureDefn>, kRelMeasureAggrRules, true},
                        kRuleAttrs,    kRuleParts,    {},
                        kNameIdentity, {},            &kRuleHooks};
const Description kOverrideRule{kTIDAOverrideAggrRule, TAG_OVERRIDE_AGGR_RULE, "OverrideAggrRuleType",
                                {ParentMode::ByName, Types<kTIDAMeasureDefn>, kRelMeasureOverrideAggrRules, true},
                                {},                    kOverrideRuleParts,     {},
                                kNameIdentity,         {},                     &kOverrideRuleHooks};

const Description* const kAll[] = {&kSource, &kMeasure, &kRule, &kOverrideRule};

}  // namespace logical_sources

std::span<const Description* const> LogicalSourceDescriptions() { return logical_sources::kAll; }

}  // namespace qorl::elements
