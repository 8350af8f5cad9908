#include "model/registry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

#include "model/typenames.h"

using namespace qorl;
using namespace qorl::QORLUtil;

namespace {

// Golden lists: the orders documents are written and applied in. They are the
// persistent contract; the registry derives them from its table.
const TypeIDVector kGoldenGeneration = {
    3023, 3001, 3003, 3008, 3029, 3031, 3025, 3037, 3027, 3039, 3043, 3006, 3012, 3064, 3041,
    3045, 3033, 3049, 3052, 3056, 3060, 3054, 3058, 2000, 2035, 2019, 2006, 2025, 2037, 2008,
    2033, 2052, 2048, 2050, 2054, 2004, 4004, 4008, 4010, 4028, 4030, 4012, 4014, 4016, 4026,
    4018, 4020, 4024, 4209, 1500, 4204, 1501, 4206, 4211, 4213, 4217, 3035, 3047, 3062};

const TypeIDVector kGoldenExecution = {
    4206, 1501, 4211, 3033, 3031, 3062, 2000, 2019, 2014, 2035, 2025, 2027, 2006, 2048,
    2050, 2054, 2004, 2010, 2008, 2033, 2052, 3023, 3029, 3035, 3047, 3025, 3027, 3001,
    3003, 3039, 3043, 3064, 3041, 3045, 3008, 3006, 3012, 3037, 3900, 2037, 1,    3049,
    3052, 3056, 3060, 3054, 3058, 4004, 4008, 4010, 4006, 4028, 4030, 4012, 4014, 4018,
    4020, 4024, 4026, 4016, 1500, 4204, 4209, 4213, 4217, 4220};

}  // namespace

TEST(ModelRegistry, SequencesMatchGoldenLists) {
  EXPECT_EQ(GenerationSequence(), kGoldenGeneration);
  EXPECT_EQ(ExecutionSequence(), kGoldenExecution);
  EXPECT_EQ(SecurityTypeIDs(), (TypeIDVector{4209, 4202, 1500, 4204, 4211, 1501, 4206}));
  EXPECT_EQ(PresentationTypeIDs(), (TypeIDVector{4004, 4008, 4010, 4028, 4030}));

  TypeIDVector filled = {1, 2, 3};
  FillTypes(filled);
  EXPECT_EQ(filled, kGoldenGeneration);

  // Positions agree with the sequences, including the placeholder 2014.
  for (size_t i = 0; i < kGoldenGeneration.size(); ++i)
    EXPECT_EQ(GenerationPosition(kGoldenGeneration[i]), static_cast<int>(i + 1)) << kGoldenGeneration[i];
  for (size_t i = 0; i < kGoldenExecution.size(); ++i)
    EXPECT_EQ(ExecutionPosition(kGoldenExecution[i]), static_cast<int>(i + 1)) << kGoldenExecution[i];
  EXPECT_EQ(GenerationPosition(kTIDALogicalSourceFolder), 0);
  EXPECT_EQ(ExecutionPosition(kTIDALogicalSourceFolder), 0);
  EXPECT_EQ(GenerationPosition(kTIDARole), 0);
  EXPECT_EQ(GenerationPosition(0), 0);
  EXPECT_EQ(ExecutionPosition(0), 0);
}

TEST(ModelRegistry, RegisteredTypes) {
  const auto& all = AllRegisteredTypes();
  ASSERT_EQ(all.size(), 66u);
  EXPECT_EQ(all.front(), kTIDColMapping);
  EXPECT_EQ(all.back(), kTIDSetPermission);
  EXPECT_EQ(std::set<TypeID>(all.begin(), all.end()).size(), 66u);
  // Every registered type except 2046 is executed; 2014 is executed but not registered.
  for (TypeID t : all) {
    bool executed = std::count(kGoldenExecution.begin(), kGoldenExecution.end(), t) == 1;
    EXPECT_EQ(executed, t != kTIDALogicalSourceFolder) << t;
    // Tags and types map both ways for every row.
    EXPECT_EQ(GetTypeID(GetTagName(t)), t) << t;
  }
  EXPECT_EQ(std::count(all.begin(), all.end(), kTIDANamedExpr), 0);
}

