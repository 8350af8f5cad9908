// Handlers of the logical model elements.
#include "gen/logical_model.h"

#include <algorithm>

#include "load/handler.h"
#include "load/manager.h"
#include "model/codecs.h"
#include "model/registry.h"
#include "model/vocabulary.h"
#include "store/expr_store.h"
#include "store/metadata_util.h"

namespace qorl {

namespace {

// The type a reference element names ("RefLogicalColumn": 2006); 0 for any
// other element.
TypeID LmodRefType(const VXString& tag) {
  if (!tag.starts_with(TAG_REF)) return kTIDUnknown;
  return QORLUtil::GetTypeID(tag.substr(TAG_REF.size()));
}

// A reference element without attributes is the empty element written for
// an unset reference under kGenEmptyElements: it names nothing.
bool LmodIsEmptyRef(const NameValuePairs& attrs) { return attrs.Size() == 0; }

bool LmodAccepts(const TypeIDVector& accepted, TypeID type) {
  return type != kTIDUnknown && std::find(accepted.begin(), accepted.end(), type) != accepted.end();
}

RefARpObject LmodObjectOf(const QORLObjectStub* stub) { return stub ? stub->GetARpObject() : RefARpObject(); }

// What the six handlers share: the common attributes kept for the attribute
// rows, tagged references (a role element holding one reference) and groups
// of references, each with the types it takes.
class LmodHandler : public QORLObject {
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
        break;
      case kInTagged: {
        TypeID type = LmodRefType(tag);
        if (LmodAccepts(m_tagged[m_slot].accepted, type)) {
          if (!LmodIsEmptyRef(attrs)) m_tagged[m_slot].stub = ProcessRefObject(type, attrs);
          m_parsingState = kInTaggedRef;
          return;
        }
        break;
      }
      case kInGroup: {
        TypeID type = LmodRefType(tag);
        if (LmodAccepts(m_groups[m_slot].accepted, type)) {
          if (!LmodIsEmptyRef(attrs)) {
            m_groups[m_slot].stubs.push_back(ProcessRefObject(type, attrs));
            m_groups[m_slot].bNamed = true;
          }
          m_parsingState = kInGroupRef;
          return;
        }
        break;
      }
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
      case kInTagged:
      case kInGroup:
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
    kFirstOwnState,  // derived handlers number their states from here
  };
  struct Tagged {
    std::u32string_view tag;
    TypeIDVector accepted;
    QORLObjectStub* stub = nullptr;
  };
  struct Group {
    std::u32string_view tag;
    TypeIDVector accepted;
    QORLObjectStubVector stubs;
    bool bNamed = false;  // some member was named
  };

  // Children of the element's own, and the states they open: true when taken.
  virtual bool StartOwn(const VXString& tag, const NameValuePairs& attrs) { return false; }
  virtual void CharactersOwn(std::u32string_view text) {}
  virtual void EndOwn(const VXString& tag) {}

  void Enter(int16_t state, size_t slot) {
    m_parsingState = state;
    m_slot = slot;
  }
  bool To(int16_t state) {
    m_parsingState = state;
    return true;
  }
  void ResolveStub(QORLObjectStub*& stub, bool bIsObjectToBeDeleted = false) {
    if (stub) m_pManager->ResolveQORLObjectStub(stub, bIsObjectToBeDeleted, false);
  }
  void ResolveStubs(QORLObjectStubVector& stubs, bool bIsObjectToBeDeleted = false) {
    for (QORLObjectStub*& s : stubs) ResolveStub(s, bIsObjectToBeDeleted);
  }
  void ResolveTaggedAndGroups() {
    for (Tagged& t : m_tagged) ResolveStub(t.stub);
    for (Group& g : m_groups) ResolveStubs(g.stubs);
  }
  RefARpObject TaggedObject(size_t i) const { return LmodObjectOf(m_tagged[i].stub); }

  NameValuePairs m_attrs;
  std::vector<Tagged> m_tagged;
  std::vector<Group> m_groups;
  size_t m_slot = 0;
};

// ---- BusinessModel -----------------------------------------------------------------

class QORLSubjectAreaHandler : public LmodHandler {
 public:
  QORLSubjectAreaHandler(ARpGateway* rp, QORLObjectManager* m) : LmodHandler(rp, m) {
    m_groups.push_back({TAG_DISPLAY_FOLDERS, {kTIDALogicalDisplayFolder}, {}});
    m_groups.push_back({TAG_REMOVED_DISPLAY_FOLDERS, {kTIDALogicalDisplayFolder}, {}});
  }

