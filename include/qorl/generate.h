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
  // The document was written to its end: a file is in place, a stream got
  // all of it. False when an error stopped the writing (errors says which):
  // a file then keeps what it held, a stream may have got the beginning.
  // A failing output throws instead.
  bool written = false;
  // Objects that could not be written whole; a written document lacks
  // exactly these, and is complete when errors is empty.
  std::vector<Diagnostic> errors;
};

}  // namespace qorl