TEST(ModelRegistry, TagLookups) {
  EXPECT_EQ(GetTagName(kTIDATable), "PhysicalTable");
  EXPECT_EQ(GetTagName(kTIDAUser), "User");
  EXPECT_EQ(GetTagName(kTIDASecurityRole), "Group");
  EXPECT_EQ(GetTagName(kTIDAMktg_CustomerType), "TargetLevel");
  EXPECT_EQ(GetTagName(kTIDColMapping), "ColumnMapping");
  EXPECT_EQ(GetTypeID("BusinessModel"), kTIDASubjectArea);
  EXPECT_EQ(GetTypeID("DBSignOn"), kTIDAUserDatabaseSignon);
  EXPECT_EQ(GetTypeID("SetPermission"), kTIDSetPermission);
  EXPECT_EQ(GetTypeID("LevelToLevel"), kTIDALevelToLevel);

  EXPECT_TRUE(GetTagName(0).empty());
  EXPECT_TRUE(GetTagName(kTIDANamedExpr).empty());
  EXPECT_TRUE(GetTagName(kTIDATypePrivilege).empty());
  EXPECT_TRUE(GetTagName(-1).empty());
  EXPECT_TRUE(GetTagName(999999).empty());

  EXPECT_EQ(GetTypeID(""), 0);
  EXPECT_EQ(GetTypeID("businessmodel"), 0);
  EXPECT_EQ(GetTypeID("BUSINESSMODEL"), 0);
  EXPECT_EQ(GetTypeID("BusinessModel "), 0);
  EXPECT_EQ(GetTypeID("DeleteObjects"), 0);
  EXPECT_EQ(GetTypeID("NamedExpr"), 0);
}

TEST(ModelRegistry, HandlersAndCreation) {
  EXPECT_STREQ(HandlerName(kTIDATable), "QORLPhysicalTableHandler");
  EXPECT_STREQ(HandlerName(kTIDAMktg_CatalogLink), "QORLConformingDimensionLinkHandler");
  EXPECT_STREQ(HandlerName(kTIDALogicalSourceFolder), "QORLLogicalSourceFolderHandler");
  EXPECT_EQ(HandlerName(kTIDARole), nullptr);
  EXPECT_EQ(HandlerName(kTIDALevelToLevel), nullptr);
  EXPECT_EQ(HandlerName(kTIDANamedExpr), nullptr);
  EXPECT_EQ(HandlerName(0), nullptr);
  int withHandler = 0;
  for (TypeID t : AllRegisteredTypes()) withHandler += HandlerName(t) != nullptr;
  EXPECT_EQ(withHandler, 64);

  std::set<TypeID> refused;
  for (TypeID t : AllRegisteredTypes())
    if (!IsObjectTypeToBeCreated(t)) refused.insert(t);
  EXPECT_EQ(refused, (std::set<TypeID>{1, 2046, 4220}));
}

TEST(ModelRegistry, NestingAndRootLevel) {
  EXPECT_TRUE(isTopLevelElemInDocument(0));
  EXPECT_TRUE(isTopLevelElemInDocument(kTIDANamedExpr));
  EXPECT_TRUE(isTopLevelElemInDocument(kTIDATable));

  const std::set<TypeID> nested = {2006, 2008, 2025, 2033, 2048, 2050, 2054, 3003, 3006,
                                   3008, 3043, 3045, 3058, 3060, 3900, 4010, 4030};
  const std::set<TypeID> root = {1501, 2000, 2004, 3012, 3023, 3031, 3033, 3035, 3047, 3062, 4004,
                                 4012, 4014, 4016, 4024, 4026, 4206, 4209, 4211, 4213, 4217};
  ASSERT_EQ(nested.size(), 17u);
  ASSERT_EQ(root.size(), 21u);
  for (TypeID t : AllRegisteredTypes()) {
    EXPECT_EQ(isTopLevelElemInDocument(t), !nested.count(t)) << t;
    EXPECT_EQ(IsRootLevelObject(t), root.count(t) == 1) << t;
  }
  EXPECT_FALSE(IsRootLevelObject(0));
  EXPECT_FALSE(IsRootLevelObject(kTIDANamedExpr));
}

