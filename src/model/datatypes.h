// Data types of columns and values, and their one-word names in documents.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "platform/vxstring.h"

namespace qorl {

// The numbers are stored; never renumber. VXBitData to VXBoolean are the
// types proper, VXUnknown follows them.
enum VXDataType : uint8_t {
  VXBitData = 0,
  VXChar = 1,
  VXVarChar = 2,
  VXLongVarChar = 3,
  VXWChar = 4,
  VXWVarChar = 5,
  VXWLongVarChar = 6,
  VXBinary = 7,
  VXVarBinary = 8,
  VXLongVarBinary = 9,
  VXTinyInt = 10,
  VXSmallInt = 11,
  VXInteger = 12,
  VXBigInt = 13,
  VXReal = 14,
  VXFloat = 15,
  VXDouble = 16,
  VXNumeric = 17,
  VXDecimal = 18,
  VXDate = 19,
  VXTime = 20,
  VXTimeStamp = 21,
  VXInterval = 22,
  VXGuid = 23,
  VXBoolean = 24,
  VXUnknown = 25,
};

struct VXTypeInfo {
  int32_t precision = 0;
  int16_t scale = 0;
  VXDataType dataType = VXUnknown;
  bool nullable = false;

  friend bool operator==(const VXTypeInfo&, const VXTypeInfo&) = default;
};

namespace SUVXDataTypeUtility {

// The upper-case one-word name ("VARCHAR", "INTEGER", "UNKNOWN"); false and
// an empty name for a number that is no data type.
bool GetSingleWordVXDataTypeName(VXDataType type, VXString& name);
// The reverse, without regard to ASCII case; VXUnknown for any other text,
// the empty text among them.
VXDataType GetVXDataTypeFromSingleWordName(const VXString& name);
// Every one-word name, "UNKNOWN" last.
std::span<const std::u32string_view> SingleWordNames();
// Character types, whose values are quoted in expressions.
bool IsVXTextType(VXDataType type);

}  // namespace SUVXDataTypeUtility
}  // namespace qorl
