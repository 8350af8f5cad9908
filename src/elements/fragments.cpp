#include "elements/fragments.h"

#include <algorithm>
#include <unordered_map>

#include "model/attr_text.h"
#include "model/registry.h"
#include "store/registry_objects.h"
#include "model/vocabulary.h"
#include "platform/error.h"
#include "platform/guid.h"
#include "platform/serverlog.h"
#include "platform/strutil.h"
#include "platform/datablob.h"
#include "store/classes.h"
#include "store/conditions.h"
#include "store/expr_store.h"
#include "store/metadata_util.h"

namespace qorl {

namespace {

void AppendUIDAttr(VXString& out, std::u32string_view name, const VXUpgradeID& uid) {
  if (TKSGUIDGenerator::IsGUIDByteVectorInitialized(uid))
    AppendAttr(out, name, TKSGUIDGenerator::ByteVectorToGUIDString(uid));
}

bool IsInternalAccount(const ARpObject& o) {
  if (o.GetTypeID() != kTIDASecurityRole) return false;
  VXUpgradeID internal;
  AAuthorizer::GetMandatorySecurityObjectsUIDs(internal);
  return o.UpgradeID() == internal;
}

}  // namespace

VXString QORLUtil::GetBaseRpObjectXMLAttributes(const RefARpObject& object, bool bGenerateUpGradeID) {
  VXString s;
  ARpObject* o = object.GetRawObjPtr();
  if (!o) return s;
  VXString name = o->GetName();
  if (bGenerateUpGradeID && !name.empty() && IsInternalAccount(*o))
    name = ARpGateway::AESEncryptPassword(o->GetGateway(), DataBlobUtil::ToByteVector(name), o->GetID());
  AppendAttr(s, ATTR_NAME, name);
  if (o->GetIconIndex() != 0) AppendIntAttr(s, ATTR_ICON_INDEX, o->GetIconIndex());
  AppendFlagIfFalse(s, ATTR_IS_DEF_READABLE, o->IsDefaultReadable());
  AppendFlagIfTrue(s, ATTR_IS_DEF_READWRITEABLE, o->IsDefaultReadWriteable());
  AppendFlagIfTrue(s, ATTR_IS_DEF_GRANTABLE, o->IsDefaultGrantable());
  AppendFlagIfTrue(s, ATTR_IS_DEF_ALL, o->IsDefaultAll());
  AppendFlagIfTrue(s, ATTR_IS_DEF_DELETEABLE, o->IsDefaultDeleteable());
  AppendFlagIfTrue(s, ATTR_IS_BIEXTENDEROBJECT, o->IsBIExtenderObject());
  return s;
}

VXString QORLUtil::GenerateObjectAndParentIDs(const RefARpObject& object, bool bParent, bool bGenerateUpGradeID) {
  VXString s;
  ARpObject* o = object.GetRawObjPtr();
  if (!o) return s;
  if (bParent && !o->GetParentID().IsNullID()) {
    AppendAttr(s, ATTR_PARENT_ID, o->GetParentID().ToString());
    ARpObject* parent = o->GetGateway()->Lookup(o->GetParentID());
    if (bGenerateUpGradeID && parent && MetadataUtil::IsCompareableType(parent->GetTypeID()))
      AppendUIDAttr(s, ATTR_PARENT_UID, parent->UpgradeID());
  }
  AppendAttr(s, ATTR_ID, o->GetID().ToString());
  if (bGenerateUpGradeID && MetadataUtil::IsCompareableType(o->GetTypeID())) AppendUIDAttr(s, ATTR_UID, o->UpgradeID());
  return s;
}

VXString QORLUtil::GetCDATA(const VXString& text, std::u32string_view tag, bool bOptional, bool bSetDummyID, int genOptions) {
  if (bOptional && text.empty()) return VXString();
  VXString clean = text.find(S_CLOSE_CDATA) == VXString::npos
                       ? text
                       : BaseStringUtil::ReplaceAll(text, VXString(S_CLOSE_CDATA), VXString(S_CLOSE_CDATA_ENCODED));
  VXString s;
  s.reserve(clean.size() + 2 * tag.size() + 24);
  s += S_LT;
  s += tag;
  if (bSetDummyID && (genOptions & kGenDummyUID) && !text.empty()) AppendAttrAlways(s, ATTR_DUMMY_UID, clean);
  s += S_GT;
  if (!clean.empty()) {
    s += S_OPEN_CDATA;
    s += clean;
    s += S_CLOSE_CDATA;
  }
  s += S_OPEN_CLOSING_TAG;
  s += tag;
  s += S_GT;
  s += S_NEWLINE;
  return s;
}

VXString QORLUtil::GetDescriptionXMLElement(const RefARpObject& object, int genOptions) {
  ARpObject* o = object.GetRawObjPtr();
  if (!o) return VXString();
  VXString d = o->GetDescription();
  if (d.empty() && !(genOptions & kGenEmptyElements)) return VXString();
  return GetCDATA(d, TAG_DESCRIPTION, false, false, 0);
}

bool QORLUtil::IsEmptyElementFragmentNotGenerated(bool origCondition, bool tdfCheckCondition, VXString& xmlFragment,
                                                  int genOptions, std::u32string_view tag) {
  if (origCondition) return true;
  if (tdfCheckCondition && (genOptions & kGenEmptyElements)) {
    xmlFragment += S_LT;
    xmlFragment += tag;
    xmlFragment += S_CLOSE_OPEN_TAG;
  }
  return false;
}

VXString QORLUtil::GetAliases(const VXStringVector& aliases, bool bIsTDFQORL, int genOptions) {
  VXString s;
  if (!IsEmptyElementFragmentNotGenerated(!aliases.empty(), true, s, genOptions, TAG_ALIASES)) return s;
  s += S_LT; s += TAG_ALIASES; s += S_GT; s += S_NEWLINE;
  for (const VXString& a : aliases) {
    s += S_LT;
    s += TAG_ALIAS;
    AppendAttr(s, ATTR_NAME, a);
    s += S_CLOSE_OPEN_TAG;
  }
  s += S_OPEN_CLOSING_TAG; s += TAG_ALIASES; s += S_GT; s += S_NEWLINE;
  return s;
}

VXString QORLUtil::GetRefObject(const RefARpObject& object, std::u32string_view tag, bool bGenerateUpGradeID) {
  ARpObject* o = object.GetRawObjPtr();
  if (!o) return VXString();
  VXString s;
  s += S_LT;
  s += TAG_REF;
  s += tag;
  s += GenerateObjectAndParentIDs(object, false, bGenerateUpGradeID);
  AppendAttr(s, ATTR_QNAME, MetadataUtil::GenerateQualifiedName(object));
  s += S_CLOSE_OPEN_TAG;
  return s;
}

VXString QORLUtil::GenerateObjectList(ARpGateway* pRp, std::u32string_view tag, const VoidIDVector& visitedIDs,
                                      bool bGenerateUpGradeID, int genOptions) {
  VXString s;
  if (!IsEmptyElementFragmentNotGenerated(!visitedIDs.empty(), true, s, genOptions, tag)) return s;
  RpObjectVector objs;
  pRp->GetObjects(visitedIDs, objs);
  s += S_LT; s += tag; s += S_GT; s += S_NEWLINE;
  for (const RefARpObject& o : objs) {
    if (o.IsNullRef()) {
      ServerLog::LogWarning(VXString("Null object found in the VLT, you may want to regenerate it."), 1);
      continue;
    }
    s += GetRefObject(o, TAG_OBJECT, bGenerateUpGradeID);
  }
  s += S_OPEN_CLOSING_TAG; s += tag; s += S_GT; s += S_NEWLINE;
  return s;
}

VXString QORLUtil::GenerateExpressionText(ARpGateway* pRp, const Expr& expr, VoidIDVector& visitedIDs) {
  VXString text = ToPrettyStringVisitor::GetFormatExpr(expr, pRp, true, true, false, true, false);
  visitedIDs.clear();
  expr.CollectIDs(visitedIDs, true);
  for (size_t i = 0; i < visitedIDs.size(); ++i) {
    VXString quoted = VXString(U"\"") + visitedIDs[i].ToString() + U'"';
    VXString number = VXString(U"\"%") + VXString::FromUInt(i + 1) + U'"';
    text = BaseStringUtil::ReplaceAll(text, quoted, number);
  }
  return text;
}

VXString QORLUtil::GenerateExpressionTextAndObjectList(ARpGateway* pRp, const Expr& expr, bool bGenerateUpGradeID,
                                                       int genOptions) {
  VoidIDVector ids;
  VXString s = GetCDATA(GenerateExpressionText(pRp, expr, ids), TAG_EXPR_TEXT, false, false, 0);
  s += GenerateObjectList(pRp, TAG_OBJECTS, ids, bGenerateUpGradeID, genOptions);
  return s;
}

VXString QORLUtil::GetExpression(ARpGateway* pRp, const Expr& expr, const VXString& exprStr, bool bGenerateUpGradeID,
                                 int genOptions) {
  if (ToPrettyStringVisitor::IsRipAndReplaceNoExprModeOn()) return VXString();
  VXString s = GetCDATA(exprStr, TAG_EXPR, false, false, 0);
  if (genOptions & kGenExprTextObjects) s += GenerateExpressionTextAndObjectList(pRp, expr, bGenerateUpGradeID, genOptions);
  return s;
}

VXString QORLUtil::GetTaggedExpression(ARpGateway* pRp, const Expr& expr, const VXString& exprStr,
                                       std::u32string_view sTagName, bool bGenerateUpGradeID, int genOptions) {
  if (ToPrettyStringVisitor::IsRipAndReplaceNoExprModeOn()) return VXString();
  VXString s;
  s += S_LT; s += sTagName; s += S_GT; s += S_NEWLINE;
  s += GetExpression(pRp, expr, exprStr, bGenerateUpGradeID, genOptions);
  s += S_OPEN_CLOSING_TAG; s += sTagName; s += S_GT; s += S_NEWLINE;
  return s;
}

void QORLUtil::HandleErrorMessage(ErrorMessage& error, VXString& errorMsgString) {
  if (!errorMsgString.empty()) errorMsgString += S_NEWLINE;
  // Most recent first, each message cut to 1023 characters.
  while (error.HasMessages()) {
    VXString text = error.GetText();
    error.PopErrorMessage();
    errorMsgString += text.size() > 1023 ? text.substr(0, 1023) : text;
    errorMsgString += S_NEWLINE;
  }
}

namespace {

// Repository variables named in a text, each once: a VALUEOF with no qualifier
// that names exactly one variable.
void GetVariablesVoidIDs(ARpGateway* pRp, const VXString& text, VoidIDVector& varIDs, VXStringVector& varNames) {
  std::vector<VariableToken> tokens;
  MetadataUtil::FindVariables(text, tokens);
  for (const VariableToken& t : tokens) {
    if (!t.qualifier.empty()) continue;
    if (std::find(varNames.begin(), varNames.end(), t.name) != varNames.end()) continue;
    VoidIDVector hits;
    pRp->FindObjectIDs(TypedObjectNameCondition(kTIDARpVariable, t.name), hits);
    if (hits.size() != 1) continue;
    varIDs.push_back(hits[0]);
    varNames.push_back(t.name);
  }
}

}  // namespace

void PoolVariableTexts(const RefARpObject& pool, VXStringVector& texts) {
  RefAConnectionPool cp(pool);
  if (!cp) return;
  texts.push_back(cp->GetDataSourceName());
  texts.push_back(cp->GetDBUserName());
}

void QORLUtil::LoadObjectsForGeneration(ARpGateway* pRp, RpObjectVector& loadedObjects, int genType,
                                        const RpObjectVector& variablesForCoonPoolAndVarGenerationOption) {
  VoidIDVector ids;
  RpObjectVector objs;
  switch (genType) {
    case QORLScriptGenerateOnlyConnectionPoolsAndVariables: {
      RpObjectVector pools;
      pRp->FindObjectIDs(InterfaceTypeCondition(kTIDAConnectionPool), ids);
      pRp->GetObjects(ids, pools);
      VoidIDVector varIDs;
      VXStringVector varNames;
      for (const RefARpObject& p : pools) {
        VXStringVector texts;
        PoolVariableTexts(p, texts);
        for (const VXString& t : texts) GetVariablesVoidIDs(pRp, t, varIDs, varNames);
      }
      RpObjectVector vars;
      pRp->GetObjects(varIDs, vars);
      for (const RefARpObject& v : variablesForCoonPoolAndVarGenerationOption) {
        loadedObjects.push_back(v);
        std::erase(vars, v);
      }
      loadedObjects.insert(loadedObjects.end(), vars.begin(), vars.end());
      loadedObjects.insert(loadedObjects.end(), pools.begin(), pools.end());
      return;
    }
    case QORLScriptGenerateOnlyEncryptedObjects:
      for (TypeID t : {kTIDAConnectionPool, kTIDALdapServer}) {
        pRp->FindObjectIDs(InterfaceTypeCondition(t), ids);
        pRp->GetObjects(ids, objs);
        loadedObjects.insert(loadedObjects.end(), objs.begin(), objs.end());
      }
      return;
    case QORLScriptGenerateEverything:
      pRp->FindObjectIDs(LookupAllCondition(), ids);
      break;
    default: {
      TypeIDVector types;
      GetTypeIDsForGenerationSequence(types, static_cast<QORLScriptGenerationType>(genType));
      pRp->FindObjectIDs(InterfaceTypeCondition(types), ids);
      break;
    }
  }
  pRp->GetObjects(ids, objs);
  loadedObjects.insert(loadedObjects.end(), objs.begin(), objs.end());
}

VXString SUStrUtil::GetXMLHeader(int encoding) {
  return VXString(encoding == 2 ? U"<?xml version='1.0' encoding='UTF-8'?>\n" : U"<?xml version='1.0'?>\n");
}

}  // namespace qorl
