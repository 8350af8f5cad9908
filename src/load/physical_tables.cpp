// Handlers of the physical tables elements.
#include "gen/physical_tables.h"

#include <algorithm>

#include "load/handler.h"
#include "load/manager.h"
#include "model/attrgroups.h"
#include "model/codecs.h"
#include "model/registry.h"
#include "model/vocabulary.h"
#include "platform/strutil.h"

namespace qorl {

namespace {

// The type a reference element names ("RefPhysicalColumn": 3003); 0 for any
// other element.
TypeID PtabRefType(const VXString& tag) {
  if (!tag.starts_with(TAG_REF)) return kTIDUnknown;
  return QORLUtil::GetTypeID(tag.substr(TAG_REF.size()));
}

// A reference element without attributes is the empty element written for
// an unset reference under kGenEmptyElements: it names nothing.
bool PtabIsEmptyRef(const NameValuePairs& attrs) { return attrs.Size() == 0; }

RefARpObject PtabObjectOf(const QORLObjectStub* stub) { return stub ? stub->GetARpObject() : RefARpObject(); }

// What the five handlers share: the common attributes kept for the attribute
// rows, tagged references (a role element holding one reference), groups of
// references, and the simple Properties list of tables and columns.
class PtabHandler : public QORLObject {
 public:
  using QORLObject::QORLObject;

  void startElement(const VXString& tag, const NameValuePairs& attrs) override {
    if (m_parsingState == psStart) {
      ProcessObjectAttributes(attrs);
      m_attrs = attrs;
      m_parsingState = psInObject;
      return;
    }
    if (HandleCommonStart(tag)) return;
    switch (m_parsingState) {
      case psInObject:
        for (size_t i = 0; i < m_tagged.size(); ++i)
          if (tag == m_tagged[i].tag) return Enter(kInTagged, i);
        for (size_t i = 0; i < m_groups.size(); ++i)
          if (tag == m_groups[i].tag) return Enter(kInGroup, i);
        if (m_bReadsProperties && tag == TAG_PROPERTIES) return Enter(kInProperties, 0);
        break;
      case kInTagged:
        if (TypeID type = PtabRefType(tag)) {
          if (!PtabIsEmptyRef(attrs)) m_tagged[m_slot].stub = ProcessRefObject(type, attrs);
          m_parsingState = kInTaggedRef;
          return;
        }
        break;
      case kInGroup: {
        TypeID type = PtabRefType(tag);
        const TypeIDVector& accepted = m_groups[m_slot].accepted;
        if (type && std::find(accepted.begin(), accepted.end(), type) != accepted.end()) {
          if (!PtabIsEmptyRef(attrs)) m_groups[m_slot].stubs.push_back(ProcessRefObject(type, attrs));
          m_parsingState = kInGroupRef;
          return;
        }
        break;
      }
      case kInProperties:
        if (tag == TAG_PROPERTY) {
          VXString name, value;
          GetAttr(ATTR_NAME, attrs, name);
          GetAttr(ATTR_VALUE, attrs, value);
          m_properties[name] = value;
          m_parsingState = kInProperty;
          return;
        }
        break;
      default:
        break;
    }
    if (!StartOwn(tag, attrs)) InitializeUnknownElementHandler();
  }

  void characters(std::u32string_view text) override {
    if (!HandleCommonCharacters(text)) CharactersOwn(text);
  }

  void endElement(const VXString& tag) override {
    if (HandleCommonEnd()) return;
    switch (m_parsingState) {
      case kInTaggedRef:
        m_parsingState = kInTagged;
        return;
      case kInGroupRef:
        m_parsingState = kInGroup;
        return;
      case kInProperty:
        m_parsingState = kInProperties;
        return;
      case kInTagged:
      case kInGroup:
      case kInProperties:
        m_parsingState = psInObject;
        return;
      case psInObject:
        return;  // the element's own end
      default:
        EndOwn(tag);
    }
  }

 protected:
  enum : int16_t {
    kInTagged = psIndividualObjectStateStart,
    kInTaggedRef,
    kInGroup,
    kInGroupRef,
    kInProperties,
    kInProperty,
    kFirstOwnState,  // derived handlers number their states from here
  };
  struct Tagged {
    std::u32string_view tag;
    QORLObjectStub* stub = nullptr;
  };
  struct Group {
    std::u32string_view tag;
    TypeIDVector accepted;
    QORLObjectStubVector stubs;
  };

