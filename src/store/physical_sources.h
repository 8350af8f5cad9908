// Store classes of the physical sources: database, connection pool, catalog,
// schema, display folder.
//
// The features and properties of a database are kept in the plain forms of
// model/db_features.h (changed feature values as text, properties as flat
// key/value lists), so this header needs only their names; the accessors
// hand out the full tables, for which callers include that header.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <utility>
#include <vector>

#include "platform/vxstring.h"
#include "store/class_bases.h"
#include "store/relation.h"

namespace qorl {

class DatabaseFeaturesTable;
class SUPropertiesTable;

// A connect script: its text and whether it is enabled.
using ConnectScriptVector = std::vector<std::pair<VXString, bool>>;
// Parameters of a pluggable data source: name and value.
using ConfigParamVector = std::vector<std::pair<VXString, VXString>>;

class ADatabase : public APhysicalDataFolder {
  QORL_OBJECT(ADatabase)
 public:
  enum DatabaseFlag : uint32_t {
    kTorvikTables = 1,
    kPopulatePrivilege = 2,
    kExecutePhysicalPrivilege = 4,
    kVirtualPrivateDatabase = 8,
    kReplicationDatabase = 16,
  };
  static std::span<const PropDesc> OwnProperties();

  // A ServerInfo::TargetType.
  int GetTargetType() const { return m_targetType; }
  void SetTargetType(int t) { m_targetType = t; MarkDirty(); }
  uint32_t GetDatabaseFlags() const { return m_dbFlags; }
  void SetDatabaseFlags(uint32_t f) { m_dbFlags = f; MarkDirty(); }
  VXString GetDBName() const { return m_dbName; }
  void SetDBName(const VXString& s) { m_dbName = s; MarkDirty(); }
  VXString GetDBRequiredVersion() const { return m_dbRequiredVersion; }
  void SetDBRequiredVersion(const VXString& s) { m_dbRequiredVersion = s; MarkDirty(); }

  DatabaseFeaturesTable GetDatabaseFeatures() const;
  void SetDatabaseFeatures(const DatabaseFeaturesTable& features);
  // Category -> table (a DatabasePropertiesMap).
  std::map<VXString, SUPropertiesTable> GetDatabaseProperties() const;
  void SetDatabaseProperties(const std::map<VXString, SUPropertiesTable>& properties);

  RefAConnectionPool GetDefaultPersistConnectionPool() const { return RefAConnectionPool(GetGateway(), m_persistPool); }
  void SetDefaultPersistConnectionPool(const RefAConnectionPool& p) { m_persistPool = p.GetID(); MarkDirty(); }

  BinaryRelIter<APhysicalDisplayFolder> GetDisplayFolders() const {
    return BinaryRelIter<APhysicalDisplayFolder>(GetGateway(), GetID(), kRelDatabaseDisplayFolders);
  }
  BinaryRelIter<AConnectionPool> GetConnectionPools() const {
    return BinaryRelIter<AConnectionPool>(GetGateway(), GetID(), kRelDatabaseConnectionPools);
  }

 private:
  int32_t m_targetType = 2;  // ServerInfo::kDefault, what a document without a type reads as
  uint32_t m_dbFlags = 0;
  VXString m_dbName;
  VXString m_dbRequiredVersion;
  std::map<int32_t, VXString> m_features;  // SUFeaturesTable::GetChangedValues
  std::map<VXString, VXStringVector> m_properties;  // category -> SUPropertiesTable::ToFlatVector
  VoidID m_persistPool;
};

class AConnectionPool : public AMergeableObject {
  QORL_OBJECT(AConnectionPool)
 public:
  static std::span<const PropDesc> OwnProperties();

  // The parent.
  RefADatabase GetDatabase() const;
  void SetDatabase(const RefADatabase& db);

