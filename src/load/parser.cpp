#include "load/parser.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <unordered_set>

#include "load/schema_path.h"
#include "load/xml_reader.h"
#include "model/vocabulary.h"
#include "platform/crypto.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/messages.h"
#include "platform/serverlog.h"
#include "store/conditions.h"

namespace qorl {

bool QORLParser::g_bCheckQORLFilePassword = false;
bool QORLParser::g_bErrQORLFilePassword = false;

namespace {

bool IsBaseGatewayEmpty(ARpGateway* rp) { return rp->ObjectCount() == 0; }

void GatherObjects(QORLObjectManager& m, const std::unordered_set<uint64_t>& changedOwners, VoidIDVector& created,
                   VoidIDVector& changed, VoidIDVector& unchanged, VoidIDVector& deleted) {
  VoidIDVector c, md, u, d;
  m.GatherDeclObjects(c, md, u, changedOwners);
  m.GatherDeletedObjects(d);
  created.insert(created.end(), c.begin(), c.end());
  changed.insert(changed.end(), md.begin(), md.end());
  unchanged.insert(unchanged.end(), u.begin(), u.end());
  deleted.insert(deleted.end(), d.begin(), d.end());
}

// Each object counted once over all documents: made by the load, else
// changed by any document, else unchanged.
void CountEachOnce(const VoidIDVector& created, VoidIDVector& changed, VoidIDVector& unchanged) {
  std::unordered_set<uint64_t> seen;
  for (const VoidID& id : created) seen.insert(id.Key());
  auto keepNew = [&seen](VoidIDVector& ids) { std::erase_if(ids, [&](const VoidID& id) { return !seen.insert(id.Key()).second; }); };
  keepNew(changed);
  keepNew(unchanged);
}

// Customization files: the XML files of the directory in name order, and a
// hash of their contents in that order.
void OrderedCustomizationFiles(const VXString& dir, VXStringVector& files, VXString& hash) {
  VXStringVector names;
  SystemUtility::ListDirectory(dir, names);
  ByteVector all;
  for (const VXString& n : names) {
    if (!n.ends_with(U".xml")) continue;
    VXString path = SUFilePath::VXPathAppend(dir, n);
    files.push_back(path);
    std::string bytes;
    SystemUtility::ReadWholeFile(path, bytes);
    all.insert(all.end(), bytes.begin(), bytes.end());
  }
  hash = crypto::MD5Hex(all);
}

void ParseInput(SaxReader& reader, QORLParser::InputType type, const VXString& input) {
  if (type == QORLParser::QORLText || type == QORLParser::TDFXMLText) reader.ParseText(input);
  else reader.ParseFile(input);
}

// Says which document an error came from.
void PushInputContext(ErrorMessage& e, QORLParser::InputType type, const VXString& input) {
  if (type == QORLParser::QORLFile || type == QORLParser::TDFXMLFile) e.PushErrorMessage(99018, input);
}

}  // namespace

namespace parser_detail {

// A document that is missing, a directory or unreadable says so before the
// parser would call it a malformed document at line 0.
void CheckInputFile(QORLParser::InputType type, const VXString& path) {
  if (type != QORLParser::QORLFile && type != QORLParser::TDFXMLFile) return;
  std::error_code ec;
  std::filesystem::file_status st = std::filesystem::status(path.ToUTF8(), ec);
  if (!std::filesystem::exists(st)) throw ErrorMessage(92035);
  if (std::filesystem::is_directory(st)) throw ErrorMessage(92036);
  std::FILE* f = std::fopen(path.ToUTF8().c_str(), "rb");
  if (!f) throw ErrorMessage(92037, std::string(std::strerror(errno)));
  std::fclose(f);
}

// The document that the log's messages are about while one input is read
// and applied; none for a text.
VXString DocumentOf(QORLParser::InputType type, const VXString& input) {
  return type == QORLParser::QORLFile || type == QORLParser::TDFXMLFile ? input : VXString();
}

}  // namespace parser_detail

bool QORLParser::ExecuteQORL(ARpGateway* pGateway, const VXStringVector& files, const VXStringVector& filePasswords,
                             ErrorMessage& errorMsg, VXString& warningMsg, InputType fileOrDirType,
                             bool bExitOnExprParsingError, bool bExitOnPasswordError, bool bIgnoreQORLErrors,
                             bool bRenameDuplicatedObjects, bool bIsTransformation, bool bFineGrainedXML,
                             bool bDoSchemaValidation) {
  VoidIDVector c, m, d;
  bool ok = ExecuteTransactionalXML(pGateway, files, filePasswords, errorMsg, warningMsg, c, m, d, fileOrDirType,
                                    bExitOnExprParsingError, bExitOnPasswordError, bIgnoreQORLErrors,
                                    bRenameDuplicatedObjects, bFineGrainedXML, bIsTransformation, bDoSchemaValidation);
  if (errorMsg.HasMessages()) ServerLog::LogError(errorMsg);
  return ok;
}

bool QORLParser::ExecuteQORL(ARpGateway* pGateway, const VXString& inputFileOrDir, ErrorMessage& errorMsg,
                             VXString& warningMsg, InputType fileOrDirType, bool bExitOnExprParsingError,
                             bool bExitOnPasswordError, bool bIgnoreQORLErrors, bool bIsTransformation,
                             bool bDoSchemaValidation, bool bRenameDuplicatedObjects, bool bFineGrainedXML) {
  return ExecuteQORL(pGateway, VXStringVector{inputFileOrDir}, VXStringVector(), errorMsg, warningMsg, fileOrDirType,
                     bExitOnExprParsingError, bExitOnPasswordError, bIgnoreQORLErrors, bRenameDuplicatedObjects,
                     bIsTransformation, bFineGrainedXML, bDoSchemaValidation);
}

bool QORLParser::ExecuteQORL(ARpGateway* pGateway, const VXString& inputFileOrDir, const VXString& inputFilePassword,
                             ErrorMessage& errorMsg, VXString& warningMsg, InputType fileOrDirType,
                             bool bExitOnExprParsingError, bool bExitOnPasswordError, bool bIgnoreQORLErrors,
                             bool bIsTransformation, bool bDoSchemaValidation, bool bRenameDuplicatedObjects,
                             bool bFineGrainedXML) {
  return ExecuteQORL(pGateway, VXStringVector{inputFileOrDir}, VXStringVector{inputFilePassword}, errorMsg, warningMsg,
                     fileOrDirType, bExitOnExprParsingError, bExitOnPasswordError, bIgnoreQORLErrors,
                     bRenameDuplicatedObjects, bIsTransformation, bFineGrainedXML, bDoSchemaValidation);
}

bool QORLParser::ExecuteQORLText(ARpGateway* pGateway, const VXString& xml, ErrorMessage& errorMsg,
                                 VoidIDVector& createdObjIds, VoidIDVector& modifiedObjIds, VoidIDVector& delIds,
                                 bool bIsTDFQORL, bool bIgnoreQORLErrors, bool bFineGrainedXML, bool bIsTransformation,
                                 VXString sInputPassword) {
  VXString warnings;
  VXStringVector passwords;
  if (!sInputPassword.empty()) passwords.push_back(sInputPassword);
  return ExecuteTransactionalXML(pGateway, VXStringVector{xml}, passwords, errorMsg, warnings, createdObjIds,
                                 modifiedObjIds, delIds, bIsTDFQORL ? TDFXMLText : QORLText, false, false,
                                 bIgnoreQORLErrors, false, bFineGrainedXML, bIsTransformation, false);
}

bool QORLParser::ExecuteQORLText(ARpGateway* pGateway, const VXString& xml, ErrorMessage& errorMsg, bool bIsTDFQORL,
                                 bool bIgnoreQORLErrors, bool bFineGrainedXML, bool bIsTransformation,
                                 VXString sInputPassword) {
  VoidIDVector c, m, d;
  return ExecuteQORLText(pGateway, xml, errorMsg, c, m, d, bIsTDFQORL, bIgnoreQORLErrors, bFineGrainedXML,
                         bIsTransformation, sInputPassword);
}

bool QORLParser::ExecuteTransactionalXML(ARpGateway* pGateway, const VXStringVector& inputs,
                                         const VXStringVector& inputPasswords, ErrorMessage& errorMsg,
                                         VXString& warningMsg, VoidIDVector& createdObjIds,
                                         VoidIDVector& modifiedObjIds, VoidIDVector& delIds, InputType type,
                                         bool bExitOnExprParsingError, bool bExitOnPasswordError,
                                         bool bIgnoreQORLErrors, bool bRenameDuplicatedObjects, bool bFineGrainedXML,
                                         bool bIsTransformation, bool bDoSchemaValidation, bool bStrict,
                                         VoidIDVector* pUnchangedObjIds) {
  std::set<IgnoreErrorType> ignore;
  if (!bExitOnExprParsingError) ignore.insert(QORLIgnoreExprParsingerror);
  if (!bExitOnPasswordError) ignore.insert(QORLIgnorePasswordError);
  if (bIgnoreQORLErrors) ignore.insert(QORLIgnoreNonFatalError);
  return ExecuteTransactionalXML(pGateway, inputs, inputPasswords, errorMsg, warningMsg, createdObjIds, modifiedObjIds,
                                 delIds, type, ignore, bRenameDuplicatedObjects, bFineGrainedXML, bIsTransformation,
                                 bDoSchemaValidation, bStrict, pUnchangedObjIds);
}

bool QORLParser::ExecuteTransactionalXML(ARpGateway* pGateway, const VXStringVector& inputs,
                                         const VXStringVector& inputPasswords, ErrorMessage& errorMsg,
                                         VXString& warningMsg, VoidIDVector& createdObjIds,
                                         VoidIDVector& modifiedObjIds, VoidIDVector& delIds, InputType type,
                                         std::set<IgnoreErrorType>& ignoreError, bool bRenameDuplicatedObjects,
                                         bool bFineGrainedXML, bool bIsTransformation, bool bDoSchemaValidation,
                                         bool bStrict, VoidIDVector* pUnchangedObjIds) {
  bool bExitOnExprParsingError = !ignoreError.count(QORLIgnoreExprParsingerror);
  bool bExitOnPasswordError = !ignoreError.count(QORLIgnorePasswordError);
  bool bIgnoreQORLErrors = ignoreError.count(QORLIgnoreNonFatalError) > 0;
  ByteVector writable;
  pGateway->GetRepositoryProperty(kRepPropWritable, writable);
  if (!writable.empty() && writable[0] == 0) {
    errorMsg.PushErrorMessage(74073);
    return false;
  }
  if (type >= kBeginTDFXMLTypes)
    return ExecuteTransactionalXMLForTDFXML(pGateway, inputs, errorMsg, warningMsg, createdObjIds, modifiedObjIds,
                                            delIds, type, bExitOnExprParsingError, bExitOnPasswordError,
                                            bIgnoreQORLErrors, bRenameDuplicatedObjects, bFineGrainedXML);
  VXStringVector files = inputs;
  if (type == QORLCustomizationDir) {
    files.clear();
    VXString hash;
    if (!inputs.empty()) OrderedCustomizationFiles(inputs[0], files, hash);
    pGateway->SetCustomizationHash(hash);
    type = QORLFile;
  }
  return ExecuteTransactionalXMLforQORL(pGateway, files, inputPasswords, errorMsg, warningMsg, createdObjIds,
                                        modifiedObjIds, delIds, type, bExitOnExprParsingError, bExitOnPasswordError,
                                        bIgnoreQORLErrors, bRenameDuplicatedObjects, bFineGrainedXML, bIsTransformation,
                                        bDoSchemaValidation, bStrict, pUnchangedObjIds);
}

bool QORLParser::ExecuteTransactionalXMLforQORL(ARpGateway* pGateway, const VXStringVector& inputs,
                                                const VXStringVector& inputPasswords, ErrorMessage& errorMsg,
                                                VXString& warningMsg, VoidIDVector& createdObjIds,
                                                VoidIDVector& modifiedObjIds, VoidIDVector& delIds, InputType type,
                                                bool bExitOnExprParsingError, bool bExitOnPasswordError,
                                                bool bIgnoreQORLErrors, bool bRenameDuplicatedObjects,
                                                bool bFineGrainedXML, bool bIsTransformation,
                                                bool bDoSchemaValidation, bool bStrict,
                                                VoidIDVector* pUnchangedObjIds) {
  VXString schema = FindSchemaFile(U"qorl1.xsd");
  if (!SystemUtility::IsFileExist(schema)) {
    errorMsg.PushErrorMessage(43125, schema);
    return false;
  }
  if (!inputPasswords.empty() && inputPasswords.size() != inputs.size()) {
    errorMsg.PushErrorMessage(99020, inputPasswords.size(), inputs.size());
    return false;
  }
  EnsureXMLPlatform();
  SaxReader reader;
  reader.GuardInput(QORLObjectManager::kMaxAttributeChars);
  QORLObjectManager manager(pGateway, false, type == QORLText, false, false, bRenameDuplicatedObjects);
  manager.SetExitOnExprParsingError(bExitOnExprParsingError);
  manager.m_bExitOnPasswordError = bExitOnPasswordError;
  manager.m_bIgnoreQORLErrors = bIgnoreQORLErrors;
  manager.SetDepartment(VXString());
  manager.SetInputPasswords(inputPasswords);
  manager.m_bStrict = bStrict;
  if (bDoSchemaValidation) reader.EnableValidation(schema, inputs.size() >= 2);
  reader.SetHandlers(&manager, &manager, &manager);
  createdObjIds.clear();
  modifiedObjIds.clear();
  delIds.clear();
  VoidIDVector unchanged;
  for (size_t i = 0; i < inputs.size(); ++i) {
    const VXString& input = inputs[i];
    const VXString document = parser_detail::DocumentOf(type, input);
    ServerLog::DocumentScope scope(document);
    bool parsed = false;
    // A strict load still applies the whole document, so that one run names
    // every warning that fails it; the caller rolls back.
    auto warningsAsErrors = [&] {
      std::vector<ErrorMessage> warnings = manager.TakeWarningsAsErrors();
      // The last pushed prints first: pushed backwards, they print in the order found.
      for (auto w = warnings.rbegin(); w != warnings.rend(); ++w) {
        PushInputContext(*w, type, input);
        errorMsg.PushErrorMessage(*w);
      }
      return !warnings.empty();
    };
    try {
      if (type == QORLFile) ServerLog::LogNotification(SUStrUtil::LoadMsgStringOnly(92016, input), 1);
      parser_detail::CheckInputFile(type, input);
      manager.Cleanup();
      manager.PopulateAllObjects();
      manager.SetCurrentFile(type == QORLFile ? input : VXString());
      manager.m_bFineGrainedXML = bFineGrainedXML;
      manager.m_bTransformationEnabled = bIsTransformation && !IsBaseGatewayEmpty(pGateway);
      {
        // Reading a large file: a count of objects read and their rate.
        std::error_code ec;
        bool large = type == QORLFile && std::filesystem::file_size(input.ToUTF8(), ec) > (4u << 20) && !ec;
        manager.EnableProgress(Progress::IsAllowed() && large);
        manager.m_objectsRead = 0;
        manager.m_progress.Start("reading", 0, manager.m_bProgress);
        ParseInput(reader, type, input);
        manager.m_progress.Finish();
      }
      parsed = true;
      if (reader.GetErrorCount() == 0 && g_bCheckQORLFilePassword) {
        VXString password = inputPasswords.empty() ? VXString() : inputPasswords[i];
        if (!manager.IsPasswordCorrect(password)) {
          g_bErrQORLFilePassword = true;
          return false;
        }
      }
    } catch (ErrorMessage& e) {
      warningsAsErrors();
      PushInputContext(e, type, input);
      errorMsg.PushErrorMessage(e);
      // Errors in objects can be passed over; a document that cannot be read
      // whole cannot, since what it would have said past the error is unknown.
      if (!bIgnoreQORLErrors || manager.DocumentRefused()) return false;
    }
    (void)parsed;
    try {
      pGateway->StartRelationJournal();
      manager.ExecuteQORL();
      GatherObjects(manager, pGateway->StopRelationJournal(), createdObjIds, modifiedObjIds, unchanged, delIds);
    } catch (ErrorMessage& e) {
      pGateway->StopRelationJournal();
      warningsAsErrors();
      PushInputContext(e, type, input);
      errorMsg.PushErrorMessage(e);
      if (!bIgnoreQORLErrors) return false;
    }
    if (warningsAsErrors() && !bIgnoreQORLErrors) return false;
    manager.NextInput();
  }
  manager.RetrieveWarnings(warningMsg);
  ARpGateway::FixMandatorySecurityObjects(pGateway);
  CountEachOnce(createdObjIds, modifiedObjIds, unchanged);
  if (pUnchangedObjIds) *pUnchangedObjIds = std::move(unchanged);
  return !errorMsg.HasMessages() || bIgnoreQORLErrors;
}

bool QORLParser::ExecuteTransactionalXMLForTDFXML(ARpGateway*, const VXStringVector&, ErrorMessage& errorMsg, VXString&,
                                                  VoidIDVector&, VoidIDVector&, VoidIDVector&, InputType, bool, bool,
                                                  bool, bool, bool) {
  errorMsg.PushErrorMessage(VXString("Loading the tree form is not available in this version of qorl."));
  return false;
}

bool QORLParser::GatherDeclObjectsQualifiedNameTypeIDs(ARpGateway* pGateway, const VXString& input,
                                                       QNameTypeIDPairVector& out, ErrorMessage& errorMsg,
                                                       InputType type, bool bIgnoreQORLErrors,
                                                       const VXString& inputPassword, bool bExitOnPasswordError) {
  VXString schema = FindSchemaFile(type < kBeginTDFXMLTypes ? U"qorl1.xsd" : U"qorl_tdf_admin.xsd");
  if (!SystemUtility::IsFileExist(schema)) {
    errorMsg.PushErrorMessage(43125, schema);
    return false;
  }
  EnsureXMLPlatform();
  SaxReader reader;
  reader.GuardInput(QORLObjectManager::kMaxAttributeChars);
  QORLObjectManager manager(pGateway, type > QORLCustomizationDir, type == QORLFile, false, true, false);
  manager.SetDepartment(VXString());
  manager.PopulateAllObjects();
  manager.m_bIgnoreQORLErrors = bIgnoreQORLErrors;
  manager.m_bExitOnPasswordError = bExitOnPasswordError;
  if (!inputPassword.empty()) manager.SetInputPasswords({inputPassword});
  if (!bIgnoreQORLErrors) reader.EnableValidation(schema, false);
  reader.SetHandlers(&manager, &manager, &manager);
  const VXString document = parser_detail::DocumentOf(type, input);
  ServerLog::DocumentScope scope(document);
  bool ok = true;
  try {
    parser_detail::CheckInputFile(type, input);
    ParseInput(reader, type, input);
  } catch (ErrorMessage& e) {
    PushInputContext(e, type, input);
    errorMsg.PushErrorMessage(e);
    ok = false;
  }
  try {
    manager.ResolveDeclaredObjects();
    manager.GatherDeclObjectsQNameTypeIDs(out);
  } catch (ErrorMessage& e) {
    PushInputContext(e, type, input);
    errorMsg.PushErrorMessage(e);
    ok = false;
  }
  return ok;
}

bool QORLParser::IsPasswordCorrect(ARpGateway* pGateway, const VXStringVector& files, const VXStringVector& filePasswords,
                                   ErrorMessage& errorMsg, VXString&, bool bExitOnExprParsingError,
                                   bool bExitOnPasswordError) {
  VXString schema = FindSchemaFile(U"qorl1.xsd");
  if (!SystemUtility::IsFileExist(schema)) {
    errorMsg.PushErrorMessage(43125, schema);
    return false;
  }
  EnsureXMLPlatform();
  SaxReader reader;
  reader.GuardInput(QORLObjectManager::kMaxAttributeChars);
  QORLObjectManager manager(pGateway, false, true, false, false, false);
  manager.SetExitOnExprParsingError(bExitOnExprParsingError);
  manager.m_bExitOnPasswordError = bExitOnPasswordError;
  manager.SetDepartment(VXString());
  manager.SetInputPasswords(filePasswords);
  if (!bExitOnExprParsingError) reader.EnableValidation(schema, false);
  reader.SetHandlers(&manager, &manager, &manager);
  for (size_t i = 0; i < files.size(); ++i) {
    ServerLog::DocumentScope scope(files[i]);
    try {
      parser_detail::CheckInputFile(QORLFile, files[i]);
      manager.Cleanup();
      manager.PopulateAllObjects();
      reader.ParseFile(files[i]);
      if (reader.GetErrorCount() == 0) {
        VXString password = filePasswords.empty() ? VXString() : filePasswords[i];
        if (!manager.IsPasswordCorrect(password)) return false;
      }
    } catch (ErrorMessage& e) {
      PushInputContext(e, QORLFile, files[i]);
      errorMsg.PushErrorMessage(e);
      return false;
    }
  }
  return true;
}

bool QORLParser::IsFineGrainedXML(bool bInputIsFilename, const VXString& inputFileOrText) {
  const VXString marker = VXString(S_LT) + TAG_FINEGRAINED + S_GT;
  if (!bInputIsFilename) return inputFileOrText.find(marker) != VXString::npos;
  std::ifstream in(inputFileOrText.ToUTF8());
  if (!in) {
    ServerLog::LogError(SUStrUtil::LoadMsgStringOnly(94230, inputFileOrText), 1);
    return false;
  }
  const std::string fg = marker.ToUTF8();
  const std::string declare = (VXString(S_LT) + TAG_DECLARE + S_GT).ToUTF8();
  const std::string del = (VXString(S_LT) + TAG_DELETE + S_GT).ToUTF8();
  std::string line;
  while (std::getline(in, line)) {
    if (line.find(fg) != std::string::npos) return true;
    if (line.find(declare) != std::string::npos || line.find(del) != std::string::npos) return false;
  }
  return false;
}

}  // namespace qorl
