#include "store/persistence.h"

#include <sqlite3.h>

#include <algorithm>
#include <filesystem>

#include "platform/error.h"
#include "store/props.h"

namespace qorl {

namespace {

constexpr const char* kFormatName = "qorl-repository";

const char* kSchema =
    "CREATE TABLE qorl_meta(key TEXT PRIMARY KEY, value BLOB NOT NULL);"
    "CREATE TABLE qorl_properties(id INTEGER PRIMARY KEY, value BLOB NOT NULL);"
    "CREATE TABLE qorl_objects(id INTEGER PRIMARY KEY, data BLOB NOT NULL);"
    "CREATE TABLE qorl_relations(owner INTEGER NOT NULL, rel INTEGER NOT NULL, tuples BLOB NOT NULL,"
    " PRIMARY KEY(owner, rel)) WITHOUT ROWID;";

// Settings for every connection: a rollback journal with full syncs makes a
// commit atomic and durable, so a crash in the middle of one loses nothing.
const char* kPragmas =
    "PRAGMA journal_mode=DELETE;"
    "PRAGMA synchronous=FULL;"
    "PRAGMA cache_size=-65536;"
    "PRAGMA foreign_keys=OFF;";

}  // namespace

Persistence::~Persistence() {
  // Closing gives up the write lock, and whatever a failed batch left behind.
  if (InTransaction()) sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
  for (sqlite3_stmt* st : {m_putObject, m_delObject, m_delObjectRels, m_putRel, m_delRel, m_putProp, m_delProp})
    if (st) sqlite3_finalize(st);
  sqlite3_close(m_db);
}

sqlite3* Persistence::OpenConnection(const VXString& path, int flags, int waitMs) {
  sqlite3* db = nullptr;
  if (sqlite3_open_v2(path.ToUTF8().c_str(), &db, flags, nullptr) != SQLITE_OK) {
    VXString why(db ? sqlite3_errmsg(db) : "out of memory");
    sqlite3_close(db);
    throw ErrorMessage(99001, path, why);
  }
  // Set before the first statement: even reading the header waits for a commit.
  sqlite3_busy_timeout(db, waitMs);
  return db;
}

void Persistence::Fail(const char* what) {
  int code = sqlite3_errcode(m_db) & 0xFF;
  VXString detail = VXString(what) + ": " + VXString(sqlite3_errmsg(m_db));
  // Still locked by another connection when the wait ran out.
  if (code == SQLITE_BUSY) throw ErrorMessage(99031, m_path);
  if (code == SQLITE_NOTADB) throw ErrorMessage(99003, m_path);
  if (code == SQLITE_CORRUPT) throw ErrorMessage(99004, m_path, detail);
  throw ErrorMessage(99006, m_path, detail);
}

void Persistence::Exec(const char* sql) {
  if (sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr) != SQLITE_OK) Fail("statement failed");
}

sqlite3_stmt* Persistence::Prepare(const char* sql) {
  sqlite3_stmt* st = nullptr;
  if (sqlite3_prepare_v3(m_db, sql, -1, SQLITE_PREPARE_PERSISTENT, &st, nullptr) != SQLITE_OK) Fail("prepare failed");
  return st;
}

void Persistence::Step(sqlite3_stmt* st) {
  int rc = sqlite3_step(st);
  sqlite3_reset(st);
  if (rc != SQLITE_DONE && rc != SQLITE_ROW) Fail("write failed");
}

