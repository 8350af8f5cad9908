// Checks on a document's bytes as the XML parser reads them, before it decodes
// them, for what the parser would otherwise pay for in full or report badly:
//
// - Attribute values. The parser gathers each value whole, as UTF-16 in a
//   buffer that doubles as it grows, before any handler sees the element: a
//   value of 100 MiB costs over a gigabyte before the load's own length check
//   could refuse it. The guard follows just enough of the syntax to know where
//   values are and refuses one as soon as it has counted more characters than
//   the limit, while the parser holds little more than the limit.
// - Invalid UTF-8. The parser decodes ahead of where it parses and reports a
//   bad byte at the line it had reached, often far above the byte.
// - NUL characters. The parser takes one for the end of the input.
// Each refusal names the line where the problem is.
//
// Characters are counted from below, so that whatever the guard refuses the
// load would refuse too: a character outside the Basic Multilingual Plane
// counts one (UTF-16 needs two), a reference one however long its expansion
// (its first 16 characters are free: only references padded with absurd runs
// of leading zeros count more), CR LF one, as the parser normalises it. Values
// the guard lets through are still checked exactly when their element starts.
//
// The encoding is found the way the parser finds it: a byte order mark or the
// first four bytes tell UTF-16 and UCS-4 in either byte order from the
// ASCII-compatible encodings, and of those, UTF-8 is the one the XML
// declaration names or the one it implies by naming none. EBCDIC documents
// are left to the parser.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace qorl {

class RawInputGuard {
 public:
  enum class Units { kDetect, kUTF16HostOrder };

  RawInputGuard(size_t maxAttributeChars, Units units);

  // The next bytes of the document, in order; n == 0 at the end. Throws
  // ErrorMessage: 92019 for a long attribute value (the line where it starts,
  // the attribute, its element), 92021 for invalid UTF-8, 92022 for a NUL.
  void Feed(const uint8_t* bytes, size_t n);

 private:
  enum class State { kContent, kLt, kBang, kComment, kCData, kPI, kDecl, kEndTag, kStartTag, kAttValue };

  // The first bytes, until the encoding is known; true once it is.
  bool TakeHead(const uint8_t* bytes, size_t n, bool end);
  void Scan(const uint8_t* bytes, size_t n);
  void CheckUTF8(const uint8_t* bytes, size_t n);
  // One character of the document (a code unit of its encoding).
  void Step(uint32_t c);
  // The fast path for one-byte encodings inside a value; returns bytes consumed.
  size_t ScanValueBytes(const uint8_t* bytes, size_t n);
  void Count(size_t chars);
  void AddNameChar(uint32_t c) { AddNameChars(&c, 1); }
  template <class Unit>
  void AddNameChars(const Unit* units, size_t n);
  [[noreturn]] void RefuseAttribute() const;
  [[noreturn]] void RefuseUTF8(const uint8_t* chunk, size_t at, uint8_t bad) const;

  size_t m_maxChars;
  // Encoding: unit width and order, whether UTF-8 is checked, whether the
  // guard looks at all.
  bool m_known = false;
  bool m_off = false;
  bool m_utf8 = false;
  unsigned m_width = 1;
  bool m_bigEndian = false;
  std::string m_head;
  // Bytes not yet making a whole unit.
  uint8_t m_pending[4] = {};
  unsigned m_pendingCount = 0;
  // The UTF-8 sequence being read: its bytes so far, how many more it needs,
  // the range of its next byte.
  uint8_t m_seq[4] = {};
  unsigned m_seqLen = 0, m_seqNeed = 0;
  uint8_t m_nextLo = 0x80, m_nextHi = 0xBF;

  State m_state = State::kContent;
  size_t m_line = 1;
  uint32_t m_prev = 0, m_prev2 = 0;
  // "--" or "[CDATA[" after "<!".
  std::u32string m_match;
  // Inside a declaration (DOCTYPE): bracket depth and open quote.
  int m_declDepth = 0;
  uint32_t m_declQuote = 0;

  // A name as read, cut where the store cuts names.
  struct Name {
    static constexpr size_t kMax = 255;
    char32_t chars[kMax];
    size_t size = 0;
    std::u32string_view View() const { return {chars, size}; }
  };
  // The start tag being read: the element's name, the last name token (the
  // attribute's), whether each has ended.
  Name m_element, m_token;
  bool m_elementDone = false, m_tokenDone = true;
  // The value being read.
  uint32_t m_quote = 0;
  size_t m_valueLine = 0;
  size_t m_chars = 0;
  size_t m_refChars = 0;
  bool m_inRef = false;
};

}  // namespace qorl
