// Handlers of the physical sources elements.
#include "load/handler.h"
#include "load/manager.h"

namespace qorl {

std::span<const HandlerRow> PhysicalSourceHandlers() { return {}; }

}  // namespace qorl
