#include "model/vocabulary.h"

namespace qorl {

namespace {

constexpr VocabularyEntry kVocabulary[] = {
#define QORL_TAG(Name, Literal) {VocabularyFamily::kTag, #Name, Name},
#define QORL_ATTR(Name, Literal) {VocabularyFamily::kAttr, #Name, Name},
#define QORL_ATTRV(Name, Literal) {VocabularyFamily::kAttrValue, #Name, Name},
#define QORL_S(Name, Literal) {VocabularyFamily::kText, #Name, Name},
#include "model/vocabulary.def"
#undef QORL_TAG
#undef QORL_ATTR
#undef QORL_ATTRV
#undef QORL_S
};

}  // namespace

std::span<const VocabularyEntry> AllVocabulary() { return kVocabulary; }

}  // namespace qorl
