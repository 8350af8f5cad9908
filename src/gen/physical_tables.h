// Writers of physical tables, columns, keys, foreign keys and complex joins:
// the attribute rows that writer and handler share, and the fragment
// functions both document forms use.
#pragma once

#include <map>
#include <span>

#include "model/attr_table.h"
#include "store/object.h"

namespace qorl {

// Attributes 1 to 14 of a table, which cube tables and analytic workspace
// cubes share; "lastUpdated" has no reader here, as its messages need the
// element's line (see PhysicalTableReadLastUpdated in the handler).
std::span<const AttrRow<ATable>> PhysicalTableSharedAttrRows();
// Attributes 15 to 21, of a plain table only.
std::span<const AttrRow<ATable>> PhysicalTableOwnAttrRows();
std::span<const AttrRow<AColumn>> PhysicalColumnAttrRows();
std::span<const AttrRow<AForeignKey>> PhysicalForeignKeyAttrRows();
std::span<const AttrRow<AComplexJoin>> ComplexJoinAttrRows();

namespace QORLUtil {

VXString GetPhysicalTableXMLAttributes(const ATable& table);
VXString GetPhysicalColumnXMLAttributes(const AColumn& column);
VXString GetPhysicalForeignKeyXMLAttributes(const AForeignKey& fkey);
VXString GetComplexJoinXMLAttributes(const AComplexJoin& join);

// A per-database string table: a DBMap of Item rows, or in the tree form the
// DBMapItem rows alone.
VXString GetDbSpecificStrings(const std::map<int, VXString>& table, int genOptions, bool bIsTDFQORL);
VXString GetPhysicalTablePropertyXMLElements(const ATable& table, int genOptions);
VXString GetPhysicalColumnPropertyXMLElements(const AColumn& column, int genOptions);
// Cleans the table's replication map first (single-document form).
VXString GetPhysicalTableReplicationXMLElements(ARpGateway* gateway, ATable& table, bool bGenerateUpgradeID,
                                                int genOptions);
// Expr and ExternalExpr of a join.
VXString GetComplexJoinExpressionXMLElements(ARpGateway* gateway, const AComplexJoin& join, bool bGenerateUpgradeID,
                                             int genOptions);
// False when a table of the join cannot be fetched: such a join has no
// element in a document.
bool AreComplexJoinTablesReachable(const AComplexJoin& join);

}  // namespace QORLUtil
}  // namespace qorl
