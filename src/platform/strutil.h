// Text utilities shared by every subsystem: XML escaping, line ends, and the
// text forms of numbers and flags.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "platform/vxstring.h"

namespace qorl {
namespace BaseStringUtil {

// Replaces & < > " ' by their character entities, and line feed, return and
// tab by character references, so an attribute value keeps them. Text with nothing to
// escape (nearly all of it) comes back as the same shared buffer.
VXString EscapeXMLChars(const VXString& text);
// The same escaping, appended to UTF-8 output without a VXString in between.
void AppendEscapedXML(std::string& utf8Out, std::u32string_view text);
// Reverses EscapeXMLChars and also decodes &#NN; and &#xHH;. An entity that is
// unknown or names no valid character is left as it stands.
VXString UnescapeXMLChars(const VXString& text);

// CR LF and lone CR become LF.
VXString LineFeedConversion(const VXString& text);
// The first n characters (all of them when the text is shorter).
VXString TruncateString(const VXString& text, size_t n);

VXString IntToString(long long value);
// Whole text must be a decimal number with an optional sign; no blanks.
bool StringToInt(const VXString& text, long long& out);
bool StringToUInt(const VXString& text, unsigned long long& out);
// Shortest text that reads back as the same double ("0.1", "1e+300").
VXString DoubleToString(double value);
bool StringToDouble(const VXString& text, double& out);
VXString BoolToString(bool value);
// "true" or "false" in any case; anything else fails and leaves out alone.
bool StringToBool(const VXString& text, bool& out);

// Every occurrence of `from`, left to right, without rescanning replaced text.
VXString ReplaceAll(const VXString& text, const VXString& from, const VXString& to);

// The candidate nearest to `word` by edit distance, letters compared without
// case, when it is near enough to be the word meant (a typo, not another
// word); empty otherwise. For "did you mean" hints: run only on a miss.
std::u32string_view ClosestName(std::u32string_view word, std::span<const std::u32string_view> candidates);

}  // namespace BaseStringUtil
}  // namespace qorl
