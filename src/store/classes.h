// The store's object classes. The element families keep theirs in headers
// of their own (included below); this file holds the classes without data of
// their own, and with them the whole class tree, so that including it gives
// every class classes.def names.
// A class with properties of its own declares
//   static std::span<const PropDesc> OwnProperties();
// returning its table (see store/props.h); persistence and copying find it.
#pragma once

#include "store/class_bases.h"
#include "store/logical_model.h"
#include "store/logical_sources.h"
#include "store/physical_sources.h"
#include "store/physical_tables.h"

namespace qorl {

class AAttributeDefn : public ARpObject {
  QORL_OBJECT(AAttributeDefn)
};

class ALogicalSourceFolder : public ARpObject {
  QORL_OBJECT(ALogicalSourceFolder)
};

class AObjectPrivilege : public ARpObject {
  QORL_OBJECT(AObjectPrivilege)
};

class AQueryPrivilege : public ARpObject {
  QORL_OBJECT(AQueryPrivilege)
};

class ARelativeSequenceNumber : public ARpObject {
  QORL_OBJECT(ARelativeSequenceNumber)
};

class ARole : public ARpObject {
  QORL_OBJECT(ARole)
};

class ATypePrivilege : public ARpObject {
  QORL_OBJECT(ATypePrivilege)
};

class AUserDatabaseSignon : public ARpObject {
  QORL_OBJECT(AUserDatabaseSignon)
};

class ANamedExpr : public ARpObject {
  QORL_OBJECT(ANamedExpr)
};

class AMktg_SamplingLevel : public ARpObject {
  QORL_OBJECT(AMktg_SamplingLevel)
};

class AEntityAttr : public ARpObject {
  QORL_OBJECT(AEntityAttr)
};

class ASchemaFolder : public ARpObject {
  QORL_OBJECT(ASchemaFolder)
};

class AAWHierarchy : public AMergeableObject {
  QORL_OBJECT(AAWHierarchy)
};

class AAWLevel : public AMergeableObject {
  QORL_OBJECT(AAWLevel)
};

class AAuthorizer : public AMergeableObject {
  QORL_OBJECT(AAuthorizer)
 public:
  // The fixed identifiers of the built-in administrator user and group, the
  // same in every repository so that documents carry them between stores.
  static void GetAdministratorUIDs(VXUpgradeID& user, VXUpgradeID& group);
  // The uid of the internal account whose name documents keep encrypted.
  static void GetMandatorySecurityObjectsUIDs(VXUpgradeID& internalAccount);
  // The built-in administrator user or group, which every repository keeps.
  static bool IsMandatorySecurityObject(const ARpObject& o);
};

class ACustomAuthenticator : public AMergeableObject {
  QORL_OBJECT(ACustomAuthenticator)
};

class ADimension : public AMergeableObject {
  QORL_OBJECT(ADimension)
};

class AGVSSecurity : public AMergeableObject {
  QORL_OBJECT(AGVSSecurity)
};

class AFolder : public AMergeableObject {
  QORL_OBJECT(AFolder)
};

class AHierarchy : public AMergeableObject {
  QORL_OBJECT(AHierarchy)
};

class ALdapServer : public AMergeableObject {
  QORL_OBJECT(ALdapServer)
};

class ALogicalDisplayFolder : public AMergeableObject {
  QORL_OBJECT(ALogicalDisplayFolder)
};

class APhysicalDimension : public AMergeableObject {
  QORL_OBJECT(APhysicalDimension)
};

class APhysicalLevel : public AMergeableObject {
  QORL_OBJECT(APhysicalLevel)
};

class AProject : public AMergeableObject {
  QORL_OBJECT(AProject)
};

class AQueryObject : public AMergeableObject {
  QORL_OBJECT(AQueryObject)
};

class ARpVariable : public AMergeableObject {
  QORL_OBJECT(ARpVariable)
};

class ASessionVariableBlock : public AMergeableObject {
  QORL_OBJECT(ASessionVariableBlock)
};

class APrivilegePackage : public AAuthorizer {
  QORL_OBJECT(APrivilegePackage)
};

class ASecurityRole : public AAuthorizer {
  QORL_OBJECT(ASecurityRole)
};

class AUser : public AAuthorizer {
  QORL_OBJECT(AUser)
};

class AAWTable : public ATable {
  QORL_OBJECT(AAWTable)
};

class ACubeTable : public ATable {
  QORL_OBJECT(ACubeTable)
};

class AAWCube : public AAWTable {
  QORL_OBJECT(AAWCube)
};

class AAWDimension : public AAWTable {
  QORL_OBJECT(AAWDimension)
};

class AAWColumn : public AColumn {
  QORL_OBJECT(AAWColumn)
};

class ACubeColumn : public AColumn {
  QORL_OBJECT(ACubeColumn)
};

class AAnalyticWorkspace : public APhysicalDataFolder {
  QORL_OBJECT(AAnalyticWorkspace)
};

class ALevel : public AEntity {
  QORL_OBJECT(ALevel)
};

class ALevelToLevel : public ARelationship {
  QORL_OBJECT(ALevelToLevel)
};

class ACatalogFolder : public AFolder {
  QORL_OBJECT(ACatalogFolder)
};

class AEntityFolder : public AFolder {
  QORL_OBJECT(AEntityFolder)
};

class APresentationHierarchy : public AFolder {
  QORL_OBJECT(APresentationHierarchy)
};

class APresentationLevel : public AFolder {
  QORL_OBJECT(APresentationLevel)
};

class AFolderAttr : public ARpObject {
  QORL_OBJECT(AFolderAttr)
};

class AMktg_CatalogLink : public ARpObject {
  QORL_OBJECT(AMktg_CatalogLink)
};

class AMktg_CustomerType : public ARpObject {
  QORL_OBJECT(AMktg_CustomerType)
};

class AMktg_ListCatalog : public ARpObject {
  QORL_OBJECT(AMktg_ListCatalog)
};

class AMktg_QualifiedItem : public ARpObject {
  QORL_OBJECT(AMktg_QualifiedItem)
};

class AMktg_QualifyingKey : public ARpObject {
  QORL_OBJECT(AMktg_QualifyingKey)
};

class AMktg_SamplingTable : public ARpObject {
  QORL_OBJECT(AMktg_SamplingTable)
};

class AMktg_SegmentationCatalog : public ARpObject {
  QORL_OBJECT(AMktg_SegmentationCatalog)
};

}  // namespace qorl
