// The load's per-element handlers. While the parser runs a handler only
// copies what its element says into its own fields and turns references into
// stubs; after the whole input is read the manager calls Resolve, Execute and
// Execute2, which bind the stubs and write the store.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "model/attr_table.h"
#include "store/gateway.h"

namespace qorl {

class QORLObjectManager;

// A reference to a repository object by what the document says of it, before
// and after resolution.
class QORLObjectStub {
 public:
  QORLObjectStub() = default;
  QORLObjectStub(TypeID type, const VXUpgradeID& uid, const QualifiedName& qname)
      : m_qualifiedName(qname), m_uid(uid), m_typeID(type) {}
  virtual ~QORLObjectStub() = default;

  virtual TypeID GetTypeID() const { return m_typeID; }
  void SetTypeID(TypeID t) { m_typeID = t; }
  const QualifiedName& GetQName() const { return m_qualifiedName; }
  void SetQualifiedName(const QualifiedName& q) { m_qualifiedName = q; }
  const VXUpgradeID& GetUpgradeID() const { return m_uid; }
  void SetUpgradeID(const VXUpgradeID& u) { m_uid = u; }
  const VXUpgradeID& GetParentUpgradeID() const { return m_parentUID; }
  void SetParentUpgradeID(const VXUpgradeID& u) { m_parentUID = u; }
  const VoidID& GetParentID() const { return m_parentID; }
  void SetParentID(const VoidID& id) { m_parentID = id; }
  const RefARpObject& GetARpObject() const { return m_object; }
  void SetARpObject(const RefARpObject& o) { m_object = o; }
  const VoidID& GetID() const { return m_id; }
  void SetID(const VoidID& id) { m_id = id; }
  // Where the document names the object: the element of the reference, or
  // of the object itself (line 0: not from a document's element).
  void SetLocation(uint32_t line, uint32_t column) { m_line = line; m_column = column; }
  uint32_t Line() const { return m_line; }
  uint32_t Column() const { return m_column; }
  void Clone(const QORLObjectStub* from);

 protected:
  QualifiedName m_qualifiedName;
  VXUpgradeID m_uid;
  VoidID m_id;
  TypeID m_typeID = kTIDUnknown;
  uint32_t m_line = 0;
  uint32_t m_column = 0;
  RefARpObject m_object;
  VoidID m_parentID;
  VXUpgradeID m_parentUID;
};
using QORLObjectStubVector = std::vector<QORLObjectStub*>;

enum ObjectParsingState : int16_t {
  psStart = 0,
  psInObject = 1,
  psInExpr = 2,
  psInObjectRefList = 3,
  psInObjRef = 4,
  psInDescription = 5,
  psInAliases = 6,
  psInAlias = 7,
  psInIgnorableExpr = 8,
  psInAttrDefnExpr = 9,
  psInUnkownElement = 10,
  psIndividualObjectStateStart = 1000,
};

// Skips an element with all its children: counts depth, nothing else. The
// depth is a full int so that no nesting the load accepts can wrap it.
class QORLUnknownElementHandler {
 public:
  void startElement() { ++m_parsingState; }
  void endElement() { --m_parsingState; }
  bool HandOverParsingToParent() const { return m_parsingState == 0; }
  void SetParentParsingState(int16_t s) { m_parentParsingState = s; }
  int16_t GetParentParsingState() const { return m_parentParsingState; }
  void Reset() { m_parsingState = 0; m_parentParsingState = 32767; }
  bool IsActive() const { return m_parsingState > 0; }

 private:
  int m_parsingState = 0;
  int16_t m_parentParsingState = 32767;
};

// The handler of one element. It is itself the stub of the object it declares.
class QORLObject : public QORLObjectStub {
 public:
  QORLObject(ARpGateway* pGateway, QORLObjectManager* pManager) : m_pGateway(pGateway), m_pManager(pManager) {}