  // Children of the element's own, and the states they open: true when taken.
  virtual bool StartOwn(const VXString& tag, const NameValuePairs& attrs) { return false; }
  virtual void CharactersOwn(std::u32string_view text) {}
  virtual void EndOwn(const VXString& tag) {}

  void Enter(int16_t state, size_t slot) {
    m_parsingState = state;
    m_slot = slot;
  }
  void ResolveStub(QORLObjectStub*& stub) {
    if (stub) m_pManager->ResolveQORLObjectStub(stub, false, false);
  }
  void ResolveStubs(QORLObjectStubVector& stubs) {
    for (QORLObjectStub*& s : stubs) ResolveStub(s);
  }
  void ResolveTagged() {
    for (Tagged& t : m_tagged) ResolveStub(t.stub);
  }
  RefARpObject TaggedObject(size_t i) const { return PtabObjectOf(m_tagged[i].stub); }
  // "lastUpdated" is read here rather than by its attribute row: a bad date
  // names the element's line.
  VXDateTime LastUpdated() const {
    const VXString* text = m_attrs.Find(ATTR_LAST_UPDATED);
    if (!text) return VXDateTime();
    return QORLUtil::GetVXDateTimeFromString(*text, GetObjTagLineNumber(), true, !m_pManager->IgnoreErrors());
  }

  NameValuePairs m_attrs;
  std::vector<Tagged> m_tagged;
  std::vector<Group> m_groups;
  bool m_bReadsProperties = false;
  PhysicalPropertyMap m_properties;
  size_t m_slot = 0;
};

// ---- PhysicalTable -----------------------------------------------------------------

class QORLPhysicalTableHandler : public PtabHandler {
 public:
  QORLPhysicalTableHandler(ARpGateway* rp, QORLObjectManager* m) : PtabHandler(rp, m) {
    for (std::u32string_view tag :
         {TAG_SOURCE_TABLE, TAG_AGGR_CONN_POOL, TAG_MEMBER_KEY, TAG_PARENT_KEY, TAG_DISTANCE_COLUMN, TAG_LEAF_COLUMN})
      m_tagged.push_back({tag});
    m_bReadsProperties = true;
  }

  void Resolve() override {
    m_container = ResolveContainer();
    ResolveStub(m_variable);
    ResolveStub(m_tagged[kPool].stub);
    ResolveStub(m_tagged[kSourceTable].stub);
    for (size_t i : {kMemberKey, kParentKey, kDistance, kLeaf}) ResolveStub(m_tagged[i].stub);
    ResolveStubs(m_replDatabases);
  }

  void Execute() override {
    RefATable t(m_object);
    if (!t) return;
    ReadAttrRows(PhysicalTableSharedAttrRows(), *t, m_attrs);
    ReadAttrRows(PhysicalTableOwnAttrRows(), *t, m_attrs);
    t->SetLastUpdated(LastUpdated());
    t->SetExternalDbSpecificNames(m_dbNames);
    t->SetContainer(PtabObjectOf(m_container));
    t->SetSourceConnectionPool(TaggedObject(kPool));
    t->SetVariable(PtabObjectOf(m_variable));
    t->SetWSXSLT(BaseStringUtil::LineFeedConversion(m_xslt));
    t->SetWSxsdSchema(BaseStringUtil::LineFeedConversion(m_xsd));
    t->SetPropertyMap(m_properties);
    // The n-th database goes with the n-th table name; one that is not there adds nothing.
    ReplicationMap replication;
    for (size_t i = 0; i < m_replDatabases.size(); ++i) {
      RefARpObject db = PtabObjectOf(m_replDatabases[i]);
      if (db.IsNullRef()) continue;
      Expr key;
      key.AppendObject(db.GetID());
      replication.emplace(std::move(key), i < m_replTables.size() ? m_replTables[i] : VXString());
    }
    t->SetReplicationMap(replication);
    SetCommonObjectProperties();
  }

