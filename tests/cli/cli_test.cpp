#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "qorl/repository.h"

namespace {

struct Result {
  int code;
  std::string out;
};

// Starts the qorl command with stderr folded into the output; `input` is a
// file for its standard input. It runs until FinishQorl reads what it wrote.
FILE* StartQorl(const std::string& args, const std::string& env = "", const std::string& input = "") {
  std::string cmd = env + " '" QORL_CLI_PATH "' " + args + (input.empty() ? "" : " < '" + input + "'") + " 2>&1";
  return popen(cmd.c_str(), "r");
}

Result FinishQorl(FILE* p) {
  Result r{0, ""};
  std::array<char, 4096> buf;
  size_t n;
  while ((n = fread(buf.data(), 1, buf.size(), p)) > 0) r.out.append(buf.data(), n);
  int status = pclose(p);
  r.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return r;
}

Result RunQorl(const std::string& args, const std::string& env = "", const std::string& input = "") {
  return FinishQorl(StartQorl(args, env, input));
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
  // Made here rather than by `qorl init`, a repository gets the test program's
  // low key-derivation count, which the file keeps, so the commands below open
  // it quickly. The tests of init itself run the command.
  static void MakeRepository(const std::string& path, const std::string& password) {
    qorl::Repository::Create(path, password);
  }
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

  // info tells a directory from a missing file.
  Result directory = RunQorl("info '" + dir.string() + "' --repository-password right");
  EXPECT_EQ(directory.code, 1);
  EXPECT_EQ(directory.out, "qorl: error: " + dir.string() + " is a directory, not a repository file. [99036]\n");
  Result missing = RunQorl("info '" + (dir / "none.db").string() + "' --repository-password right");
  EXPECT_EQ(missing.out, "qorl: error: The repository file " + (dir / "none.db").string() + " does not exist. [99035]\n");
}

TEST_F(Cli, GenWritesTheRepositoryOrChosenObjects) {
  MakeRepository(repo, "pw");
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
  EXPECT_EQ(full.out, "qorl: error: Writing the document to /dev/full failed: No space left on device. [46006]\n");
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

TEST_F(Cli, LoadAppliesDocumentsAndAFailureChangesNothing) {
  std::string src = (dir / "src.db").string(), dst = (dir / "dst.db").string();
  std::string doc = (dir / "doc.xml").string(), bad = (dir / "bad.xml").string();
  MakeRepository(src, "a");
  MakeRepository(dst, "b");
  std::ofstream(bad) << "<?xml version='1.0' encoding='UTF-8'?>\n<Repository>\n<DECLARE>\n"
                        "<Database name=\"fine\">\n</Database>\n"
                        "<PhysicalCatalog name=\"c\" parentName=\"&quot;missing&quot;\">\n</PhysicalCatalog>\n"
                        "</DECLARE>\n</Repository>\n";
  std::string before = ReadFile(dst);
  Result failed = RunQorl("load '" + dst + "' '" + bad + "' --repository-password b");
  EXPECT_NE(failed.code, 0);
  EXPECT_EQ(failed.out.rfind(bad + ":6:1: error: ", 0), 0u) << failed.out;
  EXPECT_NE(failed.out.find(bad + ":6:1: note: While applying <PhysicalCatalog>"), std::string::npos) << failed.out;
  EXPECT_EQ(ReadFile(dst), before);

  Result dry = RunQorl("load --dry-run '" + dst + "' '" + bad + "' --repository-password b --ignore-errors");
  EXPECT_NE(dry.out.find("Database \"fine\"  (new)"), std::string::npos) << dry.out;
  EXPECT_EQ(ReadFile(dst), before);

  ASSERT_EQ(RunQorl("gen '" + src + "' -o '" + doc + "' --repository-password a").code, 0);
  Result noPassword = RunQorl("load '" + dst + "' '" + doc + "' --repository-password b");
  EXPECT_NE(noPassword.code, 0);  // the internal account's name is under the other repository's key
  EXPECT_EQ(ReadFile(dst), before);
  EXPECT_EQ(RunQorl("check-password '" + doc + "' --password a").code, 0);
  // The dry run reads the document as the load does: with its password.
  EXPECT_NE(RunQorl("load --dry-run '" + dst + "' '" + doc + "' --repository-password b").code, 0);
  Result dryWith = RunQorl("load --dry-run '" + dst + "' '" + doc + "' --password a --repository-password b");
  EXPECT_EQ(dryWith.code, 0) << dryWith.out;
  EXPECT_NE(dryWith.out.find("Group \"Administrators\"  (updates "), std::string::npos) << dryWith.out;
  EXPECT_EQ(ReadFile(dst), before);
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
  const std::string doctype = ":2: error: A document may not have a DOCTYPE";
  struct Case {
    std::string name, doc, message;
  };
  const std::vector<Case> cases = {
      {"doctype-internal", head + "<!DOCTYPE Repository [\n<!ELEMENT Repository ANY>\n]>\n<Repository/>\n", doctype},
      {"doctype-external", head + "<!DOCTYPE Repository SYSTEM \"/etc/passwd\">\n<Repository/>\n", doctype},
      {"entity-blowup", bomb, doctype},
      {"depth", declare(Times("<X>", 100000) + Times("</X>", 100000) + "\n"),
       ":4: error: Elements are nested more than 256 levels deep."},
      // One element a line inside an object: the limit stops it long before a
      // 16-bit level would wrap and lift the inner object to the top.
      {"depth-wrap",
       declare("<Database name=\"outer\">\n" + Times("<X>\n", 65537) + "<Database name=\"inner\"/>\n" +
               Times("</X>\n", 65537) + "</Database>\n"),
       ":258: error: Elements are nested more than 256 levels deep."},
      {"attribute", declare("<Database name=\"" + std::string(8 << 20, 'a') + "\"/>\n"),
       ":4: error: The attribute name of <Database> is longer than 1048576 characters."},
      {"number",
       declare("<Database name=\"d\"/>\n<ConnectionPool name=\"p\" parentName=\"&quot;d&quot;\" maxConn=\"4294967297\"/>\n"),
       ":5: error: The attribute maxConn=\"4294967297\" of <ConnectionPool> is not a number in range"},
      {"invalid-utf8", declare("<Database name=\"d\">\n<Description>bad \xC3\x28 byte</Description>\n</Database>\n"),
       ":5: error: The bytes C3 28 are not UTF-8"},
      {"nul", declare(std::string("<Database name=\"nul\0byte\"/>\n", 28)),
       ":4: error: The document holds a NUL character, which no XML document may hold."},
      {"truncated", head + "<Repository>\n<DECLARE>\n<Database name=\"d\">\n<Description>cut\n",
       ":6: error: The XML document is not well-formed or not valid: input ended before all started tags were ended"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string doc = (dir / (c.name + ".xml")).string();
    std::ofstream(doc, std::ios::binary) << c.doc;
    Result r = RunQorl("load '" + repo + "' '" + doc + "' --repository-password pw");
    EXPECT_EQ(r.code, 1);
    // FILE:LINE: (with the column where the parser knows it), then the message.
    const std::string line = c.message.substr(0, c.message.find(' '));   // ":N:"
    const std::string text = c.message.substr(c.message.find(' ') + 1);  // "error: ..."
    EXPECT_NE(r.out.find(doc + line), std::string::npos) << r.out.substr(0, 500);
    EXPECT_NE(r.out.find(text), std::string::npos) << r.out.substr(0, 500);
    EXPECT_EQ(ReadFile(repo), before);
  }
}

TEST_F(Cli, IgnoringErrorsDoesNotPassOverAMalformedDocument) {
  ASSERT_EQ(RunQorl("init '" + repo + "' --repository-password pw").code, 0);
  std::string broken = (dir / "broken.xml").string();
  std::ofstream(broken) << "<?xml version='1.0' encoding='UTF-8'?>\n<Repository>\n<DECLARE>\n<Database name=\"x\">\n"
                           "</DECLARE>\n";
  std::string before = ReadFile(repo);
  Result malformed = RunQorl("load --ignore-errors '" + repo + "' '" + broken + "' --repository-password pw");
  EXPECT_EQ(malformed.code, 1) << malformed.out;
  EXPECT_NE(malformed.out.find(broken + ":5:3: error: The XML document is not well-formed"), std::string::npos)
      << malformed.out;
  EXPECT_NE(malformed.out.find("Nothing was loaded"), std::string::npos) << malformed.out;
  EXPECT_EQ(ReadFile(repo), before);
}

TEST_F(Cli, ValidationRejectsUnknownElementsWithTheirLine) {
  MakeRepository(repo, "pw");
  std::string doc = (dir / "unknown.xml").string();
  std::ofstream(doc) << "<?xml version='1.0' encoding='UTF-8'?>\n<Repository>\n<DECLARE>\n<Nonsense name=\"x\"/>\n"
                        "</DECLARE>\n</Repository>\n";
  Result lax = RunQorl("load '" + repo + "' '" + doc + "' --repository-password pw");
  EXPECT_EQ(lax.code, 0) << lax.out;
  EXPECT_NE(lax.out.find(doc + ":4: warning: Unknown element <Nonsense>"), std::string::npos) << lax.out;
  Result strict = RunQorl("load --validate '" + repo + "' '" + doc + "' --repository-password pw");
  EXPECT_NE(strict.code, 0);
  EXPECT_NE(strict.out.find(doc + ":4:"), std::string::npos) << strict.out;
}

// ---- diagnostics, exit codes, inputs and install ------------------------------

// One line of --diagnostics=json: a flat object of strings, numbers and nulls
// (null as nullopt); nullopt for a line that is not such an object.
using JsonObject = std::map<std::string, std::optional<std::string>>;
std::optional<JsonObject> ParseJsonLine(const std::string& line) {
  size_t i = 0;
  auto ws = [&] { while (i < line.size() && line[i] == ' ') ++i; };
  auto string = [&](std::string& out) {
    if (i >= line.size() || line[i] != '"') return false;
    for (++i; i < line.size() && line[i] != '"'; ++i) {
      if (static_cast<unsigned char>(line[i]) < 0x20) return false;
      if (line[i] != '\\') { out += line[i]; continue; }
      if (++i >= line.size()) return false;
      if (line[i] == 'u') {
        if (i + 4 >= line.size()) return false;
        out += "\\u" + line.substr(i + 1, 4);  // kept as written: enough to compare
        i += 4;
      } else if (std::string("\"\\/bfnrt").find(line[i]) != std::string::npos) {
        out += line[i];
      } else {
        return false;
      }
    }
    return i++ < line.size();
  };
  JsonObject object;
  ws();
  if (i >= line.size() || line[i++] != '{') return std::nullopt;
  while (true) {
    ws();
    std::string key;
    if (!string(key)) return std::nullopt;
    ws();
    if (i >= line.size() || line[i++] != ':') return std::nullopt;
    ws();
    std::optional<std::string> value;
    if (line.compare(i, 4, "null") == 0) {
      i += 4;
    } else if (i < line.size() && line[i] == '"') {
      std::string text;
      if (!string(text)) return std::nullopt;
      value = text;
    } else {
      size_t start = i;
      while (i < line.size() && std::isdigit(static_cast<unsigned char>(line[i]))) ++i;
      if (i == start) return std::nullopt;
      value = line.substr(start, i - start);
    }
    if (!object.emplace(key, value).second) return std::nullopt;
    ws();
    if (i < line.size() && line[i] == ',') { ++i; continue; }
    if (i < line.size() && line[i] == '}' && ++i == line.size()) return object;
    return std::nullopt;
  }
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) out.push_back(line);
  return out;
}

// The retail sample with one reference broken: line 50's <RefPhysicalColumn>
// names a column that does not exist, inside the <PhysicalKey> of line 48.
std::string BrokenRetail() {
  std::vector<std::string> lines = Lines(ReadFile(std::string(QORL_SOURCE_DIR) + "/examples/retail.xml"));
  EXPECT_NE(lines.at(47).find("<PhysicalKey name=\"PK_SALES_FACT\""), std::string::npos) << lines.at(47);
  size_t at = lines.at(49).find("SALE_ID&quot;");
  EXPECT_EQ(lines.at(49).rfind("<RefPhysicalColumn", 0), 0u) << lines.at(49);
  lines.at(49).replace(at, 7, "SALE_IDX");
  std::string text;
  for (const std::string& l : lines) text += l + "\n";
  return text;
}

TEST_F(Cli, DiagnosticsAreOneLineEachAndPointAtTheElementThatIsWrong) {
  MakeRepository(repo, "pw");
  std::string bad = (dir / "badref.xml").string(), log = (dir / "qorl.log").string();
  std::ofstream(bad) << BrokenRetail();
  const std::string object = "\"Retail DW\".\"\".\"SALES\".\"SALES_FACT\"";
  const std::string expected =
      bad + ":50:1: error: The object " + object + ".\"SALE_IDX\" (uid none) that the document refers to cannot be found. [92006]\n" +
      bad + ":48:1: note: While applying <PhysicalKey> " + object + ".\"PK_SALES_FACT\".\n" +
      repo + ": note: Nothing was loaded; the repository is unchanged.\n";
  Result text = RunQorl("--log '" + log + "' load '" + repo + "' '" + bad + "' --repository-password pw");
  EXPECT_EQ(text.code, 1);
  EXPECT_EQ(text.out, expected);
  // The log holds every diagnostic, the load's errors among them.
  std::string logged = ReadFile(log);
  for (const std::string& line : Lines(expected)) EXPECT_NE(logged.find(" " + line + "\n"), std::string::npos) << line;
  EXPECT_NE(logged.find(" " + bad + ": note: Loading the file"), std::string::npos) << logged;

  // The same as JSON, one object per line, with every key.
  Result json = RunQorl("--diagnostics=json load '" + repo + "' '" + bad + "' --repository-password pw");
  EXPECT_EQ(json.code, 1);
  std::vector<std::string> lines = Lines(json.out);
  ASSERT_EQ(lines.size(), 3u) << json.out;
  const std::set<std::string> keys = {"file", "line", "column", "severity", "code", "message", "element", "object"};
  std::vector<JsonObject> objects;
  for (const std::string& line : lines) {
    std::optional<JsonObject> o = ParseJsonLine(line);
    ASSERT_TRUE(o) << line;
    std::set<std::string> got;
    for (const auto& [k, v] : *o) got.insert(k);
    EXPECT_EQ(got, keys) << line;
    objects.push_back(*o);
  }
  EXPECT_EQ(objects[0]["file"], bad);
  EXPECT_EQ(objects[0]["line"], "50");
  EXPECT_EQ(objects[0]["column"], "1");
  EXPECT_EQ(objects[0]["severity"], "error");
  EXPECT_EQ(objects[0]["code"], "92006");
  EXPECT_EQ(objects[0]["element"], "PhysicalKey");
  EXPECT_EQ(objects[0]["object"], object + ".\"PK_SALES_FACT\"");
  EXPECT_EQ(objects[1]["severity"], "note");
  EXPECT_EQ(objects[1]["line"], "48");
  EXPECT_EQ(objects[2]["line"], std::nullopt);
  EXPECT_EQ(objects[2]["code"], std::nullopt);

  // A missing document says so, without a line.
  std::string missing = (dir / "missing.xml").string();
  Result gone = RunQorl("load '" + repo + "' '" + missing + "' --repository-password pw");
  EXPECT_EQ(gone.code, 1);
  EXPECT_EQ(Lines(gone.out).at(0), missing + ": error: The file does not exist. [92035]");
  EXPECT_EQ(gone.out.find("Line 0"), std::string::npos) << gone.out;
  EXPECT_NE(RunQorl("load --dry-run '" + repo + "' '" + missing + "' --repository-password pw")
                .out.find("\n" + missing + ": error: The file does not exist."),
            std::string::npos);
}

TEST_F(Cli, UsageErrorsExitTwoAndHelpExplainsEachSubcommand) {
  MakeRepository(repo, "pw");
  Result bogus = RunQorl("bogus");
  EXPECT_EQ(bogus.code, 2);
  EXPECT_EQ(bogus.out, "qorl: error: unknown subcommand 'bogus'; see qorl --help\n");
  Result noRepo = RunQorl("load");
  EXPECT_EQ(noRepo.code, 2);
  EXPECT_EQ(noRepo.out, "qorl: error: REPO is required; see qorl load --help\n");
  EXPECT_EQ(RunQorl("gen '" + repo + "' --type nonsense --repository-password pw").code, 2);
  EXPECT_EQ(RunQorl("--diagnostics xml info '" + repo + "' --repository-password pw").code, 2);
  EXPECT_EQ(RunQorl("info '" + repo + "' --no-such-option --repository-password pw").code, 2);
  EXPECT_EQ(RunQorl("--log '" + (dir / "no" / "x.log").string() + "' info '" + repo + "' --repository-password pw").code, 2);
  Result noPassword = RunQorl("info '" + repo + "'", "env -u QORL_REPOSITORY_PASSWORD");
  EXPECT_EQ(noPassword.code, 2);
  EXPECT_NE(noPassword.out.find("[99011]"), std::string::npos) << noPassword.out;

  Result help = RunQorl("help");
  EXPECT_EQ(help.code, 0);
  EXPECT_EQ(help.out, RunQorl("--help").out);
  EXPECT_NE(help.out.find("Exit codes:\n  0  success"), std::string::npos) << help.out;
  Result helpLoad = RunQorl("help load");
  EXPECT_EQ(helpLoad.code, 0);
  EXPECT_EQ(helpLoad.out, RunQorl("load --help").out);
  EXPECT_NE(helpLoad.out.find("Usage: qorl load"), std::string::npos) << helpLoad.out;
  Result helpBogus = RunQorl("help bogus");
  EXPECT_EQ(helpBogus.code, 2);
  EXPECT_EQ(helpBogus.out, "qorl: error: unknown subcommand 'bogus'; see qorl --help\n");

  // check-password is a comparison: 0 opens, 1 does not, 2 could not tell.
  std::string doc = (dir / "doc.xml").string();
  ASSERT_EQ(RunQorl("gen '" + repo + "' -o '" + doc + "' --repository-password pw").code, 0);
  EXPECT_EQ(RunQorl("check-password '" + doc + "' --password pw").code, 0);
  EXPECT_EQ(RunQorl("check-password '" + doc + "' --password other").code, 1);
  EXPECT_EQ(RunQorl("check-password '" + (dir / "none.xml").string() + "' --password pw").code, 2);
  EXPECT_EQ(RunQorl("check-password '" + doc + "'").code, 2);
}

TEST_F(Cli, DocumentsFromStandardInputAndPasswordsFromFiles) {
  std::string src = (dir / "src.db").string(), dst = (dir / "dst.db").string(), doc = (dir / "doc.xml").string();
  std::string srcPassword = (dir / "a.pw").string(), dstPassword = (dir / "b.pw").string();
  MakeRepository(src, "a");
  MakeRepository(dst, "b");
  std::ofstream(srcPassword) << "a\n";
  std::ofstream(dstPassword) << "b\r\nnot this line\n";
  ASSERT_EQ(RunQorl("gen '" + src + "' -o '" + doc + "' --repository-password-file '" + srcPassword + "'").code, 0);

  // The file wins over the environment; "-" is the document on standard input.
  Result loaded = RunQorl("load '" + dst + "' - --password-file '" + srcPassword + "' --repository-password-file '" +
                              dstPassword + "'",
                          "QORL_REPOSITORY_PASSWORD=wrong", doc);
  EXPECT_EQ(loaded.code, 0) << loaded.out;
  Result info = RunQorl("info '" + dst + "' --repository-password b");
  EXPECT_NE(info.out.find("Group \"Administrators\""), std::string::npos) << info.out;
  EXPECT_EQ(RunQorl("check-password - --password-file '" + srcPassword + "'", "", doc).code, 0);

  // Errors in standard input name it as compilers do.
  std::string bad = (dir / "bad.xml").string();
  std::ofstream(bad) << "<?xml version='1.0' encoding='UTF-8'?>\n<Repository>\n<DECLARE>\n"
                        "<PhysicalCatalog name=\"c\" parentName=\"&quot;missing&quot;\">\n</PhysicalCatalog>\n"
                        "</DECLARE>\n</Repository>\n";
  Result fromStdin = RunQorl("load '" + dst + "' - --repository-password b", "", bad);
  EXPECT_EQ(fromStdin.code, 1);
  EXPECT_EQ(fromStdin.out.rfind("<stdin>:4:1: error: The object \"missing\"", 0), 0u) << fromStdin.out;
  EXPECT_EQ(RunQorl("load '" + dst + "' - - --repository-password b", "", bad).code, 2);

  // A password and a password file at once, or a file that cannot be read: usage errors naming it.
  EXPECT_EQ(RunQorl("info '" + dst + "' --repository-password b --repository-password-file '" + dstPassword + "'").code, 2);
  EXPECT_EQ(RunQorl("load '" + dst + "' '" + doc + "' --password a --password-file '" + srcPassword +
                    "' --repository-password b").code, 2);
  std::string none = (dir / "none.pw").string();
  Result unreadable = RunQorl("info '" + dst + "' --repository-password-file '" + none + "'");
  EXPECT_EQ(unreadable.code, 2);
  EXPECT_EQ(unreadable.out, none + ": error: The password file cannot be read: No such file or directory. [99037]\n");
  EXPECT_EQ(RunQorl("info '" + dst + "' --repository-password-file '" + dir.string() + "'").code, 2);
}

TEST(Install, TheManPageAndTheCompletionKnowEverySubcommandAndOption) {
  std::string help = RunQorl("--help").out;
  size_t at = help.find("\nSubcommands:\n");
  ASSERT_NE(at, std::string::npos) << help;
  std::vector<std::string> subcommands;
  std::istringstream in(help.substr(at + 14));
  for (std::string line; std::getline(in, line) && !line.empty();) subcommands.push_back(line.substr(2, line.find(' ', 2) - 2));
  ASSERT_GE(subcommands.size(), 6u) << help;
  std::string man = ReadFile(QORL_MAN_PAGE), completion = ReadFile(QORL_COMPLETION);
  ASSERT_FALSE(man.empty()) << QORL_MAN_PAGE;
  EXPECT_EQ(man.rfind(".TH QORL 1", 0), 0u);
  std::smatch m;
  ASSERT_TRUE(std::regex_search(completion, m, std::regex("subcommands=\"([^\"]*)\""))) << completion;
  std::set<std::string> completed;
  std::istringstream words(m[1].str());
  for (std::string w; words >> w;) completed.insert(w);
  const std::regex option("--[a-z][a-z-]*");
  std::set<std::string> completedOptions;
  for (auto it = std::sregex_iterator(completion.begin(), completion.end(), option); it != std::sregex_iterator(); ++it)
    completedOptions.insert(it->str());
  for (const std::string& sub : subcommands) {
    SCOPED_TRACE(sub);
    EXPECT_NE(man.find("\n.SS " + sub + "\n"), std::string::npos);
    EXPECT_TRUE(completed.count(sub));
    // Every option the subcommand's help lists can be completed.
    std::string text = RunQorl(sub + " --help").out;
    for (auto it = std::sregex_iterator(text.begin(), text.end(), option); it != std::sregex_iterator(); ++it)
      EXPECT_TRUE(completedOptions.count(it->str())) << it->str();
  }
}

// Two loads into one repository at the same time, again and again: both
// land, or one is refused with a clear message and the other lands whole.
// Never does one silently lose the other's objects or reuse its ids.
TEST_F(Cli, OverlappingLoadsNeverLoseObjects) {
  auto declare = [&](const std::string& prefix, int n) {
    std::string path = (dir / (prefix + ".xml")).string();
    std::ofstream out(path);
    out << "<?xml version='1.0' encoding='UTF-8'?>\n<Repository>\n<DECLARE>\n";
    for (int i = 0; i < n; ++i) out << "<Variable name=\"" << prefix << i << "\">\n</Variable>\n";
    out << "</DECLARE>\n</Repository>\n";
    return path;
  };
  struct Load {
    std::string doc, prefix;
    int count;
  };
  // The big one keeps the repository long enough for the small one to meet it.
  const Load loads[] = {{declare("big", 5000), "big", 5000}, {declare("small", 10), "small", 10}};
  int both = 0, refused = 0;
  for (int round = 0; round < 10; ++round) {
    std::string r = (dir / ("r" + std::to_string(round) + ".db")).string();
    ASSERT_EQ(RunQorl("init '" + r + "' --repository-password pw").code, 0);
    // Half the rounds wait for nothing, so that the loads collide.
    std::string env = round % 2 ? "QORL_LOCK_TIMEOUT=0" : "";
    FILE* running[2];
    for (int i = 0; i < 2; ++i) running[i] = StartQorl("load '" + r + "' '" + loads[i].doc + "' --repository-password pw", env);
    Result results[2] = {FinishQorl(running[0]), FinishQorl(running[1])};
    Result gen = RunQorl("gen '" + r + "' --repository-password pw");
    ASSERT_EQ(gen.code, 0) << gen.out;
    // <Variable name="N" id="I">
    std::set<std::string> names, ids;
    const std::string head = "<Variable name=\"";
    for (size_t at = gen.out.find(head); at != std::string::npos; at = gen.out.find(head, at + 1)) {
      size_t name = at + head.size(), nameEnd = gen.out.find('"', name);
      size_t id = nameEnd + 6, idEnd = gen.out.find('"', id);
      ASSERT_EQ(gen.out.compare(nameEnd, 6, "\" id=\""), 0) << gen.out.substr(at, 80);
      names.insert(gen.out.substr(name, nameEnd - name));
      EXPECT_TRUE(ids.insert(gen.out.substr(id, idEnd - id)).second) << "round " << round << ": an id twice";
    }
    for (int i = 0; i < 2; ++i) {
      const Result& res = results[i];
      int present = 0;
      for (int k = 0; k < loads[i].count; ++k) present += names.count(loads[i].prefix + std::to_string(k)) != 0;
      if (res.code == 0) {
        EXPECT_EQ(present, loads[i].count) << "round " << round << ": " << loads[i].prefix << " loaded, yet lost objects";
      } else {
        ++refused;
        EXPECT_EQ(present, 0) << "round " << round << ": " << loads[i].prefix << " failed, yet left objects";
        EXPECT_TRUE(res.out.find("is in use by another process that is writing to it") != std::string::npos ||
                    res.out.find("was changed by another process") != std::string::npos)
            << res.out;
        EXPECT_EQ(res.out.find("database is locked"), std::string::npos) << res.out;
      }
    }
    both += results[0].code == 0 && results[1].code == 0;
    EXPECT_FALSE(results[0].code != 0 && results[1].code != 0) << "round " << round << ": both refused";
  }
  // Waiting, the loads follow each other; not waiting, they usually meet. Which
  // outcome a round takes depends on timing (a sanitizer build shifts it), so
  // only the invariants above are asserted; the counts go to the log.
  std::cout << "rounds: " << both << " loaded both, " << refused << " refused one\n";
}

TEST_F(Cli, TyposWarnWithTheNearestNameAndStrictFailsTheLoad) {
  MakeRepository(repo, "pw");
  std::string doc = (dir / "typos.xml").string();
  std::ofstream(doc) << "<?xml version='1.0' encoding='UTF-8'?>\n<Repository>\n<DECLARE>\n"
                        "<Database name=\"db\" typ=\"ODBC350\">\n</Database>\n"
                        "<Schema name=\"s\" parentName=\"&quot;db&quot;.&quot;&quot;\">\n<Descriptio/>\n</Schema>\n"
                        "<PhysicalTable name=\"t\" parentName=\"&quot;db&quot;.&quot;&quot;.&quot;s&quot;\"/>\n"
                        "<PhysicalColumn name=\"c\" parentName=\"&quot;db&quot;.&quot;&quot;.&quot;s&quot;.&quot;t&quot;\" "
                        "dataType=\"INTEGR\"/>\n"
                        "<PhysicalColum name=\"d\"/>\n</DECLARE>\n</Repository>\n";
  const std::string before = ReadFile(repo);
  Result strict = RunQorl("load --strict '" + repo + "' '" + doc + "' --repository-password pw");
  EXPECT_EQ(strict.code, 1) << strict.out;
  for (const std::string& text :
       {doc + ":4: error: <Database> has no attribute typ; it is ignored. Did you mean type? [92041]",
        doc + ":7: error: <Schema> cannot hold an element <Descriptio>; it is skipped with its contents. Did you mean "
              "<Description>? [92045]",
        doc + ":10: error: dataType=\"INTEGR\" of <PhysicalColumn> is not a known value; the default is taken. Did "
              "you mean \"INTEGER\"? [92043]",
        doc + ":11: error: Unknown element <PhysicalColum> skipped with its contents. Did you mean <PhysicalColumn>? "
              "[92046]",
        std::string("Nothing was loaded")})
    EXPECT_NE(strict.out.find(text), std::string::npos) << text << "\n" << strict.out;
  EXPECT_EQ(ReadFile(repo), before);
  Result checked = RunQorl("check --strict '" + repo + "' '" + doc + "' --repository-password pw");
  EXPECT_EQ(checked.code, 1) << checked.out;

  Result lax = RunQorl("load '" + repo + "' '" + doc + "' --repository-password pw");
  EXPECT_EQ(lax.code, 0) << lax.out;
  EXPECT_NE(lax.out.find(doc + ":4: warning: <Database> has no attribute typ"), std::string::npos) << lax.out;
  EXPECT_NE(lax.out.find(doc + ":11: warning: Unknown element <PhysicalColum>"), std::string::npos) << lax.out;
}

TEST_F(Cli, CheckIsTheGateAndNeverWritesTheRepository) {
  MakeRepository(repo, "pw");
  const std::string retail = QORL_SOURCE_DIR "/examples/retail.xml";
  std::string broken = (dir / "broken.xml").string();
  std::ofstream(broken) << "<?xml version='1.0' encoding='UTF-8'?>\n<Repository>\n<DECLARE>\n"
                           "<Database name=\"db\">\n</Database>\n"
                           "<PhysicalCatalog name=\"c\" parentName=\"&quot;missing&quot;\">\n</PhysicalCatalog>\n"
                           "</DECLARE>\n</Repository>\n";
  const std::string before = ReadFile(repo);
  Result clean = RunQorl("check '" + repo + "' '" + retail + "' --repository-password pw");
  EXPECT_EQ(clean.code, 0) << clean.out;
  EXPECT_NE(clean.out.find("check passed: 1 document(s) load into " + repo + ": "), std::string::npos) << clean.out;
  EXPECT_EQ(ReadFile(repo), before);
  Result empty = RunQorl("check --empty '" + retail + "'", "env -u QORL_REPOSITORY_PASSWORD");
  EXPECT_EQ(empty.code, 0) << empty.out;

  // The dry run lists without resolving, and says so; check resolves.
  Result dry = RunQorl("load --dry-run '" + repo + "' '" + broken + "' --repository-password pw");
  EXPECT_EQ(dry.code, 0) << dry.out;
  EXPECT_NE(dry.out.find("references are not resolved"), std::string::npos) << dry.out;
  Result failed = RunQorl("check '" + repo + "' '" + broken + "' --repository-password pw");
  EXPECT_EQ(failed.code, 1) << failed.out;
  EXPECT_NE(failed.out.find("\"missing\""), std::string::npos) << failed.out;
  EXPECT_NE(failed.out.find("Check failed"), std::string::npos) << failed.out;
  EXPECT_EQ(ReadFile(repo), before);
  EXPECT_EQ(RunQorl("check --empty").code, 2);
  EXPECT_EQ(RunQorl("check '" + retail + "' --repository-password pw").code, 2);
}

TEST_F(Cli, ASummaryCountsWhatChanged) {
  MakeRepository(repo, "pw");
  const std::string retail = QORL_SOURCE_DIR "/examples/retail.xml";
  Result first = RunQorl("load '" + repo + "' '" + retail + "' --repository-password pw");
  ASSERT_EQ(first.code, 0) << first.out;
  EXPECT_NE(first.out.find(" created, 0 changed, "), std::string::npos) << first.out;
  std::string doc = (dir / "gen.xml").string();
  ASSERT_EQ(RunQorl("gen '" + repo + "' -o '" + doc + "' --repository-password pw").code, 0);
  Result again = RunQorl("load '" + repo + "' '" + doc + "' --repository-password pw");
  EXPECT_EQ(again.code, 0) << again.out;
  EXPECT_NE(again.out.find(": nothing changed ("), std::string::npos) << again.out;
  std::string text = ReadFile(doc);
  const std::string from = "rowCount=\"3653\"";
  ASSERT_NE(text.find(from), std::string::npos);
  text.replace(text.find(from), from.size(), "rowCount=\"1\"");
  std::ofstream(doc, std::ios::trunc) << text;
  Result one = RunQorl("load '" + repo + "' '" + doc + "' --repository-password pw");
  EXPECT_NE(one.out.find(": 0 created, 1 changed, "), std::string::npos) << one.out;
}

}  // namespace
