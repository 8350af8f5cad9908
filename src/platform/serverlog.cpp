#include "platform/serverlog.h"

#include <cstdio>
#include <mutex>

#include "platform/error.h"

namespace qorl {

namespace {

void DefaultLogSink(ServerLog::Kind kind, int /*level*/, const VXString& text) {
  const char* prefix = kind == ServerLog::kError ? "error: " : kind == ServerLog::kWarning ? "warning: " : nullptr;
  if (!prefix) return;
  std::string line(prefix);
  text.AppendUTF8To(line);
  line.push_back('\n');
  std::fwrite(line.data(), 1, line.size(), stderr);
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

ServerLog::Sink ServerLog::SetSink(Sink sink) {
  std::lock_guard<std::mutex> lock(LogSinkMutex());
  Sink previous = std::move(CurrentLogSink());
  CurrentLogSink() = sink ? std::move(sink) : Sink(DefaultLogSink);
  return previous;
}

void ServerLog::Write(Kind kind, int level, const VXString& text) {
  Sink sink;
  {
    std::lock_guard<std::mutex> lock(LogSinkMutex());
    sink = CurrentLogSink();
  }
  sink(kind, level, text);
}

void ServerLog::LogError(const ErrorMessage& e) {
  const auto& entries = e.Entries();
  for (auto it = entries.rbegin(); it != entries.rend(); ++it) Write(kError, 1, ErrorMessage::EntryText(*it));
}

void ServerLog::LogError(const VXString& text, int level) { Write(kError, level, text); }
void ServerLog::LogWarning(const VXString& text, int level) { Write(kWarning, level, text); }
void ServerLog::LogNotification(const VXString& text, int level) { Write(kNotification, level, text); }
void ServerLog::LogTrace(const VXString& text, int level) { Write(kTrace, level, text); }

ServerLogCapture::ServerLogCapture() {
  m_previous = ServerLog::SetSink(
      [this](ServerLog::Kind kind, int level, const VXString& text) { m_entries.push_back(Entry{kind, text, level}); });
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
