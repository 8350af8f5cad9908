#include "tools/sample.h"

#include <random>

#include "model/codecs.h"
#include "store/expr_store.h"
#include "store/metadata_util.h"

namespace qorl {

namespace {

const char* const kSubjects[] = {"SALES", "CUSTOMER", "PRODUCT", "STORE", "REGION", "SUPPLIER", "ORDER", "SHIPMENT",
                                 "PROMOTION", "CHANNEL", "EMPLOYEE", "INVENTORY", "RETURN", "PAYMENT", "CALENDAR"};
const char* const kKinds[] = {"FACT", "DIM", "AGG", "STG", "HIST"};
const char* const kColumns[] = {"ID", "NAME", "CODE", "AMOUNT", "QUANTITY", "PRICE", "DISCOUNT", "COST", "DATE",
                                "STATUS", "CATEGORY", "REGION_ID", "CUSTOMER_ID", "PRODUCT_ID", "STORE_ID", "CREATED_AT",
                                "UPDATED_AT", "CURRENCY", "MARGIN", "TAX"};
const char* const kNouns[] = {"Revenue", "Units Sold", "Average Price", "Gross Margin", "Order Count", "Customer Count",
                              "Discount Rate", "Return Rate", "Net Sales", "Cost of Goods"};
const char* const kPeople[] = {"Ada", "Brook", "Chen", "Dana", "Eli", "Farah", "Gus", "Hana", "Ivo", "Jun"};

class Builder {
 public:
  Builder(ARpGateway& rp, uint64_t objects, uint64_t seed) : m_rp(rp), m_rng(seed), m_budget(objects) {}

  uint64_t Run() {
    // Shares of the budget: physical half, logical a third, the rest presentation and security.
    uint64_t physical = m_budget / 2, logical = m_budget / 3, presentation = m_budget / 8;
    uint64_t security = m_budget - physical - logical - presentation;
    Physical(physical);
    Logical(logical);
    Presentation(presentation);
    Security(security);
    return m_made;
  }

 private:
  RefARpObject Make(TypeID type, const VXString& name, const RefARpObject& parent, const char* what) {
    RefARpObject o = m_rp.CreateObject(type);
    o->SetName(name);
    if (!parent.IsNullRef()) MetadataUtil::SetParent(o, parent);
    VXUpgradeID uid;
    uint8_t b[16];
    for (int i = 0; i < 16; i += 8) {
      uint64_t r = m_rng();
      for (int k = 0; k < 8; ++k) b[i + k] = static_cast<uint8_t>(r >> (8 * k));
    }
    b[6] = static_cast<uint8_t>((b[6] & 0x0F) | 0x40);  // a version 4 GUID
    b[8] = static_cast<uint8_t>((b[8] & 0x3F) | 0x80);
    uid.assign(b, 16);
    o->SetUpgradeID(uid);
    if (what) o->SetDescription(VXString(what) + " " + name + ", maintained by " + Pick(kPeople) + ".");
    ++m_made;
    return o;
  }

  template <size_t N>
  const char* Pick(const char* const (&list)[N]) { return list[m_rng() % N]; }
  VXString Num(uint64_t n) { return VXString::FromUInt(n); }

  static constexpr VXDataType kColumnTypes[] = {VXInteger, VXVarChar, VXVarChar, VXDecimal, VXInteger,
                                                 VXDecimal, VXDecimal, VXDecimal, VXDate, VXChar};

