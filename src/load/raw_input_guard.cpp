#include "load/raw_input_guard.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>

#include "platform/error.h"

namespace qorl {

namespace raw_input_guard {

bool IsSpace(uint32_t c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// The local part of a qualified name.
std::u32string_view LocalPart(std::u32string_view qname) {
  size_t colon = qname.rfind(U':');
  return colon == std::u32string_view::npos ? qname : qname.substr(colon + 1);
}

// Ends a name in a start tag, or is the end of the tag or a value's quote.
bool EndsName(uint8_t b) {
  return b == '>' || b == '"' || b == '\'' || b == ' ' || b == '\t' || b == '\n' || b == '\r' || b == '=' || b == '/';
}

// Whether any of the eight bytes is zero or above 0x7F.
bool AnyZeroOrHigh(uint64_t x) {
  constexpr uint64_t kLow = 0x0101010101010101ull, kHigh = 0x8080808080808080ull;
  return ((x | ((x - kLow) & ~x)) & kHigh) != 0;
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return (x >= 'a' && x <= 'z' ? x - 32 : x) == (y >= 'a' && y <= 'z' ? y - 32 : y);
         });
}

// The value of encoding="..." in an XML declaration; empty when it names none.
std::string_view DeclaredEncoding(std::string_view decl) {
  size_t at = decl.find("encoding");
  if (at == std::string_view::npos) return {};
  at = decl.find_first_of("\"'", at);
  if (at == std::string_view::npos) return {};
  size_t end = decl.find(decl[at], at + 1);
  if (end == std::string_view::npos) return {};
  return decl.substr(at + 1, end - at - 1);
}

// An XML declaration longer than this is left to the parser to make sense of.
constexpr size_t kMaxDeclaration = 512;

}  // namespace raw_input_guard

using raw_input_guard::IsSpace;

RawInputGuard::RawInputGuard(size_t maxAttributeChars, Units units) : m_maxChars(maxAttributeChars) {
  if (units == Units::kUTF16HostOrder) {
    m_known = true;
    m_width = 2;
    m_bigEndian = std::endian::native == std::endian::big;
  }
}

bool RawInputGuard::TakeHead(const uint8_t* bytes, size_t n, bool end) {
  m_head.append(reinterpret_cast<const char*>(bytes), n);
  const std::string_view h = m_head;
  if (h.size() < 4 && !end) return false;
  auto starts = [h](std::string_view prefix) { return h.substr(0, prefix.size()) == prefix; };
  using namespace std::string_view_literals;
  if (starts("\x00\x00\xFE\xFF"sv) || starts("\x00\x00\x00\x3C"sv)) {
    m_width = 4, m_bigEndian = true;
  } else if (starts("\xFF\xFE\x00\x00"sv) || starts("\x3C\x00\x00\x00"sv)) {
    m_width = 4, m_bigEndian = false;
  } else if (starts("\xFE\xFF"sv) || starts("\x00\x3C\x00\x3F"sv)) {
    m_width = 2, m_bigEndian = true;
  } else if (starts("\xFF\xFE"sv) || starts("\x3C\x00\x3F\x00"sv)) {
    m_width = 2, m_bigEndian = false;
  } else if (starts("\x4C\x6F\xA7\x94"sv)) {
    m_off = true;  // EBCDIC: none of the characters looked for has its ASCII code
  } else if (starts("\xEF\xBB\xBF"sv)) {
    m_utf8 = true;
  } else if (starts("<?xml"sv)) {
    size_t close = h.find("?>");
    if (close == std::string_view::npos && h.size() < raw_input_guard::kMaxDeclaration && !end) return false;
    std::string_view encoding = raw_input_guard::DeclaredEncoding(h.substr(0, close));
    m_utf8 = close != std::string_view::npos &&
             (encoding.empty() || raw_input_guard::EqualsNoCase(encoding, "UTF-8") ||
              raw_input_guard::EqualsNoCase(encoding, "UTF8"));
  } else if (h.size() < 5 && std::string_view("<?xml").starts_with(h) && !end) {
    return false;
  } else {
    m_utf8 = true;  // no declaration: UTF-8
  }
  m_known = true;
  std::string head;
  head.swap(m_head);
  if (!m_off) Scan(reinterpret_cast<const uint8_t*>(head.data()), head.size());
  return true;
}

void RawInputGuard::Feed(const uint8_t* bytes, size_t n) {
  if (m_off) return;
  if (!m_known) {
    if (!TakeHead(bytes, n, n == 0)) return;
  } else if (n > 0) {
    Scan(bytes, n);
  }
  if (n == 0 && m_seqNeed > 0) RefuseUTF8(nullptr, 0, 0);
}

