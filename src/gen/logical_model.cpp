// Writers of the logical model elements.
#include "gen/logical_model.h"

#include <limits>

#include "model/attr_text.h"
#include "gen/elements.h"
#include "elements/fragments.h"
#include "gen/generator.h"
#include "model/codecs.h"
#include "model/vocabulary.h"
#include "store/expr_store.h"
#include "store/metadata_util.h"

namespace qorl {

namespace {

// A flag written only when it differs from its default.
template <class Obj, bool (Obj::*Get)() const, void (Obj::*Set)(bool), bool Def>
constexpr AttrRow<Obj> LmodFlag(std::u32string_view name) {
  return {name, Def ? AttrWrite::kIfFalse : AttrWrite::kIfTrue, [](const Obj& o) { return FlagText((o.*Get)()); },
          [](Obj& o, const VXString* t, const NameValuePairs&) { (o.*Set)(FlagFrom(t, Def)); }};
}

// A flag written in either state; `Def` is what an absent one reads as.
template <class Obj, bool (Obj::*Get)() const, void (Obj::*Set)(bool), bool Def>
constexpr AttrRow<Obj> LmodFlagAlways(std::u32string_view name) {
  return {name, AttrWrite::kBoth, [](const Obj& o) { return FlagText((o.*Get)()); },
          [](Obj& o, const VXString* t, const NameValuePairs&) { (o.*Set)(FlagFrom(t, Def)); }};
}

// The join type of foreign keys and joins; an absent one reads as the empty
// text, which the codec takes as its default.
template <class Obj>
constexpr AttrRow<Obj> LmodJoinType() {
  return {ATTR_TYPE, AttrWrite::kIfSet, [](const Obj& o) { return QORLUtility::GetStringFromJoinType(o.GetJoinType()); },
          [](Obj& o, const VXString* t, const NameValuePairs&) {
            o.SetJoinType(QORLUtility::GetJoinTypeFromString(TextFrom(t)));
          }};
}

int32_t LmodInt32From(const VXString* text) {
  long long v = IntFrom(text, 0);
  return v < std::numeric_limits<int32_t>::min() || v > std::numeric_limits<int32_t>::max() ? 0 : static_cast<int32_t>(v);
}

const AttrRow<ASubjectArea> kLmodBusinessModelRows[] = {
    LmodFlagAlways<ASubjectArea, &ASubjectArea::IsLogicalClassicStarSchema,
                   &ASubjectArea::SetLogicalClassicStarSchemaMode, false>(ATTR_IS_CLASSIC_STAR),
    LmodFlagAlways<ASubjectArea, &ASubjectArea::IsSubjectAreaAvailable, &ASubjectArea::SetSubjectAreaAvailable, true>(
        ATTR_IS_AVAILABLE),
};

const AttrRow<ALogicalTable> kLmodTableRows[] = {
    LmodFlag<ALogicalTable, &ALogicalTable::IsLookupTable, &ALogicalTable::SetLookupTableFlag, false>(
        ATTR_IS_LOOKUP_TABLE),
    // x and y go together: both when either is not 0.
    {ATTR_X, AttrWrite::kIfSet,
     [](const ALogicalTable& t) {
       int32_t x, y;
       t.GetDiagramPosition(x, y);
       return x == 0 && y == 0 ? VXString() : VXString::FromInt(x);
     },
     [](ALogicalTable& t, const VXString* v, const NameValuePairs& all) {
       t.SetDiagramPosition(LmodInt32From(v), LmodInt32From(all.Find(ATTR_Y)));
     }},
    {ATTR_Y, AttrWrite::kIfSet,
     [](const ALogicalTable& t) {
       int32_t x, y;
       t.GetDiagramPosition(x, y);
       return x == 0 && y == 0 ? VXString() : VXString::FromInt(y);
     },
     nullptr},
};

const AttrRow<AAttribute> kLmodColumnRows[] = {
    LmodFlag<AAttribute, &AAttribute::IsDerivedAttribute, &AAttribute::SetDerivedAttribute, false>(ATTR_IS_DERIVED),
    LmodFlagAlways<AAttribute, &AAttribute::IsWriteable, &AAttribute::SetWriteable, false>(ATTR_IS_WRITEABLE),
};

const AttrRow<AKey> kLmodKeyRows[] = {
    {ATTR_IS_PRIMARY, AttrWrite::kIfTrue, [](const AKey& k) { return FlagText(k.IsPrimaryKey()); }, nullptr},
    LmodFlag<AKey, &AKey::IsChronologicalKey, &AKey::SetChronologicalKeyFlag, false>(ATTR_IS_CHRON_KEY),
    LmodFlag<AKey, &AKey::IsUsableForDrilldown, &AKey::SetUsableForDrilldown, false>(ATTR_IS_FOR_DRILL_DOWN),
};

const AttrRow<ALogicalForeignKey> kLmodForeignKeyRows[] = {LmodJoinType<ALogicalForeignKey>()};

const AttrRow<ARelationship> kLmodJoinRows[] = {LmodJoinType<ARelationship>()};

void LmodOpen(VXString& s, std::u32string_view tag) {
  s += S_LT;
  s += tag;
  s += S_GT;
  s += S_NEWLINE;
}

void LmodClose(VXString& s, std::u32string_view tag) {
  s += S_OPEN_CLOSING_TAG;
  s += tag;
  s += S_GT;
  s += S_NEWLINE;
}

// An expression's rows when it has content, or empty ones when empty
// elements are asked for; nothing otherwise.
VXString LmodExpression(ARpGateway* gateway, const Expr& expr, bool bGenerateUpgradeID, int genOptions) {
  // An expression kept unparsed has no tokens but its text.
  if (expr.Size() == 0 && !expr.IsUnparsed() && !(genOptions & kGenEmptyElements)) return VXString();
  return QORLUtil::GetExpression(gateway, expr,
                                 ToPrettyStringVisitor::GetFormatExpr(expr, gateway, true, true, false, false, false),
                                 bGenerateUpgradeID, genOptions);
}

const VXString& LmodRefTag(std::u32string_view tag) {
  static const VXString table = VXString(TAG_REF) + TAG_LOG_TABLE;
  static const VXString level = VXString(TAG_REF) + TAG_LOG_LEVEL;
  return tag == TAG_LOG_TABLE ? table : level;
}

// ---- element rows ----------------------------------------------------------------

void LmodBusinessModelChildren(QORLGenerator& gen, const RefARpObject& object) {
  const ASubjectArea& bm = static_cast<const ASubjectArea&>(*object);
  gen.GenerateGroupedRefObjects(bm.GetDisplayFolders(), TAG_DISPLAY_FOLDERS);
  // The folders removed from the model are known only to a fine-grained
  // generation, which records none yet: the group is the empty element.
  gen.IsEmptyElementTagNotGenerated(false, TAG_REMOVED_DISPLAY_FOLDERS);
}

void LmodTableChildren(QORLGenerator& gen, const RefARpObject& object) {
  const ALogicalTable& t = static_cast<const ALogicalTable&>(*object);
  gen.GenerateTaggedRefObject(t.GetClassicStarLevelColumn(), TAG_LEVEL_COLUMN);
  gen.GenerateGroupedRefObjects(t.GetColumns(), TAG_COLUMNS);
  gen.GenerateGroupedRefObjects(t.GetSources(), TAG_TABLE_SOURCES);
}

void LmodColumnChildren(QORLGenerator& gen, const RefARpObject& object) {
  const AAttribute& c = static_cast<const AAttribute&>(*object);
  bool uid = gen.IsGeneratingUpgradeIDs();
  int options = gen.GetGenerateOptions();
  gen.Print(QORLUtil::GetLogicalColumnExpressionXMLElements(gen.GetGateway(), c, uid, options));
  gen.GenerateTaggedRefObject(c.GetCustomSortOrder(), TAG_CUSTOM_SORT_ORDER);
  gen.GenerateTaggedRefObject(c.GetDescriptorID(), TAG_DESCRIPTOR_ID);
  gen.Print(QORLUtil::GetLogicalColumnAttributeDefnXMLElements(gen.GetGateway(), c, uid, options));
  gen.GenerateGroupedRefObjects(c.GetLevelAssociations(), TAG_LEVELS);
}

void LmodKeyChildren(QORLGenerator& gen, const RefARpObject& object) {
  gen.GenerateGroupedRefObjects(static_cast<const AKey&>(*object).GetAttributes(), TAG_COLUMNS);
}

void LmodForeignKeyChildren(QORLGenerator& gen, const RefARpObject& object) {
  const ALogicalForeignKey& k = static_cast<const ALogicalForeignKey&>(*object);
  gen.GenerateGroupedRefObjects(k.GetAttributes(), TAG_COLUMNS);
  gen.GenerateTaggedRefObject(k.GetCounterpartKey(), TAG_COUNTER_PART_KEY);
  gen.GenerateTaggedRefObject(k.GetDrivingTable(), TAG_DRIVING_TABLE);
}

// One Role: its open tag, the reference to its entity, the closing tag.
// With empty elements both positions stand, table first, and the one the
// entity does not fill is empty.
void LmodRole(QORLGenerator& gen, const ARole& role) {
  gen.Print(QORLUtil::GetRoleXMLOpenTag(role, gen.GetGenerateOptions()));
  RefAEntity entity = ARoleAccess::GetParticipatingEntity(role);
  bool isLevel = entity && entity->GetTypeID() == kTIDALevel;
  gen.GenerateRefObject(isLevel ? RefARpObject() : RefARpObject(entity), LmodRefTag(TAG_LOG_TABLE).view());
  gen.GenerateRefObject(isLevel ? RefARpObject(entity) : RefARpObject(), LmodRefTag(TAG_LOG_LEVEL).view());
  VXString close;
  LmodClose(close, TAG_ROLE);
  gen.Print(close);
}

void LmodJoinChildren(QORLGenerator& gen, const RefARpObject& object) {
  const ARelationship& j = static_cast<const ARelationship&>(*object);
  std::vector<RefARole> roles = j.GetRoles().Members();
  if (gen.IsEmptyElementTagNotGenerated(!roles.empty(), TAG_ROLES)) {
    VXString s;
    LmodOpen(s, TAG_ROLES);
    gen.Print(s);
    for (const RefARole& r : roles) LmodRole(gen, *r);
    s.clear();
    LmodClose(s, TAG_ROLES);
    gen.Print(s);
  }
  gen.GenerateTaggedRefObject(j.GetDrivingTable(), TAG_DRIVING_TABLE);
}

const ElementWriter kLmodWriters[] = {
    {kTIDASubjectArea,
     [](QORLGenerator&, const RefARpObject& o) {
       return QORLUtil::GetBusinessModelXMLAttributes(static_cast<const ASubjectArea&>(*o));
     },
     &LmodBusinessModelChildren},
    {kTIDALogicalTable,
     [](QORLGenerator&, const RefARpObject& o) {
       return QORLUtil::GetLogicalTableXMLAttributes(static_cast<const ALogicalTable&>(*o));
     },
     &LmodTableChildren},
    {kTIDAAttribute,
     [](QORLGenerator&, const RefARpObject& o) {
       return QORLUtil::GetLogicalColumnXMLAttributes(static_cast<const AAttribute&>(*o));
     },
     &LmodColumnChildren},
    {kTIDAKey,
     [](QORLGenerator&, const RefARpObject& o) { return QORLUtil::GetLogicalKeyXMLAttributes(static_cast<const AKey&>(*o)); },
     &LmodKeyChildren},
    {kTIDALogicalForeignKey,
     [](QORLGenerator&, const RefARpObject& o) {
       return QORLUtil::GetLogicalForeignKeyXMLAttributes(static_cast<const ALogicalForeignKey&>(*o));
     },
     &LmodForeignKeyChildren},
    {kTIDARelationship,
     [](QORLGenerator&, const RefARpObject& o) {
       return QORLUtil::GetLogicalJoinXMLAttributes(static_cast<const ARelationship&>(*o));
     },
     &LmodJoinChildren,
     [](QORLGenerator&, const RefARpObject& o) {
       return QORLUtil::AreLogicalJoinRolesReachable(static_cast<const ARelationship&>(*o));
     }},
};

}  // namespace

std::span<const AttrRow<ASubjectArea>> BusinessModelAttrRows() { return kLmodBusinessModelRows; }
std::span<const AttrRow<ALogicalTable>> LogicalTableAttrRows() { return kLmodTableRows; }
std::span<const AttrRow<AAttribute>> LogicalColumnAttrRows() { return kLmodColumnRows; }
std::span<const AttrRow<AKey>> LogicalKeyAttrRows() { return kLmodKeyRows; }
std::span<const AttrRow<ALogicalForeignKey>> LogicalForeignKeyAttrRows() { return kLmodForeignKeyRows; }
std::span<const AttrRow<ARelationship>> LogicalJoinAttrRows() { return kLmodJoinRows; }

std::span<const ElementWriter> LogicalModelElementWriters() { return kLmodWriters; }

// ---- fragments -------------------------------------------------------------------

VXString QORLUtil::GetBusinessModelXMLAttributes(const ASubjectArea& businessModel) {
  VXString s;
  WriteAttrRows(s, BusinessModelAttrRows(), businessModel);
  return s;
}

VXString QORLUtil::GetLogicalTableXMLAttributes(const ALogicalTable& table) {
  VXString s;
  WriteAttrRows(s, LogicalTableAttrRows(), table);
  return s;
}

VXString QORLUtil::GetLogicalColumnXMLAttributes(const AAttribute& column) {
  VXString s;
  WriteAttrRows(s, LogicalColumnAttrRows(), column);
  return s;
}

VXString QORLUtil::GetLogicalKeyXMLAttributes(const AKey& key) {
  VXString s;
  WriteAttrRows(s, LogicalKeyAttrRows(), key);
  return s;
}

VXString QORLUtil::GetLogicalForeignKeyXMLAttributes(const ALogicalForeignKey& fkey) {
  VXString s;
  WriteAttrRows(s, LogicalForeignKeyAttrRows(), fkey);
  return s;
}

VXString QORLUtil::GetLogicalJoinXMLAttributes(const ARelationship& join) {
  VXString s;
  WriteAttrRows(s, LogicalJoinAttrRows(), join);
  return s;
}

VXString QORLUtil::GetLogicalColumnExpressionXMLElements(ARpGateway* gateway, const AAttribute& column,
                                                         bool bGenerateUpgradeID, int genOptions) {
  return LmodExpression(gateway, column.GetExpr(), bGenerateUpgradeID, genOptions);
}

VXString QORLUtil::GetLogicalColumnAttributeDefnXMLElements(ARpGateway* gateway, const AAttribute& column,
                                                            bool bGenerateUpgradeID, int genOptions) {
  // The wrapper stands always; its content follows the rule of the first expression.
  VXString s;
  LmodOpen(s, TAG_ATTRIBUTE_DEFN);
  s += LmodExpression(gateway, column.GetAttributeDefnExpr(), bGenerateUpgradeID, genOptions);
  LmodClose(s, TAG_ATTRIBUTE_DEFN);
  return s;
}

VXString QORLUtil::GetRoleXMLOpenTag(const ARole& role, int genOptions) {
  VXString s;
  s += S_LT;
  s += TAG_ROLE;
  if (genOptions & kGenDummyUID) {
    RefAEntity entity = ARoleAccess::GetParticipatingEntity(role);
    if (entity) AppendAttr(s, ATTR_DUMMY_UID, MetadataUtil::GenerateQualifiedName(entity));
  }
  AppendAttr(s, ATTR_MULTIPLICITY, ARoleAccess::GetMultiplicity(role).ToString());
  AppendFlagAlways(s, ATTR_IS_AGGREGATE, ARoleAccess::IsAggregate(role));
  s += S_GT;
  s += S_NEWLINE;
  return s;
}

bool QORLUtil::AreLogicalJoinRolesReachable(const ARelationship& join) {
  for (BinaryRelIter<ARole> it = join.GetRoles(); !it.AtEnd(); ++it) {
    RefARole role = it.GetObjRef();
    if (role.IsNullRef()) return false;
    // The store drops a deleted role from its join, but not the entity it
    // names: a role whose entity is gone counts as gone too.
    const RoleProps* props = join.FindRoleProps(role.GetID());
    if (props && !props->entity.IsNullID() && !ARoleAccess::GetParticipatingEntity(*role)) return false;
  }
  return true;
}

}  // namespace qorl
