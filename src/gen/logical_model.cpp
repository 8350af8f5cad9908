// Writers of the logical model elements.
#include "gen/elements.h"
#include "gen/generator.h"

namespace qorl {

std::span<const ElementWriter> LogicalModelElementWriters() { return {}; }

}  // namespace qorl
