// Expressions of the store: formula text in which repository objects are
// held by identity rather than by name, so that renaming an object does not
// break the formulas that mention it. The library knows nothing of the store;
// callers hand in name services (ExprNamer, ExprLookup).
//
// Text forms:
//   qualified-name text  "db"."cat"."sch"."T"  (components double-quoted, a
//                        double quote inside a component doubled, joined by
//                        '.' with no blanks)
//   VoidID text          "3003:0000002a"        (one double-quoted component)
//   string literal       'it''s'                (never holds names)
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "store/ids.h"
#include "store/object.h"

namespace qorl {

enum ExprType { kSME_Logical = 0, kSME_Physical = 1, kSME_BusinessModel = 2 };

constexpr const char* kValueOfKeyword = "VALUEOF";

// One piece of an expression: a run of text, or one object.
struct ExprToken {
  VXString text;  // empty for an object
  VoidID id;      // NullID for text
  bool IsObject() const { return !id.IsNullID(); }
  friend bool operator==(const ExprToken& a, const ExprToken& b) { return a.id == b.id && a.text == b.text; }
};

class AExpr {
 public:
  virtual ~AExpr() = default;
};

class Expr : public AExpr {
 public:
  // Empties tokens and format text and clears the unparsed mark.
  void Clear();
  size_t Size() const { return m_tokens.size(); }
  bool IsEmpty() const { return m_tokens.empty(); }
  const std::vector<ExprToken>& Tokens() const { return m_tokens; }

  // Adjacent text is merged into one token, and empty text is dropped, so
  // that equal expressions always have equal token sequences.
  void AppendText(const VXString& text);
  // The null identity is no object: it is kept as its double-quoted VoidID
  // text, so the mention stays visible in the printed expression.
  void AppendObject(VoidID id);

  // Appends the ids of the objects in order of mention. With `unique`, an id
  // already in `out` (from this expression or given by the caller) is not
  // added again, so the result is in order of first mention.
  void CollectIDs(VoidIDVector& out, bool unique) const;

  // Parsed expressions compare by tokens; the format text is not compared.
  // An unparsed expression has no tokens, so it compares by its raw text.
  bool operator==(const Expr& o) const;

  void SetFormatText(const VXString& text) { m_formatText = text; }
  const VXString& GetFormatText() const { return m_formatText; }

  // An expression that failed to parse keeps only its raw text (as format
  // text); printing gives that text back.
  bool IsUnparsed() const { return m_unparsed; }
  void SetUnparsed(bool unparsed) { m_unparsed = unparsed; }

  // Binary form for persistence: flags, the format text when set, then the
  // tokens. Code points are stored as varints, so any text survives exactly.
  void Encode(ByteVector& out) const;
  // Reads one encoded expression from [p, end) and advances p past it. On
  // failure returns false and leaves both p and *this untouched.
  bool Decode(const uint8_t*& p, const uint8_t* end);

  // The objects the expression mentions that the store can reach, in order
  // of mention; with bUnique each once. Defined with the store glue.
  void GetObjectsInExpr(ARpGateway* rp, RpObjectVector& out, bool bUnique) const;

 private:
  std::vector<ExprToken> m_tokens;
  VXString m_formatText;
  bool m_unparsed = false;
};

// Names objects for printing.
class ExprNamer {
 public:
  virtual ~ExprNamer();
  // False (or an empty name) when the object cannot be named, e.g. deleted.
  virtual bool QualifiedNameOf(const VoidID& id, QualifiedName& out) const = 0;
};

// Resolves names while parsing.
class ExprLookup {
 public:
  virtual ~ExprLookup();
  virtual bool Exists(const VoidID& id) const = 0;
  virtual bool Find(TypeID type, const QualifiedName& name, VoidID& out) const = 0;
};

// The object types a name may denote, in the order they are tried. Inside
// VALUEOF(...) variables come first.
const TypeIDVector& CandidateTypes(ExprType type, bool insideValueOf);

// Qualified-name text of a name; empty for an empty name.
VXString QualifiedNameToText(const QualifiedName& name);
void AppendQualifiedNameText(VXString& out, const QualifiedName& name);
// Strict reader of qualified-name text: every component double-quoted, ""
// inside a component is one quote, components separated by a bare '.', and
// nothing after the last component. `out` is cleared first.
bool ParseQualifiedNameText(const VXString& text, QualifiedName& out);

// The display text. Objects appear by qualified name, or by double-quoted
// VoidID text when `useVoidIDs` is set or the namer cannot name them. An
// unparsed expression prints its raw text.
VXString PrintExpr(const Expr& expr, const ExprNamer& namer, bool useVoidIDs);

// Builds `out` from text. Double-quoted runs are object names and must name
// one object as a whole; single-quoted literals and everything else are kept
// as text exactly, so printing with the same names gives the input back. On
// success the input becomes the format text. On failure `errorText` says
// why, and `out` is left unparsed holding the input as its raw text.
// Positions in messages count characters from 1.
bool ParseExpr(const VXString& text, Expr& out, VXString& errorText, ExprType type, const ExprLookup& lookup);

// One VALUEOF(...) in a text. `qualifier` is empty for a repository
// variable (VALUEOF(name), VALUEOF("name")) and holds e.g. NQ_SESSION for
// VALUEOF(NQ_SESSION."name"). pos/len span the whole VALUEOF(...).
struct VariableToken {
  VXString qualifier;
  VXString name;
  size_t pos = 0;
  size_t len = 0;
};
// Lists the variable references of a text in order, skipping string literals
// and double-quoted names. Appends to `out`.
void FindVariables(const VXString& text, std::vector<VariableToken>& out);

}  // namespace qorl
