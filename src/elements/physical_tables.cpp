// Physical tables, columns, keys, foreign keys and complex joins.
#include "elements/attr_hooks.h"
#include "elements/child_codecs.h"
#include "elements/families.h"
#include "elements/fragments.h"
#include "elements/rows.h"
#include "model/enum_codecs.h"
#include "model/attr_text.h"
#include "model/vocabulary.h"
#include "platform/guid.h"
#include "store/classes.h"
#include "store/metadata_util.h"

namespace qorl::elements {

using namespace rows;

namespace physical_tables {


// ---- the table's replication: database to the name of the table there ----

class ReplicationReader : public ChildReader {
 public:
  bool Start(const VXString& tag, const NameValuePairs& attrs, ReadContext& ctx) override {
    if (tag == TAG_TABLE) {
      m_tables.emplace_back();
      m_inTable = true;
      return true;
    }
    if (tag == VXString(TAG_REF) + TAG_DATABASE) {
      m_databases.push_back(ctx.Reference(kTIDADatabase, attrs));
      return true;
    }
    return tag == TAG_REPLICATION || tag == TAG_REPLICATION_ENTRY;
  }
  void Characters(std::u32string_view text) override {
    if (m_inTable) m_tables.back().append(text);
  }
  void End(const VXString& tag, ReadContext&) override {
    if (tag == TAG_TABLE) m_inTable = false;
  }
  void Resolve(ReadContext& ctx) override {
    for (QORLObjectStub*& s : m_databases) ctx.Resolve(s);
  }
  // The n-th database goes with the n-th table name; one that is not there adds nothing.
  void Execute(ARpObject& obj, void* field, ReadContext& ctx) override {
    ReplicationMap map;
    for (size_t i = 0; i < m_databases.size(); ++i) {
      RefARpObject db = ctx.ObjectOf(m_databases[i]);
      if (db.IsNullRef()) continue;
      Expr key;
      key.AppendObject(db.GetID());
      map.emplace(std::move(key), i < m_tables.size() ? m_tables[i] : VXString());
    }
    *static_cast<ReplicationMap*>(field) = std::move(map);
    MarkObjectDirty(obj);
  }

