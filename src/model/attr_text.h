// Attribute and text fragments, the one way values enter a document:
// a blank, the name, =, the escaped value in double quotes.
#pragma once

#include <string_view>

#include "platform/vxstring.h"

namespace qorl {

// Text: written only when not empty.
void AppendAttr(VXString& out, std::u32string_view name, const VXString& value);
// Written whatever the value, also when empty.
void AppendAttrAlways(VXString& out, std::u32string_view name, const VXString& value);
// A flag that defaults to false: "true" only when set.
void AppendFlagIfTrue(VXString& out, std::u32string_view name, bool value);
// A flag that defaults to true: "false" only when clear.
void AppendFlagIfFalse(VXString& out, std::u32string_view name, bool value);
// A flag written always, as "true" or "false".
void AppendFlagAlways(VXString& out, std::u32string_view name, bool value);
// Decimal numbers.
void AppendIntAttr(VXString& out, std::u32string_view name, long long value);

inline VXString Attr(std::u32string_view name, const VXString& value) {
  VXString s;
  AppendAttr(s, name, value);
  return s;
}

}  // namespace qorl
