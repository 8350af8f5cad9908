// The seam between the layer's errors and the public API's plain values.
#pragma once

#include <filesystem>
#include <vector>

#include "platform/error.h"
#include "qorl/diagnostics.h"

namespace qorl::api {

// One Diagnostic per error of `e`, in the order RetrieveErrorMessages prints
// them, so that FormatDiagnostics gives the same text. An error is what one
// throw carried: its bottom entry is the message, the entries pushed over it
// are its context, and an "In FILE:" entry closes it and names its file.
std::vector<Diagnostic> ToDiagnostics(const ErrorMessage& e, Severity severity = Severity::Error);

// Errors the generator collected as text: one error per paragraph, each line
// an entry with the message last, as QORLUtil::HandleErrorMessage writes them.
std::vector<Diagnostic> TextToDiagnostics(const VXString& text, Severity severity = Severity::Error);

// The line of a text that begins "Line N:", else 0.
unsigned LineOfText(const std::string& text);

inline std::filesystem::path ToPath(const VXString& s) { return std::filesystem::path(s.ToUTF8()); }
inline VXString FromPath(const std::filesystem::path& p) { return VXString(p.string()); }

// Runs f; an ErrorMessage escaping it leaves as Error.
template <class F>
auto Translate(F&& f) -> decltype(f()) {
  try {
    return f();
  } catch (const ErrorMessage& e) {
    throw Error(ToDiagnostics(e));
  }
}

}  // namespace qorl::api
