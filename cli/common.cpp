#include "cli/common.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iostream>
#include <memory>
#include <utility>

#include "qorl/diagnostics.h"
#include "qorl/log.h"

namespace qorl::cli {

namespace common_detail {

// Message numbers of the catalogue that the command raises itself.
constexpr unsigned long kNoRepositoryPassword = messages::kNoRepositoryPassword;
constexpr unsigned long kPasswordFileUnreadable = 99037;
constexpr unsigned long kStandardInputUnreadable = 99038;

// The command that runs: its options and its log file.
struct Reporter {
  const GlobalOptions* g = nullptr;
  std::ofstream* log = nullptr;
};
Reporter* g_reporter = nullptr;

// Temporary copies of standard input, and the name diagnostics give them.
std::vector<std::pair<std::filesystem::path, std::filesystem::path>> g_aliases;

const std::filesystem::path& Shown(const std::filesystem::path& file) {
  for (const auto& [copy, name] : g_aliases)
    if (file == copy) return name;
  return file;
}

Diagnostic WithShownFiles(Diagnostic d) {
  d.file = Shown(d.file);
  for (Diagnostic& n : d.notes) n.file = Shown(n.file);
  return d;
}

std::string JsonNumber(unsigned long n) { return n ? std::to_string(n) : "null"; }
std::string JsonText(const std::string& s) { return s.empty() ? "null" : JsonString(s); }

// One line of the text form as a JSON object; a note carries the element
// and object of the diagnostic it belongs to.
std::string JsonLine(const Diagnostic& d, const Diagnostic& owner, const std::filesystem::path& file) {
  std::string out = "{\"file\": " + JsonText(file.string());
  out += ", \"line\": " + JsonNumber(d.line);
  out += ", \"column\": " + JsonNumber(d.column);
  out += ", \"severity\": " + JsonString(SeverityName(d.severity));
  out += ", \"code\": " + JsonNumber(d.code);
  out += ", \"message\": " + JsonString(d.message);
  out += ", \"element\": " + JsonText(owner.element);
  out += ", \"object\": " + JsonText(owner.object);
  return out + "}";
}

void WriteStderr(const GlobalOptions* g, const Diagnostic& d) {
  std::string out;
  if (g && g->diagnostics == "json") {
    out = JsonLine(d, d, d.file) + "\n";
    for (const Diagnostic& n : d.notes) out += JsonLine(n, d, n.file.empty() ? d.file : n.file) + "\n";
  } else {
    out = FormatDiagnostic(d) + "\n";
  }
  std::cerr << out << std::flush;
}

void WriteLog(std::ofstream& log, const Diagnostic& d) {
  char stamp[32];
  std::time_t now = std::time(nullptr);
  std::strftime(stamp, sizeof stamp, "%Y-%m-%dT%H:%M:%S", std::localtime(&now));
  std::string text = FormatDiagnostic(d);
  size_t start = 0;
  while (start <= text.size()) {
    size_t nl = text.find('\n', start);
    if (nl == std::string::npos) nl = text.size();
    log << stamp << ' ' << std::string_view(text).substr(start, nl - start) << '\n';
    start = nl + 1;
  }
  log.flush();
}

// Every diagnostic reaches the log; stderr gets what the options let through.
void Emit(const Diagnostic& raw, bool toStderr) {
  Diagnostic d = WithShownFiles(raw);
  const GlobalOptions* g = g_reporter ? g_reporter->g : nullptr;
  if (toStderr) WriteStderr(g, d);
  if (g_reporter && g_reporter->log) WriteLog(*g_reporter->log, d);
}

bool ShownOnStderr(Severity severity) {
  const GlobalOptions* g = g_reporter ? g_reporter->g : nullptr;
  return severity == Severity::Error || !g || !g->quiet;
}

Diagnostic CatalogueDiagnostic(unsigned long code, const std::vector<std::string>& args,
                               const std::filesystem::path& file = {}) {
  Diagnostic d;
  d.code = code;
  d.message = MessageText(code, args);
  d.file = file;
  return d;
}

}  // namespace common_detail

UsageError::UsageError(const std::string& message) : std::runtime_error(message) { m_diagnostic.message = message; }

UsageError::UsageError(qorl::Diagnostic diagnostic)
    : std::runtime_error(diagnostic.message), m_diagnostic(std::move(diagnostic)) {}

void Report(const Diagnostic& d) { common_detail::Emit(d, common_detail::ShownOnStderr(d.severity)); }

void Report(const std::vector<Diagnostic>& ds) {
  for (const Diagnostic& d : ds) Report(d);
}

void Remark(Severity severity, const std::string& message, const std::filesystem::path& file) {
  Diagnostic d;
  d.severity = severity;
  d.message = message;
  d.file = file;
  Report(d);
}

void ReportOutsideCommand(const GlobalOptions& g, const Diagnostic& d) { common_detail::WriteStderr(&g, d); }

int RunCommand(const GlobalOptions& g, const std::function<int()>& body) {
  std::unique_ptr<std::ofstream> log;
  if (!g.logFile.empty()) {
    log = std::make_unique<std::ofstream>(g.logFile, std::ios::app);
    if (!*log) {
      common_detail::WriteStderr(&g, common_detail::CatalogueDiagnostic(messages::kCannotWriteFile, {g.logFile}));
      return kExitUsage;
    }
  }
  common_detail::Reporter reporter{&g, log.get()};
  common_detail::Reporter* outer = std::exchange(common_detail::g_reporter, &reporter);
  LogSink previous = SetLogSink([&g](LogKind kind, int, const Diagnostic& d) {
    bool shown = kind == LogKind::Error || (kind == LogKind::Warning && !g.quiet) || g.verbose;
    common_detail::Emit(d, shown);
  });
  // A progress bar would break the lines that programs read.
  EnableProgress(!g.quiet && g.diagnostics != "json" && StderrIsTerminal());
  int rc;
  try {
    rc = body();
  } catch (const UsageError& e) {
    Report(e.Details());
    rc = kExitUsage;
  } catch (const Error& e) {
    Report(e.Diagnostics());
    rc = kExitFailure;
  } catch (const std::exception& e) {
    Remark(Severity::Error, e.what());
    rc = kExitFailure;
  }
  SetLogSink(previous);
  common_detail::g_reporter = outer;
  return rc;
}

std::string ReadPasswordFile(const std::string& path) {
  auto unreadable = [&](int err) {
    return UsageError(common_detail::CatalogueDiagnostic(common_detail::kPasswordFileUnreadable,
                                                         {std::strerror(err)}, path));
  };
  // Pipes are fine (--password-file <(...)); a directory would read as empty.
  std::error_code ec;
  if (std::filesystem::is_directory(path, ec)) throw unreadable(EISDIR);
  errno = 0;
  std::ifstream in(path, std::ios::binary);
  if (!in) throw unreadable(errno ? errno : ENOENT);
  std::string line;
  std::getline(in, line);
  if (in.bad()) throw unreadable(errno ? errno : EIO);
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return line;
}

std::string RepositoryPassword(const GlobalOptions& g) {
  // Options on the command line win over the environment.
  if (!g.passwordFile.empty()) return ReadPasswordFile(g.passwordFile);
  if (g.password) return *g.password;
  if (const char* env = std::getenv("QORL_REPOSITORY_PASSWORD")) return env;
  throw UsageError(common_detail::CatalogueDiagnostic(common_detail::kNoRepositoryPassword, {}));
}

OpenOptions RepositoryOptions(const GlobalOptions& g, Access access) {
  OpenOptions o;
  o.access = access;
  o.wait = std::chrono::milliseconds(static_cast<long long>(g.lockTimeout * 1000));
  return o;
}

Repository OpenRepository(const GlobalOptions& g, const std::string& path, Access access) {
  return Repository::Open(path, RepositoryPassword(g), RepositoryOptions(g, access));
}

InputDocuments::InputDocuments(const std::vector<std::string>& names) {
  for (const std::string& name : names) {
    if (name != "-") {
      m_paths.emplace_back(name);
      continue;
    }
    if (!m_stdinCopy.empty()) throw UsageError("standard input (-) can be read only once");
    // The load reads a document by name, and may read it twice (a schema
    // check first): standard input is kept in a file of its own.
    std::string tmpl = (std::filesystem::temp_directory_path() / "qorl-stdin-XXXXXX").string();
    int fd = ::mkstemp(tmpl.data());
    if (fd < 0) throw Error(messages::kCannotWriteFile, {tmpl});
    m_stdinCopy = tmpl;
    common_detail::g_aliases.emplace_back(m_stdinCopy, "<stdin>");
    char buf[1 << 16];
    bool ok = true;
    while (ok) {
      ssize_t n = ::read(STDIN_FILENO, buf, sizeof buf);
      if (n == 0) break;
      if (n < 0) {
        if (errno == EINTR) continue;
        int err = errno;
        ::close(fd);
        throw Error(std::vector<Diagnostic>{common_detail::CatalogueDiagnostic(
            common_detail::kStandardInputUnreadable, {std::strerror(err)})});
      }
      for (ssize_t done = 0; done < n;) {
        ssize_t w = ::write(fd, buf + done, static_cast<size_t>(n - done));
        if (w < 0 && errno == EINTR) continue;
        if (w <= 0) {
          ok = false;
          break;
        }
        done += w;
      }
    }
    if (::close(fd) != 0 || !ok) throw Error(messages::kCannotWriteFile, {tmpl});
    m_paths.push_back(m_stdinCopy);
  }
}

InputDocuments::~InputDocuments() {
  if (m_stdinCopy.empty()) return;
  std::error_code ec;
  std::filesystem::remove(m_stdinCopy, ec);
  auto& aliases = common_detail::g_aliases;
  for (auto it = aliases.begin(); it != aliases.end(); ++it)
    if (it->first == m_stdinCopy) {
      aliases.erase(it);
      break;
    }
}

namespace common_detail {

// Length of the well-formed UTF-8 sequence at s[i], 0 when there is none.
size_t Utf8Length(const std::string& s, size_t i) {
  auto cont = [&](size_t k) { return k < s.size() && (static_cast<unsigned char>(s[k]) & 0xC0) == 0x80; };
  unsigned char c = static_cast<unsigned char>(s[i]);
  if (c < 0x80) return 1;
  if (c >= 0xC2 && c <= 0xDF) return cont(i + 1) ? 2 : 0;
  if (c >= 0xE0 && c <= 0xEF) {
    unsigned char c1 = i + 1 < s.size() ? static_cast<unsigned char>(s[i + 1]) : 0;
    if ((c == 0xE0 && c1 < 0xA0) || (c == 0xED && c1 > 0x9F)) return 0;  // overlong, surrogate
    return cont(i + 1) && cont(i + 2) ? 3 : 0;
  }
  if (c >= 0xF0 && c <= 0xF4) {
    unsigned char c1 = i + 1 < s.size() ? static_cast<unsigned char>(s[i + 1]) : 0;
    if ((c == 0xF0 && c1 < 0x90) || (c == 0xF4 && c1 > 0x8F)) return 0;
    return cont(i + 1) && cont(i + 2) && cont(i + 3) ? 4 : 0;
  }
  return 0;
}

}  // namespace common_detail

std::string JsonString(const std::string& s) {
  std::string out = "\"";
  for (size_t i = 0; i < s.size();) {
    unsigned char c = static_cast<unsigned char>(s[i]);
    size_t n = common_detail::Utf8Length(s, i);
    if (n == 0) {
      out += "\\ufffd";  // a byte of no character, as a file name may hold
      ++i;
      continue;
    }
    if (c == '"' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c < 0x20 || c == 0x7f) {
      char buf[8];
      std::snprintf(buf, sizeof buf, "\\u%04x", c);
      out += buf;
    } else {
      out.append(s, i, n);
    }
    i += n;
  }
  return out + "\"";
}

}  // namespace qorl::cli
