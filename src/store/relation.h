// Ordered relations. A relation instance is the list of tuples that one owner
// has under one RelID; the gateway keeps the lists and a reverse index from
// member to owner, so that membership tests and deletions are not scans.
#pragma once

#include "store/object.h"

namespace qorl {

using RelID = uint16_t;
enum : RelID {
#define QORL_RELATION(Id, Name, Owner, Member, Arity) Name = Id,
#include "store/relations.def"
#undef QORL_RELATION
};

struct RelDesc {
  RelID id;
  const char* name;
  TypeID ownerType;
  TypeID memberType;
  uint8_t arity;
};
const RelDesc* FindRelDesc(RelID id);
std::span<const RelDesc> AllRelDescs();

// Walks the tuples of one owner's relation. Position 0 is the first tuple.
class VoidRelIter {
 public:
  VoidRelIter() = default;
  VoidRelIter(ARpGateway* rp, const VoidID& owner, RelID rel);
  size_t Size() const;
  void ToBegin() { m_pos = 0; }
  void ToEnd() { m_pos = Size(); }
  bool AtEnd() const { return m_pos >= Size(); }
  VoidRelIter& operator++() { ++m_pos; return *this; }
  size_t Position() const { return m_pos; }
  // Argument 0 is the owner, 1 and up the members of the current tuple.
  VoidID GetArgID(int arg) const;
  RefARpObject GetArgObjRef(int arg) const;
  // `tuple` holds the members without the owner.
  bool IsExistingRelationship(const VoidIDVector& tuple) const;
  const VoidID& Owner() const { return m_owner; }
  RelID GetRelID() const { return m_rel; }
  ARpGateway* GetGateway() const { return m_pRp; }
  friend bool operator==(const VoidRelIter& a, const VoidRelIter& b) {
    return a.m_pRp == b.m_pRp && a.m_owner == b.m_owner && a.m_rel == b.m_rel && a.m_pos == b.m_pos;
  }

 protected:
  ARpGateway* m_pRp = nullptr;
  VoidID m_owner;
  RelID m_rel = 0;
  size_t m_pos = 0;
};

// The owner -> member relations the accessors hand out (ATable::GetColumns).
class BinaryRelIterBase : public VoidRelIter {
 public:
  using VoidRelIter::VoidRelIter;
  // Appends; a member already in the relation stays where it is.
  bool Insert(const VoidID& id);
  bool Erase(const VoidID& id);
  bool Contains(const VoidID& id) const;
  // Moves a member one place towards the front or the back.
  bool MoveUp(const VoidID& id);
  bool MoveDown(const VoidID& id);
  void Clear();
  VoidID GetID() const { return GetArgID(1); }
  VoidIDVector IDs() const;
};

template <class T>
class BinaryRelIter : public BinaryRelIterBase {
 public:
  using BinaryRelIterBase::BinaryRelIterBase;
  using BinaryRelIterBase::Insert;
  using BinaryRelIterBase::Erase;
  using BinaryRelIterBase::Contains;
  using BinaryRelIterBase::MoveUp;
  using BinaryRelIterBase::MoveDown;
  bool Insert(const Ref<T>& r) { return !r.IsNullRef() && Insert(r.GetID()); }
  bool Erase(const Ref<T>& r) { return Erase(r.GetID()); }
  bool Contains(const Ref<T>& r) const { return Contains(r.GetID()); }
  bool MoveUp(const Ref<T>& r) { return MoveUp(r.GetID()); }
  bool MoveDown(const Ref<T>& r) { return MoveDown(r.GetID()); }
  Ref<T> GetObjRef() const { return Ref<T>(GetArgObjRef(1)); }
  Ref<T> operator*() const { return GetObjRef(); }
  BinaryRelIter& operator++() { ++m_pos; return *this; }
  // The members that can be reached, in relation order.
  std::vector<Ref<T>> Members() const {
    std::vector<Ref<T>> out;
    for (const VoidID& id : IDs()) {
      Ref<T> r(RefARpObject(m_pRp, id));
      if (!r.IsNullRef()) out.push_back(r);
    }
    return out;
  }
};

template <class T>
void ClearIterator(BinaryRelIter<T> it) { it.Clear(); }

template <class T>
void InsertIterator(BinaryRelIter<T> target, BinaryRelIter<T> source) {
  for (const VoidID& id : source.IDs()) target.Insert(id);
}

// Tuple-level access. `tuple` holds the owner first, then the members.
namespace ARelation {
bool InsertRelationship(ARpGateway* rp, RelID rel, const VoidIDVector& tuple);
bool EraseRelationship(ARpGateway* rp, RelID rel, const VoidIDVector& tuple);
}  // namespace ARelation

}  // namespace qorl
