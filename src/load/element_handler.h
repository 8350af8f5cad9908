// The one reader of object elements: a slot per child part of the element's
// description, filled while parsing and applied by Resolve, Execute and
// Execute2 as the parts say.
#pragma once

#include <memory>

#include "elements/bind.h"
#include "load/handler.h"

namespace qorl {

class QORLElementHandler : public QORLObject, public elements::ReadContext {
 public:
  QORLElementHandler(ARpGateway* pGateway, QORLObjectManager* pManager, const elements::Binding& binding);
  ~QORLElementHandler() override;

  void startElement(const VXString& tag, const NameValuePairs& attrs) override;
  void characters(std::u32string_view text) override;
  void endElement(const VXString& tag) override;
  void Resolve() override;
  void Execute() override;
  void Execute2() override;
  void GetPasswordsToCheck(VXStringVector& out) const override;
  VXString GetUniqueIdentifier() override;

  // ---- ReadContext ----
  ARpGateway* Gateway() const override { return m_pGateway; }
  int ElementLine() const override { return GetObjTagLineNumber(); }
  int ParserLine() const override { return CurrentLine(); }
  bool IgnoreErrors() const override;
  void BadNumber(std::u32string_view attr, const VXString& text) override;
  void UnknownText(const elements::Attr& row, const VXString& text, std::span<const std::u32string_view> known) override;
  void DecryptPassword(const VXString& text, ByteVector& out) override;
  QORLObjectStub* Reference(TypeID type, const NameValuePairs& attrs) override;
  void Resolve(QORLObjectStub*& stub) override;
  RefARpObject ObjectOf(const QORLObjectStub* stub) const override;
  bool TryResolve(QORLObjectStub*& stub) override;
  QORLObjectStub* ParentStub(TypeID type, const QualifiedName& name) override;
  QORLObjectStub* ResolveParentOf(TypeID type) override;
  RefARpObject CreateInternalObject(TypeID type) override;
  void DeleteInternalObject(const VoidID& id) override;
  bool ParseExpr(int line, const VXString& text, Expr& out, int exprType) override;
  const QualifiedName& Name() const override { return m_qualifiedName; }
  const NameValuePairs& Attributes() const override { return m_attrs; }
  bool FineGrained() const override;
  const VXUpgradeID& ParentUpgradeID() const override { return m_parentUID; }
  const VXUpgradeID* ExprObjectUID(const char* prop, size_t i) override;
  bool IsAlive(const RefARpObject& obj) const override;
  void DeleteObject(const VoidID& id) override;

 private:
  struct Slot;
  enum : int16_t {
    kInTagged = psIndividualObjectStateStart,
    kInTaggedRef,
    kInGroup,
    kInGroupRef,
    kInPlain,
    kInText,
    kInExpr,
    kInChild,
  };

  Slot& SlotOf(size_t part);
  bool Accepts(const elements::Part& part, TypeID type) const;
  void StartPart(size_t part, const VXString& tag, const NameValuePairs& attrs);
  // Warnings for what the element does not know: attribute names, and a
  // child that is skipped.
  void CheckAttributeNames();
  void UnknownChild(const VXString& tag);
  void ReadAttributes(ARpObject& obj);
  void ApplyParts(ARpObject& obj, elements::Phase phase);

  const elements::Binding& m_binding;
  NameValuePairs m_attrs;
  std::unique_ptr<Slot[]> m_slots;  // one per part, made on the first child
  size_t m_part = 0;                // the part being read
  int m_childDepth = 0;
  ChildRelay m_relay;
  QORLObjectStub* m_pParent = nullptr;
};

}  // namespace qorl
