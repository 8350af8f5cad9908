// Handlers of the logical sources elements: LogicalTableSource with its join
// graph, ColumnMapping, MeasureDefn, AggrRule and OverrideAggrRule.
#include <algorithm>
#include <memory>
#include <typeinfo>
#include <unordered_set>

#include "gen/logical_sources.h"
#include "load/handler.h"
#include "load/manager.h"
#include "model/codecs.h"
#include "model/registry.h"
#include "model/vocabulary.h"
#include "platform/guid.h"
#include "store/expr_store.h"

namespace qorl {

namespace {

// The type a reference element names ("RefPhysicalTable": 3001); 0 for any other element.
TypeID LsrcRefType(const VXString& tag) {
  if (!tag.starts_with(TAG_REF)) return kTIDUnknown;
  return QORLUtil::GetTypeID(tag.substr(TAG_REF.size()));
}

// A reference element without attributes is the empty element written for
// an unset reference under kGenEmptyElements: it names nothing.
bool LsrcIsEmptyRef(const NameValuePairs& attrs) { return attrs.Size() == 0; }

RefARpObject LsrcObjectOf(const QORLObjectStub* stub) { return stub ? stub->GetARpObject() : RefARpObject(); }

VXString LsrcGuid(const VXUpgradeID& uid) {
  VXString t = TKSGUIDGenerator::ByteVectorToGUIDString(uid);
  return t.empty() ? VXString(S_ERROR) : t;
}

// What the handlers of this family share: the common attributes kept for the
// attribute rows, the description, relaying to child handlers, unknown
// children. Derived handlers take their own children in StartOwn; none has
// text of its own.
class LsrcHandler : public QORLObject {
 public:
  using QORLObject::QORLObject;

  void startElement(const VXString& tag, const NameValuePairs& attrs) override {
    if (m_parsingState == psStart) {
      ProcessObjectAttributes(attrs);
      m_attrs = attrs;
      m_parsingState = psInObject;
      StartSelf(attrs);
      return;
    }
    if (m_parsingState == kRelaying) return m_relay.Start(tag, attrs);
    if (HandleCommonStart(tag)) return;
    if (!StartOwn(tag, attrs)) InitializeUnknownElementHandler();
  }

  void characters(std::u32string_view text) override {
    if (m_parsingState == kRelaying) return m_relay.Characters(text);
    HandleCommonCharacters(text);
  }

  void endElement(const VXString& tag) override {
    if (m_parsingState == kRelaying) {
      if (m_relay.End(tag)) m_parsingState = m_relay.ReturnState();
      return;
    }
    if (HandleCommonEnd()) return;
    if (m_parsingState != psInObject) EndOwn(tag);
  }

 protected:
  enum : int16_t {
    kRelaying = psIndividualObjectStateStart,
    kFirstOwnState,  // derived handlers number their states from here
  };

  // The element's own start tag, after the common attributes.
  virtual void StartSelf(const NameValuePairs& attrs) {}
  // A child of the element (or of one of its own states): true when taken.
  virtual bool StartOwn(const VXString& tag, const NameValuePairs& attrs) = 0;
  // The end of an element of one of the handler's own states.
  virtual void EndOwn(const VXString& tag) { m_parsingState = psInObject; }

  bool Relay(QORLObject& child, bool wrapped, const VXString& tag, const NameValuePairs& attrs,
             int16_t returnState = psInObject) {
    m_relay.Open(&child, wrapped, returnState);
    m_parsingState = kRelaying;
    if (!wrapped) m_relay.Start(tag, attrs);
    return true;
  }
  // Expression elements standing directly in the element: Expr and its companions.
  static bool IsExpressionPart(const VXString& tag) {
    return tag == TAG_EXPR || tag == TAG_EXPR_TEXT || tag == TAG_OBJECTS;
  }
  bool To(int16_t state) {
    m_parsingState = state;
    return true;
  }
  void ResolveStub(QORLObjectStub*& stub) {
    if (stub) m_pManager->ResolveQORLObjectStub(stub, false, false);
  }
  bool IsTree() const { return m_pManager->IsTDFQORL(); }
  bool ParseText(const QORLExpressionHandler& h, Expr& out, const RefARpObject& context, ExprType type) {
    return m_pManager->ParseMetaExpr(h.GetExprLine(), h.GetExprText(), out, context, type);
  }
  // Copies of stubs for a handler's clone, owned by the manager like every stub.
  QORLObjectStub* CloneStub(const QORLObjectStub* from) {
    if (!from) return nullptr;
    QORLObjectStub* stub = m_pManager->CreateQORLObjectStub(from->GetTypeID(), from->GetUpgradeID(), from->GetQName());
    stub->Clone(from);
    return stub;
  }
  QORLObjectStubVector CloneStubs(const QORLObjectStubVector& from) {
    QORLObjectStubVector out;
    for (const QORLObjectStub* s : from)
      if (QORLObjectStub* c = CloneStub(s)) out.push_back(c);
    return out;
  }

