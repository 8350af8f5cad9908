#include "gen/elements.h"

#include <algorithm>
#include <unordered_map>

#include "gen/generator.h"

namespace qorl {

namespace {

// Each element family adds its table here.
std::span<const ElementWriter> AllFamilies(size_t i) {
  switch (i) {
    case 0: return PhysicalSourceElementWriters();
    case 1: return LogicalModelElementWriters();
    default: return {};
  }
}
constexpr size_t kFamilyCount = 2;

}  // namespace

const ElementWriter* FindElementWriter(TypeID type) {
  static const std::unordered_map<TypeID, const ElementWriter*> byType = [] {
    std::unordered_map<TypeID, const ElementWriter*> m;
    for (size_t i = 0; i < kFamilyCount; ++i)
      for (const ElementWriter& w : AllFamilies(i)) m.emplace(w.type, &w);
    return m;
  }();
  auto it = byType.find(type);
  return it == byType.end() ? nullptr : it->second;
}

}  // namespace qorl
