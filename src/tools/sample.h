// A deterministic synthetic repository of about N objects, spread over the
// element types, with realistic names, descriptions and references: the input
// of benchmarks and of tests that need size.
#pragma once

#include <cstdint>

#include "qorl/sample.h"
#include "store/gateway.h"

namespace qorl {

// Adds the objects to `rp` (which the caller commits). Returns how many were made.
uint64_t BuildSampleRepository(ARpGateway& rp, const SampleOptions& options);

}  // namespace qorl
