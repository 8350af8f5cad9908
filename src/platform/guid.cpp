#include "platform/guid.h"

#include "platform/datablob.h"

#include <openssl/rand.h>

#include <random>

#include <cstring>

namespace qorl {

void VXUpgradeID::assign(const uint8_t* p, size_t n) {
  if (n != 16) { clear(); return; }
  std::memcpy(m_bytes.data(), p, 16);
  m_set = true;
}

size_t VXUpgradeID::Hash() const {
  uint64_t a, b;
  std::memcpy(&a, m_bytes.data(), 8);
  std::memcpy(&b, m_bytes.data() + 8, 8);
  return static_cast<size_t>(a ^ (b * 0x9E3779B97F4A7C15ull) ^ m_set);
}

namespace TKSGUIDGenerator {

namespace {

constexpr size_t kGUIDTextLength = 36;

inline bool IsHyphenPosition(size_t i) { return i == 8 || i == 13 || i == 18 || i == 23; }

}  // namespace

VXString ByteVectorToGUIDString(const VXUpgradeID& id) {
  if (id.empty()) return VXString();
  static constexpr char kHex[] = "0123456789abcdef";
  char32_t buf[kGUIDTextLength];
  size_t o = 0;
  for (size_t i = 0; i < 16; ++i) {
    if (o == 8 || o == 13 || o == 18 || o == 23) buf[o++] = U'-';
    buf[o++] = static_cast<char32_t>(kHex[id[i] >> 4]);
    buf[o++] = static_cast<char32_t>(kHex[id[i] & 0x0F]);
  }
  return VXString(buf, kGUIDTextLength);
}

bool VXStringToGUIDByteVector(VXUpgradeID& id, const VXString& text) {
  id.clear();
  std::u32string_view s = text.view();
  if (s.size() == kGUIDTextLength + 2 && s.front() == U'{' && s.back() == U'}') s = s.substr(1, kGUIDTextLength);
  if (s.size() != kGUIDTextLength) return false;
  uint8_t bytes[16];
  size_t b = 0;
  for (size_t i = 0; i < kGUIDTextLength;) {
    if (IsHyphenPosition(i)) {
      if (s[i] != U'-') return false;
      ++i;
      continue;
    }
    int hi = DataBlobUtil::HexDigitValue(s[i]);
    int lo = DataBlobUtil::HexDigitValue(s[i + 1]);
    if (hi < 0 || lo < 0) return false;
    bytes[b++] = static_cast<uint8_t>((hi << 4) | lo);
    i += 2;
  }
  id.assign(bytes, sizeof bytes);
  return true;
}

bool IsGUIDByteVectorInitialized(const VXUpgradeID& id) { return !id.empty(); }

void GetNextGUIDByteVector(VXUpgradeID& id) {
  uint8_t bytes[16];
  if (RAND_bytes(bytes, sizeof bytes) != 1) {
    // The OpenSSL generator failing is nearly unheard of; an identifier from
    // the system's entropy source is still unique enough for a uid.
    std::random_device rd;
    for (uint8_t& x : bytes) x = static_cast<uint8_t>(rd());
  }
  bytes[6] = static_cast<uint8_t>((bytes[6] & 0x0F) | 0x40);  // version 4
  bytes[8] = static_cast<uint8_t>((bytes[8] & 0x3F) | 0x80);  // RFC 4122 variant
  id.assign(bytes, sizeof bytes);
}

bool LooksLikeGUIDText(const VXString& text) { return text.size() >= 10 && text[8] == U'-'; }

}  // namespace TKSGUIDGenerator
}  // namespace qorl
