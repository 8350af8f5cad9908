// qorl load and qorl check-password.
#include <CLI/CLI.hpp>

#include <iostream>

#include "cli/common.h"
#include "load/parser.h"
#include "model/registry.h"
#include "platform/error.h"
#include "store/metadata_util.h"

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
};

VXStringVector ToVX(const std::vector<std::string>& v) {
  VXStringVector out;
  for (const std::string& s : v) out.emplace_back(s);
  return out;
}

int DryRun(ARpGateway& rp, const LoadArgs& a) {
  bool ok = true;
  for (const std::string& f : a.files) {
    QNameTypeIDPairVector declared;
    ErrorMessage err;
    if (!QORLParser::GatherDeclObjectsQualifiedNameTypeIDs(&rp, VXString(f), declared, err, QORLParser::QORLFile, a.ignoreErrors)) {
      VXString text;
      err.RetrieveErrorMessages(text);
      std::cerr << "error: " << text.ToUTF8() << "\n";
      ok = false;
    }
    std::cout << f << ": " << declared.size() << " objects declared\n";
    for (const QNameTypeIDPair& p : declared)
      std::cout << "  " << QORLUtil::GetTagName(p.m_typeID).ToUTF8() << " " << MetadataUtil::ToQualifiedName(p.m_qName).ToUTF8()
                << (p.m_voidID.IsNullID() ? "  (new)" : "  (updates " + p.m_voidID.ToString().ToUTF8() + ")") << "\n";
  }
  return ok ? kExitOK : kExitFailure;
}

int RunLoad(const GlobalOptions& g, const LoadArgs& a) {
  auto rp = OpenRepository(g, a.repo);
  if (a.dryRun) return DryRun(*rp, a);
  if (!a.passwords.empty() && a.passwords.size() != a.files.size())
    throw ErrorMessage(99020, a.passwords.size(), a.files.size());
  ErrorMessage err;
  VXString warnings;
  VoidIDVector created, modified, deleted;
  bool ok = QORLParser::ExecuteTransactionalXML(rp.get(), ToVX(a.files), ToVX(a.passwords), err, warnings, created, modified,
                                                deleted, QORLParser::QORLFile, a.exprErrors == "error",
                                                a.passwordErrors == "error", a.ignoreErrors, a.renameDuplicates, false,
                                                false, a.validate);
  if (!warnings.empty()) std::cerr << "warning: " << warnings.ToUTF8() << "\n";
  if (!ok || (err.HasMessages() && !a.ignoreErrors)) {
    // Nothing is committed: the repository file stays as it was.
    VXString text;
    err.RetrieveErrorMessages(text);
    std::cerr << "error: " << text.ToUTF8() << "\n";
    std::cerr << "error: nothing was loaded; " << a.repo << " is unchanged\n";
    return kExitFailure;
  }
  if (err.HasMessages()) {
    VXString text;
    err.RetrieveErrorMessages(text);
    std::cerr << "warning: errors ignored:\n" << text.ToUTF8() << "\n";
  }
  rp->Commit();
  if (!g.quiet)
    std::cout << "loaded " << a.files.size() << " document(s) into " << a.repo << ": " << created.size() << " created, "
              << modified.size() << " updated, " << deleted.size() << " deleted\n";
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
  cmd->add_flag("--dry-run", a->dryRun, "List what the documents declare; change nothing");
  cmd->callback([&g, a] { g.exitCode = RunCommand(g, [&] { return RunLoad(g, *a); }); });
}

void RegisterCheckPassword(CLI::App& app, GlobalOptions& g) {
  auto* cmd = app.add_subcommand("check-password", "Test whether a password opens the secrets of QORL documents");
  auto files = std::make_shared<std::vector<std::string>>();
  auto password = std::make_shared<std::string>();
  cmd->add_option("FILE", *files, "Documents")->required();
  cmd->add_option("--password", *password, "The documents' password")->required();
  cmd->callback([&g, files, password] {
    g.exitCode = RunCommand(g, [&] {
      auto rp = ARpGateway::CreateInMemory();
      ErrorMessage err;
      VXString warnings;
      VXStringVector passwords(files->size(), VXString(*password));
      bool ok = QORLParser::IsPasswordCorrect(rp.get(), ToVX(*files), passwords, err, warnings, true, true);
      if (err.HasMessages()) {
        VXString text;
        err.RetrieveErrorMessages(text);
        std::cerr << "error: " << text.ToUTF8() << "\n";
        return static_cast<int>(kExitFailure);
      }
      std::cout << (ok ? "the password opens every secret\n" : "the password does not open the secrets\n");
      return ok ? static_cast<int>(kExitOK) : static_cast<int>(kExitFailure);
    });
  });
}

}  // namespace qorl::cli
