// Writing a repository, or chosen objects of it, as one QORL document: the
// options and the report. Repository::Generate does the writing.
#pragma once

#include <string>
#include <vector>

#include "qorl/diagnostics.h"

namespace qorl {

// Which objects a whole-repository document holds.
enum class DocumentContent {
  Everything,
  WithoutSecurity,
  SecurityOnly,
  PresentationList,   // presentation objects by name only
  PoolsAndVariables,  // connection pools and variables
  EncryptedOnly,      // the objects that carry secrets
};

struct GenerateOptions {
  DocumentContent content = DocumentContent::Everything;
  // When not empty, only these objects are written and content is ignored.
  // Each is ELEMENT:QUALIFIED-NAME, e.g. PhysicalTable:"db"."schema"."t".
  // A malformed or unknown one throws Error before anything is written.
  std::vector<std::string> objects;
  // Write upgrade identifiers (uid, parentUid).
  bool upgradeIds = true;
  // Name objects in expressions by store id instead of qualified name.
  bool storeIds = false;
  // Give clashing names and uids new values in the document. The clashing
  // objects are renamed in the open repository as well, uncommitted: roll
  // back to drop the renames.
  bool repairDuplicates = false;
};

struct GenerateReport {
  // Objects that could not be written whole. The document was written all
  // the same (a failing output throws instead); it is complete exactly when
  // errors is empty.
  std::vector<Diagnostic> errors;
};

}  // namespace qorl
