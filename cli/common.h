// Shared pieces of the qorl subcommands: global options, logging set-up,
// opening repositories and reporting errors the same way everywhere.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "qorl/diagnostics.h"
#include "qorl/repository.h"

namespace CLI { class App; }

namespace qorl::cli {

struct GlobalOptions {
  bool verbose = false;
  bool quiet = false;
  std::string logFile;
  std::string diagnostics = "text";  // or "json"
  std::optional<std::string> password;
  double lockTimeout = 5;  // seconds to wait for another process's write lock or commit
  std::string passwordFile;
  int exitCode = 0;
};

// 0: done; 1: the documents or the repository have errors (for a comparison:
// they differ); 2: the command line is wrong, or a comparison could not be made.
enum ExitCode { kExitOK = 0, kExitFailure = 1, kExitUsage = 2 };

// A command line that cannot be carried out as written: exit code 2.
class UsageError : public std::runtime_error {
 public:
  explicit UsageError(const std::string& message);
  explicit UsageError(Diagnostic diagnostic);
  const qorl::Diagnostic& Details() const noexcept { return m_diagnostic; }

 private:
  qorl::Diagnostic m_diagnostic;
};

// Runs a subcommand body: installs the log sink the options ask for, turns a
// qorl::Error (or any exception) into diagnostics and a failing exit code
// (a UsageError into 2).
int RunCommand(const GlobalOptions& g, const std::function<int()>& body);

// Diagnostics of the command that runs: one line each on stderr, as text or
// as a JSON object (--diagnostics=json), and every one into the --log file.
// Warnings and notes are left off stderr under --quiet. Outside RunCommand
// they go to stderr as text.
void Report(const Diagnostic& diagnostic);
void Report(const std::vector<Diagnostic>& diagnostics);
// The command's own word on the outcome, as a diagnostic without a number:
// e.g. a note that nothing was loaded, about the repository `file`.
void Remark(Severity severity, const std::string& message, const std::filesystem::path& file = {});
// Writes one diagnostic on stderr in the chosen form, for a failure found
// before any command runs (a usage error).
void ReportOutsideCommand(const GlobalOptions& g, const Diagnostic& diagnostic);

// The repository password: --repository-password or --repository-password-file,
// else QORL_REPOSITORY_PASSWORD; throws UsageError if none.
std::string RepositoryPassword(const GlobalOptions& g);
// Commands that commit open for writing: they hold the file from their read
// to their commit, and another writer waits for them.
OpenOptions RepositoryOptions(const GlobalOptions& g, Access access);
Repository OpenRepository(const GlobalOptions& g, const std::string& path, Access access);
// The first line of a password file, without its line end; an unreadable
// file is a UsageError that names it.
std::string ReadPasswordFile(const std::string& path);

// The documents a command reads, as named on its command line: "-" is
// standard input, copied once into a temporary file that lives as long as
// this object; diagnostics name it <stdin>. "-" given twice is a UsageError.
class InputDocuments {
 public:
  explicit InputDocuments(const std::vector<std::string>& names);
  ~InputDocuments();
  InputDocuments(const InputDocuments&) = delete;
  InputDocuments& operator=(const InputDocuments&) = delete;
  const std::vector<std::filesystem::path>& Paths() const { return m_paths; }

 private:
  std::vector<std::filesystem::path> m_paths;
  std::filesystem::path m_stdinCopy;
};

// A JSON string literal of UTF-8 text.
std::string JsonString(const std::string& text);

void RegisterInit(CLI::App& app, GlobalOptions& g);
void RegisterInfo(CLI::App& app, GlobalOptions& g);
void RegisterGen(CLI::App& app, GlobalOptions& g);
void RegisterLoad(CLI::App& app, GlobalOptions& g);
void RegisterCheckPassword(CLI::App& app, GlobalOptions& g);
void RegisterCheck(CLI::App& app, GlobalOptions& g);
void RegisterSample(CLI::App& app, GlobalOptions& g);

}  // namespace qorl::cli
