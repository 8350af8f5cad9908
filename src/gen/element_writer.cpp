// The one writer of object elements: the common frame, then the element's
// attributes and children as its description lists them.
#include "elements/bind.h"
#include "elements/fragments.h"
#include "gen/generator.h"
#include "model/attr_text.h"
#include "model/vocabulary.h"
#include "store/expr_store.h"
#include "store/registry_objects.h"

namespace qorl {

using namespace elements;

namespace element_writer {

// The classes whose content their owner writes, or nobody: their Visit writes nothing.
constexpr TypeID kEmptyVisitTypes[] = {kTIDARole,          kTIDALevelToLevel, kTIDAEntity,
                                       kTIDAAttributeDefn, kTIDAFolder,       kTIDASchemaFolder,
                                       kTIDAEntityAttr,    kTIDAMktg_SamplingLevel, kTIDATypePrivilege};

bool HasEmptyVisit(TypeID type) {
  for (TypeID t : kEmptyVisitTypes)
    if (t == type) return true;
  return false;
}

// A reference held as an id, null unless it is an object of an accepted type.
RefARpObject Referenced(ARpGateway* rp, const VoidID& id, std::span<const TypeID> accepts) {
  if (id.IsNullID() || !rp) return RefARpObject();
  RefARpObject o(rp, id);
  if (o.IsNullRef() || accepts.empty()) return o;
  const AMetaClass* cls = o->GetMetaClass();
  for (TypeID t : accepts)
    if (cls->IsA(AMetaClass::FromTypeID(t))) return o;
  return RefARpObject();
}

void AppendAttrRow(VXString& out, const elements::Attr& row, const VXString& text) {
  switch (row.when) {
    case When::Always: AppendAttrAlways(out, row.name, text); break;
    case When::IfText: AppendAttr(out, row.name, text); break;
    case When::IfNotDefault:
      if (text.view() != std::u32string_view(row.def ? row.def : U"")) AppendAttrAlways(out, row.name, text);
      break;
  }
}

// "<tag>" or "</tag>" on a line of its own.
void PrintTag(WriteContext& gen, std::u32string_view open, std::u32string_view tag) {
  gen.Print(open);
  gen.Print(tag);
  gen.Print(S_GT);
  gen.Print(S_NEWLINE);
}

}  // namespace element_writer

bool HasEmptyVisit(TypeID type) { return element_writer::HasEmptyVisit(type); }

// Elements without a description yet: the common frame alone.
void QORLGenerator::WriteFrameOnly(const RefARpObject& object) {
  GenerateGenericOpenTag(object);
  Print(S_GT);
  Print(S_NEWLINE);
  Print(QORLUtil::GetDescriptionXMLElement(object, m_genOptions));
  GenerateClosingTag(object);
}

void QORLGenerator::WriteElement(const RefARpObject& object) {
  ARpObject* o = object.GetRawObjPtr();
  if (!o || element_writer::HasEmptyVisit(o->GetTypeID())) return;
  const Binding* b = BindingOf(o->GetTypeID());
  const Description* d = b ? b->desc : nullptr;
  if (!d) return WriteFrameOnly(object);
  if (d->hooks && d->hooks->isWritten && !d->hooks->isWritten(*o, *this)) return;
  Holding holding(*this, o);
  GenerateGenericOpenTag(object);
  if (d) {
    m_scratch.clear();
    for (size_t i = 0; i < d->attrs.size(); ++i) {
      const elements::Attr& row = d->attrs[i];
      if (row.hook) {
        if (row.hook->get) element_writer::AppendAttrRow(m_scratch, row, row.hook->get(*o, row, *this));
      } else {
        element_writer::AppendAttrRow(m_scratch, row, ValueToText(*row.codec, b->attrProps[i]->field(*o)));
      }
    }
    Print(m_scratch);
  }
  Print(S_GT);
  Print(S_NEWLINE);
  Print(QORLUtil::GetDescriptionXMLElement(object, m_genOptions));
  if (d) WriteParts(*b, *o);
  GenerateClosingTag(object);
}

void QORLGenerator::WriteParts(const Binding& b, ARpObject& o) {
  const Description& d = *b.desc;
  for (size_t i = 0; i < d.parts.size(); ++i) {
    const Part& part = d.parts[i];
    void* field = PartField(b, i, o);
    switch (part.kind) {
      case PartKind::Tagged:
        GenerateTaggedRefObject(
            element_writer::Referenced(m_pGateway, *static_cast<const VoidID*>(field), part.accepts), part.tag);
        break;
      case PartKind::Plain:
        GenerateRefObject(
            element_writer::Referenced(m_pGateway, *static_cast<const VoidID*>(field), part.accepts),
            b.plainTags[i].view());
        break;
      case PartKind::Group: {
        RpObjectVector members;
        for (const VoidID& id : BinaryRelIterBase(m_pGateway, o.GetID(), part.rel).IDs()) {
          RefARpObject m(m_pGateway, id);
          if (!m.IsNullRef()) members.push_back(m);
        }
        GenerateGroupedSTLContainer(members, part.tag);
        break;
      }
      case PartKind::EmptyGroup:
        if (part.flags & kEmptyWithFeed) IsEmptyElementTagNotGenerated(false, part.tag);
        else GenerateGroupedSTLContainer(RpObjectVector(), part.tag);
        break;
      case PartKind::Text:
        Print(QORLUtil::GetCDATA(*static_cast<const VXString*>(field), part.tag,
                                 (part.flags & kOmitEmptyText) != 0, false, 0));
        break;
      case PartKind::Expr:
      case PartKind::TaggedExpr: {
        const Expr& expr = *static_cast<const Expr*>(field);
        // A wrapper that stands always holds the expression as it stands in place.
        const bool wrapped = part.kind == PartKind::TaggedExpr && (part.flags & kAlwaysWrapped);
        if (wrapped) element_writer::PrintTag(*this, S_LT, part.tag);
        if ((part.flags & kSkipEmptyExpr) && expr.Size() == 0 && !expr.IsUnparsed() &&
            (!(m_genOptions & kGenEmptyElements) || (part.kind == PartKind::TaggedExpr && !wrapped))) {
          if (m_genOptions & kGenEmptyElements) Print(QORLUtil::GetCDATA(VXString(), part.tag, false, false, 0));
        } else {
          CheckExpression(expr);
          VXString text = ToPrettyStringVisitor::GetFormatExpr(expr, m_pGateway, true, true, false, false, false);
          if (part.kind == PartKind::Expr || wrapped)
            Print(QORLUtil::GetExpression(m_pGateway, expr, text, m_bGenerateUpGradeID, m_genOptions));
          else
            Print(QORLUtil::GetTaggedExpression(m_pGateway, expr, text, part.tag, m_bGenerateUpGradeID, m_genOptions));
        }
        if (wrapped) element_writer::PrintTag(*this, S_OPEN_CLOSING_TAG, part.tag);
        break;
      }
      case PartKind::Child:
        part.codec->Write(o, field, part.tag, *this);
        break;
    }
  }
}

// ---- what child codecs see of the generator ----

ARpGateway* QORLGenerator::Gateway() const { return m_pGateway; }
int QORLGenerator::Options() const { return m_genOptions; }
bool QORLGenerator::UpgradeIDs() const { return m_bGenerateUpGradeID; }
bool QORLGenerator::UsingVoidID() const { return m_bUsingVoidID; }
bool QORLGenerator::HidingPoolPassword() const { return m_bHideCpPassword; }
bool QORLGenerator::SkippingCredentials() const { return m_bSkipCredentials; }
void QORLGenerator::PrintRef(const RefARpObject& obj, std::u32string_view emptyTag) {
  if (emptyTag.empty()) GenerateRefObject(obj);
  else GenerateRefObject(obj, emptyTag);
}
void QORLGenerator::PrintTaggedRef(const RefARpObject& obj, std::u32string_view tag) { GenerateTaggedRefObject(obj, tag); }
bool QORLGenerator::HasContent(bool present, std::u32string_view tag) {
  return IsEmptyElementTagNotGenerated(present, tag);
}

}  // namespace qorl
