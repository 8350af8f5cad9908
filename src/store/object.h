// The base of every store object, the counted reference to one, metaclasses
// and the property tables through which persistence and copying walk an
// object without knowing its class.
#pragma once

#include <span>

#include "store/ids.h"

namespace qorl {

class ARpGateway;
class ARpObject;
class AMetaClass;
class AMetadataVisitor;
class BlobWriter;
class BlobReader;

#define QORL_CLASS(C, B, N, K) class C;
#include "model/classes.def"
#undef QORL_CLASS

// Counted reference to a store object. It stays valid as a value after its
// object is deleted and reads as null from then on: the object is kept
// allocated while references exist but is marked dead, and a dead cached
// pointer falls back to a lookup by id (which finds a reloaded object after a
// rollback).
class RefBase {
 public:
  RefBase() = default;
  RefBase(ARpGateway* rp, const VoidID& id);
  explicit RefBase(ARpObject* obj);
  RefBase(const RefBase& o);
  RefBase(RefBase&& o) noexcept;
  RefBase& operator=(const RefBase& o);
  RefBase& operator=(RefBase&& o) noexcept;
  ~RefBase();

  ARpObject* GetRawObjPtr() const;
  bool IsNullRef() const { return GetRawObjPtr() == nullptr; }
  const VoidID& GetID() const { return m_ID; }
  ARpGateway* GetGateway() const { return m_pRp; }

  friend bool operator==(const RefBase& a, const RefBase& b);
  friend bool operator<(const RefBase& a, const RefBase& b);

 protected:
  void Reset(ARpObject* obj);
  ARpGateway* m_pRp = nullptr;
  mutable ARpObject* m_pObj = nullptr;  // holds one count on the object while set
  VoidID m_ID;
};

template <class T>
class Ref : public RefBase {
 public:
  Ref() = default;
  Ref(ARpGateway* rp, const VoidID& id) : RefBase(rp, id) {}
  explicit Ref(T* obj) : RefBase(static_cast<ARpObject*>(obj)) {}
  // Derived to base converts implicitly; base to derived checks the class.
  template <class U>
    requires std::is_base_of_v<T, U>
  Ref(const Ref<U>& o) : RefBase(o) {}
  template <class U>
    requires(std::is_base_of_v<U, T> && !std::is_same_v<U, T>)
  explicit Ref(const Ref<U>& o) : RefBase(o) {
    if (!dynamic_cast<T*>(GetRawObjPtr())) *this = Ref();
  }
  T* operator->() const { return static_cast<T*>(GetRawObjPtr()); }
  T& operator*() const { return *static_cast<T*>(GetRawObjPtr()); }
  T* Get() const { return static_cast<T*>(GetRawObjPtr()); }
  explicit operator bool() const { return !IsNullRef(); }
};

using RefARpObject = Ref<ARpObject>;
using RpObjectVector = std::vector<RefARpObject>;
#define QORL_CLASS(C, B, N, K) using Ref##C = Ref<C>;
#include "model/classes.def"
#undef QORL_CLASS

// What a property is, so that generic code can store, copy and compare it.
enum class PropKind : uint8_t { Bool, Int, UInt, Int64, Double, String, Bytes, ID, UID, Expr, Strings, IDs, IntStrings, Custom };

// One row of a class's property table. `id` is persistent within its class:
// never reuse or renumber one.
struct PropDesc {
  uint16_t id;
  const char* name;
  PropKind kind;
  void (*save)(const ARpObject&, BlobWriter&);
  void (*load)(ARpObject&, BlobReader&);
  void (*copy)(const ARpObject& from, ARpObject& to);
  bool (*equal)(const ARpObject&, const ARpObject&);
  // The member itself, for the element engines that read and write a
  // property by its row instead of by a hand-written accessor; `size` is
  // sizeof the member, so that a reader of the wrong width is caught.
  void* (*field)(ARpObject&);
  uint8_t size;
};

// The property row of that name on the class or one of its bases; null if none.
const PropDesc* FindProperty(const AMetaClass* cls, std::string_view name);

class AMetaClass {
 public:
  using Factory = ARpObject* (*)();
  AMetaClass(const char* name, TypeID tid, const AMetaClass* base, bool instantiable, Factory f,
             std::span<const PropDesc> props)
      : m_name(name), m_tid(tid), m_base(base), m_instantiable(instantiable), m_factory(f), m_props(props) {}
  virtual ~AMetaClass() = default;
  virtual void GetTypeID(TypeID& t) const { t = m_tid; }
  virtual TypeID GetTypeID() const { return m_tid; }
  virtual VXString GetClassName() const { return VXString(m_name); }
  virtual int GetVersion() const { return 1; }
  virtual int GetIcon() const { return 0; }

