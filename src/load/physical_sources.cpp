// Handlers of the physical sources elements: Database, ConnectionPool,
// PhysicalCatalog, Schema, PhysicalDisplayFolder.
#include <algorithm>
#include <cstdio>

#include "gen/physical_sources.h"
#include "load/handler.h"
#include "load/manager.h"
#include "model/db_features.h"
#include "model/registry.h"
#include "model/vocabulary.h"
#include "platform/error.h"
#include "store/metadata_util.h"

namespace qorl {

namespace {

RefARpObject PsrcObjectOf(const QORLObjectStub* stub) { return stub ? stub->GetARpObject() : RefARpObject(); }

// A child element that holds references: one (a tagged reference) or a group.
struct PsrcRefSlot {
  std::u32string_view tag;
  VXStringVector refTags;  // "Ref" and the tag of each type accepted
  TypeIDVector types;
  QORLObjectStub** single;
  QORLObjectStubVector* group;
};

// What the five elements share: the common attributes kept for the attribute
// rows, the description, and children that hold references. A reference child
// i has state 1000 + 2i while its element is open and 1001 + 2i inside one of
// its reference elements; the elements' own states start at kPsrcOwnStates.
constexpr int16_t kPsrcOwnStates = 1100;

class QORLPhysicalSourceHandler : public QORLObject {
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
    if (m_parsingState == psInObject) {
      for (size_t i = 0; i < m_slots.size(); ++i)
        if (tag == m_slots[i].tag) {
          m_parsingState = static_cast<int16_t>(psIndividualObjectStateStart + 2 * i);
          return;
        }
    } else if (PsrcRefSlot* slot = OpenSlot(); slot && (m_parsingState - psIndividualObjectStateStart) % 2 == 0) {
      for (size_t t = 0; t < slot->types.size(); ++t) {
        if (tag != slot->refTags[t]) continue;
        QORLObjectStub* stub = ProcessRefObject(slot->types[t], attrs);
        if (slot->single) *slot->single = stub;
        else slot->group->push_back(stub);
        ++m_parsingState;
        return;
      }
      InitializeUnknownElementHandler();
      return;
    }
    if (StartOwn(tag, attrs)) return;
    InitializeUnknownElementHandler();
  }

  void characters(std::u32string_view text) override {
    if (!HandleCommonCharacters(text)) CharactersOwn(text);
  }

  void endElement(const VXString& tag) override {
    if (HandleCommonEnd()) return;
    if (OpenSlot()) {
      bool inReference = (m_parsingState - psIndividualObjectStateStart) % 2 == 1;
      m_parsingState = inReference ? static_cast<int16_t>(m_parsingState - 1) : static_cast<int16_t>(psInObject);
      return;
    }
    EndOwn(tag);
  }

  void Execute2() override {}

 protected:
  void AddRefSlot(std::u32string_view tag, TypeIDVector types, QORLObjectStub** single, QORLObjectStubVector* group) {
    PsrcRefSlot slot{tag, {}, std::move(types), single, group};
    for (TypeID t : slot.types) slot.refTags.push_back(VXString(TAG_REF) + QORLUtil::GetTagName(t));
    m_slots.push_back(std::move(slot));
  }
  void ResolveRefSlots() {
    for (PsrcRefSlot& slot : m_slots) {
      if (slot.single && *slot.single) m_pManager->ResolveQORLObjectStub(*slot.single, false, false);
      if (slot.group) m_pManager->ResolveQORLObjectStubVector(*slot.group, false);
    }
  }
  // The element's own children; false leaves the child to the unknown-element skipper.
  virtual bool StartOwn(const VXString& tag, const NameValuePairs& attrs) { return false; }
  virtual void CharactersOwn(std::u32string_view text) {}
  virtual void EndOwn(const VXString& tag) {}

  NameValuePairs m_attrs;  // the element's own attributes, read by Execute
  QORLObjectStub* m_pParent = nullptr;

 private:
  PsrcRefSlot* OpenSlot() {
    int i = m_parsingState - psIndividualObjectStateStart;
    return i >= 0 && i / 2 < static_cast<int>(m_slots.size()) ? &m_slots[i / 2] : nullptr;
  }