  // What points at tables or columns that may only now exist.
  void Execute2() override {
    RefATable t(m_object);
    if (!t) return;
    t->SetSourceTable(TaggedObject(kSourceTable));
    t->SetMemberKeyColumn(TaggedObject(kMemberKey));
    t->SetParentKeyColumn(TaggedObject(kParentKey));
    t->SetDistanceColumn(TaggedObject(kDistance));
    t->SetIsLeafColumn(TaggedObject(kLeaf));
  }

 protected:
  bool StartOwn(const VXString& tag, const NameValuePairs& attrs) override {
    switch (m_parsingState) {
      case psInObject:
        if (tag == TAG_DB_MAP) return To(kInDBMap);
        if (tag == TAG_XSLT) return To(kInXSLT);
        if (tag == TAG_XSD_SCHEMA) return To(kInXSD);
        if (tag == TAG_REPLICATION) return To(kInReplication);
        // The variable is a plain reference, not wrapped.
        if (TypeID type = PtabRefType(tag)) {
          if (!PtabIsEmptyRef(attrs)) m_variable = ProcessRefObject(type, attrs);
          return To(kInVariable);
        }
        return false;
      case kInDBMap:
        if (tag != TAG_ITEM) return false;
        GetAttr(ATTR_NAME, attrs, m_itemName);
        m_itemText.clear();
        return To(kInDBMapItem);
      case kInDBMapItem:
        return tag == TAG_VALUE && To(kInDBMapValue);
      case kInReplication:
        return tag == TAG_REPLICATION_ENTRY && To(kInReplicationEntry);
      case kInReplicationEntry:
        if (tag == TAG_TABLE) {
          m_replTables.emplace_back();
          return To(kInReplicationTable);
        }
        if (PtabRefType(tag) != kTIDADatabase) return false;
        m_replDatabases.push_back(ProcessRefObject(kTIDADatabase, attrs));
        return To(kInReplicationRef);
      default:
        return false;
    }
  }

  void CharactersOwn(std::u32string_view text) override {
    switch (m_parsingState) {
      case kInDBMapValue:
        m_itemText.append(text);
        break;
      case kInXSLT:
        m_xslt.append(text);
        break;
      case kInXSD:
        m_xsd.append(text);
        break;
      case kInReplicationTable:
        m_replTables.back().append(text);
        break;
      default:
        break;
    }
  }

  void EndOwn(const VXString&) override {
    switch (m_parsingState) {
      case kInDBMapValue:
        m_parsingState = kInDBMapItem;
        break;
      case kInDBMapItem:
        QORLUtility::ProcessDbSpecificString(m_itemName, m_itemText, m_dbNames);
        m_parsingState = kInDBMap;
        break;
      case kInReplicationRef:
      case kInReplicationTable:
        m_parsingState = kInReplicationEntry;
        break;
      case kInReplicationEntry:
        m_parsingState = kInReplication;
        break;
      default:
        m_parsingState = psInObject;
        break;  // DBMap, XSLT, XSDSchema, Replication, the variable
    }
  }

 private:
  enum : size_t { kSourceTable, kPool, kMemberKey, kParentKey, kDistance, kLeaf };
  enum : int16_t {
    kInDBMap = kFirstOwnState,
    kInDBMapItem,
    kInDBMapValue,
    kInXSLT,
    kInXSD,
    kInReplication,
    kInReplicationEntry,
    kInReplicationRef,
    kInReplicationTable,
    kInVariable,
  };

  bool To(int16_t state) {
    m_parsingState = state;
    return true;
  }

  QORLObjectStub* ContainerStub(TypeID type, const QualifiedName& name) {
    QORLObjectStub* stub = m_pManager->CreateQORLObjectStub(type, m_parentUID, name);
    stub->SetParentID(m_parentID);
    stub->SetID(m_parentID);
    return stub;
  }

