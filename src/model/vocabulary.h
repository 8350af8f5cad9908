// Named constants for every element name, attribute name, fixed attribute
// value and text fragment of the document language, expanded from
// vocabulary.def. They are constexpr views of static UTF-32 literals: no
// start-up cost, and usable wherever a VXString is expected.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace qorl {

// U"" before the narrow literal makes the whole concatenation a UTF-32 literal.
#define QORL_VOCAB_CONSTANT(Name, Literal) inline constexpr std::u32string_view Name = U"" Literal;
#define QORL_TAG(Name, Literal) QORL_VOCAB_CONSTANT(Name, Literal)
#define QORL_ATTR(Name, Literal) QORL_VOCAB_CONSTANT(Name, Literal)
#define QORL_ATTRV(Name, Literal) QORL_VOCAB_CONSTANT(Name, Literal)
#define QORL_S(Name, Literal) QORL_VOCAB_CONSTANT(Name, Literal)
#include "model/vocabulary.def"
#undef QORL_TAG
#undef QORL_ATTR
#undef QORL_ATTRV
#undef QORL_S
#undef QORL_VOCAB_CONSTANT

enum class VocabularyFamily : uint8_t {
  kTag,         // TAG_*
  kAttr,        // ATTR_*
  kAttrValue,   // ATTRV_*
  kText,        // S_*
};

struct VocabularyEntry {
  VocabularyFamily family;
  std::string_view name;        // the constant's name, e.g. "TAG_DECLARE"
  std::u32string_view literal;  // the same view as the constant itself
};

// Every row of vocabulary.def, in its order: for the schema writer and for
// checks that walk the whole vocabulary.
std::span<const VocabularyEntry> AllVocabulary();

}  // namespace qorl