  std::vector<PsrcRefSlot> m_slots;
};

// ---- Database ---------------------------------------------------------------------

class QORLDatabaseHandler : public QORLPhysicalSourceHandler {
 public:
  QORLDatabaseHandler(ARpGateway* rp, QORLObjectManager* m) : QORLPhysicalSourceHandler(rp, m) {
    AddRefSlot(TAG_PERSIST_CONN_POOL, {kTIDAConnectionPool}, &m_pPersistPool, nullptr);
    AddRefSlot(TAG_DISPLAY_FOLDERS, {kTIDAPhysicalDisplayFolder}, nullptr, &m_displayFolders);
    AddRefSlot(TAG_REMOVED_DISPLAY_FOLDERS, {kTIDAPhysicalDisplayFolder}, nullptr, &m_removedDisplayFolders);
    AddRefSlot(TAG_CONNECTION_POOLS, {kTIDAConnectionPool}, nullptr, &m_connectionPools);
  }

  void Resolve() override { ResolveRefSlots(); }

  void Execute() override {
    RefADatabase db(m_object);
    if (!db) return;
    ReadAttrRows(DatabaseAttrRows(), *db, m_attrs);
    db->SetDatabaseFeatures(m_features);
    db->SetDefaultPersistConnectionPool(RefAConnectionPool(PsrcObjectOf(m_pPersistPool)));
    db->SetDatabaseProperties(m_properties);
    BinaryRelIter<APhysicalDisplayFolder> folders = db->GetDisplayFolders();
    for (const QORLObjectStub* s : m_removedDisplayFolders)
      if (RefARpObject o = PsrcObjectOf(s)) folders.Erase(o.GetID());
    RelinkRelation(folders, m_displayFolders);
    RelinkRelation(db->GetConnectionPools(), m_connectionPools);
    SetCommonObjectProperties();
  }

 protected:
  enum : int16_t {
    kFeatures = kPsrcOwnStates,
    kFeature,
    kProperties,
    kPropertyGroup,
    kProperty,
    kPropertyName,
    kPropertyValue,
  };

  bool StartOwn(const VXString& tag, const NameValuePairs& attrs) override {
    switch (m_parsingState) {
      case psInObject:
        if (tag == TAG_FEATURES) m_parsingState = kFeatures;
        else if (tag == TAG_PROPERTIES) m_parsingState = kProperties;
        else return false;
        return true;
      case kFeatures:
        if (tag != TAG_FEATURE) return false;
        ProcessDBFeature(attrs);
        m_parsingState = kFeature;
        return true;
      case kProperties:
        if (tag != TAG_PROPERTY_GROUP) return false;
        m_category = TextFrom(attrs.Find(ATTR_CATEGORY));
        m_properties[m_category];  // a group without keys is still a category
        m_parsingState = kPropertyGroup;
        return true;
      case kPropertyGroup:
        if (tag != TAG_PROPERTY) return false;
        m_propertyName.clear();
        m_propertyValue.clear();
        m_parsingState = kProperty;
        return true;
      case kProperty:
        if (tag == TAG_NAME) m_parsingState = kPropertyName;
        else if (tag == TAG_VALUE) m_parsingState = kPropertyValue;
        else return false;
        return true;
      default: return false;
    }
  }

  void CharactersOwn(std::u32string_view text) override {
    if (m_parsingState == kPropertyName) m_propertyName.append(text);
    else if (m_parsingState == kPropertyValue) m_propertyValue.append(text);
  }

  void EndOwn(const VXString&) override {
    switch (m_parsingState) {
      case kFeature: m_parsingState = kFeatures; break;
      case kFeatures:
      case kProperties: m_parsingState = psInObject; break;
      case kPropertyGroup: m_parsingState = kProperties; break;
      case kProperty: m_parsingState = kPropertyGroup; break;
      case kPropertyName: m_parsingState = kProperty; break;
      case kPropertyValue:
        m_properties[m_category].SetProperty(m_propertyName, m_propertyValue);
        m_parsingState = kProperty;
        break;
      default: break;
    }
  }

