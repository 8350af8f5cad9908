// Visitors over store objects: each object dispatches itself to the Visit of
// its class. A class without a Visit of its own goes to its nearest base that
// has one. Unimplemented Visits do nothing.
#pragma once

#include "store/object.h"

namespace qorl {

class MetadataVisitorBase {
 public:
  virtual ~MetadataVisitorBase() = default;
};

template <class T>
class TypedVisitor {
 public:
  virtual ~TypedVisitor() = default;
  virtual void Visit(const Ref<T>&) {}
};

#define QORL_CLASS_ABSTRACT(C)
#define QORL_CLASS_NOVISIT(C)
#define QORL_CLASS_VISIT(C) , public TypedVisitor<C>
class AMetadataVisitor : public MetadataVisitorBase
#define QORL_CLASS(C, B, N, K) QORL_CLASS_##K(C)
#include "model/classes.def"
#undef QORL_CLASS
{
 public:
#undef QORL_CLASS_VISIT
#define QORL_CLASS_VISIT(C) using TypedVisitor<C>::Visit;
#define QORL_CLASS(C, B, N, K) QORL_CLASS_##K(C)
#include "model/classes.def"
#undef QORL_CLASS
#undef QORL_CLASS_VISIT
#undef QORL_CLASS_NOVISIT
#undef QORL_CLASS_ABSTRACT
};

}  // namespace qorl
