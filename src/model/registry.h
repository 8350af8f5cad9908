// The object type registry: for each interface TypeID the element tag that
// carries it, the loader's handler, its places in the generation and the
// execution sequence, and whether the tree form nests it. All tables are
// expanded from model/types.def, built once and read-only afterwards, so any
// thread may read them without a lock.
#pragma once

#include <cstddef>
#include <vector>

#include "model/typeids.h"
#include "platform/vxstring.h"

namespace qorl {

// What a generation run writes. Declared here rather than in the generator so
// that the registry can answer for it.
enum QORLScriptGenerationType {
  QORLScriptGenerateEverything = 0,
  QORLScriptGenerateWithoutSecurityObjects = 1,
  QORLScriptGenerateOnlySecurityObjects = 2,
  ListPresentationObjects = 3,
  QORLScriptGenerateOnlyConnectionPoolsAndVariables = 4,
  QORLScriptGenerateOnlyEncryptedObjects = 5,
};

namespace QORLUtil {

// Element tag of a type; empty for 0 and for types without a row.
VXString GetTagName(TypeID type);
// Exact, case-sensitive; 0 for any tag without a row.
TypeID GetTypeID(const VXString& tag);
// The type a reference element names ("RefPhysicalTable": a physical table); 0 for any other tag.
TypeID GetRefTypeID(const VXString& tag);

// False only for the types the tree form writes inside their parent's file.
bool isTopLevelElemInDocument(TypeID type);
// True for the types the departmental load may rename.
bool IsRootLevelObject(TypeID type);
// False for elements that create no store object of their own
// (LogicalSourceFolder, SetPermission, ColumnMapping).
bool IsObjectTypeToBeCreated(TypeID type);

// Handler class name, nullptr for types without a handler or without a row.
const char* HandlerName(TypeID type);
// 1-based places in the two sequences; 0 when the type is not in one.
// ExecutionPosition also knows the placeholder entry 2014.
int GenerationPosition(TypeID type);
int ExecutionPosition(TypeID type);

// The order in which a document is written: 59 types, no terminator.
const TypeIDVector& GenerationSequence();
// The order in which a parsed document is applied to the store: 66 types.
const TypeIDVector& ExecutionSequence();
const TypeIDVector& SecurityTypeIDs();
const TypeIDVector& PresentationTypeIDs();
// Every type with a row, in table order (66).
const std::vector<TypeID>& AllRegisteredTypes();

// Replaces ids by the generation sequence.
void FillTypes(TypeIDVector& ids);
// The types a generation run of the given kind visits. For
// QORLScriptGenerateOnlyConnectionPoolsAndVariables ids is left as passed in.
void GetTypeIDsForGenerationSequence(TypeIDVector& ids, QORLScriptGenerationType type);

// Orders items by generation sequence. typesOfItems[i] is the type of item i.
// Appends to `order` the indices of the items, type by type in generation
// order, keeping the input order within a type; items of type 0 or of a type
// outside the sequence are left out. typesIncluded is emptied and then gets
// each type that contributed at least one item. Linear in items plus types.
void SortIndicesByGenerationSequence(const TypeIDVector& typesOfItems, std::vector<size_t>& order,
                                     TypeIDVector& typesIncluded);

}  // namespace QORLUtil
}  // namespace qorl
