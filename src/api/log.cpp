#include "qorl/log.h"

#include <mutex>

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
    ServerLog::SetSink([sink = std::move(sink)](ServerLog::Kind kind, int level, const VXString& text) {
      sink(log_detail::ToLogKind(kind), level, text.ToUTF8());
    });
  }
  return previous;
}

void EnableProgress(bool enabled) { Progress::SetAllowed(enabled); }

bool StderrIsTerminal() { return Progress::StderrIsTerminal(); }

}  // namespace qorl
