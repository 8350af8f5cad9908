// Shared pieces of the qorl subcommands: global options, logging set-up,
// opening repositories and reporting errors the same way everywhere.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "qorl/repository.h"

namespace CLI { class App; }

namespace qorl::cli {

struct GlobalOptions {
  bool verbose = false;
  bool quiet = false;
  std::string logFile;
  std::optional<std::string> password;
  int exitCode = 0;
};

enum ExitCode { kExitOK = 0, kExitFailure = 1, kExitUsage = 2 };

// Runs a subcommand body: installs the log sink the options ask for, turns a
// qorl::Error (or any exception) into text on stderr and a failing exit code.
int RunCommand(const GlobalOptions& g, const std::function<int()>& body);
// The repository password from the options or the environment; throws if none.
std::string RepositoryPassword(const GlobalOptions& g);
Repository OpenRepository(const GlobalOptions& g, const std::string& path);

void RegisterInit(CLI::App& app, GlobalOptions& g);
void RegisterInfo(CLI::App& app, GlobalOptions& g);
void RegisterGen(CLI::App& app, GlobalOptions& g);
void RegisterLoad(CLI::App& app, GlobalOptions& g);
void RegisterCheckPassword(CLI::App& app, GlobalOptions& g);
void RegisterCheck(CLI::App& app, GlobalOptions& g);
void RegisterSample(CLI::App& app, GlobalOptions& g);

}  // namespace qorl::cli
