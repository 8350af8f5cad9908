// Writers of the physical sources elements.
#include "gen/elements.h"
#include "gen/generator.h"

namespace qorl {

std::span<const ElementWriter> PhysicalSourceElementWriters() { return {}; }

}  // namespace qorl
