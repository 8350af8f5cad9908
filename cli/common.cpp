#include "cli/common.h"

#include <cstdio>
#include <ctime>
#include <fstream>
#include <iostream>

#include "platform/error.h"
#include "platform/progress.h"
#include "platform/serverlog.h"

namespace qorl::cli {

namespace {

const char* KindName(ServerLog::Kind k) {
  switch (k) {
    case ServerLog::kError: return "error";
    case ServerLog::kWarning: return "warning";
    case ServerLog::kNotification: return "note";
    case ServerLog::kTrace: return "trace";
  }
  return "log";
}

}  // namespace

int RunCommand(const GlobalOptions& g, const std::function<int()>& body) {
  std::shared_ptr<std::ofstream> log;
  if (!g.logFile.empty()) {
    log = std::make_shared<std::ofstream>(g.logFile, std::ios::app);
    if (!*log) {
      std::cerr << "error: " << SUStrUtil::LoadMsgStringOnly(46003, VXString(g.logFile)).ToUTF8() << "\n";
      return kExitFailure;
    }
  }
  ServerLog::Sink previous = ServerLog::SetSink([&g, log](ServerLog::Kind kind, int level, const VXString& text) {
    bool show = kind == ServerLog::kError || (kind == ServerLog::kWarning && !g.quiet) || g.verbose;
    if (show) std::cerr << KindName(kind) << ": " << text.ToUTF8() << "\n";
    if (log) {
      char stamp[32];
      std::time_t now = std::time(nullptr);
      std::strftime(stamp, sizeof stamp, "%Y-%m-%dT%H:%M:%S", std::localtime(&now));
      *log << stamp << " " << KindName(kind) << "[" << level << "] " << text.ToUTF8() << "\n";
    }
  });
  Progress::SetAllowed(!g.quiet && Progress::StderrIsTerminal());
  int rc;
  try {
    rc = body();
  } catch (const ErrorMessage& e) {
    VXString text;
    e.RetrieveErrorMessages(text);
    std::cerr << "error: " << text.ToUTF8() << "\n";
    if (log) *log << "error: " << text.ToUTF8() << "\n";
    rc = kExitFailure;
  } catch (const std::exception& e) {
    std::cerr << "error: " << e.what() << "\n";
    rc = kExitFailure;
  }
  ServerLog::SetSink(previous);
  return rc;
}

VXString RepositoryPassword(const GlobalOptions& g) {
  if (!g.password) throw ErrorMessage(99011);
  return VXString(*g.password);
}

std::unique_ptr<ARpGateway> OpenRepository(const GlobalOptions& g, const std::string& path) {
  return ARpGateway::Open(VXString(path), RepositoryPassword(g));
}

}  // namespace qorl::cli
