// Attribute rules that several elements share.
#pragma once

#include "elements/description.h"

namespace qorl::elements::hooks {

// "x" and "y" of a diagram position (properties "diagramX", "diagramY"):
// both are written when either is not 0; "x" reads the pair.
extern const AttrHook kPositionX;
extern const AttrHook kPositionY;
// "dataType", "scale", "precision", "nullable" of the type information held in
// the row's property; "dataType" reads all four.
extern const AttrHook kDataType;
extern const AttrHook kScale;
extern const AttrHook kPrecision;
extern const AttrHook kNullable;

}  // namespace qorl::elements::hooks
