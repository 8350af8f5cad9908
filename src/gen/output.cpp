#include "gen/output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "platform/error.h"

namespace qorl {

namespace output_file {

VXString ErrnoText(int err) { return VXString(std::string(std::strerror(err))); }

// Mode a newly created file would get, so a replaced document looks like one
// written in place.
mode_t DefaultMode() {
  mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

bool WriteAll(int fd, const char* data, size_t size, int& err) {
  while (size > 0) {
    ssize_t n = ::write(fd, data, size);
    if (n < 0) {
      if (errno == EINTR) continue;
      err = errno;
      return false;
    }
    data += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

void SyncDirectory(const std::string& dir) {
  // Makes the rename itself durable; a directory that cannot be opened or
  // synced leaves only that guarantee out, the document is already in place.
  int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  ::fsync(fd);
  ::close(fd);
}

}  // namespace output_file

OutputFile::~OutputFile() {
  if (m_fd < 0) return;
  if (m_direct && !m_failed && !m_buf.empty()) {
    // A device gets what was written before a failure elsewhere, as a
    // stream would.
    int err = 0;
    output_file::WriteAll(m_fd, m_buf.data(), m_buf.size(), err);
  }
  Discard();
}

void OutputFile::Discard() {
  if (m_fd >= 0) ::close(m_fd);
  m_fd = -1;
  if (!m_temp.empty()) ::unlink(m_temp.c_str());
  m_temp.clear();
  m_buf.clear();
}

void OutputFile::Open(const VXString& path) {
  namespace fs = std::filesystem;
  m_path = path;
  m_target = path.ToUTF8();
  m_failed = false;
  m_written = 0;
  fs::path target(m_target);
  fs::path dir = target.parent_path();
  std::error_code ec;
  if (!fs::is_directory(dir.empty() ? fs::path(".") : dir, ec)) throw ErrorMessage(46005, VXString(dir.string()));

  struct stat st {};
  bool exists = ::stat(m_target.c_str(), &st) == 0;
  m_direct = (exists && !S_ISREG(st.st_mode)) || m_target.rfind("/dev/", 0) == 0;
  if (m_direct) {
    m_fd = ::open(m_target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (m_fd < 0) throw ErrorMessage(46007, path, output_file::ErrnoText(errno));
  } else {
    // A link is followed, so that the file it names is replaced, not the link.
    struct stat lst {};
    if (exists && ::lstat(m_target.c_str(), &lst) == 0 && S_ISLNK(lst.st_mode)) {
      fs::path real = fs::canonical(target, ec);
      if (!ec) target = real;
    }
    m_target = target.string();
    std::string name = target.filename().string();
    fs::path tdir = target.parent_path();
    std::string pattern = ((tdir.empty() ? fs::path(".") : tdir) / ("." + name + ".tmp-XXXXXX")).string();
    m_fd = ::mkostemp(pattern.data(), O_CLOEXEC);
    if (m_fd < 0) throw ErrorMessage(46007, path, output_file::ErrnoText(errno));
    m_temp = pattern;
    ::fchmod(m_fd, exists ? (st.st_mode & 07777) : output_file::DefaultMode());
  }
  m_buf.reserve(kBufferSize + 64);
}

void OutputFile::Fail(int err) {
  m_failed = true;
  m_error = err;
  Discard();
  throw ErrorMessage(m_direct ? 46006 : 46004, m_path, output_file::ErrnoText(err));
}

void OutputFile::Write(std::u32string_view text) {
  if (text.empty() || m_failed) return;
  size_t i = 0, n = text.size();
  while (i < n) {
    // Runs of printable ASCII are the common case.
    size_t j = i;
    while (j < n && text[j] < 0x80 && !IsNonPrintable(text[j])) ++j;
    if (j > i) {
      size_t base = m_buf.size();
      m_buf.resize(base + (j - i));
      char* o = m_buf.data() + base;
      for (size_t k = i; k < j; ++k) *o++ = static_cast<char>(text[k]);
      i = j;
    }
    if (i < n) {
      if (!IsNonPrintable(text[i])) AppendUTF8(m_buf, text[i]);
      ++i;
    }
    if (m_buf.size() >= kBufferSize) Flush();
  }
}

void OutputFile::Flush() {
  if (m_fd < 0 || m_failed || m_buf.empty()) return;
  int err = 0;
  if (!output_file::WriteAll(m_fd, m_buf.data(), m_buf.size(), err)) Fail(err);
  m_written += m_buf.size();
  m_buf.clear();
}

void OutputFile::Close() {
  // A failure already thrown stays the result, reported once more to a caller
  // that went on regardless, rather than a document that looks written.
  if (m_failed) throw ErrorMessage(m_direct ? 46006 : 46004, m_path, output_file::ErrnoText(m_error));
  if (m_fd < 0) return;
  Flush();
  // A terminal or pipe may refuse fsync; only a file needs it.
  if (!m_direct && ::fsync(m_fd) != 0) Fail(errno);
  int fd = m_fd;
  m_fd = -1;
  if (::close(fd) != 0 && errno != EINTR) Fail(errno);
  if (m_direct) return;
  if (::rename(m_temp.c_str(), m_target.c_str()) != 0) Fail(errno);
  m_temp.clear();
  std::filesystem::path dir = std::filesystem::path(m_target).parent_path();
  output_file::SyncDirectory(dir.empty() ? "." : dir.string());
}

}  // namespace qorl
