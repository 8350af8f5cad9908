#include "model/attr_table.h"

#include "model/attr_text.h"
#include "platform/strutil.h"

namespace qorl {

void WriteAttrRow(VXString& out, std::u32string_view name, AttrWrite when, const VXString& text) {
  switch (when) {
    case AttrWrite::kIfSet: AppendAttr(out, name, text); break;
    case AttrWrite::kAlways: AppendAttrAlways(out, name, text); break;
    case AttrWrite::kIfTrue: if (text == U"true") AppendAttrAlways(out, name, text); break;
    case AttrWrite::kIfFalse: if (text == U"false") AppendAttrAlways(out, name, text); break;
    case AttrWrite::kBoth: AppendAttrAlways(out, name, text); break;
  }
}

bool FlagFrom(const VXString* text, bool def) {
  if (!text) return def;
  bool b = def;
  return BaseStringUtil::StringToBool(*text, b) ? b : false;
}

long long IntFrom(const VXString* text, long long def) {
  long long v;
  return text && BaseStringUtil::StringToInt(*text, v) ? v : def;
}

double DoubleFrom(const VXString* text, double def) {
  double v;
  return text && BaseStringUtil::StringToDouble(*text, v) ? v : def;
}

VXString TextFrom(const VXString* text) { return text ? *text : VXString(); }

VXString IntText(long long v, bool zeroIsUnset) { return zeroIsUnset && v == 0 ? VXString() : VXString::FromInt(v); }

VXString DoubleText(double v, bool zeroIsUnset) {
  return zeroIsUnset && v == 0 ? VXString() : BaseStringUtil::DoubleToString(v);
}

}  // namespace qorl
