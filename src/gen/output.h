// A document written through a 512 KiB buffer in UTF-8, so that it is
// streamed and never held whole in memory.
//
// A regular file is written whole or not at all: the text goes to a temporary
// file beside it, which replaces the file only once everything is on disk.
// Devices and pipes (/dev/..., fifos) are written directly.
#pragma once

#include <string>

#include "platform/vxstring.h"

namespace qorl {

class OutputFile {
 public:
  static constexpr size_t kBufferSize = 0x80000;
  OutputFile() = default;
  // Without a successful Close, the temporary file is removed and the target
  // keeps what it held before.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Throws ErrorMessage 46005 when the directory does not exist, 46007 when
  // the file (or its temporary) cannot be created.
  void Open(const VXString& path);
  bool IsOpen() const { return m_fd >= 0; }
  // Encodes to UTF-8, leaving out characters XML cannot carry. The first
  // failing write throws 46004 (46006 for a device); later calls do nothing,
  // so that a failure is reported once.
  void Write(std::u32string_view text);
  void Flush();
  // Writes the rest, syncs and puts the file in place of the target.
  void Close();
  bool Failed() const { return m_failed; }
  uint64_t BytesWritten() const { return m_written; }

 private:
  [[noreturn]] void Fail(int err);
  void Discard();

  int m_fd = -1;
  VXString m_path;
  std::string m_target;  // where the document ends up
  std::string m_temp;    // empty when written directly
  std::string m_buf;
  uint64_t m_written = 0;
  bool m_direct = false;  // a device or pipe, written in place
  bool m_failed = false;
  int m_error = 0;
};

// Characters a document may not hold: controls other than tab, line feed and
// carriage return, and the non-characters U+FFFE and U+FFFF.
inline bool IsNonPrintable(char32_t c) {
  return (c < 0x20 && c != U'\t' && c != U'\n' && c != U'\r') || c == 0xFFFE || c == 0xFFFF;
}

}  // namespace qorl