  // ---- parsing: fill own fields, make stubs, never touch the store ----
  virtual void startElement(const VXString& tag, const NameValuePairs& attrs) = 0;
  virtual void characters(std::u32string_view text) {}
  virtual void endElement(const VXString& tag) = 0;

  // ---- execution ----
  virtual void Resolve() = 0;
  virtual void Execute() = 0;
  virtual void Execute2() = 0;
  virtual void Gather() {}
  virtual bool IsToBeDeleted() { return false; }
  virtual VXString GetUniqueIdentifier();
  virtual VXString GetParentComponentForTransformation();
  virtual void CloneObject(QORLObject* from) {}
  // The encrypted texts the element carries that the dry password test checks.
  virtual void GetPasswordsToCheck(VXStringVector& out) const {}

  void SetObjTagLineNumber(int line) { m_objTagLineNumber = line; }
  int GetObjTagLineNumber() const { return m_objTagLineNumber; }
  int16_t GetParsingState() const { return m_parsingState; }

  // For messages: the object's qualified name if it lives, else the document's name.
  VXString DisplayName() const;

 protected:
  // ---- common readers ----
  int CurrentLine() const;
  void ProcessObjectAttributes(const NameValuePairs& attrs);
  void GetQualifiedName(const NameValuePairs& attrs, QualifiedName& out);
  void ParseQualifiedNameString(const VXString& text, QualifiedName& out);
  void GetUpgradeIDFromString(const VXString& text, VXUpgradeID& out);
  static void GetAttr(std::u32string_view name, const NameValuePairs& attrs, VXString& out);
  static void GetAttr(std::u32string_view name, const NameValuePairs& attrs, bool& out);
  static void GetAttr(std::u32string_view name, const NameValuePairs& attrs, int32_t& out);
  static void GetAttr(std::u32string_view name, const NameValuePairs& attrs, uint32_t& out);
  static void GetAttr(std::u32string_view name, const NameValuePairs& attrs, int16_t& out);
  static void GetAttr(std::u32string_view name, const NameValuePairs& attrs, uint16_t& out);
  static void GetAttr(std::u32string_view name, const NameValuePairs& attrs, double& out);
  // A reference element: its stub, owned by the manager.
  QORLObjectStub* ProcessRefObject(TypeID type, const NameValuePairs& attrs);
  // A stub of the parent, resolved. `parentTypes` are tried in order; the
  // first that finds the object wins (one type for most elements).
  QORLObjectStub* ResolveParent(const TypeIDVector& parentTypes, bool bThrowErrorAnyway);
  QORLObjectStub* ResolveParent(TypeID parentType, bool bThrowErrorAnyway);
  void SetCommonObjectProperties();
  // Sets the object's parent link from a resolved parent stub.
  void AttachToParent(const QORLObjectStub* parent);
  void DecryptAESPassword(const VXString& aes, ByteVector& bytes);
  void InitializeUnknownElementHandler();
  // True when the unknown element has ended and parsing returns to the handler.
  bool CheckAndEndUnknownElement();
  // The common part of startElement/characters/endElement for "Description"
  // and unknown children; true when the event was taken.
  bool HandleCommonStart(const VXString& tag);
  bool HandleCommonCharacters(std::u32string_view text);
  bool HandleCommonEnd();