void RawInputGuard::CheckUTF8(const uint8_t* p, size_t n) {
  for (size_t i = 0; i < n; ++i) {
    // Plain ASCII, eight bytes at a time.
    while (m_seqNeed == 0 && i + 8 <= n) {
      uint64_t word;
      std::memcpy(&word, p + i, 8);
      if (raw_input_guard::AnyZeroOrHigh(word)) break;
      i += 8;
    }
    if (i == n) break;
    const uint8_t b = p[i];
    if (m_seqNeed > 0) {
      if (b < m_nextLo || b > m_nextHi) RefuseUTF8(p, i, b);
      m_seq[m_seqLen++] = b;
      --m_seqNeed;
      m_nextLo = 0x80, m_nextHi = 0xBF;
      continue;
    }
    if (b < 0x80) {
      if (b == 0) throw ErrorMessage(92022, m_line + static_cast<size_t>(std::count(p, p + i, '\n')));
      continue;
    }
    if (!m_utf8) continue;
    // The well-formed sequences: no overlong forms, no surrogates, nothing past U+10FFFF.
    m_seqLen = 0;
    if (b >= 0xC2 && b <= 0xDF) m_seqNeed = 1;
    else if (b == 0xE0) m_seqNeed = 2, m_nextLo = 0xA0;
    else if (b == 0xED) m_seqNeed = 2, m_nextHi = 0x9F;
    else if (b >= 0xE1 && b <= 0xEF) m_seqNeed = 2;
    else if (b == 0xF0) m_seqNeed = 3, m_nextLo = 0x90;
    else if (b == 0xF4) m_seqNeed = 3, m_nextHi = 0x8F;
    else if (b >= 0xF1 && b <= 0xF3) m_seqNeed = 3;
    else RefuseUTF8(p, i, b);
    m_seq[m_seqLen++] = b;
  }
}

void RawInputGuard::Scan(const uint8_t* p, size_t n) {
  if (m_width > 1) {
    for (size_t i = 0; i < n; ++i) {
      m_pending[m_pendingCount++] = p[i];
      if (m_pendingCount < m_width) continue;
      uint32_t c = 0;
      for (unsigned k = 0; k < m_width; ++k) c |= uint32_t{m_pending[k]} << (8 * (m_bigEndian ? m_width - 1 - k : k));
      m_pendingCount = 0;
      if (c == 0) throw ErrorMessage(92022, m_line);
      Step(c);
    }
    return;
  }
  CheckUTF8(p, n);
  // One byte a character: runs that only matter for their line feeds are skipped whole.
  size_t i = 0;
  while (i < n) {
    uint8_t stop = 0;
    if (m_state == State::kContent) stop = '<';
    else if (m_state == State::kComment || m_state == State::kCData || m_state == State::kPI) stop = '>';
    if (stop) {
      const void* hit = std::memchr(p + i, stop, n - i);
      size_t end = hit ? static_cast<size_t>(static_cast<const uint8_t*>(hit) - p) : n;
      m_line += static_cast<size_t>(std::count(p + i, p + end, '\n'));
      if (end - i >= 2) m_prev2 = p[end - 2], m_prev = p[end - 1];
      else if (end - i == 1) m_prev2 = m_prev, m_prev = p[end - 1];
      i = end;
      if (i == n) break;
    } else if (m_state == State::kAttValue && !m_inRef) {
      i += ScanValueBytes(p + i, n - i);
      if (i == n) break;
    } else if (m_state == State::kStartTag) {
      size_t end = i;
      while (end < n && !raw_input_guard::EndsName(p[end])) ++end;
      if (end > i) {
        AddNameChars(p + i, end - i);
        m_prev2 = end - i >= 2 ? p[end - 2] : m_prev;
        m_prev = p[end - 1];
        i = end;
        if (i == n) break;
      }
    }
    Step(p[i++]);
  }
}

size_t RawInputGuard::ScanValueBytes(const uint8_t* p, size_t n) {
  size_t j = 0, chars = 0;
  for (; j < n; ++j) {
    uint8_t b = p[j];
    if (b == m_quote || b == '&' || b == '\r' || b == '\n') break;
    chars += (b & 0xC0) != 0x80;  // UTF-8 continuation bytes are part of the character before
  }
  if (j > 0) {
    m_prev2 = j >= 2 ? p[j - 2] : m_prev;
    m_prev = p[j - 1];
  }
  Count(chars);
  return j;
}

void RawInputGuard::Count(size_t chars) {
  m_chars += chars;
  if (m_chars > m_maxChars) RefuseAttribute();
}

template <class Unit>
void RawInputGuard::AddNameChars(const Unit* units, size_t n) {
  Name* name = &m_element;
  if (m_elementDone) {
    name = &m_token;
    if (m_tokenDone) name->size = 0, m_tokenDone = false;
  }
  n = std::min(n, Name::kMax - name->size);
  for (size_t k = 0; k < n; ++k) name->chars[name->size++] = units[k];
}

