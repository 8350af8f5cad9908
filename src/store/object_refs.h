// How store classes keep links to other objects: as ids, turned into
// references on the way out, so that an object never holds another alive.
// One version of each helper, shared by every family.
#pragma once

#include "store/object.h"

namespace qorl {

// The id to store for a link; the null id for a null reference.
inline VoidID IdOf(const RefARpObject& o) { return o.IsNullRef() ? VoidID::NullID : o.GetID(); }

}  // namespace qorl
