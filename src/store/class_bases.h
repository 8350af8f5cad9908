// The classes the element families derive from, and QORL_OBJECT, which gives
// every store class its metaclass and visitor plumbing. They sit apart from
// classes.h so that each family header can include its bases without taking
// in the other families.
#pragma once

#include "store/object.h"

namespace qorl {

#define QORL_OBJECT(C)                                      \
 public:                                                    \
  static const AMetaClass* GetClassMetaClass();             \
  const AMetaClass* GetMetaClass() const override;          \
  void Accept(AMetadataVisitor& v) override;                \
                                                            \
 private:

class AMergeableObject : public ARpObject {
  QORL_OBJECT(AMergeableObject)
};

class ADataComposite : public AMergeableObject {
  QORL_OBJECT(ADataComposite)
};

class AEntity : public AMergeableObject {
  QORL_OBJECT(AEntity)
};

class APAttribute : public AMergeableObject {
  QORL_OBJECT(APAttribute)
};

class APhysicalDataFolder : public AMergeableObject {
  QORL_OBJECT(APhysicalDataFolder)
};

}  // namespace qorl
