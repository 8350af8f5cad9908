// QORLParser: the entry points of the load. Each takes documents (files or
// text), parses them with a QORLObjectManager and applies them to the
// caller's store. None begins, commits or rolls back: a false result is the
// caller's signal to roll back.
#pragma once

#include <set>

#include "load/manager.h"

namespace qorl {

class QORLParser {
 public:
  enum InputType {
    QORLUnknownType = 0,
    QORLFile = 1,
    QORLText = 2,
    QORLCustomizationDir = 3,
    kBeginTDFXMLTypes = 4,
    TDFXMLFile = 4,
    TDFXMLDir = 5,
    TDFXMLText = 6,
  };
  enum IgnoreErrorType {
    QORLIgnorePasswordError = 0,
    QORLIgnoreNonFatalError = 1,
    QORLIgnoreExprParsingerror = 2,
    QORLIgnoreAllError = 3,
  };

  // modifiedObjIds lists the objects the documents changed, each once;
  // pUnchangedObjIds (when given) those they named and left as they were.
  // bStrict: what a load would pass over with a warning (an unknown element,
  // attribute or value) is an error of the document instead.
  // Process-wide: test each file's password after parsing it / a test failed.
  static bool g_bCheckQORLFilePassword;
  static bool g_bErrQORLFilePassword;

  static bool ExecuteQORL(ARpGateway* pGateway, const VXStringVector& files, const VXStringVector& filePasswords,
                          ErrorMessage& errorMsg, VXString& warningMsg, InputType fileOrDirType,
                          bool bExitOnExprParsingError, bool bExitOnPasswordError, bool bIgnoreQORLErrors,
                          bool bRenameDuplicatedObjects, bool bIsTransformation, bool bFineGrainedXML,
                          bool bDoSchemaValidation);
  static bool ExecuteQORL(ARpGateway* pGateway, const VXString& inputFileOrDir, ErrorMessage& errorMsg,
                          VXString& warningMsg, InputType fileOrDirType, bool bExitOnExprParsingError,
                          bool bExitOnPasswordError, bool bIgnoreQORLErrors, bool bIsTransformation,
                          bool bDoSchemaValidation, bool bRenameDuplicatedObjects, bool bFineGrainedXML);
  static bool ExecuteQORL(ARpGateway* pGateway, const VXString& inputFileOrDir, const VXString& inputFilePassword,
                          ErrorMessage& errorMsg, VXString& warningMsg, InputType fileOrDirType,
                          bool bExitOnExprParsingError, bool bExitOnPasswordError, bool bIgnoreQORLErrors,
                          bool bIsTransformation, bool bDoSchemaValidation, bool bRenameDuplicatedObjects,
                          bool bFineGrainedXML);
  static bool ExecuteQORLText(ARpGateway* pGateway, const VXString& xml, ErrorMessage& errorMsg,
                              VoidIDVector& createdObjIds, VoidIDVector& modifiedObjIds, VoidIDVector& delIds,
                              bool bIsTDFQORL, bool bIgnoreQORLErrors, bool bFineGrainedXML, bool bIsTransformation,
                              VXString sInputPassword);
  static bool ExecuteQORLText(ARpGateway* pGateway, const VXString& xml, ErrorMessage& errorMsg, bool bIsTDFQORL,
                              bool bIgnoreQORLErrors, bool bFineGrainedXML, bool bIsTransformation,
                              VXString sInputPassword);
  static bool ExecuteTransactionalXML(ARpGateway* pGateway, const VXStringVector& inputs,
                                      const VXStringVector& inputPasswords, ErrorMessage& errorMsg,
                                      VXString& warningMsg, VoidIDVector& createdObjIds, VoidIDVector& modifiedObjIds,
                                      VoidIDVector& delIds, InputType type, bool bExitOnExprParsingError,
                                      bool bExitOnPasswordError, bool bIgnoreQORLErrors, bool bRenameDuplicatedObjects,
                                      bool bFineGrainedXML, bool bIsTransformation, bool bDoSchemaValidation,
                                      bool bStrict = false, VoidIDVector* pUnchangedObjIds = nullptr);
  static bool ExecuteTransactionalXML(ARpGateway* pGateway, const VXStringVector& inputs,
                                      const VXStringVector& inputPasswords, ErrorMessage& errorMsg,
                                      VXString& warningMsg, VoidIDVector& createdObjIds, VoidIDVector& modifiedObjIds,
                                      VoidIDVector& delIds, InputType type, std::set<IgnoreErrorType>& ignoreError,
                                      bool bRenameDuplicatedObjects, bool bFineGrainedXML, bool bIsTransformation,
                                      bool bDoSchemaValidation, bool bStrict = false,
                                      VoidIDVector* pUnchangedObjIds = nullptr);
  static bool ExecuteTransactionalXMLforQORL(ARpGateway* pGateway, const VXStringVector& inputs,
                                             const VXStringVector& inputPasswords, ErrorMessage& errorMsg,
                                             VXString& warningMsg, VoidIDVector& createdObjIds,
                                             VoidIDVector& modifiedObjIds, VoidIDVector& delIds, InputType type,
                                             bool bExitOnExprParsingError, bool bExitOnPasswordError,
                                             bool bIgnoreQORLErrors, bool bRenameDuplicatedObjects,
                                             bool bFineGrainedXML, bool bIsTransformation, bool bDoSchemaValidation,
                                             bool bStrict = false, VoidIDVector* pUnchangedObjIds = nullptr);
  static bool ExecuteTransactionalXMLForTDFXML(ARpGateway* pGateway, const VXStringVector& inputs,
                                               ErrorMessage& errorMsg, VXString& warningMsg,
                                               VoidIDVector& createdObjIds, VoidIDVector& modifiedObjIds,
                                               VoidIDVector& delIds, InputType type, bool bExitOnExprParsingError,
                                               bool bExitOnPasswordError, bool bIgnoreQORLErrors,
                                               bool bRenameDuplicatedObjects, bool bFineGrainedXML);
  // Encrypted values are opened as a load opens them: with inputPassword
  // first, then the repository's key; bExitOnPasswordError as for a load.
  static bool GatherDeclObjectsQualifiedNameTypeIDs(ARpGateway* pGateway, const VXString& input,
                                                    QNameTypeIDPairVector& out, ErrorMessage& errorMsg,
                                                    InputType fileOrDirType, bool bIgnoreQORLErrors,
                                                    const VXString& inputPassword = VXString(),
                                                    bool bExitOnPasswordError = true);
  static bool IsPasswordCorrect(ARpGateway* pGateway, const VXStringVector& files, const VXStringVector& filePasswords,
                                ErrorMessage& errorMsg, VXString& warningMsg, bool bExitOnExprParsingError,
                                bool bExitOnPasswordError);
  static bool IsFineGrainedXML(bool bInputIsFilename, const VXString& inputFileOrText);
};

}  // namespace qorl
