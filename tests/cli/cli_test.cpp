#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "qorl/repository.h"

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
  EXPECT_EQ(full.out, "error: Writing the document to /dev/full failed: No space left on device.\n");
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

TEST_F(Cli, IgnoringErrorsDoesNotPassOverAMalformedDocument) {
  ASSERT_EQ(RunQorl("init '" + repo + "' --repository-password pw").code, 0);
  std::string broken = (dir / "broken.xml").string();
  std::ofstream(broken) << "<?xml version='1.0' encoding='UTF-8'?>\n<Repository>\n<DECLARE>\n<Database name=\"x\">\n"
                           "</DECLARE>\n";
  std::string before = ReadFile(repo);
  Result malformed = RunQorl("load --ignore-errors '" + repo + "' '" + broken + "' --repository-password pw");
  EXPECT_EQ(malformed.code, 1) << malformed.out;
  EXPECT_NE(malformed.out.find("In " + broken + ":\nLine 5: the XML document is not well-formed"), std::string::npos)
      << malformed.out;
  EXPECT_NE(malformed.out.find("nothing was loaded"), std::string::npos) << malformed.out;
  EXPECT_EQ(ReadFile(repo), before);
}

TEST_F(Cli, ValidationRejectsUnknownElementsWithTheirLine) {
  MakeRepository(repo, "pw");
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
  for (const char* text : {"Line 4: <Database> has no attribute typ; it is ignored. Did you mean type?",
                           "Line 7: <Schema> cannot hold an element <Descriptio>", "Did you mean <Description>?",
                           "Line 10: dataType=\"INTEGR\" of <PhysicalColumn> is not a known value",
                           "Did you mean \"INTEGER\"?", "Line 11: unknown element <PhysicalColum>",
                           "Did you mean <PhysicalColumn>?", "nothing was loaded"})
    EXPECT_NE(strict.out.find(text), std::string::npos) << text << "\n" << strict.out;
  EXPECT_EQ(ReadFile(repo), before);
  Result checked = RunQorl("check --strict '" + repo + "' '" + doc + "' --repository-password pw");
  EXPECT_EQ(checked.code, 1) << checked.out;

  Result lax = RunQorl("load '" + repo + "' '" + doc + "' --repository-password pw");
  EXPECT_EQ(lax.code, 0) << lax.out;
  EXPECT_NE(lax.out.find("warning: Line 4: <Database> has no attribute typ"), std::string::npos) << lax.out;
  EXPECT_NE(lax.out.find("warning: Line 11: unknown element <PhysicalColum>"), std::string::npos) << lax.out;
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
  EXPECT_NE(failed.out.find("check failed"), std::string::npos) << failed.out;
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
