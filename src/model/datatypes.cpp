#include "model/datatypes.h"

#include <string_view>

namespace qorl::SUVXDataTypeUtility {

namespace {

// Indexed by VXDataType. The names are part of the document format.
constexpr std::u32string_view kNames[] = {
    U"BIT",       U"CHAR",     U"VARCHAR",  U"LONGVARCHAR", U"NCHAR",     U"NVARCHAR",  U"LONGNVARCHAR",
    U"BINARY",    U"VARBINARY", U"LONGVARBINARY", U"TINYINT", U"SMALLINT", U"INTEGER",   U"BIGINT",
    U"REAL",      U"FLOAT",    U"DOUBLE",   U"NUMERIC",     U"DECIMAL",   U"DATE",      U"TIME",
    U"TIMESTAMP", U"INTERVAL", U"GUID",     U"BOOLEAN",     U"UNKNOWN",
};
static_assert(std::size(kNames) == VXUnknown + 1);

}  // namespace

bool GetSingleWordVXDataTypeName(VXDataType type, VXString& name) {
  if (type > VXUnknown) {
    name.clear();
    return false;
  }
  name = VXString(kNames[type]);
  return true;
}

VXDataType GetVXDataTypeFromSingleWordName(const VXString& name) {
  if (name.empty()) return VXUnknown;
  for (size_t i = 0; i < std::size(kNames); ++i)
    if (name.EqualsNoCase(kNames[i])) return static_cast<VXDataType>(i);
  return VXUnknown;
}

std::span<const std::u32string_view> SingleWordNames() { return kNames; }

bool IsVXTextType(VXDataType type) {
  switch (type) {
    case VXChar:
    case VXVarChar:
    case VXLongVarChar:
    case VXWChar:
    case VXWVarChar:
    case VXWLongVarChar:
      return true;
    default:
      return false;
  }
}

}  // namespace qorl::SUVXDataTypeUtility