  // One "Feature" line. Unknown names and bad flags are errors unless the
  // manager ignores errors; then the name is skipped and the flag is false.
  void ProcessDBFeature(const NameValuePairs& attrs) {
    VXString name = TextFrom(attrs.Find(ATTR_NAME));
    VXString value = TextFrom(attrs.Find(ATTR_VALUE));
    int32_t id = 0;
    if (!SUFeaturesTable::GetFeatureIDFromName(name, id)) {
      m_pManager->ThrowOrLog(ErrorMessage(28021, CurrentLine(), name), !m_pManager->IgnoreErrors());
      return;
    }
    if (id < SUFeaturesTable::kFeature_BooleanTypeEnd) {
      bool b = value.EqualsNoCase("true");
      if (!b && !value.EqualsNoCase("false"))
        m_pManager->ThrowOrLog(ErrorMessage(28022, CurrentLine(), name, value), !m_pManager->IgnoreErrors());
      m_features.SetBooleanFeatureValue(id, b);
    } else if (id >= SUFeaturesTable::kFeature_UInt32TypeBegin && id < SUFeaturesTable::kFeature_UInt32MaskTypeBegin) {
      unsigned n = 0;
      std::sscanf(value.ToUTF8().c_str(), "%u", &n);
      m_features.SetIntegerFeatureValue(id, n);
    } else if (id >= SUFeaturesTable::kFeature_UInt32MaskTypeBegin && id < SUFeaturesTable::kFeature_UInt32TypeEnd) {
      std::string text = value.ToUTF8();
      for (char& c : text)
        if (c == 'x') c = 'X';
      unsigned n = 0;
      std::sscanf(text.c_str(), " 0X%x", &n);
      m_features.SetIntegerFeatureValue(id, n);
    } else {
      m_features.SetStringFeatureValue(id, value);
    }
  }

  DatabaseFeaturesTable m_features;  // starts at the defaults: unlisted features keep them
  DatabasePropertiesMap m_properties;
  VXString m_category;
  VXString m_propertyName;
  VXString m_propertyValue;
  QORLObjectStub* m_pPersistPool = nullptr;
  QORLObjectStubVector m_displayFolders;
  QORLObjectStubVector m_removedDisplayFolders;
  QORLObjectStubVector m_connectionPools;
};

// ---- ConnectionPool ------------------------------------------------------------------

constexpr std::u32string_view kPsrcScriptTags[] = {TAG_AFTER_QUERY_STRING, TAG_BEFORE_QUERY_STRING,
                                                   TAG_POST_CONNECT_STRING, TAG_PRE_DISCONNECT_STRING};

class QORLConnectionPoolHandler : public QORLPhysicalSourceHandler {
 public:
  QORLConnectionPoolHandler(ARpGateway* rp, QORLObjectManager* m) : QORLPhysicalSourceHandler(rp, m) {
    AddRefSlot(TAG_RELATIONAL_CONN_POOL, {kTIDAConnectionPool}, &m_pRelationalPool, nullptr);
    AddRefSlot(TAG_RELATIONAL_DATA_FOLDER, {kTIDACatalog, kTIDASchema}, &m_pRelationalFolder, nullptr);
    AddRefSlot(TAG_SQL_BYPASS_DB, {kTIDADatabase}, &m_pSQLBypassDB, nullptr);
  }

  void Resolve() override {
    m_pParent = ResolveParent(kTIDADatabase, false);
    ResolveRefSlots();
  }

  void Execute() override {
    RefAConnectionPool cp(m_object);
    if (!cp) return;
    cp->SetDatabase(RefADatabase(PsrcObjectOf(m_pParent)));
    ReadAttrRows(ConnectionPoolAttrRows(), *cp, m_attrs);
    // A document that hides the password leaves the stored one alone.
    if (const VXString* password = m_attrs.Find(ATTR_PASSWORD)) {
      ByteVector bytes;
      DecryptAESPassword(*password, bytes);
      cp->SetEncryptedPassword(bytes);
    }
    cp->SetAfterQueryStrings(m_scripts[0]);
    cp->SetBeforeQueryStrings(m_scripts[1]);
    cp->SetPostConnectStrings(m_scripts[2]);
    cp->SetPreDisConnectStrings(m_scripts[3]);
    cp->SetRelationalConnectionPoolForCuberaAggrPersist(RefAConnectionPool(PsrcObjectOf(m_pRelationalPool)));
    cp->SetRelationalDataFolderForCuberaAggrPersist(RefAPhysicalDataFolder(PsrcObjectOf(m_pRelationalFolder)));
    cp->SetSQLBypassDatabase(RefADatabase(PsrcObjectOf(m_pSQLBypassDB)));
    cp->SetConfigParams(m_configParams);
    cp->SetOnConnectCommand(TextFrom(m_attrs.Find(ATTR_EXEC_ON_CMD)));
    SetCommonObjectProperties();
  }

  void GetPasswordsToCheck(VXStringVector& out) const override {
    if (const VXString* password = m_attrs.Find(ATTR_PASSWORD)) out.push_back(*password);
  }

 protected:
  enum : int16_t {
    kConfigParams = kPsrcOwnStates,
    kConfigParam,
    kConfigValue,
    kScript,
    kScriptValue,
  };

