// The repository file: SQLite tables for metadata, repository properties,
// objects (one blob each) and relations (one blob per owner and relation).
#pragma once

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

  ~Persistence();
  // Makes a new file; throws ErrorMessage if it exists or cannot be made.
  static std::unique_ptr<Persistence> CreateFile(const VXString& path, const ByteVector& keyCheck);
  // Opens a file and returns its key check; throws for a missing, foreign,
  // damaged or newer file.
  static std::unique_ptr<Persistence> OpenFile(const VXString& path, ByteVector& keyCheck);

  void LoadProperties(std::unordered_map<int, ByteVector>& props);
  void LoadObjects(const std::function<void(const VoidID&, const uint8_t*, size_t)>& f);
  void LoadRelations(const std::function<void(uint64_t, RelID, std::vector<VoidID>&&)>& f);

  // One commit: everything or nothing reaches the file.
  class Batch {
   public:
    explicit Batch(Persistence& p);
    ~Batch();  // rolls back unless committed
    void PutObject(uint64_t key, const ByteVector& data);
    void DeleteObject(uint64_t key);
    void PutRelation(uint64_t owner, RelID rel, const std::vector<VoidID>& tuples);
    void DeleteRelation(uint64_t owner, RelID rel);
    void PutProperty(int id, const ByteVector& value);
    void DeleteProperty(int id);
    void Commit();

   private:
    Persistence& m_p;
    bool m_done = false;
    ByteVector m_buf;
  };

 private:
  Persistence(sqlite3* db, const VXString& path) : m_db(db), m_path(path) {}
  void Exec(const char* sql);
  sqlite3_stmt* Prepare(const char* sql);
  [[noreturn]] void Fail(const char* what);
  void Step(sqlite3_stmt* st);

  sqlite3* m_db;
  VXString m_path;
  sqlite3_stmt* m_putObject = nullptr;
  sqlite3_stmt* m_delObject = nullptr;
  sqlite3_stmt* m_delObjectRels = nullptr;
  sqlite3_stmt* m_putRel = nullptr;
  sqlite3_stmt* m_delRel = nullptr;
  sqlite3_stmt* m_putProp = nullptr;
  sqlite3_stmt* m_delProp = nullptr;
};

}  // namespace qorl