  NameValuePairs m_attrs;
  ChildRelay m_relay;
};

// ---- join graph ---------------------------------------------------------------------

// The reader of a source's Link elements: a child handler that its table
// source drives, never on the manager's lists.
class QORLJoinGraphHandler : public QORLObject {
 public:
  using QORLObject::QORLObject;

  void startElement(const VXString& tag, const NameValuePairs& attrs) override {
    if (m_parsingState == psInUnkownElement) {
      m_unknownHandler.startElement();
      return;
    }
    switch (m_parsingState) {
      case psStart:
      case psInObject:
        if (tag == TAG_LINK) {
          m_joinGraph.emplace_back();
          m_parsingState = kLink;
          return;
        }
        break;
      case kLink:
        if (tag == TAG_START_NODE) return To(kStartNode);
        if (tag == TAG_JOINS) return To(kJoins);
        break;
      case kStartNode:
        if (IsNodeType(LsrcRefType(tag))) {
          if (!LsrcIsEmptyRef(attrs)) m_joinGraph.back().m_pStartNode = ProcessRefObject(LsrcRefType(tag), attrs);
          return To(kStartNodeRef);
        }
        break;
      case kJoins:
        if (tag == TAG_JOIN) {
          QORLJoin join;
          GetAttr(ATTR_TYPE, attrs, join.m_sJoinType);
          GetAttr(ATTR_CARDINALITY, attrs, join.m_sCardinality);
          m_joinGraph.back().m_joinList.push_back(join);
          return To(kJoin);
        }
        break;
      case kJoin: {
        TypeID type = LsrcRefType(tag);
        QORLJoin& join = m_joinGraph.back().m_joinList.back();
        if (tag == TAG_DRIVING_TABLE) return To(kDriving);
        // The first table is the link's in node, the second its out node.
        if (IsNodeType(type)) {
          if (!LsrcIsEmptyRef(attrs)) (join.m_pTable1 ? join.m_pTable2 : join.m_pTable1) = ProcessRefObject(type, attrs);
          return To(kJoinRef);
        }
        if (type == kTIDAForeignKey || type == kTIDAComplexJoin) {
          if (!LsrcIsEmptyRef(attrs)) join.m_pLink = ProcessRefObject(type, attrs);
          return To(kJoinRef);
        }
        break;
      }
      case kDriving:
        if (LsrcRefType(tag) == kTIDATable) {
          if (!LsrcIsEmptyRef(attrs))
            m_joinGraph.back().m_joinList.back().m_pDrivingTable = ProcessRefObject(kTIDATable, attrs);
          return To(kDrivingRef);
        }
        break;
      default:
        break;
    }
    InitializeUnknownElementHandler();
  }

  void endElement(const VXString&) override {
    switch (m_parsingState) {
      case psInUnkownElement: CheckAndEndUnknownElement(); break;
      case kStartNodeRef: m_parsingState = kStartNode; break;
      case kJoinRef:
      case kDriving: m_parsingState = kJoin; break;
      case kDrivingRef: m_parsingState = kDriving; break;
      case kJoin: m_parsingState = kJoins; break;
      case kStartNode:
      case kJoins: m_parsingState = kLink; break;
      case kLink: m_parsingState = psInObject; break;
      default: break;
    }
  }

  void Resolve() override {
    for (QORLLink& link : m_joinGraph) {
      Resolve(link.m_pStartNode);
      for (QORLJoin& j : link.m_joinList)
        for (QORLObjectStub** s : {&j.m_pTable1, &j.m_pTable2, &j.m_pLink, &j.m_pDrivingTable}) Resolve(*s);
    }
  }

  void Execute() override {}

