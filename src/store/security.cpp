#include "platform/guid.h"
#include "store/classes.h"

namespace qorl {

// Fixed so that every repository's built-in accounts match across documents.
void AAuthorizer::GetAdministratorUIDs(VXUpgradeID& user, VXUpgradeID& group) {
  TKSGUIDGenerator::VXStringToGUIDByteVector(user, "5f0d2a31-7c44-4b8e-9a61-0c3e8d2b7a01");
  TKSGUIDGenerator::VXStringToGUIDByteVector(group, "5f0d2a31-7c44-4b8e-9a61-0c3e8d2b7a02");
}

// The internal account is the built-in administrators group: documents
// carry its name encrypted, and a load decrypts it again.
void AAuthorizer::GetMandatorySecurityObjectsUIDs(VXUpgradeID& internalAccount) {
  VXUpgradeID user;
  GetAdministratorUIDs(user, internalAccount);
}

}  // namespace qorl
