// QORLGenerator: the visitor that writes store objects as one QORL document.
#pragma once

#include <map>
#include <memory>

#include "elements/description.h"
#include "elements/fragments.h"
#include "model/registry.h"
#include "store/gateway.h"
#include "store/visitor.h"

namespace qorl {

class OutputFile;
namespace elements { struct Binding; }

enum FineGrainedType { NONE_FINEGRAINED = 0, QORL_FINEGRAINED = 1, MAX_FINEGRAINED = 2 };

// The caller's record of removed members and privilege changes for a
// fine-grained document; filled in with fine-grained generation.
struct FineGrainedChanges {};

class QORLGenerator : public AMetadataVisitor, public elements::WriteContext {
 public:
  QORLGenerator(ARpGateway* pRp, ARpGateway* pRpOriginal, const VXString& outFileName, VXString& outStr,
                bool bUsingVoidID, bool bValidation, bool bGenerateUTF8, bool bGenerateUpGradeID, bool bGenerateOwner,
                bool bGenerateQORLForQueryTool, bool bHideCpPassword, bool bFlushOutStr, bool bSkipCredentials);
  ~QORLGenerator() override;

  // ---- entry points: true exactly when errorMsgString stayed empty ----
  // Without bFlushOutStr the document replaces outFileName, which is both the
  // file name and the result string.
  static bool GenerateQORL(ARpGateway* pRp, VXString& errorMsgString, VXString& outFileName,
                           const RpObjectVector& variablesFromFile, bool bValidation, bool bUsingVoidID,
                           bool bGenerateUTF8, bool bGenerateUpGradeID, QORLScriptGenerationType genType,
                           bool bFlushOutStr, bool bCheckForDuplicateAttributes);
  static bool GenerateQORLForObjectVector(ARpGateway* pRp, const RpObjectVector& declareObjects,
                                          const RpObjectVector& deleteObjects, VXString& errorMsgString,
                                          const VXString& outFileName, bool bGenerateUTF8);
  static bool GenerateFineGrainedQORLForObjectVector(ARpGateway* pRp, ARpGateway* pRpOriginal,
                                                     const RpObjectVector& declareObjects,
                                                     const RpObjectVector& deleteObjects,
                                                     const RpObjectVector& modifiedObjects,
                                                     const FineGrainedChanges& changes, VXString& errorMsgString,
                                                     const VXString& outFileName, bool bHideCpPassword,
                                                     FineGrainedType fineGrainedType, bool bGenerateUTF8,
                                                     bool bSkipCredentials);
  static bool GenerateQORLTextForObjectVector(ARpGateway* pRp, const RpObjectVector& declareObjects,
                                              const RpObjectVector& deleteObjects, VXString& errorMsgString,
                                              VXString& qorlStr, int genOptions);
  static bool GenerateFineGrainedQORLTextForObjectVector(ARpGateway* pRp, const RpObjectVector& declareObjects,
                                                         const RpObjectVector& deleteObjects,
                                                         const FineGrainedChanges& changes, VXString& errorMsgString,
                                                         VXString& qorlStr, int genOptions);

  // ---- driving one generator ----
  void GenerateQORLForAllObjects(VXString& errorMsgString, QORLScriptGenerationType genType,
                                 bool bCheckForDuplicateAttributes);
  void GenerateDeclareQORLForObjects(const RpObjectVector& rpDeclareObjects, const RpObjectVector& rpModifiedObjects,
                                     VXString& errorMsgString, bool bListObjects, FineGrainedType fineGrainedType,
                                     bool bCheckForDuplicateAttributes);
  void GenerateDeleteQORLForObjects(const RpObjectVector& rpObjects, VXString& errorMsgString);
  void SetVariablesForCoonPoolAndVarGenerationOption(const RpObjectVector& vars) { m_variablesForCoonPoolAndVarGenerationOption = vars; }
  void SetFineGrainedChanges(const FineGrainedChanges& c) { m_fineGrainedChanges = c; }
  void SetGenerateOptions(int options) { m_genOptions = options; }
  int GetGenerateOptions() const { return m_genOptions; }
  void AddRenamedObject(const RefARpObject& object, const VXString& sNewName);
  // Closes the output file, flushing it; errors surface here rather than in the destructor.
  void Finish();
  // True once writing the output failed: nothing more can come of the
  // document, so the failure ends it instead of being listed per object.
  virtual bool OutputFailed() const;
  // True once the output failed or the writer met a reference to an object
  // that is not in the repository: a document holding that reference would
  // load nowhere, so the error ends it too and none is written.
  bool Aborted() const { return m_bDanglingReference || OutputFailed(); }
  // Throw ErrorMessage 94551 (and abort the document) when the reference, or
  // an object the expression names, is missing from the repository. Only
  // while an element is written: `holder` is the object that keeps them.
  void CheckReference(const RefARpObject& ref);
  void CheckExpression(const Expr& expr);
  // Names the object whose element or mapping is written while it lives.
  class Holding {
   public:
    Holding(QORLGenerator& gen, const ARpObject* holder) : m_gen(gen), m_previous(gen.m_holder) { gen.m_holder = holder; }
    ~Holding() { m_gen.m_holder = m_previous; }
    Holding(const Holding&) = delete;
    Holding& operator=(const Holding&) = delete;

