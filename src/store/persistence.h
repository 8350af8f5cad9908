// The repository file: SQLite tables for metadata, repository properties,
// objects (one blob each) and relations (one blob per owner and relation).
//
// Several processes may open one file. A whole read of the file happens in
// one read transaction, so it sees one commit. A writer either holds SQLite's
// write lock (a RESERVED lock, from BEGIN IMMEDIATE) from before its read
// until it commits, or commits only if the file's version is still the one
// it read. Readers never wait for a writer's lock, only for the commit
// itself, and a writer for another's lock, at most `waitMs` milliseconds. A
// commit waits for the readers already reading at least kReaderWaitMs
// (unless `waitMs` is 0: no waiting at all).
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>

#include "store/relation.h"

struct sqlite3;
struct sqlite3_stmt;

namespace qorl {

class Persistence {
 public:
  // 2: the key check carries the key-derivation count, in a form version 1
  // readers cannot read; they say the file is newer instead of "wrong password".
  static constexpr int kFormatVersion = 2;
  // A reader of a million objects holds the file for seconds.
  static constexpr int kReaderWaitMs = 60000;

  ~Persistence();
  // Makes a new file; throws ErrorMessage if it exists or cannot be made.
  static std::unique_ptr<Persistence> CreateFile(const VXString& path, const ByteVector& keyCheck, int waitMs);
  // Opens a file and returns its key check; throws for a missing, foreign,
  // damaged or newer file.
  static std::unique_ptr<Persistence> OpenFile(const VXString& path, ByteVector& keyCheck, int waitMs);

  // Takes the write lock and keeps it from now on: a Batch ends it with its
  // commit and takes it again at once if no other writer got it first.
  // Throws 99031 when another writer holds it for longer than the wait.
  void HoldWriteLock();
  // Runs `read` (the Load calls) in one read transaction, or under the write
  // lock when held, and returns the version of the file it read.
  int64_t Read(const std::function<void()>& read);

  void LoadProperties(std::unordered_map<int, ByteVector>& props);
  void LoadObjects(const std::function<void(const VoidID&, const uint8_t*, size_t)>& f);
  void LoadRelations(const std::function<void(uint64_t, RelID, std::vector<VoidID>&&)>& f);

  // One commit: everything or nothing reaches the file. `readVersion` is
  // what Read returned: when another connection has committed since, the
  // batch throws 99030 before it writes anything.
  class Batch {
   public:
    Batch(Persistence& p, int64_t readVersion);
    ~Batch();  // rolls back unless committed
    void PutObject(uint64_t key, const ByteVector& data);
    void DeleteObject(uint64_t key);
    void PutRelation(uint64_t owner, RelID rel, const std::vector<VoidID>& tuples);
    void DeleteRelation(uint64_t owner, RelID rel);
    void PutProperty(int id, const ByteVector& value);
    void DeleteProperty(int id);
    void Commit();

   private:
    void End() noexcept;

    Persistence& m_p;
    bool m_done = false;
    ByteVector m_buf;
  };

 private:
  Persistence(sqlite3* db, const VXString& path) : m_db(db), m_path(path) {}
  static sqlite3* OpenConnection(const VXString& path, int flags, int waitMs);
  void Exec(const char* sql);
  bool InTransaction() const;
  void BeginWrite(int waitMs);
  // SQLite's counter of commits by other connections to the file.
  int64_t Version();
  sqlite3_stmt* Prepare(const char* sql);
  [[noreturn]] void Fail(const char* what);
  void Step(sqlite3_stmt* st);

  sqlite3* m_db;
  VXString m_path;
  int m_waitMs = 0;
  bool m_holdLock = false;
  sqlite3_stmt* m_putObject = nullptr;
  sqlite3_stmt* m_delObject = nullptr;
  sqlite3_stmt* m_delObjectRels = nullptr;
  sqlite3_stmt* m_putRel = nullptr;
  sqlite3_stmt* m_delRel = nullptr;
  sqlite3_stmt* m_putProp = nullptr;
  sqlite3_stmt* m_delProp = nullptr;
};

}  // namespace qorl
