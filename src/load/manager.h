// QORLObjectManager: the SAX handler of the load. While the parser runs it
// dispatches elements to handlers; afterwards it resolves every reference,
// decides new or update, and applies the handlers to the store in the fixed
// order of types, deleting last.
#pragma once

#include <utility>

#include <map>
#include <memory>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include <xercesc/sax2/DefaultHandler.hpp>

#include "load/handler.h"
#include "platform/progress.h"
#include "store/expr_store.h"

namespace qorl {

class ErrorMessage;

struct QNameTypeIDPair {
  QualifiedName m_qName;
  TypeID m_typeID = kTIDUnknown;
  VoidID m_voidID;
};
using QNameTypeIDPairVector = std::vector<QNameTypeIDPair>;

// All that one document set produced.
struct VLTStoringStubs {
  std::vector<QORLObject*> m_insertObjects;
  std::vector<QORLObject*> m_updateObjects;
  std::vector<std::unique_ptr<QORLObjectStub>> m_refObjects;
  std::unordered_map<TypeIDQName, QORLObjectStub*, TypeIDQNameHash> m_qnameIndexedObjects;
  std::unordered_map<VXUpgradeID, QORLObjectStub*> m_uidIndexedObjects;
  QNameTypeIDPairVector m_modifiedInternalObjectQNameTypeIDs;
  std::set<VoidID> m_createdInternalObjectIDs;
  std::set<VoidID> m_modifiedInternalObjectIDs;
  std::set<VoidID> m_deletedInternalObjectIDs;
  std::set<VoidID> m_deletedObjectIDs;
  // Deleted with an object of m_deletedObjectIDs that they cannot stand without.
  std::set<VoidID> m_cascadeDeletedObjectIDs;
  std::vector<QORLObject*> m_allDeclaredObjects;
  std::vector<QORLObject*> m_allDeleteObjects;
  QORLObjectStubVector m_deleteObjects;
  std::vector<QORLObject*> m_newOrDuplicatedObjects;
  std::unordered_map<TypeIDQName, QORLObjectStub*, TypeIDQNameHash> m_qnameNewRenamedObjects;
  std::vector<QORLObject*> m_allOverlappedObjects;
  std::vector<std::unique_ptr<QORLObjectStub>> m_refOverlappedObjects;

  void Clear(bool bCleanAll);
};

enum QORLCommandType : int16_t { xcDeclare = 0, xcDelete = 1, xcFineGrained = 2, xcUnknown = 3 };

class QORLObjectManager : public xercesc::DefaultHandler {
 public:
  // Limits on what one document may ask of the load, checked before anything
  // is converted: deeper nesting or longer values than any generated document
  // has are refused rather than paid for. Lengths count UTF-16 units.
  static constexpr size_t kMaxElementDepth = 256;
  static constexpr XMLSize_t kMaxAttributeChars = XMLSize_t{1} << 20;
  static constexpr XMLSize_t kMaxElementTextChars = XMLSize_t{64} << 20;

  QORLObjectManager(ARpGateway* pGateway, bool bIsTDFQORL, bool bDocumentContainsCommand, bool bIsValidTDFDepartmentalDir,
                    bool bGatherDeclaredObjects, bool bRenameDuplicatedObjects);
  ~QORLObjectManager() override;

