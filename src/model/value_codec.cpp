#include "model/value_codec.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "platform/datetime.h"
#include "platform/strutil.h"

namespace qorl {

namespace value_codec {

template <class T>
bool ReadInteger(const VXString& text, void* field) {
  if constexpr (std::is_signed_v<T>) {
    long long v;
    if (!BaseStringUtil::StringToInt(text, v) || v < std::numeric_limits<T>::min() ||
        v > std::numeric_limits<T>::max())
      return false;
    *static_cast<T*>(field) = static_cast<T>(v);
  } else {
    unsigned long long v;
    if (!BaseStringUtil::StringToUInt(text, v) || v > std::numeric_limits<T>::max()) return false;
    *static_cast<T*>(field) = static_cast<T>(v);
  }
  return true;
}

// Counts are whole numbers but held as doubles; write them without exponent
// or fraction ("1000000", not "1e+06"), and anything else in its shortest form.
VXString CountText(const void* field) {
  double v = *static_cast<const double*>(field);
  if (v <= -0.5) return VXString();
  if (std::nearbyint(v) == v && std::fabs(v) < 1e15) return VXString::FromInt(static_cast<long long>(v));
  return BaseStringUtil::DoubleToString(v);
}

VXString DateText(const void* field) {
  const VXDateTime& d = *static_cast<const VXDateTime*>(field);
  VXString text;
  if (!(d == VXDateTime())) TimeStampMeta().Convert(d, text);
  return text;
}

bool DateFromText(const VXString& text, void* field) {
  VXDateTime d;
  if (!TimeStampMeta().TryConvert(text, d)) return false;
  *static_cast<VXDateTime*>(field) = d;
  return true;
}

}  // namespace value_codec

const ValueCodec kTextCodec{FieldType::Text, nullptr, "xs:string"};
const ValueCodec kFlagCodec{FieldType::Flag, nullptr, "xs:boolean"};
const ValueCodec kInt16Codec{FieldType::Int16, nullptr, "xs:short"};
const ValueCodec kUInt16Codec{FieldType::UInt16, nullptr, "xs:unsignedShort"};
const ValueCodec kInt32Codec{FieldType::Int32, nullptr, "xs:int"};
const ValueCodec kUInt32Codec{FieldType::UInt32, nullptr, "xs:unsignedInt"};
const ValueCodec kDoubleCodec{FieldType::Double, nullptr, "xs:double"};
const ValueCodec kCountCodec{FieldType::Double, nullptr, "xs:double", &value_codec::CountText};
const ValueCodec kDateTimeCodec{FieldType::DateTime, nullptr, "DateTimeType", &value_codec::DateText,
                                &value_codec::DateFromText, 28028};

VXString ValueToText(const ValueCodec& codec, const void* field) {
  if (codec.toText) return codec.toText(field);
  switch (codec.field) {
    case FieldType::Text: return *static_cast<const VXString*>(field);
    case FieldType::Flag: return VXString(*static_cast<const bool*>(field) ? U"true" : U"false");
    case FieldType::Int16: return VXString::FromInt(*static_cast<const int16_t*>(field));
    case FieldType::UInt16: return VXString::FromUInt(*static_cast<const uint16_t*>(field));
    case FieldType::Int32: return VXString::FromInt(*static_cast<const int32_t*>(field));
    case FieldType::UInt32: return VXString::FromUInt(*static_cast<const uint32_t*>(field));
    case FieldType::Double: return BaseStringUtil::DoubleToString(*static_cast<const double*>(field));
    case FieldType::Enum: return codec.names->toText(*static_cast<const int*>(field));
    case FieldType::DateTime: break;
  }
  return VXString();
}

bool ValueFromText(const ValueCodec& codec, const VXString& text, void* field) {
  if (codec.fromText) return codec.fromText(text, field);
  switch (codec.field) {
    case FieldType::Text: *static_cast<VXString*>(field) = text; return true;
    case FieldType::Flag: {
      bool b = false;
      *static_cast<bool*>(field) = BaseStringUtil::StringToBool(text, b) && b;
      return true;
    }
    case FieldType::Int16: return value_codec::ReadInteger<int16_t>(text, field);
    case FieldType::UInt16: return value_codec::ReadInteger<uint16_t>(text, field);
    case FieldType::Int32: return value_codec::ReadInteger<int32_t>(text, field);
    case FieldType::UInt32: return value_codec::ReadInteger<uint32_t>(text, field);
    case FieldType::Double: {
      double d;
      // inf and nan parse, but no attribute means them and they do not round-trip.
      if (!BaseStringUtil::StringToDouble(text, d) || !std::isfinite(d)) return false;
      *static_cast<double*>(field) = d;
      return true;
    }
    case FieldType::Enum: *static_cast<int*>(field) = codec.names->fromText(text); return true;
    case FieldType::DateTime: break;
  }
  return false;
}

bool IsNumeric(const ValueCodec& codec) {
  switch (codec.field) {
    case FieldType::Int16:
    case FieldType::UInt16:
    case FieldType::Int32:
    case FieldType::UInt32:
    case FieldType::Double: return true;
    default: return false;
  }
}

void ValueClear(const ValueCodec& codec, void* field) {
  switch (codec.field) {
    case FieldType::Text: static_cast<VXString*>(field)->clear(); break;
    case FieldType::Flag: *static_cast<bool*>(field) = false; break;
    case FieldType::Int16: *static_cast<int16_t*>(field) = 0; break;
    case FieldType::UInt16: *static_cast<uint16_t*>(field) = 0; break;
    case FieldType::Int32:
    case FieldType::Enum: *static_cast<int32_t*>(field) = 0; break;
    case FieldType::UInt32: *static_cast<uint32_t*>(field) = 0; break;
    case FieldType::Double: *static_cast<double*>(field) = 0; break;
    case FieldType::DateTime: *static_cast<VXDateTime*>(field) = VXDateTime(); break;
  }
}

size_t FieldSize(const ValueCodec& codec) {
  switch (codec.field) {
    case FieldType::Text: return sizeof(VXString);
    case FieldType::Flag: return sizeof(bool);
    case FieldType::Int16:
    case FieldType::UInt16: return 2;
    case FieldType::Int32:
    case FieldType::UInt32:
    case FieldType::Enum: return 4;
    case FieldType::Double: return sizeof(double);
    case FieldType::DateTime: return sizeof(VXDateTime);
  }
  return 0;
}

VXString SampleText(const ValueCodec& codec, const char32_t* def) {
  std::u32string_view d = def ? def : U"";
  switch (codec.field) {
    case FieldType::Text: return VXString(U"sample text & <more>");
    case FieldType::Flag: return VXString(d == U"true" ? U"false" : U"true");
    case FieldType::Double: return VXString(d == U"12.5" ? U"13.5" : U"12.5");
    case FieldType::Enum: return codec.names->toText(codec.names->sample);
    case FieldType::DateTime: return VXString(U"2024-02-29 13:45:07");
    default: return VXString(d == U"7" ? U"8" : U"7");
  }
}

}  // namespace qorl
