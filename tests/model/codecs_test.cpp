#include <gtest/gtest.h>

#include <cctype>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "model/attrgroups.h"
#include "model/codecs.h"
#include "model/datatypes.h"
#include "platform/datetime.h"
#include "platform/error.h"
#include "platform/serverlog.h"

using namespace qorl;

// Named so that the using-directive and helpers stay here in a unity build.
namespace codecs_test {

using namespace qorl::QORLUtility;

using Pairs = std::vector<std::pair<int, const char*>>;

// Every row writes its text and reads back to its number; junk and a
// case-changed text read as `def` unless the reader ignores case.
template <class E>
void CheckCodec(const char* name, const Pairs& rows, VXString (*write)(E), E (*read)(const VXString&), int def,
                bool noCase) {
  SCOPED_TRACE(name);
  for (auto [value, text] : rows) {
    EXPECT_EQ(write(static_cast<E>(value)), text) << value;
    EXPECT_EQ(read(VXString(text)), value) << text;
    std::string upper(text);
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    std::string lower(text);
    for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    for (const std::string& variant : {upper, lower}) {
      if (variant == text) continue;
      EXPECT_EQ(read(VXString(variant)), noCase ? value : def) << variant;
    }
  }
  EXPECT_EQ(read(VXString("#junk#")), def);
  EXPECT_EQ(read(VXString()), def);
}

TEST(Codecs, EnumerationsRoundTrip) {
  CheckCodec<JoinType>("join", {{0, "Inner"}, {1, "LeftOuter"}, {2, "RightOuter"}, {3, "FullOuter"},
                                {4, "FullOuterStitch"}},
                       GetStringFromJoinType, GetJoinTypeFromString, 0, false);
  // Join type defaults in both directions.
  EXPECT_EQ(GetStringFromJoinType(static_cast<JoinType>(17)), "Inner");

  CheckCodec<JoinCardinality>("cardinality",
                              {{0, "ONE TO ONE"},
                               {1, "ZERO OR ONE TO ONE"},
                               {2, "ONE TO ZERO OR ONE"},
                               {3, "ZERO OR ONE TO ZERO OR ONE"},
                               {4, " ONE TO MANY"},
                               {5, "ZERO OR ONE TO MANY"},
                               {6, "MANY TO ONE"},
                               {7, "MANY TO ZERO OR ONE"},
                               {8, "MANY TO MANY"}},
                              GetStringFromCardinality, GetCardinalityFromString, 9, false);
  EXPECT_EQ(GetStringFromCardinality(kUnknownCardinality), "");
  EXPECT_EQ(GetCardinalityFromString(VXString("ONE TO MANY")), kUnknownCardinality);

  CheckCodec<TableType>("table type", {{0, "none"}, {1, "alias"}, {2, "sp"}, {3, "select"}}, GetStringFromTableType,
                        GetTableTypeFromString, 0, false);

  CheckCodec<ExtGatewayOutputType>("output type", {{1, "delimited"}, {2, "xml"}, {3, "fixed"}},
                                   GetStringFromOutputType, GetOutputTypeFromString, 0, false);
  EXPECT_EQ(GetStringFromOutputType(EGWType_Unknown), "");

  CheckCodec<ServerInfo::TxnIsolationLevel>(
      "isolation", {{1, "readUncommitted"}, {2, "readCommitted"}, {3, "repeatableRead"}, {4, "serializeable"}},
      GetStringFromLevelType, GetLevelTypeFromString, 0, false);
  EXPECT_EQ(GetStringFromLevelType(ServerInfo::kTXN_Default), "");
  EXPECT_EQ(GetLevelTypeFromString(VXString("serializable")), ServerInfo::kTXN_Default);

  CheckCodec<HierarchyType>("hierarchy",
                            {{0, "UNKNOWN"},
                             {1, "FULLY BALANCED"},
                             {2, "UNBALANCED"},
                             {3, "RAGGED BALANCED"},
                             {4, "NETWORK"},
                             {256, "VALUE"}},
                            GetStringFromHierarchyType, GetHierarchyTypeFromString, 0, true);
  EXPECT_EQ(GetHierarchyTypeFromString(VXString("Ragged Balanced")), kHierarchyRaggedBalanced);
  EXPECT_EQ(GetStringFromHierarchyType(static_cast<HierarchyType>(5)), "");

  CheckCodec<HierarchyMemberType>("member type", {{1, "regular"}, {2, "all"}, {3, "formula"}, {4, "Measure"}},
                                  GetStringFromHierarchyMemberType, GetHierarchyMemberTypeFromString, 0, true);
  EXPECT_EQ(GetStringFromHierarchyMemberType(kMemberTypeUnknown), "");

  CheckCodec<AWDensityStatus>("density", {{0, "dense"}, {1, "sparse"}, {2, "unknown"}}, GetStringFromDensity,
                              GetDensityFromString, 2, false);
  CheckCodec<AWMaterializationStatus>("materialization", {{0, "fully"}, {1, "not fully"}, {2, "unknown"}},
                                      GetStringFromMaterialization, GetMaterializationFromString, 2, false);
  EXPECT_EQ(GetMaterializationFromString(VXString("notfully")), kAWMaterializationUnknown);

  CheckCodec<DimensionType>("dimension type",
                            {{1, "Time"},          {2, "Measure"},       {3, "Other"},     {4, "Quantitative"},
                             {5, "Accounts"},      {6, "Customers"},     {7, "Products"},  {8, "Scenario"},
                             {9, "Utility"},       {10, "Currency"},     {11, "Rates"},    {12, "Channel"},
                             {13, "Promotion"},    {14, "Organization"}, {15, "Bill of Materials"},
                             {16, "Geography"},    {256, "Attribute"}},
                            GetStringFromDimType, GetDimTypeFromString, 0, false);
  EXPECT_EQ(GetStringFromDimType(kDimTypeUnknown), "unknown");
  EXPECT_EQ(GetDimTypeFromString(VXString("unknown")), kDimTypeUnknown);

  CheckCodec<SpecialType>("special type", {{0, "none"}, {1, "lud"}, {2, "inputparam"}}, GetSpecialTypeString,
                          GetSpecialTypeFromString, 0, true);

  CheckCodec<DimPropType>("dimension property",
                          {{0, "none"},
                           {1, "uda"},
                           {2, "memnor"},
                           {3, "attribute"},
                           {4, "other"},
                           {5, "ancestorRef"},
                           {6, "memberKey"},
                           {7, "levelNumber"},
                           {8, "genNumber"},
                           {9, "parentRef"}},
                          GetDimensionPropertyTypeString, GetDimensionPropertyTypeFromString, 0, true);

  CheckCodec<AggrType>("aggregation", {{1, "sum"}, {2, "count"}, {3, "min"}, {4, "max"}, {9, "external"}},
                       GenerateCubeColumnAggrType, GetCubeColumnAggrTypeFromString, 0, true);
  for (int v : {0, 5, 6, 7, 8}) EXPECT_EQ(GenerateCubeColumnAggrType(static_cast<AggrType>(v)), "") << v;
}

TEST(Codecs, CallInterfaces) {
  const Pairs rows = {{1, "ODBC200"},          {2, "ODBC201"},   {3, "ODBC350"},     {6, "DBLIB"},
                      {7, "DB2"},              {8, "VXSXML"},    {10, "DB235"},      {11, "XMLA"},
                      {12, "XDI10G"},          {13, "VELDANEZPF"}, {14, "AW"},       {15, "TORVIKOM"},
                      {16, "CUBERA"},          {17, "MARLUNEADM"}, {18, "VELDANEZPF_HTTP"},
                      {19, "VELDANEWS"},       {20, "BAPI"},     {21, "QUICKVANE"},  {22, "QUICKVANE35"},
                      {23, "HADOOP"},          {24, "VELDANECEP_HTTP"}, {25, "LUMORA"}, {26, "KTM"},
                      {58, "ExternalCSV"},     {59, "IMPALA"}};
  for (auto [value, text] : rows) {
    EXPECT_EQ(GetStringFromCliType(value), text) << value;
    EXPECT_EQ(GetCliTypeFromString(VXString(text), 0), value) << text;
    EXPECT_EQ(GetCliTypeFromString(VXString(text), 40), value) << text;
  }
  // The old XDI interfaces are written as the newest and read back as it.
  for (int old : {4, 5, 9}) {
    EXPECT_EQ(GetStringFromCliType(old), "XDI10G");
    EXPECT_EQ(GetCliTypeFromString(GetStringFromCliType(old), 0), 12);
  }
  EXPECT_EQ(GetCliTypeFromString(VXString("XDI7"), 0), 4);
  EXPECT_EQ(GetCliTypeFromString(VXString("XDI8"), 0), 5);
  EXPECT_EQ(GetCliTypeFromString(VXString("XDI8i"), 0), 12);
  EXPECT_EQ(GetCliTypeFromString(VXString("odbc200"), 0), 0);  // exact

  // Pluggable interfaces: named by the server, kept by number when unknown.
  EXPECT_EQ(GetStringFromCliType(27), "PLUGIN27");
  EXPECT_EQ(GetStringFromCliType(57), "PLUGIN57");
  EXPECT_EQ(GetCliTypeFromString(VXString("PLUGIN33"), 0), 33);
  EXPECT_EQ(GetCliTypeFromString(VXString("PLUGIN58"), 0), 0);
  EXPECT_EQ(GetCliTypeFromString(VXString("PLUGIN033"), 0), 0);
  EXPECT_EQ(GetCliTypeFromString(VXString("MyGoneSource"), 41), 41);
  EXPECT_EQ(GetCliTypeFromString(VXString("MyGoneSource"), 0), 0);
  EXPECT_EQ(GetStringFromCliType(0), "");
  EXPECT_EQ(GetStringFromCliType(60), "");
}

TEST(Codecs, DatabaseTypes) {
  auto table = DBTypeTable();
  // Every text the documents use, once; the values of the rows are ours
  // except for a few fixed ones checked below.
  const std::set<std::string> expectedTexts = {
      "BuiltIn", "\"Unknown\"", "ODBC200", "ODBC201", "ODBC350", "Veldane73", "Veldane80", "Veldane81",
      "Veldane9i", "Veldane10gR1", "Veldane10gR2", "Veldane11g", "Veldane12c", "Veldane11gOnBrakstor",
      "Veldane12cOnBrakstor", "Veldane12cIMDB", "Veldane12cIMDBOnBrakstor", "VeldaneOLAP10g", "VeldaneOLAP11g",
      "VeldaneOLAP12c", "VeldaneXE", "VeldaneWS", "VeldaneBrakstor", "Hadoop", "Impala", "SQLServer65",
      "SQLServer70", "SQLServer2005", "SQLServer2008", "SQLServer2012", "DB2AS400", "DB2OS390", "DB2OS390V6",
      "DB2OS390V7", "DB2OS390V8", "DB2V5", "DB2V6", "DB2V7", "DB2V8", "DB2V90", "DB2V95", "XMLODBC", "XMLDirect",
      "XMLServer", "TeradataV2R2", "TeradataV2R4", "TeradataV2R5", "TeradataV2R6", "TeradataV12", "TeradataV13",
      "InformixIDS", "Informix2000", "Sybase_ASE", "Sybase_IQ", "Sybase11", "Netezza", "RedBrickV5", "NonStopSQL",
      "SQLAnywhere", "SQLAnywhere9", "IMS", "VSAM", "Rplanix", "Mysql", "TorvikEAI", "IDMS", "ADABASE",
      "AnalysisServices2000", "AnalysisServices2005", "AnalysisServices2008", "AnalysisServices2012", "Marlune7",
      "Marlune9", "MarluneFinancial9", "MarlunePlanning", "Marlune11", "Marlune11_1_2_3_500", "SAPBW35",
      "SAPBWNative", "QuickvaneV11", "DefaultMulDB", "Lumora", "KTM",
      // closed names
      "Quickvane", "ApacheSpark", "Redshift", "Access97", "InternalRawDS", "VeldaneZPF", "VeldaneZPF11g",
      "VeldaneCEP", "Neoview", "Interlace", "MongoDB", "ExternalCSV"};
  ASSERT_EQ(expectedTexts.size(), 95u);
  ASSERT_EQ(table.size(), 95u);

  std::set<std::string> texts;
  std::set<int> values;
  for (const DbTypeRow& r : table) {
    std::string t = ToUTF8(r.text);
    EXPECT_TRUE(texts.insert(t).second) << "duplicate text " << t;
    EXPECT_TRUE(values.insert(r.value).second) << "duplicate value " << r.value;
    EXPECT_FALSE(r.value >= 87 && r.value <= 117) << t;  // pluggable range stays free
    EXPECT_EQ(GetStringFromDBType(r.value), VXString(r.text));
    bool notFound = true;
    EXPECT_EQ(GetDBTypeFromString(VXString(r.text), notFound, 77), r.value) << t;
    EXPECT_FALSE(notFound);
  }
  EXPECT_EQ(texts, expectedTexts);

  // Fixed numbers.
  const Pairs fixed = {{0, "BuiltIn"},        {1, "\"Unknown\""},          {2, "ODBC200"},     {5, "Veldane73"},
                       {46, "Veldane10gR2"},  {120, "Veldane11gOnBrakstor"}, {4096, "DefaultMulDB"}};
  for (auto [value, text] : fixed) EXPECT_EQ(GetStringFromDBType(value), text) << value;

  // Pluggable targets come from the server's names.
  EXPECT_EQ(GetStringFromDBType(87), "JavaDSTarget0");
  EXPECT_EQ(GetStringFromDBType(117), "JavaDSTarget30");
  bool notFound = true;
  EXPECT_EQ(GetDBTypeFromString(VXString("JavaDSTarget12"), notFound), 99);
  EXPECT_FALSE(notFound);
  EXPECT_EQ(GetStringFromDBType(118), "ApacheSpark");

  // Unregistered: dbTypeId keeps the number; without it the default.
  EXPECT_EQ(GetDBTypeFromString(VXString("SomeNewEngine"), notFound, 77), 77);
  EXPECT_FALSE(notFound);
  EXPECT_EQ(GetDBTypeFromString(VXString("SomeNewEngine"), notFound, 0), 2);
  EXPECT_TRUE(notFound);
  EXPECT_EQ(GetDBTypeFromString(VXString("Unknown"), notFound, 0), 2);  // the row is the quoted text
  EXPECT_TRUE(notFound);
  EXPECT_EQ(GetDBTypeFromString(VXString("odbc201"), notFound, 0), 2);  // exact
  EXPECT_TRUE(notFound);
  EXPECT_EQ(GetDBTypeFromString(VXString("ODBC201"), notFound, 0), 3);
  EXPECT_FALSE(notFound);

  DbSpecificStringTable strings;
  ProcessDbSpecificString(VXString("Veldane73"), VXString("a\r\nb\rc"), strings);
  ProcessDbSpecificString(VXString("Veldane73"), VXString("second"), strings);
  ProcessDbSpecificString(VXString("NoSuchDB"), VXString("x"), strings);
  ProcessDbSpecificString(VXString("ODBC200"), VXString("y"), strings);  // same key as the unknown one
  ASSERT_EQ(strings.size(), 2u);
  EXPECT_EQ(strings[5], "a\nb\nc");
  EXPECT_EQ(strings[2], "x");

  EXPECT_EQ(ConvertIntToStr(-1234567), "-1234567");
  EXPECT_EQ(ConvertIntToStr(0), "0");
}

TEST(Codecs, DataTypeNames) {
  const Pairs names = {{0, "BIT"},          {1, "CHAR"},      {2, "VARCHAR"},    {3, "LONGVARCHAR"},
                       {4, "NCHAR"},        {5, "NVARCHAR"},  {6, "LONGNVARCHAR"}, {7, "BINARY"},
                       {8, "VARBINARY"},    {9, "LONGVARBINARY"}, {10, "TINYINT"}, {11, "SMALLINT"},
                       {12, "INTEGER"},     {13, "BIGINT"},   {14, "REAL"},      {15, "FLOAT"},
                       {16, "DOUBLE"},      {17, "NUMERIC"},  {18, "DECIMAL"},   {19, "DATE"},
                       {20, "TIME"},        {21, "TIMESTAMP"}, {22, "INTERVAL"}, {23, "GUID"},
                       {24, "BOOLEAN"},     {25, "UNKNOWN"}};
  for (auto [value, text] : names) {
    VXString name;
    EXPECT_TRUE(SUVXDataTypeUtility::GetSingleWordVXDataTypeName(static_cast<VXDataType>(value), name));
    EXPECT_EQ(name, text);
    EXPECT_EQ(SUVXDataTypeUtility::GetVXDataTypeFromSingleWordName(VXString(text)), value);
  }
  EXPECT_EQ(SUVXDataTypeUtility::GetVXDataTypeFromSingleWordName(VXString("varchar")), VXVarChar);
  EXPECT_EQ(SUVXDataTypeUtility::GetVXDataTypeFromSingleWordName(VXString()), VXUnknown);
  EXPECT_EQ(SUVXDataTypeUtility::GetVXDataTypeFromSingleWordName(VXString("VAR CHAR")), VXUnknown);
  VXString name("x");
  EXPECT_FALSE(SUVXDataTypeUtility::GetSingleWordVXDataTypeName(static_cast<VXDataType>(26), name));
  EXPECT_TRUE(name.empty());
  EXPECT_TRUE(SUVXDataTypeUtility::IsVXTextType(VXWVarChar));
  EXPECT_FALSE(SUVXDataTypeUtility::IsVXTextType(VXBinary));
}

TEST(Codecs, DatesStrict) {
  const DateTimeMetaData& meta = TimeStampMeta();
  VXDateTime dt;
  meta.Convert(VXString("2024-02-29 23:59:58"), dt);
  EXPECT_EQ(dt, VXDateTime(2024, 2, 29, 23, 59, 58));
  EXPECT_EQ(meta.ToText(dt), "2024-02-29 23:59:58");
  EXPECT_EQ(meta.ToText(VXDateTime(7, 3, 4, 5, 6, 7, 999)), "0007-03-04 05:06:07");
  EXPECT_EQ(meta.ToText(VXDateTime()), "");
  EXPECT_EQ(meta.ToText(VXDateTime(2023, 2, 29)), "");

  const VXDateTime before(1999, 1, 2, 3, 4, 5);
  for (const char* bad : {"", "2023-02-29 00:00:00", "1900-02-29 00:00:00", "2024-13-01 00:00:00",
                          "2024-01-01 24:00:00", "2024-01-01 00:60:00", "0000-01-01 00:00:00",
                          "2024-01-01T00:00:00", "2024-1-01 00:00:00", "2024-01-01 00:00:00.5",
                          " 2024-01-01 00:00:0", "2024-01-01 00:00:0x", "+024-01-01 00:00:00"}) {
    VXDateTime out = before;
    EXPECT_FALSE(meta.TryConvert(VXString(bad), out)) << bad;
    EXPECT_THROW(meta.Convert(VXString(bad), out), ErrorMessage) << bad;
    EXPECT_EQ(out, before) << bad;
  }
  EXPECT_TRUE(meta.TryConvert(VXString("2000-02-29 00:00:00"), dt));
}

TEST(Codecs, DateAttributes) {
  EXPECT_EQ(QORLUtil::GetLastUpdatedTime(VXDateTime(2010, 6, 1, 8, 30, 0, 5)), " lastUpdated=\"2010-06-01 08:30:00\"");
  EXPECT_EQ(QORLUtil::GetLastUpdatedTime(VXDateTime()), "");
  EXPECT_EQ(QORLUtil::GetLastUpdatedTime(VXDateTime(2010, 2, 30)), "");

  EXPECT_EQ(QORLUtil::GetVXDateTimeFromString(VXString("2010-06-01 08:30:00"), 3, true, true),
            VXDateTime(2010, 6, 1, 8, 30, 0));

  ServerLogCapture log;
  EXPECT_EQ(QORLUtil::GetVXDateTimeFromString(VXString("June 1st"), 12, true, false), VXDateTime());
  EXPECT_EQ(QORLUtil::GetVXDateTimeFromString(VXString("June 1st"), 12, false, false),
            VXDateTime(2001, 1, 1, 0, 0, 0, 0));
  EXPECT_EQ(log.Count(ServerLog::kError), 2u);
  EXPECT_TRUE(log.Contains(ServerLog::kError, VXString("Line 12: \"June 1st\" is not a valid date and time.")));

  try {
    QORLUtil::GetVXDateTimeFromString(VXString("2010-06-01"), 7, true, true);
    FAIL() << "no exception";
  } catch (const ErrorMessage& e) {
    EXPECT_EQ(e.GetMessageNumber(), 28028u);
    EXPECT_EQ(e.Entries().back().args, (VXStringVector{"7", "2010-06-01"}));
  }
}

TEST(Codecs, AttributeGroups) {
  using namespace QORLUtil;
  EXPECT_EQ(GetRowCount(-1), "");
  EXPECT_EQ(GetRowCount(-0.5), "");
  EXPECT_EQ(GetRowCount(0), " rowCount=\"0\"");
  EXPECT_EQ(GetRowCount(-0.25), " rowCount=\"-0.25\"");
  EXPECT_EQ(GetRowCount(1000000), " rowCount=\"1000000\"");
  EXPECT_EQ(GetRowCount(12.5), " rowCount=\"12.5\"");

  EXPECT_EQ(GetExternalName(VXString()), "");
  EXPECT_EQ(GetExternalName(VXString("A<B")), " extName=\"A&lt;B\"");
  EXPECT_EQ(GetDisplayName(VXString(), false), " hasDispName=\"false\"");
  EXPECT_EQ(GetDisplayName(VXString("Sales \"net\""), true),
            " dispName=\"Sales &quot;net&quot;\" hasDispName=\"true\"");
  EXPECT_EQ(GetDisplayDescription(VXString(), true), " hasDispDescription=\"true\"");
  EXPECT_EQ(GetDisplayDescription(VXString("d"), false), " dispDescription=\"d\" hasDispDescription=\"false\"");

  const std::vector<std::pair<int, const char*>> privs = {{1, "none"},   {2, "read"},  {3, "write"},
                                                          {4, "delete"}, {5, "grant"}, {6, "all"}};
  for (auto [value, text] : privs) {
    EXPECT_EQ(GetPrivilegeTypeString(value), text);
    EXPECT_EQ(GetPrivilegeTypeFromString(VXString(text)), value);
  }
  EXPECT_EQ(GetPrivilegeTypeFromString(VXString("WRITE")), kPriv_Write);
  EXPECT_EQ(GetPrivilegeTypeFromString(VXString("readWrite")), kPriv_Unknown);
  EXPECT_EQ(GetPrivilegeTypeFromString(VXString()), kPriv_Unknown);
  EXPECT_EQ(GetPrivilegeTypeString(kPriv_Unknown), "");
  EXPECT_EQ(GetPrivilegeTypeString(7), "");

  EXPECT_EQ(GetAAuthorizerStatus(kYes, U"populate"), " populate=\"enable\"");
  EXPECT_EQ(GetAAuthorizerStatus(kNo, U"execDirect"), " execDirect=\"disable\"");
  EXPECT_EQ(GetAAuthorizerStatus(kWarn, U"x"), " x=\"warn\"");
  EXPECT_EQ(GetAAuthorizerStatus(kUnknown, U"x"), "");
  EXPECT_EQ(GetLogStatisticsStatus(kLogStatistics), " logStatisticsStatus=\"enable\"");
  EXPECT_EQ(GetLogStatisticsStatus(kDoNotLogStatistics), " logStatisticsStatus=\"disable\"");
  EXPECT_EQ(GetLogStatisticsStatus(kIgnoreStatistics), "");
}

TEST(Codecs, TypeInfoRoundTrip) {
  using namespace QORLUtil;
  VXTypeInfo full;
  full.dataType = VXDecimal;
  full.precision = 18;
  full.scale = -2;
  full.nullable = true;
  const VXString written = GetTypeInfo(full);
  EXPECT_EQ(written, " dataType=\"DECIMAL\" scale=\"-2\" precision=\"18\" nullable=\"true\"");
  EXPECT_EQ(GetTypeInfo(VXTypeInfo()), " dataType=\"UNKNOWN\"");

  // A small attribute map standing in for the parsed element.
  std::map<std::u32string, VXString> attrs = {{U"dataType", "DECIMAL"}, {U"scale", "-2"},
                                              {U"precision", "18"},     {U"nullable", "true"}};
  auto lookup = [&attrs](std::u32string_view name) -> const VXString* {
    auto it = attrs.find(std::u32string(name));
    return it == attrs.end() ? nullptr : &it->second;
  };
  VXTypeInfo read;
  ReadTypeInfo(lookup, read);
  EXPECT_EQ(read, full);

  // Absent precision and scale keep what was there; absent nullable clears;
  // absent data type is unknown.
  attrs = {{U"dataType", "VARCHAR"}};
  ReadTypeInfo(lookup, read);
  EXPECT_EQ(read.dataType, VXVarChar);
  EXPECT_EQ(read.precision, 18);
  EXPECT_EQ(read.scale, -2);
  EXPECT_FALSE(read.nullable);

  attrs = {{U"precision", "abc"}, {U"scale", "40000"}, {U"nullable", "yes"}};
  read.nullable = true;
  ReadTypeInfo(lookup, read);
  EXPECT_EQ(read.dataType, VXUnknown);
  EXPECT_EQ(read.precision, 18);
  EXPECT_EQ(read.scale, -2);
  EXPECT_FALSE(read.nullable);
}

}  // namespace codecs_test