  const char* Name() const { return m_name; }
  const AMetaClass* GetBase() const { return m_base; }
  bool IsInstantiable() const { return m_instantiable; }
  // Properties this class adds to its base.
  std::span<const PropDesc> OwnProperties() const { return m_props; }
  bool IsA(const AMetaClass* other) const;
  // Base first: the common properties, then each class down to this one.
  template <class F>
  void ForEachClass(F&& f) const {
    if (m_base && m_base != this) m_base->ForEachClass(f);
    f(*this);
  }
  ARpObject* NewObject() const { return m_factory ? m_factory() : nullptr; }

  static const AMetaClass* FromTypeID(TypeID tid);
  static const std::vector<const AMetaClass*>& All();

 private:
  const char* m_name;
  TypeID m_tid;
  const AMetaClass* m_base;
  bool m_instantiable;
  Factory m_factory;
  std::span<const PropDesc> m_props;
};

// Privilege bits of an object's default privilege set.
enum : uint16 { kPrivRead = 0x01, kPrivReadWrite = 0x03, kPrivDelete = 0x07, kPrivGrant = 0x17, kPrivAll = 0xFF };

class ARpObject {
 public:
  ARpObject() = default;
  ARpObject(const ARpObject&) = delete;
  ARpObject& operator=(const ARpObject&) = delete;
  virtual ~ARpObject() = default;

  VXString GetName() const { return m_name; }
  void SetName(const VXString& name);
  VXString GetDescription() const { return m_description; }
  void SetDescription(const VXString& d);
  VoidID GetID() const { return m_id; }
  void GetUpgradeID(VXUpgradeID& out) const { out = m_uid; }
  const VXUpgradeID& UpgradeID() const { return m_uid; }
  void SetUpgradeID(const VXUpgradeID& uid);
  uint16 GetIconIndex() const { return m_icon; }
  void SetIconIndex(uint16 i);
  RefARpObject GetParent() const;
  const VoidID& GetParentID() const { return m_parent; }
  virtual const AMetaClass* GetMetaClass() const = 0;
  TypeID GetTypeID() const { return GetMetaClass()->GetTypeID(); }
  void SetDefaultPrivilege(uint16 p);
  uint16 GetDefaultPrivilege() const { return m_privilege; }
  bool IsDefaultReadable() const { return (m_privilege & kPrivRead) == kPrivRead; }
  bool IsDefaultReadWriteable() const { return (m_privilege & kPrivReadWrite) == kPrivReadWrite; }
  bool IsDefaultDeleteable() const { return (m_privilege & kPrivDelete) == kPrivDelete; }
  bool IsDefaultGrantable() const { return (m_privilege & kPrivGrant) == kPrivGrant; }
  bool IsDefaultAll() const { return (m_privilege & kPrivAll) == kPrivAll; }
  void SetBIExtenderObject(bool b);
  bool IsBIExtenderObject() const { return m_biExtender; }

  virtual void Accept(AMetadataVisitor& v);
  ARpGateway* GetGateway() const { return m_pRp; }
  bool IsDead() const { return m_dead; }

  static const AMetaClass* GetClassMetaClass();
  // The common properties every object has (name, description, ...).
  static std::span<const PropDesc> OwnProperties();

 protected:
  // Every setter calls this, so that commit knows what to write.
  void MarkDirty();

 private:
  friend void MarkObjectDirty(ARpObject& obj);
  friend class ARpGateway;
  friend class RefBase;
  friend class MetadataUtil;
  friend struct CommonProps;
  friend void CopyObjectProperties(const ARpObject& from, ARpObject& to);

  ARpGateway* m_pRp = nullptr;
  VoidID m_id;
  VoidID m_parent;
  VXString m_name;
  VXString m_description;
  VXUpgradeID m_uid;
  uint16 m_icon = 0;
  uint16 m_privilege = kPrivRead;  // readable unless said otherwise, as documents assume
  uint32_t m_refs = 0;
  bool m_biExtender = false;
  bool m_dead = false;
  bool m_dirty = false;
  bool m_gatewayGone = false;
};

void CopyObjectProperties(const ARpObject& from, ARpObject& to);

// For code that writes a member through its property row: what a setter does.
void MarkObjectDirty(ARpObject& obj);

// Release of the object's memory when the last reference and the store are both done with it.
void ReleaseObject(ARpObject* obj);

}  // namespace qorl
