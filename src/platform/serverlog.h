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
  // One message as the sink gets it. The text of a catalogue message is
  // formatted already; `code` keeps its number for readers that sort or
  // filter. A logged ErrorMessage comes whole, its entries' texts joined in
  // `text`, so that a reader can tell its context from its message.
  struct Record {
    Kind kind = kTrace;
    int level = 1;
    unsigned long code = 0;          // 0 for a text without a number
    const VXString& text;
    const VXString& document;        // the document being read; empty when none
    const ErrorMessage* error = nullptr;
  };
  using Sink = std::function<void(const Record&)>;

  // While one lives, every message of its thread names `document` as the
  // file it is about: set around the reading of each input.
  class DocumentScope {
   public:
    explicit DocumentScope(const VXString& document);
    ~DocumentScope();
    DocumentScope(const DocumentScope&) = delete;
    DocumentScope& operator=(const DocumentScope&) = delete;

   private:
    const VXString* m_previous;
  };

  // Installs a sink and returns the one it replaces. An empty sink restores
  // the default.
  static Sink SetSink(Sink sink);

  // One error entry for each message, most recently pushed first.
  static void LogError(const ErrorMessage& e);
  static void LogError(const VXString& text, int level);
  static void LogWarning(const VXString& text, int level);
  // A warning with its place and context: an ErrorMessage, located with
  // SetLocation, that the load passes over.
  static void LogWarning(const ErrorMessage& e);
  template <class... A>
  static void LogWarning(unsigned long number, int level, const A&... args) {
    Write(kWarning, level, SUStrUtil::LoadMsgStringOnly(number, args...), number);
  }
  static void LogNotification(const VXString& text, int level);
  // nArgs repeats the number of args, as older callers pass it; it is not used.
  template <class... A>
  static void LogMessage(bool bIsError, unsigned long number, int nArgs, const A&... args) {
    Write(bIsError ? kError : kWarning, 1, SUStrUtil::LoadMsgStringOnly(number, args...), number);
  }
  static void LogTrace(const VXString& text, int level);

 private:
  static void Write(Kind kind, int level, const VXString& text, unsigned long code = 0,
                    const ErrorMessage* error = nullptr);
  static void LogWhole(Kind kind, const ErrorMessage& e);
};

// Test helper: collects everything logged while it lives, then puts the
// previous sink back.
class ServerLogCapture {
 public:
  // A logged ErrorMessage gives one entry per message, most recent first.
  struct Entry {
    ServerLog::Kind kind;
    VXString text;
    int level;
    unsigned long code = 0;
    VXString document;
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
