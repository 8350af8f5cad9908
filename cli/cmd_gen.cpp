// qorl gen: write a repository, or chosen objects, as one QORL document.
#include <CLI/CLI.hpp>

#include <iostream>

#include "cli/common.h"
#include "gen/generator.h"
#include "model/registry.h"
#include "platform/error.h"
#include "store/metadata_util.h"

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

const std::map<std::string, QORLScriptGenerationType> kGenTypes = {
    {"everything", QORLScriptGenerateEverything},
    {"without-security", QORLScriptGenerateWithoutSecurityObjects},
    {"security-only", QORLScriptGenerateOnlySecurityObjects},
    {"presentation-list", ListPresentationObjects},
    {"pools-and-variables", QORLScriptGenerateOnlyConnectionPoolsAndVariables},
    {"encrypted-only", QORLScriptGenerateOnlyEncryptedObjects},
};

// TAG:QUALIFIED-NAME, e.g. PhysicalTable:"db"."schema"."t"
RefARpObject FindSelected(ARpGateway& rp, const std::string& spec) {
  size_t colon = spec.find(':');
  if (colon == std::string::npos) throw ErrorMessage(99016, VXString(spec));
  TypeID type = QORLUtil::GetTypeID(VXString(spec.substr(0, colon)));
  VXString qtext(spec.substr(colon + 1));
  if (type == kTIDUnknown || qtext.empty() || qtext[0] != U'"') throw ErrorMessage(99016, VXString(spec));
  QualifiedName q;
  MetadataUtil::ParseQualifiedNameString(qtext, q, '.', true);
  RefARpObject o = rp.FindByQualifiedName(type, q);
  if (o.IsNullRef()) throw ErrorMessage(99008, VXString(spec));
  return o;
}

int RunGen(const GlobalOptions& g, const GenArgs& a) {
  auto rp = OpenRepository(g, a.repo);
  VXString out(a.output == "-" ? std::string("/dev/stdout") : a.output);
  VXString errors;
  bool ok;
  if (a.objects.empty()) {
    ok = QORLGenerator::GenerateQORL(rp.get(), errors, out, RpObjectVector(), false, a.voidIds, true, !a.noUid,
                                     kGenTypes.at(a.type), true, a.checkDuplicates);
  } else {
    RpObjectVector chosen;
    for (const std::string& s : a.objects) chosen.push_back(FindSelected(*rp, s));
    VXString unused;
    QORLGenerator gen(rp.get(), nullptr, out, unused, a.voidIds, false, true, !a.noUid, false, false, false, true, false);
    gen.SetGenerateOptions(kGenFooter | kGenColMapping);
    gen.AddHeader();
    gen.GenerateDeclareQORLForObjects(chosen, RpObjectVector(), errors, false, NONE_FINEGRAINED, a.checkDuplicates);
    gen.AddFooter();
    gen.Finish();
    ok = errors.empty();
  }
  if (ok) return kExitOK;
  std::cerr << "error: " << errors.ToUTF8();
  if (!errors.empty() && errors.back() != U'\n') std::cerr << "\n";
  std::cerr << "error: the document was written, but the objects above are incomplete in it\n";
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
