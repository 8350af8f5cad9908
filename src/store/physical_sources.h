// Store classes of the physical sources: database, connection pool, catalog,
// schema, display folder. Included by classes.h at the place of the class tree.
// A fragment: classes.h includes it inside namespace qorl; put any #include
// this family needs at the top of classes.h.

class ADatabase : public APhysicalDataFolder {
  QORL_OBJECT(ADatabase)
};

class AConnectionPool : public AMergeableObject {
  QORL_OBJECT(AConnectionPool)
};

class ACatalog : public APhysicalDataFolder {
  QORL_OBJECT(ACatalog)
};

class ASchema : public APhysicalDataFolder {
  QORL_OBJECT(ASchema)
};

class APhysicalDisplayFolder : public AMergeableObject {
  QORL_OBJECT(APhysicalDisplayFolder)
};
