// Where the load finds its schema files.
#pragma once

#include <string_view>

#include "platform/vxstring.h"

namespace qorl {

// The path of a schema file. QORL_SCHEMA_DIR, when set and not empty, is the
// only place looked at; next, the directory a program named with
// UseSchemaDirectory is. Otherwise, in order: <executable dir>/../share/qorl,
// <executable dir>, and the schema directory of the source tree this library
// was built from. Gives the first candidate that exists, or the last one when
// none does, so that the caller can name it in its error.
VXString FindSchemaFile(std::u32string_view fileName);

// The schema directory of a program that knows where its schemas are
// installed (a program linked against an installed libqorl lives elsewhere
// than share/qorl's bin). Empty: look in the default places again.
void UseSchemaDirectory(const VXString& dir);

}  // namespace qorl
