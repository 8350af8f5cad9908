#include "store/gateway.h"

#include <algorithm>

#include "platform/crypto.h"
#include "platform/error.h"
#include "platform/guid.h"
#include "store/conditions.h"
#include "store/metadata_util.h"
#include "store/persistence.h"
#include "store/props.h"
#include "store/references.h"

namespace qorl {

// What an in-memory repository's Rollback goes back to: the objects,
// relations and properties as the last Commit left them, in the form a file
// stores them. Commit updates it with what changed, as it updates a file.
struct ARpGateway::Image {
  std::unordered_map<uint64_t, ByteVector> objects;
  std::unordered_map<RelKey, std::vector<VoidID>, RelKeyHash> relations;
  std::unordered_map<int, ByteVector> props;
};

ARpGateway::ARpGateway() = default;

ARpGateway::~ARpGateway() { DropAll(true); }

// Marks every object dead and frees those no reference holds.
void ARpGateway::DropAll(bool bGatewayGone) {
  for (auto& [k, o] : m_objects) {
    o->m_dead = true;
    o->m_gatewayGone = bGatewayGone;
    if (o->m_refs == 0) ReleaseObject(o);
  }
  m_objects.clear();
  m_relations.clear();
  m_relBack.clear();
  m_nameIndex.clear();
  m_nameIndexValid = false;
  m_children.clear();
  m_childIndexValid = false;
  m_uidIndex.clear();
  m_uidIndexValid = false;
  m_dirty.clear();
  m_deleted.clear();
  m_dirtyRels.clear();
  m_dirtyProps.clear();
  m_props.clear();
}

// A new, writable repository holding the built-in security objects; with a
// path it is a file, committed at once.
static std::unique_ptr<ARpGateway> NewRepository(std::unique_ptr<ARpGateway> rp) {
  rp->SetRepositoryProperty(kRepPropWritable, ByteVector{1});
  rp->SetRepositoryProperty(kRepPropNextUniqueNum, UniqueNum(1).ToByteVector());
  ARpGateway::FixMandatorySecurityObjects(rp.get());
  rp->Commit();
  return rp;
}

std::unique_ptr<ARpGateway> ARpGateway::CreateInMemory(const VXString& password) {
  std::unique_ptr<ARpGateway> rp(new ARpGateway());
  rp->m_key = std::make_unique<crypto::AESKey>(crypto::NewKey(password));
  rp->m_image = std::make_unique<Image>();
  return NewRepository(std::move(rp));
}

std::unique_ptr<ARpGateway> ARpGateway::Create(const VXString& path, const VXString& password, Access access,
                                               int waitMs) {
  std::unique_ptr<ARpGateway> rp(new ARpGateway());
  rp->m_path = path;
  rp->m_key = std::make_unique<crypto::AESKey>(crypto::NewKey(password));
  rp->m_store = Persistence::CreateFile(path, crypto::MakeKeyCheck(*rp->m_key), waitMs);
  if (access == Access::Write) rp->m_store->HoldWriteLock();
  rp->m_fileVersion = rp->m_store->Read([] {});
  return NewRepository(std::move(rp));
}

std::unique_ptr<ARpGateway> ARpGateway::Open(const VXString& path, const VXString& password, Access access,
                                             int waitMs) {
  std::unique_ptr<ARpGateway> rp(new ARpGateway());
  rp->m_path = path;
  ByteVector check;
  rp->m_store = Persistence::OpenFile(path, check, waitMs);
  crypto::AESKey key;
  if (!crypto::VerifyPasswordWithKeyCheck(password, check, key)) throw ErrorMessage(99002, path);
  rp->m_key = std::make_unique<crypto::AESKey>(key);
  // Before the read: what a writer commits must be made from what it read.
  if (access == Access::Write) rp->m_store->HoldWriteLock();
  rp->LoadFromFile();
  return rp;
}

void ARpGateway::LoadFromFile() {
  m_loading = true;
  m_fileVersion = m_store->Read([this] {
    m_store->LoadProperties(m_props);
    m_store->LoadObjects([this](const VoidID& id, const uint8_t* data, size_t n) { AdoptStored(id, data, n); });
    m_store->LoadRelations([this](uint64_t owner, RelID rel, std::vector<VoidID>&& tuples) {
      AdoptStoredRelation(owner, rel, std::move(tuples));
    });
  });
  m_loading = false;
}

// Enters one object as a commit stored it.
void ARpGateway::AdoptStored(const VoidID& id, const uint8_t* data, size_t n) {
  ARpObject* obj = Instantiate(id.m_interfaceTypeID, id);
  if (!obj) throw ErrorMessage(99004, m_path, VXString("object of unknown type ") + id.ToString());
  if (!LoadObjectProperties(*obj, data, n)) {
    delete obj;
    throw ErrorMessage(99004, m_path, VXString("object ") + id.ToString() + " cannot be read");
  }
  Adopt(obj);
}

void ARpGateway::AdoptStoredRelation(uint64_t owner, RelID rel, std::vector<VoidID>&& tuples) {
  for (const VoidID& m : tuples) {
    auto& back = m_relBack[m.Key()];
    if (back.empty() || back.back().owner != owner || back.back().rel != rel) back.push_back({owner, rel});
  }
  m_relations.emplace(RelKey{owner, rel}, std::move(tuples));
}

void ARpGateway::Commit() {
  if (!m_store) return CommitInMemory();
  Persistence::Batch batch(*m_store, m_fileVersion);
  ByteVector buf;
  for (uint64_t k : m_deleted) batch.DeleteObject(k);
  for (uint64_t k : m_dirty) {
    auto it = m_objects.find(k);
    if (it == m_objects.end()) continue;
    buf.clear();
    SaveObjectProperties(*it->second, buf);
    batch.PutObject(k, buf);
  }
  for (const RelKey& rk : m_dirtyRels) {
    auto it = m_relations.find(rk);
    if (it == m_relations.end() || it->second.empty()) batch.DeleteRelation(rk.owner, rk.rel);
    else batch.PutRelation(rk.owner, rk.rel, it->second);
  }
  for (int id : m_dirtyProps) {
    auto it = m_props.find(id);
    if (it == m_props.end()) batch.DeleteProperty(id);
    else batch.PutProperty(id, it->second);
  }
  batch.Commit();
  for (uint64_t k : m_dirty) {
    auto it = m_objects.find(k);
    if (it != m_objects.end()) it->second->m_dirty = false;
  }
  m_dirty.clear();
  m_deleted.clear();
  m_dirtyRels.clear();
  m_dirtyProps.clear();
}

// The same changes as a file's commit, written to the image.
void ARpGateway::CommitInMemory() {
  Image& image = *m_image;
  for (uint64_t k : m_deleted) image.objects.erase(k);
  for (uint64_t k : m_dirty) {
    auto it = m_objects.find(k);
    if (it == m_objects.end()) continue;
    ByteVector& buf = image.objects[k];
    buf.clear();
    SaveObjectProperties(*it->second, buf);
    it->second->m_dirty = false;
  }
  for (const RelKey& rk : m_dirtyRels) {
    auto it = m_relations.find(rk);
    if (it == m_relations.end() || it->second.empty()) image.relations.erase(rk);
    else image.relations[rk] = it->second;
  }
  for (int id : m_dirtyProps) {
    auto it = m_props.find(id);
    if (it == m_props.end()) image.props.erase(id);
    else image.props[id] = it->second;
  }
  m_dirty.clear();
  m_deleted.clear();
  m_dirtyRels.clear();
  m_dirtyProps.clear();
}

void ARpGateway::LoadFromImage() {
  m_loading = true;
  m_props = m_image->props;
  for (const auto& [k, data] : m_image->objects) AdoptStored(VoidID::FromKey(k), data.data(), data.size());
  for (const auto& [rk, tuples] : m_image->relations) AdoptStoredRelation(rk.owner, rk.rel, std::vector<VoidID>(tuples));
  m_loading = false;
}

// Throws every uncommitted change away by reloading the committed state.
// References to objects that survive find their reloaded objects by id.
void ARpGateway::Rollback() {
  if (!HasUncommittedChanges()) return;
  DropAll(false);
  if (m_store) LoadFromFile();
  else LoadFromImage();
}

bool ARpGateway::HasUncommittedChanges() const {
  return !m_dirty.empty() || !m_deleted.empty() || !m_dirtyRels.empty() || !m_dirtyProps.empty();
}

// ---- objects --------------------------------------------------------------

ARpObject* ARpGateway::Lookup(const VoidID& id) const {
  auto it = m_objects.find(id.Key());
  return it == m_objects.end() ? nullptr : it->second;
}

RefARpObject ARpGateway::GetObject(const VoidID& id) { return RefARpObject(Lookup(id)); }

void ARpGateway::GetObjects(const VoidIDVector& ids, RpObjectVector& objs) {
  objs.clear();
  objs.reserve(ids.size());
  for (const VoidID& id : ids) objs.emplace_back(Lookup(id));
}

ARpObject* ARpGateway::Instantiate(TypeID type, const VoidID& id) {
  const AMetaClass* mc = AMetaClass::FromTypeID(type);
  if (!mc || !mc->IsInstantiable()) return nullptr;
  ARpObject* obj = mc->NewObject();
  obj->m_pRp = this;
  obj->m_id = id;
  return obj;
}

void ARpGateway::Adopt(ARpObject* obj) {
  m_objects.emplace(obj->m_id.Key(), obj);
  if (m_nameIndexValid) m_nameIndex.emplace(NameKey{obj->GetTypeID(), obj->m_name}, obj->m_id.Key());
  if (m_childIndexValid && !obj->m_parent.IsNullID()) m_children[obj->m_parent.Key()].push_back(obj->m_id.Key());
  if (m_uidIndexValid && !obj->m_uid.empty()) m_uidIndex.emplace(obj->m_uid, obj->m_id.Key());
}

uint32_t ARpGateway::NextUniqueNum() {
  UniqueNum n;
  n.FromByteVector(m_props[kRepPropNextUniqueNum]);
  if (n.m_uniqueNum == UniqueNum::kUndefined || n.m_uniqueNum == 0) n = 1;
  uint32_t v = n.m_uniqueNum;
  m_props[kRepPropNextUniqueNum] = UniqueNum(v + 1).ToByteVector();
  m_dirtyProps.insert(kRepPropNextUniqueNum);
  return v;
}

void ARpGateway::BumpUniqueNum(uint32_t used) {
  UniqueNum n;
  n.FromByteVector(m_props[kRepPropNextUniqueNum]);
  if (n.m_uniqueNum == UniqueNum::kUndefined || n.m_uniqueNum <= used) {
    m_props[kRepPropNextUniqueNum] = UniqueNum(used + 1).ToByteVector();
    m_dirtyProps.insert(kRepPropNextUniqueNum);
  }
}

RefARpObject ARpGateway::CreateObject(const TypeID& type) {
  VoidID id(type, UniqueNum(NextUniqueNum()));
  return CreateObject(type, id);
}

RefARpObject ARpGateway::CreateObject(const TypeID& type, const VoidID& givenId) {
  VoidID id = givenId;
  if (id.IsNullID() || id.m_uniqueNum.m_uniqueNum == UniqueNum::kUndefined) id = VoidID(type, UniqueNum(NextUniqueNum()));
  if (id.m_interfaceTypeID != type) throw ErrorMessage(99009, type, VXString("the id ") + id.ToString() + " belongs to another type");
  if (m_objects.count(id.Key())) throw ErrorMessage(99010, id.ToString());
  ARpObject* obj = Instantiate(type, id);
  if (!obj) throw ErrorMessage(99009, type, VXString("no such object class"));
  BumpUniqueNum(id.m_uniqueNum.m_uniqueNum);
  m_deleted.erase(id.Key());
  Adopt(obj);
  MarkDirty(obj);
  return RefARpObject(obj);
}

void ARpGateway::MarkDirty(ARpObject* obj) {
  if (m_loading || obj->m_dirty) return;
  obj->m_dirty = true;
  m_dirty.push_back(obj->m_id.Key());
}

void ARpGateway::MarkRelDirty(uint64_t owner, RelID rel) {
  if (!m_loading) m_dirtyRels.insert(RelKey{owner, rel});
}

// Dependants are the object's children, transitively, deepest last.
void ARpGateway::CollectDescendants(const VoidID& id, VoidIDVector& out) {
  EnsureChildIndex();
  size_t start = out.size();
  out.push_back(id);
  for (size_t i = start; i < out.size(); ++i) {
    auto it = m_children.find(out[i].Key());
    if (it == m_children.end()) continue;
    for (uint64_t c : it->second)
      if (m_objects.count(c)) out.push_back(VoidID::FromKey(c));
  }
}

void ARpGateway::DeleteInternalObject(const VoidID& id) {
  if (!Lookup(id)) return;
  VoidIDVector doomed;
  CollectDescendants(id, doomed);
  for (auto it = doomed.rbegin(); it != doomed.rend(); ++it) Remove(*it);
}

void ARpGateway::DeleteObject(const VoidID& id, bool) { DeleteObjects(VoidIDVector{id}); }

// The objects of one deletion, parents before their descendants.
struct ARpGateway::Doomed {
  IdSet set;
  VoidIDVector order;
  DeleteEffects* effects;
};

namespace deletion {

DeleteEffects::Entry EntryOf(ARpGateway& rp, const ARpObject& obj, const VoidID& named) {
  DeleteEffects::Entry e{obj.GetID(), {}, named, {}};
  MetadataUtil::GenerateQualifiedName(RefARpObject(const_cast<ARpObject*>(&obj)), e.name);
  if (ARpObject* n = rp.Lookup(named)) MetadataUtil::GenerateQualifiedName(RefARpObject(n), e.namedName);
  return e;
}

}  // namespace deletion

// Adds the object and its descendants, and whatever cannot lose one of them
// as a member, with its own descendants.
void ARpGateway::Doom(const VoidID& id, Doomed& d) {
  if (!d.set.Insert(id)) return;
  EnsureChildIndex();
  size_t i = d.order.size();
  d.order.push_back(id);
  for (; i < d.order.size(); ++i) {
    uint64_t k = d.order[i].Key();
    if (auto ci = m_children.find(k); ci != m_children.end())
      for (uint64_t c : ci->second)
        if (m_objects.count(c) && d.set.Insert(VoidID::FromKey(c))) d.order.push_back(VoidID::FromKey(c));
    if (auto bi = m_relBack.find(k); bi != m_relBack.end())
      for (const BackRef& b : bi->second) {
        auto oi = m_objects.find(b.owner);
        if (!RelationTakesOwner(b.rel) || oi == m_objects.end() || d.set.Has(b.owner)) continue;
        if (d.effects) d.effects->taken.push_back(deletion::EntryOf(*this, *oi->second, d.order[i]));
        d.set.Insert(oi->second->m_id);
        d.order.push_back(oi->second->m_id);
      }
  }
}

void ARpGateway::Take(ARpObject* obj, const VoidID& named, Doomed& d) {
  if (d.effects) d.effects->taken.push_back(deletion::EntryOf(*this, *obj, named));
  Doom(obj->m_id, d);
}

void ARpGateway::DeleteObjects(const VoidIDVector& ids, DeleteEffects* effects) {
  Doomed d{{}, {}, effects};
  for (const VoidID& id : ids)
    if (Lookup(id)) Doom(id, d);
  if (d.order.empty()) return;
  // Each walk looks for references to what was doomed since the walk before;
  // one that takes nothing more ends it.
  std::vector<std::pair<ARpObject*, VoidID>> dropping;
  for (size_t walked = 0; walked < d.order.size();) {
    IdSet fresh;
    for (; walked < d.order.size(); ++walked) fresh.Insert(d.order[walked]);
    std::vector<std::pair<ARpObject*, VoidID>> taking;
    for (const auto& [k, o] : m_objects) {
      if (d.set.Has(k)) continue;
      VoidID named;
      RefHit hit = FindMemberReferences(*o, fresh, named);
      if (hit == RefHit::TakeOwner) taking.emplace_back(o, named);
      else if (hit == RefHit::Drop) dropping.emplace_back(o, named);
    }
    // In id order, so that what is reported does not follow the hash order.
    std::sort(taking.begin(), taking.end(), [](const auto& a, const auto& b) { return a.first->m_id < b.first->m_id; });
    for (const auto& [o, named] : taking)
      if (!d.set.Has(o->m_id)) Take(o, named, d);
  }
  // Survivors drop their references to everything doomed; an object found by
  // two walks is mended once.
  std::stable_sort(dropping.begin(), dropping.end(), [](const auto& a, const auto& b) { return a.first->m_id < b.first->m_id; });
  for (size_t i = 0; i < dropping.size(); ++i) {
    ARpObject* o = dropping[i].first;
    if (d.set.Has(o->m_id) || (i > 0 && dropping[i - 1].first == o)) continue;
    if (effects) effects->dropped.push_back(deletion::EntryOf(*this, *o, dropping[i].second));
    DropMemberReferences(*o, d.set);
  }
  if (effects)
    std::sort(effects->taken.begin(), effects->taken.end(),
              [](const DeleteEffects::Entry& a, const DeleteEffects::Entry& b) { return a.object < b.object; });
  for (auto it = d.order.rbegin(); it != d.order.rend(); ++it) Remove(*it);
}

void ARpGateway::Remove(const VoidID& id) {
  uint64_t k = id.Key();
  auto oi = m_objects.find(k);
  if (oi == m_objects.end()) return;
  ARpObject* obj = oi->second;
  RemoveFromRelations(id);
  if (m_nameIndexValid) {
    auto range = m_nameIndex.equal_range(NameKey{obj->GetTypeID(), obj->m_name});
    for (auto n = range.first; n != range.second; ++n)
      if (n->second == k) { m_nameIndex.erase(n); break; }
  }
  if (m_childIndexValid) {
    m_children.erase(k);
    if (!obj->m_parent.IsNullID()) {
      auto ci = m_children.find(obj->m_parent.Key());
      if (ci != m_children.end()) std::erase(ci->second, k);
    }
  }
  if (m_uidIndexValid && !obj->m_uid.empty()) {
    auto ui = m_uidIndex.find(obj->m_uid);
    if (ui != m_uidIndex.end() && ui->second == k) m_uidIndex.erase(ui);
  }
  m_objects.erase(oi);
  m_deleted.insert(k);
  obj->m_dead = true;
  if (obj->m_refs == 0) ReleaseObject(obj);
}

// Drops the relations the object owns and takes it out of every relation it is a member of.
void ARpGateway::RemoveFromRelations(const VoidID& id) {
  uint64_t k = id.Key();
  for (const RelDesc& d : AllRelDescs()) {
    auto it = m_relations.find(RelKey{k, d.id});
    if (it == m_relations.end()) continue;
    for (const VoidID& m : it->second) {
      auto bi = m_relBack.find(m.Key());
      if (bi == m_relBack.end()) continue;
      std::erase_if(bi->second, [&](const BackRef& b) { return b.owner == k && b.rel == d.id; });
      if (bi->second.empty()) m_relBack.erase(bi);
    }
    m_relations.erase(it);
    MarkRelDirty(k, d.id);
  }
  auto bi = m_relBack.find(k);
  if (bi == m_relBack.end()) return;
  std::vector<BackRef> backs = std::move(bi->second);
  m_relBack.erase(bi);
  for (const BackRef& b : backs) {
    auto it = m_relations.find(RelKey{b.owner, b.rel});
    if (it == m_relations.end()) continue;
    const RelDesc* d = FindRelDesc(b.rel);
    size_t w = d ? d->arity - 1u : 1u;
    std::vector<VoidID>& v = it->second;
    // A tuple goes when any of its members goes.
    std::vector<VoidID> kept;
    kept.reserve(v.size());
    for (size_t i = 0; i + w <= v.size(); i += w) {
      bool hit = false;
      for (size_t j = 0; j < w; ++j) hit = hit || v[i + j].Key() == k;
      if (!hit) kept.insert(kept.end(), v.begin() + i, v.begin() + i + w);
    }
    v.swap(kept);
    MarkRelDirty(b.owner, b.rel);
  }
}

void ARpGateway::SetCustomizationHash(const VXString& hash) {
  std::string s = hash.ToUTF8();
  SetRepositoryProperty(kRepPropCustomizationHash, ByteVector(s.begin(), s.end()));
}

VXString ARpGateway::GetCustomizationHash() {
  ByteVector b;
  GetRepositoryProperty(kRepPropCustomizationHash, b);
  return VXString(std::string_view(reinterpret_cast<const char*>(b.data()), b.size()));
}

void ARpGateway::FindObjectIDs(const ACondition& cond, VoidIDVector& ids) {
  ids.clear();
  cond.Find(*this, ids);
}

void ARpGateway::GetRepositoryProperty(int id, ByteVector& value) {
  auto it = m_props.find(id);
  if (it == m_props.end()) value.clear();
  else value = it->second;
}

void ARpGateway::SetRepositoryProperty(int id, const ByteVector& value) {
  m_props[id] = value;
  m_dirtyProps.insert(id);
}

VXString ARpGateway::AESEncryptPassword(ARpGateway* rp, const ByteVector& clear) {
  return crypto::EncryptToText(*rp->m_key, clear);
}

VXString ARpGateway::AESEncryptPassword(ARpGateway* rp, const ByteVector& clear, const VoidID& owner) {
  ByteVector context(8);
  uint64_t k = owner.Key();
  for (size_t i = 0; i < 8; ++i) context[i] = static_cast<uint8_t>(k >> (56 - 8 * i));
  return crypto::EncryptToText(*rp->m_key, clear, context);
}

bool ARpGateway::DecryptWithRepositoryKey(const VXString& aes, ByteVector& clear) const {
  return crypto::DecryptText(*m_key, aes, clear);
}

// ---- indexes --------------------------------------------------------------

void ARpGateway::EnsureNameIndex() {
  if (m_nameIndexValid) return;
  m_nameIndex.reserve(m_objects.size());
  for (const auto& [k, o] : m_objects) m_nameIndex.emplace(NameKey{o->GetTypeID(), o->m_name}, k);
  m_nameIndexValid = true;
}

void ARpGateway::EnsureChildIndex() {
  if (m_childIndexValid) return;
  for (const auto& [k, o] : m_objects)
    if (!o->m_parent.IsNullID()) m_children[o->m_parent.Key()].push_back(k);
  m_childIndexValid = true;
}

void ARpGateway::OnRename(ARpObject* obj, const VXString& oldName) {
  if (!m_nameIndexValid) return;
  uint64_t k = obj->m_id.Key();
  auto range = m_nameIndex.equal_range(NameKey{obj->GetTypeID(), oldName});
  for (auto n = range.first; n != range.second; ++n)
    if (n->second == k) { m_nameIndex.erase(n); break; }
  m_nameIndex.emplace(NameKey{obj->GetTypeID(), obj->m_name}, k);
}

void ARpGateway::EnsureUIDIndex() {
  if (m_uidIndexValid) return;
  m_uidIndex.reserve(m_objects.size());
  for (const auto& [k, o] : m_objects)
    if (!o->m_uid.empty()) m_uidIndex.emplace(o->m_uid, k);
  m_uidIndexValid = true;
}

void ARpGateway::OnNewUpgradeID(ARpObject* obj, const VXUpgradeID& oldUID) {
  if (!m_uidIndexValid) return;
  uint64_t k = obj->m_id.Key();
  auto it = m_uidIndex.find(oldUID);
  if (it != m_uidIndex.end() && it->second == k) m_uidIndex.erase(it);
  if (!obj->m_uid.empty()) m_uidIndex[obj->m_uid] = k;
}

RefARpObject ARpGateway::FindByUpgradeID(const VXUpgradeID& uid) {
  if (uid.empty()) return RefARpObject();
  EnsureUIDIndex();
  auto it = m_uidIndex.find(uid);
  if (it == m_uidIndex.end()) return RefARpObject();
  return RefARpObject(Lookup(VoidID::FromKey(it->second)));
}

void ARpGateway::FindByName(TypeID type, const VXString& name, VoidIDVector& out) {
  EnsureNameIndex();
  auto range = m_nameIndex.equal_range(NameKey{type, name});
  for (auto n = range.first; n != range.second; ++n) out.push_back(VoidID::FromKey(n->second));
  // Hash order is arbitrary; callers get a stable answer.
  std::sort(out.begin(), out.end());
}

RefARpObject ARpGateway::FindByQualifiedName(TypeID type, const QualifiedName& qname) {
  if (qname.empty()) return RefARpObject();
  VoidIDVector candidates;
  FindByName(type, qname.back(), candidates);
  QualifiedName path;
  for (const VoidID& c : candidates) {
    RefARpObject r(Lookup(c));
    MetadataUtil::GenerateQualifiedName(r, path);
    if (path == qname) return r;
  }
  return RefARpObject();
}

void ARpGateway::GetChildren(const VoidID& parent, VoidIDVector& out) {
  EnsureChildIndex();
  auto it = m_children.find(parent.Key());
  if (it == m_children.end()) return;
  for (uint64_t c : it->second)
    if (m_objects.count(c)) out.push_back(VoidID::FromKey(c));
}

void ARpGateway::SetParent(ARpObject* obj, const VoidID& parent) {
  if (obj->m_parent == parent) return;
  if (m_childIndexValid) {
    if (!obj->m_parent.IsNullID()) {
      auto ci = m_children.find(obj->m_parent.Key());
      if (ci != m_children.end()) std::erase(ci->second, obj->m_id.Key());
    }
    if (!parent.IsNullID()) m_children[parent.Key()].push_back(obj->m_id.Key());
  }
  obj->m_parent = parent;
  MarkDirty(obj);
}

// ---- relations ------------------------------------------------------------

const std::vector<VoidID>* ARpGateway::RelTuples(const VoidID& owner, RelID rel) const {
  auto it = m_relations.find(RelKey{owner.Key(), rel});
  return it == m_relations.end() ? nullptr : &it->second;
}

size_t ARpGateway::RelFind(const VoidID& owner, RelID rel, const VoidID* tuple, size_t width) const {
  const std::vector<VoidID>* v = RelTuples(owner, rel);
  if (!v || width == 0) return static_cast<size_t>(-1);
  for (size_t i = 0; i + width <= v->size(); i += width)
    if (std::equal(tuple, tuple + width, v->begin() + i)) return i / width;
  return static_cast<size_t>(-1);
}

bool ARpGateway::RelContains(const VoidID& owner, RelID rel, const VoidID& member) const {
  auto bi = m_relBack.find(member.Key());
  if (bi == m_relBack.end()) return false;
  for (const BackRef& b : bi->second)
    if (b.owner == owner.Key() && b.rel == rel) return true;
  return false;
}

bool ARpGateway::RelInsert(const VoidID& owner, RelID rel, const VoidID* tuple, size_t width) {
  JournalRelation(owner.Key(), rel);
  if (!Lookup(owner)) return false;
  for (size_t j = 0; j < width; ++j)
    if (!Lookup(tuple[j])) return false;
  // Only a tuple whose first member is already related can be a duplicate.
  if (RelContains(owner, rel, tuple[0]) && RelFind(owner, rel, tuple, width) != static_cast<size_t>(-1)) return false;
  std::vector<VoidID>& v = m_relations[RelKey{owner.Key(), rel}];
  v.insert(v.end(), tuple, tuple + width);
  for (size_t j = 0; j < width; ++j) {
    auto& back = m_relBack[tuple[j].Key()];
    bool have = false;
    for (const BackRef& b : back) have = have || (b.owner == owner.Key() && b.rel == rel);
    if (!have) back.push_back({owner.Key(), rel});
  }
  MarkRelDirty(owner.Key(), rel);
  return true;
}

bool ARpGateway::RelErase(const VoidID& owner, RelID rel, const VoidID* tuple, size_t width) {
  JournalRelation(owner.Key(), rel);
  size_t idx = RelFind(owner, rel, tuple, width);
  if (idx == static_cast<size_t>(-1)) return false;
  std::vector<VoidID>& v = m_relations[RelKey{owner.Key(), rel}];
  v.erase(v.begin() + idx * width, v.begin() + (idx + 1) * width);
  for (size_t j = 0; j < width; ++j) {
    // Keep the back reference while another tuple still holds the member.
    bool still = std::find(v.begin(), v.end(), tuple[j]) != v.end();
    if (still) continue;
    auto bi = m_relBack.find(tuple[j].Key());
    if (bi == m_relBack.end()) continue;
    std::erase_if(bi->second, [&](const BackRef& b) { return b.owner == owner.Key() && b.rel == rel; });
    if (bi->second.empty()) m_relBack.erase(bi);
  }
  MarkRelDirty(owner.Key(), rel);
  return true;
}

bool ARpGateway::RelMove(const VoidID& owner, RelID rel, size_t index, int delta) {
  JournalRelation(owner.Key(), rel);
  auto it = m_relations.find(RelKey{owner.Key(), rel});
  if (it == m_relations.end()) return false;
  const RelDesc* d = FindRelDesc(rel);
  size_t w = d ? d->arity - 1u : 1u;
  size_t n = it->second.size() / w;
  if (index >= n) return false;
  if ((delta < 0 && index == 0) || (delta > 0 && index + 1 >= n)) return false;
  size_t other = delta < 0 ? index - 1 : index + 1;
  std::swap_ranges(it->second.begin() + index * w, it->second.begin() + (index + 1) * w, it->second.begin() + other * w);
  MarkRelDirty(owner.Key(), rel);
  return true;
}

void ARpGateway::RelClear(const VoidID& owner, RelID rel) {
  JournalRelation(owner.Key(), rel);
  auto it = m_relations.find(RelKey{owner.Key(), rel});
  if (it == m_relations.end()) return;
  for (const VoidID& m : it->second) {
    auto bi = m_relBack.find(m.Key());
    if (bi == m_relBack.end()) continue;
    std::erase_if(bi->second, [&](const BackRef& b) { return b.owner == owner.Key() && b.rel == rel; });
    if (bi->second.empty()) m_relBack.erase(bi);
  }
  m_relations.erase(it);
  MarkRelDirty(owner.Key(), rel);
}

void ARpGateway::JournalRelation(uint64_t owner, RelID rel) {
  if (!m_relJournal) return;
  RelKey k{owner, rel};
  if (m_relJournal->contains(k)) return;
  auto it = m_relations.find(k);
  m_relJournal->emplace(k, it == m_relations.end() ? std::vector<VoidID>() : it->second);
}

void ARpGateway::StartRelationJournal() {
  m_relJournal = std::make_unique<std::unordered_map<RelKey, std::vector<VoidID>, RelKeyHash>>();
}

std::unordered_set<uint64_t> ARpGateway::StopRelationJournal() {
  std::unordered_set<uint64_t> owners;
  if (!m_relJournal) return owners;
  static const std::vector<VoidID> kNone;
  for (const auto& [k, before] : *m_relJournal) {
    auto it = m_relations.find(k);
    if ((it == m_relations.end() ? kNone : it->second) != before) owners.insert(k.owner);
  }
  m_relJournal.reset();
  return owners;
}

// ---- built-in security objects -----------------------------------------

void ARpGateway::FixMandatorySecurityObjects(ARpGateway* rp) {
  VXUpgradeID userUID, groupUID;
  AAuthorizer::GetAdministratorUIDs(userUID, groupUID);
  auto findByUID = [rp](TypeID type, const VXUpgradeID& uid) -> ARpObject* {
    ARpObject* o = rp->FindByUpgradeID(uid).GetRawObjPtr();
    return o && o->GetTypeID() == type ? o : nullptr;
  };
  auto ensure = [&](TypeID type, const VXUpgradeID& uid, const char* name) -> ARpObject* {
    ARpObject* o = findByUID(type, uid);
    if (!o) {
      RefARpObject r = rp->CreateObject(type);
      o = r.GetRawObjPtr();
      o->SetUpgradeID(uid);
      // A user object may already have taken the name: keep both, the built-in one renamed.
      VXStringVector taken;
      VoidIDVector same;
      rp->FindByName(type, VXString(name), same);
      for (const VoidID& s : same)
        if (rp->Lookup(s) && rp->Lookup(s)->GetParentID().IsNullID()) taken.push_back(VXString(name));
      o->SetName(taken.empty() ? VXString(name) : GenerateUniqueName(taken, VXString(name)));
      o->SetDefaultPrivilege(kPrivAll);
    }
    return o;
  };
  ARpObject* user = ensure(kTIDAUser, userUID, "Administrator");
  ARpObject* group = ensure(kTIDASecurityRole, groupUID, "Administrators");
  BinaryRelIter<ASecurityRole> groups(rp, user->GetID(), kRelUserGroups);
  if (!groups.Contains(group->GetID())) groups.Insert(group->GetID());
  BinaryRelIter<ARpObject> members(rp, group->GetID(), kRelRoleMembers);
  if (!members.Contains(user->GetID())) members.Insert(user->GetID());
}

}  // namespace qorl