  // The container follows from the table's own qualified name, which holds
  // the levels database, catalog, schema, table, with empty ones where a
  // level is missing. A name without the empty levels ("db"."x"."T") is read
  // too: its middle level is a schema if there is one, else a catalog.
  QORLObjectStub* ResolveContainer() {
    QualifiedName q = m_qualifiedName;
    if (q.size() < 2) return nullptr;
    QORLObjectStub* stub;
    if (q.size() == 4 && !q[2].empty()) {
      q.pop_back();
      stub = ContainerStub(kTIDASchema, q);
    } else if (q.size() == 4 && !q[1].empty()) {
      q.resize(2);
      stub = ContainerStub(kTIDACatalog, q);
    } else if (q.size() == 3 && !q[1].empty()) {
      q.pop_back();
      stub = ContainerStub(kTIDASchema, q);
      if (m_pManager->TryResolveQORLObjectStub(stub)) return stub;
      stub = ContainerStub(kTIDACatalog, q);
    } else {
      q.resize(1);
      stub = ContainerStub(kTIDADatabase, q);
    }
    ResolveStub(stub);
    return stub;
  }

  QORLObjectStub* m_container = nullptr;
  QORLObjectStub* m_variable = nullptr;
  VXString m_itemName;
  VXString m_itemText;
  std::map<int, VXString> m_dbNames;
  VXString m_xslt;
  VXString m_xsd;
  QORLObjectStubVector m_replDatabases;
  VXStringVector m_replTables;
};

// ---- PhysicalColumn ----------------------------------------------------------------

class QORLPhysicalColumnHandler : public PtabHandler {
 public:
  QORLPhysicalColumnHandler(ARpGateway* rp, QORLObjectManager* m) : PtabHandler(rp, m) {
    m_tagged = {{TAG_DYNAMIC_NAME}, {TAG_SOURCE_COLUMN}};
    m_groups.push_back({TAG_PICKLIST_COLUMNS, {kTIDAColumn}, {}});
    m_bReadsProperties = true;
  }

  void Resolve() override {
    m_pParent = ResolveParent(kTIDATable, false);
    ResolveTagged();
    ResolveStubs(m_groups[0].stubs);
  }

  void Execute() override {
    RefAColumn c(m_object);
    if (!c) return;
    c->SetTable(PtabObjectOf(m_pParent));
    ReadAttrRows(PhysicalColumnAttrRows(), *c, m_attrs);
    c->SetLastUpdated(LastUpdated());
    c->SetSourceColumn(TaggedObject(1));
    c->SetVariable(TaggedObject(0));
    c->SetPropertyMap(m_properties);
    RelinkRelation(c->GetPicklistColumns(), m_groups[0].stubs);
    SetCommonObjectProperties();
  }

  void Execute2() override {}

 private:
  QORLObjectStub* m_pParent = nullptr;
};

// ---- PhysicalKey -------------------------------------------------------------------

class QORLPhysicalKeyHandler : public PtabHandler {
 public:
  QORLPhysicalKeyHandler(ARpGateway* rp, QORLObjectManager* m) : PtabHandler(rp, m) {
    m_groups.push_back({TAG_COLUMNS, {kTIDAColumn, kTIDACubeColumn}, {}});
  }

  // A key whose table is not a physical table belongs to a cube table.
  void Resolve() override {
    m_pParent = ResolveParent(TypeIDVector{kTIDATable, kTIDACubeTable}, false);
    ResolveStubs(m_groups[0].stubs);
  }

  void Execute() override {
    RefATableKey k(m_object);
    if (!k) return;
    RelinkRelation(k->GetColumns(), m_groups[0].stubs, true);
    k->SetTable(PtabObjectOf(m_pParent));
    SetCommonObjectProperties();
  }

  void Execute2() override {}

 private:
  QORLObjectStub* m_pParent = nullptr;
};

// ---- PhysicalForeignKey ------------------------------------------------------------

class QORLPhysicalForeignKeyHandler : public PtabHandler {
 public:
  QORLPhysicalForeignKeyHandler(ARpGateway* rp, QORLObjectManager* m) : PtabHandler(rp, m) {
    m_groups.push_back({TAG_COLUMNS, {kTIDAColumn}, {}});
    m_tagged = {{TAG_COUNTER_PART_KEY}};
  }

  void Resolve() override {
    m_pParent = ResolveParent(kTIDATable, false);
    ResolveStubs(m_groups[0].stubs);
    ResolveTagged();
  }

