#include "platform/vxstring.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace qorl {

const char32_t VXString::kEmpty[1] = {U'\0'};

VXString::Rep* VXString::Allocate(size_t cap) {
  if (cap > 0xFFFFFFF0u) throw std::length_error("VXString too long");
  void* p = std::malloc(sizeof(Rep) + (cap + 1) * sizeof(char32_t));
  if (!p) throw std::bad_alloc();
  Rep* r = new (p) Rep;
  r->refs.store(1, std::memory_order_relaxed);
  r->size = 0;
  r->cap = static_cast<uint32_t>(cap);
  r->chars()[0] = U'\0';
  return r;
}

void VXString::Release() noexcept {
  if (m_rep && m_rep->refs.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    m_rep->~Rep();
    std::free(m_rep);
  }
}

VXString& VXString::operator=(const VXString& o) noexcept {
  if (m_rep != o.m_rep) {
    o.AddRef();
    Release();
    m_rep = o.m_rep;
  }
  return *this;
}

VXString& VXString::operator=(VXString&& o) noexcept {
  if (this != &o) {
    Release();
    m_rep = o.m_rep;
    o.m_rep = nullptr;
  }
  return *this;
}

VXString::VXString(size_t n, char32_t c) {
  if (!n) return;
  m_rep = Allocate(n);
  std::fill_n(m_rep->chars(), n, c);
  m_rep->size = static_cast<uint32_t>(n);
  m_rep->chars()[n] = U'\0';
}

void VXString::Assign(const char32_t* s, size_t n) {
  if (!n) return;
  m_rep = Allocate(n);
  std::memcpy(m_rep->chars(), s, n * sizeof(char32_t));
  m_rep->size = static_cast<uint32_t>(n);
  m_rep->chars()[n] = U'\0';
}

char32_t* VXString::MakeUnique(size_t cap) {
  if (m_rep && m_rep->refs.load(std::memory_order_acquire) == 1 && m_rep->cap >= cap) return m_rep->chars();
  size_t old = size();
  size_t newCap = std::max(cap, old);
  if (m_rep && newCap > m_rep->cap) newCap = std::max(newCap, static_cast<size_t>(m_rep->cap) * 2);
  Rep* r = Allocate(newCap);
  if (old) std::memcpy(r->chars(), data(), old * sizeof(char32_t));
  r->size = static_cast<uint32_t>(old);
  r->chars()[old] = U'\0';
  Release();
  m_rep = r;
  return r->chars();
}

void VXString::reserve(size_t n) {
  if (n > size()) MakeUnique(n);
}

void VXString::resize(size_t n, char32_t c) {
  size_t old = size();
  if (n == old) return;
  if (n == 0) { clear(); return; }
  char32_t* p = MakeUnique(n);
  if (n > old) std::fill(p + old, p + n, c);
  m_rep->size = static_cast<uint32_t>(n);
  p[n] = U'\0';
}

void VXString::set(size_t i, char32_t c) {
  char32_t* p = MakeUnique(size());
  p[i] = c;
}

VXString& VXString::append(const char32_t* s, size_t n) {
  if (!n) return *this;
  if (!m_rep) { Assign(s, n); return *this; }
  size_t old = size();
  // `s` may point into our own buffer; keep it alive across reallocation.
  VXString keep;
  if (s >= data() && s < data() + old) keep = *this;
  char32_t* p = MakeUnique(old + n);
  std::memmove(p + old, s, n * sizeof(char32_t));
  m_rep->size = static_cast<uint32_t>(old + n);
  p[old + n] = U'\0';
  return *this;
}

// Decodes UTF-8; an invalid sequence gives U+FFFD for its first byte.
static size_t DecodeUTF8(std::string_view s, char32_t* out) {
  const unsigned char* p = reinterpret_cast<const unsigned char*>(s.data());
  const unsigned char* e = p + s.size();
  char32_t* o = out;
  while (p < e) {
    unsigned char c = *p;
    if (c < 0x80) { *o++ = c; ++p; continue; }
    int len = (c >= 0xF0 && c < 0xF8) ? 4 : (c >= 0xE0) ? 3 : (c >= 0xC2 && c < 0xE0) ? 2 : 0;
    if (len == 0 || p + len > e) { *o++ = 0xFFFD; ++p; continue; }
    char32_t cp = c & (0x7F >> len);
    bool ok = true;
    for (int i = 1; i < len; ++i) {
      if ((p[i] & 0xC0) != 0x80) { ok = false; break; }
      cp = (cp << 6) | (p[i] & 0x3F);
    }
    if (!ok || (len == 3 && cp < 0x800) || (len == 4 && (cp < 0x10000 || cp > 0x10FFFF)) ||
        (cp >= 0xD800 && cp <= 0xDFFF)) {
      *o++ = 0xFFFD; ++p; continue;
    }
    *o++ = cp;
    p += len;
  }
  return static_cast<size_t>(o - out);
}

void VXString::AssignUTF8(std::string_view s) {
  if (s.empty()) return;
  m_rep = Allocate(s.size());
  size_t n = DecodeUTF8(s, m_rep->chars());
  m_rep->size = static_cast<uint32_t>(n);
  m_rep->chars()[n] = U'\0';
}

VXString& VXString::appendUTF8(std::string_view s) {
  if (s.empty()) return *this;
  size_t old = size();
  char32_t* p = MakeUnique(old + s.size());
  size_t n = DecodeUTF8(s, p + old);
  m_rep->size = static_cast<uint32_t>(old + n);
  p[old + n] = U'\0';
  return *this;
}

