// Attribute groups that several elements share: dates, row counts, type
// information, names and privilege states. Writers return ready fragments
// (` name="value"`), empty when nothing is to be written; readers work over
// a lookup of the element's attributes.
#pragma once

#include <functional>
#include <string_view>

#include "model/datatypes.h"
#include "platform/datetime.h"
#include "platform/vxstring.h"

namespace qorl::QORLUtil {

enum PrivilegeType : int {
  kPriv_Unknown = 0,
  kPriv_None = 1,
  kPriv_Read = 2,
  kPriv_Write = 3,
  kPriv_Delete = 4,
  kPriv_Grant = 5,
  kPriv_All = 6,
};

// States of an authorizer's privilege switches.
enum PrivilegeStatus : int { kYes = 0, kNo = 1, kWarn = 2, kUnknown = 3 };
enum LogStatisticsStatus : int { kIgnoreStatistics = 0, kLogStatistics = 1, kDoNotLogStatistics = 2 };

// "lastUpdated"; nothing for the "no date" value or a date without text.
VXString GetLastUpdatedTime(const VXDateTime& dateTime);
// "rowCount", exactly when the count is above -0.5: -1 marks an unknown count.
VXString GetRowCount(double rowCount);
// "dataType", "scale" (not 0), "precision" (not 0), "nullable" (when set).
VXString GetTypeInfo(const VXTypeInfo& typeInfo);
// "extName" when not empty.
VXString GetExternalName(const VXString& extName);
// "dispName" when not empty, then "hasDispName" always.
VXString GetDisplayName(const VXString& displayName, bool bHasDisplayName);
// "dispDescription" when not empty, then "hasDispDescription" always.
VXString GetDisplayDescription(const VXString& displayDesc, bool bHasDisplayDesc);

// The bare value text; empty for kPriv_Unknown and numbers without a text.
VXString GetPrivilegeTypeString(int type);
// Without regard to case; kPriv_Unknown for any other text.
int GetPrivilegeTypeFromString(const VXString& text);

// The attribute `attrName` with "enable", "disable" or "warn"; nothing for
// kUnknown or any other number.
VXString GetAAuthorizerStatus(int status, std::u32string_view attrName);
// "logStatisticsStatus" with "enable" or "disable"; nothing for
// kIgnoreStatistics.
VXString GetLogStatisticsStatus(int status);

// Text to date. Text that is not a date makes message 28028 (line, text),
// thrown when bThrowError and logged otherwise; the result is then the "no
// date" value when bLeaveDefaultTimeAsIs, else 2001-01-01 00:00:00.
VXDateTime GetVXDateTimeFromString(const VXString& text, int lineNumber, bool bLeaveDefaultTimeAsIs,
                                   bool bThrowError);

// The element's attribute by name, or nullptr when absent.
using AttrLookup = std::function<const VXString*(std::u32string_view)>;

// Reads "dataType" (absent reads as the empty text, so VXUnknown),
// "precision" and "scale" (absent, or not a number in range: the field keeps
// its value) and "nullable" (absent: false).
void ReadTypeInfo(const AttrLookup& attr, VXTypeInfo& typeInfo);

}  // namespace qorl::QORLUtil
