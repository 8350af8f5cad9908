// A description bound to the store: each row's property row found once, and
// the reader's index from child tag to part. Built for every description at
// first use and read-only afterwards.
#pragma once

#include <unordered_map>
#include <vector>

#include "elements/description.h"

namespace qorl::elements {

struct Binding {
  const Description* desc = nullptr;
  const AMetaClass* cls = nullptr;
  std::vector<const PropDesc*> attrProps;  // per attribute row; null for hooks without one
  std::vector<VXString> attrDefaults;      // per attribute row: the text an absent attribute reads as
  std::vector<const PropDesc*> partProps;  // per part; null where the part has none
  // Child tag to part index: wrappers, "Ref..." tags of plain references and
  // the three expression tags of an in-place expression.
  std::unordered_map<std::u32string, uint16_t> partOfTag;
  // The empty element of a plain reference: "Ref" and the first accepted tag.
  std::vector<VXString> plainTags;
};

// The binding of a description; throws std::logic_error naming the element
// and the row when a row names no property or one of another width or kind.
const Binding& BindingOf(const Description& d);
const Binding* BindingOf(TypeID type);

// The member a part reads and writes on the object; null when it has none.
void* PartField(const Binding& b, size_t part, ARpObject& obj);

}  // namespace qorl::elements