std::unique_ptr<Persistence> Persistence::CreateFile(const VXString& path, const ByteVector& keyCheck, int waitMs) {
  std::string p = path.ToUTF8();
  std::error_code ec;
  if (std::filesystem::exists(p, ec)) throw ErrorMessage(99007, path);
  sqlite3* db = OpenConnection(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, waitMs);
  std::unique_ptr<Persistence> ps(new Persistence(db, path));
  ps->m_waitMs = waitMs;
  try {
    ps->Exec(kPragmas);
    ps->Exec("BEGIN");
    ps->Exec(kSchema);
    sqlite3_stmt* st = ps->Prepare("INSERT INTO qorl_meta(key, value) VALUES(?, ?)");
    auto put = [&](const char* key, const void* data, int n) {
      sqlite3_bind_text(st, 1, key, -1, SQLITE_STATIC);
      sqlite3_bind_blob(st, 2, data, n, SQLITE_STATIC);
      ps->Step(st);
    };
    std::string version = std::to_string(kFormatVersion);
    put("format", kFormatName, static_cast<int>(std::strlen(kFormatName)));
    put("version", version.data(), static_cast<int>(version.size()));
    put("keycheck", keyCheck.data(), static_cast<int>(keyCheck.size()));
    sqlite3_finalize(st);
    ps->Exec("COMMIT");
  } catch (...) {
    ps.reset();
    std::filesystem::remove(p, ec);
    throw;
  }
  return ps;
}

std::unique_ptr<Persistence> Persistence::OpenFile(const VXString& path, ByteVector& keyCheck, int waitMs) {
  std::string p = path.ToUTF8();
  std::error_code ec;
  std::filesystem::file_status status = std::filesystem::status(p, ec);
  if (!std::filesystem::exists(status)) throw ErrorMessage(99035, path);
  if (std::filesystem::is_directory(status)) throw ErrorMessage(99036, path);
  if (!std::filesystem::is_regular_file(status)) throw ErrorMessage(99003, path);
  sqlite3* db = OpenConnection(path, SQLITE_OPEN_READWRITE, waitMs);
  std::unique_ptr<Persistence> ps(new Persistence(db, path));
  ps->m_waitMs = waitMs;
  ps->Exec(kPragmas);
  sqlite3_stmt* st = nullptr;
  if (sqlite3_prepare_v2(db, "SELECT key, value FROM qorl_meta", -1, &st, nullptr) != SQLITE_OK) {
    int code = sqlite3_errcode(db) & 0xFF;
    if (code == SQLITE_CORRUPT || code == SQLITE_BUSY) ps->Fail("reading the header");
    throw ErrorMessage(99003, path);  // an SQLite file, but not ours, or not SQLite at all
  }
  std::string format, version;
  bool haveCheck = false;
  int rc;
  while ((rc = sqlite3_step(st)) == SQLITE_ROW) {
    std::string key(reinterpret_cast<const char*>(sqlite3_column_text(st, 0)));
    const uint8_t* v = static_cast<const uint8_t*>(sqlite3_column_blob(st, 1));
    int n = sqlite3_column_bytes(st, 1);
    if (key == "format") format.assign(reinterpret_cast<const char*>(v), n);
    else if (key == "version") version.assign(reinterpret_cast<const char*>(v), n);
    else if (key == "keycheck") { keyCheck.assign(v, v + n); haveCheck = true; }
  }
  sqlite3_finalize(st);
  if (rc != SQLITE_DONE) ps->Fail("reading the header");
  if (format != kFormatName) throw ErrorMessage(99003, path);
  int fileVersion = std::atoi(version.c_str());
  if (fileVersion <= 0 || !haveCheck) throw ErrorMessage(99004, path, VXString("the header is incomplete"));
  if (fileVersion > kFormatVersion) throw ErrorMessage(99005, path, fileVersion, kFormatVersion);
  return ps;
}

bool Persistence::InTransaction() const { return sqlite3_get_autocommit(m_db) == 0; }

int64_t Persistence::Version() {
  sqlite3_stmt* st = Prepare("PRAGMA data_version");
  int rc = sqlite3_step(st);
  int64_t v = rc == SQLITE_ROW ? sqlite3_column_int64(st, 0) : 0;
  sqlite3_finalize(st);
  if (rc != SQLITE_ROW) Fail("reading the version");
  return v;
}