  VXString GetDBUserName() const { return m_user; }
  void SetDBUserName(const VXString& s) { m_user = s; MarkDirty(); }
  // The password as the store keeps it; documents carry it AES-encrypted.
  const ByteVector& GetEncryptedPassword() const { return m_password; }
  void SetEncryptedPassword(const ByteVector& b) { m_password = b; MarkDirty(); }
  int GetTimeout() const { return m_timeout; }
  void SetTimeout(int v) { m_timeout = v; MarkDirty(); }
  int GetMaxConnToSameURLForDifferentUsers() const { return m_maxConnDiff; }
  void SetMaxConnToSameURLForDifferentUsers(int v) { m_maxConnDiff = v; MarkDirty(); }
  int GetMaxConnections() const { return m_maxConn; }
  void SetMaxConnections(int v) { m_maxConn = v; MarkDirty(); }
  VXString GetDataSourceName() const { return m_dataSource; }
  void SetDataSourceName(const VXString& s) { m_dataSource = s; MarkDirty(); }
  // A ServerInfo::CLIType.
  int GetStoredCallInterfaceType() const { return m_cliType; }
  void SetCallInterfaceType(int t) { m_cliType = t; MarkDirty(); }
  bool RequiresQualifiedTableNames() const { return m_reqQualifiedNames; }
  void SetRequiresQualifiedTableNames(bool b) { m_reqQualifiedNames = b; MarkDirty(); }
  bool GetSharedLogin() const { return m_sharedLogin; }
  void SetSharedLogin(bool b) { m_sharedLogin = b; MarkDirty(); }
  bool GetConcurrentQueriesInConnection() const { return m_concurrent; }
  void SetConcurrentQueriesInConnection(bool b) { m_concurrent = b; MarkDirty(); }
  int GetCloseAfterEveryRequest() const { return m_closeAfterRequest; }
  void SetCloseAfterEveryRequest(int v) { m_closeAfterRequest = v; MarkDirty(); }
  bool GetAsyncExecution() const { return m_asyncExec; }
  void SetAsyncExecution(bool b) { m_asyncExec = b; MarkDirty(); }
  VXString GetXSLPath() const { return m_xslPath; }
  void SetXSLPath(const VXString& s) { m_xslPath = s; MarkDirty(); }
  int GetXMLRefreshInterval() const { return m_xmlRefreshInterval; }
  void SetXMLRefreshInterval(int v) { m_xmlRefreshInterval = v; MarkDirty(); }
  VXString GetExtGatewayScriptPath() const { return m_scriptPath; }
  void SetExtGatewayScriptPath(const VXString& s) { m_scriptPath = s; MarkDirty(); }
  // A QORLUtility::ExtGatewayOutputType.
  int GetExtGatewayOutputType() const { return m_outputType; }
  void SetExtGatewayOutputType(int t) { m_outputType = t; MarkDirty(); }
  VXString GetExtGatewayDelimiter() const { return m_gwDelimiter; }
  void SetExtGatewayDelimiter(const VXString& s) { m_gwDelimiter = s; MarkDirty(); }
  bool GetIgnoreFirstLineInOutput() const { return m_ignoreFirstLine; }
  void SetIgnoreFirstLineInOutput(bool b) { m_ignoreFirstLine = b; MarkDirty(); }
  VXString GetXPath() const { return m_xpath; }
  void SetXPath(const VXString& s) { m_xpath = s; MarkDirty(); }
  VXString GetConverterScriptPath() const { return m_convertScriptPath; }
  void SetConverterScriptPath(const VXString& s) { m_convertScriptPath = s; MarkDirty(); }
  int GetBulkInsertBuffSize() const { return m_bulkInsertBufferSize; }
  void SetBulkInsertBuffSize(int v) { m_bulkInsertBufferSize = v; MarkDirty(); }
  VXString GetTempTableOwner() const { return m_tempTableOwner; }
  void SetTempTableOwner(const VXString& s) { m_tempTableOwner = s; MarkDirty(); }
  VXString GetTempTablePrefix() const { return m_tempTablePrefix; }
  void SetTempTablePrefix(const VXString& s) { m_tempTablePrefix = s; MarkDirty(); }
  int GetBulkInsertTransactionBoundary() const { return m_transactionBoundary; }
  void SetBulkInsertTransactionBoundary(int v) { m_transactionBoundary = v; MarkDirty(); }
  VXString GetXMLADataSourceInfo() const { return m_xmlaInfo; }
  void SetXMLADataSourceInfo(const VXString& s) { m_xmlaInfo = s; MarkDirty(); }
  VXString GetXMLACatalog() const { return m_xmlaCatalog; }
  void SetXMLACatalog(const VXString& s) { m_xmlaCatalog = s; MarkDirty(); }
  bool GetXMLAUseSession() const { return m_xmlaUseSession; }
  void SetXMLAUseSession(bool b) { m_xmlaUseSession = b; MarkDirty(); }
  bool GetMultiThreadedConnectionsFlag() const { return m_multiThreaded; }
  void SetMultiThreadedConnectionsFlag(bool b) { m_multiThreaded = b; MarkDirty(); }
  VXString GetXMLHeaderPath() const { return m_xmlHeaderPath; }
  void SetXMLHeaderPath(const VXString& s) { m_xmlHeaderPath = s; MarkDirty(); }
  VXString GetXMLTrailerPath() const { return m_xmlTrailerPath; }
  void SetXMLTrailerPath(const VXString& s) { m_xmlTrailerPath = s; MarkDirty(); }
  bool GetParametersSupported() const { return m_paramsSupported; }
  void SetParametersSupported(bool b) { m_paramsSupported = b; MarkDirty(); }
  // A ServerInfo::TxnIsolationLevel.
  int GetIsolationLevel() const { return m_isolationLevel; }
  void SetIsolationLevel(int l) { m_isolationLevel = l; MarkDirty(); }
  VXString GetServerName() const { return m_serverName; }
  void SetServerName(const VXString& s) { m_serverName = s; MarkDirty(); }
  VXString GetWSDL() const { return m_wsdl; }
  void SetWSDL(const VXString& s) { m_wsdl = s; MarkDirty(); }
  VXString GetServerPort() const { return m_serverPort; }
  void SetServerPort(const VXString& s) { m_serverPort = s; MarkDirty(); }
  VXString GetApplicationID() const { return m_appID; }
  void SetApplicationID(const VXString& s) { m_appID = s; MarkDirty(); }
  VXString GetEJBBean() const { return m_ejbBean; }
  void SetEJBBean(const VXString& s) { m_ejbBean = s; MarkDirty(); }
  VXString GetJavahostServiceName() const { return m_javaHost; }
  void SetJavahostServiceName(const VXString& s) { m_javaHost = s; MarkDirty(); }
  bool IsSecured() const { return m_secured; }
  void SetSecuredFlag(bool b) { m_secured = b; MarkDirty(); }
  // Credential store map and key in one text, "map:key".
  VXString GetCSFKey() const { return m_csfKey; }
  void SetCSFKey(const VXString& s) { m_csfKey = s; MarkDirty(); }
  bool GetUnicodeDBType() const { return m_unicodeDB; }
  void SetUnicodeDBType(bool b) { m_unicodeDB = b; MarkDirty(); }
  VXString GetTempTableDBName() const { return m_tempTableDB; }
  void SetTempTableDBName(const VXString& s) { m_tempTableDB = s; MarkDirty(); }
  VXString GetTempTableTablespaceName() const { return m_tempTableSpace; }
  void SetTempTableTablespaceName(const VXString& s) { m_tempTableSpace = s; MarkDirty(); }
  bool GetAWFlag() const { return m_isAW; }
  void SetAWFlag(bool b) { m_isAW = b; MarkDirty(); }
  bool UseCertificate() const { return m_useCert; }
  void SetUseCertificateFlag(bool b) { m_useCert = b; MarkDirty(); }
  VXString GetCLIName() const { return m_cliName; }
  void SetCLIName(const VXString& s) { m_cliName = s; MarkDirty(); }
  VXString GetCLIRequiredVersion() const { return m_cliRequiredVersion; }
  void SetCLIRequiredVersion(const VXString& s) { m_cliRequiredVersion = s; MarkDirty(); }
  VXString GetOnConnectCommand() const { return m_onConnectCommand; }
  void SetOnConnectCommand(const VXString& s) { m_onConnectCommand = s; MarkDirty(); }

