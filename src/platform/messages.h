// The message catalogue: every message the layer reports is a number with
// text arguments, and its English text is a template with %1, %2, ...
// placeholders kept here.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "platform/vxstring.h"

namespace qorl {

struct MessageDef {
  unsigned long number;
  const char* text;  // UTF-8, with %1 ... %N placeholders
};

// Conversion of a message argument to its text. Kept inline and thin so that
// the variadic message templates cost little at each call site.
namespace MsgArg {
VXString FromDouble(double v);
inline VXString From(const VXString& s) { return s; }
inline VXString From(const char* s) { return VXString(s); }
inline VXString From(const std::string& s) { return VXString(s); }
inline VXString From(std::string_view s) { return VXString(s); }
inline VXString From(const char32_t* s) { return VXString(s); }
inline VXString From(std::u32string_view s) { return VXString(s); }
inline VXString From(char c) { return VXString(1, static_cast<unsigned char>(c)); }
inline VXString From(char32_t c) { return VXString(1, c); }
inline VXString From(bool b) { return b ? VXString("true") : VXString("false"); }
template <class T>
  requires(std::is_integral_v<T> && !std::is_same_v<T, bool> && !std::is_same_v<T, char> &&
           !std::is_same_v<T, char32_t>)
inline VXString From(T v) {
  if constexpr (std::is_signed_v<T>)
    return VXString::FromInt(static_cast<long long>(v));
  else
    return VXString::FromUInt(static_cast<unsigned long long>(v));
}
template <class T>
  requires std::is_floating_point_v<T>
inline VXString From(T v) { return FromDouble(static_cast<double>(v)); }
}  // namespace MsgArg

namespace SUStrUtil {

// The English template of a message, or nullptr when the number is unknown.
const char* MessageTemplate(unsigned long number);
// All catalogue entries, ordered by number.
std::span<const MessageDef> MessageCatalogue();

// Substitutes %1 ... %99 (one or two digits, read greedily) with args; "%%"
// is one percent sign. A placeholder without an argument vanishes together
// with one blank before it, so a template may name arguments that only some
// callers give.
VXString FormatTemplate(std::string_view utf8Template, const VXStringVector& args);
// The message's text; an unknown number gives "Message N: arg, arg".
VXString FormatMessage(unsigned long number, const VXStringVector& args);

template <class... A>
VXString LoadMsgStringOnly(unsigned long number, const A&... args) {
  return FormatMessage(number, VXStringVector{MsgArg::From(args)...});
}

}  // namespace SUStrUtil
}  // namespace qorl
