#include "qorl/log.h"

#include <mutex>

#include "api/convert.h"
#include "platform/progress.h"
#include "platform/serverlog.h"

namespace qorl {

namespace log_detail {

LogKind ToLogKind(ServerLog::Kind kind) {
  switch (kind) {
    case ServerLog::kError: return LogKind::Error;
    case ServerLog::kWarning: return LogKind::Warning;
    case ServerLog::kNotification: return LogKind::Notification;
    case ServerLog::kTrace: return LogKind::Trace;
  }
  return LogKind::Trace;
}

Severity ToSeverity(LogKind kind) {
  return kind == LogKind::Error ? Severity::Error : kind == LogKind::Warning ? Severity::Warning : Severity::Note;
}

// One record of the layer's log as the Diagnostics a public sink gets: a
// logged error with its context as notes, a text with its place taken out.
std::vector<Diagnostic> ToDiagnostics(const ServerLog::Record& r) {
  Severity severity = ToSeverity(ToLogKind(r.kind));
  std::vector<Diagnostic> out = r.error ? api::ToDiagnostics(*r.error, severity)
                                        : api::TextToDiagnostics(r.text, severity);
  for (Diagnostic& d : out) {
    if (!r.error) d.code = r.code;
    if (d.file.empty()) d.file = api::ToPath(r.document);
  }
  return out;
}

// The public sink last installed, so that SetLogSink can hand it back.
std::mutex g_sinkMutex;
LogSink g_publicSink;

}  // namespace log_detail

LogSink SetLogSink(LogSink sink) {
  std::lock_guard<std::mutex> lock(log_detail::g_sinkMutex);
  LogSink previous = std::move(log_detail::g_publicSink);
  log_detail::g_publicSink = sink;
  if (!sink) {
    ServerLog::SetSink(nullptr);
  } else {
    ServerLog::SetSink([sink = std::move(sink)](const ServerLog::Record& r) {
      for (const Diagnostic& d : log_detail::ToDiagnostics(r)) sink(log_detail::ToLogKind(r.kind), r.level, d);
    });
  }
  return previous;
}

void EnableProgress(bool enabled) { Progress::SetAllowed(enabled); }

bool StderrIsTerminal() { return Progress::StderrIsTerminal(); }

}  // namespace qorl
