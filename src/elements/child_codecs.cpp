#include "elements/child_codecs.h"

#include <map>

#include "elements/fragments.h"
#include "model/attr_text.h"
#include "model/codecs.h"
#include "model/vocabulary.h"

namespace qorl::elements::children {

void OpenLine(VXString& s, std::u32string_view tag) {
  s += S_LT;
  s += tag;
  s += S_GT;
  s += S_NEWLINE;
}

void CloseLine(VXString& s, std::u32string_view tag) {
  s += S_OPEN_CLOSING_TAG;
  s += tag;
  s += S_GT;
  s += S_NEWLINE;
}

bool OpenUnlessEmpty(VXString& s, bool present, std::u32string_view tag, WriteContext& ctx) {
  if (!QORLUtil::IsEmptyElementFragmentNotGenerated(present, true, s, ctx.Options(), tag)) {
    ctx.Print(s);
    return false;
  }
  OpenLine(s, tag);
  return true;
}

namespace child_codecs {

using DbMap = std::map<int, VXString>;

class DbMapReader : public ChildReader {
 public:
  bool Start(const VXString& tag, const NameValuePairs& attrs, ReadContext&) override {
    if (tag == TAG_ITEM) {
      const VXString* name = attrs.Find(ATTR_NAME);
      m_name = name ? *name : VXString();
      m_text.clear();
      m_inItem = true;
    } else if (tag == TAG_VALUE) {
      m_inValue = m_inItem;
    } else {
      return tag == TAG_DB_MAP;
    }
    return true;
  }
  void Characters(std::u32string_view text) override {
    if (m_inValue) m_text.append(text);
  }
  void End(const VXString& tag, ReadContext&) override {
    if (tag == TAG_VALUE) {
      m_inValue = false;
    } else if (tag == TAG_ITEM && m_inItem) {
      QORLUtility::ProcessDbSpecificString(m_name, m_text, m_map);
      m_inItem = false;
    }
  }
  void Execute(ARpObject& obj, void* field, ReadContext&) override {
    *static_cast<DbMap*>(field) = m_map;
    MarkObjectDirty(obj);
  }

 private:
  DbMap m_map;
  VXString m_name;
  VXString m_text;
  bool m_inItem = false;
  bool m_inValue = false;
};

class DbMapCodec : public ChildCodec {
 public:
  void Write(const ARpObject&, const void* field, std::u32string_view tag, WriteContext& ctx) const override {
    const DbMap& map = *static_cast<const DbMap*>(field);
    VXString s;
    if (!OpenUnlessEmpty(s, !map.empty(), tag, ctx)) return;
    for (const auto& [type, text] : map) {
      s += S_LT;
      s += TAG_ITEM;
      AppendAttrAlways(s, ATTR_NAME, QORLUtility::GetStringFromDBType(type));
      s += S_GT;
      s += S_NEWLINE;
      s += QORLUtil::GetCDATA(text, TAG_VALUE, false, false, 0);
      CloseLine(s, TAG_ITEM);
    }
    CloseLine(s, tag);
    ctx.Print(s);
  }
  ChildReader* NewReader() const override { return new DbMapReader; }
  std::string_view SchemaType() const override { return "DbSpecificStringsType"; }
  void FillSample(ARpObject&, void* field, ARpGateway&) const override {
    DbMap& map = *static_cast<DbMap*>(field);
    map.clear();
    for (const auto& row : QORLUtility::DBTypeTable()) {
      map.emplace(row.value, VXString(U"SELECT 1 -- ") + VXString(row.text));
      if (map.size() == 2) break;
    }
  }
};

using Properties = std::map<VXString, VXString>;

class PropertiesReader : public ChildReader {
 public:
  bool Start(const VXString& tag, const NameValuePairs& attrs, ReadContext&) override {
    if (tag != TAG_PROPERTY) return tag == TAG_PROPERTIES;
    const VXString* name = attrs.Find(ATTR_NAME);
    const VXString* value = attrs.Find(ATTR_VALUE);
    m_map[name ? *name : VXString()] = value ? *value : VXString();
    return true;
  }
  void Execute(ARpObject& obj, void* field, ReadContext&) override {
    *static_cast<Properties*>(field) = m_map;
    MarkObjectDirty(obj);
  }

 private:
  Properties m_map;
};

class PropertiesCodec : public ChildCodec {
 public:
  void Write(const ARpObject&, const void* field, std::u32string_view tag, WriteContext& ctx) const override {
    const Properties& map = *static_cast<const Properties*>(field);
    VXString s;
    if (!OpenUnlessEmpty(s, !map.empty(), tag, ctx)) return;
    for (const auto& [name, value] : map) {
      s += S_LT;
      s += TAG_PROPERTY;
      AppendAttrAlways(s, ATTR_NAME, name);
      AppendAttrAlways(s, ATTR_VALUE, value);
      s += S_CLOSE_OPEN_TAG;
    }
    CloseLine(s, tag);
    ctx.Print(s);
  }
  ChildReader* NewReader() const override { return new PropertiesReader; }
  std::string_view SchemaType() const override { return "PhysicalPropertiesType"; }
  void FillSample(ARpObject&, void* field, ARpGateway&) const override {
    *static_cast<Properties*>(field) = {{VXString(U"fetch size"), VXString(U"500")}, {VXString(U"mode"), VXString(U"a \"b\" <c>")}};
  }
};

const DbMapCodec kDbMapCodec;
const PropertiesCodec kPropertiesCodec;

}  // namespace child_codecs

const ChildCodec& kDbMap = child_codecs::kDbMapCodec;
const ChildCodec& kNameValueProperties = child_codecs::kPropertiesCodec;

}  // namespace qorl::elements::children
