#include "platform/error.h"

#include "platform/serverlog.h"

namespace qorl {

void ErrorMessage::Push(unsigned long number, VXStringVector&& args) {
  m_entries.push_back(Entry{number, std::move(args)});
}

void ErrorMessage::PushErrorMessage(const ErrorMessage& other) {
  if (&other == this) {
    std::vector<Entry> copy = m_entries;
    m_entries.insert(m_entries.end(), copy.begin(), copy.end());
    return;
  }
  m_entries.insert(m_entries.end(), other.m_entries.begin(), other.m_entries.end());
}

void ErrorMessage::PushErrorMessage(const VXString& text) { Push(0, VXStringVector{text}); }

void ErrorMessage::PopErrorMessage() {
  if (!m_entries.empty()) m_entries.pop_back();
}

void ErrorMessage::SetLocation(uint32_t line, uint32_t column) {
  if (m_entries.empty()) return;
  m_entries.back().line = line;
  m_entries.back().column = line ? column : 0;
}

VXString ErrorMessage::EntryText(const Entry& e) {
  VXString text;
  if (e.line) {
    // The form that the catalogue's "Line %1: " templates write, so that
    // readers of the text find every location the same way.
    text = "Line ";
    text += VXString::FromUInt(e.line);
    if (e.column) {
      text += ", column ";
      text += VXString::FromUInt(e.column);
    }
    text += ": ";
  }
  if (e.number == 0) {
    if (!e.args.empty()) text += e.args.front();
  } else {
    text += SUStrUtil::FormatMessage(e.number, e.args);
  }
  return text;
}

void ErrorMessage::RetrieveErrorMessages(VXString& out) const {
  out.clear();
  for (auto it = m_entries.rbegin(); it != m_entries.rend(); ++it) {
    if (it != m_entries.rbegin()) out.push_back(U'\n');
    out += EntryText(*it);
  }
}

unsigned long ErrorMessage::GetMessageNumber() const { return m_entries.empty() ? 0 : m_entries.back().number; }

VXString ErrorMessage::GetText() const { return m_entries.empty() ? VXString() : EntryText(m_entries.back()); }

bool ErrorMessage::Contains(unsigned long number) const {
  for (const Entry& e : m_entries)
    if (e.number == number) return true;
  return false;
}

void SUGThrow(const ErrorMessage& e, const char* /*file*/, int /*line*/) { throw e; }

void ThrowOrLogError(const ErrorMessage& e, bool bThrow) {
  if (bThrow) throw e;
  ServerLog::LogError(e);
}

}  // namespace qorl
