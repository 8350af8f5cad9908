// The object store. A repository is one SQLite file; while it is open every
// object lives in memory and the caller owns the transaction: Commit writes
// all changes to the file in one SQLite transaction, Rollback discards them.
#pragma once

#include <memory>
#include <unordered_map>
#include <unordered_set>

#include "store/classes.h"

namespace qorl {

class ACondition;
class IdSet;
class Persistence;
namespace crypto { struct AESKey; }

// Repository property numbers.
enum : int {
  kRepPropWritable = 3,       // first byte 0: the repository must not be written
  kRepPropNextUniqueNum = 16, // next free UniqueNum, four bytes
  kRepPropCustomizationHash = 17,
};

// What a deletion did besides deleting the objects it was given and their
// descendants, in the order of the objects' ids. Names are as they stood.
struct DeleteEffects {
  struct Entry {
    VoidID object;
    QualifiedName name;
    VoidID named;             // a deleted object it named
    QualifiedName namedName;  // empty when that object was gone already
  };
  // Deleted too: they cannot live without an object they named.
  std::vector<Entry> taken;
  // Kept, without their references to deleted objects.
  std::vector<Entry> dropped;
};

class ARpGateway {
 public:
  // How an open repository file is shared with other processes. Read reads
  // the file and holds no lock; a Commit then writes only if no one else
  // committed since the read (else 99030). Write also holds the file's write
  // lock until the gateway goes, so that no one else can commit in between;
  // readers still read the last commit meanwhile.
  enum class Access { Read, Write };
  // How long to wait for another process's lock before giving up (99031).
  static constexpr int kDefaultWaitMs = 5000;

  ~ARpGateway();
  ARpGateway(const ARpGateway&) = delete;
  ARpGateway& operator=(const ARpGateway&) = delete;

  // A new repository file (which must not exist) with the built-in security
  // objects, committed. Throws ErrorMessage.
  static std::unique_ptr<ARpGateway> Create(const VXString& path, const VXString& password,
                                            Access access = Access::Read, int waitMs = kDefaultWaitMs);
  // Opens an existing repository file. A wrong password, a foreign or damaged
  // file, or one written by a newer qorl throws ErrorMessage.
  static std::unique_ptr<ARpGateway> Open(const VXString& path, const VXString& password,
                                          Access access = Access::Read, int waitMs = kDefaultWaitMs);
  // A repository that lives in memory only. Commit writes nothing out, but
  // marks the state that Rollback goes back to, as for a file.
  static std::unique_ptr<ARpGateway> CreateInMemory(const VXString& password = VXString());

  void Commit();
  // Back to the state of the last Commit, which for a new repository is the
  // state it was created in; references to surviving objects stay valid.
  void Rollback();
  bool HasUncommittedChanges() const;
  const VXString& GetPath() const { return m_path; }

  RefARpObject GetObject(const VoidID& id);
  void GetObjects(const VoidIDVector& ids, RpObjectVector& objs);
  RefARpObject CreateObject(const TypeID& type);
  RefARpObject CreateObject(const TypeID& type, const VoidID& id);
  // Deletes the objects with their descendants and memberships, and what
  // cannot live without them; the other objects that name them drop those
  // references (store/references.h). One walk over the store serves the
  // whole set: give all the objects of one deletion in one call.
  void DeleteObjects(const VoidIDVector& ids, DeleteEffects* effects = nullptr);
  void DeleteObject(const VoidID& id, bool bUnused = false);
  // Deletes an object that nothing but its owner names (a logical join's
  // role, a measure's rule) with its descendants and memberships, without
  // the walk: what a load does many times over while it applies a document.
  void DeleteInternalObject(const VoidID& id);
  void SetCustomizationHash(const VXString& hash);
  VXString GetCustomizationHash();
  void FindObjectIDs(const ACondition& cond, VoidIDVector& ids);
  void GetRepositoryProperty(int id, ByteVector& value);
  void SetRepositoryProperty(int id, const ByteVector& value);
  static void FixMandatorySecurityObjects(ARpGateway* rp);
  static VXString AESEncryptPassword(ARpGateway* rp, const ByteVector& clear);
  // The same, for a secret held by `owner`: equal secrets of two objects give
  // unrelated texts, while one object's secret keeps its text.
  static VXString AESEncryptPassword(ARpGateway* rp, const ByteVector& clear, const VoidID& owner);
  bool DecryptWithRepositoryKey(const VXString& aes, ByteVector& clear) const;

  // Fast paths for the layer's own indexes and walks.
  ARpObject* Lookup(const VoidID& id) const;
  size_t ObjectCount() const { return m_objects.size(); }
  // Every live object, in no particular order.
  template <class F>
  void ForEachObject(F&& f) const {
    for (const auto& [k, o] : m_objects) f(o);
  }
  // Objects of one type with one name (any parent).
  void FindByName(TypeID type, const VXString& name, VoidIDVector& out);
  // The object of a type whose path of names is `qname`, null if none.
  RefARpObject FindByQualifiedName(TypeID type, const QualifiedName& qname);
  // The object with this upgrade identifier, null if none.
  RefARpObject FindByUpgradeID(const VXUpgradeID& uid);
  void GetChildren(const VoidID& parent, VoidIDVector& out);
  void SetParent(ARpObject* obj, const VoidID& parent);