  void Physical(uint64_t budget) {
    uint64_t start = m_made;
    uint64_t dbCount = 1 + budget / 50000;
    RefARpObject dsn = Make(kTIDARpVariable, "DW_DSN", {}, "Data source name of");
    for (uint64_t d = 0; d < dbCount && m_made - start < budget; ++d) {
      RefADatabase db(Make(kTIDADatabase, VXString("Retail DW ") + Num(d + 1), {}, "Warehouse"));
      db->SetTargetType(static_cast<int>(d % 2 ? ServerInfo::kODBC350 : ServerInfo::kODBC200));
      RefAConnectionPool pool(Make(kTIDAConnectionPool, "Connection Pool", db, "Pool of"));
      pool->SetDataSourceName("VALUEOF(DW_DSN)");
      pool->SetDBUserName(VXString("reader_") + Num(d + 1));
      db->GetConnectionPools().Insert(pool);
      RefARpObject schema = Make(kTIDASchema, "DW", db, "Schema");
      uint64_t perDb = budget / dbCount;
      RefATable previous;
      RefATableKey previousKey;
      for (uint64_t t = 0; m_made - start < (d + 1) * perDb && m_made - start < budget; ++t) {
        VXString tname = VXString(Pick(kSubjects)) + "_" + Pick(kKinds) + "_" + Num(t + 1);
        RefATable table(Make(kTIDATable, tname, schema, "Table"));
        table->SetRowCount(static_cast<double>(m_rng() % 10000000));
        int ncols = 8 + static_cast<int>(m_rng() % 12);
        std::vector<RefAColumn> cols;
        for (int c = 0; c < ncols; ++c) {
          RefAColumn col(Make(kTIDAColumn, VXString(kColumns[c % 20]) + (c >= 20 ? Num(c) : VXString()), table, "Column"));
          col->SetTable(table);
          VXTypeInfo info;
          info.dataType = kColumnTypes[c % 10];
          info.precision = info.dataType == VXVarChar ? 80 : info.dataType == VXDecimal ? 12 : 10;
          info.scale = info.dataType == VXDecimal ? 2 : 0;
          info.nullable = c > 0;
          col->SetTypeInfo(info);
          cols.push_back(col);
        }
        RefATableKey key(Make(kTIDATableKey, tname + "_PK", table, nullptr));
        key->SetTable(table);
        key->GetColumns().Insert(cols[0]);
        if (!previous.IsNullRef()) {
          // Each table points at the one before: a foreign key and a complex join with an expression.
          RefAForeignKey fk(Make(kTIDAForeignKey, tname + "_FK", table, nullptr));
          fk->SetContainer(table);
          fk->GetComponents().Insert(cols[1]);
          fk->SetTableKey(previousKey);
          if (t % 5 == 0) {
            RefAComplexJoin join(Make(kTIDAComplexJoin, tname + "_JOIN_" + Num(d + 1), {}, "Join of"));
            join->GetTables().Insert(table);
            join->GetTables().Insert(previous);
            Expr e;
            VXString err;
            VXString text = MetadataUtil::GenerateQualifiedName(cols[1]) + " = " +
                            MetadataUtil::GenerateQualifiedName(previous->GetColumns().Members().front());
            if (SMEPParse::QORLCreateExprTree(text, e, err, &m_rp, kSME_Physical, nullptr)) {
              ToPrettyStringVisitor::SetFormatExpr(e, &m_rp, text);
              join->SetJoinExpr(e);
            }
            join->SetJoinCardinality(QORLUtility::k_Many_To_One);
          }
        }
        previous = table;
        previousKey = key;
      }
    }
  }

  void Logical(uint64_t budget) {
    uint64_t start = m_made;
    RefARpObject bm;
    for (uint64_t t = 0; m_made - start < budget; ++t) {
      if (t % 200 == 0) bm = Make(kTIDASubjectArea, VXString("Retail Analytics ") + Num(t / 200 + 1), {}, "Business model");
      RefALogicalTable lt(Make(kTIDALogicalTable, VXString(Pick(kSubjects)) + " " + Num(t + 1), bm, "Logical table"));
      lt->SetSubjectArea(bm);
      int ncols = 5 + static_cast<int>(m_rng() % 8);
      for (int c = 0; c < ncols && m_made - start < budget; ++c) {
        RefAAttribute col(Make(kTIDAAttribute, VXString(Pick(kNouns)) + " " + Num(c + 1), lt, "Measure"));
        col->SetLogicalTable(lt);
      }
    }
  }

  void Presentation(uint64_t budget) {
    uint64_t start = m_made;
    RefARpObject catalog, table;
    for (uint64_t i = 0; m_made - start < budget; ++i) {
      if (i % 2000 == 0) catalog = Make(kTIDACatalogFolder, VXString("Retail ") + Num(i / 2000 + 1), {}, "Subject area");
      if (i % 20 == 0) table = Make(kTIDAEntityFolder, VXString(Pick(kSubjects)) + " " + Num(i / 20 + 1), catalog, "Folder");
      Make(kTIDAFolderAttr, VXString(Pick(kNouns)) + " " + Num(i + 1), table, "Column");
    }
  }

  void Security(uint64_t budget) {
    uint64_t start = m_made;
    RefARpObject group;
    for (uint64_t i = 0; m_made - start < budget; ++i) {
      if (i % 50 == 0) group = Make(kTIDASecurityRole, VXString("Analysts ") + Num(i / 50 + 1), {}, "Group of");
      RefARpObject user = Make(kTIDAUser, VXString(Pick(kPeople)) + "." + Num(i + 1), {}, nullptr);
      BinaryRelIter<ASecurityRole>(&m_rp, user.GetID(), kRelUserGroups).Insert(group.GetID());
    }
  }

  ARpGateway& m_rp;
  std::mt19937_64 m_rng;
  uint64_t m_budget;
  uint64_t m_made = 0;
};

}  // namespace

uint64_t BuildSampleRepository(ARpGateway& rp, uint64_t objects, uint64_t seed) { return Builder(rp, objects, seed).Run(); }

}  // namespace qorl
