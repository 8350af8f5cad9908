// A file written through a 512 KiB buffer in UTF-8, so that a document is
// streamed and never held whole in memory.
#pragma once

#include <cstdio>
#include <string>

#include "platform/vxstring.h"

namespace qorl {

class OutputFile {
 public:
  static constexpr size_t kBufferSize = 0x80000;
  OutputFile() = default;
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Makes missing directories; throws ErrorMessage 46003 when the file cannot be opened.
  void Open(const VXString& path);
  bool IsOpen() const { return m_file != nullptr; }
  // Encodes to UTF-8, leaving out characters XML cannot carry; throws 46182 when a write fails.
  void Write(std::u32string_view text);
  void Flush();
  void Close();
  uint64_t BytesWritten() const { return m_written; }

 private:
  FILE* m_file = nullptr;
  VXString m_path;
  std::string m_buf;
  uint64_t m_written = 0;
};

// Characters a document may not hold: controls other than tab, line feed and
// carriage return, and the non-characters U+FFFE and U+FFFF.
inline bool IsNonPrintable(char32_t c) {
  return (c < 0x20 && c != U'\t' && c != U'\n' && c != U'\r') || c == 0xFFFE || c == 0xFFFF;
}

}  // namespace qorl
