#include "store/expr.h"

#include <unordered_set>

#include "store/props.h"

namespace qorl {

ExprNamer::~ExprNamer() = default;
ExprLookup::~ExprLookup() = default;

// ---------------------------------------------------------------------------
// Expr

void Expr::Clear() {
  m_tokens.clear();
  m_formatText.clear();
  m_unparsed = false;
}

void Expr::AppendText(const VXString& text) {
  if (text.empty()) return;
  if (!m_tokens.empty() && !m_tokens.back().IsObject()) {
    m_tokens.back().text += text;
    return;
  }
  m_tokens.push_back(ExprToken{text, VoidID::NullID});
}

void Expr::AppendObject(VoidID id) {
  if (id.IsNullID()) {
    AppendText(VXString(U"\"") + id.ToString() + U'"');
    return;
  }
  m_tokens.push_back(ExprToken{VXString(), id});
}

void Expr::CollectIDs(VoidIDVector& out, bool unique) const {
  if (!unique) {
    for (const ExprToken& t : m_tokens)
      if (t.IsObject()) out.push_back(t.id);
    return;
  }
  std::unordered_set<uint64_t> seen;
  for (const VoidID& id : out) seen.insert(id.Key());
  for (const ExprToken& t : m_tokens)
    if (t.IsObject() && seen.insert(t.id.Key()).second) out.push_back(t.id);
}

bool Expr::operator==(const Expr& o) const {
  if (m_unparsed || o.m_unparsed) return m_unparsed == o.m_unparsed && m_formatText == o.m_formatText;
  return m_tokens == o.m_tokens;
}

// Encoding. Flags byte: bit 0 unparsed, bit 1 format text follows. Then the
// token count and per token a varint head: (length << 1) for text followed by
// its code points, or (zigzag(type) << 1 | 1) followed by the unique number.
// The varints are those of the property blobs (store/props.h).
namespace expr_blob {

constexpr uint8_t kFlagUnparsed = 1;
constexpr uint8_t kFlagFormatText = 2;

void PutText(BlobWriter& w, const VXString& s, uint64_t head) {
  w.PutVarint(head);
  for (char32_t c : s) w.PutVarint(c);
}

bool GetText(BlobReader& r, uint64_t n, VXString& s) {
  // Every code point takes at least one byte: reject counts the input cannot hold.
  if (n > static_cast<uint64_t>(r.End() - r.Pos())) return false;
  std::u32string buf;
  buf.reserve(static_cast<size_t>(n));
  for (uint64_t i = 0; i < n; ++i) {
    uint64_t c = r.GetVarint();
    if (r.Failed() || c > 0xFFFFFFFFu) return false;
    buf.push_back(static_cast<char32_t>(c));
  }
  s = VXString(std::u32string_view(buf));
  return true;
}

}  // namespace expr_blob

void Expr::Encode(ByteVector& out) const {
  using namespace expr_blob;
  BlobWriter w(out);
  uint8_t flags = (m_unparsed ? kFlagUnparsed : 0) | (m_formatText.empty() ? 0 : kFlagFormatText);
  w.PutByte(flags);
  if (flags & kFlagFormatText) PutText(w, m_formatText, m_formatText.size());
  w.PutVarint(m_tokens.size());
  for (const ExprToken& t : m_tokens) {
    if (t.IsObject()) {
      int64_t type = t.id.GetTypeID();
      uint64_t zz = (static_cast<uint64_t>(type) << 1) ^ static_cast<uint64_t>(type >> 63);
      w.PutVarint((zz << 1) | 1);
      w.PutVarint(t.id.m_uniqueNum.m_uniqueNum);
    } else {
      PutText(w, t.text, static_cast<uint64_t>(t.text.size()) << 1);
    }
  }
}

bool Expr::Decode(const uint8_t*& p, const uint8_t* end) {
  using namespace expr_blob;
  BlobReader r(p, end);
  if (r.AtEnd()) return false;
  uint8_t flags = r.GetByte();
  if (flags & ~(kFlagUnparsed | kFlagFormatText)) return false;
  Expr e;
  e.m_unparsed = (flags & kFlagUnparsed) != 0;
  if (flags & kFlagFormatText) {
    uint64_t n = r.GetVarint();
    if (r.Failed() || !GetText(r, n, e.m_formatText)) return false;
  }
  uint64_t count = r.GetVarint();
  if (r.Failed() || count > static_cast<uint64_t>(r.End() - r.Pos())) return false;
  e.m_tokens.reserve(static_cast<size_t>(count));
  for (uint64_t i = 0; i < count; ++i) {
    uint64_t head = r.GetVarint();
    if (r.Failed()) return false;
    if (head & 1) {
      uint64_t zz = head >> 1;
      int64_t type = static_cast<int64_t>(zz >> 1) ^ -static_cast<int64_t>(zz & 1);
      if (type < INT32_MIN || type > INT32_MAX) return false;
      uint64_t num = r.GetVarint();
      if (r.Failed() || num > 0xFFFFFFFFu) return false;
      e.AppendObject(VoidID(static_cast<TypeID>(type), UniqueNum(static_cast<uint32_t>(num))));
    } else {
      VXString s;
      if (!GetText(r, head >> 1, s)) return false;
      e.AppendText(s);
    }
  }
  *this = std::move(e);
  p = r.Pos();
  return true;
}

// ---------------------------------------------------------------------------
// Candidate types

const TypeIDVector& CandidateTypes(ExprType type, bool insideValueOf) {
  // Columns before tables before the rest: a column's name is longer than its
  // table's, so the order matters only between types that share a name shape.
  static const TypeIDVector physical = {
      kTIDAColumn,    kTIDACubeColumn,    kTIDAAWColumn,  kTIDATable,     kTIDACubeTable,
      kTIDAAWCube,    kTIDAAWDimension,   kTIDAPhysicalLevel, kTIDARpVariable, kTIDAAWLevel,
      kTIDAAWHierarchy, kTIDAHierarchy,   kTIDAPhysicalDimension,
  };
  static const TypeIDVector logical = {
      kTIDAAttribute,  kTIDALogicalTable,   kTIDALevel,         kTIDADimension,
      kTIDASubjectArea, kTIDAFolderAttr,    kTIDAEntityFolder,  kTIDARpVariable,
      kTIDACatalogFolder, kTIDAPresentationHierarchy, kTIDAPresentationLevel,
  };
  static const TypeIDVector physicalVar = [] {
    TypeIDVector v{kTIDARpVariable};
    for (TypeID t : physical)
      if (t != kTIDARpVariable) v.push_back(t);
    return v;
  }();
  static const TypeIDVector logicalVar = [] {
    TypeIDVector v{kTIDARpVariable};
    for (TypeID t : logical)
      if (t != kTIDARpVariable) v.push_back(t);
    return v;
  }();
  if (type == kSME_Physical) return insideValueOf ? physicalVar : physical;
  return insideValueOf ? logicalVar : logical;
}

// ---------------------------------------------------------------------------
// Qualified-name text

void AppendQualifiedNameText(VXString& out, const QualifiedName& name) {
  size_t need = out.size();
  for (const VXString& c : name) need += c.size() + 3;
  out.reserve(need);
  bool first = true;
  for (const VXString& c : name) {
    if (!first) out.push_back(U'.');
    first = false;
    out.push_back(U'"');
    const char32_t* s = c.data();
    const char32_t* e = s + c.size();
    while (s != e) {
      const char32_t* q = s;
      while (q != e && *q != U'"') ++q;
      out.append(s, static_cast<size_t>(q - s));
      if (q == e) break;
      out.append(U"\"\"", 2);
      s = q + 1;
    }
    out.push_back(U'"');
  }
}

VXString QualifiedNameToText(const QualifiedName& name) {
  VXString out;
  AppendQualifiedNameText(out, name);
  return out;
}

namespace {

// Reads the double-quoted component opening at text[i]. On success `end` is
// just past the closing quote. False when the quote is never closed.
bool ScanQuotedComponent(const VXString& text, size_t i, VXString& component, size_t& end) {
  const char32_t* d = text.data();
  size_t n = text.size();
  size_t p = i + 1;
  size_t runStart = p;
  component.clear();
  while (p < n) {
    if (d[p] == U'"') {
      if (p + 1 < n && d[p + 1] == U'"') {
        component.append(d + runStart, p + 1 - runStart);  // keep one quote
        p += 2;
        runStart = p;
        continue;
      }
      component.append(d + runStart, p - runStart);
      end = p + 1;
      return true;
    }
    ++p;
  }
  return false;
}

// Skips the literal delimited by `quote` opening at text[i]; a doubled
// delimiter stands for itself. Returns the index past the closing delimiter,
// or npos when the literal never closes.
size_t SkipQuotedLiteral(const VXString& text, size_t i, char32_t quote) {
  const char32_t* d = text.data();
  size_t n = text.size();
  for (size_t p = i + 1; p < n; ++p) {
    if (d[p] != quote) continue;
    if (p + 1 < n && d[p + 1] == quote) {
      ++p;
      continue;
    }
    return p + 1;
  }
  return VXString::npos;
}

}  // namespace

bool ParseQualifiedNameText(const VXString& text, QualifiedName& out) {
  out.clear();
  size_t n = text.size();
  size_t i = 0;
  if (n == 0 || text[0] != U'"') return false;
  for (;;) {
    VXString c;
    size_t end;
    if (i >= n || text[i] != U'"' || !ScanQuotedComponent(text, i, c, end)) {
      out.clear();
      return false;
    }
    out.push_back(std::move(c));
    if (end == n) return true;
    if (text[end] != U'.') {
      out.clear();
      return false;
    }
    i = end + 1;
  }
}

// ---------------------------------------------------------------------------
// Printing

VXString PrintExpr(const Expr& expr, const ExprNamer& namer, bool useVoidIDs) {
  if (expr.IsUnparsed()) return expr.GetFormatText();
  VXString out;
  QualifiedName name;
  for (const ExprToken& t : expr.Tokens()) {
    if (!t.IsObject()) {
      out += t.text;
      continue;
    }
    name.clear();
    if (!useVoidIDs && namer.QualifiedNameOf(t.id, name) && !name.empty()) {
      AppendQualifiedNameText(out, name);
    } else {
      out.push_back(U'"');
      out += t.id.ToString();
      out.push_back(U'"');
    }
  }
  return out;
}

// ---------------------------------------------------------------------------
// Variables

namespace {

bool IsExprBlank(char32_t c) { return c == U' ' || c == U'\t' || c == U'\n' || c == U'\r' || c == U'\f' || c == U'\v'; }

// Characters of an unquoted identifier (and of the word around a keyword).
bool IsExprIdentChar(char32_t c) {
  return (c >= U'a' && c <= U'z') || (c >= U'A' && c <= U'Z') || (c >= U'0' && c <= U'9') || c == U'_' ||
         c == U'$' || c == U'#' || c == U'@' || c >= 0x80;
}

constexpr size_t kValueOfKeywordLen = 7;

// The keyword, in any case, at text[i] and standing as a word of its own on
// the left (its right side is checked by the caller's grammar).
bool ValueOfKeywordAt(const VXString& text, size_t i) {
  if (i + kValueOfKeywordLen > text.size()) return false;
  if (i > 0 && IsExprIdentChar(text[i - 1])) return false;
  for (size_t k = 0; k < kValueOfKeywordLen; ++k) {
    char32_t c = text[i + k];
    if (c >= U'a' && c <= U'z') c -= 32;
    if (c != static_cast<char32_t>(kValueOfKeyword[k])) return false;
  }
  return true;
}

// One part of a variable name: quoted (with "" doubling) or an unquoted
// identifier. Advances p.
bool ScanVariableNamePart(const VXString& text, size_t& p, VXString& part, bool& quoted) {
  size_t n = text.size();
  if (p >= n) return false;
  if (text[p] == U'"') {
    size_t end;
    if (!ScanQuotedComponent(text, p, part, end) || part.empty()) return false;
    p = end;
    quoted = true;
    return true;
  }
  size_t s = p;
  while (p < n && IsExprIdentChar(text[p])) ++p;
  if (p == s) return false;
  part = text.substr(s, p - s);
  quoted = false;
  return true;
}

// Matches VALUEOF ( [QUAL.]name ) starting at the keyword at text[start].
bool MatchValueOfVariable(const VXString& text, size_t start, VariableToken& tok) {
  size_t n = text.size();
  size_t p = start + kValueOfKeywordLen;
  while (p < n && IsExprBlank(text[p])) ++p;
  if (p >= n || text[p] != U'(') return false;
  ++p;
  while (p < n && IsExprBlank(text[p])) ++p;
  VXString first, second;
  bool quoted = false;
  if (!ScanVariableNamePart(text, p, first, quoted)) return false;
  tok.qualifier.clear();
  if (!quoted && p < n && text[p] == U'.') {
    ++p;
    bool q2;
    if (!ScanVariableNamePart(text, p, second, q2)) return false;
    tok.qualifier = first;
    tok.name = second;
  } else {
    tok.name = first;
  }
  while (p < n && IsExprBlank(text[p])) ++p;
  if (p >= n || text[p] != U')') return false;
  tok.pos = start;
  tok.len = p + 1 - start;
  return true;
}

enum class ValueOfContext { kNone, kPlain, kQualified };

// Whether the double-quoted run at text[i] is the argument of VALUEOF, and
// whether it follows an unquoted qualifier (a session variable).
ValueOfContext ValueOfBefore(const VXString& text, size_t i) {
  size_t p = i;
  bool qualified = false;
  if (p > 0 && text[p - 1] == U'.') {
    size_t q = p - 1;
    while (q > 0 && IsExprIdentChar(text[q - 1])) --q;
    if (q == p - 1) return ValueOfContext::kNone;
    p = q;
    qualified = true;
  }
  while (p > 0 && IsExprBlank(text[p - 1])) --p;
  if (p == 0 || text[p - 1] != U'(') return ValueOfContext::kNone;
  --p;
  while (p > 0 && IsExprBlank(text[p - 1])) --p;
  if (p < kValueOfKeywordLen || !ValueOfKeywordAt(text, p - kValueOfKeywordLen)) return ValueOfContext::kNone;
  return qualified ? ValueOfContext::kQualified : ValueOfContext::kPlain;
}

}  // namespace

void FindVariables(const VXString& text, std::vector<VariableToken>& out) {
  size_t n = text.size();
  size_t i = 0;
  while (i < n) {
    char32_t c = text[i];
    if (c == U'\'' || c == U'"') {
      // Texts scanned here (connection strings and the like) may hold a lone
      // quote: then it is an ordinary character, not the start of a literal.
      size_t j = SkipQuotedLiteral(text, i, c);
      i = j == VXString::npos ? i + 1 : j;
      continue;
    }
    if ((c == U'V' || c == U'v') && ValueOfKeywordAt(text, i)) {
      VariableToken tok;
      if (MatchValueOfVariable(text, i, tok)) {
        i = tok.pos + tok.len;
        out.push_back(std::move(tok));
      } else {
        i += kValueOfKeywordLen;
      }
      continue;
    }
    ++i;
  }
}

// ---------------------------------------------------------------------------
// Parsing

namespace {

VXString ExprPositionText(size_t i) { return VXString::FromUInt(static_cast<unsigned long long>(i) + 1); }

}  // namespace

bool ParseExpr(const VXString& text, Expr& out, VXString& errorText, ExprType type, const ExprLookup& lookup) {
  out.Clear();
  errorText.clear();
  auto fail = [&](VXString message) {
    out.Clear();
    out.SetFormatText(text);
    out.SetUnparsed(true);
    errorText = std::move(message);
    return false;
  };

  const size_t n = text.size();
  size_t textStart = 0;  // start of the text not yet appended
  size_t i = 0;
  QualifiedName name;
  while (i < n) {
    char32_t c = text[i];
    if (c == U'\'') {
      size_t j = SkipQuotedLiteral(text, i, U'\'');
      if (j == VXString::npos) return fail("Unterminated string literal starting at position " + ExprPositionText(i));
      i = j;
      continue;
    }
    if (c != U'"') {
      ++i;
      continue;
    }

    // A run of double-quoted components joined by '.'.
    name.clear();
    size_t p = i;
    for (;;) {
      VXString component;
      size_t end;
      if (!ScanQuotedComponent(text, p, component, end))
        return fail("Unterminated double quote starting at position " + ExprPositionText(p));
      name.push_back(std::move(component));
      p = end;
      if (p + 1 < n && text[p] == U'.' && text[p + 1] == U'"') {
        ++p;
        continue;
      }
      break;
    }

    ValueOfContext ctx = ValueOfBefore(text, i);
    if (ctx == ValueOfContext::kQualified) {
      // A session variable's name: the repository does not own it.
      i = p;
      continue;
    }

    VoidID id;
    bool found = false;
    if (name.size() == 1 && VoidID::StringToVoidID(name[0], id) && lookup.Exists(id)) found = true;
    if (!found) {
      for (TypeID t : CandidateTypes(type, ctx == ValueOfContext::kPlain)) {
        if (lookup.Find(t, name, id)) {
          found = true;
          break;
        }
      }
    }
    if (!found || id.IsNullID()) return fail(text.substr(i, p - i) + " does not name an object of the repository");

    if (i > textStart) out.AppendText(text.substr(textStart, i - textStart));
    out.AppendObject(id);
    i = textStart = p;
  }
  if (n > textStart) out.AppendText(text.substr(textStart));
  out.SetFormatText(text);
  return true;
}

}  // namespace qorl