  // A second Link for the same start node is dropped with all its joins.
  void Execute2() override {
    m_joinSpec.clear();
    std::unordered_set<VoidID> seen;
    for (const QORLLink& link : m_joinGraph) {
      RefARpObject start = LsrcObjectOf(link.m_pStartNode);
      if (start.IsNullRef()) continue;
      GraphNode node(start.GetID());
      for (const QORLJoin& j : link.m_joinList) {
        RefARpObject t1 = LsrcObjectOf(j.m_pTable1), t2 = LsrcObjectOf(j.m_pTable2), l = LsrcObjectOf(j.m_pLink);
        if (t1.IsNullRef() || t2.IsNullRef() || l.IsNullRef()) continue;
        RefARpObject driving = LsrcObjectOf(j.m_pDrivingTable);
        node.AddLink(DirectedLink(l.GetID(), t1.GetID(), t2.GetID(), QORLUtility::GetJoinTypeFromString(j.m_sJoinType),
                                  QORLUtility::GetCardinalityFromString(j.m_sCardinality),
                                  driving.IsNullRef() ? VoidID::NullID : driving.GetID()));
      }
      if (seen.insert(start.GetID()).second) m_joinSpec.push_back(std::move(node));
    }
  }

  const JoinGraph& GetJoinSpec() const { return m_joinSpec; }

 private:
  enum : int16_t {
    kLink = psIndividualObjectStateStart,
    kStartNode,
    kStartNodeRef,
    kJoins,
    kJoin,
    kJoinRef,
    kDriving,
    kDrivingRef,
  };
  struct QORLJoin {
    QORLObjectStub* m_pTable1 = nullptr;
    QORLObjectStub* m_pTable2 = nullptr;
    QORLObjectStub* m_pLink = nullptr;
    QORLObjectStub* m_pDrivingTable = nullptr;
    VXString m_sJoinType;
    VXString m_sCardinality;
  };
  struct QORLLink {
    QORLObjectStub* m_pStartNode = nullptr;
    std::vector<QORLJoin> m_joinList;
  };

  static bool IsNodeType(TypeID t) {
    return t == kTIDATable || t == kTIDACubeTable || t == kTIDAAWDimension || t == kTIDAAWCube;
  }
  void To(int16_t state) { m_parsingState = state; }
  void Resolve(QORLObjectStub*& stub) {
    if (stub) m_pManager->ResolveQORLObjectStub(stub, false, false);
  }

  std::vector<QORLLink> m_joinGraph;
  JoinGraph m_joinSpec;
};

// ---- ColumnMapping ------------------------------------------------------------------

// One mapping of a source. In the single document it stands on its own in
// DECLARE and names its source; in the tree form it is nested in the source,
// whose handler owns it.
class QORLLogicalColumnMappingHandler : public LsrcHandler {
 public:
  QORLLogicalColumnMappingHandler(ARpGateway* rp, QORLObjectManager* m, QORLObjectStub* enclosingSource = nullptr)
      : LsrcHandler(rp, m), m_pLTS(enclosingSource), m_bNested(enclosingSource != nullptr) {
    SetTypeID(kTIDColMapping);
  }

  void Resolve() override {
    if (!m_bNested) ResolveStub(m_pLTS);
    m_colExprHandler.Resolve();
    m_physExprHandler.Resolve();
  }

  void Execute() override {}

  // Replaces the mapping of the same logical expression, or adds one.
  void Execute2() override {
    RefALogicalTableSource source(LsrcObjectOf(m_pLTS));
    if (!source) return;
    m_pManager->AddToModifiedInternalObjects(source);
    ALogicalTableSource::SourceDefinition def = source->GetSourceDefinition();
    Expr physical;
    if (ParseText(m_physExprHandler, physical, source, kSME_Physical)) {
      // A logical text that only logs its failure stays as raw text.
      Expr logical;
      ParseText(m_colExprHandler, logical, source, kSME_Logical);
      auto& projection = def.m_logicalToPhysicalProjection;
      auto it = std::find_if(projection.begin(), projection.end(), [&](const auto& p) { return p.first == logical; });
      if (it != projection.end()) *it = {logical, physical};
      else projection.emplace_back(logical, physical);
    }
    source->SetSourceDefinition(def);
  }

  // A changed mapping reports its source as modified.
  void Gather() override { m_pManager->AddToModifiedInternalObjects(m_pLTS); }
  bool IsToBeDeleted() override { return true; }

