// Writers of the physical tables elements.
#include "gen/physical_tables.h"

#include <limits>

#include "model/attr_text.h"
#include "gen/elements.h"
#include "gen/fragments.h"
#include "gen/generator.h"
#include "model/attrgroups.h"
#include "model/codecs.h"
#include "model/vocabulary.h"
#include "platform/guid.h"
#include "platform/strutil.h"
#include "store/expr_store.h"
#include "store/metadata_util.h"

namespace qorl {

namespace {

// The value of one attribute inside a fragment of the shared attribute
// writers (row count, date, type information), so that those writers stay
// the one place their rules live. Their values hold nothing to escape.
VXString PtabValueIn(const VXString& fragment, std::u32string_view name) {
  VXString key = VXString(S_SPACE) + name + S_EQUAL + U'"';
  size_t at = fragment.find(key);
  if (at == VXString::npos) return VXString();
  size_t from = at + key.size();
  size_t to = fragment.find(VXString(U"\""), from);
  return to == VXString::npos ? VXString() : fragment.substr(from, to - from);
}

uint32_t PtabUIntFrom(const VXString* text, uint32_t def) {
  unsigned long long v;
  if (!text || !BaseStringUtil::StringToUInt(*text, v) || v > std::numeric_limits<uint32_t>::max()) return def;
  return static_cast<uint32_t>(v);
}

template <class Obj, VXString (Obj::*Get)() const, void (Obj::*Set)(const VXString&)>
constexpr AttrRow<Obj> PtabText(std::u32string_view name) {
  return {name, AttrWrite::kIfSet, [](const Obj& o) { return (o.*Get)(); },
          [](Obj& o, const VXString* t, const NameValuePairs&) { (o.*Set)(TextFrom(t)); }};
}

// A flag written only when it differs from its default.
template <class Obj, bool (Obj::*Get)() const, void (Obj::*Set)(bool), bool Def>
constexpr AttrRow<Obj> PtabFlag(std::u32string_view name) {
  return {name, Def ? AttrWrite::kIfFalse : AttrWrite::kIfTrue, [](const Obj& o) { return FlagText((o.*Get)()); },
          [](Obj& o, const VXString* t, const NameValuePairs&) { (o.*Set)(FlagFrom(t, Def)); }};
}

// An unsigned number written when not 0, read as 0 when absent.
template <class Obj, uint32_t (Obj::*Get)() const, void (Obj::*Set)(uint32_t)>
constexpr AttrRow<Obj> PtabCount(std::u32string_view name) {
  return {name, AttrWrite::kIfSet, [](const Obj& o) { return IntText((o.*Get)(), true); },
          [](Obj& o, const VXString* t, const NameValuePairs&) { (o.*Set)(PtabUIntFrom(t, 0)); }};
}

// An absent "rowCount" reads as an unknown count, the store's own default, so
// that an object without a count is read back as it was written (a count of
// 0 is written, an unknown one is not).
constexpr double kPtabUnknownCount = -1;

bool PtabIsPlainTable(const ATable& t) { return t.GetTypeID() == kTIDATable; }

const AttrRow<ATable> kPtabTableSharedRows[] = {
    {ATTR_TYPE, AttrWrite::kIfSet,
     [](const ATable& t) {
       return t.GetTypeID() == kTIDAAWCube ? VXString() : QORLUtility::GetStringFromTableType(t.GetTableType());
     },
     [](ATable& t, const VXString* v, const NameValuePairs&) {
       t.SetTableType(QORLUtility::GetTableTypeFromString(TextFrom(v)));
     }},
    {ATTR_EXT_NAME, AttrWrite::kIfSet,
     [](const ATable& t) { return PtabIsPlainTable(t) ? VXString() : t.GetExternalName(); },
     [](ATable& t, const VXString* v, const NameValuePairs&) {
       if (!PtabIsPlainTable(t)) t.SetExternalName(TextFrom(v));
     }},
    PtabFlag<ATable, &ATable::IsCacheable, &ATable::SetCacheable, true>(ATTR_IS_CACHEABLE),
    PtabFlag<ATable, &ATable::IsCacheEventTable, &ATable::SetCacheEventTable, false>(ATTR_IS_CACHE_EVENT_TABLE),
    PtabCount<ATable, &ATable::GetCacheExpiry, &ATable::SetCacheExpiry>(ATTR_CACHE_EXPIRY),
    {ATTR_POLL_FREQ, AttrWrite::kIfSet,
     [](const ATable& t) {
       return t.GetPollFrequency() == ATable::kDefaultPollFrequency ? VXString()
                                                                    : VXString::FromUInt(t.GetPollFrequency());
     },
     [](ATable& t, const VXString* v, const NameValuePairs&) {
       t.SetPollFrequency(PtabUIntFrom(v, ATable::kDefaultPollFrequency));
     }},
    // x and y go together: both when either is not 0.
    {ATTR_X, AttrWrite::kIfSet,
     [](const ATable& t) {
       int32_t x, y;
       t.GetDiagramPosition(x, y);
       return x == 0 && y == 0 ? VXString() : VXString::FromInt(x);
     },
     [](ATable& t, const VXString* v, const NameValuePairs& all) {
       t.SetDiagramPosition(static_cast<int32_t>(IntFrom(v, 0)), static_cast<int32_t>(IntFrom(all.Find(ATTR_Y), 0)));
     }},
    {ATTR_Y, AttrWrite::kIfSet,
     [](const ATable& t) {
       int32_t x, y;
       t.GetDiagramPosition(x, y);
       return x == 0 && y == 0 ? VXString() : VXString::FromInt(y);
     },
     nullptr},
    {ATTR_ROW_COUNT, AttrWrite::kIfSet,
     [](const ATable& t) { return PtabValueIn(QORLUtil::GetRowCount(t.GetRowCount()), ATTR_ROW_COUNT); },
     [](ATable& t, const VXString* v, const NameValuePairs&) { t.SetRowCount(DoubleFrom(v, kPtabUnknownCount)); }},
    {ATTR_LAST_UPDATED, AttrWrite::kIfSet,
     [](const ATable& t) { return PtabValueIn(QORLUtil::GetLastUpdatedTime(t.GetLastUpdated()), ATTR_LAST_UPDATED); },
     nullptr},
    PtabText<ATable, &ATable::GetExtGatewayScriptPath, &ATable::SetExtGatewayScriptPath>(ATTR_SCRIPT_PATH),
    PtabFlag<ATable, &ATable::IsSystemGenerated, &ATable::SetSystemGenerated, false>(ATTR_IS_SYS_GEN),
    PtabFlag<ATable, &ATable::IsOverrideCacheProperties, &ATable::SetOverrideCacheProperties, false>(
        ATTR_IS_OVERRIDE_CACHE_PROP),
    PtabFlag<ATable, &ATable::IsDDLAggr, &ATable::SetDDLAggr, false>(ATTR_IS_DDL_AGGR),
    PtabText<ATable, &ATable::GetHints, &ATable::SetHints>(ATTR_HINTS),
};

const AttrRow<ATable> kPtabTableOwnRows[] = {
    PtabFlag<ATable, &ATable::IsDeployedView, &ATable::SetDeployedView, false>(ATTR_IS_DEPLOYED_VIEW),
    PtabText<ATable, &ATable::GetResourceIdentifier, &ATable::SetResourceIdentifier>(ATTR_URI),
    PtabText<ATable, &ATable::GetXSLPath, &ATable::SetXSLPath>(ATTR_XSL_PATH),
    {ATTR_MAX_CONN, AttrWrite::kAlways,
     [](const ATable& t) { return VXString::FromUInt(t.GetMaxConnToSameURLForDifferentUsers()); },
     [](ATable& t, const VXString* v, const NameValuePairs&) {
       t.SetMaxConnToSameURLForDifferentUsers(PtabUIntFrom(v, 10));
     }},
    PtabCount<ATable, &ATable::GetXMLRefreshInterval, &ATable::SetXMLRefreshInterval>(ATTR_XML_REFRESH_INTERVAL),
    PtabFlag<ATable, &ATable::GetExtGatewayInProcessIndicator, &ATable::SetExtGatewayInProcessIndicator, false>(
        ATTR_EXT_GW_IN_PROCESS),
    PtabText<ATable, &ATable::GetExtGatewayDelimiter, &ATable::SetExtGatewayDelimiter>(ATTR_GW_DELIM_TABLE),
};

// The four type attributes come from one writer; the first row reads all four.
VXString PtabTypeInfoValue(const AColumn& c, std::u32string_view name) {
  return PtabValueIn(QORLUtil::GetTypeInfo(c.GetTypeInfo()), name);
}

const AttrRow<AColumn> kPtabColumnRows[] = {
    {ATTR_DATA_TYPE, AttrWrite::kIfSet, [](const AColumn& c) { return PtabTypeInfoValue(c, ATTR_DATA_TYPE); },
     [](AColumn& c, const VXString*, const NameValuePairs& all) {
       VXTypeInfo info;
       QORLUtil::ReadTypeInfo([&all](std::u32string_view n) { return all.Find(n); }, info);
       c.SetTypeInfo(info);
     }},
    {ATTR_SCALE, AttrWrite::kIfSet, [](const AColumn& c) { return PtabTypeInfoValue(c, ATTR_SCALE); }, nullptr},
    {ATTR_PRECISION, AttrWrite::kIfSet, [](const AColumn& c) { return PtabTypeInfoValue(c, ATTR_PRECISION); }, nullptr},
    {ATTR_NULLABLE, AttrWrite::kIfSet, [](const AColumn& c) { return PtabTypeInfoValue(c, ATTR_NULLABLE); }, nullptr},
    PtabText<AColumn, &AColumn::GetExternalName, &AColumn::SetExternalName>(ATTR_EXT_NAME),
    {ATTR_ROW_COUNT, AttrWrite::kIfSet,
     [](const AColumn& c) { return PtabValueIn(QORLUtil::GetRowCount(c.GetCount()), ATTR_ROW_COUNT); },
     [](AColumn& c, const VXString* v, const NameValuePairs&) { c.SetCount(DoubleFrom(v, kPtabUnknownCount)); }},
    {ATTR_LAST_UPDATED, AttrWrite::kIfSet,
     [](const AColumn& c) { return PtabValueIn(QORLUtil::GetLastUpdatedTime(c.GetLastUpdated()), ATTR_LAST_UPDATED); },
     nullptr},
    {ATTR_VALUE_TYPE, AttrWrite::kIfSet,
     [](const AColumn& c) { return QORLUtility::GetStringFromCardinality(c.GetValueType()); },
     [](AColumn& c, const VXString* v, const NameValuePairs&) {
       c.SetValueType(QORLUtility::GetCardinalityFromString(TextFrom(v)));
     }},
    PtabText<AColumn, &AColumn::GetMappedColumn, &AColumn::SetMappedColumn>(ATTR_MAPPED_COLUMN),
    PtabText<AColumn, &AColumn::GetMVLinkName, &AColumn::SetMVLinkName>(ATTR_MVLINK_NAME),
    {ATTR_SPECIAL_TYPE, AttrWrite::kAlways,
     [](const AColumn& c) { return QORLUtility::GetSpecialTypeString(c.GetSpecialType()); },
     [](AColumn& c, const VXString* v, const NameValuePairs&) {
       c.SetSpecialType(QORLUtility::GetSpecialTypeFromString(TextFrom(v)));
     }},
};

const AttrRow<AForeignKey> kPtabForeignKeyRows[] = {
    PtabText<AForeignKey, &AForeignKey::GetHints, &AForeignKey::SetHints>(ATTR_HINTS),
};

const AttrRow<AComplexJoin> kPtabJoinRows[] = {
    PtabText<AComplexJoin, &AComplexJoin::GetHints, &AComplexJoin::SetHints>(ATTR_HINTS),
    {ATTR_CARDINALITY, AttrWrite::kIfSet,
     [](const AComplexJoin& j) { return QORLUtility::GetStringFromCardinality(j.GetJoinCardinality()); },
     [](AComplexJoin& j, const VXString* v, const NameValuePairs&) {
       j.SetJoinCardinality(QORLUtility::GetCardinalityFromString(TextFrom(v)));
     }},
    PtabText<AComplexJoin, &AComplexJoin::GetExternalName, &AComplexJoin::SetExternalName>(ATTR_EXT_NAME),
};

void PtabOpen(VXString& s, std::u32string_view tag) {
  s += S_LT;
  s += tag;
  s += S_GT;
  s += S_NEWLINE;
}

void PtabClose(VXString& s, std::u32string_view tag) {
  s += S_OPEN_CLOSING_TAG;
  s += tag;
  s += S_GT;
  s += S_NEWLINE;
}

VXString PtabPropertyElements(const PhysicalPropertyMap& map, int genOptions) {
  VXString s;
  if (!QORLUtil::IsEmptyElementFragmentNotGenerated(!map.empty(), true, s, genOptions, TAG_PROPERTIES)) return s;
  PtabOpen(s, TAG_PROPERTIES);
  for (const auto& [name, value] : map) {
    s += S_LT;
    s += TAG_PROPERTY;
    AppendAttrAlways(s, ATTR_NAME, name);
    AppendAttrAlways(s, ATTR_VALUE, value);
    s += S_CLOSE_OPEN_TAG;
  }
  PtabClose(s, TAG_PROPERTIES);
  return s;
}

// ---- element rows ----------------------------------------------------------------

const VXString& PtabRefVariableTag() {
  static const VXString tag = VXString(TAG_REF) + TAG_RP_VARIABLE;
  return tag;
}

void PtabTableChildren(QORLGenerator& gen, const RefARpObject& object) {
  ATable& t = static_cast<ATable&>(*object);
  int options = gen.GetGenerateOptions();
  gen.GenerateTaggedRefObject(t.GetSourceTable(), TAG_SOURCE_TABLE);
  gen.Print(QORLUtil::GetDbSpecificStrings(t.GetExternalDbSpecificNames(), options, false));
  gen.GenerateTaggedRefObject(t.GetSourceConnectionPool(), TAG_AGGR_CONN_POOL);
  gen.GenerateRefObject(t.GetVariable(), PtabRefVariableTag().view());
  gen.GenerateTaggedRefObject(t.GetMemberKeyColumn(), TAG_MEMBER_KEY);
  gen.GenerateTaggedRefObject(t.GetParentKeyColumn(), TAG_PARENT_KEY);
  gen.GenerateTaggedRefObject(t.GetDistanceColumn(), TAG_DISTANCE_COLUMN);
  gen.GenerateTaggedRefObject(t.GetIsLeafColumn(), TAG_LEAF_COLUMN);
  gen.Print(QORLUtil::GetCDATA(t.GetWSXSLT(), TAG_XSLT, false, false, 0));
  gen.Print(QORLUtil::GetCDATA(t.GetWSxsdSchema(), TAG_XSD_SCHEMA, false, false, 0));
  gen.Print(QORLUtil::GetPhysicalTablePropertyXMLElements(t, options));
  gen.Print(
      QORLUtil::GetPhysicalTableReplicationXMLElements(gen.GetGateway(), t, gen.IsGeneratingUpgradeIDs(), options));
}

void PtabColumnChildren(QORLGenerator& gen, const RefARpObject& object) {
  const AColumn& c = static_cast<const AColumn&>(*object);
  gen.GenerateTaggedRefObject(c.GetVariable(), TAG_DYNAMIC_NAME);
  gen.GenerateTaggedRefObject(c.GetSourceColumn(), TAG_SOURCE_COLUMN);
  gen.GenerateGroupedRefObjects(c.GetPicklistColumns(), TAG_PICKLIST_COLUMNS);
  gen.Print(QORLUtil::GetPhysicalColumnPropertyXMLElements(c, gen.GetGenerateOptions()));
}

void PtabKeyChildren(QORLGenerator& gen, const RefARpObject& object) {
  gen.GenerateGroupedRefObjects(static_cast<const ATableKey&>(*object).GetColumns(), TAG_COLUMNS);
}

void PtabForeignKeyChildren(QORLGenerator& gen, const RefARpObject& object) {
  const AForeignKey& k = static_cast<const AForeignKey&>(*object);
  gen.GenerateGroupedRefObjects(k.GetComponents(), TAG_COLUMNS);
  gen.GenerateTaggedRefObject(k.GetTableKey(), TAG_COUNTER_PART_KEY);
}

void PtabJoinChildren(QORLGenerator& gen, const RefARpObject& object) {
  const AComplexJoin& j = static_cast<const AComplexJoin&>(*object);
  gen.GenerateGroupedRefObjects(j.GetTables(), TAG_TABLES);
  gen.Print(QORLUtil::GetComplexJoinExpressionXMLElements(gen.GetGateway(), j, gen.IsGeneratingUpgradeIDs(),
                                                          gen.GetGenerateOptions()));
}

const ElementWriter kPtabWriters[] = {
    {kTIDATable,
     [](QORLGenerator&, const RefARpObject& o) {
       return QORLUtil::GetPhysicalTableXMLAttributes(static_cast<const ATable&>(*o));
     },
     &PtabTableChildren},
    {kTIDAColumn,
     [](QORLGenerator&, const RefARpObject& o) {
       return QORLUtil::GetPhysicalColumnXMLAttributes(static_cast<const AColumn&>(*o));
     },
     &PtabColumnChildren},
    {kTIDATableKey, nullptr, &PtabKeyChildren},
    {kTIDAForeignKey,
     [](QORLGenerator&, const RefARpObject& o) {
       return QORLUtil::GetPhysicalForeignKeyXMLAttributes(static_cast<const AForeignKey&>(*o));
     },
     &PtabForeignKeyChildren},
    {kTIDAComplexJoin,
     [](QORLGenerator&, const RefARpObject& o) {
       return QORLUtil::GetComplexJoinXMLAttributes(static_cast<const AComplexJoin&>(*o));
     },
     &PtabJoinChildren},
};

}  // namespace

std::span<const AttrRow<ATable>> PhysicalTableSharedAttrRows() { return kPtabTableSharedRows; }
std::span<const AttrRow<ATable>> PhysicalTableOwnAttrRows() { return kPtabTableOwnRows; }
std::span<const AttrRow<AColumn>> PhysicalColumnAttrRows() { return kPtabColumnRows; }
std::span<const AttrRow<AForeignKey>> PhysicalForeignKeyAttrRows() { return kPtabForeignKeyRows; }
std::span<const AttrRow<AComplexJoin>> ComplexJoinAttrRows() { return kPtabJoinRows; }

std::span<const ElementWriter> PhysicalTableElementWriters() { return kPtabWriters; }

// ---- fragments -------------------------------------------------------------------

VXString QORLUtil::GetPhysicalTableXMLAttributes(const ATable& table) {
  VXString s;
  WriteAttrRows(s, PhysicalTableSharedAttrRows(), table);
  // Cube tables and analytic workspace cubes stop here.
  if (PtabIsPlainTable(table)) WriteAttrRows(s, PhysicalTableOwnAttrRows(), table);
  return s;
}

VXString QORLUtil::GetPhysicalColumnXMLAttributes(const AColumn& column) {
  VXString s;
  WriteAttrRows(s, PhysicalColumnAttrRows(), column);
  return s;
}

VXString QORLUtil::GetPhysicalForeignKeyXMLAttributes(const AForeignKey& fkey) {
  VXString s;
  WriteAttrRows(s, PhysicalForeignKeyAttrRows(), fkey);
  return s;
}

VXString QORLUtil::GetComplexJoinXMLAttributes(const AComplexJoin& join) {
  VXString s;
  WriteAttrRows(s, ComplexJoinAttrRows(), join);
  return s;
}

VXString QORLUtil::GetDbSpecificStrings(const std::map<int, VXString>& table, int genOptions, bool bIsTDFQORL) {
  VXString s;
  if (!IsEmptyElementFragmentNotGenerated(!table.empty(), !bIsTDFQORL, s, genOptions, TAG_DB_MAP)) return s;
  std::u32string_view item = bIsTDFQORL ? TAG_DB_MAP_ITEM : TAG_ITEM;
  if (!bIsTDFQORL) PtabOpen(s, TAG_DB_MAP);
  for (const auto& [type, text] : table) {
    s += S_LT;
    s += item;
    AppendAttrAlways(s, ATTR_NAME, QORLUtility::GetStringFromDBType(type));
    s += S_GT;
    s += S_NEWLINE;
    s += GetCDATA(text, TAG_VALUE, false, false, 0);
    PtabClose(s, item);
  }
  if (!bIsTDFQORL) PtabClose(s, TAG_DB_MAP);
  return s;
}

VXString QORLUtil::GetPhysicalTablePropertyXMLElements(const ATable& table, int genOptions) {
  return PtabPropertyElements(table.GetPropertyMap(), genOptions);
}

VXString QORLUtil::GetPhysicalColumnPropertyXMLElements(const AColumn& column, int genOptions) {
  return PtabPropertyElements(column.GetPropertyMap(), genOptions);
}

VXString QORLUtil::GetPhysicalTableReplicationXMLElements(ARpGateway* gateway, ATable& table, bool bGenerateUpgradeID,
                                                          int genOptions) {
  table.CleanReplicationMap();
  const ReplicationMap& map = table.GetReplicationMap();
  VXString s;
  if (!IsEmptyElementFragmentNotGenerated(!map.empty(), true, s, genOptions, TAG_REPLICATION)) return s;
  PtabOpen(s, TAG_REPLICATION);
  for (const auto& [key, text] : map) {
    VoidIDVector ids;
    key.CollectIDs(ids, false);
    RefARpObject db = gateway->GetObject(ids.front());  // one live database, after the cleaning
    s += S_LT;
    s += TAG_REPLICATION_ENTRY;
    if (genOptions & kGenDummyUID)
      AppendAttr(s, ATTR_DUMMY_UID, TKSGUIDGenerator::ByteVectorToGUIDString(db->UpgradeID()));
    s += S_GT;
    s += S_NEWLINE;
    // Built here rather than by the reference writer: the qualified name stands first.
    s += S_LT;
    s += TAG_REF;
    s += TAG_DATABASE;
    AppendAttr(s, ATTR_QNAME, MetadataUtil::GenerateQualifiedName(db));
    AppendAttr(s, ATTR_ID, db.GetID().ToString());
    if (bGenerateUpgradeID) AppendAttr(s, ATTR_UID, TKSGUIDGenerator::ByteVectorToGUIDString(db->UpgradeID()));
    s += S_CLOSE_OPEN_TAG;
    s += GetCDATA(text, TAG_TABLE, false, false, 0);
    PtabClose(s, TAG_REPLICATION_ENTRY);
  }
  PtabClose(s, TAG_REPLICATION);
  return s;
}

VXString QORLUtil::GetComplexJoinExpressionXMLElements(ARpGateway* gateway, const AComplexJoin& join,
                                                       bool bGenerateUpgradeID, int genOptions) {
  const Expr& expr = join.GetJoinExpr();
  VXString s =
      GetExpression(gateway, expr, ToPrettyStringVisitor::GetFormatExpr(expr, gateway, true, true, false, false, false),
                    bGenerateUpgradeID, genOptions);
  const Expr& ext = join.GetExternalJoinExpr();
  if (!ext.IsEmpty()) {
    s += GetTaggedExpression(gateway, ext,
                             ToPrettyStringVisitor::GetFormatExpr(ext, gateway, true, true, false, false, false),
                             TAG_EXTERNAL_EXPR, bGenerateUpgradeID, genOptions);
  } else if (genOptions & kGenEmptyElements) {
    s += GetCDATA(VXString(), TAG_EXTERNAL_EXPR, false, false, 0);
  }
  return s;
}

bool QORLUtil::AreComplexJoinTablesReachable(const AComplexJoin& join) {
  for (BinaryRelIter<ATable> it = join.GetTables(); !it.AtEnd(); ++it)
    if (it.GetArgObjRef(1).IsNullRef()) return false;
  return true;
}

}  // namespace qorl
