// Value codecs: how one attribute's text maps to the member that holds it.
// A codec knows the C++ type of the member (FieldType) and converts in both
// directions; the element engines pair it with a store property row of the
// same width, so a codec never guesses what it points at.
#pragma once

#include <cstdint>

#include "platform/vxstring.h"

namespace qorl {

enum class FieldType : uint8_t { Text, Flag, Int16, UInt16, Int32, UInt32, Double, Enum, DateTime };

// Names of an enumeration's values, both ways.
struct EnumNames {
  VXString (*toText)(int value);
  int (*fromText)(const VXString& text);
  int sample;  // a value that is not the enumeration's default, for tests
};

struct ValueCodec {
  FieldType field;
  const EnumNames* names;  // FieldType::Enum only
  const char* xsdType;     // the attribute's type in the schema
  // A text form of its own, instead of the plain one of the field type.
  VXString (*toText)(const void* field) = nullptr;
  bool (*fromText)(const VXString& text, void* field) = nullptr;
  // Text that is not a value: this message (line, text) is raised, or
  // logged when errors are ignored; 0: the default is taken silently.
  unsigned long badText = 0;
};

// The member's text; flags give "true" or "false", numbers their decimal text.
VXString ValueToText(const ValueCodec& codec, const void* field);
// Sets the member from text. False, with the member untouched, when the text is
// not a value of the codec; a flag that is not "true" reads as false.
bool ValueFromText(const ValueCodec& codec, const VXString& text, void* field);
// Numbers: integers of every width and doubles (a count too).
bool IsNumeric(const ValueCodec& codec);
// The member's zero: empty text, false, 0.
void ValueClear(const ValueCodec& codec, void* field);
// sizeof the member a codec expects.
size_t FieldSize(const ValueCodec& codec);
// A text that reads as a value other than `def` (the tests' "every field set").
VXString SampleText(const ValueCodec& codec, const char32_t* def);

extern const ValueCodec kTextCodec;
extern const ValueCodec kFlagCodec;
extern const ValueCodec kInt16Codec;
extern const ValueCodec kUInt16Codec;
extern const ValueCodec kInt32Codec;
extern const ValueCodec kUInt32Codec;
extern const ValueCodec kDoubleCodec;
// A count held as a double: -1 is "not known" and is not written; whole
// numbers are written without exponent or fraction.
extern const ValueCodec kCountCodec;
// "yyyy-mm-dd hh:mi:ss"; the "no date" value has no text.
extern const ValueCodec kDateTimeCodec;

}  // namespace qorl
