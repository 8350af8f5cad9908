// Store classes of physical tables: table, column, key, foreign key, complex
// join. Included by classes.h at the place of the class tree.
// A fragment: classes.h includes it inside namespace qorl; put any #include
// this family needs at the top of classes.h.

class ATable : public ADataComposite {
  QORL_OBJECT(ATable)
};

class AColumn : public APAttribute {
  QORL_OBJECT(AColumn)
};

class ATableKey : public AMergeableObject {
  QORL_OBJECT(ATableKey)
};

class AForeignKey : public AMergeableObject {
  QORL_OBJECT(AForeignKey)
};

class AComplexJoin : public AMergeableObject {
  QORL_OBJECT(AComplexJoin)
};
