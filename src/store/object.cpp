#include <cstdlib>

#include "store/gateway.h"
#include "store/props.h"
#include "store/visitor.h"

namespace qorl {

// ---- references ----------------------------------------------------------

RefBase::RefBase(ARpGateway* rp, const VoidID& id) : m_pRp(rp), m_ID(id) {
  if (!rp || id.IsNullID()) { m_pRp = nullptr; m_ID = VoidID::NullID; }
}

RefBase::RefBase(ARpObject* obj) {
  if (obj && !obj->m_dead) {
    m_pRp = obj->m_pRp;
    m_ID = obj->m_id;
    m_pObj = obj;
    ++obj->m_refs;
  }
}

RefBase::RefBase(const RefBase& o) : m_pRp(o.m_pRp), m_pObj(o.m_pObj), m_ID(o.m_ID) {
  if (m_pObj) ++m_pObj->m_refs;
}

RefBase::RefBase(RefBase&& o) noexcept : m_pRp(o.m_pRp), m_pObj(o.m_pObj), m_ID(o.m_ID) {
  o.m_pObj = nullptr;
}

RefBase& RefBase::operator=(const RefBase& o) {
  if (this != &o) {
    if (o.m_pObj) ++o.m_pObj->m_refs;
    Reset(o.m_pObj);
    m_pRp = o.m_pRp;
    m_ID = o.m_ID;
  }
  return *this;
}

RefBase& RefBase::operator=(RefBase&& o) noexcept {
  if (this != &o) {
    Reset(o.m_pObj);
    o.m_pObj = nullptr;
    m_pRp = o.m_pRp;
    m_ID = o.m_ID;
  }
  return *this;
}

RefBase::~RefBase() { Reset(nullptr); }

// Takes `obj`, whose count the caller has already raised, in place of the current one.
void RefBase::Reset(ARpObject* obj) {
  ARpObject* old = m_pObj;
  m_pObj = obj;
  if (old && --old->m_refs == 0 && old->m_dead) ReleaseObject(old);
}

ARpObject* RefBase::GetRawObjPtr() const {
  if (m_pObj && !m_pObj->m_dead) return m_pObj;
  if (!m_pRp) return nullptr;
  if (m_pObj && m_pObj->m_gatewayGone) return nullptr;
  ARpObject* found = m_pRp->Lookup(m_ID);
  if (found) ++found->m_refs;
  const_cast<RefBase*>(this)->Reset(found);
  return found;
}

bool operator==(const RefBase& a, const RefBase& b) {
  bool an = a.IsNullRef(), bn = b.IsNullRef();
  if (an || bn) return an && bn;
  return a.m_pRp == b.m_pRp && a.m_ID == b.m_ID;
}

bool operator<(const RefBase& a, const RefBase& b) {
  bool an = a.IsNullRef(), bn = b.IsNullRef();
  if (an || bn) return an && !bn;
  if (a.m_pRp != b.m_pRp) return std::less<ARpGateway*>()(a.m_pRp, b.m_pRp);
  return a.m_ID < b.m_ID;
}

void ReleaseObject(ARpObject* obj) { delete obj; }

// ---- the base object -----------------------------------------------------

void ARpObject::MarkDirty() {
  if (m_pRp && !m_dead) m_pRp->MarkDirty(this);
}

void MarkObjectDirty(ARpObject& obj) { obj.MarkDirty(); }

const PropDesc* FindProperty(const AMetaClass* cls, std::string_view name) {
  for (const AMetaClass* m = cls; m; m = (m->GetBase() == m ? nullptr : m->GetBase()))
    for (const PropDesc& p : m->OwnProperties())
      if (name == p.name) return &p;
  return nullptr;
}

void ARpObject::SetName(const VXString& name) {
  if (name == m_name) return;
  VXString old = m_name;
  m_name = name;
  if (m_pRp && !m_dead) m_pRp->OnRename(this, old);
  MarkDirty();
}

void ARpObject::SetDescription(const VXString& d) { m_description = d; MarkDirty(); }
void ARpObject::SetUpgradeID(const VXUpgradeID& uid) {
  if (uid == m_uid) return;
  VXUpgradeID old = m_uid;
  m_uid = uid;
  if (m_pRp && !m_dead) m_pRp->OnNewUpgradeID(this, old);
  MarkDirty();
}
void ARpObject::SetIconIndex(uint16 i) { m_icon = i; MarkDirty(); }
void ARpObject::SetDefaultPrivilege(uint16 p) { m_privilege = p; MarkDirty(); }
void ARpObject::SetBIExtenderObject(bool b) { m_biExtender = b; MarkDirty(); }

RefARpObject ARpObject::GetParent() const {
  if (m_parent.IsNullID() || !m_pRp) return RefARpObject();
  return RefARpObject(m_pRp, m_parent);
}

void ARpObject::Accept(AMetadataVisitor&) {}

struct CommonProps {
  static std::span<const PropDesc> Get() {
    static const PropDesc props[] = {
        QORL_PROP(ARpObject, m_name, 1, "name"),
        QORL_PROP(ARpObject, m_description, 2, "description"),
        QORL_PROP(ARpObject, m_uid, 3, "uid"),
        QORL_PROP(ARpObject, m_icon, 4, "iconIndex"),
        QORL_PROP(ARpObject, m_privilege, 5, "defaultPrivilege"),
        QORL_PROP(ARpObject, m_biExtender, 6, "isBIExtenderObject"),
        QORL_PROP(ARpObject, m_parent, 7, "parent"),
    };
    return props;
  }
};

std::span<const PropDesc> ARpObject::OwnProperties() { return CommonProps::Get(); }

// ---- metaclasses ---------------------------------------------------------

bool AMetaClass::IsA(const AMetaClass* other) const {
  for (const AMetaClass* m = this; m; m = (m->m_base == m ? nullptr : m->m_base))
    if (m == other) return true;
  return false;
}

namespace {

template <class C, class B>
std::span<const PropDesc> OwnPropsOf() {
  if constexpr (std::is_same_v<C, ARpObject>) {
    return ARpObject::OwnProperties();
  } else {
    // A class that declares no table of its own inherits the name of its base's.
    if (&C::OwnProperties == &B::OwnProperties) return {};
    return C::OwnProperties();
  }
}

template <class C>
ARpObject* MakeInstance() {
  if constexpr (std::is_abstract_v<C>) return nullptr;
  else return new C();
}

constexpr bool IsInstantiableKind(const char* k) { return k[0] != 'A'; }

}  // namespace

const AMetaClass* ARpObject::GetClassMetaClass() {
  static const AMetaClass mc("ARpObject", kTIDARpObject, nullptr, false, nullptr, OwnPropsOf<ARpObject, ARpObject>());
  return &mc;
}

#define QORL_CLASS_ABSTRACT(C, B) \
  void C::Accept(AMetadataVisitor& v) { B::Accept(v); }
#define QORL_CLASS_NOVISIT(C, B) QORL_CLASS_ABSTRACT(C, B)
#define QORL_CLASS_VISIT(C, B) \
  void C::Accept(AMetadataVisitor& v) { static_cast<TypedVisitor<C>&>(v).Visit(Ref<C>(this)); }
#define QORL_CLASS(C, B, N, K)                                                                  \
  const AMetaClass* C::GetClassMetaClass() {                                                    \
    static const AMetaClass mc(#C, N, B::GetClassMetaClass(), IsInstantiableKind(#K),           \
                               &MakeInstance<C>, OwnPropsOf<C, B>());                           \
    return &mc;                                                                                 \
  }                                                                                             \
  const AMetaClass* C::GetMetaClass() const { return GetClassMetaClass(); }                     \
  QORL_CLASS_##K(C, B)
#define QORL_CLASS_ROOT(C, N)
#include "model/classes.def"
#undef QORL_CLASS_ROOT
#undef QORL_CLASS
#undef QORL_CLASS_VISIT
#undef QORL_CLASS_NOVISIT
#undef QORL_CLASS_ABSTRACT

const std::vector<const AMetaClass*>& AMetaClass::All() {
  static const std::vector<const AMetaClass*> all = [] {
    std::vector<const AMetaClass*> v;
#define QORL_CLASS(C, B, N, K) v.push_back(C::GetClassMetaClass());
#include "model/classes.def"
#undef QORL_CLASS
    return v;
  }();
  return all;
}

const AMetaClass* AMetaClass::FromTypeID(TypeID tid) {
  static const std::unordered_map<TypeID, const AMetaClass*> byType = [] {
    std::unordered_map<TypeID, const AMetaClass*> m;
    for (const AMetaClass* mc : All()) m.emplace(mc->GetTypeID(), mc);
    return m;
  }();
  auto it = byType.find(tid);
  return it == byType.end() ? nullptr : it->second;
}

}  // namespace qorl