  // ---- SAX ----
  void setDocumentLocator(const xercesc::Locator* locator) override { m_locator = locator; }
  void resetDocument() override {
    m_treeLevel = 0;
    m_openElements.clear();
    m_textChars = 0;
    m_lastEventEnd = m_elementStart = Position{1, 1};
  }
  void startElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname, const xercesc::Attributes& attrs) override;
  void characters(const XMLCh* chars, XMLSize_t length) override;
  void endElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname) override;
  // Any DOCTYPE ends the parse here, before its subsets are read.
  void startDTD(const XMLCh* name, const XMLCh* publicId, const XMLCh* systemId) override;
  void startCDATA() override;
  void endCDATA() override;
  // Only their ends matter: where the next element begins.
  void ignorableWhitespace(const XMLCh*, XMLSize_t) override { MarkEventEnd(); }
  void processingInstruction(const XMLCh*, const XMLCh*) override { MarkEventEnd(); }
  void comment(const XMLCh*, XMLSize_t) override { MarkEventEnd(); }
  void fatalError(const xercesc::SAXParseException& e) override;
  void error(const xercesc::SAXParseException& e) override { fatalError(e); }
  void warning(const xercesc::SAXParseException&) override {}

  // ---- settings ----
  void SetExitOnExprParsingError(bool b) { m_bExitOnExprParsingError = b; }
  void SetDepartment(const VXString& name);
  void SetInputPasswords(const VXStringVector& p) { m_inputPasswords = p; }
  void NextInput() { ++m_passwordPosition; }
  void SetCurrentFile(const VXString& f) { m_currentFile = f; }
  const VXString& GetCurrentFile() const { return m_currentFile; }

  // Shown while large documents are read and applied.
  void EnableProgress(bool enabled) { m_bProgress = enabled; }
  bool m_bProgress = false;
  Progress m_progress;
  uint64_t m_objectsRead = 0;

  bool m_bExitOnPasswordError = true;
  bool m_bIgnoreQORLErrors = false;
  bool m_bFineGrainedXML = false;
  bool m_bTransformationEnabled = false;

  // ---- phases ----
  void Cleanup();
  void PopulateAllObjects();
  void ExecuteQORL();
  void ResolveDeclaredObjects();
  // The objects the document created, and those it updated: changed when
  // their properties or one of the relations they own (`changedOwners`,
  // from the store's relation journal) differ from before, unchanged else.
  void GatherDeclObjects(VoidIDVector& created, VoidIDVector& changed, VoidIDVector& unchanged,
                         const std::unordered_set<uint64_t>& changedOwners);
  void GatherDeletedObjects(VoidIDVector& ids);
  void GatherDeclObjectsQNameTypeIDs(QNameTypeIDPairVector& out);
  void RetrieveWarnings(VXString& warning);
  bool IsPasswordCorrect(const VXString& password);
  bool PasswordsCanBeDecrypted(const VXString& password, const VXString& aes);
  bool HasPasswordError() const { return m_bIsPasswordError; }
  // The last document could not be read whole: not well formed, invalid, or
  // over a limit. Ignoring errors never applies such a document in part.
  bool DocumentRefused() const { return m_bDocumentRefused; }

  // ---- services for handlers ----
  ARpGateway* GetGateway() const { return m_pGateway; }
  int GetLineNumber() const;
  // Line and column of the '<' of the element being started: what a message
  // about the element points at. The parser itself only tells where the
  // start tag ends.
  uint32_t ElementLine() const { return m_elementStart.line; }
  uint32_t ElementColumn() const { return m_elementStart.column; }
  bool IsTDFQORL() const { return m_bIsTDFQORL; }
  bool IgnoreErrors() const { return m_bIgnoreQORLErrors; }
  QORLObjectStub* CreateQORLObjectStub(TypeID type, const VXUpgradeID& uid, const QualifiedName& qname);
  void ResolveQORLObjectStub(QORLObjectStub*& stub, bool bIsObjectToBeDeleted, bool bThrowErrorAnyway);
  void ResolveQORLObjectStubVector(QORLObjectStubVector& stubs, bool bIsObjectToBeDeleted);
  // Tries to bind without reporting failure: for parents whose type is one of several.
  bool TryResolveQORLObjectStub(QORLObjectStub*& stub);
  // The resolved references of a delete section, each with its line; the
  // built-in security objects among them are kept, with a warning.
  void PopulateDelObjectVector(const QORLObjectStubVector& stubs, const std::vector<int>& lines);
  RefARpObject CreateObject(TypeID type, const VoidID& id);
  RefARpObject CreateInternalObject(TypeID type);
  void AddToModifiedInternalObjects(const RefARpObject& obj);
  void AddToModifiedInternalObjects(const QORLObjectStub* stub);
  void DeleteInternalObject(const VoidID& id);
  bool IsVltObjectAlive(const RefARpObject& obj) const;
  bool IsExistingVLTObject(const QORLObject* handler) const;
  RefARpObject GetVLTObjectByUID(const VXUpgradeID& uid) const;
  bool ParseMetaExpr(int lineNumber, const VXString& text, Expr& expr, const RefARpObject& contextObject, ExprType type);
  void DecryptAESPassword(const VXString& objectName, const VXString& aes, ByteVector& bytes);
  // A password the document cannot give: fails the load, or only warns when
  // password errors are set not to stop it.
  void PasswordError(const ErrorMessage& e);
  QORLObject* GetParentObjectHandler() const;
  // Hands the error to the entry point, or logs it when errors are ignored.
  void ThrowOrLog(const ErrorMessage& e, bool bThrow);
  // Something the load passes over but the author most likely did not mean
  // (a typo): logged as a warning, or kept as an error of the document when
  // the load is strict.
  void Warn(const ErrorMessage& e);
  // The warnings a strict load turned into errors since the last call.
  std::vector<ErrorMessage> TakeWarningsAsErrors() { return std::exchange(m_warningsAsErrors, {}); }
  bool m_bStrict = false;

  static bool IsObjectTypeToBeCreated(TypeID type);

 private:
  QORLObject* CreateQORLObjectHandler(const VXString& tag, int lineNumber);
  void SetCommand(const VXString& name);
  void FinishQORLObjectHandler();
  void FinishQORLDeleteHandler();
  void ExecuteOneVLTStore();
  void DeleteDocumentObjects();
  void ResolveDeclaredObject(QORLObject* handler);
  void InsertResolvedObjectIntoIndexes(QORLObject* handler, bool bInRp, bool bRen);
  bool LookupQORLObjectFromRp(QORLObjectStub* stub, bool bRen, bool& bCandidate, bool bIsObjectToBeDeleted);
  bool IsDefaultSecurityObjectByUIDWithDiffName(const QORLObjectStub* stub) const;
  void BindToStoreUID(QORLObjectStub* stub);
  // Renames and duplicates.
  enum { TUO_NOT_FOUND = 0, TUO_NAME_IS_THE_SAME = 1, TUO_NAME_IS_CHANGED = 2 };
  void ResolveNewOrDuplicatedObjects();
  int FindUpdatedObjectWithTheSameOriginalName(const QualifiedName& qName, TypeID type, RefARpObject& existing);
  bool CheckIfSomeNewParentIsAlreadyRenamed(const QORLObject* handler) const;
  void GetSiblingNames(const RefARpObject& existing, const QORLObject* handler, VXStringVector& names);
  void EnsureUniqueNameInVLT(const QualifiedName& qName, const RefARpObject& object);
  VXUpgradeID UnclaimedUpgradeID(QORLObject* handler);
  void PopulateTypeIDQNameVoidIDMap();
  // The known element tag nearest to a typo'd one; empty when none is near.
  static std::u32string_view ClosestElementTag(const VXString& tag);
  // Marks the document refused, then throws.
  [[noreturn]] void RefuseDocument(const ErrorMessage& e);
  // Adds the current element's line and name to an error from a handler.
  void AddContext(ErrorMessage& e, const QORLObject* handler) const;

  // Where an element starts is where the event before it ended (text up to
  // its '<', or the '>' of the tag before): kept at every event.
  struct Position {
    uint32_t line = 0;
    uint32_t column = 0;
  };
  Position Here() const;
  void MarkEventEnd() { m_lastEventEnd = Here(); }

  ARpGateway* m_pGateway;
  const xercesc::Locator* m_locator = nullptr;
  Position m_lastEventEnd{1, 1};
  Position m_elementStart{1, 1};
  bool m_bIsTDFQORL;
  bool m_bDocumentContainsCommand;
  bool m_bIsDepartmentalTDFMode;
  bool m_bGatherDeclaredObjects;
  bool m_bRenameDuplicatedObjects;
  bool m_bExitOnExprParsingError = true;
  bool m_bIsPasswordError = false;
  bool m_bDocumentRefused = false;
  bool m_bTDFObjectsWereRenamed = false;
  bool m_bInUnknownElement = false;
  int m_treeLevel = 0;
  // The names of all open elements, skipped ones included: their count is
  // checked against kMaxElementDepth and the innermost names an overlong text.
  std::vector<const VXString*> m_openElements;
  // Characters of the current text run, against kMaxElementTextChars.
  XMLSize_t m_textChars = 0;
  QORLCommandType m_currentCommand = xcUnknown;
  std::vector<QORLObject*> m_objectHandlers;
  QORLUnknownElementHandler m_unknownHandler;
  VXString m_finegrainedText;
  std::set<VXString> m_processedDeclareElements;
  VXString m_currentFile;

  VLTStoringStubs m_defaultStorageStubs;
  std::unordered_map<VXString, VLTStoringStubs> m_deptSpecificStorageStubs;
  VLTStoringStubs* m_pCurrentDeptStorageStubs;
  VXString m_sCurrentDepartment;
  TypeIDVector m_executionSequence;
  TypeIDQNameVoidIDMap m_typeIDQNameVoidIDMap;

  std::unordered_map<VXUpgradeID, RefARpObject> m_allVltObjectsUidObjectMap;
  std::unordered_map<TypeIDQName, RefARpObject, TypeIDQNameHash> m_allVltObjectsQnameObjectMap;

  VXStringVector m_inputPasswords;
  int m_passwordPosition = 0;
  std::vector<ErrorMessage> m_warningsAsErrors;
  // The stored form of each object the document updates, as it was before
  // the document touched it, by key; compared with its form afterwards.
  void KeepBefore(const RefARpObject& obj);
  std::unordered_map<uint64_t, ByteVector> m_before;

  // Tag and attribute names come from a small vocabulary: each is converted
  // once and shared, instead of once per element.
  const VXString& Intern(const XMLCh* name);
  struct U16Hash {
    using is_transparent = void;
    size_t operator()(std::u16string_view s) const { return std::hash<std::u16string_view>()(s); }
  };
  std::unordered_map<std::u16string, VXString, U16Hash, std::equal_to<>> m_names;

  // Reused per element, so that attributes cost no allocation of their own.
  NameValuePairs m_attrs;
  VXString m_text;
};

}  // namespace qorl
