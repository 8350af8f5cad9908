// Store classes of logical sources and measures: table source, aggregation
// rules, measure definition. Included by classes.h at the place of the class tree.
// A fragment: classes.h includes it inside namespace qorl; put any #include
// this family needs at the top of classes.h.

class ALogicalTableSource : public AMergeableObject {
  QORL_OBJECT(ALogicalTableSource)
};

class AMeasureDefn : public ARpObject {
  QORL_OBJECT(AMeasureDefn)
};

class AAggrRule : public ARpObject {
  QORL_OBJECT(AAggrRule)
};

class AOverrideAggrRule : public ARpObject {
  QORL_OBJECT(AOverrideAggrRule)
};
