// What the loader's fuzz target does with one input, shared with the test
// that replays the seed corpus and every input that once failed.
//
// The input is one to four QORL documents separated by form feeds (a
// character no XML document may hold), loaded in one load through the files
// the command would read, so that the parser decodes the bytes itself: byte
// order marks, declared encodings and broken UTF-8 included. The repository
// is opened afresh from a file for each input and never committed to (a new
// repository would derive a new key each time, slower than all the rest).
// The input's length picks the load's options, so that a mutation of one byte
// reaches every combination. A successful load is written back as a document.
// Failures the load reports are fine; anything else (another exception, a
// crash, a sanitizer report) is a finding.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "gen/generator.h"
#include "load/parser.h"
#include "platform/error.h"
#include "platform/serverlog.h"
#include "store/gateway.h"

namespace qorl::fuzz {

// Documents of the seed corpus were written from repositories with this
// password, so that their secrets open.
inline constexpr const char* kPassword = "fuzz";
inline constexpr char kDocumentSeparator = '\f';
inline constexpr size_t kMaxDocuments = 4;

class DocumentLoader {
 public:
  DocumentLoader() {
    std::string dirTemplate = (std::filesystem::temp_directory_path() / "qorl_fuzz_XXXXXX").string();
    if (!mkdtemp(dirTemplate.data())) throw std::runtime_error("cannot make a temporary directory");
    m_dir = dirTemplate;
    m_repository = VXString((m_dir / "repository.db").string());
    ARpGateway::Create(m_repository, VXString(kPassword));
    // What the load logs is not under test, and printing it would slow every run.
    m_previousSink = ServerLog::SetSink([](const ServerLog::Record&) {});
  }
  ~DocumentLoader() {
    ServerLog::SetSink(m_previousSink);
    std::error_code ec;
    std::filesystem::remove_all(m_dir, ec);
  }
  DocumentLoader(const DocumentLoader&) = delete;
  DocumentLoader& operator=(const DocumentLoader&) = delete;

  // True when the documents loaded. Throws only what the load must never throw.
  bool Load(std::string_view input) {
    VXStringVector files, passwords;
    for (size_t start = 0; start <= input.size() && files.size() < kMaxDocuments;) {
      size_t end = input.find(kDocumentSeparator, start);
      if (end == std::string_view::npos || files.size() + 1 == kMaxDocuments) end = input.size();
      std::filesystem::path file = m_dir / ("doc" + std::to_string(files.size()) + ".xml");
      std::ofstream(file, std::ios::binary | std::ios::trunc).write(input.data() + start, end - start);
      files.push_back(VXString(file.string()));
      passwords.push_back(VXString(kPassword));
      start = end + 1;
    }
    const bool ignoreErrors = input.size() & 1, renameDuplicates = input.size() & 2;

    auto rp = ARpGateway::Open(m_repository, VXString(kPassword));
    ErrorMessage err;
    VXString warnings;
    VoidIDVector created, modified, deleted;
    bool ok = false;
    try {
      ok = QORLParser::ExecuteTransactionalXML(rp.get(), files, passwords, err, warnings, created, modified, deleted,
                                               QORLParser::QORLFile, true, true, ignoreErrors, renameDuplicates,
                                               false, false, false);
    } catch (const ErrorMessage&) {
      return false;
    }
    if (!ok) return false;
    // Whatever the load accepted, the generator must write without a fault;
    // an error it reports is its answer.
    VXString genErrors, doc;
    try {
      QORLGenerator::GenerateQORL(rp.get(), genErrors, doc, {}, false, false, true, true,
                                  QORLScriptGenerateEverything, false, false);
    } catch (const ErrorMessage&) {
    }
    return true;
  }

 private:
  std::filesystem::path m_dir;
  VXString m_repository;
  ServerLog::Sink m_previousSink;
};

}  // namespace qorl::fuzz
