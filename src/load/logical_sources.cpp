// Handlers of the logical sources elements.
#include "load/handler.h"
#include "load/manager.h"

namespace qorl {

std::span<const HandlerRow> LogicalSourceHandlers() { return {}; }

}  // namespace qorl
