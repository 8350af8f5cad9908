#include "model/registry.h"

#include <array>
#include <string_view>
#include <unordered_map>

#include "model/vocabulary.h"

namespace qorl {
namespace {

// A row's number and its constant must agree; the constants come from the
// store's class list, the numbers are what documents carry.
#define QORL_TYPE(T, C, TAG, H, G, E, N, R) static_assert((T) == (C), #C " does not carry the number of its row");
#include "model/types.def"
#undef QORL_TYPE

struct TypeRow {
  TypeID id;
  std::u32string_view tag;
  const char* handler;
  int genPos;
  int execPos;
  bool nested;
  bool root;
};

constexpr const char* HandlerOrNull(const char* name) {
  return std::string_view(name) == "none" ? nullptr : name;
}

constexpr TypeRow kRows[] = {
#define QORL_TYPE(T, C, TAG, H, G, E, N, R) {C, TAG, HandlerOrNull(#H), G, E, N, R},
#include "model/types.def"
#undef QORL_TYPE
};
constexpr size_t kNumRows = std::size(kRows);

enum RowIndex : int {
#define QORL_TYPE(T, C, ...) kRow_##C,
#include "model/types.def"
#undef QORL_TYPE
};

// Row of a type, -1 without one. A number listed twice fails to compile here
// as a duplicate case label.
constexpr int RowOf(TypeID type) {
  switch (type) {
#define QORL_TYPE(T, C, ...) \
  case C:                    \
    return kRow_##C;
#include "model/types.def"
#undef QORL_TYPE
    default:
      return -1;
  }
}

// 2014 keeps a place in the execution sequence although no element carries
// it; nothing is ever executed there.
constexpr TypeID kExecutionPlaceholderType = kTIDANamedExpr;
constexpr int kExecutionPlaceholderPosition = 9;

constexpr int CountGenerated() {
  int n = 0;
  for (const TypeRow& r : kRows) n += r.genPos > 0;
  return n;
}
constexpr int CountExecuted() {
  int n = 1;  // the placeholder
  for (const TypeRow& r : kRows) n += r.execPos > 0;
  return n;
}
constexpr int kGenerationLength = CountGenerated();
constexpr int kExecutionLength = CountExecuted();

// A position out of range or taken twice throws, which is not a constant
// expression: the table then fails to compile. With as many positions as
// slots, no slot can stay empty.
constexpr std::array<TypeID, kGenerationLength> BuildGeneration() {
  std::array<TypeID, kGenerationLength> seq{};
  for (const TypeRow& r : kRows) {
    if (r.genPos == 0) continue;
    if (r.genPos < 0 || r.genPos > kGenerationLength || seq[r.genPos - 1] != kTIDUnknown)
      throw "generation position out of range or used twice";
    seq[r.genPos - 1] = r.id;
  }
  return seq;
}
constexpr std::array<TypeID, kExecutionLength> BuildExecution() {
  std::array<TypeID, kExecutionLength> seq{};
  seq[kExecutionPlaceholderPosition - 1] = kExecutionPlaceholderType;
  for (const TypeRow& r : kRows) {
    if (r.execPos == 0) continue;
    if (r.execPos < 0 || r.execPos > kExecutionLength || seq[r.execPos - 1] != kTIDUnknown)
      throw "execution position out of range or used twice";
    seq[r.execPos - 1] = r.id;
  }
  return seq;
}
constexpr auto kGeneration = BuildGeneration();
constexpr auto kExecution = BuildExecution();

const std::array<VXString, kNumRows>& TagStrings() {
  static const std::array<VXString, kNumRows> tags = [] {
    std::array<VXString, kNumRows> a;
    for (size_t i = 0; i < kNumRows; ++i) a[i] = VXString(kRows[i].tag);
    return a;
  }();
  return tags;
}

const std::unordered_map<VXString, TypeID>& TagToType() {
  static const std::unordered_map<VXString, TypeID> map = [] {
    std::unordered_map<VXString, TypeID> m;
    m.reserve(kNumRows);
    for (size_t i = 0; i < kNumRows; ++i) m.emplace(TagStrings()[i], kRows[i].id);
    return m;
  }();
  return map;
}

const TypeRow* Row(TypeID type) {
  int i = RowOf(type);
  return i < 0 ? nullptr : &kRows[i];
}

}  // namespace

namespace QORLUtil {

VXString GetTagName(TypeID type) {
  int i = RowOf(type);
  return i < 0 ? VXString() : TagStrings()[i];
}

TypeID GetTypeID(const VXString& tag) {
  const auto& map = TagToType();
  auto it = map.find(tag);
  return it == map.end() ? kTIDUnknown : it->second;
}

TypeID GetRefTypeID(const VXString& tag) {
  return tag.starts_with(TAG_REF) ? GetTypeID(tag.substr(TAG_REF.size())) : kTIDUnknown;
}

bool isTopLevelElemInDocument(TypeID type) {
  const TypeRow* r = Row(type);
  return !r || !r->nested;
}

bool IsRootLevelObject(TypeID type) {
  const TypeRow* r = Row(type);
  return r && r->root;
}

bool IsObjectTypeToBeCreated(TypeID type) {
  return type != kTIDALogicalSourceFolder && type != kTIDSetPermission && type != kTIDColMapping;
}

const char* HandlerName(TypeID type) {
  const TypeRow* r = Row(type);
  return r ? r->handler : nullptr;
}

int GenerationPosition(TypeID type) {
  const TypeRow* r = Row(type);
  return r ? r->genPos : 0;
}

int ExecutionPosition(TypeID type) {
  if (type == kExecutionPlaceholderType) return kExecutionPlaceholderPosition;
  const TypeRow* r = Row(type);
  return r ? r->execPos : 0;
}

const TypeIDVector& GenerationSequence() {
  static const TypeIDVector seq(kGeneration.begin(), kGeneration.end());
  return seq;
}

const TypeIDVector& ExecutionSequence() {
  static const TypeIDVector seq(kExecution.begin(), kExecution.end());
  return seq;
}

const TypeIDVector& SecurityTypeIDs() {
  static const TypeIDVector ids = {kTIDAPrivilegePackage, kTIDATypePrivilege, kTIDAObjectPrivilege,
                                   kTIDAQueryPrivilege,   kTIDAUserDatabaseSignon, kTIDAUser,
                                   kTIDASecurityRole};
  return ids;
}

const TypeIDVector& PresentationTypeIDs() {
  static const TypeIDVector ids = {kTIDACatalogFolder, kTIDAEntityFolder, kTIDAFolderAttr,
                                   kTIDAPresentationHierarchy, kTIDAPresentationLevel};
  return ids;
}

const std::vector<TypeID>& AllRegisteredTypes() {
  static const std::vector<TypeID> ids = [] {
    std::vector<TypeID> v;
    v.reserve(kNumRows);
    for (const TypeRow& r : kRows) v.push_back(r.id);
    return v;
  }();
  return ids;
}

void FillTypes(TypeIDVector& ids) { ids = GenerationSequence(); }

void GetTypeIDsForGenerationSequence(TypeIDVector& ids, QORLScriptGenerationType type) {
  switch (type) {
    case QORLScriptGenerateEverything:
    case QORLScriptGenerateOnlyEncryptedObjects:
      ids = GenerationSequence();
      break;
    case QORLScriptGenerateWithoutSecurityObjects: {
      const TypeIDVector& security = SecurityTypeIDs();
      ids.clear();
      for (TypeID t : GenerationSequence()) {
        bool isSecurity = false;
        for (TypeID s : security) isSecurity = isSecurity || s == t;
        if (!isSecurity) ids.push_back(t);
      }
      break;
    }
    case QORLScriptGenerateOnlySecurityObjects:
      ids = SecurityTypeIDs();
      break;
    case ListPresentationObjects:
      ids = PresentationTypeIDs();
      break;
    case QORLScriptGenerateOnlyConnectionPoolsAndVariables:
    default:
      // The caller chose the types itself.
      break;
  }
}

void SortIndicesByGenerationSequence(const TypeIDVector& typesOfItems, std::vector<size_t>& order,
                                     TypeIDVector& typesIncluded) {
  typesIncluded.clear();
  // Counting sort on the generation position: count per position, turn the
  // counts into start offsets, then place every item in input order.
  std::array<size_t, kGenerationLength + 1> next{};
  for (TypeID t : typesOfItems) {
    if (int p = GenerationPosition(t)) ++next[p];
  }
  size_t total = 0;
  for (int p = 1; p <= kGenerationLength; ++p) {
    size_t count = next[p];
    next[p] = total;
    total += count;
    if (count) typesIncluded.push_back(kGeneration[p - 1]);
  }
  const size_t base = order.size();
  order.resize(base + total);
  for (size_t i = 0; i < typesOfItems.size(); ++i) {
    if (int p = GenerationPosition(typesOfItems[i])) order[base + next[p]++] = i;
  }
}

}  // namespace QORLUtil
}  // namespace qorl
