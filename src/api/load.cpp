#include "api/convert.h"
#include "api/repository_impl.h"
#include "load/parser.h"
#include "load/schema_path.h"
#include "model/registry.h"
#include "store/metadata_util.h"

namespace qorl {

namespace load_detail {

VXStringVector ToVX(const std::vector<std::filesystem::path>& paths) {
  VXStringVector out;
  for (const std::filesystem::path& p : paths) out.push_back(api::FromPath(p));
  return out;
}

VXStringVector ToVX(const std::vector<std::string>& texts) {
  VXStringVector out;
  for (const std::string& s : texts) out.emplace_back(s);
  return out;
}

// One password per document, or none at all.
void CheckPasswordCount(const LoadOptions& options, const std::vector<std::filesystem::path>& documents) {
  if (!options.passwords.empty() && options.passwords.size() != documents.size())
    throw Error(99020, {std::to_string(options.passwords.size()), std::to_string(documents.size())});
}

// Puts the repository back to its last commit after a failed load; a
// rollback that fails too adds its own errors.
void RollbackAfterFailure(ARpGateway& rp, std::vector<Diagnostic>& errors) {
  try {
    rp.Rollback();
  } catch (const ErrorMessage& e) {
    std::vector<Diagnostic> more = api::ToDiagnostics(e);
    errors.insert(errors.end(), more.begin(), more.end());
  }
}

}  // namespace load_detail

LoadReport Repository::Load(const std::vector<std::filesystem::path>& documents, const LoadOptions& options) {
  ARpGateway& rp = m_impl->Gateway();
  load_detail::CheckPasswordCount(options, documents);
  LoadReport report;
  ErrorMessage err;
  VXString warnings;
  VoidIDVector created, modified, unchanged, deleted;
  bool ok;
  try {
    ok = QORLParser::ExecuteTransactionalXML(&rp, load_detail::ToVX(documents), load_detail::ToVX(options.passwords),
                                             err, warnings, created, modified, deleted, QORLParser::QORLFile,
                                             options.expressionErrors == OnProblem::Fail,
                                             options.passwordErrors == OnProblem::Fail, options.ignoreErrors,
                                             options.renameDuplicates, false, false, options.validate,
                                             options.strict, &unchanged);
  } catch (const ErrorMessage& e) {
    // Half a load must not stay in memory for a later commit to write.
    std::vector<Diagnostic> errors = api::ToDiagnostics(e);
    load_detail::RollbackAfterFailure(rp, errors);
    throw Error(std::move(errors));
  }
  if (!warnings.empty()) {
    Diagnostic w;
    w.severity = Severity::Warning;
    w.message = warnings.ToUTF8();
    report.warnings.push_back(std::move(w));
  }
  report.errors = api::ToDiagnostics(err);
  report.loaded = ok && (report.errors.empty() || options.ignoreErrors);
  if (!report.loaded) {
    load_detail::RollbackAfterFailure(rp, report.errors);
    return report;
  }
  report.created = created.size();
  report.changed = modified.size();
  report.unchanged = unchanged.size();
  report.updated = report.changed + report.unchanged;
  report.deleted = deleted.size();
  return report;
}

LoadReport Repository::Check(const std::vector<std::filesystem::path>& documents, const LoadOptions& options) {
  ARpGateway& rp = m_impl->Gateway();
  LoadReport report = Load(documents, options);
  // A failed load has rolled back already.
  if (report.loaded) load_detail::RollbackAfterFailure(rp, report.errors);
  return report;
}

std::vector<Declaration> Repository::Declared(const std::vector<std::filesystem::path>& documents,
                                              const LoadOptions& options) const {
  ARpGateway& rp = m_impl->Gateway();
  load_detail::CheckPasswordCount(options, documents);
  std::vector<Declaration> out;
  for (size_t i = 0; i < documents.size(); ++i) {
    Declaration& d = out.emplace_back();
    d.file = documents[i];
    QNameTypeIDPairVector declared;
    ErrorMessage err;
    VXString password = options.passwords.empty() ? VXString() : VXString(options.passwords[i]);
    api::Translate([&] {
      QORLParser::GatherDeclObjectsQualifiedNameTypeIDs(&rp, api::FromPath(documents[i]), declared, err,
                                                        QORLParser::QORLFile, options.ignoreErrors, password,
                                                        options.passwordErrors == OnProblem::Fail);
    });
    d.errors = api::ToDiagnostics(err);
    for (const QNameTypeIDPair& p : declared)
      d.objects.push_back({QORLUtil::GetTagName(p.m_typeID).ToUTF8(), MetadataUtil::ToQualifiedName(p.m_qName).ToUTF8(),
                           p.m_voidID.IsNullID() ? std::string() : p.m_voidID.ToString().ToUTF8()});
  }
  return out;
}

PasswordCheck CheckPassword(const std::vector<std::filesystem::path>& documents, const std::string& password) {
  return api::Translate([&] {
    // Secrets are checked against the documents alone; the objects they
    // declare are resolved in a scratch store.
    auto rp = ARpGateway::CreateInMemory();
    ErrorMessage err;
    VXString warnings;
    VXStringVector passwords(documents.size(), VXString(password));
    PasswordCheck out;
    out.opens = QORLParser::IsPasswordCorrect(rp.get(), load_detail::ToVX(documents), passwords, err, warnings, true, true);
    out.errors = api::ToDiagnostics(err);
    return out;
  });
}

void SetSchemaDirectory(const std::filesystem::path& directory) { UseSchemaDirectory(api::FromPath(directory)); }

}  // namespace qorl
