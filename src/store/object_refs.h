// How store classes keep links to other objects: as ids, turned into
// references on the way out, so that an object never holds another alive.
// One version of each helper, shared by every family.
#pragma once

#include "store/object.h"
#include "store/relation.h"

namespace qorl {

// The id to store for a link; the null id for a null reference.
inline VoidID IdOf(const RefARpObject& o) { return o.IsNullRef() ? VoidID::NullID : o.GetID(); }

// A stored link as a reference: null for the null id, for an object not in a
// store (no gateway to look in), and for an object of another class.
template <class T>
Ref<T> RefOf(ARpGateway* rp, const VoidID& id) {
  return id.IsNullID() || !rp ? Ref<T>() : Ref<T>(RefARpObject(rp, id));
}

// Makes `parent` the object's parent. An object outside a store or already
// deleted is left alone.
void SetParentOf(ARpObject& obj, const RefARpObject& parent);

// As SetParentOf, and keeps the parents' ordered lists `rel` in step: the
// former parent drops the object, the new one appends it. With `listOwner`
// given, only parents of that class (or a derived one) keep such a list (a key belongs
// to a level or a logical table; only the table lists its keys).
void SetParentInList(ARpObject& obj, const RefARpObject& parent, RelID rel, TypeID listOwner = kTIDUnknown);

}  // namespace qorl