void Persistence::BeginWrite(int waitMs) {
  sqlite3_busy_timeout(m_db, waitMs);
  int rc = sqlite3_exec(m_db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
  sqlite3_busy_timeout(m_db, m_waitMs);
  if (rc != SQLITE_OK) Fail("taking the write lock");
}

void Persistence::HoldWriteLock() {
  if (!InTransaction()) BeginWrite(m_waitMs);
  m_holdLock = true;
}

int64_t Persistence::Read(const std::function<void()>& read) {
  // Under the write lock the file cannot change; otherwise a transaction of
  // its own keeps another connection's commit from landing between reads.
  bool own = !InTransaction();
  if (own) Exec("BEGIN");
  int64_t version;
  try {
    read();
    version = Version();
  } catch (...) {
    if (own) sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
    throw;
  }
  if (own) Exec("COMMIT");
  return version;
}

void Persistence::LoadProperties(std::unordered_map<int, ByteVector>& props) {
  sqlite3_stmt* st = Prepare("SELECT id, value FROM qorl_properties");
  int rc;
  while ((rc = sqlite3_step(st)) == SQLITE_ROW) {
    const uint8_t* v = static_cast<const uint8_t*>(sqlite3_column_blob(st, 1));
    props[sqlite3_column_int(st, 0)] = ByteVector(v, v + sqlite3_column_bytes(st, 1));
  }
  sqlite3_finalize(st);
  if (rc != SQLITE_DONE) Fail("reading properties");
}

void Persistence::LoadObjects(const std::function<void(const VoidID&, const uint8_t*, size_t)>& f) {
  sqlite3_stmt* st = Prepare("SELECT id, data FROM qorl_objects");
  int rc;
  try {
    while ((rc = sqlite3_step(st)) == SQLITE_ROW) {
      VoidID id = VoidID::FromKey(static_cast<uint64_t>(sqlite3_column_int64(st, 0)));
      f(id, static_cast<const uint8_t*>(sqlite3_column_blob(st, 1)), static_cast<size_t>(sqlite3_column_bytes(st, 1)));
    }
  } catch (...) {
    sqlite3_finalize(st);
    throw;
  }
  sqlite3_finalize(st);
  if (rc != SQLITE_DONE) Fail("reading objects");
}

void Persistence::LoadRelations(const std::function<void(uint64_t, RelID, std::vector<VoidID>&&)>& f) {
  sqlite3_stmt* st = Prepare("SELECT owner, rel, tuples FROM qorl_relations");
  int rc;
  while ((rc = sqlite3_step(st)) == SQLITE_ROW) {
    const uint8_t* p = static_cast<const uint8_t*>(sqlite3_column_blob(st, 2));
    BlobReader r(p, p + sqlite3_column_bytes(st, 2));
    std::vector<VoidID> ids;
    PropCodec<std::vector<VoidID>>::Load(r, ids);
    if (r.Failed()) {
      sqlite3_finalize(st);
      throw ErrorMessage(99004, m_path, VXString("a relation cannot be read"));
    }
    f(static_cast<uint64_t>(sqlite3_column_int64(st, 0)), static_cast<RelID>(sqlite3_column_int(st, 1)), std::move(ids));
  }
  sqlite3_finalize(st);
  if (rc != SQLITE_DONE) Fail("reading relations");
}

// ---- commit ---------------------------------------------------------------

Persistence::Batch::Batch(Persistence& p, int64_t readVersion) : m_p(p) {
  if (!p.m_putObject) {
    p.m_putObject = p.Prepare("INSERT OR REPLACE INTO qorl_objects(id, data) VALUES(?, ?)");
    p.m_delObject = p.Prepare("DELETE FROM qorl_objects WHERE id = ?");
    p.m_delObjectRels = p.Prepare("DELETE FROM qorl_relations WHERE owner = ?");
    p.m_putRel = p.Prepare("INSERT OR REPLACE INTO qorl_relations(owner, rel, tuples) VALUES(?, ?, ?)");
    p.m_delRel = p.Prepare("DELETE FROM qorl_relations WHERE owner = ? AND rel = ?");
    p.m_putProp = p.Prepare("INSERT OR REPLACE INTO qorl_properties(id, value) VALUES(?, ?)");
    p.m_delProp = p.Prepare("DELETE FROM qorl_properties WHERE id = ?");
  }
  if (!p.InTransaction()) p.BeginWrite(p.m_waitMs);
  // Another connection committed after our read: what we would write was
  // made from a file that is no longer there.
  bool changed;
  try {
    changed = p.Version() != readVersion;
  } catch (...) {
    End();
    throw;
  }
  if (changed) {
    End();
    throw ErrorMessage(99030, p.m_path);
  }
}

Persistence::Batch::~Batch() { End(); }

void Persistence::Batch::End() noexcept {
  if (!m_done && m_p.InTransaction()) sqlite3_exec(m_p.m_db, "ROLLBACK", nullptr, nullptr, nullptr);
  m_done = true;
  // Taken again only if free right now: a writer that was waiting for it may
  // have got it first, and then the next batch finds the file changed.
  if (m_p.m_holdLock && !m_p.InTransaction()) {
    sqlite3_busy_timeout(m_p.m_db, 0);
    sqlite3_exec(m_p.m_db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
    sqlite3_busy_timeout(m_p.m_db, m_p.m_waitMs);
  }
}

void Persistence::Batch::PutObject(uint64_t key, const ByteVector& data) {
  sqlite3_bind_int64(m_p.m_putObject, 1, static_cast<sqlite3_int64>(key));
  sqlite3_bind_blob(m_p.m_putObject, 2, data.data(), static_cast<int>(data.size()), SQLITE_STATIC);
  m_p.Step(m_p.m_putObject);
}

void Persistence::Batch::DeleteObject(uint64_t key) {
  sqlite3_bind_int64(m_p.m_delObject, 1, static_cast<sqlite3_int64>(key));
  m_p.Step(m_p.m_delObject);
  sqlite3_bind_int64(m_p.m_delObjectRels, 1, static_cast<sqlite3_int64>(key));
  m_p.Step(m_p.m_delObjectRels);
}

void Persistence::Batch::PutRelation(uint64_t owner, RelID rel, const std::vector<VoidID>& tuples) {
  m_buf.clear();
  BlobWriter w(m_buf);
  PropCodec<std::vector<VoidID>>::Save(w, tuples);
  sqlite3_bind_int64(m_p.m_putRel, 1, static_cast<sqlite3_int64>(owner));
  sqlite3_bind_int(m_p.m_putRel, 2, rel);
  sqlite3_bind_blob(m_p.m_putRel, 3, m_buf.data(), static_cast<int>(m_buf.size()), SQLITE_STATIC);
  m_p.Step(m_p.m_putRel);
}

void Persistence::Batch::DeleteRelation(uint64_t owner, RelID rel) {
  sqlite3_bind_int64(m_p.m_delRel, 1, static_cast<sqlite3_int64>(owner));
  sqlite3_bind_int(m_p.m_delRel, 2, rel);
  m_p.Step(m_p.m_delRel);
}

void Persistence::Batch::PutProperty(int id, const ByteVector& value) {
  sqlite3_bind_int(m_p.m_putProp, 1, id);
  sqlite3_bind_blob(m_p.m_putProp, 2, value.data(), static_cast<int>(value.size()), SQLITE_STATIC);
  m_p.Step(m_p.m_putProp);
}

void Persistence::Batch::DeleteProperty(int id) {
  sqlite3_bind_int(m_p.m_delProp, 1, id);
  m_p.Step(m_p.m_delProp);
}

void Persistence::Batch::Commit() {
  // Readers that were reading when the commit began hold it back. They read
  // once and let go, so waiting for them beats throwing the batch away.
  sqlite3_busy_timeout(m_p.m_db, m_p.m_waitMs == 0 ? 0 : std::max(m_p.m_waitMs, kReaderWaitMs));
  int rc = sqlite3_exec(m_p.m_db, "COMMIT", nullptr, nullptr, nullptr);
  sqlite3_busy_timeout(m_p.m_db, m_p.m_waitMs);
  if (rc != SQLITE_OK) {
    if ((sqlite3_errcode(m_p.m_db) & 0xFF) == SQLITE_BUSY) throw ErrorMessage(99032, m_p.m_path);
    m_p.Fail("commit failed");
  }
  m_done = true;
  End();
}

}  // namespace qorl
