#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "elements/fragments.h"
#include "gen/generator.h"
#include "load/parser.h"
#include "model/codecs.h"
#include "model/db_features.h"
#include "platform/error.h"
#include "platform/guid.h"
#include "platform/serverlog.h"
#include "store/metadata_util.h"

namespace qorl {
namespace {

const char* kPsrcHead =
    "<?xml version='1.0' encoding='UTF-8'?>\n"
    "<Repository xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">\n";

VXUpgradeID PsrcUid(int n) {
  VXUpgradeID u;
  char buf[40];
  std::snprintf(buf, sizeof buf, "00000000-0000-4000-8000-%012d", n);
  TKSGUIDGenerator::VXStringToGUIDByteVector(u, buf);
  return u;
}

std::string PsrcReadFile(const std::string& name) {
  std::ifstream in(std::string(QORL_TEST_DATA) + "/physical/" + name, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

// Store ids differ between repositories, and so do AES texts (each made with
// its repository's key); everything else must not.
std::string PsrcMasked(const std::string& doc) {
  std::string s = std::regex_replace(doc, std::regex(" (parentId|id)=\"[^\"]*\""), "");
  return std::regex_replace(s, std::regex("\"AES256 [^\"]*\""), "\"(secret)\"");
}

std::string PsrcText(ARpGateway& rp, const RpObjectVector& objects, int options = kGenFooter) {
  VXString out, err;
  EXPECT_TRUE(QORLGenerator::GenerateQORLTextForObjectVector(&rp, objects, {}, err, out, options)) << err.ToUTF8();
  return out.ToUTF8();
}

struct PsrcLoad {
  bool ok;
  ErrorMessage err;
  VoidIDVector created, modified, deleted;
  std::string Text() const {
    VXString t;
    err.RetrieveErrorMessages(t);
    return t.ToUTF8();
  }
};

PsrcLoad PsrcLoadText(ARpGateway& rp, const std::string& text, bool ignoreErrors = false,
                      const VXStringVector& passwords = {}) {
  PsrcLoad r;
  VXString warnings;
  r.ok = QORLParser::ExecuteTransactionalXML(&rp, {VXString(text)}, passwords, r.err, warnings, r.created, r.modified,
                                             r.deleted, QORLParser::QORLText, true, true, ignoreErrors, false, false,
                                             false, false);
  return r;
}

std::string PsrcDoc(const std::string& declare) {
  return std::string(kPsrcHead) + "<DECLARE>\n" + declare + "</DECLARE>\n</Repository>\n";
}

// Objects the documents refer to but do not declare: made alike in every
// repository of a test, so that references find them.
struct PsrcOutside {
  RefARpObject tdb, t1, t2, t3, var;
};

PsrcOutside PsrcMakeOutside(ARpGateway& rp) {
  PsrcOutside o;
  o.tdb = rp.CreateObject(kTIDADatabase);
  o.tdb->SetName("tdb");
  o.tdb->SetUpgradeID(PsrcUid(900));
  int n = 901;
  for (RefARpObject* t : {&o.t1, &o.t2, &o.t3}) {
    *t = rp.CreateObject(kTIDATable);
    (*t)->SetName(VXString("T") + VXString::FromInt(n - 900));
    (*t)->SetUpgradeID(PsrcUid(n++));
    MetadataUtil::SetParent(*t, o.tdb);
  }
  o.var = rp.CreateObject(kTIDARpVariable);
  o.var->SetName("V");
  o.var->SetUpgradeID(PsrcUid(950));
  return o;
}

// One object of each element with every property away from its default.
struct PsrcFull {
  RefADatabase db, bypass;
  RefAConnectionPool pool, other;
  RefACatalog catalog;
  RefASchema schema, schemaInCatalog;
  RefAPhysicalDisplayFolder folder;
  RpObjectVector All() const { return {db, bypass, pool, other, catalog, schema, schemaInCatalog, folder}; }
};

template <class T>
Ref<T> PsrcMake(ARpGateway& rp, TypeID type, const char* name, int uid, const RefARpObject& parent = {}) {
  RefARpObject o = rp.CreateObject(type);
  o->SetName(name);
  o->SetUpgradeID(PsrcUid(uid));
  if (parent) MetadataUtil::SetParent(o, parent);
  return Ref<T>(o);
}

PsrcFull PsrcMakeFull(ARpGateway& rp, const PsrcOutside& out) {
  PsrcFull f;
  f.db = PsrcMake<ADatabase>(rp, kTIDADatabase, "db \"1\"", 1);
  f.bypass = PsrcMake<ADatabase>(rp, kTIDADatabase, "bypass", 2);
  f.pool = PsrcMake<AConnectionPool>(rp, kTIDAConnectionPool, "pool <1>", 3, f.db);
  f.other = PsrcMake<AConnectionPool>(rp, kTIDAConnectionPool, "other", 4, f.db);
  f.catalog = PsrcMake<ACatalog>(rp, kTIDACatalog, "cat", 5, f.db);
  f.schema = PsrcMake<ASchema>(rp, kTIDASchema, "s", 6, f.db);
  f.schemaInCatalog = PsrcMake<ASchema>(rp, kTIDASchema, "s", 7, f.catalog);
  f.folder = PsrcMake<APhysicalDisplayFolder>(rp, kTIDAPhysicalDisplayFolder, "folder", 8, f.db);

  ADatabase& d = *f.db;
  d.SetTargetType(ServerInfo::kVeldane10g_R2);
  d.SetDatabaseFlags(ADatabase::kPopulatePrivilege | ADatabase::kReplicationDatabase);
  d.SetDBName("name & more");
  d.SetDBRequiredVersion("12.1");
  DatabaseFeaturesTable features;
  features.SetBooleanFeatureValue(0, false);
  features.SetBooleanFeatureValue(2, true);
  features.SetIntegerFeatureValue(1001, 250);
  features.SetIntegerFeatureValue(1008, 0xBEEF);
  features.SetStringFeatureValue(2000, VXString());  // a default that is not empty, cleared
  features.SetStringFeatureValue(2016, "<binary>");
  d.SetDatabaseFeatures(features);
  DatabasePropertiesMap props;
  props["b"].SetProperty("k2", "v2 ]]> end");
  props["b"].SetProperty("k1", "");
  props["a"].SetProperty("x", "1");
  d.SetDatabaseProperties(props);
  d.SetDefaultPersistConnectionPool(f.other);
  d.GetDisplayFolders().Insert(f.folder);
  d.GetConnectionPools().Insert(f.other);
  d.GetConnectionPools().Insert(f.pool);

  AConnectionPool& p = *f.pool;
  p.SetDBUserName("scott");
  p.SetEncryptedPassword({0x00, 0x01, 0xFE, 'p', 'w'});
  p.SetTimeout(300);
  p.SetMaxConnToSameURLForDifferentUsers(5);
  p.SetMaxConnections(0);
  p.SetDataSourceName("dsn");
  p.SetCallInterfaceType(30);
  p.SetRequiresQualifiedTableNames(true);
  p.SetSharedLogin(true);
  p.SetConcurrentQueriesInConnection(true);
  p.SetCloseAfterEveryRequest(7);
  p.SetAsyncExecution(true);
  p.SetXSLPath("x.xsl");
  p.SetXMLRefreshInterval(60);
  p.SetExtGatewayScriptPath("gw.sh");
  p.SetExtGatewayOutputType(QORLUtility::EGWType_XML);
  p.SetExtGatewayDelimiter(",");
  p.SetIgnoreFirstLineInOutput(true);
  p.SetXPath("/a/b");
  p.SetConverterScriptPath("conv.sh");
  p.SetBulkInsertBuffSize(32);
  p.SetTempTableOwner("owner");
  p.SetTempTablePrefix("TT");
  p.SetBulkInsertTransactionBoundary(1000);
  p.SetXMLADataSourceInfo("info");
  p.SetXMLACatalog("xcat");
  p.SetXMLAUseSession(true);
  p.SetMultiThreadedConnectionsFlag(false);
  p.SetXMLHeaderPath("h.xml");
  p.SetXMLTrailerPath("t.xml");
  p.SetParametersSupported(false);
  p.SetIsolationLevel(ServerInfo::kTXN_Serializable);
  p.SetServerName("ws.host");
  p.SetWSDL("http://ws/wsdl");
  p.SetServerPort("8080");
  p.SetApplicationID("app");
  p.SetEJBBean("bean");
  p.SetJavahostServiceName("jh");
  p.SetSecuredFlag(true);
  p.SetCSFKey("map:key");
  p.SetUnicodeDBType(true);
  p.SetTempTableDBName("tmpdb");
  p.SetTempTableTablespaceName("ts");
  p.SetAWFlag(true);
  p.SetUseCertificateFlag(true);
  p.SetCLIName("PLUGIN30");
  p.SetCLIRequiredVersion("2.0");
  p.SetAfterQueryStrings({{"after ]]> 1", true}, {"", false}});
  p.SetBeforeQueryStrings({{"before", false}});
  p.SetPostConnectStrings({{"post", true}});
  p.SetPreDisConnectStrings({{"pre", true}});
  p.SetConfigParams({{"host", "h1"}, {"", "no name"}, {"empty", ""}});
  p.SetRelationalConnectionPoolForCuberaAggrPersist(f.other);
  p.SetRelationalDataFolderForCuberaAggrPersist(f.schemaInCatalog);
  p.SetSQLBypassDatabase(f.bypass);

  f.catalog->SetVariable(RefARpVariable(out.var));
  f.schema->SetVariable(RefARpVariable(out.var));
  f.schemaInCatalog->SetWSInputMessage("<msg>]]></msg>");
  f.folder->GetTables().Insert(out.t2.GetID());
  f.folder->GetTables().Insert(out.t1.GetID());
  for (const RefARpObject& o : f.All()) o->SetDescription("about " + o->GetName());
  return f;
}

// The pool's own attributes as a generator that hides the password or skips
// credentials writes them: from "user" to the whole credential store key, which
// the element adds last.
std::string PsrcPoolAttributes(ARpGateway& rp, const RefARpObject& pool, bool hidePassword, bool skipCredentials) {
  VXString text, err;
  QORLGenerator gen(&rp, nullptr, VXString(), text, false, false, true, true, false, false, hidePassword, false,
                    skipCredentials);
  gen.GenerateDeclareQORLForObjects({pool}, {}, err, false, NONE_FINEGRAINED, false);
  EXPECT_TRUE(err.empty()) << err.ToUTF8();
  const std::string s = text.ToUTF8();
  const size_t tag = s.find("<ConnectionPool ");
  const size_t end = s.find('>', tag);
  const size_t from = s.find(" user=", tag);
  const size_t to = s.rfind(" csfKey=", end);
  if (tag == std::string::npos || from > end || to < from) return s;
  return s.substr(from, to - from);
}

// The object of `dst` that stands for `o` of another repository.
RefARpObject PsrcCounterpart(ARpGateway& dst, const RefARpObject& o) { return dst.FindByUpgradeID(o->UpgradeID()); }

TEST(PhysicalSources, EveryPropertyRoundTripsThroughANewRepository) {
  auto src = ARpGateway::CreateInMemory("pw");
  PsrcOutside outSrc = PsrcMakeOutside(*src);
  PsrcFull f = PsrcMakeFull(*src, outSrc);
  const std::string first = PsrcText(*src, f.All());

  auto dst = ARpGateway::CreateInMemory("other");
  PsrcMakeOutside(*dst);
  PsrcLoad r = PsrcLoadText(*dst, first, false, {"pw"});
  ASSERT_TRUE(r.ok) << r.Text();
  RpObjectVector loaded;
  for (const RefARpObject& o : f.All()) {
    loaded.push_back(PsrcCounterpart(*dst, o));
    ASSERT_FALSE(loaded.back().IsNullRef()) << o->GetName().ToUTF8();
  }
  const std::string second = PsrcText(*dst, loaded);
  EXPECT_EQ(PsrcMasked(second), PsrcMasked(first));

  // What the text cannot show: the bytes behind the AES texts, and the store.
  RefAConnectionPool pool(PsrcCounterpart(*dst, f.pool));
  EXPECT_EQ(pool->GetEncryptedPassword(), f.pool->GetEncryptedPassword());
  EXPECT_EQ(pool->GetCloseAfterEveryRequest(), 1);  // a number written as a flag
  EXPECT_EQ(pool->GetDatabase()->GetName(), "db \"1\"");
  EXPECT_EQ(pool->GetAfterQueryStrings(), f.pool->GetAfterQueryStrings());
  EXPECT_EQ(RefADatabase(loaded[0])->GetDatabaseFeatures(), f.db->GetDatabaseFeatures());
  EXPECT_EQ(RefASchema(loaded[6])->GetContainer().GetID(), PsrcCounterpart(*dst, f.catalog).GetID());
  EXPECT_EQ(RefASchema(loaded[5])->GetContainer().GetID(), loaded[0].GetID());

  // The same document again changes nothing.
  PsrcLoad again = PsrcLoadText(*dst, first, false, {"pw"});
  ASSERT_TRUE(again.ok) << again.Text();
  EXPECT_TRUE(again.created.empty());
  EXPECT_EQ(PsrcText(*dst, loaded), second);
}

TEST(PhysicalSources, DefaultsWriteOnlyWhatIsAlwaysWritten) {
  auto rp = ARpGateway::CreateInMemory("pw");
  RefADatabase d = PsrcMake<ADatabase>(*rp, kTIDADatabase, "d", 1);
  RefAConnectionPool p = PsrcMake<AConnectionPool>(*rp, kTIDAConnectionPool, "p", 2, d);
  RefACatalog c = PsrcMake<ACatalog>(*rp, kTIDACatalog, "c", 3, d);
  RefASchema s = PsrcMake<ASchema>(*rp, kTIDASchema, "s", 4, c);
  RefAPhysicalDisplayFolder fo = PsrcMake<APhysicalDisplayFolder>(*rp, kTIDAPhysicalDisplayFolder, "f", 5, d);
  const RpObjectVector all{d, p, c, s, fo};
  const std::string text = PsrcText(*rp, all);
  EXPECT_EQ(PsrcMasked(text), PsrcReadFile("sources_defaults.xml"));

  auto dst = ARpGateway::CreateInMemory("other");
  PsrcLoad r = PsrcLoadText(*dst, text, false, {"pw"});
  ASSERT_TRUE(r.ok) << r.Text();
  RpObjectVector loaded;
  for (const RefARpObject& o : all) loaded.push_back(PsrcCounterpart(*dst, o));
  EXPECT_EQ(PsrcMasked(PsrcText(*dst, loaded)), PsrcReadFile("sources_defaults.xml"));

  // The empty forms: a tagged reference has a line of its own, a group none.
  const std::string empty = PsrcText(*rp, {d, p}, kGenFooter | kGenEmptyElements);
  EXPECT_NE(empty.find("</Features>\n<PersistConnPool/>\n<DisplayFolders/><RemovedDisplayFolders/><ConnectionPools/>"
                       "<Properties/>\n</Database>\n"),
            std::string::npos)
      << empty;
  EXPECT_NE(empty.find(">\n<Description></Description>\n<ConfigParameters/>\n<AfterQueryString/>\n"
                       "<BeforeQueryString/>\n<PostConnectString/>\n<PreDisconnectString/>\n<RelationalConnPool/>\n"
                       "<RelationalDataFolder/>\n<SQLBypassDB/>\n</ConnectionPool>\n"),
            std::string::npos)
      << empty;
  // Read back, an empty script element is no script.
  auto third = ARpGateway::CreateInMemory("pw");
  PsrcLoad emptyLoad = PsrcLoadText(*third, empty, false, {"pw"});
  ASSERT_TRUE(emptyLoad.ok) << emptyLoad.Text();
  RefAConnectionPool p3(PsrcCounterpart(*third, p));
  EXPECT_TRUE(p3->GetAfterQueryStrings().empty());
  EXPECT_TRUE(p3->GetConfigParams().empty());
}

TEST(PhysicalSources, ADatabaseWithFeaturesIsWrittenInFull) {
  auto rp = ARpGateway::CreateInMemory();
  RefADatabase d = PsrcMake<ADatabase>(*rp, kTIDADatabase, "d", 1);
  d->SetDescription("sales data");
  d->SetTargetType(ServerInfo::kVeldane10g_R2);
  d->SetDatabaseFlags(ADatabase::kPopulatePrivilege | ADatabase::kReplicationDatabase);
  d->SetDBName("orders & more");
  d->SetDBRequiredVersion("12.1");
  DatabaseFeaturesTable features;
  features.SetBooleanFeatureValue(0, false);
  features.SetBooleanFeatureValue(2, true);
  features.SetBooleanFeatureValue(233, false);
  features.SetIntegerFeatureValue(1000, 7);
  features.SetIntegerFeatureValue(1007, 0xFFFFFFFFu);
  features.SetIntegerFeatureValue(1008, 0xBEEF);
  features.SetIntegerFeatureValue(1038, 0xFFFFFFFFu);
  features.SetStringFeatureValue(2000, "");
  features.SetStringFeatureValue(2016, "<binary> & 'x'");
  d->SetDatabaseFeatures(features);
  DatabasePropertiesMap props;
  props["conn"].SetProperty("tz", "UTC");
  d->SetDatabaseProperties(props);
  const std::string golden = PsrcReadFile("sources_database_features.xml");
  EXPECT_EQ(PsrcMasked(PsrcText(*rp, {d})), golden);

  // Loaded into another repository the golden text gives the same table.
  auto dst = ARpGateway::CreateInMemory();
  PsrcLoad r = PsrcLoadText(*dst, golden);
  ASSERT_TRUE(r.ok) << r.Text();
  RefADatabase loaded(dst->FindByQualifiedName(kTIDADatabase, {"d"}));
  EXPECT_EQ(loaded->GetDatabaseFeatures(), features);
  EXPECT_EQ(loaded->GetDatabaseProperties(), props);
  EXPECT_EQ(loaded->GetTargetType(), ServerInfo::kVeldane10g_R2);
  EXPECT_EQ(loaded->GetDatabaseFlags(), 18u);

  // The structural diff's keys on groups and properties.
  const std::string keyed = PsrcText(*rp, {d}, kGenFooter | kGenDummyUID);
  EXPECT_NE(keyed.find("\n<Properties>\n<PropertyGroup category=\"conn\" dummyuid=\"conn\">\n<Property dummyuid=\"tz\">\n"
                       "<Name><![CDATA[tz]]></Name>\n<Value><![CDATA[UTC]]></Value>\n</Property>\n</PropertyGroup>\n"
                       "</Properties>\n</Database>\n"),
            std::string::npos)
      << keyed;
  props["none"];
  d->SetDatabaseProperties(props);
  EXPECT_NE(PsrcText(*rp, {d}, kGenFooter | kGenEmptyElements)
                .find("<PropertyGroup category=\"none\">\n<Property/>\n</PropertyGroup>\n"),
            std::string::npos);
}

TEST(PhysicalSources, FeatureTableNamesEveryIdOnce) {
  std::set<std::string> names;
  int32_t previous = -1;
  for (const FeatureDesc& f : SUFeaturesTable::AllFeatures()) {
    EXPECT_GT(f.id, previous);
    previous = f.id;
    EXPECT_TRUE(names.insert(std::string(f.name)).second) << f.name;
    int32_t id = -1;
    ASSERT_TRUE(SUFeaturesTable::GetFeatureIDFromName(SUFeaturesTable::GetFeatureNameFromId(f.id), id));
    EXPECT_EQ(id, f.id);
  }
  EXPECT_EQ(names.size(), 234u + 39u + 17u);
  for (int32_t gap : {-1, 234, 999, 1039, 1999, 2017})
    EXPECT_TRUE(SUFeaturesTable::GetFeatureNameFromId(gap).empty()) << gap;
  int32_t id = 5;
  EXPECT_FALSE(SUFeaturesTable::GetFeatureIDFromName("left_outer_join_supported", id));
  EXPECT_EQ(id, 5);

  // A repository keeps the changed values only, and gets the rest back as defaults.
  DatabaseFeaturesTable t;
  EXPECT_TRUE(t.GetChangedValues().empty());
  t.SetBooleanFeatureValue(3, !t.GetBooleanFeatureValue(3));
  t.SetIntegerFeatureValue(1010, 0x10);
  t.SetStringFeatureValue(2005, "YYYY");
  t.SetIntegerFeatureValue(5, 9);        // a boolean id: ignored
  t.SetBooleanFeatureValue(1001, true);  // an integer id: ignored
  EXPECT_EQ(t.GetChangedValues(), (std::map<int32_t, VXString>{{3, "false"}, {1010, "0X10"}, {2005, "YYYY"}}));
  DatabaseFeaturesTable back;
  back.SetChangedValues(t.GetChangedValues());
  EXPECT_EQ(back, t);
}

TEST(PhysicalSources, FeatureLinesAsTheDocumentSaysThem) {
  auto doc = [](const std::string& lines, const std::string& dbAttrs = "") {
    return PsrcDoc("<Database name=\"d\"" + dbAttrs + ">\n<Features>\n" + lines + "</Features>\n</Database>\n");
  };
  {
    auto rp = ARpGateway::CreateInMemory();
    PsrcLoad r = PsrcLoadText(*rp, doc("<Feature name=\"IN_SUPPORTED\" value=\"true\"/>\n"
                                       "<Feature name=\"NO_SUCH_FEATURE\" value=\"true\"/>\n"));
    EXPECT_FALSE(r.ok);
    EXPECT_TRUE(r.err.Contains(28021)) << r.Text();
    EXPECT_NE(r.Text().find("Line 7"), std::string::npos) << r.Text();
    EXPECT_NE(r.Text().find("NO_SUCH_FEATURE"), std::string::npos) << r.Text();
  }
  {
    auto rp = ARpGateway::CreateInMemory();
    PsrcLoad r = PsrcLoadText(*rp, doc("<Feature name=\"IN_SUPPORTED\" value=\"yes\"/>\n"));
    EXPECT_FALSE(r.ok);
    EXPECT_TRUE(r.err.Contains(28022)) << r.Text();
    for (const char* part : {"Line 6", "IN_SUPPORTED", "yes"})
      EXPECT_NE(r.Text().find(part), std::string::npos) << r.Text();
  }
  {
    // Ignoring errors: the unknown line is skipped and the bad flag is false.
    auto rp = ARpGateway::CreateInMemory();
    ServerLogCapture log;
    PsrcLoad r = PsrcLoadText(*rp,
                              doc("<Feature name=\"NO_SUCH_FEATURE\" value=\"true\"/>\n"
                                  "<Feature name=\"IN_SUPPORTED\" value=\"yes\"/>\n"
                                  "<Feature name=\"NATURAL_JOIN_SUPPORTED\" value=\"TRUE\"/>\n"
                                  "<Feature name=\"MAX_ENTRIES_IN_IN_LIST\" value=\"12abc\"/>\n"
                                  "<Feature name=\"MAX_ROWS_PER_FETCH\" value=\"abc\"/>\n"
                                  "<Feature name=\"STRING_FUNCTIONS_MASK\" value=\"0x1F\"/>\n"
                                  "<Feature name=\"NUMERIC_FUNCTIONS_MASK\" value=\" 0Xff\"/>\n"
                                  "<Feature name=\"AGGREGATE_FUNCTIONS_MASK\" value=\"1f\"/>\n"
                                  "<Feature name=\"IDENTIFIER_QUOTE_CHAR\"/>\n"
                                  "<Feature name=\"COLLATION\" value=\"bin\"/>\n"),
                              true);
    ASSERT_TRUE(r.ok) << r.Text();
    EXPECT_EQ(log.Count(ServerLog::kError), 2u);
    DatabaseFeaturesTable t = RefADatabase(rp->FindByQualifiedName(kTIDADatabase, {"d"}))->GetDatabaseFeatures();
    int32_t id = 0;
    auto value = [&](const char* name) {
      EXPECT_TRUE(SUFeaturesTable::GetFeatureIDFromName(name, id)) << name;
      return t.GetFeatureValueText(id).ToUTF8();
    };
    EXPECT_EQ(value("IN_SUPPORTED"), "false");
    EXPECT_EQ(value("NATURAL_JOIN_SUPPORTED"), "true");
    EXPECT_EQ(value("MAX_ENTRIES_IN_IN_LIST"), "12");
    EXPECT_EQ(value("MAX_ROWS_PER_FETCH"), "0");  // not the default: what the scan left
    EXPECT_EQ(value("STRING_FUNCTIONS_MASK"), "0X1f");
    EXPECT_EQ(value("NUMERIC_FUNCTIONS_MASK"), "0Xff");
    EXPECT_EQ(value("AGGREGATE_FUNCTIONS_MASK"), "0X0");
    EXPECT_EQ(value("IDENTIFIER_QUOTE_CHAR"), "");
    EXPECT_EQ(value("COLLATION"), "bin");
    EXPECT_EQ(value("LEFT_OUTER_JOIN_SUPPORTED"), "true");  // not listed: the default
    EXPECT_EQ(value("CATALOG_SEPARATOR"), ".");
  }
  {
    // A database type no table knows falls to the default unless "dbTypeId" backs it.
    auto rp = ARpGateway::CreateInMemory();
    ASSERT_TRUE(PsrcLoadText(*rp, PsrcDoc("<Database name=\"a\" type=\"NoSuchDB\">\n</Database>\n"
                                          "<Database name=\"b\" type=\"NoSuchDB\" dbTypeId=\"77\">\n</Database>\n"
                                          "<Database name=\"c\" dbTypeId=\"46\">\n</Database>\n"
                                          "<Database name=\"e\" type=\"BuiltIn\" dbTypeId=\"46\">\n</Database>\n"))
                    .ok);
    auto type = [&](const char* n) { return RefADatabase(rp->FindByQualifiedName(kTIDADatabase, {n}))->GetTargetType(); };
    EXPECT_EQ(type("a"), ServerInfo::kDefault);
    EXPECT_EQ(type("b"), 77);
    EXPECT_EQ(type("c"), 46);
    EXPECT_EQ(type("e"), ServerInfo::kBuiltInExecutionEngine);
  }
}

TEST(PhysicalSources, PoolPasswordsDecryptWithTheRepositoryKeyOrTheGivenPassword) {
  auto src = ARpGateway::CreateInMemory("pw");
  RefADatabase d = PsrcMake<ADatabase>(*src, kTIDADatabase, "d", 1);
  RefAConnectionPool p = PsrcMake<AConnectionPool>(*src, kTIDAConnectionPool, "p", 2, d);
  const ByteVector secret{'s', 'e', 'c', 'r', 'e', 't'};
  p->SetEncryptedPassword(secret);
  const std::string doc = PsrcText(*src, {d, p});
  ASSERT_EQ(doc.find("secret"), std::string::npos);

  // The same repository: its own key, no password needed.
  p->SetEncryptedPassword({'x'});
  PsrcLoad same = PsrcLoadText(*src, doc);
  ASSERT_TRUE(same.ok) << same.Text();
  EXPECT_EQ(p->GetEncryptedPassword(), secret);

  auto poolIn = [&](ARpGateway& rp) { return RefAConnectionPool(rp.FindByQualifiedName(kTIDAConnectionPool, {"d", "p"})); };
  {
    auto dst = ARpGateway::CreateInMemory("other");
    PsrcLoad r = PsrcLoadText(*dst, doc, false, {"pw"});
    ASSERT_TRUE(r.ok) << r.Text();
    EXPECT_EQ(poolIn(*dst)->GetEncryptedPassword(), secret);
  }
  for (const VXStringVector& passwords : {VXStringVector{}, VXStringVector{"wrong"}}) {
    auto dst = ARpGateway::CreateInMemory("other");
    PsrcLoad r = PsrcLoadText(*dst, doc, false, passwords);
    EXPECT_FALSE(r.ok);
    EXPECT_TRUE(r.err.Contains(13042)) << r.Text();
  }
  {
    // Ignoring errors the pool is made, without its password, and the log names it.
    auto dst = ARpGateway::CreateInMemory("other");
    ServerLogCapture log;
    PsrcLoad r = PsrcLoadText(*dst, doc, true, {"wrong"});
    ASSERT_TRUE(r.ok) << r.Text();
    EXPECT_TRUE(poolIn(*dst)->GetEncryptedPassword().empty());
    EXPECT_TRUE(log.Contains(ServerLog::kWarning, "\"d\".\"p\"")) << "28034 names the pool";
    EXPECT_EQ(log.Count(ServerLog::kError), 1u);  // 13042
  }
  {
    // Text without a blank is the stored bytes in hexadecimal; no key is tried.
    // A document that hides the password leaves the stored one alone.
    auto dst = ARpGateway::CreateInMemory("other");
    ASSERT_TRUE(PsrcLoadText(*dst, PsrcDoc("<Database name=\"d\">\n</Database>\n"
                                           "<ConnectionPool name=\"p\" parentName=\"&quot;d&quot;\" password=\"00FF10\">\n"
                                           "</ConnectionPool>\n"))
                    .ok);
    EXPECT_EQ(poolIn(*dst)->GetEncryptedPassword(), (ByteVector{0x00, 0xFF, 0x10}));
    ASSERT_TRUE(PsrcLoadText(*dst, PsrcDoc("<ConnectionPool name=\"p\" parentName=\"&quot;d&quot;\" timeout=\"5\">\n"
                                           "</ConnectionPool>\n"))
                    .ok);
    EXPECT_EQ(poolIn(*dst)->GetTimeout(), 5);
    EXPECT_EQ(poolIn(*dst)->GetEncryptedPassword(), (ByteVector{0x00, 0xFF, 0x10}));
  }
  {
    // The dry run checks the pool's password against the password given.
    auto dir = std::filesystem::temp_directory_path() / ("qorl_psrc_" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir);
    const std::string path = (dir / "pool.xml").string();
    std::ofstream(path) << doc;
    auto dst = ARpGateway::CreateInMemory("other");
    ErrorMessage err;
    VXString warnings;
    EXPECT_TRUE(QORLParser::IsPasswordCorrect(dst.get(), {VXString(path)}, {"pw"}, err, warnings, true, false))
        << VXString(err.GetText()).ToUTF8();
    ErrorMessage err2;
    EXPECT_FALSE(QORLParser::IsPasswordCorrect(dst.get(), {VXString(path)}, {"wrong"}, err2, warnings, true, false));
    std::filesystem::remove_all(dir);
  }
}

TEST(PhysicalSources, PoolPasswordsAreStableButShowNeitherLengthNorEquality) {
  auto dir = std::filesystem::temp_directory_path() / ("qorl_psrc_stable_" + std::to_string(::getpid()));
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  const VXString path((dir / "r.db").string());
  auto passwordsOf = [](const std::string& doc) {
    std::vector<std::string> out;
    std::regex re(" password=\"([^\"]*)\"");
    for (auto it = std::sregex_iterator(doc.begin(), doc.end(), re); it != std::sregex_iterator(); ++it)
      out.push_back((*it)[1]);
    return out;
  };
  std::string first;
  {
    auto rp = ARpGateway::Create(path, "pw");
    RefADatabase d = PsrcMake<ADatabase>(*rp, kTIDADatabase, "d", 1);
    RpObjectVector objects{d};
    for (const char* pw : {"same", "same", "s", "a password of thirty-one bytes!"}) {
      RefAConnectionPool p = PsrcMake<AConnectionPool>(*rp, kTIDAConnectionPool, "p", static_cast<int>(2 + objects.size()), d);
      p->SetName(VXString("p") + VXString::FromUInt(objects.size()));
      p->SetEncryptedPassword(ByteVector(pw, pw + std::strlen(pw)));
      objects.push_back(p);
    }
    rp->Commit();
    first = PsrcText(*rp, objects);
  }
  std::vector<std::string> pw = passwordsOf(first);
  ASSERT_EQ(pw.size(), 4u) << first;
  // Two pools with one password: unrelated texts. Lengths 1 to 31: one text length.
  EXPECT_NE(pw[0], pw[1]);
  for (const std::string& t : pw) EXPECT_EQ(t.size(), pw[0].size()) << t;

  // Written again after reopening: the same bytes.
  auto rp = ARpGateway::Open(path, "pw");
  RpObjectVector again{rp->FindByQualifiedName(kTIDADatabase, {"d"})};
  for (const char* n : {"p1", "p2", "p3", "p4"}) again.push_back(rp->FindByQualifiedName(kTIDAConnectionPool, {"d", n}));
  EXPECT_EQ(PsrcText(*rp, again), first);
  rp.reset();
  std::filesystem::remove_all(dir);
}

TEST(PhysicalSources, AClearTextPoolPasswordIsAPasswordError) {
  const std::string doc = PsrcDoc(
      "<Database name=\"d\">\n</Database>\n"
      "<ConnectionPool name=\"p\" parentName=\"&quot;d&quot;\" password=\"secret\">\n</ConnectionPool>\n");
  {
    auto dst = ARpGateway::CreateInMemory("other");
    PsrcLoad r = PsrcLoadText(*dst, doc);
    EXPECT_FALSE(r.ok);
    EXPECT_TRUE(r.err.Contains(99024)) << r.Text();
    EXPECT_NE(r.Text().find("Line 6"), std::string::npos) << r.Text();
    EXPECT_NE(r.Text().find("<ConnectionPool>"), std::string::npos) << r.Text();
  }
  {
    // Password errors set to warn: the pool is made without a password and the log says why.
    auto dst = ARpGateway::CreateInMemory("other");
    ServerLogCapture log;
    ErrorMessage err;
    VXString warnings;
    VoidIDVector created, modified, deleted;
    QORLParser::ExecuteTransactionalXML(dst.get(), {VXString(doc)}, {}, err, warnings, created, modified, deleted,
                                        QORLParser::QORLText, true, false, false, false, false, false, false);
    EXPECT_FALSE(err.Contains(99024));
    EXPECT_TRUE(log.Contains(ServerLog::kWarning, "Line 6")) << "99024 is logged";
    RefAConnectionPool p(dst->FindByQualifiedName(kTIDAConnectionPool, {"d", "p"}));
    ASSERT_FALSE(p.IsNullRef());
    EXPECT_TRUE(p->GetEncryptedPassword().empty());
  }
}

TEST(PhysicalSources, HiddenPasswordsAndSkippedCredentials) {
  auto rp = ARpGateway::CreateInMemory("pw");
  PsrcOutside out = PsrcMakeOutside(*rp);
  PsrcFull f = PsrcMakeFull(*rp, out);
  const char* kMarker = "&amp;lt;Replace Me&amp;gt;";
  const std::string both = PsrcPoolAttributes(*rp, f.pool, true, true);
  EXPECT_EQ(both,
            std::string(" user=\"") + kMarker +
                "\" timeout=\"300\" maxConnDiff=\"5\" maxConn=\"0\" dataSource=\"" + kMarker +
                "\" type=\"PLUGIN30\" reqQualifedTableName=\"true\" isSharedLogin=\"true\" "
                "isConcurrentQueriesInConnection=\"true\" isCloseAfterEveryRequest=\"true\" isAsyncExecution=\"true\" "
                "xslPath=\"x.xsl\" xmlRefreshInterval=\"60\" scriptPath=\"gw.sh\" outputType=\"xml\" gwDelim=\",\" "
                "ignoreFirstLine=\"true\" xpath=\"/a/b\" convertScriptPath=\"conv.sh\" bulkInsertBufferSize=\"32\" "
                "tempTableOwner=\"owner\" tempTablePrefix=\"TT\" transactionBoundary=\"1000\" xmlaInfo=\"" + kMarker +
                "\" xmlaCatalog=\"xcat\" xmlaUseSession=\"true\" multiThreaded=\"false\" xmlHeaderPath=\"h.xml\" "
                "trailerPath=\"t.xml\" supportParams=\"false\" isolationLevel=\"serializeable\" wsServer=\"" + kMarker +
                "\" wsWSDL=\"" + kMarker + "\" appServerName=\"" + kMarker + "\" appServerPort=\"" + kMarker +
                "\" appID=\"app\" appEJBBean=\"" + kMarker + "\" javaHostServiceName=\"" + kMarker +
                "\" isTorvikJDBSecured=\"true\" csfMapName=\"" + kMarker + "\" csfKeyName=\"" + kMarker +
                "\" unicodeDB=\"true\" tempTableDatabase=\"tmpdb\" tempTableSpace=\"ts\" isAW=\"true\" useCert=\"true\" "
                "cliName=\"PLUGIN30\" cliRequiredVersion=\"2.0\" cliTypeId=\"30\"");

  // A pool without credentials shows the marker all the same, but no web
  // service pair without a WSDL.
  const std::string bare = PsrcPoolAttributes(*rp, f.other, true, true);
  const std::string mk = std::string("\"") + kMarker + "\"";
  EXPECT_EQ(bare, " user=" + mk + " timeout=\"0\" maxConnDiff=\"10\" maxConn=\"10\" dataSource=" + mk +
                      " reqQualifedTableName=\"false\" isSharedLogin=\"false\" isConcurrentQueriesInConnection=\"false\" "
                      "isCloseAfterEveryRequest=\"false\" ignoreFirstLine=\"false\" bulkInsertBufferSize=\"0\" "
                      "transactionBoundary=\"0\" xmlaInfo=" + mk + " xmlaUseSession=\"false\" appServerName=" + mk +
                      " appServerPort=" + mk + " appEJBBean=" + mk + " javaHostServiceName=" + mk +
                      " isTorvikJDBSecured=\"false\" csfMapName=" + mk + " csfKeyName=" + mk);

  // Hidden alone: no password, the credentials themselves.
  const std::string hidden = PsrcPoolAttributes(*rp, f.pool, true, false);
  EXPECT_EQ(hidden.find("password="), std::string::npos);
  EXPECT_NE(hidden.find(" user=\"scott\" timeout="), std::string::npos);

  // Skipped alone: the password of no bytes, still under the repository's key.
  const std::string skipped = PsrcPoolAttributes(*rp, f.pool, false, true);
  std::smatch m;
  ASSERT_TRUE(std::regex_search(skipped, m, std::regex(" password=\"([^\"]*)\"")));
  ByteVector clear{1};
  ASSERT_TRUE(MetadataUtil::DecryptAESPassword(rp.get(), VXString(m[1].str()), clear));
  EXPECT_TRUE(clear.empty());

  // The element adds the whole credential store key, hidden too.
  VXString text, err;
  QORLGenerator gen(rp.get(), nullptr, VXString(), text, false, false, true, true, false, false, true, false, true);
  gen.GenerateDeclareQORLForObjects({f.pool}, {}, err, false, NONE_FINEGRAINED, false);
  EXPECT_TRUE(err.empty()) << err.ToUTF8();
  EXPECT_NE(text.ToUTF8().find(std::string("cliTypeId=\"30\" csfKey=\"") + kMarker + "\">\n"), std::string::npos)
      << text.ToUTF8();
}

TEST(PhysicalSources, PoolAttributesReadTheirDefaultsAndCompanions) {
  auto rp = ARpGateway::CreateInMemory();
  auto pool = [&](const char* name) {
    return RefAConnectionPool(rp->FindByQualifiedName(kTIDAConnectionPool, {"d", name}));
  };
  PsrcLoad r = PsrcLoadText(
      *rp, PsrcDoc("<Database name=\"d\">\n</Database>\n"
                   "<ConnectionPool name=\"bare\" parentName=\"&quot;d&quot;\">\n"
                   "<AfterQueryString>\n<Value><![CDATA[a]]></Value>\n</AfterQueryString>\n"
                   "<AfterQueryString flag=\"false\">\n<Value/>\n</AfterQueryString>\n"
                   "<Unknown><Deeper/></Unknown>\n"
                   "</ConnectionPool>\n"
                   "<ConnectionPool name=\"mapOnly\" parentName=\"&quot;d&quot;\" csfMapName=\"no colon\" "
                   "type=\"XDI8\" isCloseAfterEveryRequest=\"true\" appServerName=\"app\" wsServer=\"ws\">\n"
                   "</ConnectionPool>\n"
                   "<ConnectionPool name=\"parts\" parentName=\"&quot;d&quot;\" csfMapName=\"m\" csfKeyName=\"k\" "
                   "type=\"PLUGIN_GONE\" cliTypeId=\"40\" appServerName=\"app\" wsServer=\"ws\" wsWSDL=\"w\" "
                   "executeOnCmd=\"SET X\">\n</ConnectionPool>\n"
                   "<ConnectionPool name=\"whole\" parentName=\"&quot;d&quot;\" csfMapName=\"m\" csfKeyName=\"k\" "
                   "csfKey=\"a:b:c\">\n</ConnectionPool>\n"));
  ASSERT_TRUE(r.ok) << r.Text();
  RefAConnectionPool bare = pool("bare");
  EXPECT_EQ(bare->GetMaxConnections(), 10);
  EXPECT_EQ(bare->GetMaxConnToSameURLForDifferentUsers(), 10);
  EXPECT_TRUE(bare->GetMultiThreadedConnectionsFlag());
  EXPECT_TRUE(bare->GetParametersSupported());
  EXPECT_EQ(bare->GetStoredCallInterfaceType(), 0);
  EXPECT_EQ(bare->GetAfterQueryStrings(), (ConnectScriptVector{{"a", true}, {"", false}}));
  EXPECT_EQ(bare->GetCSFKey(), "");

  RefAConnectionPool mapOnly = pool("mapOnly");
  EXPECT_EQ(mapOnly->GetCSFKey(), "no colon:");
  EXPECT_EQ(mapOnly->GetStoredCallInterfaceType(), ServerInfo::kCLI_XDI8);
  EXPECT_EQ(mapOnly->GetCloseAfterEveryRequest(), 1);
  EXPECT_EQ(mapOnly->GetServerName(), "app");  // no WSDL: "wsServer" is not read

  RefAConnectionPool parts = pool("parts");
  EXPECT_EQ(parts->GetCSFKey(), "m:k");
  EXPECT_EQ(parts->GetStoredCallInterfaceType(), 40);
  EXPECT_EQ(parts->GetServerName(), "ws");
  EXPECT_EQ(parts->GetWSDL(), "w");
  EXPECT_EQ(parts->GetOnConnectCommand(), "SET X");
  EXPECT_EQ(pool("whole")->GetCSFKey(), "a:b:c");

  // A key without ":" comes back whole through "csfKey", though "csfMapName" holds all of it.
  mapOnly->SetCSFKey("solo");
  const std::string text = PsrcText(*rp, {mapOnly});
  EXPECT_NE(text.find("csfMapName=\"solo\""), std::string::npos);
  EXPECT_EQ(text.find("csfKeyName="), std::string::npos);
  mapOnly->SetCSFKey("changed");
  ASSERT_TRUE(PsrcLoadText(*rp, text).ok);
  EXPECT_EQ(mapOnly->GetCSFKey(), "solo");
}

TEST(PhysicalSources, SchemaContainerComesFromTheName) {
  auto rp = ARpGateway::CreateInMemory();
  // A schema right under its database has an empty catalog component; a name
  // of two components (written by hand) means the same.
  PsrcLoad r = PsrcLoadText(
      *rp, PsrcDoc("<Database name=\"d\">\n</Database>\n"
                   "<PhysicalCatalog name=\"c\" parentName=\"&quot;d&quot;\">\n</PhysicalCatalog>\n"
                   "<Schema name=\"inDb\" parentName=\"&quot;d&quot;.&quot;&quot;\">\n</Schema>\n"
                   "<Schema name=\"inCat\" parentName=\"&quot;d&quot;.&quot;c&quot;\">\n</Schema>\n"
                   "<Schema qualifiedName=\"&quot;d&quot;.&quot;short&quot;\">\n</Schema>\n"));
  ASSERT_TRUE(r.ok) << r.Text();
  RefARpObject d = rp->FindByQualifiedName(kTIDADatabase, {"d"});
  RefARpObject c = rp->FindByQualifiedName(kTIDACatalog, {"d", "c"});
  auto container = [&](const QualifiedName& q) {
    RefASchema s(rp->FindByQualifiedName(kTIDASchema, q));
    EXPECT_TRUE(s) << MetadataUtil::ToQualifiedName(q).ToUTF8();
    return s ? s->GetContainer().GetID() : VoidID();
  };
  EXPECT_EQ(container({"d", "", "inDb"}), d.GetID());
  EXPECT_EQ(container({"d", "c", "inCat"}), c.GetID());
  EXPECT_EQ(container({"d", "", "short"}), d.GetID());

  // A catalog that is not there is an unresolved parent.
  PsrcLoad bad = PsrcLoadText(*rp, PsrcDoc("<Schema name=\"s\" parentName=\"&quot;d&quot;.&quot;nope&quot;\">\n</Schema>\n"));
  EXPECT_FALSE(bad.ok);
  EXPECT_TRUE(bad.err.Contains(92006)) << bad.Text();
}

TEST(PhysicalSources, RelationsFollowTheirRules) {
  auto rp = ARpGateway::CreateInMemory();
  PsrcOutside out = PsrcMakeOutside(*rp);
  RefADatabase d = PsrcMake<ADatabase>(*rp, kTIDADatabase, "d", 1);
  RefAPhysicalDisplayFolder f = PsrcMake<APhysicalDisplayFolder>(*rp, kTIDAPhysicalDisplayFolder, "f", 2, d);
  RefAPhysicalDisplayFolder g = PsrcMake<APhysicalDisplayFolder>(*rp, kTIDAPhysicalDisplayFolder, "g", 3, d);
  RefAConnectionPool p1 = PsrcMake<AConnectionPool>(*rp, kTIDAConnectionPool, "p1", 4, d);
  RefAConnectionPool p2 = PsrcMake<AConnectionPool>(*rp, kTIDAConnectionPool, "p2", 5, d);
  f->GetTables().Insert(out.t1.GetID());
  f->GetTables().Insert(out.t2.GetID());
  d->GetConnectionPools().Insert(p1);
  d->GetConnectionPools().Insert(p2);
  d->GetDisplayFolders().Insert(f);
  d->GetDisplayFolders().Insert(g);
  auto ref = [](const char* tag, const char* qname) {
    return std::string("<Ref") + tag + " qualifiedName=\"" + qname + "\"/>\n";
  };
  PsrcLoad r = PsrcLoadText(
      *rp, PsrcDoc("<Database name=\"d\">\n<DisplayFolders>\n" + ref("PhysicalDisplayFolder", "&quot;d&quot;.&quot;f&quot;") +
                   "</DisplayFolders>\n<RemovedDisplayFolders>\n" +
                   ref("PhysicalDisplayFolder", "&quot;d&quot;.&quot;g&quot;") +
                   "</RemovedDisplayFolders>\n<ConnectionPools>\n" + ref("ConnectionPool", "&quot;d&quot;.&quot;p1&quot;") +
                   "</ConnectionPools>\n</Database>\n"
                   "<PhysicalDisplayFolder name=\"f\" parentName=\"&quot;d&quot;\">\n<Tables>\n" +
                   ref("PhysicalTable", "&quot;tdb&quot;.&quot;&quot;.&quot;&quot;.&quot;T3&quot;") +
                   ref("PhysicalTable", "&quot;tdb&quot;.&quot;&quot;.&quot;&quot;.&quot;T2&quot;") + "</Tables>\n</PhysicalDisplayFolder>\n"));
  ASSERT_TRUE(r.ok) << r.Text();
  // The folder holds what it lists: T1 leaves, T2 keeps its place, T3 joins behind it.
  EXPECT_EQ(f->GetTables().IDs(), (VoidIDVector{out.t2.GetID(), out.t3.GetID()}));
  // The database's lists follow the relation rule: p2 is not named and stays ahead.
  EXPECT_EQ(d->GetConnectionPools().IDs(), (VoidIDVector{p2.GetID(), p1.GetID()}));
  EXPECT_EQ(d->GetDisplayFolders().IDs(), (VoidIDVector{f.GetID()}));

  // Removals go first: a folder both listed and removed is listed.
  PsrcLoad both = PsrcLoadText(
      *rp, PsrcDoc("<Database name=\"d\">\n<DisplayFolders>\n" + ref("PhysicalDisplayFolder", "&quot;d&quot;.&quot;g&quot;") +
                   ref("PhysicalDisplayFolder", "&quot;d&quot;.&quot;f&quot;") + "</DisplayFolders>\n<RemovedDisplayFolders>\n" +
                   ref("PhysicalDisplayFolder", "&quot;d&quot;.&quot;g&quot;") + "</RemovedDisplayFolders>\n</Database>\n"));
  ASSERT_TRUE(both.ok) << both.Text();
  EXPECT_EQ(d->GetDisplayFolders().IDs(), (VoidIDVector{g.GetID(), f.GetID()}));
}

TEST(PhysicalSources, PoolsAndTheirVariablesAreGeneratedTogether) {
  auto rp = ARpGateway::CreateInMemory();
  RefADatabase d = PsrcMake<ADatabase>(*rp, kTIDADatabase, "d", 1);
  RefAConnectionPool p = PsrcMake<AConnectionPool>(*rp, kTIDAConnectionPool, "p", 2, d);
  p->SetDataSourceName("VALUEOF(DSN)");
  p->SetDBUserName("VALUEOF(\"USR\")");
  for (const char* name : {"USR", "DSN", "OTHER"}) PsrcMake<ARpVariable>(*rp, kTIDARpVariable, name, 10 + name[0]);
  VXStringVector texts;
  PoolVariableTexts(p, texts);
  EXPECT_EQ(texts, (VXStringVector{"VALUEOF(DSN)", "VALUEOF(\"USR\")"}));

  VXString doc, err;
  ASSERT_TRUE(QORLGenerator::GenerateQORL(rp.get(), err, doc, {}, false, false, true, true,
                                          QORLScriptGenerateOnlyConnectionPoolsAndVariables, false, false))
      << err.ToUTF8();
  const std::string text = doc.ToUTF8();
  size_t dsn = text.find("<Variable name=\"DSN\"");
  size_t usr = text.find("<Variable name=\"USR\"");
  size_t pool = text.find("<ConnectionPool name=\"p\"");
  ASSERT_NE(dsn, std::string::npos) << text;
  ASSERT_NE(usr, std::string::npos) << text;
  ASSERT_NE(pool, std::string::npos) << text;
  EXPECT_EQ(text.find("OTHER"), std::string::npos);
}

}  // namespace
}  // namespace qorl