void RawInputGuard::Step(uint32_t c) {
  if (c == '\n') ++m_line;
  switch (m_state) {
    case State::kContent:
      if (c == '<') m_state = State::kLt;
      break;
    case State::kLt:
      if (c == '!') {
        m_state = State::kBang;
        m_match.clear();
      } else if (c == '?') {
        m_state = State::kPI;
        c = 0;  // the opening '?' does not close the instruction
      } else if (c == '/') {
        m_state = State::kEndTag;
      } else {
        m_state = State::kStartTag;
        m_element.size = 0;
        m_token.size = 0;
        m_elementDone = false;
        m_tokenDone = true;
        AddNameChar(c);
      }
      break;
    case State::kBang: {
      m_match.push_back(c);
      static constexpr std::u32string_view kComment = U"--", kCData = U"[CDATA[";
      if (m_match == kComment) {
        m_state = State::kComment;
        c = 0;  // the opening dashes do not close the comment
        m_prev = 0;
      } else if (m_match == kCData) {
        m_state = State::kCData;
        c = 0;
        m_prev = 0;
      } else if (!kComment.starts_with(m_match) && !kCData.starts_with(m_match)) {
        m_state = State::kDecl;
        m_declDepth = 0;
        m_declQuote = 0;
        Step(c == '\n' ? 0 : c);  // once more, as part of the declaration (its line is counted)
        return;
      }
      break;
    }
    case State::kComment:
      if (c == '>' && m_prev == '-' && m_prev2 == '-') m_state = State::kContent;
      break;
    case State::kCData:
      if (c == '>' && m_prev == ']' && m_prev2 == ']') m_state = State::kContent;
      break;
    case State::kPI:
      if (c == '>' && m_prev == '?') m_state = State::kContent;
      break;
    case State::kDecl:
      if (m_declQuote) {
        if (c == m_declQuote) m_declQuote = 0;
      } else if (c == '"' || c == '\'') {
        m_declQuote = c;
      } else if (c == '[') {
        ++m_declDepth;
      } else if (c == ']') {
        --m_declDepth;
      } else if (c == '>' && m_declDepth <= 0) {
        m_state = State::kContent;
      }
      break;
    case State::kEndTag:
      if (c == '>') m_state = State::kContent;
      break;
    case State::kStartTag:
      if (c == '>') {
        m_state = State::kContent;
      } else if (c == '"' || c == '\'') {
        m_state = State::kAttValue;
        m_quote = c;
        m_valueLine = m_line;
        m_chars = 0;
        m_inRef = false;
        m_elementDone = m_tokenDone = true;
      } else if (IsSpace(c) || c == '=' || c == '/') {
        m_tokenDone = true;
        if (m_element.size > 0) m_elementDone = true;
      } else {
        AddNameChar(c);
      }
      break;
    case State::kAttValue:
      if (c == m_quote) {
        m_state = State::kStartTag;
      } else if (m_inRef) {
        if (c == ';') m_inRef = false;
        else if (++m_refChars > 16) Count(1);
      } else if (c == '&') {
        m_inRef = true;
        m_refChars = 0;
        Count(1);
      } else if (!(c == '\n' && m_prev == '\r') && !(m_width == 1 && (c & 0xC0) == 0x80)) {
        Count(1);
      }
      break;
  }
  m_prev2 = m_prev;
  m_prev = c;
}

void RawInputGuard::RefuseAttribute() const {
  auto text = [this](std::u32string_view units) {
    if (m_width == 1) return VXString(std::string(units.begin(), units.end()));
    if (m_width == 2) {
      std::u16string utf16(units.begin(), units.end());
      return VXString::FromUTF16(utf16.data(), utf16.size());
    }
    return VXString(units);
  };
  throw ErrorMessage(92019, m_valueLine, text(m_token.View()), text(raw_input_guard::LocalPart(m_element.View())),
                     static_cast<unsigned long long>(m_maxChars));
}

void RawInputGuard::RefuseUTF8(const uint8_t* chunk, size_t at, uint8_t bad) const {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string bytes;
  auto add = [&bytes](uint8_t b) {
    if (!bytes.empty()) bytes += ' ';
    bytes += kHex[b >> 4];
    bytes += kHex[b & 15];
  };
  for (unsigned k = 0; k < m_seqLen && m_seqNeed > 0; ++k) add(m_seq[k]);
  if (chunk) add(bad);
  size_t line = m_line + (chunk ? static_cast<size_t>(std::count(chunk, chunk + at, '\n')) : 0);
  throw ErrorMessage(92021, line, bytes);
}

}  // namespace qorl
