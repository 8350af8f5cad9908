#include "platform/files.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace qorl {

namespace fs = std::filesystem;

namespace {
fs::path ToFsPath(const VXString& p) { return fs::path(p.ToUTF8()); }
}  // namespace

namespace SystemUtility {

bool IsFileExist(const VXString& path) {
  if (path.empty()) return false;
  std::error_code ec;
  fs::file_status st = fs::status(ToFsPath(path), ec);
  return !ec && fs::exists(st) && !fs::is_directory(st);
}

bool IsDirectory(const VXString& path) {
  if (path.empty()) return false;
  std::error_code ec;
  return fs::is_directory(ToFsPath(path), ec);
}

bool MakeDirectories(const VXString& path) {
  if (path.empty()) return false;
  std::error_code ec;
  fs::path p = ToFsPath(path);
  fs::create_directories(p, ec);
  return fs::is_directory(p, ec);
}

bool RemoveDirectoryTree(const VXString& path) {
  if (path.empty()) return false;
  std::error_code ec;
  fs::path p = ToFsPath(path);
  fs::remove_all(p, ec);
  if (ec) return false;
  return !fs::exists(fs::symlink_status(p, ec));
}

bool ReadWholeFile(const VXString& path, std::string& utf8Bytes) {
  utf8Bytes.clear();
  std::ifstream in(ToFsPath(path), std::ios::binary);
  if (!in) return false;
  in.seekg(0, std::ios::end);
  std::streamoff size = in.tellg();
  if (size < 0) return false;
  in.seekg(0, std::ios::beg);
  utf8Bytes.resize(static_cast<size_t>(size));
  if (size > 0 && !in.read(utf8Bytes.data(), size)) {
    utf8Bytes.clear();
    return false;
  }
  return true;
}

bool ListDirectory(const VXString& dir, VXStringVector& names) {
  names.clear();
  std::error_code ec;
  fs::directory_iterator it(ToFsPath(dir), ec);
  if (ec) return false;
  for (; it != fs::directory_iterator(); it.increment(ec)) {
    if (ec) return false;
    names.emplace_back(it->path().filename().string());
  }
  if (ec) return false;
  std::sort(names.begin(), names.end());
  return true;
}

}  // namespace SystemUtility

namespace SUFilePath {

VXString VXPathAppend(const VXString& a, const VXString& b) {
  if (a.empty()) return b;
  if (b.empty()) return a;
  size_t skip = 0;
  while (skip < b.size() && b[skip] == U'/') ++skip;
  VXString out(a);
  if (out.back() != U'/') out.push_back(U'/');
  out.append(b.data() + skip, b.size() - skip);
  return out;
}

}  // namespace SUFilePath
}  // namespace qorl
