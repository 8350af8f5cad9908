// A deterministic synthetic repository of about N objects, spread over the
// element types, with realistic names, descriptions and references: the input
// of benchmarks and of tests that need size.
#pragma once

#include <cstdint>

#include "store/gateway.h"

namespace qorl {

// Adds about `objects` objects to `rp` (which the caller commits); the same
// seed gives the same objects. Returns how many were made.
uint64_t BuildSampleRepository(ARpGateway& rp, uint64_t objects, uint64_t seed);

}  // namespace qorl
