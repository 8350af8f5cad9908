// Business models, logical tables, columns, keys, foreign keys and logical joins.
#include "elements/child_codecs.h"
#include "elements/attr_hooks.h"
#include "elements/families.h"
#include "elements/fragments.h"
#include "elements/rows.h"
#include "model/attr_table.h"
#include "model/attr_text.h"
#include "model/enum_codecs.h"
#include "model/registry.h"
#include "model/vocabulary.h"
#include "store/classes.h"
#include "store/metadata_util.h"

namespace qorl::elements {

using namespace rows;

namespace logical_model {


// ---- the join's roles: each names a logical table or a level ----

struct RoleData {
  VXString multiplicity;
  bool aggregate = false;
  QORLObjectStub* entity = nullptr;  // null for a role naming nothing
};

class RolesReader : public ChildReader {
 public:
  bool Start(const VXString& tag, const NameValuePairs& attrs, ReadContext& ctx) override {
    switch (m_state) {
      case State::Outside:
        if (tag != TAG_ROLES) return false;
        m_state = State::InRoles;
        return true;
      case State::InRoles: {
        if (tag != TAG_ROLE) return false;
        RoleData& role = m_roles.emplace_back();
        if (const VXString* m = attrs.Find(ATTR_MULTIPLICITY)) role.multiplicity = *m;
        role.aggregate = FlagFrom(attrs.Find(ATTR_IS_AGGREGATE), false);
        m_state = State::InRole;
        return true;
      }
      case State::InRole: {
        // A level is looked for as a level: its name is no table's.
        TypeID type = tag.starts_with(TAG_REF) ? QORLUtil::GetTypeID(tag.substr(TAG_REF.size())) : kTIDUnknown;
        if (type != kTIDALogicalTable && type != kTIDALevel) return false;
        // The first reference that names something wins; an empty one stands for an unset position.
        if (attrs.Size() != 0 && !m_roles.back().entity) m_roles.back().entity = ctx.Reference(type, attrs);
        m_state = State::InRef;
        return true;
      }
      case State::InRef:
        return false;
    }
    return false;
  }
  void End(const VXString&, ReadContext&) override {
    switch (m_state) {
      case State::InRef: m_state = State::InRole; break;
      case State::InRole: m_state = State::InRoles; break;
      default: m_state = State::Outside; break;
    }
  }
  void Resolve(ReadContext& ctx) override {
    for (RoleData& r : m_roles) ctx.Resolve(r.entity);
  }
  // Roles have no identity in a document: the join's roles take the
  // document's in order, so that reloading a join keeps its roles; roles
  // beyond the document's go, and missing ones are made.
  void Execute(ARpObject& obj, void*, ReadContext& ctx) override {
    ARelationship& join = static_cast<ARelationship&>(obj);
    VoidIDVector old = join.GetRoles().IDs();
    size_t kept = 0;
    for (const RoleData& data : m_roles) {
      RefARole role;
      if (kept < old.size()) {
        role = RefARole(ctx.Gateway()->GetObject(old[kept]));
        if (role) ++kept;
      }
      if (!role) {
        role = RefARole(ctx.CreateInternalObject(kTIDARole));
        if (!role) continue;
        // The join keeps its roles' properties, so the role joins it first.
        MetadataUtil::SetParent(role, RefARpObject(&obj));
        join.GetRoles().Insert(role);
      }
      ARoleAccess::SetMultiplicity(*role, Multiplicity(data.multiplicity));
      ARoleAccess::SetAggregate(*role, data.aggregate);
      ARoleAccess::SetParticipatingEntity(*role, ctx.ObjectOf(data.entity));
    }
    for (size_t i = kept; i < old.size(); ++i) {
      join.GetRoles().Erase(old[i]);
      join.EraseRoleProps(old[i]);
      ctx.DeleteInternalObject(old[i]);
    }
  }