  void Resolve() override {
    ResolveStubs(m_groups[kFolders].stubs);
    // A folder the document removes may be going in the same document.
    ResolveStubs(m_groups[kRemoved].stubs, true);
  }

  void Execute() override {
    RefASubjectArea bm(m_object);
    if (!bm) return;
    ReadAttrRows(BusinessModelAttrRows(), *bm, m_attrs);
    SetCommonObjectProperties();
  }

  // The folders are elements of their own, executed after the model.
  void Execute2() override {
    RefASubjectArea bm(m_object);
    if (!bm) return;
    BinaryRelIter<ALogicalDisplayFolder> folders = bm->GetDisplayFolders();
    if (m_groups[kRemoved].bNamed) {
      for (const QORLObjectStub* s : m_groups[kRemoved].stubs)
        if (RefARpObject o = LmodObjectOf(s); !o.IsNullRef()) folders.Erase(o.GetID());
    }
    RelinkRelation(folders, m_groups[kFolders].stubs);
  }

 private:
  enum : size_t { kFolders, kRemoved };
};

// ---- LogicalTable ------------------------------------------------------------------

class QORLLogicalTableHandler : public LmodHandler {
 public:
  QORLLogicalTableHandler(ARpGateway* rp, QORLObjectManager* m) : LmodHandler(rp, m) {
    m_tagged.push_back({TAG_LEVEL_COLUMN, {kTIDAAttribute}});
    m_groups.push_back({TAG_COLUMNS, {kTIDAAttribute}, {}});
    m_groups.push_back({TAG_TABLE_SOURCES, {kTIDALogicalTableSource}, {}});
  }

  void startElement(const VXString& tag, const NameValuePairs& attrs) override {
    if (m_parsingState == psStart) {
      // Read and kept, but nothing applies them.
      m_bSysGen = FlagFrom(attrs.Find(ATTR_IS_SYS_GEN), false);
      m_bDimOnly = FlagFrom(attrs.Find(ATTR_IS_DIM_ONLY), false);
    }
    LmodHandler::startElement(tag, attrs);
  }

  void Resolve() override {
    m_pParent = ResolveParent(kTIDASubjectArea, false);
    ResolveTaggedAndGroups();
  }

  void Execute() override {
    RefALogicalTable t(m_object);
    if (!t) return;
    if (RefARpObject bm = LmodObjectOf(m_pParent); !bm.IsNullRef()) t->SetSubjectArea(bm);
    ReadAttrRows(LogicalTableAttrRows(), *t, m_attrs);
    RelinkRelation(t->GetAttributes(), m_groups[kColumns].stubs);
    RelinkRelation(t->GetSources(), m_groups[kSources].stubs);
    t->SetClassicStarLevelColumn(TaggedObject(kLevelColumn));
    SetCommonObjectProperties();
  }

  // A logical table always has a source folder.
  void Execute2() override {
    RefALogicalTable t(m_object);
    if (!t || t->GetSourceFolder()) return;
    RefARpObject folder = m_pManager->CreateInternalObject(kTIDALogicalSourceFolder);
    folder->SetName(VXString(S_LOGICAL_SOURCE_FOLDER_NAME));
    t->SetSourceFolder(folder);
  }

 private:
  enum : size_t { kLevelColumn = 0 };
  enum : size_t { kColumns = 0, kSources = 1 };

  QORLObjectStub* m_pParent = nullptr;
  bool m_bSysGen = false;
  bool m_bDimOnly = false;
};

// ---- LogicalColumn -----------------------------------------------------------------

class QORLLogicalColumnHandler : public LmodHandler {
 public:
  QORLLogicalColumnHandler(ARpGateway* rp, QORLObjectManager* m) : LmodHandler(rp, m) {
    m_tagged.push_back({TAG_CUSTOM_SORT_ORDER, {kTIDAAttribute}});
    m_tagged.push_back({TAG_DESCRIPTOR_ID, {kTIDAAttribute}});
    m_groups.push_back({TAG_LEVELS, {kTIDALevel}, {}});
  }

  void Resolve() override {
    m_pParent = ResolveParent(kTIDALogicalTable, false);
    ResolveTaggedAndGroups();
    m_exprHandler.Resolve();
    m_attrDefnExprHandler.Resolve();
  }

  void Execute() override {
    RefAAttribute c(m_object);
    if (!c) return;
    c->SetLogicalTable(LmodObjectOf(m_pParent));
    // Without expressions a document names only some links; otherwise its
    // list is the whole set.
    RelinkRelation(c->GetLevelAssociations(), m_groups[kLevels].stubs,
                   !ToPrettyStringVisitor::IsRipAndReplaceNoExprModeOn());
    c->SetDescriptorID(TaggedObject(kDescriptorID));
    c->SetCustomSortOrder(TaggedObject(kCustomSortOrder));
    ReadAttrRows(LogicalColumnAttrRows(), *c, m_attrs);
    SetCommonObjectProperties();
  }

