// Element descriptions: each element of the language said once, as data.
// The writer, the reader, the schema, the tree form and the tests all walk
// the same description, so a tag, an attribute or a child cannot be known to
// one of them and missed by another.
//
// A description names its store members by their property rows (store/props.h),
// so that the engines read and write them without an accessor per element.
// Code is written per element only for what is genuinely its own: a hook.
#pragma once

#include <span>
#include <string_view>

#include "model/attr_table.h"
#include "model/typeids.h"
#include "model/value_codec.h"
#include "store/ids.h"
#include "store/object.h"
#include "store/relation.h"

namespace qorl {

class Expr;
class QORLObjectStub;

namespace elements {

// When an attribute is written.
enum class When : uint8_t {
  Always,        // whatever the value, also empty
  IfText,        // when its text is not empty
  IfNotDefault,  // when its text differs from the row's default
};

class WriteContext;
class ReadContext;

// An attribute whose value is not one member: a rule of its own.
struct Attr;
struct AttrHook {
  // The text to write (When applies to it). Null: the attribute is never written.
  VXString (*get)(const ARpObject& obj, const Attr& row, const WriteContext& ctx);
  // Sets the object from the text (null when absent); `all` holds the
  // element's other attributes. Null: read together with another row.
  void (*set)(ARpObject& obj, const Attr& row, const VXString* text, const NameValuePairs& all, ReadContext& ctx);
  // A text the rule reads as a value other than the default (for tests);
  // null: the sample of the row's codec.
  const char32_t* sample = nullptr;
};

struct Attr {
  std::u32string_view name;
  When when;
  const ValueCodec* codec;  // with `prop`; for a hook, the schema type only
  const char* prop;         // the store property that holds the value (a hook may use it too)
  const char32_t* def;      // text of the value when absent (null: the codec's zero)
  const AttrHook* hook;     // instead of codec and prop
  const char* note;         // comment of the schema
};

// What a child element of an object element is.
enum class PartKind : uint8_t {
  Tagged,      // <Tag><RefX .../></Tag>: one reference, an id property
  Plain,       // <RefX .../>: one reference without a wrapper, an id property
  Group,       // <Tag><RefX/>...</Tag>: an ordered relation of the object
  EmptyGroup,  // a group the store keeps nothing for: written empty on request only; with
               // `rel`, the members a document names leave that relation, before the
               // other parts of the phase (a member both listed and removed stays)
  Text,        // <Tag><![CDATA[...]]></Tag>: a text property
  Expr,        // Expr, ExprText, Objects in place: an expression property
  TaggedExpr,  // the same inside <Tag>
  Child,       // a structured child, read and written by its codec
};

// When the reader applies a part: with the object's own attributes, or in the
// second pass, once every object of the document exists.
enum class Phase : uint8_t { Execute, Execute2 };

class ChildCodec;

struct Part {
  PartKind kind;
  std::u32string_view tag;         // the wrapper; empty for Plain; for Expr, the tree form's tag or empty
  const char* prop;                // id, text or expression property
  RelID rel;                       // Group, EmptyGroup
  std::span<const TypeID> accepts; // reference types; the first names an empty Plain element
  Phase phase;
  uint16_t flags;                  // PartFlag bits
  const ChildCodec* codec;         // Child
  const char* note;                // comment of the schema
  // A member inside the property's value (a struct) that the part stands for;
  // null: the property's value itself.
  void* (*within)(void* value) = nullptr;
};

enum PartFlag : uint16_t {
  kClearFirst = 1,       // Group: the document's list replaces the relation
  kLineFeeds = 2,        // Text: line ends converted on load
  kOmitEmptyText = 4,    // Text: left out when empty
  kSkipEmptyExpr = 8,    // Expr: an empty expression is left out
  kPhysicalExpr = 16,    // Expr: names resolve in the physical layer
  kEmptyWithFeed = 32,   // EmptyGroup: its empty form ends the line
  kBusinessModelExpr = 64,  // Expr: names resolve in the business model
  kClearFirstWithExprs = 128,  // Group: as kClearFirst, but a load without expressions names only some links
  kAlwaysWrapped = 256,   // TaggedExpr: the wrapper stands always, around an expression written as in place
  kKeepUnparsed = 512,    // Expr: a text that does not parse is kept, unparsed, when the error is only logged
  kKeepPlaces = 1024,     // Group: the relation becomes the list, but members that stay keep their places
  kRepeats = 2048,        // Child: the element repeats without a wrapper; one reader takes them all
};

// How an object finds its parent on load.
enum class ParentMode : uint8_t {
  None,     // a top-level object
  ByName,   // the parent is the qualified name without its last part, of one of `types`
  Hook,     // the element's resolveParent hook
};

struct ParentRule {
  ParentMode mode;
  std::span<const TypeID> types;  // tried in order
  RelID ownerRel;                 // the parent's relation that lists the object, or 0
  bool keepUnresolved = false;    // a parent that names nothing leaves the object where it is
};

// How the tree form lays the element out.
struct TreeShape {
  bool nested;  // written inside its parent's file
};

// Genuine rules of an element.
struct Hooks {
  // False leaves the object out of the document.
  bool (*isWritten)(const ARpObject& obj, const WriteContext& ctx) = nullptr;
  // The parent's stub under ParentMode::Hook, resolved; null when none.
  QORLObjectStub* (*resolveParent)(ReadContext& ctx) = nullptr;
  // After the parts of the Execute phase.
  void (*execute)(ARpObject& obj, ReadContext& ctx) = nullptr;
  // Before the parts of the Execute2 phase, once every object of the document exists.
  void (*prepare2)(ARpObject& obj, ReadContext& ctx) = nullptr;
  // After the parts of the Execute2 phase.
  void (*execute2)(ARpObject& obj, ReadContext& ctx) = nullptr;
  // Encrypted texts the dry password test checks.
  void (*passwords)(const NameValuePairs& attrs, VXStringVector& out) = nullptr;
  // What identifies the element in a fine-grained document, where a second
  // element of the same identity is dropped; S_ERROR for none. Null: its uid.
  VXString (*uniqueIdentifier)(ReadContext& ctx) = nullptr;
};

struct Description {
  TypeID type;
  std::u32string_view tag;
  std::string_view schemaType;  // name of the complex type in the schema
  ParentRule parent;
  std::span<const Attr> attrs;  // in output order
  std::span<const Part> parts;  // in schema order
  TreeShape tree;
  std::span<const std::u32string_view> identity;  // attributes that identify it among siblings
  std::span<const std::u32string_view> ordered;   // child lists whose order is meaning
  const Hooks* hooks;
};

// The member a property row names on the object; null when the class has no
// such property. For hooks: the engines bind their rows once.
void* FieldOf(ARpObject& obj, const char* prop);
const void* FieldOf(const ARpObject& obj, const char* prop);

// Every description, in the order of their families.
std::span<const Description* const> AllDescriptions();
// The element of a type; null for types without a description.
const Description* FindDescription(TypeID type);

// ---- what the engines give to hooks and child codecs ----

// The writer, as a child codec sees it.
class WriteContext {
 public:
  virtual ~WriteContext() = default;
  virtual ARpGateway* Gateway() const = 0;
  virtual int Options() const = 0;  // GenOptions bits
  virtual bool UpgradeIDs() const = 0;
  virtual bool UsingVoidID() const = 0;
  virtual bool HidingPoolPassword() const = 0;
  virtual bool SkippingCredentials() const = 0;
  virtual void Print(std::u32string_view text) = 0;
  // <RefX .../> of the object; nothing for a null one, or the empty `emptyTag`
  // element when empty elements are asked for.
  virtual void PrintRef(const RefARpObject& obj, std::u32string_view emptyTag) = 0;
  virtual void PrintTaggedRef(const RefARpObject& obj, std::u32string_view tag) = 0;
  // True when `present`; otherwise false, having written the empty element if asked for.
  virtual bool HasContent(bool present, std::u32string_view tag) = 0;
};

// The reader, as a hook or a child codec sees it.
class ReadContext {
 public:
  virtual ~ReadContext() = default;
  virtual ARpGateway* Gateway() const = 0;
  virtual int ElementLine() const = 0;
  // The line the parser is at: a child element's own.
  virtual int ParserLine() const = 0;
  virtual bool IgnoreErrors() const = 0;
  // Text of the attribute `attr` that is not a number in range: an error, or
  // a logged one when the load ignores errors. The caller takes the default.
  virtual void BadNumber(std::u32string_view attr, const VXString& text) = 0;
  // Text of the attribute of `row` that is none of the `known` texts and
  // reads as the default: a warning that names the nearest known text.
  virtual void UnknownText(const Attr& row, const VXString& text, std::span<const std::u32string_view> known) = 0;
  // An encrypted text of the document, decrypted with the load's passwords or
  // the repository key; a failure is the load's password error.
  virtual void DecryptPassword(const VXString& text, ByteVector& out) = 0;
  // A reference element's stub; owned by the load.
  virtual QORLObjectStub* Reference(TypeID type, const NameValuePairs& attrs) = 0;
  virtual void Resolve(QORLObjectStub*& stub) = 0;
  virtual RefARpObject ObjectOf(const QORLObjectStub* stub) const = 0;
  // False when the stub names nothing (yet); no error.
  virtual bool TryResolve(QORLObjectStub*& stub) = 0;
  // A stub of the element's own parent under another name or type.
  virtual QORLObjectStub* ParentStub(TypeID type, const QualifiedName& name) = 0;
  // The parent of that type named by the element's qualified name without its
  // last part, resolved as ParentMode::ByName does; null for a top-level name.
  virtual QORLObjectStub* ResolveParentOf(TypeID type) = 0;
  // Objects the store keeps for an element without elements of their own.
  virtual RefARpObject CreateInternalObject(TypeID type) = 0;
  virtual void DeleteInternalObject(const VoidID& id) = 0;
  // Parses an expression's text in the context of the element's object.
  virtual bool ParseExpr(int line, const VXString& text, Expr& out, int exprType) = 0;
  // The element's qualified name and attributes, as the document gave them.
  virtual const QualifiedName& Name() const = 0;
  virtual const NameValuePairs& Attributes() const = 0;
  // A fine-grained load changes what its elements name and keeps the rest.
  virtual bool FineGrained() const = 0;
  // The parent's upgrade id as the element gives it; empty when it gives none.
  virtual const VXUpgradeID& ParentUpgradeID() const = 0;
  // The upgrade id of the i-th object the expression of property `prop` lists; null when it lists none.
  virtual const VXUpgradeID* ExprObjectUID(const char* prop, size_t i) = 0;
  // False for a null object or one this load deletes.
  virtual bool IsAlive(const RefARpObject& obj) const = 0;
  // Deletes an object that the element's rules leave redundant.
  virtual void DeleteObject(const VoidID& id) = 0;
};

// A structured child element (a string table, a property list, a join graph):
// written and read by code of its own, reused by every element that has one.
// `field` is the member the part's property names (null when it names none).
class ChildReader {
 public:
  virtual ~ChildReader() = default;
  // Events inside the child element, its own start first. False: not the child's.
  virtual bool Start(const VXString& tag, const NameValuePairs& attrs, ReadContext& ctx) = 0;
  virtual void Characters(std::u32string_view text) {}
  virtual void End(const VXString& tag, ReadContext& ctx) {}
  virtual void Resolve(ReadContext& ctx) {}
  virtual void Execute(ARpObject& obj, void* field, ReadContext& ctx) = 0;
};

class ChildCodec {
 public:
  virtual ~ChildCodec() = default;
  virtual void Write(const ARpObject& obj, const void* field, std::u32string_view tag, WriteContext& ctx) const = 0;
  virtual ChildReader* NewReader() const = 0;
  // The named type of the child element in the schema.
  virtual std::string_view SchemaType() const = 0;
  // Sets the member to a value other than its default, for the test of every field.
  virtual void FillSample(ARpObject& obj, void* field, ARpGateway& rp) const = 0;
};

}  // namespace elements
}  // namespace qorl
