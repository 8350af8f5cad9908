// Text forms of the enumerations of the object model. Each enumeration has
// one table of (value, text) rows shared by its writer and its reader; a
// writer given a value without a row yields the empty text, so the attribute
// is not written, and a reader given an unknown text yields the table's
// default.
#pragma once

#include <map>
#include <span>
#include <string_view>

#include "platform/vxstring.h"

namespace qorl {

// Names the server knows for call interfaces and database targets, and the
// numbers of both. The numbers are stored in repositories; never renumber.
// The fixed one-word names of some rows (S_LUMORA, S_MONGODB, ...) are in
// model/vocabulary.h.
namespace ServerInfo {

enum CLIType : int {
  kCLI_Unknown = 0,
  kCLI_ODBC200 = 1,
  kCLI_ODBC201 = 2,
  kCLI_ODBC350 = 3,
  kCLI_XDI7 = 4,
  kCLI_XDI8 = 5,
  kCLI_DBLIB = 6,
  kCLI_DB2 = 7,
  kCLI_VXSXML = 8,
  kCLI_XDI8i = 9,
  kCLI_DB235 = 10,
  kCLI_XMLA = 11,
  kCLI_XDI10G = 12,
  kCLI_VeldaneZPF = 13,
  kCLI_AW = 14,
  kCLI_TorvikOM = 15,
  kCLI_Cubera = 16,
  kCLI_MarluneADM = 17,
  kCLI_VeldaneZPF_HTTP = 18,
  kCLI_VeldaneWS = 19,
  kCLI_BAPI = 20,
  kCLI_Quickvane = 21,
  kCLI_Quickvane35 = 22,
  kCLI_Hadoop = 23,
  kCLI_VeldaneCEP_HTTP = 24,
  kCLI_Lumora = 25,
  kCLI_KTM = 26,
  kCLI_PluginFirst = 27,  // call interfaces of pluggable data sources
  kCLI_PluginLast = 57,
  kCLI_ExternalCSV = 58,
  kCLI_Impala = 59,
};

// 0, 1, 2, 5, 46, 120, 4096 and 87 to 117 are fixed by existing documents;
// the other numbers were assigned here, in order of appearance.
enum TargetType : int {
  kBuiltInExecutionEngine = 0,
  kUnknown = 1,
  kODBC200 = 2,
  kDefault = kODBC200,
  kODBC201 = 3,
  kODBC350 = 4,
  kVeldane73 = 5,
  kVeldane80 = 6,
  kVeldane81 = 7,
  kSQLServer65 = 8,
  kSQLServer70 = 9,
  kSybase11 = 10,
  kInformixIDS = 11,
  kDB2V5 = 12,
  kDB2AS400 = 13,
  kDB2OS390 = 14,
  kTeradataV2R2 = 15,
  kRedBrickV5 = 16,
  kNonStopSQL = 17,
  kAccess97 = 18,
  kIMS = 19,
  kVSAM = 20,
  kIDMS = 21,
  kADABASE = 22,
  kRplanix = 23,
  kTorvikEAI = 24,
  kXMLODBC = 25,
  kXMLDirect = 26,
  kXMLServer = 27,
  kVeldane9i = 28,
  kDB2V6 = 29,
  kDB2V7 = 30,
  kDB2OS390V6 = 31,
  kDB2OS390V7 = 32,
  kTeradataV2R4 = 33,
  kInformix2000 = 34,
  kSybase_ASE = 35,
  kSybase_IQ = 36,
  kSQLAnywhere = 37,
  kMysql = 38,
  kAnalysisServices2000 = 39,
  kMarlune7 = 40,
  kDB2V8 = 41,
  kDB2OS390V8 = 42,
  kTeradataV2R5 = 43,
  kVeldaneOLAP10g = 44,
  kVeldane10g_R1 = 45,
  kVeldane10g_R2 = 46,
  kSQLServer2005 = 47,
  kAnalysisServices2005 = 48,
  kTeradataV2R6 = 49,
  kDB2V90 = 50,
  kSQLAnywhere9 = 51,
  kNetezza = 52,
  kMarlune9 = 53,
  kMarluneFinancial9 = 54,
  kMarlunePlanning = 55,
  kSAPBW35 = 56,
  kVeldaneXE = 57,
  kVeldaneZPF = 58,
  kNeoview = 59,
  kDB2V95 = 60,
  kTeradataV12 = 61,
  kVeldane11g = 62,
  kVeldaneOLAP11g = 63,
  kVeldaneZPF11g = 64,
  kSQLServer2008 = 65,
  kAnalysisServices2008 = 66,
  kMarlune11 = 67,
  kSAPBWNative = 68,
  kVeldaneBrakstor = 69,
  kTeradataV13 = 70,
  kVeldaneCEP = 71,
  kVeldaneWS = 72,
  kQuickvaneV11 = 73,
  kQuickvane = 74,
  kHadoop = 75,
  kSQLServer2012 = 76,
  kAnalysisServices2012 = 77,
  kMarlune11_1_2_3_500 = 78,
  kVeldane12c = 79,
  kVeldaneOLAP12c = 80,
  kVeldane12cIMDB = 81,
  kImpala = 82,
  kInternalRawDataStorage = 83,
  kInterlace = 84,
  kLumora = 85,
  kKTM = 86,
  kJavaDS_Target0 = 87,  // targets of pluggable data sources, 0 to 30
  kJavaDS_Target30 = 117,
  kApacheSpark = 118,
  kRedshift = 119,
  kVeldane11gOnBrakstor = 120,
  kVeldane12cOnBrakstor = 121,
  kVeldane12cIMDBOnBrakstor = 122,
  kMongoDB = 123,
  kExternalCSVData = 124,
  kDefaultForMultDatabaseSupport = 4096,
};

enum TxnIsolationLevel : int {
  kTXN_Default = 0,
  kTXN_ReadUncommitted = 1,
  kTXN_ReadCommitted = 2,
  kTXN_RepeatableRead = 3,
  kTXN_Serializable = 4,
};

// "PLUGIN27" to "PLUGIN57" for the pluggable call interfaces; empty for any
// other number (0 among them).
VXString GetCLINameFromEnum(int type);
// The reverse, exact; 0 for any other name.
int GetCLITypeFromName(const VXString& name);
// "JavaDSTarget0" to "JavaDSTarget30" for 87 to 117; empty for any other
// number (the fixed targets are named by QORLUtility::GetStringFromDBType).
VXString GetTargetNameFromEnum(int type);
// The reverse, exact; kDefault (2) for any other name.
int GetTargetTypeFromName(const VXString& name);

}  // namespace ServerInfo

namespace QORLUtility {

enum JoinType : int {
  kInnerJoin = 0,
  kLeftOuterJoin = 1,
  kRightOuterJoin = 2,
  kFullOuterJoin = 3,
  kFullOuterStitchJoin = 4,
};

enum JoinCardinality : int {
  k_One_To_One = 0,
  k_ZeroOrOne_To_One = 1,
  k_One_To_ZeroOrOne = 2,
  k_ZeroOrOne_To_ZeroOrOne = 3,
  k_One_To_Many = 4,
  k_ZeroOrOne_To_Many = 5,
  k_Many_To_One = 6,
  k_Many_To_ZeroOrOne = 7,
  k_Many_To_Many = 8,
  kUnknownCardinality = 9,
};

enum TableType : int {
  kTableTypeNone = 0,
  kTableTypeAlias = 1,
  kTableTypeStoredProc = 2,
  kTableTypeSelect = 3,
};

enum ExtGatewayOutputType : int {
  EGWType_Unknown = 0,
  EGWType_Delimited = 1,
  EGWType_XML = 2,
  EGWType_Fixed = 3,
};

enum HierarchyType : int {
  kHierarchyUnknown = 0,
  kHierarchyFullyBalanced = 1,
  kHierarchyUnbalanced = 2,
  kHierarchyRaggedBalanced = 3,
  kHierarchyNetwork = 4,
  kHierarchyValue = 256,
};

enum HierarchyMemberType : int {
  kMemberTypeUnknown = 0,
  kMemberTypeRegular = 1,
  kMemberTypeAll = 2,
  kMemberTypeFormula = 3,
  kMemberTypeMeasure = 4,
};

enum AWDensityStatus : int {
  kAWDense = 0,
  kAWSparse = 1,
  kAWDensityUnknown = 2,
};

enum AWMaterializationStatus : int {
  kAWFullyMaterialized = 0,
  kAWNotFullyMaterialized = 1,
  kAWMaterializationUnknown = 2,
};

enum DimensionType : int {
  kDimTypeUnknown = 0,
  kDimTypeTime = 1,
  kDimTypeMeasure = 2,
  kDimTypeOther = 3,
  kDimTypeQuantitative = 4,
  kDimTypeAccounts = 5,
  kDimTypeCustomers = 6,
  kDimTypeProducts = 7,
  kDimTypeScenario = 8,
  kDimTypeUtility = 9,
  kDimTypeCurrency = 10,
  kDimTypeRates = 11,
  kDimTypeChannel = 12,
  kDimTypePromotion = 13,
  kDimTypeOrganization = 14,
  kDimTypeBillOfMaterials = 15,
  kDimTypeGeography = 16,
  kDimTypeAttribute = 256,
};

enum SpecialType : int {
  SPECIAL_TYPE_NONE = 0,
  SPECIAL_TYPE_LUD = 1,
  SPECIAL_TYPE_INPUTPARAM = 2,
};

enum DimPropType : int {
  kDimPropNone = 0,
  kDimPropUDA = 1,
  kDimPropMemNor = 2,
  kDimPropAttribute = 3,
  kDimPropOther = 4,
  kDimPropAncestorRef = 5,
  kDimPropMemberKey = 6,
  kDimPropLevelNumber = 7,
  kDimPropGenNumber = 8,
  kDimPropParentRef = 9,
};

// 5 to 8 exist in stored cubes but have no text.
enum AggrType : int {
  kAggrNone = 0,
  kAggrSum = 1,
  kAggrCount = 2,
  kAggrMin = 3,
  kAggrMax = 4,
  kAggrExternal = 9,
};

// Per-database texts, keyed by ServerInfo::TargetType.
using DbSpecificStringTable = std::map<int, VXString>;

// "Inner" is the default of both directions.
VXString GetStringFromJoinType(JoinType type);
JoinType GetJoinTypeFromString(const VXString& text);

// Exact; note the leading blank of " ONE TO MANY".
VXString GetStringFromCardinality(JoinCardinality card);
JoinCardinality GetCardinalityFromString(const VXString& text);

VXString GetStringFromTableType(TableType type);
TableType GetTableTypeFromString(const VXString& text);

VXString GetStringFromOutputType(ExtGatewayOutputType type);
ExtGatewayOutputType GetOutputTypeFromString(const VXString& text);

// "serializeable" is the only form read for level 4.
VXString GetStringFromLevelType(ServerInfo::TxnIsolationLevel level);
ServerInfo::TxnIsolationLevel GetLevelTypeFromString(const VXString& text);

// Reader without regard to case.
VXString GetStringFromHierarchyType(HierarchyType type);
HierarchyType GetHierarchyTypeFromString(const VXString& text);

// Reader without regard to case.
VXString GetStringFromHierarchyMemberType(HierarchyMemberType type);
HierarchyMemberType GetHierarchyMemberTypeFromString(const VXString& text);

VXString GetStringFromDensity(AWDensityStatus density);
AWDensityStatus GetDensityFromString(const VXString& text);

VXString GetStringFromMaterialization(AWMaterializationStatus status);
AWMaterializationStatus GetMaterializationFromString(const VXString& text);

// Exact.
VXString GetStringFromDimType(DimensionType type);
DimensionType GetDimTypeFromString(const VXString& text);

// Reader without regard to case.
VXString GetSpecialTypeString(SpecialType type);
SpecialType GetSpecialTypeFromString(const VXString& text);

// Reader without regard to case.
VXString GetDimensionPropertyTypeString(DimPropType type);
DimPropType GetDimensionPropertyTypeFromString(const VXString& text);

// Reader without regard to case.
VXString GenerateCubeColumnAggrType(AggrType type);
AggrType GetCubeColumnAggrTypeFromString(const VXString& text);

// 4, 5, 9 and 12 are all written "XDI10G", which reads as 12. Numbers without
// a row (0, 27 to 57, above 59) are named by ServerInfo. The reader falls back
// to ServerInfo, then to cliTypeId when that is not 0.
VXString GetStringFromCliType(int type);
int GetCliTypeFromString(const VXString& text, int cliTypeId);

// The database table's text, else ServerInfo's name (empty when neither
// knows the number).
VXString GetStringFromDBType(int type);
// Table, then ServerInfo, then dbTypeId when not 0; else bNotFound is set
// and the result is kDefault.
int GetDBTypeFromString(const VXString& text, bool& bNotFound, int dbTypeId = 0);
// One row of a per-database string table; a type already present keeps its
// first text.
void ProcessDbSpecificString(const VXString& dbTypeName, const VXString& text, DbSpecificStringTable& table);

struct DbTypeRow {
  int value;
  std::u32string_view text;
};
// All rows of the database table, for checks and listings.
std::span<const DbTypeRow> DBTypeTable();

VXString ConvertIntToStr(int value);

}  // namespace QORLUtility
}  // namespace qorl
