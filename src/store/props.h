// Property tables. A class lists its data members once, as rows made by
// QORL_PROP; the row carries the functions that store, load, copy and compare
// the member, so persistence and copying between stores need no per-class
// code. Include this only in the .cpp that defines a class's table.
//
//   std::span<const PropDesc> ATable::OwnProperties() {
//     static const PropDesc props[] = {
//         QORL_PROP(ATable, m_rowCount, 1, "rowCount"),
//     };
//     return props;
//   }
#pragma once

#include <map>
#include <string>
#include <type_traits>
#include <utility>

#include "model/datatypes.h"
#include "platform/datetime.h"
#include "store/expr.h"
#include "store/object.h"

namespace qorl {

class BlobWriter {
 public:
  explicit BlobWriter(ByteVector& out) : m_out(out) {}
  void PutByte(uint8_t b) { m_out.push_back(b); }
  void PutVarint(uint64_t v) {
    while (v >= 0x80) { m_out.push_back(static_cast<uint8_t>(v | 0x80)); v >>= 7; }
    m_out.push_back(static_cast<uint8_t>(v));
  }
  void PutSigned(int64_t v) { PutVarint((static_cast<uint64_t>(v) << 1) ^ static_cast<uint64_t>(v >> 63)); }
  void PutRaw(const void* p, size_t n) {
    const uint8_t* b = static_cast<const uint8_t*>(p);
    m_out.insert(m_out.end(), b, b + n);
  }
  void PutBytes(const uint8_t* p, size_t n) { PutVarint(n); PutRaw(p, n); }
  void PutString(const VXString& s);
  size_t Size() const { return m_out.size(); }
  ByteVector& Buffer() { return m_out; }

 private:
  ByteVector& m_out;
};

// Reads what BlobWriter wrote. A read past the end sets the failure flag and
// yields zeros, so a damaged blob is detected once, at the end.
class BlobReader {
 public:
  BlobReader(const uint8_t* p, const uint8_t* end) : m_p(p), m_end(end) {}
  uint8_t GetByte() { if (m_p >= m_end) { m_failed = true; return 0; } return *m_p++; }
  uint64_t GetVarint();
  int64_t GetSigned() { uint64_t v = GetVarint(); return static_cast<int64_t>((v >> 1) ^ (~(v & 1) + 1)); }
  bool GetRaw(void* out, size_t n);
  VXString GetString();
  ByteVector GetBytes();
  const uint8_t* Skip(size_t n);
  bool AtEnd() const { return m_p >= m_end; }
  bool Failed() const { return m_failed; }
  void Fail() { m_failed = true; }
  const uint8_t* Pos() const { return m_p; }
  const uint8_t* End() const { return m_end; }
  void SetPos(const uint8_t* p) { m_p = p; }