  const ConnectScriptVector& GetAfterQueryStrings() const { return m_afterQuery; }
  void SetAfterQueryStrings(const ConnectScriptVector& v) { m_afterQuery = v; MarkDirty(); }
  const ConnectScriptVector& GetBeforeQueryStrings() const { return m_beforeQuery; }
  void SetBeforeQueryStrings(const ConnectScriptVector& v) { m_beforeQuery = v; MarkDirty(); }
  const ConnectScriptVector& GetPostConnectStrings() const { return m_postConnect; }
  void SetPostConnectStrings(const ConnectScriptVector& v) { m_postConnect = v; MarkDirty(); }
  const ConnectScriptVector& GetPreDisConnectStrings() const { return m_preDisconnect; }
  void SetPreDisConnectStrings(const ConnectScriptVector& v) { m_preDisconnect = v; MarkDirty(); }
  const ConfigParamVector& GetConfigParams() const { return m_configParams; }
  void SetConfigParams(const ConfigParamVector& v) { m_configParams = v; MarkDirty(); }

  RefAConnectionPool GetRelationalConnectionPoolForCuberaAggrPersist() const {
    return RefAConnectionPool(GetGateway(), m_relationalPool);
  }
  void SetRelationalConnectionPoolForCuberaAggrPersist(const RefAConnectionPool& p) { m_relationalPool = p.GetID(); MarkDirty(); }
  // A catalog or a schema.
  RefAPhysicalDataFolder GetRelationalDataFolderForCuberaAggrPersist() const {
    return RefAPhysicalDataFolder(GetGateway(), m_relationalFolder);
  }
  void SetRelationalDataFolderForCuberaAggrPersist(const RefAPhysicalDataFolder& f) { m_relationalFolder = f.GetID(); MarkDirty(); }
  RefADatabase GetSQLBypassDatabase() const { return RefADatabase(GetGateway(), m_sqlBypassDB); }
  void SetSQLBypassDatabase(const RefADatabase& d) { m_sqlBypassDB = d.GetID(); MarkDirty(); }

