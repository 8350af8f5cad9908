#include "elements/attr_hooks.h"

#include "model/attrgroups.h"
#include "model/datatypes.h"
#include "model/vocabulary.h"
#include "platform/strutil.h"

namespace qorl::elements::hooks {

namespace attr_hooks {

int32_t& Coordinate(ARpObject& o, const char* prop) { return *static_cast<int32_t*>(FieldOf(o, prop)); }
int32_t Coordinate(const ARpObject& o, const char* prop) { return *static_cast<const int32_t*>(FieldOf(o, prop)); }

VXString PositionText(const ARpObject& o, const char* prop) {
  if (Coordinate(o, "diagramX") == 0 && Coordinate(o, "diagramY") == 0) return VXString();
  return VXString::FromInt(Coordinate(o, prop));
}

int32_t CoordinateFrom(const NameValuePairs& all, std::u32string_view attr, ReadContext& ctx) {
  return static_cast<int32_t>(IntAttr(all, attr, INT32_MIN, INT32_MAX, 0, ctx));
}

const VXTypeInfo& TypeInfo(const ARpObject& o, const Attr& row) {
  return *static_cast<const VXTypeInfo*>(FieldOf(o, row.prop));
}

}  // namespace attr_hooks

const AttrHook kPositionX{
    [](const ARpObject& o, const Attr&, const WriteContext&) { return attr_hooks::PositionText(o, "diagramX"); },
    [](ARpObject& o, const Attr&, const VXString*, const NameValuePairs& all, ReadContext& ctx) {
      attr_hooks::Coordinate(o, "diagramX") = attr_hooks::CoordinateFrom(all, ATTR_X, ctx);
      attr_hooks::Coordinate(o, "diagramY") = attr_hooks::CoordinateFrom(all, ATTR_Y, ctx);
    }};

const AttrHook kPositionY{
    [](const ARpObject& o, const Attr&, const WriteContext&) { return attr_hooks::PositionText(o, "diagramY"); },
    nullptr};

const AttrHook kDataType{
    [](const ARpObject& o, const Attr& row, const WriteContext&) {
      VXString name;
      SUVXDataTypeUtility::GetSingleWordVXDataTypeName(attr_hooks::TypeInfo(o, row).dataType, name);
      return name;
    },
    [](ARpObject& o, const Attr& row, const VXString* text, const NameValuePairs& all, ReadContext& ctx) {
      // Only to report bad numbers: the type information leaves them at its default.
      IntAttr(all, ATTR_PRECISION, INT32_MIN, INT32_MAX, 0, ctx);
      IntAttr(all, ATTR_SCALE, INT16_MIN, INT16_MAX, 0, ctx);
      VXTypeInfo info;
      QORLUtil::ReadTypeInfo([&all](std::u32string_view n) { return all.Find(n); }, info);
      // A name the list does not have reads as "UNKNOWN": a typo must not pass unseen.
      if (text && !text->empty() && info.dataType == VXUnknown && !text->EqualsNoCase(U"UNKNOWN"))
        ctx.UnknownText(row, *text, SUVXDataTypeUtility::SingleWordNames());
      *static_cast<VXTypeInfo*>(FieldOf(o, row.prop)) = info;
    },
    U"DECIMAL"};

const AttrHook kScale{[](const ARpObject& o, const Attr& row, const WriteContext&) {
                        int16_t v = attr_hooks::TypeInfo(o, row).scale;
                        return v ? VXString::FromInt(v) : VXString();
                      },
                      nullptr, U"2"};

const AttrHook kPrecision{[](const ARpObject& o, const Attr& row, const WriteContext&) {
                            int32_t v = attr_hooks::TypeInfo(o, row).precision;
                            return v ? VXString::FromInt(v) : VXString();
                          },
                          nullptr, U"12"};

const AttrHook kNullable{[](const ARpObject& o, const Attr& row, const WriteContext&) {
                           return attr_hooks::TypeInfo(o, row).nullable ? VXString(U"true") : VXString();
                         },
                         nullptr, U"true"};

long long IntAttr(const NameValuePairs& all, std::u32string_view attr, long long lo, long long hi, long long def,
                  ReadContext& ctx) {
  const VXString* text = all.Find(attr);
  if (!text) return def;
  long long v;
  if (BaseStringUtil::StringToInt(*text, v) && v >= lo && v <= hi) return v;
  ctx.BadNumber(attr, *text);
  return def;
}

}  // namespace qorl::elements::hooks
