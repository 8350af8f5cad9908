#include "gen/output.h"

#include <filesystem>

#include "platform/error.h"

namespace qorl {

OutputFile::~OutputFile() {
  if (m_file) {
    // Errors on this path were reported by an explicit Close, if the caller cared.
    if (!m_buf.empty()) std::fwrite(m_buf.data(), 1, m_buf.size(), m_file);
    std::fclose(m_file);
  }
}

void OutputFile::Open(const VXString& path) {
  m_path = path;
  std::string p = path.ToUTF8();
  std::error_code ec;
  std::filesystem::path fp(p);
  if (fp.is_relative() && !std::filesystem::exists(fp, ec)) fp = std::filesystem::absolute(fp, ec);
  if (fp.has_parent_path()) std::filesystem::create_directories(fp.parent_path(), ec);
  m_file = std::fopen(fp.string().c_str(), "wb");
  if (!m_file) throw ErrorMessage(46003, path);
  // stdio's own buffer is not needed: ours is flushed in big writes.
  std::setvbuf(m_file, nullptr, _IONBF, 0);
  m_buf.reserve(kBufferSize + 64);
}

void OutputFile::Write(std::u32string_view text) {
  if (text.empty()) return;
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
  if (!m_file || m_buf.empty()) return;
  size_t w = std::fwrite(m_buf.data(), 1, m_buf.size(), m_file);
  m_written += w;
  bool ok = w == m_buf.size();
  m_buf.clear();
  if (!ok) throw ErrorMessage(46182, m_path);
}

void OutputFile::Close() {
  if (!m_file) return;
  Flush();
  int rc = std::fclose(m_file);
  m_file = nullptr;
  if (rc != 0) throw ErrorMessage(46182, m_path);
}

}  // namespace qorl
