// A repository: one SQLite file holding the objects of a semantic model.
// While a Repository is open every object lives in memory; the caller owns
// the transaction. Commit writes every change in one SQLite transaction,
// Rollback goes back to the last commit, and nothing reaches the file
// otherwise, so a program that stops halfway leaves the file as it was.
//
// Failures throw qorl::Error; loads and generations return reports (see
// qorl/diagnostics.h). A Repository is not safe to use from two threads at
// once.
//
// Other processes (or other Repository objects) may open the same file; see
// Access for who waits for whom. A reader always sees one whole commit.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "qorl/generate.h"
#include "qorl/load.h"
#include "qorl/sample.h"

namespace qorl {

struct ElementCount {
  std::string element;  // tag, e.g. PhysicalTable
  std::size_t count = 0;
};

struct SecurityObject {
  std::string element;        // User or Group
  std::string qualifiedName;  // e.g. "Administrator"
};

// How an open Repository shares its file with other processes.
enum class Access {
  // Reads the file when opened (and at each Rollback) and holds no lock in
  // between. A Commit still works, unless another process committed to the
  // file since it was read: then it throws Error (messages::kRepositoryChanged)
  // and writes nothing.
  Read,
  // Also holds the file's write lock from the open until Close, so that no
  // other process can commit in between: another writer waits for it (and
  // gives up after OpenOptions::wait), while readers go on reading the last
  // commit. For programs that read, change and commit.
  Write,
};

struct OpenOptions {
  Access access = Access::Read;
  // How long to wait for another process's write lock, or for its commit to
  // finish, before giving up with Error (messages::kRepositoryBusy). A
  // commit waits for readers still reading the file at least a minute
  // (messages::kRepositoryBeingRead), as they soon let go; zero waits for
  // nothing at all.
  std::chrono::milliseconds wait{5000};
};

class Repository {
 public:
  // A new repository file, which must not exist, holding the built-in
  // security objects, committed. Secrets inside are encrypted under a key
  // derived from `password`.
  static Repository Create(const std::filesystem::path& file, const std::string& password,
                           const OpenOptions& options = {});
  // An existing repository file; a wrong password, a foreign or damaged file,
  // or one written by a newer qorl throws Error.
  static Repository Open(const std::filesystem::path& file, const std::string& password,
                         const OpenOptions& options = {});
  // A repository in memory only, holding the built-in security objects:
  // Commit marks what Rollback returns to and writes nothing anywhere.
  static Repository CreateInMemory(const std::string& password = std::string());

  Repository(Repository&&) noexcept;
  Repository& operator=(Repository&&) noexcept;
  // Closes without committing.
  ~Repository();

  const std::filesystem::path& Path() const noexcept;
  bool IsOpen() const noexcept;
  // Throws Error, and writes nothing, when another process committed since
  // the file was read (Access::Read only) or holds the file past the wait.
  void Commit();
  void Rollback();
  bool HasUncommittedChanges() const;
  // Drops the objects in memory, uncommitted changes with them, and gives up
  // the write lock. Every other call but Path and IsOpen then throws Error.
  void Close() noexcept;

  std::size_t ObjectCount() const;
  // Objects per element, in the order documents list the elements.
  std::vector<ElementCount> CountByElement() const;
  // Users and groups, ordered by element and name.
  std::vector<SecurityObject> UsersAndGroups() const;

  // Applies the documents in order, all or nothing: when the report says
  // loaded, every document was applied (commit to keep them); otherwise the
  // repository was rolled back to its last commit.
  LoadReport Load(const std::vector<std::filesystem::path>& documents, const LoadOptions& options = {});
  // What each document declares, and whether each object is new or updates
  // a stored one; the repository is not changed. The documents are read as
  // Load reads them with these options (passwords, ignoreErrors,
  // passwordErrors), each against the repository as it stands.
  // Load as a test: every document read, resolved and applied as Load does
  // it, then the repository rolled back to its last commit whatever the
  // outcome (uncommitted changes made before go too). The report says
  // whether the load would have succeeded, and what it would have done.
  LoadReport Check(const std::vector<std::filesystem::path>& documents, const LoadOptions& options = {});
  std::vector<Declaration> Declared(const std::vector<std::filesystem::path>& documents,
                                    const LoadOptions& options = {}) const;

  // Writes the repository, or the chosen objects, as one QORL document in
  // UTF-8: to a file, a stream, or a string. A file is replaced whole or not
  // at all; its directory must exist. Throws Error when the output cannot be
  // opened or written, and a file then keeps what it held.
  GenerateReport Generate(const std::filesystem::path& file, const GenerateOptions& options = {});
  GenerateReport Generate(std::ostream& out, const GenerateOptions& options = {});
  GenerateReport GenerateText(std::string& text, const GenerateOptions& options = {});

  // Adds a synthetic sample of about options.objects objects (uncommitted);
  // returns how many were made.
  std::uint64_t AddSample(const SampleOptions& options = {});

 private:
  struct Impl;
  explicit Repository(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> m_impl;
};

}  // namespace qorl
