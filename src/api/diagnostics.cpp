#include <cctype>

#include "api/convert.h"
#include "platform/messages.h"

namespace qorl {

std::string FormatDiagnostic(const Diagnostic& d) {
  std::string out;
  for (const std::string& c : d.context) {
    out += c;
    out += '\n';
  }
  return out + d.message;
}

std::string FormatDiagnostics(const std::vector<Diagnostic>& ds) {
  std::string out;
  for (size_t i = 0; i < ds.size(); ++i) {
    if (i) out += '\n';
    out += FormatDiagnostic(ds[i]);
  }
  return out;
}

std::string MessageText(unsigned long code, const std::vector<std::string>& args) {
  VXStringVector vx;
  for (const std::string& a : args) vx.emplace_back(a);
  return SUStrUtil::FormatMessage(code, vx).ToUTF8();
}

namespace diagnostics_detail {

Diagnostic CatalogueDiagnostic(unsigned long code, const std::vector<std::string>& args) {
  Diagnostic d;
  d.code = code;
  d.message = MessageText(code, args);
  d.line = api::LineOfText(d.message);
  return d;
}

}  // namespace diagnostics_detail

Error::Error(unsigned long code, const std::vector<std::string>& args)
    : Error(std::vector<Diagnostic>{diagnostics_detail::CatalogueDiagnostic(code, args)}) {}

Error::Error(std::vector<Diagnostic> diagnostics)
    : std::runtime_error(FormatDiagnostics(diagnostics)), m_diagnostics(std::move(diagnostics)) {}

unsigned long Error::Code() const noexcept { return m_diagnostics.empty() ? 0 : m_diagnostics.front().code; }

namespace api {

unsigned LineOfText(const std::string& text) {
  constexpr std::string_view kPrefix = "Line ";
  if (text.compare(0, kPrefix.size(), kPrefix) != 0) return 0;
  unsigned line = 0;
  size_t i = kPrefix.size();
  if (i >= text.size() || !std::isdigit(static_cast<unsigned char>(text[i]))) return 0;
  for (; i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])); ++i) line = line * 10 + (text[i] - '0');
  return i < text.size() && text[i] == ':' ? line : 0;
}

namespace convert_detail {

// Entries of one error, in print order (context first, message last).
Diagnostic FromEntries(const std::vector<std::string>& texts, const std::vector<unsigned long>& codes, Severity severity) {
  Diagnostic d;
  d.severity = severity;
  if (texts.empty()) return d;
  d.message = texts.back();
  d.code = codes.back();
  d.context.assign(texts.begin(), texts.end() - 1);
  // The message's own line, else that of the innermost context that has one.
  for (size_t i = texts.size(); i-- > 0 && d.line == 0;) d.line = LineOfText(texts[i]);
  return d;
}

}  // namespace convert_detail

std::vector<Diagnostic> ToDiagnostics(const ErrorMessage& e, Severity severity) {
  // The message that names the document an error came from (see load/parser.cpp).
  constexpr unsigned long kInFile = 99018;
  const std::vector<ErrorMessage::Entry>& entries = e.Entries();  // bottom first
  std::vector<Diagnostic> out;
  std::vector<std::string> texts;
  std::vector<unsigned long> codes;
  std::filesystem::path file;
  auto close = [&] {
    if (texts.empty()) return;
    out.push_back(convert_detail::FromEntries(texts, codes, severity));
    out.back().file = file;
    texts.clear();
    codes.clear();
    file.clear();
  };
  // Top down, the order of print: an "In FILE:" entry opens the error below it.
  for (size_t i = entries.size(); i-- > 0;) {
    const ErrorMessage::Entry& entry = entries[i];
    if (entry.number == kInFile) {
      close();
      if (!entry.args.empty()) file = ToPath(entry.args.front());
    }
    texts.push_back(ErrorMessage::EntryText(entry).ToUTF8());
    codes.push_back(entry.number);
  }
  close();
  return out;
}

std::vector<Diagnostic> TextToDiagnostics(const VXString& text, Severity severity) {
  std::string all = text.ToUTF8();
  if (!all.empty() && all.back() == '\n') all.pop_back();
  std::vector<Diagnostic> out;
  if (all.empty()) return out;
  size_t start = 0;
  while (true) {
    size_t end = all.find("\n\n", start);
    std::string paragraph = all.substr(start, end == std::string::npos ? std::string::npos : end - start);
    std::vector<std::string> lines;
    size_t s = 0;
    while (true) {
      size_t nl = paragraph.find('\n', s);
      lines.push_back(paragraph.substr(s, nl == std::string::npos ? std::string::npos : nl - s));
      if (nl == std::string::npos) break;
      s = nl + 1;
    }
    out.push_back(convert_detail::FromEntries(lines, std::vector<unsigned long>(lines.size(), 0), severity));
    if (end == std::string::npos) break;
    start = end + 2;
  }
  return out;
}

}  // namespace api
}  // namespace qorl
