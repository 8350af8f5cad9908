#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

struct Result {
  int code;
  std::string out;
};

// Runs the qorl command with stderr folded into the output.
Result RunQorl(const std::string& args, const std::string& env = "") {
  std::string cmd = env + " '" QORL_CLI_PATH "' " + args + " 2>&1";
  Result r{0, ""};
  FILE* p = popen(cmd.c_str(), "r");
  std::array<char, 4096> buf;
  size_t n;
  while ((n = fread(buf.data(), 1, buf.size(), p)) > 0) r.out.append(buf.data(), n);
  int status = pclose(p);
  r.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return r;
}

class Cli : public ::testing::Test {
 protected:
  void SetUp() override {
    dir = std::filesystem::temp_directory_path() / ("qorl_cli_" + std::to_string(::getpid()));
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
    repo = (dir / "r.db").string();
  }
  void TearDown() override { std::filesystem::remove_all(dir); }
  std::filesystem::path dir;
  std::string repo;
};

TEST_F(Cli, InitThenInfoShowsTheBuiltInSecurityObjects) {
  Result init = RunQorl("init '" + repo + "'", "QORL_REPOSITORY_PASSWORD=pw");
  ASSERT_EQ(init.code, 0) << init.out;
  Result info = RunQorl("info '" + repo + "' --repository-password pw");
  EXPECT_EQ(info.code, 0) << info.out;
  EXPECT_NE(info.out.find("User \"Administrator\""), std::string::npos) << info.out;
  EXPECT_NE(info.out.find("Group \"Administrators\""), std::string::npos) << info.out;
  Result json = RunQorl("info --json '" + repo + "'", "QORL_REPOSITORY_PASSWORD=pw");
  EXPECT_NE(json.out.find("\"byElement\": {\"User\": 1, \"Group\": 1}"), std::string::npos) << json.out;
}

TEST_F(Cli, FailuresExitNonZeroWithTheReasonOnStderr) {
  Result noPassword = RunQorl("init '" + repo + "'", "env -u QORL_REPOSITORY_PASSWORD");
  EXPECT_NE(noPassword.code, 0);
  EXPECT_NE(noPassword.out.find("QORL_REPOSITORY_PASSWORD"), std::string::npos) << noPassword.out;
  EXPECT_FALSE(std::filesystem::exists(repo));

  ASSERT_EQ(RunQorl("init '" + repo + "' --repository-password right").code, 0);
  Result again = RunQorl("init '" + repo + "' --repository-password right");
  EXPECT_NE(again.code, 0);
  Result wrong = RunQorl("info '" + repo + "' --repository-password wrong");
  EXPECT_NE(wrong.code, 0);
  EXPECT_NE(wrong.out.find("password"), std::string::npos) << wrong.out;
  EXPECT_NE(RunQorl("no-such-command").code, 0);
  EXPECT_EQ(RunQorl("--version").out.rfind("qorl ", 0), 0u);
  EXPECT_EQ(RunQorl("info --help").code, 0);
}

