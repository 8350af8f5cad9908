#include "platform/serverlog.h"

#include <cstdio>
#include <mutex>

#include "platform/error.h"

namespace qorl {

namespace {

void DefaultLogSink(const ServerLog::Record& r) {
  const char* prefix = r.kind == ServerLog::kError ? "error: " : r.kind == ServerLog::kWarning ? "warning: " : nullptr;
  if (!prefix) return;
  // One prefixed line per line of the text (an error's context and message).
  std::string text = r.text.ToUTF8();
  std::string out;
  size_t start = 0;
  while (start <= text.size()) {
    size_t nl = text.find('\n', start);
    if (nl == std::string::npos) nl = text.size();
    out += prefix;
    out.append(text, start, nl - start);
    out.push_back('\n');
    start = nl + 1;
  }
  std::fwrite(out.data(), 1, out.size(), stderr);
}

// Callers log from their own threads; the sink itself is swapped rarely.
std::mutex& LogSinkMutex() {
  static std::mutex m;
  return m;
}

ServerLog::Sink& CurrentLogSink() {
  static ServerLog::Sink sink = DefaultLogSink;
  return sink;
}

}  // namespace

namespace serverlog_detail {

// The document of the innermost DocumentScope of this thread.
thread_local const VXString* t_document = nullptr;
const VXString kNoDocument;

}  // namespace serverlog_detail

ServerLog::Sink ServerLog::SetSink(Sink sink) {
  std::lock_guard<std::mutex> lock(LogSinkMutex());
  Sink previous = std::move(CurrentLogSink());
  CurrentLogSink() = sink ? std::move(sink) : Sink(DefaultLogSink);
  return previous;
}

ServerLog::DocumentScope::DocumentScope(const VXString& document) : m_previous(serverlog_detail::t_document) {
  serverlog_detail::t_document = &document;
}

ServerLog::DocumentScope::~DocumentScope() { serverlog_detail::t_document = m_previous; }

void ServerLog::Write(Kind kind, int level, const VXString& text, unsigned long code, const ErrorMessage* error) {
  Sink sink;
  {
    std::lock_guard<std::mutex> lock(LogSinkMutex());
    sink = CurrentLogSink();
  }
  const VXString* document = serverlog_detail::t_document;
  sink(Record{kind, level, code, text, document ? *document : serverlog_detail::kNoDocument, error});
}

void ServerLog::LogError(const ErrorMessage& e) { LogWhole(kError, e); }

void ServerLog::LogWarning(const ErrorMessage& e) { LogWhole(kWarning, e); }

void ServerLog::LogWhole(Kind kind, const ErrorMessage& e) {
  if (!e.HasMessages()) return;
  VXString text;
  e.RetrieveErrorMessages(text);
  Write(kind, 1, text, e.Entries().front().number, &e);
}

void ServerLog::LogError(const VXString& text, int level) { Write(kError, level, text); }
void ServerLog::LogWarning(const VXString& text, int level) { Write(kWarning, level, text); }
void ServerLog::LogNotification(const VXString& text, int level) { Write(kNotification, level, text); }
void ServerLog::LogTrace(const VXString& text, int level) { Write(kTrace, level, text); }

ServerLogCapture::ServerLogCapture() {
  m_previous = ServerLog::SetSink([this](const ServerLog::Record& r) {
    if (!r.error) {
      m_entries.push_back(Entry{r.kind, r.text, r.level, r.code, r.document});
      return;
    }
    const auto& entries = r.error->Entries();
    for (auto it = entries.rbegin(); it != entries.rend(); ++it)
      m_entries.push_back(Entry{r.kind, ErrorMessage::EntryText(*it), r.level, it->number, r.document});
  });
}

ServerLogCapture::~ServerLogCapture() { ServerLog::SetSink(std::move(m_previous)); }

size_t ServerLogCapture::Count(ServerLog::Kind kind) const {
  size_t n = 0;
  for (const Entry& e : m_entries) n += e.kind == kind;
  return n;
}

bool ServerLogCapture::Contains(ServerLog::Kind kind, const VXString& fragment) const {
  for (const Entry& e : m_entries)
    if (e.kind == kind && e.text.find(fragment) != VXString::npos) return true;
  return false;
}

}  // namespace qorl
