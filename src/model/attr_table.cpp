#include "model/attr_table.h"

#include "model/attr_text.h"
#include "platform/strutil.h"

namespace qorl {

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
