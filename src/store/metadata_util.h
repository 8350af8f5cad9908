// Helpers over the store that generation and load share: qualified names,
// parents and children, names of siblings, passwords.
#pragma once

#include "store/gateway.h"

namespace qorl {

struct VariableToken;

class MetadataUtil {
 public:
  static VXString GenerateQualifiedName(const RefARpObject& obj);
  static void GenerateQualifiedName(const RefARpObject& obj, QualifiedName& out);
  // Components in double quotes, joined by '.'; a double quote inside a name is doubled.
  static VXString ToQualifiedName(const QualifiedName& qname);
  // Splits at `sep` outside double quotes; with bStripQuotes each component
  // loses its quotes and doubled quotes become one.
  static void ParseQualifiedNameString(const VXString& text, QualifiedName& out, char sep = '.', bool bStripQuotes = true);

  static RefARpObject GetParent(const RefARpObject& obj);
  static void SetParent(const RefARpObject& obj, const RefARpObject& parent);
  // Objects deleted with `obj`: the object itself first, then its children, transitively.
  static void GetDeleteDescendants(const RefARpObject& obj, RpObjectVector& out);
  static void GenerateNameVectorOfRootObjects(ARpGateway* rp, TypeID type, VXStringVector& names);
  static void GetAllocatedChildrenNames(ARpGateway* rp, TypeID type, const RefARpObject& parent, VXStringVector& names);
  static void GetParentTypes(TypeID type, TypeIDVector& out);
  static bool CanHaveParent(TypeID type);
  // Types whose objects are matched across stores by upgrade identifier. We
  // make it every type that has an element of its own: those are the objects
  // a document carries between repositories.
  static bool IsCompareableType(TypeID type);

  // Variable tokens of a text: VALUEOF(name), VALUEOF("name"), VALUEOF(QUALIFIER.name).
  static void FindVariables(const VXString& text, std::vector<VariableToken>& out);

  static bool DecryptAESPassword(ARpGateway* rp, const VXString& aes, ByteVector& clear);
  static bool DecryptAESPassword(const VXString& password, const VXString& aes, ByteVector& clear);
  static bool GetNewAESString(const VXString& oldPassword, const VXString& aes, const VXString& newPassword, VXString& out);
  // Encrypts with a key made from a password (a document under a script password).
  static VXString AESEncryptPasswordForScript(const VXString& password, const ByteVector& clear);
};

// All types that may own objects of any of the given types, each once.
void FindParentTypeIDs(const TypeIDVector& types, TypeIDVector& parentTypes);

// A variant of `name` that is not in `siblings`: "name#1", "name#2", ...,
// kept within the 255 characters a name may have.
VXString GenerateUniqueName(VXStringVector& siblings, const VXString& name);

}  // namespace qorl
