#include "elements/schema.h"

#include "model/registry.h"
#include "model/vocabulary.h"

namespace qorl::elements {

namespace schema {

std::string Utf8(std::u32string_view s) { return VXString(s).ToUTF8(); }

std::string Optional(std::u32string_view tag, std::string_view type, bool repeats = false) {
  return "      <xs:element name=\"" + Utf8(tag) + "\" type=\"" + std::string(type) + "\" minOccurs=\"0\"" +
         (repeats ? " maxOccurs=\"unbounded\"" : "") + "/>\n";
}

std::string Note(const char* note, const char* indent) {
  return note ? std::string(indent) + "<!-- " + note + " -->\n" : std::string();
}

// A list of references of the accepted types, in any order.
std::string ReferenceList(const Part& p) {
  std::string s = "      <xs:element name=\"" + Utf8(p.tag) + "\" minOccurs=\"0\">\n";
  s += "        <xs:complexType>\n";
  s += "          <xs:choice minOccurs=\"0\" maxOccurs=\"unbounded\">\n";
  for (TypeID t : p.accepts) s += "            <xs:element ref=\"" + Utf8(TAG_REF) + QORLUtil::GetTagName(t).ToUTF8() + "\"/>\n";
  s += "          </xs:choice>\n";
  s += "        </xs:complexType>\n";
  s += "      </xs:element>\n";
  return s;
}

std::string PartElement(const Part& p) {
  std::string s = Note(p.note, "      ");
  switch (p.kind) {
    case PartKind::Tagged: return s + Optional(p.tag, "TaggedReferenceType");
    case PartKind::Plain: return s + "      <xs:group ref=\"ReferenceElements\" minOccurs=\"0\"/>\n";
    case PartKind::Group:
    case PartKind::EmptyGroup: return s + ReferenceList(p);
    case PartKind::Text: return s + Optional(p.tag, "xs:string");
    case PartKind::Expr: return s + "      <xs:group ref=\"ExpressionElements\"/>\n";
    case PartKind::TaggedExpr: return s + Optional(p.tag, "TaggedExpressionType");
    case PartKind::Child: return s + Optional(p.tag, p.codec->SchemaType(), (p.flags & kRepeats) != 0);
  }
  return s;
}

}  // namespace schema

std::string SchemaComplexType(const Description& d) {
  std::string s = "  <xs:complexType name=\"" + std::string(d.schemaType) + "\">\n";
  s += "    <xs:sequence>\n";
  s += "      <xs:element ref=\"" + schema::Utf8(TAG_DESCRIPTION) + "\" minOccurs=\"0\"/>\n";
  for (const Part& p : d.parts) s += schema::PartElement(p);
  s += "    </xs:sequence>\n";
  s += "    <xs:attributeGroup ref=\"CommonObjectAttributes\"/>\n";
  for (const Attr& a : d.attrs) {
    s += schema::Note(a.note, "    ");
    s += "    <xs:attribute name=\"" + schema::Utf8(a.name) + "\" type=\"" + a.codec->xsdType + "\"/>\n";
  }
  s += "  </xs:complexType>\n";
  return s;
}

}  // namespace qorl::elements
