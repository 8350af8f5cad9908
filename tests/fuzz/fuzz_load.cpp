// libFuzzer target for the load (built with -DQORL_FUZZ=ON; see scripts/fuzz.sh).
#include <cstddef>
#include <cstdint>

#include "fuzz/load_documents.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static qorl::fuzz::DocumentLoader loader;
  loader.Load(std::string_view(reinterpret_cast<const char*>(data), size));
  return 0;
}
