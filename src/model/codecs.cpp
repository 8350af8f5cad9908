#include "model/codecs.h"

#include <unordered_map>

#include "model/vocabulary.h"
#include "platform/strutil.h"

namespace qorl {
namespace QORLUtility {
namespace {

// A row is read, written, or both. Several numbers may write the same text
// (old call interfaces) and several texts may read as one number.
enum class Dir : uint8_t { kBoth, kWriteOnly, kReadOnly };

struct TextRow {
  int value;
  std::u32string_view text;
  Dir dir = Dir::kBoth;
};

struct TextTable {
  std::span<const TextRow> rows;
  bool readNoCase;
  int readDefault;
  std::u32string_view writeDefault = {};  // for a number without a row
};

VXString WriteText(const TextTable& t, int value) {
  for (const TextRow& r : t.rows)
    if (r.value == value && r.dir != Dir::kReadOnly) return VXString(r.text);
  return VXString(t.writeDefault);
}

// True and the row's number when a row reads the text.
bool FindText(const TextTable& t, const VXString& text, int& value) {
  for (const TextRow& r : t.rows) {
    if (r.dir == Dir::kWriteOnly) continue;
    if (t.readNoCase ? text.EqualsNoCase(r.text) : text == r.text) {
      value = r.value;
      return true;
    }
  }
  return false;
}

int ReadText(const TextTable& t, const VXString& text) {
  int value = t.readDefault;
  FindText(t, text, value);
  return value;
}

constexpr TextRow kJoinRows[] = {
    {kInnerJoin, U"Inner"},         {kLeftOuterJoin, U"LeftOuter"},
    {kRightOuterJoin, U"RightOuter"}, {kFullOuterJoin, U"FullOuter"},
    {kFullOuterStitchJoin, U"FullOuterStitch"},
};
constexpr TextTable kJoin{kJoinRows, false, kInnerJoin, U"Inner"};

constexpr TextRow kCardinalityRows[] = {
    {k_One_To_One, U"ONE TO ONE"},
    {k_ZeroOrOne_To_One, U"ZERO OR ONE TO ONE"},
    {k_One_To_ZeroOrOne, U"ONE TO ZERO OR ONE"},
    {k_ZeroOrOne_To_ZeroOrOne, U"ZERO OR ONE TO ZERO OR ONE"},
    {k_One_To_Many, U" ONE TO MANY"},  // the blank is part of the stored form
    {k_ZeroOrOne_To_Many, U"ZERO OR ONE TO MANY"},
    {k_Many_To_One, U"MANY TO ONE"},
    {k_Many_To_ZeroOrOne, U"MANY TO ZERO OR ONE"},
    {k_Many_To_Many, U"MANY TO MANY"},
};
constexpr TextTable kCardinality{kCardinalityRows, false, kUnknownCardinality};

constexpr TextRow kTableTypeRows[] = {
    {kTableTypeNone, U"none"},
    {kTableTypeAlias, U"alias"},
    {kTableTypeStoredProc, U"sp"},
    {kTableTypeSelect, U"select"},
};
constexpr TextTable kTableType{kTableTypeRows, false, kTableTypeNone};

constexpr TextRow kOutputTypeRows[] = {
    {EGWType_Delimited, U"delimited"},
    {EGWType_XML, U"xml"},
    {EGWType_Fixed, U"fixed"},
};
constexpr TextTable kOutputType{kOutputTypeRows, false, EGWType_Unknown};

constexpr TextRow kLevelRows[] = {
    {ServerInfo::kTXN_ReadUncommitted, U"readUncommitted"},
    {ServerInfo::kTXN_ReadCommitted, U"readCommitted"},
    {ServerInfo::kTXN_RepeatableRead, U"repeatableRead"},
    {ServerInfo::kTXN_Serializable, U"serializeable"},  // sic: the stored spelling
};
constexpr TextTable kLevel{kLevelRows, false, ServerInfo::kTXN_Default};

constexpr TextRow kHierarchyRows[] = {
    {kHierarchyUnknown, U"UNKNOWN"},
    {kHierarchyFullyBalanced, U"FULLY BALANCED"},
    {kHierarchyUnbalanced, U"UNBALANCED"},
    {kHierarchyRaggedBalanced, U"RAGGED BALANCED"},
    {kHierarchyNetwork, U"NETWORK"},
    {kHierarchyValue, U"VALUE"},
};
constexpr TextTable kHierarchy{kHierarchyRows, true, kHierarchyUnknown};

constexpr TextRow kMemberTypeRows[] = {
    {kMemberTypeRegular, U"regular"},
    {kMemberTypeAll, U"all"},
    {kMemberTypeFormula, U"formula"},
    {kMemberTypeMeasure, U"Measure"},
};
constexpr TextTable kMemberType{kMemberTypeRows, true, kMemberTypeUnknown};

constexpr TextRow kDensityRows[] = {
    {kAWDense, U"dense"},
    {kAWSparse, U"sparse"},
    {kAWDensityUnknown, U"unknown"},
};
constexpr TextTable kDensity{kDensityRows, false, kAWDensityUnknown};

constexpr TextRow kMaterializationRows[] = {
    {kAWFullyMaterialized, U"fully"},
    {kAWNotFullyMaterialized, U"not fully"},
    {kAWMaterializationUnknown, U"unknown"},
};
constexpr TextTable kMaterialization{kMaterializationRows, false, kAWMaterializationUnknown};

constexpr TextRow kDimTypeRows[] = {
    {kDimTypeUnknown, U"unknown", Dir::kWriteOnly},
    {kDimTypeTime, U"Time"},
    {kDimTypeMeasure, U"Measure"},
    {kDimTypeOther, U"Other"},
    {kDimTypeQuantitative, U"Quantitative"},
    {kDimTypeAccounts, U"Accounts"},
    {kDimTypeCustomers, U"Customers"},
    {kDimTypeProducts, U"Products"},
    {kDimTypeScenario, U"Scenario"},
    {kDimTypeUtility, U"Utility"},
    {kDimTypeCurrency, U"Currency"},
    {kDimTypeRates, U"Rates"},
    {kDimTypeChannel, U"Channel"},
    {kDimTypePromotion, U"Promotion"},
    {kDimTypeOrganization, U"Organization"},
    {kDimTypeBillOfMaterials, U"Bill of Materials"},
    {kDimTypeGeography, U"Geography"},
    {kDimTypeAttribute, U"Attribute"},
};
constexpr TextTable kDimType{kDimTypeRows, false, kDimTypeUnknown};

constexpr TextRow kSpecialTypeRows[] = {
    {SPECIAL_TYPE_NONE, U"none"},
    {SPECIAL_TYPE_LUD, U"lud"},
    {SPECIAL_TYPE_INPUTPARAM, U"inputparam"},
};
constexpr TextTable kSpecialType{kSpecialTypeRows, true, SPECIAL_TYPE_NONE};

constexpr TextRow kDimPropRows[] = {
    {kDimPropNone, U"none"},
    {kDimPropUDA, U"uda"},
    {kDimPropMemNor, U"memnor"},
    {kDimPropAttribute, U"attribute"},
    {kDimPropOther, U"other"},
    {kDimPropAncestorRef, U"ancestorRef"},
    {kDimPropMemberKey, U"memberKey"},
    {kDimPropLevelNumber, U"levelNumber"},
    {kDimPropGenNumber, U"genNumber"},
    {kDimPropParentRef, U"parentRef"},
};
constexpr TextTable kDimProp{kDimPropRows, true, kDimPropNone};

constexpr TextRow kAggrRows[] = {
    {kAggrSum, U"sum"}, {kAggrCount, U"count"}, {kAggrMin, U"min"},
    {kAggrMax, U"max"}, {kAggrExternal, U"external"},
};
constexpr TextTable kAggr{kAggrRows, true, kAggrNone};

}  // namespace
}  // namespace QORLUtility

namespace ServerInfo {
namespace {

using QORLUtility::Dir;
using QORLUtility::TextRow;
using QORLUtility::TextTable;
using QORLUtility::DbTypeRow;

// The old XDI interfaces are all written as the newest, so a round trip
// upgrades them.
constexpr TextRow kCliRows[] = {
    {kCLI_ODBC200, U"ODBC200"},
    {kCLI_ODBC201, U"ODBC201"},
    {kCLI_ODBC350, U"ODBC350"},
    {kCLI_XDI7, U"XDI10G", Dir::kWriteOnly},
    {kCLI_XDI8, U"XDI10G", Dir::kWriteOnly},
    {kCLI_XDI8i, U"XDI10G", Dir::kWriteOnly},
    {kCLI_XDI10G, U"XDI10G"},
    {kCLI_XDI7, U"XDI7", Dir::kReadOnly},
    {kCLI_XDI8, U"XDI8", Dir::kReadOnly},
    {kCLI_XDI10G, U"XDI8i", Dir::kReadOnly},
    {kCLI_DBLIB, U"DBLIB"},
    {kCLI_DB2, U"DB2"},
    {kCLI_VXSXML, U"VXSXML"},
    {kCLI_DB235, U"DB235"},
    {kCLI_XMLA, S_DB_UI_CLI_XMLA},
    {kCLI_VeldaneZPF, U"VELDANEZPF"},
    {kCLI_AW, U"AW"},
    {kCLI_TorvikOM, S_DB_TORVIK_OM},
    {kCLI_Cubera, S_CUBERA},
    {kCLI_MarluneADM, U"MARLUNEADM"},
    {kCLI_VeldaneZPF_HTTP, U"VELDANEZPF_HTTP"},
    {kCLI_VeldaneWS, U"VELDANEWS"},
    {kCLI_BAPI, U"BAPI"},
    {kCLI_Quickvane, U"QUICKVANE"},
    {kCLI_Quickvane35, U"QUICKVANE35"},
    {kCLI_Hadoop, U"HADOOP"},
    {kCLI_VeldaneCEP_HTTP, U"VELDANECEP_HTTP"},
    {kCLI_Lumora, S_LUMORA},
    {kCLI_KTM, U"KTM"},
    {kCLI_ExternalCSV, S_DB_EXTERNAL_CSV},
    {kCLI_Impala, U"IMPALA"},
};
constexpr TextTable kCli{kCliRows, false, kCLI_Unknown};

constexpr DbTypeRow kDbTypeRows[] = {
    {kBuiltInExecutionEngine, U"BuiltIn"},
    {kUnknown, U"\"Unknown\""},
    {kODBC200, U"ODBC200"},
    {kODBC201, U"ODBC201"},
    {kODBC350, U"ODBC350"},
    {kVeldane73, U"Veldane73"},
    {kVeldane80, U"Veldane80"},
    {kVeldane81, U"Veldane81"},
    {kSQLServer65, U"SQLServer65"},
    {kSQLServer70, U"SQLServer70"},
    {kSybase11, U"Sybase11"},
    {kInformixIDS, U"InformixIDS"},
    {kDB2V5, U"DB2V5"},
    {kDB2AS400, U"DB2AS400"},
    {kDB2OS390, U"DB2OS390"},
    {kTeradataV2R2, U"TeradataV2R2"},
    {kRedBrickV5, U"RedBrickV5"},
    {kNonStopSQL, U"NonStopSQL"},
    {kAccess97, S_DB_UI_ACCESS97},
    {kIMS, U"IMS"},
    {kVSAM, U"VSAM"},
    {kIDMS, U"IDMS"},
    {kADABASE, U"ADABASE"},
    {kRplanix, U"Rplanix"},
    {kTorvikEAI, U"TorvikEAI"},
    {kXMLODBC, U"XMLODBC"},
    {kXMLDirect, U"XMLDirect"},
    {kXMLServer, U"XMLServer"},
    {kVeldane9i, U"Veldane9i"},
    {kDB2V6, U"DB2V6"},
    {kDB2V7, U"DB2V7"},
    {kDB2OS390V6, U"DB2OS390V6"},
    {kDB2OS390V7, U"DB2OS390V7"},
    {kTeradataV2R4, U"TeradataV2R4"},
    {kInformix2000, U"Informix2000"},
    {kSybase_ASE, U"Sybase_ASE"},
    {kSybase_IQ, U"Sybase_IQ"},
    {kSQLAnywhere, U"SQLAnywhere"},
    {kMysql, U"Mysql"},
    {kAnalysisServices2000, U"AnalysisServices2000"},
    {kMarlune7, U"Marlune7"},
    {kDB2V8, U"DB2V8"},
    {kDB2OS390V8, U"DB2OS390V8"},
    {kTeradataV2R5, U"TeradataV2R5"},
    {kVeldaneOLAP10g, U"VeldaneOLAP10g"},
    {kVeldane10g_R1, U"Veldane10gR1"},
    {kVeldane10g_R2, U"Veldane10gR2"},
    {kSQLServer2005, U"SQLServer2005"},
    {kAnalysisServices2005, U"AnalysisServices2005"},
    {kTeradataV2R6, U"TeradataV2R6"},
    {kDB2V90, U"DB2V90"},
    {kSQLAnywhere9, U"SQLAnywhere9"},
    {kNetezza, U"Netezza"},
    {kMarlune9, U"Marlune9"},
    {kMarluneFinancial9, U"MarluneFinancial9"},
    {kMarlunePlanning, U"MarlunePlanning"},
    {kSAPBW35, U"SAPBW35"},
    {kVeldaneXE, U"VeldaneXE"},
    {kVeldaneZPF, S_DB_UI_VELDANEZPF},
    {kNeoview, S_DB_UI_NEOVIEW},
    {kDB2V95, U"DB2V95"},
    {kTeradataV12, U"TeradataV12"},
    {kVeldane11g, U"Veldane11g"},
    {kVeldaneOLAP11g, U"VeldaneOLAP11g"},
    {kVeldaneZPF11g, S_DB_UI_VELDANEZPF11G},
    {kSQLServer2008, U"SQLServer2008"},
    {kAnalysisServices2008, U"AnalysisServices2008"},
    {kMarlune11, U"Marlune11"},
    {kSAPBWNative, U"SAPBWNative"},
    {kVeldaneBrakstor, U"VeldaneBrakstor"},
    {kTeradataV13, U"TeradataV13"},
    {kVeldaneCEP, S_DB_UI_VELDANECEP},
    {kVeldaneWS, U"VeldaneWS"},
    {kQuickvaneV11, U"QuickvaneV11"},
    {kQuickvane, S_QUICKVANE},
    {kHadoop, U"Hadoop"},
    {kSQLServer2012, U"SQLServer2012"},
    {kAnalysisServices2012, U"AnalysisServices2012"},
    {kMarlune11_1_2_3_500, U"Marlune11_1_2_3_500"},
    {kVeldane12c, U"Veldane12c"},
    {kVeldaneOLAP12c, U"VeldaneOLAP12c"},
    {kVeldane12cIMDB, U"Veldane12cIMDB"},
    {kImpala, U"Impala"},
    {kInternalRawDataStorage, S_DB_INTERNAL_RAW_DS},
    {kInterlace, S_DB_INTERLACE},
    {kLumora, U"Lumora"},
    {kKTM, U"KTM"},
    {kApacheSpark, S_APACHE_SPARK},
    {kRedshift, S_REDSHIFT},
    {kVeldane11gOnBrakstor, U"Veldane11gOnBrakstor"},
    {kVeldane12cOnBrakstor, U"Veldane12cOnBrakstor"},
    {kVeldane12cIMDBOnBrakstor, U"Veldane12cIMDBOnBrakstor"},
    {kMongoDB, S_MONGODB},
    {kExternalCSVData, S_DB_EXTERNAL_CSV},
    {kDefaultForMultDatabaseSupport, U"DefaultMulDB"},
};

// Built once, on first use; function-local statics make the first use safe
// from any thread.
struct DbTypeMaps {
  std::unordered_map<int, VXString> toText;
  std::unordered_map<VXString, int> toType;
};

const DbTypeMaps& GetDbTypeMaps() {
  static const DbTypeMaps maps = [] {
    DbTypeMaps m;
    m.toText.reserve(std::size(kDbTypeRows));
    m.toType.reserve(std::size(kDbTypeRows));
    for (const DbTypeRow& r : kDbTypeRows) {
      VXString text(r.text);
      m.toText.emplace(r.value, text);
      m.toType.emplace(text, r.value);
    }
    return m;
  }();
  return maps;
}

constexpr std::u32string_view kPluginCliPrefix = U"PLUGIN";
constexpr std::u32string_view kJavaDSTargetPrefix = U"JavaDSTarget";

// The number after `prefix` when the text is the prefix and 1 or 2 decimal
// digits without a superfluous leading zero; -1 otherwise.
int NumberAfterPrefix(const VXString& text, std::u32string_view prefix) {
  if (!text.starts_with(prefix)) return -1;
  size_t n = text.size() - prefix.size();
  if (n < 1 || n > 2) return -1;
  int v = 0;
  for (size_t i = prefix.size(); i < text.size(); ++i) {
    char32_t c = text[i];
    if (c < U'0' || c > U'9') return -1;
    v = v * 10 + static_cast<int>(c - U'0');
  }
  if (n == 2 && text[prefix.size()] == U'0') return -1;
  return v;
}

}  // namespace

VXString GetCLINameFromEnum(int type) {
  if (type < kCLI_PluginFirst || type > kCLI_PluginLast) return VXString();
  return VXString(kPluginCliPrefix) + VXString::FromInt(type);
}

int GetCLITypeFromName(const VXString& name) {
  int v = NumberAfterPrefix(name, kPluginCliPrefix);
  return v >= kCLI_PluginFirst && v <= kCLI_PluginLast ? v : kCLI_Unknown;
}

VXString GetTargetNameFromEnum(int type) {
  if (type < kJavaDS_Target0 || type > kJavaDS_Target30) return VXString();
  return VXString(kJavaDSTargetPrefix) + VXString::FromInt(type - kJavaDS_Target0);
}

int GetTargetTypeFromName(const VXString& name) {
  int v = NumberAfterPrefix(name, kJavaDSTargetPrefix);
  return v >= 0 && v <= kJavaDS_Target30 - kJavaDS_Target0 ? kJavaDS_Target0 + v : kDefault;
}

}  // namespace ServerInfo

namespace QORLUtility {

VXString GetStringFromJoinType(JoinType type) { return WriteText(kJoin, type); }
JoinType GetJoinTypeFromString(const VXString& text) { return static_cast<JoinType>(ReadText(kJoin, text)); }

VXString GetStringFromCardinality(JoinCardinality card) { return WriteText(kCardinality, card); }
JoinCardinality GetCardinalityFromString(const VXString& text) {
  return static_cast<JoinCardinality>(ReadText(kCardinality, text));
}

VXString GetStringFromTableType(TableType type) { return WriteText(kTableType, type); }
TableType GetTableTypeFromString(const VXString& text) {
  return static_cast<TableType>(ReadText(kTableType, text));
}

VXString GetStringFromOutputType(ExtGatewayOutputType type) { return WriteText(kOutputType, type); }
ExtGatewayOutputType GetOutputTypeFromString(const VXString& text) {
  return static_cast<ExtGatewayOutputType>(ReadText(kOutputType, text));
}

VXString GetStringFromLevelType(ServerInfo::TxnIsolationLevel level) { return WriteText(kLevel, level); }
ServerInfo::TxnIsolationLevel GetLevelTypeFromString(const VXString& text) {
  return static_cast<ServerInfo::TxnIsolationLevel>(ReadText(kLevel, text));
}

VXString GetStringFromHierarchyType(HierarchyType type) { return WriteText(kHierarchy, type); }
HierarchyType GetHierarchyTypeFromString(const VXString& text) {
  return static_cast<HierarchyType>(ReadText(kHierarchy, text));
}

VXString GetStringFromHierarchyMemberType(HierarchyMemberType type) { return WriteText(kMemberType, type); }
HierarchyMemberType GetHierarchyMemberTypeFromString(const VXString& text) {
  return static_cast<HierarchyMemberType>(ReadText(kMemberType, text));
}

VXString GetStringFromDensity(AWDensityStatus density) { return WriteText(kDensity, density); }
AWDensityStatus GetDensityFromString(const VXString& text) {
  return static_cast<AWDensityStatus>(ReadText(kDensity, text));
}

VXString GetStringFromMaterialization(AWMaterializationStatus status) {
  return WriteText(kMaterialization, status);
}
AWMaterializationStatus GetMaterializationFromString(const VXString& text) {
  return static_cast<AWMaterializationStatus>(ReadText(kMaterialization, text));
}

VXString GetStringFromDimType(DimensionType type) { return WriteText(kDimType, type); }
DimensionType GetDimTypeFromString(const VXString& text) {
  return static_cast<DimensionType>(ReadText(kDimType, text));
}

VXString GetSpecialTypeString(SpecialType type) { return WriteText(kSpecialType, type); }
SpecialType GetSpecialTypeFromString(const VXString& text) {
  return static_cast<SpecialType>(ReadText(kSpecialType, text));
}

VXString GetDimensionPropertyTypeString(DimPropType type) { return WriteText(kDimProp, type); }
DimPropType GetDimensionPropertyTypeFromString(const VXString& text) {
  return static_cast<DimPropType>(ReadText(kDimProp, text));
}

VXString GenerateCubeColumnAggrType(AggrType type) { return WriteText(kAggr, type); }
AggrType GetCubeColumnAggrTypeFromString(const VXString& text) {
  return static_cast<AggrType>(ReadText(kAggr, text));
}

VXString GetStringFromCliType(int type) {
  VXString s = WriteText(ServerInfo::kCli, type);
  return s.empty() ? ServerInfo::GetCLINameFromEnum(type) : s;
}

int GetCliTypeFromString(const VXString& text, int cliTypeId) {
  int value = ServerInfo::kCLI_Unknown;
  if (FindText(ServerInfo::kCli, text, value)) return value;
  value = ServerInfo::GetCLITypeFromName(text);
  // A pluggable interface the server no longer knows keeps its number.
  if (value == ServerInfo::kCLI_Unknown && cliTypeId != 0) return cliTypeId;
  return value;
}

VXString GetStringFromDBType(int type) {
  const ServerInfo::DbTypeMaps& m = ServerInfo::GetDbTypeMaps();
  auto it = m.toText.find(type);
  if (it != m.toText.end()) return it->second;
  return ServerInfo::GetTargetNameFromEnum(type);
}

int GetDBTypeFromString(const VXString& text, bool& bNotFound, int dbTypeId) {
  bNotFound = false;
  const ServerInfo::DbTypeMaps& m = ServerInfo::GetDbTypeMaps();
  auto it = m.toType.find(text);
  if (it != m.toType.end()) return it->second;
  int type = ServerInfo::GetTargetTypeFromName(text);
  if (type != ServerInfo::kDefault) return type;
  if (dbTypeId != 0) return dbTypeId;
  bNotFound = true;
  return ServerInfo::kDefault;
}

void ProcessDbSpecificString(const VXString& dbTypeName, const VXString& text, DbSpecificStringTable& table) {
  bool bNotFound = false;
  int type = GetDBTypeFromString(dbTypeName, bNotFound, 0);
  table.emplace(type, BaseStringUtil::LineFeedConversion(text));
}

std::span<const DbTypeRow> DBTypeTable() { return ServerInfo::kDbTypeRows; }

VXString ConvertIntToStr(int value) { return VXString::FromInt(value); }

}  // namespace QORLUtility
}  // namespace qorl
