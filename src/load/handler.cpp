#include "load/handler.h"

#include <unordered_map>

#include "load/manager.h"
#include "model/registry.h"
#include "model/vocabulary.h"
#include "platform/datablob.h"
#include "platform/error.h"
#include "platform/guid.h"
#include "platform/strutil.h"
#include "store/metadata_util.h"

namespace qorl {

void QORLObjectStub::Clone(const QORLObjectStub* from) {
  m_qualifiedName = from->m_qualifiedName;
  m_uid = from->m_uid;
  m_id = from->m_id;
  m_typeID = from->m_typeID;
  m_object = from->m_object;
  m_parentID = from->m_parentID;
  m_parentUID = from->m_parentUID;
  m_line = from->m_line;
  m_column = from->m_column;
}

// ---- the base handler ---------------------------------------------------------

VXString QORLObject::GetUniqueIdentifier() {
  VXString t = TKSGUIDGenerator::ByteVectorToGUIDString(m_uid);
  return t.empty() ? VXString(S_ERROR) : t;
}

VXString QORLObject::GetParentComponentForTransformation() { return VXString(S_ERROR); }

VXString QORLObject::DisplayName() const {
  // The document's own name first: it is what the user wrote and can find.
  if (!m_qualifiedName.empty()) return MetadataUtil::ToQualifiedName(m_qualifiedName);
  return m_object.IsNullRef() ? VXString() : MetadataUtil::GenerateQualifiedName(m_object);
}

int QORLObject::CurrentLine() const { return m_pManager ? m_pManager->GetLineNumber() : 0; }

void QORLObject::ParseQualifiedNameString(const VXString& text, QualifiedName& out) {
  if (text.empty() || text[0] != U'"') throw ErrorMessage(92007, CurrentLine());
  MetadataUtil::ParseQualifiedNameString(text, out, '.', true);
}

void QORLObject::GetQualifiedName(const NameValuePairs& attrs, QualifiedName& out) {
  out.clear();
  if (const VXString* q = attrs.Find(ATTR_QNAME)) return ParseQualifiedNameString(*q, out);
  const VXString* name = attrs.Find(ATTR_NAME);
  if (!name) return;
  // The name is quoted as a component of its own, so quotes inside it are doubled.
  QualifiedName leaf{BaseStringUtil::TruncateString(*name, 255)};
  VXString text = MetadataUtil::ToQualifiedName(leaf);
  if (const VXString* parent = attrs.Find(ATTR_PARENT)) text = *parent + U'.' + text;
  ParseQualifiedNameString(text, out);
}

void QORLObject::GetUpgradeIDFromString(const VXString& text, VXUpgradeID& out) {
  out.clear();
  if (text.size() < 10 || text[8] != U'-') return;
  TKSGUIDGenerator::VXStringToGUIDByteVector(out, text);
}

void QORLObject::GetAttr(std::u32string_view name, const NameValuePairs& attrs, VXString& out) {
  const VXString* v = attrs.Find(name);
  out = v ? *v : VXString();
}

void QORLObject::GetAttr(std::u32string_view name, const NameValuePairs& attrs, bool& out) {
  if (const VXString* v = attrs.Find(name)) out = v->EqualsNoCase("true");
}

template <class T>
static void GetIntAttr(std::u32string_view name, const NameValuePairs& attrs, T& out) {
  const VXString* v = attrs.Find(name);
  long long n;
  if (v && BaseStringUtil::StringToInt(*v, n)) out = static_cast<T>(n);
}

void QORLObject::GetAttr(std::u32string_view name, const NameValuePairs& attrs, int32_t& out) { GetIntAttr(name, attrs, out); }
void QORLObject::GetAttr(std::u32string_view name, const NameValuePairs& attrs, uint32_t& out) { GetIntAttr(name, attrs, out); }
void QORLObject::GetAttr(std::u32string_view name, const NameValuePairs& attrs, int16_t& out) { GetIntAttr(name, attrs, out); }
void QORLObject::GetAttr(std::u32string_view name, const NameValuePairs& attrs, uint16_t& out) { GetIntAttr(name, attrs, out); }

void QORLObject::GetAttr(std::u32string_view name, const NameValuePairs& attrs, double& out) {
  const VXString* v = attrs.Find(name);
  double d;
  if (v && BaseStringUtil::StringToDouble(*v, d)) out = d;
}

void QORLObject::ProcessObjectAttributes(const NameValuePairs& attrs) {
  QualifiedName q;
  GetQualifiedName(attrs, q);
  SetQualifiedName(q);
  VXString text;
  GetAttr(ATTR_UID, attrs, text);
  GetUpgradeIDFromString(text, m_uid);
  if (const VXString* pid = attrs.Find(ATTR_PARENT_ID)) VoidID::StringToVoidID(*pid, m_parentID);
  GetAttr(ATTR_PARENT_UID, attrs, text);
  GetUpgradeIDFromString(text, m_parentUID);
  GetAttr(ATTR_ICON_INDEX, attrs, m_iconIndex);
  bool readable = true, readWrite = false, del = false, grant = false, all = false;
  GetAttr(ATTR_IS_DEF_READABLE, attrs, readable);
  GetAttr(ATTR_IS_DEF_READWRITEABLE, attrs, readWrite);
  GetAttr(ATTR_IS_DEF_DELETEABLE, attrs, del);
  GetAttr(ATTR_IS_DEF_GRANTABLE, attrs, grant);
  GetAttr(ATTR_IS_DEF_ALL, attrs, all);
  m_defaultPriv = 0;
  if (readable) m_defaultPriv |= kPrivRead;
  if (readWrite) m_defaultPriv |= kPrivReadWrite;
  if (del) m_defaultPriv |= kPrivDelete;
  if (grant) m_defaultPriv |= kPrivGrant;
  if (all) m_defaultPriv |= kPrivAll;
  GetAttr(ATTR_IS_BIEXTENDEROBJECT, attrs, m_bBIExtenderObject);
}

QORLObjectStub* QORLObject::ProcessRefObject(TypeID type, const NameValuePairs& attrs) {
  if (type == kTIDUnknown) {
    VoidID id;
    if (const VXString* t = attrs.Find(ATTR_ID); t && VoidID::StringToVoidID(*t, id)) type = id.GetTypeID();
  }
  VXString text;
  GetAttr(ATTR_UID, attrs, text);
  VXUpgradeID uid;
  GetUpgradeIDFromString(text, uid);
  GetAttr(ATTR_QNAME, attrs, text);
  QualifiedName q;
  ParseQualifiedNameString(text, q);
  QORLObjectStub* stub = m_pManager->CreateQORLObjectStub(type, uid, q);
  // Kept for the message when the reference does not resolve, which is known
  // only after the whole document is read.
  stub->SetLocation(m_pManager->ElementLine(), m_pManager->ElementColumn());
  return stub;
}

QORLObjectStub* QORLObject::ResolveParent(TypeID parentType, bool bThrowErrorAnyway) {
  return ResolveParent(TypeIDVector{parentType}, bThrowErrorAnyway);
}

QORLObjectStub* QORLObject::ResolveParent(const TypeIDVector& parentTypes, bool bThrowErrorAnyway) {
  if (m_qualifiedName.empty()) SUGThrow(ErrorMessage(92005, m_objTagLineNumber), __FILE__, __LINE__);
  QualifiedName parentName = m_qualifiedName;
  parentName.pop_back();
  while (!parentName.empty() && parentName.back().empty()) parentName.pop_back();
  if (parentTypes.empty() || parentName.empty()) return nullptr;
  // Most elements have one parent type; the rest try each until one matches.
  for (size_t i = 0; i + 1 < parentTypes.size(); ++i) {
    QORLObjectStub* stub = m_pManager->CreateQORLObjectStub(parentTypes[i], m_parentUID, parentName);
    if (m_pManager->TryResolveQORLObjectStub(stub)) return stub;
  }
  // The element's own parent name is what names the parent.
  QORLObjectStub* stub = m_pManager->CreateQORLObjectStub(parentTypes.back(), m_parentUID, parentName);
  stub->SetLocation(m_line, m_column);
  m_pManager->ResolveQORLObjectStub(stub, false, bThrowErrorAnyway);
  return stub;
}

void QORLObject::AttachToParent(const QORLObjectStub* parent) {
  if (m_object.IsNullRef()) return;
  RefARpObject p = parent ? parent->GetARpObject() : RefARpObject();
  MetadataUtil::SetParent(m_object, p);
}

void QORLObject::SetCommonObjectProperties() {
  if (m_object.IsNullRef()) return;
  m_object->SetIconIndex(m_iconIndex);
  m_object->SetDefaultPrivilege(m_defaultPriv);
  m_object->SetDescription(BaseStringUtil::LineFeedConversion(m_description));
  m_object->SetBIExtenderObject(m_bBIExtenderObject);
}

void QORLObject::DecryptAESPassword(const VXString& aes, ByteVector& bytes) {
  m_pManager->DecryptAESPassword(DisplayName(), aes, bytes);
}

void QORLObject::InitializeUnknownElementHandler() {
  m_unknownHandler.SetParentParsingState(m_parsingState);
  m_unknownHandler.startElement();
  m_parsingState = psInUnkownElement;
}

bool QORLObject::CheckAndEndUnknownElement() {
  m_unknownHandler.endElement();
  if (!m_unknownHandler.HandOverParsingToParent()) return false;
  m_parsingState = m_unknownHandler.GetParentParsingState();
  m_unknownHandler.Reset();
  return true;
}

bool QORLObject::HandleCommonStart(const VXString& tag) {
  if (m_parsingState == psInUnkownElement) {
    m_unknownHandler.startElement();
    return true;
  }
  if (m_parsingState == psInObject && tag == TAG_DESCRIPTION) {
    m_parsingState = psInDescription;
    return true;
  }
  return false;
}

bool QORLObject::HandleCommonCharacters(std::u32string_view text) {
  if (m_parsingState != psInDescription) return false;
  m_description.append(text);
  return true;
}

bool QORLObject::HandleCommonEnd() {
  if (m_parsingState == psInUnkownElement) {
    CheckAndEndUnknownElement();
    return true;
  }
  if (m_parsingState == psInDescription) {
    m_parsingState = psInObject;
    return true;
  }
  return false;
}

// ---- the generic element --------------------------------------------------------

static bool IsInternalAccountUID(const VXUpgradeID& uid) {
  VXUpgradeID internal;
  AAuthorizer::GetMandatorySecurityObjectsUIDs(internal);
  return !uid.empty() && uid == internal;
}

void QORLGenericObjectHandler::startElement(const VXString& tag, const NameValuePairs& attrs) {
  if (m_parsingState == psStart) {
    ProcessObjectAttributes(attrs);
    m_parsingState = psInObject;
    return;
  }
  if (HandleCommonStart(tag)) return;
  if (m_parsingState == psInObject) InitializeUnknownElementHandler();
}

void QORLGenericObjectHandler::characters(std::u32string_view text) { HandleCommonCharacters(text); }

void QORLGenericObjectHandler::endElement(const VXString&) {
  if (HandleCommonEnd()) return;
  if (m_parsingState != psInObject) return;
  // The internal account's name travels encrypted; the lookups need the clear name.
  TypeID type = GetTypeID();
  if ((type == kTIDAUser || type == kTIDASecurityRole) && IsInternalAccountUID(m_uid) && !m_qualifiedName.empty() &&
      m_qualifiedName.back().find(U' ') != VXString::npos) {
    ByteVector bytes;
    DecryptAESPassword(m_qualifiedName.back(), bytes);
    if (!bytes.empty()) {
      VXString name;
      DataBlobUtil::FromByteVector(bytes, name, true);
      m_qualifiedName.back() = name;
    }
  }
}

void QORLGenericObjectHandler::Resolve() {
  TypeIDVector parentTypes;
  MetadataUtil::GetParentTypes(GetTypeID(), parentTypes);
  if (!parentTypes.empty() && m_qualifiedName.size() > 1) m_pParent = ResolveParent(parentTypes, false);
}

void QORLGenericObjectHandler::Execute() {
  if (m_pParent) AttachToParent(m_pParent);
  SetCommonObjectProperties();
}

// ---- DeleteObjects -------------------------------------------------------------

void QORLDeleteObjectsHandler::startElement(const VXString& tag, const NameValuePairs& attrs) {
  if (m_parsingState == psInUnkownElement) {
    m_unknownHandler.startElement();
    return;
  }
  if (m_parsingState == psStart) {
    if (tag == TAG_DEL_OBJECTS) m_parsingState = psInObject;
    else InitializeUnknownElementHandler();
    return;
  }
  if (m_parsingState != psInObject) return;
  TypeID type = tag.starts_with(TAG_REF) ? QORLUtil::GetTypeID(tag.substr(TAG_REF.size())) : kTIDUnknown;
  if (type == kTIDUnknown) {
    InitializeUnknownElementHandler();
    return;
  }
  m_delObjects.push_back(ProcessRefObject(type, attrs));
  m_delLines.push_back(CurrentLine());
  m_parsingState = psIndividualObjectStateStart;
}

void QORLDeleteObjectsHandler::endElement(const VXString&) {
  if (m_parsingState == psInUnkownElement) {
    CheckAndEndUnknownElement();
    return;
  }
  if (m_parsingState == psIndividualObjectStateStart) {
    m_parsingState = psInObject;
    return;
  }
  if (m_parsingState == psInObject && !m_pManager->m_bFineGrainedXML) {
    // Resolved while parsing: the store's indexes were built before the parse.
    m_pManager->ResolveQORLObjectStubVector(m_delObjects, true);
    m_pManager->PopulateDelObjectVector(m_delObjects, m_delLines);
  }
}

void QORLDeleteObjectsHandler::Resolve() {
  m_pManager->ResolveQORLObjectStubVector(m_delObjects, true);
  m_pManager->PopulateDelObjectVector(m_delObjects, m_delLines);
}

VXString QORLDeleteObjectsHandler::GetUniqueIdentifier() { return VXString(TAG_DEL_OBJECTS); }

// ---- expressions ------------------------------------------------------------

enum : int16_t { kExprStateText = 2, kExprStateObjects = 3, kExprStateRef = 4, kExprStateNormalised = 1000, kExprStateDesc = 1001 };

void QORLExpressionHandler::startElement(const VXString& tag, const NameValuePairs& attrs) {
  if (m_parsingState == psStart) m_parsingState = psInObject;
  if (m_parsingState == psInUnkownElement) {
    m_unknownHandler.startElement();
    return;
  }
  bool tdf = m_pManager->IsTDFQORL();
  if (m_parsingState == psInObject) {
    if ((!tdf && tag == TAG_EXPR) || (tdf && tag == m_tdfTag)) {
      m_parsingState = kExprStateText;
      m_exprLine = CurrentLine();
    } else if (tag == TAG_EXPR_TEXT) {
      m_parsingState = kExprStateNormalised;
      m_exprLine = CurrentLine();
    } else if (tag == TAG_OBJECTS || (tdf && tag == TAG_OBJECT_REF_LIST)) {
      m_parsingState = kExprStateObjects;
    } else {
      InitializeUnknownElementHandler();
    }
    return;
  }
  if (tdf && m_parsingState == kExprStateText) {
    if (tag == TAG_EXPR_TEXT) m_parsingState = kExprStateNormalised;
    else if (tag == TAG_EXPR_TEXT_DESC) m_parsingState = kExprStateDesc;
    else if (tag == TAG_OBJECT_REF_LIST) m_parsingState = kExprStateObjects;
    else InitializeUnknownElementHandler();
    return;
  }
  if (m_parsingState == kExprStateObjects) {
    if (tag == VXString(TAG_REF) + TAG_OBJECT) {
      m_objects.push_back(ProcessRefObject(kTIDUnknown, attrs));
      m_parsingState = kExprStateRef;
    } else {
      InitializeUnknownElementHandler();
    }
  }
}

void QORLExpressionHandler::characters(std::u32string_view text) {
  bool tdf = m_pManager->IsTDFQORL();
  if (m_parsingState == kExprStateText && !tdf) m_sExpr.append(text);
  else if (m_parsingState == kExprStateNormalised && tdf) m_sExprText.append(text);
}

void QORLExpressionHandler::endElement(const VXString&) {
  bool tdf = m_pManager->IsTDFQORL();
  switch (m_parsingState) {
    case psInUnkownElement: CheckAndEndUnknownElement(); break;
    case kExprStateRef: m_parsingState = kExprStateObjects; break;
    case kExprStateNormalised:
    case kExprStateDesc:
    case kExprStateObjects: m_parsingState = tdf ? kExprStateText : psInObject; break;
    case kExprStateText: m_parsingState = psInObject; break;
    default: break;
  }
}

void QORLExpressionHandler::Resolve() {
  if (!m_pManager->IsTDFQORL()) return;
  m_pManager->ResolveQORLObjectStubVector(m_objects, false);
  VXString text = m_sExprText;
  for (size_t i = 0; i < m_objects.size(); ++i) {
    VoidID id = m_objects[i] && !m_objects[i]->GetARpObject().IsNullRef() ? m_objects[i]->GetARpObject().GetID() : VoidID::NullID;
    VXString marker = VXString(U"\"%") + VXString::FromUInt(i + 1) + U'"';
    text = BaseStringUtil::ReplaceAll(text, marker, VXString(U"\"") + id.ToString() + U'"');
  }
  m_sExpr = text;
}

void QORLExpressionHandler::CloneObject(QORLObject* from) {
  auto* other = dynamic_cast<QORLExpressionHandler*>(from);
  if (!other) return;
  m_sExpr = other->m_sExpr;
  m_objects = other->m_objects;
}

void RelinkRelation(BinaryRelIterBase rel, const QORLObjectStubVector& stubs, bool bClearFirst) {
  if (bClearFirst) rel.Clear();
  VoidIDVector ids;
  for (const QORLObjectStub* s : stubs)
    if (s && !s->GetARpObject().IsNullRef()) ids.push_back(s->GetARpObject().GetID());
  for (const VoidID& id : ids) rel.Erase(id);
  for (const VoidID& id : ids) rel.Insert(id);
}

// ---- which handler reads which element ------------------------------------

namespace {

QORLObject* MakeGeneric(ARpGateway* rp, QORLObjectManager* m) { return new QORLGenericObjectHandler(rp, m); }

}  // namespace

HandlerFactory FindHandlerFactory(TypeID type) {
  static const std::unordered_map<TypeID, HandlerFactory> rows = [] {
    std::unordered_map<TypeID, HandlerFactory> m;
    for (auto family : {ColumnMappingHandlers()})
      for (const HandlerRow& r : family)
        if (r.make) m.emplace(r.type, r.make);
    return m;
  }();
  if (!QORLUtil::HandlerName(type)) return nullptr;  // a tag without a handler, or no tag at all
  auto it = rows.find(type);
  return it == rows.end() ? &MakeGeneric : it->second;
}

}  // namespace qorl
