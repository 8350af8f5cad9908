// Identities of store objects: running numbers, VoidID, qualified names and
// the name-index key. Type numbers live in model/typeids.h, the cross-store
// GUID in platform/guid.h.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>

#include "model/typeids.h"
#include "platform/guid.h"
#include "platform/vxstring.h"

namespace qorl {

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
template <> struct std::hash<qorl::TypeIDQName> {
  size_t operator()(const qorl::TypeIDQName& k) const noexcept { return qorl::TypeIDQNameHash()(k); }
};
