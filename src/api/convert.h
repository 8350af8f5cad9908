// The seam between the layer's errors and the public API's plain values.
#pragma once

#include <filesystem>
#include <vector>

#include "platform/error.h"
#include "qorl/diagnostics.h"

namespace qorl::api {

// One Diagnostic per error of `e`, in the order RetrieveErrorMessages prints
// them. An error is what one throw carried: its bottom entry is the message,
// the entries pushed over it are its context (notes), and an "In FILE:" entry
// closes it and names its file.
std::vector<Diagnostic> ToDiagnostics(const ErrorMessage& e, Severity severity = Severity::Error);

// Errors the generator collected as text: one error per paragraph, each line
// an entry with the message last, as QORLUtil::HandleErrorMessage writes them.
std::vector<Diagnostic> TextToDiagnostics(const VXString& text, Severity severity = Severity::Error);

// A text that begins "Line N: " or "Line N, column M: " (as the catalogue and
// located entries write it) without that beginning, its first letter a
// capital; line and column get N and M, else 0.
std::string SplitLocation(const std::string& text, unsigned& line, unsigned& column);
// One message text as a Diagnostic, its place taken out of the text.
Diagnostic TextDiagnostic(const std::string& text, unsigned long code, Severity severity);

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