   private:
    QORLGenerator& m_gen;
    const ARpObject* m_previous;
  };

  // The single output path.
  void Print(std::u32string_view text) override;
  void Print(const VXString& text) { Print(text.view()); }
  void Print(const char32_t* text) { Print(std::u32string_view(text)); }
  void AddHeader();
  void AddFooter();

  // ---- element writing, shared by every element ----
  void GenerateGenericOpenTag(const RefARpObject& object);
  void GenerateClosingTag(const RefARpObject& object);
  void GenerateObjectAndParentIDs(const RefARpObject& object, bool bParent);
  void GenerateEmptyElement(std::u32string_view tag);
  bool IsEmptyElementTagNotGenerated(bool condition, std::u32string_view tag);
  void GenerateRefObject(const RefARpObject& object);
  void GenerateRefObject(const RefARpObject& object, std::u32string_view tag);
  void GenerateTaggedRefObject(const RefARpObject& object, std::u32string_view sTagName);
  void GenerateGroupedSTLContainer(const RpObjectVector& objects, std::u32string_view groupTag);
  template <class T>
  void GenerateGroupedRefObjects(const BinaryRelIter<T>& rel, std::u32string_view groupTag) {
    RpObjectVector v;
    for (const auto& m : rel.Members()) v.push_back(m);
    GenerateGroupedSTLContainer(v, groupTag);
  }
  void GenerateObjectList(std::u32string_view tag, const RpObjectVector& objects);
  void PrintGenericObject(const RefARpObject& object);
  // The whole element of an object: open tag, own attributes, description,
  // children, closing tag. Every Visit comes here.
  void WriteElement(const RefARpObject& object);

  // ---- what child codecs and hooks see ----
  ARpGateway* Gateway() const override;
  int Options() const override;
  bool UpgradeIDs() const override;
  bool UsingVoidID() const override;
  bool HidingPoolPassword() const override;
  bool SkippingCredentials() const override;
  void PrintRef(const RefARpObject& obj, std::u32string_view emptyTag) override;
  void PrintTaggedRef(const RefARpObject& obj, std::u32string_view tag) override;
  bool HasContent(bool present, std::u32string_view tag) override;

  ARpGateway* GetGateway() const { return m_pGateway; }
  bool IsUsingVoidID() const { return m_bUsingVoidID; }
  bool IsGeneratingUpgradeIDs() const { return m_bGenerateUpGradeID; }
  bool IsHidingPoolPassword() const { return m_bHideCpPassword; }
  bool IsSkippingCredentials() const { return m_bSkipCredentials; }

  // One Visit per class; each writes the object's element, except for the
  // classes whose content their owner writes.
  using AMetadataVisitor::Visit;
#define QORL_CLASS_ABSTRACT(C)
#define QORL_CLASS_NOVISIT(C)
#define QORL_CLASS_VISIT(C) void Visit(const Ref<C>& o) override { WriteElement(o); }
#define QORL_CLASS(C, B, N, K) QORL_CLASS_##K(C)
#include "model/classes.def"
#undef QORL_CLASS
#undef QORL_CLASS_VISIT
#undef QORL_CLASS_NOVISIT
#undef QORL_CLASS_ABSTRACT

 protected:
  void WriteParts(const elements::Binding& b, ARpObject& o);
  void WriteFrameOnly(const RefARpObject& object);

  std::map<RefARpObject, VXString> m_renamedObjects;
  std::unique_ptr<OutputFile> m_outputXML;
  ARpGateway* m_pGateway;
  ARpGateway* m_pOrigGateway;
  VXString& m_outStr;
  bool m_bUsingVoidID;
  bool m_bGenerateUpGradeID;
  bool m_bHideCpPassword;
  bool m_bFlushOutStr;
  bool m_bSkipCredentials;
  int m_genOptions = kGenFooter | kGenColMapping | kGenExprTextObjects;
  uint32_t m_codePage;
  FineGrainedChanges m_fineGrainedChanges;
  RpObjectVector m_variablesForCoonPoolAndVarGenerationOption;
  VXString m_scratch;  // collects one element's attributes without reallocating
  const ARpObject* m_holder = nullptr;  // see Holding
  bool m_bDanglingReference = false;
};

// The classes whose content their owner writes, or nobody: their Visit writes nothing.
bool HasEmptyVisit(TypeID type);

// Renames and re-identifies clashing objects so that the document loads again.
void UpdateDuplicateObjectAttributesForGeneration(ARpGateway* pRp, const RpObjectVector& sortedObjects);

}  // namespace qorl
