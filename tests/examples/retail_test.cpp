#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <sstream>

#include "gen/generator.h"
#include "load/parser.h"
#include "platform/error.h"
#include "platform/serverlog.h"
#include "store/conditions.h"

namespace qorl {
namespace {

std::string ReadExample(const char* name) {
  std::ifstream in(std::string(QORL_SOURCE_DIR) + "/examples/" + name);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

// The hand-written sample loads (validated) and every attribute written by
// hand comes back when the repository is written again.
TEST(Examples, TheRetailSampleComesBackWithEveryAttribute) {
  const std::string doc = ReadExample("retail.xml");
  ASSERT_FALSE(doc.empty());
  auto rp = ARpGateway::CreateInMemory("sample");
  ErrorMessage err;
  VXString warnings;
  VoidIDVector c, m, d;
  ASSERT_TRUE(QORLParser::ExecuteTransactionalXML(rp.get(), {VXString(doc)}, {}, err, warnings, c, m, d,
                                                  QORLParser::QORLText, true, true, false, false, false, false, true))
      << [&] { VXString t; err.RetrieveErrorMessages(t); return t.ToUTF8(); }();
  VXString out, genErr;
  ASSERT_TRUE(QORLGenerator::GenerateQORL(rp.get(), genErr, out, {}, false, false, true, false,
                                          QORLScriptGenerateEverything, false, false));
  const std::string text = out.ToUTF8();
  std::regex element("<([A-Za-z]+) name=\"([^\"]*)\"([^>]*)>");
  std::regex attribute(" ([A-Za-z]+)=\"([^\"]*)\"");
  size_t checked = 0;
  for (std::sregex_iterator e(doc.begin(), doc.end(), element), end; e != end; ++e) {
    std::string tag = (*e)[1], name = (*e)[2], attrs = (*e)[3];
    // The regenerated element of the same tag, name and parent.
    std::smatch parent;
    std::string key = "<" + tag + " name=\"" + name + "\"";
    if (std::regex_search(attrs, parent, std::regex("^ parentName=\"[^\"]*\""))) key += parent[0].str();
    size_t at = text.find(key);
    if (tag == "Feature") at = text.find("<Feature name=\"" + name + "\"");
    ASSERT_NE(at, std::string::npos) << tag << " " << name;
    std::string line = text.substr(at, text.find('\n', at) - at);
    for (std::sregex_iterator a(attrs.begin(), attrs.end(), attribute); a != end; ++a) {
      if ((*a)[1] == "password") continue;  // written back encrypted, checked below
      EXPECT_NE(line.find((*a)[0].str()), std::string::npos) << tag << " " << name << ":" << (*a)[0] << "\n" << line;
      ++checked;
    }
  }
  EXPECT_GT(checked, 100u);
  // Loaded again into a second repository, the document comes out the same.
  auto second = ARpGateway::CreateInMemory("second");
  ASSERT_TRUE(QORLParser::ExecuteTransactionalXML(second.get(), {out}, {"sample"}, err, warnings, c, m, d,
                                                  QORLParser::QORLText, true, true, false, false, false, false, true))
      << [&] { VXString t; err.RetrieveErrorMessages(t); return t.ToUTF8(); }();
  VXString again;
  ASSERT_TRUE(QORLGenerator::GenerateQORL(second.get(), genErr, again, {}, false, false, true, false,
                                          QORLScriptGenerateEverything, false, false));
  auto normal = [](const std::string& t) {
    std::string s = std::regex_replace(t, std::regex(" (parentId|id)=\"[^\"]*\""), "");
    return std::regex_replace(s, std::regex("\"AES256 [^\"]*\""), "\"(secret)\"");
  };
  EXPECT_EQ(normal(again.ToUTF8()), normal(text));
  // The pool's password came in as hexadecimal and goes out encrypted with the repository's key.
  RefAConnectionPool pool(rp->FindByQualifiedName(kTIDAConnectionPool, {"Retail DW", "DW Pool"}));
  ASSERT_FALSE(pool.IsNullRef());
  EXPECT_EQ(pool->GetEncryptedPassword(), (ByteVector{'r', 'e', 'a', 'd', 'e', 'r', '1'}));
}

struct Loaded {
  bool ok;
  std::string errors;
  VoidIDVector deleted;
};

Loaded LoadText(ARpGateway& rp, const std::string& doc, const VXString& password = VXString()) {
  ErrorMessage err;
  VXString warnings, text;
  VoidIDVector c, m;
  Loaded r;
  r.ok = QORLParser::ExecuteTransactionalXML(&rp, {VXString(doc)}, {password}, err, warnings, c, m, r.deleted,
                                             QORLParser::QORLText, true, true, false, false, false, false, false);
  err.RetrieveErrorMessages(text);
  r.errors = text.ToUTF8();
  return r;
}

std::string WholeDocument(ARpGateway& rp) {
  VXString out, err;
  EXPECT_TRUE(QORLGenerator::GenerateQORL(&rp, err, out, {}, false, false, true, true, QORLScriptGenerateEverything,
                                          false, false))
      << err.ToUTF8();
  return out.ToUTF8();
}

// Deleting a table, or the schema or database that holds it, takes the
// logical columns defined on it and the complex join that names it, and
// drops its column mappings and the table from its source's join graph: the
// document written afterwards names no missing object, loads into a new
// repository and comes out of it the same.
TEST(Examples, DeletingATableItsSchemaOrItsDatabaseLeavesADocumentThatLoads) {
  const std::string retail = ReadExample("retail.xml");
  struct Case {
    std::string ref;
    size_t deleted;  // by the document, and with it for what they name
    size_t columnsLeft;
  };
  const Case cases[] = {
      {"<RefPhysicalTable qualifiedName=\"&quot;Retail DW&quot;.&quot;&quot;.&quot;SALES&quot;.&quot;SALES_FACT&quot;\"/>", 6, 6},
      {"<RefSchema qualifiedName=\"&quot;Retail DW&quot;.&quot;&quot;.&quot;SALES&quot;\"/>", 12, 0},
      {"<RefDatabase qualifiedName=\"&quot;Retail DW&quot;\"/>", 12, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.ref);
    auto rp = ARpGateway::CreateInMemory("sample");
    ASSERT_TRUE(LoadText(*rp, retail).ok);
    const std::string del = "<?xml version='1.0' encoding='UTF-8'?>\n<Repository>\n<DELETE>\n<DeleteObjects>\n" + c.ref +
                            "\n</DeleteObjects>\n</DELETE>\n</Repository>\n";
    ServerLogCapture log;
    Loaded r = LoadText(*rp, del);
    ASSERT_TRUE(r.ok) << r.errors;
    EXPECT_EQ(r.deleted.size(), c.deleted);
    EXPECT_TRUE(log.Contains(ServerLog::kWarning, "The Complex Join \"SALES_TO_DATE\" was deleted too"));
    EXPECT_TRUE(log.Contains(ServerLog::kWarning, "The Logical Column \"Retail Sales\".\"Sales\".\"Revenue\" was deleted too"));
    EXPECT_TRUE(log.Contains(ServerLog::kWarning, "The Logical Table Source \"Retail Sales\".\"Sales\".\"SALES_FACT\" no longer refers"));
    VoidIDVector columns;
    rp->FindObjectIDs(InterfaceTypeCondition(kTIDAAttribute), columns);
    EXPECT_EQ(columns.size(), c.columnsLeft);

    const std::string first = WholeDocument(*rp);
    EXPECT_FALSE(std::regex_search(first, std::regex("CDATA\\[[^\\]]*\"[0-9]{4}:[0-9a-f]{8}\""))) << first;
    EXPECT_EQ(first.find("SALES_TO_DATE"), std::string::npos);
    auto second = ARpGateway::CreateInMemory("second");
    Loaded again = LoadText(*second, first, "sample");
    ASSERT_TRUE(again.ok) << again.errors << "\n" << first;
    auto normal = [](const std::string& t) {
      std::string s = std::regex_replace(t, std::regex(" (parentId|id)=\"[^\"]*\""), "");
      return std::regex_replace(s, std::regex("\"AES256 [^\"]*\""), "\"(secret)\"");
    };
    EXPECT_EQ(normal(WholeDocument(*second)), normal(first));
  }
}

}  // namespace
}  // namespace qorl
