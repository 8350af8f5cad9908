// Text form and generation of the 16-byte upgrade identifiers (the "uid" of
// documents): 36 lower-case hex characters in groups 8-4-4-4-12.
#pragma once

#include <array>
#include <cstdint>
#include <functional>

#include "platform/vxstring.h"

namespace qorl {

// A GUID of 16 bytes when set, empty otherwise. Kept inline (no heap) because
// every object carries one.
class VXUpgradeID {
 public:
  VXUpgradeID() = default;
  explicit VXUpgradeID(const ByteVector& b) { assign(b.data(), b.size()); }
  size_t size() const { return m_set ? 16 : 0; }
  bool empty() const { return !m_set; }
  void clear() { m_set = false; m_bytes.fill(0); }
  const uint8_t* data() const { return m_bytes.data(); }
  uint8_t* data() { return m_bytes.data(); }
  const uint8_t* begin() const { return m_bytes.data(); }
  const uint8_t* end() const { return m_bytes.data() + size(); }
  uint8_t operator[](size_t i) const { return m_bytes[i]; }
  // Anything but 16 bytes leaves the identifier empty.
  void assign(const uint8_t* p, size_t n);
  ByteVector ToByteVector() const { return ByteVector(begin(), end()); }
  friend bool operator==(const VXUpgradeID& a, const VXUpgradeID& b) { return a.m_set == b.m_set && a.m_bytes == b.m_bytes; }
  friend bool operator<(const VXUpgradeID& a, const VXUpgradeID& b) {
    if (a.m_set != b.m_set) return !a.m_set;
    return a.m_bytes < b.m_bytes;
  }
  size_t Hash() const;

 private:
  std::array<uint8_t, 16> m_bytes{};
  bool m_set = false;
};


namespace TKSGUIDGenerator {

// Empty text for an empty identifier.
VXString ByteVectorToGUIDString(const VXUpgradeID& id);
// Accepts either case, with or without surrounding braces. Bad text clears id
// and gives false.
bool VXStringToGUIDByteVector(VXUpgradeID& id, const VXString& text);
bool IsGUIDByteVectorInitialized(const VXUpgradeID& id);
// A random version-4 identifier.
void GetNextGUIDByteVector(VXUpgradeID& id);
// The loader's quick test: at least ten characters and '-' as the ninth.
bool LooksLikeGUIDText(const VXString& text);

}  // namespace TKSGUIDGenerator
}  // namespace qorl

template <> struct std::hash<qorl::VXUpgradeID> {
  size_t operator()(const qorl::VXUpgradeID& v) const noexcept { return v.Hash(); }
};
