// qorl gen: write a repository, or chosen objects, as one QORL document.
#include <CLI/CLI.hpp>

#include <filesystem>
#include <iostream>
#include <map>

#include "cli/common.h"
#include "qorl/generate.h"

namespace qorl::cli {

namespace {

struct GenArgs {
  std::string repo;
  std::string output = "-";
  std::string type = "everything";
  bool noUid = false;
  bool voidIds = false;
  bool checkDuplicates = false;
  std::vector<std::string> objects;
};

const std::map<std::string, DocumentContent> kGenTypes = {
    {"everything", DocumentContent::Everything},
    {"without-security", DocumentContent::WithoutSecurity},
    {"security-only", DocumentContent::SecurityOnly},
    {"presentation-list", DocumentContent::PresentationList},
    {"pools-and-variables", DocumentContent::PoolsAndVariables},
    {"encrypted-only", DocumentContent::EncryptedOnly},
};

int RunGen(const GlobalOptions& g, const GenArgs& a) {
  Repository rp = OpenRepository(g, a.repo, Access::Read);
  GenerateOptions o;
  o.content = kGenTypes.at(a.type);
  o.objects = a.objects;
  o.upgradeIds = !a.noUid;
  o.storeIds = a.voidIds;
  o.repairDuplicates = a.checkDuplicates;
  // Standard output streams; a file is replaced only once it was written whole.
  const bool toStdout = a.output == "-";
  GenerateReport report = toStdout ? rp.Generate(std::cout, o) : rp.Generate(a.output, o);
  if (report.written && report.errors.empty()) return kExitOK;
  Report(report.errors);
  // Say what became of the document, and only what did.
  std::filesystem::path where = toStdout ? std::filesystem::path() : std::filesystem::path(a.output);
  if (!report.written)
    Remark(Severity::Note, toStdout ? "The document on standard output stops before its end."
                                    : "The document was not written; the file keeps what it held.", where);
  else
    Remark(Severity::Note, "The document was written, but the objects above are incomplete in it.", where);
  return kExitFailure;
}

}  // namespace

void RegisterGen(CLI::App& app, GlobalOptions& g) {
  auto* cmd = app.add_subcommand("gen", "Write the repository, or chosen objects, as one QORL document");
  auto a = std::make_shared<GenArgs>();
  cmd->add_option("REPO", a->repo, "Repository file")->required();
  cmd->add_option("-o,--output", a->output, "Document to write; - for standard output")->capture_default_str();
  std::vector<std::string> typeNames;
  for (const auto& [k, v] : kGenTypes) typeNames.push_back(k);
  cmd->add_option("--type", a->type, "Which objects to write")->check(CLI::IsMember(typeNames))->capture_default_str();
  cmd->add_flag("--no-uid", a->noUid, "Leave out upgrade identifiers (uid, parentUid)");
  cmd->add_flag("--void-ids", a->voidIds, "Name objects in expressions by store id instead of qualified name");
  cmd->add_flag("--check-duplicates", a->checkDuplicates,
                "Give clashing names and uids new values in the document (the repository file is not changed)");
  cmd->add_option("--object", a->objects, "Write only this object: TAG:QUALIFIED-NAME, e.g. 'PhysicalTable:\"db\".\"t\"' (repeatable)");
  cmd->callback([&g, a] { g.exitCode = RunCommand(g, [&] { return RunGen(g, *a); }); });
}

}  // namespace qorl::cli