  // The expressions may name columns of this document, which exist only now.
  // A text that does not parse is kept unparsed when the error is only logged.
  void Execute2() override {
    RefAAttribute c(m_object);
    if (!c) return;
    Expr expr;
    m_pManager->ParseMetaExpr(m_exprHandler.GetExprLine(), m_exprHandler.GetExprText(), expr, m_object, kSME_Logical);
    c->SetExpr(expr);
    m_pManager->ParseMetaExpr(m_attrDefnExprHandler.GetExprLine(), m_attrDefnExprHandler.GetExprText(), expr, m_object,
                              kSME_Physical);
    c->SetAttributeDefnExpr(expr);
  }

 protected:
  // Expr, ExprText and Objects stand in the column itself; the second
  // expression has the AttributeDefn wrapper. Each goes to its reader while open.
  bool StartOwn(const VXString& tag, const NameValuePairs& attrs) override {
    if (m_parsingState == kInExpression) {
      m_relay.Start(tag, attrs);
      return true;
    }
    if (m_parsingState != psInObject) return false;
    if (tag == TAG_EXPR || tag == TAG_EXPR_TEXT || tag == TAG_OBJECTS) {
      m_relay.Open(&m_exprHandler, false, psInObject);
      m_relay.Start(tag, attrs);
    } else if (tag == TAG_ATTRIBUTE_DEFN) {
      m_relay.Open(&m_attrDefnExprHandler, true, psInObject);
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
  enum : size_t { kCustomSortOrder = 0, kDescriptorID = 1 };
  enum : size_t { kLevels = 0 };
  enum : int16_t { kInExpression = kFirstOwnState };

  QORLObjectStub* m_pParent = nullptr;
  QORLExpressionHandler m_exprHandler{m_pGateway, m_pManager, TAG_EXPR};
  QORLExpressionHandler m_attrDefnExprHandler{m_pGateway, m_pManager, TAG_ATTRIBUTE_DEFN};
  ChildRelay m_relay;
};

// ---- LogicalKey --------------------------------------------------------------------

class QORLLogicalKeyHandler : public LmodHandler {
 public:
  QORLLogicalKeyHandler(ARpGateway* rp, QORLObjectManager* m) : LmodHandler(rp, m) {
    m_groups.push_back({TAG_COLUMNS, {kTIDAAttribute}, {}});
  }

  // A key named by three names (model, table, key) belongs to a table; a
  // longer name is a level's.
  void Resolve() override {
    m_pParent = ResolveParent(m_qualifiedName.size() == 3 ? kTIDALogicalTable : kTIDALevel, false);
    ResolveTaggedAndGroups();
  }

  void Execute() override {
    RefAKey k(m_object);
    if (!k) return;
    RefARpObject container = LmodObjectOf(m_pParent);
    k->SetContainerEntity(container);
    RelinkRelation(k->GetAttributes(), m_groups[0].stubs, true);
    ReadAttrRows(LogicalKeyAttrRows(), *k, m_attrs);
    // An absent "isPrimary" leaves the container's primary key alone.
    if (FlagFrom(m_attrs.Find(ATTR_IS_PRIMARY), false))
      if (RefALogicalTable table(container); table) table->SetPrimaryKey(k);
    SetCommonObjectProperties();
  }

  void Execute2() override {}

 private:
  QORLObjectStub* m_pParent = nullptr;
};

// ---- LogicalForeignKey -------------------------------------------------------------

class QORLLogicalForeignKeyHandler : public LmodHandler {
 public:
  QORLLogicalForeignKeyHandler(ARpGateway* rp, QORLObjectManager* m) : LmodHandler(rp, m) {
    m_groups.push_back({TAG_COLUMNS, {kTIDAAttribute}, {}});
    m_tagged.push_back({TAG_COUNTER_PART_KEY, {kTIDAKey}});
    m_tagged.push_back({TAG_DRIVING_TABLE, {kTIDALogicalTable}});
  }

  void Resolve() override {
    m_pParent = ResolveParent(kTIDALogicalTable, false);
    ResolveTaggedAndGroups();
  }

  void Execute() override {
    RefALogicalForeignKey k(m_object);
    if (!k) return;
    k->SetContainerEntity(LmodObjectOf(m_pParent));
    RelinkRelation(k->GetAttributes(), m_groups[0].stubs, true);
    k->SetCounterpartKey(TaggedObject(kCounterPartKey));
    ReadAttrRows(LogicalForeignKeyAttrRows(), *k, m_attrs);
    k->SetDrivingTable(TaggedObject(kDrivingTable));
    SetCommonObjectProperties();
  }

  void Execute2() override {}

 private:
  enum : size_t { kCounterPartKey = 0, kDrivingTable = 1 };

  QORLObjectStub* m_pParent = nullptr;
};

// ---- LogicalComplexJoin ------------------------------------------------------------

// One Role of a join as the document gives it.
struct QORLRoleData {
  VXString multiplicity;
  bool bAggregate = false;
};

class QORLLogicalJoinHandler : public LmodHandler {
 public:
  QORLLogicalJoinHandler(ARpGateway* rp, QORLObjectManager* m) : LmodHandler(rp, m) {
    m_tagged.push_back({TAG_DRIVING_TABLE, {kTIDALogicalTable}});
  }

  void Resolve() override {
    ResolveStubs(m_roleEntities);
    ResolveTaggedAndGroups();
  }

  // Roles are never updated in place: the old ones go, the document's are made anew.
  void Execute() override {
    RefARelationship j(m_object);
    if (!j) return;
    VoidIDVector old = j->GetRoles().IDs();
    ClearIterator(j->GetRoles());
    for (const VoidID& id : old) {
      j->EraseRoleProps(id);
      m_pManager->DeleteInternalObject(id);
    }
    for (size_t i = 0; i < m_roleData.size(); ++i) {
      RefARole role(m_pManager->CreateInternalObject(kTIDARole));
      if (!role) continue;
      // The join keeps its roles' properties, so the role joins it first.
      MetadataUtil::SetParent(role, j);
      j->GetRoles().Insert(role);
      ARoleAccess::SetMultiplicity(*role, Multiplicity(m_roleData[i].multiplicity));
      ARoleAccess::SetAggregate(*role, m_roleData[i].bAggregate);
      ARoleAccess::SetParticipatingEntity(*role, LmodObjectOf(m_roleEntities[i]));
    }
    j->SetDrivingTable(TaggedObject(0));
    ReadAttrRows(LogicalJoinAttrRows(), *j, m_attrs);
    SetCommonObjectProperties();
  }

  void Execute2() override {}

 protected:
  bool StartOwn(const VXString& tag, const NameValuePairs& attrs) override {
    switch (m_parsingState) {
      case psInObject:
        return tag == TAG_ROLES && To(kInRoles);
      case kInRoles: {
        if (tag != TAG_ROLE) return false;
        QORLRoleData data;
        GetAttr(ATTR_MULTIPLICITY, attrs, data.multiplicity);
        data.bAggregate = FlagFrom(attrs.Find(ATTR_IS_AGGREGATE), false);
        m_roleData.push_back(data);
        m_roleEntities.push_back(nullptr);
        return To(kInRole);
      }
      case kInRole: {
        // A level is looked for as a level: its name is no table's.
        TypeID type = LmodRefType(tag);
        if (type != kTIDALogicalTable && type != kTIDALevel) return false;
        if (!LmodIsEmptyRef(attrs) && !m_roleEntities.back()) m_roleEntities.back() = ProcessRefObject(type, attrs);
        return To(kInRoleRef);
      }
      default:
        return false;
    }
  }

  void EndOwn(const VXString&) override {
    switch (m_parsingState) {
      case kInRoleRef:
        m_parsingState = kInRole;
        break;
      case kInRole:
        m_parsingState = kInRoles;
        break;
      default:
        m_parsingState = psInObject;
        break;
    }
  }

 private:
  enum : int16_t { kInRoles = kFirstOwnState, kInRole, kInRoleRef };

  std::vector<QORLRoleData> m_roleData;
  QORLObjectStubVector m_roleEntities;  // in step with m_roleData; null for a role naming nothing
};

template <class H>
QORLObject* LmodMake(ARpGateway* rp, QORLObjectManager* m) {
  return new H(rp, m);
}

const HandlerRow kLmodHandlers[] = {
    {kTIDASubjectArea, &LmodMake<QORLSubjectAreaHandler>},
    {kTIDALogicalTable, &LmodMake<QORLLogicalTableHandler>},
    {kTIDAAttribute, &LmodMake<QORLLogicalColumnHandler>},
    {kTIDAKey, &LmodMake<QORLLogicalKeyHandler>},
    {kTIDALogicalForeignKey, &LmodMake<QORLLogicalForeignKeyHandler>},
    {kTIDARelationship, &LmodMake<QORLLogicalJoinHandler>},
};

}  // namespace

std::span<const HandlerRow> LogicalModelHandlers() { return kLmodHandlers; }

}  // namespace qorl