  // Relation storage, used by the relation iterators. A tuple is `width`
  // consecutive ids (the members; the owner is the key).
  const std::vector<VoidID>* RelTuples(const VoidID& owner, RelID rel) const;
  size_t RelFind(const VoidID& owner, RelID rel, const VoidID* tuple, size_t width) const;
  bool RelInsert(const VoidID& owner, RelID rel, const VoidID* tuple, size_t width);
  bool RelErase(const VoidID& owner, RelID rel, const VoidID* tuple, size_t width);
  bool RelMove(const VoidID& owner, RelID rel, size_t index, int delta);
  void RelClear(const VoidID& owner, RelID rel);
  bool RelContains(const VoidID& owner, RelID rel, const VoidID& member) const;

  // While a load applies a document, each relation keeps the tuples it had
  // before its first change, so that the load can tell a relation it changed
  // from one it wrote back as it was. Starting again forgets what was kept.
  void StartRelationJournal();
  // The owners of the relations that differ from what the journal kept; ends it.
  std::unordered_set<uint64_t> StopRelationJournal();

 private:
  friend class ARpObject;
  friend class RefBase;
  friend class Persistence;

  ARpGateway();
  ARpObject* Instantiate(TypeID type, const VoidID& id);
  void Adopt(ARpObject* obj);  // enters a loaded or created object into the maps
  void MarkDirty(ARpObject* obj);
  void MarkRelDirty(uint64_t owner, RelID rel);
  void JournalRelation(uint64_t owner, RelID rel);
  void OnRename(ARpObject* obj, const VXString& oldName);
  void OnNewUpgradeID(ARpObject* obj, const VXUpgradeID& oldUID);
  void EnsureUIDIndex();
  void EnsureNameIndex();
  void EnsureChildIndex();
  void CollectDescendants(const VoidID& id, VoidIDVector& out);
  struct Doomed;
  void Doom(const VoidID& id, Doomed& d);
  void Take(ARpObject* obj, const VoidID& named, Doomed& d);
  void Remove(const VoidID& id);
  void RemoveFromRelations(const VoidID& id);
  void DropAll(bool bGatewayGone);
  void LoadFromFile();
  void AdoptStored(const VoidID& id, const uint8_t* data, size_t n);
  void AdoptStoredRelation(uint64_t owner, RelID rel, std::vector<VoidID>&& tuples);
  void CommitInMemory();
  void LoadFromImage();
  uint32_t NextUniqueNum();
  void BumpUniqueNum(uint32_t used);

  struct RelKey {
    uint64_t owner;
    RelID rel;
    friend bool operator==(const RelKey& a, const RelKey& b) { return a.owner == b.owner && a.rel == b.rel; }
  };
  struct RelKeyHash {
    size_t operator()(const RelKey& k) const { return std::hash<uint64_t>()(k.owner * 31 + k.rel); }
  };
  struct BackRef {
    uint64_t owner;
    RelID rel;
  };
  struct NameKey {
    TypeID type;
    VXString name;
    friend bool operator==(const NameKey& a, const NameKey& b) { return a.type == b.type && a.name == b.name; }
  };
  struct NameKeyHash {
    size_t operator()(const NameKey& k) const { return k.name.Hash() * 31 + static_cast<size_t>(k.type); }
  };

  VXString m_path;
  std::unique_ptr<Persistence> m_store;  // null for an in-memory repository
  // An in-memory repository's committed state, in the form a file keeps it.
  struct Image;
  std::unique_ptr<Image> m_image;
  int64_t m_fileVersion = 0;             // of the file as last read, for the next commit
  std::unique_ptr<crypto::AESKey> m_key;
  std::unordered_map<uint64_t, ARpObject*> m_objects;
  std::unordered_map<RelKey, std::vector<VoidID>, RelKeyHash> m_relations;
  std::unordered_map<uint64_t, std::vector<BackRef>> m_relBack;
  std::unordered_map<int, ByteVector> m_props;
  // Built on first use, then kept up to date.
  bool m_nameIndexValid = false;
  std::unordered_multimap<NameKey, uint64_t, NameKeyHash> m_nameIndex;
  bool m_uidIndexValid = false;
  std::unordered_map<VXUpgradeID, uint64_t> m_uidIndex;
  bool m_childIndexValid = false;
  std::unordered_map<uint64_t, std::vector<uint64_t>> m_children;
  // What Commit has to write.
  std::vector<uint64_t> m_dirty;
  std::unordered_set<uint64_t> m_deleted;
  std::unordered_set<RelKey, RelKeyHash> m_dirtyRels;
  std::unordered_set<int> m_dirtyProps;
  // Relations as they were before a load changed them; null when no load watches.
  std::unique_ptr<std::unordered_map<RelKey, std::vector<VoidID>, RelKeyHash>> m_relJournal;
  bool m_loading = false;
};

}  // namespace qorl
