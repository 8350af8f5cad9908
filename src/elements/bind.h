// A description bound to the store: each row's property row found once, and
// the reader's index from child tag to part. Built for every description at
// first use and read-only afterwards.
#pragma once

#include <span>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "elements/description.h"

namespace qorl::elements {

// Hashes names by their view, so that a lookup needs no string of its own.
struct NameHash {
  using is_transparent = void;
  size_t operator()(std::u32string_view s) const { return std::hash<std::u32string_view>()(s); }
};

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
  // Every attribute name the element reads, its own rows and the common ones:
  // the load looks each attribute up here, once per attribute.
  std::unordered_set<std::u32string_view, NameHash, std::equal_to<>> attrNames;
  // The same names and the child tags in a list, for the hints of a typo.
  std::vector<std::u32string_view> attrList;
  std::vector<std::u32string_view> childTags;
  // Per attribute row of an enumeration: the value its default text reads as.
  std::vector<int> enumDefaults;
};

// The attributes every object element has (the schema's common group).
std::span<const std::u32string_view> CommonAttributeNames();

// The binding of a description; throws std::logic_error naming the element
// and the row when a row names no property or one of another width or kind.
const Binding& BindingOf(const Description& d);
const Binding* BindingOf(TypeID type);

// The member a part reads and writes on the object; null when it has none.
void* PartField(const Binding& b, size_t part, ARpObject& obj);

}  // namespace qorl::elements
