#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "qorl/repository.h"

namespace {

struct Result {
  int code;
  std::string out;
};

// Starts the qorl command with stderr folded into the output; it runs until
// FinishQorl reads what it wrote.
FILE* StartQorl(const std::string& args, const std::string& env = "") {
  std::string cmd = env + " '" QORL_CLI_PATH "' " + args + " 2>&1";
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

Result RunQorl(const std::string& args, const std::string& env = "") { return FinishQorl(StartQorl(args, env)); }

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
  // Waiting, the loads follow each other; not waiting, they meet.
  EXPECT_GT(both, 0);
  EXPECT_GT(refused, 0);
}

}  // namespace
