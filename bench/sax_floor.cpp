// The floor a load is measured against: a Xerces SAX2 parse of the same file
// with empty handlers, the same reader settings as the load.
// Usage: qorl_bench_sax_floor FILE
#include <chrono>
#include <cstdio>

#include <xercesc/sax2/DefaultHandler.hpp>

#include "load/xml_reader.h"

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s FILE\n", argv[0]);
    return 2;
  }
  qorl::EnsureXMLPlatform();
  qorl::SaxReader reader;
  xercesc::DefaultHandler empty;
  reader.SetHandlers(&empty, &empty, &empty);
  auto t0 = std::chrono::steady_clock::now();
  reader.ParseFile(qorl::VXString(argv[1]));
  double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  std::printf("%.3f\n", secs);
  return reader.GetErrorCount() == 0 ? 0 : 1;
}
