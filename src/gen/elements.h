// What each element adds to the frame every object element shares: its own
// attributes and its child elements. Element families provide these rows;
// a type without a row writes the common frame alone.
#pragma once

#include <span>

#include "store/object.h"

namespace qorl {

class QORLGenerator;

struct ElementWriter {
  TypeID type;
  // The element's own attributes, each with its leading blank.
  VXString (*attributes)(QORLGenerator& gen, const RefARpObject& object);
  // Child elements after the description, printed through the generator.
  void (*children)(QORLGenerator& gen, const RefARpObject& object);
  // Optional: false leaves the object out of the document altogether.
  bool (*isWritten)(QORLGenerator& gen, const RefARpObject& object) = nullptr;
};

const ElementWriter* FindElementWriter(TypeID type);

// The rows of each element family, defined with the family's writers.
std::span<const ElementWriter> PhysicalSourceElementWriters();
std::span<const ElementWriter> LogicalModelElementWriters();


}  // namespace qorl
