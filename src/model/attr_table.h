// An element's own attributes, said once: each row names the attribute, says
// when it is written, how to read its text off the object, and how to set the
// object from the text (or from its absence). The generator walks the rows in
// order to write; the handler walks the same rows to read, so order and names
// cannot drift apart.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "platform/vxstring.h"

namespace qorl {

// The attributes of one element, in document order. Elements have few, so a
// flat vector beats a hash map.
class NameValuePairs {
 public:
  void Clear() { m_items.clear(); }
  void Add(VXString name, VXString value) { m_items.emplace_back(std::move(name), std::move(value)); }
  // The first attribute of that name, null if absent.
  const VXString* Find(std::u32string_view name) const {
    for (const auto& [n, v] : m_items)
      if (n.view() == name) return &v;
    return nullptr;
  }
  bool Has(std::u32string_view name) const { return Find(name) != nullptr; }
  size_t Size() const { return m_items.size(); }
  const std::pair<VXString, VXString>& At(size_t i) const { return m_items[i]; }

 private:
  std::vector<std::pair<VXString, VXString>> m_items;
};

enum class AttrWrite : uint8_t {
  kIfSet,    // text or number: written when the text is not empty
  kAlways,   // written whatever the value, also empty
  kIfTrue,   // flag: "true" only when set
  kIfFalse,  // flag: "false" only when clear
  kBoth,     // flag: always, "true" or "false"
};

template <class Obj>
struct AttrRow {
  std::u32string_view name;
  AttrWrite when;
  // The value as document text; flags give "true" or "false".
  VXString (*get)(const Obj& obj);
  // Sets the object from the attribute's text, or from its absence (text null:
  // the row applies the element's default). `all` holds the element's other
  // attributes for rows read together with another one.
  void (*set)(Obj& obj, const VXString* text, const NameValuePairs& all);
};

// Appends the attributes in row order, each as ` name="escaped value"`.
template <class Obj>
void WriteAttrRows(VXString& out, std::span<const AttrRow<Obj>> rows, const Obj& obj);
// Applies every row to the object from the element's attributes.
template <class Obj>
void ReadAttrRows(std::span<const AttrRow<Obj>> rows, Obj& obj, const NameValuePairs& attrs) {
  for (const AttrRow<Obj>& r : rows)
    if (r.set) r.set(obj, attrs.Find(r.name), attrs);
}

// The writing rule of one row, outside the template.
void WriteAttrRow(VXString& out, std::u32string_view name, AttrWrite when, const VXString& text);

template <class Obj>
void WriteAttrRows(VXString& out, std::span<const AttrRow<Obj>> rows, const Obj& obj) {
  for (const AttrRow<Obj>& r : rows)
    if (r.get) WriteAttrRow(out, r.name, r.when, r.get(obj));
}

// Readers for the common value kinds, for use inside `set`: absent text gives `def`.
bool FlagFrom(const VXString* text, bool def);
long long IntFrom(const VXString* text, long long def);
double DoubleFrom(const VXString* text, double def);
VXString TextFrom(const VXString* text);
// Writers: flags as "true"/"false", numbers in decimal, "" for 0 when `zeroIsUnset`.
inline VXString FlagText(bool b) { return VXString(b ? U"true" : U"false"); }
VXString IntText(long long v, bool zeroIsUnset);
VXString DoubleText(double v, bool zeroIsUnset);

}  // namespace qorl
