// The registry's operations on store objects rather than type numbers.
#include "store/registry_objects.h"

#include "model/registry.h"

namespace qorl::QORLUtil {

VXString GetTagName(const RefARpObject& obj) {
  return obj.IsNullRef() ? VXString() : GetTagName(obj->GetMetaClass()->GetTypeID());
}

bool isTopLevelElemInDocument(const RefARpObject& obj) {
  return obj.IsNullRef() || isTopLevelElemInDocument(obj->GetMetaClass()->GetTypeID());
}

bool IsRootLevelObject(const RefARpObject& obj) {
  return !obj.IsNullRef() && IsRootLevelObject(obj->GetMetaClass()->GetTypeID());
}

void SortVectorByGenerationSequence(const RpObjectVector& rpObjects, RpObjectVector& sortedObjects,
                                    TypeIDVector& typesIncludedInSortedList, bool /*bIsTDFQORL*/) {
  TypeIDVector types;
  types.reserve(rpObjects.size());
  for (const RefARpObject& r : rpObjects) types.push_back(r.IsNullRef() ? kTIDUnknown : r->GetMetaClass()->GetTypeID());
  std::vector<size_t> order;
  SortIndicesByGenerationSequence(types, order, typesIncludedInSortedList);
  sortedObjects.reserve(sortedObjects.size() + order.size());
  for (size_t i : order) sortedObjects.push_back(rpObjects[i]);
}

}  // namespace qorl::QORLUtil