VXString VXString::FromUTF16(const char16_t* s) {
  return s ? FromUTF16(s, std::char_traits<char16_t>::length(s)) : VXString();
}

VXString VXString::FromUTF16(const char16_t* s, size_t n) {
  VXString r;
  if (!n) return r;
  r.m_rep = Allocate(n);
  char32_t* o = r.m_rep->chars();
  size_t k = 0;
  for (size_t i = 0; i < n; ++i) {
    char32_t c = s[i];
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < n && s[i + 1] >= 0xDC00 && s[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (s[i + 1] - 0xDC00);
      ++i;
    } else if (c >= 0xD800 && c <= 0xDFFF) {
      c = 0xFFFD;
    }
    o[k++] = c;
  }
  r.m_rep->size = static_cast<uint32_t>(k);
  o[k] = U'\0';
  return r;
}

VXString VXString::FromInt(long long v) { return VXString(std::to_string(v)); }
VXString VXString::FromUInt(unsigned long long v) { return VXString(std::to_string(v)); }

VXString VXString::substr(size_t pos, size_t n) const {
  size_t sz = size();
  if (pos >= sz) return VXString();
  n = std::min(n, sz - pos);
  if (pos == 0 && n == sz) return *this;
  return VXString(data() + pos, n);
}

size_t VXString::find(char32_t c, size_t pos) const noexcept { return view().find(c, pos); }
size_t VXString::find(std::u32string_view s, size_t pos) const noexcept { return view().find(s, pos); }
size_t VXString::rfind(char32_t c, size_t pos) const noexcept { return view().rfind(c, pos); }

bool VXString::starts_with(const char* ascii) const {
  size_t n = std::strlen(ascii);
  if (n > size()) return false;
  for (size_t i = 0; i < n; ++i)
    if (data()[i] != static_cast<unsigned char>(ascii[i])) return false;
  return true;
}

static inline char32_t LowerASCII(char32_t c) { return (c >= 'A' && c <= 'Z') ? c + 32 : c; }

bool VXString::EqualsNoCase(std::u32string_view o) const noexcept {
  if (o.size() != size()) return false;
  for (size_t i = 0; i < o.size(); ++i)
    if (LowerASCII(data()[i]) != LowerASCII(o[i])) return false;
  return true;
}

bool VXString::EqualsNoCase(const char* ascii) const { return EqualsNoCase(VXString(ascii).view()); }

bool VXString::IsASCII() const noexcept {
  for (char32_t c : *this)
    if (c >= 0x80) return false;
  return true;
}

bool VXString::EqualsUTF8(const char* s) const {
  if (!s) return empty();
  const char32_t* d = data();
  size_t n = size(), i = 0;
  // ASCII fast path; fall back to decoding on the first non-ASCII byte.
  for (; s[i] && static_cast<unsigned char>(s[i]) < 0x80; ++i)
    if (i >= n || d[i] != static_cast<unsigned char>(s[i])) return false;
  if (!s[i]) return i == n;
  return view() == VXString(s).view();
}

void AppendUTF8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out.push_back(static_cast<char>(c));
  } else if (c < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (c >> 6)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else if (c < 0x10000) {
    if (c >= 0xD800 && c <= 0xDFFF) c = 0xFFFD;
    out.push_back(static_cast<char>(0xE0 | (c >> 12)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else if (c <= 0x10FFFF) {
    out.push_back(static_cast<char>(0xF0 | (c >> 18)));
    out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else {
    AppendUTF8(out, 0xFFFD);
  }
}

void AppendUTF8(std::string& out, std::u32string_view s) {
  size_t i = 0, n = s.size();
  // Most document text is ASCII: copy runs of it without per-character branching.
  while (i < n) {
    size_t j = i;
    while (j < n && s[j] < 0x80) ++j;
    if (j > i) {
      size_t base = out.size();
      out.resize(base + (j - i));
      char* o = out.data() + base;
      for (size_t k = i; k < j; ++k) *o++ = static_cast<char>(s[k]);
      i = j;
    }
    if (i < n) AppendUTF8(out, s[i++]);
  }
}

std::string ToUTF8(std::u32string_view s) {
  std::string out;
  out.reserve(s.size());
  AppendUTF8(out, s);
  return out;
}

std::string VXString::ToUTF8() const { return qorl::ToUTF8(view()); }
void VXString::AppendUTF8To(std::string& out) const { AppendUTF8(out, view()); }

std::u16string VXString::ToUTF16() const {
  std::u16string out;
  out.reserve(size());
  for (char32_t c : *this) {
    if (c < 0x10000) {
      out.push_back(static_cast<char16_t>(c));
    } else if (c <= 0x10FFFF) {
      c -= 0x10000;
      out.push_back(static_cast<char16_t>(0xD800 + (c >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
    } else {
      out.push_back(u'\uFFFD');
    }
  }
  return out;
}

size_t VXString::Hash() const noexcept {
  // FNV-1a over the code points.
  uint64_t h = 1469598103934665603ull;
  for (char32_t c : *this) {
    h ^= c;
    h *= 1099511628211ull;
  }
  return static_cast<size_t>(h);
}

VXString operator+(const VXString& a, const VXString& b) {
  VXString r;
  r.reserve(a.size() + b.size());
  r.append(a);
  r.append(b);
  return r;
}
VXString operator+(const VXString& a, const char* b) { VXString r(a); r.appendUTF8(b); return r; }
VXString operator+(const char* a, const VXString& b) { VXString r(a); r.append(b); return r; }
VXString operator+(const VXString& a, char32_t b) { VXString r(a); r.push_back(b); return r; }

}  // namespace qorl
