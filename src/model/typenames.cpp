#include "model/typenames.h"

#include <algorithm>
#include <iterator>

#include "model/typeids.h"

namespace qorl::SUStrUtil {
namespace {

struct TypeName {
  TypeID id;
  const char* name;
};

// Sorted by number.
constexpr TypeName kTypeNames[] = {
    {kTIDColMapping, "Column Mapping"},
    {kTIDARpObject, "Repository Object"},
    {kTIDAMergeableObject, "Mergeable Object"},
    {kTIDAObjectPrivilege, "Object Privilege"},
    {kTIDAUser, "User"},
    {kTIDASubjectArea, "Business Model"},
    {kTIDARelationship, "Logical Join"},
    {kTIDAAttribute, "Logical Column"},
    {kTIDAKey, "Logical Key"},
    {kTIDARole, "Role"},
    {kTIDANamedExpr, "Named Expression"},
    {kTIDADimension, "Dimension"},
    {kTIDAEntity, "Logical Entity"},
    {kTIDALevel, "Logical Level"},
    {kTIDALevelToLevel, "Level to Level"},
    {kTIDALogicalForeignKey, "Logical Foreign Key"},
    {kTIDALogicalTable, "Logical Table"},
    {kTIDALogicalTableSource, "Logical Table Source"},
    {kTIDALogicalSourceFolder, "Logical Source Folder"},
    {kTIDAMeasureDefn, "Measure Definition"},
    {kTIDAAggrRule, "Aggregation Rule"},
    {kTIDALogicalDisplayFolder, "Logical Display Folder"},
    {kTIDAOverrideAggrRule, "Override Aggregation Rule"},
    {kTIDADataComposite, "Data Composite"},
    {kTIDATable, "Physical Table"},
    {kTIDAColumn, "Physical Column"},
    {kTIDAPAttribute, "Physical Attribute"},
    {kTIDAForeignKey, "Physical Foreign Key"},
    {kTIDATableKey, "Physical Key"},
    {kTIDAComplexJoin, "Complex Join"},
    {kTIDAPhysicalDataFolder, "Physical Data Folder"},
    {kTIDADatabase, "Database"},
    {kTIDACatalog, "Physical Catalog"},
    {kTIDASchema, "Physical Schema"},
    {kTIDAConnectionPool, "Connection Pool"},
    {kTIDARpVariable, "Variable"},
    {kTIDAInitBlock, "Initialization Block"},
    {kTIDALdapServer, "LDAP Server"},
    {kTIDAPhysicalDisplayFolder, "Physical Display Folder"},
    {kTIDACubeTable, "Cube Table"},
    {kTIDAHierarchy, "Physical Hierarchy"},
    {kTIDACubeColumn, "Cube Column"},
    {kTIDAPhysicalLevel, "Physical Level"},
    {kTIDACustomAuthenticator, "Custom Authenticator"},
    {kTIDAAnalyticWorkspace, "Analytic Workspace"},
    {kTIDAAWTable, "AW Table"},
    {kTIDAAWDimension, "AW Dimension"},
    {kTIDAAWCube, "AW Cube"},
    {kTIDAAWHierarchy, "AW Hierarchy"},
    {kTIDAAWLevel, "AW Level"},
    {kTIDAAWColumn, "AW Column"},
    {kTIDAGVSSecurity, "GVS Security"},
    {kTIDAPhysicalDimension, "Physical Dimension"},
    {kTIDAAttributeDefn, "Attribute Definition"},
    {kTIDAFolder, "Presentation Folder"},
    {kTIDAEntityAttr, "Entity Attribute"},
    {kTIDACatalogFolder, "Presentation Catalog"},
    {kTIDASchemaFolder, "Presentation Schema"},
    {kTIDAEntityFolder, "Presentation Table"},
    {kTIDAFolderAttr, "Presentation Column"},
    {kTIDAMktg_CatalogLink, "Catalog Link"},
    {kTIDAMktg_CustomerType, "Target Level"},
    {kTIDAMktg_ListCatalog, "List Catalog"},
    {kTIDAMktg_QualifiedItem, "Qualified List Item"},
    {kTIDAMktg_QualifyingKey, "Qualifying Key"},
    {kTIDAMktg_SamplingLevel, "Sampling Level"},
    {kTIDAMktg_SamplingTable, "Sampling Table"},
    {kTIDAMktg_SegmentationCatalog, "Segmentation Catalog"},
    {kTIDAPresentationHierarchy, "Presentation Hierarchy"},
    {kTIDAPresentationLevel, "Presentation Level"},
    {kTIDAAuthorizer, "Authorizer"},
    {kTIDATypePrivilege, "Type Privilege"},
    {kTIDAQueryPrivilege, "Query Privilege"},
    {kTIDASecurityRole, "Group"},
    {kTIDAPrivilegePackage, "Privilege Package"},
    {kTIDAUserDatabaseSignon, "Database Sign-On"},
    {kTIDAProject, "Project"},
    {kTIDARelativeSequenceNumber, "Relative Sequence Number"},
    {kTIDAQueryObject, "Query Object"},
    {kTIDSetPermission, "Set Permission"},
};

constexpr bool SortedByNumber() {
  for (size_t i = 1; i < std::size(kTypeNames); ++i)
    if (kTypeNames[i - 1].id >= kTypeNames[i].id) return false;
  return true;
}
static_assert(SortedByNumber(), "kTypeNames must be sorted by number without duplicates");

}  // namespace

VXString GetTypeName(int typeId) {
  auto it = std::lower_bound(std::begin(kTypeNames), std::end(kTypeNames), typeId,
                             [](const TypeName& e, int id) { return e.id < id; });
  if (it != std::end(kTypeNames) && it->id == typeId) return VXString(it->name);
  return VXString("Type ") + VXString::FromInt(typeId);
}

}  // namespace qorl::SUStrUtil
