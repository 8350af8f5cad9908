#include "api/convert.h"

#include <cctype>

#include "platform/messages.h"

namespace qorl {

const char* SeverityName(Severity severity) {
  switch (severity) {
    case Severity::Error: return "error";
    case Severity::Warning: return "warning";
    case Severity::Note: return "note";
  }
  return "error";
}

namespace diagnostics_detail {

void AppendLine(std::string& out, const Diagnostic& d, const std::filesystem::path& inherited) {
  const std::filesystem::path& file = d.file.empty() ? inherited : d.file;
  std::string where;
  if (!file.empty()) {
    out += file.string();
    out += ':';
    if (d.line) {
      out += std::to_string(d.line) + ':';
      if (d.column) out += std::to_string(d.column) + ':';
    }
  } else {
    out += "qorl:";
    // Without a document the place still helps: it goes into the text.
    if (d.line) where = "line " + std::to_string(d.line) + (d.column ? ", column " + std::to_string(d.column) : "") + ": ";
  }
  out += ' ';
  out += SeverityName(d.severity);
  out += ": ";
  out += where;
  out += d.message;
  if (d.code && d.severity != Severity::Note) out += " [" + std::to_string(d.code) + "]";
}

}  // namespace diagnostics_detail

std::string FormatDiagnostic(const Diagnostic& d) {
  std::string out;
  diagnostics_detail::AppendLine(out, d, {});
  for (const Diagnostic& n : d.notes) {
    out += '\n';
    diagnostics_detail::AppendLine(out, n, d.file);
  }
  return out;
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
  return api::TextDiagnostic(MessageText(code, args), code, Severity::Error);
}

}  // namespace diagnostics_detail

Error::Error(unsigned long code, const std::vector<std::string>& args)
    : Error(std::vector<Diagnostic>{diagnostics_detail::CatalogueDiagnostic(code, args)}) {}

Error::Error(std::vector<Diagnostic> diagnostics)
    : std::runtime_error(FormatDiagnostics(diagnostics)), m_diagnostics(std::move(diagnostics)) {}

unsigned long Error::Code() const noexcept { return m_diagnostics.empty() ? 0 : m_diagnostics.front().code; }

namespace api {

namespace convert_detail {

bool ReadNumber(const std::string& text, size_t& i, unsigned& n) {
  size_t begin = i;
  n = 0;
  for (; i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])) && i - begin < 9; ++i)
    n = n * 10 + static_cast<unsigned>(text[i] - '0');
  return i > begin;
}

bool Skip(const std::string& text, size_t& i, std::string_view what) {
  if (text.compare(i, what.size(), what) != 0) return false;
  i += what.size();
  return true;
}

// The message number of the context that names the element being applied
// (see load/manager.cpp), and of the one that names the document.
constexpr unsigned long kWhileApplying = 99017;
constexpr unsigned long kInFile = 99018;

}  // namespace convert_detail

std::string SplitLocation(const std::string& text, unsigned& line, unsigned& column) {
  using namespace convert_detail;
  line = column = 0;
  size_t i = 0;
  unsigned l = 0, c = 0;
  if (!Skip(text, i, "Line ") || !ReadNumber(text, i, l)) return text;
  if (Skip(text, i, ", column ") && !ReadNumber(text, i, c)) return text;
  if (!Skip(text, i, ":")) return text;
  Skip(text, i, " ");
  line = l;
  column = l ? c : 0;
  std::string rest = text.substr(i);
  // The templates write "Line N: lower case"; a sentence of its own begins
  // with a capital, unless it begins with a name from the document
  // (dataType="..."), which keeps its case.
  size_t word = 0;
  while (word < rest.size() && std::isalpha(static_cast<unsigned char>(rest[word]))) ++word;
  bool isName = word < rest.size() && rest[word] != ' ' && rest[word] != ',';
  if (!isName && !rest.empty() && rest[0] >= 'a' && rest[0] <= 'z') rest[0] = static_cast<char>(rest[0] - 'a' + 'A');
  return rest;
}

Diagnostic TextDiagnostic(const std::string& text, unsigned long code, Severity severity) {
  Diagnostic d;
  d.severity = severity;
  d.code = code;
  d.message = SplitLocation(text, d.line, d.column);
  return d;
}

namespace convert_detail {

// One error: its entries in print order, context first and the message last.
Diagnostic FromEntries(const std::vector<const ErrorMessage::Entry*>& entries, Severity severity,
                       const std::filesystem::path& file) {
  const ErrorMessage::Entry& last = *entries.back();
  Diagnostic d = TextDiagnostic(ErrorMessage::EntryText(last).ToUTF8(), last.number, severity);
  d.file = file;
  // Innermost context first: it is closest to the message.
  for (size_t i = entries.size() - 1; i-- > 0;) {
    const ErrorMessage::Entry& e = *entries[i];
    Diagnostic n = TextDiagnostic(ErrorMessage::EntryText(e).ToUTF8(), e.number, Severity::Note);
    n.file = file;
    if (e.number == kWhileApplying && e.args.size() >= 2 && d.element.empty()) {
      d.element = e.args[0].ToUTF8();
      d.object = e.args[1].ToUTF8();
    }
    // Without a place of its own the message is where the context points.
    if (d.line == 0 && n.line) {
      d.line = n.line;
      d.column = n.column;
    }
    d.notes.push_back(std::move(n));
  }
  return d;
}

}  // namespace convert_detail

std::vector<Diagnostic> ToDiagnostics(const ErrorMessage& e, Severity severity) {
  const std::vector<ErrorMessage::Entry>& entries = e.Entries();  // bottom first
  std::vector<Diagnostic> out;
  std::vector<const ErrorMessage::Entry*> group;
  std::filesystem::path file;
  auto close = [&] {
    if (!group.empty()) out.push_back(convert_detail::FromEntries(group, severity, file));
    group.clear();
    file.clear();
  };
  // Top down, the order of print: an "In FILE:" entry opens the error below
  // it and gives its file, and says nothing more.
  for (size_t i = entries.size(); i-- > 0;) {
    const ErrorMessage::Entry& entry = entries[i];
    if (entry.number == convert_detail::kInFile) {
      close();
      if (!entry.args.empty()) file = ToPath(entry.args.front());
      continue;
    }
    group.push_back(&entry);
  }
  close();
  return out;
}

std::vector<Diagnostic> TextToDiagnostics(const VXString& text, Severity severity) {
  std::string all = text.ToUTF8();
  while (!all.empty() && all.back() == '\n') all.pop_back();
  std::vector<Diagnostic> out;
  size_t start = 0;
  while (start < all.size()) {
    size_t end = all.find("\n\n", start);
    if (end == std::string::npos) end = all.size();
    // Lines of one paragraph: context first, the message last.
    std::vector<std::string> lines;
    for (size_t s = start; s < end;) {
      size_t nl = all.find('\n', s);
      if (nl == std::string::npos || nl > end) nl = end;
      if (nl > s) lines.push_back(all.substr(s, nl - s));
      s = nl + 1;
    }
    if (!lines.empty()) {
      Diagnostic d = TextDiagnostic(lines.back(), 0, severity);
      for (size_t i = lines.size() - 1; i-- > 0;) {
        d.notes.push_back(TextDiagnostic(lines[i], 0, Severity::Note));
        if (d.line == 0) {
          d.line = d.notes.back().line;
          d.column = d.notes.back().column;
        }
      }
      out.push_back(std::move(d));
    }
    start = end + 2;
  }
  return out;
}

}  // namespace api
}  // namespace qorl