 private:
  enum class State : uint8_t { Outside, InRoles, InRole, InRef };
  State m_state = State::Outside;
  std::vector<RoleData> m_roles;
};

class RolesCodec : public ChildCodec {
 public:
  void Write(const ARpObject& obj, const void*, std::u32string_view tag, WriteContext& ctx) const override {
    std::vector<RefARole> roles = static_cast<const ARelationship&>(obj).GetRoles().Members();
    if (!ctx.HasContent(!roles.empty(), tag)) return;
    static const VXString tableRef = VXString(TAG_REF) + TAG_LOG_TABLE;
    static const VXString levelRef = VXString(TAG_REF) + TAG_LOG_LEVEL;
    VXString s;
    children::OpenLine(s, tag);
    ctx.Print(s);
    for (const RefARole& role : roles) {
      RefAEntity entity = ARoleAccess::GetParticipatingEntity(*role);
      s.clear();
      s += S_LT;
      s += TAG_ROLE;
      if ((ctx.Options() & kGenDummyUID) && entity)
        AppendAttr(s, ATTR_DUMMY_UID, MetadataUtil::GenerateQualifiedName(entity));
      AppendAttr(s, ATTR_MULTIPLICITY, ARoleAccess::GetMultiplicity(*role).ToString());
      AppendFlagAlways(s, ATTR_IS_AGGREGATE, ARoleAccess::IsAggregate(*role));
      s += S_GT;
      s += S_NEWLINE;
      ctx.Print(s);
      // With empty elements both positions stand, table first.
      bool isLevel = entity && entity->GetTypeID() == kTIDALevel;
      ctx.PrintRef(isLevel ? RefARpObject() : RefARpObject(entity), tableRef.view());
      ctx.PrintRef(isLevel ? RefARpObject(entity) : RefARpObject(), levelRef.view());
      s.clear();
      children::CloseLine(s, TAG_ROLE);
      ctx.Print(s);
    }
    s.clear();
    children::CloseLine(s, tag);
    ctx.Print(s);
  }
  ChildReader* NewReader() const override { return new RolesReader; }
  std::string_view SchemaType() const override { return "RolesType"; }
  void FillSample(ARpObject& obj, void*, ARpGateway& rp) const override {
    RpObjectVector tables;
    rp.ForEachObject([&tables](ARpObject* o) {
      if (o->GetTypeID() == kTIDALogicalTable) tables.emplace_back(o);
    });
    if (tables.empty()) {
      // Tables of a business model of their own for the roles to name.
      RefARpObject model = rp.CreateObject(kTIDASubjectArea);
      model->SetName(VXString(U"roles model"));
      for (const char32_t* name : {U"role table a", U"role table b"}) {
        RefARpObject table = rp.CreateObject(kTIDALogicalTable);
        table->SetName(VXString(name));
        MetadataUtil::SetParent(table, model);
        tables.push_back(table);
      }
    }
    for (const RefARpObject& table : tables) {
      RefARole role(rp.CreateObject(kTIDARole));
      MetadataUtil::SetParent(role, RefARpObject(&obj));
      static_cast<ARelationship&>(obj).GetRoles().Insert(role);
      ARoleAccess::SetMultiplicity(*role, Multiplicity(0, Multiplicity::kUnbounded));
      ARoleAccess::SetAggregate(*role, true);
      ARoleAccess::SetParticipatingEntity(*role, table);
    }
  }

};

const RolesCodec kRoles;

// ---- rules of their own ----

// "isPrimary": written from the table's primary key; read by setting it. An
// absent one leaves the table's primary key alone.
const AttrHook kIsPrimary{
    [](const ARpObject& o, const Attr&, const WriteContext&) {
      return static_cast<const AKey&>(o).IsPrimaryKey() ? VXString(U"true") : VXString();
    },
    [](ARpObject& o, const Attr&, const VXString* text, const NameValuePairs&, ReadContext&) {
      if (!FlagFrom(text, false)) return;
      if (RefALogicalTable table(o.GetParent()); table) table->SetPrimaryKey(RefARpObject(&o));
    }};

// A key named by three names (model, table, key) belongs to a table; a longer
// name is a level's.
const Hooks kKeyHooks{.resolveParent = [](ReadContext& ctx) {
  return ctx.ResolveParentOf(ctx.Name().size() == 3 ? kTIDALogicalTable : kTIDALevel);
}};

// A logical table always has a source folder.
const Hooks kTableHooks{.execute2 = [](ARpObject& obj, ReadContext& ctx) {
  ALogicalTable& table = static_cast<ALogicalTable&>(obj);
  if (table.GetSourceFolder()) return;
  RefARpObject folder = ctx.CreateInternalObject(kTIDALogicalSourceFolder);
  folder->SetName(VXString(S_LOGICAL_SOURCE_FOLDER_NAME));
  table.SetSourceFolder(folder);
}};

// A join one of whose roles, or the entity a role names, cannot be fetched
// has no element in a document.
const Hooks kJoinHooks{.isWritten = [](const ARpObject& obj, const WriteContext&) {
  const ARelationship& join = static_cast<const ARelationship&>(obj);
  for (BinaryRelIter<ARole> it = join.GetRoles(); !it.AtEnd(); ++it) {
    RefARole role = it.GetObjRef();
    if (role.IsNullRef()) return false;
    // The store drops a deleted role from its join, but not the entity it
    // names: a role whose entity is gone counts as gone too.
    const RoleProps* props = join.FindRoleProps(role.GetID());
    if (props && !props->entity.IsNullID() && !ARoleAccess::GetParticipatingEntity(*role)) return false;
  }
  return true;
}};

const Attr kModelAttrs[] = {
    FlagAlways(ATTR_IS_CLASSIC_STAR, "classicStar", false),
    FlagAlways(ATTR_IS_AVAILABLE, "available", true),
};

const Part kModelParts[] = {
    // The folders are elements of their own, executed after the model.
    Group(TAG_DISPLAY_FOLDERS, kRelSubjectAreaDisplayFolders, Types<kTIDALogicalDisplayFolder>, 0, Phase::Execute2),
    // Only a fine-grained generation knows removed folders, and it records none yet.
    RemovedGroup(TAG_REMOVED_DISPLAY_FOLDERS, kRelSubjectAreaDisplayFolders, Types<kTIDALogicalDisplayFolder>, kEmptyWithFeed, Phase::Execute2),
};

const Attr kTableAttrs[] = {
    Flag(ATTR_IS_LOOKUP_TABLE, "lookupTable", false),
    Hooked(ATTR_X, When::IfText, hooks::kPositionX, kInt32Codec, "diagramX"),
    Hooked(ATTR_Y, When::IfText, hooks::kPositionY, kInt32Codec, "diagramY"),
};

const Part kTableParts[] = {
    Tagged(TAG_LEVEL_COLUMN, "levelColumn", Types<kTIDAAttribute>),
    Group(TAG_COLUMNS, kRelLogicalTableColumns, Types<kTIDAAttribute>),
    Group(TAG_TABLE_SOURCES, kRelLogicalTableSources, Types<kTIDALogicalTableSource>),
};

const Attr kColumnAttrs[] = {
    Flag(ATTR_IS_DERIVED, "derived", false),
    FlagAlways(ATTR_IS_WRITEABLE, "writeable", false),
};

// The expressions may name columns of this document, which exist only in the
// second pass. A text that does not parse is kept when the error is only logged.
const Part kColumnParts[] = {
    Expression("expr", kSkipEmptyExpr | kKeepUnparsed, Phase::Execute2, TAG_EXPR),
    Tagged(TAG_CUSTOM_SORT_ORDER, "customSortOrder", Types<kTIDAAttribute>),
    Tagged(TAG_DESCRIPTOR_ID, "descriptorID", Types<kTIDAAttribute>),
    TaggedExpression(TAG_ATTRIBUTE_DEFN, "attrDefnExpr", kAlwaysWrapped | kSkipEmptyExpr | kKeepUnparsed | kPhysicalExpr),
    Group(TAG_LEVELS, kRelLogicalColumnLevels, Types<kTIDALevel>, kClearFirstWithExprs),
};

const Attr kKeyAttrs[] = {
    Hooked(ATTR_IS_PRIMARY, When::IfText, kIsPrimary, kFlagCodec),
    Flag(ATTR_IS_CHRON_KEY, "chronKey", false),
    Flag(ATTR_IS_FOR_DRILL_DOWN, "drillDown", false),
};

const Part kKeyParts[] = {
    Group(TAG_COLUMNS, kRelLogicalKeyColumns, Types<kTIDAAttribute>, kClearFirst),
};

const Attr kJoinTypeAttrs[] = {
    Value(ATTR_TYPE, kJoinTypeCodec, "joinType", nullptr, "any text other than a join type reads as \"Inner\""),
};

const Part kForeignKeyParts[] = {
    Group(TAG_COLUMNS, kRelLogicalForeignKeyColumns, Types<kTIDAAttribute>, kClearFirst),
    Tagged(TAG_COUNTER_PART_KEY, "counterpartKey", Types<kTIDAKey>),
    Tagged(TAG_DRIVING_TABLE, "drivingTable", Types<kTIDALogicalTable>),
};

const Part kJoinParts[] = {
    Child(TAG_ROLES, kRoles, "roleProps"),
    Tagged(TAG_DRIVING_TABLE, "drivingTable", Types<kTIDALogicalTable>),
};

constexpr std::u32string_view kNameIdentity[] = {ATTR_NAME};
constexpr std::u32string_view kFolderLists[] = {TAG_DISPLAY_FOLDERS};
constexpr std::u32string_view kColumnLists[] = {TAG_COLUMNS};
constexpr std::u32string_view kRoleLists[] = {TAG_ROLES};

const Description kModel{kTIDASubjectArea, TAG_BUS_MODEL, "BusinessModelType", {ParentMode::None, {}, 0},
                         kModelAttrs,      kModelParts,   {},                  kNameIdentity,
                         kFolderLists,     nullptr};
const Description kTable{kTIDALogicalTable, TAG_LOG_TABLE, "LogicalTableType",
                         {ParentMode::ByName, Types<kTIDASubjectArea>, 0, true},
                         kTableAttrs,       kTableParts,   {},
                         kNameIdentity,     kColumnLists,  &kTableHooks};
const Description kColumn{kTIDAAttribute, TAG_LOG_COLUMN, "LogicalColumnType",
                          {ParentMode::ByName, Types<kTIDALogicalTable>, kRelLogicalTableColumns},
                          kColumnAttrs,   kColumnParts,   {},
                          kNameIdentity,  {},             nullptr};
const Description kKey{kTIDAKey,      TAG_LOG_KEY,  "LogicalKeyType", {ParentMode::Hook, Types<kTIDALogicalTable, kTIDALevel>, kRelLogicalTableKeys},
                       kKeyAttrs,     kKeyParts,    {},               kNameIdentity,
                       kColumnLists,  &kKeyHooks};
const Description kForeignKey{kTIDALogicalForeignKey, TAG_LOG_FKEY,     "LogicalForeignKeyType",
                              {ParentMode::ByName, Types<kTIDALogicalTable>, kRelLogicalTableForeignKeys},
                              kJoinTypeAttrs,         kForeignKeyParts, {},
                              kNameIdentity,          kColumnLists,     nullptr};
const Description kJoin{kTIDARelationship, TAG_LOG_JOIN, "LogicalComplexJoinType", {ParentMode::None, {}, 0},
                        kJoinTypeAttrs,    kJoinParts,   {},                       kNameIdentity,
                        kRoleLists,        &kJoinHooks};

const Description* const kAll[] = {&kModel, &kTable, &kColumn, &kKey, &kForeignKey, &kJoin};

}  // namespace logical_model

std::span<const Description* const> LogicalModelDescriptions() { return logical_model::kAll; }

}  // namespace qorl::elements
