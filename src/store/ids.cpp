#include "store/ids.h"

#include <cstdio>

#include "platform/datablob.h"

namespace qorl {

const VoidID VoidID::NullID{};

ByteVector UniqueNum::ToByteVector() const {
  ByteVector b(4);
  for (int i = 0; i < 4; ++i) b[i] = static_cast<uint8_t>(m_uniqueNum >> (8 * i));
  return b;
}

void UniqueNum::FromByteVector(const ByteVector& b) {
  uint32_t v = 0;
  for (size_t i = 0; i < 4 && i < b.size(); ++i) v |= static_cast<uint32_t>(b[i]) << (8 * i);
  m_uniqueNum = b.size() >= 4 ? v : kUndefined;
}

VXString VoidID::ToString() const {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%04d:%08x", static_cast<int>(m_interfaceTypeID), m_uniqueNum.m_uniqueNum);
  return VXString(buf);
}

bool VoidID::StringToVoidID(const VXString& s, VoidID& out) {
  size_t colon = s.find(U':');
  if (colon == VXString::npos || colon < 4 || colon > 10 || s.size() != colon + 9) return false;
  long long t = 0;
  size_t i = 0;
  bool neg = s[0] == '-';
  if (neg) i = 1;
  if (i == colon) return false;
  for (; i < colon; ++i) {
    if (s[i] < '0' || s[i] > '9') return false;
    t = t * 10 + (s[i] - '0');
  }
  uint32_t n = 0;
  for (size_t k = colon + 1; k < s.size(); ++k) {
    int h = DataBlobUtil::HexDigitValue(s[k]);
    if (h < 0) return false;
    n = (n << 4) | static_cast<uint32_t>(h);
  }
  out = VoidID(static_cast<TypeID>(neg ? -t : t), UniqueNum(n));
  return true;
}

bool VoidID::IsStringAVoidID(const VXString& s) {
  VoidID v;
  return StringToVoidID(s, v);
}

size_t TypeIDQName::Hash() const {
  uint32_t h = static_cast<uint32_t>(m_type);
  for (const VXString& c : m_qName)
    for (char32_t ch : c) h = h * 5 + static_cast<uint32_t>(ch);
  return h;
}

size_t TypeIDQNameHash::operator()(const TypeIDQName& k) const {
  uint64_t h = 1469598103934665603ull ^ static_cast<uint32_t>(k.m_type);
  for (const VXString& c : k.m_qName) {
    for (char32_t ch : c) {
      h ^= ch;
      h *= 1099511628211ull;
    }
    h ^= 0x2E;  // between components
    h *= 1099511628211ull;
  }
  return static_cast<size_t>(h ^ (h >> 29));
}

}  // namespace qorl
