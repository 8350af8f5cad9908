// Replays the fuzz target's inputs in every build, the sanitizer build
// included: the seed corpus must keep loading (a corpus the load refuses
// teaches the fuzzer little), and no input that once failed may fail again.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz/load_documents.h"

namespace qorl::fuzz {
namespace {

const std::filesystem::path kFuzzDir = std::filesystem::path(QORL_SOURCE_DIR) / "tests" / "fuzz";

std::string ReadBytes(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::vector<std::filesystem::path> FilesIn(const std::filesystem::path& dir) {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(dir))
    if (entry.is_regular_file() && entry.path().filename() != "README.md") files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

TEST(FuzzInputs, TheSeedCorpusLoads) {
  DocumentLoader loader;
  std::vector<std::filesystem::path> seeds = FilesIn(kFuzzDir / "corpus");
  ASSERT_GE(seeds.size(), 4u);
  for (const auto& seed : seeds) EXPECT_TRUE(loader.Load(ReadBytes(seed))) << seed;
}

TEST(FuzzInputs, InputsThatOnceFailedAreHandled) {
  DocumentLoader loader;
  for (const auto& input : FilesIn(kFuzzDir / "regressions")) {
    SCOPED_TRACE(input.string());
    EXPECT_NO_THROW(loader.Load(ReadBytes(input)));
  }
}

}  // namespace
}  // namespace qorl::fuzz
