#include "load/schema_path.h"

#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <vector>

#include "platform/files.h"

#ifndef QORL_SOURCE_SCHEMA_DIR
#define QORL_SOURCE_SCHEMA_DIR ""
#endif

namespace qorl {

namespace {

std::filesystem::path RunningExecutableDir() {
  std::error_code ec;
  std::filesystem::path exe = std::filesystem::read_symlink("/proc/self/exe", ec);
  if (ec || exe.empty()) return {};
  return exe.parent_path();
}

VXString SchemaCandidate(const std::filesystem::path& dir, const std::string& name) {
  return VXString((dir / name).lexically_normal().string());
}

}  // namespace

namespace schema_path_detail {

std::mutex g_programDirMutex;
std::string g_programDir;

std::string ProgramDir() {
  std::lock_guard<std::mutex> lock(g_programDirMutex);
  return g_programDir;
}

}  // namespace schema_path_detail

void UseSchemaDirectory(const VXString& dir) {
  std::lock_guard<std::mutex> lock(schema_path_detail::g_programDirMutex);
  schema_path_detail::g_programDir = dir.ToUTF8();
}

VXString FindSchemaFile(std::u32string_view fileName) {
  const std::string name = ToUTF8(fileName);
  std::vector<VXString> candidates;
  const char* env = std::getenv("QORL_SCHEMA_DIR");
  const std::string programDir = schema_path_detail::ProgramDir();
  if (env && *env) {
    candidates.push_back(SchemaCandidate(env, name));
  } else if (!programDir.empty()) {
    candidates.push_back(SchemaCandidate(programDir, name));
  } else {
    std::filesystem::path exeDir = RunningExecutableDir();
    if (!exeDir.empty()) {
      candidates.push_back(SchemaCandidate(exeDir / ".." / "share" / "qorl", name));
      candidates.push_back(SchemaCandidate(exeDir, name));
    }
    if (*QORL_SOURCE_SCHEMA_DIR) candidates.push_back(SchemaCandidate(QORL_SOURCE_SCHEMA_DIR, name));
  }
  if (candidates.empty()) return VXString(name);
  for (const VXString& c : candidates) {
    if (SystemUtility::IsFileExist(c)) return c;
  }
  return candidates.back();
}

}  // namespace qorl
