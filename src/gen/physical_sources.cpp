// Writers of the physical sources elements.
#include "gen/physical_sources.h"

#include <cstdio>

#include "model/attr_text.h"
#include "gen/elements.h"
#include "elements/fragments.h"
#include "gen/generator.h"
#include "model/codecs.h"
#include "model/db_features.h"
#include "model/vocabulary.h"

namespace qorl {

namespace {

using CP = AConnectionPool;

// Row helpers: a getter or setter of the object made into the plain function a row holds.
template <class C, auto Get>
VXString PsrcText(const C& o) {
  return (o.*Get)();
}
template <class C, auto Set>
void PsrcSetText(C& o, const VXString* t, const NameValuePairs&) {
  (o.*Set)(TextFrom(t));
}
template <class C, auto Get>
VXString PsrcIntIfSet(const C& o) {
  return IntText((o.*Get)(), true);
}
template <class C, auto Get>
VXString PsrcIntAlways(const C& o) {
  return IntText((o.*Get)(), false);
}
template <class C, auto Set, int Default>
void PsrcSetInt(C& o, const VXString* t, const NameValuePairs&) {
  (o.*Set)(static_cast<int>(IntFrom(t, Default)));
}
template <class C, auto Get>
VXString PsrcFlag(const C& o) {
  return FlagText((o.*Get)());
}
template <class C, auto Set, bool Default>
void PsrcSetFlag(C& o, const VXString* t, const NameValuePairs&) {
  (o.*Set)(FlagFrom(t, Default));
}

// ---- database ---------------------------------------------------------------------

VXString PsrcDbTypeText(const ADatabase& db) { return QORLUtility::GetStringFromDBType(db.GetTargetType()); }
void PsrcSetDbType(ADatabase& db, const VXString* t, const NameValuePairs& all) {
  // "type" is read together with "dbTypeId", which backs a text that no table knows.
  bool bNotFound = false;
  int dbTypeId = static_cast<int>(IntFrom(all.Find(ATTR_DB_TYPEID), 0));
  db.SetTargetType(QORLUtility::GetDBTypeFromString(TextFrom(t), bNotFound, dbTypeId));
}
void PsrcSetDbFlags(ADatabase& db, const VXString* t, const NameValuePairs&) {
  db.SetDatabaseFlags(static_cast<uint32_t>(IntFrom(t, 0)));
}

const AttrRow<ADatabase> kPsrcDatabaseRows[] = {
    {ATTR_TYPE, AttrWrite::kIfSet, &PsrcDbTypeText, &PsrcSetDbType},
    {ATTR_DB_FLAG, AttrWrite::kIfSet, &PsrcIntIfSet<ADatabase, &ADatabase::GetDatabaseFlags>, &PsrcSetDbFlags},
    {ATTR_DB_NAME, AttrWrite::kIfSet, &PsrcText<ADatabase, &ADatabase::GetDBName>,
     &PsrcSetText<ADatabase, &ADatabase::SetDBName>},
    {ATTR_DB_REQUIRED_VERSION, AttrWrite::kIfSet, &PsrcText<ADatabase, &ADatabase::GetDBRequiredVersion>,
     &PsrcSetText<ADatabase, &ADatabase::SetDBRequiredVersion>},
    {ATTR_DB_TYPEID, AttrWrite::kAlways, &PsrcIntAlways<ADatabase, &ADatabase::GetTargetType>, nullptr},
};

// ---- connection pool ----------------------------------------------------------------

bool PsrcIsPluginCli(int type) { return type >= ServerInfo::kCLI_PluginFirst && type <= ServerInfo::kCLI_PluginLast; }

VXString PsrcCliTypeText(const CP& cp) { return QORLUtility::GetStringFromCliType(cp.GetStoredCallInterfaceType()); }
void PsrcSetCliType(CP& cp, const VXString* t, const NameValuePairs& all) {
  int cliTypeId = static_cast<int>(IntFrom(all.Find(ATTR_CLI_TYPEID), 0));
  cp.SetCallInterfaceType(QORLUtility::GetCliTypeFromString(TextFrom(t), cliTypeId));
}
VXString PsrcCloseAfterText(const CP& cp) { return FlagText(cp.GetCloseAfterEveryRequest() != 0); }
void PsrcSetCloseAfter(CP& cp, const VXString* t, const NameValuePairs&) {
  cp.SetCloseAfterEveryRequest(FlagFrom(t, false) ? 1 : 0);
}
VXString PsrcOutputTypeText(const CP& cp) {
  return QORLUtility::GetStringFromOutputType(static_cast<QORLUtility::ExtGatewayOutputType>(cp.GetExtGatewayOutputType()));
}
void PsrcSetOutputType(CP& cp, const VXString* t, const NameValuePairs&) {
  cp.SetExtGatewayOutputType(t ? QORLUtility::GetOutputTypeFromString(*t) : QORLUtility::EGWType_Unknown);
}
VXString PsrcIsolationText(const CP& cp) {
  return QORLUtility::GetStringFromLevelType(static_cast<ServerInfo::TxnIsolationLevel>(cp.GetIsolationLevel()));
}
void PsrcSetIsolation(CP& cp, const VXString* t, const NameValuePairs&) {
  cp.SetIsolationLevel(t ? QORLUtility::GetLevelTypeFromString(*t) : ServerInfo::kTXN_Default);
}

// The web service server stands beside its WSDL only.
VXString PsrcWsServerText(const CP& cp) { return cp.GetWSDL().empty() ? VXString() : cp.GetServerName(); }
// "appServerName", then "wsServer" instead when the document names a WSDL.
void PsrcSetServerName(CP& cp, const VXString* t, const NameValuePairs& all) {
  cp.SetServerName(TextFrom(t));
  const VXString* wsdl = all.Find(ATTR_WS_WSDL);
  if (wsdl && !wsdl->empty()) cp.SetServerName(TextFrom(all.Find(ATTR_WS_SERVER)));
}

// The credential store key is "map:key"; any other number of parts is all map.
VXStringVector PsrcSplitCSFKey(const VXString& key) {
  VXStringVector parts;
  VXString cur;
  for (char32_t c : key.view()) {
    if (c == U':') {
      parts.push_back(cur);
      cur.clear();
    } else {
      cur.push_back(c);
    }
  }
  parts.push_back(cur);
  return parts;
}
VXString PsrcCSFMapText(const CP& cp) {
  VXStringVector parts = PsrcSplitCSFKey(cp.GetCSFKey());
  return parts.size() == 2 ? parts[0] : cp.GetCSFKey();
}
VXString PsrcCSFKeyText(const CP& cp) {
  VXStringVector parts = PsrcSplitCSFKey(cp.GetCSFKey());
  return parts.size() == 2 ? parts[1] : VXString();
}
// The key, with the map in front when there is one; the whole "csfKey" wins.
void PsrcSetCSFKey(CP& cp, const VXString* map, const NameValuePairs& all) {
  VXString key = TextFrom(all.Find(ATTR_CSF_KEY));
  if (map && !map->empty()) key = *map + U':' + key;
  if (const VXString* whole = all.Find(ATTR_CSF_KEY_OLD); whole && !whole->empty()) key = *whole;
  cp.SetCSFKey(key);
}

VXString PsrcCliNameText(const CP& cp) {
  return PsrcIsPluginCli(cp.GetStoredCallInterfaceType()) ? cp.GetCLIName() : VXString();
}
VXString PsrcCliVersionText(const CP& cp) {
  return PsrcIsPluginCli(cp.GetStoredCallInterfaceType()) ? cp.GetCLIRequiredVersion() : VXString();
}
VXString PsrcCliTypeIdText(const CP& cp) {
  int t = cp.GetStoredCallInterfaceType();
  return PsrcIsPluginCli(t) ? VXString::FromInt(t) : VXString();
}

#define PSRC_TEXT(attr, get, set) \
  {attr, AttrWrite::kIfSet, &PsrcText<CP, &CP::get>, &PsrcSetText<CP, &CP::set>}
#define PSRC_INT(attr, when, get, set, def) \
  {attr, AttrWrite::when, &PsrcIntAlways<CP, &CP::get>, &PsrcSetInt<CP, &CP::set, def>}
#define PSRC_INT_IF_SET(attr, get, set) \
  {attr, AttrWrite::kIfSet, &PsrcIntIfSet<CP, &CP::get>, &PsrcSetInt<CP, &CP::set, 0>}
#define PSRC_FLAG(attr, when, get, set, def) \
  {attr, AttrWrite::when, &PsrcFlag<CP, &CP::get>, &PsrcSetFlag<CP, &CP::set, def>}

const AttrRow<CP> kPsrcPoolRows[] = {
    PSRC_TEXT(ATTR_USER, GetDBUserName, SetDBUserName),
    {ATTR_PASSWORD, AttrWrite::kIfSet, nullptr, nullptr},
    PSRC_INT(ATTR_TIMEOUT, kAlways, GetTimeout, SetTimeout, 0),
    PSRC_INT(ATTR_MAX_CONN_DIFF, kAlways, GetMaxConnToSameURLForDifferentUsers, SetMaxConnToSameURLForDifferentUsers, 10),
    PSRC_INT(ATTR_MAX_CONN, kAlways, GetMaxConnections, SetMaxConnections, 10),
    PSRC_TEXT(ATTR_DATA_SOURCE, GetDataSourceName, SetDataSourceName),
    {ATTR_TYPE, AttrWrite::kIfSet, &PsrcCliTypeText, &PsrcSetCliType},
    PSRC_FLAG(ATTR_REQ_Q_TABLE_NAME, kBoth, RequiresQualifiedTableNames, SetRequiresQualifiedTableNames, false),
    PSRC_FLAG(ATTR_SHARED_LOGIN, kBoth, GetSharedLogin, SetSharedLogin, false),
    PSRC_FLAG(ATTR_CONCURRENT, kBoth, GetConcurrentQueriesInConnection, SetConcurrentQueriesInConnection, false),
    {ATTR_CLOSE_AFTER_REQ, AttrWrite::kBoth, &PsrcCloseAfterText, &PsrcSetCloseAfter},
    PSRC_FLAG(ATTR_ASYNC_EXEC, kIfTrue, GetAsyncExecution, SetAsyncExecution, false),
    PSRC_TEXT(ATTR_XSL_PATH, GetXSLPath, SetXSLPath),
    PSRC_INT_IF_SET(ATTR_XML_REFRESH_INTERVAL, GetXMLRefreshInterval, SetXMLRefreshInterval),
    PSRC_TEXT(ATTR_SCRIPT_PATH, GetExtGatewayScriptPath, SetExtGatewayScriptPath),
    {ATTR_OUTPUT_TYPE, AttrWrite::kIfSet, &PsrcOutputTypeText, &PsrcSetOutputType},
    PSRC_TEXT(ATTR_GW_DELIM, GetExtGatewayDelimiter, SetExtGatewayDelimiter),
    PSRC_FLAG(ATTR_IGNORE_FIRST_LINE, kBoth, GetIgnoreFirstLineInOutput, SetIgnoreFirstLineInOutput, false),
    PSRC_TEXT(ATTR_XPATH, GetXPath, SetXPath),
    PSRC_TEXT(ATTR_CONVERT_SCRIPT_PATH, GetConverterScriptPath, SetConverterScriptPath),
    PSRC_INT(ATTR_BULK_INSERT_BUFFER_SIZE, kAlways, GetBulkInsertBuffSize, SetBulkInsertBuffSize, 0),
    PSRC_TEXT(ATTR_TEMP_TABLE_OWNER, GetTempTableOwner, SetTempTableOwner),
    PSRC_TEXT(ATTR_TEMP_TABLE_PREFIX, GetTempTablePrefix, SetTempTablePrefix),
    PSRC_INT(ATTR_TRANSACTION_BOUNDARY, kAlways, GetBulkInsertTransactionBoundary, SetBulkInsertTransactionBoundary, 0),
    PSRC_TEXT(ATTR_XMLA_INFO, GetXMLADataSourceInfo, SetXMLADataSourceInfo),
    PSRC_TEXT(ATTR_XMLA_CATALOG, GetXMLACatalog, SetXMLACatalog),
    PSRC_FLAG(ATTR_XMLS_USE_SESSION, kBoth, GetXMLAUseSession, SetXMLAUseSession, false),
    PSRC_FLAG(ATTR_MULTI_THREADED, kIfFalse, GetMultiThreadedConnectionsFlag, SetMultiThreadedConnectionsFlag, true),
    PSRC_TEXT(ATTR_XML_HEADER_PATH, GetXMLHeaderPath, SetXMLHeaderPath),
    PSRC_TEXT(ATTR_TRAILER_PATH, GetXMLTrailerPath, SetXMLTrailerPath),
    PSRC_FLAG(ATTR_SUPPORT_PARAMS, kIfFalse, GetParametersSupported, SetParametersSupported, true),
    {ATTR_ISOLATION_LEVEL, AttrWrite::kIfSet, &PsrcIsolationText, &PsrcSetIsolation},
    {ATTR_WS_SERVER, AttrWrite::kIfSet, &PsrcWsServerText, nullptr},
    PSRC_TEXT(ATTR_WS_WSDL, GetWSDL, SetWSDL),
    {ATTR_ZPF_SERVER_NAME, AttrWrite::kIfSet, &PsrcText<CP, &CP::GetServerName>, &PsrcSetServerName},
    PSRC_TEXT(ATTR_ZPF_SERVER_PORT, GetServerPort, SetServerPort),
    PSRC_TEXT(ATTR_APP_ID, GetApplicationID, SetApplicationID),
    PSRC_TEXT(ATTR_APP_EJB_BEAN, GetEJBBean, SetEJBBean),
    PSRC_TEXT(ATTR_JAVA_HOST, GetJavahostServiceName, SetJavahostServiceName),
    PSRC_FLAG(ATTR_IS_JDB_SECURED, kBoth, IsSecured, SetSecuredFlag, false),
    {ATTR_CSF_MAP, AttrWrite::kIfSet, &PsrcCSFMapText, &PsrcSetCSFKey},
    {ATTR_CSF_KEY, AttrWrite::kIfSet, &PsrcCSFKeyText, nullptr},
    PSRC_FLAG(ATTR_UNICODE_DB, kIfTrue, GetUnicodeDBType, SetUnicodeDBType, false),
    PSRC_TEXT(ATTR_TEMP_TABLE_DB, GetTempTableDBName, SetTempTableDBName),
    PSRC_TEXT(ATTR_TEMP_TABLE_SPACE, GetTempTableTablespaceName, SetTempTableTablespaceName),
    PSRC_FLAG(ATTR_IS_AW, kIfTrue, GetAWFlag, SetAWFlag, false),
    PSRC_FLAG(ATTR_USE_CERT, kIfTrue, UseCertificate, SetUseCertificateFlag, false),
    {ATTR_CLI_NAME, AttrWrite::kIfSet, &PsrcCliNameText, &PsrcSetText<CP, &CP::SetCLIName>},
    {ATTR_CLI_REQUIRED_VERSION, AttrWrite::kIfSet, &PsrcCliVersionText, &PsrcSetText<CP, &CP::SetCLIRequiredVersion>},
    {ATTR_CLI_TYPEID, AttrWrite::kIfSet, &PsrcCliTypeIdText, nullptr},
};

#undef PSRC_TEXT
#undef PSRC_INT
#undef PSRC_INT_IF_SET
#undef PSRC_FLAG

constexpr std::u32string_view kPsrcCredentialAttrs[] = {
    ATTR_USER,   ATTR_DATA_SOURCE,     ATTR_XMLA_INFO,   ATTR_WS_SERVER, ATTR_WS_WSDL, ATTR_ZPF_SERVER_NAME,
    ATTR_ZPF_SERVER_PORT, ATTR_APP_EJB_BEAN, ATTR_JAVA_HOST, ATTR_CSF_MAP,   ATTR_CSF_KEY,
};

void PsrcOpen(VXString& s, std::u32string_view tag) {
  s += S_LT;
  s += tag;
  s += S_GT;
  s += S_NEWLINE;
}
void PsrcClose(VXString& s, std::u32string_view tag) {
  s += S_OPEN_CLOSING_TAG;
  s += tag;
  s += S_GT;
  s += S_NEWLINE;
}

// ---- element rows -------------------------------------------------------------------

VXString PsrcDatabaseAttributes(QORLGenerator&, const RefARpObject& o) {
  return QORLUtil::GetDatabaseXMLAttributes(RefADatabase(o));
}

void PsrcDatabaseChildren(QORLGenerator& gen, const RefARpObject& o) {
  RefADatabase db(o);
  gen.Print(QORLUtil::GetDatabaseFeatureXMLElements(db));
  gen.GenerateTaggedRefObject(db->GetDefaultPersistConnectionPool(), TAG_PERSIST_CONN_POOL);
  gen.GenerateGroupedRefObjects(db->GetDisplayFolders(), TAG_DISPLAY_FOLDERS);
  // Removed members are known only to a fine-grained run, which lists none here.
  gen.GenerateGroupedSTLContainer(RpObjectVector(), TAG_REMOVED_DISPLAY_FOLDERS);
  gen.GenerateGroupedRefObjects(db->GetConnectionPools(), TAG_CONNECTION_POOLS);
  gen.Print(QORLUtil::GetDatabasePropertyXMLElements(db, gen.GetGenerateOptions()));
}

VXString PsrcPoolAttributes(QORLGenerator& gen, const RefARpObject& o) {
  RefAConnectionPool cp(o);
  VXString s = QORLUtil::GetConnectionPoolXMLAttributes(gen.GetGateway(), cp, gen.IsHidingPoolPassword(),
                                                        gen.IsSkippingCredentials());
  // The whole key as well, for readers that know it in one piece.
  VXString key = cp->GetCSFKey();
  AppendAttr(s, ATTR_CSF_KEY_OLD, gen.IsSkippingCredentials() ? VXString(ATTRV_CORRECT_REPLACE_ME) : key);
  return s;
}

void PsrcPoolChildren(QORLGenerator& gen, const RefARpObject& o) {
  RefAConnectionPool cp(o);
  int options = gen.GetGenerateOptions();
  gen.Print(QORLUtil::GetConnectionPoolConfigParams(cp, options, false));
  gen.Print(QORLUtil::GetConnectionPoolConnectScripts(cp, false, options));
  gen.GenerateTaggedRefObject(cp->GetRelationalConnectionPoolForCuberaAggrPersist(), TAG_RELATIONAL_CONN_POOL);
  gen.GenerateTaggedRefObject(cp->GetRelationalDataFolderForCuberaAggrPersist(), TAG_RELATIONAL_DATA_FOLDER);
  gen.GenerateTaggedRefObject(cp->GetSQLBypassDatabase(), TAG_SQL_BYPASS_DB);
}

void PsrcCatalogChildren(QORLGenerator& gen, const RefARpObject& o) {
  gen.GenerateTaggedRefObject(RefACatalog(o)->GetVariable(), TAG_DYNAMIC_NAME);
}

void PsrcSchemaChildren(QORLGenerator& gen, const RefARpObject& o) {
  RefASchema schema(o);
  gen.GenerateTaggedRefObject(schema->GetVariable(), TAG_DYNAMIC_NAME);
  gen.Print(QORLUtil::GetCDATA(schema->GetWSInputMessage(), TAG_INPUT_MESSAGE_TEMPLATE, true, false, 0));
}

void PsrcDisplayFolderChildren(QORLGenerator& gen, const RefARpObject& o) {
  gen.GenerateGroupedRefObjects(RefAPhysicalDisplayFolder(o)->GetTables(), TAG_TABLES);
}

const ElementWriter kPsrcWriters[] = {
    {kTIDADatabase, &PsrcDatabaseAttributes, &PsrcDatabaseChildren},
    {kTIDAConnectionPool, &PsrcPoolAttributes, &PsrcPoolChildren},
    {kTIDACatalog, nullptr, &PsrcCatalogChildren},
    {kTIDASchema, nullptr, &PsrcSchemaChildren},
    {kTIDAPhysicalDisplayFolder, nullptr, &PsrcDisplayFolderChildren},
};

}  // namespace

std::span<const AttrRow<ADatabase>> DatabaseAttrRows() { return kPsrcDatabaseRows; }
std::span<const AttrRow<AConnectionPool>> ConnectionPoolAttrRows() { return kPsrcPoolRows; }

bool IsPoolCredentialAttr(std::u32string_view name) {
  for (std::u32string_view a : kPsrcCredentialAttrs)
    if (a == name) return true;
  return false;
}

std::span<const ElementWriter> PhysicalSourceElementWriters() { return kPsrcWriters; }

// ---- fragments -----------------------------------------------------------------------

VXString QORLUtil::GetDatabaseXMLAttributes(const RefADatabase& database) {
  VXString s;
  if (database) WriteAttrRows(s, DatabaseAttrRows(), *database);
  return s;
}

VXString QORLUtil::GetDatabaseFeatureXMLElements(const RefADatabase& database) {
  VXString s;
  if (!database) return s;
  DatabaseFeaturesTable features = database->GetDatabaseFeatures();
  PsrcOpen(s, TAG_FEATURES);
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
  PsrcClose(s, TAG_FEATURES);
  return s;
}

VXString QORLUtil::GetDatabasePropertyXMLElements(const RefADatabase& database, int genOptions) {
  VXString s;
  if (!database) return s;
  DatabasePropertiesMap properties = database->GetDatabaseProperties();
  if (!IsEmptyElementFragmentNotGenerated(!properties.empty(), true, s, genOptions, TAG_PROPERTIES)) return s;
  const bool dummy = genOptions & kGenDummyUID;
  PsrcOpen(s, TAG_PROPERTIES);
  for (const auto& [category, table] : properties) {
    s += S_LT;
    s += TAG_PROPERTY_GROUP;
    AppendAttrAlways(s, ATTR_CATEGORY, category);
    if (dummy) AppendAttrAlways(s, ATTR_DUMMY_UID, category);
    s += S_GT;
    s += S_NEWLINE;
    VXStringVector keys;
    table.GetPropertyKeys(keys);
    if (IsEmptyElementFragmentNotGenerated(!keys.empty(), true, s, genOptions, TAG_PROPERTY)) {
      for (const VXString& key : keys) {
        VXString value;
        table.GetProperty(key, value);
        s += S_LT;
        s += TAG_PROPERTY;
        if (dummy) AppendAttrAlways(s, ATTR_DUMMY_UID, key);
        s += S_GT;
        s += S_NEWLINE;
        s += GetCDATA(key, TAG_NAME, false, false, 0);
        s += GetCDATA(value, TAG_VALUE, false, false, 0);
        PsrcClose(s, TAG_PROPERTY);
      }
    }
    PsrcClose(s, TAG_PROPERTY_GROUP);
  }
  PsrcClose(s, TAG_PROPERTIES);
  return s;
}

VXString QORLUtil::GetConnectionPoolXMLAttributes(ARpGateway* pRp, const RefAConnectionPool& cp, bool bHidePassword,
                                                  bool bSkipCredentials) {
  VXString s;
  if (!cp) return s;
  const VXString marker(ATTRV_CORRECT_REPLACE_ME);
  for (const AttrRow<CP>& row : ConnectionPoolAttrRows()) {
    if (row.name == ATTR_PASSWORD) {
      if (bHidePassword) continue;
      // Always under this repository's key, never in the store's own form.
      ByteVector bytes = bSkipCredentials ? ByteVector() : cp->GetEncryptedPassword();
      AppendAttr(s, ATTR_PASSWORD, ARpGateway::AESEncryptPassword(pRp, bytes));
      continue;
    }
    if (!row.get) continue;
    VXString text = row.get(*cp);
    // A hidden credential shows the marker whether or not there is a value
    // behind it; the web service pair still stands only beside a WSDL.
    if (bSkipCredentials && IsPoolCredentialAttr(row.name)) {
      bool webService = row.name == ATTR_WS_SERVER || row.name == ATTR_WS_WSDL;
      if (!webService || !cp->GetWSDL().empty()) text = marker;
    }
    WriteAttrRow(s, row.name, row.when, text);
  }
  return s;
}

VXString QORLUtil::GetConnectStrings(const std::vector<std::pair<VXString, bool>>& strBoolVec,
                                     std::u32string_view sTagName, bool bIsTDFQORL, int genOptions) {
  VXString s;
  if (!IsEmptyElementFragmentNotGenerated(!strBoolVec.empty(), true, s, genOptions, sTagName)) return s;
  for (const auto& [text, enabled] : strBoolVec) {
    s += S_LT;
    s += sTagName;
    AppendAttrAlways(s, bIsTDFQORL ? ATTR_IS_ENABLED : ATTR_FLAG, FlagText(enabled));
    if (genOptions & kGenDummyUID) AppendAttr(s, ATTR_DUMMY_UID, text);
    s += S_GT;
    s += S_NEWLINE;
    s += GetCDATA(text, TAG_VALUE, false, false, 0);
    PsrcClose(s, sTagName);
  }
  return s;
}

VXString QORLUtil::GetConnectionPoolConnectScripts(const RefAConnectionPool& cp, bool bIsTDFQORL, int genOptions) {
  VXString s;
  if (!cp) return s;
  s += GetConnectStrings(cp->GetAfterQueryStrings(), TAG_AFTER_QUERY_STRING, bIsTDFQORL, genOptions);
  s += GetConnectStrings(cp->GetBeforeQueryStrings(), TAG_BEFORE_QUERY_STRING, bIsTDFQORL, genOptions);
  s += GetConnectStrings(cp->GetPostConnectStrings(), TAG_POST_CONNECT_STRING, bIsTDFQORL, genOptions);
  s += GetConnectStrings(cp->GetPreDisConnectStrings(), TAG_PRE_DISCONNECT_STRING, bIsTDFQORL, genOptions);
  return s;
}

VXString QORLUtil::GetConnectionPoolConfigParams(const RefAConnectionPool& cp, int genOptions, bool bIsTDFQORL) {
  VXString s;
  if (!cp) return s;
  const ConfigParamVector& params = cp->GetConfigParams();
  // The tree form lists the parameters without the wrapper.
  if (!bIsTDFQORL) {
    if (!IsEmptyElementFragmentNotGenerated(!params.empty(), true, s, genOptions, TAG_CONFIG_PARAMETERS)) return s;
    PsrcOpen(s, TAG_CONFIG_PARAMETERS);
  }
  for (const auto& [name, value] : params) {
    s += S_LT;
    s += TAG_CONFIG_PARAMETER;
    AppendAttr(s, ATTR_NAME, name);
    s += S_GT;
    s += S_NEWLINE;
    s += GetCDATA(value, TAG_VALUE, false, false, 0);
    PsrcClose(s, TAG_CONFIG_PARAMETER);
  }
  if (!bIsTDFQORL) PsrcClose(s, TAG_CONFIG_PARAMETERS);
  return s;
}

void PoolVariableTexts(const RefARpObject& pool, VXStringVector& texts) {
  RefAConnectionPool cp(pool);
  if (!cp) return;
  texts.push_back(cp->GetDataSourceName());
  texts.push_back(cp->GetDBUserName());
}

}  // namespace qorl