  void Execute() override {
    RefAForeignKey k(m_object);
    if (!k) return;
    ReadAttrRows(PhysicalForeignKeyAttrRows(), *k, m_attrs);
    k->SetTableKey(TaggedObject(0));
    k->SetContainer(PtabObjectOf(m_pParent));
    RelinkRelation(k->GetComponents(), m_groups[0].stubs, true);
    SetCommonObjectProperties();
  }

  void Execute2() override {}

 private:
  QORLObjectStub* m_pParent = nullptr;
};

// ---- ComplexJoin -------------------------------------------------------------------

class QORLComplexJoinHandler : public PtabHandler {
 public:
  QORLComplexJoinHandler(ARpGateway* rp, QORLObjectManager* m) : PtabHandler(rp, m) {
    m_groups.push_back({TAG_TABLES, {kTIDATable, kTIDACubeTable, kTIDAAWCube, kTIDAAWDimension}, {}});
  }

  void Resolve() override {
    ResolveStubs(m_groups[0].stubs);
    m_joinExpr.Resolve();
    m_externalExpr.Resolve();
  }

  void Execute() override {
    RefAComplexJoin j(m_object);
    if (!j) return;
    RelinkRelation(j->GetTables(), m_groups[0].stubs, true);
    ReadAttrRows(ComplexJoinAttrRows(), *j, m_attrs);
    SetCommonObjectProperties();
  }

  // The expressions may name objects of this document, which exist only now.
  void Execute2() override {
    RefAComplexJoin j(m_object);
    if (!j) return;
    Expr expr;
    if (m_pManager->ParseMetaExpr(m_joinExpr.GetExprLine(), m_joinExpr.GetExprText(), expr, m_object, kSME_Physical))
      j->SetJoinExpr(expr);
    expr.Clear();
    if (m_pManager->ParseMetaExpr(m_externalExpr.GetExprLine(), m_externalExpr.GetExprText(), expr, m_object,
                                  kSME_Physical))
      j->SetExternalJoinExpr(expr);
  }

 protected:
  // Expr, ExprText and Objects stand in the join itself; the external
  // expression has a wrapper of its own. Each goes to its reader while open.
  bool StartOwn(const VXString& tag, const NameValuePairs& attrs) override {
    if (m_parsingState == kInExpression) {
      m_relay.Start(tag, attrs);
      return true;
    }
    if (m_parsingState != psInObject) return false;
    if (tag == TAG_EXPR || tag == TAG_EXPR_TEXT || tag == TAG_OBJECTS) {
      m_relay.Open(&m_joinExpr, false, psInObject);
      m_relay.Start(tag, attrs);
    } else if (tag == TAG_EXTERNAL_EXPR) {
      m_relay.Open(&m_externalExpr, true, psInObject);
    } else {
      return false;
    }
    m_parsingState = kInExpression;
    return true;
  }

  void CharactersOwn(std::u32string_view text) override {
    if (m_parsingState == kInExpression) m_relay.Characters(text);
  }

  void EndOwn(const VXString& tag) override {
    if (m_parsingState == kInExpression && m_relay.End(tag)) m_parsingState = m_relay.ReturnState();
  }

 private:
  enum : int16_t { kInExpression = kFirstOwnState };

  QORLExpressionHandler m_joinExpr{m_pGateway, m_pManager};
  QORLExpressionHandler m_externalExpr{m_pGateway, m_pManager, TAG_EXTERNAL_EXPR};
  ChildRelay m_relay;
};

template <class H>
QORLObject* PtabMake(ARpGateway* rp, QORLObjectManager* m) {
  return new H(rp, m);
}

const HandlerRow kPtabHandlers[] = {
    {kTIDATable, &PtabMake<QORLPhysicalTableHandler>},     {kTIDAColumn, &PtabMake<QORLPhysicalColumnHandler>},
    {kTIDATableKey, &PtabMake<QORLPhysicalKeyHandler>},    {kTIDAForeignKey, &PtabMake<QORLPhysicalForeignKeyHandler>},
    {kTIDAComplexJoin, &PtabMake<QORLComplexJoinHandler>},
};

}  // namespace

std::span<const HandlerRow> PhysicalTableHandlers() { return kPtabHandlers; }

}  // namespace qorl