 private:
  const uint8_t* m_p;
  const uint8_t* m_end;
  bool m_failed = false;
};

// How a member type is stored. Specialise for new member types.
template <class T, class Enable = void>
struct PropCodec;

template <class T>
struct PropCodec<T, std::enable_if_t<std::is_integral_v<T> || std::is_enum_v<T>>> {
  static constexpr PropKind kind = std::is_same_v<T, bool> ? PropKind::Bool
                                   : std::is_enum_v<T>     ? PropKind::Int
                                   : std::is_signed_v<T>   ? (sizeof(T) > 4 ? PropKind::Int64 : PropKind::Int)
                                                           : PropKind::UInt;
  static void Save(BlobWriter& w, const T& v) {
    if constexpr (std::is_enum_v<T>) w.PutSigned(static_cast<int64_t>(v));
    else if constexpr (std::is_signed_v<T>) w.PutSigned(v);
    else w.PutVarint(static_cast<uint64_t>(v));
  }
  static void Load(BlobReader& r, T& v) {
    if constexpr (std::is_enum_v<T> || std::is_signed_v<T>) v = static_cast<T>(r.GetSigned());
    else v = static_cast<T>(r.GetVarint());
  }
};
template <> struct PropCodec<double> {
  static constexpr PropKind kind = PropKind::Double;
  static void Save(BlobWriter& w, const double& v) { w.PutRaw(&v, sizeof v); }
  static void Load(BlobReader& r, double& v) { if (!r.GetRaw(&v, sizeof v)) v = 0; }
};
template <> struct PropCodec<VXString> {
  static constexpr PropKind kind = PropKind::String;
  static void Save(BlobWriter& w, const VXString& v) { w.PutString(v); }
  static void Load(BlobReader& r, VXString& v) { v = r.GetString(); }
};
template <> struct PropCodec<ByteVector> {
  static constexpr PropKind kind = PropKind::Bytes;
  static void Save(BlobWriter& w, const ByteVector& v) { w.PutBytes(v.data(), v.size()); }
  static void Load(BlobReader& r, ByteVector& v) { v = r.GetBytes(); }
};
template <> struct PropCodec<VoidID> {
  static constexpr PropKind kind = PropKind::ID;
  static void Save(BlobWriter& w, const VoidID& v) { w.PutSigned(v.m_interfaceTypeID); w.PutVarint(v.m_uniqueNum.m_uniqueNum); }
  static void Load(BlobReader& r, VoidID& v) {
    v.m_interfaceTypeID = static_cast<TypeID>(r.GetSigned());
    v.m_uniqueNum = static_cast<uint32_t>(r.GetVarint());
  }
};
template <> struct PropCodec<VXUpgradeID> {
  static constexpr PropKind kind = PropKind::UID;
  static void Save(BlobWriter& w, const VXUpgradeID& v) {
    w.PutByte(v.empty() ? 0 : 1);
    if (!v.empty()) w.PutRaw(v.data(), 16);
  }
  static void Load(BlobReader& r, VXUpgradeID& v) {
    v.clear();
    if (r.GetByte()) { uint8_t b[16]; if (r.GetRaw(b, 16)) v.assign(b, 16); }
  }
};
template <> struct PropCodec<Expr> {
  static constexpr PropKind kind = PropKind::Expr;
  static void Save(BlobWriter& w, const Expr& v) {
    ByteVector b;
    v.Encode(b);
    w.PutBytes(b.data(), b.size());
  }
  static void Load(BlobReader& r, Expr& v) {
    uint64_t n = r.GetVarint();
    const uint8_t* p = r.Skip(n);
    v.Clear();
    if (p && !v.Decode(p, p + n)) r.Fail();
  }
};
template <> struct PropCodec<VXTypeInfo> {
  static constexpr PropKind kind = PropKind::Custom;
  static void Save(BlobWriter& w, const VXTypeInfo& v) {
    w.PutSigned(v.precision);
    w.PutSigned(v.scale);
    w.PutVarint(static_cast<uint64_t>(v.dataType));
    w.PutByte(v.nullable ? 1 : 0);
  }
  static void Load(BlobReader& r, VXTypeInfo& v) {
    v.precision = static_cast<int32_t>(r.GetSigned());
    v.scale = static_cast<int16_t>(r.GetSigned());
    v.dataType = static_cast<VXDataType>(r.GetVarint());
    v.nullable = r.GetByte() != 0;
  }
};
template <> struct PropCodec<VXDateTime> {
  static constexpr PropKind kind = PropKind::Custom;
  // As its text: "yyyy-mm-dd hh:mi:ss", empty for no date.
  static void Save(BlobWriter& w, const VXDateTime& v) { w.PutString(TimeStampMeta().ToText(v)); }
  static void Load(BlobReader& r, VXDateTime& v) {
    VXString t = r.GetString();
    v = VXDateTime();
    if (!t.empty()) TimeStampMeta().TryConvert(t, v);
  }
};
template <class E>
struct PropCodec<std::vector<E>, std::enable_if_t<!std::is_same_v<E, uint8_t>>> {
  static constexpr PropKind kind = std::is_same_v<E, VXString> ? PropKind::Strings
                                   : std::is_same_v<E, VoidID> ? PropKind::IDs
                                                               : PropKind::Custom;
  static void Save(BlobWriter& w, const std::vector<E>& v) {
    w.PutVarint(v.size());
    for (const E& e : v) PropCodec<E>::Save(w, e);
  }
  static void Load(BlobReader& r, std::vector<E>& v) {
    v.clear();
    uint64_t n = r.GetVarint();
    for (uint64_t i = 0; i < n && !r.Failed(); ++i) { E e{}; PropCodec<E>::Load(r, e); v.push_back(std::move(e)); }
  }
};
template <class K, class V>
struct PropCodec<std::map<K, V>> {
  static constexpr PropKind kind = (std::is_integral_v<K> && std::is_same_v<V, VXString>) ? PropKind::IntStrings : PropKind::Custom;
  static void Save(BlobWriter& w, const std::map<K, V>& m) {
    w.PutVarint(m.size());
    for (const auto& [k, v] : m) { PropCodec<K>::Save(w, k); PropCodec<V>::Save(w, v); }
  }
  static void Load(BlobReader& r, std::map<K, V>& m) {
    m.clear();
    uint64_t n = r.GetVarint();
    for (uint64_t i = 0; i < n && !r.Failed(); ++i) {
      K k{}; V v{};
      PropCodec<K>::Load(r, k);
      PropCodec<V>::Load(r, v);
      m.emplace(std::move(k), std::move(v));
    }
  }
};

// A pair: its first, then its second (connect scripts, column mappings).
template <class A, class B>
struct PropCodec<std::pair<A, B>> {
  static constexpr PropKind kind = PropKind::Custom;
  static void Save(BlobWriter& w, const std::pair<A, B>& v) {
    PropCodec<A>::Save(w, v.first);
    PropCodec<B>::Save(w, v.second);
  }
  static void Load(BlobReader& r, std::pair<A, B>& v) {
    PropCodec<A>::Load(r, v.first);
    PropCodec<B>::Load(r, v.second);
  }
};

template <class C, class T, T C::*M>
struct MemberProp {
  static void Save(const ARpObject& o, BlobWriter& w) { PropCodec<T>::Save(w, static_cast<const C&>(o).*M); }
  static void Load(ARpObject& o, BlobReader& r) { PropCodec<T>::Load(r, static_cast<C&>(o).*M); }
  static void Copy(const ARpObject& from, ARpObject& to) { static_cast<C&>(to).*M = static_cast<const C&>(from).*M; }
  static bool Equal(const ARpObject& a, const ARpObject& b) {
    return static_cast<const C&>(a).*M == static_cast<const C&>(b).*M;
  }
  static void* Field(ARpObject& o) { return &(static_cast<C&>(o).*M); }
};

#define QORL_PROP(Class, member, id, name)                                                              \
  ::qorl::PropDesc {                                                                                    \
    id, name, ::qorl::PropCodec<decltype(Class::member)>::kind,                                         \
        &::qorl::MemberProp<Class, decltype(Class::member), &Class::member>::Save,                      \
        &::qorl::MemberProp<Class, decltype(Class::member), &Class::member>::Load,                      \
        &::qorl::MemberProp<Class, decltype(Class::member), &Class::member>::Copy,                      \
        &::qorl::MemberProp<Class, decltype(Class::member), &Class::member>::Equal,                     \
        &::qorl::MemberProp<Class, decltype(Class::member), &Class::member>::Field,                     \
        static_cast<uint8_t>(sizeof(Class::member))                                                     \
  }

// Writes an object's properties, class by class from the base down:
// for each class that has properties, its type number, then each property as
// (id, length, bytes). A reader skips what it does not know, so files written
// by an older or newer qorl still load.
void SaveObjectProperties(const ARpObject& obj, ByteVector& out);
bool LoadObjectProperties(ARpObject& obj, const uint8_t* p, size_t n);
// Copies every property but the identity, parent and relations.
void CopyObjectProperties(const ARpObject& from, ARpObject& to);

}  // namespace qorl
