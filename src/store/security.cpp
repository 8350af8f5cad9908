#include <utility>

#include "platform/guid.h"
#include "store/classes.h"

namespace qorl {

// Fixed so that every repository's built-in accounts match across documents.
void AAuthorizer::GetAdministratorUIDs(VXUpgradeID& user, VXUpgradeID& group) {
  // Parsed once: loads ask for them per reference.
  static const std::pair<VXUpgradeID, VXUpgradeID> kUIDs = [] {
    std::pair<VXUpgradeID, VXUpgradeID> ids;
    TKSGUIDGenerator::VXStringToGUIDByteVector(ids.first, "5f0d2a31-7c44-4b8e-9a61-0c3e8d2b7a01");
    TKSGUIDGenerator::VXStringToGUIDByteVector(ids.second, "5f0d2a31-7c44-4b8e-9a61-0c3e8d2b7a02");
    return ids;
  }();
  user = kUIDs.first;
  group = kUIDs.second;
}

// The internal account is the built-in administrators group: documents
// carry its name encrypted, and a load decrypts it again.
void AAuthorizer::GetMandatorySecurityObjectsUIDs(VXUpgradeID& internalAccount) {
  VXUpgradeID user;
  GetAdministratorUIDs(user, internalAccount);
}

bool AAuthorizer::IsMandatorySecurityObject(const ARpObject& o) {
  TypeID type = o.GetTypeID();
  if (type != kTIDAUser && type != kTIDASecurityRole) return false;
  VXUpgradeID user, group;
  GetAdministratorUIDs(user, group);
  return o.UpgradeID() == (type == kTIDAUser ? user : group);
}

}  // namespace qorl
