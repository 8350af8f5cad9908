// Writers of business models, logical tables, columns, keys, foreign keys and
// logical joins: the attribute rows that writer and handler share, and the
// fragment functions both document forms use.
#pragma once

#include <span>

#include "model/attr_table.h"
#include "store/object.h"

namespace qorl {

std::span<const AttrRow<ASubjectArea>> BusinessModelAttrRows();
// "isLookupTable", "x", "y".
std::span<const AttrRow<ALogicalTable>> LogicalTableAttrRows();
std::span<const AttrRow<AAttribute>> LogicalColumnAttrRows();
// "isPrimary" has no reader here: it sets the container's primary key, which
// the handler does once the container is known.
std::span<const AttrRow<AKey>> LogicalKeyAttrRows();
std::span<const AttrRow<ALogicalForeignKey>> LogicalForeignKeyAttrRows();
std::span<const AttrRow<ARelationship>> LogicalJoinAttrRows();

namespace QORLUtil {

VXString GetBusinessModelXMLAttributes(const ASubjectArea& businessModel);
VXString GetLogicalTableXMLAttributes(const ALogicalTable& table);
VXString GetLogicalColumnXMLAttributes(const AAttribute& column);
VXString GetLogicalKeyXMLAttributes(const AKey& key);
VXString GetLogicalForeignKeyXMLAttributes(const ALogicalForeignKey& fkey);
VXString GetLogicalJoinXMLAttributes(const ARelationship& join);

// The column's expression (Expr with its companions), then CustomSortOrder
// and DescriptorID are the generator's, then the AttributeDefn wrapper: the
// two expression parts, each as this function gives it.
VXString GetLogicalColumnExpressionXMLElements(ARpGateway* gateway, const AAttribute& column, bool bGenerateUpgradeID,
                                               int genOptions);
VXString GetLogicalColumnAttributeDefnXMLElements(ARpGateway* gateway, const AAttribute& column,
                                                  bool bGenerateUpgradeID, int genOptions);
// The open tag of a Role, with its attributes.
VXString GetRoleXMLOpenTag(const ARole& role, int genOptions);
// False when a role of the join, or the entity a role names, cannot be
// fetched: such a join has no element in a document.
bool AreLogicalJoinRolesReachable(const ARelationship& join);

}  // namespace QORLUtil
}  // namespace qorl
