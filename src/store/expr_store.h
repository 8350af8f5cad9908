// Expressions against a store: parsing names through the store's indexes
// (and a document's own names first), and printing objects by name or id.
#pragma once

#include <unordered_map>

#include "store/expr.h"
#include "store/gateway.h"

namespace qorl {

using TypeIDQNameVoidIDMap = std::unordered_map<TypeIDQName, VoidID, TypeIDQNameHash>;

namespace SMEPParse {
// `names`, when given, is searched before the store: objects a document
// declares that the store does not know under that name yet.
bool QORLCreateExprTree(const VXString& text, Expr& out, VXString& errorText, ARpGateway* rp, ExprType type,
                        const TypeIDQNameVoidIDMap* names);
}  // namespace SMEPParse

class ToPrettyStringVisitor {
 public:
  // Keeps the source text with the expression so it can be written back unchanged.
  static void SetFormatExpr(Expr& expr, ARpGateway* rp, const VXString& text);
  // Objects by qualified name, or by double-quoted VoidID text with bUsingVoidID.
  // The remaining flags select printing variants this store does not distinguish.
  static VXString GetFormatExpr(const Expr& expr, ARpGateway* rp, bool bFlag1 = true, bool bFlag2 = true,
                                bool bFlag3 = false, bool bUsingVoidID = false, bool bFlag5 = false);
  // Process-wide switch: expressions are left out of documents and loads.
  static bool IsRipAndReplaceNoExprModeOn();
  static void SetRipAndReplaceNoExprMode(bool on);
};

}  // namespace qorl
