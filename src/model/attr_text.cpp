#include "model/attr_text.h"

#include "platform/strutil.h"

namespace qorl {

void AppendAttrAlways(VXString& out, std::u32string_view name, const VXString& value) {
  out.push_back(U' ');
  out.append(name);
  out.append(U"=\"", 2);
  out.append(BaseStringUtil::EscapeXMLChars(value));
  out.push_back(U'"');
}

void AppendAttr(VXString& out, std::u32string_view name, const VXString& value) {
  if (!value.empty()) AppendAttrAlways(out, name, value);
}

void AppendFlagIfTrue(VXString& out, std::u32string_view name, bool value) {
  if (value) AppendAttrAlways(out, name, VXString(U"true"));
}

void AppendFlagIfFalse(VXString& out, std::u32string_view name, bool value) {
  if (!value) AppendAttrAlways(out, name, VXString(U"false"));
}

void AppendFlagAlways(VXString& out, std::u32string_view name, bool value) {
  AppendAttrAlways(out, name, VXString(value ? U"true" : U"false"));
}

void AppendIntAttr(VXString& out, std::u32string_view name, long long value) {
  AppendAttrAlways(out, name, VXString::FromInt(value));
}

}  // namespace qorl
