#include "store/object_refs.h"

#include "store/gateway.h"

namespace qorl {

void SetParentOf(ARpObject& obj, const RefARpObject& parent) {
  ARpGateway* rp = obj.GetGateway();
  if (rp && !obj.IsDead()) rp->SetParent(&obj, IdOf(parent));
}

void SetParentInList(ARpObject& obj, const RefARpObject& parent, RelID rel, TypeID listOwner) {
  ARpGateway* rp = obj.GetGateway();
  if (!rp || obj.IsDead()) return;
  auto keepsList = [listOwner](const VoidID& id) {
    return !id.IsNullID() && (listOwner == kTIDUnknown || id.GetTypeID() == listOwner);
  };
  VoidID former = obj.GetParentID();
  VoidID next = IdOf(parent);
  if (former != next && keepsList(former)) BinaryRelIterBase(rp, former, rel).Erase(obj.GetID());
  rp->SetParent(&obj, next);
  if (keepsList(next)) BinaryRelIterBase(rp, next, rel).Insert(obj.GetID());
}

}  // namespace qorl
