// Handlers of the physical tables elements.
#include "load/handler.h"
#include "load/manager.h"

namespace qorl {

std::span<const HandlerRow> PhysicalTableHandlers() { return {}; }

}  // namespace qorl
