// Loading QORL documents: the options of a load, what it reports, the dry run
// that lists what documents declare, and the password check. The loading
// calls themselves are members of Repository (qorl/repository.h).
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "qorl/diagnostics.h"

namespace qorl {

// What a load does about an expression that does not parse, or a secret that
// the document's password does not decrypt.
enum class OnProblem { Fail, Warn };

struct LoadOptions {
  // The password of the repository each document was written from, which
  // opens its secrets: one per document, in order; empty when none is known.
  std::vector<std::string> passwords;
  // Log errors (see qorl/log.h) and go on instead of failing; the report
  // lists the errors that stopped a document.
  bool ignoreErrors = false;
  OnProblem expressionErrors = OnProblem::Fail;
  OnProblem passwordErrors = OnProblem::Fail;
  // A new object whose name is taken gets a new name instead of updating the
  // stored object of that name.
  bool renameDuplicates = false;
  // Check each document against the schema before applying it.
  bool validate = false;
  // What a load passes over with a warning (an unknown element, attribute or
  // enumerated value, most likely a typo) fails the load instead.
  bool strict = false;
};

struct LoadReport {
  // False: nothing was applied, and the repository was rolled back to its
  // last commit; errors say why.
  bool loaded = false;
  // Each object counted once. An object the documents name and that existed
  // is changed when one of its properties or relations differs from what it
  // was before the load, unchanged otherwise; updated is the two together.
  std::size_t created = 0;
  std::size_t changed = 0;
  std::size_t unchanged = 0;
  std::size_t updated = 0;
  std::size_t deleted = 0;
  // Why the load failed; after a load with ignoreErrors, what was passed over.
  std::vector<Diagnostic> errors;
  std::vector<Diagnostic> warnings;
};

// An object a document declares, as a dry run lists it.
struct DeclaredObject {
  std::string element;        // tag, e.g. PhysicalTable
  std::string qualifiedName;  // e.g. "db"."schema"."t"
  std::string existingId;     // store id of the object it would update; empty for a new one
};

// What one document declares. When errors is not empty the document could
// not be read whole, and objects lists what was read before the error.
struct Declaration {
  std::filesystem::path file;
  std::vector<DeclaredObject> objects;
  std::vector<Diagnostic> errors;
};

struct PasswordCheck {
  // The password opens every secret of every document. Only meaningful when
  // errors is empty.
  bool opens = false;
  std::vector<Diagnostic> errors;
};

// Whether `password` opens the secrets of the documents; needs no repository.
// Throws Error only when it cannot check at all.
PasswordCheck CheckPassword(const std::vector<std::filesystem::path>& documents, const std::string& password);

// Where loads find the schema (qorl1.xsd). By default: the directory named by
// the environment variable QORL_SCHEMA_DIR; else share/qorl next to the
// program's bin directory, the program's own directory, and the source tree
// the library was built from. A program linked against an installed qorl
// names the installed schema directory here (CMake: ${qorl_SCHEMA_DIR};
// pkg-config: the variable schemadir); QORL_SCHEMA_DIR still wins. An empty
// path goes back to the default.
void SetSchemaDirectory(const std::filesystem::path& directory);

}  // namespace qorl
