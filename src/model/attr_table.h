// An element's attributes as the reader hands them over, and the readers and
// writers of the common value kinds that attribute rules use.
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

// Readers for the common value kinds: absent text gives `def`.
bool FlagFrom(const VXString* text, bool def);
long long IntFrom(const VXString* text, long long def);
double DoubleFrom(const VXString* text, double def);
VXString TextFrom(const VXString* text);
// Writers: flags as "true"/"false", numbers in decimal, "" for 0 when `zeroIsUnset`.
inline VXString FlagText(bool b) { return VXString(b ? U"true" : U"false"); }
VXString IntText(long long v, bool zeroIsUnset);
VXString DoubleText(double v, bool zeroIsUnset);

}  // namespace qorl
