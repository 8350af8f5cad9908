// Store side of databases, connection pools, catalogs, schemas and display
// folders: property tables, parents, and the full forms of a database's
// features and properties.
#include "model/db_features.h"
#include "store/gateway.h"
#include "store/object_refs.h"
#include "store/props.h"

namespace qorl {

// ---- database -------------------------------------------------------------------

std::span<const PropDesc> ADatabase::OwnProperties() {
  static const PropDesc props[] = {
      QORL_PROP(ADatabase, m_targetType, 1, "targetType"),
      QORL_PROP(ADatabase, m_dbFlags, 2, "databaseFlags"),
      QORL_PROP(ADatabase, m_dbName, 3, "dbName"),
      QORL_PROP(ADatabase, m_dbRequiredVersion, 4, "dbRequiredVersion"),
      QORL_PROP(ADatabase, m_features, 5, "features"),
      QORL_PROP(ADatabase, m_properties, 6, "properties"),
      QORL_PROP(ADatabase, m_persistPool, 7, "defaultPersistConnectionPool"),
  };
  return props;
}

DatabaseFeaturesTable ADatabase::GetDatabaseFeatures() const {
  DatabaseFeaturesTable t;
  t.SetChangedValues(m_features);
  return t;
}

void ADatabase::SetDatabaseFeatures(const DatabaseFeaturesTable& features) {
  m_features = features.GetChangedValues();
  MarkDirty();
}

std::map<VXString, SUPropertiesTable> ADatabase::GetDatabaseProperties() const {
  DatabasePropertiesMap out;
  for (const auto& [category, flat] : m_properties) out[category].FromFlatVector(flat);
  return out;
}

void ADatabase::SetDatabaseProperties(const std::map<VXString, SUPropertiesTable>& properties) {
  m_properties.clear();
  for (const auto& [category, table] : properties) m_properties[category] = table.ToFlatVector();
  MarkDirty();
}

// ---- connection pool --------------------------------------------------------------

std::span<const PropDesc> AConnectionPool::OwnProperties() {
  static const PropDesc props[] = {
      QORL_PROP(AConnectionPool, m_user, 1, "user"),
      QORL_PROP(AConnectionPool, m_password, 2, "password"),
      QORL_PROP(AConnectionPool, m_timeout, 3, "timeout"),
      QORL_PROP(AConnectionPool, m_maxConnDiff, 4, "maxConnDiff"),
      QORL_PROP(AConnectionPool, m_maxConn, 5, "maxConn"),
      QORL_PROP(AConnectionPool, m_dataSource, 6, "dataSource"),
      QORL_PROP(AConnectionPool, m_cliType, 7, "callInterface"),
      QORL_PROP(AConnectionPool, m_reqQualifiedNames, 8, "requiresQualifiedTableNames"),
      QORL_PROP(AConnectionPool, m_sharedLogin, 9, "sharedLogin"),
      QORL_PROP(AConnectionPool, m_concurrent, 10, "concurrentQueries"),
      QORL_PROP(AConnectionPool, m_closeAfterRequest, 11, "closeAfterEveryRequest"),
      QORL_PROP(AConnectionPool, m_asyncExec, 12, "asyncExecution"),
      QORL_PROP(AConnectionPool, m_xslPath, 13, "xslPath"),
      QORL_PROP(AConnectionPool, m_xmlRefreshInterval, 14, "xmlRefreshInterval"),
      QORL_PROP(AConnectionPool, m_scriptPath, 15, "scriptPath"),
      QORL_PROP(AConnectionPool, m_outputType, 16, "outputType"),
      QORL_PROP(AConnectionPool, m_gwDelimiter, 17, "gatewayDelimiter"),
      QORL_PROP(AConnectionPool, m_ignoreFirstLine, 18, "ignoreFirstLine"),
      QORL_PROP(AConnectionPool, m_xpath, 19, "xpath"),
      QORL_PROP(AConnectionPool, m_convertScriptPath, 20, "convertScriptPath"),
      QORL_PROP(AConnectionPool, m_bulkInsertBufferSize, 21, "bulkInsertBufferSize"),
      QORL_PROP(AConnectionPool, m_tempTableOwner, 22, "tempTableOwner"),
      QORL_PROP(AConnectionPool, m_tempTablePrefix, 23, "tempTablePrefix"),
      QORL_PROP(AConnectionPool, m_transactionBoundary, 24, "transactionBoundary"),
      QORL_PROP(AConnectionPool, m_xmlaInfo, 25, "xmlaInfo"),
      QORL_PROP(AConnectionPool, m_xmlaCatalog, 26, "xmlaCatalog"),
      QORL_PROP(AConnectionPool, m_xmlaUseSession, 27, "xmlaUseSession"),
      QORL_PROP(AConnectionPool, m_multiThreaded, 28, "multiThreaded"),
      QORL_PROP(AConnectionPool, m_xmlHeaderPath, 29, "xmlHeaderPath"),
      QORL_PROP(AConnectionPool, m_xmlTrailerPath, 30, "xmlTrailerPath"),
      QORL_PROP(AConnectionPool, m_paramsSupported, 31, "parametersSupported"),
      QORL_PROP(AConnectionPool, m_isolationLevel, 32, "isolationLevel"),
      QORL_PROP(AConnectionPool, m_serverName, 33, "serverName"),
      QORL_PROP(AConnectionPool, m_wsdl, 34, "wsdl"),
      QORL_PROP(AConnectionPool, m_serverPort, 35, "serverPort"),
      QORL_PROP(AConnectionPool, m_appID, 36, "applicationID"),
      QORL_PROP(AConnectionPool, m_ejbBean, 37, "ejbBean"),
      QORL_PROP(AConnectionPool, m_javaHost, 38, "javahostServiceName"),
      QORL_PROP(AConnectionPool, m_secured, 39, "secured"),
      QORL_PROP(AConnectionPool, m_csfKey, 40, "csfKey"),
      QORL_PROP(AConnectionPool, m_unicodeDB, 41, "unicodeDB"),
      QORL_PROP(AConnectionPool, m_tempTableDB, 42, "tempTableDatabase"),
      QORL_PROP(AConnectionPool, m_tempTableSpace, 43, "tempTableSpace"),
      QORL_PROP(AConnectionPool, m_isAW, 44, "isAW"),
      QORL_PROP(AConnectionPool, m_useCert, 45, "useCertificate"),
      QORL_PROP(AConnectionPool, m_cliName, 46, "cliName"),
      QORL_PROP(AConnectionPool, m_cliRequiredVersion, 47, "cliRequiredVersion"),
      QORL_PROP(AConnectionPool, m_onConnectCommand, 48, "onConnectCommand"),
      QORL_PROP(AConnectionPool, m_afterQuery, 49, "afterQueryStrings"),
      QORL_PROP(AConnectionPool, m_beforeQuery, 50, "beforeQueryStrings"),
      QORL_PROP(AConnectionPool, m_postConnect, 51, "postConnectStrings"),
      QORL_PROP(AConnectionPool, m_preDisconnect, 52, "preDisconnectStrings"),
      QORL_PROP(AConnectionPool, m_configParams, 53, "configParams"),
      QORL_PROP(AConnectionPool, m_relationalPool, 54, "relationalConnectionPool"),
      QORL_PROP(AConnectionPool, m_relationalFolder, 55, "relationalDataFolder"),
      QORL_PROP(AConnectionPool, m_sqlBypassDB, 56, "sqlBypassDatabase"),
  };
  return props;
}

RefADatabase AConnectionPool::GetDatabase() const { return RefADatabase(GetParent()); }
void AConnectionPool::SetDatabase(const RefADatabase& db) { SetParentOf(*this, db); }

// ---- catalog, schema, display folder ----------------------------------------------

std::span<const PropDesc> ACatalog::OwnProperties() {
  static const PropDesc props[] = {
      QORL_PROP(ACatalog, m_variable, 1, "variable"),
  };
  return props;
}

RefADatabase ACatalog::GetDatabase() const { return RefADatabase(GetParent()); }
void ACatalog::SetDatabase(const RefADatabase& db) { SetParentOf(*this, db); }

std::span<const PropDesc> ASchema::OwnProperties() {
  static const PropDesc props[] = {
      QORL_PROP(ASchema, m_variable, 1, "variable"),
      QORL_PROP(ASchema, m_wsInputMessage, 2, "wsInputMessage"),
  };
  return props;
}

RefAPhysicalDataFolder ASchema::GetContainer() const { return RefAPhysicalDataFolder(GetParent()); }
void ASchema::SetContainer(const RefAPhysicalDataFolder& container) { SetParentOf(*this, container); }

RefADatabase APhysicalDisplayFolder::GetDatabase() const { return RefADatabase(GetParent()); }
void APhysicalDisplayFolder::SetDatabase(const RefADatabase& db) { SetParentOf(*this, db); }

}  // namespace qorl