  bool StartOwn(const VXString& tag, const NameValuePairs& attrs) override {
    const bool tdf = m_pManager->IsTDFQORL();
    switch (m_parsingState) {
      case psInObject:
        if (tag == TAG_CONFIG_PARAMETERS) {
          m_parsingState = kConfigParams;
          return true;
        }
        // The tree form lists parameters without their wrapper.
        if (tdf && tag == TAG_CONFIG_PARAMETER) return StartConfigParam(attrs, psInObject);
        for (size_t i = 0; i < std::size(kPsrcScriptTags); ++i) {
          if (tag != kPsrcScriptTags[i]) continue;
          GetConnectScript(i, attrs, tdf);
          return true;
        }
        return false;
      case kConfigParams: return tag == TAG_CONFIG_PARAMETER && StartConfigParam(attrs, kConfigParams);
      case kConfigParam:
        if (tag != TAG_VALUE) return false;
        m_parsingState = kConfigValue;
        return true;
      case kScript:
        if (tag != TAG_VALUE) return false;
        m_parsingState = kScriptValue;
        return true;
      default: return false;
    }
  }

  void CharactersOwn(std::u32string_view text) override {
    if (m_parsingState == kConfigValue) m_paramValue.append(text);
    else if (m_parsingState == kScriptValue) m_scriptText.append(text);
  }

  void EndOwn(const VXString&) override {
    switch (m_parsingState) {
      case kConfigValue:
        m_configParams.emplace_back(m_paramName, m_paramValue);
        m_parsingState = kConfigParam;
        break;
      case kConfigParam: m_parsingState = m_paramReturnState; break;
      case kConfigParams:
      case kScript: m_parsingState = psInObject; break;
      case kScriptValue:
        m_scripts[m_scriptKind].emplace_back(m_scriptText, m_bScriptEnabled);
        m_parsingState = kScript;
        break;
      default: break;
    }
  }

  bool StartConfigParam(const NameValuePairs& attrs, int16_t returnState) {
    m_paramName = TextFrom(attrs.Find(ATTR_NAME));
    m_paramValue.clear();
    m_paramReturnState = returnState;
    m_parsingState = kConfigParam;
    return true;
  }

  // One script entry; enabled unless its flag says otherwise. The text of its
  // "Value" completes it.
  void GetConnectScript(size_t kind, const NameValuePairs& attrs, bool tdf) {
    m_scriptKind = kind;
    m_bScriptEnabled = FlagFrom(attrs.Find(tdf ? ATTR_IS_ENABLED : ATTR_FLAG), true);
    m_scriptText.clear();
    m_parsingState = kScript;
  }

  ConnectScriptVector m_scripts[std::size(kPsrcScriptTags)];
  size_t m_scriptKind = 0;
  bool m_bScriptEnabled = true;
  VXString m_scriptText;
  ConfigParamVector m_configParams;
  VXString m_paramName;
  VXString m_paramValue;
  int16_t m_paramReturnState = kConfigParams;
  QORLObjectStub* m_pRelationalPool = nullptr;
  QORLObjectStub* m_pRelationalFolder = nullptr;
  QORLObjectStub* m_pSQLBypassDB = nullptr;
};

// ---- PhysicalCatalog -------------------------------------------------------------------

class QORLPhysicalCatalogHandler : public QORLPhysicalSourceHandler {
 public:
  QORLPhysicalCatalogHandler(ARpGateway* rp, QORLObjectManager* m) : QORLPhysicalSourceHandler(rp, m) {
    AddRefSlot(TAG_DYNAMIC_NAME, {kTIDARpVariable}, &m_pVariable, nullptr);
  }

  void Resolve() override {
    m_pParent = ResolveParent(kTIDADatabase, false);
    ResolveRefSlots();
  }

  void Execute() override {
    RefACatalog catalog(m_object);
    if (!catalog) return;
    catalog->SetDatabase(RefADatabase(PsrcObjectOf(m_pParent)));
    catalog->SetVariable(RefARpVariable(PsrcObjectOf(m_pVariable)));
    SetCommonObjectProperties();
  }

 private:
  QORLObjectStub* m_pVariable = nullptr;
};

// ---- Schema ---------------------------------------------------------------------------

class QORLPhysicalSchemaHandler : public QORLPhysicalSourceHandler {
 public:
  QORLPhysicalSchemaHandler(ARpGateway* rp, QORLObjectManager* m) : QORLPhysicalSourceHandler(rp, m) {
    AddRefSlot(TAG_DYNAMIC_NAME, {kTIDARpVariable}, &m_pVariable, nullptr);
  }

