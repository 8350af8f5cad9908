#include "gen/column_mapping.h"

#include "elements/fragments.h"
#include "gen/generator.h"
#include "model/vocabulary.h"
#include "platform/error.h"
#include "store/expr_store.h"

namespace qorl {

namespace column_mapping {

// Logical texts name their objects by qualified name whatever the generator's
// id option: only the physical side follows that option.
VXString TextOf(ARpGateway* rp, const Expr& expr, bool bUsingVoidID) {
  return ToPrettyStringVisitor::GetFormatExpr(expr, rp, true, true, false, bUsingVoidID, false);
}

VXString Element(QORLGenerator& gen, const RefALogicalTableSource& source, const Expr& logical, const Expr& physical) {
  ARpGateway* rp = gen.GetGateway();
  gen.CheckExpression(logical);
  gen.CheckExpression(physical);
  const bool uids = gen.IsGeneratingUpgradeIDs();
  const int options = gen.GetGenerateOptions();
  VXString s;
  s += S_LT;
  s += TAG_COL_MAPPING;
  s += S_GT;
  s += S_NEWLINE;
  s += QORLUtil::GetRefObject(source, TAG_LOG_TABSRC, uids);
  // LogicalColumn here wraps the logical expression; it is no column element.
  s += QORLUtil::GetTaggedExpression(rp, logical, TextOf(rp, logical, false), TAG_LOG_COLUMN, uids, options);
  s += QORLUtil::GetExpression(rp, physical, TextOf(rp, physical, gen.IsUsingVoidID()), uids, options);
  s += S_OPEN_CLOSING_TAG;
  s += TAG_COL_MAPPING;
  s += S_GT;
  s += S_NEWLINE;
  return s;
}

}  // namespace column_mapping

void PrintColumnMappingSection(QORLGenerator& gen, const RpObjectVector& sortedObjects, VXString& errorMsgString) {
  if (!(gen.GetGenerateOptions() & kGenColMapping) || ToPrettyStringVisitor::IsRipAndReplaceNoExprModeOn()) return;
  for (const RefARpObject& o : sortedObjects) {
    RefALogicalTableSource source(o);
    if (!source) continue;
    QORLGenerator::Holding holding(gen, source.Get());
    for (const auto& [logical, physical] : source->GetSourceDefinition().m_logicalToPhysicalProjection) {
      try {
        gen.Print(column_mapping::Element(gen, source, logical, physical));
      } catch (ErrorMessage& e) {
        if (gen.Aborted()) throw;
        QORLUtil::HandleErrorMessage(e, errorMsgString);
      }
    }
  }
}

}  // namespace qorl
