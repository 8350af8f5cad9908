// Measures that writing a document to a file streams: the resident memory
// grown during generation stays near the output buffer, whatever the size of
// the document.  Usage: qorl_bench_gen_stream N [file]
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "gen/generator.h"
#include "store/metadata_util.h"

using namespace qorl;

static long CurrentRssKiB() {
  std::ifstream in("/proc/self/statm");
  long pages = 0, rss = 0;
  in >> pages >> rss;
  return rss * 4;
}

int main(int argc, char** argv) {
  size_t n = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 100000;
  std::string path = argc > 2 ? argv[2] : "/tmp/qorl_bench_gen.xml";
  auto rp = ARpGateway::CreateInMemory("bench");
  RefARpObject db = rp->CreateObject(kTIDADatabase);
  db->SetName("db");
  RefARpObject table;
  for (size_t i = 0; i < n; ++i) {
    if (i % 50 == 0) {
      table = rp->CreateObject(kTIDATable);
      table->SetName(VXString("TABLE_") + VXString::FromUInt(i / 50));
      MetadataUtil::SetParent(table, db);
      continue;
    }
    RefARpObject c = rp->CreateObject(kTIDAColumn);
    c->SetName(VXString("COLUMN_") + VXString::FromUInt(i));
    c->SetDescription("A column of the benchmark table, with a description of ordinary length.");
    MetadataUtil::SetParent(c, table);
  }
  rp->Commit();
  long before = CurrentRssKiB();
  auto t0 = std::chrono::steady_clock::now();
  VXString err;
  VXString out(path);
  bool ok = QORLGenerator::GenerateQORL(rp.get(), err, out, {}, false, false, true, true, QORLScriptGenerateEverything,
                                        true, false);
  double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  long after = CurrentRssKiB();
  std::ifstream f(path, std::ios::ate | std::ios::binary);
  std::printf("objects=%zu ok=%d seconds=%.3f document_bytes=%lld rss_before_kib=%ld rss_after_kib=%ld grown_kib=%ld\n",
              rp->ObjectCount(), ok, secs, static_cast<long long>(f.tellg()), before, after, after - before);
  return ok ? 0 : 1;
}
