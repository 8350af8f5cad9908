// Where the library reports while it works, and its progress bar. Both are
// process-wide settings: set them once, before the work starts.
#pragma once

#include <functional>
#include <string>

#include "qorl/diagnostics.h"

namespace qorl {

enum class LogKind { Error, Warning, Notification, Trace };

// level: how detailed the message is; 1 is the most important. The message
// comes with what is known of its place: the document being read, the line
// and column (a warning about a skipped element points at it), the number.
// Notifications and traces are notes. FormatDiagnostic gives its text.
using LogSink = std::function<void(LogKind kind, int level, const Diagnostic& message)>;

// Installs the sink for what the library reports as it goes (errors it passes
// over with LoadOptions::ignoreErrors, warnings, a note per document loaded,
// traces) and returns the sink it replaces. An empty sink restores the
// default, which prints errors and warnings to stderr and drops the rest.
LogSink SetLogSink(LogSink sink);

// A progress bar on stderr for long loads and generations. Off by default;
// a program turns it on when stderr is a terminal that someone watches.
void EnableProgress(bool enabled);
bool StderrIsTerminal();

}  // namespace qorl
