#include "platform/strutil.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <cwctype>
#include <vector>
#include <system_error>

namespace qorl {
namespace BaseStringUtil {

namespace {

// The entity for a reserved character, or nullptr.
inline const char32_t* EntityFor(char32_t c) {
  switch (c) {
    case U'&': return U"&amp;";
    case U'<': return U"&lt;";
    case U'>': return U"&gt;";
    case U'"': return U"&quot;";
    case U'\'': return U"&apos;";
    // A parser turns raw line feeds, returns and tabs in an attribute into
    // blanks; as references they come back as written.
    case U'\n': return U"&#10;";
    case U'\r': return U"&#13;";
    case U'\t': return U"&#9;";
    default: return nullptr;
  }
}

inline bool IsReserved(char32_t c) {
  return c == U'&' || c == U'<' || c == U'>' || c == U'"' || c == U'\'' || c == U'\n' || c == U'\r' || c == U'\t';
}

// Text of a number for std::from_chars: ASCII only, bounded length.
bool ToAsciiNumber(const VXString& text, std::string& out) {
  if (text.empty() || text.size() > 400) return false;
  out.clear();
  out.reserve(text.size());
  for (char32_t c : text) {
    if (c >= 0x80) return false;
    out.push_back(static_cast<char>(c));
  }
  return true;
}

int HexValue(char32_t c) {
  if (c >= U'0' && c <= U'9') return static_cast<int>(c - U'0');
  if (c >= U'a' && c <= U'f') return static_cast<int>(c - U'a' + 10);
  if (c >= U'A' && c <= U'F') return static_cast<int>(c - U'A' + 10);
  return -1;
}

// Decodes the entity whose text (without & and ;) is `name`; false when unknown.
bool DecodeEntity(std::u32string_view name, char32_t& out) {
  if (name == U"amp") { out = U'&'; return true; }
  if (name == U"lt") { out = U'<'; return true; }
  if (name == U"gt") { out = U'>'; return true; }
  if (name == U"quot") { out = U'"'; return true; }
  if (name == U"apos") { out = U'\''; return true; }
  if (name.size() < 2 || name[0] != U'#') return false;
  bool hex = name[1] == U'x' || name[1] == U'X';
  size_t i = hex ? 2 : 1;
  if (i >= name.size() || name.size() - i > 8) return false;
  uint32_t v = 0;
  for (; i < name.size(); ++i) {
    int d = HexValue(name[i]);
    if (d < 0 || (!hex && d > 9)) return false;
    v = v * (hex ? 16 : 10) + static_cast<uint32_t>(d);
  }
  if (v == 0 || v > 0x10FFFF || (v >= 0xD800 && v <= 0xDFFF)) return false;
  out = static_cast<char32_t>(v);
  return true;
}

}  // namespace

VXString EscapeXMLChars(const VXString& text) {
  const char32_t* p = text.data();
  const size_t n = text.size();
  size_t i = 0;
  while (i < n && !IsReserved(p[i])) ++i;
  if (i == n) return text;

  VXString out;
  out.reserve(n + 16);
  size_t start = 0;
  for (; i < n; ++i) {
    const char32_t* ent = EntityFor(p[i]);
    if (!ent) continue;
    if (i > start) out.append(p + start, i - start);
    out.append(ent, std::char_traits<char32_t>::length(ent));
    start = i + 1;
  }
  if (start < n) out.append(p + start, n - start);
  return out;
}

void AppendEscapedXML(std::string& utf8Out, std::u32string_view text) {
  utf8Out.reserve(utf8Out.size() + text.size());
  for (char32_t c : text) {
    if (c >= 0x80) {
      AppendUTF8(utf8Out, c);
      continue;
    }
    switch (c) {
      case U'&': utf8Out.append("&amp;", 5); break;
      case U'<': utf8Out.append("&lt;", 4); break;
      case U'>': utf8Out.append("&gt;", 4); break;
      case U'"': utf8Out.append("&quot;", 6); break;
      case U'\'': utf8Out.append("&apos;", 6); break;
      case U'\n': utf8Out.append("&#10;", 5); break;
      case U'\r': utf8Out.append("&#13;", 5); break;
      case U'\t': utf8Out.append("&#9;", 4); break;
      default: utf8Out.push_back(static_cast<char>(c));
    }
  }
}

VXString UnescapeXMLChars(const VXString& text) {
  const size_t first = text.find(U'&');
  if (first == VXString::npos) return text;

  const char32_t* p = text.data();
  const size_t n = text.size();
  VXString out;
  out.reserve(n);
  out.append(p, first);
  size_t i = first;
  while (i < n) {
    if (p[i] != U'&') {
      out.push_back(p[i++]);
      continue;
    }
    // The longest entity we decode is "&#x10FFFF;" or "&#1114111;".
    size_t semi = i + 1;
    while (semi < n && semi - i <= 10 && p[semi] != U';' && p[semi] != U'&') ++semi;
    char32_t c = 0;
    if (semi < n && p[semi] == U';' && DecodeEntity(std::u32string_view(p + i + 1, semi - i - 1), c)) {
      out.push_back(c);
      i = semi + 1;
    } else {
      out.push_back(p[i++]);
    }
  }
  return out;
}

VXString LineFeedConversion(const VXString& text) {
  const size_t first = text.find(U'\r');
  if (first == VXString::npos) return text;
  const char32_t* p = text.data();
  const size_t n = text.size();
  VXString out;
  out.reserve(n);
  out.append(p, first);
  for (size_t i = first; i < n; ++i) {
    if (p[i] == U'\r') {
      out.push_back(U'\n');
      if (i + 1 < n && p[i + 1] == U'\n') ++i;
    } else {
      out.push_back(p[i]);
    }
  }
  return out;
}

VXString TruncateString(const VXString& text, size_t n) {
  return text.size() <= n ? text : text.substr(0, n);
}

VXString IntToString(long long value) { return VXString::FromInt(value); }

bool StringToInt(const VXString& text, long long& out) {
  std::string s;
  if (!ToAsciiNumber(text, s)) return false;
  const char* b = s.data();
  const char* e = b + s.size();
  // from_chars takes no '+'; a sign must still be followed by a digit.
  if (*b == '+') {
    ++b;
    if (b == e || *b == '-' || *b == '+') return false;
  }
  long long v = 0;
  auto r = std::from_chars(b, e, v);
  if (r.ec != std::errc() || r.ptr != e) return false;
  out = v;
  return true;
}

bool StringToUInt(const VXString& text, unsigned long long& out) {
  std::string s;
  if (!ToAsciiNumber(text, s)) return false;
  const char* b = s.data();
  const char* e = b + s.size();
  if (*b == '+') ++b;
  if (b == e || *b < '0' || *b > '9') return false;
  unsigned long long v = 0;
  auto r = std::from_chars(b, e, v);
  if (r.ec != std::errc() || r.ptr != e) return false;
  out = v;
  return true;
}

VXString DoubleToString(double value) {
  char buf[64];
  auto r = std::to_chars(buf, buf + sizeof buf, value);
  return VXString(std::string_view(buf, static_cast<size_t>(r.ptr - buf)));
}

bool StringToDouble(const VXString& text, double& out) {
  std::string s;
  if (!ToAsciiNumber(text, s)) return false;
  const char* b = s.data();
  const char* e = b + s.size();
  if (*b == '+') {
    ++b;
    if (b == e || *b == '-' || *b == '+') return false;
  }
  double v = 0;
  auto r = std::from_chars(b, e, v, std::chars_format::general);
  if (r.ec != std::errc() || r.ptr != e) return false;
  out = v;
  return true;
}

VXString BoolToString(bool value) { return value ? VXString("true") : VXString("false"); }

bool StringToBool(const VXString& text, bool& out) {
  if (text.EqualsNoCase("true")) { out = true; return true; }
  if (text.EqualsNoCase("false")) { out = false; return true; }
  return false;
}

VXString ReplaceAll(const VXString& text, const VXString& from, const VXString& to) {
  if (from.empty()) return text;
  size_t pos = text.find(from);
  if (pos == VXString::npos) return text;
  VXString out;
  out.reserve(text.size());
  size_t start = 0;
  while (pos != VXString::npos) {
    out.append(text.data() + start, pos - start);
    out.append(to);
    start = pos + from.size();
    pos = text.find(from, start);
  }
  out.append(text.data() + start, text.size() - start);
  return out;
}

namespace closest_name {

char32_t Fold(char32_t c) { return static_cast<char32_t>(std::towlower(static_cast<wint_t>(c))); }

// Levenshtein distance over folded letters, one row at a time.
size_t Distance(std::u32string_view a, std::u32string_view b, std::vector<size_t>& row) {
  row.resize(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    size_t diag = row[0];
    row[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      size_t up = row[j];
      size_t cost = Fold(a[i - 1]) == Fold(b[j - 1]) ? 0 : 1;
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diag + cost});
      diag = up;
    }
  }
  return row[b.size()];
}

}  // namespace closest_name

std::u32string_view ClosestName(std::u32string_view word, std::span<const std::u32string_view> candidates) {
  std::vector<size_t> row;
  std::u32string_view best;
  size_t bestDistance = static_cast<size_t>(-1);
  for (std::u32string_view c : candidates) {
    if (c.empty()) continue;
    size_t d = closest_name::Distance(word, c, row);
    // About one edit in three letters of the shorter word: beyond that the
    // candidate is another word, and a hint would mislead.
    size_t limit = std::max<size_t>(1, std::min(word.size(), c.size()) / 3);
    if (d <= limit && d < bestDistance) {
      best = c;
      bestDistance = d;
    }
  }
  return best;
}

}  // namespace BaseStringUtil
}  // namespace qorl
