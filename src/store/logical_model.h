// Store classes of the logical model: business model, logical table, column,
// key, foreign key, complex join. Included by classes.h at the place of the class tree.
// A fragment: classes.h includes it inside namespace qorl; put any #include
// this family needs at the top of classes.h.

class ASubjectArea : public AMergeableObject {
  QORL_OBJECT(ASubjectArea)
};

class ALogicalTable : public AEntity {
  QORL_OBJECT(ALogicalTable)
};

class AAttribute : public AMergeableObject {
  QORL_OBJECT(AAttribute)
};

class AKey : public AMergeableObject {
  QORL_OBJECT(AKey)
};

class ALogicalForeignKey : public AMergeableObject {
  QORL_OBJECT(ALogicalForeignKey)
};

class ARelationship : public AMergeableObject {
  QORL_OBJECT(ARelationship)
};
