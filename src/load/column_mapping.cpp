// The reader of ColumnMapping: one mapping of a source, standing on its own
// behind the objects and naming its source. It has no object of its own: it
// changes its source's definition.
#include <algorithm>

#include "load/handler.h"
#include "load/manager.h"
#include "model/registry.h"
#include "model/vocabulary.h"
#include "platform/guid.h"
#include "store/expr_store.h"

namespace qorl {

namespace column_mapping {

VXString GuidText(const VXUpgradeID& uid) {
  VXString t = TKSGUIDGenerator::ByteVectorToGUIDString(uid);
  return t.empty() ? VXString(S_ERROR) : t;
}

bool IsExpressionPart(const VXString& tag) { return tag == TAG_EXPR || tag == TAG_EXPR_TEXT || tag == TAG_OBJECTS; }

class Handler : public QORLObject {
 public:
  using QORLObject::QORLObject;

  void startElement(const VXString& tag, const NameValuePairs& attrs) override {
    if (m_parsingState == psStart) {
      ProcessObjectAttributes(attrs);
      m_parsingState = psInObject;
      return;
    }
    if (m_parsingState == kRelaying) return m_relay.Start(tag, attrs);
    if (HandleCommonStart(tag)) return;
    if (m_parsingState == psInObject) {
      if (tag == TAG_LOG_COLUMN) {
        m_parsingState = kInLogicalColumn;
        return;
      }
      if (IsExpressionPart(tag)) return Relay(m_physical, tag, attrs, psInObject);
      if (QORLUtil::GetRefTypeID(tag) == kTIDALogicalTableSource) {
        // A reference without attributes is the empty element of an unset one.
        if (attrs.Size() != 0) m_pSource = ProcessRefObject(kTIDALogicalTableSource, attrs);
        m_parsingState = kInSourceRef;
        return;
      }
    } else if (m_parsingState == kInLogicalColumn && IsExpressionPart(tag)) {
      return Relay(m_logical, tag, attrs, kInLogicalColumn);
    }
    InitializeUnknownElementHandler();
  }

  void characters(std::u32string_view text) override {
    if (m_parsingState == kRelaying) return m_relay.Characters(text);
    HandleCommonCharacters(text);
  }

  void endElement(const VXString& tag) override {
    if (m_parsingState == kRelaying) {
      if (m_relay.End(tag)) m_parsingState = m_relay.ReturnState();
      return;
    }
    if (HandleCommonEnd()) return;
    m_parsingState = psInObject;
  }

  void Resolve() override {
    if (m_pSource) m_pManager->ResolveQORLObjectStub(m_pSource, false, false);
    m_logical.Resolve();
    m_physical.Resolve();
  }

  void Execute() override {}

  // Replaces the mapping of the same logical expression, or adds one; its
  // source's definition is rebuilt before, in the source's own Execute2.
  void Execute2() override {
    RefALogicalTableSource source(m_pSource ? m_pSource->GetARpObject() : RefARpObject());
    if (!source) return;
    m_pManager->AddToModifiedInternalObjects(source);
    ALogicalTableSource::SourceDefinition def = source->GetSourceDefinition();
    Expr physical;
    if (Parse(m_physical, physical, source, kSME_Physical)) {
      // A logical text that only logs its failure stays as raw text.
      Expr logical;
      Parse(m_logical, logical, source, kSME_Logical);
      auto& projection = def.m_logicalToPhysicalProjection;
      auto it = std::find_if(projection.begin(), projection.end(), [&](const auto& p) { return p.first == logical; });
      if (it != projection.end()) *it = {logical, physical};
      else projection.emplace_back(logical, physical);
    }
    source->SetSourceDefinition(def);
  }

  // A changed mapping reports its source as modified.
  void Gather() override { m_pManager->AddToModifiedInternalObjects(m_pSource); }
  bool IsToBeDeleted() override { return true; }

  VXString GetUniqueIdentifier() override {
    const QORLObjectStubVector& objects = m_logical.GetObjects();
    if (!m_pManager->m_bFineGrainedXML || !m_pSource || objects.size() != 1 || !objects[0]) return VXString(S_ERROR);
    return GuidText(m_pSource->GetUpgradeID()) + U'_' + GuidText(objects[0]->GetUpgradeID());
  }

  VXString GetParentComponentForTransformation() override {
    return m_pSource ? GuidText(m_pSource->GetUpgradeID()) : VXString(S_ERROR);
  }

 private:
  enum : int16_t { kRelaying = psIndividualObjectStateStart, kInLogicalColumn, kInSourceRef };

  void Relay(QORLExpressionHandler& expr, const VXString& tag, const NameValuePairs& attrs, int16_t returnState) {
    m_relay.Open(&expr, false, returnState);
    m_parsingState = kRelaying;
    m_relay.Start(tag, attrs);
  }
  bool Parse(const QORLExpressionHandler& h, Expr& out, const RefARpObject& context, ExprType type) {
    return m_pManager->ParseMetaExpr(h.GetExprLine(), h.GetExprText(), out, context, type);
  }

  QORLObjectStub* m_pSource = nullptr;
  QORLExpressionHandler m_logical{m_pGateway, m_pManager, TAG_LOGICAL_COLUMN_EXPR};
  QORLExpressionHandler m_physical{m_pGateway, m_pManager, TAG_EXPR};
  ChildRelay m_relay;
};

QORLObject* Make(ARpGateway* rp, QORLObjectManager* m) { return new Handler(rp, m); }

const HandlerRow kRows[] = {{kTIDColMapping, &Make}};

}  // namespace column_mapping

std::span<const HandlerRow> ColumnMappingHandlers() { return column_mapping::kRows; }

}  // namespace qorl
