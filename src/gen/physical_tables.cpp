// Writers of the physical tables elements.
#include "gen/elements.h"
#include "gen/generator.h"

namespace qorl {

std::span<const ElementWriter> PhysicalTableElementWriters() { return {}; }

}  // namespace qorl
