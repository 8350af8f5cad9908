#include "model/attrgroups.h"

#include <cmath>

#include "model/attr_text.h"
#include "model/vocabulary.h"
#include "platform/error.h"
#include "platform/strutil.h"

namespace qorl::QORLUtil {

namespace {

constexpr unsigned long kMsgBadDateTime = 28028;

// Indexed by PrivilegeType; kPriv_Unknown has no text.
constexpr std::u32string_view kPrivilegeTexts[] = {U"",           ATTRV_PRIV_NONE,  ATTRV_PRIV_READ, ATTRV_PRIV_WRITE,
                                                    ATTRV_PRIV_DELETE, ATTRV_PRIV_GRANT, ATTRV_PRIV_ALL};

// Counts are whole numbers but held as doubles; write them without exponent
// or fraction ("1000000", not "1e+06"), and anything else in its shortest form.
VXString CountText(double v) {
  if (std::nearbyint(v) == v && std::fabs(v) < 1e15) return VXString::FromInt(static_cast<long long>(v));
  return BaseStringUtil::DoubleToString(v);
}

}  // namespace

VXString GetLastUpdatedTime(const VXDateTime& dateTime) {
  VXString out;
  if (dateTime == VXDateTime()) return out;
  VXString text;
  TimeStampMeta().Convert(dateTime, text);
  AppendAttr(out, ATTR_LAST_UPDATED, text);
  return out;
}

VXString GetRowCount(double rowCount) {
  VXString out;
  if (rowCount > -0.5) AppendAttrAlways(out, ATTR_ROW_COUNT, CountText(rowCount));
  return out;
}

VXString GetTypeInfo(const VXTypeInfo& typeInfo) {
  VXString out;
  VXString name;
  if (SUVXDataTypeUtility::GetSingleWordVXDataTypeName(typeInfo.dataType, name)) AppendAttr(out, ATTR_DATA_TYPE, name);
  if (typeInfo.scale != 0) AppendIntAttr(out, ATTR_SCALE, typeInfo.scale);
  if (typeInfo.precision != 0) AppendIntAttr(out, ATTR_PRECISION, typeInfo.precision);
  AppendFlagIfTrue(out, ATTR_NULLABLE, typeInfo.nullable);
  return out;
}

VXString GetExternalName(const VXString& extName) {
  VXString out;
  AppendAttr(out, ATTR_EXT_NAME, extName);
  return out;
}

VXString GetDisplayName(const VXString& displayName, bool bHasDisplayName) {
  VXString out;
  AppendAttr(out, ATTR_DISP_NAME, displayName);
  AppendFlagAlways(out, ATTR_HAS_DISP_NAME, bHasDisplayName);
  return out;
}

VXString GetDisplayDescription(const VXString& displayDesc, bool bHasDisplayDesc) {
  VXString out;
  AppendAttr(out, ATTR_DISP_DESCRIPTION, displayDesc);
  AppendFlagAlways(out, ATTR_HAS_DISP_DESCRIPTION, bHasDisplayDesc);
  return out;
}

VXString GetPrivilegeTypeString(int type) {
  if (type <= kPriv_Unknown || type > kPriv_All) return VXString();
  return VXString(kPrivilegeTexts[type]);
}

int GetPrivilegeTypeFromString(const VXString& text) {
  for (int t = kPriv_None; t <= kPriv_All; ++t)
    if (text.EqualsNoCase(kPrivilegeTexts[t])) return t;
  return kPriv_Unknown;
}

VXString GetAAuthorizerStatus(int status, std::u32string_view attrName) {
  VXString out;
  switch (status) {
    case kYes: AppendAttrAlways(out, attrName, VXString(U"enable")); break;
    case kNo: AppendAttrAlways(out, attrName, VXString(U"disable")); break;
    case kWarn: AppendAttrAlways(out, attrName, VXString(U"warn")); break;
    default: break;
  }
  return out;
}

VXString GetLogStatisticsStatus(int status) {
  VXString out;
  if (status == kLogStatistics)
    AppendAttrAlways(out, ATTR_LOG_STATISTICS_STATUS, VXString(U"enable"));
  else if (status == kDoNotLogStatistics)
    AppendAttrAlways(out, ATTR_LOG_STATISTICS_STATUS, VXString(U"disable"));
  return out;
}

VXDateTime GetVXDateTimeFromString(const VXString& text, int lineNumber, bool bLeaveDefaultTimeAsIs,
                                   bool bThrowError) {
  VXDateTime result;
  try {
    TimeStampMeta().Convert(text, result);
    return result;
  } catch (const ErrorMessage&) {
    ThrowOrLogError(ErrorMessage(kMsgBadDateTime, lineNumber, text), bThrowError);
  }
  return bLeaveDefaultTimeAsIs ? VXDateTime() : VXDateTime(2001, 1, 1, 0, 0, 0, 0);
}

void ReadTypeInfo(const AttrLookup& attr, VXTypeInfo& typeInfo) {
  const VXString* v = attr(ATTR_DATA_TYPE);
  typeInfo.dataType = SUVXDataTypeUtility::GetVXDataTypeFromSingleWordName(v ? *v : VXString());

  long long n = 0;
  v = attr(ATTR_PRECISION);
  if (v && BaseStringUtil::StringToInt(*v, n) && n >= INT32_MIN && n <= INT32_MAX)
    typeInfo.precision = static_cast<int32_t>(n);
  v = attr(ATTR_SCALE);
  if (v && BaseStringUtil::StringToInt(*v, n) && n >= INT16_MIN && n <= INT16_MAX)
    typeInfo.scale = static_cast<int16_t>(n);

  bool b = false;
  v = attr(ATTR_NULLABLE);
  typeInfo.nullable = v && BaseStringUtil::StringToBool(*v, b) && b;
}

}  // namespace qorl::QORLUtil
