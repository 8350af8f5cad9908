#include "elements/bind.h"

#include <mutex>
#include <stdexcept>
#include <string>

#include "model/registry.h"
#include "model/vocabulary.h"

namespace qorl::elements {

namespace binding {

constexpr std::u32string_view kCommonAttributes[] = {
    ATTR_NAME,  ATTR_ICON_INDEX, ATTR_IS_DEF_READABLE, ATTR_IS_DEF_READWRITEABLE, ATTR_IS_DEF_GRANTABLE,
    ATTR_IS_DEF_ALL, ATTR_IS_DEF_DELETEABLE, ATTR_IS_BIEXTENDEROBJECT, ATTR_PARENT, ATTR_FULLY_QUALIFIED_NAME,
    ATTR_PARENT_ID, ATTR_PARENT_UID, ATTR_ID, ATTR_UID, ATTR_QNAME,
};

[[noreturn]] void Fail(const Description& d, std::string_view what, const char* prop) {
  throw std::logic_error(VXString(d.tag).ToUTF8() + ": " + std::string(what) + " " + (prop ? prop : "(none)"));
}

PropKind KindOf(PartKind k) {
  switch (k) {
    case PartKind::Tagged:
    case PartKind::Plain: return PropKind::ID;
    case PartKind::Text: return PropKind::String;
    case PartKind::Expr:
    case PartKind::TaggedExpr: return PropKind::Expr;
    default: return PropKind::Custom;
  }
}

Binding Bind(const Description& d) {
  Binding b;
  b.desc = &d;
  b.cls = AMetaClass::FromTypeID(d.type);
  if (!b.cls) Fail(d, "no store class for the type of", nullptr);
  for (const Attr& a : d.attrs) {
    const PropDesc* p = nullptr;
    if (a.prop) {
      p = FindProperty(b.cls, a.prop);
      if (!p) Fail(d, "no property", a.prop);
      if (!a.hook && (!a.codec || p->size != FieldSize(*a.codec))) Fail(d, "codec of another width for", a.prop);
    } else if (!a.hook) {
      Fail(d, "attribute without property or hook:", VXString(a.name).ToUTF8().c_str());
    }
    b.attrProps.push_back(p);
    b.attrDefaults.emplace_back(a.def ? a.def : U"");
    b.enumDefaults.push_back(a.codec && a.codec->field == FieldType::Enum ? a.codec->names->fromText(b.attrDefaults.back())
                                                                          : 0);
    if (b.attrNames.insert(a.name).second) b.attrList.push_back(a.name);
  }
  for (std::u32string_view n : kCommonAttributes)
    if (b.attrNames.insert(n).second) b.attrList.push_back(n);
  b.plainTags.resize(d.parts.size());
  for (size_t i = 0; i < d.parts.size(); ++i) {
    const Part& part = d.parts[i];
    const PropDesc* p = nullptr;
    if (part.prop) {
      p = FindProperty(b.cls, part.prop);
      if (!p) Fail(d, "no property", part.prop);
      PropKind want = KindOf(part.kind);
      if (want != PropKind::Custom && !part.within && p->kind != want) Fail(d, "property of another kind:", part.prop);
    }
    b.partProps.push_back(p);
    auto index = [&](std::u32string_view tag) {
      if (!b.partOfTag.emplace(std::u32string(tag), static_cast<uint16_t>(i)).second)
        Fail(d, "child tag used twice:", VXString(tag).ToUTF8().c_str());
    };
    switch (part.kind) {
      case PartKind::Plain:
        for (TypeID t : part.accepts) index((VXString(TAG_REF) + QORLUtil::GetTagName(t)).view());
        if (!part.accepts.empty()) b.plainTags[i] = VXString(TAG_REF) + QORLUtil::GetTagName(part.accepts[0]);
        break;
      case PartKind::Expr:
        index(TAG_EXPR);
        index(TAG_EXPR_TEXT);
        index(TAG_OBJECTS);
        break;
      default:
        index(part.tag);
    }
  }
  for (const auto& [tag, part] : b.partOfTag) b.childTags.push_back(tag);
  b.childTags.push_back(TAG_DESCRIPTION);
  return b;
}

struct Table {
  std::vector<Binding> all;
  std::unordered_map<TypeID, const Binding*> byType;
};

const Table& Bindings() {
  static const Table table = [] {
    Table t;
    std::span<const Description* const> ds = AllDescriptions();
    t.all.reserve(ds.size());
    for (const Description* d : ds) t.all.push_back(Bind(*d));
    for (const Binding& b : t.all) t.byType.emplace(b.desc->type, &b);
    return t;
  }();
  return table;
}

}  // namespace binding

std::span<const std::u32string_view> CommonAttributeNames() { return binding::kCommonAttributes; }

const Binding* BindingOf(TypeID type) {
  const auto& m = binding::Bindings().byType;
  auto it = m.find(type);
  return it == m.end() ? nullptr : it->second;
}

const Binding& BindingOf(const Description& d) { return *BindingOf(d.type); }

const Description* FindDescription(TypeID type) {
  const Binding* b = BindingOf(type);
  return b ? b->desc : nullptr;
}

void* PartField(const Binding& b, size_t part, ARpObject& obj) {
  const PropDesc* p = b.partProps[part];
  if (!p) return nullptr;
  void* value = p->field(obj);
  return b.desc->parts[part].within ? b.desc->parts[part].within(value) : value;
}

void* FieldOf(ARpObject& obj, const char* prop) {
  const PropDesc* p = FindProperty(obj.GetMetaClass(), prop);
  return p ? p->field(obj) : nullptr;
}

const void* FieldOf(const ARpObject& obj, const char* prop) { return FieldOf(const_cast<ARpObject&>(obj), prop); }

}  // namespace qorl::elements
