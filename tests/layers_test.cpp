// Includes point down the layers only. A folder of src/ may include its own
// headers and those of lower rows of the table below, never a sibling's on
// its own row nor anything higher. Public headers (include/qorl) see only
// each other, and the command sees only them and itself, so that the public
// API is all it needs.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace layers_test {

namespace fs = std::filesystem;

// Lowest first. A new folder under src/ must be placed here.
const std::vector<std::vector<std::string>> kLayers = {
    {"platform"},
    {"model"},
    {"store"},
    {"elements"},
    {"gen", "load", "tree", "dom", "diff"},
    {"tools"},
    {"api"},
};

// Includes that break the rules today and are being removed. The list may
// only shrink: an entry that no longer occurs fails the test too.
const std::set<std::pair<std::string, std::string>> kKnownViolations = {
    // The load reads each family through the generator's family headers.
    // The command still reaches into the library's internals.
};

int RankOf(const std::string& folder) {
  for (size_t i = 0; i < kLayers.size(); ++i)
    if (std::count(kLayers[i].begin(), kLayers[i].end(), folder)) return static_cast<int>(i);
  return -1;
}

// `home` is the folder under src/, or "qorl" for the public headers, or "cli".
// Returns why the include is refused, or nothing.
std::string Refusal(const std::string& home, const std::string& target) {
  if (home == target) return "";
  if (home == "cli") return target == "qorl" ? "" : "the command includes only public headers (qorl/...)";
  if (home == "qorl") return "public headers include only each other";
  if (target == "qorl") return home == "api" ? "" : "only src/api implements the public headers";
  int from = RankOf(home), to = RankOf(target);
  if (from < 0) return "src/" + home + " is not in the layer table";
  if (to < 0) return "\"" + target + "\" is not a layer";
  if (to == from) return "sibling layers do not include each other";
  if (to > from) return "includes point down the layers only";
  return "";
}

const fs::path kRoot = QORL_SOURCE_DIR;

struct Include {
  std::string file;  // relative to the source tree
  int line;
  std::string path;
  std::string home;
};

// Every #include of the scanned trees. Angle-bracket includes are the
// system's and the dependencies', unless they name one of our folders.
std::vector<Include> ScanIncludes() {
  const std::regex directive(R"(^\s*#\s*include\s*([<"])([^>"]*)[>"])");
  std::vector<Include> out;
  for (std::string dir : {"src", "include/qorl", "cli"}) {
    if (!fs::exists(kRoot / dir)) continue;
    for (const auto& entry : fs::recursive_directory_iterator(kRoot / dir)) {
      if (!entry.is_regular_file()) continue;
      // The folder right under src/ (none for a file in src/ itself), or the tree.
      fs::path inDir = fs::relative(entry.path(), kRoot / dir);
      std::string home = dir != "src" ? fs::path(dir).filename().string()
                         : inDir.has_parent_path() ? inDir.begin()->string() : "";
      std::string file = fs::relative(entry.path(), kRoot).generic_string();
      std::ifstream in(entry.path());
      std::string text;
      for (int line = 1; std::getline(in, text); ++line) {
        std::smatch m;
        if (!std::regex_search(text, m, directive)) continue;
        std::string path = m[2], top = path.substr(0, path.find('/'));
        bool ours = top != path && (RankOf(top) >= 0 || top == "qorl" || top == "cli");
        if (m[1] == "\"" || ours) out.push_back({file, line, path, home});
      }
    }
  }
  return out;
}

TEST(Layers, EveryFolderOfSrcIsALayer) {
  for (const auto& entry : fs::directory_iterator(kRoot / "src"))
    EXPECT_TRUE(entry.is_directory() && RankOf(entry.path().filename().string()) >= 0)
        << entry.path().filename() << " is not in the layer table: place it in the order";
}

TEST(Layers, IncludesPointDownTheLayers) {
  std::vector<Include> includes = ScanIncludes();
  ASSERT_GT(includes.size(), 100u) << "the source tree was not found at " << QORL_SOURCE_DIR;
  for (const Include& inc : includes) {
    if (kKnownViolations.count({inc.file, inc.path})) continue;
    std::string top = inc.path.substr(0, inc.path.find('/'));
    std::string why = top == inc.path ? "name the folder: \"folder/file\"" : Refusal(inc.home, top);
    if (!why.empty()) ADD_FAILURE() << inc.file << ":" << inc.line << ": #include " << inc.path << ": " << why;
  }
}

TEST(Layers, KnownViolationsStillOccur) {
  std::set<std::pair<std::string, std::string>> seen;
  for (const Include& inc : ScanIncludes()) seen.emplace(inc.file, inc.path);
  for (const auto& [file, path] : kKnownViolations)
    EXPECT_TRUE(seen.count({file, path})) << file << " no longer includes \"" << path
                                          << "\": take it off the known violations";
}

TEST(Layers, TheRulesThemselves) {
  EXPECT_EQ(Refusal("store", "model"), "");
  EXPECT_EQ(Refusal("load", "elements"), "");
  EXPECT_EQ(Refusal("tools", "gen"), "");
  EXPECT_EQ(Refusal("api", "qorl"), "");
  EXPECT_EQ(Refusal("cli", "qorl"), "");
  EXPECT_NE(Refusal("model", "store"), "");
  EXPECT_NE(Refusal("load", "gen"), "");
  EXPECT_NE(Refusal("gen", "tools"), "");
  EXPECT_NE(Refusal("cli", "store"), "");
  EXPECT_NE(Refusal("qorl", "platform"), "");
  EXPECT_NE(Refusal("store", "qorl"), "");
  EXPECT_NE(Refusal("tools", "newfolder"), "");
}

}  // namespace layers_test
