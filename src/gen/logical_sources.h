// Writers of logical table sources, column mappings, aggregation rules and
// measure definitions: the attribute rows that writer and handler share, the
// fragment functions, the join graph and the column mapping section.
#pragma once

#include <span>
#include <vector>

#include "model/attr_table.h"
#include "store/object.h"

namespace qorl {

class Expr;
class QORLGenerator;
struct GraphNode;

// Own attributes in document order. "isDistinct" has no reader here: it goes
// into the source's definition, which the handler builds in Execute2.
std::span<const AttrRow<ALogicalTableSource>> LogicalTableSourceAttrRows();
// "isDefault" has no reader: a rule's default status follows from its dimension.
std::span<const AttrRow<AAggrRule>> AggrRuleAttrRows();
std::span<const AttrRow<AMeasureDefn>> MeasureDefnAttrRows();

// One "Link" element per node of the graph, in graph order.
void GenerateJoinGraph(QORLGenerator& gen, const std::vector<GraphNode>& graph);

// The column mapping section behind all objects of a DECLARE section: for
// each table source of `sortedObjects`, in their order, one "ColumnMapping"
// per mapping. Nothing without kGenColMapping or under the no-expression
// mode. An error in one mapping goes to errorMsgString and the next goes on.
void PrintColumnMappingSection(QORLGenerator& gen, const RpObjectVector& sortedObjects, VXString& errorMsgString);

namespace QORLUtil {

VXString GetLogicalTableSourceXMLAttributes(const ALogicalTableSource& source);
VXString GetAggrRuleXMLAttributes(const AAggrRule& rule);
VXString GetMeasureDefnXMLAttributes(const AMeasureDefn& measure);

// The children of a source behind its join graph: WhereClause, GroupBy,
// FragmentContent (none under the no-expression mode).
VXString GetLogicalTableSourceExpressionXMLElements(ARpGateway* gateway, const ALogicalTableSource& source,
                                                    bool bGenerateUpgradeID, int genOptions);
// One "ColumnMapping" of a source's mapping pair.
VXString GetColumnMappingXMLElement(ARpGateway* gateway, const RefALogicalTableSource& source, const Expr& logical,
                                    const Expr& physical, bool bUsingVoidID, bool bGenerateUpgradeID, int genOptions);
// False for a rule whose measure definition or that definition's column
// cannot be reached: such a rule has no element unless empty elements are asked for.
bool IsAggrRuleReachable(const AAggrRule& rule);

}  // namespace QORLUtil
}  // namespace qorl