TEST_F(Cli, GenWritesTheRepositoryOrChosenObjects) {
  ASSERT_EQ(RunQorl("init '" + repo + "' --repository-password pw").code, 0);
  std::string doc = (dir / "out" / "r.xml").string();
  Result noDir = RunQorl("gen '" + repo + "' -o '" + doc + "' --repository-password pw");
  EXPECT_EQ(noDir.code, 1);
  EXPECT_NE(noDir.out.find("The output directory " + (dir / "out").string() + " does not exist."), std::string::npos)
      << noDir.out;
  EXPECT_FALSE(std::filesystem::exists(dir / "out"));
  std::filesystem::create_directories(dir / "out");
  Result gen = RunQorl("gen '" + repo + "' -o '" + doc + "' --repository-password pw");
  ASSERT_EQ(gen.code, 0) << gen.out;
  std::ifstream in(doc);
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_EQ(text.rfind("<?xml version='1.0' encoding='UTF-8'?>\n<Repository", 0), 0u) << text;
  EXPECT_NE(text.find("<User name=\"Administrator\""), std::string::npos) << text;
  EXPECT_EQ(text.find("Administrators\""), std::string::npos) << text;  // the internal account's name is encrypted

  Result noUid = RunQorl("gen '" + repo + "' --no-uid --type security-only --repository-password pw");
  EXPECT_EQ(noUid.code, 0);
  EXPECT_EQ(noUid.out.find(" uid="), std::string::npos) << noUid.out;
  EXPECT_NE(noUid.out.find("name=\"Administrators\""), std::string::npos) << noUid.out;

  Result one = RunQorl("gen '" + repo + "' --object 'User:\"Administrator\"' --repository-password pw");
  EXPECT_EQ(one.code, 0) << one.out;
  EXPECT_EQ(one.out.find("<Group"), std::string::npos) << one.out;
  EXPECT_NE(one.out.find("<User"), std::string::npos) << one.out;

  Result missing = RunQorl("gen '" + repo + "' --object 'User:\"Nobody\"' --repository-password pw");
  EXPECT_NE(missing.code, 0);
  EXPECT_NE(missing.out.find("Nobody"), std::string::npos) << missing.out;
  EXPECT_NE(RunQorl("gen '" + repo + "' --type nonsense --repository-password pw").code, 0);

  // A full disk: one error with its cause, and no claim that anything was written.
  Result full = RunQorl("gen '" + repo + "' -o /dev/full --repository-password pw");
  EXPECT_EQ(full.code, 1);
  EXPECT_EQ(full.out, "error: Writing the document to /dev/full failed: No space left on device.\n");
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

TEST_F(Cli, LoadAppliesDocumentsAndAFailureChangesNothing) {
  std::string src = (dir / "src.db").string(), dst = (dir / "dst.db").string();
  std::string doc = (dir / "doc.xml").string(), bad = (dir / "bad.xml").string();
  ASSERT_EQ(RunQorl("init '" + src + "' --repository-password a").code, 0);
  ASSERT_EQ(RunQorl("init '" + dst + "' --repository-password b").code, 0);
  std::ofstream(bad) << "<?xml version='1.0' encoding='UTF-8'?>\n<Repository>\n<DECLARE>\n"
                        "<Database name=\"fine\">\n</Database>\n"
                        "<PhysicalCatalog name=\"c\" parentName=\"&quot;missing&quot;\">\n</PhysicalCatalog>\n"
                        "</DECLARE>\n</Repository>\n";
  std::string before = ReadFile(dst);
  Result failed = RunQorl("load '" + dst + "' '" + bad + "' --repository-password b");
  EXPECT_NE(failed.code, 0);
  EXPECT_NE(failed.out.find("bad.xml"), std::string::npos) << failed.out;
  EXPECT_NE(failed.out.find("Line 6"), std::string::npos) << failed.out;
  EXPECT_NE(failed.out.find("PhysicalCatalog"), std::string::npos) << failed.out;
  EXPECT_EQ(ReadFile(dst), before);

  Result dry = RunQorl("load --dry-run '" + dst + "' '" + bad + "' --repository-password b --ignore-errors");
  EXPECT_NE(dry.out.find("Database \"fine\"  (new)"), std::string::npos) << dry.out;
  EXPECT_EQ(ReadFile(dst), before);

  ASSERT_EQ(RunQorl("gen '" + src + "' -o '" + doc + "' --repository-password a").code, 0);
  Result noPassword = RunQorl("load '" + dst + "' '" + doc + "' --repository-password b");
  EXPECT_NE(noPassword.code, 0);  // the internal account's name is under the other repository's key
  EXPECT_EQ(ReadFile(dst), before);
  EXPECT_EQ(RunQorl("check-password '" + doc + "' --password a").code, 0);
  Result loaded = RunQorl("load '" + dst + "' '" + doc + "' --password a --repository-password b");
  EXPECT_EQ(loaded.code, 0) << loaded.out;
  EXPECT_NE(ReadFile(dst), before);
  Result info = RunQorl("info '" + dst + "' --repository-password b");
  EXPECT_NE(info.out.find("Group \"Administrators\""), std::string::npos) << info.out;
}

std::string Times(const std::string& s, size_t n) {
  std::string out;
  out.reserve(s.size() * n);
  for (size_t i = 0; i < n; ++i) out += s;
  return out;
}

// Hostile documents, as the command meets them: each is refused with the file
// and the line of the problem, and the repository file keeps every byte. (How
// fast and in how little memory: bench/hostile.sh.)
TEST_F(Cli, HostileDocumentsAreRefusedWithFileAndLineAndChangeNothing) {
  ASSERT_EQ(RunQorl("init '" + repo + "' --repository-password pw").code, 0);
  const std::string before = ReadFile(repo);
  const std::string head = "<?xml version='1.0' encoding='UTF-8'?>\n";
  // The body begins on line 4.
  auto declare = [&](const std::string& body) {
    return head + "<Repository>\n<DECLARE>\n" + body + "</DECLARE>\n</Repository>\n";
  };
  std::string bomb = head + "<!DOCTYPE Repository [\n<!ENTITY a0 \"lol\">\n";
  for (int i = 1; i <= 9; ++i) bomb += "<!ENTITY a" + std::to_string(i) + " \"" + Times("&a" + std::to_string(i - 1) + ";", 10) + "\">\n";
  bomb += "]>\n<Repository>\n<DECLARE>\n<Database name=\"&a9;\"/>\n</DECLARE>\n</Repository>\n";
  const std::string doctype = "Line 2: a document may not have a DOCTYPE";
  struct Case {
    std::string name, doc, message;
  };
  const std::vector<Case> cases = {
      {"doctype-internal", head + "<!DOCTYPE Repository [\n<!ELEMENT Repository ANY>\n]>\n<Repository/>\n", doctype},
      {"doctype-external", head + "<!DOCTYPE Repository SYSTEM \"/etc/passwd\">\n<Repository/>\n", doctype},
      {"entity-blowup", bomb, doctype},
      {"depth", declare(Times("<X>", 100000) + Times("</X>", 100000) + "\n"),
       "Line 4: elements are nested more than 256 levels deep."},
      // One element a line inside an object: the limit stops it long before a
      // 16-bit level would wrap and lift the inner object to the top.
      {"depth-wrap",
       declare("<Database name=\"outer\">\n" + Times("<X>\n", 65537) + "<Database name=\"inner\"/>\n" +
               Times("</X>\n", 65537) + "</Database>\n"),
       "Line 258: elements are nested more than 256 levels deep."},
      {"attribute", declare("<Database name=\"" + std::string(8 << 20, 'a') + "\"/>\n"),
       "Line 4: the attribute name of <Database> is longer than 1048576 characters."},
      {"number",
       declare("<Database name=\"d\"/>\n<ConnectionPool name=\"p\" parentName=\"&quot;d&quot;\" maxConn=\"4294967297\"/>\n"),
       "Line 5: the attribute maxConn=\"4294967297\" of <ConnectionPool> is not a number in range"},
      {"invalid-utf8", declare("<Database name=\"d\">\n<Description>bad \xC3\x28 byte</Description>\n</Database>\n"),
       "Line 5: the bytes C3 28 are not UTF-8"},
      {"nul", declare(std::string("<Database name=\"nul\0byte\"/>\n", 28)),
       "Line 4: the document holds a NUL character, which no XML document may hold."},
      {"truncated", head + "<Repository>\n<DECLARE>\n<Database name=\"d\">\n<Description>cut\n",
       "Line 6: the XML document is not well-formed or not valid: input ended before all started tags were ended"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string doc = (dir / (c.name + ".xml")).string();
    std::ofstream(doc, std::ios::binary) << c.doc;
    Result r = RunQorl("load '" + repo + "' '" + doc + "' --repository-password pw");
    EXPECT_EQ(r.code, 1);
    EXPECT_NE(r.out.find("In " + doc + ":"), std::string::npos) << r.out.substr(0, 500);
    EXPECT_NE(r.out.find(c.message), std::string::npos) << r.out.substr(0, 500);
    EXPECT_EQ(ReadFile(repo), before);
  }
}

TEST_F(Cli, ValidationRejectsUnknownElementsWithTheirLine) {
  ASSERT_EQ(RunQorl("init '" + repo + "' --repository-password pw").code, 0);
  std::string doc = (dir / "unknown.xml").string();
  std::ofstream(doc) << "<?xml version='1.0' encoding='UTF-8'?>\n<Repository>\n<DECLARE>\n<Nonsense name=\"x\"/>\n"
                        "</DECLARE>\n</Repository>\n";
  Result lax = RunQorl("load '" + repo + "' '" + doc + "' --repository-password pw");
  EXPECT_EQ(lax.code, 0) << lax.out;
  EXPECT_NE(lax.out.find("warning: Line 4"), std::string::npos) << lax.out;
  Result strict = RunQorl("load --validate '" + repo + "' '" + doc + "' --repository-password pw");
  EXPECT_NE(strict.code, 0);
  EXPECT_NE(strict.out.find("Line 4"), std::string::npos) << strict.out;
}

}  // namespace