  // The container comes from the name: with the schema's own component
  // dropped, what remains names a catalog ("d"."c") or a database ("d", or
  // "d"."" where the catalog component is empty).
  void Resolve() override {
    if (m_qualifiedName.empty()) SUGThrow(ErrorMessage(92005, m_objTagLineNumber), __FILE__, __LINE__);
    QualifiedName name = m_qualifiedName;
    name.pop_back();
    TypeID type = kTIDACatalog;
    if (name.size() <= 1) {
      type = kTIDADatabase;
    } else if (name.back().empty()) {
      name.pop_back();
      type = kTIDADatabase;
    }
    if (!name.empty()) {
      m_pContainer = m_pManager->CreateQORLObjectStub(type, m_parentUID, name);
      m_pManager->ResolveQORLObjectStub(m_pContainer, false, false);
    }
    ResolveRefSlots();
  }

  void Execute() override {
    RefASchema schema(m_object);
    if (!schema) return;
    schema->SetContainer(RefAPhysicalDataFolder(PsrcObjectOf(m_pContainer)));
    schema->SetVariable(RefARpVariable(PsrcObjectOf(m_pVariable)));
    schema->SetWSInputMessage(m_wsInputMsg);
    SetCommonObjectProperties();
  }

 protected:
  enum : int16_t { kInputMessage = kPsrcOwnStates };

  bool StartOwn(const VXString& tag, const NameValuePairs&) override {
    if (m_parsingState != psInObject || tag != TAG_INPUT_MESSAGE_TEMPLATE) return false;
    m_wsInputMsg.clear();
    m_parsingState = kInputMessage;
    return true;
  }
  void CharactersOwn(std::u32string_view text) override {
    if (m_parsingState == kInputMessage) m_wsInputMsg.append(text);
  }
  void EndOwn(const VXString&) override {
    if (m_parsingState == kInputMessage) m_parsingState = psInObject;
  }

 private:
  QORLObjectStub* m_pContainer = nullptr;
  QORLObjectStub* m_pVariable = nullptr;
  VXString m_wsInputMsg;
};

// ---- PhysicalDisplayFolder ------------------------------------------------------------

class QORLPhysicalDispFolderHandler : public QORLPhysicalSourceHandler {
 public:
  QORLPhysicalDispFolderHandler(ARpGateway* rp, QORLObjectManager* m) : QORLPhysicalSourceHandler(rp, m) {
    AddRefSlot(TAG_TABLES, {kTIDATable, kTIDACubeTable}, nullptr, &m_tables);
  }

  void Resolve() override {
    m_pParent = ResolveParent(kTIDADatabase, false);
    ResolveRefSlots();
  }

  // The folder holds exactly the tables listed: members it no longer lists
  // go, new ones join behind those that stay.
  void Execute() override {
    RefAPhysicalDisplayFolder folder(m_object);
    if (!folder) return;
    VoidIDVector listed;
    for (const QORLObjectStub* s : m_tables)
      if (RefARpObject o = PsrcObjectOf(s); o && std::find(listed.begin(), listed.end(), o.GetID()) == listed.end())
        listed.push_back(o.GetID());
    BinaryRelIter<ATable> tables = folder->GetTables();
    for (const VoidID& id : tables.IDs())
      if (std::find(listed.begin(), listed.end(), id) == listed.end())
        ARelation::EraseRelationship(m_pGateway, kRelPhysicalDisplayFolderTables, {folder.GetID(), id});
    for (const VoidID& id : listed)
      if (!tables.Contains(id)) ARelation::InsertRelationship(m_pGateway, kRelPhysicalDisplayFolderTables, {folder.GetID(), id});
    SetCommonObjectProperties();
    folder->SetDatabase(RefADatabase(PsrcObjectOf(m_pParent)));
  }

 private:
  QORLObjectStubVector m_tables;
};

template <class H>
QORLObject* PsrcMakeHandler(ARpGateway* rp, QORLObjectManager* m) {
  return new H(rp, m);
}

const HandlerRow kPsrcHandlerRows[] = {
    {kTIDADatabase, &PsrcMakeHandler<QORLDatabaseHandler>},
    {kTIDAConnectionPool, &PsrcMakeHandler<QORLConnectionPoolHandler>},
    {kTIDACatalog, &PsrcMakeHandler<QORLPhysicalCatalogHandler>},
    {kTIDASchema, &PsrcMakeHandler<QORLPhysicalSchemaHandler>},
    {kTIDAPhysicalDisplayFolder, &PsrcMakeHandler<QORLPhysicalDispFolderHandler>},
};

}  // namespace

std::span<const HandlerRow> PhysicalSourceHandlers() { return kPsrcHandlerRows; }

}  // namespace qorl
