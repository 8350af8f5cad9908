// Identities of store objects: type numbers, running numbers, VoidID, the
// cross-store GUID (VXUpgradeID), qualified names and the name-index key.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>

#include "qorl/vxstring.h"

namespace qorl {

using TypeID = int32_t;
using TypeIDVector = std::vector<TypeID>;
using uint16 = uint16_t;
using uint32 = uint32_t;

// Type numbers. Store classes take theirs from classes.def.
enum : TypeID {
  kTIDUnknown = 0,
  kTIDUInt8 = 1,
  kTIDVoidID = 20,
  kNumBuiltInTypes = 21,
  kTIDRpObject = 502,
  kTIDAUnknownObject = 503,
  kTIDUnknownObject = 504,
  kTIDRelID = 1000,
  kTIDExtensionArchive = 1008,
  kTIDFirstExternalRepositoryTypeID = 1500,
  kTIDColumn = 3004,
  kTIDAShortCut = 2039,
  kTIDInitBlock = 3034,
  kTIDSessionVariableBlock = 3034,
  kBeginLogicalTypes = 2000, kEndLogicalTypes = 2060,
  kBeginPhysicalTypes = 3000, kEndPhysicalTypes = 3066,
  kBeginMappingTypes = 3900, kEndMappingTypes = 3908,
  kBeginPresentationTypes = 4000, kEndPresentationTypes = 4032,
  kBeginSecurityTypes = 4200, kEndSecurityTypes = 4219,
  // Elements that carry no store object of their own.
  kTIDColMapping = 1,
  kTIDSetPermission = 4220,
#define QORL_CLASS(C, B, N, K) kTID##C = N,
#include "store/classes.def"
#undef QORL_CLASS
  kTIDAInitBlock = 3033,
};

class UniqueNum {
 public:
  static constexpr uint32_t kUndefined = 0xFFFFFFFFu;
  constexpr UniqueNum() = default;
  constexpr UniqueNum(uint32_t v) : m_uniqueNum(v) {}
  constexpr uint32_t GetUniqueNumVal() const { return m_uniqueNum; }
  UniqueNum& operator=(uint32_t v) { m_uniqueNum = v; return *this; }
  UniqueNum& operator++() { ++m_uniqueNum; return *this; }
  // Four bytes, little-endian: the form of repository property 16.
  ByteVector ToByteVector() const;
  void FromByteVector(const ByteVector& b);
  constexpr auto operator<=>(const UniqueNum&) const = default;

  uint32_t m_uniqueNum = kUndefined;
};

class VoidID {
 public:
  constexpr VoidID() = default;
  constexpr VoidID(TypeID t, UniqueNum n) : m_interfaceTypeID(t), m_uniqueNum(n) {}
  static const VoidID NullID;
  bool IsNullID() const { return m_interfaceTypeID == kTIDUnknown && m_uniqueNum.m_uniqueNum == UniqueNum::kUndefined; }
  TypeID GetTypeID() const { return m_interfaceTypeID; }
  // "TTTT:NNNNNNNN": four decimal digits of the type, a colon, eight hex digits of the number.
  VXString ToString() const;
  static bool StringToVoidID(const VXString& s, VoidID& out);
  static bool IsStringAVoidID(const VXString& s);
  // One integer that orders as the pair does; the key of every in-memory index.
  uint64_t Key() const { return (static_cast<uint64_t>(static_cast<uint32_t>(m_interfaceTypeID)) << 32) | m_uniqueNum.m_uniqueNum; }
  static VoidID FromKey(uint64_t k) { return VoidID(static_cast<TypeID>(k >> 32), UniqueNum(static_cast<uint32_t>(k))); }
  friend bool operator==(const VoidID& a, const VoidID& b) { return a.Key() == b.Key(); }
  friend bool operator<(const VoidID& a, const VoidID& b) {
    return a.m_interfaceTypeID != b.m_interfaceTypeID ? a.m_interfaceTypeID < b.m_interfaceTypeID : a.m_uniqueNum < b.m_uniqueNum;
  }

  TypeID m_interfaceTypeID = kTIDUnknown;
  UniqueNum m_uniqueNum;
};
using VoidIDVector = std::vector<VoidID>;

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

using QualifiedName = VXStringVector;

struct TypeIDQName {
  TypeID m_type = kTIDUnknown;
  QualifiedName m_qName;
  friend bool operator==(const TypeIDQName& a, const TypeIDQName& b) { return a.m_type == b.m_type && a.m_qName == b.m_qName; }
  // Starts from the type and multiplies by 5 before adding each character of each component.
  size_t Hash() const;
};
// The hash our maps use. TypeIDQName::Hash is the documented one, but under it
// numbered sibling names collide ("X_19" and "X_24" hash alike), so the maps
// hash every character with FNV-1a and a separator between components.
struct TypeIDQNameHash {
  size_t operator()(const TypeIDQName& k) const;
};

}  // namespace qorl

template <> struct std::hash<qorl::VoidID> {
  size_t operator()(const qorl::VoidID& v) const noexcept { return std::hash<uint64_t>()(v.Key()); }
};
template <> struct std::hash<qorl::VXUpgradeID> {
  size_t operator()(const qorl::VXUpgradeID& v) const noexcept { return v.Hash(); }
};
template <> struct std::hash<qorl::TypeIDQName> {
  size_t operator()(const qorl::TypeIDQName& k) const noexcept { return qorl::TypeIDQNameHash()(k); }
};
