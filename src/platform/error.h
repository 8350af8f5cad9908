// ErrorMessage: the one error type of the layer, a stack of numbered
// messages with text arguments. Thrown by value, caught by reference.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/messages.h"

namespace qorl {

class ErrorMessage {
 public:
  // Number 0 marks a raw text, held as the only argument. A location (line
  // 0: none) says where in a document the message points when its template
  // does not say so itself; the text then begins "Line N, column M: ".
  struct Entry {
    unsigned long number = 0;
    VXStringVector args;
    uint32_t line = 0;
    uint32_t column = 0;
  };

  ErrorMessage() = default;
  template <class... A>
  explicit ErrorMessage(unsigned long number, const A&... args) {
    Push(number, VXStringVector{MsgArg::From(args)...});
  }
  explicit ErrorMessage(const VXString& text) { PushErrorMessage(text); }

  template <class... A>
  void PushErrorMessage(unsigned long number, const A&... args) {
    Push(number, VXStringVector{MsgArg::From(args)...});
  }
  // Pushes all of the other's entries, its top ending on top.
  void PushErrorMessage(const ErrorMessage& other);
  void PushErrorMessage(const VXString& text);
  void PopErrorMessage();
  // Points the most recent entry at a place in the document (1-based; a
  // column of 0 is unknown).
  void SetLocation(uint32_t line, uint32_t column);

  bool HasMessages() const { return !m_entries.empty(); }
  // All texts, most recently pushed first, one per line, no final line feed.
  void RetrieveErrorMessages(VXString& out) const;
  // Number of the top entry; 0 when empty or a raw text.
  unsigned long GetMessageNumber() const;
  // Text of the top entry; empty when there is none.
  VXString GetText() const;
  // Bottom of the stack first.
  const std::vector<Entry>& Entries() const { return m_entries; }
  bool Contains(unsigned long number) const;

  static VXString EntryText(const Entry& e);

 private:
  void Push(unsigned long number, VXStringVector&& args);

  std::vector<Entry> m_entries;
};

// Throws e by value. The file and line name the throwing site for debugging.
[[noreturn]] void SUGThrow(const ErrorMessage& e, const char* file, int line);
// Throws e when bThrow, else writes it to the server log as an error.
void ThrowOrLogError(const ErrorMessage& e, bool bThrow);

}  // namespace qorl
