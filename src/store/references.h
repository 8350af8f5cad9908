// The references an object keeps in its members (ids, expressions and the
// structures made of them), as opposed to its parent and its relations, which
// the gateway indexes itself. A deletion walks them to find the objects that
// name a deleted one, and each member says what such a reference does:
//
//   most members drop it: an id is cleared, an expression emptied, an entry
//   standing for the reference (a column mapping, a join of a source's graph,
//   a replication entry) removed;
//
//   a few cannot live without it and take their owner along: the expressions
//   of a complex join, the definition of a logical column, the entity of a
//   logical join's role, the dimension of an aggregation rule, the source of
//   an override rule. So do the tables of a complex join (a relation).
#pragma once

#include <unordered_set>

#include "store/object.h"
#include "store/relation.h"

namespace qorl {

// Ids of objects that are being deleted or are gone.
class IdSet {
 public:
  bool Has(const VoidID& id) const { return !m_keys.empty() && !id.IsNullID() && m_keys.count(id.Key()) != 0; }
  bool Has(uint64_t key) const { return m_keys.count(key) != 0; }
  bool Insert(const VoidID& id) { return m_keys.insert(id.Key()).second; }
  bool Empty() const { return m_keys.empty(); }
  size_t Size() const { return m_keys.size(); }
  void Clear() { m_keys.clear(); }

 private:
  std::unordered_set<uint64_t> m_keys;
};

// What the references of one object to a set of objects come to.
enum class RefHit : uint8_t { None, Drop, TakeOwner };

// The strongest effect of `obj`'s member references to objects of `gone`;
// `named` gets one such object (the first met by the strongest effect).
RefHit FindMemberReferences(ARpObject& obj, const IdSet& gone, VoidID& named);

// Drops every member reference of `obj` to an object of `gone`, as its member
// says, and marks the object changed when one went. References that take
// their owner are dropped too: the caller deletes such an owner instead.
void DropMemberReferences(ARpObject& obj, const IdSet& gone);

// The relation's owner cannot lose a member: it goes with it.
bool RelationTakesOwner(RelID rel);

// Whether the walk looks into the member: every id, id list and expression,
// and the structured members known to hold ids. A test holds every other
// structured member to holding none.
bool WalksMember(const AMetaClass* cls, const PropDesc& prop);

}  // namespace qorl
