// Shorthands for description rows, so that a description reads as a table.
#pragma once

#include "elements/description.h"

namespace qorl::elements::rows {

// The types a reference accepts, one table per list wherever it is used:
// Types<kTIDATable, kTIDACubeTable>.
template <TypeID... T>
inline constexpr TypeID Types[] = {T...};

// ---- attributes ----

// Text written when not empty.
constexpr Attr Text(std::u32string_view name, const char* prop, const char* note = nullptr) {
  return {name, When::IfText, &kTextCodec, prop, nullptr, nullptr, note};
}
// A flag written when it differs from its default, which it takes when absent.
constexpr Attr Flag(std::u32string_view name, const char* prop, bool def) {
  return {name, When::IfNotDefault, &kFlagCodec, prop, def ? U"true" : U"false", nullptr, nullptr};
}
// A flag written always.
constexpr Attr FlagAlways(std::u32string_view name, const char* prop, bool def) {
  return {name, When::Always, &kFlagCodec, prop, def ? U"true" : U"false", nullptr, nullptr};
}
// A number written when it differs from its default, which it takes when absent or not a number.
constexpr Attr Number(std::u32string_view name, const ValueCodec& codec, const char* prop,
                      const char32_t* def = U"0") {
  return {name, When::IfNotDefault, &codec, prop, def, nullptr, nullptr};
}
constexpr Attr NumberAlways(std::u32string_view name, const ValueCodec& codec, const char* prop,
                            const char32_t* def = U"0") {
  return {name, When::Always, &codec, prop, def, nullptr, nullptr};
}
// A value written when its text is not empty (enumerations, counts, dates).
constexpr Attr Value(std::u32string_view name, const ValueCodec& codec, const char* prop,
                     const char32_t* def = nullptr, const char* note = nullptr) {
  return {name, When::IfText, &codec, prop, def, nullptr, note};
}
constexpr Attr ValueAlways(std::u32string_view name, const ValueCodec& codec, const char* prop,
                           const char* note = nullptr) {
  return {name, When::Always, &codec, prop, nullptr, nullptr, note};
}
// A rule of its own; `schema` gives the attribute's type in the schema.
constexpr Attr Hooked(std::u32string_view name, When when, const AttrHook& hook, const ValueCodec& schema,
                      const char* prop = nullptr, const char* note = nullptr) {
  return {name, when, &schema, prop, nullptr, &hook, note};
}

// ---- children ----

constexpr Part Tagged(std::u32string_view tag, const char* prop, std::span<const TypeID> accepts,
                      Phase phase = Phase::Execute) {
  return {PartKind::Tagged, tag, prop, 0, accepts, phase, 0, nullptr, nullptr};
}
constexpr Part Plain(const char* prop, std::span<const TypeID> accepts, Phase phase = Phase::Execute,
                     const char* note = nullptr) {
  return {PartKind::Plain, {}, prop, 0, accepts, phase, 0, nullptr, note};
}
constexpr Part Group(std::u32string_view tag, RelID rel, std::span<const TypeID> accepts, uint16_t flags = 0,
                     Phase phase = Phase::Execute) {
  return {PartKind::Group, tag, nullptr, rel, accepts, phase, flags, nullptr, nullptr};
}
constexpr Part EmptyGroup(std::u32string_view tag, std::span<const TypeID> accepts, uint16_t flags = 0,
                          RelID removesFrom = 0) {
  return {PartKind::EmptyGroup, tag, nullptr, removesFrom, accepts, Phase::Execute, flags, nullptr, nullptr};
}
// Empty on output; on load, the members it names leave the relation `rel`.
constexpr Part RemovedGroup(std::u32string_view tag, RelID rel, std::span<const TypeID> accepts, uint16_t flags = 0,
                            Phase phase = Phase::Execute) {
  return {PartKind::EmptyGroup, tag, nullptr, rel, accepts, phase, flags, nullptr, nullptr};
}
constexpr Part CData(std::u32string_view tag, const char* prop, uint16_t flags = 0) {
  return {PartKind::Text, tag, prop, 0, {}, Phase::Execute, flags, nullptr, nullptr};
}
// `treeTag`: the element the tree form puts the expression in, if any.
constexpr Part Expression(const char* prop, uint16_t flags = 0, Phase phase = Phase::Execute2,
                          std::u32string_view treeTag = {}) {
  return {PartKind::Expr, treeTag, prop, 0, {}, phase, flags, nullptr, nullptr};
}
constexpr Part TaggedExpression(std::u32string_view tag, const char* prop, uint16_t flags = 0,
                                Phase phase = Phase::Execute2) {
  return {PartKind::TaggedExpr, tag, prop, 0, {}, phase, flags, nullptr, nullptr};
}
constexpr Part Child(std::u32string_view tag, const ChildCodec& codec, const char* prop = nullptr,
                     Phase phase = Phase::Execute, uint16_t flags = 0) {
  return {PartKind::Child, tag, prop, 0, {}, phase, flags, &codec, nullptr};
}

// The part for a member inside its property's value.
constexpr Part Within(Part part, void* (*member)(void* value)) {
  part.within = member;
  return part;
}

}  // namespace qorl::elements::rows
