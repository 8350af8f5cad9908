#include "load/element_handler.h"

#include <algorithm>
#include <mutex>
#include <unordered_map>

#include "load/manager.h"
#include "model/registry.h"
#include "model/vocabulary.h"
#include "platform/datablob.h"
#include "platform/error.h"
#include "platform/strutil.h"
#include "store/expr_store.h"
#include "store/metadata_util.h"
#include "store/object_refs.h"

namespace qorl {

using namespace elements;

struct QORLElementHandler::Slot {
  QORLObjectStub* stub = nullptr;
  QORLObjectStubVector stubs;
  VXString text;
  std::unique_ptr<QORLExpressionHandler> expr;
  std::unique_ptr<ChildReader> child;
};

namespace element_handler {

// The relation holds exactly the listed members: the others leave, those that
// stay keep their places, new ones join behind them.
void KeepPlaces(BinaryRelIterBase rel, const QORLObjectStubVector& stubs) {
  VoidIDVector listed;
  for (const QORLObjectStub* s : stubs)
    if (RefARpObject o = s ? s->GetARpObject() : RefARpObject();
        o && std::find(listed.begin(), listed.end(), o.GetID()) == listed.end())
      listed.push_back(o.GetID());
  for (const VoidID& id : rel.IDs())
    if (std::find(listed.begin(), listed.end(), id) == listed.end()) rel.Erase(id);
  for (const VoidID& id : listed)
    if (!rel.Contains(id)) rel.Insert(id);
}

bool IsRemoval(const Part& part) { return part.kind == PartKind::EmptyGroup && part.rel; }

// The texts of an enumeration, found once per enumeration by asking it for
// the text of each small value: only a text it does not know pays for this.
std::span<const std::u32string_view> EnumTexts(const EnumNames& names) {
  struct Texts {
    std::vector<std::u32string> owned;
    std::vector<std::u32string_view> views;
  };
  static std::mutex mutex;
  static std::unordered_map<const EnumNames*, std::unique_ptr<Texts>> cache;
  std::lock_guard<std::mutex> lock(mutex);
  std::unique_ptr<Texts>& texts = cache[&names];
  if (!texts) {
    texts = std::make_unique<Texts>();
    // Enumerations number their values below 512 (a hierarchy's "VALUE" is 256).
    for (int v = -1; v < 512; ++v) {
      VXString t = names.toText(v);
      if (t.empty() || names.fromText(t) != v) continue;
      std::u32string text(t.view());
      if (std::find(texts->owned.begin(), texts->owned.end(), text) == texts->owned.end())
        texts->owned.push_back(std::move(text));
    }
    for (const std::u32string& t : texts->owned) texts->views.push_back(t);
  }
  return texts->views;
}

// Attribute names the document language does not own: namespace declarations
// and attributes of other vocabularies, which the schema may allow.
bool IsForeignAttribute(std::u32string_view name) {
  return name.find(U':') != std::u32string_view::npos || name == U"xmlns";
}

}  // namespace element_handler

QORLElementHandler::QORLElementHandler(ARpGateway* pGateway, QORLObjectManager* pManager, const Binding& binding)
    : QORLObject(pGateway, pManager), m_binding(binding) {}

QORLElementHandler::~QORLElementHandler() = default;

QORLElementHandler::Slot& QORLElementHandler::SlotOf(size_t part) {
  if (!m_slots) m_slots = std::make_unique<Slot[]>(m_binding.desc->parts.size());
  return m_slots[part];
}

bool QORLElementHandler::Accepts(const Part& part, TypeID type) const {
  if (type == kTIDUnknown) return false;
  if (part.accepts.empty()) return true;
  for (TypeID t : part.accepts)
    if (t == type) return true;
  return false;
}

// ---- parsing ----

void QORLElementHandler::startElement(const VXString& tag, const NameValuePairs& attrs) {
  if (m_parsingState == psStart) {
    ProcessObjectAttributes(attrs);
    m_attrs = attrs;
    CheckAttributeNames();
    m_parsingState = psInObject;
    return;
  }
  if (m_parsingState == kInExpr) return m_relay.Start(tag, attrs);
  if (m_parsingState == kInChild) {
    ++m_childDepth;
    if (SlotOf(m_part).child->Start(tag, attrs, *this)) return;
    // Not the child's: skipped like any unknown element.
    --m_childDepth;
    UnknownChild(tag);
    InitializeUnknownElementHandler();
    return;
  }
  if (HandleCommonStart(tag)) return;
  const std::span<const Part> parts = m_binding.desc->parts;
  switch (m_parsingState) {
    case psInObject: {
      auto it = m_binding.partOfTag.find(std::u32string(tag.view()));
      if (it != m_binding.partOfTag.end()) return StartPart(it->second, tag, attrs);
      break;
    }
    case kInTagged:
    case kInGroup: {
      TypeID type = QORLUtil::GetRefTypeID(tag);
      if (!Accepts(parts[m_part], type)) break;
      // A reference without attributes is the empty element of an unset one.
      if (attrs.Size() != 0) {
        Slot& s = SlotOf(m_part);
        if (m_parsingState == kInTagged) s.stub = ProcessRefObject(type, attrs);
        else s.stubs.push_back(ProcessRefObject(type, attrs));
      }
      m_parsingState = m_parsingState == kInTagged ? kInTaggedRef : kInGroupRef;
      return;
    }
    default:
      break;
  }
  UnknownChild(tag);
  InitializeUnknownElementHandler();
}

void QORLElementHandler::CheckAttributeNames() {
  for (size_t i = 0; i < m_attrs.Size(); ++i) {
    std::u32string_view name = m_attrs.At(i).first.view();
    if (m_binding.attrNames.contains(name) || element_handler::IsForeignAttribute(name)) continue;
    std::u32string_view meant = BaseStringUtil::ClosestName(name, m_binding.attrList);
    VXString tag(m_binding.desc->tag);
    m_pManager->Warn(meant.empty() ? ErrorMessage(92040, GetObjTagLineNumber(), tag, VXString(name))
                                   : ErrorMessage(92041, GetObjTagLineNumber(), tag, VXString(name), VXString(meant)));
  }
}

void QORLElementHandler::UnknownChild(const VXString& tag) {
  // The element it was found in, and the tags that would have been read there.
  VXString parent(m_binding.desc->tag);
  std::vector<VXString> refTags;
  std::vector<std::u32string_view> known;
  switch (m_parsingState) {
    case psInObject: known = m_binding.childTags; break;
    case kInTagged:
    case kInGroup:
    case kInChild: {
      const Part& part = m_binding.desc->parts[m_part];
      parent = VXString(part.tag);
      if (m_parsingState == kInChild) break;
      for (TypeID t : part.accepts) refTags.push_back(VXString(TAG_REF) + QORLUtil::GetTagName(t));
      for (const VXString& t : refTags) known.push_back(t.view());
      break;
    }
    default: break;
  }
  std::u32string_view meant = BaseStringUtil::ClosestName(tag.view(), known);
  m_pManager->Warn(meant.empty() ? ErrorMessage(92044, CurrentLine(), parent, tag)
                                 : ErrorMessage(92045, CurrentLine(), parent, tag, VXString(meant)));
}

void QORLElementHandler::StartPart(size_t index, const VXString& tag, const NameValuePairs& attrs) {
  const Part& part = m_binding.desc->parts[index];
  Slot& s = SlotOf(index);
  m_part = index;
  switch (part.kind) {
    case PartKind::Tagged: m_parsingState = kInTagged; return;
    case PartKind::Group:
    case PartKind::EmptyGroup: m_parsingState = kInGroup; return;
    case PartKind::Plain:
      if (attrs.Size() != 0) s.stub = ProcessRefObject(QORLUtil::GetRefTypeID(tag), attrs);
      m_parsingState = kInPlain;
      return;
    case PartKind::Text:
      s.text.clear();
      m_parsingState = kInText;
      return;
    case PartKind::Expr:
    case PartKind::TaggedExpr:
      if (!s.expr) s.expr = std::make_unique<QORLExpressionHandler>(m_pGateway, m_pManager, part.tag);
      m_relay.Open(s.expr.get(), part.kind == PartKind::TaggedExpr, psInObject);
      if (part.kind == PartKind::Expr) m_relay.Start(tag, attrs);
      m_parsingState = kInExpr;
      return;
    case PartKind::Child:
      // One reader takes every occurrence of the child: repeated elements add up.
      if (!s.child) s.child.reset(part.codec->NewReader());
      m_childDepth = 1;
      m_parsingState = kInChild;
      s.child->Start(tag, attrs, *this);
      return;
  }
}

void QORLElementHandler::characters(std::u32string_view text) {
  if (HandleCommonCharacters(text)) return;
  switch (m_parsingState) {
    case kInText: SlotOf(m_part).text.append(text); break;
    case kInExpr: m_relay.Characters(text); break;
    case kInChild: SlotOf(m_part).child->Characters(text); break;
    default: break;
  }
}

void QORLElementHandler::endElement(const VXString& tag) {
  if (HandleCommonEnd()) return;
  switch (m_parsingState) {
    case kInTaggedRef: m_parsingState = kInTagged; return;
    case kInGroupRef: m_parsingState = kInGroup; return;
    case kInTagged:
    case kInGroup:
    case kInPlain:
    case kInText: m_parsingState = psInObject; return;
    case kInExpr:
      if (m_relay.End(tag)) m_parsingState = m_relay.ReturnState();
      return;
    case kInChild:
      SlotOf(m_part).child->End(tag, *this);
      if (--m_childDepth == 0) m_parsingState = psInObject;
      return;
    default: return;  // the element's own end
  }
}

// ---- execution ----

void QORLElementHandler::Resolve() {
  const Description& d = *m_binding.desc;
  switch (d.parent.mode) {
    case ParentMode::ByName:
      m_pParent = ResolveParent(TypeIDVector(d.parent.types.begin(), d.parent.types.end()), false);
      break;
    case ParentMode::Hook: m_pParent = d.hooks->resolveParent(*this); break;
    case ParentMode::None: break;
  }
  if (!m_slots) return;
  for (size_t i = 0; i < d.parts.size(); ++i) {
    Slot& s = m_slots[i];
    Resolve(s.stub);
    // A member the document removes may be going in the same document: no error when it is gone.
    const bool removal = element_handler::IsRemoval(d.parts[i]);
    for (QORLObjectStub*& stub : s.stubs)
      if (stub) m_pManager->ResolveQORLObjectStub(stub, removal, false);
    if (s.expr) s.expr->Resolve();
    if (s.child) s.child->Resolve(*this);
  }
}

void QORLElementHandler::ReadAttributes(ARpObject& obj) {
  const Description& d = *m_binding.desc;
  for (size_t i = 0; i < d.attrs.size(); ++i) {
    const elements::Attr& row = d.attrs[i];
    const VXString* text = m_attrs.Find(row.name);
    if (row.hook) {
      if (row.hook->set) row.hook->set(obj, row, text, m_attrs, *this);
      continue;
    }
    void* field = m_binding.attrProps[i]->field(obj);
    if (text && ValueFromText(*row.codec, *text, field)) {
      // An enumeration reads any text it does not know as its default.
      if (row.codec->field == FieldType::Enum && *static_cast<const int*>(field) == m_binding.enumDefaults[i] &&
          !text->empty() && !text->EqualsNoCase(row.codec->names->toText(m_binding.enumDefaults[i]).view()) &&
          !text->EqualsNoCase(m_binding.attrDefaults[i].view()))
        UnknownText(row, *text, element_handler::EnumTexts(*row.codec->names));
      continue;
    }
    if (text && row.codec->badText)
      ThrowOrLogError(ErrorMessage(row.codec->badText, GetObjTagLineNumber(), *text), !IgnoreErrors());
    else if (text && IsNumeric(*row.codec)) BadNumber(row.name, *text);
    // Absent: the row's default, else what the codec makes of no text (an
    // enumeration's own default), else the zero of the field.
    if (!ValueFromText(*row.codec, m_binding.attrDefaults[i], field)) ValueClear(*row.codec, field);
  }
  MarkObjectDirty(obj);
}

void QORLElementHandler::ApplyParts(ARpObject& obj, Phase phase) {
  // A part the element does not have is applied too, empty: the document
  // says everything about the object.
  const Description& d = *m_binding.desc;
  // Members a removal group lists leave first, whatever another group then adds.
  for (size_t i = 0; i < d.parts.size(); ++i) {
    const Part& part = d.parts[i];
    if (part.phase != phase || !element_handler::IsRemoval(part)) continue;
    BinaryRelIterBase rel(m_pGateway, obj.GetID(), part.rel);
    for (const QORLObjectStub* stub : SlotOf(i).stubs)
      if (RefARpObject o = ObjectOf(stub); !o.IsNullRef()) rel.Erase(o.GetID());
  }
  for (size_t i = 0; i < d.parts.size(); ++i) {
    const Part& part = d.parts[i];
    if (part.phase != phase) continue;
    Slot& s = SlotOf(i);
    void* field = PartField(m_binding, i, obj);
    switch (part.kind) {
      case PartKind::Tagged:
      case PartKind::Plain:
        *static_cast<VoidID*>(field) = IdOf(ObjectOf(s.stub));
        MarkObjectDirty(obj);
        break;
      case PartKind::Group: {
        BinaryRelIterBase rel(m_pGateway, obj.GetID(), part.rel);
        bool clear = (part.flags & kClearFirst) ||
                     ((part.flags & kClearFirstWithExprs) && !ToPrettyStringVisitor::IsRipAndReplaceNoExprModeOn());
        if (part.flags & kKeepPlaces) element_handler::KeepPlaces(rel, s.stubs);
        else RelinkRelation(rel, s.stubs, clear);
        break;
      }
      case PartKind::EmptyGroup: break;
      case PartKind::Text:
        *static_cast<VXString*>(field) =
            (part.flags & kLineFeeds) ? BaseStringUtil::LineFeedConversion(s.text) : s.text;
        MarkObjectDirty(obj);
        break;
      case PartKind::Expr:
      case PartKind::TaggedExpr: {
        Expr expr;
        int type = (part.flags & kPhysicalExpr) ? kSME_Physical
                   : (part.flags & kBusinessModelExpr) ? kSME_BusinessModel
                                                        : kSME_Logical;
        VXString text = s.expr ? s.expr->GetExprText() : VXString();
        if (ParseExpr(s.expr ? s.expr->GetExprLine() : GetObjTagLineNumber(), text, expr, type) ||
            (part.flags & kKeepUnparsed)) {
          *static_cast<Expr*>(field) = std::move(expr);
          MarkObjectDirty(obj);
        }
        break;
      }
      case PartKind::Child:
        if (!s.child) s.child.reset(part.codec->NewReader());
        s.child->Execute(obj, field, *this);
        break;
    }
  }
}

void QORLElementHandler::Execute() {
  ARpObject* obj = m_object.GetRawObjPtr();
  if (!obj) return;
  const Description& d = *m_binding.desc;
  if (d.parent.mode != ParentMode::None) {
    RefARpObject parent = ObjectOf(m_pParent);
    if (!parent.IsNullRef() || !d.parent.keepUnresolved) {
      if (!d.parent.ownerRel) SetParentOf(*obj, parent);
      else if (const RelDesc* rel = FindRelDesc(d.parent.ownerRel))
        SetParentInList(*obj, parent, rel->id, rel->ownerType);
    }
  }
  ReadAttributes(*obj);
  ApplyParts(*obj, Phase::Execute);
  if (d.hooks && d.hooks->execute) d.hooks->execute(*obj, *this);
  SetCommonObjectProperties();
}

void QORLElementHandler::Execute2() {
  ARpObject* obj = m_object.GetRawObjPtr();
  if (!obj) return;
  const Description& d = *m_binding.desc;
  if (d.hooks && d.hooks->prepare2) d.hooks->prepare2(*obj, *this);
  ApplyParts(*obj, Phase::Execute2);
  if (d.hooks && d.hooks->execute2) d.hooks->execute2(*obj, *this);
}

void QORLElementHandler::GetPasswordsToCheck(VXStringVector& out) const {
  const Description& d = *m_binding.desc;
  if (d.hooks && d.hooks->passwords) d.hooks->passwords(m_attrs, out);
}

VXString QORLElementHandler::GetUniqueIdentifier() {
  const Description& d = *m_binding.desc;
  if (d.hooks && d.hooks->uniqueIdentifier) return d.hooks->uniqueIdentifier(*this);
  return QORLObject::GetUniqueIdentifier();
}

// ---- what hooks and child codecs see ----

bool QORLElementHandler::IgnoreErrors() const { return m_pManager->IgnoreErrors(); }

void QORLElementHandler::BadNumber(std::u32string_view attr, const VXString& text) {
  ThrowOrLogError(ErrorMessage(99023, GetObjTagLineNumber(), VXString(attr), text, VXString(m_binding.desc->tag)),
                  !IgnoreErrors());
}

void QORLElementHandler::UnknownText(const elements::Attr& row, const VXString& text,
                                     std::span<const std::u32string_view> known) {
  std::u32string_view meant = BaseStringUtil::ClosestName(text.view(), known);
  VXString name(row.name), tag(m_binding.desc->tag);
  m_pManager->Warn(meant.empty() ? ErrorMessage(92042, GetObjTagLineNumber(), name, text, tag)
                                 : ErrorMessage(92043, GetObjTagLineNumber(), name, text, tag, VXString(meant)));
}

void QORLElementHandler::DecryptPassword(const VXString& text, ByteVector& out) {
  // Text without a blank is the store's own hexadecimal form; anything else
  // there is a clear password typed into the document, which we never keep.
  ByteVector bytes;
  if (text.find(U' ') == VXString::npos && !DataBlobUtil::HexVXStringToByteVector(text, bytes)) {
    out.clear();
    m_pManager->PasswordError(
        ErrorMessage(99024, GetObjTagLineNumber(), VXString(m_binding.desc->tag), DisplayName()));
    return;
  }
  DecryptAESPassword(text, out);
}

QORLObjectStub* QORLElementHandler::Reference(TypeID type, const NameValuePairs& attrs) {
  return ProcessRefObject(type, attrs);
}

void QORLElementHandler::Resolve(QORLObjectStub*& stub) {
  if (stub) m_pManager->ResolveQORLObjectStub(stub, false, false);
}

RefARpObject QORLElementHandler::ObjectOf(const QORLObjectStub* stub) const {
  return stub ? stub->GetARpObject() : RefARpObject();
}

bool QORLElementHandler::TryResolve(QORLObjectStub*& stub) { return m_pManager->TryResolveQORLObjectStub(stub); }

QORLObjectStub* QORLElementHandler::ParentStub(TypeID type, const QualifiedName& name) {
  QORLObjectStub* stub = m_pManager->CreateQORLObjectStub(type, m_parentUID, name);
  stub->SetLocation(m_line, m_column);
  stub->SetParentID(m_parentID);
  stub->SetID(m_parentID);
  return stub;
}

QORLObjectStub* QORLElementHandler::ResolveParentOf(TypeID type) { return ResolveParent(type, false); }

RefARpObject QORLElementHandler::CreateInternalObject(TypeID type) { return m_pManager->CreateInternalObject(type); }

void QORLElementHandler::DeleteInternalObject(const VoidID& id) { m_pManager->DeleteInternalObject(id); }

bool QORLElementHandler::FineGrained() const { return m_pManager->m_bFineGrainedXML; }

const VXUpgradeID* QORLElementHandler::ExprObjectUID(const char* prop, size_t i) {
  const std::span<const Part> parts = m_binding.desc->parts;
  for (size_t p = 0; p < parts.size(); ++p) {
    if (!parts[p].prop || std::string_view(parts[p].prop) != prop || !m_slots || !m_slots[p].expr) continue;
    const QORLObjectStubVector& objects = m_slots[p].expr->GetObjects();
    return i < objects.size() && objects[i] ? &objects[i]->GetUpgradeID() : nullptr;
  }
  return nullptr;
}

bool QORLElementHandler::IsAlive(const RefARpObject& obj) const { return m_pManager->IsVltObjectAlive(obj); }

void QORLElementHandler::DeleteObject(const VoidID& id) { m_pManager->DeleteInternalObject(id); }

bool QORLElementHandler::ParseExpr(int line, const VXString& text, Expr& out, int exprType) {
  return m_pManager->ParseMetaExpr(line, text, out, m_object, static_cast<ExprType>(exprType));
}

}  // namespace qorl
