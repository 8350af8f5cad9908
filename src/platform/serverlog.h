// ServerLog: where the layer reports errors, warnings, notifications and
// traces. Output goes to one replaceable sink; the default one prints errors
// and warnings to stderr and drops the rest.
#pragma once

#include <functional>
#include <vector>

#include "platform/messages.h"

namespace qorl {

class ErrorMessage;

class ServerLog {
 public:
  enum Kind { kError, kWarning, kNotification, kTrace };
  using Sink = std::function<void(Kind, int level, const VXString& text)>;

  // Installs a sink and returns the one it replaces. An empty sink restores
  // the default.
  static Sink SetSink(Sink sink);

  // One error entry for each message, most recently pushed first.
  static void LogError(const ErrorMessage& e);
  static void LogError(const VXString& text, int level);
  static void LogWarning(const VXString& text, int level);
  template <class... A>
  static void LogWarning(unsigned long number, int level, const A&... args) {
    LogWarning(SUStrUtil::LoadMsgStringOnly(number, args...), level);
  }
  static void LogNotification(const VXString& text, int level);
  // nArgs repeats the number of args, as older callers pass it; it is not used.
  template <class... A>
  static void LogMessage(bool bIsError, unsigned long number, int nArgs, const A&... args) {
    Write(bIsError ? kError : kWarning, 1, SUStrUtil::LoadMsgStringOnly(number, args...));
  }
  static void LogTrace(const VXString& text, int level);

 private:
  static void Write(Kind kind, int level, const VXString& text);
};

// Test helper: collects everything logged while it lives, then puts the
// previous sink back.
class ServerLogCapture {
 public:
  struct Entry {
    ServerLog::Kind kind;
    VXString text;
    int level;
  };

  ServerLogCapture();
  ~ServerLogCapture();
  ServerLogCapture(const ServerLogCapture&) = delete;
  ServerLogCapture& operator=(const ServerLogCapture&) = delete;

  const std::vector<Entry>& Entries() const { return m_entries; }
  size_t Count(ServerLog::Kind kind) const;
  // True when an entry of that kind contains the fragment.
  bool Contains(ServerLog::Kind kind, const VXString& fragment) const;
  void Clear() { m_entries.clear(); }

 private:
  std::vector<Entry> m_entries;
  ServerLog::Sink m_previous;
};

}  // namespace qorl
