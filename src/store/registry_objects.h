#pragma once

#include "store/object.h"

namespace qorl::QORLUtil {

VXString GetTagName(const RefARpObject& obj);
bool isTopLevelElemInDocument(const RefARpObject& obj);
bool IsRootLevelObject(const RefARpObject& obj);
// Appends the objects to `sortedObjects` in generation order, stable within a
// type; null references and types outside the sequence are left out.
void SortVectorByGenerationSequence(const RpObjectVector& rpObjects, RpObjectVector& sortedObjects,
                                    TypeIDVector& typesIncludedInSortedList, bool bIsTDFQORL);

}  // namespace qorl::QORLUtil
