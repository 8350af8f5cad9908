// Every repository a test makes derives a key, and the test program makes
// hundreds; at the product's count that derivation would dominate the run.
// Lowered once for the whole program before any test starts; tests of the
// count itself set their own and put this one back.
#include "platform/crypto.h"

namespace qorl::test {

[[maybe_unused]] const bool kLowKeyIterations = (crypto::detail::SetNewKeyIterationsForTests(1000), true);

}  // namespace qorl::test
