// Databases, connection pools, catalogs, schemas and display folders.
#include <cstdio>

#include "elements/attr_hooks.h"
#include "elements/child_codecs.h"
#include "elements/families.h"
#include "elements/fragments.h"
#include "elements/rows.h"
#include "model/attr_text.h"
#include "model/codecs.h"
#include "model/db_features.h"
#include "model/enum_codecs.h"
#include "model/vocabulary.h"
#include "platform/error.h"
#include "store/classes.h"

namespace qorl::elements {

using namespace rows;

namespace physical_sources {


template <class T>
const T& Member(const ARpObject& o, const char* prop) {
  return *static_cast<const T*>(FieldOf(o, prop));
}
template <class T>
T& Member(ARpObject& o, const char* prop) {
  return *static_cast<T*>(FieldOf(o, prop));
}

void SetText(ARpObject& o, const Attr& row, const VXString* text, const NameValuePairs&, ReadContext&) {
  Member<VXString>(o, row.prop) = TextFrom(text);
}

// ---- database type: a name, and the number behind it for names no table knows ----

const AttrHook kDbType{
    [](const ARpObject& o, const Attr& row, const WriteContext&) {
      return QORLUtility::GetStringFromDBType(Member<int32_t>(o, row.prop));
    },
    [](ARpObject& o, const Attr& row, const VXString* text, const NameValuePairs& all, ReadContext& ctx) {
      bool notFound = false;
      int id = static_cast<int>(hooks::IntAttr(all, ATTR_DB_TYPEID, INT32_MIN, INT32_MAX, 0, ctx));
      Member<int32_t>(o, row.prop) = QORLUtility::GetDBTypeFromString(TextFrom(text), notFound, id);
    }};

const AttrHook kDbTypeId{[](const ARpObject& o, const Attr& row, const WriteContext&) {
                           return VXString::FromInt(Member<int32_t>(o, row.prop));
                         },
                         nullptr};

// ---- the pool's call interface; plug-ins carry their own name, version and number ----

bool IsPluginCli(const ARpObject& pool) {
  int type = Member<int32_t>(pool, "callInterface");
  return type >= ServerInfo::kCLI_PluginFirst && type <= ServerInfo::kCLI_PluginLast;
}

const AttrHook kCliType{
    [](const ARpObject& o, const Attr& row, const WriteContext&) {
      return QORLUtility::GetStringFromCliType(Member<int32_t>(o, row.prop));
    },
    [](ARpObject& o, const Attr& row, const VXString* text, const NameValuePairs& all, ReadContext& ctx) {
      int id = static_cast<int>(hooks::IntAttr(all, ATTR_CLI_TYPEID, INT32_MIN, INT32_MAX, 0, ctx));
      Member<int32_t>(o, row.prop) = QORLUtility::GetCliTypeFromString(TextFrom(text), id);
    }};

const AttrHook kPluginText{[](const ARpObject& o, const Attr& row, const WriteContext&) {
                             return IsPluginCli(o) ? Member<VXString>(o, row.prop) : VXString();
                           },
                           &SetText};

const AttrHook kPluginTypeId{[](const ARpObject& o, const Attr& row, const WriteContext&) {
                               return IsPluginCli(o) ? VXString::FromInt(Member<int32_t>(o, row.prop)) : VXString();
                             },
                             nullptr};

// A number the document says as a flag.
const AttrHook kNumberAsFlag{
    [](const ARpObject& o, const Attr& row, const WriteContext&) {
      return VXString(Member<int32_t>(o, row.prop) != 0 ? U"true" : U"false");
    },
    [](ARpObject& o, const Attr& row, const VXString* text, const NameValuePairs&, ReadContext&) {
      Member<int32_t>(o, row.prop) = FlagFrom(text, false) ? 1 : 0;
    }};

// Read for older documents, never written.
const AttrHook kReadOnlyText{nullptr, &SetText};

// ---- password and credentials ----

// Always under this repository's key, never in the store's own form; the
// reader decrypts with the load's passwords or the repository key.
const AttrHook kPassword{
    [](const ARpObject& o, const Attr& row, const WriteContext& ctx) {
      if (ctx.HidingPoolPassword()) return VXString();
      ByteVector bytes = ctx.SkippingCredentials() ? ByteVector() : Member<ByteVector>(o, row.prop);
      return ARpGateway::AESEncryptPassword(ctx.Gateway(), bytes, o.GetID());
    },
    [](ARpObject& o, const Attr& row, const VXString* text, const NameValuePairs&, ReadContext& ctx) {
      // A document that hides the password leaves the stored one alone.
      if (!text) return;
      ByteVector bytes;
      ctx.DecryptPassword(*text, bytes);
      Member<ByteVector>(o, row.prop) = bytes;
    }};

VXString Hidden(const WriteContext& ctx, const VXString& text) {
  return ctx.SkippingCredentials() ? VXString(ATTRV_CORRECT_REPLACE_ME) : text;
}

// A hidden credential shows the marker whether or not there is a value behind it.
const AttrHook kCredential{
    [](const ARpObject& o, const Attr& row, const WriteContext& ctx) { return Hidden(ctx, Member<VXString>(o, row.prop)); },
    &SetText};

// The web service pair stands only beside a WSDL, hidden or not.
const AttrHook kWsdl{[](const ARpObject& o, const Attr& row, const WriteContext& ctx) {
                       const VXString& wsdl = Member<VXString>(o, row.prop);
                       return wsdl.empty() ? VXString() : Hidden(ctx, wsdl);
                     },
                     &SetText};

const AttrHook kWsServer{[](const ARpObject& o, const Attr& row, const WriteContext& ctx) {
                           return Member<VXString>(o, "wsdl").empty() ? VXString()
                                                                      : Hidden(ctx, Member<VXString>(o, row.prop));
                         },
                         nullptr};

// "appServerName", or "wsServer" instead when the document names a WSDL.
const AttrHook kAppServer{
    kCredential.get, [](ARpObject& o, const Attr& row, const VXString* text, const NameValuePairs& all, ReadContext&) {
      const VXString* wsdl = all.Find(ATTR_WS_WSDL);
      Member<VXString>(o, row.prop) = TextFrom(wsdl && !wsdl->empty() ? all.Find(ATTR_WS_SERVER) : text);
    }};

// The credential store key is "map:key"; any other number of parts is all map.
VXStringVector SplitCSFKey(const VXString& key) {
  VXStringVector parts(1);
  for (char32_t c : key.view()) {
    if (c == U':') parts.emplace_back();
    else parts.back().push_back(c);
  }
  return parts;
}

const AttrHook kCSFMap{
    [](const ARpObject& o, const Attr& row, const WriteContext& ctx) {
      const VXString& key = Member<VXString>(o, row.prop);
      VXStringVector parts = SplitCSFKey(key);
      return Hidden(ctx, parts.size() == 2 ? parts[0] : key);
    },
    // The key, with the map in front when there is one; the whole "csfKey" wins.
    [](ARpObject& o, const Attr& row, const VXString* map, const NameValuePairs& all, ReadContext&) {
      VXString key = TextFrom(all.Find(ATTR_CSF_KEY));
      if (map && !map->empty()) key = *map + U':' + key;
      if (const VXString* whole = all.Find(ATTR_CSF_KEY_OLD); whole && !whole->empty()) key = *whole;
      Member<VXString>(o, row.prop) = key;
    }};

const AttrHook kCSFKey{[](const ARpObject& o, const Attr& row, const WriteContext& ctx) {
                         VXStringVector parts = SplitCSFKey(Member<VXString>(o, row.prop));
                         return Hidden(ctx, parts.size() == 2 ? parts[1] : VXString());
                       },
                       nullptr};

// The whole key as well, for readers that know it in one piece.
const AttrHook kCSFWholeKey{kCredential.get, nullptr};

const EnumNames kIsolationNames{
    [](int v) { return QORLUtility::GetStringFromLevelType(static_cast<ServerInfo::TxnIsolationLevel>(v)); },
    [](const VXString& t) { return static_cast<int>(QORLUtility::GetLevelTypeFromString(t)); },
    ServerInfo::kTXN_Serializable};
const ValueCodec kIsolationCodec{FieldType::Enum, &kIsolationNames, "xs:string"};

// ---- the database's features: every feature, one line each ----

class FeaturesReader : public ChildReader {
 public:
  bool Start(const VXString& tag, const NameValuePairs& attrs, ReadContext& ctx) override {
    if (m_level == 1 && tag == TAG_FEATURE) Feature(attrs, ctx);
    else if (m_level != 0) return false;
    ++m_level;
    return true;
  }
  void End(const VXString&, ReadContext&) override { --m_level; }
  void Execute(ARpObject& obj, void* field, ReadContext&) override {
    *static_cast<std::map<int32_t, VXString>*>(field) = m_features.GetChangedValues();
    MarkObjectDirty(obj);
  }

