// What Repository::AddSample makes: a deterministic synthetic repository, the
// input of benchmarks and of tests that need size.
#pragma once

#include <cstdint>

namespace qorl {

struct SampleOptions {
  std::uint64_t objects = 10000;  // about how many objects
  std::uint64_t seed = 1;         // the same seed gives the same objects
};

}  // namespace qorl
