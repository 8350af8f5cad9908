// Fragment functions: each returns a piece of element text for its caller to
// print, and knows nothing of the output. Both document forms use them.
#pragma once

#include "store/expr.h"
#include "store/gateway.h"

namespace qorl {

class ErrorMessage;

// Bits of a generator's options.
enum GenOptions : int {
  kGenFooter = 1,           // a text generation closes the root element
  kGenColMapping = 4,       // the column mapping section is written
  kGenEmptyElements = 8,    // empty groups and texts are written empty, not left out
  kGenExprTextObjects = 16, // expressions carry ExprText and Objects
  kGenDummyUID = 32,        // "fullyQualifiedName" and "dummyuid" for the structural diff
};


namespace QORLUtil {

// Attributes 1 to 8 of every object element: name, iconIndex, the five
// privilege flags, isBIExtenderObject.
VXString GetBaseRpObjectXMLAttributes(const RefARpObject& object, bool bGenerateUpGradeID);
// parentId, parentUid, id, uid.
VXString GenerateObjectAndParentIDs(const RefARpObject& object, bool bParent, bool bGenerateUpGradeID);
VXString GetCDATA(const VXString& text, std::u32string_view tag, bool bOptional, bool bSetDummyID, int genOptions);
VXString GetDescriptionXMLElement(const RefARpObject& object, int genOptions);
VXString GetAliases(const VXStringVector& aliases, bool bIsTDFQORL, int genOptions);
bool IsEmptyElementFragmentNotGenerated(bool origCondition, bool tdfCheckCondition, VXString& xmlFragment,
                                        int genOptions, std::u32string_view tag);
// A reference element: <RefTag id=.. uid=.. qualifiedName=../>; nothing for an unreachable object.
VXString GetRefObject(const RefARpObject& object, std::u32string_view tag, bool bGenerateUpGradeID);
VXString GenerateObjectList(ARpGateway* pRp, std::u32string_view tag, const VoidIDVector& visitedIDs,
                            bool bGenerateUpGradeID, int genOptions);
VXString GenerateExpressionText(ARpGateway* pRp, const Expr& expr, VoidIDVector& visitedIDs);
VXString GenerateExpressionTextAndObjectList(ARpGateway* pRp, const Expr& expr, bool bGenerateUpGradeID, int genOptions);
VXString GetExpression(ARpGateway* pRp, const Expr& expr, const VXString& exprStr, bool bGenerateUpGradeID, int genOptions);
VXString GetTaggedExpression(ARpGateway* pRp, const Expr& expr, const VXString& exprStr, std::u32string_view sTagName,
                             bool bGenerateUpGradeID, int genOptions);
// Appends each message of `error` to errorMsgString, one per line.
void HandleErrorMessage(ErrorMessage& error, VXString& errorMsgString);
// The generation types' object choice.
void LoadObjectsForGeneration(ARpGateway* pRp, RpObjectVector& loadedObjects, int genType,
                              const RpObjectVector& variablesForCoonPoolAndVarGenerationOption);

}  // namespace QORLUtil

// The texts of a connection pool that may name repository variables: the data
// source name, then the user name.
void PoolVariableTexts(const RefARpObject& pool, VXStringVector& texts);

namespace SUStrUtil {
// The XML declaration line: encoding 2 is UTF-8.
VXString GetXMLHeader(int encoding);
}  // namespace SUStrUtil

}  // namespace qorl
