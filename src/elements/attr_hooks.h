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

// The integer attribute `attr` of `all` within [lo, hi]; `def` when it is
// absent, and also, after ctx.BadNumber, when its text is not such a number.
long long IntAttr(const NameValuePairs& all, std::u32string_view attr, long long lo, long long hi, long long def,
                  ReadContext& ctx);

}  // namespace qorl::elements::hooks
