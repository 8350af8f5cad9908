#include "load/xml_reader.h"

#include <gtest/gtest.h>
#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/sax2/Attributes.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/util/XMLUni.hpp>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

#include "load/schema_path.h"
#include "platform/error.h"

namespace qorl {
namespace {

struct SaxProblem {
  bool fatal;
  XMLFileLoc line;
  XMLFileLoc column;
  std::string text;
};

// Records what the parser reports; never throws, so a parse runs to its end.
class SaxRecorder : public xercesc::DefaultHandler {
 public:
  std::vector<std::string> events;  // "<tag a=v ...>", "</tag>", "[CDATA"
  std::string text;
  std::vector<SaxProblem> problems;

  void startElement(const XMLCh*, const XMLCh*, const XMLCh* qname,
                    const xercesc::Attributes& attrs) override {
    std::string e = "<" + XMLStr::ToVX(qname).ToUTF8();
    for (XMLSize_t i = 0; i < attrs.getLength(); ++i) {
      e += " " + XMLStr::ToVX(attrs.getQName(i)).ToUTF8() + "=" + XMLStr::ToVX(attrs.getValue(i)).ToUTF8();
    }
    events.push_back(e + ">");
  }
  void endElement(const XMLCh*, const XMLCh*, const XMLCh* qname) override {
    events.push_back("</" + XMLStr::ToVX(qname).ToUTF8() + ">");
  }
  void characters(const XMLCh* chars, const XMLSize_t length) override {
    text += XMLStr::ToVX(chars, length).ToUTF8();
  }
  void startCDATA() override { events.push_back("[CDATA"); }
  void error(const xercesc::SAXParseException& e) override { Record(false, e); }
  void fatalError(const xercesc::SAXParseException& e) override { Record(true, e); }

  bool Mentions(const char* what) const {
    for (const SaxProblem& p : problems) {
      if (p.text.find(what) != std::string::npos) return true;
    }
    return false;
  }

 private:
  void Record(bool fatal, const xercesc::SAXParseException& e) {
    problems.push_back({fatal, e.getLineNumber(), e.getColumnNumber(), XMLStr::ToVX(e.getMessage()).ToUTF8()});
  }
};

class XmlTempDir {
 public:
  XmlTempDir() {
    std::string tmpl = (std::filesystem::temp_directory_path() / "qorl_xml_XXXXXX").string();
    path = mkdtemp(tmpl.data());
  }
  ~XmlTempDir() { std::filesystem::remove_all(path); }
  std::string Write(const std::string& name, const std::string& bytes) const {
    std::string p = (path / name).string();
    std::ofstream(p, std::ios::binary) << bytes;
    return p;
  }
  std::filesystem::path path;
};

// Sets or clears an environment variable for one scope.
class XmlScopedEnv {
 public:
  XmlScopedEnv(const char* name, const char* value) : m_name(name) {
    if (const char* old = std::getenv(name)) m_old = old;
    if (value) setenv(name, value, 1);
    else unsetenv(name);
  }
  ~XmlScopedEnv() {
    if (m_old) setenv(m_name, m_old->c_str(), 1);
    else unsetenv(m_name);
  }

