// Errors and warnings as the library hands them to its callers: plain values
// with UTF-8 text.
//
// How every call of the public API reports failure:
//  - A call that cannot do its job throws qorl::Error: a repository that does
//    not open or has another password, an invalid argument, an output that
//    cannot be opened, a closed Repository.
//  - Calls that read documents (Repository::Load, Repository::Declared,
//    CheckPassword) or write one (Repository::Generate) return a report
//    instead. Problems found in the documents, or in the objects written, are
//    Diagnostics in that report and never exceptions; the report says whether
//    the work was done.
// Messages about single elements that a load skips or repairs as it goes are
// sent to the log sink (qorl/log.h), not collected.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace qorl {

enum class Severity { Error, Warning, Note };

// One problem, and where it is: the document, the line and column of the
// element that is wrong (for a reference that does not resolve, the
// reference's own element), the message number. Line and column are where
// the parser reports the element's start tag to end.
struct Diagnostic {
  std::filesystem::path file;  // the document concerned; empty when none is
  unsigned line = 0;           // 1-based; 0 when unknown
  unsigned column = 0;         // 1-based; 0 when unknown
  Severity severity = Severity::Error;
  unsigned long code = 0;      // message number; 0 for a text without one
  std::string message;         // the sentence alone, without its place
  // The element being applied when the problem came up, and the qualified
  // name of its object; empty when the problem is not about one.
  std::string element;
  std::string object;
  // What else helps to find it, each with its own place: first the element
  // being applied ("While applying <PhysicalKey> ..."), then any outer context.
  std::vector<Diagnostic> notes;
};

// The lines a compiler would write: "FILE:LINE:COLUMN: error: MESSAGE [CODE]"
// (the place as far as it is known: "FILE: error: ..." for a whole file,
// "qorl: error: ..." for none), then one "FILE:LINE: note: ..." line per
// note. No final line feed.
std::string FormatDiagnostic(const Diagnostic& diagnostic);
// Every FormatDiagnostic, one after the other on their own lines, without a
// final line feed.
std::string FormatDiagnostics(const std::vector<Diagnostic>& diagnostics);
// "error", "warning" or "note".
const char* SeverityName(Severity severity);

// The catalogue text of a message number with its arguments in place of %1,
// %2, ...; an unknown number gives "Message N: arg, arg".
std::string MessageText(unsigned long code, const std::vector<std::string>& args = {});

// Numbers of messages that callers test for or raise themselves.
namespace messages {
inline constexpr unsigned long kPasswordDoesNotDecrypt = 13042;
inline constexpr unsigned long kCannotWriteFile = 46003;
inline constexpr unsigned long kWrongRepositoryPassword = 99002;
inline constexpr unsigned long kFileExists = 99007;
inline constexpr unsigned long kNoRepositoryPassword = 99011;
inline constexpr unsigned long kRepositoryClosed = 99021;
// Another process committed to the file after this one read it; reopen and redo.
inline constexpr unsigned long kRepositoryChanged = 99030;
// Another process held the file's write lock, or was committing, for longer
// than the wait; try again later.
inline constexpr unsigned long kRepositoryBusy = 99031;
// Readers still reading held back a commit for longer than the wait.
inline constexpr unsigned long kRepositoryBeingRead = 99032;
// A generation met a reference to an object that is not in the repository.
inline constexpr unsigned long kMissingReferencedObject = 94551;
}  // namespace messages

// The one exception type of the API. what() is FormatDiagnostics of its
// diagnostics.
class Error : public std::runtime_error {
 public:
  // One diagnostic: the catalogue message `code` with its arguments.
  explicit Error(unsigned long code, const std::vector<std::string>& args = {});
  explicit Error(std::vector<Diagnostic> diagnostics);

  // The number of the first diagnostic, the error that started the failure.
  unsigned long Code() const noexcept;
  const std::vector<Diagnostic>& Diagnostics() const noexcept { return m_diagnostics; }

 private:
  std::vector<Diagnostic> m_diagnostics;
};

}  // namespace qorl
