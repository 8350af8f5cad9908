// Structured children that several elements share.
#pragma once

#include "elements/description.h"

namespace qorl::elements::children {

// "<tag>" and "</tag>", each ending its line.
void OpenLine(VXString& s, std::u32string_view tag);
void CloseLine(VXString& s, std::u32string_view tag);

// "DBMap": per-database texts, a std::map<int, VXString> by database type.
extern const ChildCodec& kDbMap;
// "Properties": free name and value pairs, a std::map<VXString, VXString>.
extern const ChildCodec& kNameValueProperties;

}  // namespace qorl::elements::children
