// Text form and generation of the 16-byte upgrade identifiers (the "uid" of
// documents): 36 lower-case hex characters in groups 8-4-4-4-12.
#pragma once

#include "qorl/vxstring.h"

namespace qorl {

class VXUpgradeID;

namespace TKSGUIDGenerator {

// Empty text for an empty identifier.
VXString ByteVectorToGUIDString(const VXUpgradeID& id);
// Accepts either case, with or without surrounding braces. Bad text clears id
// and gives false.
bool VXStringToGUIDByteVector(VXUpgradeID& id, const VXString& text);
bool IsGUIDByteVectorInitialized(const VXUpgradeID& id);
// A random version-4 identifier.
void GetNextGUIDByteVector(VXUpgradeID& id);
// The loader's quick test: at least ten characters and '-' as the ninth.
bool LooksLikeGUIDText(const VXString& text);

}  // namespace TKSGUIDGenerator
}  // namespace qorl