  VXString GetUniqueIdentifier() override {
    const QORLObjectStubVector& objects = m_colExprHandler.GetObjects();
    if (!m_pManager->m_bFineGrainedXML || !m_pLTS || objects.size() != 1 || !objects[0]) return VXString(S_ERROR);
    return LsrcGuid(m_pLTS->GetUpgradeID()) + U'_' + LsrcGuid(objects[0]->GetUpgradeID());
  }

  VXString GetParentComponentForTransformation() override {
    return m_pLTS ? LsrcGuid(m_pLTS->GetUpgradeID()) : VXString(S_ERROR);
  }

 protected:
  bool StartOwn(const VXString& tag, const NameValuePairs& attrs) override {
    switch (m_parsingState) {
      case psInObject:
        if (tag == TAG_LOG_COLUMN) return To(kInLogicalColumn);
        if (IsTree() && tag == TAG_LOGICAL_COLUMN_EXPR) return Relay(m_colExprHandler, false, tag, attrs);
        if (IsExpressionPart(tag)) return Relay(m_physExprHandler, false, tag, attrs);
        if (!m_bNested && LsrcRefType(tag) == kTIDALogicalTableSource) {
          if (!LsrcIsEmptyRef(attrs)) m_pLTS = ProcessRefObject(kTIDALogicalTableSource, attrs);
          return To(kInSourceRef);
        }
        return false;
      case kInLogicalColumn:
        return IsExpressionPart(tag) && Relay(m_colExprHandler, false, tag, attrs, kInLogicalColumn);
      default:
        return false;
    }
  }

 private:
  enum : int16_t { kInLogicalColumn = kFirstOwnState, kInSourceRef };

  QORLObjectStub* m_pLTS;
  bool m_bNested;
  QORLExpressionHandler m_colExprHandler{m_pGateway, m_pManager, TAG_LOGICAL_COLUMN_EXPR};
  QORLExpressionHandler m_physExprHandler{m_pGateway, m_pManager, TAG_EXPR};
};

// ---- LogicalTableSource -------------------------------------------------------------

class QORLLogicalTableSourceHandler : public LsrcHandler {
 public:
  using LsrcHandler::LsrcHandler;

  void Resolve() override {
    m_pParent = ResolveParent(kTIDALogicalTable, false);
    for (auto& h : m_columnMappingHandlers) h->Resolve();
    ResolveStub(m_pClosureTable);
    m_joinGraph.Resolve();
    m_exprWhereClause.Resolve();
    m_exprGroupBy.Resolve();
    m_exprFragmentContent.Resolve();
  }

  void Execute() override {
    RefALogicalTableSource s(m_object);
    if (!s) return;
    s->SetLogicalTable(LsrcObjectOf(m_pParent));
    s->SetClosureTable(LsrcObjectOf(m_pClosureTable));
    ReadAttrRows(LogicalTableSourceAttrRows(), *s, m_attrs);
    SetCommonObjectProperties();
    m_joinGraph.Execute();
    for (auto& h : m_columnMappingHandlers) h->Execute();
  }

  // The expressions may name objects of this document, which exist only now.
  void Execute2() override {
    RefALogicalTableSource s(m_object);
    if (!s) return;
    Expr expr;
    if (ParseText(m_exprGroupBy, expr, s, kSME_Logical)) s->SetAggrContent(expr);
    if (ParseText(m_exprFragmentContent, expr, s, kSME_Logical)) s->SetFragmentContent(expr);

    // A whole document brings all mappings of the source in its ColumnMapping
    // elements, so they start from none; a fine-grained one changes some of
    // them and keeps the rest.
    ALogicalTableSource::SourceDefinition def;
    if (!IsTree() && !ToPrettyStringVisitor::IsRipAndReplaceNoExprModeOn()) {
      if (m_pManager->m_bFineGrainedXML) def = s->GetSourceDefinition();
      CleanupDeletedColumnMappings(def);
    }
    def.m_bDistinct = FlagFrom(m_attrs.Find(ATTR_IS_DISTINCT), false);
    if (ParseText(m_exprWhereClause, expr, s, kSME_Physical)) def.m_physicalDetailFilter = expr;
    m_joinGraph.Execute2();
    def.m_joinSpec = m_joinGraph.GetJoinSpec();
    s->SetSourceDefinition(def);
    for (auto& h : m_columnMappingHandlers) h->Execute2();
  }

