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
  const AMetaClass* owner = listOwner == kTIDUnknown ? nullptr : AMetaClass::FromTypeID(listOwner);
  auto keepsList = [owner](const VoidID& id) {
    if (id.IsNullID()) return false;
    const AMetaClass* cls = AMetaClass::FromTypeID(id.GetTypeID());
    return !owner || (cls && cls->IsA(owner));
  };
  VoidID former = obj.GetParentID();
  VoidID next = IdOf(parent);
  if (former != next && keepsList(former)) BinaryRelIterBase(rp, former, rel).Erase(obj.GetID());
  rp->SetParent(&obj, next);
  if (keepsList(next)) BinaryRelIterBase(rp, next, rel).Insert(obj.GetID());
}

}  // namespace qorl
