// Store side of business models, logical tables, columns, keys, foreign keys
// and joins: property tables, references, and the properties of join roles.
#include "store/gateway.h"
#include "store/object_refs.h"
#include "store/props.h"

namespace qorl {

// ---- multiplicity ---------------------------------------------------------------

// The text of a multiplicity: "lower..upper" or one bound, "*" for unbounded.
namespace multiplicity_text {

constexpr char32_t kUnboundedMark = U'*';
constexpr std::u32string_view kRangeMark = U"..";

// One bound: decimal digits, or "*" for unbounded.
bool ReadBound(std::u32string_view text, int32_t& out) {
  if (text.size() == 1 && text[0] == kUnboundedMark) {
    out = Multiplicity::kUnbounded;
    return true;
  }
  if (text.empty() || text.size() > 9) return false;  // nine digits stay within 32 bits
  int32_t v = 0;
  for (char32_t c : text) {
    if (c < U'0' || c > U'9') return false;
    v = v * 10 + static_cast<int32_t>(c - U'0');
  }
  out = v;
  return true;
}

VXString BoundText(int32_t v) {
  return v == Multiplicity::kUnbounded ? VXString(std::u32string_view(&kUnboundedMark, 1)) : VXString::FromInt(v);
}

bool BoundsFit(int32_t lower, int32_t upper) {
  if (lower < Multiplicity::kUnbounded || upper < Multiplicity::kUnbounded) return false;
  if (upper == Multiplicity::kUnbounded) return true;
  return lower != Multiplicity::kUnbounded && lower <= upper;
}

}  // namespace multiplicity_text

Multiplicity::Multiplicity(int32_t lower, int32_t upper) {
  if (!multiplicity_text::BoundsFit(lower, upper)) return;
  m_bSet = true;
  m_lower = lower;
  m_upper = upper;
}

Multiplicity::Multiplicity(const VXString& text) {
  std::u32string_view t = text.view();
  size_t at = t.find(multiplicity_text::kRangeMark);
  int32_t lower, upper;
  if (at == std::u32string_view::npos) {
    if (!multiplicity_text::ReadBound(t, lower)) return;
    upper = lower;
  } else if (!multiplicity_text::ReadBound(t.substr(0, at), lower) ||
             !multiplicity_text::ReadBound(t.substr(at + multiplicity_text::kRangeMark.size()), upper)) {
    return;
  }
  *this = Multiplicity(lower, upper);
}

VXString Multiplicity::ToString() const {
  if (!m_bSet) return VXString();
  VXString s = multiplicity_text::BoundText(m_lower);
  if (m_upper != m_lower) {
    s += multiplicity_text::kRangeMark;
    s += multiplicity_text::BoundText(m_upper);
  }
  return s;
}

// A multiplicity is stored as its text.
template <>
struct PropCodec<Multiplicity> {
  static constexpr PropKind kind = PropKind::Custom;
  static void Save(BlobWriter& w, const Multiplicity& v) { w.PutString(v.ToString()); }
  static void Load(BlobReader& r, Multiplicity& v) { v = Multiplicity(r.GetString()); }
};

template <>
struct PropCodec<RoleProps> {
  static constexpr PropKind kind = PropKind::Custom;
  static void Save(BlobWriter& w, const RoleProps& v) {
    PropCodec<Multiplicity>::Save(w, v.multiplicity);
    w.PutByte(v.bAggregate ? 1 : 0);
    PropCodec<VoidID>::Save(w, v.entity);
  }
  static void Load(BlobReader& r, RoleProps& v) {
    PropCodec<Multiplicity>::Load(r, v.multiplicity);
    v.bAggregate = r.GetByte() != 0;
    PropCodec<VoidID>::Load(r, v.entity);
  }
};

// ---- business model -------------------------------------------------------------

std::span<const PropDesc> ASubjectArea::OwnProperties() {
  static const PropDesc props[] = {
      QORL_PROP(ASubjectArea, m_bClassicStar, 1, "classicStar"),
      QORL_PROP(ASubjectArea, m_bAvailable, 2, "available"),
  };
  return props;
}

// ---- logical table --------------------------------------------------------------

std::span<const PropDesc> ALogicalTable::OwnProperties() {
  static const PropDesc props[] = {
      QORL_PROP(ALogicalTable, m_bLookupTable, 1, "lookupTable"),
      QORL_PROP(ALogicalTable, m_diagramX, 2, "diagramX"),
      QORL_PROP(ALogicalTable, m_diagramY, 3, "diagramY"),
      QORL_PROP(ALogicalTable, m_levelColumn, 4, "levelColumn"),
      QORL_PROP(ALogicalTable, m_primaryKey, 5, "primaryKey"),
  };
  return props;
}

RefASubjectArea ALogicalTable::GetSubjectArea() const { return RefASubjectArea(GetParent()); }

void ALogicalTable::SetSubjectArea(const RefARpObject& businessModel) { SetParentOf(*this, businessModel); }

RefAAttribute ALogicalTable::GetClassicStarLevelColumn() const {
  return RefOf<AAttribute>(GetGateway(), m_levelColumn);
}

RefAKey ALogicalTable::GetPrimaryKey() const { return RefOf<AKey>(GetGateway(), m_primaryKey); }

Ref<ALogicalSourceFolder> ALogicalTable::GetSourceFolder() const {
  ARpGateway* rp = GetGateway();
  if (!rp) return {};
  VoidIDVector children;
  rp->GetChildren(GetID(), children);
  for (const VoidID& c : children)
    if (c.GetTypeID() == kTIDALogicalSourceFolder) return RefOf<ALogicalSourceFolder>(rp, c);
  return {};
}

void ALogicalTable::SetSourceFolder(const RefARpObject& folder) {
  if (ARpObject* f = folder.GetRawObjPtr(); f && GetGateway()) GetGateway()->SetParent(f, GetID());
}

// ---- column ---------------------------------------------------------------------

std::span<const PropDesc> AAttribute::OwnProperties() {
  static const PropDesc props[] = {
      QORL_PROP(AAttribute, m_bDerived, 1, "derived"),
      QORL_PROP(AAttribute, m_bWriteable, 2, "writeable"),
      QORL_PROP(AAttribute, m_expr, 3, "expr"),
      QORL_PROP(AAttribute, m_attrDefnExpr, 4, "attrDefnExpr"),
      QORL_PROP(AAttribute, m_customSortOrder, 5, "customSortOrder"),
      QORL_PROP(AAttribute, m_descriptorID, 6, "descriptorID"),
  };
  return props;
}

RefALogicalTable AAttribute::GetLogicalTable() const { return RefALogicalTable(GetParent()); }

void AAttribute::SetLogicalTable(const RefARpObject& table) { SetParentInList(*this, table, kRelLogicalTableColumns, kTIDALogicalTable); }

RefAAttribute AAttribute::GetCustomSortOrder() const { return RefOf<AAttribute>(GetGateway(), m_customSortOrder); }
RefAAttribute AAttribute::GetDescriptorID() const { return RefOf<AAttribute>(GetGateway(), m_descriptorID); }

// ---- key ------------------------------------------------------------------------

std::span<const PropDesc> AKey::OwnProperties() {
  static const PropDesc props[] = {
      QORL_PROP(AKey, m_bChronKey, 1, "chronKey"),
      QORL_PROP(AKey, m_bDrillDown, 2, "drillDown"),
  };
  return props;
}

RefAEntity AKey::GetContainerEntity() const { return RefAEntity(GetParent()); }

void AKey::SetContainerEntity(const RefARpObject& entity) { SetParentInList(*this, entity, kRelLogicalTableKeys, kTIDALogicalTable); }

bool AKey::IsPrimaryKey() const {
  RefALogicalTable table(GetParent());
  return table && table->GetPrimaryKey().GetID() == GetID();
}

// ---- foreign key ------------------------------------------------------------------

std::span<const PropDesc> ALogicalForeignKey::OwnProperties() {
  static const PropDesc props[] = {
      QORL_PROP(ALogicalForeignKey, m_joinType, 1, "joinType"),
      QORL_PROP(ALogicalForeignKey, m_counterpartKey, 2, "counterpartKey"),
      QORL_PROP(ALogicalForeignKey, m_drivingTable, 3, "drivingTable"),
  };
  return props;
}

RefALogicalTable ALogicalForeignKey::GetContainerEntity() const { return RefALogicalTable(GetParent()); }

void ALogicalForeignKey::SetContainerEntity(const RefARpObject& table) {
  SetParentInList(*this, table, kRelLogicalTableForeignKeys, kTIDALogicalTable);
}

RefAKey ALogicalForeignKey::GetCounterpartKey() const { return RefOf<AKey>(GetGateway(), m_counterpartKey); }
RefALogicalTable ALogicalForeignKey::GetDrivingTable() const {
  return RefOf<ALogicalTable>(GetGateway(), m_drivingTable);
}

// ---- join and roles ---------------------------------------------------------------

std::span<const PropDesc> ARelationship::OwnProperties() {
  static const PropDesc props[] = {
      QORL_PROP(ARelationship, m_joinType, 1, "joinType"),
      QORL_PROP(ARelationship, m_drivingTable, 2, "drivingTable"),
      QORL_PROP(ARelationship, m_roleProps, 3, "roleProps"),
  };
  return props;
}

RefALogicalTable ARelationship::GetDrivingTable() const { return RefOf<ALogicalTable>(GetGateway(), m_drivingTable); }

const RoleProps* ARelationship::FindRoleProps(const VoidID& role) const {
  auto it = m_roleProps.find(role);
  return it == m_roleProps.end() ? nullptr : &it->second;
}

void ARelationship::SetRoleProps(const VoidID& role, const RoleProps& props) {
  m_roleProps[role] = props;
  MarkDirty();
}

void ARelationship::EraseRoleProps(const VoidID& role) {
  if (m_roleProps.erase(role)) MarkDirty();
}

// A role keeps no data of its own: its join holds it, by the role's id.
namespace role_props {

ARelationship* JoinOf(const ARole& role) {
  ARpGateway* rp = role.GetGateway();
  if (!rp || role.GetParentID().IsNullID()) return nullptr;
  return dynamic_cast<ARelationship*>(rp->Lookup(role.GetParentID()));
}

RoleProps PropsOf(const ARole& role) {
  ARelationship* join = JoinOf(role);
  const RoleProps* p = join ? join->FindRoleProps(role.GetID()) : nullptr;
  return p ? *p : RoleProps();
}

template <class F>
bool ChangeProps(ARole& role, F&& change) {
  ARelationship* join = JoinOf(role);
  if (!join) return false;
  RoleProps p = PropsOf(role);
  change(p);
  join->SetRoleProps(role.GetID(), p);
  return true;
}

}  // namespace role_props

Multiplicity ARoleAccess::GetMultiplicity(const ARole& role) { return role_props::PropsOf(role).multiplicity; }

bool ARoleAccess::SetMultiplicity(ARole& role, const Multiplicity& m) {
  return role_props::ChangeProps(role, [&](RoleProps& p) { p.multiplicity = m; });
}

bool ARoleAccess::IsAggregate(const ARole& role) { return role_props::PropsOf(role).bAggregate; }

bool ARoleAccess::SetAggregate(ARole& role, bool b) {
  return role_props::ChangeProps(role, [&](RoleProps& p) { p.bAggregate = b; });
}

RefAEntity ARoleAccess::GetParticipatingEntity(const ARole& role) {
  return RefOf<AEntity>(role.GetGateway(), role_props::PropsOf(role).entity);
}

bool ARoleAccess::SetParticipatingEntity(ARole& role, const RefARpObject& entity) {
  return role_props::ChangeProps(role, [&](RoleProps& p) { p.entity = IdOf(entity); });
}

}  // namespace qorl