 protected:
  bool StartOwn(const VXString& tag, const NameValuePairs& attrs) override {
    const bool tree = IsTree();
    switch (m_parsingState) {
      case psInObject:
        if (tag == TAG_LINK) return Relay(m_joinGraph, false, tag, attrs);
        // The tree form names the expression element itself so; the single document wraps Expr.
        if (tag == TAG_WHERE_CLAUSE) return Relay(m_exprWhereClause, !tree, tag, attrs);
        if (tag == TAG_GROUP_BY) return Relay(m_exprGroupBy, !tree, tag, attrs);
        if (tag == TAG_FRAGMENT_CONTENT) return Relay(m_exprFragmentContent, !tree, tag, attrs);
        if (tag == TAG_CLOSURE_TABLE) return To(kInClosureTable);
        if (tree && tag == TAG_COL_MAPPING) {
          m_columnMappingHandlers.push_back(
              std::make_unique<QORLLogicalColumnMappingHandler>(m_pGateway, m_pManager, this));
          return Relay(*m_columnMappingHandlers.back(), false, tag, attrs);
        }
        return false;
      case kInClosureTable:
        if (LsrcRefType(tag) != kTIDATable) return false;
        if (!LsrcIsEmptyRef(attrs)) m_pClosureTable = ProcessRefObject(kTIDATable, attrs);
        return To(kInClosureTableRef);
      default:
        return false;
    }
  }

  void EndOwn(const VXString&) override {
    m_parsingState = m_parsingState == kInClosureTableRef ? int16_t{kInClosureTable} : int16_t{psInObject};
  }

 private:
  enum : int16_t { kInClosureTable = kFirstOwnState, kInClosureTableRef };

  // Mappings whose logical column is gone (its first object not alive) are dropped.
  void CleanupDeletedColumnMappings(ALogicalTableSource::SourceDefinition& def) {
    auto& projection = def.m_logicalToPhysicalProjection;
    std::erase_if(projection, [this](const std::pair<Expr, Expr>& p) {
      RpObjectVector objects;
      p.first.GetObjectsInExpr(m_pGateway, objects, false);
      return objects.empty() || !m_pManager->IsVltObjectAlive(objects.front());
    });
  }

  QORLObjectStub* m_pParent = nullptr;
  QORLObjectStub* m_pClosureTable = nullptr;
  QORLJoinGraphHandler m_joinGraph{m_pGateway, m_pManager};
  QORLExpressionHandler m_exprWhereClause{m_pGateway, m_pManager, TAG_WHERE_CLAUSE};
  QORLExpressionHandler m_exprGroupBy{m_pGateway, m_pManager, TAG_GROUP_BY};
  QORLExpressionHandler m_exprFragmentContent{m_pGateway, m_pManager, TAG_FRAGMENT_CONTENT};
  std::vector<std::unique_ptr<QORLLogicalColumnMappingHandler>> m_columnMappingHandlers;
};

// ---- MeasureDefn --------------------------------------------------------------------

class QORLMeasureDefnHandler : public LsrcHandler {
 public:
  using LsrcHandler::LsrcHandler;

  void Resolve() override {
    if (!m_pParent) m_pParent = ResolveParent(kTIDAAttribute, false);
    for (QORLObjectStubVector* v : {&m_rules, &m_overrideRules})
      for (QORLObjectStub*& s : *v) ResolveStub(s);
  }

  void Execute() override {
    RefAMeasureDefn m(m_object);
    if (!m) return;
    m->SetContainerAttribute(LsrcObjectOf(m_pParent));
    ReadAttrRows(MeasureDefnAttrRows(), *m, m_attrs);
    // The tree form has no lists: its rules attach themselves.
    if (!IsTree()) {
      RelinkRelation(m->GetAggrRules(), m_rules, true);
      RelinkRelation(m->GetOverrideAggrRules(), m_overrideRules, true);
    }
    SetCommonObjectProperties();
  }

  // At most one default rule, and it stands last: of several rules without a
  // dimension the last is kept and the others are deleted.
  void Execute2() override {
    RefAMeasureDefn m(m_object);
    if (!m) return;
    std::vector<RefAAggrRule> withDimension, withoutDimension;
    for (const RefAAggrRule& r : m->GetAggrRules().Members())
      (r->GetDimension().IsNullRef() ? withoutDimension : withDimension).push_back(r);
    if (withoutDimension.size() < 2) return;
    RefAAggrRule kept = withoutDimension.back();
    for (size_t i = 0; i + 1 < withoutDimension.size(); ++i) m_pManager->DeleteInternalObject(withoutDimension[i].GetID());
    BinaryRelIter<AAggrRule> rules = m->GetAggrRules();
    ClearIterator(rules);
    for (const RefAAggrRule& r : withDimension) rules.Insert(r);
    rules.Insert(kept);
  }