 private:
  const char* m_name;
  std::optional<std::string> m_old;
};

const char kRepositoryFrame[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<Repository xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">\n"
    "<DECLARE>\n"
    // A family whose own content the schema does not list yet: read laxly.
    "<Variable name=\"v\" iconIndex=\"3\" isDefaultReadable=\"false\" id=\"3031:1\" ownAttr=\"x\">\n"
    "<Description><![CDATA[A variable]]></Description>\n"
    "<Schemas>\n"
    "<RefSchema id=\"3027:4\" qualifiedName=\"&quot;cat&quot;.&quot;s&quot;\"/>\n"
    "</Schemas>\n"
    "</Variable>\n"
    "</DECLARE>\n"
    "<DELETE>\n"
    "<DeleteObjects>\n"
    "<RefPhysicalTable id=\"3001:5\" qualifiedName=\"&quot;db&quot;.&quot;t&quot;\"/>\n"
    "<RefObject id=\"3001:6\"/>\n"
    "</DeleteObjects>\n"
    "</DELETE>\n"
    "<FINEGRAINED>\n"
    "<Anything old_name=\"a\">diff text</Anything>\n"
    "</FINEGRAINED>\n"
    "</Repository>\n";

std::string XmlReplace(std::string s, const std::string& from, const std::string& to) {
  size_t at = s.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  if (at != std::string::npos) s.replace(at, from.size(), to);
  return s;
}

TEST(XmlReader, WellFormedDocumentDeliversEvents) {
  const std::string doc =
      "<?xml version=\"1.0\"?>\n"
      "<a x=\"1\" y=\"&lt;&amp;&quot;\"><b>t&#65;&#x1F600;</b><![CDATA[<c>]]></a>";
  XmlTempDir dir;
  const std::string file = dir.Write("doc.xml", doc);
  for (int viaFile = 0; viaFile < 2; ++viaFile) {
    SaxReader reader;
    SaxRecorder rec;
    reader.SetHandlers(&rec, &rec, &rec);
    if (viaFile) reader.ParseFile(VXString(file));
    else reader.ParseText(VXString(doc));
    EXPECT_EQ(reader.GetErrorCount(), 0u);
    EXPECT_TRUE(rec.problems.empty());
    std::vector<std::string> want = {"<a x=1 y=<&\">", "<b>", "</b>", "[CDATA", "</a>"};
    EXPECT_EQ(rec.events, want);
    EXPECT_EQ(rec.text, "tA\xF0\x9F\x98\x80<c>");
  }

  // One reader serves several parses; the error count is that of the last one.
  SaxReader reader;
  SaxRecorder rec;
  reader.SetHandlers(&rec, &rec);
  reader.ParseText(VXString("<a><b></a>"));
  EXPECT_GT(reader.GetErrorCount(), 0u);
  reader.ParseText(VXString("<a/>"));
  EXPECT_EQ(reader.GetErrorCount(), 0u);
}

TEST(XmlReader, ErrorsReachTheErrorHandlerWithTheirPlace) {
  {
    SaxReader reader;
    SaxRecorder rec;
    reader.SetHandlers(&rec, &rec);
    reader.ParseText(VXString("<r>\n<a>\n  <b></c>\n</a></r>"));
    EXPECT_GT(reader.GetErrorCount(), 0u);
    ASSERT_FALSE(rec.problems.empty());
    EXPECT_TRUE(rec.problems[0].fatal);
    EXPECT_EQ(rec.problems[0].line, 3u);
    EXPECT_GT(rec.problems[0].column, 3u);
  }
  {
    XmlTempDir dir;
    SaxReader reader;
    SaxRecorder rec;
    reader.SetHandlers(&rec, &rec);
    reader.ParseFile(VXString((dir.path / "missing.xml").string()));
    EXPECT_GT(reader.GetErrorCount(), 0u);
    ASSERT_FALSE(rec.problems.empty());
    EXPECT_TRUE(rec.problems[0].fatal);
  }
  {
    // Without an error handler the failure is still counted.
    XmlTempDir dir;
    SaxReader reader;
    SaxRecorder rec;
    reader.SetHandlers(&rec, nullptr);
    reader.ParseFile(VXString((dir.path / "missing.xml").string()));
    EXPECT_GT(reader.GetErrorCount(), 0u);
    reader.ParseText(VXString("<a><b></a>"));
    EXPECT_GT(reader.GetErrorCount(), 0u);
  }
}

// Ends the parse at the first problem, as the load's own handler does.
class SaxThrowingHandler : public xercesc::DefaultHandler {
 public:
  void error(const xercesc::SAXParseException& e) override { fatalError(e); }
  void fatalError(const xercesc::SAXParseException& e) override {
    ErrorMessage error(92008, XMLStr::ToVX(e.getMessage()));
    error.SetLocation(static_cast<uint32_t>(e.getLineNumber()), static_cast<uint32_t>(e.getColumnNumber()));
    throw error;
  }
};

TEST(XmlReader, ExceptionsOfTheHandlersPassThrough) {
  SaxReader reader;
  SaxThrowingHandler handler;
  reader.SetHandlers(&handler, &handler);
  const std::vector<std::string> docs = {
      "<r>\n<a></b></r>",
      "<!DOCTYPE r [<!ENTITY e SYSTEM \"http://127.0.0.1:1/x\">]>\n<r>&e;</r>",
  };
  for (const std::string& doc : docs) {
    SCOPED_TRACE(doc);
    try {
      reader.ParseText(VXString(doc));
      ADD_FAILURE() << "no exception";
    } catch (const ErrorMessage& e) {
      EXPECT_EQ(e.GetMessageNumber(), 92008u);
      EXPECT_EQ(e.Entries().back().line, 2u);
    }
    // The reader is usable after an exception went through it.
    reader.ParseText(VXString("<r/>"));
    EXPECT_EQ(reader.GetErrorCount(), 0u);
  }
}

TEST(XmlReader, ExternalResourcesAreNeverRead) {
  XmlTempDir dir;
  const std::string secret = dir.Write("secret.txt", "SECRET");
  const std::string evilSchema = dir.Write(
      "evil.xsd",
      "<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\"><xs:element name=\"Repository\"/></xs:schema>");
  const std::string dtd = dir.Write("leak.dtd", "<!ENTITY s \"SECRET\">");
  for (bool validate : {false, true}) {
    for (const std::string& target : {"file://" + secret, secret, std::string("http://127.0.0.1:1/x")}) {
      SCOPED_TRACE(target + (validate ? " validating" : ""));
      SaxReader reader;
      if (validate) reader.EnableValidation(FindSchemaFile(U"qorl1.xsd"), false);
      SaxRecorder rec;
      reader.SetHandlers(&rec, &rec, &rec);
      reader.ParseText(VXString("<!DOCTYPE r [<!ENTITY e SYSTEM \"" + target + "\">]>\n<r>[&e;]</r>"));
      EXPECT_EQ(rec.text.find("SECRET"), std::string::npos);
      EXPECT_GT(reader.GetErrorCount(), 0u);
      // Validation fails on the undeclared root before the entity is met.
      if (!validate) EXPECT_TRUE(rec.Mentions("external resource"));
    }
    // An external DTD is not read either, also when validation would load it.
    for (const std::string& target : {"file://" + dtd, dtd, std::string("http://127.0.0.1:1/x.dtd")}) {
      SCOPED_TRACE(target + (validate ? " validating" : ""));
      SaxReader reader;
      if (validate) reader.EnableValidation(FindSchemaFile(U"qorl1.xsd"), false);
      SaxRecorder rec;
      reader.SetHandlers(&rec, &rec, &rec);
      reader.ParseText(VXString("<!DOCTYPE r SYSTEM \"" + target + "\">\n<r>&s;</r>"));
      EXPECT_EQ(rec.text.find("SECRET"), std::string::npos);
      // Not validating, the parser never asks for it; the reference to an
      // entity it did not read is then skipped without an error.
      if (validate) {
        EXPECT_GT(reader.GetErrorCount(), 0u);
        EXPECT_TRUE(rec.Mentions("external resource"));
      }
    }
  }

  // A schema hint inside the document is not followed: the configured schema
  // still decides.
  {
    SaxReader reader;
    reader.EnableValidation(FindSchemaFile(U"qorl1.xsd"), false);
    SaxRecorder rec;
    reader.SetHandlers(&rec, &rec);
    reader.ParseText(VXString(XmlReplace(kRepositoryFrame, "<Repository ",
                                      "<Repository xsi:noNamespaceSchemaLocation=\"" + evilSchema + "\" ")));
    EXPECT_EQ(reader.GetErrorCount(), 0u) << (rec.problems.empty() ? "" : rec.problems[0].text);
    reader.ParseText(VXString(XmlReplace(XmlReplace(kRepositoryFrame, "<Variable ", "<Bogus "), "</Variable>", "</Bogus>")));
    EXPECT_GT(reader.GetErrorCount(), 0u);
  }

  // Exponential entity expansion stops at the limit with an error. Five levels
  // are enough to pass the limit and small enough to finish without it.
  {
    std::string bomb = "<!DOCTYPE r [\n<!ENTITY a0 \"lol\">\n";
    for (int i = 1; i <= 5; ++i) {
      bomb += "<!ENTITY a" + std::to_string(i) + " \"" ;
      for (int k = 0; k < 10; ++k) bomb += "&a" + std::to_string(i - 1) + ";";
      bomb += "\">\n";
    }
    bomb += "]>\n<r>&a5;</r>";
    SaxReader reader;
    SaxRecorder rec;
    reader.SetHandlers(&rec, &rec);
    reader.ParseText(VXString(bomb));
    EXPECT_GT(reader.GetErrorCount(), 0u);
    ASSERT_FALSE(rec.problems.empty());
    EXPECT_TRUE(rec.problems[0].fatal);
    EXPECT_TRUE(rec.Mentions("expansion")) << rec.problems[0].text;
    EXPECT_LT(rec.text.size(), 1000u);
  }
  // ...while the predefined entities of ordinary documents do not count.
  {
    std::string doc = "<r q=\"";
    for (int i = 0; i < 1000; ++i) doc += "&quot;a&quot;.";
    doc += "\">";
    for (int i = 0; i < 1000; ++i) doc += "&amp;&lt;&#65;";
    doc += "</r>";
    SaxReader reader;
    SaxRecorder rec;
    reader.SetHandlers(&rec, &rec);
    reader.ParseText(VXString(doc));
    EXPECT_EQ(reader.GetErrorCount(), 0u);
    EXPECT_EQ(rec.text.size(), 3000u);
  }
}

TEST(XmlReader, TextIsParsedAsDecodedWhateverItsDeclarationSays) {
  const std::string body = "<r a=\"\xC3\xA9t\xC3\xA9\">\xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x98\x80 \xC3\xBC</r>";
  for (const char* decl : {"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n", "<?xml version='1.0' encoding='UTF-8'?>",
                           "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n", ""}) {
    SCOPED_TRACE(decl);
    for (bool bom : {false, true}) {
      SaxReader reader;
      SaxRecorder rec;
      reader.SetHandlers(&rec, &rec);
      std::string doc = std::string(bom ? "\xEF\xBB\xBF" : "") + decl + body;
      reader.ParseText(VXString(doc));
      EXPECT_EQ(reader.GetErrorCount(), 0u) << (rec.problems.empty() ? "" : rec.problems[0].text);
      EXPECT_EQ(rec.text, "\xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x98\x80 \xC3\xBC");
      ASSERT_EQ(rec.events.size(), 2u);
      EXPECT_EQ(rec.events[0], "<r a=\xC3\xA9t\xC3\xA9>");
    }
  }
}

TEST(XmlReader, SchemaValidation) {
  const VXString schema = FindSchemaFile(U"qorl1.xsd");
  ASSERT_TRUE(std::filesystem::exists(schema.ToUTF8())) << schema.ToUTF8();

  struct Case {
    const char* what;
    std::string doc;
    XMLFileLoc line;  // 0: valid
  };
  const std::string frame = kRepositoryFrame;
  const std::vector<Case> cases = {
      {"frame", frame, 0},
      {"empty root", "<Repository xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"/>", 0},
      {"every section twice", XmlReplace(frame, "<DELETE>", "<DECLARE/><DELETE/><FINEGRAINED/><DELETE>"), 0},
      {"sections held by the other tags", XmlReplace(frame, "<DELETE>", "<DECLARE><Role/><LevelToLevel/></DECLARE><DELETE>"), 0},
      {"unknown element under DECLARE",
       XmlReplace(XmlReplace(frame, "<Variable ", "<Bogus "), "</Variable>", "</Bogus>"), 4},
      {"flag that is not a boolean", XmlReplace(frame, "isDefaultReadable=\"false\"", "isDefaultAll=\"maybe\""), 4},
      {"icon index out of range", XmlReplace(frame, "iconIndex=\"3\"", "iconIndex=\"70000\""), 4},
      {"text under DECLARE", XmlReplace(frame, "<DECLARE>\n", "<DECLARE>\nstray"), 4},
      // A content model is checked when its element closes.
      {"object directly under DELETE", XmlReplace(frame, "<DeleteObjects>", "<PhysicalTable/><DeleteObjects>"), 16},
      {"non-reference under DeleteObjects", XmlReplace(frame, "<RefObject ", "<PhysicalTable "), 15},
      {"reference with children", XmlReplace(frame, "<RefObject id=\"3001:6\"/>", "<RefObject><x/></RefObject>"), 14},
      {"nested Description with markup", XmlReplace(frame, "<![CDATA[A variable]]>", "<b/>"), 5},
      {"unknown root", "<Repo/>", 1},
  };
  for (bool cache : {false, true}) {
    SaxReader reader;
    reader.EnableValidation(schema, cache);
    // Full checking also tests the schema itself, e.g. for ambiguous content
    // models, which would show up as an error on the first case.
    reader.Reader().setFeature(xercesc::XMLUni::fgXercesSchemaFullChecking, true);
    for (const Case& c : cases) {
      SCOPED_TRACE(std::string(c.what) + (cache ? " cached" : ""));
      SaxRecorder rec;
      reader.SetHandlers(&rec, &rec);
      reader.ParseText(VXString(c.doc));
      if (c.line == 0) {
        EXPECT_EQ(reader.GetErrorCount(), 0u) << (rec.problems.empty() ? "" : rec.problems[0].text);
        EXPECT_TRUE(rec.problems.empty());
      } else {
        EXPECT_GT(reader.GetErrorCount(), 0u);
        ASSERT_FALSE(rec.problems.empty());
        EXPECT_EQ(rec.problems[0].line, c.line) << rec.problems[0].text;
      }
    }
  }

  // The same through a file, and without validation nothing of the schema applies.
  XmlTempDir dir;
  const std::string bad = dir.Write("bad.xml", XmlReplace(frame, "isDefaultReadable=\"false\"", "isDefaultAll=\"maybe\""));
  SaxReader validating;
  validating.EnableValidation(schema, true);
  SaxRecorder rec;
  validating.SetHandlers(&rec, &rec);
  validating.ParseFile(VXString(bad));
  ASSERT_FALSE(rec.problems.empty());
  EXPECT_EQ(rec.problems[0].line, 4u);
  SaxReader plain;
  SaxRecorder rec2;
  plain.SetHandlers(&rec2, &rec2);
  plain.ParseFile(VXString(bad));
  EXPECT_EQ(plain.GetErrorCount(), 0u);
}

TEST(XmlReader, FindSchemaFile) {
  XmlTempDir dir;
  {
    XmlScopedEnv env("QORL_SCHEMA_DIR", dir.path.string().c_str());
    // The variable is the only place looked at, present or not.
    EXPECT_EQ(FindSchemaFile(U"qorl1.xsd"), VXString((dir.path / "qorl1.xsd").string()));
    dir.Write("qorl1.xsd", "<x/>");
    EXPECT_EQ(FindSchemaFile(U"qorl1.xsd"), VXString((dir.path / "qorl1.xsd").string()));
  }
  {
    XmlScopedEnv env("QORL_SCHEMA_DIR", nullptr);
    const std::string found = FindSchemaFile(U"qorl1.xsd").ToUTF8();
    EXPECT_TRUE(std::filesystem::exists(found)) << found;
    EXPECT_TRUE(found.ends_with("/qorl1.xsd")) << found;
    // Nothing anywhere: the source tree's path, so an error can name it.
    const std::string missing = FindSchemaFile(U"no_such_schema.xsd").ToUTF8();
    EXPECT_TRUE(missing.ends_with("schema/no_such_schema.xsd")) << missing;
    EXPECT_FALSE(std::filesystem::exists(missing));
  }
  {
    XmlScopedEnv env("QORL_SCHEMA_DIR", "");
    EXPECT_TRUE(std::filesystem::exists(FindSchemaFile(U"qorl1.xsd").ToUTF8()));
  }
}

TEST(XmlReader, XMLStrConversions) {
  const std::u16string s = u"a\u00e9\U0001F600z";
  EXPECT_TRUE(XMLStr::Equals(s.c_str(), U"a\u00e9\U0001F600z"));
  EXPECT_FALSE(XMLStr::Equals(s.c_str(), U"a\u00e9\U0001F600"));
  EXPECT_FALSE(XMLStr::Equals(s.c_str(), U"a\u00e9\U0001F600zz"));
  EXPECT_FALSE(XMLStr::Equals(s.c_str(), U"a\u00e9\xD83D\xDE00z"));
  EXPECT_TRUE(XMLStr::Equals(nullptr, U""));
  EXPECT_FALSE(XMLStr::Equals(nullptr, U"a"));
  EXPECT_TRUE(XMLStr::Equals(u"", U""));
  const char16_t lone[] = {u'a', 0xD800, u'b', 0};
  EXPECT_TRUE(XMLStr::Equals(lone, U"a\uFFFDb"));
  EXPECT_EQ(XMLStr::ToVX(lone), VXString(U"a\uFFFDb"));
  EXPECT_EQ(XMLStr::ToVX(s.c_str(), 4), VXString(U"a\u00e9\U0001F600"));
  EXPECT_EQ(XMLStr::ToVX(nullptr), VXString());
  EXPECT_EQ(XMLStr::FromVX(XMLStr::ToVX(s.c_str())), s);
}

}  // namespace
}  // namespace qorl
