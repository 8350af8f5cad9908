#include "load/manager.h"

#include "load/element_handler.h"

#include <algorithm>

#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/sax2/Attributes.hpp>
#include <xercesc/util/XMLString.hpp>

#include "load/xml_reader.h"
#include "model/registry.h"
#include "store/registry_objects.h"
#include "model/typenames.h"
#include "model/vocabulary.h"
#include "platform/datablob.h"
#include "platform/error.h"
#include "platform/guid.h"
#include "platform/messages.h"
#include "platform/serverlog.h"
#include "platform/strutil.h"
#include "store/conditions.h"
#include "store/metadata_util.h"
#include "store/props.h"

namespace qorl {

namespace manager_detail {

// The tags of every element with a row, made once: a typo'd element is rare,
// and only then is the list walked.
const std::vector<VXString>& ElementTags() {
  static const std::vector<VXString> tags = [] {
    std::vector<VXString> out;
    for (TypeID t : QORLUtil::AllRegisteredTypes())
      if (VXString tag = QORLUtil::GetTagName(t); !tag.empty()) out.push_back(std::move(tag));
    out.emplace_back(TAG_DEL_OBJECTS);
    return out;
  }();
  return tags;
}

}  // namespace manager_detail

std::u32string_view QORLObjectManager::ClosestElementTag(const VXString& tag) {
  static const std::vector<std::u32string_view> views = [] {
    std::vector<std::u32string_view> out;
    for (const VXString& t : manager_detail::ElementTags()) out.push_back(t.view());
    return out;
  }();
  return BaseStringUtil::ClosestName(tag.view(), views);
}

void VLTStoringStubs::Clear(bool bCleanAll) {
  m_insertObjects.clear();
  m_updateObjects.clear();
  m_qnameIndexedObjects.clear();
  m_uidIndexedObjects.clear();
  m_modifiedInternalObjectQNameTypeIDs.clear();
  m_createdInternalObjectIDs.clear();
  m_modifiedInternalObjectIDs.clear();
  m_deletedInternalObjectIDs.clear();
  m_deletedObjectIDs.clear();
  m_cascadeDeletedObjectIDs.clear();
  m_allDeclaredObjects.clear();
  m_allDeleteObjects.clear();
  m_deleteObjects.clear();
  m_newOrDuplicatedObjects.clear();
  m_qnameNewRenamedObjects.clear();
  m_refObjects.clear();
  if (bCleanAll) {
    m_allOverlappedObjects.clear();
    m_refOverlappedObjects.clear();
  }
}

QORLObjectManager::QORLObjectManager(ARpGateway* pGateway, bool bIsTDFQORL, bool bDocumentContainsCommand,
                                     bool bIsValidTDFDepartmentalDir, bool bGatherDeclaredObjects,
                                     bool bRenameDuplicatedObjects)
    : m_pGateway(pGateway),
      m_bIsTDFQORL(bIsTDFQORL),
      m_bDocumentContainsCommand(bDocumentContainsCommand),
      m_bIsDepartmentalTDFMode(bIsValidTDFDepartmentalDir),
      m_bGatherDeclaredObjects(bGatherDeclaredObjects),
      m_bRenameDuplicatedObjects(bRenameDuplicatedObjects),
      m_pCurrentDeptStorageStubs(&m_defaultStorageStubs) {}

QORLObjectManager::~QORLObjectManager() { Cleanup(); }

namespace manager_detail {

// A parser position as a message keeps it; 0 for none or one out of range.
uint32_t Narrow(XMLFileLoc v) { return v > 0 && v < UINT32_MAX ? static_cast<uint32_t>(v) : 0; }

}  // namespace manager_detail

int QORLObjectManager::GetLineNumber() const {
  return m_locator ? static_cast<int>(m_locator->getLineNumber()) : 0;
}

QORLObjectManager::Position QORLObjectManager::Here() const {
  if (!m_locator) return Position{};
  return Position{manager_detail::Narrow(m_locator->getLineNumber()), manager_detail::Narrow(m_locator->getColumnNumber())};
}

void QORLObjectManager::SetDepartment(const VXString& name) {
  m_sCurrentDepartment = name;
  m_pCurrentDeptStorageStubs = name.empty() ? &m_defaultStorageStubs : &m_deptSpecificStorageStubs[name];
}

void QORLObjectManager::ThrowOrLog(const ErrorMessage& e, bool bThrow) { ThrowOrLogError(e, bThrow); }

bool QORLObjectManager::IsObjectTypeToBeCreated(TypeID type) { return QORLUtil::IsObjectTypeToBeCreated(type); }

// ---- SAX events -------------------------------------------------------------

void QORLObjectManager::SetCommand(const VXString& name) {
  if (name == TAG_DECLARE) m_currentCommand = xcDeclare;
  else if (name == TAG_DELETE) m_currentCommand = xcDelete;
  else if (name == TAG_FINEGRAINED) {
    m_currentCommand = xcFineGrained;
    m_bFineGrainedXML = true;
  }
}

QORLObject* QORLObjectManager::CreateQORLObjectHandler(const VXString& tag, int lineNumber) {
  QORLObject* handler;
  if (tag == TAG_DEL_OBJECTS) {
    handler = new QORLDeleteObjectsHandler(m_pGateway, this);
  } else {
    TypeID type = QORLUtil::GetTypeID(tag);
    if (const elements::Binding* b = elements::BindingOf(type)) {
      handler = new QORLElementHandler(m_pGateway, this, *b);
    } else {
      HandlerFactory make = FindHandlerFactory(type);
      if (!make) throw ErrorMessage(92001, lineNumber, tag);
      handler = make(m_pGateway, this);
    }
    handler->SetTypeID(type);
  }
  m_pCurrentDeptStorageStubs->m_refObjects.emplace_back(handler);
  return handler;
}

const VXString& QORLObjectManager::Intern(const XMLCh* name) {
  std::u16string_view key(name ? name : u"");
  auto it = m_names.find(key);
  if (it != m_names.end()) return it->second;
  return m_names.emplace(std::u16string(key), XMLStr::ToVX(name)).first->second;
}

void QORLObjectManager::RefuseDocument(const ErrorMessage& e) {
  m_bDocumentRefused = true;
  throw e;
}

void QORLObjectManager::startDTD(const XMLCh*, const XMLCh*, const XMLCh*) {
  RefuseDocument(ErrorMessage(92017, GetLineNumber()));
}

void QORLObjectManager::startElement(const XMLCh*, const XMLCh* localname, const XMLCh* qname,
                                     const xercesc::Attributes& attrs) {
  m_elementStart = m_lastEventEnd;
  MarkEventEnd();
  // The limits hold for skipped elements too: the counters must not wrap
  // whatever part of the document they are in.
  if (m_openElements.size() >= kMaxElementDepth) RefuseDocument(ErrorMessage(92018, GetLineNumber(), kMaxElementDepth));
  m_openElements.push_back(&Intern(localname));
  m_textChars = 0;
  for (XMLSize_t i = 0; i < attrs.getLength(); ++i) {
    if (xercesc::XMLString::stringLen(attrs.getValue(i)) > kMaxAttributeChars)
      RefuseDocument(ErrorMessage(92019, GetLineNumber(), XMLStr::ToVX(attrs.getQName(i)), XMLStr::ToVX(localname),
                                  static_cast<unsigned long long>(kMaxAttributeChars)));
  }
  if (m_bInUnknownElement) {
    m_unknownHandler.startElement();
    return;
  }
  ++m_treeLevel;
  if (m_treeLevel == 1) {
    if (!m_bIsTDFQORL) return;
    ++m_treeLevel;
  }
  const VXString& tag = Intern(localname);
  if (m_treeLevel == 2) {
    if (m_bIsTDFQORL && !m_bDocumentContainsCommand) {
      m_treeLevel = 3;
      SetCommand(VXString(TAG_DECLARE));
    } else {
      SetCommand(XMLStr::ToVX(qname));
      if (m_currentCommand == xcFineGrained && tag == TAG_FINEGRAINED) m_finegrainedText += S_XML_FINEGRAINED_TEXT_HEADER;
      if (m_currentCommand == xcUnknown) {
        m_bInUnknownElement = true;
        m_unknownHandler.SetParentParsingState(2);
        m_unknownHandler.startElement();
      }
      return;
    }
  }
  if (m_treeLevel < 3) return;

  m_attrs.Clear();
  for (XMLSize_t i = 0; i < attrs.getLength(); ++i) {
    VXString value = XMLStr::ToVX(attrs.getValue(i));
    // A hand-edited hidden-value marker compares equal to the generated one.
    if (value == ATTRV_INCORRECT_REPLACE_ME) value = VXString(ATTRV_CORRECT_REPLACE_ME);
    m_attrs.Add(Intern(attrs.getQName(i)), value);
  }
  if (m_currentCommand == xcFineGrained) return;  // fine-grained documents are applied by a later flow

  TypeID type = QORLUtil::GetTypeID(tag);
  bool newHandler = false;
  if (m_treeLevel == 3) {
    if ((type == kTIDUnknown && m_currentCommand == xcDeclare && tag != TAG_DEL_OBJECTS) ||
        (m_currentCommand == xcDelete && tag != TAG_DEL_OBJECTS) || m_currentCommand == xcUnknown) {
      // Not an object of this section: skipped with everything in it.
      std::u32string_view meant = type == kTIDUnknown && m_currentCommand == xcDeclare ? ClosestElementTag(tag) : U"";
      Warn(meant.empty() ? ErrorMessage(99019, GetLineNumber(), tag)
                         : ErrorMessage(92046, GetLineNumber(), tag, VXString(meant)));
      m_bInUnknownElement = true;
      m_unknownHandler.SetParentParsingState(3);
      m_unknownHandler.startElement();
      return;
    }
    newHandler = true;
  } else if (m_bIsTDFQORL && !QORLUtil::isTopLevelElemInDocument(type)) {
    newHandler = true;
  }
  if (newHandler) {
    QORLObject* h = CreateQORLObjectHandler(tag, GetLineNumber());
    h->SetObjTagLineNumber(GetLineNumber());
    h->SetLocation(ElementLine(), ElementColumn());
    m_objectHandlers.push_back(h);
  }
  if (!m_objectHandlers.empty()) m_objectHandlers.back()->startElement(tag, m_attrs);
}

void QORLObjectManager::characters(const XMLCh* chars, XMLSize_t length) {
  MarkEventEnd();
  // The parser hands long text over in pieces; the run is what is bounded.
  m_textChars += length;
  if (m_textChars > kMaxElementTextChars)
    RefuseDocument(ErrorMessage(92020, GetLineNumber(), m_openElements.empty() ? VXString() : *m_openElements.back(),
                                static_cast<unsigned long long>(kMaxElementTextChars)));
  if (m_bInUnknownElement) return;
  if (m_currentCommand == xcFineGrained) {
    if (m_bFineGrainedXML) m_finegrainedText += XMLStr::ToVX(chars, length);
    return;
  }
  if (m_treeLevel > 2 && !m_objectHandlers.empty()) {
    m_text = XMLStr::ToVX(chars, length);
    m_objectHandlers.back()->characters(m_text.view());
  }
}

void QORLObjectManager::startCDATA() {
  if (m_currentCommand == xcFineGrained && m_bFineGrainedXML) m_finegrainedText += S_OPEN_CDATA;
}

void QORLObjectManager::endCDATA() {
  MarkEventEnd();
  if (m_currentCommand == xcFineGrained && m_bFineGrainedXML) m_finegrainedText += S_CLOSE_CDATA;
}

void QORLObjectManager::endElement(const XMLCh*, const XMLCh* localname, const XMLCh*) {
  MarkEventEnd();
  if (!m_openElements.empty()) m_openElements.pop_back();
  m_textChars = 0;
  if (m_bInUnknownElement) {
    m_unknownHandler.endElement();
    if (m_unknownHandler.HandOverParsingToParent()) {
      --m_treeLevel;
      m_unknownHandler.Reset();
      m_bInUnknownElement = false;
    }
    return;
  }
  const VXString& tag = Intern(localname);
  if (m_treeLevel > 2) {
    if (m_currentCommand == xcFineGrained) {
      --m_treeLevel;
      return;
    }
    if (!m_objectHandlers.empty()) {
      m_objectHandlers.back()->endElement(tag);
      if (m_treeLevel == 3 || (m_bIsTDFQORL && !QORLUtil::isTopLevelElemInDocument(QORLUtil::GetTypeID(tag)))) {
        if (m_currentCommand == xcDeclare) FinishQORLObjectHandler();
        else if (m_currentCommand == xcDelete) FinishQORLDeleteHandler();
      }
    }
  }
  --m_treeLevel;
  if (m_treeLevel == 1) {
    if (tag == TAG_FINEGRAINED) m_finegrainedText += S_XML_FINEGRAINED_TEXT_FOOTER;
    if (m_bIsTDFQORL) m_treeLevel = 0;
    return;
  }
  if (m_treeLevel == 2 && m_bIsTDFQORL && !m_bDocumentContainsCommand) m_treeLevel = 1;
}

void QORLObjectManager::fatalError(const xercesc::SAXParseException& e) {
  ErrorMessage error(92008, XMLStr::ToVX(e.getMessage()));
  error.SetLocation(manager_detail::Narrow(e.getLineNumber()), manager_detail::Narrow(e.getColumnNumber()));
  RefuseDocument(error);
}

void QORLObjectManager::FinishQORLObjectHandler() {
  QORLObject* h = m_objectHandlers.back();
  m_objectHandlers.pop_back();
  if (m_bProgress) m_progress.Update(++m_objectsRead);
  if (!m_bFineGrainedXML) {
    m_pCurrentDeptStorageStubs->m_allDeclaredObjects.push_back(h);
    return;
  }
  // Fine-grained documents keep one element per identity.
  VXString id = h->GetUniqueIdentifier();
  if (id == S_ERROR) {
    m_pCurrentDeptStorageStubs->m_allDeclaredObjects.push_back(h);
    ServerLog::LogNotification(SUStrUtil::LoadMsgStringOnly(94578, QORLUtil::GetTagName(h->GetTypeID()), id), 1);
  } else if (m_processedDeclareElements.insert(id).second) {
    m_pCurrentDeptStorageStubs->m_allDeclaredObjects.push_back(h);
  } else {
    ServerLog::LogNotification(SUStrUtil::LoadMsgStringOnly(94575, QORLUtil::GetTagName(h->GetTypeID()), id), 1);
  }
}

void QORLObjectManager::FinishQORLDeleteHandler() {
  if (m_bFineGrainedXML && !m_objectHandlers.empty()) {
    m_pCurrentDeptStorageStubs->m_allDeleteObjects.push_back(m_objectHandlers.back());
    m_objectHandlers.pop_back();
  }
}

QORLObject* QORLObjectManager::GetParentObjectHandler() const {
  if (m_objectHandlers.size() >= 2) return m_objectHandlers[m_objectHandlers.size() - 2];
  return m_objectHandlers.empty() ? nullptr : m_objectHandlers.back();
}

// ---- storage ----------------------------------------------------------------

void QORLObjectManager::Cleanup() {
  m_objectHandlers.clear();
  m_before.clear();
  m_treeLevel = 0;
  m_openElements.clear();
  m_textChars = 0;
  m_currentCommand = xcUnknown;
  m_bInUnknownElement = false;
  m_unknownHandler.Reset();
  m_defaultStorageStubs.Clear(true);
  for (auto& [name, store] : m_deptSpecificStorageStubs) store.Clear(true);
  m_pCurrentDeptStorageStubs = &m_defaultStorageStubs;
  m_finegrainedText.clear();
  m_processedDeclareElements.clear();
  m_bDocumentRefused = false;
}

QORLObjectStub* QORLObjectManager::CreateQORLObjectStub(TypeID type, const VXUpgradeID& uid, const QualifiedName& qname) {
  auto* stub = new QORLObjectStub(type, uid, qname);
  m_pCurrentDeptStorageStubs->m_refObjects.emplace_back(stub);
  return stub;
}

void QORLObjectManager::PopulateDelObjectVector(const QORLObjectStubVector& stubs, const std::vector<int>& lines) {
  auto& v = m_pCurrentDeptStorageStubs->m_deleteObjects;
  v.clear();
  for (size_t i = 0; i < stubs.size(); ++i) {
    QORLObjectStub* s = stubs[i];
    if (!s) continue;
    const RefARpObject& o = s->GetARpObject();
    if (!o.IsNullRef() && AAuthorizer::IsMandatorySecurityObject(*o)) {
      // Deleting them would only bring them back under new ids, cut off from
      // every privilege and membership that names them.
      ServerLog::LogWarning(92031, 1, i < lines.size() ? lines[i] : 0, QORLUtil::GetTagName(o->GetTypeID()),
                            MetadataUtil::GenerateQualifiedName(o));
      continue;
    }
    v.push_back(s);
  }
}

RefARpObject QORLObjectManager::CreateObject(TypeID type, const VoidID& id) {
  if (!m_bIsTDFQORL || m_bIsDepartmentalTDFMode || id.IsNullID()) return m_pGateway->CreateObject(type);
  return m_pGateway->CreateObject(type, id);
}

RefARpObject QORLObjectManager::CreateInternalObject(TypeID type) {
  RefARpObject o = m_pGateway->CreateObject(type);
  m_pCurrentDeptStorageStubs->m_createdInternalObjectIDs.insert(o.GetID());
  return o;
}

void QORLObjectManager::AddToModifiedInternalObjects(const RefARpObject& obj) {
  if (!obj.IsNullRef() && m_pCurrentDeptStorageStubs->m_modifiedInternalObjectIDs.insert(obj.GetID()).second)
    KeepBefore(obj);
}

void QORLObjectManager::AddToModifiedInternalObjects(const QORLObjectStub* stub) {
  if (!stub) return;
  if (!stub->GetARpObject().IsNullRef()) return AddToModifiedInternalObjects(stub->GetARpObject());
  m_pCurrentDeptStorageStubs->m_modifiedInternalObjectQNameTypeIDs.push_back({stub->GetQName(), stub->GetTypeID(), VoidID::NullID});
}

void QORLObjectManager::DeleteInternalObject(const VoidID& id) {
  m_pCurrentDeptStorageStubs->m_deletedInternalObjectIDs.insert(id);
  m_pGateway->DeleteInternalObject(id);
}

bool QORLObjectManager::IsVltObjectAlive(const RefARpObject& obj) const {
  return !obj.IsNullRef() && !m_pCurrentDeptStorageStubs->m_deletedObjectIDs.count(obj.GetID());
}

bool QORLObjectManager::IsExistingVLTObject(const QORLObject* handler) const {
  const auto& v = m_pCurrentDeptStorageStubs->m_updateObjects;
  return std::find(v.begin(), v.end(), handler) != v.end();
}

RefARpObject QORLObjectManager::GetVLTObjectByUID(const VXUpgradeID& uid) const {
  auto it = m_allVltObjectsUidObjectMap.find(uid);
  return it == m_allVltObjectsUidObjectMap.end() ? RefARpObject() : it->second;
}

// ---- lookup -----------------------------------------------------------------

void QORLObjectManager::PopulateAllObjects() {
  m_allVltObjectsUidObjectMap.clear();
  m_allVltObjectsQnameObjectMap.clear();
  m_allVltObjectsQnameObjectMap.reserve(m_pGateway->ObjectCount());
  VoidIDVector ids;
  m_pGateway->FindObjectIDs(LookupAllCondition(), ids);
  RpObjectVector objs;
  m_pGateway->GetObjects(ids, objs);
  for (const RefARpObject& o : objs) {
    if (o.IsNullRef()) continue;
    if (!o->UpgradeID().empty()) m_allVltObjectsUidObjectMap[o->UpgradeID()] = o;
    TypeIDQName key{o->GetTypeID(), {}};
    MetadataUtil::GenerateQualifiedName(o, key.m_qName);
    m_allVltObjectsQnameObjectMap[std::move(key)] = o;
  }
}

// The internal user renamed in the document binds by name, not uid. The
// reserved user's name here is the built-in administrator's.
bool QORLObjectManager::IsDefaultSecurityObjectByUIDWithDiffName(const QORLObjectStub* stub) const {
  if (!stub || stub->GetTypeID() != kTIDAUser || m_bIsTDFQORL) return false;
  VXUpgradeID user, group;
  AAuthorizer::GetAdministratorUIDs(user, group);
  const VXString internalName(U"Administrator");
  auto it = m_allVltObjectsQnameObjectMap.find(TypeIDQName{kTIDAUser, {internalName}});
  VXUpgradeID stored = it == m_allVltObjectsQnameObjectMap.end() || it->second.IsNullRef() ? VXUpgradeID() : it->second->UpgradeID();
  if (stored.empty() || stored != stub->GetUpgradeID() || stub->GetQName().empty()) return false;
  return !stub->GetQName()[0].EqualsNoCase(internalName.view());
}

void QORLObjectManager::BindToStoreUID(QORLObjectStub* stub) {
  if (!m_bIsTDFQORL && !stub->GetARpObject().IsNullRef()) stub->SetUpgradeID(stub->GetARpObject()->UpgradeID());
}

bool QORLObjectManager::LookupQORLObjectFromRp(QORLObjectStub* stub, bool bRen, bool& bCandidate, bool bIsObjectToBeDeleted) {
  bCandidate = false;
  if (m_bIsDepartmentalTDFMode) return false;
  TypeID type = stub->GetTypeID();
  TypeIDQName key{type, stub->GetQName()};
  bool bound = false;
  if (m_bIsTDFQORL && !stub->GetID().IsNullID()) {
    RefARpObject o = m_pGateway->GetObject(stub->GetID());
    if (!o.IsNullRef()) { stub->SetARpObject(o); bound = true; }
  }
  if (!bound && !stub->GetUpgradeID().empty() && !bRen) {
    auto u = m_allVltObjectsUidObjectMap.find(stub->GetUpgradeID());
    if (u != m_allVltObjectsUidObjectMap.end() && !u->second.IsNullRef() && u->second->GetTypeID() == type) {
      auto q = m_allVltObjectsQnameObjectMap.find(key);
      // The name wins over the uid when the two disagree.
      if (q == m_allVltObjectsQnameObjectMap.end() || q->second.IsNullRef()) stub->SetARpObject(u->second);
      else stub->SetARpObject(q->second);
      bound = true;
    }
  }
  if (!bound) {
    auto q = m_allVltObjectsQnameObjectMap.find(key);
    if (q == m_allVltObjectsQnameObjectMap.end() || q->second.IsNullRef() || q->second->GetTypeID() != type) return false;
    if (!bRen && !stub->GetUpgradeID().empty()) {
      bCandidate = true;
      return false;
    }
    stub->SetARpObject(q->second);
  }
  BindToStoreUID(stub);
  if (bIsObjectToBeDeleted) return true;
  for (QORLObjectStub* d : m_pCurrentDeptStorageStubs->m_deleteObjects) {
    if (d != stub && d->GetARpObject() == stub->GetARpObject()) {
      // What this document deletes cannot be referred to.
      stub->SetARpObject(RefARpObject());
      return false;
    }
  }
  return true;
}

bool QORLObjectManager::TryResolveQORLObjectStub(QORLObjectStub*& stub) {
  if (!stub) return false;
  bool candidate = false;
  if (LookupQORLObjectFromRp(stub, false, candidate, false)) return true;
  auto& s = *m_pCurrentDeptStorageStubs;
  if (!stub->GetUpgradeID().empty()) {
    auto it = s.m_uidIndexedObjects.find(stub->GetUpgradeID());
    if (it != s.m_uidIndexedObjects.end() && it->second->GetTypeID() == stub->GetTypeID()) { stub = it->second; return true; }
  }
  if (!stub->GetQName().empty()) {
    auto it = s.m_qnameIndexedObjects.find(TypeIDQName{stub->GetTypeID(), stub->GetQName()});
    if (it != s.m_qnameIndexedObjects.end()) { stub = it->second; return true; }
  }
  return false;
}

void QORLObjectManager::ResolveQORLObjectStub(QORLObjectStub*& stub, bool bIsObjectToBeDeleted, bool bThrowErrorAnyway) {
  bool bRen = IsDefaultSecurityObjectByUIDWithDiffName(stub);
  if (!stub) {
    stub = CreateQORLObjectStub(kTIDUnknown, VXUpgradeID(), QualifiedName());
    return;
  }
  if (stub->GetUpgradeID().empty() && stub->GetQName().empty()) return;
  bool candidate = false;
  if (LookupQORLObjectFromRp(stub, bRen, candidate, bIsObjectToBeDeleted)) return;
  auto& s = *m_pCurrentDeptStorageStubs;
  TypeIDQName key{stub->GetTypeID(), stub->GetQName()};
  if (candidate && !s.m_qnameIndexedObjects.count(key)) {
    for (QORLObject* h : s.m_updateObjects) {
      if (h->GetTypeID() == key.m_type && h->GetQName() == key.m_qName) {
        stub->SetARpObject(h->GetARpObject());
        BindToStoreUID(stub);
        return;
      }
    }
    auto r = s.m_qnameNewRenamedObjects.find(key);
    if (r != s.m_qnameNewRenamedObjects.end()) {
      stub->SetQualifiedName(r->second->GetQName());
      stub->SetARpObject(r->second->GetARpObject());
      return;
    }
  }
  bool tried = false;
  if (!bRen && !stub->GetUpgradeID().empty()) {
    tried = true;
    auto it = s.m_uidIndexedObjects.find(stub->GetUpgradeID());
    if (it != s.m_uidIndexedObjects.end() && (m_bIsTDFQORL || it->second->GetTypeID() == stub->GetTypeID())) {
      stub = it->second;
      return;
    }
  }
  if (!tried && !stub->GetQName().empty()) {
    auto it = s.m_qnameIndexedObjects.find(key);
    if (it != s.m_qnameIndexedObjects.end()) {
      stub = it->second;
      return;
    }
  }
  if (bIsObjectToBeDeleted) {
    stub = nullptr;
    return;
  }
  VXString uid = TKSGUIDGenerator::ByteVectorToGUIDString(stub->GetUpgradeID());
  ErrorMessage e(92006, MetadataUtil::ToQualifiedName(stub->GetQName()), uid.empty() ? VXString("none") : uid);
  e.SetLocation(stub->Line(), stub->Column());
  ThrowOrLog(e, bThrowErrorAnyway || !m_bIgnoreQORLErrors);
}

void QORLObjectManager::ResolveQORLObjectStubVector(QORLObjectStubVector& stubs, bool bIsObjectToBeDeleted) {
  for (QORLObjectStub*& s : stubs) ResolveQORLObjectStub(s, bIsObjectToBeDeleted, false);
}

void QORLObjectManager::ResolveDeclaredObjects() {
  for (QORLObject* h : m_pCurrentDeptStorageStubs->m_allDeclaredObjects) {
    ResolveDeclaredObject(h);
    if (m_bGatherDeclaredObjects) h->Gather();
  }
}

void QORLObjectManager::ResolveDeclaredObject(QORLObject* handler) {
  bool bRen = IsDefaultSecurityObjectByUIDWithDiffName(handler);
  TypeID type = handler->GetTypeID();
  if (type == kTIDColMapping || type == kTIDSetPermission) {
    m_pCurrentDeptStorageStubs->m_updateObjects.push_back(handler);
    return;
  }
  bool candidate = false;
  bool bInRp = LookupQORLObjectFromRp(handler, bRen, candidate, false);
  if (candidate) m_pCurrentDeptStorageStubs->m_newOrDuplicatedObjects.push_back(handler);
  else InsertResolvedObjectIntoIndexes(handler, bInRp, bRen);
}

void QORLObjectManager::InsertResolvedObjectIntoIndexes(QORLObject* handler, bool bInRp, bool bRen) {
  auto& s = *m_pCurrentDeptStorageStubs;
  // bRen binds by name alone; when the name is found, the element updates
  // that user, as any bound element does, instead of making a second user of
  // the same name.
  if (bInRp) {
    if (m_bIsTDFQORL && !handler->GetARpObject().IsNullRef() && handler->GetARpObject()->UpgradeID() != handler->GetUpgradeID() &&
        !handler->GetUpgradeID().empty())
      s.m_uidIndexedObjects.emplace(handler->GetUpgradeID(), handler);
    s.m_updateObjects.push_back(handler);
    return;
  }
  bool bDoesntExistByUID = true;
  if (!bRen && !handler->GetUpgradeID().empty())
    bDoesntExistByUID = s.m_uidIndexedObjects.emplace(handler->GetUpgradeID(), handler).second;
  bool bDoesntExistByQName = s.m_qnameIndexedObjects.emplace(TypeIDQName{handler->GetTypeID(), handler->GetQName()}, handler).second;
  if ((!bDoesntExistByUID && !bRen) || (!m_bIsTDFQORL && !bDoesntExistByQName)) {
    ErrorMessage e(92014, handler->GetObjTagLineNumber(), TKSGUIDGenerator::ByteVectorToGUIDString(handler->GetUpgradeID()),
                   MetadataUtil::ToQualifiedName(handler->GetQName()));
    ThrowOrLog(e, !m_bIgnoreQORLErrors);
    return;
  }
  s.m_insertObjects.push_back(handler);
}

// ---- renames and duplicates -------------------------------------------------

int QORLObjectManager::FindUpdatedObjectWithTheSameOriginalName(const QualifiedName& qName, TypeID type, RefARpObject& existing) {
  auto it = m_allVltObjectsQnameObjectMap.find(TypeIDQName{type, qName});
  if (it == m_allVltObjectsQnameObjectMap.end()) return TUO_NOT_FOUND;
  existing = it->second;
  if (!IsVltObjectAlive(existing) || existing->GetTypeID() != type) return TUO_NOT_FOUND;
  for (QORLObject* h : m_pCurrentDeptStorageStubs->m_updateObjects) {
    if (h->GetARpObject() != existing) continue;
    QualifiedName current;
    MetadataUtil::GenerateQualifiedName(existing, current);
    return h->GetQName() == current ? TUO_NAME_IS_THE_SAME : TUO_NAME_IS_CHANGED;
  }
  return TUO_NOT_FOUND;
}

bool QORLObjectManager::CheckIfSomeNewParentIsAlreadyRenamed(const QORLObject* handler) const {
  if (handler->GetTypeID() == kTIDARpVariable) return false;
  QualifiedName name = handler->GetQName();
  TypeIDVector types{handler->GetTypeID()};
  const auto& renamed = m_pCurrentDeptStorageStubs->m_qnameNewRenamedObjects;
  while (name.size() > 1) {
    name.pop_back();
    if (name.back().empty()) continue;
    TypeIDVector parents;
    FindParentTypeIDs(types, parents);
    for (TypeID p : parents)
      if (renamed.count(TypeIDQName{p, name})) return true;
    types = parents;
  }
  return false;
}

void QORLObjectManager::GetSiblingNames(const RefARpObject& existing, const QORLObject* handler, VXStringVector& names) {
  TypeID type = handler->GetTypeID();
  RefARpObject parent = MetadataUtil::GetParent(existing);
  if (parent.IsNullRef()) MetadataUtil::GenerateNameVectorOfRootObjects(m_pGateway, type, names);
  else MetadataUtil::GetAllocatedChildrenNames(m_pGateway, type, parent, names);
  QualifiedName q = handler->GetQName();
  if (q.size() > 1) q.pop_back();
  auto collect = [&](const std::vector<QORLObject*>& hs) {
    for (const QORLObject* h : hs) {
      if (h->GetTypeID() != type || h->GetQName().empty()) continue;
      QualifiedName hq = h->GetQName();
      if (hq.size() > 1) hq.pop_back();
      if (type == kTIDARpVariable || hq == q) names.push_back(h->GetQName().back());
    }
  };
  collect(m_pCurrentDeptStorageStubs->m_insertObjects);
  collect(m_pCurrentDeptStorageStubs->m_updateObjects);
}

void QORLObjectManager::ResolveNewOrDuplicatedObjects() {
  auto& s = *m_pCurrentDeptStorageStubs;
  std::vector<QORLObject*> candidates;
  candidates.swap(s.m_newOrDuplicatedObjects);
  for (QORLObject* c : candidates) {
    RefARpObject existing;
    int result = FindUpdatedObjectWithTheSameOriginalName(c->GetQName(), c->GetTypeID(), existing);
    if (result != TUO_NAME_IS_CHANGED) {
      RefARpObject p = existing.IsNullRef() ? RefARpObject() : MetadataUtil::GetParent(existing);
      while (!p.IsNullRef() && result != TUO_NAME_IS_CHANGED) {
        RefARpObject tmp;
        QualifiedName pq;
        MetadataUtil::GenerateQualifiedName(p, pq);
        result = FindUpdatedObjectWithTheSameOriginalName(pq, p->GetTypeID(), tmp);
        p = MetadataUtil::GetParent(p);
      }
    }
    bool bInRp;
    if (result == TUO_NAME_IS_CHANGED) {
      bInRp = false;
    } else if (m_bRenameDuplicatedObjects) {
      bInRp = false;
      if (!CheckIfSomeNewParentIsAlreadyRenamed(c)) {
        VXString oldText = MetadataUtil::ToQualifiedName(c->GetQName());
        s.m_qnameNewRenamedObjects.emplace(TypeIDQName{c->GetTypeID(), c->GetQName()}, c);
        VXStringVector names;
        GetSiblingNames(existing, c, names);
        QualifiedName q = c->GetQName();
        q.back() = GenerateUniqueName(names, q.back());
        c->SetQualifiedName(q);
        ServerLog::LogMessage(false, 92015, 3, SUStrUtil::GetTypeName(c->GetTypeID()), oldText, MetadataUtil::ToQualifiedName(q));
      }
    } else {
      c->SetARpObject(existing);
      BindToStoreUID(c);
      bInRp = true;
    }
    InsertResolvedObjectIntoIndexes(c, bInRp, false);
  }
}

void QORLObjectManager::EnsureUniqueNameInVLT(const QualifiedName& qName, const RefARpObject& object) {
  if (object.IsNullRef() || qName.empty()) return;
  const VXString& name = qName.back();
  if (!m_bIsDepartmentalTDFMode || !QORLUtil::IsRootLevelObject(object)) {
    object->SetName(name);
    return;
  }
  VXString candidate = name;
  VXString prefix = m_sCurrentDepartment + " - " + name;
  for (int i = 0;; ++i) {
    VoidIDVector ids;
    m_pGateway->FindObjectIDs(NamedInterfaceTypeCondition(object->GetTypeID(), {candidate}, false), ids);
    bool conflict = ids.size() >= 2 || (ids.size() == 1 && ids[0] != object.GetID());
    if (!conflict) {
      if (i != 0) {
        ServerLog::LogMessage(false, 92012, 4, name, SUStrUtil::GetTypeName(object->GetTypeID()), m_sCurrentDepartment, candidate);
        m_bTDFObjectsWereRenamed = true;
      }
      object->SetName(candidate);
      return;
    }
    candidate = i == 0 ? prefix : prefix + "#" + VXString::FromInt(i);
  }
}

void QORLObjectManager::RetrieveWarnings(VXString& warning) {
  if (m_bIsDepartmentalTDFMode && m_bTDFObjectsWereRenamed) {
    warning = SUStrUtil::LoadMsgStringOnly(92013);
    m_bTDFObjectsWereRenamed = false;
  }
}

// ---- execution --------------------------------------------------------------

void QORLObjectManager::AddContext(ErrorMessage& e, const QORLObject* handler) const {
  if (!handler) return;
  e.PushErrorMessage(99017, QORLUtil::GetTagName(handler->GetTypeID()), handler->DisplayName());
  e.SetLocation(handler->Line(), handler->Column());
}

void QORLObjectManager::ExecuteQORL() {
  m_executionSequence = QORLUtil::ExecutionSequence();
  if (m_bIsDepartmentalTDFMode) {
    for (auto& [name, store] : m_deptSpecificStorageStubs) {
      m_sCurrentDepartment = name;
      m_pCurrentDeptStorageStubs = &store;
      ExecuteOneVLTStore();
    }
    return;
  }
  m_pCurrentDeptStorageStubs = &m_defaultStorageStubs;
  auto& s = *m_pCurrentDeptStorageStubs;
  if (m_bFineGrainedXML)
    for (QORLObject* h : s.m_allDeleteObjects) h->Resolve();
  for (QORLObjectStub* d : s.m_deleteObjects) {
    RefARpObject o = d->GetARpObject();
    if (o.IsNullRef()) continue;
    // The objects deleted are unknown to every lookup from here on.
    auto u = m_allVltObjectsUidObjectMap.find(o->UpgradeID());
    if (u != m_allVltObjectsUidObjectMap.end() && u->second == o) m_allVltObjectsUidObjectMap.erase(u);
    auto di = s.m_uidIndexedObjects.find(d->GetUpgradeID());
    if (di != s.m_uidIndexedObjects.end() && di->second == d) s.m_uidIndexedObjects.erase(di);
    TypeIDQName key{o->GetTypeID(), {}};
    MetadataUtil::GenerateQualifiedName(o, key.m_qName);
    m_allVltObjectsQnameObjectMap.erase(key);
    s.m_qnameIndexedObjects.erase(key);
    s.m_deletedObjectIDs.insert(o.GetID());
  }
  ExecuteOneVLTStore();
  DeleteDocumentObjects();
}

// All of the document's deletions in one call: one walk of the store finds
// what named them. What went with them, or lost a reference, is told.
void QORLObjectManager::DeleteDocumentObjects() {
  auto& s = *m_pCurrentDeptStorageStubs;
  if (s.m_deletedObjectIDs.empty()) return;
  DeleteEffects effects;
  m_pGateway->DeleteObjects(VoidIDVector(s.m_deletedObjectIDs.begin(), s.m_deletedObjectIDs.end()), &effects);
  auto nameOf = [](const QualifiedName& name, const VoidID& id) {
    return name.empty() ? id.ToString() : MetadataUtil::ToQualifiedName(name);
  };
  auto report = [&](unsigned long number, const DeleteEffects::Entry& e) {
    ServerLog::LogWarning(number, 1, SUStrUtil::GetTypeName(e.object.GetTypeID()), nameOf(e.name, e.object),
                          SUStrUtil::GetTypeName(e.named.GetTypeID()), nameOf(e.namedName, e.named));
  };
  for (const DeleteEffects::Entry& e : effects.taken) {
    s.m_cascadeDeletedObjectIDs.insert(e.object);
    report(92025, e);
  }
  for (const DeleteEffects::Entry& e : effects.dropped) report(92026, e);
}

void QORLObjectManager::ExecuteOneVLTStore() {
  auto& s = *m_pCurrentDeptStorageStubs;
  ResolveDeclaredObjects();
  ResolveNewOrDuplicatedObjects();
  if (m_bIsTDFQORL && !s.m_insertObjects.empty()) {
    ByteVector b;
    m_pGateway->GetRepositoryProperty(kRepPropNextUniqueNum, b);
    UniqueNum counter;
    counter.FromByteVector(b);
    for (QORLObject* h : s.m_insertObjects)
      if (!h->GetID().IsNullID() && h->GetID().m_uniqueNum.m_uniqueNum >= counter.m_uniqueNum)
        counter = h->GetID().m_uniqueNum.m_uniqueNum + 1;
    m_pGateway->SetRepositoryProperty(kRepPropNextUniqueNum, counter.ToByteVector());
  }
  // Handlers by type, inserts first, each in document order.
  std::unordered_map<TypeID, std::vector<QORLObject*>> typed;
  for (QORLObject* h : s.m_insertObjects) typed[h->GetTypeID()].push_back(h);
  for (QORLObject* h : s.m_updateObjects) typed[h->GetTypeID()].push_back(h);
  for (QORLObject* h : s.m_insertObjects) {
    if (!IsObjectTypeToBeCreated(h->GetTypeID())) continue;
    RefARpObject o = CreateObject(h->GetTypeID(), h->GetID());
    h->SetARpObject(o);
    if (!h->GetUpgradeID().empty()) o->SetUpgradeID(UnclaimedUpgradeID(h));
    if (!h->GetQName().empty()) o->SetName(h->GetQName().back());
  }
  for (QORLObject* h : s.m_updateObjects) KeepBefore(h->GetARpObject());
  size_t total = s.m_insertObjects.size() + s.m_updateObjects.size();
  m_progress.Start("applying", total, m_bProgress && total >= 20000);
  uint64_t done = 0;
  for (TypeID type : m_executionSequence) {
    auto it = typed.find(type);
    if (it == typed.end()) continue;
    for (QORLObject* h : it->second) {
      m_progress.Update(++done);
      try {
        if (!h->GetQName().empty()) EnsureUniqueNameInVLT(h->GetQName(), h->GetARpObject());
        h->Resolve();
        h->Execute();
      } catch (ErrorMessage& e) {
        AddContext(e, h);
        throw;
      }
    }
  }
  m_progress.Finish();
  if (!m_bIsTDFQORL) PopulateTypeIDQNameVoidIDMap();
  for (TypeID type : m_executionSequence) {
    auto it = typed.find(type);
    if (it == typed.end()) continue;
    for (QORLObject* h : it->second) {
      try {
        h->Execute2();
      } catch (ErrorMessage& e) {
        AddContext(e, h);
        throw;
      }
    }
  }
}

// A new object takes its element's uid unless an object that stays holds it
// already: an object of another type, or one of another name that the uid
// did not bind to (the built-in administrator's uid under a new name). Uids
// identify objects across repositories, so no two may share one.
VXUpgradeID QORLObjectManager::UnclaimedUpgradeID(QORLObject* handler) {
  RefARpObject holder = m_pGateway->FindByUpgradeID(handler->GetUpgradeID());
  if (holder.IsNullRef() || !IsVltObjectAlive(holder)) return handler->GetUpgradeID();
  VXUpgradeID fresh;
  TKSGUIDGenerator::GetNextGUIDByteVector(fresh);
  ServerLog::LogWarning(92032, 1, handler->GetObjTagLineNumber(),
                        TKSGUIDGenerator::ByteVectorToGUIDString(handler->GetUpgradeID()),
                        QORLUtil::GetTagName(handler->GetTypeID()), MetadataUtil::ToQualifiedName(handler->GetQName()),
                        QORLUtil::GetTagName(holder->GetTypeID()), MetadataUtil::GenerateQualifiedName(holder));
  // The element stands for the object it made from here on, as a bound one does.
  handler->SetUpgradeID(fresh);
  return fresh;
}

void QORLObjectManager::PopulateTypeIDQNameVoidIDMap() {
  m_typeIDQNameVoidIDMap.clear();
  auto& s = *m_pCurrentDeptStorageStubs;
  for (TypeID t : {kTIDAColumn, kTIDAAttribute, kTIDALevel, kTIDARpVariable, kTIDACubeColumn}) {
    for (auto* list : {&s.m_insertObjects, &s.m_updateObjects})
      for (QORLObject* h : *list)
        if (h->GetTypeID() == t && !h->GetARpObject().IsNullRef())
          m_typeIDQNameVoidIDMap[TypeIDQName{t, h->GetQName()}] = h->GetARpObject().GetID();
  }
}

bool QORLObjectManager::ParseMetaExpr(int lineNumber, const VXString& text, Expr& expr, const RefARpObject& contextObject,
                                      ExprType type) {
  expr.Clear();
  VXString clean = BaseStringUtil::LineFeedConversion(text);
  VXString errorText;
  if (SMEPParse::QORLCreateExprTree(clean, expr, errorText, m_pGateway, type, m_bIsTDFQORL ? nullptr : &m_typeIDQNameVoidIDMap)) {
    ToPrettyStringVisitor::SetFormatExpr(expr, m_pGateway, clean);
    return true;
  }
  ErrorMessage e(92009, lineNumber, contextObject.IsNullRef() ? VXString() : MetadataUtil::GenerateQualifiedName(contextObject),
                 clean.substr(0, 20), errorText);
  ThrowOrLogError(e, m_bExitOnExprParsingError);
  expr.Clear();
  expr.SetUnparsed(true);
  ToPrettyStringVisitor::SetFormatExpr(expr, m_pGateway, clean);
  return false;
}

// ---- reports ----------------------------------------------------------------

void QORLObjectManager::KeepBefore(const RefARpObject& obj) {
  if (obj.IsNullRef()) return;
  auto [it, added] = m_before.try_emplace(obj.GetID().Key());
  if (added) SaveObjectProperties(*obj, it->second);
}

void QORLObjectManager::GatherDeclObjects(VoidIDVector& created, VoidIDVector& changed, VoidIDVector& unchanged,
                                          const std::unordered_set<uint64_t>& changedOwners) {
  created.clear();
  changed.clear();
  unchanged.clear();
  auto& s = *m_pCurrentDeptStorageStubs;
  created.assign(s.m_createdInternalObjectIDs.begin(), s.m_createdInternalObjectIDs.end());
  for (QORLObject* h : s.m_insertObjects)
    if (!h->GetARpObject().IsNullRef()) created.push_back(h->GetARpObject().GetID());
  ByteVector after;
  auto judge = [&](const VoidID& id) {
    const ARpObject* obj = m_pGateway->Lookup(id);
    if (!obj) return;
    auto before = m_before.find(id.Key());
    bool same = before != m_before.end() && !changedOwners.contains(id.Key());
    if (same) {
      after.clear();
      SaveObjectProperties(*obj, after);
      same = after == before->second;
    }
    (same ? unchanged : changed).push_back(id);
  };
  for (const VoidID& id : s.m_modifiedInternalObjectIDs) judge(id);
  for (QORLObject* h : s.m_updateObjects)
    if (!h->GetARpObject().GetID().IsNullID()) judge(h->GetARpObject().GetID());
}

void QORLObjectManager::GatherDeletedObjects(VoidIDVector& ids) {
  ids.clear();
  auto& s = *m_pCurrentDeptStorageStubs;
  ids.assign(s.m_deletedObjectIDs.begin(), s.m_deletedObjectIDs.end());
  ids.insert(ids.end(), s.m_cascadeDeletedObjectIDs.begin(), s.m_cascadeDeletedObjectIDs.end());
  ids.insert(ids.end(), s.m_deletedInternalObjectIDs.begin(), s.m_deletedInternalObjectIDs.end());
}

void QORLObjectManager::GatherDeclObjectsQNameTypeIDs(QNameTypeIDPairVector& out) {
  auto& s = *m_pCurrentDeptStorageStubs;
  out.insert(out.end(), s.m_modifiedInternalObjectQNameTypeIDs.begin(), s.m_modifiedInternalObjectQNameTypeIDs.end());
  std::set<VoidID> seen;
  for (const auto* set : {&s.m_modifiedInternalObjectIDs, &s.m_createdInternalObjectIDs})
    for (const VoidID& id : *set)
      if (!id.IsNullID()) {
        out.push_back({QualifiedName(), id.GetTypeID(), id});
        seen.insert(id);
      }
  for (const auto* list : {&s.m_insertObjects, &s.m_updateObjects}) {
    for (QORLObject* h : *list) {
      if (h->GetTypeID() == kTIDColMapping || h->GetTypeID() == kTIDSetPermission) continue;
      if (h->GetARpObject().IsNullRef()) out.push_back({h->GetQName(), h->GetTypeID(), VoidID::NullID});
      else if (!seen.count(h->GetARpObject().GetID())) out.push_back({h->GetQName(), h->GetTypeID(), h->GetARpObject().GetID()});
    }
  }
}

// ---- passwords --------------------------------------------------------------

void QORLObjectManager::DecryptAESPassword(const VXString& objectName, const VXString& aes, ByteVector& bytes) {
  bytes.clear();
  if (aes.find(U' ') == VXString::npos) {
    DataBlobUtil::HexVXStringToByteVector(aes, bytes);
    return;
  }
  if (!m_inputPasswords.empty() && m_passwordPosition < static_cast<int>(m_inputPasswords.size()) &&
      MetadataUtil::DecryptAESPassword(m_inputPasswords[m_passwordPosition], aes, bytes))
    return;
  if (MetadataUtil::DecryptAESPassword(m_pGateway, aes, bytes)) return;
  ErrorMessage e(13042);
  m_bIsPasswordError = true;
  if (m_bExitOnPasswordError) ThrowOrLogError(e, !m_bIgnoreQORLErrors);
  ServerLog::LogMessage(false, 28034, 1, objectName);
}

void QORLObjectManager::Warn(const ErrorMessage& e) {
  if (m_bStrict) m_warningsAsErrors.push_back(e);
  else ServerLog::LogWarning(e);
}

void QORLObjectManager::PasswordError(const ErrorMessage& e) {
  m_bIsPasswordError = true;
  if (m_bExitOnPasswordError) ThrowOrLogError(e, !m_bIgnoreQORLErrors);
  else ServerLog::LogWarning(e);
}

bool QORLObjectManager::PasswordsCanBeDecrypted(const VXString& password, const VXString& aes) {
  if (aes.find(U' ') == VXString::npos) return true;
  ByteVector scratch;
  return password.empty() ? MetadataUtil::DecryptAESPassword(m_pGateway, aes, scratch)
                          : MetadataUtil::DecryptAESPassword(password, aes, scratch);
}

bool QORLObjectManager::IsPasswordCorrect(const VXString& password) {
  if (m_bIsPasswordError) return false;
  if (m_bIsDepartmentalTDFMode) {
    if (m_deptSpecificStorageStubs.empty()) return true;
    SetDepartment(m_deptSpecificStorageStubs.begin()->first);
  } else {
    SetDepartment(VXString());
  }
  VXStringVector texts;
  for (QORLObject* h : m_pCurrentDeptStorageStubs->m_allDeclaredObjects) {
    texts.clear();
    h->GetPasswordsToCheck(texts);
    for (const VXString& t : texts)
      if (!PasswordsCanBeDecrypted(password, t)) return false;
  }
  return true;
}

}  // namespace qorl
