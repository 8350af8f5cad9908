#include "store/relation.h"

#include "store/gateway.h"

namespace qorl {

namespace {
constexpr RelDesc kRelDescs[] = {
#define QORL_RELATION(Id, Name, Owner, Member, Arity) {Id, #Name, Owner, Member, Arity},
#include "store/relations.def"
#undef QORL_RELATION
};
constexpr bool RelationNumbersAreUnique() {
  for (size_t i = 0; i < std::size(kRelDescs); ++i)
    for (size_t j = i + 1; j < std::size(kRelDescs); ++j)
      if (kRelDescs[i].id == kRelDescs[j].id) return false;
  return true;
}
static_assert(RelationNumbersAreUnique(), "two relations share a number: each family keeps to its own range");

}  // namespace

const RelDesc* FindRelDesc(RelID id) {
  for (const RelDesc& d : kRelDescs)
    if (d.id == id) return &d;
  return nullptr;
}

std::span<const RelDesc> AllRelDescs() { return kRelDescs; }

static size_t WidthOf(RelID rel) {
  const RelDesc* d = FindRelDesc(rel);
  return d ? d->arity - 1u : 1u;
}

VoidRelIter::VoidRelIter(ARpGateway* rp, const VoidID& owner, RelID rel) : m_pRp(rp), m_owner(owner), m_rel(rel) {}

size_t VoidRelIter::Size() const {
  if (!m_pRp) return 0;
  const std::vector<VoidID>* v = m_pRp->RelTuples(m_owner, m_rel);
  return v ? v->size() / WidthOf(m_rel) : 0;
}

VoidID VoidRelIter::GetArgID(int arg) const {
  if (arg == 0) return m_owner;
  if (!m_pRp) return VoidID::NullID;
  const std::vector<VoidID>* v = m_pRp->RelTuples(m_owner, m_rel);
  size_t w = WidthOf(m_rel);
  size_t at = m_pos * w + static_cast<size_t>(arg - 1);
  if (!v || arg < 1 || static_cast<size_t>(arg) > w || at >= v->size()) return VoidID::NullID;
  return (*v)[at];
}

RefARpObject VoidRelIter::GetArgObjRef(int arg) const {
  VoidID id = GetArgID(arg);
  return id.IsNullID() ? RefARpObject() : RefARpObject(m_pRp, id);
}

bool VoidRelIter::IsExistingRelationship(const VoidIDVector& tuple) const {
  if (!m_pRp || tuple.size() != WidthOf(m_rel)) return false;
  return m_pRp->RelFind(m_owner, m_rel, tuple.data(), tuple.size()) != static_cast<size_t>(-1);
}

bool BinaryRelIterBase::Insert(const VoidID& id) { return m_pRp && m_pRp->RelInsert(m_owner, m_rel, &id, 1); }
bool BinaryRelIterBase::Erase(const VoidID& id) { return m_pRp && m_pRp->RelErase(m_owner, m_rel, &id, 1); }
bool BinaryRelIterBase::Contains(const VoidID& id) const { return m_pRp && m_pRp->RelContains(m_owner, m_rel, id); }
void BinaryRelIterBase::Clear() { if (m_pRp) m_pRp->RelClear(m_owner, m_rel); }

bool BinaryRelIterBase::MoveUp(const VoidID& id) {
  if (!m_pRp) return false;
  size_t i = m_pRp->RelFind(m_owner, m_rel, &id, 1);
  return i != static_cast<size_t>(-1) && m_pRp->RelMove(m_owner, m_rel, i, -1);
}

bool BinaryRelIterBase::MoveDown(const VoidID& id) {
  if (!m_pRp) return false;
  size_t i = m_pRp->RelFind(m_owner, m_rel, &id, 1);
  return i != static_cast<size_t>(-1) && m_pRp->RelMove(m_owner, m_rel, i, +1);
}

VoidIDVector BinaryRelIterBase::IDs() const {
  if (!m_pRp) return {};
  const std::vector<VoidID>* v = m_pRp->RelTuples(m_owner, m_rel);
  return v ? *v : VoidIDVector();
}

namespace ARelation {

bool InsertRelationship(ARpGateway* rp, RelID rel, const VoidIDVector& tuple) {
  if (!rp || tuple.size() < 2) return false;
  return rp->RelInsert(tuple[0], rel, tuple.data() + 1, tuple.size() - 1);
}

bool EraseRelationship(ARpGateway* rp, RelID rel, const VoidIDVector& tuple) {
  if (!rp || tuple.size() < 2) return false;
  return rp->RelErase(tuple[0], rel, tuple.data() + 1, tuple.size() - 1);
}

}  // namespace ARelation

}  // namespace qorl
