#include "gen/generator.h"

#include <unordered_set>

#include "model/attr_text.h"
#include "elements/fragments.h"
#include "gen/column_mapping.h"
#include "gen/output.h"
#include "store/registry_objects.h"
#include "model/typenames.h"
#include "model/vocabulary.h"
#include "platform/error.h"
#include "platform/guid.h"
#include "platform/messages.h"
#include "platform/progress.h"
#include "platform/serverlog.h"
#include "store/metadata_util.h"

namespace qorl {

// Below this many objects a document is written too quickly for a bar to help.
constexpr size_t kProgressThreshold = 20000;

QORLGenerator::QORLGenerator(ARpGateway* pRp, ARpGateway* pRpOriginal, const VXString& outFileName, VXString& outStr,
                             bool bUsingVoidID, bool /*bValidation*/, bool bGenerateUTF8, bool bGenerateUpGradeID,
                             bool /*bGenerateOwner*/, bool /*bGenerateQORLForQueryTool*/, bool bHideCpPassword,
                             bool bFlushOutStr, bool bSkipCredentials)
    : m_pGateway(pRp),
      m_pOrigGateway(pRpOriginal),
      m_outStr(outStr),
      m_bUsingVoidID(bUsingVoidID),
      m_bGenerateUpGradeID(bGenerateUpGradeID),
      m_bHideCpPassword(bHideCpPassword),
      m_bFlushOutStr(bFlushOutStr),
      m_bSkipCredentials(bSkipCredentials),
      m_codePage(bGenerateUTF8 ? 65001 : 0) {
  if (m_bFlushOutStr) {
    m_outputXML = std::make_unique<OutputFile>();
    m_outputXML->Open(outFileName);
  }
}

QORLGenerator::~QORLGenerator() = default;

void QORLGenerator::Finish() {
  if (m_outputXML) m_outputXML->Close();
}

bool QORLGenerator::OutputFailed() const { return m_outputXML && m_outputXML->Failed(); }

void QORLGenerator::Print(std::u32string_view text) {
  if (m_bFlushOutStr) m_outputXML->Write(text);
  else m_outStr += text;
}

void QORLGenerator::AddHeader() {
  Print(SUStrUtil::GetXMLHeader(m_codePage == 65001 ? 2 : 0));
  Print(S_XML_HEADER);
  Print(S_NEWLINE);
}

void QORLGenerator::AddFooter() {
  Print(S_OPEN_CLOSING_TAG);
  Print(S_REPOSITORY);
  Print(S_GT);
  Print(S_NEWLINE);
}

void QORLGenerator::AddRenamedObject(const RefARpObject& object, const VXString& sNewName) {
  m_renamedObjects[object] = sNewName;
}

// ---- entry points -----------------------------------------------------------

bool QORLGenerator::GenerateQORL(ARpGateway* pRp, VXString& errorMsgString, VXString& outFileName,
                                 const RpObjectVector& variablesFromFile, bool bValidation, bool bUsingVoidID,
                                 bool bGenerateUTF8, bool bGenerateUpGradeID, QORLScriptGenerationType genType,
                                 bool bFlushOutStr, bool bCheckForDuplicateAttributes) {
  VXString text;
  try {
    QORLGenerator gen(pRp, nullptr, outFileName, text, bUsingVoidID, bValidation, bGenerateUTF8, bGenerateUpGradeID,
                      false, false, false, bFlushOutStr, false);
    gen.SetVariablesForCoonPoolAndVarGenerationOption(variablesFromFile);
    gen.GenerateQORLForAllObjects(errorMsgString, genType, bCheckForDuplicateAttributes);
    gen.Finish();
  } catch (ErrorMessage& e) {
    QORLUtil::HandleErrorMessage(e, errorMsgString);
    return false;
  }
  if (!bFlushOutStr) outFileName = text;
  return errorMsgString.empty();
}

void QORLGenerator::GenerateQORLForAllObjects(VXString& errorMsgString, QORLScriptGenerationType genType,
                                              bool bCheckForDuplicateAttributes) {
  m_genOptions = kGenFooter | kGenColMapping;
  RpObjectVector loaded;
  QORLUtil::LoadObjectsForGeneration(m_pGateway, loaded, genType, m_variablesForCoonPoolAndVarGenerationOption);
  AddHeader();
  GenerateDeclareQORLForObjects(loaded, RpObjectVector(), errorMsgString, genType == ListPresentationObjects,
                                NONE_FINEGRAINED, bCheckForDuplicateAttributes);
  AddFooter();
}

bool QORLGenerator::GenerateQORLForObjectVector(ARpGateway* pRp, const RpObjectVector& declareObjects,
                                                const RpObjectVector& deleteObjects, VXString& errorMsgString,
                                                const VXString& outFileName, bool bGenerateUTF8) {
  return GenerateFineGrainedQORLForObjectVector(pRp, nullptr, declareObjects, deleteObjects, RpObjectVector(),
                                                FineGrainedChanges(), errorMsgString, outFileName, false,
                                                NONE_FINEGRAINED, bGenerateUTF8, false);
}

bool QORLGenerator::GenerateFineGrainedQORLForObjectVector(ARpGateway* pRp, ARpGateway* pRpOriginal,
                                                           const RpObjectVector& declareObjects,
                                                           const RpObjectVector& deleteObjects,
                                                           const RpObjectVector& modifiedObjects,
                                                           const FineGrainedChanges& changes, VXString& errorMsgString,
                                                           const VXString& outFileName, bool bHideCpPassword,
                                                           FineGrainedType fineGrainedType, bool bGenerateUTF8,
                                                           bool bSkipCredentials) {
  VXString unused;
  try {
    QORLGenerator gen(pRp, pRpOriginal, outFileName, unused, false, false, bGenerateUTF8, true, false, false,
                      bHideCpPassword, true, bSkipCredentials);
    gen.SetFineGrainedChanges(changes);
    gen.AddHeader();
    gen.GenerateDeclareQORLForObjects(declareObjects, modifiedObjects, errorMsgString, false, fineGrainedType, false);
    gen.GenerateDeleteQORLForObjects(deleteObjects, errorMsgString);
    gen.AddFooter();
    gen.Finish();
  } catch (ErrorMessage& e) {
    QORLUtil::HandleErrorMessage(e, errorMsgString);
    return false;
  }
  return errorMsgString.empty();
}

bool QORLGenerator::GenerateQORLTextForObjectVector(ARpGateway* pRp, const RpObjectVector& declareObjects,
                                                    const RpObjectVector& deleteObjects, VXString& errorMsgString,
                                                    VXString& qorlStr, int genOptions) {
  return GenerateFineGrainedQORLTextForObjectVector(pRp, declareObjects, deleteObjects, FineGrainedChanges(),
                                                    errorMsgString, qorlStr, genOptions);
}

bool QORLGenerator::GenerateFineGrainedQORLTextForObjectVector(ARpGateway* pRp, const RpObjectVector& declareObjects,
                                                               const RpObjectVector& deleteObjects,
                                                               const FineGrainedChanges& changes,
                                                               VXString& errorMsgString, VXString& qorlStr,
                                                               int genOptions) {
  qorlStr.clear();
  VXString text;
  try {
    QORLGenerator gen(pRp, nullptr, VXString(), text, false, false, true, true, false, false, false, false, false);
    gen.SetFineGrainedChanges(changes);
    gen.SetGenerateOptions(genOptions);
    gen.AddHeader();
    gen.GenerateDeclareQORLForObjects(declareObjects, RpObjectVector(), errorMsgString, false, NONE_FINEGRAINED, false);
    gen.GenerateDeleteQORLForObjects(deleteObjects, errorMsgString);
    if (genOptions & kGenFooter) gen.AddFooter();
  } catch (ErrorMessage& e) {
    QORLUtil::HandleErrorMessage(e, errorMsgString);
    return false;
  }
  qorlStr = text;
  return errorMsgString.empty();
}

// ---- sections ---------------------------------------------------------------

void QORLGenerator::GenerateDeclareQORLForObjects(const RpObjectVector& rpDeclareObjects,
                                                  const RpObjectVector& rpModifiedObjects, VXString& errorMsgString,
                                                  bool bListObjects, FineGrainedType /*fineGrainedType*/,
                                                  bool bCheckForDuplicateAttributes) {
  if (rpDeclareObjects.empty() && rpModifiedObjects.empty()) return;
  Print(S_LT); Print(TAG_DECLARE); Print(S_GT); Print(S_NEWLINE);
  if (!rpDeclareObjects.empty()) {
    RpObjectVector sorted;
    TypeIDVector types;
    QORLUtil::SortVectorByGenerationSequence(rpDeclareObjects, sorted, types, false);
    if (bCheckForDuplicateAttributes) UpdateDuplicateObjectAttributesForGeneration(m_pGateway, sorted);
    Progress progress("writing", sorted.size(), Progress::IsAllowed() && sorted.size() >= kProgressThreshold);
    uint64_t done = 0;
    for (const RefARpObject& o : sorted) {
      progress.Update(++done);
      try {
        if (bListObjects) PrintGenericObject(o);
        else if (ARpObject* p = o.GetRawObjPtr()) p->Accept(*this);
      } catch (ErrorMessage& e) {
        if (Aborted()) throw;
        QORLUtil::HandleErrorMessage(e, errorMsgString);
      }
    }
    PrintColumnMappingSection(*this, sorted, errorMsgString);
  }
  Print(S_OPEN_CLOSING_TAG); Print(TAG_DECLARE); Print(S_GT); Print(S_NEWLINE);
}

void QORLGenerator::GenerateDeleteQORLForObjects(const RpObjectVector& rpObjects, VXString& /*errorMsgString*/) {
  if (rpObjects.empty()) return;
  Print(S_LT); Print(TAG_DELETE); Print(S_GT); Print(S_NEWLINE);
  Print(S_LT); Print(TAG_DEL_OBJECTS); Print(S_GT); Print(S_NEWLINE);
  RpObjectVector sorted;
  TypeIDVector types;
  QORLUtil::SortVectorByGenerationSequence(rpObjects, sorted, types, false);
  for (const RefARpObject& o : sorted) GenerateRefObject(o);
  Print(S_OPEN_CLOSING_TAG); Print(TAG_DEL_OBJECTS); Print(S_GT); Print(S_NEWLINE);
  Print(S_OPEN_CLOSING_TAG); Print(TAG_DELETE); Print(S_GT); Print(S_NEWLINE);
}

// ---- elements ---------------------------------------------------------------

void QORLGenerator::GenerateGenericOpenTag(const RefARpObject& object) {
  m_scratch.clear();
  m_scratch += S_LT;
  m_scratch += QORLUtil::GetTagName(object);
  m_scratch += QORLUtil::GetBaseRpObjectXMLAttributes(object, m_bGenerateUpGradeID);
  QualifiedName path;
  MetadataUtil::GenerateQualifiedName(object, path);
  if (!path.empty()) {
    VXString full = (m_genOptions & kGenDummyUID) ? MetadataUtil::ToQualifiedName(path) : VXString();
    path.pop_back();
    AppendAttr(m_scratch, ATTR_PARENT, MetadataUtil::ToQualifiedName(path));
    AppendAttr(m_scratch, ATTR_FULLY_QUALIFIED_NAME, full);
  }
  m_scratch += QORLUtil::GenerateObjectAndParentIDs(object, true, m_bGenerateUpGradeID);
  Print(m_scratch);
}

void QORLGenerator::GenerateClosingTag(const RefARpObject& object) {
  Print(S_OPEN_CLOSING_TAG);
  Print(QORLUtil::GetTagName(object));
  Print(S_GT);
  Print(S_NEWLINE);
}

void QORLGenerator::GenerateObjectAndParentIDs(const RefARpObject& object, bool bParent) {
  Print(QORLUtil::GenerateObjectAndParentIDs(object, bParent, m_bGenerateUpGradeID));
}

void QORLGenerator::GenerateEmptyElement(std::u32string_view tag) {
  Print(S_LT);
  Print(tag);
  Print(S_CLOSE_OPEN_TAG);
}

bool QORLGenerator::IsEmptyElementTagNotGenerated(bool condition, std::u32string_view tag) {
  if (condition) return true;
  if (m_genOptions & kGenEmptyElements) GenerateEmptyElement(tag);
  return false;
}

void QORLGenerator::CheckReference(const RefARpObject& ref) {
  if (!m_holder || !ref.IsNullRef() || ref.GetID().IsNullID()) return;
  const VoidID& id = ref.GetID();
  m_bDanglingReference = true;
  throw ErrorMessage(94551, SUStrUtil::GetTypeName(m_holder->GetTypeID()),
                     MetadataUtil::GenerateQualifiedName(RefARpObject(const_cast<ARpObject*>(m_holder))),
                     SUStrUtil::GetTypeName(id.GetTypeID()), id.ToString());
}

void QORLGenerator::CheckExpression(const Expr& expr) {
  if (!m_holder) return;
  for (const ExprToken& t : expr.Tokens())
    if (t.IsObject() && !m_pGateway->Lookup(t.id)) CheckReference(RefARpObject(m_pGateway, t.id));
}

void QORLGenerator::GenerateRefObject(const RefARpObject& object) {
  CheckReference(object);
  if (object.IsNullRef()) return;
  Print(QORLUtil::GetRefObject(object, QORLUtil::GetTagName(object), m_bGenerateUpGradeID));
}

void QORLGenerator::GenerateRefObject(const RefARpObject& object, std::u32string_view tag) {
  CheckReference(object);
  if (object.IsNullRef()) {
    if (m_genOptions & kGenEmptyElements) GenerateEmptyElement(tag);
    return;
  }
  GenerateRefObject(object);
}

void QORLGenerator::GenerateTaggedRefObject(const RefARpObject& object, std::u32string_view sTagName) {
  CheckReference(object);
  if (object.IsNullRef()) {
    if (m_genOptions & kGenEmptyElements) GenerateEmptyElement(sTagName);
    return;
  }
  Print(S_LT); Print(sTagName); Print(S_GT); Print(S_NEWLINE);
  GenerateRefObject(object);
  Print(S_OPEN_CLOSING_TAG); Print(sTagName); Print(S_GT); Print(S_NEWLINE);
}

void QORLGenerator::GenerateGroupedSTLContainer(const RpObjectVector& objects, std::u32string_view groupTag) {
  if (objects.empty()) {
    // The empty group form has no line feed of its own: the next element follows on the line.
    if (m_genOptions & kGenEmptyElements) { Print(S_LT); Print(groupTag); Print(std::u32string_view(U"/>")); }
    return;
  }
  Print(S_LT); Print(groupTag); Print(S_GT); Print(S_NEWLINE);
  for (const RefARpObject& o : objects) GenerateRefObject(o);
  Print(S_OPEN_CLOSING_TAG); Print(groupTag); Print(S_GT); Print(S_NEWLINE);
}

void QORLGenerator::GenerateObjectList(std::u32string_view tag, const RpObjectVector& objects) {
  VoidIDVector ids;
  for (const RefARpObject& o : objects)
    if (!o.IsNullRef()) ids.push_back(o.GetID());
  Print(QORLUtil::GenerateObjectList(m_pGateway, tag, ids, m_bGenerateUpGradeID, m_genOptions));
}

// Aliases arrive with the presentation elements; until then an object has none.
static VXStringVector AliasesOf(const RefARpObject&) { return {}; }

void QORLGenerator::PrintGenericObject(const RefARpObject& object) {
  if (object.IsNullRef()) return;
  VXString s;
  s += S_LT;
  s += QORLUtil::GetTagName(object);
  AppendAttr(s, ATTR_NAME, object->GetName());
  QualifiedName path;
  MetadataUtil::GenerateQualifiedName(object, path);
  if (!path.empty()) AppendAttr(s, ATTR_QNAME, MetadataUtil::ToQualifiedName(path));
  VXStringVector aliases = AliasesOf(object);
  if (aliases.empty()) {
    s += S_CLOSE_OPEN_TAG;
    Print(s);
    return;
  }
  s += S_GT;
  s += S_NEWLINE;
  s += QORLUtil::GetAliases(aliases, false, 0);
  Print(s);
  GenerateClosingTag(object);
}

// ---- duplicate repair ---------------------------------------------------------

void UpdateDuplicateObjectAttributesForGeneration(ARpGateway* pRp, const RpObjectVector& sortedObjects) {
  std::unordered_set<VXString> fqnSet;
  std::unordered_set<VXString> uidSet;
  TypeID typeIdInUse = kTIDAUnknownObject;
  for (const RefARpObject& object : sortedObjects) {
    ARpObject* o = object.GetRawObjPtr();
    if (!o) continue;
    TypeID tId = o->GetTypeID();
    VXString fqn = MetadataUtil::GenerateQualifiedName(object);
    if (tId != typeIdInUse) {
      fqnSet.clear();
      typeIdInUse = tId;
    } else if (fqnSet.count(fqn)) {
      ServerLog::LogWarning(94550, 1, SUStrUtil::GetTypeName(tId), o->GetName());
      VXStringVector siblings;
      MetadataUtil::GetAllocatedChildrenNames(pRp, tId, o->GetParent(), siblings);
      o->SetName(GenerateUniqueName(siblings, o->GetName()));
      fqn = MetadataUtil::GenerateQualifiedName(object);
    }
    if (MetadataUtil::IsCompareableType(tId)) {
      VXString uid = TKSGUIDGenerator::ByteVectorToGUIDString(o->UpgradeID());
      if (!uid.empty() && uid != S_ERROR) {
        if (uidSet.count(uid)) {
          ServerLog::LogWarning(94549, 1, SUStrUtil::GetTypeName(tId), o->GetName(), uid);
          VXUpgradeID fresh;
          TKSGUIDGenerator::GetNextGUIDByteVector(fresh);
          o->SetUpgradeID(fresh);
          uid = TKSGUIDGenerator::ByteVectorToGUIDString(fresh);
        }
        uidSet.insert(uid);
      }
    }
    fqnSet.insert(fqn);
  }
}

}  // namespace qorl
