// qorl load and qorl check-password.
#include <CLI/CLI.hpp>

#include <filesystem>
#include <iostream>

#include "cli/common.h"
#include "qorl/load.h"

namespace qorl::cli {

namespace {

struct LoadArgs {
  std::string repo;
  std::vector<std::string> files;
  std::vector<std::string> passwords;
  bool ignoreErrors = false;
  std::string exprErrors = "error";
  std::string passwordErrors = "error";
  bool renameDuplicates = false;
  bool validate = false;
  bool dryRun = false;
  bool strict = false;
};

std::vector<std::filesystem::path> ToPaths(const std::vector<std::string>& v) {
  return std::vector<std::filesystem::path>(v.begin(), v.end());
}

// The options a load and its dry run share, so that the dry run reads each
// document as the load would.
LoadOptions ToLoadOptions(const LoadArgs& a) {
  LoadOptions o;
  o.passwords = a.passwords;
  o.ignoreErrors = a.ignoreErrors;
  o.expressionErrors = a.exprErrors == "error" ? OnProblem::Fail : OnProblem::Warn;
  o.passwordErrors = a.passwordErrors == "error" ? OnProblem::Fail : OnProblem::Warn;
  o.renameDuplicates = a.renameDuplicates;
  o.validate = a.validate;
  o.strict = a.strict;
  return o;
}

// ---- summaries --------------------------------------------------------------

// What a load did (or, for check, would do), judged by what changed.
std::string Summary(const LoadReport& r) {
  if (r.created == 0 && r.changed == 0 && r.deleted == 0)
    return "nothing changed (" + std::to_string(r.unchanged) + " unchanged)";
  return std::to_string(r.created) + " created, " + std::to_string(r.changed) + " changed, " +
         std::to_string(r.unchanged) + " unchanged, " + std::to_string(r.deleted) + " deleted";
}

int DryRun(const Repository& rp, const LoadArgs& a) {
  bool ok = true;
  std::cout << "dry run: lists what the documents declare; references are not resolved and nothing is applied "
               "(qorl check tests the whole load)\n";
  for (const Declaration& d : rp.Declared(ToPaths(a.files), ToLoadOptions(a))) {
    if (!d.errors.empty()) {
      std::cerr << "error: " << FormatDiagnostics(d.errors) << "\n";
      ok = false;
    }
    std::cout << d.file.string() << ": " << d.objects.size() << " objects declared\n";
    for (const DeclaredObject& o : d.objects)
      std::cout << "  " << o.element << " " << o.qualifiedName
                << (o.existingId.empty() ? "  (new)" : "  (updates " + o.existingId + ")") << "\n";
  }
  return ok ? kExitOK : kExitFailure;
}

int RunLoad(const GlobalOptions& g, const LoadArgs& a) {
  Repository rp = OpenRepository(g, a.repo);
  if (a.dryRun) return DryRun(rp, a);
  LoadOptions o = ToLoadOptions(a);
  LoadReport report = rp.Load(ToPaths(a.files), o);
  if (!report.warnings.empty()) std::cerr << "warning: " << FormatDiagnostics(report.warnings) << "\n";
  if (!report.loaded) {
    // Nothing is committed: the repository file stays as it was.
    std::cerr << "error: " << FormatDiagnostics(report.errors) << "\n";
    std::cerr << "error: nothing was loaded; " << a.repo << " is unchanged\n";
    return kExitFailure;
  }
  if (!report.errors.empty()) std::cerr << "warning: errors ignored:\n" << FormatDiagnostics(report.errors) << "\n";
  rp.Commit();
  if (!g.quiet)
    std::cout << "loaded " << a.files.size() << " document(s) into " << a.repo << ": " << Summary(report) << "\n";
  return kExitOK;
}

}  // namespace

void RegisterLoad(CLI::App& app, GlobalOptions& g) {
  auto* cmd = app.add_subcommand("load", "Apply QORL documents to a repository; all or nothing is committed");
  auto a = std::make_shared<LoadArgs>();
  cmd->add_option("REPO", a->repo, "Repository file")->required();
  cmd->add_option("FILE", a->files, "Documents, applied in order")->required();
  cmd->add_option("--password", a->passwords, "Password of each document's secrets, one per file, in order");
  cmd->add_flag("--ignore-errors", a->ignoreErrors, "Log errors and go on instead of stopping");
  cmd->add_option("--expr-errors", a->exprErrors, "An expression that does not parse: error stops the load, warn logs it")
      ->check(CLI::IsMember({"error", "warn"}))
      ->capture_default_str();
  cmd->add_option("--password-errors", a->passwordErrors, "A password that does not decrypt: error or warn")
      ->check(CLI::IsMember({"error", "warn"}))
      ->capture_default_str();
  cmd->add_flag("--rename-duplicates", a->renameDuplicates,
                "A new object whose name is taken gets a new name instead of updating the stored object");
  cmd->add_flag("--validate", a->validate, "Validate each document against the schema first");
  cmd->add_flag("--dry-run", a->dryRun,
                "List what the documents declare; resolves no reference and changes nothing (see check)");
  cmd->add_flag("--strict", a->strict, "Treat every warning (unknown element, attribute or value) as an error");
  cmd->callback([&g, a] { g.exitCode = RunCommand(g, [&] { return RunLoad(g, *a); }); });
}

// ---- qorl check ---------------------------------------------------------------

namespace {

struct CheckArgs {
  std::vector<std::string> positional;  // REPO FILE..., or FILE... with --empty
  bool empty = false;
  LoadArgs load;
};

int RunCheck(const GlobalOptions& g, CheckArgs& c) {
  LoadArgs& a = c.load;
  std::vector<std::string> files = c.positional;
  if (!c.empty) {
    if (files.size() < 2) {
      std::cerr << "error: check needs a repository and at least one document (or --empty and the documents)\n";
      return kExitUsage;
    }
    a.repo = files.front();
    files.erase(files.begin());
  } else if (files.empty()) {
    std::cerr << "error: check needs at least one document\n";
    return kExitUsage;
  }
  a.files = files;
  // The gate validates against the schema always.
  a.validate = true;
  Repository rp = c.empty ? Repository::CreateInMemory() : OpenRepository(g, a.repo);
  // Never committed: the repository file is not written.
  LoadReport report = rp.Check(ToPaths(a.files), ToLoadOptions(a));
  if (!report.warnings.empty()) std::cerr << "warning: " << FormatDiagnostics(report.warnings) << "\n";
  std::string target = c.empty ? std::string("an empty repository") : a.repo;
  if (!report.loaded) {
    std::cerr << "error: " << FormatDiagnostics(report.errors) << "\n";
    std::cerr << "error: check failed: the documents do not load into " << target << "\n";
    return kExitFailure;
  }
  if (!report.errors.empty()) std::cerr << "warning: errors ignored:\n" << FormatDiagnostics(report.errors) << "\n";
  if (!g.quiet)
    std::cout << "check passed: " << a.files.size() << " document(s) load into " << target << ": " << Summary(report)
              << "\n";
  return kExitOK;
}

}  // namespace

void RegisterCheck(CLI::App& app, GlobalOptions& g) {
  auto* cmd = app.add_subcommand(
      "check", "Test that documents load: schema, references and the whole load, rolled back; nothing is written");
  auto c = std::make_shared<CheckArgs>();
  cmd->add_option("ARGS", c->positional, "REPO FILE..., or FILE... with --empty");
  cmd->add_flag("--empty", c->empty, "Check against a new empty repository instead of REPO");
  cmd->add_option("--password", c->load.passwords, "Password of each document's secrets, one per file, in order");
  cmd->add_option("--expr-errors", c->load.exprErrors, "An expression that does not parse: error or warn")
      ->check(CLI::IsMember({"error", "warn"}))
      ->capture_default_str();
  cmd->add_option("--password-errors", c->load.passwordErrors, "A password that does not decrypt: error or warn")
      ->check(CLI::IsMember({"error", "warn"}))
      ->capture_default_str();
  cmd->add_flag("--rename-duplicates", c->load.renameDuplicates,
                "A new object whose name is taken gets a new name instead of updating the stored object");
  cmd->add_flag("--strict", c->load.strict, "Treat every warning (unknown element, attribute or value) as an error");
  cmd->callback([&g, c] { g.exitCode = RunCommand(g, [&] { return RunCheck(g, *c); }); });
}

void RegisterCheckPassword(CLI::App& app, GlobalOptions& g) {
  auto* cmd = app.add_subcommand("check-password", "Test whether a password opens the secrets of QORL documents");
  auto files = std::make_shared<std::vector<std::string>>();
  auto password = std::make_shared<std::string>();
  cmd->add_option("FILE", *files, "Documents")->required();
  cmd->add_option("--password", *password, "The documents' password")->required();
  cmd->callback([&g, files, password] {
    g.exitCode = RunCommand(g, [&] {
      PasswordCheck check = CheckPassword(ToPaths(*files), *password);
      if (!check.errors.empty()) {
        std::cerr << "error: " << FormatDiagnostics(check.errors) << "\n";
        return static_cast<int>(kExitFailure);
      }
      std::cout << (check.opens ? "the password opens every secret\n" : "the password does not open the secrets\n");
      return check.opens ? static_cast<int>(kExitOK) : static_cast<int>(kExitFailure);
    });
  });
}

}  // namespace qorl::cli