  ARpGateway* m_pGateway;
  QORLObjectManager* m_pManager;
  int16_t m_parsingState = psStart;
  int m_objTagLineNumber = 0;
  VXString m_description;
  uint16_t m_iconIndex = 0;
  uint16_t m_defaultPriv = 0;
  bool m_bBIExtenderObject = false;
  QORLUnknownElementHandler m_unknownHandler;
};

// Hands the events of one child element, and of everything in it, to a child
// handler (an expression, the join graph, a nested mapping). A wrapped child
// element is a wrapper whose own start and end the child does not see
// ("WhereClause" around an expression); otherwise the child gets the element
// itself ("Expr", "Link").
class ChildRelay {
 public:
  void Open(QORLObject* child, bool wrapped, int16_t returnState) {
    m_child = child;
    m_wrapped = wrapped;
    m_depth = 0;
    m_returnState = returnState;
  }
  void Start(const VXString& tag, const NameValuePairs& attrs) {
    ++m_depth;
    m_child->startElement(tag, attrs);
  }
  void Characters(std::u32string_view text) {
    if (m_depth > 0) m_child->characters(text);
  }
  // True when the relayed element has ended.
  bool End(const VXString& tag) {
    if (m_depth == 0) return true;  // the wrapper's own end
    m_child->endElement(tag);
    return --m_depth == 0 && !m_wrapped;
  }
  int16_t ReturnState() const { return m_returnState; }

 private:
  QORLObject* m_child = nullptr;
  bool m_wrapped = false;
  int m_depth = 0;
  int16_t m_returnState = psInObject;
};

// Any element whose family has no handler of its own yet: the common
// attributes, the description, the parent.
class QORLGenericObjectHandler : public QORLObject {
 public:
  using QORLObject::QORLObject;
  void startElement(const VXString& tag, const NameValuePairs& attrs) override;
  void characters(std::u32string_view text) override;
  void endElement(const VXString& tag) override;
  void Resolve() override;
  void Execute() override;
  void Execute2() override {}

 protected:
  QORLObjectStub* m_pParent = nullptr;
};

// "DeleteObjects": the references of the objects a document deletes.
class QORLDeleteObjectsHandler : public QORLObject {
 public:
  using QORLObject::QORLObject;
  void startElement(const VXString& tag, const NameValuePairs& attrs) override;
  void endElement(const VXString& tag) override;
  void Resolve() override;
  void Execute() override {}
  void Execute2() override {}
  VXString GetUniqueIdentifier() override;

 private:
  QORLObjectStubVector m_delObjects;
  std::vector<int> m_delLines;  // the line of each reference, for messages
};

// The reader of one expression (Expr, ExprText, Objects), owned by its element's handler.
class QORLExpressionHandler : public QORLObject {
 public:
  QORLExpressionHandler(ARpGateway* pGateway, QORLObjectManager* pManager, std::u32string_view tdfTag = {})
      : QORLObject(pGateway, pManager), m_tdfTag(tdfTag) {}
  void startElement(const VXString& tag, const NameValuePairs& attrs) override;
  void characters(std::u32string_view text) override;
  void endElement(const VXString& tag) override;
  void Resolve() override;
  void Execute() override {}
  void Execute2() override {}
  void CloneObject(QORLObject* from) override;
  const VXString& GetExprText() const { return m_sExpr; }
  int GetExprLine() const { return m_exprLine; }
  const QORLObjectStubVector& GetObjects() const { return m_objects; }
  bool IsFinished() const { return m_parsingState == psInObject || m_parsingState == psStart; }

 private:
  std::u32string_view m_tdfTag;
  VXString m_sExpr;
  VXString m_sExprText;
  int m_exprLine = 0;
  QORLObjectStubVector m_objects;
};

// The relation rule of the handlers: the members a list names are erased from
// the relation if they are in it, then all are inserted in document order;
// members the list does not name stay, ahead of the named ones. Stubs without
// a live object are passed over. With bClearFirst the relation is emptied first.
void RelinkRelation(BinaryRelIterBase rel, const QORLObjectStubVector& stubs, bool bClearFirst = false);

// Which handler reads which element.
using HandlerFactory = QORLObject* (*)(ARpGateway*, QORLObjectManager*);
struct HandlerRow {
  TypeID type;
  HandlerFactory make;
};
// A specialised handler when an element family has one, otherwise the generic one.
HandlerFactory FindHandlerFactory(TypeID type);

// The rows of each element family, defined with the family's handlers.
std::span<const HandlerRow> ColumnMappingHandlers();

}  // namespace qorl