 private:
  // Unknown names and bad flags are errors unless errors are ignored; then the
  // name is skipped and the flag is false.
  void Feature(const NameValuePairs& attrs, ReadContext& ctx) {
    VXString name = TextFrom(attrs.Find(ATTR_NAME));
    VXString value = TextFrom(attrs.Find(ATTR_VALUE));
    int32_t id = 0;
    if (!SUFeaturesTable::GetFeatureIDFromName(name, id)) {
      ThrowOrLogError(ErrorMessage(28021, ctx.ParserLine(), name), !ctx.IgnoreErrors());
      return;
    }
    if (id < SUFeaturesTable::kFeature_BooleanTypeEnd) {
      bool b = value.EqualsNoCase("true");
      if (!b && !value.EqualsNoCase("false"))
        ThrowOrLogError(ErrorMessage(28022, ctx.ParserLine(), name, value), !ctx.IgnoreErrors());
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
  int m_level = 0;
};

class FeaturesCodec : public ChildCodec {
 public:
  void Write(const ARpObject&, const void* field, std::u32string_view tag, WriteContext& ctx) const override {
    DatabaseFeaturesTable features;
    features.SetChangedValues(*static_cast<const std::map<int32_t, VXString>*>(field));
    VXString s;
    children::OpenLine(s, tag);
    for (const FeatureDesc& f : SUFeaturesTable::AllFeatures()) {
      s += S_LT;
      s += TAG_FEATURE;
      AppendAttrAlways(s, ATTR_NAME, SUFeaturesTable::GetFeatureNameFromId(f.id));
      VXString value = features.GetFeatureValueText(f.id);
      // An empty text leaves "value" out; every other kind always has one.
      if (f.kind == FeatureKind::kText) AppendAttr(s, ATTR_VALUE, value);
      else AppendAttrAlways(s, ATTR_VALUE, value);
      s += S_CLOSE_OPEN_TAG;
    }
    children::CloseLine(s, tag);
    ctx.Print(s);
  }
  ChildReader* NewReader() const override { return new FeaturesReader; }
  std::string_view SchemaType() const override { return "DatabaseFeaturesType"; }
  void FillSample(ARpObject&, void* field, ARpGateway&) const override {
    DatabaseFeaturesTable t;
    t.SetBooleanFeatureValue(2, true);
    t.SetIntegerFeatureValue(1008, 0xBEEF);
    t.SetStringFeatureValue(2016, "<binary>");
    *static_cast<std::map<int32_t, VXString>*>(field) = t.GetChangedValues();
  }
};

// ---- the database's properties: groups by category of name and value pairs ----

using FlatProperties = std::map<VXString, VXStringVector>;

class PropertyGroupsReader : public ChildReader {
 public:
  bool Start(const VXString& tag, const NameValuePairs& attrs, ReadContext&) override {
    switch (m_level) {
      case kOutside: m_level = kInProperties; return true;
      case kInProperties:
        if (tag != TAG_PROPERTY_GROUP) return false;
        m_category = TextFrom(attrs.Find(ATTR_CATEGORY));
        m_groups[m_category];  // a group without keys is still a category
        m_level = kInGroup;
        return true;
      case kInGroup:
        if (tag != TAG_PROPERTY) return false;
        m_name.clear();
        m_value.clear();
        m_level = kInProperty;
        return true;
      case kInProperty:
        if (tag == TAG_NAME) m_level = kInName;
        else if (tag == TAG_VALUE) m_level = kInValue;
        else return false;
        return true;
      default: return false;
    }
  }
  void Characters(std::u32string_view text) override {
    if (m_level == kInName) m_name.append(text);
    else if (m_level == kInValue) m_value.append(text);
  }
  void End(const VXString&, ReadContext&) override {
    if (m_level == kInValue) m_groups[m_category].SetProperty(m_name, m_value);
    m_level = m_level >= kInName ? kInProperty : m_level - 1;
  }
  void Execute(ARpObject& obj, void* field, ReadContext&) override {
    FlatProperties flat;
    for (const auto& [category, table] : m_groups) flat[category] = table.ToFlatVector();
    *static_cast<FlatProperties*>(field) = std::move(flat);
    MarkObjectDirty(obj);
  }

 private:
  enum : int { kOutside, kInProperties, kInGroup, kInProperty, kInName, kInValue };
  DatabasePropertiesMap m_groups;
  VXString m_category;
  VXString m_name;
  VXString m_value;
  int m_level = kOutside;
};

class PropertyGroupsCodec : public ChildCodec {
 public:
  void Write(const ARpObject&, const void* field, std::u32string_view tag, WriteContext& ctx) const override {
    const FlatProperties& groups = *static_cast<const FlatProperties*>(field);
    const int options = ctx.Options();
    VXString s;
    if (!children::OpenUnlessEmpty(s, !groups.empty(), tag, ctx)) return;
    const bool dummy = options & kGenDummyUID;
    for (const auto& [category, flat] : groups) {
      SUPropertiesTable table;
      table.FromFlatVector(flat);
      s += S_LT;
      s += TAG_PROPERTY_GROUP;
      AppendAttrAlways(s, ATTR_CATEGORY, category);
      if (dummy) AppendAttrAlways(s, ATTR_DUMMY_UID, category);
      s += S_GT;
      s += S_NEWLINE;
      VXStringVector keys;
      table.GetPropertyKeys(keys);
      if (QORLUtil::IsEmptyElementFragmentNotGenerated(!keys.empty(), true, s, options, TAG_PROPERTY)) {
        for (const VXString& key : keys) {
          VXString value;
          table.GetProperty(key, value);
          s += S_LT;
          s += TAG_PROPERTY;
          if (dummy) AppendAttrAlways(s, ATTR_DUMMY_UID, key);
          s += S_GT;
          s += S_NEWLINE;
          s += QORLUtil::GetCDATA(key, TAG_NAME, false, false, 0);
          s += QORLUtil::GetCDATA(value, TAG_VALUE, false, false, 0);
          children::CloseLine(s, TAG_PROPERTY);
        }
      }
      children::CloseLine(s, TAG_PROPERTY_GROUP);
    }
    children::CloseLine(s, tag);
    ctx.Print(s);
  }
  ChildReader* NewReader() const override { return new PropertyGroupsReader; }
  std::string_view SchemaType() const override { return "DatabasePropertiesType"; }
  void FillSample(ARpObject&, void* field, ARpGateway&) const override {
    DatabasePropertiesMap groups;
    groups["conn"].SetProperty("tz", "UTC");
    groups["empty"];
    FlatProperties flat;
    for (const auto& [category, table] : groups) flat[category] = table.ToFlatVector();
    *static_cast<FlatProperties*>(field) = std::move(flat);
  }
};

// ---- the pool's configuration parameters, inside their wrapper ----

class ConfigParamsReader : public ChildReader {
 public:
  bool Start(const VXString& tag, const NameValuePairs& attrs, ReadContext&) override {
    if (m_level == 1 && tag == TAG_CONFIG_PARAMETER) {
      m_name = TextFrom(attrs.Find(ATTR_NAME));
      m_value.clear();
    } else if (m_level != 0 && !(m_level == 2 && tag == TAG_VALUE)) {
      return false;
    }
    ++m_level;
    return true;
  }
  void Characters(std::u32string_view text) override {
    if (m_level == 3) m_value.append(text);
  }
  // The text of its "Value" completes a parameter.
  void End(const VXString&, ReadContext&) override {
    if (m_level-- == 3) m_params.emplace_back(m_name, m_value);
  }
  void Execute(ARpObject& obj, void* field, ReadContext&) override {
    *static_cast<ConfigParamVector*>(field) = m_params;
    MarkObjectDirty(obj);
  }

 private:
  ConfigParamVector m_params;
  VXString m_name;
  VXString m_value;
  int m_level = 0;
};

class ConfigParamsCodec : public ChildCodec {
 public:
  void Write(const ARpObject&, const void* field, std::u32string_view tag, WriteContext& ctx) const override {
    const ConfigParamVector& params = *static_cast<const ConfigParamVector*>(field);
    VXString s;
    if (!children::OpenUnlessEmpty(s, !params.empty(), tag, ctx)) return;
    for (const auto& [name, value] : params) {
      s += S_LT;
      s += TAG_CONFIG_PARAMETER;
      AppendAttr(s, ATTR_NAME, name);
      s += S_GT;
      s += S_NEWLINE;
      s += QORLUtil::GetCDATA(value, TAG_VALUE, false, false, 0);
      children::CloseLine(s, TAG_CONFIG_PARAMETER);
    }
    children::CloseLine(s, tag);
    ctx.Print(s);
  }
  ChildReader* NewReader() const override { return new ConfigParamsReader; }
  std::string_view SchemaType() const override { return "ConfigParametersType"; }
  void FillSample(ARpObject&, void* field, ARpGateway&) const override {
    *static_cast<ConfigParamVector*>(field) = {{"host", "h1"}, {"", "no name"}, {"empty", ""}};
  }
};

// ---- connect scripts: one element per script, no wrapper ----

class ConnectScriptsReader : public ChildReader {
 public:
  // Each script element comes here in turn; enabled unless its flag says otherwise.
  bool Start(const VXString& tag, const NameValuePairs& attrs, ReadContext&) override {
    if (!m_inScript) {
      m_inScript = true;
      m_enabled = FlagFrom(attrs.Find(ATTR_FLAG), true);
      m_text.clear();
      return true;
    }
    if (m_inValue || tag != TAG_VALUE) return false;
    m_inValue = true;
    return true;
  }
  void Characters(std::u32string_view text) override {
    if (m_inValue) m_text.append(text);
  }
  // The text of its "Value" completes a script: an element without one is none.
  void End(const VXString&, ReadContext&) override {
    if (m_inValue) {
      m_inValue = false;
      m_scripts.emplace_back(m_text, m_enabled);
    } else {
      m_inScript = false;
    }
  }
  void Execute(ARpObject& obj, void* field, ReadContext&) override {
    *static_cast<ConnectScriptVector*>(field) = m_scripts;
    MarkObjectDirty(obj);
  }

 private:
  ConnectScriptVector m_scripts;
  VXString m_text;
  bool m_enabled = true;
  bool m_inScript = false;
  bool m_inValue = false;
};

class ConnectScriptsCodec : public ChildCodec {
 public:
  void Write(const ARpObject&, const void* field, std::u32string_view tag, WriteContext& ctx) const override {
    const ConnectScriptVector& scripts = *static_cast<const ConnectScriptVector*>(field);
    VXString s;
    if (QORLUtil::IsEmptyElementFragmentNotGenerated(!scripts.empty(), true, s, ctx.Options(), tag)) {
      for (const auto& [text, enabled] : scripts) {
        s += S_LT;
        s += tag;
        AppendAttrAlways(s, ATTR_FLAG, FlagText(enabled));
        if (ctx.Options() & kGenDummyUID) AppendAttr(s, ATTR_DUMMY_UID, text);
        s += S_GT;
        s += S_NEWLINE;
        s += QORLUtil::GetCDATA(text, TAG_VALUE, false, false, 0);
        children::CloseLine(s, tag);
      }
    }
    ctx.Print(s);
  }
  ChildReader* NewReader() const override { return new ConnectScriptsReader; }
  std::string_view SchemaType() const override { return "ConnectScriptType"; }
  void FillSample(ARpObject&, void* field, ARpGateway&) const override {
    *static_cast<ConnectScriptVector*>(field) = {{"SET a = 1 ]]> x", true}, {"", false}};
  }
};

const FeaturesCodec kFeatures;
const PropertyGroupsCodec kPropertyGroups;
const ConfigParamsCodec kConfigParams;
const ConnectScriptsCodec kConnectScripts;

// The container follows from the schema's own qualified name: without its
// last part it names a catalog ("d"."c") or a database ("d", or "d"."" where
// the catalog part is empty).
QORLObjectStub* SchemaContainer(ReadContext& ctx) {
  QualifiedName name = ctx.Name();
  if (name.empty()) throw ErrorMessage(92005, ctx.ElementLine());
  name.pop_back();
  TypeID type = kTIDACatalog;
  if (name.size() <= 1) {
    type = kTIDADatabase;
  } else if (name.back().empty()) {
    name.pop_back();
    type = kTIDADatabase;
  }
  if (name.empty()) return nullptr;
  QORLObjectStub* stub = ctx.ParentStub(type, name);
  ctx.Resolve(stub);
  return stub;
}

const Hooks kSchemaHooks{.resolveParent = &SchemaContainer};

const Hooks kPoolHooks{.passwords = [](const NameValuePairs& attrs, VXStringVector& out) {
  if (const VXString* password = attrs.Find(ATTR_PASSWORD)) out.push_back(*password);
}};

const Attr kDatabaseAttrs[] = {
    Hooked(ATTR_TYPE, When::IfText, kDbType, kTextCodec, "targetType",
           "a database type name; one no table knows reads as \"dbTypeId\""),
    Number(ATTR_DB_FLAG, kUInt32Codec, "databaseFlags"),
    Text(ATTR_DB_NAME, "dbName"),
    Text(ATTR_DB_REQUIRED_VERSION, "dbRequiredVersion"),
    Hooked(ATTR_DB_TYPEID, When::Always, kDbTypeId, kInt32Codec, "targetType"),
};

const Part kDatabaseParts[] = {
    Child(TAG_FEATURES, kFeatures, "features"),
    Tagged(TAG_PERSIST_CONN_POOL, "defaultPersistConnectionPool", Types<kTIDAConnectionPool>),
    Group(TAG_DISPLAY_FOLDERS, kRelDatabaseDisplayFolders, Types<kTIDAPhysicalDisplayFolder>),
    // Known only to a fine-grained run, which lists none here.
    EmptyGroup(TAG_REMOVED_DISPLAY_FOLDERS, Types<kTIDAPhysicalDisplayFolder>, 0, kRelDatabaseDisplayFolders),
    Group(TAG_CONNECTION_POOLS, kRelDatabaseConnectionPools, Types<kTIDAConnectionPool>),
    Child(TAG_PROPERTIES, kPropertyGroups, "properties"),
};

const Attr kPoolAttrs[] = {
    Hooked(ATTR_USER, When::IfText, kCredential, kTextCodec, "user"),
    Hooked(ATTR_PASSWORD, When::IfText, kPassword, kTextCodec, "password",
           "an AES text (holding a blank) or hexadecimal"),
    NumberAlways(ATTR_TIMEOUT, kInt32Codec, "timeout"),
    NumberAlways(ATTR_MAX_CONN_DIFF, kInt32Codec, "maxConnDiff", U"10"),
    NumberAlways(ATTR_MAX_CONN, kInt32Codec, "maxConn", U"10"),
    Hooked(ATTR_DATA_SOURCE, When::IfText, kCredential, kTextCodec, "dataSource"),
    Hooked(ATTR_TYPE, When::IfText, kCliType, kTextCodec, "callInterface"),
    FlagAlways(ATTR_REQ_Q_TABLE_NAME, "requiresQualifiedTableNames", false),
    FlagAlways(ATTR_SHARED_LOGIN, "sharedLogin", false),
    FlagAlways(ATTR_CONCURRENT, "concurrentQueries", false),
    Hooked(ATTR_CLOSE_AFTER_REQ, When::Always, kNumberAsFlag, kFlagCodec, "closeAfterEveryRequest"),
    Flag(ATTR_ASYNC_EXEC, "asyncExecution", false),
    Text(ATTR_XSL_PATH, "xslPath"),
    Number(ATTR_XML_REFRESH_INTERVAL, kInt32Codec, "xmlRefreshInterval"),
    Text(ATTR_SCRIPT_PATH, "scriptPath"),
    Value(ATTR_OUTPUT_TYPE, kOutputTypeCodec, "outputType"),
    Text(ATTR_GW_DELIM, "gatewayDelimiter"),
    FlagAlways(ATTR_IGNORE_FIRST_LINE, "ignoreFirstLine", false),
    Text(ATTR_XPATH, "xpath"),
    Text(ATTR_CONVERT_SCRIPT_PATH, "convertScriptPath"),
    NumberAlways(ATTR_BULK_INSERT_BUFFER_SIZE, kInt32Codec, "bulkInsertBufferSize"),
    Text(ATTR_TEMP_TABLE_OWNER, "tempTableOwner"),
    Text(ATTR_TEMP_TABLE_PREFIX, "tempTablePrefix"),
    NumberAlways(ATTR_TRANSACTION_BOUNDARY, kInt32Codec, "transactionBoundary"),
    Hooked(ATTR_XMLA_INFO, When::IfText, kCredential, kTextCodec, "xmlaInfo"),
    Text(ATTR_XMLA_CATALOG, "xmlaCatalog"),
    FlagAlways(ATTR_XMLS_USE_SESSION, "xmlaUseSession", false),
    Flag(ATTR_MULTI_THREADED, "multiThreaded", true),
    Text(ATTR_XML_HEADER_PATH, "xmlHeaderPath"),
    Text(ATTR_TRAILER_PATH, "xmlTrailerPath"),
    Flag(ATTR_SUPPORT_PARAMS, "parametersSupported", true),
    Value(ATTR_ISOLATION_LEVEL, kIsolationCodec, "isolationLevel"),
    Hooked(ATTR_WS_SERVER, When::IfText, kWsServer, kTextCodec, "serverName"),
    Hooked(ATTR_WS_WSDL, When::IfText, kWsdl, kTextCodec, "wsdl"),
    Hooked(ATTR_ZPF_SERVER_NAME, When::IfText, kAppServer, kTextCodec, "serverName"),
    Hooked(ATTR_ZPF_SERVER_PORT, When::IfText, kCredential, kTextCodec, "serverPort"),
    Text(ATTR_APP_ID, "applicationID"),
    Hooked(ATTR_APP_EJB_BEAN, When::IfText, kCredential, kTextCodec, "ejbBean"),
    Hooked(ATTR_JAVA_HOST, When::IfText, kCredential, kTextCodec, "javahostServiceName"),
    FlagAlways(ATTR_IS_JDB_SECURED, "secured", false),
    Hooked(ATTR_CSF_MAP, When::IfText, kCSFMap, kTextCodec, "csfKey"),
    Hooked(ATTR_CSF_KEY, When::IfText, kCSFKey, kTextCodec, "csfKey"),
    Flag(ATTR_UNICODE_DB, "unicodeDB", false),
    Text(ATTR_TEMP_TABLE_DB, "tempTableDatabase"),
    Text(ATTR_TEMP_TABLE_SPACE, "tempTableSpace"),
    Flag(ATTR_IS_AW, "isAW", false),
    Flag(ATTR_USE_CERT, "useCertificate", false),
    Hooked(ATTR_CLI_NAME, When::IfText, kPluginText, kTextCodec, "cliName"),
    Hooked(ATTR_CLI_REQUIRED_VERSION, When::IfText, kPluginText, kTextCodec, "cliRequiredVersion"),
    Hooked(ATTR_CLI_TYPEID, When::IfText, kPluginTypeId, kInt32Codec, "callInterface"),
    Hooked(ATTR_CSF_KEY_OLD, When::IfText, kCSFWholeKey, kTextCodec, "csfKey"),
    Hooked(ATTR_EXEC_ON_CMD, When::IfText, kReadOnlyText, kTextCodec, "onConnectCommand", "read, never written"),
};

const Part kPoolParts[] = {
    Child(TAG_CONFIG_PARAMETERS, kConfigParams, "configParams"),
    Child(TAG_AFTER_QUERY_STRING, kConnectScripts, "afterQueryStrings", Phase::Execute, kRepeats),
    Child(TAG_BEFORE_QUERY_STRING, kConnectScripts, "beforeQueryStrings", Phase::Execute, kRepeats),
    Child(TAG_POST_CONNECT_STRING, kConnectScripts, "postConnectStrings", Phase::Execute, kRepeats),
    Child(TAG_PRE_DISCONNECT_STRING, kConnectScripts, "preDisconnectStrings", Phase::Execute, kRepeats),
    Tagged(TAG_RELATIONAL_CONN_POOL, "relationalConnectionPool", Types<kTIDAConnectionPool>),
    Tagged(TAG_RELATIONAL_DATA_FOLDER, "relationalDataFolder", Types<kTIDACatalog, kTIDASchema>),
    Tagged(TAG_SQL_BYPASS_DB, "sqlBypassDatabase", Types<kTIDADatabase>),
};

const Part kCatalogParts[] = {
    Tagged(TAG_DYNAMIC_NAME, "variable", Types<kTIDARpVariable>),
};

const Part kSchemaParts[] = {
    Tagged(TAG_DYNAMIC_NAME, "variable", Types<kTIDARpVariable>),
    CData(TAG_INPUT_MESSAGE_TEMPLATE, "wsInputMessage", kOmitEmptyText),
};

const Part kFolderParts[] = {
    Group(TAG_TABLES, kRelPhysicalDisplayFolderTables, Types<kTIDATable, kTIDACubeTable>, kKeepPlaces),
};

constexpr std::u32string_view kNameIdentity[] = {ATTR_NAME};

const Description kDatabase{kTIDADatabase,  TAG_DATABASE,   "DatabaseType", {ParentMode::None, {}, 0},
                            kDatabaseAttrs, kDatabaseParts, {},             kNameIdentity,
                            {},             nullptr};
const Description kPool{kTIDAConnectionPool, TAG_CONN_POOL, "ConnectionPoolType",
                        {ParentMode::ByName, Types<kTIDADatabase>, 0},
                        kPoolAttrs,          kPoolParts,          {},
                        kNameIdentity,       {},                  &kPoolHooks};
const Description kCatalog{kTIDACatalog,  TAG_PHY_CATALOG, "PhysicalCatalogType", {ParentMode::ByName, Types<kTIDADatabase>, 0},
                           {},            kCatalogParts,   {},                    kNameIdentity,
                           {},            nullptr};
const Description kSchema{kTIDASchema,   TAG_PHY_SCHEMA, "SchemaType", {ParentMode::Hook, Types<kTIDACatalog, kTIDADatabase>, 0},
                          {},            kSchemaParts,   {},           kNameIdentity,
                          {},            &kSchemaHooks};
const Description kFolder{kTIDAPhysicalDisplayFolder, TAG_PHY_DSPFLDR, "PhysicalDisplayFolderType",
                          {ParentMode::ByName, Types<kTIDADatabase>, 0},
                          {},                         kFolderParts,           {},
                          kNameIdentity,              {},                     nullptr};

const Description* const kAll[] = {&kDatabase, &kPool, &kCatalog, &kSchema, &kFolder};

}  // namespace physical_sources

std::span<const Description* const> PhysicalSourceDescriptions() { return physical_sources::kAll; }

}  // namespace qorl::elements
