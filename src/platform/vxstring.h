// VXString: the string of the whole layer. UTF-32 code points in a shared,
// reference-counted buffer, so that passing strings by value (as every
// fragment function does) costs one atomic increment, not a copy. Text is
// encoded only where it leaves the layer: UTF-8 for files, UTF-16 (XMLCh)
// for Xerces.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace qorl {

class VXString {
 public:
  using value_type = char32_t;
  static constexpr size_t npos = static_cast<size_t>(-1);

  VXString() noexcept = default;
  VXString(const char* utf8) { AssignUTF8(utf8 ? std::string_view(utf8) : std::string_view()); }
  VXString(std::string_view utf8) { AssignUTF8(utf8); }
  VXString(const std::string& utf8) { AssignUTF8(utf8); }
  VXString(std::u32string_view s) { Assign(s.data(), s.size()); }
  VXString(const char32_t* s) { Assign(s, s ? std::char_traits<char32_t>::length(s) : 0); }
  VXString(const char32_t* s, size_t n) { Assign(s, n); }
  VXString(size_t n, char32_t c);
  VXString(const VXString& o) noexcept : m_rep(o.m_rep) { AddRef(); }
  VXString(VXString&& o) noexcept : m_rep(o.m_rep) { o.m_rep = nullptr; }
  ~VXString() { Release(); }
  VXString& operator=(const VXString& o) noexcept;
  VXString& operator=(VXString&& o) noexcept;

  // UTF-16 (Xerces' XMLCh is char16_t). Unpaired surrogates become U+FFFD.
  static VXString FromUTF16(const char16_t* s);
  static VXString FromUTF16(const char16_t* s, size_t n);
  static VXString FromUTF8(std::string_view s) { return VXString(s); }
  // Decimal text of a number.
  static VXString FromInt(long long v);
  static VXString FromUInt(unsigned long long v);

  size_t size() const noexcept { return m_rep ? m_rep->size : 0; }
  size_t length() const noexcept { return size(); }
  bool empty() const noexcept { return size() == 0; }
  const char32_t* data() const noexcept { return m_rep ? m_rep->chars() : kEmpty; }
  // Null-terminated, like data().
  const char32_t* c_str() const noexcept { return data(); }
  const char32_t* begin() const noexcept { return data(); }
  const char32_t* end() const noexcept { return data() + size(); }
  char32_t operator[](size_t i) const noexcept { return data()[i]; }
  char32_t front() const noexcept { return data()[0]; }
  char32_t back() const noexcept { return data()[size() - 1]; }
  operator std::u32string_view() const noexcept { return {data(), size()}; }
  std::u32string_view view() const noexcept { return {data(), size()}; }

  void clear() noexcept { Release(); m_rep = nullptr; }
  void reserve(size_t n);
  void resize(size_t n, char32_t c = U'\0');
  void push_back(char32_t c) { append(&c, 1); }
  void pop_back() { if (!empty()) resize(size() - 1); }
  void set(size_t i, char32_t c);  // writes one character (detaches a shared buffer)
  VXString& append(const char32_t* s, size_t n);
  VXString& append(const VXString& s) { return append(s.data(), s.size()); }
  VXString& append(std::u32string_view s) { return append(s.data(), s.size()); }
  VXString& appendUTF8(std::string_view s);
  VXString& operator+=(const VXString& s) { return append(s); }
  VXString& operator+=(std::u32string_view s) { return append(s); }
  VXString& operator+=(const char32_t* s) { return append(std::u32string_view(s)); }
  VXString& operator+=(char32_t c) { push_back(c); return *this; }
  VXString& operator+=(char c) { push_back(static_cast<unsigned char>(c)); return *this; }
  VXString& operator+=(const char* utf8) { return appendUTF8(utf8); }
  VXString& operator+=(std::string_view utf8) { return appendUTF8(utf8); }

  VXString substr(size_t pos, size_t n = npos) const;
  size_t find(char32_t c, size_t pos = 0) const noexcept;
  size_t find(std::u32string_view s, size_t pos = 0) const noexcept;
  size_t find(const VXString& s, size_t pos = 0) const noexcept { return find(s.view(), pos); }
  size_t find(const char32_t* s, size_t pos = 0) const noexcept { return find(std::u32string_view(s), pos); }
  size_t find(const char* utf8, size_t pos = 0) const { return find(VXString(utf8), pos); }
  size_t rfind(char32_t c, size_t pos = npos) const noexcept;
  bool starts_with(std::u32string_view s) const noexcept { return view().starts_with(s); }
  bool ends_with(std::u32string_view s) const noexcept { return view().ends_with(s); }
  bool starts_with(const char* ascii) const;
  int compare(const VXString& o) const noexcept { return view().compare(o.view()); }
  // Equal without regard to case in the ASCII range.
  bool EqualsNoCase(std::u32string_view o) const noexcept;
  bool EqualsNoCase(const char* ascii) const;
  bool IsASCII() const noexcept;

  std::string ToUTF8() const;
  void AppendUTF8To(std::string& out) const;
  std::u16string ToUTF16() const;
  size_t Hash() const noexcept;
  long RefCount() const noexcept { return m_rep ? static_cast<long>(m_rep->refs.load()) : 0; }

  friend bool operator==(const VXString& a, const VXString& b) noexcept {
    return a.m_rep == b.m_rep || a.view() == b.view();
  }
  friend bool operator==(const VXString& a, const char* b) { return a.EqualsUTF8(b); }
  friend bool operator==(const VXString& a, std::u32string_view b) noexcept { return a.view() == b; }
  friend bool operator==(const VXString& a, const char32_t* b) noexcept { return a.view() == std::u32string_view(b); }
  friend std::strong_ordering operator<=>(const VXString& a, const VXString& b) noexcept {
    return a.view() <=> b.view();
  }

 private:
  struct Rep {
    std::atomic<uint32_t> refs;
    uint32_t size;
    uint32_t cap;
    char32_t* chars() noexcept { return reinterpret_cast<char32_t*>(this + 1); }
    const char32_t* chars() const noexcept { return reinterpret_cast<const char32_t*>(this + 1); }
  };
  static const char32_t kEmpty[1];
  static Rep* Allocate(size_t cap);
  void AddRef() const noexcept { if (m_rep) m_rep->refs.fetch_add(1, std::memory_order_relaxed); }
  void Release() noexcept;
  void Assign(const char32_t* s, size_t n);
  void AssignUTF8(std::string_view s);
  // Makes the buffer unshared with room for `cap` characters.
  char32_t* MakeUnique(size_t cap);
  bool EqualsUTF8(const char* s) const;

  Rep* m_rep = nullptr;
};

VXString operator+(const VXString& a, const VXString& b);
VXString operator+(const VXString& a, const char* b);
VXString operator+(const char* a, const VXString& b);
VXString operator+(const VXString& a, char32_t b);

using VXStringVector = std::vector<VXString>;
using ByteVector = std::vector<uint8_t>;

// UTF-8 helpers used where text leaves the layer.
std::string ToUTF8(std::u32string_view s);
void AppendUTF8(std::string& out, std::u32string_view s);
void AppendUTF8(std::string& out, char32_t c);

}  // namespace qorl

template <>
struct std::hash<qorl::VXString> {
  size_t operator()(const qorl::VXString& s) const noexcept { return s.Hash(); }
};
