// The column mapping section: a source's mappings from logical to physical
// expressions are no objects of their own, so they follow all objects.
#pragma once

#include "store/object.h"

namespace qorl {

class QORLGenerator;

// For each table source of `sortedObjects`, in their order, one "ColumnMapping"
// per mapping. Nothing without kGenColMapping or under the no-expression mode.
// An error in one mapping goes to errorMsgString and the next goes on.
void PrintColumnMappingSection(QORLGenerator& gen, const RpObjectVector& sortedObjects, VXString& errorMsgString);

}  // namespace qorl
