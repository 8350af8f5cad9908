// Writers of the logical sources elements.
#include "gen/elements.h"
#include "gen/generator.h"

namespace qorl {

std::span<const ElementWriter> LogicalSourceElementWriters() { return {}; }

}  // namespace qorl
