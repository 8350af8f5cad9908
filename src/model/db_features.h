// What a data source can do and what else is known of it: the database
// features table (one value per feature id, each id with a fixed name) and
// the key/value property tables kept per category.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string_view>
#include <vector>

#include "platform/vxstring.h"

namespace qorl {

enum class FeatureKind : uint8_t {
  kBoolean,  // "true" / "false"
  kInteger,  // decimal
  kMask,     // hexadecimal bit set, "0X" then lower-case digits
  kText,     // any text; empty is a value like any other
};

// One feature id with its name and default. The names are written into
// documents and so are fixed once: never rename or renumber a row.
struct FeatureDesc {
  int32_t id;
  std::string_view name;
  FeatureKind kind;
  uint32_t defaultNumber;     // booleans (0 or 1), integers and masks
  std::u32string_view defaultText;  // texts
};

class SUFeaturesTable {
 public:
  // The id ranges, one kind each; ids between the ranges do not exist.
  enum : int32_t {
    kFeature_BooleanTypeEnd = 234,
    kFeature_UInt32TypeBegin = 1000,
    kFeature_UInt32MaskTypeBegin = 1008,
    kFeature_UInt32TypeEnd = 1039,
    kFeature_StringTypeBegin = 2000,
    kFeature_StringTypeEnd = 2017,
  };

  // Every feature at its default.
  SUFeaturesTable();

  // Every row, ids ascending.
  static std::span<const FeatureDesc> AllFeatures();
  static bool IsFeatureID(int32_t id);
  // Null for an id outside the ranges.
  static const FeatureDesc* FindFeature(int32_t id);
  // Empty for an id outside the ranges.
  static VXString GetFeatureNameFromId(int32_t id);
  // Exact match; false, and id left alone, for a name no row has.
  static bool GetFeatureIDFromName(const VXString& name, int32_t& id);

  // Back to the defaults.
  void Clear();

  // Accessors of one kind each. A read of an id of another kind or outside
  // the ranges gives false / 0 / empty; such a write is ignored.
  bool GetBooleanFeatureValue(int32_t id) const;
  void SetBooleanFeatureValue(int32_t id, bool value);
  uint32_t GetIntegerFeatureValue(int32_t id) const;
  void SetIntegerFeatureValue(int32_t id, uint32_t value);
  VXString GetStringFeatureValue(int32_t id) const;
  void SetStringFeatureValue(int32_t id, const VXString& value);

  // The value as document text: "true"/"false", decimal, "0X" hexadecimal, or the text.
  VXString GetFeatureValueText(int32_t id) const;

  // The values that differ from the defaults, as text by id: the form a
  // repository keeps, so that a later default does not need a migration.
  std::map<int32_t, VXString> GetChangedValues() const;
  // Defaults, then the given values; unknown ids and unreadable texts are skipped.
  void SetChangedValues(const std::map<int32_t, VXString>& values);

  friend bool operator==(const SUFeaturesTable& a, const SUFeaturesTable& b) {
    return a.m_numbers == b.m_numbers && a.m_texts == b.m_texts;
  }

 private:
  std::vector<uint32_t> m_numbers;  // booleans then integers and masks, in id order
  VXStringVector m_texts;           // the text ids in order
};

// The features of one database.
class DatabaseFeaturesTable : public SUFeaturesTable {};

// Key/value pairs of one category. Keys keep the order in which they were first set.
class SUPropertiesTable {
 public:
  // A key already present keeps its place and takes the new value.
  void SetProperty(const VXString& key, const VXString& value);
  bool GetProperty(const VXString& key, VXString& value) const;
  bool RemoveProperty(const VXString& key);
  void GetPropertyKeys(VXStringVector& keys) const;
  size_t Size() const { return m_items.size(); }
  bool Empty() const { return m_items.empty(); }
  void Clear() { m_items.clear(); }
  // Key, value, key, value, ...: the form a repository keeps.
  VXStringVector ToFlatVector() const;
  void FromFlatVector(const VXStringVector& flat);

  friend bool operator==(const SUPropertiesTable& a, const SUPropertiesTable& b) { return a.m_items == b.m_items; }

 private:
  std::vector<std::pair<VXString, VXString>> m_items;
};

// A database's properties: category -> table.
using DatabasePropertiesMap = std::map<VXString, SUPropertiesTable>;

}  // namespace qorl