 private:
  VXString m_user;
  ByteVector m_password;
  int32_t m_timeout = 0;
  int32_t m_maxConnDiff = 10;
  int32_t m_maxConn = 10;
  VXString m_dataSource;
  int32_t m_cliType = 0;
  bool m_reqQualifiedNames = false;
  bool m_sharedLogin = false;
  bool m_concurrent = false;
  int32_t m_closeAfterRequest = 0;
  bool m_asyncExec = false;
  VXString m_xslPath;
  int32_t m_xmlRefreshInterval = 0;
  VXString m_scriptPath;
  int32_t m_outputType = 0;
  VXString m_gwDelimiter;
  bool m_ignoreFirstLine = false;
  VXString m_xpath;
  VXString m_convertScriptPath;
  int32_t m_bulkInsertBufferSize = 0;
  VXString m_tempTableOwner;
  VXString m_tempTablePrefix;
  int32_t m_transactionBoundary = 0;
  VXString m_xmlaInfo;
  VXString m_xmlaCatalog;
  bool m_xmlaUseSession = false;
  bool m_multiThreaded = true;
  VXString m_xmlHeaderPath;
  VXString m_xmlTrailerPath;
  bool m_paramsSupported = true;
  int32_t m_isolationLevel = 0;
  VXString m_serverName;
  VXString m_wsdl;
  VXString m_serverPort;
  VXString m_appID;
  VXString m_ejbBean;
  VXString m_javaHost;
  bool m_secured = false;
  VXString m_csfKey;
  bool m_unicodeDB = false;
  VXString m_tempTableDB;
  VXString m_tempTableSpace;
  bool m_isAW = false;
  bool m_useCert = false;
  VXString m_cliName;
  VXString m_cliRequiredVersion;
  VXString m_onConnectCommand;
  ConnectScriptVector m_afterQuery;
  ConnectScriptVector m_beforeQuery;
  ConnectScriptVector m_postConnect;
  ConnectScriptVector m_preDisconnect;
  ConfigParamVector m_configParams;
  VoidID m_relationalPool;
  VoidID m_relationalFolder;
  VoidID m_sqlBypassDB;
};

class ACatalog : public APhysicalDataFolder {
  QORL_OBJECT(ACatalog)
 public:
  static std::span<const PropDesc> OwnProperties();

  // The parent.
  RefADatabase GetDatabase() const;
  void SetDatabase(const RefADatabase& db);
  // The variable that names the catalog at run time.
  RefARpVariable GetVariable() const { return RefARpVariable(GetGateway(), m_variable); }
  void SetVariable(const RefARpVariable& v) { m_variable = v.GetID(); MarkDirty(); }

 private:
  VoidID m_variable;
};

class ASchema : public APhysicalDataFolder {
  QORL_OBJECT(ASchema)
 public:
  static std::span<const PropDesc> OwnProperties();

  // The parent: a catalog or a database.
  RefAPhysicalDataFolder GetContainer() const;
  void SetContainer(const RefAPhysicalDataFolder& container);
  RefARpVariable GetVariable() const { return RefARpVariable(GetGateway(), m_variable); }
  void SetVariable(const RefARpVariable& v) { m_variable = v.GetID(); MarkDirty(); }
  // The input message template of a web service source.
  VXString GetWSInputMessage() const { return m_wsInputMessage; }
  void SetWSInputMessage(const VXString& s) { m_wsInputMessage = s; MarkDirty(); }

 private:
  VoidID m_variable;
  VXString m_wsInputMessage;
};

class APhysicalDisplayFolder : public AMergeableObject {
  QORL_OBJECT(APhysicalDisplayFolder)
 public:
  // The parent.
  RefADatabase GetDatabase() const;
  void SetDatabase(const RefADatabase& db);
  BinaryRelIter<ATable> GetTables() const {
    return BinaryRelIter<ATable>(GetGateway(), GetID(), kRelPhysicalDisplayFolderTables);
  }
};

}  // namespace qorl