 private:
  std::vector<QORLObjectStub*> m_databases;
  VXStringVector m_tables;
  bool m_inTable = false;
};

class ReplicationCodec : public ChildCodec {
 public:
  void Write(const ARpObject& obj, const void* field, std::u32string_view tag, WriteContext& ctx) const override {
    // Entries whose database is gone are dropped before writing, in the store too.
    const_cast<ATable&>(static_cast<const ATable&>(obj)).CleanReplicationMap();
    const ReplicationMap& map = *static_cast<const ReplicationMap*>(field);
    VXString s;
    if (!children::OpenUnlessEmpty(s, !map.empty(), tag, ctx)) return;
    ARpGateway* rp = ctx.Gateway();
    for (const auto& [key, text] : map) {
      VoidIDVector ids;
      key.CollectIDs(ids, false);
      RefARpObject db = rp->GetObject(ids.front());  // one live database, after the cleaning
      s += S_LT;
      s += TAG_REPLICATION_ENTRY;
      if (ctx.Options() & kGenDummyUID)
        AppendAttr(s, ATTR_DUMMY_UID, TKSGUIDGenerator::ByteVectorToGUIDString(db->UpgradeID()));
      s += S_GT;
      s += S_NEWLINE;
      // Built here rather than by the reference writer: the qualified name stands first.
      s += S_LT;
      s += TAG_REF;
      s += TAG_DATABASE;
      AppendAttr(s, ATTR_QNAME, MetadataUtil::GenerateQualifiedName(db));
      AppendAttr(s, ATTR_ID, db.GetID().ToString());
      if (ctx.UpgradeIDs()) AppendAttr(s, ATTR_UID, TKSGUIDGenerator::ByteVectorToGUIDString(db->UpgradeID()));
      s += S_CLOSE_OPEN_TAG;
      s += QORLUtil::GetCDATA(text, TAG_TABLE, false, false, 0);
      children::CloseLine(s, TAG_REPLICATION_ENTRY);
    }
    children::CloseLine(s, tag);
    ctx.Print(s);
  }
  ChildReader* NewReader() const override { return new ReplicationReader; }
  std::string_view SchemaType() const override { return "PhysicalReplicationType"; }
  void FillSample(ARpObject& obj, void* field, ARpGateway& rp) const override {
    ReplicationMap map;
    rp.ForEachObject([&map](const ARpObject* o) {
      if (o->GetTypeID() != kTIDADatabase) return;
      Expr key;
      key.AppendObject(o->GetID());
      map.emplace(std::move(key), VXString(U"REPL_") + o->GetName());
    });
    *static_cast<ReplicationMap*>(field) = std::move(map);
  }
};

const ReplicationCodec kReplication;

// The container follows from the table's own qualified name, which holds the
// levels database, catalog, schema, table, with empty ones where a level is
// missing. A name without the empty levels ("db"."x"."T") is read too: its
// middle level is a schema if there is one, else a catalog.
QORLObjectStub* TableContainer(ReadContext& ctx) {
  QualifiedName q = ctx.Name();
  if (q.size() < 2) return nullptr;
  QORLObjectStub* stub;
  if (q.size() == 4 && !q[2].empty()) {
    q.pop_back();
    stub = ctx.ParentStub(kTIDASchema, q);
  } else if (q.size() == 4 && !q[1].empty()) {
    q.resize(2);
    stub = ctx.ParentStub(kTIDACatalog, q);
  } else if (q.size() == 3 && !q[1].empty()) {
    q.pop_back();
    stub = ctx.ParentStub(kTIDASchema, q);
    if (ctx.TryResolve(stub)) return stub;
    stub = ctx.ParentStub(kTIDACatalog, q);
  } else {
    q.resize(1);
    stub = ctx.ParentStub(kTIDADatabase, q);
  }
  ctx.Resolve(stub);
  return stub;
}

const Hooks kTableHooks{.resolveParent = &TableContainer};

// A join whose tables cannot all be fetched has no element in a document.
const Hooks kJoinHooks{.isWritten = [](const ARpObject& obj, const WriteContext&) {
  for (BinaryRelIter<ATable> it = static_cast<const AComplexJoin&>(obj).GetTables(); !it.AtEnd(); ++it)
    if (it.GetArgObjRef(1).IsNullRef()) return false;
  return true;
}};

const Attr kTableAttrs[] = {
    Value(ATTR_TYPE, kTableTypeCodec, "tableType", nullptr, "\"none\", \"alias\", \"sp\" or \"select\""),
    Flag(ATTR_IS_CACHEABLE, "cacheable", true),
    Flag(ATTR_IS_CACHE_EVENT_TABLE, "cacheEventTable", false),
    Number(ATTR_CACHE_EXPIRY, kUInt32Codec, "cacheExpiry"),
    Number(ATTR_POLL_FREQ, kUInt32Codec, "pollFrequency", U"3600"),
    Hooked(ATTR_X, When::IfText, hooks::kPositionX, kInt32Codec, "diagramX"),
    Hooked(ATTR_Y, When::IfText, hooks::kPositionY, kInt32Codec, "diagramY"),
    Value(ATTR_ROW_COUNT, kCountCodec, "rowCount", U"-1"),
    Value(ATTR_LAST_UPDATED, kDateTimeCodec, "lastUpdated"),
    Text(ATTR_SCRIPT_PATH, "extGatewayScriptPath"),
    Flag(ATTR_IS_SYS_GEN, "systemGenerated", false),
    Flag(ATTR_IS_OVERRIDE_CACHE_PROP, "overrideCacheProperties", false),
    Flag(ATTR_IS_DDL_AGGR, "ddlAggr", false),
    Text(ATTR_HINTS, "hints"),
    Flag(ATTR_IS_DEPLOYED_VIEW, "deployedView", false),
    Text(ATTR_URI, "resourceIdentifier"),
    Text(ATTR_XSL_PATH, "xslPath"),
    NumberAlways(ATTR_MAX_CONN, kUInt32Codec, "maxConnToSameURL", U"10"),
    Number(ATTR_XML_REFRESH_INTERVAL, kUInt32Codec, "xmlRefreshInterval"),
    Flag(ATTR_EXT_GW_IN_PROCESS, "extGatewayInProcess", false),
    Text(ATTR_GW_DELIM_TABLE, "extGatewayDelimiter"),
};

const Part kTableParts[] = {
    Tagged(TAG_SOURCE_TABLE, "sourceTable", Types<kTIDATable>, Phase::Execute2),
    Child(TAG_DB_MAP, children::kDbMap, "dbSpecificNames"),
    Tagged(TAG_AGGR_CONN_POOL, "sourceConnPool", Types<kTIDAConnectionPool>),
    Plain("variable", Types<kTIDARpVariable>, Phase::Execute, "the variable: a plain reference, not wrapped"),
    Tagged(TAG_MEMBER_KEY, "memberKeyColumn", Types<kTIDAColumn>, Phase::Execute2),
    Tagged(TAG_PARENT_KEY, "parentKeyColumn", Types<kTIDAColumn>, Phase::Execute2),
    Tagged(TAG_DISTANCE_COLUMN, "distanceColumn", Types<kTIDAColumn>, Phase::Execute2),
    Tagged(TAG_LEAF_COLUMN, "isLeafColumn", Types<kTIDAColumn>, Phase::Execute2),
    CData(TAG_XSLT, "wsXSLT", kLineFeeds),
    CData(TAG_XSD_SCHEMA, "wsXsdSchema", kLineFeeds),
    Child(TAG_PROPERTIES, children::kNameValueProperties, "properties"),
    Child(TAG_REPLICATION, kReplication, "replication"),
};

const Attr kColumnAttrs[] = {
    Hooked(ATTR_DATA_TYPE, When::IfText, hooks::kDataType, kTextCodec, "typeInfo",
           "one-word type names such as \"VARCHAR\"; an unknown one reads as \"UNKNOWN\""),
    Hooked(ATTR_SCALE, When::IfText, hooks::kScale, kInt16Codec, "typeInfo"),
    Hooked(ATTR_PRECISION, When::IfText, hooks::kPrecision, kInt32Codec, "typeInfo"),
    Hooked(ATTR_NULLABLE, When::IfText, hooks::kNullable, kFlagCodec, "typeInfo"),
    Text(ATTR_EXT_NAME, "externalName"),
    Value(ATTR_ROW_COUNT, kCountCodec, "count", U"-1"),
    Value(ATTR_LAST_UPDATED, kDateTimeCodec, "lastUpdated"),
    Value(ATTR_VALUE_TYPE, kCardinalityCodec, "valueType", nullptr,
          "a join cardinality text, \" ONE TO MANY\" with its leading blank among them"),
    Text(ATTR_MAPPED_COLUMN, "mappedColumn"),
    Text(ATTR_MVLINK_NAME, "mvLinkName"),
    ValueAlways(ATTR_SPECIAL_TYPE, kSpecialTypeCodec, "specialType", "\"none\", \"lud\" or \"inputparam\", in any case"),
};

const Part kColumnParts[] = {
    Tagged(TAG_DYNAMIC_NAME, "variable", Types<kTIDARpVariable>),
    Tagged(TAG_SOURCE_COLUMN, "sourceColumn", Types<kTIDAColumn>),
    Group(TAG_PICKLIST_COLUMNS, kRelColumnPicklistColumns, Types<kTIDAColumn>),
    Child(TAG_PROPERTIES, children::kNameValueProperties, "properties"),
};

const Part kKeyParts[] = {
    Group(TAG_COLUMNS, kRelTableKeyColumns, Types<kTIDAColumn, kTIDACubeColumn>, kClearFirst),
};

const Attr kForeignKeyAttrs[] = {
    Text(ATTR_HINTS, "hints"),
};

const Part kForeignKeyParts[] = {
    Group(TAG_COLUMNS, kRelForeignKeyColumns, Types<kTIDAColumn>, kClearFirst),
    Tagged(TAG_COUNTER_PART_KEY, "tableKey", Types<kTIDATableKey>),
};

const Attr kJoinAttrs[] = {
    Text(ATTR_HINTS, "hints"),
    Value(ATTR_CARDINALITY, kCardinalityCodec, "cardinality"),
    Text(ATTR_EXT_NAME, "externalName"),
};

const Part kJoinParts[] = {
    Group(TAG_TABLES, kRelComplexJoinTables, Types<kTIDATable, kTIDACubeTable, kTIDAAWCube, kTIDAAWDimension>, kClearFirst),
    Expression("joinExpr", kPhysicalExpr),
    TaggedExpression(TAG_EXTERNAL_EXPR, "externalJoinExpr", kPhysicalExpr | kSkipEmptyExpr),
};

constexpr std::u32string_view kNameIdentity[] = {ATTR_NAME};
constexpr std::u32string_view kColumnLists[] = {TAG_COLUMNS};
constexpr std::u32string_view kPicklist[] = {TAG_PICKLIST_COLUMNS};

const Description kTable{kTIDATable,     TAG_PHY_TABLE, "PhysicalTableType",
                         {ParentMode::Hook, Types<kTIDADatabase, kTIDACatalog, kTIDASchema>, 0},
                         kTableAttrs,    kTableParts,   {},
                         kNameIdentity,  {},            &kTableHooks};
const Description kColumn{kTIDAColumn,   TAG_PHY_COLUMN, "PhysicalColumnType",
                          {ParentMode::ByName, Types<kTIDATable>, kRelTableColumns},
                          kColumnAttrs,  kColumnParts,   {},
                          kNameIdentity, kPicklist,      nullptr};
const Description kKey{kTIDATableKey, TAG_PHY_KEY,  "PhysicalKeyType", {ParentMode::ByName, Types<kTIDATable, kTIDACubeTable>, 0}, {},
                       kKeyParts,     {},           kNameIdentity,     kColumnLists,                       nullptr};
const Description kForeignKey{kTIDAForeignKey,  TAG_PHY_FKEY,     "PhysicalForeignKeyType",
                              {ParentMode::ByName, Types<kTIDATable>, 0},
                              kForeignKeyAttrs, kForeignKeyParts, {},
                              kNameIdentity,    kColumnLists,     nullptr};
const Description kJoin{kTIDAComplexJoin, TAG_PHY_JOIN, "ComplexJoinType", {ParentMode::None, {}, 0},
                        kJoinAttrs,       kJoinParts,   {},                kNameIdentity,
                        {},               &kJoinHooks};

const Description* const kAll[] = {&kTable, &kColumn, &kKey, &kForeignKey, &kJoin};

}  // namespace physical_tables

std::span<const Description* const> PhysicalTableDescriptions() { return physical_tables::kAll; }

}  // namespace qorl::elements
