#include "cli/common.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <iostream>
#include <memory>

#include "qorl/diagnostics.h"
#include "qorl/log.h"

namespace qorl::cli {

namespace {

const char* KindName(LogKind k) {
  switch (k) {
    case LogKind::Error: return "error";
    case LogKind::Warning: return "warning";
    case LogKind::Notification: return "note";
    case LogKind::Trace: return "trace";
  }
  return "log";
}

}  // namespace

int RunCommand(const GlobalOptions& g, const std::function<int()>& body) {
  std::shared_ptr<std::ofstream> log;
  if (!g.logFile.empty()) {
    log = std::make_shared<std::ofstream>(g.logFile, std::ios::app);
    if (!*log) {
      std::cerr << "error: " << MessageText(messages::kCannotWriteFile, {g.logFile}) << "\n";
      return kExitFailure;
    }
  }
  LogSink previous = SetLogSink([&g, log](LogKind kind, int level, const std::string& text) {
    bool show = kind == LogKind::Error || (kind == LogKind::Warning && !g.quiet) || g.verbose;
    if (show) std::cerr << KindName(kind) << ": " << text << "\n";
    if (log) {
      char stamp[32];
      std::time_t now = std::time(nullptr);
      std::strftime(stamp, sizeof stamp, "%Y-%m-%dT%H:%M:%S", std::localtime(&now));
      *log << stamp << " " << KindName(kind) << "[" << level << "] " << text << "\n";
    }
  });
  EnableProgress(!g.quiet && StderrIsTerminal());
  int rc;
  try {
    rc = body();
  } catch (const Error& e) {
    std::cerr << "error: " << e.what() << "\n";
    if (log) *log << "error: " << e.what() << "\n";
    rc = kExitFailure;
  } catch (const std::exception& e) {
    std::cerr << "error: " << e.what() << "\n";
    rc = kExitFailure;
  }
  SetLogSink(previous);
  return rc;
}

std::string RepositoryPassword(const GlobalOptions& g) {
  if (!g.password) throw Error(messages::kNoRepositoryPassword);
  return *g.password;
}

OpenOptions RepositoryOptions(const GlobalOptions& g, Access access) {
  OpenOptions o;
  o.access = access;
  o.wait = std::chrono::milliseconds(static_cast<long long>(g.lockTimeout * 1000));
  return o;
}

Repository OpenRepository(const GlobalOptions& g, const std::string& path, Access access) {
  return Repository::Open(path, RepositoryPassword(g), RepositoryOptions(g, access));
}

}  // namespace qorl::cli