  VXString GetUniqueIdentifier() override {
    if (!m_pManager->m_bFineGrainedXML || m_parentUID.empty()) return VXString(S_ERROR);
    return LsrcGuid(m_parentUID) + U'_' + TAG_MEASURE_DEFN;
  }

  // What a second application of the element needs: the stubs, not the attributes.
  void CloneObject(QORLObject* from) override {
    auto* other = dynamic_cast<QORLMeasureDefnHandler*>(from);
    if (!other) return;
    Clone(other);
    m_pParent = CloneStub(other->m_pParent);
    m_rules = CloneStubs(other->m_rules);
    m_overrideRules = CloneStubs(other->m_overrideRules);
  }

 protected:
  void StartSelf(const NameValuePairs&) override {
    if (IsTree()) m_pParent = m_pManager->GetParentObjectHandler();
  }

  bool StartOwn(const VXString& tag, const NameValuePairs& attrs) override {
    switch (m_parsingState) {
      case psInObject:
        if (tag == TAG_RULES) return To(kInRules);
        if (tag == TAG_OVERRIDE_RULES) return To(kInOverrideRules);
        return false;
      case kInRules:
      case kInOverrideRules: {
        const bool rules = m_parsingState == kInRules;
        TypeID type = rules ? kTIDAAggrRule : kTIDAOverrideAggrRule;
        if (LsrcRefType(tag) != type) return false;
        if (!LsrcIsEmptyRef(attrs)) (rules ? m_rules : m_overrideRules).push_back(ProcessRefObject(type, attrs));
        return To(rules ? kInRuleRef : kInOverrideRuleRef);
      }
      default:
        return false;
    }
  }

  void EndOwn(const VXString&) override {
    switch (m_parsingState) {
      case kInRuleRef: m_parsingState = kInRules; break;
      case kInOverrideRuleRef: m_parsingState = kInOverrideRules; break;
      default: m_parsingState = psInObject; break;
    }
  }

 private:
  enum : int16_t { kInRules = kFirstOwnState, kInRuleRef, kInOverrideRules, kInOverrideRuleRef };

  QORLObjectStub* m_pParent = nullptr;
  QORLObjectStubVector m_rules;
  QORLObjectStubVector m_overrideRules;
};

// ---- AggrRule, OverrideAggrRule -----------------------------------------------------

// What the two rules share: the measure as parent, one expression, one reference.
template <class Rule>
class LsrcRuleHandler : public LsrcHandler {
 public:
  using LsrcHandler::LsrcHandler;

  void Resolve() override {
    if (!m_pMeasure) m_pMeasure = ResolveParent(kTIDAMeasureDefn, false);
    ResolveStub(m_pRef);
    m_expr.Resolve();
  }

  // A rule that the measure's list names already keeps its place there; a
  // rule whose measure cannot be reached stays unattached.
  void Execute() override {
    Ref<Rule> r(m_object);
    if (!r) return;
    RefAMeasureDefn measure(LsrcObjectOf(m_pMeasure));
    if (measure) r->SetMeasureDefn(measure);
    SetReference(*r, LsrcObjectOf(m_pRef));
    SetCommonObjectProperties();
  }

  void Execute2() override {
    Ref<Rule> r(m_object);
    if (!r) return;
    Expr expr;
    if (ParseText(m_expr, expr, r, ExprKind())) SetExpression(*r, expr);
  }

  VXString GetUniqueIdentifier() override {
    const QORLObjectStubVector& objects = m_expr.GetObjects();
    if (!m_pManager->m_bFineGrainedXML || objects.empty() || !objects[0] || m_qualifiedName.empty())
      return VXString(S_ERROR);
    return LsrcGuid(objects[0]->GetUpgradeID()) + U'_' + m_qualifiedName.back();
  }

  // What a second application of the element needs: the stubs and the expression, not "isDefault".
  void CloneObject(QORLObject* from) override {
    if (!from || typeid(*from) != typeid(*this)) return;
    auto* other = static_cast<LsrcRuleHandler*>(from);
    Clone(other);
    m_pMeasure = CloneStub(other->m_pMeasure);
    m_pRef = CloneStub(other->m_pRef);
    m_expr.CloneObject(&other->m_expr);
  }

