// The schema's complex type of an element, made from its description, so
// that schema/qorl1.xsd cannot drift from what the writer and reader do. A
// test compares each with the schema file and can rewrite the file.
#pragma once

#include <string>

#include "elements/description.h"

namespace qorl::elements {

// "  <xs:complexType name=...>" to "  </xs:complexType>\n", indented as the file is.
std::string SchemaComplexType(const Description& d);

}  // namespace qorl::elements
