// qorl load and qorl check-password.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <optional>

#include "cli/common.h"
#include "qorl/load.h"

namespace qorl::cli {

namespace {

struct LoadArgs {
  std::string repo;
  std::vector<std::string> files;
  std::vector<std::string> passwords;
  std::vector<std::string> passwordFiles;
  bool ignoreErrors = false;
  std::string exprErrors = "error";
  std::string passwordErrors = "error";
  bool renameDuplicates = false;
  bool validate = false;
  bool dryRun = false;
  bool strict = false;
};

// The options a load and its dry run share, so that the dry run reads each
// document as the load would.
LoadOptions ToLoadOptions(const LoadArgs& a) {
  LoadOptions o;
  o.passwords = a.passwords;
  for (const std::string& file : a.passwordFiles) o.passwords.push_back(ReadPasswordFile(file));
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

int DryRun(const Repository& rp, const LoadArgs& a, const InputDocuments& inputs) {
  bool ok = true;
  std::cout << "dry run: lists what the documents declare; references are not resolved and nothing is applied "
               "(qorl check tests the whole load)\n";
  for (const Declaration& d : rp.Declared(inputs.Paths(), ToLoadOptions(a))) {
    if (!d.errors.empty()) {
      Report(d.errors);
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
  // A dry run changes nothing, so it need not keep writers out.
  Repository rp = OpenRepository(g, a.repo, a.dryRun ? Access::Read : Access::Write);
  InputDocuments inputs(a.files);
  if (a.dryRun) return DryRun(rp, a, inputs);
  LoadOptions o = ToLoadOptions(a);
  LoadReport report = rp.Load(inputs.Paths(), o);
  Report(report.warnings);
  if (!report.loaded) {
    // Nothing is committed: the repository file stays as it was.
    Report(report.errors);
    Remark(Severity::Note, "Nothing was loaded; the repository is unchanged.", a.repo);
    return kExitFailure;
  }
  // Passed over as asked: told, but no longer errors.
  for (Diagnostic d : report.errors) {
    d.severity = Severity::Warning;
    Report(d);
  }
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
  cmd->add_option("FILE", a->files, "Documents, applied in order; - reads one from standard input")->required();
  auto* password =
      cmd->add_option("--password", a->passwords, "Password of each document's secrets, one per file, in order");
  cmd->add_option("--password-file", a->passwordFiles,
                  "Read each document's password from the first line of a FILE, one per document, in order")
      ->type_name("FILE")
      ->excludes(password);
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
    if (files.size() < 2)
      throw UsageError("check needs a repository and at least one document (or --empty and the documents)");
    a.repo = files.front();
    files.erase(files.begin());
  } else if (files.empty()) {
    throw UsageError("check needs at least one document");
  }
  a.files = files;
  // The gate validates against the schema always.
  a.validate = true;
  Repository rp = c.empty ? Repository::CreateInMemory() : OpenRepository(g, a.repo, Access::Read);
  InputDocuments inputs(a.files);
  // Never committed: the repository file is not written.
  LoadReport report = rp.Check(inputs.Paths(), ToLoadOptions(a));
  Report(report.warnings);
  std::string target = c.empty ? std::string("an empty repository") : a.repo;
  if (!report.loaded) {
    Report(report.errors);
    Remark(Severity::Error, "Check failed: the documents do not load into " + target + ".");
    return kExitFailure;
  }
  for (Diagnostic d : report.errors) {
    d.severity = Severity::Warning;
    Report(d);
  }
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
  cmd->add_option("ARGS", c->positional, "REPO FILE..., or FILE... with --empty; - reads a document from standard input");
  cmd->add_flag("--empty", c->empty, "Check against a new empty repository instead of REPO");
  cmd->add_option("--password", c->load.passwords, "Password of each document's secrets, one per file, in order");
  cmd->add_option("--password-file", c->load.passwordFiles, "Read a document's password from the first line of FILE")
      ->type_name("FILE");
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
  auto password = std::make_shared<std::optional<std::string>>();
  auto passwordFile = std::make_shared<std::string>();
  cmd->add_option("FILE", *files, "Documents; - reads one from standard input")->required();
  auto* given = cmd->add_option("--password", *password, "The documents' password");
  cmd->add_option("--password-file", *passwordFile, "Read the documents' password from the first line of FILE")
      ->type_name("FILE")
      ->excludes(given);
  // Like a comparison: 0 opens, 1 does not, 2 could not tell.
  cmd->callback([&g, files, password, passwordFile] {
    g.exitCode = RunCommand(g, [&] {
      if (!*password && passwordFile->empty()) throw UsageError("give --password or --password-file");
      std::string text = *password ? **password : ReadPasswordFile(*passwordFile);
      InputDocuments inputs(*files);
      PasswordCheck check = CheckPassword(inputs.Paths(), text);
      // A secret that the password does not decrypt is the answer, not trouble.
      bool answered = std::all_of(check.errors.begin(), check.errors.end(), [](const Diagnostic& d) {
        return d.code == messages::kPasswordDoesNotDecrypt;
      });
      if (!answered) {
        Report(check.errors);
        return static_cast<int>(kExitUsage);
      }
      if (!check.errors.empty()) check.opens = false;
      std::cout << (check.opens ? "the password opens every secret\n" : "the password does not open the secrets\n");
      return check.opens ? static_cast<int>(kExitOK) : static_cast<int>(kExitFailure);
    });
  });
}

}  // namespace qorl::cli