 protected:
  virtual ExprType ExprKind() const = 0;
  virtual void SetReference(Rule& rule, const RefARpObject& object) = 0;
  virtual void SetExpression(Rule& rule, const Expr& expr) = 0;

  void StartSelf(const NameValuePairs&) override {
    if (IsTree()) m_pMeasure = m_pManager->GetParentObjectHandler();
  }

  QORLObjectStub* m_pMeasure = nullptr;
  QORLObjectStub* m_pRef = nullptr;
  QORLExpressionHandler m_expr{m_pGateway, m_pManager, TAG_EXPR};
};

class QORLAggrRuleHandler : public LsrcRuleHandler<AAggrRule> {
 public:
  using LsrcRuleHandler::LsrcRuleHandler;

 protected:
  ExprType ExprKind() const override { return kSME_Logical; }
  void SetReference(AAggrRule& rule, const RefARpObject& object) override { rule.SetDimension(object); }
  void SetExpression(AAggrRule& rule, const Expr& expr) override { rule.SetAggrExpr(expr); }

  // "isDefault" is kept but not applied: a rule is the default when it has no dimension.
  void StartSelf(const NameValuePairs& attrs) override {
    LsrcRuleHandler::StartSelf(attrs);
    GetAttr(ATTR_IS_DEFAULT, attrs, m_bIsDefault);
  }

  bool StartOwn(const VXString& tag, const NameValuePairs& attrs) override {
    switch (m_parsingState) {
      case psInObject:
        if (IsExpressionPart(tag)) return Relay(m_expr, false, tag, attrs);
        if (tag == TAG_BASED_ON_DIMENSION) return To(kInDimension);
        return false;
      case kInDimension:
        if (LsrcRefType(tag) != kTIDADimension) return false;
        if (!LsrcIsEmptyRef(attrs)) m_pRef = ProcessRefObject(kTIDADimension, attrs);
        return To(kInDimensionRef);
      default:
        return false;
    }
  }

  void EndOwn(const VXString&) override {
    m_parsingState = m_parsingState == kInDimensionRef ? int16_t{kInDimension} : int16_t{psInObject};
  }

 private:
  enum : int16_t { kInDimension = kFirstOwnState, kInDimensionRef };
  bool m_bIsDefault = false;
};

class QORLOverrideAggrRuleHandler : public LsrcRuleHandler<AOverrideAggrRule> {
 public:
  using LsrcRuleHandler::LsrcRuleHandler;

 protected:
  ExprType ExprKind() const override { return kSME_Physical; }
  void SetReference(AOverrideAggrRule& rule, const RefARpObject& object) override { rule.SetLogicalTableSource(object); }
  void SetExpression(AOverrideAggrRule& rule, const Expr& expr) override { rule.SetOverrideAggrExpr(expr); }

  bool StartOwn(const VXString& tag, const NameValuePairs& attrs) override {
    if (m_parsingState != psInObject) return false;
    if (IsExpressionPart(tag)) return Relay(m_expr, false, tag, attrs);
    if (LsrcRefType(tag) != kTIDALogicalTableSource) return false;
    if (!LsrcIsEmptyRef(attrs)) m_pRef = ProcessRefObject(kTIDALogicalTableSource, attrs);
    return To(kInSourceRef);
  }

 private:
  enum : int16_t { kInSourceRef = kFirstOwnState };
};

template <class H>
QORLObject* LsrcMake(ARpGateway* rp, QORLObjectManager* m) {
  return new H(rp, m);
}

const HandlerRow kLsrcHandlers[] = {
    {kTIDALogicalTableSource, &LsrcMake<QORLLogicalTableSourceHandler>},
    {kTIDColMapping, &LsrcMake<QORLLogicalColumnMappingHandler>},
    {kTIDAMeasureDefn, &LsrcMake<QORLMeasureDefnHandler>},
    {kTIDAAggrRule, &LsrcMake<QORLAggrRuleHandler>},
    {kTIDAOverrideAggrRule, &LsrcMake<QORLOverrideAggrRuleHandler>},
};

}  // namespace

std::span<const HandlerRow> LogicalSourceHandlers() { return kLsrcHandlers; }

}  // namespace qorl
