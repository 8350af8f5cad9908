// Structured children that several elements share.
#pragma once

#include "elements/description.h"

namespace qorl::elements::children {

// "<tag>" and "</tag>", each ending its line.
void OpenLine(VXString& s, std::u32string_view tag);
void CloseLine(VXString& s, std::u32string_view tag);
// Opens `tag` on a line of its own when there is something to write; else
// prints its empty form when empty elements are asked for and gives false.
bool OpenUnlessEmpty(VXString& s, bool present, std::u32string_view tag, WriteContext& ctx);

// "DBMap": per-database texts, a std::map<int, VXString> by database type.
extern const ChildCodec& kDbMap;
// "Properties": free name and value pairs, a std::map<VXString, VXString>.
extern const ChildCodec& kNameValueProperties;

}  // namespace qorl::elements::children