TEST(ModelRegistry, GenerationTypes) {
  TypeIDVector ids;
  GetTypeIDsForGenerationSequence(ids, QORLScriptGenerateEverything);
  EXPECT_EQ(ids, kGoldenGeneration);
  ids = {42};
  GetTypeIDsForGenerationSequence(ids, QORLScriptGenerateOnlyEncryptedObjects);
  EXPECT_EQ(ids, kGoldenGeneration);

  ids = {42};
  GetTypeIDsForGenerationSequence(ids, QORLScriptGenerateWithoutSecurityObjects);
  TypeIDVector expected;
  for (TypeID t : kGoldenGeneration)
    if (t != 4209 && t != 1500 && t != 4204 && t != 4211 && t != 1501 && t != 4206) expected.push_back(t);
  ASSERT_EQ(expected.size(), 53u);
  EXPECT_EQ(ids, expected);

  GetTypeIDsForGenerationSequence(ids, QORLScriptGenerateOnlySecurityObjects);
  EXPECT_EQ(ids, SecurityTypeIDs());
  GetTypeIDsForGenerationSequence(ids, ListPresentationObjects);
  EXPECT_EQ(ids, PresentationTypeIDs());

  ids = {3029, 3031, 7};
  GetTypeIDsForGenerationSequence(ids, QORLScriptGenerateOnlyConnectionPoolsAndVariables);
  EXPECT_EQ(ids, (TypeIDVector{3029, 3031, 7}));
  ids.clear();
  GetTypeIDsForGenerationSequence(ids, QORLScriptGenerateOnlyConnectionPoolsAndVariables);
  EXPECT_TRUE(ids.empty());
}

TEST(ModelRegistry, SortIndicesByGenerationSequence) {
  std::vector<size_t> order = {77};
  TypeIDVector included = {5};
  SortIndicesByGenerationSequence({}, order, included);
  EXPECT_EQ(order, (std::vector<size_t>{77}));
  EXPECT_TRUE(included.empty());

  // Mixed types, a null item (0), types outside the sequence (role, 2046,
  // 4202, 9999), and several items of one type whose input order must hold.
  const TypeIDVector types = {kTIDAUser,  kTIDATable, 0,          kTIDARole,         kTIDASubjectArea,
                              kTIDATable, 9999,       kTIDAUser,  kTIDALogicalSourceFolder, kTIDADatabase,
                              kTIDATable, kTIDATypePrivilege, kTIDAColumn};
  order = {77};
  included = {5};
  SortIndicesByGenerationSequence(types, order, included);
  // Database(9), PhysicalTable(1,5,10), PhysicalColumn(12), BusinessModel(4), User(0,7).
  EXPECT_EQ(order, (std::vector<size_t>{77, 9, 1, 5, 10, 12, 4, 0, 7}));
  EXPECT_EQ(included, (TypeIDVector{kTIDADatabase, kTIDATable, kTIDAColumn, kTIDASubjectArea, kTIDAUser}));

  // Only items outside the sequence: nothing appended, no types.
  order.clear();
  SortIndicesByGenerationSequence({0, 9999, kTIDARole, kTIDSetPermission}, order, included);
  EXPECT_TRUE(order.empty());
  EXPECT_TRUE(included.empty());

  // The whole sequence reversed comes back in sequence order.
  TypeIDVector reversed(kGoldenGeneration.rbegin(), kGoldenGeneration.rend());
  order.clear();
  SortIndicesByGenerationSequence(reversed, order, included);
  EXPECT_EQ(included, kGoldenGeneration);
  ASSERT_EQ(order.size(), reversed.size());
  for (size_t i = 0; i < order.size(); ++i) EXPECT_EQ(order[i], reversed.size() - 1 - i);
}

TEST(ModelTypeNames, EveryKnownTypeHasAName) {
  EXPECT_EQ(SUStrUtil::GetTypeName(3001), "Physical Table");
  EXPECT_EQ(SUStrUtil::GetTypeName(2000), "Business Model");
  EXPECT_EQ(SUStrUtil::GetTypeName(1501), "User");
  EXPECT_EQ(SUStrUtil::GetTypeName(4206), "Group");
  EXPECT_EQ(SUStrUtil::GetTypeName(12345), "Type 12345");
  EXPECT_EQ(SUStrUtil::GetTypeName(0), "Type 0");
  EXPECT_EQ(SUStrUtil::GetTypeName(-3), "Type -3");

  std::set<TypeID> all(AllRegisteredTypes().begin(), AllRegisteredTypes().end());
#define QORL_CLASS(C, B, N, K) all.insert(N);
#include "model/classes.def"
#undef QORL_CLASS
  std::set<std::string> names;
  for (TypeID t : all) {
    std::string name = SUStrUtil::GetTypeName(t).ToUTF8();
    EXPECT_NE(name, "Type " + std::to_string(t)) << t << " has no display name";
    names.insert(name);
  }
  // Distinct types read differently in messages.
  EXPECT_EQ(names.size(), all.size());
}
