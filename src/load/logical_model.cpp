// Handlers of the logical model elements.
#include "load/handler.h"
#include "load/manager.h"

namespace qorl {

std::span<const HandlerRow> LogicalModelHandlers() { return {}; }

}  // namespace qorl
