#include "qorl/version.h"

namespace qorl {

const char* Version() noexcept { return QORL_VERSION; }

}  // namespace qorl
